#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "analysis/RobustGlobalME.h"
#include "numerics/Geometry.h"
#include "numerics/Parallel.h"

using Vorn::ArrayPyramid;
using Vorn::FastArray;
using Vorn::Matrix;
using Vorn::Point2D;

namespace {

constexpr int kWidth = 320, kHeight = 180;

double Scene(double x, double y) {
  return 128 + 50 * std::sin(x / 37) * std::cos(y / 29) + 40 * std::sin((x + 2 * y) / 71) + 20 * std::cos(x / 13);
}

Matrix Similarity(double scale, double angle, double dx, double dy) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 0) = m(1, 1) = scale * std::cos(angle);
  m(1, 0) = scale * std::sin(angle);
  m(0, 1) = -m(1, 0);
  m(0, 2) = dx;
  m(1, 2) = dy;
  return m;
}

/// The scene as a camera sees it after `motion` about the frame's centre, with noise of `sigma` grey values.
FastArray Seen(const Matrix& motion, double sigma, unsigned seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> noise(0.0, 1.0);
  Matrix back = motion;
  back.Inverse();
  FastArray frame(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      const Point2D p = Vorn::ProjectPoint(back, Point2D(x, y), kWidth / 2, kHeight / 2);
      frame(x, y) = static_cast<float>(Scene(p.x, p.y) + sigma * noise(random));
    }
  return frame;
}

class RobustGlobalMEDirectTest : public ::testing::Test {
 protected:
  RobustGlobalMEDirectTest() {
    me.SetSourceDimensions(kWidth, kHeight);
    me.Begin(0);
  }

  void Show(FastArray& previousFrame, FastArray& currentFrame, int levels = 3) {
    previous = std::make_unique<ArrayPyramid>(previousFrame, levels, true);
    current = std::make_unique<ArrayPyramid>(currentFrame, levels, true);
    me.SetPyramids(current.get(), previous.get());
  }

  double WorstError(const Matrix& measured, const Matrix& truth) {
    double worst = 0;
    for (const Point2D& p : {Point2D(0, 0), Point2D(kWidth, 0), Point2D(0, kHeight), Point2D(kWidth, kHeight)})
      worst = std::max(worst, Vorn::Distance(Vorn::ProjectPoint(measured, p, kWidth / 2, kHeight / 2),
                                             Vorn::ProjectPoint(truth, p, kWidth / 2, kHeight / 2)));
    return worst;
  }

  RobustGlobalME me;
  std::unique_ptr<ArrayPyramid> previous, current;
  Matrix found = Matrix::GetIdentity(3);
  float confidence = 0.5f;
};

TEST_F(RobustGlobalMEDirectTest, SmoothPicturesInNoiseAreAligned) {
  const Matrix truth = Similarity(1.004, 0.006, 5.3, -3.7);
  FastArray before = Seen(Matrix::GetIdentity(3), 2, 1), now = Seen(truth, 2, 2);
  Show(before, now);
  ASSERT_TRUE(me.DirectEstimate(1, found, confidence));
  EXPECT_LT(WorstError(found, truth), 0.5);
  EXPECT_GT(confidence, 0.9f);
  EXPECT_EQ(found(2, 2), 1.0);
  EXPECT_EQ(found(0, 0), found(1, 1));
  EXPECT_EQ(found(0, 1), -found(1, 0));
}

TEST_F(RobustGlobalMEDirectTest, TheMotionOfTheFrameBeforeIsTheStart) {
  const Matrix truth = Similarity(1, 0, 70, 0);  // too far for the coarsest level on its own
  FastArray before = Seen(Matrix::GetIdentity(3), 0, 1), now = Seen(truth, 0, 2);
  Show(before, now, 1);
  me.qaMotion.Set(4, Similarity(1, 0, 69, 1));
  ASSERT_TRUE(me.DirectEstimate(5, found, confidence));
  EXPECT_LT(WorstError(found, truth), 0.2);
}

TEST_F(RobustGlobalMEDirectTest, EqualPicturesHaveFullConfidence) {
  FastArray before = Seen(Matrix::GetIdentity(3), 2, 1), now = before;
  Show(before, now);
  ASSERT_TRUE(me.DirectEstimate(1, found, confidence));
  EXPECT_TRUE(found.IsIdentity());
  EXPECT_EQ(confidence, 1.0f);
}

TEST_F(RobustGlobalMEDirectTest, NoiseOfItsOwnIsNotAligned) {
  FastArray before = Seen(Matrix::GetIdentity(3), 0, 1), now = before;
  std::mt19937 random(5);
  for (FastArray* frame : {&before, &now})
    for (int i = 0; i < frame->Length(); ++i) frame->data[i] = static_cast<float>(random() % 256);
  Show(before, now);
  found = Similarity(2, 0, 1, 1);
  EXPECT_FALSE(me.DirectEstimate(1, found, confidence));
  EXPECT_TRUE(found.IsIdentity());
  EXPECT_EQ(confidence, 0.0f);
}

