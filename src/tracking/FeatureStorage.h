#pragma once

namespace Vorn {

/// How features are recorded frame by frame. Trackers say with its `TrackStatus` what each point of a frame is.
class FeatureStorage {
 public:
  /// The state of one point in one frame; the numbers are those that are stored.
  enum TrackStatus {
    TrackContinued = 0,  ///< The feature was there in the frame before.
    TrackNew = 1,        ///< The feature was detected in this frame.
  };
};

}  // namespace Vorn
