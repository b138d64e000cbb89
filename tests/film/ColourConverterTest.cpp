#include "film/ColourConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace film {
namespace {

/// A picture of codes in memory of its own.
struct Picture {
  explicit Picture(const PlaneFormat& planeFormat) : format(planeFormat) {
    for (int p = 0; p < (format.grey ? 1 : 3); ++p) {
      const int w = p ? format.chromaWidth() : format.width, h = p ? format.chromaHeight() : format.height;
      stride[p] = w * format.sampleBytes();
      bytes[p].resize(static_cast<size_t>(stride[p]) * static_cast<size_t>(h));
    }
  }
  int code(int plane, int x, int y) const {
    const std::uint8_t* row = bytes[plane].data() + y * stride[plane];
    if (format.bits == 8) return row[x];
    std::uint16_t wide;
    std::memcpy(&wide, row + 2 * x, 2);
    return wide;
  }
  void set(int plane, int x, int y, int code) {
    std::uint8_t* row = bytes[plane].data() + y * stride[plane];
    if (format.bits == 8) {
      row[x] = static_cast<std::uint8_t>(code);
    } else {
      const auto wide = static_cast<std::uint16_t>(code);
      std::memcpy(row + 2 * x, &wide, 2);
    }
  }
  Planes planes() {
    Planes lent;
    for (int p = 0; p < 3; ++p) lent.data[p] = bytes[p].data(), lent.stride[p] = stride[p];
    return lent;
  }
  ConstPlanes constPlanes() const {
    ConstPlanes lent;
    for (int p = 0; p < 3; ++p) lent.data[p] = bytes[p].data(), lent.stride[p] = stride[p];
    return lent;
  }

