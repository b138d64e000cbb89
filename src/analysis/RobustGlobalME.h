#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "analysis/HomographySet.h"
#include "analysis/IdIndex.h"
#include "analysis/LiveMatches.h"
#include "analysis/MotionConfidenceSet.h"
#include "estimation/EstimationModel.h"
#include "imaging/ArrayPyramid.h"
#include "numerics/MatchSet.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/PointSet.h"

namespace Vorn {
class FeaturesOptFunction;
class LOPROSAC;
}  // namespace Vorn

/// What is known of one feature across the frames.
struct MatchWeight {
  int id = -1;        ///< The feature's `Point2D::id`.
  float weight = 0;   ///< Its standing; a negative one bars it from the fit.
  int inlierRun = 0;  ///< Frames in a row on which it agreed with the motion.
  int age = 0;        ///< Frames it has been followed.
  int stillRun = 0;   ///< Frames in a row on which it has not moved in the image, or -1 once it has.
};

/// The judgement of what the camera did between two consecutive frames, from the points matched between them: one
/// motion matrix, one similarity and one confidence per frame, whatever happens. A failed frame gets the identity and
/// confidence 0.
///
/// A similarity is fitted first, then a homography that starts from it. A weight for every feature is kept across the
/// frames, so that features on moving objects are dropped and steady ones gain influence, and burnt-in titles are known
/// by features that never move. Where features fail the images themselves are aligned.
///
/// A matrix H maps a point p of the previous frame, in pixels, to the current one by
/// `ProjectPoint(H, p, origin.x, origin.y)`. Calls come from one thread at a time; inside, the solver uses all
/// processors.
class RobustGlobalME {
 public:
  RobustGlobalME();

  /// `direct`: align the images where features fail. `trackDuration` and the first argument are without effect, and
  /// stay for the callers that pass them. `landThresh`: pixels within which a feature agrees with the motion.
  void SetOptions(bool unused, bool direct, int trackDuration, float landThresh);
  /// The analysed frame size in pixels; the matrices act about its centre.
  void SetSourceDimensions(int width, int height);
  /// The luma pyramids of the frame in hand and of the one before. Lent until the next call.
  void SetPyramids(Vorn::ArrayPyramid* current, Vorn::ArrayPyramid* previous);

  /// The first frame of a clip: no motion, full confidence.
  void Begin(int frame);
  void SetIdentity(int frame);

  /// Estimates the motion into `frame` and stores it, with its confidence.
  /// `current`, `previous`: parallel, pixels of the frame; match k pairs `previous[k]` with `current[k]`, its first
  /// index is into `previous`. A current point's `weight` is the tracker's match quality, a mean squared difference; it
  /// is changed only on the first call after `Resume`.
  /// `result` becomes the matrix of the frame. True when a motion was measured.
  bool Estimate(int frame, Vorn::PointSet& current, Vorn::PointSet& previous, Vorn::MatchSet& matches,
                Vorn::Matrix& result);

  /// Aligns the two frames by their grey values, from the coarsest level of the pyramids to the finest, starting from
  /// the similarity of the frame before. `result` becomes a similarity in pixels about the frame's centre, `confidence`
  /// 1 for equal images and 0 where they differ by `qualityMax` (a mean squared difference). False where a level stays
  /// too far from agreement, with `confidence` 0, and without pyramids; `result` is then the identity.
  bool DirectEstimate(int frame, Vorn::Matrix& result, float& confidence);
  /// Whether the frames, aligned by `m`, differ by a mean squared difference of at most `qualityMax`. False where they
  /// can't be compared: without pyramids, with less than a 3 by 3 matrix, or if no pixel stays inside.
  bool DirectCheck(Vorn::Matrix& m);
  /// The mean squared difference over the rows `firstRow` to `lastRow` of `previous`, which are added to the
  /// accumulators too. `m`: nine elements by rows, about the frame's centre. 0 if no pixel stays inside.
  double directCheck(Vorn::FastArray* current, Vorn::FastArray* previous, double* m, int firstRow, int lastRow);
  /// Adds a stripe's squared differences to the accumulators of the check. Safe from any thread.
  void integrateDirectCheckResult(double sum, int pixels);

  /// The mean squared difference of the patches of `windowSize` pixels around the two points, at whole pixels, on the
  /// full-size level of the pyramids. 0 without pyramids or with a window below 1. Beyond a frame's edge its nearest
  /// pixel counts.
  float calculateMatchQuality(const Vorn::Point2D& previous, const Vorn::Point2D& current) const;

  /// The distance between `current` and the projection of `previous` by `m`, about (0, 0) and not about `origin`.
  double getProjectedError(const Vorn::Point2D& previous, const Vorn::Point2D& current, const Vorn::Matrix& m) const;

  /// Fits `model` in closed form to the matches at the positions `inliers`, keeps the solver's parameters `found`
  /// instead where they are clearly better, and with `refine` polishes the result on the weighted residuals. The
  /// parameters come back in `fitted`, the result is their error, a sum of weighted squared residuals. Without inliers
  /// the error is 10000 and `fitted` stays; fewer than a minimal sample count as none, and `inliers` is emptied.
  double getFittedSolution(std::vector<int>& inliers, std::vector<double>& found, Vorn::PointSet& previous,
                           Vorn::PointSet& current, Vorn::MatchSet& matches, Vorn::EstimationModel* model,
                           std::vector<double>& fitted, bool refine);

