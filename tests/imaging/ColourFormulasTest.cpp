// The formulas of imaging/ColourConversion.h for single pixels.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>

#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

struct Normalised {
  float a, b, c;
};

Normalised ToNormYCbCr(float r, float g, float b, ColourSpace space) {
  Normalised n{-9, -9, -9};
  normRGBtoYCbCr(r, g, b, space, n.a, n.b, n.c);
  return n;
}

Normalised ToNormRGB(float y, float cb, float cr, ColourSpace space) {
  Normalised n{-9, -9, -9};
  normYCbCrToRGB(y, cb, cr, space, n.a, n.b, n.c);
  return n;
}

void ExpectNear(const Normalised& got, double a, double b, double c) {
  EXPECT_NEAR(got.a, a, 1e-6);
  EXPECT_NEAR(got.b, b, 1e-6);
  EXPECT_NEAR(got.c, c, 1e-6);
}

const ColourSpace videoSpaces[] = {Rec601, Rec709, SMPTE240M, Rec2020CL, Rec2020};

TEST(NormalisedYCbCr, ThePrimariesGiveTheirWeights) {
  ExpectNear(ToNormYCbCr(1, 0, 0, Rec601), 0.299, -0.299 / 1.772, 0.5);
  ExpectNear(ToNormYCbCr(0, 1, 0, Rec709), 0.7152, -0.7152 / 1.8556, -0.7152 / 1.5748);
  ExpectNear(ToNormYCbCr(0, 0, 1, SMPTE240M), 0.087, 0.5, -0.087 / 1.576);
  ExpectNear(ToNormYCbCr(1, 0, 0, Rec2020), 0.2627, -0.2627 / 1.8814, 0.5);
}

TEST(NormalisedYCbCr, ConstantLuminanceDividesByTheSignOfTheDifference) {
  ExpectNear(ToNormYCbCr(1, 0, 0, Rec2020CL), 0.2627, -0.2627 / 1.9404, 0.7373 / 0.9936);
  ExpectNear(ToNormYCbCr(0, 0, 1, Rec2020CL), 0.0593, 0.9407 / 1.5816, -0.0593 / 1.7184);
}

TEST(NormalisedYCbCr, GreyHasNoChromaInAnySpace) {
  for (const ColourSpace space : videoSpaces)
    for (const float grey : {0.0F, 0.25F, 0.6F, 1.0F}) {
      const Normalised n = ToNormYCbCr(grey, grey, grey, space);
      EXPECT_EQ(n.a, grey) << space;
      EXPECT_EQ(n.b, 0.0F) << space;
      EXPECT_EQ(n.c, 0.0F) << space;
      ExpectNear(ToNormRGB(grey, 0, 0, space), grey, grey, grey);
    }
}

TEST(NormalisedYCbCr, OtherSpacesGiveZeros) {
  for (const int space : {int(NoSpace), int(Mono), int(RGB), 8, -1}) {
    ExpectNear(ToNormYCbCr(0.5F, 0.25F, 1, static_cast<ColourSpace>(space)), 0, 0, 0);
    ExpectNear(ToNormRGB(0.5F, 0.25F, 1, static_cast<ColourSpace>(space)), 0, 0, 0);
  }
}

TEST(NormalisedYCbCr, ComesBackAsTheColourThatItWas) {
  for (const ColourSpace space : {Rec601, Rec709, SMPTE240M, Rec2020})
    for (const Normalised& c : {Normalised{0.1F, 0.7F, 0.3F}, Normalised{1, 0, 0.5F}, Normalised{0.2F, 0.1F, 0.9F}}) {
      const Normalised n = ToNormYCbCr(c.a, c.b, c.c, space);
      ExpectNear(ToNormRGB(n.a, n.b, n.c, space), c.a, c.b, c.c);
    }
}

TEST(NormalisedYCbCr, BlueDriftsWithConstantLuminanceWhereItIsAboveLuma) {
  const Normalised n = ToNormYCbCr(0.2F, 0.1F, 0.9F, Rec2020CL), back = ToNormRGB(n.a, n.b, n.c, Rec2020CL);
  EXPECT_NEAR(back.c, n.a + (0.9 - n.a) * 1.58124 / 1.5816, 1e-6);
  EXPECT_LT(back.c, 0.9F - 1e-4F);
  const Normalised yellow = ToNormYCbCr(0.6F, 0.5F, 0.1F, Rec2020CL);
  ExpectNear(ToNormRGB(yellow.a, yellow.b, yellow.c, Rec2020CL), 0.6, 0.5, 0.1);
}

