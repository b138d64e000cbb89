#include "rendering/FastWarper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "imaging/ImageInterpolator.h"
#include "numerics/Parallel.h"
#include "rendering/WarpImage.h"

namespace Vorn {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

Matrix Homography(const std::vector<double>& values) {
  Matrix m(3, 3);
  m = values;
  return m;
}

Matrix Shift(double x, double y) { return Homography({1, 0, x, 0, 1, y, 0, 0, 1}); }

/// Turns, scales and tilts: no sample falls on a pixel, some fall outside, and the sample's w varies.
Matrix Tilt() { return Homography({0.93, -0.11, 7.3, 0.08, 1.04, -5.6, 1e-4, -2e-4, 1}); }

unsigned NextRandom() {
  static unsigned state = 1;
  state = state * 1664525u + 1013904223u;
  return state >> 8;
}

const PixelARGBSF& At(const Image& image, int x, int y) {
  return reinterpret_cast<const PixelARGBSF*>(image.rows[y])[x];
}
PixelARGBSF& At(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

int Coverage(const Image& matte, int x, int y) { return matte.GetRaw(x, y).Luma(); }

Image FilledFrame(int width, int height, const PixelARGBSF& value) {
  Image image(width, height, ARGBSF);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) At(image, x, y) = value;
  return image;
}

/// Colours and alpha at random from 0 to 1.
Image NoiseFrame(int width, int height) {
  Image image(width, height, ARGBSF);
  const auto random = [] { return static_cast<float>(NextRandom()) / 16777216.0f; };
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) At(image, x, y) = {random(), random(), random(), random()};
  return image;
}

Image OpaqueNoiseFrame(int width, int height) {
  Image image = NoiseFrame(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) At(image, x, y).a = 1.0f;
  return image;
}

void ExpectSameBytes(const Image& a, const Image& b) {
  ASSERT_EQ(a.width, b.width);
  ASSERT_EQ(a.height, b.height);
  for (int y = 0; y < a.height; ++y)
    ASSERT_EQ(std::memcmp(a.rows[y], b.rows[y], static_cast<std::size_t>(a.width) * a.pixelBytes), 0) << "row " << y;
}

class FastWarperTest : public testing::Test {
 protected:
  FastWarperTest() { SetProcessorCount(1); }
  ~FastWarperTest() override { SetProcessorCount(0); }

  void setOrigins(int x, int y) {
    warper.sourceOriginX = warper.targetOriginX = x;
    warper.sourceOriginY = warper.targetOriginY = y;
  }

  FastWarper warper;
  Image matte;
};

using FastWarperARGBSF = FastWarperTest;

TEST_F(FastWarperARGBSF, TheIdentityReproducesTheSourceWithFullCoverageToTheLastRowAndColumn) {
  const Image source = OpaqueNoiseFrame(37, 12);
  Image target = FilledFrame(37, 12, {9, 9, 9, 9});
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  ExpectSameBytes(target, source);
  EXPECT_EQ(matte.type, L16);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 37; ++x) ASSERT_EQ(Coverage(matte, x, y), 65535) << x << ", " << y;
}

TEST_F(FastWarperARGBSF, HalfAPixelToTheRightAveragesNeighboursAndHalvesTheFirstColumn) {
  const Image source = OpaqueNoiseFrame(9, 4);
  Image target(9, 4, ARGBSF);
  warper.Project(source, target, matte, Shift(0.5, 0));
  for (int y = 0; y < 4; ++y) {
    EXPECT_EQ(At(target, 0, y).r, 0.5f * At(source, 0, y).r);
    EXPECT_EQ(At(target, 0, y).a, 0.5f);
    EXPECT_EQ(Coverage(matte, 0, y), 32767);  // 32767.5, truncated
    for (int x = 1; x < 9; ++x) {
      EXPECT_FLOAT_EQ(At(target, x, y).g, 0.5f * (At(source, x - 1, y).g + At(source, x, y).g));
      EXPECT_FLOAT_EQ(At(target, x, y).b, 0.5f * (At(source, x - 1, y).b + At(source, x, y).b));
      EXPECT_EQ(Coverage(matte, x, y), 65535);
    }
  }
}

TEST_F(FastWarperARGBSF, AQuarterPixelUpWeighsTheRowBelowByAQuarterAndFadesAtTheLastRow) {
  const Image source = OpaqueNoiseFrame(3, 5);
  Image target(3, 5, ARGBSF);
  warper.Project(source, target, matte, Shift(0, -0.25));
  for (int x = 0; x < 3; ++x) {
    for (int y = 0; y < 4; ++y)
      EXPECT_FLOAT_EQ(At(target, x, y).r, 0.75f * At(source, x, y).r + 0.25f * At(source, x, y + 1).r);
    EXPECT_EQ(At(target, x, 4).r, 0.75f * At(source, x, 4).r);
    EXPECT_EQ(Coverage(matte, x, 4), 49151);  // 0.75 of 65535 is 49151.25
  }
}

TEST_F(FastWarperARGBSF, CoverageInsideIsExactlyFullAtAnyPhase) {
  const Image source = FilledFrame(300, 20, {1, 1, 1, 1});
  Image target(300, 20, ARGBSF);
  for (int step = 1; step < 50; ++step) {
    warper.Project(source, target, matte, Shift(-step / 97.0, -step / 89.0));
    for (int y = 0; y < 19; ++y)
      for (int x = 0; x < 299; ++x) ASSERT_EQ(Coverage(matte, x, y), 65535) << step << ": " << x << ", " << y;
  }
}

TEST_F(FastWarperARGBSF, SamplesOutsideAreZeroWithoutCoverage) {
  const Image source = FilledFrame(8, 8, {1, 1, 1, 1});
  Image target = FilledFrame(8, 8, {9, 9, 9, 9});
  for (const bool lanczos : {false, true}) {
    warper.highQuality = lanczos;
    for (const auto& [x, y] : std::vector<std::pair<double, double>>{{-12, 0}, {12, 0}, {0, 12}, {0, -12}, {1e9, 0}}) {
      warper.Project(source, target, matte, Shift(x, y));
      for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(At(target, i, i).a, 0.0f);
        EXPECT_EQ(At(target, i, i).r, 0.0f);
        EXPECT_EQ(Coverage(matte, i, i), 0);
      }
    }
  }
}

