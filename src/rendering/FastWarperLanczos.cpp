// The Lanczos members of the warper.
#include <algorithm>
#include <cstddef>

#include "rendering/BackProjection.h"
#include "rendering/FastWarper.h"
#include "rendering/WarpFormats.h"

namespace Vorn {
namespace {

constexpr int before = 2;  // samples left of and above a place's own pixel; one more follows it

inline Float4 Weighted(const LanczosPlaces& places, int i, int column, int row, Float4 pixel) {
  return places.kernelX[column][i] * places.kernelY[row][i] * pixel;
}

template <typename Format>
inline Float4 SumInside(const Image& source, const LanczosPlaces& places, int i) {
  const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(places.x[i] - before) * Format::bytes;
  const unsigned char* const* const rows = source.rows + (places.y[i] - before);
  Float4 sum{};
  for (int row = 0; row < lanczosTaps; ++row) {
    const unsigned char* const pixels = rows[row] + offset;
    for (int column = 0; column < lanczosTaps; ++column)
      sum += Weighted(places, i, column, row, Format::Load(pixels + column * Format::bytes));
  }
  return sum;
}

template <typename Format>
Float4 SumAtEdge(const Format& format, const Image& source, const LanczosPlaces& places, int i) {
  const Float4 outside = format.LanczosOutside();
  Float4 sum{};
  for (int row = 0; row < lanczosTaps; ++row) {
    const int y = places.y[i] - before + row;
    for (int column = 0; column < lanczosTaps; ++column) {
      const int x = places.x[i] - before + column;
      const bool inside = x >= 0 && x < source.width && y >= 0 && y < source.height;
      sum += Weighted(places, i, column, row,
                      inside ? Format::Load(source.rows[y] + static_cast<std::ptrdiff_t>(x) * Format::bytes) : outside);
    }
  }
  return sum;
}

template <typename Format>
void WarpRows(const FastWarper& warper, const Image& source, Image& target, Image& matte, const Matrix& inverse,
              int firstRow, int lastRow) {
  const Format format(source);
  const BackProjection projection(warper, inverse);
  const int width = source.width, height = source.height;
  LanczosPlaces places;
  for (int row = std::max(firstRow, 0); row <= std::min(lastRow, target.height - 1); ++row) {
    unsigned char* pixel = target.rows[row];
    auto* coverage = reinterpret_cast<typename Format::MatteCode*>(matte.rows[row]);
    for (int column = 0; column < target.width; column += warpChunk) {
      const int count = std::min(warpChunk, target.width - column);
      LocateLanczos(projection, row, column, count, width, height, places);
      for (int i = 0; i < count; ++i, pixel += Format::bytes, ++coverage) {
        const int x = places.x[i], y = places.y[i];
        const bool inside = x >= before && x < width - 3 && y >= before && y < height - 3;
        format.PutLanczos(inside ? SumInside<Format>(source, places, i) : SumAtEdge(format, source, places, i), pixel,
                          *coverage);
      }
    }
  }
}

}  // namespace

void FastWarper::projectLanczos3_RGB24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                       int lastRow) const {
  WarpRows<RGB24Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_RGBA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<RGBA32Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_RGBA64(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<RGBA64Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_ARGBSF(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<ARGBSFWarp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_YUVA32(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  WarpRows<YUVA32Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_YUV24(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                       int lastRow) const {
  WarpRows<YUV24Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

void FastWarper::projectLanczos3_Y1UVNN(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                        int lastRow) const {
  if (src.type != YUVA64) return WarpRows<Y1UVNNWarp>(*this, src, dst, matte, inverse, firstRow, lastRow);
  WarpRows<YUVA64Warp>(*this, src, dst, matte, inverse, firstRow, lastRow);
  WarpRows<YUVA64Coverage>(*this, src, dst, matte, inverse, firstRow, lastRow);
}

}  // namespace Vorn
