#include "planning/MotionSmooth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using Vorn::HomographySet;
using Vorn::Matrix;

namespace {

Matrix Shift(double x, double y = 0.0) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

HomographySet Motion(int first, int last, const std::function<double(int)>& x) {
  HomographySet set;
  for (int frame = first; frame <= last; ++frame) set.Set(frame, Shift(x(frame)));
  set.AppendRange(first, last);
  return set;
}

double XAt(const HomographySet& set, int frame) {
  Matrix m;
  EXPECT_TRUE(set.Get(frame, m)) << frame;
  return m(0, 2);
}

MotionInterval Interval(int first, int last, int type) {
  MotionInterval interval;
  interval.begin_frame = first, interval.end_frame = last, interval.motion_type = type;
  return interval;
}

/// The Gaussian's mean of `x` around a frame, with frames mirrored at the stretch's ends.
double GaussMean(const std::function<double(int)>& x, int frame, int first, int last, double sigma) {
  const int half = static_cast<int>(3 * sigma);
  double sum = 0, weights = 0;
  for (int d = -half; d <= half; ++d) {
    int i = frame + d;
    while (i < first || i > last) i = i < first ? 2 * first - i : 2 * last - i;
    const double weight = std::exp(-d * d / (2 * sigma * sigma));
    sum += weight * x(i);
    weights += weight;
  }
  return sum / weights;
}

TEST(MotionSmooth, StartsWithItsDefaults) {
  const MotionSmooth smoother;
  EXPECT_TRUE(smoother.kernel.empty());
  EXPECT_FALSE(smoother.filterFirstFrame);
  EXPECT_EQ(smoother.sigma, 4.0);
  EXPECT_EQ(smoother.strength, 1.0f);
  EXPECT_FALSE(smoother.robust);
}

TEST(MotionSmooth, TheKernelHas25TapsThatSumToOne) {
  const HomographySet in = Motion(0, 40, [](int) { return 1.0; });
  HomographySet out;
  MotionSmooth smoother;
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, out));
  ASSERT_EQ(smoother.kernel.size(), 25u);
  double sum = 0;
  for (const double tap : smoother.kernel) sum += tap;
  EXPECT_NEAR(sum, 1.0, 1e-14);
  EXPECT_NEAR(smoother.kernel[12] / smoother.kernel[16], std::exp(0.5), 1e-12);  // one sigma away
  smoother.SetSigma(2.0);
  EXPECT_TRUE(smoother.kernel.empty());
}

TEST(MotionSmooth, EachFrameBecomesTheGaussianMeanOfThoseAround) {
  const auto x = [](int f) { return 3.0 * std::sin(f * 0.7) + 0.1 * f; };
  const HomographySet in = Motion(5, 60, x);
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out));
  EXPECT_EQ(XAt(out, 5), x(5)) << "the first frame is copied";
  for (int frame = 6; frame <= 60; ++frame)
    EXPECT_NEAR(XAt(out, frame), GaussMean(x, frame, 5, 60, 4.0), 1e-12) << frame;
  EXPECT_EQ(out.originLocation, 4);
  ASSERT_EQ(out.range.data.size(), 1u);
  EXPECT_EQ(out.range.data[0].last, 60);
}

TEST(MotionSmooth, MatricesAreScaledToOneInTheCornerFirst) {
  HomographySet in;
  for (int frame = 0; frame < 3; ++frame) in.Set(frame, Shift(4.0) * 2.0);
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out));
  Matrix m;
  for (int frame = 0; frame < 3; ++frame) {
    ASSERT_TRUE(out.Get(frame, m));
    EXPECT_NEAR(m(0, 2), 4.0, 1e-12);
    EXPECT_NEAR(m(2, 2), 1.0, 1e-12);
  }
}

TEST(MotionSmooth, AStretchOfOneFrameIsCopied) {
  const HomographySet in = Motion(7, 7, [](int) { return 2.5; });
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, 7, 7));
  EXPECT_EQ(XAt(out, 7), 2.5);
  EXPECT_EQ(out.hset.size(), 1u);
}