TEST_F(FastWarperARGBSF, TheMatrixIsForwardAndActsAboutTheOrigins) {
  Image source = FilledFrame(21, 21, {1, 0, 0, 0});
  At(source, 12, 7).r = 1.0f;
  Image target(21, 21, ARGBSF);
  setOrigins(10, 10);
  warper.Project(source, target, matte, Homography({2, 0, 0, 0, 2, 0, 0, 0, 1}));
  EXPECT_EQ(At(target, 14, 4).r, 1.0f);  // (2, -3) from the origin, doubled
  EXPECT_EQ(At(target, 13, 4).r, 0.5f);
  EXPECT_EQ(At(target, 12, 4).r, 0.0f);
}

TEST_F(FastWarperARGBSF, TheOriginsOfSourceAndTargetAreApart) {
  Image source = FilledFrame(12, 12, {1, 0, 0, 0});
  At(source, 5, 3).g = 1.0f;
  Image target(12, 12, ARGBSF);
  warper.sourceOriginX = 4;
  warper.sourceOriginY = 1;
  warper.targetOriginX = 7;
  warper.targetOriginY = 6;
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  EXPECT_EQ(At(target, 8, 8).g, 1.0f);
}

TEST_F(FastWarperARGBSF, AlphaScalesToTheMatteTruncatedAndClamped) {
  Image source(6, 1, ARGBSF), target(6, 1, ARGBSF);
  const float alphas[6] = {0.5f, 2.0f, -1.0f, nan, 0.99999f, 0.25f};
  for (int x = 0; x < 6; ++x) At(source, x, 0) = {alphas[x], 3.0f, -4.0f, 0.5f};
  // Far apart, so that what is no number stays in its own column.
  Image spread = FilledFrame(18, 1, {0, 0, 0, 0});
  for (int x = 0; x < 6; ++x) At(spread, 3 * x + 1, 0) = At(source, x, 0);
  warper.Project(spread, target, matte, Homography({1.0 / 3, 0, -1.0 / 3, 0, 1, 0, 0, 0, 1}));
  EXPECT_EQ(Coverage(matte, 0, 0), 32767);
  EXPECT_EQ(Coverage(matte, 1, 0), 65535);
  EXPECT_EQ(Coverage(matte, 2, 0), 0);
  EXPECT_EQ(Coverage(matte, 3, 0), 0);
  EXPECT_EQ(Coverage(matte, 4, 0), 65534);
  EXPECT_EQ(At(target, 0, 0).r, 3.0f);  // colours aren't clamped
  EXPECT_EQ(At(target, 0, 0).g, -4.0f);
}

/// The sample of one output pixel with tests for every neighbour, all in single precision.
PixelARGBSF PlainBilinear(const Image& source, const float* m, float originX, float originY, float dx, float dy) {
  const float w = m[6] * dx + (m[7] * dy + m[8]);
  const float x = originX + (m[0] * dx + m[1] * dy + m[2]) / w, y = originY + (m[3] * dx + m[4] * dy + m[5]) / w;
  const float x0 = std::floor(x), y0 = std::floor(y), fx = x - x0, fy = y - y0;
  const auto pixel = [&](float column, float row) -> PixelARGBSF {
    if (!(column >= 0 && column < static_cast<float>(source.width) && row >= 0 &&
          row < static_cast<float>(source.height)))
      return {0, 0, 0, 0};
    return At(source, static_cast<int>(column), static_cast<int>(row));
  };
  const PixelARGBSF a = pixel(x0, y0), b = pixel(x0 + 1, y0), c = pixel(x0, y0 + 1), d = pixel(x0 + 1, y0 + 1);
  const auto blend = [](float p, float q, float share) { return p * (1 - share) + q * share; };
  const auto lane = [&](float PixelARGBSF::*l) { return blend(blend(a.*l, b.*l, fx), blend(c.*l, d.*l, fx), fy); };
  return {lane(&PixelARGBSF::a), lane(&PixelARGBSF::r), lane(&PixelARGBSF::g), lane(&PixelARGBSF::b)};
}

TEST_F(FastWarperARGBSF, TheFastRunsGiveTheBitsOfThePlainFormula) {
  const Image source = NoiseFrame(700, 90);  // wider than what is located at a time
  Image target(690, 90, ARGBSF);
  setOrigins(350, 45);
  for (const Matrix& forward : {Tilt(), Shift(0.37, -1.62), Homography({1.3, 0, 0, 0, 1.3, 0, 0, 0, 1})}) {
    warper.Project(source, target, matte, forward);
    Matrix inverse = forward;
    ASSERT_TRUE(inverse.Inverse());
    float m[9];
    for (int i = 0; i < 9; ++i) m[i] = static_cast<float>(inverse.data[i]);
    for (int y = 0; y < target.height; ++y)
      for (int x = 0; x < target.width; ++x) {
        const PixelARGBSF expected =
            PlainBilinear(source, m, 350, 45, static_cast<float>(x - 350), static_cast<float>(y - 45));
        const PixelARGBSF& got = At(target, x, y);
        ASSERT_TRUE(got.a == expected.a && got.r == expected.r && got.g == expected.g && got.b == expected.b)
            << x << ", " << y;
        ASSERT_EQ(Coverage(matte, x, y), static_cast<int>(expected.a * 65535.0f)) << x << ", " << y;
      }
  }
}

