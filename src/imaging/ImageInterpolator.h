#pragma once

#include "imaging/Pixel.h"
#include "numerics/Matrix.h"

namespace Vorn {

class Image;
class Point2D;

/// The kernel sinc(t) sinc(t / 3) at t = -3 + 6 i / 100 for i from 0 to 100, and a zero behind it, since a look-up at
/// t = 3 reads one entry further.
extern const float LanczosTable[102];

/// The Lanczos kernel with three lobes (Duchon, "Lanczos Filtering in One and Two Dimensions", J. Appl. Meteorology
/// 1979), read from `LanczosTable` with linear interpolation in single precision. 0 outside [-3, 3] and for a NaN.
/// The table has no samples at the whole positions but 0 and the ends, so there it is only near 0 (within 0.001).
inline float LanczosSinc(double t) {
  if (!(t >= -3.0 && t <= 3.0)) return 0.0f;
  if (CompareDouble(0.0, t)) return 1.0f;
  const float place = (static_cast<float>(t) + 3.0f) * 100.0f / 6.0f;
  const int i = static_cast<int>(place);  // never negative: this is the floor
  const float share = place - static_cast<float>(i);
  return LanczosTable[i] + (LanczosTable[i + 1] - LanczosTable[i]) * share;
}

/// The weights of the six samples from floor(x) - 2 to floor(x) + 3 at position x. They sum to 1 for any phase. For an
/// x that isn't finite they aren't numbers. A caller with a position in double precision takes the floor of the
/// narrowed one: the two differ just below a whole number.
void getLanczosKernel(float x, float* kernel);

/// The cubic through p1 and p2 at t from 0 to 1, with the slopes there from p0 and p3 (Catmull and Rom, 1974).
float cubicInterpolate(float p0, float p1, float p2, float p3, float t);

// The value of an image at a position, by kernel and by kind of pixel. Pixel (i, j) lies at exactly (i, j). They are
// pure reads, safe from many threads; any position will do, also one that isn't a number, which counts as far outside.
//
// Bilinear takes four neighbours and rounds. CubicSpline (Keys, "Cubic Convolution Interpolation for Digital Image
// Processing", 1981) takes 4 by 4, sums in double precision, and rounds. Bicubic takes 4 by 4 along rows and then along
// the column by `cubicInterpolate`, and truncates. Lanczos3 takes 6 by 6 by `getLanczosKernel` and rounds; at a whole
// position it gives the pixel to about 0.3%, see `LanczosSinc`. All but Bilinear can overshoot; nothing is clamped.
//
// The integer kinds give a pixel with the image's `maxValue`, zero-based as `Image::operator()` gives it. What lies
// outside the image takes part as its black with alpha 0.

/// Grey: luma and alpha as a `Mono` pixel. Images of other kinds give their luma.
Pixel BilinearL(const Image* image, double x, double y);
Pixel CubicSplineL(const Image* image, double x, double y);
Pixel BicubicL(const Image* image, double x, double y);
Pixel Lanczos3L(const Image* image, double x, double y);

/// RGB in integer codes.
Pixel BilinearRGBA(const Image* image, double x, double y);
Pixel CubicSplineRGBA(const Image* image, double x, double y);
Pixel BicubicRGBA(const Image* image, double x, double y);
Pixel Lanczos3RGBA(const Image* image, double x, double y);

/// Y'CbCr of any layout, in the image's space.
Pixel BilinearYUVA(const Image* image, double x, double y);
Pixel CubicSplineYUVA(const Image* image, double x, double y);
Pixel BicubicYUVA(const Image* image, double x, double y);
Pixel Lanczos3YUVA(const Image* image, double x, double y);

/// One layout each, read without a `Pixel` for every sample; the image must have it (`Y1UVNN`: `Y1UV10` to `Y1UV16`).
Pixel BilinearARGB64(const Image* image, double x, double y);
Pixel Lanczos3ARGB64(const Image* image, double x, double y);
Pixel BilinearYUVA32(const Image* image, double x, double y);
Pixel Lanczos3YUVA32(const Image* image, double x, double y);
Pixel BilinearY1UVNN(const Image* image, double x, double y);
Pixel Lanczos3Y1UVNN(const Image* image, double x, double y);

/// Float frames (type `ARGBSF`), unclamped. What lies outside counts as zero in all four channels, alpha too, without
/// renormalisation: alpha falls towards the edge, and colour fades with it.
PixelARGBSF BilinearARGBSF(const Image* image, double x, double y);
PixelARGBSF Lanczos3ARGBSF(const Image* image, double x, double y);

/// Reads one image at any position, with the sampling functions that fit its format and a kernel to choose. It holds no
/// pixels; the image must outlive it, and there must be one before anything is read.
///
/// Float frames (`ARGBSF`) are not for it: they read as black with their alpha. Use the two functions above.
class ImageInterpolator {
 public:
  ImageInterpolator() = default;  ///< No image yet, and the functions for grey.
  explicit ImageInterpolator(const Image& source);

  void SetImage(const Image& source);
  void SetImage(const Image* source);
  /// For an image of the very format of the last one: keeps the functions chosen for that.
  void SetSimilarImage(const Image& source) { image = &source; }

  Pixel operator()(double x, double y) const;  ///< By the kernel that `mode` tells.

  Pixel Lanczos3(double x, double y) const { return lanczos3(image, x, y); }
  Pixel Bicubic(double x, double y) const { return bicubic(image, x, y); }
  Pixel CubicSpline(double x, double y) const { return cubicSpline(image, x, y); }
  Pixel Bilinear(double x, double y) const { return bilinear(image, x, y); }
  /// The pixel at (floor(x), floor(y)): truncation, not rounding, is what nearest means here.
  Pixel Nearest(double x, double y) const;

  static double rfunc(double x);  ///< The cubic convolution kernel with a = -1/2; 0 from a distance of 2 on.
  /// The exact Lanczos kernel with `a` lobes, beside the table.
  static double lsinc(double x, float a);

  /// 1 where all neighbours that have a share in the position are opaque, else 0.
  static double GetVisibility(const Image* image, const Point2D& point);

 private:
  using Sampler = Pixel (*)(const Image* image, double x, double y);

  void setSpecialisedFunctions();
  void bind(Sampler newBilinear, Sampler newCubicSpline, Sampler newBicubic, Sampler newLanczos3);

  const Image* image = nullptr;
  Sampler bilinear = BilinearL, cubicSpline = CubicSplineL, bicubic = BicubicL, lanczos3 = Lanczos3L;

 public:
  int mode = 3;  ///< 0 Lanczos-3, 1 bicubic, 2 cubic spline, 3 bilinear, any other nearest neighbour
};

}  // namespace Vorn
