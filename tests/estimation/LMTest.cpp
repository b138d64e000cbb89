#include "estimation/LM.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

// The line p0 x + p1 through (0, 1), (1, 3), (2, 4), (3, 4).
class LineFit : public LeastSquaresFunction {
 public:
  LineFit() : LeastSquaresFunction(2) { numResiduals = 4; }
  bool E(const std::vector<double>& params, int index, double& e) override {
    const double y[] = {1, 3, 4, 4};
    e = params[0] * index + params[1] - y[index];
    return true;
  }
  void UpdateFromLocation(const std::vector<double>& params) override { locations.push_back(params); }
  std::vector<std::vector<double>> locations;
};

// One residual scale * f(p), with a count of the costs that were asked for.
class Scalar : public LeastSquaresFunction {
 public:
  Scalar(double (*f)(double), double factor) : LeastSquaresFunction(1), residual(f), scale(factor) { numResiduals = 1; }
  bool E(const std::vector<double>& params, int /*index*/, double& e) override {
    e = scale * residual(params[0]);
    return true;
  }
  double GetError(const std::vector<double>& params, std::vector<double>& residuals) override {
    ++costs;
    return LeastSquaresFunction::GetError(params, residuals);
  }
  double (*residual)(double);
  double scale;
  int costs = 0;
};

TEST(LM, DefaultsAreAsDocumented) {
  LineFit fit;
  const LM lm(fit);
  EXPECT_EQ(lm.initialCost, -1.0);
  EXPECT_FALSE(lm.converged);
  EXPECT_FALSE(lm.lambdaStuck);
  EXPECT_FALSE(lm.finished);
  EXPECT_EQ(lm.maxIterations, 10000);
  EXPECT_EQ(lm.tolerance, 0.00000001);
  EXPECT_EQ(lm.function, &fit);
}

TEST(LM, FindsTheLeastSquaresLine) {
  LineFit fit;
  LM lm(fit);
  std::vector<double> params = {0, 0};
  const double cost = lm.Optimise(params, false);
  EXPECT_NEAR(params[0], 1.0, 1e-4);  // the normal equations give slope 1 and intercept 1.5
  EXPECT_NEAR(params[1], 1.5, 1e-4);
  EXPECT_NEAR(cost, (0.25 + 0.25 + 0.25 + 0.25) / 4, 1e-8);
  EXPECT_DOUBLE_EQ(lm.initialCost, (1.0 + 9 + 16 + 16) / 4);
}

TEST(LM, TellsTheFunctionWhereEachIterationHasCome) {
  LineFit fit;
  LM lm(fit);
  std::vector<double> params = {0, 0};
  lm.Optimise(params, false);
  ASSERT_FALSE(fit.locations.empty());
  EXPECT_EQ(fit.locations.back(), params);
}

TEST(LM, FindsTheMinimumOfACurvedFunction) {
  Scalar root([](double p) { return p * p - 2; }, 1);
  LM lm(root);
  lm.tolerance = 1e-20;
  std::vector<double> params = {5};
  lm.Optimise(params, false);
  EXPECT_NEAR(params[0], std::sqrt(2.0), 1e-6);
}

TEST(LM, StartAtTheOptimumRunsOutOfDampingAfterFourteenTrials) {
  Scalar atRest([](double p) { return p - 3; }, 1);
  LM lm(atRest);
  std::vector<double> params = {3};
  EXPECT_EQ(lm.Optimise(params, false), 0.0);
  EXPECT_TRUE(lm.lambdaStuck);
  EXPECT_FALSE(lm.converged);
  EXPECT_FALSE(lm.finished);
  EXPECT_THAT(params, ElementsAre(3));
  EXPECT_EQ(atRest.costs, 1 + 14);  // 0.001 times ten to the 13th is 1e10, which isn't above the limit yet
}

