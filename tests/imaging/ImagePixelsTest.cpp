// The pixel access of `Image`, format by format.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "imaging/Image.h"

namespace Vorn {
namespace {

using Bytes = std::vector<unsigned char>;

/// How a format stores one known pixel: its codes as bytes, from the description of the layout.
struct Stored {
  PixelType type;
  int stride;        ///< of a row of 2 pixels (6 in a group of six)
  Pixel raw;         ///< the codes
  int x;             ///< where they go
  Bytes row;         ///< the whole row then, which was zero before
  Pixel normalised;  ///< what the pixel access gives, at `maxValue`
  unsigned maxValue;
};

Pixel Ycc(int y, int u, int v, int a) { return {y, u, v, a, Rec709}; }

/// 32-bit words, low byte first.
Bytes Words32(std::initializer_list<std::uint32_t> words) {
  Bytes bytes;
  for (const std::uint32_t word : words)
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(word >> shift));
  return bytes;
}

const std::vector<Stored>& Formats() {
  static const std::vector<Stored> formats = {
      {L8, 2, {0x71, 255}, 1, {0, 0x71}, {0x71, 255}, 255},
      {LA16, 4, {0x71, 0x52}, 1, {0, 0, 0x71, 0x52}, {0x71, 0x52}, 255},
      {L10, 4, {0x371, 1023}, 1, {0, 0, 0x71, 0x03}, {0x371, 1023}, 1023},
      {L16, 4, {0x9371, 65535}, 1, {0, 0, 0x71, 0x93}, {0x9371, 65535}, 65535},
      {LA32, 8, {0x9371, 0x8152}, 1, {0, 0, 0, 0, 0x71, 0x93, 0x52, 0x81}, {0x9371, 0x8152}, 65535},

      {Y2UV32, 4, Ycc(100, 110, 120, 235), 0, {110, 100, 120, 0}, Ycc(84, 94, 104, 219), 255},
      {Y2UV32, 4, Ycc(100, 110, 120, 235), 1, {110, 0, 120, 100}, Ycc(84, 94, 104, 219), 255},
      {YUV24, 6, Ycc(100, 110, 120, 235), 1, {0, 0, 0, 120, 100, 110}, Ycc(84, 94, 104, 219), 255},
      {YUVA32, 8, Ycc(100, 110, 120, 130), 1, {0, 0, 0, 0, 110, 100, 120, 130}, Ycc(84, 94, 104, 114), 255},
      {Y1UVX32, 8, Ycc(0x301, 0x202, 0x103, 940), 1, Words32({0, 0x202u << 2 | 0x301u << 12 | 0x103u << 22}),
       Ycc(0x301 - 64, 0x202 - 64, 0x103 - 64, 876), 1023},
      {Y2UV10, 8, Ycc(500, 600, 700, 940), 0, {88, 2, 244, 1, 188, 2, 0, 0}, Ycc(436, 536, 636, 876), 1023},
      {Y2UV10, 8, Ycc(500, 600, 700, 940), 1, {88, 2, 0, 0, 188, 2, 244, 1}, Ycc(436, 536, 636, 876), 1023},
      {Y2UV12, 8, Ycc(500, 600, 700, 3760), 1, {88, 2, 0, 0, 188, 2, 244, 1}, Ycc(244, 344, 444, 3504), 4095},
      {Y2UV14, 8, Ycc(1500, 1600, 1700, 15040), 1, {64, 6, 0, 0, 164, 6, 220, 5}, Ycc(476, 576, 676, 14016), 16383},
      {Y2UV16,
       8,
       Ycc(0x8123, 0x9234, 0xA345, 60160),
       1,
       {0x34, 0x92, 0, 0, 0x45, 0xA3, 0x23, 0x81},
       Ycc(0x7123, 0x8234, 0x9345, 56064),
       65535},
      {Y1UV10,
       12,
       Ycc(500, 600, 700, 940),
       0,
       {244, 1, 88, 2, 188, 2, 0, 0, 0, 0, 0, 0},
       Ycc(436, 536, 636, 876),
       1023},
      {Y1UV12,
       12,
       Ycc(500, 600, 700, 3760),
       1,
       {0, 0, 0, 0, 0, 0, 244, 1, 88, 2, 188, 2},
       Ycc(244, 344, 444, 3504),
       4095},
      {Y1UV14,
       12,
       Ycc(1500, 1600, 1700, 15040),
       1,
       {0, 0, 0, 0, 0, 0, 220, 5, 64, 6, 164, 6},
       Ycc(476, 576, 676, 14016),
       16383},
      {Y1UV16,
       12,
       Ycc(0x8123, 0x9234, 0xA345, 60160),
       1,
       {0, 0, 0, 0, 0, 0, 0x23, 0x81, 0x34, 0x92, 0x45, 0xA3},
       Ycc(0x7123, 0x8234, 0x9345, 56064),
       65535},
      {YUVA64,
       16,
       Ycc(0x8123, 0x9234, 0xA345, 0xB456),
       1,
       {0, 0, 0, 0, 0, 0, 0, 0, 0x23, 0x81, 0x34, 0x92, 0x45, 0xA3, 0x56, 0xB4},
       Ycc(0x7123, 0x8234, 0x9345, 0xA456),
       65535},

      {BGR24, 6, {1, 2, 3, 255}, 1, {0, 0, 0, 3, 2, 1}, {1, 2, 3, 255}, 255},
      {RGB24, 6, {1, 2, 3, 255}, 1, {0, 0, 0, 1, 2, 3}, {1, 2, 3, 255}, 255},
      {BGRA32, 8, {1, 2, 3, 4}, 1, {0, 0, 0, 0, 3, 2, 1, 4}, {1, 2, 3, 4}, 255},
      {ARGB32, 8, {1, 2, 3, 4}, 1, {0, 0, 0, 0, 4, 1, 2, 3}, {1, 2, 3, 4}, 255},
      {RGBA32, 8, {1, 2, 3, 4}, 1, {0, 0, 0, 0, 1, 2, 3, 4}, {1, 2, 3, 4}, 255},
      {RGB30,
       8,
       {0x301, 0x202, 0x103, 1023},
       1,
       Words32({0, 0x301u | 0x202u << 10 | 0x103u << 20}),
       {0x301, 0x202, 0x103, 1023},
       1023},
      {RGB48,
       12,
       {0x102, 0x304, 0x506, 65535},
       0,
       {2, 1, 4, 3, 6, 5, 0, 0, 0, 0, 0, 0},
       {0x102, 0x304, 0x506, 65535},
       65535},
      {ARGB64,
       16,
       {0x102, 0x304, 0x506, 0x708},
       1,
       {0, 0, 0, 0, 0, 0, 0, 0, 8, 7, 2, 1, 4, 3, 6, 5},
       {0x102, 0x304, 0x506, 0x708},
       65535},
      {RGBA64,
       16,
       {0x102, 0x304, 0x506, 0x708},
       1,
       {0, 0, 0, 0, 0, 0, 0, 0, 2, 1, 4, 3, 6, 5, 8, 7},
       {0x102, 0x304, 0x506, 0x708},
       65535},
  };
  return formats;
}

/// Width 2 over exactly the row's bytes, so that the sanitizer sees a read behind it.
Image Wrap(const Stored& f, Bytes& row) { return {2, 1, f.stride, f.type, row.data(), false}; }

TEST(ImagePixels, RawCodesLieWhereTheLayoutSays) {
  for (const Stored& f : Formats()) {
    SCOPED_TRACE(testing::Message() << f.type << " at " << f.x);
    Bytes row(f.row.size(), 0);
    Image image = Wrap(f, row);
    image.SetRaw(f.x, 0, f.raw);
    EXPECT_EQ(row, f.row);
    Pixel expected = f.raw;
    if (f.type == ARGB64) expected.maxValue = 65535;
    EXPECT_EQ(image.GetRaw(f.x, 0), expected);
  }
}

TEST(ImagePixels, PixelsAreTheCodesAboveTheirRangesMinima) {
  for (const Stored& f : Formats()) {
    SCOPED_TRACE(testing::Message() << f.type << " at " << f.x);
    Bytes row = f.row;
    const Image image = Wrap(f, row);
    Pixel expected = f.normalised;
    expected.maxValue = f.maxValue;
    EXPECT_EQ(image(f.x, 0), expected);
  }
}

TEST(ImagePixels, SettingAPixelAddsTheMinima) {
  for (const Stored& f : Formats()) {
    SCOPED_TRACE(testing::Message() << f.type << " at " << f.x);
    Bytes row(f.row.size(), 0);
    Image image = Wrap(f, row);
    image.SetPixel(f.x, 0, f.normalised);
    EXPECT_EQ(row, f.row);
  }
}

TEST(ImagePixels, CodesTooLargeForTheirFieldAreMaskedAndNeighboursKept) {
  for (const Stored& f : Formats()) {
    SCOPED_TRACE(testing::Message() << f.type << " at " << f.x);
    Bytes row(f.row.size(), 0);
    Image image = Wrap(f, row);
    const int over = (f.type == L10 || f.type == RGB30 || f.type == Y1UVX32) ? 1 << 10
                     : f.type == L8 || f.type == LA16 || image.bitDepth == 8 ? 1 << 8
                                                                             : 1 << 16;
    Pixel raw = f.raw;
    for (int* component : {&raw.R_, &raw.G_, &raw.B_, &raw.M_, &raw.Y_, &raw.U_, &raw.V_}) *component += over;
    image.SetRaw(f.x, 0, raw);
    EXPECT_EQ(row, f.row);
  }
}

TEST(ImagePixels, SixPixelsShareFourWords) {
  Bytes row(32, 0);
  Image image(12, 1, 32, Y6UVX32, row.data(), false);
  const int y[6] = {0x3F0, 0x3E1, 0x2D2, 0x1C3, 0x0B4, 0x3A5};
  const int u[3] = {0x111, 0x222, 0x333}, v[3] = {0x0AA, 0x1BB, 0x2CC};
  for (int x = 0; x < 6; ++x) image.SetRaw(6 + x, 0, Ycc(y[x], u[x / 2], v[x / 2], 0));
  const auto word = [](int low, int middle, int high) {
    return static_cast<std::uint32_t>(low) | static_cast<std::uint32_t>(middle) << 10 |
           static_cast<std::uint32_t>(high) << 20;
  };
  Bytes expected = Words32(
      {0, 0, 0, 0, word(u[0], y[0], v[0]), word(y[1], u[1], y[2]), word(v[1], y[3], u[2]), word(y[4], v[2], y[5])});
  EXPECT_EQ(row, expected);
  for (int x = 0; x < 6; ++x) {
    EXPECT_EQ(image.GetRaw(6 + x, 0), Ycc(y[x], u[x / 2], v[x / 2], 940));
    Pixel pixel = Ycc(y[x] - 64, u[x / 2] - 64, v[x / 2] - 64, 876);
    pixel.maxValue = 1023;
    EXPECT_EQ(image(6 + x, 0), pixel);
  }
}

TEST(ImagePixels, TheLaterOfTwoPixelsDecidesTheirChroma) {
  for (const PixelType type : {Y2UV32, Y2UV10, Y2UV16, Y6UVX32}) {
    Image image(6, 1, type);
    image.Clear();
    image.SetPixel(2, 0, Ycc(10, 20, 30, 0));
    image.SetPixel(3, 0, Ycc(11, 21, 31, 0));
    EXPECT_EQ(image(2, 0).Y(), 10) << type;
    EXPECT_EQ(image(2, 0).U(), 21) << type;
    EXPECT_EQ(image(2, 0).V(), 31) << type;
    EXPECT_EQ(image(1, 0).U(), image.black.U()) << type;
    EXPECT_EQ(image(4, 0).V(), image.black.V()) << type;
  }
}

TEST(ImagePixels, NextPixelsWordSurvivesAWriteOfSixBytes) {
  for (const PixelType type : {RGB48, Y1UV16}) {
    Bytes row(12, 0xEE);
    Image image(2, 1, 12, type, row.data(), false);
    image.SetRaw(0, 0, type == RGB48 ? Pixel(1, 2, 3, 4) : Ycc(1, 2, 3, 4));
    EXPECT_EQ(row, (Bytes{1, 0, 2, 0, 3, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE})) << type;
  }
}

TEST(ImagePixels, SpareBitsAreWrittenAsZero) {
  Bytes row(4, 0xFF);
  Image(1, 1, 4, RGB30, row.data(), false).SetRaw(0, 0, Pixel(0, 0, 0, 0));
  EXPECT_EQ(row, Bytes(4, 0));
}

TEST(ImagePixels, PlanesAreReadAndWrittenAtTheirSampling) {
  for (const PixelType type : {YUVP420, YUVP422, YUVP444, YUVAP444}) {
    SCOPED_TRACE(type);
    unsigned char y[48] = {}, u[48] = {}, v[48] = {}, a[48] = {};
    unsigned char* planes[] = {y, u, v, a};
    const int strides[] = {12, 10, 9, 8};
    Image image(8, 4, strides, type, planes, false);
    image.SetPixel(5, 3, Ycc(84, 94, 104, 114));
    const int cx = type == YUVP444 || type == YUVAP444 ? 5 : 2, cy = type == YUVP420 ? 1 : 3;
    EXPECT_EQ(y[3 * 12 + 5], 100);
    EXPECT_EQ(u[cy * 10 + cx], 110);
    EXPECT_EQ(v[cy * 9 + cx], 120);
    EXPECT_EQ(a[3 * 8 + 5], type == YUVAP444 ? 130 : 0);
    EXPECT_EQ(image(5, 3), Ycc(84, 94, 104, type == YUVAP444 ? 114 : 219));
    EXPECT_EQ(image.GetRaw(5, 3), Ycc(100, 110, 120, type == YUVAP444 ? 130 : 235));
    image.SetRaw(4, 2, Ycc(1, 2, 3, 4));
    EXPECT_EQ(y[2 * 12 + 4], 1);
  }
}

TEST(ImagePixels, OddPlanarSizesStayInsideTheirPlanes) {
  for (const PixelType type : {YUVP420, YUVP422, YUVP444, YUVAP444})
    for (int width = 1; width <= 7; ++width)
      for (int height = 1; height <= 7; ++height) {
        Image image(width, height, type);
        ASSERT_TRUE(image.valid);
        image.Clear(Ycc(10, 20, 30, 40));  // the sanitizer sees what goes outside
        const Pixel corner = image(width - 1, height - 1);
        EXPECT_EQ(corner.Y(), 10);
        // A plane without a byte is neutral.
        const int samples = type == YUVP420 ? width / 2 * height / 2 : type == YUVP422 ? width / 2 * height : 1;
        const bool empty = samples == 0;
        EXPECT_EQ(corner.U(), empty ? 112 : 20) << type << ": " << width << "x" << height;
        EXPECT_EQ(corner.V(), empty ? 112 : 30) << type << ": " << width << "x" << height;
      }
}

TEST(ImagePixels, LastChromaSampleServesTheOddColumnAndRow) {
  Image image(5, 5, YUVP420);
  image.Clear(image.black);
  image.SetPixel(2, 0, Ycc(0, 50, 60, 0));
  EXPECT_EQ(image(4, 0).U(), 50);
  image.SetPixel(0, 2, Ycc(0, 70, 80, 0));
  EXPECT_EQ(image(0, 4).V(), 80);
  EXPECT_EQ(image(4, 4).U(), image(3, 3).U());
}

TEST(ImagePixels, PlanarTypeOverRowsHasNoPixels) {
  Bytes rows(16, 1);
  Image image(4, 4, 4, YUVP420, rows.data(), false);
  EXPECT_FALSE(image.planar);
  EXPECT_EQ(image(1, 1).space, NoSpace);
  EXPECT_EQ(image.GetRaw(1, 1).space, NoSpace);
  image.SetPixel(1, 1, Ycc(1, 2, 3, 4));
  EXPECT_EQ(rows, Bytes(16, 1));
}

TEST(ImagePixels, OutsideIsBlackWithoutAlphaAndTakesNothing) {
  for (const PixelType type : {L8, Y2UV32, YUVP420, RGB30, ARGBSF}) {
    Image image(4, 2, type);
    image.Clear(image.GenerateWhite());
    Pixel expected = image.black;
    expected.SetAlpha(0);
    const int outside[][2] = {{-1, 0}, {0, -1}, {4, 0}, {0, 2}, {std::numeric_limits<int>::max(), 1}};
    for (const auto& p : outside) {
      EXPECT_EQ(image(p[0], p[1]), expected) << type;
      EXPECT_EQ(image.GetRaw(p[0], p[1]), expected) << type;
      image.SetPixel(p[0], p[1], image.black);
      image.SetRaw(p[0], p[1], image.black);
    }
    for (int x = 0; x < 4; ++x) EXPECT_NE(image(x, 0), image.black) << type;
  }
  EXPECT_EQ(Image(2, 2, Y2UV32)(-1, 0), Ycc(0, 112, 112, 0));
}

TEST(ImagePixels, FloatsAreClampedScaledAndTruncated) {
  float row[] = {1.5f,
                 -0.25f,
                 0.5f,
                 1.0f,
                 std::numeric_limits<float>::quiet_NaN(),
                 std::numeric_limits<float>::infinity(),
                 -std::numeric_limits<float>::infinity(),
                 0.0f};
  const Image image(2, 1, 32, ARGBSF, reinterpret_cast<unsigned char*>(row), false);
  const Pixel p = image(0, 0), odd = image(1, 0);
  EXPECT_EQ(p.space, RGB);
  EXPECT_EQ(p.maxValue, 65535u);
  EXPECT_EQ(p.A(), 65535);
  EXPECT_EQ(p.R(), 0);
  EXPECT_EQ(p.G(), 32767);  // 0.5 * 65535 = 32767.5
  EXPECT_EQ(p.B(), 65535);
  EXPECT_EQ(odd.A(), 0);
  EXPECT_EQ(odd.R(), 65535);
  EXPECT_EQ(odd.G(), 0);
  EXPECT_EQ(image.GetRaw(0, 0).G(), 32767);
  EXPECT_EQ(image.GetRaw(0, 0).maxValue, 255u);
}

TEST(ImagePixels, FloatsAreCodesOverFullScaleWhateverThePixelsOwnScale) {
  PixelARGBSF stored;
  Image image(1, 1, 16, ARGBSF, reinterpret_cast<unsigned char*>(&stored), false);
  image.SetPixel(0, 0, Pixel(65535, 13107, -65535, 131070));  // its maxValue is 255
  EXPECT_EQ(stored.r, 1.0f);
  EXPECT_EQ(stored.g, 0.2f);
  EXPECT_EQ(stored.b, -1.0f);
  EXPECT_EQ(stored.a, 2.0f);
  image.SetRaw(0, 0, Pixel(0, 65535, 0, 0));
  EXPECT_EQ(stored.g, 1.0f);
}

TEST(ImagePixels, EveryCodeThatAFloatImageStoredReadsBack) {
  Image image(1, 1, ARGBSF);
  int wrong = 0;
  for (int code = 0; code <= 65535; ++code) {
    image.SetPixel(0, 0, Pixel(code, 65535 - code, code, code));
    const Pixel p = image(0, 0);
    if (p.R() != code || p.G() != 65535 - code || p.A() != code) ++wrong;
  }
  EXPECT_EQ(wrong, 0);
}

TEST(ImagePixels, PixelsCarryTheSpaceOfTheirImage) {
  Image image(2, 1, YUV24);
  image.Clear();
  image.SetColourSpace(Rec601);
  EXPECT_EQ(image(0, 0).space, Rec601);
  EXPECT_EQ(image.GetRaw(0, 0).space, Rec601);
}

}  // namespace
}  // namespace Vorn
