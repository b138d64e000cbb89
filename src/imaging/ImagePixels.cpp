// The pixel access of `Image`: what stands in memory, and what a `Pixel` of it says.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "imaging/Image.h"
#include "imaging/PixelFields.h"
#include "imaging/PixelFormat.h"

namespace Vorn {
namespace {

constexpr int alpha = 3;  // the place of alpha among a pixel's codes

}  // namespace

Pixel Image::operator()(int x, int y) const {
  if (!contains(x, y)) return outside();
  if (!hasCodes()) return Pixel();
  Codes codes = readCodes(x, y);
  const Codes minima = rangeMinima();
  for (int i = 0; i < 4; ++i) codes.values[i] -= minima.values[i];
  if (!format->hasMatte) codes.values[alpha] = static_cast<int>(format->space >= Rec601 ? alphaRange : maxValue);
  Pixel pixel = makePixel(codes);
  pixel.maxValue = maxValue;
  return pixel;
}

Pixel Image::GetRaw(int x, int y) const {
  if (!contains(x, y)) return outside();
  if (!hasCodes()) return Pixel();
  Codes codes = readCodes(x, y);
  if (!format->hasMatte) codes.values[alpha] = static_cast<int>(aMax);
  Pixel pixel = makePixel(codes);
  if (type == ARGB64) pixel.maxValue = 65535;  // the only type whose raw pixels tell their scale
  return pixel;
}

void Image::SetPixel(int x, int y, const Pixel& pixel) {
  if (!contains(x, y) || !hasCodes()) return;
  Codes codes = codesOf(pixel);
  const Codes minima = rangeMinima();
  for (int i = 0; i < 4; ++i)  // unsigned, since a sum that no int can hold is masked like any other
    codes.values[i] =
        static_cast<int>(static_cast<unsigned>(codes.values[i]) + static_cast<unsigned>(minima.values[i]));
  writeCodes(x, y, codes);
}

void Image::SetRaw(int x, int y, const Pixel& pixel) {
  if (contains(x, y) && hasCodes()) writeCodes(x, y, codesOf(pixel));
}

void Image::Clear() {
  if (!valid) return;
  if (type >= Y2UV32 && type <= YUVA64) return Clear(black);
  for (int plane = 0; plane < planeCount; ++plane) std::fill_n(rows[plane], planeBytes(plane), std::uint8_t{0});
  if (!planar)
    for (int y = 0; y < height; ++y) std::memset(rows[y], 0, rowBytes());
}

void Image::Clear(const Pixel& pixel) {
  if (!valid) return;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) SetPixel(x, y, pixel);
}

Pixel Image::Limit(const Pixel& pixel) const {
  Pixel limited = pixel;
  const int full = static_cast<int>(pixel.maxValue);
  switch (pixel.space) {
    case Mono:
      Pixel::validify(limited.M_, 0, full);
      break;
    case RGB:
      Pixel::validify(limited.R_, 0, full);
      Pixel::validify(limited.G_, 0, full);
      Pixel::validify(limited.B_, 0, full);
      Pixel::validify(limited.A_, 0, full);
      break;
    case Rec601:
    case Rec709:
    case SMPTE240M:
      Pixel::validify(limited.Y_, 0, static_cast<int>(yMax - yMin));
      Pixel::validify(limited.U_, 0, static_cast<int>(uMax - uMin));
      Pixel::validify(limited.V_, 0, static_cast<int>(vMax - vMin));
      Pixel::validify(limited.A_, 0, static_cast<int>(alphaRange));
      break;
    default:
      break;
  }
  return limited;
}

/// Whether the storage can be read by the type: planes by any, rows only by the interleaved ones.
bool Image::hasCodes() const { return format != nullptr && (planar || type == ARGBSF || format->layout.wordBytes > 0); }

Pixel Image::outside() const {
  Pixel pixel = black;
  pixel.SetAlpha(0);
  return pixel;
}

