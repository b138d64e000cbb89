#include "imaging/PixelRows.h"

#include <algorithm>
#include <cstring>

#include "imaging/Image.h"
#include "imaging/PixelFields.h"
#include "imaging/PixelFormat.h"

namespace Vorn {
namespace {

constexpr std::size_t alpha = 3;

bool HasWords(const Image& image, const PixelFormat* format) {
  return !image.planar && format != nullptr && format->layout.wordBytes > 0;
}

bool HasFloats(const Image& image) { return !image.planar && image.type == ARGBSF; }

/// Planes as they usually are; the odd ones, such as a single row with half the rows of chroma, go pixel by pixel.
bool HasPlainPlanes(const Image& image, const PixelFormat* format) {
  if (!image.planar || format == nullptr || format->planes == 0 || image.planeCount < format->planes) return false;
  if (image.chromaSubsampling == 2 && image.height < 2) return false;
  return std::all_of(image.planeStride, image.planeStride + format->planes, [](int stride) { return stride > 0; });
}

PixelCodes CodesOf(const Pixel& pixel) {
  switch (pixel.space) {
    case NoSpace:
    case Mono:
      return {pixel.M_, 0, 0, pixel.A_};
    case RGB:
      return {pixel.R_, pixel.G_, pixel.B_, pixel.A_};
    default:
      return {pixel.Y_, pixel.U_, pixel.V_, pixel.A_};
  }
}

/// A pixel of the kind that the format stores, whatever space its image says that it has.
Pixel PixelOf(const PixelCodes& c, ColourSpace stored) { return Pixel(c[0], c[1], c[2], c[alpha], stored); }

PixelCodes RangeMinima(const Image& image, const PixelFormat& format, CodeScale scale) {
  if (scale == CodeScale::Stored || format.space < Rec601) return {};
  return {static_cast<int>(image.yMin), static_cast<int>(image.uMin), static_cast<int>(image.vMin),
          static_cast<int>(image.aMin)};
}

int OpaqueAlpha(const Image& image, const PixelFormat& format, CodeScale scale) {
  if (scale == CodeScale::Stored) return static_cast<int>(image.aMax);
  return static_cast<int>(format.space >= Rec601 ? image.alphaRange : image.maxValue);
}

template <int bytes>
void ReadWords(const PixelLayout& layout, const unsigned char* words, int count, PixelRow& row) {
  for (int x = 0; x < count; ++x) {
    const PixelPlace place = PlaceOf(layout, x);
    PixelCodes codes{};
    ReadFields<bytes>(layout, place.fields, words + place.offset, codes.data());
    row[static_cast<std::size_t>(x)] = codes;
  }
}

template <int bytes>
void WriteWords(const PixelLayout& layout, const PixelRow& row, const PixelCodes& minima, int count,
                unsigned char* words) {
  for (int x = 0; x < count; ++x) {
    const PixelPlace place = PlaceOf(layout, x);
    PixelCodes codes = row[static_cast<std::size_t>(x)];
    for (std::size_t i = 0; i < codes.size(); ++i)  // unsigned: a sum that no int can hold is masked like any other
      codes[i] = static_cast<int>(static_cast<unsigned>(codes[i]) + static_cast<unsigned>(minima[i]));
    WriteFields<bytes>(layout, place.fields, words + place.offset, codes.data());
  }
}

void ReadFloats(const unsigned char* bytes, int count, PixelRow& row) {
  for (int x = 0; x < count; ++x) {
    PixelARGBSF p;
    std::memcpy(&p, bytes + static_cast<std::size_t>(x) * sizeof p, sizeof p);
    row[static_cast<std::size_t>(x)] = {CodeOfFloat(p.r), CodeOfFloat(p.g), CodeOfFloat(p.b), CodeOfFloat(p.a)};
  }
}

void WriteFloats(const PixelRow& row, int count, unsigned char* bytes) {
  for (int x = 0; x < count; ++x) {
    const PixelCodes& c = row[static_cast<std::size_t>(x)];
    const PixelARGBSF p = {FloatOfCode(c[alpha]), FloatOfCode(c[0]), FloatOfCode(c[1]), FloatOfCode(c[2])};
    std::memcpy(bytes + static_cast<std::size_t>(x) * sizeof p, &p, sizeof p);
  }
}

/// The samples of one plane that row y of the picture takes: one for `columns` pixels each. The last one of an odd size
/// serves on.
struct PlaneRow {
  PlaneRow(const Image& image, std::size_t plane, int y) : last(image.planeStride[plane] - 1) {
    const bool chroma = plane == 1 || plane == 2;
    columns = chroma && image.chromaSubsampling >= 1 ? 2 : 1;
    const bool halved = chroma && image.chromaSubsampling == 2;
    const int row = halved ? std::min(y / 2, image.height / 2 - 1) : y;
    samples = image.rows[plane] + static_cast<std::ptrdiff_t>(row) * image.planeStride[plane];
  }
  unsigned char& operator[](int x) const { return samples[std::min(x / columns, last)]; }

