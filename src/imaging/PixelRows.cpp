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

/// Field by field, so that each loop is plain; in the order in which pixels lie in their group, since they may share
/// fields. `first`: of the pixels with that place in their group.
template <int bytes>
void ReadField(const PixelLayout& layout, const ChannelField& field, const unsigned char* words, int first, int count,
               std::size_t channel, int minimum, PixelCodes* row) {
  const unsigned char* at = words + static_cast<std::ptrdiff_t>(field.word) * bytes;
  const std::ptrdiff_t groupBytes = layout.groupBytes;
  const int shift = field.shift, pixels = layout.groupPixels;
  const unsigned mask = layout.fieldMask;
  for (int x = first; x < count; x += pixels, at += groupBytes)
    row[x][channel] = static_cast<int>((ReadWord<bytes>(at) >> shift) & mask) - minimum;
}

template <int bytes>
void ReadWords(const PixelLayout& layout, const unsigned char* words, int count, const PixelCodes& minima,
               PixelCodes* row) {
  for (int pixel = 0; pixel < layout.groupPixels; ++pixel)
    for (std::size_t i = 0; i < 4; ++i) {
      const ChannelField& field = layout.fields[pixel][i];
      if (field.word >= 0)
        ReadField<bytes>(layout, field, words, pixel, count, i, minima[i], row);
      else
        for (int x = pixel; x < count; x += layout.groupPixels) row[x][i] = -minima[i];
    }
}

template <int bytes>
void WriteField(const PixelLayout& layout, const ChannelField& field, const PixelCodes* row, int first, int count,
                std::size_t channel, int minimum, unsigned char* words) {
  unsigned char* at = words + static_cast<std::ptrdiff_t>(field.word) * bytes;
  const std::ptrdiff_t groupBytes = layout.groupBytes;
  const int shift = field.shift, pixels = layout.groupPixels;
  const unsigned mask = layout.fieldMask, others = layout.wordMask & ~(mask << shift);
  // Unsigned: a sum that no int can hold is masked like any other.
  const auto code = [&](int x) {
    return ((static_cast<unsigned>(row[x][channel]) + static_cast<unsigned>(minimum)) & mask) << shift;
  };
  if (others == 0)
    for (int x = first; x < count; x += pixels, at += groupBytes) WriteWord<bytes>(at, code(x));
  else
    for (int x = first; x < count; x += pixels, at += groupBytes)
      WriteWord<bytes>(at, (ReadWord<bytes>(at) & others) | code(x));
}

template <int bytes>
void WriteWords(const PixelLayout& layout, const PixelRow& row, const PixelCodes& minima, int count,
                unsigned char* words) {
  for (int pixel = 0; pixel < layout.groupPixels; ++pixel)
    for (std::size_t i = 0; i < 4; ++i)
      if (const ChannelField& field = layout.fields[pixel][i]; field.word >= 0)
        WriteField<bytes>(layout, field, row.data(), pixel, count, i, minima[i], words);
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
    // Pixel by pixel only from where the plane's last sample serves on.
    const int columns = samples.columns, own = std::min(count, (samples.last + 1) * columns);
    for (int x = 0; columns == 1 && x < own; ++x)
      row[static_cast<std::size_t>(x)][plane] = samples.samples[x] - minima[plane];
    for (int x = 0; columns == 2 && x < own; ++x)
      row[static_cast<std::size_t>(x)][plane] = samples.samples[x / 2] - minima[plane];
    for (int x = own; x < count; ++x) row[static_cast<std::size_t>(x)][plane] = samples[x] - minima[plane];
  }
  if (!format.hasMatte)
    for (int x = 0; x < count; ++x) row[static_cast<std::size_t>(x)][alpha] = opaque;
}

void WritePlanes(const PixelRow& row, const PixelFormat& format, int y, int count, const PixelCodes& minima,
                 const Image& image) {
  for (std::size_t plane = 0; plane < static_cast<std::size_t>(format.planes); ++plane) {
    const PlaneRow samples(image, plane, y);
    const auto minimum = static_cast<unsigned>(minima[plane]);
    const auto code = [&](int x) {
      return static_cast<unsigned char>(static_cast<unsigned>(row[static_cast<std::size_t>(x)][plane]) + minimum);
    };
    const int columns = samples.columns, own = std::min(count, (samples.last + 1) * columns);
    unsigned char* const plain = samples.samples;
    for (int x = 0; columns == 1 && x < own; ++x) plain[x] = code(x);
    for (int x = 0; columns == 2 && x < own; ++x) plain[x / 2] = code(x);
    for (int x = own; x < count; ++x) samples[x] = code(x);
  }
}

void ReadInterleaved(const Image& image, const PixelFormat& format, int y, CodeScale scale, int count, PixelRow& row) {
  const PixelLayout& layout = format.layout;
  const PixelCodes minima = RangeMinima(image, format, scale);
  if (layout.wordBytes == 1) ReadWords<1>(layout, image.rows[y], count, minima, row.data());
  if (layout.wordBytes == 2) ReadWords<2>(layout, image.rows[y], count, minima, row.data());
  if (layout.wordBytes == 4) ReadWords<4>(layout, image.rows[y], count, minima, row.data());
  if (format.hasMatte) return;
  const int opaque = OpaqueAlpha(image, format, scale);
  for (int x = 0; x < count; ++x) row[static_cast<std::size_t>(x)][alpha] = opaque;
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
