#pragma once

#include "imaging/FastArray.h"
#include "imaging/Image.h"
#include "numerics/Parallel.h"

namespace Vorn {

// How each pixel format gives its luma, on the format's own code scale: the offset of a Y'CbCr range is not removed.
// Each function converts row `y` of an image of its formats to `image.width` floats.

void Y2UV32ToLuma(const Image& image, int y, float* luma);  ///< `Y2UV32`: every second byte.
void YUV24ToLuma(const Image& image, int y, float* luma);   ///< `YUV24`: byte 1 of three.
void YUVA32ToLuma(const Image& image, int y, float* luma);  ///< `YUVA32`: byte 1 of four.
void YUVA64ToLuma(const Image& image, int y, float* luma);  ///< `YUVA64`: the first of four 16-bit words.
void Y2UVNNToLuma(const Image& image, int y, float* luma);  ///< `Y2UV10` to `Y2UV16`: every second 16-bit word.
void Y1UVNNToLuma(const Image& image, int y, float* luma);  ///< `Y1UV10` to `Y1UV16`: the first of three words.
void YUVPToLuma(const Image& image, int y, float* luma);    ///< The planar formats: plane 0.
void ARGB64ToLuma(const Image& image, int y, float* luma);  ///< `ARGB64`: (R + 2 G + B) / 4 in integers.
void RGBX8ToLuma(const Image& image, int y, float* luma);   ///< The 8-bit RGB formats: as `ARGB64`.
/// `ARGBSF`: with f0 to f3 a pixel's floats in memory order, (int(f0 - f3) + int(f2 - f3)) >> 2, plus f3. On values
/// from 0 to 1 that is f3, the blue. Kept: it is what stored results of this path were made with.
void ARGBSFToLuma(const Image& image, int y, float* luma);
void AnyToLuma(const Image& image, int y, float* luma);  ///< Any other format: Pixel::GetYL of the stored codes.

/// Converts rows of an image to the rows of an array that has the image's size and is tight. Rows may be converted by
/// several threads at once.
template <void (*convertRow)(const Image& image, int y, float* luma)>
class LumaKernel : public ParallelLoop {
 public:
  LumaKernel(const Image& from, FastArray& to) : image(from), array(to) {}

  void operator()(int row) override { (*this)(row, row + 1); }
  /// Rows `firstRow` to `lastRow` - 1.
  void operator()(int firstRow, int lastRow) {
    for (int y = firstRow; y < lastRow; ++y) convertRow(image, y, array.data + static_cast<ptrdiff_t>(y) * array.width);
  }

 private:
  const Image& image;
  FastArray& array;
};

using ParallelY2UV32toLuma = LumaKernel<Y2UV32ToLuma>;
using ParallelYUV24toLuma = LumaKernel<YUV24ToLuma>;
using ParallelYUVA32toLuma = LumaKernel<YUVA32ToLuma>;
using ParallelYUVA64toLuma = LumaKernel<YUVA64ToLuma>;
using ParallelY2UVNNtoLuma = LumaKernel<Y2UVNNToLuma>;
using ParallelY1UVNNtoLuma = LumaKernel<Y1UVNNToLuma>;
using ParallelYUVPtoLuma = LumaKernel<YUVPToLuma>;
using ParallelARGB64toLuma = LumaKernel<ARGB64ToLuma>;
using ParallelRGBX8toLuma = LumaKernel<RGBX8ToLuma>;
using ParallelARGBSFtoLuma = LumaKernel<ARGBSFToLuma>;
using ParallelAnyToLuma = LumaKernel<AnyToLuma>;

}  // namespace Vorn
