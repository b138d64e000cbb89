#include "imaging/FormulaRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

constexpr ColourSpace spaces[] = {NoSpace, Rec601, Rec709, SMPTE240M, Rec2020CL, Rec2020};
constexpr YCbCrSpans spanTable[] = {{219, 224, 224}, {255, 255, 255}, {876, 896, 896}, {56064, 57344, 57344},
                                    {2, 1, 3},       {0, 224, 224},   {219, 0, 0},     {65536, 70000, 224}};

/// Codes that a picture of these depths may hold, beyond the nominal ranges too.
PixelRow RandomRow(int most) {
  std::mt19937 random(7);
  const auto code = [&] { return static_cast<int>(random() % (2U * static_cast<unsigned>(most) + 1)) - most / 2; };
  PixelRow row(997);
  for (PixelCodes& codes : row) codes = {code(), code(), code(), code()};
  row[0] = {0, 0, 0, 0};
  row[1] = {most, most, most, most};
  return row;
}

TEST(FormulaRows, RowsToRGBAreThePixelsFormulas) {
  for (const ColourSpace space : spaces)
    for (const YCbCrSpans& spans : spanTable)
      for (const unsigned max : {255U, 1023U, 65535U}) {
        const PixelRow before = RandomRow(static_cast<int>(std::min(std::max(spans.y, 255U), 65535U)));
        PixelRow row = before;
        RowToRGB(spans, space, max, row);
        for (size_t x = 0; x < row.size(); ++x) {
          int r, g, b;
          YCbCrToRGB(before[x][0], before[x][1], before[x][2], spans.y, spans.u, spans.v, space, max, r, g, b);
          ASSERT_EQ(row[x], (PixelCodes{r, g, b, before[x][3]})) << space << ' ' << spans.y << ' ' << max << ' ' << x;
        }
      }
}

TEST(FormulaRows, RowsToYCbCrAreThePixelsFormulasHeldToTheSpans) {
  for (const ColourSpace space : spaces)
    for (const YCbCrSpans& spans : spanTable)
      for (const unsigned max : {255U, 1023U, 65535U}) {
        const PixelRow before = RandomRow(static_cast<int>(max));
        PixelRow row = before;
        RowToYCbCr(max, spans, space, row);
        for (size_t x = 0; x < row.size(); ++x) {
          int y, u, v;
          RGBToYCbCr(before[x][0], before[x][1], before[x][2], max, space, spans.y, spans.u, spans.v, y, u, v);
          const PixelCodes expected{std::clamp(y, 0, static_cast<int>(spans.y)),
                                    std::clamp(u, 0, static_cast<int>(spans.u)),
                                    std::clamp(v, 0, static_cast<int>(spans.v)), before[x][3]};
          ASSERT_EQ(row[x], expected) << space << ' ' << spans.y << ' ' << max << ' ' << x;
        }
      }
}

TEST(FormulaRows, RowsToAnotherSpaceAreThePixelsFormulasHeldToTheBounds) {
  const CodeBounds bounds{{0, -16, 3, 1}, {240, 300, 200, 250}};
  for (const ColourSpace from : spaces)
    for (const ColourSpace to : spaces)
      for (const YCbCrSpans& spans : spanTable) {
        if (from == NoSpace || to == NoSpace) continue;
        const PixelRow before = RandomRow(static_cast<int>(std::min(std::max(spans.y, 255U), 65535U)));
        PixelRow row = before;
        RowToSpace(spans, from, to, bounds, row);
        for (size_t x = 0; x < row.size(); ++x) {
          const PixelCodes& c = before[x];
          const Pixel p = ToYCbCr(Pixel(c[0], c[1], c[2], c[3], from), spans.y, spans.u, spans.v, to);
          PixelCodes expected{p.Y(), p.U(), p.V(), p.A()};
          for (size_t i = 0; i < 4; ++i) expected[i] = std::clamp(expected[i], bounds.least[i], bounds.most[i]);
          ASSERT_EQ(row[x], expected) << from << ' ' << to << ' ' << spans.y << ' ' << x;
        }
      }
}

TEST(FormulaRows, AlphaIsScaledAndHeldToWhatThereIs) {
  PixelRow row = {{1, 2, 3, 219}, {1, 2, 3, 219}, {1, 2, 3, 0}, {1, 2, 3, 110}, {1, 2, 3, -5}, {1, 2, 3, 400}};
  ScaleAlpha(219, 255, 255, row);
  const int expected[] = {255, 255, 0, 128, 0, 255};  // 110 * 255 / 219 = 128.08
  for (size_t x = 0; x < row.size(); ++x) EXPECT_EQ(row[x], (PixelCodes{1, 2, 3, expected[x]})) << x;
}

TEST(FormulaRows, LumaOfGreysIsTheGrey) {
  for (const unsigned max : {255U, 65535U})
    for (int grey = 0; grey <= static_cast<int>(max); ++grey) ASSERT_EQ(LumaCode(grey, grey, grey, max), grey);
  EXPECT_EQ(LumaCode(255, 0, 0, 255), 76);
  EXPECT_EQ(LumaCode(0, 255, 0, 255), 149);
  EXPECT_EQ(LumaCode(0, 0, 255, 255), 29);
}

TEST(DepthScale, GivesEveryCodeAsThePixelDoesWhateverThePicturesSize) {
  for (const unsigned from : {255U, 1023U, 65535U})
    for (const unsigned to : {255U, 1023U, 4095U, 65535U}) {
      const DepthScale small(from, to, 1), large(from, to, 2000000);
      for (int code = -3; code <= static_cast<int>(from) + 3; ++code) {
        Pixel pixel(code, 0);
        pixel.maxValue = from;
        pixel.ConvertMax(to);
        ASSERT_EQ(small(code), pixel.Luma()) << from << ' ' << to;
        ASSERT_EQ(large(code), pixel.Luma()) << from << ' ' << to;
      }
    }
}

TEST(CodeArithmetic, ProductsBeyond32BitsAreScaledExactly) {
  EXPECT_EQ(ScaleCode(65535, 65535, 65535), 65535);
  EXPECT_EQ(ScaleCode(65535, 255, 65535), 16842495);
  EXPECT_EQ(ScaleCode(65536, 65536, 65536), 65536);
  EXPECT_EQ(ScaleCode(-219, 219, 255), -255);
  EXPECT_EQ(ScaleCode(100, 219, 255), 116);
}

TEST(CodeArithmetic, MeansOfAnyCountRoundTowardTheNeutralCode) {
  for (const int count : {1, 2, 3, 4, 6})
    for (int sum = -9 * count; sum <= 9 * count; ++sum)
      for (const int neutral : {-4, 0, 3}) {
        int expected = -100;  // the whole number nearest to the mean on the side of the neutral code
        for (int code = -20; code <= 20; ++code) {
          const bool within = std::abs(code * count - sum) < count;
          const bool nearer = std::abs(code - neutral) * count <= std::abs(sum - neutral * count);
          if (within && nearer && (expected == -100 || code * count == sum)) expected = code;
        }
        ASSERT_EQ(MeanTowardNeutral(sum, count, neutral), expected) << sum << '/' << count << ' ' << neutral;
      }
}

}  // namespace
}  // namespace Vorn