TEST_F(FastWarperARGBSF, DamagedMatricesGiveAnEmptyPicture) {
  const Image source = FilledFrame(20, 6, {1, 1, 1, 1});
  Image target(20, 6, ARGBSF);
  for (const bool lanczos : {false, true}) {
    warper.highQuality = lanczos;
    const WarpMember member = lanczos ? &FastWarper::projectLanczos3_ARGBSF : &FastWarper::projectBilinear_ARGBSF;
    matte.Resize(20, 6, L16);
    for (const Matrix& inverse :
         {Homography({nan, 0, 0, 0, 1, 0, 0, 0, 1}), Homography({1, 0, inf, 0, 1, 0, 0, 0, 1}),
          Homography({1, 0, 5, 0, 1, -inf, 0, 0, 1}), Homography({1, 0, 1, 0, 1, 1, 0, 0, 0}),
          Homography({1, 0, 0, 0, 1, 1e300, 0, 0, 1}), Homography({1, 0, 0, 0, 1, 0, 0, 0, nan})}) {
      target = FilledFrame(20, 6, {9, 9, 9, 9});
      (warper.*member)(source, target, matte, inverse, 0, 5);
      for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 20; ++x) {
          ASSERT_EQ(At(target, x, y).r, 0.0f);
          ASSERT_EQ(Coverage(matte, x, y), 0);
        }
    }
  }
}

TEST_F(FastWarperARGBSF, AMatrixThatIsNotThreeByThreeCountsAsTheIdentity) {
  const Image source = NoiseFrame(5, 5);
  Image target(5, 5, ARGBSF);
  warper.Project(source, target, matte, Matrix(2, 2));
  ExpectSameBytes(target, source);
}

TEST_F(FastWarperARGBSF, PaddedRowsOfTheHostAreLeftAloneBehindThePicture) {
  const Image source = OpaqueNoiseFrame(7, 5);
  std::vector<unsigned char> memory(5 * 160, 0xEE);
  Image target(7, 5, 160, ARGBSF, memory.data(), false);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  for (int y = 0; y < 5; ++y) {
    EXPECT_EQ(std::memcmp(&memory[static_cast<std::size_t>(y) * 160], source.rows[y], 7 * 16), 0);
    for (int i = 7 * 16; i < 160; ++i) ASSERT_EQ(memory[static_cast<std::size_t>(y) * 160 + i], 0xEE);
  }
}

TEST_F(FastWarperARGBSF, ADestinationWithTooShortRowsIsLeftAlone) {
  const Image source = OpaqueNoiseFrame(7, 5);
  Image target(7, 5, L8);
  target.Clear();
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  EXPECT_EQ(target.GetRaw(3, 3).Luma(), 0);
  EXPECT_EQ(Coverage(matte, 3, 3), 0);
  Image none;
  warper.Project(source, none, matte, Matrix::GetIdentity(3));
  warper.Project(none, target, matte, Matrix::GetIdentity(3));
}

TEST_F(FastWarperARGBSF, TheMatteIsUsedAgain) {
  const Image source = OpaqueNoiseFrame(30, 20);
  Image target(30, 20, ARGBSF);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  const unsigned char* const memory = matte.rows[0];
  warper.Project(source, target, matte, Shift(40, 0));
  EXPECT_EQ(matte.rows[0], memory);
  EXPECT_EQ(Coverage(matte, 5, 5), 0);
}

TEST_F(FastWarperARGBSF, AnyProcessorCountThatDividesTheRowsGivesTheSameBytes) {
  const Image source = NoiseFrame(300, 60);
  Image one(300, 60, ARGBSF), many(300, 60, ARGBSF), matteOfOne;
  for (const bool lanczos : {false, true}) {
    warper.highQuality = lanczos;
    SetProcessorCount(1);
    warper.Project(source, one, matteOfOne, Tilt());
    for (const int processors : {2, 3, 4, 60}) {
      SetProcessorCount(processors);
      many.Clear();
      warper.Project(source, many, matte, Tilt());
      ExpectSameBytes(many, one);
      ExpectSameBytes(matte, matteOfOne);
    }
  }
}

TEST_F(FastWarperARGBSF, RowsThatTheDivisionLeavesOverAreNotDrawn) {
  const Image source = FilledFrame(4, 20, {1, 1, 1, 1});
  Image target = FilledFrame(4, 20, {9, 9, 9, 9});
  SetProcessorCount(7);  // stripes of 2 rows; the last one has row 14 too
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  for (int y = 0; y < 20; ++y) {
    EXPECT_EQ(At(target, 2, y).r, y <= 14 ? 1.0f : 9.0f) << y;
    EXPECT_EQ(Coverage(matte, 2, y), y <= 14 ? 65535 : 0) << y;
  }
}

TEST_F(FastWarperARGBSF, StripesAreCutFromTheSourceEvenIfTheDestinationIsTaller) {
  const Image source = FilledFrame(4, 6, {1, 1, 1, 1});
  Image target = FilledFrame(4, 30, {9, 9, 9, 9});
  SetProcessorCount(2);
  warper.Project(source, target, matte, Homography({1, 0, 0, 0, 10, 0, 0, 0, 1}));
  for (int y = 0; y < 30; ++y) EXPECT_EQ(At(target, 2, y).r, y <= 6 ? 1.0f : 9.0f) << y;
}

TEST_F(FastWarperARGBSF, WithMoreProcessorsThanRowsOnlyTheFirstRowIsDrawn) {
  const Image source = FilledFrame(4, 3, {1, 1, 1, 1});
  Image target = FilledFrame(4, 3, {9, 9, 9, 9});
  SetProcessorCount(4);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  for (int y = 0; y < 3; ++y) {
    EXPECT_EQ(At(target, 1, y).r, y == 0 ? 1.0f : 9.0f);
    EXPECT_EQ(Coverage(matte, 1, y), y == 0 ? 65535 : 0);
  }
}

class FastWarperLanczosARGBSF : public FastWarperTest {
 protected:
  FastWarperLanczosARGBSF() { warper.highQuality = true; }
};

