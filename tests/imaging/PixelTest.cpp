#include "imaging/Pixel.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace Vorn {
namespace {

TEST(Pixel, IsWithoutASpaceAndOpaqueWhenMadeFromNothing) {
  const Pixel p;
  EXPECT_EQ(p.space, NoSpace);
  EXPECT_EQ(p.maxValue, 255u);
  EXPECT_EQ(p.A(), 255);
  EXPECT_EQ(p.R() | p.G() | p.B() | p.Luma() | p.Y() | p.U() | p.V(), 0);
}

TEST(Pixel, FillsOnlyTheComponentsOfItsSpace) {
  const Pixel grey(7, 9), rgb(1, 2, 3, 4);
  EXPECT_EQ(grey.space, Mono);
  EXPECT_EQ(grey.Luma(), 7);
  EXPECT_EQ(grey.A(), 9);
  EXPECT_EQ(rgb.space, RGB);
  EXPECT_EQ(rgb.R(), 1);
  EXPECT_EQ(rgb.G(), 2);
  EXPECT_EQ(rgb.B(), 3);
  EXPECT_EQ(rgb.A(), 4);
  EXPECT_EQ(rgb.Y() | rgb.U() | rgb.V() | rgb.Luma(), 0);

  const Pixel mono(5, 6, 7, 8, Mono);
  EXPECT_EQ(mono.Luma(), 5);
  EXPECT_EQ(mono.Y() | mono.U() | mono.R() | mono.G(), 0);
  EXPECT_EQ(Pixel(5, 6, 7, 8, RGB).B(), 7);
  for (const ColourSpace space : {Rec601, Rec709, SMPTE240M, Rec2020CL, Rec2020}) {
    const Pixel p(5, 6, 7, 8, space);
    EXPECT_EQ(p.space, space);
    EXPECT_EQ(p.Y(), 5);
    EXPECT_EQ(p.U(), 6);
    EXPECT_EQ(p.V(), 7);
    EXPECT_EQ(p.A(), 8);
    EXPECT_EQ(p.R() | p.Luma(), 0);
  }
  const Pixel none(5, 6, 7, 8, NoSpace);
  EXPECT_EQ(none.A(), 8);
  EXPECT_EQ(none.Luma() | none.R() | none.Y(), 0);
}

TEST(Pixel, TurnsIntoGreyWhenANumberIsAssigned) {
  Pixel p(1, 2, 3, 4);
  p.maxValue = 1023;
  p = 17;
  EXPECT_EQ(p.space, Mono);
  EXPECT_EQ(p.Luma(), 17);
  EXPECT_EQ(p.A(), 255);
  EXPECT_EQ(p.maxValue, 255u);
  EXPECT_EQ(p.R(), 0);
}

TEST(Pixel, EqualityLooksAtSpaceAlphaScaleAndComponents) {
  EXPECT_TRUE(Pixel(1, 2, 3, 4) == Pixel(1, 2, 3, 4));
  EXPECT_FALSE(Pixel() == Pixel());
  EXPECT_TRUE(Pixel() != Pixel());
  EXPECT_FALSE(Pixel(1, 2, 3, 4) == Pixel(1, 2, 3, 5));
  EXPECT_FALSE(Pixel(1, 2, 3, 4) == Pixel(1, 2, 0, 4));
  EXPECT_FALSE(Pixel(1, 2, 3, 4, Rec601) == Pixel(1, 2, 3, 4, Rec709));
  EXPECT_TRUE(Pixel(1, 2, 3, 4, Rec601) == Pixel(1, 2, 3, 4, Rec601));
  EXPECT_TRUE(Pixel(1, 2, 3, 4, Mono) == Pixel(1, 4));
  Pixel deep(1, 2, 3, 4);
  deep.maxValue = 65535;
  EXPECT_FALSE(deep == Pixel(1, 2, 3, 4));
  Pixel strange(1, 2, 3, 4);
  strange.Y_ = 9;  // not a component of RGB
  EXPECT_TRUE(strange == Pixel(1, 2, 3, 4));
}

TEST(Pixel, ScalingTruncatesAndLeavesAlphaAndScaleAlone) {
  Pixel p(10, -7, 255, 100);
  p.maxValue = 1023;
  const Pixel half = p * 0.5, third = p / 3.0;
  EXPECT_EQ(half.R(), 5);
  EXPECT_EQ(half.G(), -3);
  EXPECT_EQ(half.B(), 127);
  EXPECT_EQ(half.A(), 100);
  EXPECT_EQ(half.maxValue, 1023u);
  EXPECT_EQ(third.R(), 3);
  EXPECT_EQ(third.G(), -2);
  EXPECT_EQ(third.B(), 85);
  EXPECT_EQ((Pixel(9, 1, 2, 3, Rec709) * 2.0).Y(), 18);
  EXPECT_EQ((Pixel(9, 1) / 2.0).Luma(), 4);
}

TEST(Pixel, DivisionByZeroStaysWithinInt) {
  const Pixel p = Pixel(1, 0, -1, 4) / 0.0;
  EXPECT_EQ(p.R(), std::numeric_limits<int>::max());
  EXPECT_EQ(p.G(), 0);
  EXPECT_EQ(p.B(), std::numeric_limits<int>::min());
}

TEST(Pixel, SumsAndDifferencesKeepTheLeftAlphaAndScale) {
  Pixel left(10, 20, 30, 40);
  left.maxValue = 1023;
  const Pixel sum = left + Pixel(1, 2, 3, 4), difference = left - Pixel(1, 2, 3, 4);
  EXPECT_EQ(sum.R(), 11);
  EXPECT_EQ(sum.G(), 22);
  EXPECT_EQ(sum.B(), 33);
  EXPECT_EQ(sum.A(), 40);
  EXPECT_EQ(sum.maxValue, 1023u);
  EXPECT_EQ(difference.R(), 9);
  EXPECT_EQ(difference.G(), 18);
  EXPECT_EQ(difference.B(), 27);
  EXPECT_EQ((Pixel(5, 6) + Pixel(7, 8)).Luma(), 12);
  EXPECT_EQ((Pixel(5, 6, 7, 8, Rec709) - Pixel(1, 2, 3, 4, Rec709)).V(), 4);
}

TEST(Pixel, GivesItsComponentsTogether) {
  int a = 0, b = 0, c = 0, d = 0;
  Pixel(1, 2, 3, 4).RGBA(a, b, c, d);
  EXPECT_EQ(a * 1000 + b * 100 + c * 10 + d, 1234);
  Pixel(5, 6, 7, 8, Rec2020).YUVA(a, b, c, d);
  EXPECT_EQ(a * 1000 + b * 100 + c * 10 + d, 5678);
  Pixel(8, 9).MA(a, b);
  EXPECT_EQ(a * 10 + b, 89);
  Pixel p(1, 2);
  p.SetAlpha(77);
  EXPECT_EQ(p.A(), 77);
}

TEST(Pixel, LumaOfAnySpace) {
  EXPECT_EQ(Pixel().GetYL(), 0);
  EXPECT_EQ(Pixel(42, 1).GetYL(), 42);
  EXPECT_EQ(Pixel(42, 1, 2, 3, Rec601).GetYL(), 42);
  EXPECT_EQ(Pixel(100, 50, 200, 0).GetYL(), 82);  // 29.9 + 29.35 + 22.8 = 82.05
  EXPECT_EQ(Pixel(0, 0, 255, 0).GetYL(), 29);     // 29.07
}

TEST(Pixel, AlphaIsNormalisedByScaleOrVideoRange) {
  EXPECT_DOUBLE_EQ(Pixel(0, 51).GetAlphaNorm(), 0.2);
  EXPECT_DOUBLE_EQ(Pixel(0, 0, 0, 255).GetAlphaNorm(), 1.0);
  EXPECT_DOUBLE_EQ(Pixel().GetAlphaNorm(), 1.0);
  const struct {
    unsigned maxValue;
    int low, high;
  } ranges[] = {{255, 16, 235},       {1023, 64, 940},      {4095, 256, 3760},
                {16383, 1024, 15040}, {65535, 4096, 60160}, {511, 16, 235}};
  for (const auto& range : ranges) {
    Pixel low(0, 0, 0, range.low, Rec709), high(0, 0, 0, range.high, Rec2020);
    low.maxValue = high.maxValue = range.maxValue;
    EXPECT_DOUBLE_EQ(low.GetAlphaNorm(), 0.0) << range.maxValue;
    EXPECT_DOUBLE_EQ(high.GetAlphaNorm(), 1.0) << range.maxValue;
  }
}

TEST(Pixel, LosingDepthRoundsByTheBitBelowAndClamps) {
  Pixel p(0x1FD, 0x1FE, 0x200, 1023);  // 127.25, 127.5, 128, 255.75
  p.maxValue = 1023;
  p.ConvertMax(255);
  EXPECT_EQ(p.R(), 127);
  EXPECT_EQ(p.G(), 128);
  EXPECT_EQ(p.B(), 128);
  EXPECT_EQ(p.A(), 255);  // 256 is clamped
  EXPECT_EQ(p.maxValue, 255u);
  Pixel dark(-4, 5, 0, 2);
  dark.maxValue = 1023;
  dark.ConvertMax(255);
  EXPECT_EQ(dark.R(), 0);
  EXPECT_EQ(dark.G(), 1);
  EXPECT_EQ(dark.A(), 1);
}

TEST(Pixel, GainingDepthTruncatesWithoutClamping) {
  Pixel p(51, 510, 255, 255);
  p.ConvertMax(1023);
  EXPECT_EQ(p.R(), 204);  // 0.2 * 1023 = 204.6
  EXPECT_EQ(p.G(), 2046);
  EXPECT_EQ(p.B(), 1023);
  EXPECT_EQ(p.A(), 1023);
  EXPECT_EQ(p.maxValue, 1023u);
  for (int code = 0; code < 256; ++code) {
    Pixel grey(code, 255);
    grey.ConvertMax(65535);
    EXPECT_EQ(grey.Luma(), code * 257);  // 65535 / 255
  }
}

TEST(Pixel, DepthOfAPixelWithoutASpaceStays) {
  Pixel p;
  p.ConvertMax(1023);
  EXPECT_EQ(p.maxValue, 255u);
  EXPECT_EQ(p.A(), 255);
}

TEST(Pixel, DepthsThatDifferByLessThanABitOnlyClamp) {
  Pixel p(250, 190, 3, 200);
  p.maxValue = 254;
  p.ConvertMax(200);
  EXPECT_EQ(p.R(), 200);
  EXPECT_EQ(p.G(), 190);
  EXPECT_EQ(p.maxValue, 200u);
}

TEST(Pixel, SpacesOfTheFormatsAreNarrowerThanTheirImages) {
  const std::set<int> mono = {100, 101, 110, 120, 121};
  const std::set<int> ycbcr = {200, 210, 220, 230, 240, 250, 251, 252, 253, 287, 288, 289, 290};
  const std::set<int> rgb = {400, 401, 410, 411, 412, 421, 431, 442, 1000};
  for (int code = 0; code <= 1010; ++code) {
    ColourSpace expected = NoSpace;
    if (mono.count(code) != 0) expected = Mono;
    if (ycbcr.count(code) != 0) expected = Rec709;
    if (rgb.count(code) != 0) expected = RGB;
    EXPECT_EQ(Pixel::GetSpace(static_cast<PixelType>(code)), expected) << code;
  }
}

TEST(Pixel, ValidifyClampsInPlace) {
  int v = 300;
  EXPECT_EQ(Pixel::validify(v, 0, 255), 255);
  EXPECT_EQ(v, 255);
  v = -3;
  EXPECT_EQ(Pixel::validify(v, 0, 255), 0);
  EXPECT_EQ(v, 0);
  v = 9;
  EXPECT_EQ(Pixel::validify(v, 0, 255), 9);
}

}  // namespace
}  // namespace Vorn
