#include "analysis/ArrayOptFunction.h"

#include <gtest/gtest.h>

#include <cmath>

#include "numerics/Parallel.h"

using Vorn::FastArray;
using Vorn::Matrix;

namespace {

/// Values 100 y + x, so that a place in it tells itself.
FastArray Places(int width, int height) {
  FastArray array(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) array(x, y) = static_cast<float>(100 * y + x);
  return array;
}

TEST(BilinearInterpolateTest, BlendsTheFourNeighbours) {
  FastArray a(2, 2);
  a(0, 0) = 10;
  a(1, 0) = 20;
  a(0, 1) = 50;
  a(1, 1) = 100;
  EXPECT_EQ(bilinearInterpolate(&a, 0.0f, 0.0f), 10.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 0.5f, 0.0f), 15.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 0.0f, 0.25f), 20.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 0.5f, 0.25f), 30.0f);  // 15 and 75, three to one
}

TEST(BilinearInterpolateTest, IsZeroWhereTheFirstNeighbourIsOutside) {
  const FastArray a = Places(4, 3);
  EXPECT_EQ(bilinearInterpolate(&a, -0.01f, 1.0f), 0.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 1.0f, -0.01f), 0.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 4.0f, 1.0f), 0.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 1.0f, 3.0f), 0.0f);
  EXPECT_EQ(bilinearInterpolate(&a, std::nanf(""), 1.0f), 0.0f);
  EXPECT_EQ(bilinearInterpolate(&a, 3.0f, 2.0f), 203.0f);
}

TEST(ArrayOptFunctionTest, SetArraysTellsTheRegion) {
  FastArray moving = Places(11, 8), fixed = Places(11, 8);
  QuasiAffineArrayOpt alignment;
  EXPECT_EQ(alignment.derivativeStep, 0.5);
  EXPECT_EQ(alignment.numParams, 4u);
  EXPECT_EQ(alignment.regionWidth, 1);
  alignment.SetArrays(moving, fixed, 2);
  EXPECT_EQ(alignment.region.tlx, 2);
  EXPECT_EQ(alignment.region.tly, 2);
  EXPECT_EQ(alignment.region.brx, 8);
  EXPECT_EQ(alignment.region.bry, 5);
  EXPECT_EQ(alignment.regionWidth, 7);
  EXPECT_EQ(alignment.numResiduals, 28);
  EXPECT_EQ(alignment.centre.x, 0.0);
  alignment.useCentre = true;
  alignment.SetArrays(moving, fixed, 0);
  EXPECT_EQ(alignment.centre.x, 5.0);
  EXPECT_EQ(alignment.centre.y, 4.0);
  EXPECT_EQ(alignment.numResiduals, 88);
}

TEST(ArrayOptFunctionTest, ABorderThatLeavesNothingCountsNothing) {
  FastArray moving = Places(6, 6), fixed = Places(6, 6);
  QuasiAffineArrayOpt alignment;
  alignment.SetArrays(moving, fixed, 3);
  EXPECT_EQ(alignment.numResiduals, 0);
  std::vector<double> residuals;
  EXPECT_EQ(alignment.GetError({1, 0, 0, 0}, residuals), 0.0);
  Matrix j;
  alignment.CalculateJacobian({1, 0, 0, 0}, j);
  EXPECT_EQ(j.rows, 0u);
}

TEST(QuasiAffineArrayOptTest, AnElementIsTheDifferenceThatTheMotionBringsTogether) {
  FastArray moving = Places(11, 9), fixed = Places(11, 9);
  QuasiAffineArrayOpt alignment;
  alignment.useCentre = true;
  alignment.SetArrays(moving, fixed, 0);
  double e = 0;
  // The pixel (6, 4) is (1, 0) from the centre (5, 4); twice as far and turned to the left it is (5 + 0, 4 + 2).
  ASSERT_TRUE(alignment.E({0, 2, 0, 0}, 4 * 11 + 6, e));
  EXPECT_DOUBLE_EQ(e, (605.0) - 406.0);
  ASSERT_TRUE(alignment.E({1, 0, 0.5, -1}, 4 * 11 + 6, e));
  EXPECT_DOUBLE_EQ(e, 0.5 - 100.0);
}

