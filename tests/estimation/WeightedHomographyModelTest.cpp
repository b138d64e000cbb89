#include "estimation/WeightedHomographyModel.h"

#include <gmock/gmock.h>

#include <cmath>

#include "PlantedMatches.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Of points near the origin, as after normalisation: a rotation, a shift and some perspective.
const std::vector<double> known = {1.02, 0.05, 0.1, -0.04, 0.98, -0.2, 0.03, -0.05, 1};

PlantedMatches PlantNormalised(int count) {
  PlantedMatches planted;
  std::mt19937 random(3);
  std::uniform_real_distribution<double> around(-1.5, 1.5);
  for (int k = 0; k < count; ++k) {
    planted.a.Add({around(random), around(random)});
    planted.b.Add(MovedBy(known, planted.a[k].x, planted.a[k].y));
    planted.matches.AddMatch(k, k, 1.0);
  }
  return planted;
}

void ExpectSameMotion(const std::vector<double>& found, const std::vector<double>& expected, double tolerance) {
  ASSERT_EQ(found.size(), 9u);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(found[i] / found[8], expected[i] / expected[8], tolerance) << i;
}

TEST(WeightedHomographyModel, Defaults) {
  WeightedHomographyModel model;
  EXPECT_EQ(model.minSamples, 5);
  EXPECT_EQ(model.chiThreshold, 5.99);
  EXPECT_THAT(model.GetModel(), IsEmpty());
  EXPECT_THAT(model.inverseParams, IsEmpty());
}

TEST(WeightedHomographyModel, FitRecoversTheMotionFromFivePointsOrMany) {
  for (const int count : {5, 6, 100, 2000}) {
    PlantedMatches planted = PlantNormalised(count);
    WeightedHomographyModel model;
    std::vector<double> params;
    EXPECT_TRUE(model.Estimate(planted.a, planted.b, planted.matches, params));
    ExpectSameMotion(params, known, 1e-9);
    double norm = 0;
    for (double h : params) norm += h * h;
    EXPECT_NEAR(norm, 1, 1e-12);  // a singular vector, as it is
    EXPECT_THAT(model.GetModel(), IsEmpty());
  }
}

TEST(WeightedHomographyModel, FitKnowsNoWeights) {
  PlantedMatches planted = PlantNormalised(20);
  WeightedHomographyModel model;
  std::vector<double> plain, weighted;
  planted.b[4].x += 0.3;
  model.Estimate(planted.a, planted.b, planted.matches, plain);
  planted.b[4].weight = 0;
  model.Estimate(planted.a, planted.b, planted.matches, weighted);
  EXPECT_EQ(plain, weighted);
}

TEST(WeightedHomographyModel, FitWithInverseSetsBothMappings) {
  PlantedMatches planted = PlantNormalised(30);
  WeightedHomographyModel model;
  EXPECT_TRUE(model.Estimate(planted.a, planted.b, planted.matches));
  ExpectSameMotion(model.GetModel(), known, 1e-9);
  ASSERT_EQ(model.inverseParams.size(), 9u);
  for (int k = 0; k < 30; ++k) {
    const Point2D back = MovedBy(model.inverseParams, planted.b[k].x, planted.b[k].y);
    EXPECT_NEAR(back.x, planted.a[k].x, 1e-9);
    EXPECT_NEAR(back.y, planted.a[k].y, 1e-9);
  }
}

TEST(WeightedHomographyModel, SetModelRebuildsTheInverseOnlyFromNineParameters) {
  WeightedHomographyModel model;
  std::vector<double> params = {2, 0, 6, 0, 4, -4, 0, 0, 1}, tooFew = {1, 2, 3, 4, 5, 6, 7, 8};
  model.SetModel(params);
  const std::vector<double> inverse = {0.5, 0, -3, 0, 0.25, 1, 0, 0, 1};
  ASSERT_EQ(model.inverseParams.size(), 9u);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(model.inverseParams[i], inverse[i], 1e-12);
  model.SetModel(tooFew);
  EXPECT_EQ(model.GetModel(), tooFew);
  EXPECT_NEAR(model.inverseParams[2], -3, 1e-12);
}

TEST(WeightedHomographyModel, ProjectsByItsOwnOrTheGivenParameters) {
  WeightedHomographyModel model;
  std::vector<double> own = {1, 0, 5, 0, 1, 6, 0, 0, 2}, given = {2, 0, 1, 0, 4, 2, 1, 0, 1};
  model.SetModel(own);
  Point2D out;
  model.Project({1, 2}, out);
  EXPECT_EQ(out.x, 3);
  EXPECT_EQ(out.y, 4);
  model.Project({1, 2}, out, given);
  EXPECT_EQ(out.x, 1.5);
  EXPECT_EQ(out.y, 5);
}

