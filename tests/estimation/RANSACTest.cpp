#include "estimation/RANSAC.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <set>

#include "PlantedMatches.h"
#include "ScriptedModel.h"
#include "estimation/WeightedHomographyModel.h"
#include "estimation/WeightedQuasiAffineModel.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<double> known = {0.98, 0.05, 14, -9};

class RANSACTest : public RepeatableSolve {};

TEST_F(RANSACTest, Defaults) {
  WeightedQuasiAffineModel model;
  const RANSAC solver(&model);
  EXPECT_EQ(solver.points1, nullptr);
  EXPECT_EQ(solver.points2, nullptr);
  EXPECT_EQ(solver.matches, nullptr);
  EXPECT_EQ(solver.numMatches, 0);
  EXPECT_EQ(solver.threshold, 50.0);
  EXPECT_THAT(solver.bestModel, IsEmpty());
  EXPECT_EQ(solver.model, &model);
  EXPECT_EQ(solver.bestInliers, 0);
  EXPECT_EQ(solver.bestError, 0);
  EXPECT_EQ(solver.trials, 0);
  EXPECT_THAT(solver.seeds, IsEmpty());
  EXPECT_EQ(solver.maxTrials, 0);
  EXPECT_EQ(solver.minTrials, 20);
  EXPECT_EQ(solver.groupSize, 10);
  EXPECT_EQ(solver.trialContext.solver, &solver);
  EXPECT_EQ(solver.trialContext.groupSize, 1);
  EXPECT_EQ(solver.trialCeiling, 1000000000);
  EXPECT_FALSE(solver.useTiling);
  EXPECT_EQ(solver.tiling, nullptr);
}

TEST_F(RANSACTest, FindsTheSimilarityAmongOutliers) {
  PlantedMatches planted = Plant(300, 0.3, 0.3, AsHomography(known));
  WeightedQuasiAffineModel model;
  RANSAC solver(&model);
  solver.threshold = 4.0;  // squared, so 2 pixels
  const std::vector<double> found = solver.Solve(planted.a, planted.b, planted.matches);
  EXPECT_EQ(found, solver.bestModel);
  EXPECT_LT(LargestDifference(AsHomography(found), AsHomography(known)), 2.0);  // two points with noise of 0.3
  const auto inliers = std::count(planted.isOutlier.begin(), planted.isOutlier.end(), false);
  EXPECT_LE(solver.bestInliers, inliers);
  EXPECT_GT(solver.bestInliers, 0.9 * static_cast<double>(inliers));
  EXPECT_LT(solver.trials, 200);
}

TEST_F(RANSACTest, FindsTheHomographyAmongOutliers) {
  const std::vector<double> h = {1.01, 0.02, -8, -0.01, 0.99, 5, 1e-5, -2e-5, 1};
  PlantedMatches planted = Plant(300, 0.2, 0.05, h);
  WeightedHomographyModel model;
  RANSAC solver(&model);
  solver.threshold = 4.0;
  EXPECT_LT(LargestDifference(solver.Solve(planted.a, planted.b, planted.matches), h), 2.0);
}

TEST_F(RANSACTest, SeveralProcessorsFindTheModelToo) {
  PlantedMatches planted = Plant(300, 0.3, 0.3, AsHomography(known));
  WeightedQuasiAffineModel model;
  for (const int processors : {2, 5}) {
    SetProcessorCount(processors);
    RANSAC solver(&model);
    solver.threshold = 4.0;
    const std::vector<double> found = solver.Solve(planted.a, planted.b, planted.matches);
    EXPECT_LT(LargestDifference(AsHomography(found), AsHomography(known)), 2.0);
    EXPECT_EQ(solver.seeds.size(), static_cast<size_t>(processors));
  }
}

