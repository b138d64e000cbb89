// Times conversions of a 1920x1080 picture between pixel formats, there and back, on one processor. What comes back
// must be what went in, within what the formats on the way can hold. The best of five runs counts.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "imaging/ColourConversion.h"
#include "imaging/Image.h"

using namespace Vorn;

namespace {

constexpr int width = 1920, height = 1080, runs = 5;

/// Smooth in colour, so that formats with less chroma hold it too, and within what every colour space has.
Image Picture(PixelType type) {
  Image picture(width, height, ARGBSF), converted;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto wave = [](double phase) { return 32768 + static_cast<int>(16000 * std::sin(phase)); };
      const Pixel pixel(wave(x / 190.0), wave(y / 170.0), wave((x + y) / 230.0), 65535);
      picture.SetPixel(x, y, pixel);
    }
  ConvertToType(picture, type, converted, NoSpace);
  return converted;
}

template <typename Convert>
double BestOf(Convert&& convert) {
  double best = 1e30;
  for (int run = 0; run < runs; ++run) {
    const auto begin = std::chrono::steady_clock::now();
    convert();
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    best = std::min(best, elapsed.count());
  }
  return best;
}

/// The largest difference between two pictures' first components, as a share of their range.
double Difference(const Image& a, const Image& b) {
  int most = 0;
  for (int y = 0; y < height; y += 7)
    for (int x = 0; x < width; x += 5) {
      const Pixel p = a(x, y), q = b(x, y);
      most = std::max(most, a.space == RGB ? std::abs(p.G() - q.G()) : std::abs(p.Y() - q.Y()));
    }
  return most / static_cast<double>(a.maxValue);
}

struct Pair {
  const char* name;
  PixelType from, to;
  ColourSpace space;  // of `to`
};
constexpr Pair pairs[] = {{"Y2UV32 (8-bit 4:2:2) and ARGBSF", Y2UV32, ARGBSF, NoSpace},
                          {"YUVA32 and ARGBSF", YUVA32, ARGBSF, NoSpace},
                          {"Y1UV10 (10-bit) and ARGBSF", Y1UV10, ARGBSF, NoSpace},
                          {"Y6UVX32 (packed) and ARGBSF", Y6UVX32, ARGBSF, NoSpace},
                          {"YUVP420 (planes) and ARGBSF", YUVP420, ARGBSF, NoSpace},
                          {"YUVP444 (planes) and ARGBSF", YUVP444, ARGBSF, NoSpace},
                          {"ARGB32 and ARGBSF", ARGB32, ARGBSF, NoSpace},
                          {"ARGB64 and ARGBSF", ARGB64, ARGBSF, NoSpace},
                          {"BGRA32 and YUVP420", BGRA32, YUVP420, NoSpace},
                          {"YUVP420 and Y2UV32", YUVP420, Y2UV32, NoSpace},
                          {"YUVP420 and YUVP444", YUVP420, YUVP444, NoSpace},
                          {"YUVA32, Rec. 709 to 601", YUVA32, YUVA32, Rec601}};

bool Report(const Pair& pair) {
  const Image source = Picture(pair.from);
  Image there, back;
  const double out = BestOf([&] { ConvertToType(source, pair.to, there, pair.space); });
  const double home = BestOf([&] { ConvertToType(there, pair.from, back, source.space); });
  const double difference = Difference(source, back);
  std::printf("%-34s %8.2f ms there, %8.2f ms back\n", pair.name, out, home);
  if (difference <= 0.02) return true;
  std::printf("  what comes back is up to %.3f off\n", difference);
  return false;
}

bool ReportLuma(const char* name, PixelType type) {
  const Image source = Picture(type);
  Image luma;
  std::printf("%-34s %8.2f ms\n", name, BestOf([&] { ConvertToLuma(source, luma); }));
  const Pixel p = source(width / 2, height / 2);
  const double expected = source.space == RGB
                              ? 0.299 * p.R() + 0.587 * p.G() + 0.114 * p.B()
                              : static_cast<double>(p.Y()) * source.maxValue / (source.yMax - source.yMin);
  const double found = luma(width / 2, height / 2).Luma() * (source.maxValue / static_cast<double>(luma.maxValue));
  if (std::fabs(found - expected) <= 1.0 + source.maxValue / 65535.0) return true;
  std::printf("  the luma is %.1f instead of %.1f\n", found, expected);
  return false;
}

}  // namespace

int main() {
  std::printf("Conversions of a picture of %dx%d, on one processor:\n", width, height);
  bool good = true;
  for (const Pair& pair : pairs) good &= Report(pair);
  good &= ReportLuma("luma of YUVP420", YUVP420);
  good &= ReportLuma("luma of BGRA32", BGRA32);
  good &= ReportLuma("luma of ARGBSF", ARGBSF);
  return good ? 0 : 1;
}
