#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "estimation/EstimationModel.h"
#include "estimation/PointTiling.h"
#include "numerics/MatchSet.h"
#include "numerics/PointSet.h"

namespace Vorn {

class RANSAC;

/// One trial group: its samples, and the best that came of them.
struct RansacFeatureIO {
  explicit RansacFeatureIO(int groupSize) : points1(groupSize), points2(groupSize), matches(groupSize) {}
  int size() const { return static_cast<int>(matches.size()); }

  std::vector<PointSet> points1, points2;  ///< Sample s is at index s of each.
  std::vector<MatchSet> matches;
  std::vector<double> bestParams;  ///< Empty if no sample of the group gave a model.
  int inliers = 0;
  double error = 0;  ///< Of the best sample: what breaks a tie in inliers.
};

/// What `RansacTrialWrapperFunction` is handed.
struct RansacTrialContext {
  RANSAC* solver;
  int groupSize;
};

/// Runs the trials of one processor; `context` is a `RansacTrialContext`, `index` the processor.
void RansacTrialWrapperFunction(void* context, size_t index);

/// Random sample consensus (Fischler and Bolles, CACM 1981): fits the model to small random samples of the matches and
/// keeps the parameters that most matches agree with. Trials run on all processors; with one processor and
/// `SetRandomSeed` a solve repeats exactly.
class RANSAC {
 public:
  /// Seeds the C library's generator from the clock. `model` is lent and must outlive the solver's use of it.
  explicit RANSAC(EstimationModel* estimationModel);
  virtual ~RANSAC() = default;
  RANSAC(const RANSAC&) = delete;
  RANSAC& operator=(const RANSAC&) = delete;

  /// Returns the best parameters (see `EstimationModel`); empty if no sample gave any, or if there are fewer matches
  /// than a sample needs. The sets are lent; match pairs index `a` and `b` in this order. Ends when a better sample has
  /// been missed with a chance of one in a million, but not before `minTrials`.
  virtual std::vector<double> Solve(PointSet& a, PointSet& b, MatchSet& m);
  /// Draws and evaluates groups of samples with the seed at `seedIndex` until the solve may end.
  virtual void RunTrialGroup(int groupSize, unsigned int seedIndex);

  void SetModel(EstimationModel* estimationModel);  ///< Also seeds the C library's generator again.
  void SetTiling(PointTiling& pointTiling);         ///< Samples are spread over these tiles from now on. Lent.
  void SetModelToBest();                            ///< Gives the model the best parameters.

  // The inlier queries judge matches by the best parameters; without any every match is an outlier.

  /// The positions of the matches whose one-way squared error is below the limit, or of those at or above it if
  /// `inliers` is false. The limit is the lower of `threshold` and sqrt(`chiThreshold`) * `bestError`. Errors are kept
  /// by the match's first index: of two matches with one first point the later one's error counts for both.
  std::vector<int> GetInOutlierMatches(const PointSet& a, const PointSet& b, const MatchSet& m, bool inliers);
  /// The same by the root of the symmetric error, as indices of the points in `a` that have a match (their first one).
  std::vector<int> GetInOutliers(const PointSet& a, const PointSet& b, const MatchSet& m, bool inliers);
  /// The indices of the points in `a` whose root error is above the lower of `threshold` and sqrt(`chiThreshold`) times
  /// the roots' standard deviation.
  std::vector<int> GetOutliers(const PointSet& a, const PointSet& b, const MatchSet& m);

  // The problem, the settings and, after a solve, what came of it.
  PointSet* points1 = nullptr;
  PointSet* points2 = nullptr;
  MatchSet* matches = nullptr;
  int numMatches = 0;       ///< The live pairs of `matches`.
  double threshold = 50.0;  ///< Largest error counted as an inlier.
  std::vector<double> bestModel;
  EstimationModel* model;
  int bestInliers = 0;
  double bestError = 0;             ///< Spread of the best model's inliers; 1e10 at the start of a solve.
  int trials = 0;                   ///< Samples tried.
  std::vector<unsigned int> seeds;  ///< One `rand_r` state per processor.
  int maxTrials = 0;
  int minTrials = 20;
  int groupSize = 10;  ///< Samples per trial group.
  std::mutex resultLock;
  RansacTrialContext trialContext;
  int trialCeiling = 1000000000;
  bool useTiling = false;
  PointTiling* tiling = nullptr;

 protected:
  /// Takes a group's result if it is the best so far, counts its trials and adapts the trial count.
  virtual void integrateResult(const RansacFeatureIO& group);
  /// Draws one sample into `a`, `b` and `sample`, whose pairs are (k, k) with score 1.
  virtual void selectSubSet(PointSet& a, PointSet& b, MatchSet& sample, unsigned int seedIndex);

  /// What the trials read without a lock while another thread may write it under one.
  static int peek(int& shared) { return std::atomic_ref<int>(shared).load(std::memory_order_relaxed); }
  static void publish(int& shared, int value) { std::atomic_ref<int>(shared).store(value, std::memory_order_relaxed); }

  /// Stores the problem and lays its matches out for evaluation.
  void setProblem(PointSet& a, PointSet& b, MatchSet& m);
  /// A processor count of seeds.
  void drawSeeds();
  /// Runs `RunTrialGroup(size, index)` on every processor.
  void runTrialsOnAllProcessors(int size);
  /// The weighted one-way squared error of every match of the problem under `params`, in match order.
  void errorsOfMatches(std::vector<double>& params, std::vector<double>& errors);
  /// The squared distance, without weight, of every match's second point from its projected first point.
  void distancesOfMatches(std::vector<double>& params, std::vector<double>& distances);
  /// Draws `count` different positions below `pool` into `positions`, in drawing order. `count` is at most `pool`.
  static void drawPositions(int count, int pool, unsigned int& seed, std::vector<int>& positions);
  /// Makes a sample of the problem's matches at `positions`.
  void fillSample(const std::vector<int>& positions, PointSet& a, PointSet& b, MatchSet& sample) const;

 private:
  void evaluateSubSet(RansacFeatureIO& group, std::vector<double>& params, std::vector<double>& errors);
  void updateThresholds(int inliers);
  double inlierLimit() const;
  std::vector<int> firstMatches(const PointSet& a, const MatchSet& m) const;
  std::vector<double> symmetricRootErrors(const PointSet& a, const PointSet& b, const MatchSet& m,
                                          std::vector<int>& indices);

  void gatherTiles();
  void drawFromTiles(unsigned int& seed, std::vector<int>& positions) const;
  int getRandomPoint(const std::vector<int>& drawn, std::vector<int>& usedTiles, unsigned int& seed) const;

  MatchColumns columns;
  std::vector<std::vector<int>> matchesOfTile;  // match positions, a list for each tile that has any
};

}  // namespace Vorn
