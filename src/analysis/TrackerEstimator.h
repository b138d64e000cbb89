#pragma once

#include <list>
#include <memory>
#include <vector>

#include "analysis/HomographySet.h"
#include "analysis/IdIndex.h"
#include "analysis/MotionConfidenceSet.h"
#include "analysis/RobustGlobalME.h"
#include "imaging/ArrayPyramid.h"
#include "imaging/FastArray.h"
#include "numerics/MatchSet.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/PointSet.h"
#include "rendering/AGCComputer.h"
#include "rendering/AGCStorage.h"
#include "tracking/FeatureStorage.h"
#include "tracking/FeatureTracker.h"

namespace Vorn {
class KLTTracker;
}

/// The analysis of a clip, frame by frame: follows features, decides when new ones must be found, has motion and gain
/// estimated, and publishes one motion matrix, one similarity, one confidence and one gain per frame.
///
/// One analysis: a new object (or `clear`), `setDetectSubtitles`, `setFBPolicy`, `setRange` and, once the size of the
/// first frame is known, `setAxesInverted`, `setAnalysisWidth`, `setTrackOptionsWindow` and `setMotionOptions`, in this
/// order; then `processFrame` for every frame of the range, in order; then `finaliseFrom`. Frame numbers count fields
/// on interlaced material. Calls come from one thread at a time; inside, the work is spread over all processors.
class TrackerEstimator {
 public:
  TrackerEstimator();
  ~TrackerEstimator();

  /// Makes ready for another run. The motion estimator's weights and stores, the gains and `analysedQuasiAffine` live
  /// on into it, and its frames are added to them.
  void clear();

  void setAnalysisWidth(int width, int height);  ///< Of the frames, in pixels.
  void getAnalysisWidth(int* width, int* height) const;
  void setRange(int first, int last);  ///< Both frames inclusive.
  void range(int* first, int* last) const;
  void setAxesInverted(char inverted);   ///< The rows of a frame run upwards.
  void setDetectSubtitles(char detect);  ///< Features that stand still in a moving picture may be taken for a title.
  /// `window`: tracking window side in pixels. `levels`: of the pyramids, -1 to choose by the frame size. `replenish`:
  /// fraction of lost features that triggers a detection. `maxInterval`: frames between detections at most.
  void setTrackOptionsWindow(int window, int levels, float minEigenvalue, int maxRange, float replenish,
                             int maxInterval);
  /// `unused` is without effect. `direct`: align the images where features fail. `landThresh`: pixels within which a
  /// feature agrees with the motion. Comes after `setTrackOptionsWindow`, whose window the estimator shares.
  void setMotionOptions(char unused, char direct, int trackDuration, float landThresh);
  /// How features are verified by tracking them back: 1 all on each frame; 2 all after each detection and every
  /// `verify` frames; 3 as 2, and the doubtful ones on each frame; any other number never.
  void setFBPolicy(int policy, int verify);

  /// One feature for every two window-sized tiles of the frame.
  int suggestNumberFeatureTracks() const;

  /// Takes over a stored analysis.
  void setMotion(const Vorn::HomographySet& motion, const MotionConfidenceSet& confidence);

  /// Analyses the next frame of the range.
  /// `weave`: 0 for a progressive frame, 1 if its even rows are the field in hand, another value if its odd rows are.
  /// `data`: four floats a pixel (alpha, red, green, blue), rows `rowBytes` apart. A frame of another size than the
  /// analysed one is left out, with a message in the log.
  void processFrame(int frame, int weave, const void* data, int width, int height, int rowBytes);

  /// Makes `currentLuma` and `currentPyramid`. Arguments as above.
  void getCurrentPyramidForFrame(int frame, int weave, const void* data, int width, int height, int rowBytes);

  /// Whether the features no longer span half of the frame in one axis: true means that support is NOT sufficient. If
  /// they do, but less of it than before, detections come more often from now on.
  bool sufficientSupport(const std::list<Vorn::Point2D>& points);

  /// Publishes the frames `first` to `last` as analysed.
  void finaliseFrom(int first, int last);

  /// Loads a stored motion (HSET), similarity and confidence (MCONF); the last two paths may be null. All frames are
  /// trusted fully, whatever the confidence file says. False, with motion and confidence empty, if the first file can't
  /// be loaded or claims far more frames than it holds; of the others such a one is as good as empty.
  bool loadMotion(const char* motionPath, const char* rotationPath, const char* confidencePath);

  Vorn::HomographySet* motion() { return &analysedMotion; }
  Vorn::HomographySet* qamotion() { return &analysedQuasiAffine; }
  MotionConfidenceSet* confidence() { return &confidence_; }
  AGCStorage* getAGC() { return &gainStorage; }

  /// Writes motion and confidence to "fcpx.set" and "fcpx.mconf" in the working folder.
  void saveMotionDebug() const;

  std::unique_ptr<AGCComputer> ObjC_AGC;
  std::unique_ptr<Vorn::FastArray> currentLuma;  // before the pyramids, which point to them
  std::unique_ptr<Vorn::FastArray> previousLuma;
  std::unique_ptr<Vorn::ArrayPyramid> previousPyramid;
  std::unique_ptr<Vorn::ArrayPyramid> currentPyramid;
  std::unique_ptr<Vorn::FeatureTracker> tracker;  ///< Always a `KLTTracker`.
  RobustGlobalME motionEstimator;
  AGCStorage gainStorage;
  float previousGain = 1.0f;
  Vorn::PointSet previousPoints;    ///< Features as they stood on the frame before.
  Vorn::PointSet currentPoints;     ///< Features as they stand on this frame, before new ones are found.
  Vorn::Matrix previousHomography;  ///< Motion of the last frame: the tracker's prediction.
  Vorn::HomographySet analysedMotion;
  Vorn::HomographySet analysedQuasiAffine;
  MotionConfidenceSet confidence_;
  int analysedWidth = 0;
  int analysedHeight = 0;
  int rangeStart = -1;
  int rangeEnd = -1;
  char invertAxes = 0;
  int supportWidth = 0;  ///< Smallest spread of the features so far, pixels.
  int supportHeight = 0;
  int trackableFeatures = 0;  ///< Features that survived the first tracking after a detection.
  int windowSize = 0;
  int activeFeaturesLastFrame = 0;
  bool doReplenish = false;  ///< A detection is due on this frame.
  std::list<Vorn::Point2D> trackPoints;
  std::vector<Vorn::FeatureStorage::TrackStatus> trackStatus;
  char detectSubtitles = 1;
  int fbPolicy = 1;
  int multiresolutionLevels = 0;
  int maxNumberFeatures = 0;
  int maxVerifyInterval = 5;
  float replenishThreshold = 0.0f;
  int maxDetectInterval = 0;
  int detectInterval = 0;  ///< Lowered during a run, also below 0, which makes a detection due on every frame.
  int featuresAtDetect = 0;
  int framesSinceDetect = 0;
  int framesSinceVerify = 0;

 private:
  void beginRun(int frame);
  void followFrame(int frame);
  Vorn::KLTTracker& kltTracker();
  void trackFeatures();
  bool replenishIsDue(bool weakSupport) const;
  void matchPoints();
  void replenish();
  void estimateMotion(int frame, Vorn::Matrix& homography);
  void measureGain(int frame, Vorn::Matrix& homography);
  void handBuffersOver();

  // Of the frame in hand; kept for their memory.
  Vorn::PointSet matchedCurrent, matchedPrevious;
  Vorn::MatchSet matches;
  Vorn::IdIndex currentOfId;
};
