#include "estimation/LOPROSAC.h"

#include <gmock/gmock.h>

#include "PlantedMatches.h"
#include "ScriptedModel.h"
#include "estimation/WeightedHomographyModel.h"
#include "estimation/WeightedQuasiAffineModel.h"

namespace Vorn {
namespace {

using testing::IsEmpty;

const std::vector<double> similarity = {0.98, 0.05, 14, -9};
const std::vector<double> homography = {1.01, 0.02, -8, -0.01, 0.99, 5, 1e-5, -2e-5, 1};
const std::vector<double> nearUnit = {1.01, 0.02,  -0.08,  -0.01, 0.99,
                                      0.05, 0.001, -0.002, 1};  // for hundreds of pixels

class LOPROSACTest : public RepeatableSolve {
 protected:
  void useQuasiAffine() {
    solver.SetModel(&quasiAffine);
    solver.optimiser = &quasiAffineProblem;
  }
  void useHomography() {
    solver.SetModel(&projective);
    solver.optimiser = &projectiveProblem;
  }
  std::vector<double> solve(PlantedMatches& planted) { return solver.Solve(planted.a, planted.b, planted.matches); }

  WeightedQuasiAffineModel quasiAffine;
  WeightedHomographyModel projective;
  RobustQuasiAffineFeatureOpt quasiAffineProblem;
  RobustHomographyFeatureOpt projectiveProblem;
  LOPROSAC solver;
};

TEST_F(LOPROSACTest, Defaults) {
  EXPECT_FALSE(solver.loApplied);
  EXPECT_EQ(solver.optimiser, nullptr);
  EXPECT_EQ(solver.bestMeanError, 10000000.0);
  EXPECT_EQ(solver.trialLimit, 100000);
  EXPECT_EQ(solver.nStar, 1);
  EXPECT_EQ(solver.iStar, 0);
  EXPECT_EQ(solver.bestSupport, 0);
  EXPECT_EQ(solver.minSupport, 100000);
  EXPECT_EQ(solver.poolSize, 1);
  EXPECT_EQ(solver.tN, 100000.0);
  EXPECT_EQ(solver.tPrimeN, 1);
  EXPECT_EQ(solver.adaptiveTrials, 100000);
  EXPECT_TRUE(solver.serialPhase);
  EXPECT_FALSE(solver.parallelPhase);
  EXPECT_FALSE(solver.startFromModel);
  EXPECT_EQ(solver.minTrials, 20);
  EXPECT_EQ(solver.threshold, 50.0);
  LOPROSAC withModel(&quasiAffine);
  EXPECT_EQ(withModel.model, &quasiAffine);
}

TEST_F(LOPROSACTest, CeilingOnTrialsFollowsTheSampleSize) {
  PlantedMatches planted = Plant(200, 0.2, 0.2, AsHomography(similarity));
  useQuasiAffine();
  solve(planted);
  EXPECT_EQ(solver.trialLimit, 459);
  EXPECT_EQ(solver.minSupport, 19);  // 200 times what 1 - 0.9 is in binary, cut
  useHomography();
  solve(planted);
  EXPECT_EQ(solver.trialLimit, 460515);
}

TEST_F(LOPROSACTest, FindsTheSimilarityAmongOutliers) {
  PlantedMatches planted = Plant(500, 0.4, 0.3, AsHomography(similarity));
  useQuasiAffine();
  const std::vector<double> found = solve(planted);
  EXPECT_EQ(found, solver.bestModel);
  EXPECT_LT(LargestDifference(AsHomography(found), AsHomography(similarity)), 0.5);
  const auto inliers = std::count(planted.isOutlier.begin(), planted.isOutlier.end(), false);
  EXPECT_NEAR(solver.bestSupport, static_cast<double>(inliers), 3);
  EXPECT_EQ(solver.bestError, 1e10);
}

TEST_F(LOPROSACTest, FindsTheHomographyAmongOutliers) {
  PlantedMatches planted = Plant(2000, 0.2, 0.003, nearUnit, 7, inHundreds);
  useHomography();
  EXPECT_LT(LargestDifference(solve(planted), nearUnit, inHundreds), 0.01);  // a pixel, at noise of 0.3
  EXPECT_TRUE(solver.loApplied);
}

TEST_F(LOPROSACTest, LocalOptimisationBringsTheModelCloser) {
  double plain = 0, optimised = 0;
  for (unsigned int seed = 1; seed <= 10; ++seed) {
    PlantedMatches planted = Plant(400, 0.3, 0.004, nearUnit, seed, inHundreds);
    useHomography();
    optimised += LargestDifference(solve(planted), nearUnit, inHundreds);
    solver.optimiser = nullptr;
    plain += LargestDifference(solve(planted), nearUnit, inHundreds);
    EXPECT_FALSE(solver.loApplied);
  }
  EXPECT_LT(optimised, 0.7 * plain);
}

TEST_F(LOPROSACTest, SeveralProcessorsFindTheModelToo) {
  for (const int processors : {2, 3, 8})
    for (unsigned int seed = 1; seed <= 5; ++seed) {
      SetProcessorCount(processors);
      PlantedMatches planted = Plant(2000, 0.2, 0.003, nearUnit, seed, inHundreds);
      useHomography();
      // What five points with noise of 0.003 give at the corners; with an outlier among them it is above 1.
      EXPECT_LT(LargestDifference(solve(planted), nearUnit, inHundreds), 0.15) << processors << ", seed " << seed;
      useQuasiAffine();
      PlantedMatches similar = Plant(500, 0.5, 0.3, AsHomography(similarity), seed);
      EXPECT_LT(LargestDifference(AsHomography(solve(similar)), AsHomography(similarity)), 0.7);
    }
}

TEST_F(LOPROSACTest, AllProcessorsDrawOnceThePoolHasGrown) {
  SetProcessorCount(3);
  PlantedMatches planted = Plant(400, 0.7, 0.2, AsHomography(similarity));
  useQuasiAffine();
  solver.minTrials = 400;
  solve(planted);
  EXPECT_TRUE(solver.parallelPhase);
  EXPECT_FALSE(solver.serialPhase);
  EXPECT_GT(solver.poolSize, 20);
  EXPECT_EQ(solver.seeds.size(), 3u);
}

TEST_F(LOPROSACTest, SameSeedRepeatsExactly) {
  PlantedMatches planted = Plant(300, 0.3, 0.5, homography);
  const auto solveWith = [&](unsigned int seed) {
    SetRandomSeed(seed);
    useHomography();
    return solve(planted);
  };
  const std::vector<double> first = solveWith(1);
  const int trials = solver.trials;
  EXPECT_EQ(solveWith(1), first);
  EXPECT_EQ(solver.trials, trials);
  EXPECT_NE(solveWith(2), first);
}

TEST_F(LOPROSACTest, GoodMatchesInFrontAreFoundWhereBlindDrawsWouldNeedHundredThousands) {
  PlantedMatches planted = Plant(1000, 0, 0.2, homography);
  std::mt19937 random(5);
  std::uniform_real_distribution<double> across(0, 1920), down(0, 1080);
  for (int k = 120; k < 1000; ++k) planted.b[k] = {across(random), down(random)};
  useHomography();
  EXPECT_LT(LargestDifference(solve(planted), homography), 5.0);  // five points with noise, at the corners
  EXPECT_LT(solver.trials, 5000);
  EXPECT_GE(solver.bestSupport, 110);
  EXPECT_GE(solver.iStar, 0.9 * solver.nStar);  // the stopping pool ends where the good matches do
  EXPECT_NEAR(solver.nStar, 120, 15);
}

TEST_F(LOPROSACTest, ScheduleIsThatOfThePoolWhereverTheSolveEnds) {
  PlantedMatches planted = Plant(300, 0.5, 0.2, homography);
  useHomography();
  solve(planted);
  ASSERT_GT(solver.poolSize, 5);
  double expected = 460515;  // T_n = T_N * the chance that a blind sample lies within the first n
  for (int i = 0; i < 5; ++i) expected *= static_cast<double>(solver.poolSize - i) / (300 - i);
  EXPECT_NEAR(solver.tN, expected, 1e-9 * expected);
}

TEST_F(LOPROSACTest, MatchesWithoutAScoreOrWeightAreEveryonesInliers) {
  PlantedMatches planted = Plant(100, 0, 0, AsHomography(similarity));
  for (int k = 80; k < 90; ++k) {
    planted.b[k].x += 1000;
    planted.matches.matches[k].score = 0;
  }
  for (int k = 90; k < 100; ++k) {
    planted.b[k].x += 1000;
    planted.b[k].weight = 0;
  }
  useQuasiAffine();
  EXPECT_LT(LargestDifference(AsHomography(solve(planted)), AsHomography(similarity)), 1e-6);
  EXPECT_EQ(solver.bestInliers, 100);
}

TEST_F(LOPROSACTest, RemovedMatchesTakeNoPart) {
  PlantedMatches planted = Plant(30, 0, 0, AsHomography(similarity));
  planted.b[4] = {5000, 5000};
  planted.matches.Remove(4);
  useQuasiAffine();
  solve(planted);
  EXPECT_EQ(solver.numMatches, 29);
  EXPECT_EQ(solver.bestInliers, 29);
}

TEST_F(LOPROSACTest, AsManyMatchesAsASampleRunToTheCeilingWithoutAStoppingPool) {
  PlantedMatches two = Plant(2, 0, 0, AsHomography(similarity));
  useQuasiAffine();
  EXPECT_LT(LargestDifference(AsHomography(solve(two)), AsHomography(similarity)), 1e-6);
  EXPECT_EQ(solver.bestInliers, 2);
  EXPECT_EQ(solver.poolSize, 2);
  EXPECT_EQ(solver.nStar, 2);
  EXPECT_EQ(solver.iStar, 0);
  EXPECT_EQ(solver.trials, 459);
}

TEST_F(LOPROSACTest, FewMatchesStopAtOnceWhenAllAgree) {
  PlantedMatches nine = Plant(9, 0, 0, AsHomography(similarity));
  useQuasiAffine();
  solve(nine);
  EXPECT_EQ(solver.minSupport, 0);
  EXPECT_EQ(solver.bestInliers, 9);
  EXPECT_EQ(solver.adaptiveTrials, 1);
  EXPECT_EQ(solver.trials, 21);  // the first count above `minTrials`
}

TEST_F(LOPROSACTest, StartFromAModelThatAllAgreeWithRunsNoTrial) {
  PlantedMatches planted = Plant(100, 0, 0, AsHomography({1, 0, 64, -32}));
  useHomography();
  std::vector<double> exact = {1, 0, 64, 0, 1, -32, 0, 0, 1};
  projective.SetModel(exact);
  solver.startFromModel = true;
  EXPECT_EQ(solve(planted), exact);
  EXPECT_EQ(solver.trials, 1);
  EXPECT_EQ(solver.seeds.size(), 1u);
  EXPECT_EQ(solver.bestInliers, 100);
  EXPECT_EQ(solver.bestSupport, 100);

  std::vector<double> near = {1, 0, 64.5, 0, 1, -32.25, 0, 0, 1};
  projective.SetModel(near);
  const std::vector<double> improved = solve(planted);
  EXPECT_EQ(solver.trials, 1);
  EXPECT_TRUE(solver.loApplied);
  EXPECT_LT(LargestDifference(improved, exact), 0.1 * LargestDifference(near, exact));
}

TEST_F(LOPROSACTest, OneStrayMatchDoesNotCostAStartedSolveMoreThanTheLeastTrials) {
  PlantedMatches planted = Plant(200, 0, 0.1, homography);
  planted.b[120].x += 700;
  useHomography();
  std::vector<double> start = homography;
  projective.SetModel(start);
  solver.startFromModel = true;
  solver.minTrials = 100;
  EXPECT_LT(LargestDifference(solve(planted), homography), 1.0);
  EXPECT_EQ(solver.bestSupport, 199);
  EXPECT_LE(solver.trials, 110);
}

TEST_F(LOPROSACTest, NoMatchesOrTooFewGiveNoModel) {
  PlantedMatches none = Plant(0, 0, 0, homography), four = Plant(4, 0, 0, homography);
  useHomography();
  EXPECT_THAT(solve(none), IsEmpty());
  EXPECT_THAT(solve(four), IsEmpty());
  EXPECT_FALSE(solver.loApplied);
}

TEST_F(LOPROSACTest, WithoutAValidSampleTheResultIsEmptyAndNothingIsOptimised) {
  NumberedMatches numbered(40);
  ScriptedModel model(2);
  model.fits = false;
  solver.SetModel(&model);
  solver.optimiser = &quasiAffineProblem;
  quasiAffineProblem.validCount = -1;  // the first cost that is asked for would change it
  EXPECT_THAT(solver.Solve(numbered.a, numbered.b, numbered.matches), IsEmpty());
  EXPECT_GE(solver.trials, 459);
  EXPECT_LT(solver.trials, 459 + 10);
  EXPECT_FALSE(solver.loApplied);
  EXPECT_EQ(quasiAffineProblem.validCount, -1);
  EXPECT_THAT(solver.GetInOutlierMatches(numbered.a, numbered.b, numbered.matches, true), IsEmpty());
}

// Counts how often a sample held each match, by the x of its points.
class CountingModel : public ScriptedModel {
 public:
  using ScriptedModel::Estimate;
  using ScriptedModel::ScriptedModel;
  bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params) override {
    lastOfSample.push_back(static_cast<int>(a.points.back().x));
    for (const Point2D& p : a.points) largest = std::max(largest, static_cast<int>(p.x));
    sizes.push_back(matches.Count());
    return ScriptedModel::Estimate(a, b, matches, params);
  }
  std::vector<int> lastOfSample;
  std::vector<unsigned int> sizes;
  int largest = -1;
};

// Solves with a model for which just the matches that `isInlier` names are inliers, whatever is drawn.
template <typename Condition>
void SolveWithInliers(LOPROSAC& solver, int count, Condition isInlier) {
  NumberedMatches numbered(count);
  ScriptedModel model(2);
  model.error = [=](double, const Point2D& a, const Point2D&) {
    return isInlier(static_cast<int>(a.x)) ? 3.9 : 4.0;  // squares: the radius of 2 is outside
  };
  solver.SetModel(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
}

TEST_F(LOPROSACTest, StoppingPoolShrinksToTheInliersInFront) {
  SolveWithInliers(solver, 100, [](int k) { return k < 50; });
  // The ratio is taken on wherever 50 is significantly above what the last ratio q gives, q n + sqrt((1 - q) q
  // n 2.706): at n = 84, 72, 63, 56 and 51. At 50 the bound is 50.6.
  EXPECT_EQ(solver.bestSupport, 50);
  EXPECT_EQ(solver.nStar, 51);
  EXPECT_EQ(solver.iStar, 50);
  EXPECT_EQ(solver.adaptiveTrials, 1);  // ln 0.05 / ln(1 - (50 / 51)^2) is 0.92
  EXPECT_EQ(solver.trials, 21);
}

TEST_F(LOPROSACTest, StoppingPoolStaysWholeWhenInliersAreSpreadEvenly) {
  SolveWithInliers(solver, 100, [](int k) { return k % 2 == 0; });
  EXPECT_EQ(solver.nStar, 100);
  EXPECT_EQ(solver.iStar, 50);
  EXPECT_EQ(solver.adaptiveTrials, 11);  // ln 0.05 / ln(1 - 0.25) is 10.4
}

TEST_F(LOPROSACTest, InliersThatMayBeThereByChanceDoNotShrinkTheStoppingPool) {
  SolveWithInliers(solver, 1000, [](int k) { return k < 2; });
  EXPECT_EQ(solver.minSupport, 99);
  EXPECT_EQ(solver.nStar, 1000);  // near 320 the ratio of 2 stands out, but chance alone would give up to 8 there
  EXPECT_EQ(solver.iStar, 2);
  EXPECT_EQ(solver.adaptiveTrials, 459);
  EXPECT_GE(solver.trials, 459);  // too little support for an early stop
}

TEST_F(LOPROSACTest, FirstDrawForcesTheMatchBehindThePool) {
  NumberedMatches numbered(50);
  CountingModel model(3);
  model.fits = false;
  solver.SetModel(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(model.lastOfSample[0], 3);  // the pool is matches 0 to 2
  EXPECT_EQ(model.largest, 49);         // and has grown to all of them
  EXPECT_THAT(model.sizes, testing::Each(3u));
}

TEST_F(LOPROSACTest, ForcedMatchBehindAFullPoolIsTheLastOne) {
  NumberedMatches numbered(3);
  CountingModel model(3);
  solver.SetModel(&model);
  solver.Solve(numbered.a, numbered.b, numbered.matches);
  EXPECT_EQ(model.lastOfSample[0], 2);
}

TEST_F(LOPROSACTest, InlierQueriesUseTheThresholdAlone) {
  PlantedMatches planted = Plant(200, 0.25, 0.1, AsHomography(similarity));
  useQuasiAffine();
  solver.threshold = 1.0;
  solve(planted);
  std::vector<int> expected;
  for (int k = 0; k < 200; ++k)
    if (!planted.isOutlier[k]) expected.push_back(k);
  EXPECT_EQ(solver.GetInOutlierMatches(planted.a, planted.b, planted.matches, true), expected);
}

}  // namespace
}  // namespace Vorn