/// The 36 samples by hand, in single precision.
PixelARGBSF PlainLanczos(const Image& source, float x, float y) {
  float kernelX[6], kernelY[6];
  getLanczosKernel(x, kernelX);
  getLanczosKernel(y, kernelY);
  const int x0 = static_cast<int>(std::floor(x)), y0 = static_cast<int>(std::floor(y));
  PixelARGBSF sum = {0, 0, 0, 0};
  for (int j = 0; j < 6; ++j)
    for (int i = 0; i < 6; ++i) {
      const int column = x0 - 2 + i, row = y0 - 2 + j;
      if (column < 0 || row < 0 || column >= source.width || row >= source.height) continue;
      const float weight = kernelX[i] * kernelY[j];
      const PixelARGBSF& p = At(source, column, row);
      sum.a += weight * p.a;
      sum.r += weight * p.r;
      sum.g += weight * p.g;
      sum.b += weight * p.b;
    }
  return sum;
}

TEST_F(FastWarperLanczosARGBSF, EachPixelIsTheSumOfItsThirtySixSamples) {
  const Image source = NoiseFrame(300, 40);
  Image target(300, 40, ARGBSF);
  setOrigins(150, 20);
  warper.Project(source, target, matte, Tilt());
  Matrix inverse = Tilt();
  ASSERT_TRUE(inverse.Inverse());
  float m[9];
  for (int i = 0; i < 9; ++i) m[i] = static_cast<float>(inverse.data[i]);
  for (int y = 0; y < 40; ++y)
    for (int x = 0; x < 300; ++x) {
      const auto dx = static_cast<float>(x - 150), dy = static_cast<float>(y - 20);
      const double w = m[6] * dx + (m[7] * dy + m[8]), u = m[0] * dx + m[1] * dy + m[2],
                   v = m[3] * dx + m[4] * dy + m[5];
      const PixelARGBSF expected =
          PlainLanczos(source, static_cast<float>(150 + u / w), static_cast<float>(20 + v / w));
      const PixelARGBSF& got = At(target, x, y);
      ASSERT_TRUE(got.a == expected.a && got.r == expected.r && got.g == expected.g && got.b == expected.b)
          << x << ", " << y;
      ASSERT_EQ(Coverage(matte, x, y), static_cast<int>(std::clamp(expected.a * 65535.0f, 0.0f, 65535.0f)));
    }
}

TEST_F(FastWarperLanczosARGBSF, TheIdentityReproducesTheSourceAsCloselyAsTheTableDoes) {
  const Image source = NoiseFrame(20, 20);
  Image target(20, 20, ARGBSF);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  for (int y = 3; y < 16; ++y)
    for (int x = 3; x < 16; ++x) EXPECT_NEAR(At(target, x, y).r, At(source, x, y).r, 0.01);  // 0.3% a sample and axis
}

TEST_F(FastWarperLanczosARGBSF, APlainAreaStaysPlainInsideAndFadesWithinThreePixelsOfTheEdge) {
  const Image source = FilledFrame(30, 30, {1, 0.4f, 0.4f, 0.4f});
  Image target(30, 30, ARGBSF);
  warper.Project(source, target, matte, Shift(0.5, 0.5));
  for (int y = 3; y < 28; ++y)
    for (int x = 3; x < 28; ++x) {
      ASSERT_NEAR(At(target, x, y).r, 0.4f, 1e-6);  // the weights sum to 1 within rounding
      ASSERT_GE(Coverage(matte, x, y), 65534);
    }
  // In between columns -1 and 0 the lobes' halves are equal, so that half of the kernel is on the image.
  EXPECT_NEAR(At(target, 0, 15).a, 0.5, 1e-6);
  EXPECT_NEAR(Coverage(matte, 0, 15), 32767, 1);
  EXPECT_LT(Coverage(matte, 2, 15), 65535);
  EXPECT_NEAR(At(target, 0, 0).a, 0.25, 1e-6);
}

TEST_F(FastWarperLanczosARGBSF, OvershootIsKept) {
  Image source = FilledFrame(20, 9, {1, 0, 0, 0});
  for (int y = 0; y < 9; ++y)
    for (int x = 10; x < 20; ++x) At(source, x, y).r = 1.0f;
  Image target(20, 9, ARGBSF);
  warper.Project(source, target, matte, Shift(0.5, 0));
  float low = 0, high = 1;
  for (int x = 4; x < 17; ++x) {
    low = std::min(low, At(target, x, 4).r);
    high = std::max(high, At(target, x, 4).r);
  }
  EXPECT_LT(low, -0.01f);
  EXPECT_GT(high, 1.01f);
}

// The formats of codes, read and written through the accessors of Image, so that the order of bytes is tested too.

struct CodedFormat {
  const char* name;
  PixelType type, matteType;
  enum Kind { Rgb, RgbAlpha, Video, VideoAlpha } kind;
};

void PrintTo(const CodedFormat& format, std::ostream* stream) { *stream << format.name; }

const CodedFormat formatsWithAlpha[] = {
    {"BGRA32", BGRA32, L8, CodedFormat::RgbAlpha},    {"ARGB32", ARGB32, L8, CodedFormat::RgbAlpha},
    {"RGBA32", RGBA32, L8, CodedFormat::RgbAlpha},    {"ARGB64", ARGB64, L16, CodedFormat::RgbAlpha},
    {"RGBA64", RGBA64, L16, CodedFormat::RgbAlpha},   {"YUVA32", YUVA32, L8, CodedFormat::VideoAlpha},
    {"YUVA64", YUVA64, L16, CodedFormat::VideoAlpha},
};

const CodedFormat formatsWithoutAlpha[] = {
    {"BGR24", BGR24, L8, CodedFormat::Rgb},      {"RGB24", RGB24, L8, CodedFormat::Rgb},
    {"YUV24", YUV24, L8, CodedFormat::Video},    {"Y1UV10", Y1UV10, L16, CodedFormat::Video},
    {"Y1UV12", Y1UV12, L16, CodedFormat::Video}, {"Y1UV14", Y1UV14, L16, CodedFormat::Video},
    {"Y1UV16", Y1UV16, L16, CodedFormat::Video},
};

