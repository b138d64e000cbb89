#pragma once

#include <list>
#include <vector>

#include "imaging/ArrayPyramid.h"
#include "imaging/FastArray.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "tracking/FeatureStorage.h"

namespace Vorn {

/// Selects features in the first frame of a clip and follows them from frame to frame.
///
/// Everywhere `points` and `statuses` are parallel: the n-th status belongs to the n-th point. A point is in pixels of
/// the full-size frame and carries the feature's `id`.
class FeatureTracker {
 public:
  FeatureTracker() = default;
  FeatureTracker(const FeatureTracker&) = delete;
  FeatureTracker& operator=(const FeatureTracker&) = delete;
  virtual ~FeatureTracker() = default;

  /// Forgets all features, between clips.
  virtual void Clear() { counter = 0; }
  /// Comes first. `window` is the side of the tracking window in pixels, `levels` the number of pyramid levels.
  virtual bool SetOptions(int maxFeatures, int window, int levels, float minEigenvalue, int maxRange,
                          bool blockMode) = 0;
  /// Makes room for frames of `width` by `height` pixels; after `SetOptions`.
  virtual bool Initialise(int width, int height) = 0;
  /// Takes the first frame.
  virtual void Start(ArrayPyramid& pyramid, std::list<Point2D>& points,
                     std::vector<FeatureStorage::TrackStatus>& statuses, bool resume) = 0;
  /// Fills the gaps between the features that there are.
  virtual void DetectFeatures(FastArray& frame, std::list<Point2D>& points,
                              std::vector<FeatureStorage::TrackStatus>& statuses, bool newOnly) = 0;
  /// Follows the features from `previous` to `current`.
  virtual bool Track(ArrayPyramid& current, ArrayPyramid& previous, const Matrix& prediction,
                     std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses) = 0;
  /// Detects anew, and reports the surviving features with the new ones.
  virtual void Replenish(FastArray& frame, std::list<Point2D>& points,
                         std::vector<FeatureStorage::TrackStatus>& statuses) = 0;
  /// Follows one feature on one pyramid level, from `source` to `target`.
  virtual void TrackFeature(unsigned int index, FastArray* target, FastArray* source, FastArray* gradientX,
                            FastArray* gradientY, int level) = 0;

  int window = 15;
  float minEigenvalue = 0.005f;  ///< Kept and read by nothing, by design.

 protected:
  int counter = 0;  // kept for its place in the interface; nothing counts with it
};

}  // namespace Vorn