TEST(MotionSmooth, TheKernelFoldsOverTwoFrames) {
  const auto x = [](int f) { return f == 0 ? 0.0 : 1.0; };
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(Motion(0, 1, x), MotionSmooth::GaussSmoothing, out));
  EXPECT_NEAR(XAt(out, 1), GaussMean(x, 1, 0, 1, 4.0), 1e-12);
  EXPECT_GT(XAt(out, 1), 0.4);
  EXPECT_LT(XAt(out, 1), 0.6);
}

TEST(MotionSmooth, StrengthMixesFilteredAndOwn) {
  const auto x = [](int f) { return f % 2 ? 1.0 : -1.0; };
  const HomographySet in = Motion(0, 50, x);
  HomographySet full, quarter, none;
  MotionSmooth smoother;
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, full));
  smoother.strength = 0.25f;
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, quarter));
  smoother.strength = 0.0f;
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, none));
  for (int frame = 1; frame <= 50; ++frame) {
    EXPECT_NEAR(XAt(quarter, frame), 0.25 * XAt(full, frame) + 0.75 * x(frame), 1e-12);
    EXPECT_EQ(XAt(none, frame), x(frame));
  }
}

TEST(MotionSmooth, AStretchOutsideTheSetIsRefused) {
  const HomographySet in = Motion(3, 9, [](int) { return 0.0; });
  HomographySet out = Motion(1, 1, [](int) { return 8.0; });
  testing::internal::CaptureStderr();
  EXPECT_FALSE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, 2, 9));
  EXPECT_FALSE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, 3, 10));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Smoothing: invalid range\nSmoothing: invalid range\n");
  EXPECT_EQ(XAt(out, 1), 8.0) << "the output is as it was";
}

TEST(MotionSmooth, AnEmptyListOrAMissingFrameFails) {
  HomographySet in = Motion(0, 9, [](int) { return 0.0; }), out;
  EXPECT_FALSE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, std::vector<MotionInterval>{}));
  EXPECT_FALSE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, {Interval(0, 10, MotionStill)}));
  EXPECT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out, {Interval(0, 9, MotionStill)}));
}

TEST(MotionSmooth, ABrokenIntervalSplitsTheRunsAndStandsStill) {
  const auto x = [](int f) { return std::cos(f * 1.1); };
  const HomographySet in = Motion(0, 59, x);
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out,
                                    {Interval(0, 24, MotionStill), Interval(25, 34, MotionBroken),
                                     Interval(35, 45, MotionMoving), Interval(46, 59, MotionStill)}));
  for (int frame = 1; frame <= 24; ++frame) EXPECT_NEAR(XAt(out, frame), GaussMean(x, frame, 0, 24, 4.0), 1e-12);
  for (int frame = 25; frame <= 34; ++frame) EXPECT_EQ(XAt(out, frame), 0.0);
  EXPECT_EQ(XAt(out, 0), x(0));
  EXPECT_EQ(XAt(out, 35), x(35)) << "each run copies its first frame";
  for (int frame = 36; frame <= 59; ++frame)
    EXPECT_NEAR(XAt(out, frame), GaussMean(x, frame, 35, 59, 4.0), 1e-12) << "good neighbours form one run";
}

TEST(MotionSmooth, ABrokenIntervalAtTheHeadIsLeftToTheCaller) {
  const HomographySet in = Motion(0, 29, [](int) { return 1.0; });
  HomographySet out;
  ASSERT_TRUE(MotionSmooth().Smooth(in, MotionSmooth::GaussSmoothing, out,
                                    {Interval(0, 9, MotionBroken), Interval(10, 29, MotionStill)}));
  EXPECT_LT(out.Index(5), 0);
  EXPECT_NEAR(XAt(out, 15), 1.0, 1e-12);
}