TEST_F(RobustGlobalMEDirectTest, WithoutPyramidsNothingIsKnown) {
  found = Similarity(2, 0, 1, 1);
  EXPECT_FALSE(me.DirectEstimate(1, found, confidence));
  EXPECT_TRUE(found.IsIdentity());
  EXPECT_EQ(confidence, 0.5f);
  EXPECT_FALSE(me.DirectCheck(found));
}

TEST_F(RobustGlobalMEDirectTest, TheCheckMeasuresTheMeanSquaredDifference) {
  FastArray before(40, 20), now(40, 20);
  before.Clear(100);
  now.Clear(100 + std::sqrt(255.0f));
  Show(before, now, 1);
  me.dcTotalError = 7;
  me.dcPixelCount = 7;
  Matrix m = Matrix::GetIdentity(3);
  Vorn::SetProcessorCount(2);
  EXPECT_TRUE(me.DirectCheck(m));
  EXPECT_EQ(me.dcPixelCount, 38 * 18);
  EXPECT_NEAR(me.dcTotalError, 255.0f, 0.001);
  now.Clear(116.5f);
  EXPECT_FALSE(me.DirectCheck(m));
  EXPECT_NEAR(me.dcTotalError, 16.5f * 16.5f, 0.01);
  now.Clear(116.0f - 1.0f);
  Vorn::SetProcessorCount(8);  // stripes of 2 rows, 4 rows unchecked of which the last isn't inside
  EXPECT_TRUE(me.DirectCheck(m));
  EXPECT_EQ(me.dcPixelCount, 38 * 15);
  Vorn::SetProcessorCount(0);
}

TEST_F(RobustGlobalMEDirectTest, AMeanErrorOfJustTheLimitPasses) {
  FastArray before(40, 20), now(40, 20);
  before.Clear(100);
  now.Clear(116);
  me.qualityMax = 256;
  Show(before, now, 1);
  Matrix m = Matrix::GetIdentity(3);
  EXPECT_TRUE(me.DirectCheck(m));
  EXPECT_EQ(me.dcTotalError, 256.0f);
}

TEST_F(RobustGlobalMEDirectTest, TheCheckRefusesWhatItCannotCompare) {
  FastArray before = Seen(Matrix::GetIdentity(3), 0, 1), now = before;
  Show(before, now);
  Matrix far = Similarity(1, 0, 5000, 0), small(2, 2);
  EXPECT_FALSE(me.DirectCheck(far));
  EXPECT_EQ(me.dcPixelCount, 0);
  EXPECT_FALSE(me.DirectCheck(small));
}

TEST_F(RobustGlobalMEDirectTest, TheCheckTellsTheRightMotionFromAWrongOne) {
  const Matrix truth = Similarity(1.01, 0.01, 8, -6);
  FastArray before = Seen(Matrix::GetIdentity(3), 2, 1), now = Seen(truth, 2, 2);
  Show(before, now);
  Matrix m = truth;
  EXPECT_TRUE(me.DirectCheck(m));
  EXPECT_LT(me.dcTotalError, 12.0f);  // twice the noise's variance and a little
  Matrix wrong = Similarity(1, 0, -30, 30);
  EXPECT_FALSE(me.DirectCheck(wrong));
}

TEST_F(RobustGlobalMEDirectTest, AFrameWithoutMatchesIsAlignedByItsPicture) {
  const Matrix truth = Similarity(1, 0.004, 3, 2);
  FastArray before = Seen(Matrix::GetIdentity(3), 1, 1), now = Seen(truth, 1, 2);
  Show(before, now);
  Vorn::PointSet none;
  Vorn::MatchSet noMatches;
  ASSERT_TRUE(me.Estimate(1, none, none, noMatches, found));
  EXPECT_TRUE(me.directlyEstimated);
  EXPECT_LT(WorstError(found, truth), 0.5);
  Matrix stored;
  ASSERT_TRUE(me.qaMotion.Get(1, stored));
  EXPECT_LT(WorstError(stored, found), 1e-9);
  EXPECT_GT(me.confSet.Get(1), 0.9f);
  EXPECT_EQ(me.framesEstimated, 0);
  me.useDirect = false;
  EXPECT_FALSE(me.Estimate(2, none, none, noMatches, found));
  EXPECT_EQ(me.confSet.Get(2), 0.0f);
}

}  // namespace
