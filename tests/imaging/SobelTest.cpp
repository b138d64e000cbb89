#include "imaging/Sobel.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

#include "imaging/FastArray.h"
#include "imaging/Image.h"
#include "numerics/Parallel.h"

namespace Vorn {
namespace {

FastArray Ramp(int width, int height, float alongX, float alongY) {
  FastArray array(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) array(x, y) = alongX * static_cast<float>(x) + alongY * static_cast<float>(y);
  return array;
}

FastArray Noise(int width, int height) {
  std::mt19937 random(9);
  FastArray array(width, height);
  for (int i = 0; i < array.Length(); ++i) array.data[i] = static_cast<float>(random() % 256);
  return array;
}

/// The operator as one 3 by 3 mask on an array mirrored about its edges. On whole numbers every sum is exact, whatever
/// its order.
float Gradient(const FastArray& a, int x, int y, bool horizontal) {
  const auto mirrored = [](int i, int n) { return i < 0 ? -i : i >= n ? 2 * n - 2 - i : i; };
  float sum = 0;
  for (int j = -1; j <= 1; ++j)
    for (int i = -1; i <= 1; ++i) {
      const int along = horizontal ? i : j, across = horizontal ? j : i;
      sum +=
          static_cast<float>(along * (2 - std::abs(across))) * a(mirrored(x + i, a.width), mirrored(y + j, a.height));
    }
  return sum;
}

class SobelTest : public testing::Test {
 protected:
  void TearDown() override { SetProcessorCount(0); }
  const Sobel sobel;
};

TEST_F(SobelTest, ARampOfSlopeOneGivesOneInsideAndZeroAtTheMirroredEdges) {
  FastArray gradient(20, 10);
  EXPECT_TRUE(sobel.Filter(Ramp(20, 10, 1, 0), gradient, 1, 0.125));
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 20; ++x) EXPECT_EQ(gradient(x, y), x == 0 || x == 19 ? 0.0F : 1.0F);
  EXPECT_TRUE(sobel.Filter(Ramp(20, 10, 1, 0), gradient, 0, 0.125));
  for (int i = 0; i < gradient.Length(); ++i) EXPECT_EQ(gradient.data[i], 0.0F);
}

TEST_F(SobelTest, TheVerticalGradientIsPositiveWhereValuesGrowDownward) {
  FastArray gradient(6, 7);
  sobel.Filter(Ramp(6, 7, 0, 3), gradient, 0, 0.125);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 6; ++x) EXPECT_EQ(gradient(x, y), y == 0 || y == 6 ? 0.0F : 3.0F);
}

TEST_F(SobelTest, ScaleMultipliesTheSmoothingAlone) {
  FastArray gradient(5, 5);
  sobel.Filter(Ramp(5, 5, 1, 0), gradient, 1, 1.0);
  EXPECT_EQ(gradient(2, 2), 8.0F);
  sobel.Filter(Ramp(5, 5, 1, 0), gradient, -1, 0.5);  // any direction but 0 is the horizontal one
  EXPECT_EQ(gradient(2, 2), 4.0F);
}

TEST_F(SobelTest, MatchesTheMaskForAnyProcessorCount) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{2, 2}, {3, 5}, {37, 23}, {1030, 9}}) {
    const FastArray input = Noise(width, height);
    for (const int processors : {1, 2, 3, 50})
      for (const int direction : {0, 1}) {
        SetProcessorCount(processors);
        FastArray output(width, height);
        sobel.Filter(input, output, direction, 1.0);
        for (int y = 0; y < height; ++y)
          for (int x = 0; x < width; ++x)
            ASSERT_EQ(output(x, y), Gradient(input, x, y, direction != 0)) << x << ", " << y << " of " << width;
      }
  }
}

TEST_F(SobelTest, RespectsTheStridesOfViews) {
  FastArray parent = Noise(30, 20), target(25, 25);
  target.Clear(-1000);
  FastArray input(parent, 5, 4, 20, 16), output(target, 3, 2, 18, 14);
  sobel.Filter(input, output, 1, 1.0);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 15; ++x) ASSERT_EQ(output(x, y), Gradient(input, x, y, true));
  EXPECT_EQ(target(2, 2), -1000);
  EXPECT_EQ(target(18, 2), -1000);
  EXPECT_EQ(target(3, 14), -1000);
}

TEST_F(SobelTest, TheFormOnPlainMemoryGivesTheSame) {
  const FastArray input = Noise(40, 30);
  FastArray one(40, 30), other(40, 30);
  sobel.Filter(input, one, 1, 0.125);
  EXPECT_TRUE(sobel.Filter(input.data, other.data, 1, 40, 30, 0.125));
  EXPECT_TRUE(std::equal(one.data, one.data + one.Length(), other.data));
}

TEST_F(SobelTest, TinyArraysReadNothingOutside) {  // what they'd read, the address sanitizer would find
  for (int width = 0; width <= 3; ++width)
    for (int height = 0; height <= 3; ++height)
      for (const int direction : {0, 1}) {
        FastArray input(width, height), output(width, height);
        input.Clear(5);
        output.Clear(1);
        EXPECT_TRUE(sobel.Filter(input, output, direction, 0.125));
        for (int i = 0; i < output.Length(); ++i) EXPECT_EQ(output.data[i], 0.0F);
      }
}

/// Falls by `step` codes a pixel to the right, to 0.
Image GreyImage(int width, int height, PixelType type, int step) {
  Image image(width, height, type);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) image.SetPixel(x, y, Pixel((width - 1 - x) * step, 255));
  return image;
}

TEST_F(SobelTest, OfAnImageIsTheMagnitudeInAGreyImageOfItsDepth) {
  const std::vector<std::pair<PixelType, PixelType>> types = {{L8, L8}, {L10, L10}, {L16, L16}};
  for (const auto& [type, resultType] : types) {
    Image output;
    EXPECT_TRUE(sobel.Filter(GreyImage(6, 5, type, 3), output, 1, 0.125));
    EXPECT_EQ(output.type, resultType);
    EXPECT_EQ(output.width, 6);
    EXPECT_EQ(output.height, 5);
    EXPECT_EQ(output(3, 2).Luma(), 3);  // falls to the right by 3 a pixel
    EXPECT_EQ(output(0, 2).Luma(), 0);
  }
}

TEST_F(SobelTest, OfAnImageIsClampedAndCutToWholeCodes) {
  Image output;
  sobel.Filter(GreyImage(6, 5, L8, 50), output, 1, 1.0);
  EXPECT_EQ(output(3, 2).Luma(), 255);
  sobel.Filter(GreyImage(6, 5, L8, 3), output, 1, 0.0625);
  EXPECT_EQ(output(3, 2).Luma(), 1);  // 1.5
}

TEST_F(SobelTest, OfAColourImageIsTakenFromItsLuma) {
  Image input(5, 5, ARGBSF), output;
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x) input.SetPixel(x, y, Pixel(1000 * x, 1000 * x, 1000 * x, 65535));
  sobel.Filter(input, output, 1, 0.125);
  EXPECT_EQ(output.type, L16);
  EXPECT_NEAR(output(2, 2).Luma(), 1000, 2);  // codes pass through a float and the luma is cut off
}

}  // namespace
}  // namespace Vorn