/// Null where a plane holds nothing at all.
unsigned char* Image::planeSample(int plane, int x, int y) const {
  const std::size_t bytes = planeBytes(plane);
  if (bytes == 0) return nullptr;
  if (plane == 1 || plane == 2) {
    if (chromaSubsampling >= 1) x /= 2;
    if (chromaSubsampling == 2) y /= 2;
  }
  // Where an odd size leaves a column or row without chroma of its own, the last sample serves.
  const int column = std::min(x, planeStride[plane] - 1), row = std::min(y, std::max(planeRows(plane) - 1, 0));
  const std::size_t offset =
      static_cast<std::size_t>(row) * static_cast<std::size_t>(planeStride[plane]) + static_cast<std::size_t>(column);
  return rows[plane] + std::min(offset, bytes - 1);
}

Image::Codes Image::readCodes(int x, int y) const {
  Codes codes;
  if (planar) {
    const unsigned absent[] = {yMin, uMin + static_cast<unsigned>(black.U_), vMin + static_cast<unsigned>(black.V_),
                               aMax};
    for (int i = 0; i < 4; ++i) {
      const unsigned char* sample = planeSample(i, x, y);
      codes.values[i] = static_cast<int>(sample != nullptr ? *sample : absent[i]);
    }
  } else if (type == ARGBSF) {
    PixelARGBSF p;
    std::memcpy(&p, rows[y] + static_cast<std::size_t>(x) * sizeof p, sizeof p);
    codes = {{CodeOfFloat(p.r), CodeOfFloat(p.g), CodeOfFloat(p.b), CodeOfFloat(p.a)}};
  } else {
    const PixelLayout& layout = format->layout;
    const PixelPlace place = PlaceOf(layout, x);
    const unsigned char* group = rows[y] + place.offset;
    if (layout.wordBytes == 1) ReadFields<1>(layout, place.fields, group, codes.values);
    if (layout.wordBytes == 2) ReadFields<2>(layout, place.fields, group, codes.values);
    if (layout.wordBytes == 4) ReadFields<4>(layout, place.fields, group, codes.values);
  }
  return codes;
}

void Image::writeCodes(int x, int y, const Codes& codes) {
  if (planar) {
    for (int i = 0; i < 4; ++i)
      if (unsigned char* sample = planeSample(i, x, y)) *sample = static_cast<unsigned char>(codes.values[i]);
  } else if (type == ARGBSF) {
    const PixelARGBSF p = {FloatOfCode(codes.values[alpha]), FloatOfCode(codes.values[0]), FloatOfCode(codes.values[1]),
                           FloatOfCode(codes.values[2])};
    std::memcpy(rows[y] + static_cast<std::size_t>(x) * sizeof p, &p, sizeof p);
  } else {
    const PixelLayout& layout = format->layout;
    const PixelPlace place = PlaceOf(layout, x);
    unsigned char* group = rows[y] + place.offset;
    if (layout.wordBytes == 1) WriteFields<1>(layout, place.fields, group, codes.values);
    if (layout.wordBytes == 2) WriteFields<2>(layout, place.fields, group, codes.values);
    if (layout.wordBytes == 4) WriteFields<4>(layout, place.fields, group, codes.values);
  }
}

/// What the pixel's components stand above: zero but for Y'CbCr.
Image::Codes Image::rangeMinima() const {
  if (format->space < Rec601) return {};
  return {{static_cast<int>(yMin), static_cast<int>(uMin), static_cast<int>(vMin), static_cast<int>(aMin)}};
}

Pixel Image::makePixel(const Codes& codes) const {
  const auto& c = codes.values;
  if (format->space == Mono) return Pixel(c[0], c[alpha]);
  if (format->space == RGB) return Pixel(c[0], c[1], c[2], c[alpha]);
  return Pixel(c[0], c[1], c[2], c[alpha], space);
}

Image::Codes Image::codesOf(const Pixel& pixel) const {
  if (format->space == Mono) return {{pixel.M_, 0, 0, pixel.A_}};
  if (format->space == RGB) return {{pixel.R_, pixel.G_, pixel.B_, pixel.A_}};
  return {{pixel.Y_, pixel.U_, pixel.V_, pixel.A_}};
}

}  // namespace Vorn
