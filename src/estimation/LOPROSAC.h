#pragma once

#include <mutex>
#include <vector>

#include "estimation/FeaturesOptFunction.h"
#include "estimation/RANSAC.h"

namespace Vorn {

/// One trial group with the inlier flags of its samples.
struct PROSACFeatureIO : RansacFeatureIO {
  PROSACFeatureIO(int groupSize, unsigned int index)
      : RansacFeatureIO(groupSize), inlierFlags(groupSize), threadIndex(index) {}

  std::vector<std::vector<unsigned char>> inlierFlags;  ///< One vector a sample, one flag a match.
  unsigned int threadIndex;                             ///< Of the seed that the group draws with.
  int bestSample = -1;                                  ///< The sample that the group's result is from; -1 for none.
  std::vector<double> params, errors;                   ///< Of the sample in hand.
};

/// The solver of the motion analysis: progressive sampling, which favours the matches in front (Chum and Matas,
/// "Matching with PROSAC", CVPR 2005), with its stopping rule, and local optimisation of the best model so far on its
/// inliers (Chum, Matas and Kittler, "Locally Optimized RANSAC", DAGM 2003). `MatchSet` must be sorted best first.
///
/// It departs from the papers, on purpose, in these points. A match is an inlier when the root of its weighted error is
/// below 2 whatever the noise, so coordinates are meant to be normalised, and a match of weight 0 is everyone's inlier.
/// The last match of a sample is forced while the trials are at or below `tPrimeN`, and it is the one behind the pool.
/// The ceiling on trials takes a tenth of the matches as inliers at confidence 0.99, the adaptive count uses 0.95. The
/// local optimisation runs `LM` on 7 times the minimal sample, on every improvement from the 50th trial on and once at
/// the end if none has succeeded.
///
/// The first trials, from a small pool, run on the calling thread; then all processors draw, each with its own seed, so
/// results vary from run to run unless there is one processor and a set seed.
class LOPROSAC : public RANSAC {
 public:
  explicit LOPROSAC(EstimationModel* estimationModel = nullptr) : RANSAC(estimationModel) {}

  /// As in the base class. The model must be set; without an `optimiser` nothing is optimised. `bestError` stays at
  /// 1e10, so that the limit of the inlier queries is `threshold`.
  std::vector<double> Solve(PointSet& a, PointSet& b, MatchSet& m) override;
  void RunTrialGroup(int groupSize, unsigned int seedIndex) override;

  // The state of a solve; `optimiser` and `startFromModel` are the caller's.
  bool loApplied = false;                     ///< A local optimisation has improved the best model.
  LeastSquaresFunction* optimiser = nullptr;  ///< The robust `FeaturesOptFunction` for the present model. Lent.
  double bestMeanError = 10000000.0;          ///< Mean error of the best model.
  int trialLimit = 100000;                    ///< T_N, the ceiling on trials.
  int nStar = 1;                              ///< Pool size chosen for stopping.
  int iStar = 0;                              ///< Inliers within it.
  int bestSupport = 0;                        ///< Largest inlier count seen.
  int minSupport = 100000;                    ///< Inliers that must be seen before the adaptive stop applies.
  int poolSize = 1;                           ///< n: matches 0 to n - 1 may be drawn.
  double tN = 100000.0;                       ///< T_n, the real-valued schedule.
  int tPrimeN = 1;                            ///< T'_n, the integer one.
  int adaptiveTrials = 100000;                ///< k: trials needed at `iStar` inliers of `nStar`.
  bool serialPhase = true;                    ///< The single-thread opening phase is running.
  bool parallelPhase = false;                 ///< It has handed over to the parallel one.
  bool startFromModel = false;                ///< Evaluate the model's present parameters first.
  std::mutex scheduleLock;                    ///< Guards the steps of tN, tPrimeN and poolSize.
  std::mutex loLock;                          ///< Lets one local optimisation run at a time.

 private:
  void beginSolve();
  static int getMaxTrials(double confidence, double outlierRatio, int sampleSize, int limit);
  static int Imin(int m, int n, double beta);

  bool mayStop(int t);
  void growPool(int t);
  void drawSample(int t, PointSet& a, PointSet& b, MatchSet& sample, unsigned int seedIndex);
  void selectTopSubSet(PointSet& a, PointSet& b, MatchSet& sample, int count, int pool, unsigned int seedIndex);
  void evaluateSubSet(PROSACFeatureIO& group, EstimationModel& estimationModel);
  void integratePROSACResult(const PROSACFeatureIO& group);
  void evaluateInitialConfiguration();
  void updateStoppingPool(int support, const std::vector<unsigned char>& flags);

  void runTrials();
  void localOptimisation(int seedIndex);
  std::vector<double> currentBest();
  double evaluateInlierMatches(std::vector<double>& params, std::vector<int>& inliers);
  void selectLargeSample(const std::vector<int>& inliers, PointSet& a, PointSet& b, MatchSet& sample, int seedIndex);
  double robustOptimise(FeaturesOptFunction& problem, const PointSet& a, const PointSet& b, const MatchSet& sample,
                        const std::vector<int>& inliers, std::vector<double>& params);
  void integrateLO(const std::vector<double>& params, double error);
};

}  // namespace Vorn
