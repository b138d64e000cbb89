#pragma once

#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"

namespace Vorn {

/// Resamples a picture through a 3 by 3 projective matrix, pixel by pixel, in any format, and answers where the matrix
/// takes points and frames. The general tool; frames of a clip go through `FastWarper`.
class WarpImage {
 public:
  WarpImage();
  /// A matrix that isn't 3 by 3 counts as the identity.
  explicit WarpImage(const Matrix& m);

  /// Takes the matrix and its inverse (the pseudo-inverse, so that a singular matrix has one too).
  void SetMatrix(const Matrix& m);

  void ProjectPoint(Point2D& p) const { warpPoint(p, &forward); }
  void BackProjectPoint(Point2D& p) const { warpPoint(p, &inverse); }
  /// Sends the point through a matrix about `centre`. A point at infinity gets coordinates that aren't finite.
  void warpPoint(Point2D& p, const Matrix* m) const;

  /// The bounding rectangle of a warped frame of `w` by `h` pixels, which `window` keeps, or, with `inscribed`, the
  /// upright rectangle inside it. Where none is found a message tells, and `r` is the bounding rectangle.
  void CalculateWarpWindow(int w, int h, Rectangle& r);
  void CalculateWarpWindow(int w, int h, const Matrix& m, Rectangle& r);

  /// The largest-looking upright rectangle of the frame's own aspect that is centred in a warped frame, from the warped
  /// corners, which are overwritten. Leaves `r` alone, with a message, where the corners span none.
  void calculateInscribedRectangle(int w, int h, Point2D& tl, Point2D& tr, Point2D& bl, Point2D& br,
                                   Rectangle& r) const;

  Matrix forward, inverse;
  Point2D offset;            ///< added to every back-projected position
  Point2D centre;            ///< the point about which the matrix acts
  bool autoWindow = false;   ///< the output is as large as the warped frame, not as the source
  bool matchTarget = false;  ///< without `autoWindow`: the output is as large as the destination handed in
  bool keepOffset = false;   ///< false: `offset` counts as zero
  bool inscribed = false;    ///< the window is the inscribed rectangle
  Rectangle window;          ///< the bounding rectangle last found
  int interpolation = 3;     ///< the mode handed to the interpolator
};

}  // namespace Vorn
