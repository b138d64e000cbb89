// Ranges, standards and layouts of Y'CbCr in imaging/ColourConversion.h.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "imaging/ColourConversion.h"
#include "imaging/PixelTypes.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

Image RowOf(PixelType type, const std::vector<Pixel>& stored) {
  Image image(static_cast<int>(stored.size()), 1, type);
  for (int x = 0; x < image.width; ++x) image.SetRaw(x, 0, stored[static_cast<std::size_t>(x)]);
  return image;
}

Pixel Video(int y, int u, int v, int a = 235) { return Pixel(y, u, v, a, Rec709); }

void ExpectStored(const Image& image, int x, int y, int u, int v, int a) {
  const Pixel p = image.GetRaw(x, 0);
  EXPECT_EQ(p.Y(), y) << x;
  EXPECT_EQ(p.U(), u) << x;
  EXPECT_EQ(p.V(), v) << x;
  EXPECT_EQ(p.A(), a) << x;
}

void ExpectSamePixels(const Image& a, const Image& b) {
  ASSERT_EQ(a.width, b.width);
  ASSERT_EQ(a.height, b.height);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) ASSERT_EQ(a(x, y), b(x, y)) << x << ", " << y;
}

TEST(ConvertYUVRangeInPlace, StretchesTheCodesAndTruncates) {
  Image image = RowOf(YUVA32, {Video(16, 16, 128, 16), Video(235, 240, 129, 235), Video(117, 100, 200, 100)});
  EXPECT_TRUE(ConvertYUVRangeInPlace(&image, 0, 255, 0, 255, 0, 255, 0, 255));
  ExpectStored(image, 0, 0, 0, 127, 0);        // 112 of 224 is 127.5
  ExpectStored(image, 1, 255, 254, 128, 255);  // 113 of 224 is 128.6; in single precision 224 is a little less than 255
  ExpectStored(image, 2, 117, 95, 209, 97);    // 117.6, 95.6, 209.5, 97.8
  EXPECT_EQ(image.yMax, 255U);
  EXPECT_EQ(image.vMin, 0U);
  EXPECT_EQ(image.alphaRange, 255U);
  EXPECT_EQ(image.black, Pixel(0, 127, 127, 255, Rec709));
}

TEST(ConvertYUVRangeInPlace, ComesBackFromFourTimesTheRange) {
  Image image = RowOf(Y1UVX32, {Video(64, 64, 960), Video(100, 512, 65), Video(500, 300, 400)});
  const Image before = image;
  Image like(1, 1, Y1UVX32);
  like.yMin = like.uMin = like.vMin = like.aMin = 16;
  like.yMax = like.aMax = 235;
  like.uMax = like.vMax = 240;
  EXPECT_TRUE(ConvertYUVRangeInPlace(&image, like));
  ExpectStored(image, 0, 16, 16, 240, 235);
  ExpectStored(image, 1, 25, 128, 16, 235);  // 36 / 4 + 16, 448 / 4 + 16, 1 / 4 + 16
  EXPECT_TRUE(image.IsSameFormat(like));
  EXPECT_TRUE(ConvertYUVRangeInPlace(&image, before));
  ExpectStored(image, 0, 64, 64, 960, 940);
  ExpectStored(image, 2, 500, 300, 400, 940);
}

TEST(ConvertYUVRangeInPlace, KeepsCodesOutsideTheRangeWithinTheType) {
  Image image = RowOf(YUVA32, {Video(0, 0, 255, 0), Video(255, 255, 0, 255)});
  ConvertYUVRangeInPlace(&image, 0, 255, 0, 255, 0, 255, 0, 255);
  ExpectStored(image, 0, 0, 0, 255, 0);
  ExpectStored(image, 1, 255, 255, 0, 255);
}

