#pragma once

#include <cstdint>
#include <cstring>
#include <limits>

#include "imaging/Image.h"

namespace Vorn {

// The pixel formats as the inner loops of `FastWarper` see them: four lanes in single precision, the channels in the
// order in which they lie in memory. Formats without a matte carry the coverage in the fourth lane: full scale for each
// pixel of the source, zero outside of it. Each format has
//   bytes                    from pixel to pixel
//   MatteCode                one code of the matte
//   Load(p)                  the lanes of the pixel at p
//   BilinearOutside(), LanczosOutside()        what counts as pixel outside the source
//   PutBilinear(v, p, m), PutLanczos(v, p, m)  stores the pixel, and its matte code

using Float4 __attribute__((vector_size(16))) = float;
using Int4 __attribute__((vector_size(16))) = std::int32_t;

inline Float4 AllLanes(float value) { return Float4{value, value, value, value}; }
inline Float4 ToFloat(Int4 v) { return __builtin_convertvector(v, Float4); }
inline Int4 Truncated(Float4 v) { return __builtin_convertvector(v, Int4); }

/// As `roundf` for values from 0 up to the range of int.
inline Int4 Rounded(Float4 v) {
  const Int4 whole = Truncated(v);
  return whole - (v - ToFloat(whole) >= AllLanes(0.5f));  // a true lane is -1
}

inline Float4 Clamped(Float4 v, Float4 low, Float4 high) {
  const Float4 raised = v < low ? low : v;
  return raised > high ? high : raised;
}

/// `channels` unsigned codes a pixel, in the machine's byte order.
template <typename Code, int channels>
struct CodeFormat {
  using MatteCode = Code;
  static constexpr int bytes = channels * static_cast<int>(sizeof(Code));
  static constexpr float full = std::numeric_limits<Code>::max();

  static Float4 Load(const unsigned char* p) {
    Code codes[4];
    codes[3] = std::numeric_limits<Code>::max();
    std::memcpy(codes, p, bytes);
    return ToFloat(Int4{codes[0], codes[1], codes[2], codes[3]});
  }

  static void Store(Int4 v, unsigned char* p) {
    const Code codes[4] = {static_cast<Code>(v[0]), static_cast<Code>(v[1]), static_cast<Code>(v[2]),
                           static_cast<Code>(v[3])};
    std::memcpy(p, codes, bytes);
  }

  static Float4 ClampedToCodes(Float4 v) { return Clamped(v, AllLanes(0.0f), AllLanes(full)); }
};

/// Four floats, stored as they come out.
struct ARGBSFWarp {
  using MatteCode = std::uint16_t;
  static constexpr int bytes = 16;

  explicit ARGBSFWarp(const Image&) {}
  static Float4 Load(const unsigned char* p) {
    Float4 v;
    std::memcpy(&v, p, bytes);
    return v;
  }
  static Float4 BilinearOutside() { return Float4{}; }
  static Float4 LanczosOutside() { return Float4{}; }
  static void PutBilinear(Float4 v, unsigned char* p, MatteCode& matte) {
    std::memcpy(p, &v, bytes);
    const float alpha = v[0] * 65535.0f;
    const float raised = alpha > 0.0f ? alpha : 0.0f;  // in this order, so that what is no number counts as 0
    matte = static_cast<MatteCode>(static_cast<int>(raised < 65535.0f ? raised : 65535.0f));
  }
  static void PutLanczos(Float4 v, unsigned char* p, MatteCode& matte) { PutBilinear(v, p, matte); }
};

/// R, G, B or B, G, R, and coverage.
struct RGB24Warp : CodeFormat<std::uint8_t, 3> {
  explicit RGB24Warp(const Image&) {}
  static Float4 BilinearOutside() { return Float4{}; }
  static Float4 LanczosOutside() { return Float4{}; }
  static void PutBilinear(Float4 v, unsigned char* p, MatteCode& matte) {
    const Int4 codes = Rounded(ClampedToCodes(v));
    Store(codes, p);
    matte = static_cast<MatteCode>(codes[3]);
  }
  static void PutLanczos(Float4 v, unsigned char* p, MatteCode& matte) {
    const Float4 clamped = ClampedToCodes(v);
    Store(Rounded(clamped), p);
    matte = static_cast<MatteCode>(clamped[3]);  // truncated, unlike the colours
  }
};

/// Three colours and alpha in any order: the matte is the fourth lane as it is stored, or the first.
template <typename Code>
struct MatteLaneWarp : CodeFormat<Code, 4> {
  explicit MatteLaneWarp(const Image& source) : matteLane(source.type == ARGB32 || source.type == ARGB64 ? 0 : 3) {}
  static Float4 BilinearOutside() { return Float4{}; }
  static Float4 LanczosOutside() { return Float4{}; }
  void PutBilinear(Float4 v, unsigned char* p, Code& matte) const {
    using Base = CodeFormat<Code, 4>;
    const Int4 codes = Rounded(Base::ClampedToCodes(v));
    Base::Store(codes, p);
    matte = static_cast<Code>(codes[matteLane]);
  }
  void PutLanczos(Float4 v, unsigned char* p, Code& matte) const { PutBilinear(v, p, matte); }

