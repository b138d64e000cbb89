#include "film/JsonArchive.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

namespace film {
namespace {

/// What a file would give back.
JsonArchive Reread(const JsonArchive& archive) { return JsonArchive(nlohmann::json::parse(archive.json().dump(1))); }

double DoubleThroughText(double value) {
  JsonArchive archive;
  archive.encodeDouble(value, "k");
  return Reread(archive).decodeDoubleForKey("k");
}

float FloatThroughText(float value) {
  JsonArchive archive;
  archive.encodeFloat(value, "k");
  return Reread(archive).decodeFloatForKey("k");
}

TEST(JsonArchive, DoublesAndFloatsKeepTheirBits) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {  // any bits: also what is no number
    const std::uint64_t bits = random();
    EXPECT_EQ(std::bit_cast<std::uint64_t>(DoubleThroughText(std::bit_cast<double>(bits))), bits);
    const auto half = static_cast<std::uint32_t>(bits);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(FloatThroughText(std::bit_cast<float>(half))), half);
  }
}

TEST(JsonArchive, SpecialValuesKeepTheirBits) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (double value : {0.0, -0.0, infinity, -infinity, 5e-324, -2.2e-308, 1.7976931348623157e308, 0.1}) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(DoubleThroughText(value)), std::bit_cast<std::uint64_t>(value)) << value;
    const auto narrow = static_cast<float>(value);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(FloatThroughText(narrow)), std::bit_cast<std::uint32_t>(narrow)) << value;
  }
  EXPECT_TRUE(std::isnan(DoubleThroughText(std::nan("7"))));
}

TEST(JsonArchive, IntegersAndBoolsComeBack) {
  JsonArchive archive;
  archive.encodeInteger(LONG_MIN, "least");
  archive.encodeInteger(LONG_MAX, "most");
  archive.encodeInt(INT_MIN, "int");
  archive.encodeBool(true, "bool");
  const JsonArchive back = Reread(archive);
  EXPECT_EQ(back.decodeIntegerForKey("least"), LONG_MIN);
  EXPECT_EQ(back.decodeIntegerForKey("most"), LONG_MAX);
  EXPECT_EQ(back.decodeIntForKey("int"), INT_MIN);
  EXPECT_TRUE(back.decodeBoolForKey("bool"));
  EXPECT_EQ(back.numberOfValues(), 4);
}

TEST(JsonArchive, MissingAndForeignMembersAreZero) {
  const JsonArchive archive(nlohmann::json::parse(
      R"({"text": "0xzz", "list": [1], "null": null, "huge": 18446744073709551615, "low": -9999999999, "short": "0x12"})"));
  for (const char* key : {"missing", "text", "list", "null", "short"}) {
    EXPECT_EQ(archive.decodeIntegerForKey(key), 0) << key;
    EXPECT_EQ(archive.decodeIntForKey(key), 0) << key;
    EXPECT_EQ(archive.decodeFloatForKey(key), 0.0f) << key;
    EXPECT_EQ(archive.decodeDoubleForKey(key), 0.0) << key;
    EXPECT_FALSE(archive.decodeBoolForKey(key)) << key;
  }
  EXPECT_EQ(archive.decodeIntegerForKey("huge"), LONG_MAX);
  EXPECT_EQ(archive.decodeIntForKey("huge"), INT_MAX);
  EXPECT_EQ(archive.decodeIntForKey("low"), INT_MIN);
}

TEST(JsonArchive, EncodingAKeyAgainReplacesItsValue) {
  JsonArchive archive;
  archive.encodeInt(1, "k");
  archive.encodeInt(2, "k");
  EXPECT_EQ(archive.decodeIntForKey("k"), 2);
  EXPECT_EQ(archive.numberOfValues(), 1);
}

TEST(JsonArchive, WhatIsNoObjectIsEmpty) { EXPECT_EQ(JsonArchive(nlohmann::json::array({1, 2})).numberOfValues(), 0); }

}  // namespace
}  // namespace film
