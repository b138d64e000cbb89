// From one Y'CbCr format to another one: sampling first, then codes, then the standard.
#include <algorithm>
#include <cstdio>
#include <limits>

#include "imaging/ChromaRows.h"
#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"
#include "imaging/FormulaRows.h"
#include "imaging/PixelRows.h"

namespace Vorn {
namespace {

constexpr std::size_t alpha = 3;

bool IsPlanes(const Image& image) { return image.type >= YUVP420 && image.type <= YUVAP444; }
bool IsYCbCrRows(const Image& image) { return image.type >= Y2UV32 && image.type <= YUVA64; }
bool IsYCbCr(const Image& image) { return IsYCbCrRows(image) || IsPlanes(image); }
bool IsYCbCrSpace(ColourSpace space) { return space >= Rec601 && space <= Rec2020; }

bool RefuseFormats() {
  std::fputs("Invalid conversion\n", stderr);
  return false;
}

/// The range of one channel in two formats.
struct Range {
  unsigned oldMin, oldMax, newMin, newMax;

  /// A stored code, in single precision and truncated as the pictures in use have been; held to codes that exist.
  int operator()(int code, int most) const {
    if (oldMin == newMin && oldMax == newMax) return code;
    const float ratio = static_cast<float>(newMax - newMin) / static_cast<float>(oldMax - oldMin);
    const float above = static_cast<float>(code - static_cast<int>(oldMin)) * ratio;
    return std::clamp(TruncateToInt(above + static_cast<float>(newMin)), 0, most);
  }
};

struct Ranges {
  Ranges(const Image& from, const Image& to)
      : Ranges(from, to.yMin, to.yMax, to.uMin, to.uMax, to.vMin, to.vMax, to.aMin, to.aMax, to.maxValue) {}
  Ranges(const Image& from, unsigned yMin, unsigned yMax, unsigned uMin, unsigned uMax, unsigned vMin, unsigned vMax,
         unsigned aMin, unsigned aMax, unsigned maxValue)
      : of{{from.yMin, from.yMax, yMin, yMax},
           {from.uMin, from.uMax, uMin, uMax},
           {from.vMin, from.vMax, vMin, vMax},
           {from.aMin, from.aMax, aMin, aMax}},
        most(static_cast<int>(maxValue)) {}

  void apply(PixelRow& row) const {
    for (PixelCodes& codes : row)
      for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = of[i](codes[i], most);
  }