/// The stored codes of a pixel: R, G, B or Y, U, V, and alpha.
struct Codes {
  int c[4];
  bool operator==(const Codes& other) const { return std::equal(c, c + 4, other.c); }
};

void PrintTo(const Codes& codes, std::ostream* stream) {
  *stream << codes.c[0] << ' ' << codes.c[1] << ' ' << codes.c[2] << ' ' << codes.c[3];
}

class FastWarperCodes : public FastWarperTest, public testing::WithParamInterface<CodedFormat> {
 protected:
  PixelType type() const { return GetParam().type; }
  bool isVideo() const { return GetParam().kind == CodedFormat::Video || GetParam().kind == CodedFormat::VideoAlpha; }
  /// Its alpha takes any code, only the others have a range.
  bool anyAlpha() const { return type() == YUVA32; }
  bool hasAlpha() const {
    return GetParam().kind == CodedFormat::RgbAlpha || GetParam().kind == CodedFormat::VideoAlpha;
  }
  /// Whether the matte tells alpha; for the other formats it tells how much of the sample lies inside.
  bool matteIsAlpha() const { return hasAlpha() && type() != YUVA64; }
  int fullMatte() const { return GetParam().matteType == L8 ? 255 : 65535; }
  bool blendsInWholeNumbers() const { return type() == BGRA32 || type() == ARGB32 || type() == RGBA32; }

  /// What a fully covered sample gives in the bilinear matte: the codes of alpha for the one format that tells them.
  int fullBilinearMatte() const { return type() == YUV24 ? 235 : fullMatte(); }
  int noBilinearMatte() const { return type() == YUV24 ? 16 : 0; }

  Codes codesAt(const Image& image, int x, int y) const {
    const Pixel p = image.GetRaw(x, y);
    if (isVideo()) return {{p.Y(), p.U(), p.V(), hasAlpha() ? p.A() : 0}};
    return {{p.R(), p.G(), p.B(), hasAlpha() ? p.A() : 0}};
  }

  void setCodes(Image& image, int x, int y, const Codes& codes) const {
    const int* c = codes.c;
    image.SetRaw(x, y, Pixel(c[0], c[1], c[2], c[3], isVideo() ? Rec709 : RGB));
  }

  /// Codes within the ranges of the format. `opaque`: alpha at its maximum.
  Image noise(int width, int height, bool opaque) const {
    Image image(width, height, type());
    const auto within = [](unsigned low, unsigned high) {
      return static_cast<int>(low + NextRandom() % (high - low + 1));
    };
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        setCodes(image, x, y,
                 {{within(image.yMin, image.yMax), within(image.uMin, image.uMax), within(image.vMin, image.vMax),
                   opaque ? static_cast<int>(image.aMax) : within(image.aMin, image.aMax)}});
    return image;
  }

  Image filled(int width, int height, const Codes& codes) const {
    Image image(width, height, type());
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) setCodes(image, x, y, codes);
    return image;
  }

  /// Black with chroma in the middle, and no alpha.
  Codes emptyCodes(const Image& image) const {
    if (!isVideo()) return {{0, 0, 0, 0}};
    const auto middle = [](unsigned low, unsigned high) { return static_cast<int>((high - low) / 2 + low); };
    return {{static_cast<int>(image.yMin), middle(image.uMin, image.uMax), middle(image.vMin, image.vMax),
             hasAlpha() ? static_cast<int>(image.aMin) : 0}};
  }
};

class FastWarperAlphaCodes : public FastWarperCodes {};

std::string NameOf(const testing::TestParamInfo<CodedFormat>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(WithAlpha, FastWarperCodes, testing::ValuesIn(formatsWithAlpha), NameOf);
INSTANTIATE_TEST_SUITE_P(WithoutAlpha, FastWarperCodes, testing::ValuesIn(formatsWithoutAlpha), NameOf);
INSTANTIATE_TEST_SUITE_P(WithAlpha, FastWarperAlphaCodes, testing::ValuesIn(formatsWithAlpha), NameOf);

TEST_P(FastWarperCodes, TheIdentityReproducesTheSourceWithFullCoverage) {
  const Image source = noise(21, 9, true);
  Image target = filled(21, 9, {{1, 2, 3, 4}});
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  EXPECT_EQ(matte.type, GetParam().matteType);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 21; ++x) {
      ASSERT_EQ(codesAt(target, x, y), codesAt(source, x, y)) << x << ", " << y;
      ASSERT_EQ(Coverage(matte, x, y), fullBilinearMatte()) << x << ", " << y;
    }
}

TEST_P(FastWarperAlphaCodes, AlphaComesThroughTheIdentity) {
  const Image source = noise(11, 8, false);
  Image target(11, 8, type());
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 11; ++x) {
      const int alpha = codesAt(source, x, y).c[3];
      ASSERT_EQ(codesAt(target, x, y).c[3], alpha);
      const bool fast = blendsInWholeNumbers() && x < 10 && y < 7;  // that path takes the picture as opaque
      const auto low = static_cast<int>(source.aMin), high = static_cast<int>(source.aMax);
      const auto share = static_cast<int>(std::int64_t{alpha - low} * fullMatte() / (high - low));
      ASSERT_EQ(Coverage(matte, x, y), fast || !matteIsAlpha() ? fullMatte() : share) << x << ", " << y;
    }
}

TEST_P(FastWarperCodes, SamplesOutsideGiveTheEmptyPixel) {
  const Image source = noise(10, 6, true);
  Image target = filled(10, 6, {{1, 2, 3, 4}});
  for (const auto& [x, y] : std::vector<std::pair<double, double>>{{-20, 0}, {20.25, 0}, {0, 13.5}, {0, -20}}) {
    warper.Project(source, target, matte, Shift(x, y));
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(codesAt(target, i, i), emptyCodes(source));
      EXPECT_EQ(Coverage(matte, i, i), noBilinearMatte());
    }
  }
}

