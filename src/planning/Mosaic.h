#pragma once

#include <vector>

#include "analysis/HomographySet.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Quadrilateral.h"
#include "numerics/Rectangle.h"

namespace Vorn {

/// Places a run of frames in one common plane, given one projection matrix per frame, from the frame's pixels to the
/// plane. It tells which rectangle all frames cover, and which frames cover a point and where.
///
/// Call `SetRegistration`, then `SetDuration`; a point query needs `CalculateDimensions` too. `LocationInFrame` and
/// `InFrames` only read, and may run on several threads at once.
class Mosaic {
 public:
  Mosaic(int frameWidth, int frameHeight);  ///< pixels

  /// Takes a copy of the projections and inverts them. False, with a message and the earlier registration kept, if a
  /// matrix isn't finite.
  bool SetRegistration(const HomographySet& registration);
  /// The frames in play: `first`, `first` + `step`, ... below `first` + `count`; none if `count` or `step` is below 1.
  void SetDuration(int first, int count, int step);
  void SetDuration(const std::vector<int>& newFrames) { frames = newFrames; }

  /// Appends to `corners` the outline in the plane of every frame from the first to the last of `frames`.
  void ProjectCorners();
  /// Sizes the plane to hold all frames. False if it is empty or larger than `maxDimension` either way.
  bool CalculateDimensions();

  /// For `inner` the largest upright rectangle that every frame covers, inverted where there is none; otherwise the
  /// smallest one that holds every frame. Empty, with a message, without a registration; empty too without frames.
  Rectangle GetBorder(bool inner) const;
  /// The same of one frame.
  Rectangle GetBorder(int frame, bool inner) const;

  Matrix GetProjection(int frame) const;         ///< the identity for an unknown frame
  Matrix GetInverseProjection(int frame) const;  ///< the identity for an unknown frame

  /// The frame's pixel at a position in the plane; (0, 0) with id -1 for an unknown frame.
  Point2D LocationInFrame(double x, double y, int frame) const;
  /// The frames that cover a position in the plane, to within a pixel.
  std::vector<int> InFrames(double x, double y) const;
  /// At most `maxFrames` of them with the positions in them, the ones nearest in time to `centreFrame` first.
  void InFrames(double x, double y, std::vector<int>& outFrames, std::vector<Point2D>& outPoints, int centreFrame,
                int maxFrames) const;
  /// The distance in pixels from the frame's centre to where a position in the plane lies in it.
  double CalculateCentreDistance(int x, int y, int frame) const;

  /// Bases the plane on another matrix: each projection becomes the inverse of `reference` times what was registered.
  void ReprojectMatrices(const Matrix& reference);
  /// Bases the plane on a frame, which becomes the identity.
  void ReprojectMatrices(int frame);

  /// Frame-to-frame motion to motion from each range's beginning.
  void AccumulateHomographies(const HomographySet& in, HomographySet& out) const;

  Point2D originOffset;  ///< where the projections' origin lies inside the plane
  Point2D centreOffset;  ///< the point about which the matrices work
  int mosaicWidth = 0, mosaicHeight = 0;
  std::vector<Quadrilateral> corners;
  HomographySet projections;         ///< frame to plane
  HomographySet unprojected;         ///< the registration; empty until the first reprojection
  HomographySet inverseProjections;  ///< plane to frame
  std::vector<int> frames;           ///< the frames in play, in order
  int frameWidth, frameHeight;
  int maxDimension = 10000;

 private:
  void generateInverseProjections();
  bool isRegistered() const;
  bool isWithin(const Point2D& location, double low, double beyond) const;
};

}  // namespace Vorn
