#include "imaging/PixelFormat.h"

namespace Vorn {
namespace {

constexpr signed char none = -1;

/// One pixel of `count` words; `first`, `second`, `third` and `alpha` are the words of R, G, B, A or of Y, U, V, A.
constexpr PixelLayout Words(int wordBytes, int count, signed char first, signed char second, signed char third,
                            signed char alpha) {
  const unsigned mask = wordBytes == 1 ? 0xFF : 0xFFFF;
  return {wordBytes, 1, wordBytes * count, mask, mask, {{{first}, {second}, {third}, {alpha}}}};
}

/// Two pixels in the words U, Y0, V, Y1.
constexpr PixelLayout Pair(int wordBytes) {
  const unsigned mask = wordBytes == 1 ? 0xFF : 0xFFFF;
  return {wordBytes, 2, wordBytes * 4, mask, mask, {{{1}, {0}, {2}, {}}, {{3}, {0}, {2}, {}}}};
}

/// 10-bit codes in one word of a pixel.
constexpr PixelLayout TenBits(int wordBytes, unsigned wordMask, ChannelField first, ChannelField second,
                              ChannelField third) {
  return {wordBytes, 1, wordBytes, 0x3FF, wordMask, {{first, second, third, {}}}};
}

/// U01 Y0 V01 | Y1 U23 Y2 | V23 Y3 U45 | Y4 V45 Y5, each word from its lowest bits on.
constexpr PixelLayout SixInFourWords() {
  return {4,
          6,
          16,
          0x3FF,
          0x3FFFFFFF,
          {{{0, 10}, {0, 0}, {0, 20}, {}},
           {{1, 0}, {0, 0}, {0, 20}, {}},
           {{1, 20}, {1, 10}, {2, 0}, {}},
           {{2, 10}, {1, 10}, {2, 0}, {}},
           {{3, 0}, {2, 20}, {3, 10}, {}},
           {{3, 20}, {2, 20}, {3, 10}, {}}}};
}

constexpr PixelLayout notInterleaved{};

// type, depth, pixel bytes, tail bytes, subsampling, space, planes, matte, with matte, with full chroma, layout
constexpr PixelFormat formats[] = {
    {Undefined, 0, 0, 0, 0, NoSpace, 0, false, Undefined, Undefined, notInterleaved},

    {L8, 8, 1, 0, 0, Mono, 0, false, LA16, Undefined, Words(1, 1, 0, none, none, none)},
    {LA16, 8, 2, 0, 0, Mono, 0, true, LA16, Undefined, Words(1, 2, 0, none, none, 1)},
    {L10, 10, 2, 2, 0, Mono, 0, false, Undefined, Undefined, TenBits(2, 0x3FF, {0, 0}, {}, {})},
    {L16, 16, 2, 2, 0, Mono, 0, false, LA32, Undefined, Words(2, 1, 0, none, none, none)},
    {LA32, 16, 4, 0, 0, Mono, 0, true, LA32, Undefined, Words(2, 2, 0, none, none, 1)},

    {Y2UV32, 8, 2, 0, 1, Rec709, 0, false, Undefined, YUVA32, Pair(1)},
    {YUV24, 8, 3, 1, 0, Rec709, 0, false, YUVA32, Undefined, Words(1, 3, 1, 2, 0, none)},
    {YUVA32, 8, 4, 0, 0, Rec709, 0, true, YUVA32, Undefined, Words(1, 4, 1, 0, 2, 3)},
    {Y6UVX32, 10, 3, 0, 1, Rec709, 0, false, Undefined, Y1UV10, SixInFourWords()},
    {Y1UVX32, 10, 4, 0, 0, Rec709, 0, false, Undefined, Undefined, TenBits(4, 0xFFFFFFFC, {0, 12}, {0, 2}, {0, 22})},
    {Y2UV10, 10, 8, 0, 1, Rec709, 0, false, Undefined, Y1UV10, Pair(2)},
    {Y2UV12, 12, 8, 0, 1, Rec709, 0, false, Undefined, Y1UV12, Pair(2)},
    {Y2UV14, 14, 8, 0, 1, Rec709, 0, false, Undefined, Y1UV14, Pair(2)},
    {Y2UV16, 16, 8, 0, 1, Rec709, 0, false, Undefined, Y1UV16, Pair(2)},
    {Y1UV10, 10, 6, 2, 0, Rec709, 0, false, Undefined, Undefined, Words(2, 3, 0, 1, 2, none)},
    {Y1UV12, 12, 6, 2, 0, Rec709, 0, false, Undefined, Undefined, Words(2, 3, 0, 1, 2, none)},
    {Y1UV14, 14, 6, 2, 0, Rec709, 0, false, Undefined, Undefined, Words(2, 3, 0, 1, 2, none)},
    {Y1UV16, 16, 6, 2, 0, Rec709, 0, false, Undefined, Undefined, Words(2, 3, 0, 1, 2, none)},
    {YUVA64, 16, 8, 0, 0, Rec709, 0, true, YUVA64, Undefined, Words(2, 4, 0, 1, 2, 3)},
    {YUVP420, 8, 2, 1, 2, Rec709, 3, false, Undefined, YUVP444, notInterleaved},
    {YUVP422, 8, 2, 1, 1, Rec709, 3, false, Undefined, YUVP444, notInterleaved},
    {YUVP444, 8, 3, 1, 0, Rec709, 3, false, YUVAP444, Undefined, notInterleaved},
    {YUVAP444, 8, 4, 1, 0, Rec709, 4, true, YUVAP444, Undefined, notInterleaved},

    {BGR24, 8, 3, 1, 0, RGB, 0, false, BGRA32, Undefined, Words(1, 3, 2, 1, 0, none)},
    {RGB24, 8, 3, 1, 0, RGB, 0, false, RGBA32, Undefined, Words(1, 3, 0, 1, 2, none)},
    {BGRA32, 8, 4, 0, 0, RGB, 0, true, BGRA32, Undefined, Words(1, 4, 2, 1, 0, 3)},
    {ARGB32, 8, 4, 0, 0, RGB, 0, true, ARGB32, Undefined, Words(1, 4, 1, 2, 3, 0)},
    {RGBA32, 8, 4, 0, 0, RGB, 0, true, RGBA32, Undefined, Words(1, 4, 0, 1, 2, 3)},
    {RGB30, 10, 4, 0, 0, RGB, 0, false, Undefined, Undefined, TenBits(4, 0x3FFFFFFF, {0, 0}, {0, 10}, {0, 20})},
    {RGB48, 16, 6, 2, 0, RGB, 0, false, RGBA64, Undefined, Words(2, 3, 0, 1, 2, none)},
    {ARGB64, 16, 8, 0, 0, RGB, 0, true, ARGB64, Undefined, Words(2, 4, 1, 2, 3, 0)},
    {RGBA64, 16, 8, 0, 0, RGB, 0, true, RGBA64, Undefined, Words(2, 4, 0, 1, 2, 3)},
    {ARGBSF, 16, 16, 0, 0, RGB, 0, true, ARGBSF, Undefined, notInterleaved},
};

}  // namespace

const PixelFormat* FindPixelFormat(PixelType type) {
  for (const PixelFormat& format : formats)
    if (format.type == type) return &format;
  return nullptr;
}

}  // namespace Vorn