TEST_P(FastWarperCodes, LanczosOutsideIsTheEmptyPixelWithItsOwnNeutralChroma) {
  const Image source = noise(10, 6, true);
  Image target = filled(10, 6, {{1, 2, 3, 4}});
  warper.highQuality = true;
  warper.Project(source, target, matte, Shift(30.3, 0));
  Codes expected = emptyCodes(source);
  if (isVideo()) {
    expected.c[1] = static_cast<int>(source.maxValue / 2 - source.uMin);
    expected.c[2] = static_cast<int>(source.maxValue / 2 - source.vMin);
  }
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(codesAt(target, i, i), expected);
    EXPECT_EQ(Coverage(matte, i, i), 0);
  }
}

TEST_P(FastWarperCodes, AtTheRightEdgeHalfASampleIsMixedWithTheEmptyPixel) {
  const Image source = noise(6, 5, true);
  Image target(6, 5, type());
  warper.Project(source, target, matte, Shift(-0.5, 0));
  const Codes empty = emptyCodes(source);
  for (int y = 0; y < 5; ++y) {
    const Codes last = codesAt(source, 5, y), got = codesAt(target, 5, y);
    for (int c = 0; c < (hasAlpha() ? 4 : 3); ++c) {
      const int sum = last.c[c] + empty.c[c];
      const bool chroma = isVideo() && (c == 1 || c == 2);
      const int nearest = (sum + 1) / 2, toNeutral = last.c[c] < empty.c[c] ? (sum + 1) / 2 : sum / 2;
      EXPECT_EQ(got.c[c], chroma ? toNeutral : nearest) << "channel " << c;
    }
    const int half = (fullMatte() + 1) / 2;  // of the coverage, rounded
    const auto aMin = static_cast<int>(source.aMin), aMax = static_cast<int>(source.aMax);
    int expected = half;
    if (type() == YUVA32) expected = ((aMin + aMax + 1) / 2 - aMin) * fullMatte() / (aMax - aMin);
    if (type() >= Y1UV10 && type() <= YUVA64)  // the code that alpha would have, clamped to the range of alpha
      expected = static_cast<int>(std::int64_t{std::min(half, aMax) - aMin} * 65535 / (aMax - aMin));
    EXPECT_EQ(Coverage(matte, 5, y), expected);
  }
}

/// Left of a pixel by 2/5 and above it by 1/4: the shares of the four pixels are 0.45, 0.3, 0.15, 0.1.
TEST_P(FastWarperCodes, InsideTheFourPixelsOfACellAreBlended) {
  const Image source = noise(8, 8, true);
  Image target(8, 8, type());
  warper.Project(source, target, matte, Shift(-0.4, -0.25));
  const Codes empty = emptyCodes(source);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 7; ++x) {
      const Codes p[4] = {codesAt(source, x, y), codesAt(source, x + 1, y), codesAt(source, x, y + 1),
                          codesAt(source, x + 1, y + 1)};
      const Codes got = codesAt(target, x, y);
      for (int c = 0; c < (hasAlpha() ? 4 : 3); ++c) {
        const double exact = 0.45 * p[0].c[c] + 0.3 * p[1].c[c] + 0.15 * p[2].c[c] + 0.1 * p[3].c[c];
        if (blendsInWholeNumbers()) {
          // 256 times 0.45, 0.3, 0.15 and 0.1, each cut to a whole number.
          ASSERT_EQ(got.c[c], (115 * p[0].c[c] + 76 * p[1].c[c] + 38 * p[2].c[c] + 25 * p[3].c[c]) >> 8);
        } else if (isVideo() && (c == 1 || c == 2)) {
          const double slack = exact < empty.c[c] ? got.c[c] - exact : exact - got.c[c];
          ASSERT_GE(slack, -0.02) << exact;  // single precision moves a value of 16 bits by up to 0.02
          ASSERT_LT(slack, 1.02) << exact;
        } else {
          ASSERT_LE(std::fabs(got.c[c] - exact), 0.52) << exact;
        }
      }
      ASSERT_EQ(Coverage(matte, x, y), fullBilinearMatte());
    }
}

TEST_P(FastWarperCodes, LanczosIsTheWeightedSumOfThirtySixPixelsRounded) {
  const Image source = noise(16, 14, true);
  Image target(16, 14, type());
  warper.highQuality = true;
  warper.Project(source, target, matte, Shift(0.3, -0.6));
  Codes empty = emptyCodes(source);
  if (isVideo()) {
    empty.c[1] = static_cast<int>(source.maxValue / 2 - source.uMin);
    empty.c[2] = static_cast<int>(source.maxValue / 2 - source.vMin);
  }
  const unsigned low[4] = {source.yMin, source.uMin, source.vMin, anyAlpha() ? 0 : source.aMin};
  const unsigned high[4] = {source.yMax, source.uMax, source.vMax, anyAlpha() ? 255 : source.aMax};
  int edges = 0;
  for (int y = 0; y < 14; ++y)
    for (int x = 0; x < 16; ++x) {
      float kernelX[6], kernelY[6];
      getLanczosKernel(static_cast<float>(x) - 0.3f, kernelX);
      getLanczosKernel(static_cast<float>(y) + 0.6f, kernelY);
      double sum[4] = {}, coverage = 0;
      for (int j = 0; j < 6; ++j)
        for (int i = 0; i < 6; ++i) {
          const int column = x - 1 - 2 + i, row = y - 2 + j;  // the sample lies in the cell to the left
          const bool inside = column >= 0 && row >= 0 && column < 16 && row < 14;
          const double weight = static_cast<double>(kernelX[i]) * static_cast<double>(kernelY[j]);
          const Codes p = inside ? codesAt(source, column, row) : empty;
          for (int c = 0; c < 4; ++c) sum[c] += weight * p.c[c];
          if (inside) coverage += weight;
        }
      const Codes got = codesAt(target, x, y);
      for (int c = 0; c < (hasAlpha() ? 4 : 3); ++c)
        ASSERT_LE(std::fabs(got.c[c] - std::clamp(sum[c], double(low[c]), double(high[c]))), 0.55) << x << ", " << y;
      const double share = std::clamp(matteIsAlpha() ? (sum[3] - source.aMin) / source.alphaRange : coverage, 0.0, 1.0);
      const double step = matteIsAlpha() && isVideo() ? fullMatte() / static_cast<double>(source.alphaRange) : 1.0;
      ASSERT_NEAR(Coverage(matte, x, y), share * fullMatte(), 1.05 + step);
      edges += share < 0.99;
    }
  EXPECT_GT(edges, 16);
}