  PlaneFormat format;
  std::vector<std::uint8_t> bytes[3];
  std::ptrdiff_t stride[3] = {0, 0, 0};
};

/// Every luma code in turn, and any chroma codes.
Picture AllLumaCodes(const PlaneFormat& format, unsigned seed) {
  Picture picture(format);
  std::mt19937 random(seed);
  const int codes = 1 << format.bits;
  for (int y = 0, n = 0; y < format.height; ++y)
    for (int x = 0; x < format.width; ++x, ++n) picture.set(0, x, y, n % codes);
  if (!format.grey)
    for (int p = 1; p < 3; ++p)
      for (int y = 0; y < format.chromaHeight(); ++y)
        for (int x = 0; x < format.chromaWidth(); ++x)
          picture.set(p, x, y, static_cast<int>(random() % static_cast<unsigned>(codes)));
  return picture;
}

Picture ThereAndBack(const Picture& picture) {
  const PlaneFormat& format = picture.format;
  std::vector<float> argb(static_cast<size_t>(format.width) * static_cast<size_t>(format.height) * 4);
  ColourConverter converter(format);
  converter.toFloat(picture.constPlanes(), argb.data(), format.width * 16);
  Picture back(format);
  converter.toCodes(argb.data(), format.width * 16, back.planes());
  return back;
}

struct Sampling {
  const char* name;
  bool grey, halfWidth, halfHeight;
};
constexpr Sampling samplings[] = {{"420", false, true, true},
                                  {"422", false, true, false},
                                  {"444", false, false, false},
                                  {"Grey", true, false, false}};

class RoundTrip : public testing::TestWithParam<std::tuple<Sampling, int, bool>> {
 protected:
  PlaneFormat formatOf(int width, int height) const {
    const auto& [sampling, bits, full] = GetParam();
    PlaneFormat format;
    format.width = width;
    format.height = height;
    format.bits = bits;
    format.fullRange = full;
    format.grey = sampling.grey;
    format.halfWidth = sampling.halfWidth;
    format.halfHeight = sampling.halfHeight;
    return format;
  }
};

TEST_P(RoundTrip, EveryLumaCodeComesBackWhateverTheChroma) {
  const Picture picture = AllLumaCodes(formatOf(272, 242), 1);  // 65,824 samples: all codes of 16 bits
  EXPECT_TRUE(ThereAndBack(picture).bytes[0] == picture.bytes[0]);
}

TEST_P(RoundTrip, ChromaComesBackWithEverySiting) {
  for (Siting x : {Siting::First, Siting::Centre, Siting::Second})
    for (Siting y : {Siting::First, Siting::Centre, Siting::Second}) {
      PlaneFormat format = formatOf(64, 34);
      format.sitingX = x;
      format.sitingY = y;
      const Picture picture = AllLumaCodes(format, 2);
      const Picture back = ThereAndBack(picture);
      for (int p = 0; p < 3; ++p)
        EXPECT_TRUE(back.bytes[p] == picture.bytes[p])
            << "plane " << p << ", siting " << static_cast<int>(x) << static_cast<int>(y);
    }
}

TEST_P(RoundTrip, OddAndTinySizesKeepTheirLuma) {
  for (int width : {1, 2, 3, 5, 7, 101})
    for (int height : {1, 2, 3, 77}) {
      const Picture picture = AllLumaCodes(formatOf(width, height), 3);
      EXPECT_TRUE(ThereAndBack(picture).bytes[0] == picture.bytes[0]) << width << " x " << height;
    }
}

TEST_P(RoundTrip, OtherMatricesToo) {
  for (const auto& [kr, kb] : {std::pair(0.299, 0.114), std::pair(0.2627, 0.0593), std::pair(0.212, 0.087)}) {
    PlaneFormat format = formatOf(272, 242);
    format.kr = kr;
    format.kb = kb;
    const Picture picture = AllLumaCodes(format, 4);
    EXPECT_TRUE(ThereAndBack(picture).bytes[0] == picture.bytes[0]);
  }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, RoundTrip,
                         testing::Combine(testing::ValuesIn(samplings), testing::Values(8, 10, 12, 16),
                                          testing::Bool()),
                         [](const auto& each) {
                           return std::string(std::get<0>(each.param).name) + "At" +
                                  std::to_string(std::get<1>(each.param)) +
                                  (std::get<2>(each.param) ? "Full" : "Limited");
                         });

PlaneFormat Format444(int width, int height) {
  PlaneFormat format;
  format.width = width;
  format.height = height;
  return format;
}

TEST(ColourConverter, NominalColoursOfBt709AreWhatTheStandardSays) {
  // BT.709, 8 bits, limited: the 100% colour bars' codes (white, red, blue) as tabulated for it.
  const int bars[3][3] = {{235, 128, 128}, {63, 102, 240}, {32, 240, 118}};
  const float colours[3][3] = {{1, 1, 1}, {1, 0, 0}, {0, 0, 1}};
  Picture picture(Format444(3, 1));
  for (int x = 0; x < 3; ++x)
    for (int p = 0; p < 3; ++p) picture.set(p, x, 0, bars[x][p]);
  float argb[12];
  ColourConverter(picture.format).toFloat(picture.constPlanes(), argb, sizeof argb);
  for (int x = 0; x < 3; ++x) {
    EXPECT_EQ(argb[4 * x], 1.0f);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(argb[4 * x + 1 + c], colours[x][c], 0.006) << x << c;  // a code's rounding
  }
}

TEST(ColourConverter, CodesOutsideTheNominalRangeGoBeyondZeroAndOne) {
  Picture picture(Format444(2, 1));
  for (int x = 0; x < 2; ++x)
    for (int p = 1; p < 3; ++p) picture.set(p, x, 0, 128);
  picture.set(0, 0, 0, 0);
  picture.set(0, 1, 0, 255);
  float argb[8];
  ColourConverter(picture.format).toFloat(picture.constPlanes(), argb, sizeof argb);
  EXPECT_NEAR(argb[1], -16.0 / 219, 1e-6);
  EXPECT_NEAR(argb[5], 239.0 / 219, 1e-6);
}

TEST(ColourConverter, ValuesBeyondTheCodesAreClippedAndNoNumberIsZero) {
  float argb[12] = {1, 9, 9, 9, 1, -9, -9, -9, 1, 0, 0, 0};
  for (int c = 9; c < 12; ++c) argb[c] = std::numeric_limits<float>::quiet_NaN();
  Picture picture(Format444(3, 1));
  ColourConverter(picture.format).toCodes(argb, sizeof argb, picture.planes());
  EXPECT_EQ(picture.code(0, 0, 0), 255);
  EXPECT_EQ(picture.code(0, 1, 0), 0);
  for (int p = 0; p < 3; ++p) EXPECT_EQ(picture.code(p, 2, 0), 0);
}

TEST(ColourConverter, EmptyPixelsBecomeBlack) {
  const std::vector<float> argb(4 * 4 * 4, 0.0f);
  PlaneFormat format = Format444(4, 4);
  format.halfWidth = format.halfHeight = true;
  format.bits = 10;
  Picture picture(format);
  ColourConverter(format).toCodes(argb.data(), 4 * 16, picture.planes());
  EXPECT_EQ(picture.code(0, 3, 3), 64);
  EXPECT_EQ(picture.code(1, 1, 1), 512);
  EXPECT_EQ(picture.code(2, 1, 1), 512);
}

TEST(ColourConverter, ChromaIsPlacedWhereItsSitingSays) {
  // Chroma is a ramp along x, so linear interpolation gives each luma column the ramp's value at its own place:
  // chroma sample i lies at luma position 2i, 2i + 0.5 or 2i + 1.
  const double shift[] = {0.0, 0.5, 1.0};
  for (Siting siting : {Siting::First, Siting::Centre, Siting::Second}) {
    PlaneFormat format = Format444(16, 1);
    format.halfWidth = true;
    format.sitingX = siting;
    Picture picture(format);
    for (int x = 0; x < 16; ++x) picture.set(0, x, 0, 126);
    for (int i = 0; i < 8; ++i) picture.set(1, i, 0, 128), picture.set(2, i, 0, 128 + 8 * i);
    float argb[64];
    ColourConverter(format).toFloat(picture.constPlanes(), argb, sizeof argb);
    for (int x = 2; x < 14; ++x) {
      const double chromaCodes = 8.0 * (x - shift[static_cast<int>(siting)]) / 2.0;
      const double red = 110.0 / 219 + 2 * (1 - 0.2126) * chromaCodes / 224;
      EXPECT_NEAR(argb[4 * x + 1], red, 1e-5) << x;
    }
  }
}

PlaneFormat Interlaced420(int width, int height) {
  PlaneFormat format = Format444(width, height);
  format.halfWidth = format.halfHeight = format.interlaced = true;
  return format;
}

TEST(ColourConverter, InterlacedPicturesComeBackAtAnyHeight) {
  for (Siting y : {Siting::First, Siting::Centre, Siting::Second})
    for (int height : {1, 2, 3, 4, 5, 6, 7, 8, 34, 36, 243, 486}) {
      PlaneFormat format = Interlaced420(48, height);
      format.sitingY = y;
      const Picture picture = AllLumaCodes(format, 6);
      const Picture back = ThereAndBack(picture);
      EXPECT_TRUE(back.bytes[0] == picture.bytes[0]) << height;
      if (height % 4 != 0) continue;
      EXPECT_TRUE(back.bytes[1] == picture.bytes[1]) << height;
      EXPECT_TRUE(back.bytes[2] == picture.bytes[2]) << height;
    }
}

TEST(ColourConverter, ChromaOfInterlacedPicturesStaysInItsField) {
  // The top field is red and the bottom field is blue, with luma in keeping.
  Picture picture(Interlaced420(8, 16));
  const int red[3] = {63, 102, 240}, blue[3] = {32, 240, 118};
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 8; ++x) picture.set(0, x, y, y % 2 ? blue[0] : red[0]);
  for (int p = 1; p < 3; ++p)
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 4; ++x) picture.set(p, x, y, y % 2 ? blue[p] : red[p]);
  std::vector<float> argb(8 * 16 * 4);
  ColourConverter(picture.format).toFloat(picture.constPlanes(), argb.data(), 8 * 16);
  for (int y = 0; y < 16; ++y) {
    EXPECT_NEAR(argb[32 * y + 13], y % 2 ? 0 : 1, 0.006) << y;
    EXPECT_NEAR(argb[32 * y + 15], y % 2 ? 1 : 0, 0.006) << y;
  }
  // And on the way back: another blue changes the bottom field's chroma rows alone.
  for (int y = 1; y < 16; y += 2)
    for (int x = 0; x < 8; ++x) argb[32 * y + 4 * x + 3] = 0.5f;
  Picture back(picture.format);
  ColourConverter(picture.format).toCodes(argb.data(), 8 * 16, back.planes());
  for (int y = 0; y < 8; ++y) {
    EXPECT_EQ(back.code(1, 2, y) == picture.code(1, 2, y), y % 2 == 0) << y;
    EXPECT_EQ(back.code(2, 2, y) == picture.code(2, 2, y), y % 2 == 0) << y;
  }
}