  Range of[4];
  int most;
};

/// What zero-based codes in a space are held to. `Image::Limit` doesn't know every space: codes are held to those that
/// can be stored, too.
CodeBounds StorableCodes(const Image& image, ColourSpace space) {
  constexpr int farthest = std::numeric_limits<int>::max();
  const int most = static_cast<int>(image.maxValue);
  const int minima[] = {static_cast<int>(image.yMin), static_cast<int>(image.uMin), static_cast<int>(image.vMin),
                        static_cast<int>(image.aMin)};
  const Pixel low = image.Limit(Pixel(-farthest, -farthest, -farthest, -farthest, space));
  const Pixel high = image.Limit(Pixel(farthest, farthest, farthest, farthest, space));
  CodeBounds bounds{{low.Y(), low.U(), low.V(), low.A()}, {high.Y(), high.U(), high.V(), high.A()}};
  for (std::size_t i = 0; i < bounds.least.size(); ++i) {
    bounds.least[i] = std::clamp(bounds.least[i], -minima[i], most - minima[i]);
    bounds.most[i] = std::clamp(bounds.most[i], -minima[i], most - minima[i]);
  }
  return bounds;
}

/// A row of stored codes. What the image doesn't have is black without alpha, as stored codes too.
void ReadStoredRow(const Image& image, int y, PixelRow& row) {
  const NeutralChroma neutral(image, CodeScale::Stored);
  const PixelCodes outside{static_cast<int>(image.yMin), neutral.u, neutral.v, static_cast<int>(image.aMin)};
  const auto width = static_cast<std::size_t>(std::max(image.width, 0));
  ReadRow(image, y, CodeScale::Stored, row);
  const std::size_t inside = y < image.height ? std::min(width, row.size()) : 0;
  std::fill(row.begin() + static_cast<std::ptrdiff_t>(inside), row.end(), outside);
}

/// The format in rows with half the chroma, at a depth.
PixelType HalvedChromaType(int bitDepth) {
  switch (bitDepth) {
    case 8:
      return Y2UV32;
    case 10:
      return Y2UV10;
    case 12:
      return Y2UV12;
    case 14:
      return Y2UV14;
    default:
      return Y2UV16;
  }
}

void DownSample(const Image& source, Image& target) {
  if (IsPlanes(source))
    ConvertYUVdownSampleChromaPlanar8(source, target);
  else if (source.bitDepth == 8)
    ConvertYUVdownSampleChroma32(source, target);
  else
    ConvertYUVdownSampleChroma64(source, target);
}

/// The picture with the chroma of the target: the source itself, or one that a temporary then holds. Between planes and
/// rows, which don't place the chroma of odd sizes alike, less chroma is left to where the target is stored.
const Image& WithSamplingOf(const Image& target, const Image& source, Image& full, Image& halved) {
  if (source.chromaSubsampling == target.chromaSubsampling) return source;
  const Image& all = WithFullChroma(source, full);
  if (target.chromaSubsampling == 0 || IsPlanes(all) != IsPlanes(target)) return all;
  const PixelType type = IsPlanes(target) ? target.type : HalvedChromaType(all.bitDepth);
  if (!halved.Resize(all.width, all.height, type)) return all;
  DownSample(all, halved);
  return halved;
}

}  // namespace

bool ConvertRangeOnlyYUV(const Image& source, Image& target) {
  if (!IsYCbCr(source) || !IsYCbCr(target) || !source.valid || !target.valid) return true;
  const Ranges ranges(source, target);
  StoreYCbCr(target, CodeScale::Stored, [&](int y, PixelRow& row) {
    ReadStoredRow(source, y, row);
    ranges.apply(row);
  });
  return true;
}

void ConvertYCbCr(const Image& source, Image& target) {
  Image full, halved;
  ConvertRangeOnlyYUV(WithSamplingOf(target, source, full, halved), target);
  const ColourSpace wanted = target.space;
  if (source.space == wanted || !IsYCbCrSpace(source.space)) return;
  target.SetColourSpace(source.space);
  ConvertYUVSpecInPlace(&target, wanted);
  target.SetColourSpace(wanted);
}

bool ConvertPlanarToPlanar(const Image& source, Image& target) {
  if (IsPlanes(source) && IsPlanes(target)) ConvertYCbCr(source, target);
  return true;
}

bool ConvertYUVplanarToInterleaved(const Image& source, Image& target) {
  if (!IsPlanes(source) || !IsYCbCrRows(target)) return RefuseFormats();
  ConvertYCbCr(source, target);
  return true;
}

bool ConvertInterleavedYUVtoPlanar(const Image& source, Image& target) {
  if (!IsYCbCrRows(source) || !IsPlanes(target)) return RefuseFormats();
  ConvertYCbCr(source, target);
  return true;
}

bool ConvertYUVRangeInPlace(Image* image, unsigned yMin, unsigned yMax, unsigned uMin, unsigned uMax, unsigned vMin,
                            unsigned vMax, unsigned aMin, unsigned aMax) {
  if (image == nullptr || !IsYCbCr(*image)) return false;
  const Ranges ranges(*image, yMin, yMax, uMin, uMax, vMin, vMax, aMin, aMax, image->maxValue);
  if (image->valid)
    StoreYCbCr(*image, CodeScale::Stored, [&](int y, PixelRow& row) {
      ReadStoredRow(*image, y, row);
      ranges.apply(row);
    });
  image->yMin = yMin;
  image->yMax = yMax;
  image->uMin = uMin;
  image->uMax = uMax;
  image->vMin = vMin;
  image->vMax = vMax;
  image->SetRangeA(aMin, aMax);  // last, since it renews black
  return true;
}

bool ConvertYUVRangeInPlace(Image* image, const Image& like) {
  return ConvertYUVRangeInPlace(image, like.yMin, like.yMax, like.uMin, like.uMax, like.vMin, like.vMax, like.aMin,
                                like.aMax);
}

bool ConvertYUVSpecInPlace(Image* image, ColourSpace space) {
  if (image == nullptr || !IsYCbCr(*image) || !IsYCbCrSpace(image->space) || !IsYCbCrSpace(space)) return false;
  const YCbCrSpans spans{image->yMax - image->yMin, image->uMax - image->uMin, image->vMax - image->vMin};
  const CodeBounds bounds = StorableCodes(*image, space);
  if (image->valid && image->space != space)
    StoreYCbCr(*image, CodeScale::ZeroBased, [&](int y, PixelRow& row) {
      ReadRow(*image, y, CodeScale::ZeroBased, row);
      RowToSpace(spans, image->space, space, bounds, row);
    });
  image->SetColourSpace(space);
  image->SetRangeA(image->aMin, image->aMax);  // black is in the image's space
  return true;
}

}  // namespace Vorn