  /// Rebuilds the weights from a stored motion and the stored points of its frame. Sets as for `Estimate`.
  void Resume(int frame, const Vorn::Matrix& motionOfFrame, const Vorn::PointSet& current,
              const Vorn::PointSet& previous, const Vorn::MatchSet& matches);
  /// Forgets the clip; the options stay, but for `subtitleDetection`, which is on again.
  void Clear();

  Vorn::HomographySet motion;    ///< The chosen matrix per frame.
  Vorn::HomographySet qaMotion;  ///< The similarity per frame.
  MotionConfidenceSet confSet;
  std::unique_ptr<Vorn::EstimationModel> homgModel;
  std::unique_ptr<Vorn::EstimationModel> qaModel;
  std::vector<MatchWeight> matchWeights;
  bool useDirect = true;          ///< Direct alignment may be tried.
  double landmarkThresh = 1.0;    ///< Pixel error under which a feature agrees with the motion.
  int minPointsQuasiAffine = 25;  ///< Fewest matches for the similarity.
  int minPointsHomography = 50;   ///< Fewest matches for the homography.
  int minTrackDuration = 10;      ///< Stored, not consulted.
  int sourceWidth = -1;
  int sourceHeight = -1;
  Vorn::Point2D origin{0.0, 0.0};  ///< The centre about which matrices act.
  Vorn::ArrayPyramid* currentPyramid = nullptr;
  Vorn::ArrayPyramid* previousPyramid = nullptr;
  bool directlyEstimated = false;  ///< This frame's matrix came from direct alignment.
  int framesEstimated = 0;         ///< Since the last reset of the weights.
  bool recomputeMatchQuality = false;
  bool subtitleDetection = true;  ///< Features that stand still in a moving picture may be taken out.
  int verbose = 0;                ///< Above 5 the refinement prints.
  float confidenceMaxError = 12.0f;
  float weightInitInlier = 1.0f;
  float weightInitOutlier = -1.0f;
  float weightMax = 2.0f;
  float weightMin = -1.0f;
  float weightDiffInlier = 0.1f;   ///< Gained on an agreeing frame.
  float weightDiffOutlier = 1.5f;  ///< Stored, not consulted: one disagreement bars a feature at once.
  int windowSize = 15;             ///< Patch side of the tracker.
  int qualityMax = 255;            ///< Patch error limit of the tracker.
  float dcTotalError = 0;
  int dcPixelCount = 0;
  std::mutex dc_results_lock;  ///< Guards the two accumulators.

 private:
  /// The frame in hand: what the steps of `Estimate` hand on. Kept between frames for its memory.
  struct Work {
    Vorn::PointSet current, previous;  // about `origin`; the weight of a current point is its reliability, 0 to 1
    Vorn::MatchSet matches;            // those that may take part, best first
    Vorn::PointSet normalCurrent, normalPrevious;
    Vorn::Matrix toNormalCurrent, toNormalPrevious;
    int still = 0;           // features that don't move in the image
    bool titleMode = false;  // they are taken for a title
    bool reset = false;      // all features got a new chance on this frame
    bool wantHomography = false;
    bool lowCoverage = false;
    bool quasiOnly = false;
    std::vector<int> inliers;  // positions in `matches`, of the last model fitted
    Vorn::Matrix fit;          // in normalised coordinates
    Vorn::Matrix matrix;       // in pixels about `origin`
    double error = 0;
    int count = 0;        // inliers of the model that won
    bool qaWins = false;  // it is the similarity
  };

  // RobustGlobalME.cpp
  void recomputeQualities(Vorn::PointSet& current, const Vorn::PointSet& previous, const Vorn::MatchSet& matches) const;
  void beginWork(const Vorn::PointSet& current, const Vorn::PointSet& previous, const Vorn::MatchSet& matches);
  void measureCoverage();
  bool enoughMatches();
  void fitMotion(int frame);
  void fitSimilarity(int frame, Vorn::LOPROSAC& solver);
  void fitHomography(Vorn::LOPROSAC& solver);
  double solveAndFit(Vorn::LOPROSAC& solver, Vorn::EstimationModel* model, Vorn::FeaturesOptFunction& optimiser,
                     std::vector<double>& fitted);
  Vorn::Matrix inPixels(const Vorn::Matrix& normalised, const Vorn::Matrix& fallback) const;
  bool isRejected() const;
  bool restsOnWeakGround() const;
  bool passesDirectCheck(int frame);
  void storeFit(int frame, Vorn::Matrix& result);
  bool alignDirectly(int frame, Vorn::Matrix& result);
  bool storeNoMotion(int frame, float confidence, Vorn::Matrix& result);
  void restartWeights();
  static Vorn::Matrix similarityMatrix(const std::vector<double>& parameters);

  // RobustGlobalMEWeights.cpp
  void testForTitles();
  void carryWeightsOver();
  void dropUnrecorded();
  bool tooFewTrusted() const;
  void resetWeights(const Vorn::PointSet& current, const Vorn::PointSet& previous, const Vorn::MatchSet& matches);
  void updateWeights(const Vorn::Matrix& h, const Vorn::PointSet& current, const Vorn::PointSet& previous);
  void updateRecord(MatchWeight& record, bool agrees, bool moved) const;
  MatchWeight newRecord(int id, bool agrees, bool moved) const;
  void takeLiveMatches();
  void indexRecords(size_t additional);

  Work work;
  Vorn::MatchSet kept;
  Vorn::LiveMatches liveMatches;
  Vorn::IdIndex recordOfId;  // the first record of each id
  std::vector<char> used;    // by position in the matches
};
