// The sampling functions: a kernel, a reader of one kind of pixel, and the pixel that comes out.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "imaging/Image.h"
#include "imaging/ImageInterpolator.h"
#include "imaging/SamplePosition.h"

namespace Vorn {
namespace {

/// What the channels of a sample hold, in the order of the constructors of `Pixel`: luma, alpha, -, - for grey; R, G,
/// B, alpha; Y, U, V, alpha. Every code fits a float.
using Channels = std::array<float, 4>;
using Codes = std::array<int, 4>;

bool Contains(const Image& image, int x, int y) { return x >= 0 && y >= 0 && x < image.width && y < image.height; }

const unsigned char* AddressOf(const Image& image, int x, int y) {
  return image.rows[y] + static_cast<std::size_t>(x) * static_cast<std::size_t>(image.pixelBytes);
}

float Word(const unsigned char* at) { return static_cast<float>(at[0] | at[1] << 8); }

// Readers: `read(x, y)` gives the channels of a sample, also outside the image; `pixel(codes)` turns sums of them into
// what the caller gets.

struct GreyReader {
  const Image& image;
  Channels operator()(int x, int y) const {
    const Pixel p = image(x, y);
    return {static_cast<float>(p.GetYL()), static_cast<float>(p.A())};
  }
  static Pixel pixel(const Codes& c) { return {c[0], c[1]}; }
};

struct RGBReader {
  const Image& image;
  Channels operator()(int x, int y) const {
    const Pixel p = image(x, y);
    return {static_cast<float>(p.R()), static_cast<float>(p.G()), static_cast<float>(p.B()), static_cast<float>(p.A())};
  }
  static Pixel pixel(const Codes& c) { return {c[0], c[1], c[2], c[3]}; }
};

struct YUVReader {
  const Image& image;
  Channels operator()(int x, int y) const {
    const Pixel p = image(x, y);
    return {static_cast<float>(p.Y()), static_cast<float>(p.U()), static_cast<float>(p.V()), static_cast<float>(p.A())};
  }
  Pixel pixel(const Codes& c) const { return {c[0], c[1], c[2], c[3], image.space}; }
};

struct ARGB64Reader {
  const Image& image;
  Channels operator()(int x, int y) const {
    if (!Contains(image, x, y)) return {};
    const unsigned char* at = AddressOf(image, x, y);
    return {Word(at + 2), Word(at + 4), Word(at + 6), Word(at)};
  }
  static Pixel pixel(const Codes& c) { return {c[0], c[1], c[2], c[3]}; }
};

/// Stored codes with the minima of their ranges in them, which come off at the end. Outside is neutral black.
struct CodeReader {
  explicit CodeReader(const Image& source) : image(source), opaque(static_cast<float>(source.aMax)) {
    const auto neutralChroma = static_cast<float>(NeutralChroma(source));
    neutral = {static_cast<float>(source.yMin), neutralChroma, neutralChroma, static_cast<float>(source.aMin)};
  }
  Pixel pixel(const Codes& c) const {
    return {c[0] - static_cast<int>(image.yMin), c[1] - static_cast<int>(image.uMin),
            c[2] - static_cast<int>(image.vMin), c[3] - static_cast<int>(image.aMin), image.space};
  }
  const Image& image;
  Channels neutral;
  float opaque;

