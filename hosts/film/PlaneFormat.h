#pragma once

#include <cstddef>
#include <cstdint>

namespace film {

/// Where a chroma sample lies along one axis, against the pair of luma samples that it stands for: on the first or the
/// second one, midway, or a quarter of the way from the first or the second one to the other.
enum class Siting { First, Centre, Second, Quarter, ThreeQuarters };

/// How a picture is held as planes of whole-number codes.
struct PlaneFormat {
  int width = 0, height = 0;        ///< luma samples
  int bits = 8;                     ///< 8 to 16; above 8 a sample is a 16-bit word in the machine's byte order
  bool grey = false;                ///< no chroma planes
  bool rgb = false;                 ///< the planes are red, green and blue, each over all codes
  bool alpha = false;               ///< a plane of opacity beside them, over all codes
  bool halfWidth = false;           ///< chroma has one column for two of luma, rounded up
  bool halfHeight = false;          ///< chroma has one row for two of luma, rounded up
  bool interlaced = false;          ///< luma and chroma rows belong to the top and the bottom field in turn
  bool fullRange = false;           ///< luma takes all codes, not 16 to 235 (times 2 to the bits above 8)
  double kr = 0.2126, kb = 0.0722;  ///< weights of red and blue in luma
  Siting sitingX = Siting::First;   ///< read with `halfWidth` only
  Siting sitingY = Siting::Centre;  ///< read with `halfHeight` only

  int chromaWidth() const { return halfWidth ? (width + 1) / 2 : width; }
  int chromaHeight() const { return halfHeight ? (height + 1) / 2 : height; }
  int sampleBytes() const { return bits > 8 ? 2 : 1; }
};

/// Y, Cb and Cr planes, or red, green and blue ones, in someone else's memory; `stride` is bytes from one row to the
/// next. Grey uses the first only. The fourth is opacity.
template <class Byte>
struct PlanesOf {
  Byte* data[4] = {nullptr, nullptr, nullptr, nullptr};
  std::ptrdiff_t stride[4] = {0, 0, 0, 0};
};
using Planes = PlanesOf<std::uint8_t>;
using ConstPlanes = PlanesOf<const std::uint8_t>;

}  // namespace film