TEST_F(RANSACTest, SameSeedRepeatsExactly) {
  PlantedMatches planted = Plant(100, 0.3, 0.5, AsHomography(known));
  WeightedQuasiAffineModel model;
  const auto solve = [&](unsigned int seed) {
    SetRandomSeed(seed);
    RANSAC solver(&model);
    return solver.Solve(planted.a, planted.b, planted.matches);
  };
  const std::vector<double> first = solve(1);
  EXPECT_EQ(solve(1), first);
  EXPECT_NE(solve(2), first);
}

TEST_F(RANSACTest, EveryMatchAnInlierStopsAtTheLeastNumberOfTrials) {
  NumberedMatches numbered(8);
  ScriptedModel model(2);
  model.error = [](double, const Point2D& a, const Point2D&) { return a.x; };
  model.chiThreshold = 1e9;  // the limit is `threshold`
  RANSAC solver(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(solver.bestInliers, 8);
  EXPECT_EQ(solver.maxTrials, 0);
  EXPECT_EQ(solver.trials, 20);
  EXPECT_NEAR(solver.bestError, std::sqrt(5.25), 1e-12);  // the deviation of 0 to 7
}

TEST_F(RANSACTest, ErrorsOfExactlyZeroMakeEveryMatchAnInlier) {
  NumberedMatches numbered(8);
  ScriptedModel model(2);
  RANSAC solver(&model);
  EXPECT_THAT(solver.Solve(numbered.a, numbered.b, numbered.matches), testing::SizeIs(1));
  EXPECT_EQ(solver.bestInliers, 8);
  EXPECT_EQ(solver.bestError, 0.0);
  EXPECT_EQ(solver.trials, 20);
}

TEST_F(RANSACTest, TrialsFollowTheInlierRatioAtAChanceOfOneInAMillion) {
  NumberedMatches numbered(16);
  ScriptedModel model(2);
  model.error = [](double, const Point2D& a, const Point2D&) { return a.x < 8 ? 1.0 : 1e6; };
  RANSAC solver(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(solver.bestInliers, 8);
  EXPECT_EQ(solver.maxTrials, 48);  // -6 / log10(1 - 0.25) is 48.02
  EXPECT_EQ(solver.trials, 50);     // in groups of ten
}

TEST_F(RANSACTest, LimitComesFromTheSpreadOfTheErrorsBelowTheThreshold) {
  // Errors 0 (9 times) and 10: roots' mean 0.316, mean square about it 9.467, limit sqrt(3 * 9.467) = 5.3.
  NumberedMatches numbered(10);
  ScriptedModel model(1);
  model.error = [](double, const Point2D& a, const Point2D&) { return a.x < 9 ? 0.0 : 10.0; };
  RANSAC solver(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(solver.bestInliers, 9);
  RANSAC wide(&model);
  model.chiThreshold = 12;  // limit 10.66
  wide.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(wide.bestInliers, 10);
}

TEST_F(RANSACTest, OfEqualInlierCountsTheSmallerSpreadWins) {
  NumberedMatches numbered(5);
  ScriptedModel model(1);
  model.chiThreshold = 1e9;
  model.error = [](double param, const Point2D& a, const Point2D&) { return (1 + std::fabs(param - 3)) * a.x; };
  RANSAC solver(&model);
  solver.minTrials = 200;
  EXPECT_THAT(solver.Solve(numbered.a, numbered.b, numbered.matches), ElementsAre(3));
}

TEST_F(RANSACTest, WithoutAValidSampleTheResultIsEmptyAtTheCeiling) {
  NumberedMatches numbered(8);
  ScriptedModel model(2);
  model.fits = false;
  RANSAC solver(&model);
  solver.trialCeiling = 205;
  EXPECT_THAT(solver.Solve(numbered.a, numbered.b, numbered.matches), IsEmpty());
  EXPECT_EQ(solver.trials, 210);
  EXPECT_EQ(solver.bestError, 1e10);
}

TEST_F(RANSACTest, FewerMatchesThanASampleGiveNoModel) {
  NumberedMatches numbered(1);
  ScriptedModel model(2);
  RANSAC solver(&model);
  EXPECT_THAT(solver.Solve(numbered.a, numbered.b, numbered.matches), IsEmpty());
}

TEST_F(RANSACTest, RemovedMatchesTakeNoPart) {
  NumberedMatches numbered(8);
  numbered.matches.Remove(7);
  numbered.matches.Remove(0);
  ScriptedModel model(2);
  RANSAC solver(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(solver.numMatches, 6);
  EXPECT_EQ(solver.bestInliers, 6);
}

TEST_F(RANSACTest, SetModelTakesAnotherModelAndSetModelToBestFillsIt) {
  NumberedMatches numbered(8);
  ScriptedModel first(2), second(2);
  RANSAC solver(&first);
  solver.SetModel(&second);
  const std::vector<double> found = solver.Solve(numbered.a, numbered.b, numbered.matches);
  solver.SetModelToBest();
  EXPECT_THAT(first.GetModel(), IsEmpty());
  EXPECT_EQ(second.GetModel(), found);
}

// Opens what a derived solver may call.
class OpenRANSAC : public RANSAC {
 public:
  using RANSAC::RANSAC;
  using RANSAC::selectSubSet;
};

TEST_F(RANSACTest, SampleHasDifferentMatchesInDrawingOrder) {
  NumberedMatches numbered(6);
  ScriptedModel model(5);
  OpenRANSAC solver(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  unsigned int state = 77;
  std::vector<int> expected;
  while (expected.size() < 5) {
    const int position = rand_r(&state) % 6;
    if (std::find(expected.begin(), expected.end(), position) == expected.end()) expected.push_back(position);
  }
  solver.seeds[0] = 77;
  PointSet a, b;
  MatchSet sample;
  solver.selectSubSet(a, b, sample, 0);
  ASSERT_EQ(a.numPoints, 5u);
  ASSERT_EQ(sample.numMatches, 5u);
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(a[k].x, expected[k]);
    EXPECT_EQ(b[k].x, expected[k]);
    EXPECT_EQ(sample.matches[k].first, k);
    EXPECT_EQ(sample.matches[k].second, k);
    EXPECT_EQ(sample.matches[k].score, 1.0);
  }
}

TEST_F(RANSACTest, TilingSpreadsASampleOverDifferentTilesAndSkipsPointsWithoutAMatch) {
  PlantedMatches planted = Plant(200, 0, 0, AsHomography(known));
  planted.matches.RemoveIndexA({3, 50, 199});
  WeightedHomographyModel model;
  for (const bool fromMatches : {false, true}) {
    PointTiling tiling;
    if (fromMatches)
      tiling.MakeTiles(planted.matches, planted.a);
    else
      tiling.MakeTiles(planted.a);
    OpenRANSAC solver(&model);
    solver.SetTiling(tiling);
    EXPECT_TRUE(solver.useTiling);
    EXPECT_EQ(solver.tiling, &tiling);
    solver.Solve(planted.a, planted.b, planted.matches);
    for (int repeat = 0; repeat < 100; ++repeat) {
      PointSet a, b;
      MatchSet sample;
      solver.selectSubSet(a, b, sample, 0);
      std::set<int> tiles;
      for (const Point2D& p : a.points)
        for (size_t k = 0; k < planted.matches.matches.size(); ++k) {
          const int index = planted.matches.matches[k].first;
          if (planted.a[index].x == p.x && planted.a[index].y == p.y)
            tiles.insert(tiling.GetTile(fromMatches ? static_cast<int>(k) : index));
        }
      ASSERT_EQ(tiles.size(), 5u);  // each drawn point has a match, and none shares its tile
    }
  }
}

TEST_F(RANSACTest, FewerTilesThanASampleNeedsAreUsedAgain) {
  NumberedMatches numbered(6);
  PointTiling tiling;
  tiling.SetLayout(1, 1);
  tiling.MakeTiles(numbered.a);
  ScriptedModel model(5);
  OpenRANSAC solver(&model);
  solver.SetTiling(tiling);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  PointSet a, b;
  MatchSet sample;
  solver.selectSubSet(a, b, sample, 0);
  std::set<double> different;
  for (const Point2D& p : a.points) different.insert(p.x);
  EXPECT_EQ(different.size(), 5u);
}

// Best model (2, 0, 0, 0); the second points miss by 0, 1, 3 and 6 pixels. Point 2 has no match.
struct Judged {
  Judged() {
    for (int k = 0; k < 5; ++k) a.Add({10.0 * k, 5});
    const double misses[] = {0, 1, 3, 6};
    const int first[] = {0, 1, 3, 4};
    for (int k = 0; k < 4; ++k) {
      b.Add({2 * a[first[k]].x + misses[k], 10});
      matches.AddMatch(first[k], k, 1.0);
    }
  }
  PointSet a, b;
  MatchSet matches;
  WeightedQuasiAffineModel model;
};

TEST_F(RANSACTest, InlierMatchesHaveASquaredErrorBelowTheLimit) {
  Judged judged;
  RANSAC solver(&judged.model);
  solver.bestModel = {2, 0, 0, 0};
  solver.bestError = 1e10;
  solver.threshold = 9.0;
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, true), ElementsAre(0, 1));
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, false), ElementsAre(2, 3));  // 9 isn't
  solver.bestError = 4;  // sqrt(5.99) * 4 is 9.8, above the threshold
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, true), ElementsAre(0, 1));
  solver.bestError = 0.4;  // 0.98
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, true), ElementsAre(0));
}

