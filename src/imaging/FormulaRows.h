#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "imaging/PixelRows.h"
#include "imaging/PixelType.h"

namespace Vorn {

/// Luma of R, G, B from 0 to `max`. In thousandths: a sum of doubles would fall short of white, and of every fourth
/// grey.
inline int LumaCode(int r, int g, int b, unsigned max) {
  const long thousandths = 299L * r + 587L * g + 114L * b;
  return static_cast<int>(std::clamp(thousandths / 1000, 0L, static_cast<long>(max)));
}

/// The share of each colour in luma, and what a difference of colour and luma is divided by.
struct LumaWeights {
  double kr, kg, kb;
  double cb, cr;
};

/// Null for a space that is not Y'CbCr. Constant luminance has divisors of its own.
const LumaWeights* LumaWeightsOf(ColourSpace space);

// Whole rows by the formulas of single pixels, with the same bits.

/// The spans of zero-based Y, U and V codes; U and V are neutral at half of theirs.
struct YCbCrSpans {
  unsigned y, u, v;
};

/// Turns Y, U, V of each pixel into R, G, B from 0 to `max`. Alpha stays.
void RowToRGB(const YCbCrSpans& spans, ColourSpace space, unsigned max, PixelRow& row);

/// Turns R, G, B of each pixel, which are from 0 to `max`, into Y, U, V, each held to its span. Alpha stays.
void RowToYCbCr(unsigned max, const YCbCrSpans& spans, ColourSpace space, PixelRow& row);

/// What the codes of a pixel are held to.
struct CodeBounds {
  PixelCodes least, most;
};

/// Turns Y, U, V of each pixel in the space `from` into those of the space `to`, and holds all codes to `bounds`.
void RowToSpace(const YCbCrSpans& spans, ColourSpace from, ColourSpace to, const CodeBounds& bounds, PixelRow& row);

/// Scales the alpha of each pixel from the range 0 to `from` to that from 0 to `to`, held to 0 to `most`.
void ScaleAlpha(unsigned from, unsigned to, unsigned most, PixelRow& row);

/// What `Pixel::ConvertMax` makes of codes, looked up where a picture has more pixels than there are codes.
class DepthScale {
 public:
  /// From the scale 0 to `from` to that from 0 to `to`, for `pixels` pixels.
  DepthScale(unsigned from, unsigned to, std::size_t pixels);

  int operator()(int code) const {
    const auto place = static_cast<std::size_t>(static_cast<unsigned>(code));
    return place < table.size() ? table[place] : convert(code);
  }

 private:
  int convert(int code) const;

  unsigned from, to;
  std::vector<int> table;
};

}  // namespace Vorn