TEST(QuasiAffineArrayOptTest, APixelCountsOneInsideTheRegion) {
  FastArray moving = Places(11, 9), fixed = Places(11, 9);
  QuasiAffineArrayOpt alignment;
  alignment.SetArrays(moving, fixed, 1);  // columns 1 to 9, rows 1 to 7
  double e = 0;
  EXPECT_TRUE(alignment.E({1, 0, 1, 1}, 0, e));  // (1, 1) comes to (2, 2)
  EXPECT_FALSE(alignment.E({1, 0, 0.999, 1}, 0, e));
  EXPECT_EQ(e, 0.0);
  EXPECT_FALSE(alignment.E({1, 0, 1, 0.999}, 0, e));
  EXPECT_TRUE(alignment.E({1, 0, -1, -1}, 62, e));  // the last, (9, 7), comes to (8, 6)
  EXPECT_FALSE(alignment.E({1, 0, -0.999, -1}, 62, e));
}

TEST(QuasiAffineArrayOptTest, TheErrorIsTheMeanOverThePixelsThatCountWhateverTheProcessors) {
  FastArray moving = Places(13, 10), fixed = Places(13, 10);
  for (const int processors : {1, 2, 3, 7, 16}) {
    Vorn::SetProcessorCount(processors);
    QuasiAffineArrayOpt alignment;
    alignment.SetArrays(moving, fixed, 0);
    std::vector<double> residuals;
    // To (x + 2, y + 1): x from 0 to 9 and y from 0 to 7 stay one inside, each with a difference of 102.
    EXPECT_DOUBLE_EQ(alignment.GetError({1, 0, 2, 1}, residuals), 102.0 * 102.0);
    EXPECT_EQ(alignment.validCount, 10 * 8);
    ASSERT_EQ(residuals.size(), 130u);
    EXPECT_EQ(residuals[0], 102.0);
    EXPECT_EQ(residuals[9], 102.0);
    EXPECT_EQ(residuals[10], 0.0);
    EXPECT_EQ(residuals[8 * 13], 0.0);
    EXPECT_EQ(alignment.GetError({1, 0, 50, 0}, residuals), 0.0);
    EXPECT_EQ(alignment.validCount, 0);
  }
  Vorn::SetProcessorCount(0);
}

TEST(QuasiAffineArrayOptTest, TheJacobianIsTheGradientTimesThePlainPlace) {
  FastArray moving = Places(13, 10), fixed = Places(13, 10);
  for (const int processors : {1, 3}) {
    Vorn::SetProcessorCount(processors);
    QuasiAffineArrayOpt alignment;
    alignment.useCentre = true;
    alignment.SetArrays(moving, fixed, 0);
    Matrix j;
    alignment.CalculateJacobian({1, 0, 0, 0}, j);
    ASSERT_EQ(j.rows, 130u);
    ASSERT_EQ(j.columns, 4u);
    const int index = 6 * 13 + 4;  // the pixel (4, 6), with the gradient (1, 100)
    EXPECT_DOUBLE_EQ(j(index, 0), 4 * 1 + 6 * 100);
    EXPECT_DOUBLE_EQ(j(index, 1), 4 * 100 - 6 * 1);
    EXPECT_DOUBLE_EQ(j(index, 2), 1);
    EXPECT_DOUBLE_EQ(j(index, 3), 100);
    for (int p = 0; p < 4; ++p) EXPECT_EQ(j(4, p), 0.0);  // the first row is at the edge
  }
  Vorn::SetProcessorCount(0);
}

}  // namespace
