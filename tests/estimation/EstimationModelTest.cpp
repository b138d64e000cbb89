#include "estimation/EstimationModel.h"

#include <gmock/gmock.h>

namespace Vorn {
namespace {

using testing::ElementsAre;

// The least that a model has to say: the pair error is the difference in x, plus 100 under the model's own parameters.
class DifferenceInX : public EstimationModel {
 public:
  using EstimationModel::Evaluate;
  bool Estimate(const PointSet&, const PointSet&, const MatchSet&) override { return false; }
  bool Estimate(const PointSet&, const PointSet&, const MatchSet&, std::vector<double>&) override { return false; }
  double Evaluate(const Point2D& a, const Point2D& b) const override { return 100 + b.x - a.x; }
  double Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) override {
    return params[0] * (b.x - a.x);
  }
  double Optimise(const PointSet&, const PointSet&, const MatchSet&, std::vector<double>&, int, bool) override {
    return 0;
  }
  void Project(const Point2D&, Point2D&) const override {}
  void Project(const Point2D&, Point2D&, std::vector<double>&) override {}
  bool IsDegenerate(PointSet&) const override { return true; }
  using EstimationModel::IsDegenerate;
};

struct ThreeMatches {
  ThreeMatches() {
    for (const double x : {1.0, 2.0, 3.0}) {
      a.Add({x, 0});
      b.Add({x * x, 0});
    }
    matches.AddMatch(2, 1, 0.5);   // 4 - 3
    matches.AddMatch(0, 0, 0.0);   // without a score
    matches.AddMatch(1, 2, 2.0);   // 9 - 2
    matches.AddMatch(0, 2, -1.0);  // below
  }
  PointSet a, b;
  MatchSet matches;
};

TEST(EstimationModel, DefaultsOfTheBase) {
  DifferenceInX model;
  EXPECT_EQ(model.minSamples, 1);
  EXPECT_EQ(model.chiThreshold, 3.0);
  EXPECT_TRUE(model.GetModel().empty());
  EXPECT_FALSE(model.IsDegenerate(std::vector<double>{1, 2}));
}

TEST(EstimationModel, SumRunsOverTheMatchesWithAScore) {
  DifferenceInX model;
  ThreeMatches three;
  EXPECT_DOUBLE_EQ(model.Evaluate(three.a, three.b, three.matches), 101 + 107);
}

TEST(EstimationModel, ListHasAValueForEachMatchAndZeroWithoutAScore) {
  DifferenceInX model;
  ThreeMatches three;
  std::vector<double> params = {2};
  EXPECT_THAT(model.Evaluate(three.a, three.b, three.matches, params), ElementsAre(2, 0, 14, 0));
}

TEST(EstimationModel, RemovedMatchesHaveNoPartInTheListOrTheSum) {
  DifferenceInX model;
  ThreeMatches three;
  three.matches.Remove(0);
  std::vector<double> params = {1};
  EXPECT_THAT(model.Evaluate(three.a, three.b, three.matches, params), ElementsAre(0, 7, 0));
  EXPECT_DOUBLE_EQ(model.Evaluate(three.a, three.b, three.matches), 107);
}

TEST(MatchColumns, HoldPointsWeightsAndTheEntriesWithoutAScore) {
  ThreeMatches three;
  three.b[1].weight = 0.5;
  MatchColumns columns;
  columns.Fill(three.a, three.b, three.matches);
  EXPECT_EQ(columns.Count(), 4);
  EXPECT_THAT(columns.x1, ElementsAre(3, 1, 2, 1));
  EXPECT_THAT(columns.x2, ElementsAre(4, 1, 9, 9));
  EXPECT_THAT(columns.weight, ElementsAre(0.5, 1, 1, 1));
  EXPECT_THAT(columns.unscored, ElementsAre(1, 3));
}

}  // namespace
}  // namespace Vorn