 private:
  static unsigned NeutralChroma(const Image& image) { return image.uMin + (image.uMax - image.uMin) / 2; }
};

struct YUVA32Reader : CodeReader {
  using CodeReader::CodeReader;
  Channels operator()(int x, int y) const {
    if (!Contains(image, x, y)) return neutral;
    const unsigned char* at = AddressOf(image, x, y);
    return {static_cast<float>(at[1]), static_cast<float>(at[0]), static_cast<float>(at[2]), static_cast<float>(at[3])};
  }
};

struct Y1UVNNReader : CodeReader {
  using CodeReader::CodeReader;
  Channels operator()(int x, int y) const {
    if (!Contains(image, x, y)) return neutral;
    const unsigned char* at = AddressOf(image, x, y);
    return {Word(at), Word(at + 2), Word(at + 4), opaque};
  }
};

void Add(Channels& sum, float weight, const Channels& sample) {
  for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += weight * sample[c];
}

Codes Rounded(const Channels& sum) {
  Codes codes;
  for (std::size_t c = 0; c < codes.size(); ++c) codes[c] = static_cast<int>(std::round(sum[c]));
  return codes;
}

/// The shares of the four neighbours: upper left, upper right, lower left, lower right.
std::array<float, 4> BilinearWeights(double fx, double fy) {
  return {static_cast<float>((1.0 - fx) * (1.0 - fy)), static_cast<float>(fx * (1.0 - fy)),
          static_cast<float>((1.0 - fx) * fy), static_cast<float>(fx * fy)};
}

template <typename Reader>
Codes SumBilinear(const Reader& read, double px, double py) {
  const SamplePosition x(px), y(py);
  const auto weights = BilinearWeights(x.fraction, y.fraction);
  Channels sum = {};
  Add(sum, weights[0], read(x.whole, y.whole));
  Add(sum, weights[1], read(x.whole + 1, y.whole));
  Add(sum, weights[2], read(x.whole, y.whole + 1));
  Add(sum, weights[3], read(x.whole + 1, y.whole + 1));
  return Rounded(sum);
}

/// The weights of the four samples from the one before the position on.
std::array<double, 4> CubicSplineWeights(double fraction) {
  const double u = 1.0 - fraction;
  return {ImageInterpolator::rfunc(u - 2.0), ImageInterpolator::rfunc(u - 1.0), ImageInterpolator::rfunc(u),
          ImageInterpolator::rfunc(u + 1.0)};
}

template <typename Reader>
Codes SumCubicSpline(const Reader& read, double px, double py) {
  const SamplePosition x(px), y(py);
  const auto across = CubicSplineWeights(x.fraction), down = CubicSplineWeights(y.fraction);
  std::array<double, 4> sum = {};
  for (int j = 0; j < 4; ++j) {
    std::array<double, 4> row = {};
    for (int i = 0; i < 4; ++i) {
      const Channels sample = read(x.whole - 1 + i, y.whole - 1 + j);
      for (std::size_t c = 0; c < row.size(); ++c) row[c] += across[i] * sample[c];
    }
    for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += down[j] * row[c];
  }
  Codes codes;
  for (std::size_t c = 0; c < codes.size(); ++c) codes[c] = static_cast<int>(std::round(sum[c]));
  return codes;
}

Channels CubicInterpolate(const std::array<Channels, 4>& p, double t) {
  Channels result;
  for (std::size_t c = 0; c < result.size(); ++c)
    result[c] = cubicInterpolate(p[0][c], p[1][c], p[2][c], p[3][c], static_cast<float>(t));
  return result;
}

template <typename Reader>
Codes SumBicubic(const Reader& read, double px, double py) {
  const SamplePosition x(px), y(py);
  std::array<Channels, 4> rows;
  for (int j = 0; j < 4; ++j) {
    const auto at = [&](int i) { return read(x.whole - 1 + i, y.whole - 1 + j); };
    rows[j] = CubicInterpolate({at(0), at(1), at(2), at(3)}, x.fraction);
  }
  const Channels value = CubicInterpolate(rows, y.fraction);
  Codes codes;
  for (std::size_t c = 0; c < codes.size(); ++c) codes[c] = static_cast<int>(value[c]);  // truncated: meant
  return codes;
}

/// One axis of a Lanczos sample: the first of six samples and their weights. The position is narrowed first, so that
/// the samples are those that the weights belong to also just below a whole number.
struct LanczosAxis {
  explicit LanczosAxis(double position) {
    const auto narrowed = static_cast<float>(CountablePosition(position));
    first = static_cast<int>(std::floor(narrowed)) - 2;
    getLanczosKernel(narrowed, kernel);
  }
  /// Those of the six samples that lie in an image of `size` samples: [begin, end).
  int begin() const { return std::clamp(-first, 0, 6); }
  int end(int size) const { return std::clamp(size - first, 0, 6); }

