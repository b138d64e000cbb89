#pragma once

#include "imaging/Image.h"
#include "numerics/Parallel.h"

namespace Vorn {

// Converts pictures between any two pixel formats: depth, order, chroma sampling, range and matrix of Y'CbCr; grey, RGB
// and Y'CbCr; planar and interleaved.
//
// Where a function takes a `target`, its format and its size are given: what the source doesn't have, beside or below
// it, becomes black, and transparent where there is a matte. Averages of chroma are rounded to the side on which
// neutral lies. A function called with formats that aren't its own writes nothing and gives true, if nothing else is
// said. Codes are zero-based as in `Pixel`, if nothing else is said.

// Whole pictures.

/// `target` becomes the picture in `type` and, unless that is `NoSpace`, in `space`. False if there is no room for it:
/// for an empty picture and for a type without a layout.
bool ConvertToType(const Image& source, PixelType type, Image& target, ColourSpace space);

/// Fills `target` in the format that it has. Where that is the source's very format, or `RGB24` for `BGR24`, it takes
/// the source's size too.
bool ConvertToImage(const Image& source, Image& target);

/// `target` becomes the luma of the picture, of the same size: `L16` or `L10` for codes of 16 and 10 bits, `L8` for all
/// others. A picture of that type is copied. False for an empty picture.
bool ConvertToLuma(const Image& source, Image& target);

// Pixels. The ranges are maximum minus minimum of the codes in Y'CbCr.

/// A `Mono` pixel with the alpha of `p`: 0.299 R + 0.587 G + 0.114 B, truncated, or Y stretched to `maxValue`. A `Mono`
/// pixel, and one without a space, comes back as it is.
Pixel ToLuma(const Pixel& p, unsigned yRange);
/// An `RGB` pixel with the `maxValue` of `p`; the alpha of Y'CbCr is stretched from `yRange` to it.
Pixel ToRGB(const Pixel& p, unsigned yRange, unsigned uRange, unsigned vRange);
/// A pixel in Y'CbCr `space`; alpha as a share of `yRange`. `maxValue` stays. One that is in `space`, or in none, comes
/// back as it is; one of another standard goes through normalised RGB.
Pixel ToYCbCr(const Pixel& p, unsigned yRange, unsigned uRange, unsigned vRange, ColourSpace space);

/// R, G, B from 0 to `max` to codes of Y'CbCr, rounded to nearest. `uOffset` and `vOffset`: the codes of neutral
/// chroma, half the range in the second form.
void RGBToYCbCr(int r, int g, int b, unsigned max, ColourSpace space, unsigned yRange, unsigned uRange, unsigned vRange,
                unsigned uOffset, unsigned vOffset, int& y, int& u, int& v);
void RGBToYCbCr(int r, int g, int b, unsigned max, ColourSpace space, unsigned yRange, unsigned uRange, unsigned vRange,
                int& y, int& u, int& v);
/// The reverse, truncated and clamped to 0..`max`.
void YCbCrToRGB(int y, int u, int v, unsigned yRange, unsigned uRange, unsigned vRange, unsigned uOffset,
                unsigned vOffset, ColourSpace space, unsigned max, int& r, int& g, int& b);
void YCbCrToRGB(int y, int u, int v, unsigned yRange, unsigned uRange, unsigned vRange, ColourSpace space, unsigned max,
                int& r, int& g, int& b);

/// R, G, B from 0 to 1 to Y from 0 to 1 with Cb and Cr around 0, by ITU-R BT.601, BT.709, BT.2020 and SMPTE 240M. All
/// zero for a space that is not Y'CbCr.
void normRGBtoYCbCr(float r, float g, float b, ColourSpace space, float& y, float& cb, float& cr);
/// The reverse; nothing is clamped. For `Rec2020CL` it isn't quite: where Cb is positive, B comes out a little lower.
void normYCbCrToRGB(float y, float cb, float cr, ColourSpace space, float& r, float& g, float& b);

/// Hue in degrees (-1 for grey), saturation and value from 0 to 1 of an `RGB` pixel (A. R. Smith, "Color Gamut
/// Transform Pairs", 1978).
void RGBtoHSV(const Pixel& p, float& h, float& s, float& v);
/// `p` becomes an `RGB` pixel, rounded to nearest; it keeps its alpha and its `maxValue`. A hue may lie outside of a
/// turn.
void HSVtoRGB(float h, float s, float v, Pixel& p);
/// CIE 1976 L*a*b* of an `RGB` pixel, whose codes are taken as linear; L from 0 to 100.
void RGBtoLAB(const Pixel& p, double& l, double& a, double& b);
/// `p` becomes an `RGB` pixel, rounded to nearest and clamped; it keeps its alpha and its `maxValue`.
void LABtoRGB(const double& l, const double& a, const double& b, Pixel& p);

// Steps of a conversion, from one format to another one.

/// Grey to RGB. Depth changes as by `Pixel::ConvertMax`; opaque where the source has no alpha.
bool ConvertMonoToRGB(const Image& source, Image& target);
bool ConvertRGBtoPlanar(const Image& source, Image& target);     ///< RGB to Y'CbCr planes
bool ConvertPlanarToRGB(const Image& source, Image& target);     ///< Y'CbCr planes to RGB
bool ConvertPlanarToPlanar(const Image& source, Image& target);  ///< between the codes 287 to 290
/// From Y'CbCr planes to Y'CbCr in rows, and back, with ranges and space. For other formats they print
/// "Invalid conversion" and give false.
bool ConvertYUVplanarToInterleaved(const Image& source, Image& target);
bool ConvertInterleavedYUVtoPlanar(const Image& source, Image& target);

/// Between Y'CbCr formats of the same sampling: codes are stretched from range to range as by `ConvertYUVRangeInPlace`.
/// The space isn't looked at. A target with less chroma gets the mean.
bool ConvertRangeOnlyYUV(const Image& source, Image& target);

// Sampling of chroma, at the same depth; the target takes on the source's ranges and space. Up: the first pixel of each
// pair takes the pair's chroma, and the second one the mean of that and the next pair's; the second pixel keeps the
// pair's at the end of a row. Down: each pair takes the mean, a last single pixel keeps its own.
bool ConvertY6UVX32toY1UV10(const Image& source, Image& target);
bool ConvertYUVupSampleChroma32(const Image& source, Image& target);       ///< `Y2UV32` to `YUV24` or (opaque) `YUVA32`
bool ConvertYUVupSampleChroma64(const Image& source, Image& target);       ///< `Y2UVNN` to `Y1UVNN`
bool ConvertYUVdownSampleChroma32(const Image& source, Image& target);     ///< 8 bits with full chroma to `Y2UV32`
bool ConvertYUVdownSampleChroma64(const Image& source, Image& target);     ///< more bits with full chroma to `Y2UVNN`
bool ConvertYUVupSampleChromaPlanar8(const Image& source, Image& target);  ///< planes, also from row to row
bool ConvertYUVdownSampleChromaPlanar8(const Image& source, Image& target);

// In place.

/// Stretches stored codes from the image's ranges to these, truncated, and gives the image these. Nothing happens, and
/// false comes back, for null and for an image that isn't Y'CbCr.
bool ConvertYUVRangeInPlace(Image* image, unsigned yMin, unsigned yMax, unsigned uMin, unsigned uMax, unsigned vMin,
                            unsigned vMax, unsigned aMin, unsigned aMax);
bool ConvertYUVRangeInPlace(Image* image, const Image& like);
/// Converts to another standard of Y'CbCr. Nothing happens, and false comes back, for null and where one of the spaces
/// isn't Y'CbCr.
bool ConvertYUVSpecInPlace(Image* image, ColourSpace space);

/// Exchanges the first and the last byte of each three-byte pixel; for other formats nothing happens.
void SwapRedBlue(Image& image);
// These change the order and with it the type. False, and nothing happens, for all types but the first named.
bool ConvertRGBtoBGR(Image& image);
bool ConvertBGRtoRGB(Image& image);
bool ConvertRGBAtoARGB(Image& image);  ///< `RGBA32` to `ARGB32`

// Byte order, for pictures that came from a machine of the other one. Nothing happens for null and for planes.
void SwapEndian(Image* image);  ///< each pair of bytes in width times `pixelBytes` bytes of a row, or in all it has
void SwapEndianParallel(Image* image);  ///< the same, rows divided over the processors
void SwapEndian4(Image* image);         ///< the four 16-bit words of each eight-byte pixel

/// One part of `SwapEndianParallel`: rows `startRow` to `endRow` - 1.
struct SwapContext {
  Image* image;
  int startRow, endRow;
};

/// Converts rows of one image to the rows of another. Rows may be converted by several threads at once.
template <void (*convertRow)(const Image& source, int y, Image& target)>
class ImageRowKernel : public ParallelLoop {
 public:
  ImageRowKernel(const Image& from, Image& to) : source(from), target(to) {}

  void operator()(int row) override { (*this)(row, row + 1); }
  /// Rows `firstRow` to `lastRow` - 1.
  void operator()(int firstRow, int lastRow) {
    for (int y = firstRow; y < lastRow; ++y) convertRow(source, y, target);
  }

 private:
  const Image& source;
  Image& target;
};

// What the kernels do with a row that the target has; the ranges must agree.
void UpSampleY2UVNNtoY1UVNN(const Image& source, int y, Image& target);
void UpSampleY2UV32toYUV24(const Image& source, int y, Image& target);
void UpSampleY2UV32toYUVA32(const Image& source, int y, Image& target);

using ParallelY2UVNNtoY1UVNN = ImageRowKernel<UpSampleY2UVNNtoY1UVNN>;
using ParallelY2UV32toYUV24 = ImageRowKernel<UpSampleY2UV32toYUV24>;
using ParallelY2UV32toYUVA32 = ImageRowKernel<UpSampleY2UV32toYUVA32>;

}  // namespace Vorn