struct Codes {
  int a, b, c;
  bool operator==(const Codes& o) const { return a == o.a && b == o.b && c == o.c; }
};
void PrintTo(const Codes& c, std::ostream* s) { *s << c.a << ' ' << c.b << ' ' << c.c; }

Codes ToVideo8(int r, int g, int b, ColourSpace space) {
  Codes c{};
  RGBToYCbCr(r, g, b, 255, space, 219, 224, 224, c.a, c.b, c.c);
  return c;
}

Codes FromVideo8(int y, int u, int v, ColourSpace space) {
  Codes c{};
  YCbCrToRGB(y, u, v, 219, 224, 224, space, 255, c.a, c.b, c.c);
  return c;
}

TEST(YCbCrCodes, AreZeroBasedAndRounded) {
  EXPECT_EQ(ToVideo8(0, 0, 0, Rec709), (Codes{0, 112, 112}));
  EXPECT_EQ(ToVideo8(255, 255, 255, Rec709), (Codes{219, 112, 112}));
  // 219 * 0.2126 = 46.56; 112 - 224 * 0.2126 / 1.8556 = 86.34; 112 + 224 / 2
  EXPECT_EQ(ToVideo8(255, 0, 0, Rec709), (Codes{47, 86, 224}));
  // 219 * 0.587 = 128.55; 112 - 224 * 0.587 / 1.772 = 37.80; 112 - 224 * 0.587 / 1.402 = 18.21
  EXPECT_EQ(ToVideo8(0, 255, 0, Rec601), (Codes{129, 38, 18}));
}

TEST(YCbCrCodes, TakeTheirOffsetsFromTheCaller) {
  int y, u, v;
  RGBToYCbCr(1023, 0, 0, 1023, Rec709, 876, 896, 896, 512, 500, y, u, v);
  EXPECT_EQ(y, 186);  // 186.24
  EXPECT_EQ(u, 409);  // 512 - 102.66 = 409.34
  EXPECT_EQ(v, 948);  // 500 + 448
  int r, g, b;
  YCbCrToRGB(y, u, v, 876, 896, 896, 512, 500, Rec709, 1023, r, g, b);
  EXPECT_EQ(r, 1022);  // 186 / 876 + 0.7874 = 0.99973, truncated
  EXPECT_LE(g, 1);
  EXPECT_LE(b, 1);
}

TEST(YCbCrCodes, AreTruncatedAndClampedOnTheWayToRGB) {
  EXPECT_EQ(FromVideo8(0, 112, 112, Rec709), (Codes{0, 0, 0}));
  EXPECT_EQ(FromVideo8(219, 112, 112, Rec709), (Codes{255, 255, 255}));
  EXPECT_EQ(FromVideo8(239, 112, 112, Rec709), (Codes{255, 255, 255}));  // above white
  EXPECT_EQ(FromVideo8(-16, 112, 112, Rec709), (Codes{0, 0, 0}));
  EXPECT_EQ(FromVideo8(100, 112, 112, Rec601), (Codes{116, 116, 116}));  // 116.44
  // 100 / 219 = 0.45662; B + 1.772 / 224 * 8 = 0.06329, 132.57; G - 0.114 / 0.587 * 0.06329 = 0.01229, 113.30
  EXPECT_EQ(FromVideo8(100, 120, 112, Rec601), (Codes{116, 113, 132}));
}

TEST(YCbCrCodes, GreyStaysGreyBothWaysInEverySpace) {
  for (const ColourSpace space : videoSpaces)
    for (int grey = 0; grey <= 255; ++grey) {
      const Codes c = ToVideo8(grey, grey, grey, space);
      ASSERT_EQ(c.b, 112) << space << ' ' << grey;
      ASSERT_EQ(c.c, 112) << space << ' ' << grey;
      const Codes back = FromVideo8(c.a, c.b, c.c, space);
      ASSERT_EQ(back.a, back.b) << space << ' ' << grey;
      ASSERT_EQ(back.b, back.c) << space << ' ' << grey;
      ASSERT_LE(std::abs(back.a - grey), 1) << space << ' ' << grey;
    }
}

TEST(YCbCrCodes, EmptyRangesDoNoHarm) {
  int y = -1, u = -1, v = -1, r = -1, g = -1, b = -1;
  RGBToYCbCr(255, 0, 0, 0, Rec709, 0, 0, 0, y, u, v);
  EXPECT_EQ((Codes{y, u, v}), (Codes{0, 0, 0}));
  YCbCrToRGB(1, 2, 3, 0, 0, 0, Rec709, 0, r, g, b);
  EXPECT_EQ((Codes{r, g, b}), (Codes{0, 0, 0}));
}

