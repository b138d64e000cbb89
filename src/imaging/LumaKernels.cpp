#include "imaging/LumaKernels.h"

#include <algorithm>
#include <cstring>

namespace Vorn {
namespace {

void TakeBytes(const unsigned char* bytes, int step, int count, float* luma) {
  for (int x = 0; x < count; ++x) luma[x] = bytes[static_cast<ptrdiff_t>(x) * step];
}

/// A little-endian word at any address.
int WordAt(const unsigned char* bytes) { return bytes[0] | bytes[1] << 8; }

void TakeWords(const unsigned char* bytes, int step, int count, float* luma) {
  for (int x = 0; x < count; ++x) luma[x] = static_cast<float>(WordAt(bytes + static_cast<ptrdiff_t>(x) * step));
}

/// (R + 2 G + B) / 4, rounded down.
int WeightedSum(int r, int g, int b) { return ((r + b - 2 * g) >> 2) + g; }

/// Truncates. Values that no int holds, which a host's float picture may have, are cut to what two of can be added.
int Truncate(float value) {
  constexpr float most = 1.0e9F;
  return value == value ? static_cast<int>(std::clamp(value, -most, most)) : 0;
}

template <typename Kernel>
void Run(const Image& image, FastArray& array) {
  Kernel kernel(image, array);
  parallel_for(kernel, 0, image.height);
}

}  // namespace

// A pair of pixels is taken one by one, so an odd width needs no guard: the last pair is stored whole.
void Y2UV32ToLuma(const Image& image, int y, float* luma) { TakeBytes(image.rows[y] + 1, 2, image.width, luma); }

void YUV24ToLuma(const Image& image, int y, float* luma) { TakeBytes(image.rows[y] + 1, 3, image.width, luma); }

void YUVA32ToLuma(const Image& image, int y, float* luma) { TakeBytes(image.rows[y] + 1, 4, image.width, luma); }

void YUVA64ToLuma(const Image& image, int y, float* luma) { TakeWords(image.rows[y], 8, image.width, luma); }

void Y2UVNNToLuma(const Image& image, int y, float* luma) { TakeWords(image.rows[y] + 2, 4, image.width, luma); }

void Y1UVNNToLuma(const Image& image, int y, float* luma) { TakeWords(image.rows[y], 6, image.width, luma); }

void YUVPToLuma(const Image& image, int y, float* luma) {
  TakeBytes(image.rows[0] + static_cast<ptrdiff_t>(y) * image.planeStride[0], 1, image.width, luma);
}

void ARGB64ToLuma(const Image& image, int y, float* luma) {
  const unsigned char* pixel = image.rows[y];
  for (int x = 0; x < image.width; ++x, pixel += 8)
    luma[x] = static_cast<float>(WeightedSum(WordAt(pixel + 2), WordAt(pixel + 4), WordAt(pixel + 6)));
}

void RGBX8ToLuma(const Image& image, int y, float* luma) {
  for (int x = 0; x < image.width; ++x) {
    const Pixel pixel = image(x, y);
    luma[x] = static_cast<float>(WeightedSum(pixel.R(), pixel.G(), pixel.B()));
  }
}

void ARGBSFToLuma(const Image& image, int y, float* luma) {
  for (int x = 0; x < image.width; ++x) {
    float f[4];
    std::memcpy(f, image.rows[y] + static_cast<ptrdiff_t>(x) * static_cast<ptrdiff_t>(sizeof f), sizeof f);
    luma[x] = static_cast<float>((Truncate(f[0] - f[3]) + Truncate(f[2] - f[3])) >> 2) + f[3];
  }
}

void AnyToLuma(const Image& image, int y, float* luma) {
  for (int x = 0; x < image.width; ++x) luma[x] = static_cast<float>(image.GetRaw(x, y).GetYL());
}

bool FastArray::ConvertFromLuma(const Image& image) {
  Resize(image.width, image.height);
  switch (image.type) {
    case Y2UV32:
      Run<ParallelY2UV32toLuma>(image, *this);
      break;
    case YUV24:
      Run<ParallelYUV24toLuma>(image, *this);
      break;
    case YUVA32:
      Run<ParallelYUVA32toLuma>(image, *this);
      break;
    case YUVA64:
      Run<ParallelYUVA64toLuma>(image, *this);
      break;
    case Y2UV10:
    case Y2UV12:
    case Y2UV14:
    case Y2UV16:
      Run<ParallelY2UVNNtoLuma>(image, *this);
      break;
    case Y1UV10:
    case Y1UV12:
    case Y1UV14:
    case Y1UV16:
      Run<ParallelY1UVNNtoLuma>(image, *this);
      break;
    case YUVP420:
    case YUVP422:
    case YUVP444:
    case YUVAP444:
      Run<ParallelYUVPtoLuma>(image, *this);
      break;
    case ARGB64:
      Run<ParallelARGB64toLuma>(image, *this);
      break;
    case BGR24:
    case RGB24:
    case BGRA32:
    case ARGB32:
    case RGBA32:
      Run<ParallelRGBX8toLuma>(image, *this);
      break;
    case ARGBSF:
      Run<ParallelARGBSFtoLuma>(image, *this);
      break;
    default:
      Run<ParallelAnyToLuma>(image, *this);
      break;
  }
  return true;
}

}  // namespace Vorn