TEST(MotionSmooth, ASingleJoltIsSharedWithTheFrameBehindIt) {
  const auto x = [](int f) { return f == 20 ? 100.0 : 0.0; };
  const HomographySet in = Motion(0, 40, x);
  HomographySet out;
  MotionSmooth smoother;
  smoother.robust = true;
  smoother.strength = 0.0f;  // leaves the repairs alone to be seen
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, out, {Interval(0, 40, MotionStill)}));
  EXPECT_EQ(XAt(out, 19), 0.0);
  EXPECT_EQ(XAt(out, 20), 50.0);
  EXPECT_EQ(XAt(out, 21), 50.0);
  EXPECT_EQ(XAt(out, 22), 0.0);
}

TEST(MotionSmooth, AStepIsNoJoltAndNearTheEndsNothingIs) {
  MotionSmooth smoother;
  smoother.robust = true;
  smoother.strength = 0.0f;
  for (const int jolt : {3, 37, 38}) {
    HomographySet out;
    const HomographySet in = Motion(0, 40, [jolt](int f) { return f == jolt ? 100.0 : 0.0; });
    ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussSmoothing, out, {Interval(0, 40, MotionStill)}));
    EXPECT_EQ(XAt(out, jolt), 100.0) << jolt;
  }
  HomographySet out;
  const HomographySet step = Motion(0, 40, [](int f) { return f >= 20 ? 100.0 : 0.0; });
  ASSERT_TRUE(smoother.Smooth(step, MotionSmooth::GaussSmoothing, out, {Interval(0, 40, MotionStill)}));
  EXPECT_EQ(XAt(out, 20), 100.0);
}

TEST(MotionSmooth, JoltsWithinTheLimitsAndNarrowWindowsAreLeft) {
  MotionSmooth smoother;
  smoother.robust = true;
  smoother.strength = 0.0f;
  HomographySet out;
  const HomographySet atLimit = Motion(0, 40, [](int f) { return f == 20 ? 40.0 : 0.0; });
  ASSERT_TRUE(smoother.Smooth(atLimit, MotionSmooth::GaussSmoothing, out));
  EXPECT_EQ(XAt(out, 20), 40.0) << "only above the limit do motions differ";
  smoother.SetSigma(3.0);
  const HomographySet jolt = Motion(0, 40, [](int f) { return f == 20 ? 100.0 : 0.0; });
  ASSERT_TRUE(smoother.Smooth(jolt, MotionSmooth::GaussSmoothing, out));
  EXPECT_EQ(XAt(out, 20), 100.0) << "a window of 3 can't hold four unlike frames";
}

TEST(MotionSmooth, TheCopyTypeTakesTheNormalisedFramesUnrepaired) {
  const auto x = [](int f) { return f == 20 ? 100.0 : 0.0; };
  HomographySet out;
  MotionSmooth smoother;
  smoother.robust = true;
  ASSERT_TRUE(smoother.Smooth(Motion(0, 40, x), MotionSmooth::CopySmoothing, out, {Interval(0, 40, MotionStill)}));
  for (int frame = 0; frame <= 40; ++frame) EXPECT_EQ(XAt(out, frame), x(frame));
}

TEST(MotionSmooth, TheInverseTypeAveragesAccumulatedMotion) {
  // With a constant shift s, the product of j frames back inverted is -js, and of j ahead js: both sides cancel, and
  // the frame's own matrix keeps its tap alone.
  const HomographySet in = Motion(0, 60, [](int) { return 2.0; });
  HomographySet out;
  MotionSmooth smoother;
  ASSERT_TRUE(smoother.Smooth(in, MotionSmooth::GaussInverseSmoothing, out));
  EXPECT_EQ(XAt(out, 0), 2.0);
  EXPECT_NEAR(XAt(out, 30), 2.0 * smoother.kernel[12], 1e-12);
}

TEST(MotionSmooth, AMatrixWithoutInverseEndsTheInverseType) {
  HomographySet in = Motion(0, 60, [](int) { return 2.0; });
  Matrix flat = Shift(0);
  flat(0, 0) = 0.0;
  in.Set(30, flat);
  HomographySet out;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(MotionSmooth().Smooth(in, MotionSmooth::GaussInverseSmoothing, out));
  EXPECT_NE(testing::internal::GetCapturedStderr().find("Error: Smoothing couldn't invert matrix\n"),
            std::string::npos);
}

}  // namespace
