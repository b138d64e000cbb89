#include "estimation/WeightedQuasiAffineModel.h"

#include <gmock/gmock.h>

#include <cmath>

#include "PlantedMatches.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P2(IsNear, expected, tolerance, "") {
  if (arg.size() != expected.size()) return false;
  for (size_t i = 0; i < expected.size(); ++i)
    if (!(std::fabs(arg[i] - expected[i]) <= tolerance)) return false;
  return true;
}

const std::vector<double> known = {1.1, -0.2, 12, -7};

TEST(WeightedQuasiAffineModel, Defaults) {
  WeightedQuasiAffineModel model;
  EXPECT_EQ(model.minSamples, 2);
  EXPECT_EQ(model.chiThreshold, 5.99);
  EXPECT_THAT(model.GetModel(), IsEmpty());
  EXPECT_THAT(model.inverseParams, IsEmpty());
}

TEST(WeightedQuasiAffineModel, TwoMatchesGiveTheExactSimilarity) {
  PlantedMatches two = Plant(2, 0, 0, AsHomography(known));
  WeightedQuasiAffineModel model;
  std::vector<double> params;
  EXPECT_TRUE(model.Estimate(two.a, two.b, two.matches, params));
  EXPECT_THAT(params, IsNear(known, 1e-9));
  EXPECT_THAT(model.GetModel(), IsEmpty());  // this form writes no member
}

TEST(WeightedQuasiAffineModel, ManyMatchesGiveTheLeastSquaresSimilarityWithoutWeights) {
  PointSet a, b;
  MatchSet matches;
  const double at[][4] = {{1, 0, 3, 1}, {-1, 0, 1, 1}, {0, 1, 2, 3}, {0, -1, 2, -1}};
  for (int k = 0; k < 4; ++k) {
    a.Add({at[k][0], at[k][1]});
    b.Add({at[k][2], at[k][3]});
    b[k].weight = k;
    matches.AddMatch(k, k, 1.0 + k);
  }
  WeightedQuasiAffineModel model;
  std::vector<double> params;
  model.Estimate(a, b, matches, params);
  // Centred, the sums of x x' + y y' (1 + 1 + 2 + 2) and of x y' - y x' (0) over that of x x + y y (4); mean (2, 1).
  EXPECT_THAT(params, IsNear(std::vector<double>{1.5, 0, 2, 1}, 1e-12));
}

TEST(WeightedQuasiAffineModel, FitTakesTheFirstPositionsOfTheSetAsManyAsHaveAScore) {
  PlantedMatches planted = Plant(4, 0, 0, AsHomography(known));
  planted.b[3] = {0, 0};
  MatchSet matches;
  for (int k = 0; k < 3; ++k) matches.AddMatch(k, k, 1.0);
  matches.AddMatch(3, 3, 0.0);
  WeightedQuasiAffineModel model;
  std::vector<double> params;
  model.Estimate(planted.a, planted.b, matches, params);
  EXPECT_THAT(params, IsNear(known, 1e-9));
}

TEST(WeightedQuasiAffineModel, PointsOnOneSpotGetTheShortestSolution) {
  PointSet a, b;
  MatchSet matches;
  for (int k = 0; k < 3; ++k) {
    a.Add({0, 0});
    b.Add({4, 6});
    matches.AddMatch(k, k, 1.0);
  }
  WeightedQuasiAffineModel model;
  std::vector<double> params;
  EXPECT_TRUE(model.Estimate(a, b, matches, params));
  EXPECT_THAT(params, IsNear(std::vector<double>{0, 0, 4, 6}, 1e-12));  // scale and rotation are left open: 0
}

TEST(WeightedQuasiAffineModel, NoMatchesGiveZeroParameters) {
  PointSet a, b;
  MatchSet matches;
  WeightedQuasiAffineModel model;
  std::vector<double> params = {9};
  EXPECT_TRUE(model.Estimate(a, b, matches, params));
  EXPECT_THAT(params, ElementsAre(0, 0, 0, 0));
}

TEST(WeightedQuasiAffineModel, FitWithInverseSetsBothMappings) {
  PlantedMatches planted = Plant(10, 0, 0, AsHomography(known));
  WeightedQuasiAffineModel model;
  EXPECT_TRUE(model.Estimate(planted.a, planted.b, planted.matches));
  EXPECT_THAT(model.GetModel(), IsNear(known, 1e-9));
  const double norm = 1.1 * 1.1 + 0.2 * 0.2;  // the inverse of (a, b) as a complex number
  const double ia = 1.1 / norm, ib = 0.2 / norm;
  EXPECT_THAT(model.inverseParams,
              IsNear(std::vector<double>{ia, ib, -(ia * 12 - ib * -7), -(ib * 12 + ia * -7)}, 1e-8));
}

