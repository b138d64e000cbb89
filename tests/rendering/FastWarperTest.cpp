#include "rendering/FastWarper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "imaging/ImageInterpolator.h"
#include "numerics/Parallel.h"

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

}  // namespace
}  // namespace Vorn