TEST_P(FastWarperCodes, LanczosIsClampedToTheRangesOfTheFormat) {
  Image source = filled(20, 9, {{0, 0, 0, 0}});
  const auto lowest = [](const Image& image) {
    return Codes{{int(image.yMin), int(image.uMin), int(image.vMin), int(image.aMin)}};
  };
  const auto highest = [](const Image& image) {
    return Codes{{int(image.yMax), int(image.uMax), int(image.vMax), int(image.aMax)}};
  };
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 20; ++x) setCodes(source, x, y, x < 10 ? lowest(source) : highest(source));
  Image target(20, 9, type());
  warper.highQuality = true;
  warper.Project(source, target, matte, Shift(0.5, 0));
  Codes low = lowest(source), high = highest(source);
  if (!hasAlpha()) low.c[3] = high.c[3] = 0;
  if (anyAlpha()) {
    low.c[3] = 0;
    high.c[3] = 255;
  }
  EXPECT_EQ(codesAt(target, 9, 4), low);    // the kernel's first lobe undershoots before the step
  EXPECT_EQ(codesAt(target, 11, 4), high);  // and overshoots behind it
}

TEST_P(FastWarperCodes, ExtremeMatricesGiveTheEmptyPixel) {
  const Image source = noise(7, 5, true);
  Image target(7, 5, type());
  for (const bool lanczos : {false, true}) {
    warper.highQuality = lanczos;
    for (const Matrix& forward : {Homography({nan, 0, 0, 0, 1, 0, 0, 0, 1}), Homography({1, 0, inf, 0, 1, 0, 0, 0, 1}),
                                  Homography({1, 0, 1e12, 0, 1, 0, 0, 0, 1})}) {
      warper.Project(source, target, matte, forward);
      EXPECT_EQ(codesAt(target, 3, 3).c[0], emptyCodes(source).c[0]);
      EXPECT_EQ(Coverage(matte, 3, 3), lanczos ? 0 : noBilinearMatte());
    }
  }
}

TEST_P(FastWarperCodes, AnyProcessorCountGivesTheSameBytes) {
  const Image source = noise(300, 12, false);
  Image one = filled(300, 12, {{0, 0, 0, 0}}), many = one, matteOfOne;
  for (const bool lanczos : {false, true}) {
    warper.highQuality = lanczos;
    SetProcessorCount(1);
    warper.Project(source, one, matteOfOne, Tilt());
    SetProcessorCount(3);
    warper.Project(source, many, matte, Tilt());
    ExpectSameBytes(many, one);
    ExpectSameBytes(matte, matteOfOne);
  }
}

TEST_F(FastWarperTest, TheMatteOfAlphaFirstFormatsIsTheFirstByteAtTheEdgeAndFullInside) {
  Image source(4, 4, ARGB32), target(4, 4, ARGB32);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) source.SetRaw(x, y, Pixel(10, 20, 30, 77));
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  EXPECT_EQ(Coverage(matte, 1, 1), 255);
  EXPECT_EQ(Coverage(matte, 3, 1), 77);  // the last column has no right neighbour
  EXPECT_EQ(Coverage(matte, 1, 3), 77);
}

TEST_F(FastWarperTest, WholeNumberBlendingLosesWhatItsWeightsDoNotSumTo) {
  Image source(8, 8, RGBA32), target(8, 8, RGBA32);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) source.SetRaw(x, y, Pixel(255, 255, 255, 255));
  warper.Project(source, target, matte, Shift(-0.4, -0.25));
  // The weights 115, 76, 38 and 25 sum to 254, and 254 * 255 / 256 is 253.008.
  EXPECT_EQ(target.GetRaw(3, 3).R(), 253);
  EXPECT_EQ(target.GetRaw(3, 3).A(), 253);
  EXPECT_EQ(Coverage(matte, 3, 3), 255);
  // At the right edge the blend is in single precision: 0.6 of 255.
  EXPECT_EQ(target.GetRaw(7, 3).R(), 153);
}

TEST_F(FastWarperTest, ChromaNeverDriftsAwayFromNeutral) {
  Image source(9, 3, YUV24), target(9, 3, YUV24);
  const int chroma[9] = {127, 128, 129, 128, 126, 127, 130, 129, 16};
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 9; ++x) source.SetRaw(x, y, Pixel(100, chroma[x], chroma[8 - x], 0, Rec709));
  warper.Project(source, target, matte, Shift(-0.5, 0));
  const int expected[8] = {128, 128, 128, 127, 127, 128, 129, 73};  // halves go up below 128 and down above it
  for (int x = 0; x < 8; ++x) EXPECT_EQ(target.GetRaw(x, 1).U(), expected[x]) << x;
}

TEST_F(FastWarperTest, ColoursOfLanczosAreRoundedAndItsCoverageIsTruncated) {
  Image source(12, 12, RGB24), target(12, 12, RGB24);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 12; ++x) source.SetRaw(x, y, Pixel(255, 101, 7, 255));
  warper.highQuality = true;
  warper.Project(source, target, matte, Shift(0.5, 0));
  EXPECT_EQ(target.GetRaw(0, 6).R(), 128);  // half of 255, by symmetry of the kernel, is 127.5
  EXPECT_EQ(target.GetRaw(0, 6).G(), 51);   // 50.5
  EXPECT_EQ(Coverage(matte, 0, 6), 127);
  EXPECT_EQ(target.GetRaw(6, 6).B(), 7);
}

