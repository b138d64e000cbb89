#pragma once

#include <cstddef>

#include "imaging/Image.h"

namespace Vorn {

/// All formats that an image can hold.
inline constexpr PixelType allPixelTypes[] = {
    L8,       LA16,   L10,    L16,    LA32,   Y2UV32, YUV24,  YUVA32, Y6UVX32, Y1UVX32, Y2UV10,
    Y2UV12,   Y2UV14, Y2UV16, Y1UV10, Y1UV12, Y1UV14, Y1UV16, YUVA64, YUVP420, YUVP422, YUVP444,
    YUVAP444, BGR24,  RGB24,  BGRA32, ARGB32, RGBA32, RGB30,  RGB48,  ARGB64,  RGBA64,  ARGBSF};

/// The same numbers in each run.
class Dice {
 public:
  unsigned operator()() {
    state = state * 1664525U + 1013904223U;
    return state >> 8;
  }
  int upTo(int most) { return static_cast<int>((*this)() % static_cast<unsigned>(most + 1)); }

 private:
  unsigned state = 1;
};

inline bool IsGreyType(PixelType type) { return type >= L8 && type <= LA32; }
inline bool IsYCbCrType(PixelType type) { return type >= Y2UV32 && type <= YUVAP444; }
inline bool IsRGBType(PixelType type) { return type >= BGR24 && type <= ARGBSF; }

/// Any codes that the image can hold within its ranges.
inline Pixel AnyPixel(const Image& image, Dice& dice) {
  const auto below = [&](unsigned range) { return dice.upTo(static_cast<int>(range)); };
  if (IsGreyType(image.type)) return Pixel(below(image.maxValue), below(image.maxValue));
  if (IsYCbCrType(image.type)) {
    const int y = below(image.yMax - image.yMin), u = below(image.uMax - image.uMin),
              v = below(image.vMax - image.vMin);
    return Pixel(y, u, v, below(image.alphaRange), image.space);
  }
  const int r = below(image.maxValue), g = below(image.maxValue), b = below(image.maxValue);
  return Pixel(r, g, b, below(image.maxValue));
}

inline void FillWith(Image& image, const Pixel& pixel) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) image.SetPixel(x, y, pixel);
}

inline void FillWithNoise(Image& image, Dice& dice) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) image.SetPixel(x, y, AnyPixel(image, dice));
}

}  // namespace Vorn
