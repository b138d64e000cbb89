#include "analysis/FrameLuma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "numerics/Parallel.h"

using Vorn::FastArray;

namespace {

struct Rgb {
  float r, g, b;
};

/// The definition, in the widest precision that there is.
float ExpectedLuma(const Rgb& p) {
  const auto l = 0.25L * p.r + 0.5L * p.g + 0.25L * p.b;
  return static_cast<float>(l < 0 ? 0 : l > 1 ? 1 : l) * 255.0f;
}

std::vector<float> Frame(const std::vector<Rgb>& pixels) {
  std::vector<float> frame;
  for (const Rgb& p : pixels) frame.insert(frame.end(), {0.5f, p.r, p.g, p.b});
  return frame;
}

float LumaOf(const Rgb& pixel) {
  FastArray luma(1, 1);
  LumaFromARGBSF(Frame({pixel}).data(), 16, false, luma);
  return luma(0, 0);
}

TEST(FrameLuma, WeighsTheColoursAndClamps) {
  EXPECT_EQ(LumaOf({0, 0, 0}), 0.0f);
  EXPECT_EQ(LumaOf({1, 1, 1}), 255.0f);
  EXPECT_EQ(LumaOf({1, 0, 0}), 63.75f);
  EXPECT_EQ(LumaOf({0, 1, 0}), 127.5f);
  EXPECT_EQ(LumaOf({0, 0, 1}), 63.75f);
  EXPECT_EQ(LumaOf({-4, 0.5f, 0}), 0.0f);
  EXPECT_EQ(LumaOf({4, 0.5f, 0}), 255.0f);
  EXPECT_EQ(LumaOf({4, -1, 0}), 127.5f);  // only the sum is clamped
}

TEST(FrameLuma, AgreesWithTheDefinitionOnEveryLane) {
  std::vector<Rgb> pixels;
  for (int i = 0; i < 37; ++i)
    pixels.push_back({std::fmod(0.37f * static_cast<float>(i), 1.1f), std::fmod(0.61f * static_cast<float>(i), 1.0f),
                      std::fmod(0.17f * static_cast<float>(i), 0.9f)});
  FastArray luma(37, 1);
  LumaFromARGBSF(Frame(pixels).data(), 37 * 16, false, luma);
  for (int x = 0; x < 37; ++x)
    EXPECT_NEAR(luma(x, 0), ExpectedLuma(pixels[x]), 5e-5f) << x;  // a few float steps at 255
}

TEST(FrameLuma, DifferencesAreTakenInSinglePrecision) {
  // Where the float difference of 0.157 and 0.001 is rounded: in double all through it would be 10.2000008.
  EXPECT_EQ(LumaOf({0.001f, 0.001f, 0.157f}), 10.1999998f);
  EXPECT_EQ(LumaOf({0.001f, 0.001f, 0.131f}), 8.54249954f);
}

TEST(FrameLuma, ValuesThatAreNoNumbersBecomeBlackOrTheNearestEnd) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(LumaOf({nan, 0.5f, 0.5f}), 0.0f);
  EXPECT_EQ(LumaOf({inf, 0.5f, 0.5f}), 255.0f);
  EXPECT_EQ(LumaOf({-inf, 0.5f, 0.5f}), 0.0f);
}

TEST(FrameLuma, RowsMayBeFarApartAndRunUpwards) {
  std::vector<float> frame(3 * 12, -100.0f);  // two pixels a row, and four floats that belong to none
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 2; ++x)
      for (int c = 0; c < 4; ++c) frame[y * 12 + x * 4 + c] = static_cast<float>(y * 2 + x) / 8.0f;
  FastArray luma(2, 3), flipped(2, 3);
  LumaFromARGBSF(frame.data(), 48, false, luma);
  LumaFromARGBSF(frame.data(), 48, true, flipped);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 2; ++x) {
      EXPECT_EQ(luma(x, y), static_cast<float>(y * 2 + x) / 8.0f * 255.0f);
      EXPECT_EQ(flipped(x, 2 - y), luma(x, y));
    }
}

FastArray Rows(int height) {
  FastArray luma(2, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < 2; ++x) luma(x, y) = static_cast<float>(y * y + 100 * x);
  return luma;
}

void ExpectColumn(const FastArray& luma, const std::vector<float>& expected) {
  ASSERT_EQ(luma.height, static_cast<int>(expected.size()));
  for (int y = 0; y < luma.height; ++y) {
    EXPECT_EQ(luma(0, y), expected[y]) << "row " << y;
    EXPECT_EQ(luma(1, y), expected[y] + 100) << "row " << y;
  }
}

TEST(FrameLuma, ProgressiveFrameIsLeftAlone) {
  FastArray luma = Rows(4);
  RebuildOtherField(luma, 0);
  ExpectColumn(luma, {0, 1, 4, 9});
}

TEST(FrameLuma, OddRowsAreRebuiltForTheEvenField) {
  FastArray even = Rows(6), odd = Rows(5);
  RebuildOtherField(even, 1);
  ExpectColumn(even, {0, 2, 4, 10, 16, 16});  // the last row is a copy of the one above
  RebuildOtherField(odd, 1);
  ExpectColumn(odd, {0, 2, 4, 10, 16});
}

TEST(FrameLuma, EvenRowsAreRebuiltForTheOddField) {
  FastArray even = Rows(6), odd = Rows(5), other = Rows(6);
  RebuildOtherField(even, 2);
  ExpectColumn(even, {1, 1, 5, 9, 17, 25});
  RebuildOtherField(odd, 2);
  ExpectColumn(odd, {1, 1, 5, 9, 9});
  RebuildOtherField(other, -3);
  ExpectColumn(other, {1, 1, 5, 9, 17, 25});
}

TEST(FrameLuma, TinyFramesAreHandled) {
  for (const int weave : {1, 2}) {
    FastArray one = Rows(1), none(0, 0);
    RebuildOtherField(one, weave);
    ExpectColumn(one, {0});
    RebuildOtherField(none, weave);
  }
  FastArray two = Rows(2);
  RebuildOtherField(two, 1);
  ExpectColumn(two, {0, 0});
  two = Rows(2);
  RebuildOtherField(two, 2);
  ExpectColumn(two, {1, 1});
}

TEST(FrameLuma, ProcessorCountDoesNotMatter) {
  std::vector<Rgb> pixels;
  for (int i = 0; i < 31 * 23; ++i)
    pixels.push_back(
        {std::fmod(0.37f * static_cast<float>(i), 1.0f), std::fmod(0.21f * static_cast<float>(i), 1.0f), 0.5f});
  const std::vector<float> frame = Frame(pixels);
  FastArray reference(31, 23);
  Vorn::SetProcessorCount(1);
  LumaFromARGBSF(frame.data(), 31 * 16, false, reference);
  RebuildOtherField(reference, 1);
  for (const int processors : {2, 5, 40}) {
    FastArray luma(31, 23);
    Vorn::SetProcessorCount(processors);
    LumaFromARGBSF(frame.data(), 31 * 16, false, luma);
    RebuildOtherField(luma, 1);
    for (int i = 0; i < 31 * 23; ++i) ASSERT_EQ(luma.data[i], reference.data[i]) << processors << " processors";
  }
  Vorn::SetProcessorCount(0);
}

}  // namespace
