// How chroma of one sampling becomes that of another, at the same depth.
#include <algorithm>
#include <cstddef>

#include "imaging/ChromaRows.h"
#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"
#include "imaging/PixelFields.h"

namespace Vorn {
namespace {

bool IsPairOfWords(PixelType type) { return type >= Y2UV10 && type <= Y2UV16; }
bool IsPlanes(PixelType type) { return type >= YUVP420 && type <= YUVAP444; }
bool IsYCbCrRows(PixelType type) { return type >= Y2UV32 && type <= YUVA64; }

/// The bytes of a pixel, and where in it the codes lie.
struct PixelOrder {
  int bytes, y, u, v;
};

/// Pairs of pixels, U, Y0, V, Y1, to pixels with chroma of their own.
template <int wordBytes>
void UpSamplePairs(const unsigned char* pairs, int count, const PixelOrder& order, const NeutralChroma& neutral,
                   unsigned char* pixels) {
  const auto put = [&](int x, int offset, int code) {
    WriteWord<wordBytes>(pixels + static_cast<std::ptrdiff_t>(x) * order.bytes + offset, static_cast<unsigned>(code));
  };
  const auto code = [&](int pair, int place) {
    return static_cast<int>(ReadWord<wordBytes>(pairs + (static_cast<std::ptrdiff_t>(pair) * 4 + place) * wordBytes));
  };
  for (int x = 0; x < count; ++x) {
    const int pair = x / 2;
    int u = code(pair, 0), v = code(pair, 2);
    if (x % 2 == 1 && x + 1 < count) {
      u = MeanTowardNeutral(u + code(pair + 1, 0), 2, neutral.u);
      v = MeanTowardNeutral(v + code(pair + 1, 2), 2, neutral.v);
    }
    put(x, order.y, code(pair, x % 2 == 0 ? 1 : 3));
    put(x, order.u, u);
    put(x, order.v, v);
  }
}

/// What the target has and the source hasn't.
void BlackenFrom(Image& target, int first, int y) {
  Pixel black = target.black;
  black.SetAlpha(0);
  for (int x = first; x < target.width; ++x) target.SetPixel(x, y, black);
}

/// The pixels of row y that both have; the others of the target are blackened.
int PixelsInBoth(const Image& source, int y, Image& target) {
  if (y < 0 || y >= target.height) return 0;
  const bool inRows = y < source.height && !source.planar && !target.planar;
  const int count = inRows ? std::min(source.width, target.width) : 0;
  BlackenFrom(target, count, y);
  return count;
}

/// Runs the row kernel over the target, with the source's ranges.
template <typename Kernel>
void Run(const Image& source, Image& target) {
  target.CopyColourSpace(source);
  Kernel kernel(source, target);
  parallel_for(kernel, 0, target.height);
}

/// Interpolates along each row, whatever the format.
void UpSampleRows(const Image& source, Image& target) {
  target.CopyColourSpace(source);
  const NeutralChroma neutral(source, CodeScale::ZeroBased);
  PixelRow row;
  for (int y = 0; y < target.height; ++y) {
    row.resize(static_cast<std::size_t>(std::max(source.width, 0)));
    ReadRow(source, y, CodeScale::ZeroBased, row);
    InterpolateChroma(row, neutral);
    PixelCodes outside{0, neutral.u, neutral.v, 0};
    row.resize(static_cast<std::size_t>(target.width), outside);
    WriteRow(row, y, CodeScale::ZeroBased, target);
  }
}

/// Gives every second row the mean of the rows around it, if both are in the source too.
void InterpolateRows(int sourceHeight, Image& target) {
  const NeutralChroma neutral(target, CodeScale::ZeroBased);
  const auto width = static_cast<std::size_t>(target.width);
  PixelRow above(width), row(width), below(width);
  for (int y = 1; y + 1 < std::min(sourceHeight, target.height); y += 2) {
    ReadRow(target, y - 1, CodeScale::ZeroBased, above);
    ReadRow(target, y, CodeScale::ZeroBased, row);
    ReadRow(target, y + 1, CodeScale::ZeroBased, below);
    InterpolateChroma(above, below, neutral, row);
    WriteRow(row, y, CodeScale::ZeroBased, target);
  }
}

bool DownSample(const Image& source, Image& target) {
  target.CopyColourSpace(source);
  StoreYCbCr(target, CodeScale::ZeroBased,
             [&](int y, PixelRow& row) { ReadRow(source, y, CodeScale::ZeroBased, row); });
  return true;
}

}  // namespace

void UpSampleY2UVNNtoY1UVNN(const Image& source, int y, Image& target) {
  const int count = PixelsInBoth(source, y, target);
  if (count > 0)
    UpSamplePairs<2>(source.rows[y], count, {6, 0, 2, 4}, NeutralChroma(source, CodeScale::Stored), target.rows[y]);
}

void UpSampleY2UV32toYUV24(const Image& source, int y, Image& target) {
  const int count = PixelsInBoth(source, y, target);
  if (count > 0)
    UpSamplePairs<1>(source.rows[y], count, {3, 1, 2, 0}, NeutralChroma(source, CodeScale::Stored), target.rows[y]);
}

void UpSampleY2UV32toYUVA32(const Image& source, int y, Image& target) {
  const int count = PixelsInBoth(source, y, target);
  if (count == 0) return;
  UpSamplePairs<1>(source.rows[y], count, {4, 1, 0, 2}, NeutralChroma(source, CodeScale::Stored), target.rows[y]);
  for (int x = 0; x < count; ++x)
    target.rows[y][static_cast<std::ptrdiff_t>(x) * 4 + 3] = static_cast<unsigned char>(target.aMax);
}

bool ConvertYUVupSampleChroma32(const Image& source, Image& target) {
  if (!target.valid || source.type != Y2UV32) return true;
  if (target.type == YUV24) Run<ParallelY2UV32toYUV24>(source, target);
  if (target.type == YUVA32) Run<ParallelY2UV32toYUVA32>(source, target);
  return true;
}

bool ConvertYUVupSampleChroma64(const Image& source, Image& target) {
  PixelType full = source.type;
  if (!target.valid || !IsPairOfWords(source.type) || !Image::UpgradeTypeToFullChroma(full)) return true;
  if (target.type == full) Run<ParallelY2UVNNtoY1UVNN>(source, target);
  return true;
}

bool ConvertY6UVX32toY1UV10(const Image& source, Image& target) {
  if (target.valid && source.type == Y6UVX32 && target.type == Y1UV10) UpSampleRows(source, target);
  return true;
}

bool ConvertYUVupSampleChromaPlanar8(const Image& source, Image& target) {
  const bool fits = IsPlanes(source.type) && IsPlanes(target.type) && target.chromaSubsampling == 0;
  if (!target.valid || !fits || source.chromaSubsampling == 0) return true;
  UpSampleRows(source, target);
  if (source.chromaSubsampling == 2) InterpolateRows(source.height, target);
  return true;
}

bool ConvertYUVdownSampleChroma32(const Image& source, Image& target) {
  const bool fits = IsYCbCrRows(source.type) && source.bitDepth == 8 && source.chromaSubsampling == 0;
  return !target.valid || !fits || target.type != Y2UV32 || DownSample(source, target);
}

bool ConvertYUVdownSampleChroma64(const Image& source, Image& target) {
  const bool fits = IsYCbCrRows(source.type) && source.bitDepth == target.bitDepth && source.chromaSubsampling == 0;
  return !target.valid || !fits || !IsPairOfWords(target.type) || DownSample(source, target);
}

bool ConvertYUVdownSampleChromaPlanar8(const Image& source, Image& target) {
  const bool fits = IsPlanes(source.type) && IsPlanes(target.type) && source.chromaSubsampling == 0;
  return !target.valid || !fits || target.chromaSubsampling == 0 || DownSample(source, target);
}

const Image& WithFullChroma(const Image& source, Image& temporary) {
  PixelType full = source.type;
  if (!Image::UpgradeTypeToFullChroma(full) || !temporary.Resize(source.width, source.height, full)) return source;
  if (IsPlanes(source.type))
    ConvertYUVupSampleChromaPlanar8(source, temporary);
  else if (source.type == Y6UVX32)
    ConvertY6UVX32toY1UV10(source, temporary);
  else if (IsPairOfWords(source.type))
    ConvertYUVupSampleChroma64(source, temporary);
  else
    ConvertYUVupSampleChroma32(source, temporary);
  return temporary;
}

}  // namespace Vorn
