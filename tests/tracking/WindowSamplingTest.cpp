#include "tracking/WindowSampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Scenes.h"

namespace Vorn {
namespace {

/// The pixel, or 0 outside of the image.
double At(const FastArray& image, int x, int y) {
  return x >= 0 && y >= 0 && x < image.width && y < image.height ? image(x, y) : 0.0;
}

double BilinearAt(const FastArray& image, double x, double y) {
  const int x0 = static_cast<int>(std::floor(x)), y0 = static_cast<int>(std::floor(y));
  const double fx = x - x0, fy = y - y0;
  return (1 - fy) * ((1 - fx) * At(image, x0, y0) + fx * At(image, x0 + 1, y0)) +
         fy * ((1 - fx) * At(image, x0, y0 + 1) + fx * At(image, x0 + 1, y0 + 1));
}

void ExpectWindowAt(const FastArray& image, const Point2D& corner, int window) {
  WindowPosition position;
  ASSERT_TRUE(LocateWindow(corner, image.width, image.height, -window, 0, position));
  WindowBlocks& blocks = WindowBlocks::OfThisThread(window);
  SampleWindow(image, position, window, blocks.patch, blocks.sampled);
  for (int y = 0; y < window; ++y)
    for (int x = 0; x < window; ++x)
      EXPECT_NEAR(blocks.sampled[y * BlockStride(window) + x], BilinearAt(image, corner.x + x, corner.y + y), 1e-3)
          << "window " << window << " at " << corner.x << "," << corner.y << ", element " << x << "," << y;
}

TEST(SampleWindow, IsBilinearInsideTheImage) {
  const FastArray image = NoiseFrame(70, 60, 1);
  ExpectWindowAt(image, Point2D(20.0, 30.0), 15);
  ExpectWindowAt(image, Point2D(20.25, 30.75), 15);
  for (const int window : {1, 2, 7, 16, 17, 33}) ExpectWindowAt(image, Point2D(10.4, 11.9), window);
}

TEST(SampleWindow, ReadsZeroOutsideOfTheImage) {
  const FastArray image = NoiseFrame(40, 30, 2);
  for (const double x : {-15.0, -14.5, -1.0, -0.25, 0.0, 22.5, 23.0, 24.75, 25.5, 39.9})
    for (const double y : {-15.0, -0.5, 3.0, 13.5, 14.0, 15.25, 29.75}) ExpectWindowAt(image, Point2D(x, y), 15);
}

TEST(SampleWindow, ReadsAnImageThatIsSmallerThanTheWindow) {
  const FastArray image = NoiseFrame(5, 4, 3);
  ExpectWindowAt(image, Point2D(-3.5, -6.25), 15);
  ExpectWindowAt(image, Point2D(2.5, 1.5), 15);
}

TEST(SampleWindow, FollowsTheStrideOfAView) {
  FastArray parent = NoiseFrame(64, 48, 4);
  const FastArray view(parent, 5, 6, 55, 40);
  ExpectWindowAt(view, Point2D(10.5, 9.5), 15);
  ExpectWindowAt(view, Point2D(-4.5, -2.5), 15);  // the parent's pixels beyond the view don't count
}

TEST(LocateWindow, SplitsACornerIntoPixelAndFraction) {
  WindowPosition position;
  ASSERT_TRUE(LocateWindow(Point2D(12.25, -3.25), 100, 80, -15, 0, position));
  EXPECT_EQ(position.x, 12);
  EXPECT_EQ(position.y, -4);
  EXPECT_EQ(position.fx, 0.25F);
  EXPECT_EQ(position.fy, 0.75F);
}

TEST(LocateWindow, RefusesWhatIsOutOfRange) {
  WindowPosition position = {1, 2, 3.0F, 4.0F};
  EXPECT_TRUE(LocateWindow(Point2D(-15.0, -15.0), 100, 80, -15, -15, position));
  EXPECT_TRUE(LocateWindow(Point2D(84.9, 64.9), 100, 80, -15, -15, position));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const WindowPosition before = position;
  for (const Point2D& corner : {Point2D(-15.1, 0), Point2D(0, -15.1), Point2D(85.0, 0), Point2D(0, 65.0),
                                Point2D(nan, 0), Point2D(0, nan), Point2D(1e30, 0), Point2D(0, -1e300)})
    EXPECT_FALSE(LocateWindow(corner, 100, 80, -15, -15, position)) << corner.x << "," << corner.y;
  EXPECT_EQ(position.x, before.x);
  EXPECT_EQ(position.fy, before.fy);
}

TEST(WindowSums, AreThoseOfTheProducts) {
  constexpr int size = 3 * blockLanes;
  std::vector<float> source(size), sampled(size), gx(size), gy(size);
  double xx = 0, yy = 0, xy = 0, ex = 0, ey = 0, squares = 0;
  for (int i = 0; i < size; ++i) {  // whole numbers: every sum is exact
    source[i] = static_cast<float>(i * 7 % 23);
    sampled[i] = static_cast<float>(i * 5 % 19);
    gx[i] = static_cast<float>(i % 11 - 5);
    gy[i] = static_cast<float>(i % 13 - 6);
    const double e = source[i] - sampled[i];
    xx += gx[i] * gx[i];
    yy += gy[i] * gy[i];
    xy += gx[i] * gy[i];
    ex += e * gx[i];
    ey += e * gy[i];
    squares += e * e;
  }
  double sumXX = 0, sumYY = 0, sumXY = 0, sumEX = 0, sumEY = 0;
  SumGradientProducts(gx.data(), gy.data(), size, sumXX, sumYY, sumXY);
  SumErrorProducts(source.data(), sampled.data(), gx.data(), gy.data(), size, sumEX, sumEY);
  EXPECT_EQ(sumXX, xx);
  EXPECT_EQ(sumYY, yy);
  EXPECT_EQ(sumXY, xy);
  EXPECT_EQ(sumEX, ex);
  EXPECT_EQ(sumEY, ey);
  EXPECT_EQ(SumSquaredDifferences(source.data(), sampled.data(), size), squares);
}

TEST(ClearPadding, LeavesTheWindowAlone) {
  std::vector<float> block(15 * BlockStride(15), 3.0F);
  ClearPadding(block.data(), 15);
  for (int row = 0; row < 15; ++row) {
    for (int column = 0; column < 15; ++column) EXPECT_EQ(block[row * BlockStride(15) + column], 3.0F);
    EXPECT_EQ(block[row * BlockStride(15) + 15], 0.0F);
  }
}

}  // namespace
}  // namespace Vorn
