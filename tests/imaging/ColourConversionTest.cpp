#include "imaging/ColourConversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "imaging/PixelTypes.h"

namespace Vorn {
namespace {

PixelARGBSF& FloatAt(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

Image OnePixel(PixelType type, const Pixel& pixel) {
  Image image(1, 1, type);
  image.SetPixel(0, 0, pixel);
  return image;
}

/// The pixel after a conversion.
Pixel Converted(PixelType from, const Pixel& pixel, PixelType to) {
  Image target(1, 1, to);
  EXPECT_TRUE(ConvertToImage(OnePixel(from, pixel), target));
  return target(0, 0);
}

Pixel Deep(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

TEST(ConvertToImage, CopiesTheSameFormatWithItsSize) {
  Image source(3, 2, RGB24), target(9, 9, RGB24);
  FillWith(source, Pixel(1, 2, 3, 4));
  EXPECT_TRUE(ConvertToImage(source, target));
  EXPECT_EQ(target.width, 3);
  EXPECT_EQ(target.height, 2);
  EXPECT_EQ(target(2, 1), Pixel(1, 2, 3, 255));
  EXPECT_TRUE(ConvertToImage(source, source));
  EXPECT_EQ(source(2, 1), Pixel(1, 2, 3, 255));
}

TEST(ConvertToImage, SwapsRedAndBlueWithTheSourcesSize) {
  Image source(3, 2, RGB24), target(9, 9, BGR24), back(1, 1, RGB24);
  FillWith(source, Pixel(1, 2, 3, 4));
  EXPECT_TRUE(ConvertToImage(source, target));
  EXPECT_EQ(target.type, BGR24);
  EXPECT_EQ(target.width, 3);
  EXPECT_EQ(target.rows[1][6], 3);
  EXPECT_EQ(target(2, 1), Pixel(1, 2, 3, 255));
  EXPECT_TRUE(ConvertToImage(target, back));
  EXPECT_EQ(back.type, RGB24);
  EXPECT_EQ(back(2, 1), Pixel(1, 2, 3, 255));
}

TEST(ConvertToImage, ReordersRGBOfOneDepthExactly) {
  for (const PixelType from : {BGRA32, ARGB32, RGBA32})
    for (const PixelType to : {BGRA32, ARGB32, RGBA32})
      EXPECT_EQ(Converted(from, Pixel(1, 2, 3, 4), to), Pixel(1, 2, 3, 4));
  EXPECT_EQ(Converted(RGB24, Pixel(1, 2, 3, 4), ARGB32), Pixel(1, 2, 3, 255));
  EXPECT_EQ(Converted(ARGB64, Pixel(1000, 2, 3, 4), RGBA64), Deep(Pixel(1000, 2, 3, 4), 65535));
  EXPECT_EQ(Converted(RGB48, Pixel(1000, 2, 65535, 4), ARGBSF), Deep(Pixel(1000, 2, 65535, 65535), 65535));
}

TEST(ConvertToImage, ChangesTheDepthOfRGBAsPixelsDo) {
  EXPECT_EQ(Converted(RGB24, Pixel(0, 128, 255, 0), RGB30), Deep(Pixel(0, 513, 1023, 1023), 1023));  // 513.5
  EXPECT_EQ(Converted(RGB30, Pixel(1, 2, 1023, 0), RGB24), Pixel(0, 1, 255, 255));                   // a half goes up
  EXPECT_EQ(Converted(RGBA64, Pixel(65535, 0x80, 0x7F, 0x1234), RGBA32), Pixel(255, 1, 0, 0x12));
}

TEST(ConvertToImage, StretchesYToGrey) {
  EXPECT_EQ(Converted(YUVA32, Pixel(219, 3, 4, 100, Rec709), LA16), Pixel(255, 116));
  EXPECT_EQ(Converted(YUVA32, Pixel(100, 3, 4, 219, Rec709), L8), Pixel(116, 255));
  EXPECT_EQ(Converted(Y1UV10, Pixel(876, 3, 4, 0, Rec709), L16), Deep(Pixel(65535, 65535), 65535));
  EXPECT_EQ(Converted(YUVP420, Pixel(219, 3, 4, 0, Rec709), L10), Deep(Pixel(1023, 1023), 1023));
  EXPECT_EQ(Converted(YUVA32, Pixel(239, 3, 4, 239, Rec709), LA16), Pixel(255, 255));  // above white
  EXPECT_EQ(Converted(YUVA32, Pixel(-16, 3, 4, -16, Rec709), LA16), Pixel(0, 0));
}

TEST(ConvertToImage, WeighsRGBToGreyAndChangesItsDepth) {
  EXPECT_EQ(Converted(RGB24, Pixel(100, 200, 50, 0), L8), Pixel(153, 255));
  EXPECT_EQ(Converted(RGBA32, Pixel(255, 0, 0, 9), LA16), Pixel(76, 9));
  EXPECT_EQ(Converted(RGBA32, Pixel(255, 255, 255, 255), LA32), Deep(Pixel(65535, 65535), 65535));
  EXPECT_EQ(Converted(L16, Pixel(0x1280, 0), L8), Pixel(0x13, 255));
  EXPECT_EQ(Converted(LA16, Pixel(77, 9), L8), Pixel(77, 255));
}

TEST(ConvertToImage, SpreadsGreyOverRGB) {
  EXPECT_EQ(Converted(L8, Pixel(77, 0), RGB24), Pixel(77, 77, 77, 255));
  EXPECT_EQ(Converted(L8, Pixel(77, 0), RGBA32), Pixel(77, 77, 77, 255));  // opaque
  EXPECT_EQ(Converted(LA16, Pixel(77, 9), ARGB32), Pixel(77, 77, 77, 9));
  EXPECT_EQ(Converted(L10, Pixel(1023, 0), RGBA64), Deep(Pixel(65535, 65535, 65535, 65535), 65535));
  EXPECT_EQ(Converted(L16, Pixel(0x1280, 0), RGB24), Pixel(0x13, 0x13, 0x13, 255));
  Image floats(1, 1, ARGBSF);
  ConvertToImage(OnePixel(LA32, Pixel(65535, 0)), floats);
  EXPECT_EQ(FloatAt(floats, 0, 0).g, 1.0F);
  EXPECT_EQ(FloatAt(floats, 0, 0).a, 0.0F);
}

TEST(ConvertToImage, GivesGreyNeutralChroma) {
  Image target(1, 1, YUVA32);
  EXPECT_TRUE(ConvertToImage(OnePixel(L8, Pixel(0, 0)), target));
  EXPECT_EQ(target.GetRaw(0, 0), Pixel(16, 128, 128, 235, Rec709));
  EXPECT_EQ(Converted(LA16, Pixel(128, 100), YUVA32), Pixel(109, 112, 112, 85, Rec709));  // 109.9 and 85.9
  EXPECT_EQ(Converted(L16, Pixel(65535, 0), Y2UV10), Deep(Pixel(876, 448, 448, 876, Rec709), 1023));
  EXPECT_EQ(Converted(L8, Pixel(255, 0), YUVP420), Pixel(219, 112, 112, 219, Rec709));
}

TEST(ConvertToImage, TurnsRGBIntoYCbCr) {
  EXPECT_EQ(Converted(RGBA32, Pixel(255, 0, 0, 100), YUVA32), Pixel(47, 86, 224, 85, Rec709));
  EXPECT_EQ(Converted(RGB24, Pixel(0, 0, 255, 0), Y1UVX32), Deep(Pixel(63, 896, 407, 876, Rec709), 1023));
  EXPECT_EQ(Converted(RGB24, Pixel(255, 0, 0, 0), YUVP444), Pixel(47, 86, 224, 219, Rec709));
}

TEST(ConvertToImage, AveragesTheChromaOfPairsOfRGB) {
  Image source(3, 2, RGB24), pairs(3, 2, Y2UV32), cells(3, 2, YUVP420);
  for (int x = 0; x < 3; ++x) {
    source.SetPixel(x, 0, x == 0 ? Pixel(255, 0, 0, 0) : Pixel(0, 0, 0, 0));  // U 86, V 224 beside neutral 112
    source.SetPixel(x, 1, Pixel(0, 0, 0, 0));
  }
  EXPECT_TRUE(ConvertToImage(source, pairs));
  EXPECT_EQ(pairs(0, 0), Pixel(47, 99, 168, 219, Rec709));
  EXPECT_EQ(pairs(1, 0), Pixel(0, 99, 168, 219, Rec709));
  EXPECT_EQ(pairs(2, 0), Pixel(0, 112, 112, 219, Rec709));
  EXPECT_TRUE(ConvertRGBtoPlanar(source, cells));
  EXPECT_EQ(cells(0, 0), Pixel(47, 106, 140, 219, Rec709));  // 105.5 goes up to neutral
  EXPECT_EQ(cells(1, 1), Pixel(0, 106, 140, 219, Rec709));
}

TEST(ConvertToImage, TurnsYCbCrIntoRGB) {
  EXPECT_EQ(Converted(YUVA32, Pixel(219, 112, 112, 100, Rec709), RGBA32), Pixel(255, 255, 255, 116));
  EXPECT_EQ(Converted(YUV24, Pixel(100, 112, 112, 0, Rec709), RGBA32), Pixel(116, 116, 116, 255));
  EXPECT_EQ(Converted(Y1UV16, Pixel(56064, 28672, 28672, 0, Rec709), ARGBSF),
            Deep(Pixel(65535, 65535, 65535, 65535), 65535));
  Image source(1, 1, YUVA32), target(1, 1, RGB24);
  source.SetColourSpace(Rec601);
  source.SetPixel(0, 0, Pixel(100, 120, 112, 0, Rec601));
  ConvertToImage(source, target);
  EXPECT_EQ(target(0, 0), Pixel(116, 113, 132, 255));
}

TEST(ConvertToImage, BringsChromaToEveryPixelOnTheWayToRGB) {
  // Chroma of 0, 20 and 20 around neutral, taken to the second pixel as 10.
  Image pairs(4, 1, Y2UV32), half(4, 1, YUVP422), expected(4, 1, YUVA32), fromPairs(4, 1, RGB24), fromHalf(4, 1, RGB24),
      fromFull(4, 1, RGB24);
  const int full[] = {112, 122, 132, 132};
  for (int x = 0; x < 4; ++x) {
    pairs.SetPixel(x, 0, Pixel(100, x < 2 ? 112 : 132, 112, 0, Rec709));
    half.SetPixel(x, 0, Pixel(100, x < 2 ? 112 : 132, 112, 0, Rec709));
    expected.SetPixel(x, 0, Pixel(100, full[x], 112, 219, Rec709));
  }
  ConvertToImage(pairs, fromPairs);
  ConvertPlanarToRGB(half, fromHalf);
  ConvertToImage(expected, fromFull);
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(fromPairs(x, 0), fromFull(x, 0)) << x;
    EXPECT_EQ(fromHalf(x, 0), fromFull(x, 0)) << x;
  }
}

TEST(ConvertToImage, LeavesUnknownPairsAlone) {
  const Image source = OnePixel(RGB24, Pixel(1, 2, 3, 4));
  Image reserved = OnePixel(RGBA32, Pixel(5, 6, 7, 8));
  reserved.SetColourSpace(NoSpace);
  EXPECT_TRUE(ConvertToImage(source, reserved));
  EXPECT_EQ(reserved.GetRaw(0, 0), Pixel(5, 6, 7, 8));
  Image empty, target = OnePixel(RGBA32, Pixel(5, 6, 7, 8));
  EXPECT_TRUE(ConvertToImage(source, empty));
  EXPECT_FALSE(empty.valid);
  EXPECT_TRUE(ConvertToImage(empty, target));
  EXPECT_EQ(target.GetRaw(0, 0), Pixel(5, 6, 7, 8));
  EXPECT_TRUE(ConvertToImage(empty, empty));
}

TEST(ConvertToType, MakesAnImageOfTheTypeAndSpace) {
  const Image source = OnePixel(RGB24, Pixel(255, 0, 0, 0));
  Image target(9, 9, L8);
  EXPECT_TRUE(ConvertToType(source, YUVA32, target, Rec601));
  EXPECT_EQ(target.type, YUVA32);
  EXPECT_EQ(target.space, Rec601);
  EXPECT_EQ(target.width, 1);
  EXPECT_EQ(target(0, 0), Pixel(65, 74, 224, 219, Rec601));  // 65.48, 74.2, 224
  EXPECT_TRUE(ConvertToType(source, YUVA32, target = Image(), NoSpace));
  EXPECT_EQ(target.space, Rec709);
}

TEST(ConvertToType, CopiesWhatIsOfTheTypeAndSpace) {
  Image source = OnePixel(YUVA32, Pixel(1, 2, 3, 4, Rec709)), target;
  source.label = "mine";
  EXPECT_TRUE(ConvertToType(source, YUVA32, target, Rec709));
  EXPECT_EQ(target.label, "mine");
  EXPECT_EQ(target(0, 0), source(0, 0));
}

TEST(ConvertToType, ConvertsInPlaceToo) {
  Image image = OnePixel(RGB24, Pixel(255, 255, 255, 0));
  EXPECT_TRUE(ConvertToType(image, L16, image, NoSpace));
  EXPECT_EQ(image(0, 0), Deep(Pixel(65535, 65535), 65535));
}

TEST(ConvertToType, FailsWithoutRoomForThePicture) {
  Image target;
  EXPECT_FALSE(ConvertToType(Image(), RGB24, target, NoSpace));
  EXPECT_FALSE(ConvertToType(OnePixel(L8, Pixel(1, 2)), static_cast<PixelType>(283), target, NoSpace));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(ConvertToType(OnePixel(L8, Pixel(1, 2)), Undefined, target, NoSpace));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: Resizing an image of undefined type\n");
}

TEST(ConvertToLuma, TakesItsTypeFromTheDepth) {
  const struct {
    PixelType from, to;
  } pairs[] = {{RGB24, L8},  {RGB30, L10},  {RGB48, L16}, {ARGBSF, L16}, {YUVA32, L8},  {Y1UV10, L10}, {Y1UV12, L8},
               {Y1UV14, L8}, {Y1UV16, L16}, {LA16, L8},   {LA32, L16},   {YUVP420, L8}, {Y6UVX32, L10}};
  for (const auto& pair : pairs) {
    Image source(5, 3, pair.from), target;
    FillWith(source, source.GenerateWhite());
    EXPECT_TRUE(ConvertToLuma(source, target));
    EXPECT_EQ(target.type, pair.to) << pair.from;
    EXPECT_EQ(target.width, 5);
    EXPECT_EQ(target.height, 3);
    EXPECT_EQ(target(4, 2).Luma(), static_cast<int>(target.maxValue)) << pair.from;
  }
}

TEST(ConvertToLuma, CopiesTheSameType) {
  const Image source = OnePixel(L16, Pixel(1234, 0));
  Image target = OnePixel(L16, Pixel(1, 0));
  EXPECT_TRUE(ConvertToLuma(source, target));
  EXPECT_EQ(target(0, 0).Luma(), 1234);
  EXPECT_TRUE(ConvertToLuma(target, target));
  EXPECT_EQ(target(0, 0).Luma(), 1234);
}

TEST(ConvertToLuma, WeighsFloatsAndClampsTheirSum) {
  Image source(6, 1, ARGBSF), target;
  FloatAt(source, 0, 0) = {0, 1, 1, 1};
  FloatAt(source, 1, 0) = {1, 0.5F, 0.25F, 0.125F};
  FloatAt(source, 2, 0) = {1, 2, 2, 2};
  FloatAt(source, 3, 0) = {1, -1, 0, 0};
  FloatAt(source, 4, 0) = {1, 2, -0.5F, 0};  // 0.598 - 0.2935: only the sum is clamped
  FloatAt(source, 5, 0) = {1, NAN, 0, 0};
  EXPECT_TRUE(ConvertToLuma(source, target));
  EXPECT_EQ(target(0, 0).Luma(), 65535);
  EXPECT_EQ(target(1, 0).Luma(), 20348);  // 0.3105 of 65535 is 20348.6
  EXPECT_EQ(target(2, 0).Luma(), 65535);
  EXPECT_EQ(target(3, 0).Luma(), 0);
  EXPECT_EQ(target(4, 0).Luma(), 19955);  // 0.3045: 19955.4
  EXPECT_EQ(target(5, 0).Luma(), 0);
}

TEST(ConvertToLuma, FailsForAnEmptyPicture) {
  Image target;
  EXPECT_FALSE(ConvertToLuma(Image(), target));
}

// All pairs of formats, against colours that are worked out apart from the code: in double precision, from 0 to 1, by
// the definition of BT.709 and, for the luma of RGB, BT.601.

struct Colour {
  double r, g, b;    // of RGB and of grey
  double y, cb, cr;  // of Y'CbCr, chroma from -0.5 to 0.5
  double luma, alpha;
};

double Share(int code, unsigned range) { return code / static_cast<double>(range); }

Colour ColourOf(const Image& image, const Pixel& p) {
  Colour c{};
  if (IsYCbCrType(image.type)) {
    c.y = c.luma = Share(p.Y(), image.yMax - image.yMin);
    c.cb = Share(p.U(), image.uMax - image.uMin) - 0.5;
    c.cr = Share(p.V(), image.vMax - image.vMin) - 0.5;
    c.r = c.y + 1.5748 * c.cr;
    c.b = c.y + 1.8556 * c.cb;
    c.g = (c.y - 0.2126 * c.r - 0.0722 * c.b) / 0.7152;
    c.alpha = Share(p.A(), image.alphaRange);
  } else {
    const bool grey = IsGreyType(image.type);
    c.r = Share(grey ? p.Luma() : p.R(), image.maxValue);
    c.g = grey ? c.r : Share(p.G(), image.maxValue);
    c.b = grey ? c.r : Share(p.B(), image.maxValue);
    c.luma = 0.299 * c.r + 0.587 * c.g + 0.114 * c.b;
    c.y = 0.2126 * c.r + 0.7152 * c.g + 0.0722 * c.b;
    c.cb = (c.b - c.y) / 1.8556;
    c.cr = (c.r - c.y) / 1.5748;
    c.alpha = Share(p.A(), image.maxValue);
  }
  if (!image.HasMatte()) c.alpha = 1.0;
  return c;
}

double Clamped(double share) { return std::clamp(share, 0.0, 1.0); }

/// Within a code and a half of the target: what it is truncated or rounded by, and dropping bits instead of dividing.
/// Luma of RGB is first a code of the source.
void ExpectColour(const Image& source, const Image& target, int x, int y, const Colour& wanted) {
  const Colour got = ColourOf(target, target(x, y));
  double code = 1.5 / (target.yMax - target.yMin);
  if (IsRGBType(source.type) && IsGreyType(target.type)) code += 1.0 / source.maxValue;
  if (IsGreyType(target.type)) {
    ASSERT_NEAR(got.luma, Clamped(wanted.luma), code);
  } else if (IsYCbCrType(target.type)) {
    ASSERT_NEAR(got.y, Clamped(wanted.y), code);
    ASSERT_NEAR(got.cb, std::clamp(wanted.cb, -0.5, 0.5), code);
    ASSERT_NEAR(got.cr, std::clamp(wanted.cr, -0.5, 0.5), code);
  } else {
    ASSERT_NEAR(got.r, Clamped(wanted.r), code);
    ASSERT_NEAR(got.g, Clamped(wanted.g), code);
    ASSERT_NEAR(got.b, Clamped(wanted.b), code);
  }
  ASSERT_NEAR(got.alpha, target.HasMatte() ? Clamped(wanted.alpha) : 1.0, code);
}

class ConvertEachFormat : public testing::TestWithParam<PixelType> {};

INSTANTIATE_TEST_SUITE_P(From, ConvertEachFormat, testing::ValuesIn(allPixelTypes));

TEST_P(ConvertEachFormat, KeepsEveryColourInEveryOther) {
  Dice dice;
  for (const PixelType to : allPixelTypes)
    for (int turn = 0; turn < 12; ++turn) {
      const int width = 1 + dice.upTo(8), height = 1 + dice.upTo(6);
      Image source(width, height, GetParam()), target(width, height, to);
      Pixel pixel = turn == 0 ? source.GenerateBlack() : turn == 1 ? source.GenerateWhite() : AnyPixel(source, dice);
      FillWith(source, pixel);
      FillWith(target, target.GenerateWhite());
      pixel = source(width - 1, height - 1);  // a plane may have no room for the chroma of a single column
      ASSERT_TRUE(ConvertToImage(source, target));
      const bool hasChroma = to != YUVP420 && to != YUVP422;
      if (!hasChroma && (width < 2 || height < 2)) continue;
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
          ASSERT_NO_FATAL_FAILURE(ExpectColour(source, target, x, y, ColourOf(source, pixel)))
              << GetParam() << " to " << to << " at " << x << ", " << y;
        }
    }
}

TEST_P(ConvertEachFormat, PutsBlackAndWhiteOnTheEndsOfEveryOther) {
  for (const PixelType to : allPixelTypes) {
    Image source(6, 4, GetParam()), target(6, 4, to);
    for (const bool white : {false, true}) {
      FillWith(source, white ? source.GenerateWhite() : source.GenerateBlack());
      ASSERT_TRUE(ConvertToImage(source, target));
      Pixel expected = white ? target.GenerateWhite() : target.GenerateBlack();
      EXPECT_EQ(target(5, 3), expected) << GetParam() << " to " << to << (white ? " white" : " black");
    }
  }
}

TEST_P(ConvertEachFormat, KeepsGreyNeutralInEveryOther) {
  for (const PixelType to : allPixelTypes)
    for (int step = 0; step <= 40; ++step) {
      Image source(4, 2, GetParam()), target(4, 2, to);
      const Pixel white = source.GenerateWhite();
      Pixel grey = white;
      for (int Pixel::*component : {&Pixel::R_, &Pixel::G_, &Pixel::B_, &Pixel::M_, &Pixel::Y_})
        grey.*component = grey.*component * step / 40;
      FillWith(source, grey);
      ASSERT_TRUE(ConvertToImage(source, target));
      const Pixel got = target(1, 1);
      if (IsYCbCrType(to)) {
        ASSERT_EQ(got.U(), static_cast<int>(target.uMax - target.uMin) / 2) << GetParam() << " to " << to;
        ASSERT_EQ(got.V(), static_cast<int>(target.vMax - target.vMin) / 2) << GetParam() << " to " << to;
      } else if (IsRGBType(to)) {
        ASSERT_EQ(got.R(), got.G()) << GetParam() << " to " << to;
        ASSERT_EQ(got.G(), got.B()) << GetParam() << " to " << to;
      }
    }
}

TEST_P(ConvertEachFormat, NeverReadsOutsideOfTheSource) {  // the address sanitizer would tell
  Dice dice;
  Image source(3, 3, GetParam());
  FillWithNoise(source, dice);
  for (const PixelType to : allPixelTypes) {
    if (to == GetParam() || (to == BGR24 && GetParam() == RGB24) || (to == RGB24 && GetParam() == BGR24)) continue;
    Image larger(8, 6, to), smaller(2, 1, to);
    FillWith(larger, larger.GenerateWhite());
    FillWith(smaller, smaller.GenerateWhite());
    ASSERT_TRUE(ConvertToImage(source, larger));
    ASSERT_TRUE(ConvertToImage(source, smaller));
    Pixel black = larger.GenerateBlack();
    if (larger.HasMatte()) black.SetAlpha(0);
    EXPECT_EQ(larger(7, 1), black) << GetParam() << " to " << to;
    EXPECT_EQ(larger(0, 5), black) << GetParam() << " to " << to;
  }
}

TEST_P(ConvertEachFormat, ConvertsFromWrappedMemoryOfTheExactSize) {
  for (const int width : {1, 5, 6, 7}) {
    Image owned(width, 2, GetParam());
    if (owned.planar) return;
    Dice dice;
    FillWithNoise(owned, dice);
    std::vector<unsigned char> bytes(owned.rows[0], owned.rows[0] + owned.GetSize());
    const Image wrapped(width, 2, owned.stride, GetParam(), bytes.data(), false);
    Image fromOwned(width, 2, YUVA64), fromWrapped(width, 2, YUVA64);
    ConvertToImage(owned, fromOwned);
    ConvertToImage(wrapped, fromWrapped);
    if (GetParam() == YUVA64) continue;
    EXPECT_EQ(fromWrapped(width - 1, 1), fromOwned(width - 1, 1));
  }
}

/// There and back through a format of the same kind with as many bits or more.
TEST_P(ConvertEachFormat, ComesBackFromADeeperOneOfItsKind) {
  Dice dice;
  for (const PixelType to : allPixelTypes) {
    Image source(8, 4, GetParam()), target(8, 4, to), back(8, 4, GetParam());
    const bool sameKind = (IsGreyType(to) && IsGreyType(GetParam())) || (IsRGBType(to) && IsRGBType(GetParam()));
    if (!sameKind || target.bitDepth < source.bitDepth) continue;
    FillWithNoise(source, dice);
    if (GetParam() != to && !target.HasMatte())
      for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) {
          Pixel opaque = source(x, y);
          opaque.SetAlpha(static_cast<int>(source.maxValue));
          source.SetPixel(x, y, opaque);
        }
    ConvertToImage(source, target);
    ConvertToImage(target, back);
    // Up, codes are multiplied and truncated; down, bits are dropped with rounding. Between the two, one code at most.
    const int slack = target.bitDepth != source.bitDepth ? 1 : 0;
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 8; ++x)
        for (const auto component : {&Pixel::R, &Pixel::G, &Pixel::B, &Pixel::Luma, &Pixel::A})
          ASSERT_LE(std::abs((back(x, y).*component)() - (source(x, y).*component)()), slack)
              << GetParam() << " through " << to;
  }
}

}  // namespace
}  // namespace Vorn
