// Hue, saturation and value, and L*a*b*, of imaging/ColourConversion.h.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

struct HSV {
  float h = -7, s = -7, v = -7;
};

HSV HSVOf(const Pixel& p) {
  HSV c;
  RGBtoHSV(p, c.h, c.s, c.v);
  return c;
}

void ExpectHSV(const Pixel& p, float h, float s, float v) {
  const HSV c = HSVOf(p);
  EXPECT_NEAR(c.h, h, 1e-4);
  EXPECT_NEAR(c.s, s, 1e-6);
  EXPECT_NEAR(c.v, v, 1e-6);
}

Pixel FromHSV(float h, float s, float v, unsigned maxValue = 255) {
  Pixel p(1, 2);
  p.SetAlpha(77);
  p.maxValue = maxValue;
  HSVtoRGB(h, s, v, p);
  return p;
}

Pixel Deep(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

TEST(HSV, OfColoursOnTheCircle) {
  ExpectHSV(Pixel(255, 0, 0, 0), 0, 1, 1);
  ExpectHSV(Pixel(0, 255, 0, 0), 120, 1, 1);
  ExpectHSV(Pixel(0, 0, 255, 0), 240, 1, 1);
  ExpectHSV(Pixel(255, 0, 51, 0), 348, 1, 1);       // 60 * -0.2, plus a turn
  ExpectHSV(Pixel(102, 51, 51, 0), 0, 0.5F, 0.4F);  // half saturated
  ExpectHSV(Deep(Pixel(0, 1023, 0, 0), 1023), 120, 1, 1);
}

TEST(HSV, OfGreyHasNoHue) {
  ExpectHSV(Pixel(0, 0, 0, 0), -1, 0, 0);
  ExpectHSV(Pixel(255, 255, 255, 0), -1, 0, 1);
  ExpectHSV(Pixel(51, 51, 51, 0), -1, 0, 0.2F);
}

TEST(HSV, OfTwoLargestIsThatOfTheLater) {
  ExpectHSV(Pixel(255, 255, 0, 0), 60, 1, 1);   // green's: 60 * (-1 + 2)
  ExpectHSV(Pixel(0, 255, 255, 0), 180, 1, 1);  // blue's: 60 * (-1 + 4)
  ExpectHSV(Pixel(255, 0, 255, 0), 300, 1, 1);  // blue's: 60 * (1 + 4)
}

TEST(HSV, OfNoLightButNegativeOneHasNoSaturation) { EXPECT_EQ(HSVOf(Pixel(0, -10, -10, 0)).s, -1.0F); }

TEST(HSV, GivesTheColourWithTheDepthAndAlphaThatItFinds) {
  EXPECT_EQ(FromHSV(0, 1, 1), Pixel(255, 0, 0, 77));
  EXPECT_EQ(FromHSV(60, 1, 1), Pixel(255, 255, 0, 77));
  EXPECT_EQ(FromHSV(180, 1, 1), Pixel(0, 255, 255, 77));
  EXPECT_EQ(FromHSV(348, 1, 1), Pixel(255, 0, 51, 77));
  EXPECT_EQ(FromHSV(0, 0.5F, 0.4F), Pixel(102, 51, 51, 77));
  EXPECT_EQ(FromHSV(-1, 0, 0.2F), Pixel(51, 51, 51, 77));
  EXPECT_EQ(FromHSV(240, 1, 1, 65535), Deep(Pixel(0, 0, 65535, 77), 65535));
}

TEST(HSV, AnyHueIsAPlaceOnTheCircle) {
  EXPECT_EQ(FromHSV(360, 1, 1), FromHSV(0, 1, 1));
  EXPECT_EQ(FromHSV(-120, 1, 1), FromHSV(240, 1, 1));
  EXPECT_EQ(FromHSV(840, 1, 1), FromHSV(120, 1, 1));
  EXPECT_EQ(FromHSV(std::numeric_limits<float>::quiet_NaN(), 1, 1), FromHSV(0, 1, 1));
  EXPECT_EQ(FromHSV(std::numeric_limits<float>::infinity(), 1, 1), FromHSV(0, 1, 1));
}

TEST(HSV, ComesBackAsTheColourThatItWas) {
  for (int r = 0; r <= 255; r += 15)
    for (int g = 0; g <= 255; g += 15)
      for (int b = 0; b <= 255; b += 5) {
        const HSV c = HSVOf(Pixel(r, g, b, 77));
        ASSERT_EQ(FromHSV(c.h, c.s, c.v), Pixel(r, g, b, 77));
      }
}

struct LAB {
  double l = -7, a = -7, b = -7;
};

LAB LABOf(const Pixel& p) {
  LAB c;
  RGBtoLAB(p, c.l, c.a, c.b);
  return c;
}

TEST(LAB, OfGreyIsItsLightnessAlone) {
  for (const int grey : {0, 1, 2, 3, 60, 128, 255}) {
    const LAB c = LABOf(Pixel(grey, grey, grey, 0));
    const double y = grey / 255.0;  // up to 2 of 255 on the straight part
    EXPECT_NEAR(c.l, grey > 2 ? 116 * std::cbrt(y) - 16 : 903.3 * y, 1e-9) << grey;
    EXPECT_NEAR(c.a, 0, 1e-9);
    EXPECT_NEAR(c.b, 0, 1e-4);  // the last row of the matrix sums to 1.000001
  }
  EXPECT_NEAR(LABOf(Pixel(255, 255, 255, 0)).l, 100, 1e-9);
}

TEST(LAB, OfRedComesFromItsColumnOfTheMatrix) {
  const LAB c = LABOf(Deep(Pixel(1023, 0, 0, 0), 1023));
  EXPECT_NEAR(c.l, 116 * std::cbrt(0.212671) - 16, 1e-9);
  EXPECT_NEAR(c.a, 500 * (std::cbrt(0.433953) - std::cbrt(0.212671)), 1e-9);
  EXPECT_NEAR(c.b, 200 * (std::cbrt(0.212671) - std::cbrt(0.017758)), 1e-9);
}

TEST(LAB, OfDarkColoursLiesOnTheLine) {
  const LAB c = LABOf(Pixel(0, 0, 5, 0));
  const double share = 5 / 255.0;
  EXPECT_NEAR(c.l, 903.3 * 0.072169 * share, 1e-9);
  EXPECT_NEAR(c.a, 500 * 7.787 * (0.189828 - 0.072169) * share, 1e-9);
  EXPECT_NEAR(c.b, 200 * (7.787 * 0.072169 * share + 0.13793103 - std::cbrt(0.872766 * share)), 1e-9);
}

TEST(LAB, ComesBackAsTheColourThatItWas) {
  for (int r = 0; r <= 255; r += 15)
    for (int g = 0; g <= 255; g += 17)
      for (int b = 0; b <= 255; b += 5) {
        const LAB c = LABOf(Pixel(r, g, b, 0));
        Pixel p(0, 9);
        LABtoRGB(c.l, c.a, c.b, p);
        ASSERT_EQ(p, Pixel(r, g, b, 9));
      }
}

TEST(LAB, BeyondTheColoursThatThereAreIsClamped) {
  Pixel p(0, 9);
  LABtoRGB(200, 0, 0, p);
  EXPECT_EQ(p, Pixel(255, 255, 255, 9));
  LABtoRGB(-50, 0, 0, p);
  EXPECT_EQ(p, Pixel(0, 0, 0, 9));
}

}  // namespace
}  // namespace Vorn