TEST_F(RANSACTest, ErrorsAreKeptByFirstPointSoThatTheLaterMatchDecides) {
  Judged judged;
  judged.matches.AddMatch(0, 3, 1.0);  // far off
  RANSAC solver(&judged.model);
  solver.bestModel = {2, 0, 0, 0};
  solver.bestError = 1e10;
  solver.threshold = 9.0;
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, true), ElementsAre(1));
}

TEST_F(RANSACTest, InlierPointsHaveARootOfTheSymmetricErrorBelowTheLimit) {
  Judged judged;
  RANSAC solver(&judged.model);
  solver.bestModel = {2, 0, 0, 0};
  solver.bestError = 1e10;
  solver.threshold = 3.4;  // a miss of 3 is sqrt(9 + 2.25) = 3.35
  EXPECT_THAT(solver.GetInOutliers(judged.a, judged.b, judged.matches, true), ElementsAre(0, 1, 3));
  EXPECT_THAT(solver.GetInOutliers(judged.a, judged.b, judged.matches, false), ElementsAre(4));
  solver.threshold = 3.3;
  EXPECT_THAT(solver.GetInOutliers(judged.a, judged.b, judged.matches, true), ElementsAre(0, 1));
  EXPECT_THAT(judged.model.GetModel(), ElementsAre(2, 0, 0, 0));
}

TEST_F(RANSACTest, OutlierPointsLieBeyondTheDeviationOfTheRoots) {
  Judged judged;
  RANSAC solver(&judged.model);
  solver.bestModel = {2, 0, 0, 0};
  // Roots 1.118 times 0, 1, 3 and 6: deviation 1.118 * 2.291 = 2.562, limit 6.27.
  EXPECT_THAT(solver.GetOutliers(judged.a, judged.b, judged.matches), ElementsAre(4));
  solver.threshold = 2;
  EXPECT_THAT(solver.GetOutliers(judged.a, judged.b, judged.matches), ElementsAre(3, 4));
}

TEST_F(RANSACTest, WithoutAModelEveryMatchIsAnOutlier) {
  Judged judged;
  RANSAC solver(&judged.model);
  solver.bestError = 1e10;
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, true), IsEmpty());
  EXPECT_THAT(solver.GetInOutlierMatches(judged.a, judged.b, judged.matches, false), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(solver.GetInOutliers(judged.a, judged.b, judged.matches, true), IsEmpty());
  EXPECT_THAT(solver.GetOutliers(judged.a, judged.b, judged.matches), ElementsAre(0, 1, 3, 4));
}

}  // namespace
}  // namespace Vorn