Pixel Deep(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

TEST(ToLuma, WeighsColoursAndKeepsAlpha) {
  EXPECT_EQ(ToLuma(Pixel(100, 200, 50, 7), 0), Pixel(153, 7));  // 29.9 + 117.4 + 5.7
  EXPECT_EQ(ToLuma(Pixel(255, 0, 0, 9), 0), Pixel(76, 9));      // 76.245, truncated
  EXPECT_EQ(ToLuma(Pixel(300, 300, 300, 9), 0), Pixel(255, 9));
  EXPECT_EQ(ToLuma(Pixel(-3, -3, -3, 9), 0), Pixel(0, 9));
}

TEST(ToLuma, EveryGreyIsItsOwnLuma) {
  for (const int max : {255, 1023, 65535})
    for (int grey = 0; grey <= max; grey += max / 255)
      ASSERT_EQ(ToLuma(Deep(Pixel(grey, grey, grey, 0), max), 0).Luma(), grey);
}

TEST(ToLuma, StretchesYAndLeavesWhatHasNone) {
  EXPECT_EQ(ToLuma(Pixel(219, 1, 2, 3, Rec709), 219), Pixel(255, 3));
  EXPECT_EQ(ToLuma(Pixel(100, 1, 2, 3, Rec601), 219), Pixel(116, 3));
  EXPECT_EQ(ToLuma(Deep(Pixel(876, 1, 2, 3, Rec709), 1023), 876), Deep(Pixel(1023, 3), 1023));
  EXPECT_EQ(ToLuma(Pixel(5, 6), 219), Pixel(5, 6));
  EXPECT_EQ(ToLuma(Pixel(), 219).space, NoSpace);
}

TEST(ToRGB, CopiesLumaAndConvertsYCbCr) {
  EXPECT_EQ(ToRGB(Deep(Pixel(700, 20), 1023), 1, 2, 3), Deep(Pixel(700, 700, 700, 20), 1023));
  EXPECT_EQ(ToRGB(Pixel(100, 120, 112, 219, Rec601), 219, 224, 224), Pixel(116, 113, 132, 255));
  EXPECT_EQ(ToRGB(Pixel(0, 112, 112, 100, Rec709), 219, 224, 224), Pixel(0, 0, 0, 116));
  EXPECT_EQ(ToRGB(Pixel(1, 2, 3, 4), 219, 224, 224), Pixel(1, 2, 3, 4));
  EXPECT_EQ(ToRGB(Pixel(), 219, 224, 224).space, NoSpace);
}

TEST(ToYCbCr, ConvertsGreyAndRGB) {
  EXPECT_EQ(ToYCbCr(Pixel(255, 0, 0, 255), 219, 224, 224, Rec709), Pixel(47, 86, 224, 219, Rec709));
  EXPECT_EQ(ToYCbCr(Pixel(128, 255), 219, 224, 224, Rec601), Pixel(109, 112, 112, 219, Rec601));  // 109.93
  EXPECT_EQ(ToYCbCr(Deep(Pixel(1023, 1023), 1023), 876, 896, 896, Rec709),
            Deep(Pixel(876, 448, 448, 876, Rec709), 1023));
}

TEST(ToYCbCr, LeavesWhatIsInTheSpace) {
  EXPECT_EQ(ToYCbCr(Pixel(1, 2, 3, 4, SMPTE240M), 219, 224, 224, SMPTE240M), Pixel(1, 2, 3, 4, SMPTE240M));
  EXPECT_EQ(ToYCbCr(Pixel(), 219, 224, 224, Rec709).space, NoSpace);
}

TEST(ToYCbCr, GoesThroughRGBBetweenStandards) {
  // The red of BT.709 is 46.56, 86.34, 224; its codes stand for R 1.0020, G 0.0003, B -0.0004.
  const Pixel red = ToYCbCr(Pixel(47, 86, 224, 200, Rec709), 219, 224, 224, Rec601);
  EXPECT_EQ(red.space, Rec601);
  EXPECT_EQ(red.A(), 200);
  EXPECT_NEAR(red.Y(), 219 * 0.299, 0.7);
  EXPECT_NEAR(red.U(), 112 - 224 * 0.299 / 1.772, 0.7);
  EXPECT_NEAR(red.V(), 224, 0.7);
  for (int grey = 0; grey <= 219; ++grey)
    ASSERT_EQ(ToYCbCr(Pixel(grey, 112, 112, 3, Rec601), 219, 224, 224, Rec2020), Pixel(grey, 112, 112, 3, Rec2020));
}

}  // namespace
}  // namespace Vorn