  int first;
  float kernel[6];
};

template <typename Reader>
Codes SumLanczos3(const Reader& read, double px, double py) {
  const LanczosAxis x(px), y(py);
  Channels sum = {};
  for (int j = 0; j < 6; ++j)
    for (int i = 0; i < 6; ++i) Add(sum, y.kernel[j] * x.kernel[i], read(x.first + i, y.first + j));
  return Rounded(sum);
}

PixelARGBSF FloatPixel(const Image& image, int x, int y) {
  PixelARGBSF pixel = {0.0f, 0.0f, 0.0f, 0.0f};
  if (Contains(image, x, y))
    std::memcpy(&pixel, image.rows[y] + static_cast<std::size_t>(x) * sizeof pixel, sizeof pixel);
  return pixel;
}

template <typename Reader>
Pixel Finished(const Image& image, const Reader& reader, const Codes& codes) {
  Pixel pixel = reader.pixel(codes);
  pixel.maxValue = image.maxValue;
  return pixel;
}

template <typename Reader>
Pixel Bilinear(const Image& image, double x, double y) {
  const Reader read{image};
  return Finished(image, read, SumBilinear(read, x, y));
}

template <typename Reader>
Pixel CubicSpline(const Image& image, double x, double y) {
  const Reader read{image};
  return Finished(image, read, SumCubicSpline(read, x, y));
}

template <typename Reader>
Pixel Bicubic(const Image& image, double x, double y) {
  const Reader read{image};
  return Finished(image, read, SumBicubic(read, x, y));
}

template <typename Reader>
Pixel Lanczos3(const Image& image, double x, double y) {
  const Reader read{image};
  return Finished(image, read, SumLanczos3(read, x, y));
}

}  // namespace

Pixel BilinearL(const Image* image, double x, double y) { return Bilinear<GreyReader>(*image, x, y); }
Pixel CubicSplineL(const Image* image, double x, double y) { return CubicSpline<GreyReader>(*image, x, y); }
Pixel BicubicL(const Image* image, double x, double y) { return Bicubic<GreyReader>(*image, x, y); }
Pixel Lanczos3L(const Image* image, double x, double y) { return Lanczos3<GreyReader>(*image, x, y); }

Pixel BilinearRGBA(const Image* image, double x, double y) { return Bilinear<RGBReader>(*image, x, y); }
Pixel CubicSplineRGBA(const Image* image, double x, double y) { return CubicSpline<RGBReader>(*image, x, y); }
Pixel BicubicRGBA(const Image* image, double x, double y) { return Bicubic<RGBReader>(*image, x, y); }
Pixel Lanczos3RGBA(const Image* image, double x, double y) { return Lanczos3<RGBReader>(*image, x, y); }

Pixel BilinearYUVA(const Image* image, double x, double y) { return Bilinear<YUVReader>(*image, x, y); }
Pixel CubicSplineYUVA(const Image* image, double x, double y) { return CubicSpline<YUVReader>(*image, x, y); }
Pixel BicubicYUVA(const Image* image, double x, double y) { return Bicubic<YUVReader>(*image, x, y); }
Pixel Lanczos3YUVA(const Image* image, double x, double y) { return Lanczos3<YUVReader>(*image, x, y); }

Pixel BilinearARGB64(const Image* image, double x, double y) { return Bilinear<ARGB64Reader>(*image, x, y); }
Pixel Lanczos3ARGB64(const Image* image, double x, double y) { return Lanczos3<ARGB64Reader>(*image, x, y); }
Pixel BilinearYUVA32(const Image* image, double x, double y) { return Bilinear<YUVA32Reader>(*image, x, y); }
Pixel Lanczos3YUVA32(const Image* image, double x, double y) { return Lanczos3<YUVA32Reader>(*image, x, y); }
Pixel BilinearY1UVNN(const Image* image, double x, double y) { return Bilinear<Y1UVNNReader>(*image, x, y); }
Pixel Lanczos3Y1UVNN(const Image* image, double x, double y) { return Lanczos3<Y1UVNNReader>(*image, x, y); }

PixelARGBSF BilinearARGBSF(const Image* image, double px, double py) {
  const SamplePosition x(px), y(py);
  const auto weights = BilinearWeights(x.fraction, y.fraction);
  const PixelARGBSF p[4] = {FloatPixel(*image, x.whole, y.whole), FloatPixel(*image, x.whole + 1, y.whole),
                            FloatPixel(*image, x.whole, y.whole + 1), FloatPixel(*image, x.whole + 1, y.whole + 1)};
  const auto sum = [&](float PixelARGBSF::*channel) {
    return weights[0] * p[0].*channel + weights[1] * p[1].*channel + weights[2] * p[2].*channel +
           weights[3] * p[3].*channel;
  };
  return {sum(&PixelARGBSF::a), sum(&PixelARGBSF::r), sum(&PixelARGBSF::g), sum(&PixelARGBSF::b)};
}

PixelARGBSF Lanczos3ARGBSF(const Image* image, double px, double py) {
  const LanczosAxis x(px), y(py);
  float sum[4] = {};
  for (int j = y.begin(); j < y.end(image->height); ++j) {
    const unsigned char* const row = image->rows[y.first + j];
    for (int i = x.begin(); i < x.end(image->width); ++i) {
      float sample[4];
      std::memcpy(sample, row + static_cast<std::size_t>(x.first + i) * sizeof sample, sizeof sample);
      const double weight = static_cast<double>(y.kernel[j]) * x.kernel[i];
      for (int c = 0; c < 4; ++c) sum[c] = static_cast<float>(sum[c] + weight * sample[c]);  // products in double
    }
  }
  return {sum[0], sum[1], sum[2], sum[3]};
}

}  // namespace Vorn
