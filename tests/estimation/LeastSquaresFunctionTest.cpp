#include "estimation/LeastSquaresFunction.h"

#include <gmock/gmock.h>

namespace Vorn {
namespace {

using testing::DoubleNear;
using testing::ElementsAre;

// Residual i is p0 * i + p1, and every third one doesn't count.
class Ramp : public LeastSquaresFunction {
 public:
  explicit Ramp(int residuals) : LeastSquaresFunction(2) { numResiduals = residuals; }
  bool E(const std::vector<double>& params, int index, double& e) override {
    e = params[0] * index + params[1];
    return index % 3 != 2;
  }
};

TEST(LeastSquaresFunction, DefaultsAreNoResidualsAndAChosenStep) {
  const Ramp ramp(0);
  EXPECT_EQ(ramp.numParams, 2u);
  EXPECT_EQ(ramp.numResiduals, 0);
  EXPECT_EQ(ramp.validCount, 0);
  EXPECT_EQ(ramp.totalError, 0.0);
  EXPECT_LE(ramp.derivativeStep, 0.0);
}

TEST(LeastSquaresFunction, ErrorIsTheMeanSquareOfTheResidualsThatCount) {
  Ramp ramp(5);
  std::vector<double> residuals = {9, 9};
  EXPECT_DOUBLE_EQ(ramp.GetError({2, 1}, residuals), (1.0 + 9 + 49 + 81) / 4);
  EXPECT_THAT(residuals, ElementsAre(1, 3, 0, 7, 9));  // the one that doesn't count is 0
  EXPECT_EQ(ramp.validCount, 4);
  EXPECT_DOUBLE_EQ(ramp.totalError, 140);
}

TEST(LeastSquaresFunction, ErrorWithoutResidualsIsZero) {
  Ramp ramp(0);
  std::vector<double> residuals = {1};
  EXPECT_EQ(ramp.GetError({2, 1}, residuals), 0.0);
  EXPECT_TRUE(residuals.empty());
}

TEST(LeastSquaresFunction, NoResidualIsLeftOutWhateverTheProcessorCount) {
  for (const int count : {1, 2, 5, 7000, 7001}) {
    double squares = 0;
    int counted = 0;
    for (int i = 0; i < count; ++i) {
      if (i % 3 == 2) continue;
      squares += (i + 1.0) * (i + 1.0);  // whole numbers: exact in any order
      ++counted;
    }
    for (const int processors : {1, 2, 3, 8}) {
      SetProcessorCount(processors);
      Ramp ramp(count);
      std::vector<double> residuals;
      EXPECT_EQ(ramp.GetError({1, 1}, residuals), squares / counted) << count << " on " << processors;
      EXPECT_EQ(ramp.validCount, counted);
    }
  }
  SetProcessorCount(0);
}

TEST(LeastSquaresFunction, NumericJacobianHasTheDerivativesAndZeroWhereAResidualDoesNotCount) {
  Ramp ramp(4);
  Matrix j(4, 2);
  ramp.CalculateJacobian({2, 1}, j);
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(j(i, 0), i == 2 ? 0 : i, 1e-9);
    EXPECT_NEAR(j(i, 1), i == 2 ? 0 : 1, 1e-9);
  }
}

// Notes the parameters that it is asked for; the residual is the cube, whose difference quotient shows the step.
class Cube : public LeastSquaresFunction {
 public:
  Cube() : LeastSquaresFunction(1) { numResiduals = 1; }
  bool E(const std::vector<double>& params, int /*index*/, double& e) override {
    asked.push_back(params[0]);
    e = params[0] * params[0] * params[0];
    return true;
  }
  std::vector<double> asked;
};

TEST(LeastSquaresFunction, StepIsATenThousandthOfTheParameterButAtLeastAMillionth) {
  Cube cube;
  Matrix j(1, 1);
  cube.CalculateJacobian({-100}, j);
  cube.CalculateJacobian({0.001}, j);
  cube.CalculateJacobian({0}, j);
  EXPECT_THAT(cube.asked, ElementsAre(DoubleNear(-99.99, 1e-12), DoubleNear(-100.01, 1e-12),
                                      DoubleNear(0.001001, 1e-15), DoubleNear(0.000999, 1e-15), 0.000001, -0.000001));
}

TEST(LeastSquaresFunction, FixedStepIsUsedWhenItIsPositive) {
  Cube cube;
  cube.derivativeStep = 0.5;
  Matrix j(1, 1);
  cube.CalculateJacobian({2}, j);
  EXPECT_THAT(cube.asked, ElementsAre(2.5, 1.5));
  EXPECT_DOUBLE_EQ(j(0, 0), (15.625 - 3.375) / 1.0);
}

TEST(LeastSquaresFunction, JacobianOfAnotherShapeIsResized) {
  Ramp ramp(4);
  Matrix j;
  ramp.CalculateJacobian({2, 1}, j);
  EXPECT_EQ(j.rows, 4u);
  EXPECT_EQ(j.columns, 2u);
}

}  // namespace
}  // namespace Vorn