TEST(ConvertYUVRangeInPlace, ConvertsSharedChromaOnce) {
  for (const PixelType type : {Y2UV32, Y2UV10, Y6UVX32, YUVP420, YUVP422, YUVP444, YUVAP444}) {
    Image image(7, 5, type);
    const int unit = image.bitDepth == 8 ? 1 : 4;
    FillWith(image, Pixel(100 * unit, 56 * unit, 168 * unit, 0, Rec709));
    ConvertYUVRangeInPlace(&image, 0, 219 * unit, 0, 112 * unit, 0, 112 * unit, 0, 219 * unit);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) {
        const Pixel p = image.GetRaw(x, y);
        ASSERT_EQ(p.Y(), 100 * unit) << type;
        ASSERT_EQ(p.U(), 28 * unit) << type;
        ASSERT_EQ(p.V(), 84 * unit) << type;
      }
  }
}

TEST(ConvertYUVRangeInPlace, RefusesWhatIsNotYCbCr) {
  Image rgb = RowOf(RGB24, {Pixel(1, 2, 3, 0)}), empty;
  EXPECT_FALSE(ConvertYUVRangeInPlace(&rgb, 0, 1, 0, 1, 0, 1, 0, 1));
  EXPECT_FALSE(ConvertYUVRangeInPlace(nullptr, rgb));
  EXPECT_FALSE(ConvertYUVRangeInPlace(&empty, rgb));
  EXPECT_EQ(rgb.GetRaw(0, 0), Pixel(1, 2, 3, 255));
  EXPECT_EQ(rgb.yMax, 255U);
}

TEST(ConvertYUVSpecInPlace, KeepsGreyAndMovesColours) {
  // 47, 86, 224 is the red of BT.709; that of BT.601 is 65.48, 74.20, 224.
  Image image = RowOf(YUVA32, {Video(100, 128, 128, 77), Video(47 + 16, 86 + 16, 240, 235)});
  EXPECT_TRUE(ConvertYUVSpecInPlace(&image, Rec601));
  ExpectStored(image, 0, 100, 128, 128, 77);
  ExpectStored(image, 1, 66 + 16, 74 + 16, 240, 235);
  EXPECT_EQ(image.space, Rec601);
  EXPECT_EQ(image.black.space, Rec601);
}

TEST(ConvertYUVSpecInPlace, ComesBackWithinACode) {
  Dice dice;
  for (const ColourSpace space : {Rec601, SMPTE240M, Rec2020}) {
    Image image(16, 16, Y1UV16);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) {  // colours that all of the standards hold
        const int luma = 15000 + dice.upTo(20000), u = 20000 + dice.upTo(16000), v = 20000 + dice.upTo(16000);
        image.SetPixel(x, y, Pixel(luma, u, v, 0, Rec709));
      }
    const Image before = image;
    ASSERT_TRUE(ConvertYUVSpecInPlace(&image, space));
    ASSERT_TRUE(ConvertYUVSpecInPlace(&image, Rec709));
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) {
        ASSERT_NEAR(image(x, y).Y(), before(x, y).Y(), 1);
        ASSERT_NEAR(image(x, y).U(), before(x, y).U(), 1);
        ASSERT_NEAR(image(x, y).V(), before(x, y).V(), 1);
      }
  }
}

TEST(ConvertYUVSpecInPlace, KeepsCodesInRange) {
  Image image = RowOf(YUVA32, {Video(235, 240, 240), Video(16, 16, 16), Video(255, 255, 0)});
  ConvertYUVSpecInPlace(&image, Rec601);
  for (int x = 0; x < 3; ++x) {
    const Pixel p = image.GetRaw(x, 0);
    EXPECT_GE(p.Y(), 16);
    EXPECT_LE(p.Y(), 235);
    EXPECT_GE(p.U(), 16);
    EXPECT_LE(p.V(), 240);
  }
  Image wide = RowOf(YUVA32, {Video(255, 255, 255), Video(0, 0, 0)});  // a space whose codes aren't limited
  ConvertYUVSpecInPlace(&wide, Rec2020);
  EXPECT_GT(wide.GetRaw(0, 0).U(), 200);  // at the end of the byte, not wrapped around
  EXPECT_LT(wide.GetRaw(1, 0).U(), 50);
}