TEST_F(FastWarperTest, AlphaOutsideItsRangeStaysUnderTheIdentity) {
  Image source(16, 16, YUVA32), target(16, 16, YUVA32);
  for (const int code : {0, 16, 235, 255}) {
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) source.SetRaw(x, y, Pixel(100, 128, 128, code, Rec709));
    for (const bool highQuality : {false, true}) {
      warper.highQuality = highQuality;
      warper.Project(source, target, matte, Matrix::GetIdentity(3));
      EXPECT_EQ(target.GetRaw(8, 8).A(), code) << highQuality;
      EXPECT_EQ(Coverage(matte, 8, 8), code <= 16 ? 0 : 255) << highQuality;
    }
  }
}

TEST_F(FastWarperTest, AnEmptyRangeOfAlphaHasNoCoverage) {
  Image source(4, 4, YUVA32), target(4, 4, YUVA32);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) source.SetRaw(x, y, Pixel(100, 128, 128, 40, Rec709));
  source.SetRangeA(40, 40);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  EXPECT_EQ(Coverage(matte, 1, 1), 0);
  EXPECT_EQ(target.GetRaw(1, 1).A(), 40);
}

TEST_F(FastWarperTest, TypesWithoutALoopAndWithoutFallbackLeaveTheDestinationAndEmptyTheMatte) {
  for (const PixelType type : {L8, LA16, L10, L16, LA32, Y2UV32, Y6UVX32, Y1UVX32, Y2UV10, RGB30, RGB48, YUVP444}) {
    Image source(12, 8, type), target(12, 8, ARGBSF);
    target = FilledFrame(12, 8, {9, 9, 9, 9});
    matte.Resize(12, 8, L16);
    std::memset(matte.rows[0], 0xFF, static_cast<std::size_t>(matte.stride) * 8);
    warper.Project(source, target, matte, Matrix::GetIdentity(3));
    EXPECT_EQ(At(target, 5, 5).r, 9.0f);
    EXPECT_EQ(Coverage(matte, 5, 5), 0) << type;
    // A loop that an earlier call chose is not taken.
    Image frame = FilledFrame(12, 8, {1, 1, 1, 1}), other(12, 8, ARGBSF);
    warper.Project(frame, other, matte, Matrix::GetIdentity(3));
    warper.Project(source, target, matte, Matrix::GetIdentity(3));
    EXPECT_EQ(At(target, 5, 5).r, 9.0f);
  }
}

TEST_F(FastWarperTest, TypesWithoutALoopGoToTheFallbackAboutTheSourceOrigin) {
  Image source(11, 9, L8);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 11; ++x) source.SetRaw(x, y, Pixel(10 * x + y, 255));
  Image target;
  WarpImage general;
  warper.fallback = &general;
  warper.sourceOriginX = 4;
  warper.sourceOriginY = 3;
  warper.Project(source, target, matte, Homography({2, 0, 0, 0, 2, 0, 0, 0, 1}));
  EXPECT_EQ(general.centre.x, 4.0);
  EXPECT_EQ(general.centre.y, 3.0);
  ASSERT_EQ(target.type, L8);
  ASSERT_EQ(target.width, 11);
  EXPECT_EQ(target.GetRaw(4, 3).Luma(), 43);  // the origin stays, and (6, 5) comes from (5, 4)
  EXPECT_EQ(target.GetRaw(6, 5).Luma(), 54);
  EXPECT_EQ(target.GetRaw(5, 3).Luma(), 48);  // between 43 and 53
  EXPECT_EQ(Coverage(matte, 5, 3), 255);
}

TEST_F(FastWarperTest, TypesWithALoopDoNotGoToTheFallback) {
  const Image source = OpaqueNoiseFrame(6, 6);
  Image target(6, 6, ARGBSF);
  WarpImage general;
  general.centre = Point2D(-1, -1);
  warper.fallback = &general;
  setOrigins(3, 3);
  warper.Project(source, target, matte, Matrix::GetIdentity(3));
  ExpectSameBytes(target, source);
  EXPECT_EQ(general.centre.x, -1.0);
}

TEST_F(FastWarperTest, TheGenericMemberFillsItsRowsInAnyFormat) {
  Image source(8, 6, LA16), target;
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) source.SetRaw(x, y, Pixel(20 * x + y, 100 + x));
  warper.projectGeneric(source, target, matte, Shift(0.5, 1), 1, 3);
  ASSERT_EQ(target.type, LA16);
  ASSERT_EQ(target.height, 6);
  EXPECT_EQ(matte.type, L8);
  for (int y = 0; y < 6; ++y) {
    const bool filled = y >= 1 && y <= 3;
    EXPECT_EQ(target.GetRaw(2, y).Luma(), filled ? 50 + y + 1 : 0) << y;  // between columns 2 and 3, a row below
    EXPECT_EQ(target.GetRaw(2, y).A(), filled ? 103 : 0);                 // 102.5, rounded
    EXPECT_EQ(Coverage(matte, 2, y), filled ? 103 : 0);
  }
}

TEST_F(FastWarperTest, TheGenericMemberTurnsAboutTheSourceOrigin) {
  Image source(9, 9, RGB48), target;
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 9; ++x) source.SetRaw(x, y, Pixel(1000 * x, 1000 * y, 7, 65535));
  warper.sourceOriginX = 4;
  warper.sourceOriginY = 3;
  warper.projectGeneric(source, target, matte, Homography({0, -1, 0, 1, 0, 0, 0, 0, 1}), 0, 100);
  EXPECT_EQ(matte.type, L16);
  EXPECT_EQ(target.GetRaw(6, 4).R(), 3000);  // (2, 1) from the origin comes from (-1, 2)
  EXPECT_EQ(target.GetRaw(6, 4).G(), 5000);
  EXPECT_EQ(Coverage(matte, 6, 4), 65535);
}

}  // namespace
}  // namespace Vorn
