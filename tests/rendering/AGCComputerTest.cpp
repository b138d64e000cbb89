#include "rendering/AGCComputer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "numerics/Log.h"
#include "numerics/Parallel.h"

namespace {

using Vorn::FastArray;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

/// A smooth scene, exact at any shift, at a given brightness.
FastArray Scene(int width, int height, double dx, double dy, double brightness) {
  FastArray luma(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      luma(x, y) = static_cast<float>(brightness * (120.0 + 2.0 * (x - dx) + 3.0 * (y - dy)));
  return luma;
}

FastArray Uniform(int width, int height, float value) {
  FastArray luma(width, height);
  luma.Clear(value);
  return luma;
}

Matrix Shift(double dx, double dy) {
  Matrix motion = Matrix::GetIdentity(3);
  motion(0, 2) = dx;
  motion(1, 2) = dy;
  return motion;
}

class AGCComputerTest : public testing::Test {
 protected:
  void SetUp() override {
    Vorn::SetLogSink([this](const std::string& message) { messages.push_back(message); });
  }
  void TearDown() override {
    Vorn::SetLogSink(nullptr);
    Vorn::SetProcessorCount(0);
  }

  float gain(const FastArray& current, const FastArray& previous, const Matrix& motion, float lastGain) {
    return computer.calculateFrame(7, &current, &previous, &motion, static_cast<float>(current.width) * 0.5F,
                                   static_cast<float>(current.height) * 0.5F, lastGain);
  }
  float gainAtPoints(const FastArray& current, const FastArray& previous, const Matrix& motion, const PointSet& c,
                     const PointSet& p, float lastGain, int window) {
    return computer.calculateFrame(7, &current, &previous, &motion, static_cast<float>(current.width) * 0.5F,
                                   static_cast<float>(current.height) * 0.5F, &c, &p, lastGain, window);
  }

  AGCComputer computer;
  std::vector<std::string> messages;
};

PointSet Points(const std::vector<Point2D>& points) {
  PointSet set;
  for (const Point2D& point : points) set.Add(point);
  return set;
}

TEST_F(AGCComputerTest, StartsAndClearsToZero) {
  EXPECT_EQ(computer.pointsUsed, 0);
  computer.sumGainI(2.0F, 3.0F);
  computer.sumGainI(1.0F, 0.5F);
  EXPECT_EQ(computer.sumJ, 9.25F);
  EXPECT_EQ(computer.sumIJ, 6.5F);
  EXPECT_EQ(computer.pointsUsed, 2);
  computer.clear();
  EXPECT_EQ(computer.sumJ, 0.0F);
  EXPECT_EQ(computer.sumIJ, 0.0F);
  EXPECT_EQ(computer.pointsUsed, 0);
}

TEST_F(AGCComputerTest, GainIsTheRatioOfPreviousToCurrentTimesTheLastOne) {
  EXPECT_FLOAT_EQ(gain(Uniform(100, 80, 50), Uniform(100, 80, 100), Shift(0, 0), 1.5F), 3.0F);
  EXPECT_EQ(messages, std::vector<std::string>{"AGCComputer: Calculate AGC for frame 7 (no points)"});
}

TEST_F(AGCComputerTest, PatchesCoverTheFrameOnAGridOfFifteenAndLeaveOutThoseAtItsEnds) {
  gain(Uniform(61, 46, 50), Uniform(61, 46, 100), Shift(0, 0), 1.0F);
  // Corners 0, 15, 30, 45 fit into 61 columns with one to spare, 0, 15, 30 into 46 rows.
  EXPECT_EQ(computer.pointsUsed, 12);
  gain(Uniform(60, 45, 50), Uniform(60, 45, 100), Shift(0, 0), 1.0F);
  EXPECT_EQ(computer.pointsUsed, 6);
}

TEST_F(AGCComputerTest, CurrentPatchIsTakenWhereTheMotionMovedThePreviousOne) {
  // Bilinear sampling of a plane is exact, so the fit is too, whatever the fraction.
  const FastArray previous = Scene(120, 100, 0, 0, 1.0), current = Scene(120, 100, 3.25, -2.5, 0.8);
  EXPECT_NEAR(gain(current, previous, Shift(3.25, -2.5), 1.0F), 1.25, 1e-5);
  EXPECT_GT(std::fabs(gain(current, previous, Shift(-3.25, 2.5), 1.0F) - 1.25), 1e-3);
}

TEST_F(AGCComputerTest, MotionActsAboutTheOrigin) {
  const FastArray previous = Scene(120, 100, 0, 0, 1.0);
  Matrix zoom = Matrix::GetIdentity(3);
  zoom(0, 0) = zoom(1, 1) = 2.0;
  computer.calculateFrame(1, &previous, &previous, &zoom, 60.0F, 50.0F, 1.0F);
  // Doubled about (60, 50), the centre (x + 7, y + 7) comes to 2 x - 46, 2 y - 36, the corner to 2 x - 53, 2 y - 43:
  // inside for x = 30, 45, 60, 75 and y = 30, 45, 60.
  EXPECT_EQ(computer.pointsUsed, 12);
}

TEST_F(AGCComputerTest, AnImageSmallerThanThePatchKeepsTheLastGain) {
  EXPECT_EQ(gain(Uniform(15, 15, 50), Uniform(15, 15, 100), Shift(0, 0), 1.75F), 1.75F);
  EXPECT_EQ(computer.pointsUsed, 0);
}

TEST_F(AGCComputerTest, ABlackFrameGivesOneAndNotTheLastGain) {
  EXPECT_EQ(gain(Uniform(60, 60, 0), Uniform(60, 60, 0), Shift(0, 0), 1.75F), 1.0F);
  EXPECT_GT(computer.pointsUsed, 0);
}

TEST_F(AGCComputerTest, SumsOfAnEarlierFrameDontCount) {
  gain(Uniform(60, 60, 10), Uniform(60, 60, 200), Shift(0, 0), 1.0F);
  EXPECT_FLOAT_EQ(gain(Uniform(60, 60, 100), Uniform(60, 60, 50), Shift(0, 0), 1.0F), 0.5F);
}

TEST_F(AGCComputerTest, IsTheSameForAnyProcessorCount) {
  const FastArray previous = Scene(300, 200, 0, 0, 1.0), current = Scene(300, 200, 1.5, 0.5, 0.9);
  Vorn::SetProcessorCount(1);
  const float one = gain(current, previous, Shift(1.5, 0.5), 1.0F);
  Vorn::SetProcessorCount(5);
  EXPECT_EQ(gain(current, previous, Shift(1.5, 0.5), 1.0F), one);
}

TEST_F(AGCComputerTest, OnlyPointsThatAgreeWithTheMotionToTwoPixelsCount) {
  const FastArray previous = Uniform(100, 100, 60), current = Uniform(100, 100, 30);
  const PointSet p = Points({{20, 20}, {40, 20}, {60, 20}, {20, 60}});
  const PointSet c = Points({{25, 20}, {46.9, 20}, {67, 20}, {40, 60}});  // off by 0, 1.9, 2 and 15
  EXPECT_FLOAT_EQ(gainAtPoints(current, previous, Shift(5, 0), c, p, 1.0F, 7), 2.0F);
  EXPECT_EQ(computer.pointsUsed, 2);
  EXPECT_TRUE(messages.empty());
}

TEST_F(AGCComputerTest, PatchesLieAboutTheirPoints) {
  FastArray previous = Uniform(40, 40, 10), current = Uniform(40, 40, 10);
  previous(12, 13) = 10 + 25 * 8;  // a corner of the 5 by 5 patch about (14, 15)
  const PointSet points = Points({{14, 15}});
  EXPECT_FLOAT_EQ(gainAtPoints(current, previous, Shift(0, 0), points, points, 1.0F, 5), 1.8F);
  previous(12, 13) = 10;
  previous(17, 15) = 10000;  // just outside
  EXPECT_FLOAT_EQ(gainAtPoints(current, previous, Shift(0, 0), points, points, 1.0F, 5), 1.0F);
}

TEST_F(AGCComputerTest, WithoutPointsTheLastGainHolds) {
  const FastArray luma = Uniform(40, 40, 10);
  EXPECT_EQ(gainAtPoints(luma, luma, Shift(0, 0), PointSet(), PointSet(), 2.5F, 15), 2.5F);
}

TEST_F(AGCComputerTest, PointsWithoutPartnerOrPlaceAreLeftOut) {
  const FastArray luma = Uniform(40, 40, 10);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const PointSet c = Points({{20, 20}, {nan, 5}, {1, 20}, {38, 20}, {20, 20}});
  const PointSet p = Points({{20, 20}, {nan, 5}, {1, 20}, {38, 20}});
  EXPECT_FLOAT_EQ(gainAtPoints(luma, luma, Shift(0, 0), c, p, 1.25F, 7), 1.25F);
  EXPECT_EQ(computer.pointsUsed, 1);
}

TEST_F(AGCComputerTest, OnePatchPairAddsItsMeans) {
  FastArray previous(20, 20), current = Uniform(20, 20, 4);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) previous(x, y) = static_cast<float>(x);
  const PointSet c = Points({{0, 0}, {3, 3}}), p = Points({{0, 0}, {2.5, 7}});
  computer.calculateGain(1, &current, &previous, &c, &p, 3);
  EXPECT_EQ(computer.pointsUsed, 1);
  EXPECT_EQ(computer.sumJ, 16.0F);
  EXPECT_EQ(computer.sumIJ, 14.0F);  // the mean of 2.5, 3.5 and 4.5 times 4
}

TEST_F(AGCComputerTest, APatchNeedsAPixelToSpareAtTheRightAndTheBottom) {
  const FastArray luma = Uniform(20, 20, 4);
  const auto used = [&](double x, double y, int window) {
    const PointSet corner = Points({{x, y}}), inside = Points({{5, 5}});
    computer.clear();
    computer.calculateGain(0, &luma, &luma, &corner, &inside, window);
    computer.calculateGain(0, &luma, &luma, &inside, &corner, window);
    return computer.pointsUsed;
  };
  EXPECT_EQ(used(0, 0, 3), 2);
  EXPECT_EQ(used(-0.1, 0, 3), 0);
  EXPECT_EQ(used(0, -0.1, 3), 0);
  EXPECT_EQ(used(16.9, 16.9, 3), 2);
  EXPECT_EQ(used(17, 5, 3), 0);
  EXPECT_EQ(used(5, 17, 3), 0);
  EXPECT_EQ(used(1e300, 5, 3), 0);
  EXPECT_EQ(used(5, 5, 0), 0);
}

}  // namespace