  unsigned char* samples;
  int last, columns;
};

void ReadPlanes(const Image& image, const PixelFormat& format, int y, int count, const PixelCodes& minima, int opaque,
                PixelRow& row) {
  for (std::size_t plane = 0; plane < static_cast<std::size_t>(format.planes); ++plane) {
    const PlaneRow samples(image, plane, y);
    for (int x = 0; x < count; ++x) row[static_cast<std::size_t>(x)][plane] = samples[x] - minima[plane];
  }
  if (!format.hasMatte)
    for (int x = 0; x < count; ++x) row[static_cast<std::size_t>(x)][alpha] = opaque;
}

void WritePlanes(const PixelRow& row, const PixelFormat& format, int y, int count, const PixelCodes& minima,
                 const Image& image) {
  for (std::size_t plane = 0; plane < static_cast<std::size_t>(format.planes); ++plane) {
    const PlaneRow samples(image, plane, y);
    for (int x = 0; x < count; ++x)
      samples[x] = static_cast<unsigned char>(static_cast<unsigned>(row[static_cast<std::size_t>(x)][plane]) +
                                              static_cast<unsigned>(minima[plane]));
  }
}

void ReadInterleaved(const Image& image, const PixelFormat& format, int y, CodeScale scale, int count, PixelRow& row) {
  const PixelLayout& layout = format.layout;
  if (layout.wordBytes == 1) ReadWords<1>(layout, image.rows[y], count, row);
  if (layout.wordBytes == 2) ReadWords<2>(layout, image.rows[y], count, row);
  if (layout.wordBytes == 4) ReadWords<4>(layout, image.rows[y], count, row);
  const PixelCodes minima = RangeMinima(image, format, scale);
  const int opaque = OpaqueAlpha(image, format, scale);
  for (int x = 0; x < count; ++x) {
    PixelCodes& codes = row[static_cast<std::size_t>(x)];
    for (std::size_t i = 0; i < codes.size(); ++i) codes[i] -= minima[i];
    if (!format.hasMatte) codes[alpha] = opaque;
  }
}

void WriteInterleaved(const PixelRow& row, const PixelFormat& format, int y, CodeScale scale, int count, Image& image) {
  const PixelLayout& layout = format.layout;
  const PixelCodes minima = RangeMinima(image, format, scale);
  if (layout.wordBytes == 1) WriteWords<1>(layout, row, minima, count, image.rows[y]);
  if (layout.wordBytes == 2) WriteWords<2>(layout, row, minima, count, image.rows[y]);
  if (layout.wordBytes == 4) WriteWords<4>(layout, row, minima, count, image.rows[y]);
}

int PixelsInside(const Image& image, int y, const PixelRow& row) {
  if (y < 0 || y >= image.height || image.rows == nullptr) return 0;
  return std::clamp(static_cast<int>(row.size()), 0, std::max(image.width, 0));
}

}  // namespace

void ReadRow(const Image& image, int y, CodeScale scale, PixelRow& row) {
  const PixelFormat* const format = FindPixelFormat(image.type);
  const int count = PixelsInside(image, y, row);
  if (count > 0 && HasWords(image, format))
    ReadInterleaved(image, *format, y, scale, count, row);
  else if (count > 0 && HasPlainPlanes(image, format))
    ReadPlanes(image, *format, y, count, RangeMinima(image, *format, scale), OpaqueAlpha(image, *format, scale), row);
  else if (count > 0 && HasFloats(image))
    ReadFloats(image.rows[y], count, row);
  else
    for (int x = 0; x < count; ++x)
      row[static_cast<std::size_t>(x)] = CodesOf(scale == CodeScale::Stored ? image.GetRaw(x, y) : image(x, y));
  PixelCodes outside = CodesOf(image.black);
  outside[alpha] = 0;
  std::fill(row.begin() + count, row.end(), outside);
}

void WriteRow(const PixelRow& row, int y, CodeScale scale, Image& image) {
  const PixelFormat* const format = FindPixelFormat(image.type);
  const int count = PixelsInside(image, y, row);
  if (count == 0 || format == nullptr) return;
  if (HasWords(image, format))
    WriteInterleaved(row, *format, y, scale, count, image);
  else if (HasPlainPlanes(image, format))
    WritePlanes(row, *format, y, count, RangeMinima(image, *format, scale), image);
  else if (HasFloats(image))
    WriteFloats(row, count, image.rows[y]);
  else
    for (int x = 0; x < count; ++x) {
      const Pixel pixel = PixelOf(row[static_cast<std::size_t>(x)], format->space);
      if (scale == CodeScale::Stored)
        image.SetRaw(x, y, pixel);
      else
        image.SetPixel(x, y, pixel);
    }
}

}  // namespace Vorn