TEST(ColourConverter, ChromaRowsOfFieldsLieWhereThoseOfTheFrameDo) {
  // Chroma row i of the frame lies at luma row 2i + 0.5, whichever field it belongs to: a ramp down the frame comes out
  // as a ramp in both fields.
  Picture picture(Interlaced420(2, 32));
  for (int y = 0; y < 32; ++y) picture.set(0, 0, y, 126), picture.set(0, 1, y, 126);
  for (int i = 0; i < 16; ++i) picture.set(1, 0, i, 128), picture.set(2, 0, i, 128 + 6 * i);
  std::vector<float> argb(2 * 32 * 4);
  ColourConverter(picture.format).toFloat(picture.constPlanes(), argb.data(), 2 * 16);
  for (int y = 4; y < 28; ++y) {
    const double chromaCodes = 6.0 * (y - 0.5) / 2.0;
    EXPECT_NEAR(argb[8 * y + 1], 110.0 / 219 + 2 * (1 - 0.2126) * chromaCodes / 224, 1e-5) << y;
  }
}

TEST(ColourConverter, EveryCodeOfRedGreenBlueAndOpacityComesBack) {
  for (int bits : {8, 10, 12, 16}) {
    PlaneFormat format = Format444(272, 242);
    format.bits = bits;
    format.rgb = format.alpha = true;
    const size_t samples = 272 * 242;
    std::vector<std::uint16_t> codes[4], back[4];
    Planes lent, filled;
    for (int p = 0; p < 4; ++p) {
      codes[p].resize(samples);
      back[p].resize(samples);
      for (size_t i = 0; i < samples; ++i)
        if (const auto code = static_cast<unsigned>((i * 7 + static_cast<size_t>(p) * 1111) % (1u << bits)); bits > 8)
          codes[p][i] = static_cast<std::uint16_t>(code);
        else
          reinterpret_cast<std::uint8_t*>(codes[p].data())[i] = static_cast<std::uint8_t>(code);
      lent.data[p] = reinterpret_cast<std::uint8_t*>(codes[p].data());
      filled.data[p] = reinterpret_cast<std::uint8_t*>(back[p].data());
      lent.stride[p] = filled.stride[p] = 272 * format.sampleBytes();
    }
    ConstPlanes read;
    for (int p = 0; p < 4; ++p) read.data[p] = lent.data[p], read.stride[p] = lent.stride[p];
    std::vector<float> argb(samples * 4);
    ColourConverter converter(format);
    converter.toFloat(read, argb.data(), 272 * 16);
    converter.toCodes(argb.data(), 272 * 16, filled);
    for (int p = 0; p < 4; ++p) EXPECT_TRUE(back[p] == codes[p]) << bits << ' ' << p;
  }
}