TEST(LM, FallByLessThanTheToleranceIsTakenAndEnds) {
  Scalar shallow([](double p) { return p; }, 1e-5);
  LM lm(shallow);
  std::vector<double> params = {1};
  const double cost = lm.Optimise(params, false);
  EXPECT_TRUE(lm.converged);
  EXPECT_TRUE(lm.finished);
  EXPECT_FALSE(lm.lambdaStuck);
  EXPECT_EQ(shallow.costs, 2);
  EXPECT_NEAR(params[0], 0.001 / 1.001, 1e-9);  // the damped step is p / (1 + lambda)
  EXPECT_LT(cost, lm.initialCost);
}

// Each step adds 1 / (1 + lambda) to p and divides the cost by about e squared: far from done after 30 of them.
double Decay(double p) { return std::exp(-p); }

TEST(LM, IterationLimitEndsWithNeitherFlag) {
  Scalar endless(Decay, 1e10);
  LM lm(endless);
  lm.maxIterations = 30;
  std::vector<double> params = {0};
  const double cost = lm.Optimise(params, false);
  EXPECT_FALSE(lm.converged);
  EXPECT_FALSE(lm.lambdaStuck);
  EXPECT_FALSE(lm.finished);
  EXPECT_EQ(endless.costs, 2 * 30);
  EXPECT_NEAR(params[0], 30, 0.1);
  EXPECT_DOUBLE_EQ(cost, 1e20 * std::exp(-2 * params[0]));
}

TEST(LM, VerboseRunPrintsEachCostAndTheOutcome) {
  const auto printed = [](double (*f)(double), double scale, double start, int limit) {
    Scalar function(f, scale);
    LM lm(function);
    lm.maxIterations = limit;
    std::vector<double> params = {start};
    testing::internal::CaptureStdout();
    lm.Optimise(params, true);
    return testing::internal::GetCapturedStdout();
  };
  const auto linear = [](double p) { return p - 3; };
  EXPECT_EQ(printed(linear, 1, 3, 10), "0. 0\nOptimisation finished at iteration 1, cost 0\nLambda stuck\n");
  const std::string unconverged = printed(Decay, 1e10, 0, 30);
  EXPECT_THAT(unconverged, StartsWith("0. 1e+20\n1. "));
  EXPECT_THAT(unconverged, testing::HasSubstr("Optimisation finished at iteration 30, cost "));
  EXPECT_THAT(unconverged, EndsWith("\nUnconverged\n"));
  EXPECT_THAT(printed(linear, 1e-5, 4, 10), EndsWith("\nConverged\n"));
}

TEST(LM, QuietRunPrintsNothing) {
  LineFit fit;
  LM lm(fit);
  std::vector<double> params = {0, 0};
  testing::internal::CaptureStdout();
  lm.Optimise(params, false);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(LM, SecondRunStartsWithFreshFlags) {
  Scalar endless(Decay, 1e10);
  LM lm(endless);
  lm.converged = lm.lambdaStuck = lm.finished = true;
  lm.maxIterations = 1;
  std::vector<double> params = {0};
  lm.Optimise(params, false);
  EXPECT_FALSE(lm.converged || lm.lambdaStuck || lm.finished);
}

TEST(LM, TrialInWhichNoResidualCountsIsRefused) {
  class CountsOnlyAtStart : public LeastSquaresFunction {
   public:
    CountsOnlyAtStart() : LeastSquaresFunction(1) { numResiduals = 2; }
    bool E(const std::vector<double>& params, int /*index*/, double& e) override {
      e = params[0];
      return std::fabs(params[0] - 1) < 1e-3;  // the numeric Jacobian's step stays inside
    }
  } function;
  LM lm(function);
  std::vector<double> params = {1};
  const double cost = lm.Optimise(params, false);
  EXPECT_GT(params[0], 1 - 1e-3);  // only steps that keep residuals are taken
  EXPECT_GT(cost, 0.99);
  EXPECT_TRUE(lm.lambdaStuck || lm.converged);
}

TEST(LM, ResidualsThatAreNotNumbersEndWithoutAStep) {
  Scalar broken([](double) { return std::numeric_limits<double>::quiet_NaN(); }, 1);
  LM lm(broken);
  std::vector<double> params = {1};
  lm.Optimise(params, false);
  EXPECT_TRUE(lm.lambdaStuck);
  EXPECT_THAT(params, ElementsAre(1));
}

}  // namespace
}  // namespace Vorn
