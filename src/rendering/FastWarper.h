#pragma once

#include "imaging/Image.h"
#include "numerics/Matrix.h"

namespace Vorn {

class WarpImage;

/// Resamples a whole frame through a 3 by 3 projective matrix, with one inner loop for each family of pixel formats:
/// the tool that every rendered frame goes through. A plain record, filled for one call and kept on the stack.
///
/// Column x and row y of the output have their sample at s + (u, v), where (u, v) is (x, y) - t taken through the
/// inverse of the matrix, s the source origin and t the target origin. What lies outside the source counts as a zero
/// pixel, or in Y'CbCr as black with neutral chroma, and lowers the coverage that the matte tells. A sample at infinity
/// or at no number lies outside.
class FastWarper {
 public:
  /// Fills `dst` and `matte` in stripes of rows, one a processor. `m` is forward, from source to destination; a
  /// singular one is used as it stands, and one that isn't 3 by 3 counts as the identity.
  ///
  /// `dst` has its size already and pixels of the source's layout. `matte` becomes `L8` (or `L16` for formats with more
  /// than a byte a channel) of its size; memory of the same size and type is used again. The stripes are cut from the
  /// rows of the source: with n processors, rows beyond n times (source height / n, a whole number) are left as they
  /// are in `dst` and zero in `matte`, and with fewer source rows than processors only row 0 is drawn.
  ///
  /// Pixel types without a loop go to `fallback`, whose `centre` becomes the source origin. Without one `dst` stays as
  /// it is and the matte is zero, as it is for a `dst` with rows too short for the source's pixels.
  ///
  /// Concurrent calls are fine, with images of their own to write.
  void Project(const Image& src, Image& dst, Image& matte, const Matrix& m) const;

  // One member a kernel and format family. Each fills the rows from `firstRow` to `lastRow`, which is included, as far
  // as `dst` has them. `inverse` goes from destination to source; `matte` has the size of `dst` and its type already.
  void projectLanczos3_RGB24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                             int lastRow) const;
  void projectLanczos3_RGBA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectLanczos3_RGBA64(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectLanczos3_ARGBSF(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectLanczos3_YUVA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectLanczos3_YUV24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                             int lastRow) const;
  void projectLanczos3_Y1UVNN(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;

  void projectBilinear_RGB24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                             int lastRow) const;
  void projectBilinear_RGBA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectBilinear_RGBA64(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectBilinear_ARGBSF(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectBilinear_YUVA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;
  void projectBilinear_YUV24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                             int lastRow) const;
  void projectBilinear_Y1UVNN(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                              int lastRow) const;

  /// The slow reference for any format: `dst` becomes an image of the source's size and type, black outside the given
  /// rows, with the matte as `WarpImage` makes it. The matrix acts about the source origin, the target origin isn't
  /// looked at, and the kernel is bilinear. `Project` never takes it, and as it resizes it isn't for stripes.
  void projectGeneric(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                      int lastRow) const;

  /// What runs one stripe: `context` is its `FastWarperContext*`.
  static void FastWarpingWrapper(void* context);

  int sourceOriginX = 0, sourceOriginY = 0;  ///< added to the projected position, pixels
  int targetOriginX = 0, targetOriginY = 0;  ///< taken off column and row before the matrix is applied
  bool highQuality = false;                  ///< Lanczos instead of bilinear
  WarpImage* fallback = nullptr;             ///< for pixel types without a loop; not owned
};

/// A member that fills rows.
using WarpMember = void (FastWarper::*)(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const;

/// One stripe's work order. Nothing in it is owned.
struct FastWarperContext {
  const FastWarper* warper;
  const Image* source;
  Image* destination;
  Image* matte;
  const Matrix* inverse;
  int startRow, endRow;             ///< both included
  WarpMember specialInterpolation;  ///< chosen anew by each call, so that concurrent calls don't disturb each other
};

}  // namespace Vorn