TEST(ColourConverter, ColoursThatAreWeighedWithOpacityAreStoredWithoutIt) {
  PlaneFormat format = Format444(3, 1);
  format.rgb = format.alpha = true;
  std::uint8_t codes[4][3];
  Planes planes;
  for (int p = 0; p < 4; ++p) planes.data[p] = codes[p], planes.stride[p] = 3;
  const float argb[12] = {0.5f, 0.1f, 0.2f, 0.4f, 1.0f, 0.2f, 0.4f, 0.6f, 0.0f, 0.0f, 0.0f, 0.0f};
  ColourConverter(format, true).toCodes(argb, sizeof argb, planes);
  const int expected[4][3] = {{51, 51, 0}, {102, 102, 0}, {204, 153, 0}, {128, 255, 0}};
  for (int p = 0; p < 4; ++p)
    for (int x = 0; x < 3; ++x) EXPECT_EQ(codes[p][x], expected[p][x]) << p << x;
}

TEST(ColourConverter, RowBytesMayBeLongerThanTheRow) {
  const Picture picture = AllLumaCodes(Format444(6, 4), 5);
  std::vector<float> argb(4 * 40, -1.0f);
  ColourConverter converter(picture.format);
  converter.toFloat(picture.constPlanes(), argb.data(), 160);
  EXPECT_EQ(argb[24], -1.0f);  // the gap after a row isn't touched
  EXPECT_EQ(argb[40], 1.0f);
  Picture back(picture.format);
  converter.toCodes(argb.data(), 160, back.planes());
  EXPECT_TRUE(back.bytes[0] == picture.bytes[0]);
}

}  // namespace
}  // namespace film