  const int matteLane;
};
using RGBA32Warp = MatteLaneWarp<std::uint8_t>;
using RGBA64Warp = MatteLaneWarp<std::uint16_t>;

/// What the Y'CbCr formats share, each lane in the order of its format: the ranges that codes are clamped to, and the
/// neutral pixel.
struct VideoLanes {
  Float4 low, high;
  Float4 bilinearOutside, lanczosOutside;
  Int4 isChroma;  ///< -1 or 0

  /// Chroma goes to the whole code next to it on the neutral side, so that it never drifts away from neutral.
  Int4 RoundedToNeutral(Float4 v) const {
    const Int4 whole = Truncated(v);
    const Float4 share = v - ToFloat(whole);
    const Int4 chromaUp = (v < bilinearOutside) & (share > Float4{});
    const Int4 lumaUp = share >= AllLanes(0.5f);
    return whole - ((isChroma & chromaUp) | (~isChroma & lumaUp));
  }
};

/// One channel of the Y'CbCr formats.
struct VideoLane {
  float low, high, bilinearOutside, lanczosOutside;
  bool isChroma;

  static VideoLane Luma(const Image& image) {
    const auto low = static_cast<float>(image.yMin);
    return {low, static_cast<float>(image.yMax), low, low, false};
  }
  static VideoLane Chroma(const Image& image, unsigned min, unsigned max) {
    // Two formulas for the neutral value on purpose: pictures that were warped before stay as they were.
    const unsigned middle = (max - min) / 2 + min;
    const int half = static_cast<int>(image.maxValue / 2);
    return {static_cast<float>(min), static_cast<float>(max), static_cast<float>(middle),
            static_cast<float>(half - static_cast<int>(min)), true};
  }
  static VideoLane ChromaU(const Image& image) { return Chroma(image, image.uMin, image.uMax); }
  static VideoLane ChromaV(const Image& image) { return Chroma(image, image.vMin, image.vMax); }
  static VideoLane Alpha(const Image& image) {
    const auto low = static_cast<float>(image.aMin);
    return {low, static_cast<float>(image.aMax), low, low, false};
  }
  /// Any code, so that one outside the range stays what it is.
  static VideoLane AnyAlpha(const Image& image, float full) {
    const auto low = static_cast<float>(image.aMin);
    return {0.0f, full, low, low, false};
  }
  /// In the range of all codes, until a format clamps it.
  static VideoLane Coverage(float full) { return {0.0f, full, 0.0f, 0.0f, false}; }
};

inline VideoLanes MakeVideoLanes(const VideoLane& a, const VideoLane& b, const VideoLane& c, const VideoLane& d) {
  return {Float4{a.low, b.low, c.low, d.low}, Float4{a.high, b.high, c.high, d.high},
          Float4{a.bilinearOutside, b.bilinearOutside, c.bilinearOutside, d.bilinearOutside},
          Float4{a.lanczosOutside, b.lanczosOutside, c.lanczosOutside, d.lanczosOutside},
          Int4{-a.isChroma, -b.isChroma, -c.isChroma, -d.isChroma}};
}

/// A code of the alpha range as a share of `full`, truncated. An empty range has no coverage.
class AlphaScale {
 public:
  explicit AlphaScale(const Image& image) : low(image.aMin), high(image.aMax) {}
  int operator()(int code, int full) const {
    if (high <= low || code <= low) return 0;
    return static_cast<int>((code < high ? code - low : high - low) * full / (high - low));
  }

 private:
  std::int64_t low, high;
};

/// The base of the Y'CbCr formats: codes are clamped to their ranges, the fourth lane is the format's own.
template <typename Code, int channels>
struct VideoFormat : CodeFormat<Code, channels> {
  VideoFormat(const Image& source, const VideoLanes& formatLanes) : lanes(formatLanes), alphaShare(source) {}
  Float4 BilinearOutside() const { return lanes.bilinearOutside; }
  Float4 LanczosOutside() const { return lanes.lanczosOutside; }

  Float4 InRange(Float4 v) const { return Clamped(v, lanes.low, lanes.high); }
  Int4 StoreBilinear(Float4 v, unsigned char* p) const {
    const Int4 codes = lanes.RoundedToNeutral(InRange(v));
    CodeFormat<Code, channels>::Store(codes, p);
    return codes;
  }
  Int4 StoreLanczos(Float4 v, unsigned char* p) const {
    const Int4 codes = Rounded(InRange(v));
    CodeFormat<Code, channels>::Store(codes, p);
    return codes;
  }

