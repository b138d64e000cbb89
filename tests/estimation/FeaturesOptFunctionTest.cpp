#include "estimation/FeaturesOptFunction.h"

#include <gmock/gmock.h>

#include "PlantedMatches.h"
#include "estimation/LM.h"

namespace Vorn {
namespace {

using testing::ElementsAre;

// Two matches crosswise: (1, 2) with (11, 19) and (3, -1) with (10, 20), the latter with weight 0.5.
struct TwoMatches {
  TwoMatches() {
    a.Add({1, 2});
    a.Add({3, -1});
    Point2D light(10, 20);
    light.weight = 0.5;
    b.Add(light);
    b.Add({11, 19});
    matches.AddMatch(0, 1, 1.0);
    matches.AddMatch(1, 0, 0.7);
  }
  PointSet a, b;
  MatchSet matches;
};

template <typename Problem>
Problem& Attach(Problem& problem, TwoMatches& two) {
  problem.points1 = &two.a;
  problem.points2 = &two.b;
  problem.matches = &two.matches;
  problem.numResiduals = 4;
  return problem;
}

const std::vector<double> quasiAffine = {2, 1, 10, 20};              // (1, 2) to (10, 25), (3, -1) to (17, 21)
const std::vector<double> homography = {2, 0, 1, 0, 4, 2, 1, 0, 1};  // w = x + 1: (1, 2) to (1.5, 5), (3, -1) to
                                                                     // (1.75, -0.5)

TEST(FeaturesOptFunction, ParameterCountsAreThoseOfTheModels) {
  EXPECT_EQ(WeightedQuasiAffineFeatureOpt().numParams, 4u);
  EXPECT_EQ(RobustQuasiAffineFeatureOpt().numParams, 4u);
  EXPECT_EQ(WeightedHomographyFeatureOpt().numParams, 9u);
  EXPECT_EQ(RobustHomographyFeatureOpt().numParams, 9u);
}

TEST(FeaturesOptFunction, ConstructorWithSetsCountsTwoResidualsAMatch) {
  TwoMatches two;
  two.matches.AddMatch(0, 0, 0.0);  // without a score it doesn't count
  const WeightedHomographyFeatureOpt problem(two.a, two.b, two.matches);
  EXPECT_EQ(problem.numResiduals, 4);
  EXPECT_EQ(problem.points1, &two.a);
  EXPECT_EQ(problem.points2, &two.b);
  EXPECT_EQ(problem.matches, &two.matches);
}

TEST(FeaturesOptFunction, WeightedResidualsAreProjectedMinusObservedTimesTheSecondPointsWeight) {
  TwoMatches two;
  WeightedQuasiAffineFeatureOpt similarity;
  std::vector<double> residuals;
  const double cost = Attach(similarity, two).GetError(quasiAffine, residuals);
  EXPECT_THAT(residuals, ElementsAre(-1, 6, 3.5, 0.5));
  EXPECT_DOUBLE_EQ(cost, (1 + 36 + 12.25 + 0.25) / 4);
  EXPECT_EQ(similarity.validCount, 4);
  EXPECT_DOUBLE_EQ(similarity.totalError, 49.5);

  WeightedHomographyFeatureOpt projective;
  Attach(projective, two).GetError(homography, residuals);
  EXPECT_THAT(residuals, ElementsAre(-9.5, -14, -4.125, -10.25));
}

TEST(FeaturesOptFunction, RobustResidualsAreClippedAtTwoWithTheirSignAndKnowNoWeight) {
  TwoMatches two;
  RobustQuasiAffineFeatureOpt similarity;
  std::vector<double> residuals;
  Attach(similarity, two).GetError(quasiAffine, residuals);
  EXPECT_THAT(residuals, ElementsAre(-1, 2, 2, 1));

  RobustHomographyFeatureOpt projective;
  Attach(projective, two).GetError(homography, residuals);
  EXPECT_THAT(residuals, ElementsAre(-2, -2, -2, -2));
}

TEST(FeaturesOptFunction, SingleResidualIsXForAnEvenIndexAndYForAnOddOne) {
  TwoMatches two;
  RobustQuasiAffineFeatureOpt problem;
  Attach(problem, two);
  std::vector<double> all;
  problem.GetError(quasiAffine, all);
  for (int i = 0; i < 4; ++i) {
    double e = 99;
    EXPECT_TRUE(problem.E(quasiAffine, i, e));
    EXPECT_EQ(e, all[i]);
  }
  double ex = 0, ey = 0;
  EXPECT_TRUE(problem.Efeature(quasiAffine, 1, ex, ey));
  EXPECT_EQ(ex, 2);
  EXPECT_EQ(ey, 1);
}

TEST(FeaturesOptFunction, QuasiAffineJacobianIsTheExactDerivativeWithoutWeightOrClipping) {
  TwoMatches two;
  WeightedQuasiAffineFeatureOpt weighted;
  RobustQuasiAffineFeatureOpt robust;
  for (FeaturesOptFunction* problem :
       {static_cast<FeaturesOptFunction*>(&weighted), static_cast<FeaturesOptFunction*>(&robust)}) {
    Matrix j(4, 4);
    Attach(*problem, two).CalculateJacobian(quasiAffine, j);
    std::vector<double> values;
    j.GetAsVector(values);
    EXPECT_THAT(values, ElementsAre(1, -2, 1, 0, 2, 1, 0, 1, 3, 1, 1, 0, -1, 3, 0, 1));
  }
}

TEST(FeaturesOptFunction, HomographyJacobianHasOneFactorOfWInItsLastTerms) {
  TwoMatches two;
  WeightedHomographyFeatureOpt weighted;
  RobustHomographyFeatureOpt robust;
  for (FeaturesOptFunction* problem :
       {static_cast<FeaturesOptFunction*>(&weighted), static_cast<FeaturesOptFunction*>(&robust)}) {
    Matrix j(4, 9);
    Attach(*problem, two).CalculateJacobian(homography, j);
    std::vector<double> rows;
    j.GetAsVector(rows);
    rows.resize(18);                                                     // those of (1, 2): n1 = 3, n2 = 10, w = 2
    EXPECT_THAT(rows, ElementsAre(0.5, 1, 0.5, 0, 0, 0, -1.5, -3, -1.5,  //
                                  0, 0, 0, 0.5, 1, 0.5, -5, -10, -5));
  }
}

TEST(FeaturesOptFunction, WithoutMatchesTheErrorIsZeroAndNoTrialIsTaken) {
  TwoMatches two;
  MatchSet none;
  WeightedQuasiAffineFeatureOpt problem(two.a, two.b, none);
  LM lm(problem);
  std::vector<double> params = quasiAffine;
  EXPECT_EQ(lm.Optimise(params, false), 0.0);
  EXPECT_TRUE(lm.lambdaStuck);
  EXPECT_EQ(params, quasiAffine);
}

TEST(FeaturesOptFunction, WithoutSetsTheErrorIsZero) {
  RobustHomographyFeatureOpt problem;
  std::vector<double> residuals;
  EXPECT_EQ(problem.GetError(homography, residuals), 0.0);
}

TEST(FeaturesOptFunction, WeightsOfZeroEndAsAtTheOptimum) {
  TwoMatches two;
  for (Point2D& p : two.b.points) p.weight = 0;
  WeightedHomographyFeatureOpt problem(two.a, two.b, two.matches);
  LM lm(problem);
  std::vector<double> params = homography;
  EXPECT_EQ(lm.Optimise(params, false), 0.0);
  EXPECT_TRUE(lm.lambdaStuck);
  EXPECT_EQ(params, homography);
}

TEST(FeaturesOptFunction, AllMatchesCountWhateverTheProcessorCount) {
  PlantedMatches planted = Plant(5001, 0, 0, AsHomography({1, 0, 0, 0}));
  for (const int processors : {1, 2, 3, 8}) {
    SetProcessorCount(processors);
    WeightedQuasiAffineFeatureOpt problem(planted.a, planted.b, planted.matches);
    std::vector<double> residuals;
    EXPECT_NEAR(problem.GetError({1, 0, 3, 4}, residuals), 12.5, 1e-9) << processors;
    EXPECT_EQ(problem.validCount, 10002);
    EXPECT_NEAR(residuals[10000], 3, 1e-9);
    EXPECT_NEAR(residuals[10001], 4, 1e-9);
  }
  SetProcessorCount(0);
}

TEST(FeaturesOptFunction, MinimiserFindsTheHomographyDespiteTheSimplifiedJacobian) {
  const std::vector<double> truth = {1.02, 0.01, 0.1, -0.02, 0.98, 0.05, 0.01, -0.02, 1};
  PointSet a, b;
  MatchSet matches;
  for (int k = 0; k < 25; ++k) {  // a grid over -1 to 1, as after normalisation
    a.Add({k % 5 * 0.5 - 1, k / 5 * 0.5 - 1});
    b.Add(MovedBy(truth, a[k].x, a[k].y));
    matches.AddMatch(k, k, 1.0);
  }
  WeightedHomographyFeatureOpt problem(a, b, matches);
  LM lm(problem);
  std::vector<double> params = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_LT(lm.Optimise(params, false), 1e-7);
  for (int k = 0; k < 25; ++k) {
    const Point2D found = MovedBy(params, a[k].x, a[k].y);
    EXPECT_NEAR(found.x, b[k].x, 1e-3);  // a cost below 1e-7 leaves about 3e-4
    EXPECT_NEAR(found.y, b[k].y, 1e-3);
  }
}

}  // namespace
}  // namespace Vorn