TEST(WeightedHomographyModel, PairErrorsAreWeightedSquaredDistances) {
  WeightedHomographyModel model;
  std::vector<double> params = {2, 0, 0, 0, 2, 0, 0, 0, 1};
  model.SetModel(params);
  const Point2D a(1, 1);
  Point2D b(5, 6);  // (3, 4) from (2, 2); back at (2.5, 3) it is (1.5, 2) from a
  b.weight = 0.5;
  EXPECT_NEAR(model.Evaluate(a, b, params), 25 * 0.5, 1e-12);
  EXPECT_NEAR(model.Evaluate(a, b), (25 + 6.25) * 0.5, 1e-12);
  b.weight = 0;
  EXPECT_EQ(model.Evaluate(a, b, params), 0.0);
  EXPECT_EQ(model.Evaluate(a, b), 0.0);
}

TEST(WeightedHomographyModel, OptimiseWeighsTheResidualsAndLeavesTheResultInTheModel) {
  PlantedMatches planted = PlantNormalised(40);
  for (int k = 0; k < 40; k += 4) {
    planted.b[k].x += 5;
    planted.b[k].weight = 0;
  }
  WeightedHomographyModel model;
  std::vector<double> start = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_LT(model.Optimise(planted.a, planted.b, planted.matches, start, 1000, false), 1e-7);
  for (int k = 1; k < 40; k += 4) {
    Point2D found;
    model.Project(planted.a[k], found);
    EXPECT_NEAR(found.x, planted.b[k].x, 2e-3);  // a mean square below 1e-7 is 3e-4 on average
    EXPECT_NEAR(found.y, planted.b[k].y, 2e-3);
  }
  EXPECT_THAT(start, ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1));
}

PointSet PointsAt(const std::vector<std::pair<double, double>>& places) {
  PointSet points;
  for (const auto& [x, y] : places) points.Add({x, y});
  return points;
}

TEST(WeightedHomographyModel, ThreePointsOnALineThroughTheOriginAreDegenerate) {
  const WeightedHomographyModel model;
  PointSet throughFirstTwo = PointsAt({{1, 2}, {2, 4}, {3, 6}, {5, 1}});
  EXPECT_TRUE(model.IsDegenerate(throughFirstTwo));
  PointSet throughNextTwo = PointsAt({{1, 7}, {2, 1}, {1, 2}, {3, 6}, {5, 10}});
  EXPECT_TRUE(model.IsDegenerate(throughNextTwo));
  PointSet spread = PointsAt({{1, 2}, {2, 4}, {3, 1}, {5, 1}, {7, 9}});
  EXPECT_FALSE(model.IsDegenerate(spread));
}

TEST(WeightedHomographyModel, LineThatMissesTheOriginIsNotFound) {
  const WeightedHomographyModel model;
  PointSet points = PointsAt({{1, 7}, {2, 9}, {3, 11}, {5, 1}});  // y = 2x + 5: the offset's sign is the wrong one
  EXPECT_FALSE(model.IsDegenerate(points));
}

TEST(WeightedHomographyModel, VerticalLineIsNotDegenerate) {
  const WeightedHomographyModel model;
  PointSet points = PointsAt({{3, 1}, {3, 2}, {3, 5}, {3, 9}});
  EXPECT_FALSE(model.IsDegenerate(points));
}

TEST(WeightedHomographyModel, FewerThanFourPointsAreDegenerate) {
  const WeightedHomographyModel model;
  PointSet points = PointsAt({{3, 1}, {4, 2}, {9, 5}});
  EXPECT_TRUE(model.IsDegenerate(points));
}

TEST(WeightedHomographyModel, ParametersAreDegenerateByTheirAreaScale) {
  WeightedHomographyModel model;
  const auto scaled = [](double sx, double sy, double h8) {
    return std::vector<double>{sx * h8, 0, 0, 0, sy * h8, 0, 0, 0, h8};
  };
  EXPECT_FALSE(model.IsDegenerate(scaled(1, 1, 1)));
  EXPECT_FALSE(model.IsDegenerate(scaled(1, 1, -0.3)));  // any scale of the matrix
  EXPECT_TRUE(model.IsDegenerate(scaled(0.25, 0.2, 1)));
  EXPECT_TRUE(model.IsDegenerate(scaled(0.25, 0.2, 7)));
  EXPECT_TRUE(model.IsDegenerate(scaled(5, 2.1, 1)));
  EXPECT_FALSE(model.IsDegenerate(scaled(5, 1.9, 1)));
  EXPECT_TRUE(model.IsDegenerate(scaled(1, -1, 1)));
  EXPECT_TRUE(model.IsDegenerate(std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 1}));  // determinant 1*(5-48) ... = 24
}

}  // namespace
}  // namespace Vorn
