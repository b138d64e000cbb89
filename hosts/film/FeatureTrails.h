#pragma once

#include <array>
#include <vector>

#include "analysis/IdIndex.h"
#include "analysis/TrackerEstimator.h"

namespace film {

/// What a feature is on a frame, as far as a viewer is concerned.
enum class FeatureKind {
  Tracked,  ///< followed, and free to take part in the frame's motion
  New,      ///< found on this frame
  Lost,     ///< followed up to the frame before and no further
  Barred,   ///< followed, but it disagreed with the motion: its weight keeps it out
  Still     ///< followed, and hasn't moved in the picture since it was found
};
inline constexpr int featureKinds = 5;

/// A feature on a frame, and where it was on the frames before.
struct FeatureMark {
  static constexpr int longestTrail = 6;  ///< points, that of this frame with them

  struct Spot {
    float x, y;  ///< pixels of the frame as coded
  };
  int id = -1;
  FeatureKind kind = FeatureKind::Tracked;
  int length = 0;                          ///< points of the trail
  std::array<Spot, longestTrail> trail{};  ///< the latest first; of a lost feature from the last frame that had it
};

/// Follows what an analysis does to its features from frame to frame. Memory: two frames' marks.
class FeatureTrails {
 public:
  /// The marks of the next frame: `analysis` has just gone through it. Lent until the next call.
  const std::vector<FeatureMark>& take(const TrackerEstimator& analysis);

 private:
  void follow(const TrackerEstimator& analysis);
  void addLost();
  void addNew(const TrackerEstimator& analysis);

  std::vector<FeatureMark> marks, before;
  std::vector<char> followed;     // runs parallel to `before`
  Vorn::IdIndex places, records;  // of ids in `before`, or in `marks`; of ids in the weights
  bool begun = false;
};

}  // namespace film
