// The bilinear members of the warper.
#include <algorithm>
#include <cstddef>

#include "rendering/BackProjection.h"
#include "rendering/FastWarper.h"
#include "rendering/WarpFormats.h"

namespace Vorn {
namespace {

/// The two pixels of a pair are weighted before they are added, so that two of 1 give 1 exactly.
inline Float4 Blend(Float4 a, Float4 b, float share) { return a * (1.0f - share) + b * share; }

inline Float4 BlendCell(Float4 topLeft, Float4 topRight, Float4 bottomLeft, Float4 bottomRight, float fx, float fy) {
  return Blend(Blend(topLeft, topRight, fx), Blend(bottomLeft, bottomRight, fx), fy);
}

/// A cell of four source pixels: the left ones of its two rows are given.
template <typename Format>
inline void PutInside(const Format& format, const unsigned char* top, const unsigned char* bottom, float fx, float fy,
                      unsigned char* target, typename Format::MatteCode& matte) {
  format.PutBilinear(BlendCell(Format::Load(top), Format::Load(top + Format::bytes), Format::Load(bottom),
                               Format::Load(bottom + Format::bytes), fx, fy),
                     target, matte);
}

/// The even or the odd bytes of a pixel, each in the lower half of a 16-bit lane.
inline std::uint32_t EvenBytes(const unsigned char* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word & 0x00ff00ffu;
}
inline std::uint32_t OddBytes(const unsigned char* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word >> 8 & 0x00ff00ffu;
}

/// Bytes are blended in 16-bit lanes, two to a word, with weights that sum to 256 or a little less. What is lost by
/// truncation stays lost, and the matte is full whatever alpha is.
inline void PutInside(const RGBA32Warp&, const unsigned char* top, const unsigned char* bottom, float fx, float fy,
                      unsigned char* target, std::uint8_t& matte) {
  const auto weight = [](float x, float y) { return static_cast<std::uint32_t>(static_cast<int>(256.0f * x * y)); };
  const std::uint32_t topLeft = weight(1.0f - fx, 1.0f - fy), topRight = weight(fx, 1.0f - fy),
                      bottomLeft = weight(1.0f - fx, fy), bottomRight = weight(fx, fy);
  const std::uint32_t even = topLeft * EvenBytes(top) + topRight * EvenBytes(top + 4) + bottomLeft * EvenBytes(bottom) +
                             bottomRight * EvenBytes(bottom + 4);
  const std::uint32_t odd = topLeft * OddBytes(top) + topRight * OddBytes(top + 4) + bottomLeft * OddBytes(bottom) +
                            bottomRight * OddBytes(bottom + 4);
  const std::uint32_t word = (even >> 8 & 0x00ff00ffu) | (odd & 0xff00ff00u);
  std::memcpy(target, &word, sizeof word);
  matte = 255;
}

template <typename Format>
inline void PutAtEdge(const Format& format, const Image& source, int x, int y, float fx, float fy,
                      unsigned char* target, typename Format::MatteCode& matte) {
  const auto pixel = [&](int column, int row) {
    const bool inside = column >= 0 && column < source.width && row >= 0 && row < source.height;
    return inside ? Format::Load(source.rows[row] + static_cast<std::ptrdiff_t>(column) * Format::bytes)
                  : format.BilinearOutside();
  };
  format.PutBilinear(BlendCell(pixel(x, y), pixel(x + 1, y), pixel(x, y + 1), pixel(x + 1, y + 1), fx, fy), target,
                     matte);
}

/// A run of output pixels whose cells all lie inside.
template <typename Format>
void PutRunInside(const Format& format, const Image& source, const BilinearPlaces& places, int count,
                  unsigned char* pixel, typename Format::MatteCode* coverage) {
  const int last = source.height - 1;
  for (int i = 0; i < count; ++i) {
    const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(places.x[i]) * Format::bytes;
    const unsigned char* const* const row = source.rows + places.y[i];
    __builtin_prefetch(source.rows[std::min(places.y[i] + 2, last)] + offset);  // for the next row of the output
    PutInside(format, row[0] + offset, row[1] + offset, places.fx[i], places.fy[i],
              pixel + static_cast<std::ptrdiff_t>(i) * Format::bytes, coverage[i]);
  }
}

/// A run that may leave the source.
template <typename Format>
void PutRunAtEdge(const Format& format, const Image& source, const BilinearPlaces& places, int count,
                  unsigned char* pixel, typename Format::MatteCode* coverage) {
  for (int i = 0; i < count; ++i, pixel += Format::bytes) {
    const int x = places.x[i], y = places.y[i];
    const float fx = places.fx[i], fy = places.fy[i];
    if (x >= 0 && x < source.width - 1 && y >= 0 && y < source.height - 1) {
      const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(x) * Format::bytes;
      PutInside(format, source.rows[y] + offset, source.rows[y + 1] + offset, fx, fy, pixel, coverage[i]);
    } else {
      PutAtEdge(format, source, x, y, fx, fy, pixel, coverage[i]);
    }
  }
}

template <typename Format>
void WarpRows(const FastWarper& warper, const Image& source, Image& target, Image& matte, const Matrix& inverse,
              int firstRow, int lastRow) {
  const Format format(source);
  const BackProjection projection(warper, inverse);
  BilinearPlaces places;
  for (int row = std::max(firstRow, 0); row <= std::min(lastRow, target.height - 1); ++row) {
    auto* const coverage = reinterpret_cast<typename Format::MatteCode*>(matte.rows[row]);
    for (int column = 0; column < target.width; column += warpChunk) {
      const int count = std::min(warpChunk, target.width - column);
      unsigned char* const pixel = target.rows[row] + static_cast<std::ptrdiff_t>(column) * Format::bytes;
      if (LocateBilinear(projection, row, column, count, source.width, source.height, places))
        PutRunInside(format, source, places, count, pixel, coverage + column);
      else
        PutRunAtEdge(format, source, places, count, pixel, coverage + column);
    }
  }
}

}  // namespace

void FastWarper::projectBilinear_RGB24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                       int lastRow) const {
  WarpRows<RGB24Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_RGBA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<RGBA32Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_RGBA64(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<RGBA64Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_ARGBSF(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<ARGBSFWarp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_YUVA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<YUVA32Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_YUV24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                       int lastRow) const {
  WarpRows<YUV24Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectBilinear_Y1UVNN(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  if (src.type != YUVA64) return WarpRows<Y1UVNNWarp>(*this, src, dst, matte, inverse, firstRow, lastRow);
  WarpRows<YUVA64Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
  WarpRows<YUVA64Coverage>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

}  // namespace Vorn
