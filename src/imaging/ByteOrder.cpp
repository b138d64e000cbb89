// Pictures whose bytes change places.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

bool HasThreeBytePixels(const Image& image) {
  return image.valid && !image.planar && (image.type == BGR24 || image.type == RGB24 || image.type == YUV24);
}

void SwapOuterBytes(unsigned char* bytes, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) std::swap(bytes[3 * i], bytes[3 * i + 2]);
}

/// The bytes of a row that its pixels take, as far as there are as many.
int PixelBytesInRow(const Image& image) {
  const long bytes = static_cast<long>(image.width) * image.pixelBytes;
  return static_cast<int>(std::clamp(bytes, 0L, std::labs(static_cast<long>(image.stride))));
}

bool HasRows(const Image* image) { return image != nullptr && image->valid && !image->planar; }

void SwapNeighbours(unsigned char* bytes, int count) {
  for (int i = 0; i + 1 < count; i += 2) std::swap(bytes[i], bytes[i + 1]);
}

void SwapRows(const SwapContext& part) {
  for (int y = part.startRow; y < part.endRow; ++y) SwapNeighbours(part.image->rows[y], PixelBytesInRow(*part.image));
}

/// The new type, with the alpha range that the image had.
void Retype(Image& image, PixelType type) {
  const unsigned aMin = image.aMin, aMax = image.aMax;
  image.setPixelType(type);
  image.SetRangeA(aMin, aMax);
}

bool SwapTo(Image& image, PixelType from, PixelType to) {
  if (image.type != from) return false;
  SwapRedBlue(image);
  Retype(image, to);
  return true;
}

}  // namespace

void SwapRedBlue(Image& image) {
  if (!HasThreeBytePixels(image) || image.width < 1 || image.height < 1) return;
  const auto width = static_cast<std::size_t>(image.width), height = static_cast<std::size_t>(image.height);
  // One run, in which the padding changes places too; rows that don't begin with a pixel of such a run go one by one.
  if (image.stride >= 3 * image.width && image.stride % 3 == 0)
    SwapOuterBytes(image.rows[0], static_cast<std::size_t>(image.stride) / 3 * height);
  else
    for (int y = 0; y < image.height; ++y) SwapOuterBytes(image.rows[y], width);
}

bool ConvertRGBtoBGR(Image& image) { return SwapTo(image, RGB24, BGR24); }

bool ConvertBGRtoRGB(Image& image) { return SwapTo(image, BGR24, RGB24); }

bool ConvertRGBAtoARGB(Image& image) {
  if (image.type != RGBA32) return false;
  if (HasRows(&image))
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        unsigned char* const p = image.rows[y] + static_cast<std::ptrdiff_t>(x) * 4;
        std::rotate(p, p + 3, p + 4);
      }
  Retype(image, ARGB32);
  return true;
}

void SwapEndian(Image* image) {
  if (HasRows(image)) SwapRows({image, 0, image->height});
}

void SwapEndianParallel(Image* image) {
  if (!HasRows(image)) return;
  std::vector<SwapContext> parts(static_cast<std::size_t>(ProcessorCount()));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto bound = [&](std::size_t k) {
      return static_cast<int>(static_cast<std::size_t>(image->height) * k / parts.size());
    };
    parts[i] = {image, bound(i), bound(i + 1)};
  }
  RunInParallel(parts, [](SwapContext& part) { SwapRows(part); });
}

void SwapEndian4(Image* image) {
  if (!HasRows(image) || image->pixelBytes != 8) return;
  for (int y = 0; y < image->height; ++y) SwapNeighbours(image->rows[y], PixelBytesInRow(*image) / 8 * 8);
}

}  // namespace Vorn
