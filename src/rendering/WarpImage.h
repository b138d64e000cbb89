#pragma once

#include <memory>

#include "imaging/Image.h"
#include "imaging/Pixel.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"

namespace Vorn {

/// The matrix, or the identity in place of one that isn't 3 by 3.
Matrix ThreeByThree(const Matrix& m);

/// Resamples a picture through a 3 by 3 projective matrix, pixel by pixel, in any format, and answers where the matrix
/// takes points and frames. The general and slow tool; frames of a clip go through `FastWarper`. Matrices are forward,
/// from source to output; one that isn't 3 by 3 counts as the identity. Float frames (`ARGBSF`) keep their alpha alone,
/// see `ImageInterpolator`.
class WarpImage {
 public:
  WarpImage();
  explicit WarpImage(const Matrix& m);
  WarpImage(const WarpImage& other);
  WarpImage(WarpImage&& other) noexcept = default;
  WarpImage& operator=(const WarpImage& other);
  WarpImage& operator=(WarpImage&& other) noexcept = default;
  ~WarpImage() = default;

  /// Takes the matrix and its inverse (the pseudo-inverse, so that a singular matrix has one too).
  void SetMatrix(const Matrix& m);

  void ProjectPoint(Point2D& p) const { warpPoint(p, forward.get()); }
  void BackProjectPoint(Point2D& p) const { warpPoint(p, inverse.get()); }
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

  /// The warped picture, in the source's type, with `alpha` in the one with a matte if there is one. What the window
  /// has outside the warped picture is black and transparent. The first form sets the matrix.
  ///
  /// With `autoWindow` the output is the window of `CalculateWarpWindow`, otherwise as large as the source. An empty
  /// image comes back where there is no such window, or where it is larger than any sensible warp makes it: more than
  /// 16 million pixels and more than 16 times the source.
  Image Project(const Image& src, const Matrix& m, bool alpha);
  Image Project(const Image& src, bool alpha);

  /// The same into `dst`, which becomes an image of the source's type, with the alpha in `matte`: `L8`, `L10` or `L16`
  /// by the depth, 0 where nothing is, full scale where the source is opaque. Source positions outside `clip`, if there
  /// is one, are left out; its edges are inside. Without `autoWindow`, `matchTarget` makes the output as large as `dst`
  /// was. Where the first forms give an empty image, these leave both images alone.
  void Project(const Image& src, Image& dst, Image& matte, const Rectangle* clip);
  /// With this matrix and its exact inverse, and without a look at `forward` and `inverse`. A singular matrix serves as
  /// its own inverse, with a message.
  void Project(const Image& src, Image& dst, Image& matte, const Matrix& m, const Rectangle* clip);

  std::unique_ptr<Matrix> forward, inverse;
  Point2D offset;            ///< added to every back-projected position
  Point2D centre;            ///< the point about which the matrix acts
  bool autoWindow = false;   ///< the output is as large as the warped frame, not as the source
  bool matchTarget = false;  ///< without `autoWindow`: the output is as large as the destination handed in
  bool keepOffset = false;   ///< false: `offset` counts as zero
  bool inscribed = false;    ///< the window is the inscribed rectangle
  Rectangle window;          ///< the bounding rectangle last found
  int interpolation = 3;     ///< the mode handed to the interpolator

 private:
  Rectangle outputWindow(const Image& src, int width, int height, const Matrix& m);
  void project(const Image& src, Image& dst, Image& matte, const Matrix& m, const Matrix& back, const Rectangle* clip);
  void fill(const Image& src, Image& dst, Image* matte, const Matrix& back, const Rectangle& area,
            const Rectangle* clip) const;
};

/// Makes `matte` as large as `target`, and zero: `L8` for codes below 256, `L10` for 10 bits, `L16` for more.
void ResetMatte(const Image& target, Image& matte);

/// The alpha of a sample of `source` on the scale of `matte`, truncated, and clamped to it.
int MatteCode(const Pixel& sample, const Image& source, const Image& matte);

}  // namespace Vorn