TEST(WeightedQuasiAffineModel, SetModelRebuildsTheInverseOnlyFromFourParameters) {
  WeightedQuasiAffineModel model;
  std::vector<double> params = {2, 0, 6, -4};
  model.SetModel(params);
  EXPECT_THAT(model.inverseParams, IsNear(std::vector<double>{0.5, 0, -3, 2}, 1e-12));
  std::vector<double> tooFew = {1, 2, 3};
  model.SetModel(tooFew);
  EXPECT_THAT(model.GetModel(), ElementsAre(1, 2, 3));
  EXPECT_THAT(model.inverseParams, IsNear(std::vector<double>{0.5, 0, -3, 2}, 1e-12));
}

TEST(WeightedQuasiAffineModel, ProjectsByItsOwnOrTheGivenParameters) {
  WeightedQuasiAffineModel model;
  std::vector<double> own = {1, 0, 5, 6}, given = {2, 1, 10, 20};
  model.SetModel(own);
  Point2D out;
  model.Project({1, 2}, out);
  EXPECT_EQ(out.x, 6);
  EXPECT_EQ(out.y, 8);
  model.Project({1, 2}, out, given);
  EXPECT_EQ(out.x, 10);
  EXPECT_EQ(out.y, 25);
}

TEST(WeightedQuasiAffineModel, PairErrorsAreWeightedSquaredDistances) {
  WeightedQuasiAffineModel model;
  std::vector<double> params = {2, 0, 0, 0};
  model.SetModel(params);
  const Point2D a(1, 1);
  Point2D b(5, 6);  // (3, 4) from (2, 2); back at (2.5, 3) it is (1.5, 2) from a
  b.weight = 0.5;
  EXPECT_DOUBLE_EQ(model.Evaluate(a, b, params), 25 * 0.5);
  EXPECT_DOUBLE_EQ(model.Evaluate(a, b), (25 + 6.25) * 0.5);
  b.weight = 0;
  EXPECT_EQ(model.Evaluate(a, b, params), 0.0);
  EXPECT_EQ(model.Evaluate(a, b), 0.0);
}

TEST(WeightedQuasiAffineModel, OptimiseWeighsTheResidualsAndLeavesTheResultInTheModel) {
  PlantedMatches planted = Plant(40, 0, 0, AsHomography(known));
  for (int k = 0; k < 40; k += 4) {
    planted.b[k].x += 500;
    planted.b[k].weight = 0;  // what disagrees has no say
  }
  WeightedQuasiAffineModel model;
  std::vector<double> start = {1, 0, 0, 0};
  const double cost = model.Optimise(planted.a, planted.b, planted.matches, start, 1000, false);
  EXPECT_NEAR(cost, 0, 1e-8);
  EXPECT_LT(LargestDifference(AsHomography(model.GetModel()), AsHomography(known)), 0.01);
  EXPECT_THAT(start, ElementsAre(1, 0, 0, 0));
  EXPECT_THAT(model.inverseParams, testing::SizeIs(4));
}

TEST(WeightedQuasiAffineModel, OptimiseWorksOnItsOwnParametersToo) {
  PlantedMatches planted = Plant(40, 0, 0, AsHomography(known));
  WeightedQuasiAffineModel model;
  model.modelParams = {1, 0, 0, 0};
  model.Optimise(planted.a, planted.b, planted.matches, model.modelParams, 1000, false);
  EXPECT_LT(LargestDifference(AsHomography(model.GetModel()), AsHomography(known)), 0.01);
}

TEST(WeightedQuasiAffineModel, OptimisePrintsWhenVerbose) {
  PlantedMatches planted = Plant(5, 0, 0, AsHomography(known));
  WeightedQuasiAffineModel model;
  std::vector<double> start = {1, 0, 0, 0};
  testing::internal::CaptureStdout();
  model.Optimise(planted.a, planted.b, planted.matches, start, 1, true);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::HasSubstr("Optimisation finished at iteration 1, cost "));
}

TEST(WeightedQuasiAffineModel, SampleIsDegenerateWithFewerThanTwoPointsOrAllEqual) {
  const WeightedQuasiAffineModel model;
  PointSet points;
  EXPECT_TRUE(model.IsDegenerate(points));
  points.Add({3, 4});
  EXPECT_TRUE(model.IsDegenerate(points));
  points.Add({3, 4});
  EXPECT_TRUE(model.IsDegenerate(points));
  points[1].id = 5;  // points of different features aren't equal
  EXPECT_FALSE(model.IsDegenerate(points));
  points[1].id = -1;
  points.Add({3, 5});
  EXPECT_FALSE(model.IsDegenerate(points));
}

TEST(WeightedQuasiAffineModel, ParametersAreNeverDegenerate) {
  WeightedQuasiAffineModel model;
  EXPECT_FALSE(model.IsDegenerate(std::vector<double>{0, 0, 0, 0}));
}

}  // namespace
}  // namespace Vorn