TEST(ConvertYUVSpecInPlace, ConvertsSharedChromaOnce) {
  Image full(7, 5, YUVAP444);
  FillWith(full, Pixel(100, 90, 140, 219, Rec709));
  ConvertYUVSpecInPlace(&full, Rec601);
  const Pixel expected = full(0, 0);
  EXPECT_NE(expected.U(), 90);
  for (const PixelType type : {Y2UV32, YUVP420, YUVP422}) {
    Image image(7, 5, type);
    FillWith(image, Pixel(100, 90, 140, 219, Rec709));
    EXPECT_TRUE(ConvertYUVSpecInPlace(&image, Rec601));
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) ASSERT_EQ(image(x, y), expected) << type << ": " << x << ", " << y;
  }
}

TEST(ConvertYUVSpecInPlace, RefusesWhatIsNotYCbCr) {
  Image image = RowOf(YUVA32, {Video(63, 102, 240)}), rgb = RowOf(RGB24, {Pixel(1, 2, 3, 0)});
  EXPECT_FALSE(ConvertYUVSpecInPlace(&image, RGB));
  EXPECT_FALSE(ConvertYUVSpecInPlace(&rgb, Rec601));
  EXPECT_FALSE(ConvertYUVSpecInPlace(nullptr, Rec601));
  ExpectStored(image, 0, 63, 102, 240, 235);
  EXPECT_EQ(image.space, Rec709);
}

TEST(ConvertRangeOnlyYUV, ChangesTheDepth) {
  const Image deep = RowOf(Y1UV10, {Video(64, 64, 960), Video(940, 512, 515), Video(503, 70, 900)});
  Image bytes(3, 1, YUVA32), words(3, 1, YUVA64);
  EXPECT_TRUE(ConvertRangeOnlyYUV(deep, bytes));
  ExpectStored(bytes, 0, 16, 16, 240, 235);
  ExpectStored(bytes, 1, 235, 128, 128, 235);
  ExpectStored(bytes, 2, 125, 17, 225, 235);
  EXPECT_TRUE(ConvertRangeOnlyYUV(deep, words));
  ExpectStored(words, 2, 503 * 64, 70 * 64, 900 * 64, 60160);
}

TEST(YCbCrLayouts, OfTheSameSamplingExchangeTheirCodesExactly) {
  const std::vector<PixelType> full = {YUV24,  YUVA32, YUVP444, YUVAP444, Y1UVX32,
                                       Y1UV10, Y1UV12, Y1UV14,  Y1UV16,   YUVA64},
                               halved = {Y2UV32, YUVP422, Y2UV10, Y6UVX32, Y2UV12, Y2UV14, Y2UV16};
  Dice dice;
  for (const auto& types : {full, halved})
    for (const PixelType from : types)
      for (const PixelType to : types) {
        Image source(12, 5, from), target(12, 5, to), back(12, 5, from);
        if (target.bitDepth < source.bitDepth) continue;
        FillWithNoise(source, dice);
        if (!target.HasMatte())
          for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 12; ++x) {
              Pixel opaque = source(x, y);
              opaque.SetAlpha(static_cast<int>(source.alphaRange));
              source.SetPixel(x, y, opaque);
            }
        ASSERT_TRUE(ConvertToImage(source, target));
        ASSERT_TRUE(ConvertToImage(target, back));
        ExpectSamePixels(back, source);
        if (HasFatalFailure()) FAIL() << from << " to " << to;
      }
}

TEST(YCbCrLayouts, PlanesAndRowsGiveTheSamePicture) {
  Dice dice;
  for (const int width : {1, 2, 7, 12}) {
    Image rows(width, 5, YUVA32), planes(width, 5, YUVAP444), back(width, 5, YUVA32);
    FillWithNoise(rows, dice);
    EXPECT_TRUE(ConvertInterleavedYUVtoPlanar(rows, planes));
    ExpectSamePixels(planes, rows);
    EXPECT_TRUE(ConvertYUVplanarToInterleaved(planes, back));
    ExpectSamePixels(back, rows);
    for (const PixelType target : {RGB24, RGBA64, ARGBSF, L8, L16}) {
      Image fromRows(width, 5, target), fromPlanes(width, 5, target);
      ConvertToImage(rows, fromRows);
      ConvertToImage(planes, fromPlanes);
      ExpectSamePixels(fromPlanes, fromRows);
    }
  }
  Image pairs(6, 4, Y2UV32), half(6, 4, YUVP422), fromPairs(6, 4, RGB24), fromHalf(6, 4, RGB24);
  FillWithNoise(pairs, dice);
  ConvertInterleavedYUVtoPlanar(pairs, half);
  ConvertToImage(pairs, fromPairs);
  ConvertToImage(half, fromHalf);
  ExpectSamePixels(fromHalf, fromPairs);
}

