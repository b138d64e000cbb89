#pragma once

#include <array>
#include <iosfwd>
#include <memory>
#include <vector>

#include "numerics/Matrix.h"
#include "numerics/Point2D.h"

namespace Vorn {

/// What has become of a feature. The numbers are those that are stored. The first two are live; from
/// `FeatureLargeResidual` on a feature is dead: it is never tracked again and goes at the next detection.
enum FeatureStatus {
  FeatureTracked = 0,        ///< Active; the position of this frame is valid.
  FeatureNew = 1,            ///< Detected in this frame, not yet tracked.
  FeatureLargeResidual = 2,  ///< The match residual passed the threshold.
  FeatureOutOfBounds = 3,    ///< Left the image, or its search left the padded area.
  FeatureLost = 4,           ///< Singular gradient matrix, forward and backward runs apart, or outlier in its block.
};

/// One corner, and where it was in each frame since it was found.
class Feature {
 public:
  Feature() = default;
  Feature(const Feature& other);             ///< Without the matrices.
  Feature& operator=(const Feature& other);  ///< Clears the matrices.
  Feature(Feature&&) noexcept = default;
  Feature& operator=(Feature&&) noexcept = default;
  ~Feature() = default;

  /// As just constructed, but for the matrices.
  void Clear();

  /// The position in `frame`, or a default point at (0, 0) for a frame outside of the track.
  Point2D Location(int frame) const;
  /// Whether the track has a position for `frame`.
  bool IsActive(int frame) const;

  int id = -1;     ///< -1 until assigned.
  int start = -1;  ///< The frame of the first position.
  FeatureStatus status = FeatureLost;
  double quality = 0.0;        ///< The eigenvalue at detection, the match residual once tracked.
  std::vector<Point2D> track;  ///< Positions in pixels, one a frame from `start` on, the latest last.
  std::array<std::unique_ptr<Matrix[]>, 6> matrices;  ///< Owned, for tools; nothing here fills them.
};

/// Orders by descending quality.
inline bool CompareFeatures(const Feature& a, const Feature& b) { return a.quality > b.quality; }
/// Orders by ascending `id`.
inline bool CompareFeatureOrder(const Feature& a, const Feature& b) { return a.id < b.id; }

/// Writes "Feature <id>", "start <first frame> end <last frame>" and "<x> <y>" for each position, a line each.
std::ostream& operator<<(std::ostream& stream, const Feature& feature);

}  // namespace Vorn
