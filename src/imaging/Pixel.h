#pragma once

#include "imaging/PixelType.h"

namespace Vorn {

/// One pixel of an `ARGBSF` image as it lies in memory.
struct PixelARGBSF {
  float a, r, g, b;
};

/// One picture element of any format. Only the components of `space`, and alpha, mean anything; the others are zero.
///
/// A Y'CbCr pixel that `Image::operator()` gave is zero-based: the minimum of each range is taken off, so black has
/// Y = 0, and neutral U and V are half the chroma span (they are not centred around zero).
class Pixel {
 public:
  Pixel() = default;
  Pixel(int m, int a) : space(Mono), M_(m), A_(a) {}
  Pixel(int r, int g, int b, int a) : space(RGB), R_(r), G_(g), B_(b), A_(a) {}
  /// `Mono` takes the first value alone, `RGB` takes R, G, B, `NoSpace` takes none, and every other space Y, U, V.
  Pixel(int first, int second, int third, int a, ColourSpace colourSpace);

  /// Becomes a `Mono` pixel with luma `m`, alpha 255 and `maxValue` 255.
  Pixel& operator=(int m);

  /// Pixels without a space are never equal, not even to themselves. Otherwise space, alpha, `maxValue` and the
  /// components of the space decide.
  bool operator==(const Pixel& other) const;
  bool operator!=(const Pixel& other) const { return !(*this == other); }

  /// Scale each colour component and truncate it towards zero. Alpha and `maxValue` stay.
  Pixel operator*(double factor) const;
  Pixel operator/(double divisor) const;

  /// Work on each colour component of the left operand's space, whose alpha and `maxValue` the result has.
  Pixel operator+(const Pixel& other) const;
  Pixel operator-(const Pixel& other) const;

  int A() const { return A_; }
  int R() const { return R_; }
  int G() const { return G_; }
  int B() const { return B_; }
  int Y() const { return Y_; }
  int U() const { return U_; }
  int V() const { return V_; }
  int Luma() const { return M_; }
  void RGBA(int& r, int& g, int& b, int& a) const;
  void YUVA(int& y, int& u, int& v, int& a) const;
  void MA(int& m, int& a) const;
  void SetAlpha(int a) { A_ = a; }

  /// The luma of any pixel, in codes: M, Y, or for RGB 0.299 R + 0.587 G + 0.114 B truncated. 0 without a space.
  int GetYL() const;

  /// Alpha as a share of full opacity: of `maxValue` for spaces up to `RGB`. For Y'CbCr alpha is taken as a stored
  /// code of the video range that belongs to `maxValue` (16 to 235 for 255 and for any value that is no depth's).
  double GetAlphaNorm() const;

  /// Rescales the components of the space, and alpha, from 0..`maxValue` to 0..`newMax`. Going down drops bits with
  /// rounding and clamps; going up is v / `maxValue` * `newMax` in single precision, truncated and not clamped.
  void ConvertMax(unsigned newMax);

  /// The space of a format's pixels as the interpolating and converting code sees it; `NoSpace` also for
  /// `Y1UV10` to `Y1UV16`, `YUVA64` and `ARGB64`, whose images do have a space.
  static ColourSpace GetSpace(PixelType type);

  /// Clamps `v` to lo..hi in place and returns it.
  static int validify(int& v, int lo, int hi);

  unsigned maxValue = 255;  ///< the code of full scale: 255, 1023, 4095, 16383 or 65535
  ColourSpace space = NoSpace;
  int R_ = 0, G_ = 0, B_ = 0;
  int M_ = 0;  ///< mono luma
  int Y_ = 0, U_ = 0, V_ = 0;
  int A_ = 255;
};

}  // namespace Vorn
