#pragma once

namespace Vorn {

class FastArray;
class Image;

/// Horizontal and vertical gradients by the 3 by 3 Sobel operator: a difference -1, 0, 1 along one axis, smoothed with
/// 1, 2, 1 along the other. Positive where values grow to the right or downward. The input is mirrored about its edge
/// rows and columns, so the difference there is exactly 0. Sums are in single precision; the results are the same for
/// any processor count.
///
/// `direction`: 0 for the vertical gradient, anything else for the horizontal one. `scale` multiplies the smoothing
/// kernel: with 0.125 a ramp of slope 1 gives 1.
class Sobel {
 public:
  Sobel() {}

  /// `output` must have the input's size already and share no memory with it. On all processors. Always true.
  bool Filter(const FastArray& input, FastArray& output, int direction, double scale) const;

  /// The same on the calling thread alone, on tight arrays of `width` by `height` elements. Always true.
  bool Filter(const float* input, float* output, int direction, int width, int height, double scale) const;

  /// The gradient's magnitude along one axis, of an image's luma (Pixel::GetYL), on the calling thread. `output`
  /// becomes an opaque `L8`, `L10` or `L16` image, by the input's `maxValue`; values above the maximum are clamped to
  /// it, and fractions cut off. Always true.
  bool Filter(const Image& input, Image& output, int direction, double scale) const;
};

}  // namespace Vorn
