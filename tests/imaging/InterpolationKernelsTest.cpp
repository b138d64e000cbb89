#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "imaging/ImageInterpolator.h"

namespace Vorn {
namespace {

const double pi = std::acos(-1.0);

double Sinc(double t) { return t == 0.0 ? 1.0 : std::sin(pi * t) / (pi * t); }

double Lanczos3(double t) { return std::fabs(t) < 3.0 ? Sinc(t) * Sinc(t / 3.0) : 0.0; }

TEST(LanczosTable, HoldsTheKernelAtHundredthsOfItsSupport) {
  static_assert(sizeof LanczosTable == 102 * sizeof(float));
  for (int i = 0; i <= 100; ++i) EXPECT_NEAR(LanczosTable[i], Lanczos3(-3.0 + 6.0 * i / 100.0), 1e-7) << i;
  EXPECT_EQ(LanczosTable[50], 1.0f);
  EXPECT_EQ(LanczosTable[0], 0.0f);
  EXPECT_EQ(LanczosTable[100], 0.0f);
  EXPECT_EQ(LanczosTable[101], 0.0f);
}

TEST(LanczosSinc, IsExactAtTheCentreAndTheEnds) {
  EXPECT_EQ(LanczosSinc(0.0), 1.0f);
  EXPECT_EQ(LanczosSinc(9e-7), 1.0f);  // within the tolerance of the comparison
  EXPECT_EQ(LanczosSinc(3.0), 0.0f);
  EXPECT_EQ(LanczosSinc(-3.0), 0.0f);
  EXPECT_EQ(LanczosSinc(3.01), 0.0f);
  EXPECT_EQ(LanczosSinc(-3.01), 0.0f);
  EXPECT_EQ(LanczosSinc(1e300), 0.0f);
  EXPECT_EQ(LanczosSinc(std::numeric_limits<double>::quiet_NaN()), 0.0f);
}

TEST(LanczosSinc, LooksUpSamplesAndTheMiddleBetweenThem) {
  EXPECT_NEAR(LanczosSinc(-3.0 + 0.06 * 61), LanczosTable[61], 3e-6);  // the place is rounded to 4e-6 of a step
  EXPECT_NEAR(LanczosSinc(-3.0 + 0.06 * 61.5), (LanczosTable[61] + LanczosTable[62]) / 2, 3e-6);
  EXPECT_NEAR(LanczosSinc(-3.0 + 0.06 * 20.25), 0.75 * LanczosTable[20] + 0.25 * LanczosTable[21], 3e-6);
}

TEST(LanczosSinc, StaysNearTheExactKernel) {
  for (int i = -3200; i <= 3200; ++i)
    EXPECT_NEAR(LanczosSinc(i / 1000.0), Lanczos3(i / 1000.0), 0.0017)
        << i;  // an eighth of the step squared times the curvature 3.66
  // A whole position isn't a sample of the table, so that what lies there isn't quite 0: the table decides.
  EXPECT_NEAR(LanczosSinc(1.0), LanczosTable[66] / 3 + LanczosTable[67] * 2 / 3, 1e-6);
  EXPECT_GT(LanczosSinc(1.0), 0.0005f);
}

TEST(LanczosKernel, SumsToOneAtEveryPhase) {
  for (const float x : {0.0f, 0.5f, 7.25f, -3.75f, 1000.125f, 0.999999f}) {
    float kernel[6];
    getLanczosKernel(x, kernel);
    float sum = 0.0f;
    for (const float weight : kernel) sum += weight;
    EXPECT_NEAR(sum, 1.0f, 3e-7f) << x;  // a few roundings of numbers about 1
  }
}

TEST(LanczosKernel, IsSymmetricHalfWay) {
  float kernel[6];
  getLanczosKernel(10.5f, kernel);
  const double raw[3] = {Lanczos3(2.5), Lanczos3(1.5), Lanczos3(0.5)};
  const double sum = 2 * (raw[0] + raw[1] + raw[2]);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(kernel[i], raw[i] / sum, 0.002) << i;
    EXPECT_NEAR(kernel[i], kernel[5 - i], 1e-6) << i;
  }
}

TEST(LanczosKernel, IsNearlyTheSampleItselfAtAWholePosition) {
  float kernel[6];
  getLanczosKernel(-4.0f, kernel);
  EXPECT_NEAR(kernel[2], 1.0f, 0.003f);
  for (const int i : {0, 1, 3, 4, 5}) EXPECT_NEAR(kernel[i], 0.0f, 0.001f) << i;
  EXPECT_EQ(kernel[5], 0.0f);  // three samples away
}

TEST(CubicInterpolate, PassesThroughItsPointsAndReproducesAParabola) {
  EXPECT_EQ(cubicInterpolate(7, 3, 9, 1, 0.0f), 3.0f);
  EXPECT_EQ(cubicInterpolate(7, 3, 9, 1, 1.0f), 9.0f);
  const auto parabola = [](float t) { return 2 * t * t - 3 * t + 5; };
  for (const float t : {0.25f, 0.5f, 0.875f})
    EXPECT_FLOAT_EQ(cubicInterpolate(parabola(-1), parabola(0), parabola(1), parabola(2), t), parabola(t)) << t;
}

TEST(CubicInterpolate, OvershootsBesideAStep) {
  EXPECT_FLOAT_EQ(cubicInterpolate(0, 0, 16, 16, 0.5f), 8.0f);
  EXPECT_FLOAT_EQ(cubicInterpolate(0, 16, 16, 16, 0.5f), 17.0f);  // -1/16, 9/16, 9/16, -1/16
}

}  // namespace
}  // namespace Vorn