TEST(YCbCrLayouts, PlanesChangeTheirSampling) {
  Image quarter(4, 2, YUVP420), half(4, 2, YUVP422), full(4, 2, YUVP444);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) full.SetRaw(x, y, Video(10 * x + y, x < 2 ? 100 : 200, y == 0 ? 90 : 95));
  EXPECT_TRUE(ConvertPlanarToPlanar(full, quarter));
  EXPECT_EQ(quarter.GetRaw(1, 1), Video(11, 100, 93));
  EXPECT_EQ(quarter.GetRaw(2, 0), Video(20, 200, 93));
  EXPECT_TRUE(ConvertPlanarToPlanar(full, half));
  EXPECT_EQ(half.GetRaw(3, 1), Video(31, 200, 95));
  EXPECT_TRUE(ConvertPlanarToPlanar(quarter, half));  // by way of full chroma: 100, 150, 200, 200
  EXPECT_EQ(half.GetRaw(0, 0), Video(0, 125, 93));
  EXPECT_EQ(half.GetRaw(2, 0), Video(20, 200, 93));
  const Image rows = RowOf(YUVA32, {Video(1, 2, 3)});
  EXPECT_TRUE(ConvertPlanarToPlanar(rows, half));
  EXPECT_EQ(half.GetRaw(2, 0), Video(20, 200, 93));
}

TEST(YCbCrLayouts, ConvertRangeAndStandardOnTheWay) {
  Image rows = RowOf(Y1UV10, {Video((47 + 16) * 4, (86 + 16) * 4, 960), Video(400, 512, 512)});
  Image planes(2, 1, YUVP444);
  planes.SetColourSpace(Rec601);
  planes.yMin = 0;
  EXPECT_TRUE(ConvertInterleavedYUVtoPlanar(rows, planes));
  EXPECT_EQ(planes.space, Rec601);
  EXPECT_NEAR(planes.GetRaw(0, 0).Y(), 0.299 * 235, 1.5);
  EXPECT_NEAR(planes.GetRaw(0, 0).U(), 128 - 224 * 0.299 / 1.772, 1.5);
  EXPECT_EQ(planes.GetRaw(0, 0).V(), 240);
  EXPECT_EQ(planes.GetRaw(1, 0).U(), 128);
}

TEST(YCbCrLayouts, RefuseWhatTheyDoNotHandle) {
  const Image rows = RowOf(YUVA32, {Video(1, 2, 3)}), rgb = RowOf(RGB24, {Pixel(1, 2, 3, 4)});
  Image planes(1, 1, YUVP444), target(1, 1, YUVA32), grey(1, 1, L8);
  CaptureStderr();
  EXPECT_FALSE(ConvertYUVplanarToInterleaved(rows, target));
  EXPECT_FALSE(ConvertYUVplanarToInterleaved(planes, grey));
  EXPECT_EQ(GetCapturedStderr(), "Invalid conversion\nInvalid conversion\n");
  CaptureStderr();
  EXPECT_FALSE(ConvertInterleavedYUVtoPlanar(rgb, planes));
  EXPECT_FALSE(ConvertInterleavedYUVtoPlanar(rows, grey));
  EXPECT_EQ(GetCapturedStderr(), "Invalid conversion\nInvalid conversion\n");
}

TEST(YCbCrLayouts, OfTheSameTypeWithAnotherRangeAreConverted) {
  const Image source = RowOf(YUVA32, {Video(16, 16, 240, 16), Video(235, 128, 128, 235)});
  Image target(2, 1, YUVA32);
  target.yMin = 0;
  target.yMax = 255;
  target.SetRangeA(0, 255);
  EXPECT_TRUE(ConvertToImage(source, target));
  ExpectStored(target, 0, 0, 16, 240, 0);
  ExpectStored(target, 1, 255, 128, 128, 255);
}

}  // namespace
}  // namespace Vorn
