#include "film/ByteCheck.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace film {
namespace {

std::uint64_t CheckOfBytes(const std::vector<unsigned char>& bytes) {
  ByteCheck check;
  check.add(bytes.data(), bytes.size());
  return check.value();
}

TEST(ByteCheck, IsTheOneThatDocumentsHold) {  // computed by a program written from docs/formats.md
  EXPECT_EQ(ByteCheck().value(), 0xa8108ffbcee1a114u);
  std::vector<unsigned char> bytes(40);
  std::iota(bytes.begin(), bytes.end(), 1);
  EXPECT_EQ(CheckOfBytes(bytes), 0x070e69f70b6e97f0u);
}

TEST(ByteCheck, DiffersWhereAnyBitDoes) {
  std::vector<unsigned char> bytes(77);
  std::iota(bytes.begin(), bytes.end(), 1);
  const std::uint64_t whole = CheckOfBytes(bytes);
  for (unsigned char& byte : bytes)
    for (int bit = 0; bit < 8; ++bit) {
      byte ^= static_cast<unsigned char>(1 << bit);
      EXPECT_NE(CheckOfBytes(bytes), whole);
      EXPECT_NE(static_cast<std::uint32_t>(CheckOfBytes(bytes)), static_cast<std::uint32_t>(whole));
      byte ^= static_cast<unsigned char>(1 << bit);
    }
  bytes.push_back(0);
  EXPECT_NE(CheckOfBytes(bytes), whole);
  EXPECT_NE(CheckOfBytes({1, 0, 2}), CheckOfBytes({1, 2}));
  EXPECT_NE(CheckOfBytes({}), CheckOfBytes({0}));
}

}  // namespace
}  // namespace film