  VideoLanes lanes;
  AlphaScale alphaShare;
};

/// With alpha, which the matte shows stretched to the full range.
template <typename Code>
struct VideoAlphaFormat : VideoFormat<Code, 4> {
  using VideoFormat<Code, 4>::VideoFormat;
  void PutBilinear(Float4 v, unsigned char* p, Code& matte) const { matte = matteOf(this->StoreBilinear(v, p)); }
  void PutLanczos(Float4 v, unsigned char* p, Code& matte) const { matte = matteOf(this->StoreLanczos(v, p)); }

 private:
  Code matteOf(Int4 codes) const {
    return static_cast<Code>(this->alphaShare(codes[3], std::numeric_limits<Code>::max()));
  }
};

/// U, Y, V, A.
struct YUVA32Warp : VideoAlphaFormat<std::uint8_t> {
  explicit YUVA32Warp(const Image& s)
      : VideoAlphaFormat(s, MakeVideoLanes(VideoLane::ChromaU(s), VideoLane::Luma(s), VideoLane::ChromaV(s),
                                           VideoLane::AnyAlpha(s, 255.0f))) {}
};

/// Y, U, V, A in words. Its matte is that of the formats of three words, see `YUVA64Coverage`.
struct YUVA64Warp : VideoAlphaFormat<std::uint16_t> {
  explicit YUVA64Warp(const Image& s)
      : VideoAlphaFormat(
            s, MakeVideoLanes(VideoLane::Luma(s), VideoLane::ChromaU(s), VideoLane::ChromaV(s), VideoLane::Alpha(s))) {}
};

/// Chroma, luma, chroma, and coverage.
struct YUV24Warp : VideoFormat<std::uint8_t, 3> {
  explicit YUV24Warp(const Image& s)
      : VideoFormat(s, MakeVideoLanes(VideoLane::ChromaU(s), VideoLane::Luma(s), VideoLane::ChromaV(s),
                                      VideoLane::Coverage(full))),
        aMin(static_cast<int>(s.aMin)),
        aMax(static_cast<int>(s.aMax)) {}
  /// The coverage is held to the codes that alpha has in Y'CbCr, so 16 is none and 235 full. Kept: the bilinear matte
  /// of this format reads as an alpha channel.
  void PutBilinear(Float4 v, unsigned char* p, MatteCode& matte) const {
    const int coverage = StoreBilinear(v, p)[3], raised = coverage < aMin ? aMin : coverage;
    matte = static_cast<MatteCode>(raised > aMax ? aMax : raised);
  }
  void PutLanczos(Float4 v, unsigned char* p, MatteCode& matte) const {
    StoreLanczos(v, p);
    matte = static_cast<MatteCode>(InRange(v)[3]);  // truncated
  }

  int aMin, aMax;
};

/// Y, U, V in words of 10 to 16 bits, and coverage.
struct Y1UVNNWarp : VideoFormat<std::uint16_t, 3> {
  explicit Y1UVNNWarp(const Image& s)
      : VideoFormat(s, MakeVideoLanes(VideoLane::Luma(s), VideoLane::ChromaU(s), VideoLane::ChromaV(s),
                                      VideoLane::Coverage(full))) {}
  void PutBilinear(Float4 v, unsigned char* p, MatteCode& matte) const {
    matte = static_cast<MatteCode>(alphaShare(StoreBilinear(v, p)[3], std::numeric_limits<MatteCode>::max()));
  }
  void PutLanczos(Float4 v, unsigned char* p, MatteCode& matte) const {
    matte = static_cast<MatteCode>(StoreLanczos(v, p)[3]);
  }
};

/// The matte of Y, U, V, A in words, which tells the coverage and not alpha, as that of Y, U, V does. No pixel is read
/// or stored.
struct YUVA64Coverage : CodeFormat<std::uint16_t, 4> {
  explicit YUVA64Coverage(const Image& s) : alphaShare(s) {}
  static Float4 Load(const unsigned char*) { return AllLanes(full); }
  static Float4 BilinearOutside() { return Float4{}; }
  static Float4 LanczosOutside() { return Float4{}; }
  void PutBilinear(Float4 v, unsigned char*, MatteCode& matte) const {
    matte = static_cast<MatteCode>(alphaShare(Rounded(ClampedToCodes(v))[3], std::numeric_limits<MatteCode>::max()));
  }
  static void PutLanczos(Float4 v, unsigned char*, MatteCode& matte) {
    matte = static_cast<MatteCode>(Rounded(ClampedToCodes(v))[3]);
  }

  AlphaScale alphaShare;
};

}  // namespace Vorn
