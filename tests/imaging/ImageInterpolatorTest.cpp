#include "imaging/ImageInterpolator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "imaging/Image.h"
#include "numerics/Point2D.h"

namespace Vorn {
namespace {

constexpr int width = 13, height = 11;

constexpr PixelType greyTypes[] = {L8, LA16, L10, L16, LA32};
constexpr PixelType rgbTypes[] = {BGR24, RGB24, BGRA32, ARGB32, RGBA32, RGB30, RGB48, ARGB64, RGBA64};
constexpr PixelType yuvTypes[] = {Y2UV32, YUV24,  YUVA32, Y6UVX32, Y1UVX32, Y2UV10,  Y2UV12,  Y2UV14,  Y2UV16,
                                  Y1UV10, Y1UV12, Y1UV14, Y1UV16,  YUVA64,  YUVP420, YUVP422, YUVP444, YUVAP444};

std::vector<PixelType> IntegerTypes() {
  std::vector<PixelType> types;
  types.insert(types.end(), std::begin(greyTypes), std::end(greyTypes));
  types.insert(types.end(), std::begin(rgbTypes), std::end(rgbTypes));
  types.insert(types.end(), std::begin(yuvTypes), std::end(yuvTypes));
  return types;
}

/// Repeatable codes without a pattern.
unsigned Scatter(unsigned seed) {
  seed = (seed ^ 61u ^ seed >> 16) * 9u;
  seed = (seed ^ seed >> 4) * 0x27d4eb2du;
  return seed ^ seed >> 15;
}

int CodeIn(unsigned seed, unsigned span) { return static_cast<int>(Scatter(seed) % (span + 1)); }

/// A picture of any integer type whose codes differ from pixel to pixel, alpha included.
Image Textured(PixelType type) {
  Image image(width, height, type);
  image.Clear(image.GenerateBlack());
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const auto seed = static_cast<unsigned>(8 * (y * width + x));
      const int a = CodeIn(seed + 3, image.alphaRange);
      Pixel p(CodeIn(seed, image.yMax - image.yMin), CodeIn(seed + 1, image.uMax - image.uMin),
              CodeIn(seed + 2, image.vMax - image.vMin), a, image.space);
      if (image.space == RGB) p = Pixel(p.R(), p.G(), p.B(), CodeIn(seed + 3, image.maxValue));
      if (image.space == Mono) p = Pixel(p.Luma(), CodeIn(seed + 3, image.maxValue));
      image.SetPixel(x, y, p);
    }
  return image;
}

struct Value {
  double c[4] = {};
};

Value Components(const Pixel& p) {
  if (p.space == Mono) return {{static_cast<double>(p.Luma()), 0, 0, static_cast<double>(p.A())}};
  if (p.space == RGB)
    return {{static_cast<double>(p.R()), static_cast<double>(p.G()), static_cast<double>(p.B()),
             static_cast<double>(p.A())}};
  return {
      {static_cast<double>(p.Y()), static_cast<double>(p.U()), static_cast<double>(p.V()), static_cast<double>(p.A())}};
}

struct Weights {
  int first;
  std::vector<double> of;
};

Weights Tent(double x) {
  const double f = x - std::floor(x);
  return {static_cast<int>(std::floor(x)), {1 - f, f}};
}

/// Catmull-Rom in its polynomial form (-t + 2t² - t³) / 2 and so on.
Weights CatmullRom(double x) {
  const double t = x - std::floor(x);
  return {static_cast<int>(std::floor(x)) - 1,
          {(-t + 2 * t * t - t * t * t) / 2, (2 - 5 * t * t + 3 * t * t * t) / 2, (t + 4 * t * t - 3 * t * t * t) / 2,
           (-t * t + t * t * t) / 2}};
}

Weights Lanczos(double x) {
  float kernel[6];
  getLanczosKernel(static_cast<float>(x), kernel);
  return {static_cast<int>(std::floor(x)) - 2, {kernel, kernel + 6}};
}

/// The weighted sum of the image's own pixels, in double precision.
Value Sum(const Image& image, const Weights& across, const Weights& down) {
  Value sum;
  for (size_t j = 0; j < down.of.size(); ++j)
    for (size_t i = 0; i < across.of.size(); ++i) {
      const Value v = Components(image(across.first + static_cast<int>(i), down.first + static_cast<int>(j)));
      for (int c = 0; c < 4; ++c) sum.c[c] += down.of[j] * across.of[i] * v.c[c];
    }
  return sum;
}

/// `slack` is what single precision leaves: 2^-23 of the sum of up to 36 codes, times a few.
void ExpectRounded(const Pixel& actual, const Value& expected, const std::string& where) {
  const double slack = 0.5 + actual.maxValue * 1e-6;
  const Value v = Components(actual);
  for (int c = 0; c < 4; ++c) EXPECT_NEAR(v.c[c], expected.c[c], slack) << where << " channel " << c;
}

void ExpectTruncated(const Pixel& actual, const Value& expected, const std::string& where) {
  const double slack = actual.maxValue * 1e-6;
  const Value v = Components(actual);
  for (int c = 0; c < 4; ++c) {
    EXPECT_LE(std::fabs(v.c[c]), std::fabs(expected.c[c]) + slack) << where << " channel " << c;
    EXPECT_LT(std::fabs(expected.c[c]) - std::fabs(v.c[c]), 1.0 + slack) << where << " channel " << c;
  }
}

class IntegerFormat : public testing::TestWithParam<PixelType> {
 protected:
  const Image image = Textured(GetParam());
  const ImageInterpolator interpolator{image};

  const std::vector<Point2D> positions = {{3, 4},        {3.5, 4},     {3, 4.5},       {6.5, 5.5},    {5.25, 6.875},
                                          {0, 0},        {12, 10},     {0.25, 10},     {-0.5, 5},     {12.5, 3.25},
                                          {-0.75, -0.5}, {4.5, 10.75}, {12.875, 10.5}, {-1.5, 2},     {14.5, 12.5},
                                          {-2.5, 4.5},   {-7, 3},      {40.5, 3.5},    {4.5, -2.125}, {6.5, 100}};

  static std::string At(const Point2D& p) { return "at " + std::to_string(p.x) + ", " + std::to_string(p.y); }
};

TEST_P(IntegerFormat, BilinearIsTheRoundedTentSum) {
  for (const Point2D& p : positions)
    ExpectRounded(interpolator.Bilinear(p.x, p.y), Sum(image, Tent(p.x), Tent(p.y)), At(p));
}

TEST_P(IntegerFormat, CubicSplineIsTheRoundedConvolution) {
  for (const Point2D& p : positions)
    ExpectRounded(interpolator.CubicSpline(p.x, p.y), Sum(image, CatmullRom(p.x), CatmullRom(p.y)), At(p));
}

TEST_P(IntegerFormat, BicubicIsTheTruncatedConvolution) {
  for (const Point2D& p : positions)
    ExpectTruncated(interpolator.Bicubic(p.x, p.y), Sum(image, CatmullRom(p.x), CatmullRom(p.y)), At(p));
}

TEST_P(IntegerFormat, Lanczos3IsTheRoundedSumOfTheKernel) {
  for (const Point2D& p : positions)
    ExpectRounded(interpolator.Lanczos3(p.x, p.y), Sum(image, Lanczos(p.x), Lanczos(p.y)), At(p));
}

TEST_P(IntegerFormat, WholePositionsGiveThePixelItself) {
  for (const Point2D& p : {Point2D(3, 4), Point2D(0, 0), Point2D(12, 10), Point2D(12, 0), Point2D(7, 10)}) {
    const Pixel pixel = image(static_cast<int>(p.x), static_cast<int>(p.y));
    EXPECT_EQ(interpolator.Bilinear(p.x, p.y), pixel) << At(p);
    EXPECT_EQ(interpolator.CubicSpline(p.x, p.y), pixel) << At(p);
    EXPECT_EQ(interpolator.Bicubic(p.x, p.y), pixel) << At(p);
    EXPECT_EQ(interpolator.Nearest(p.x, p.y), pixel) << At(p);
    const Value exact = Components(pixel), lanczos = Components(interpolator.Lanczos3(p.x, p.y));
    // The weights beside the centre are below 0.001 each; codes beside it spread over the whole scale.
    for (int c = 0; c < 4; ++c) EXPECT_NEAR(lanczos.c[c], exact.c[c], 0.5 + 0.006 * image.maxValue) << At(p);
  }
}

TEST_P(IntegerFormat, ResultsHaveTheImagesSpaceAndScale) {
  for (ImageInterpolator each(image); each.mode >= 0; --each.mode) {
    EXPECT_EQ(each(4.5, 4.5).space, image.space) << each.mode;
    EXPECT_EQ(each(4.5, 4.5).maxValue, image.maxValue) << each.mode;
  }
}

TEST_P(IntegerFormat, FarOutsideIsBlackAndTransparent) {
  Pixel expected = image.black;
  expected.SetAlpha(0);
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const Point2D& p : {Point2D(-20, 4), Point2D(4, 20), Point2D(1e300, 1), Point2D(3, -1e300), Point2D(nan, 3),
                           Point2D(3, nan), Point2D(infinity, -infinity)}) {
    ImageInterpolator each(image);
    for (each.mode = 0; each.mode <= 4; ++each.mode) EXPECT_EQ(each(p.x, p.y), expected) << At(p) << each.mode;
  }
}

std::string TypeName(const testing::TestParamInfo<PixelType>& info) {
  return "Type" + std::to_string(static_cast<int>(info.param));
}

INSTANTIATE_TEST_SUITE_P(ImageInterpolator, IntegerFormat, testing::ValuesIn(IntegerTypes()), TypeName);

Image Filled(PixelType type, const Pixel& pixel, int w = 8, int h = 8) {
  Image image(w, h, type);
  image.Clear(pixel);
  return image;
}

TEST(ImageInterpolator, StartsBilinearAndKeepsTheModeOnRebinding) {
  ImageInterpolator interpolator;
  EXPECT_EQ(interpolator.mode, 3);
  const Image image = Filled(L8, Pixel(80, 255));
  interpolator.mode = 1;
  interpolator.SetImage(image);
  EXPECT_EQ(interpolator.mode, 1);
  interpolator.SetImage(&image);
  EXPECT_EQ(interpolator.mode, 1);
  interpolator.SetSimilarImage(image);
  EXPECT_EQ(interpolator.mode, 1);
  EXPECT_EQ(interpolator(2.5, 3.5), Pixel(80, 255));
}

TEST(ImageInterpolator, ModesChooseTheKernel) {
  const Image image = Textured(RGB24);
  ImageInterpolator interpolator(image);
  const double x = 5.4, y = 4.7;
  interpolator.mode = 0;
  EXPECT_EQ(interpolator(x, y), Lanczos3RGBA(&image, x, y));
  interpolator.mode = 1;
  EXPECT_EQ(interpolator(x, y), BicubicRGBA(&image, x, y));
  interpolator.mode = 2;
  EXPECT_EQ(interpolator(x, y), CubicSplineRGBA(&image, x, y));
  interpolator.mode = 3;
  EXPECT_EQ(interpolator(x, y), BilinearRGBA(&image, x, y));
  for (const int mode : {4, 7, -1}) {
    interpolator.mode = mode;
    EXPECT_EQ(interpolator(x, y), image(5, 4)) << mode;
  }
  // The four kernels give four values here, so that none of them can stand for another.
  EXPECT_NE(Lanczos3RGBA(&image, x, y), CubicSplineRGBA(&image, x, y));
  EXPECT_NE(CubicSplineRGBA(&image, x, y), BilinearRGBA(&image, x, y));
}

TEST(ImageInterpolator, OperationsReadByTheirKernelWhateverTheMode) {
  const Image image = Textured(YUV24);
  ImageInterpolator interpolator(image);
  interpolator.mode = 7;
  EXPECT_EQ(interpolator.Lanczos3(5.4, 4.7), Lanczos3YUVA(&image, 5.4, 4.7));
  EXPECT_EQ(interpolator.Bicubic(5.4, 4.7), BicubicYUVA(&image, 5.4, 4.7));
  EXPECT_EQ(interpolator.CubicSpline(5.4, 4.7), CubicSplineYUVA(&image, 5.4, 4.7));
  EXPECT_EQ(interpolator.Bilinear(5.4, 4.7), BilinearYUVA(&image, 5.4, 4.7));
}

TEST(ImageInterpolator, NearestTruncates) {
  const Image image = Textured(LA16);
  const ImageInterpolator interpolator(image);
  EXPECT_EQ(interpolator.Nearest(3.99, 4.99), image(3, 4));
  EXPECT_EQ(interpolator.Nearest(-0.5, 0.0), Pixel(0, 0));
  EXPECT_EQ(interpolator.Nearest(12.99, 10.99), image(12, 10));
  EXPECT_EQ(interpolator.Nearest(13.0, 10.0), Pixel(0, 0));
}

TEST(ImageInterpolator, RebindingChoosesTheFamilyAgainButASimilarImageKeepsIt) {
  const Image grey = Filled(L8, Pixel(80, 255)), colour = Filled(RGB24, Pixel(10, 20, 30, 255));
  ImageInterpolator interpolator(grey);
  interpolator.SetImage(colour);
  EXPECT_EQ(interpolator(3, 3), Pixel(10, 20, 30, 255));
  interpolator.SetImage(&grey);
  EXPECT_EQ(interpolator(3, 3), Pixel(80, 255));
  interpolator.SetSimilarImage(colour);  // a broken promise: the grey functions read on
  EXPECT_EQ(interpolator(3, 3), Pixel(static_cast<int>(0.299 * 10 + 0.587 * 20 + 0.114 * 30), 255));
  ImageInterpolator unbound;
  unbound.SetSimilarImage(colour);
  EXPECT_EQ(unbound(3, 3).space, Mono);
}

TEST(ImageInterpolator, GoldenHalvesInEightBits) {
  Image image(4, 4, L8);
  const int codes[4][4] = {{10, 20, 40, 80}, {11, 21, 41, 81}, {12, 22, 42, 82}, {13, 23, 43, 83}};
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) image.SetPixel(x, y, Pixel(codes[y][x], 255));
  EXPECT_EQ(BilinearL(&image, 1.5, 1.0), Pixel(31, 255));
  EXPECT_EQ(BilinearL(&image, 1.0, 1.5), Pixel(22, 255));     // 21.5, halves up
  EXPECT_EQ(BilinearL(&image, -0.5, 1.0), Pixel(6, 128));     // 5.5 and 127.5
  EXPECT_EQ(CubicSplineL(&image, 1.5, 1.0), Pixel(29, 255));  // (9 (21 + 41) - 11 - 81) / 16 = 29.125
  EXPECT_EQ(BicubicL(&image, 1.5, 1.5), Pixel(29, 255));      // 29.625, truncated
  EXPECT_EQ(CubicSplineL(&image, 1.5, 1.5), Pixel(30, 255));  // 29.625, rounded
}

TEST(ImageInterpolator, KernelsOvershootUnclamped) {
  Image image(8, 3, L8);
  image.Clear(Pixel(0, 255));
  for (int y = 0; y < 3; ++y)
    for (int x = 4; x < 8; ++x) image.SetPixel(x, y, Pixel(255, 255));
  EXPECT_EQ(CubicSplineL(&image, 4.5, 1).Luma(), 271);  // 255 (9 + 9 - 1) / 16 = 270.9
  EXPECT_EQ(BicubicL(&image, 4.5, 1).Luma(), 270);
  EXPECT_EQ(CubicSplineL(&image, 2.5, 1).Luma(), -16);  // -255 / 16
  EXPECT_EQ(BicubicL(&image, 2.5, 1).Luma(), -15);
  EXPECT_GT(Lanczos3L(&image, 4.5, 1).Luma(), 255);
  EXPECT_LT(Lanczos3L(&image, 2.5, 1).Luma(), 0);
}

TEST(ImageInterpolator, VideoBlackOutsideIsNeutralAndFullyTransparent) {
  for (const PixelType type : {YUVA32, YUV24, Y2UV32, YUVAP444}) {
    Image image(8, 8, type);
    image.Clear(image.GenerateWhite());
    const Pixel p = ImageInterpolator(image)(-0.5, 4.0);
    EXPECT_EQ(p, Pixel(110, 112, 112, 110, Rec709)) << type;  // half of 219, rounded; chroma stays half of 224
  }
  Image deep(8, 8, Y1UV10);
  deep.Clear(deep.GenerateWhite());
  Pixel expected(438, 448, 448, 438, Rec709);  // half of 876 and of 896
  expected.maxValue = 1023;
  EXPECT_EQ(ImageInterpolator(deep)(7.5, 4.0), expected);
}

TEST(ImageInterpolator, VideoCodesFollowTheImagesRangesAndSpace) {
  Image image(8, 8, YUVA32);
  image.SetColourSpace(Rec601);
  image.SetRangeA(0, 255);
  image.Clear(Pixel(100, 30, 200, 255, Rec601));
  EXPECT_EQ(BilinearYUVA32(&image, 3.5, 3.5), Pixel(100, 30, 200, 255, Rec601));
  EXPECT_EQ(Lanczos3YUVA32(&image, 3.5, 3.5), Pixel(100, 30, 200, 255, Rec601));
  EXPECT_EQ(BilinearYUVA32(&image, 7.5, 3.0), Pixel(50, 71, 156, 128, Rec601));  // chroma meets the neutral 112
}

TEST(ImageInterpolator, PackedReadersFindRowsThatLieApart) {
  constexpr int stride = 8 * 3 + 10;  // two-byte aligned at most
  std::vector<unsigned char> bytes(static_cast<size_t>(stride) * 2, 0xEE);
  const unsigned short words[2][12] = {{1000, 2000, 3000, 4000, 1100, 2200, 3300, 4400, 1200, 2400, 3600, 4800},
                                       {1010, 2020, 3030, 4040, 1110, 2220, 3330, 4440, 1210, 2420, 3630, 4840}};
  for (int y = 0; y < 2; ++y) std::memcpy(bytes.data() + y * stride, words[y], sizeof words[y]);
  const Image image(3, 2, stride, ARGB64, bytes.data(), false);
  Pixel expected(2100, 3150, 4200, 1050);  // a, r, g, b in memory
  expected.maxValue = 65535;
  EXPECT_EQ(BilinearARGB64(&image, 0.5, 0.0), expected);
  const Pixel half = BilinearARGB64(&image, 2.0, 1.5);
  EXPECT_EQ(half.A(), 605);
  EXPECT_EQ(half.B(), 2420);
}

class FloatFrame : public testing::Test {
 protected:
  FloatFrame() {
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) *At(x, y) = Scene(x, y);
  }
  /// Linear in x and y, and beyond 0..1, which float frames may be.
  static PixelARGBSF Scene(double x, double y) {
    return {static_cast<float>(1.0), static_cast<float>(-0.5 + 0.25 * x), static_cast<float>(0.125 * x - 0.25 * y),
            static_cast<float>(2.0 + 0.0625 * x + 0.5 * y)};
  }
  PixelARGBSF* At(int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y]) + x; }

  static void ExpectNear(const PixelARGBSF& actual, const PixelARGBSF& expected, float tolerance) {
    EXPECT_NEAR(actual.a, expected.a, tolerance);
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
  }

  Image image{width, height, ARGBSF};
};

TEST_F(FloatFrame, BilinearIsExactOnAPlane) {
  for (const Point2D& p : {Point2D(3, 4), Point2D(0, 0), Point2D(12, 10), Point2D(3.5, 4.25), Point2D(11.75, 9.5)})
    ExpectNear(BilinearARGBSF(&image, p.x, p.y), Scene(p.x, p.y), 1e-6f);
}

TEST_F(FloatFrame, BilinearFadesToZeroBeyondTheEdge) {
  const PixelARGBSF edge = Scene(0, 5);
  ExpectNear(BilinearARGBSF(&image, -0.5, 5.0), {edge.a / 2, edge.r / 2, edge.g / 2, edge.b / 2}, 0.0f);
  const PixelARGBSF corner = Scene(12, 10);
  ExpectNear(BilinearARGBSF(&image, 12.5, 10.5), {corner.a / 4, corner.r / 4, corner.g / 4, corner.b / 4}, 0.0f);
  const PixelARGBSF zero = {0, 0, 0, 0};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Point2D& p : {Point2D(-1.5, 5), Point2D(13, 5), Point2D(5, -1.25), Point2D(5, 11), Point2D(1e300, 5),
                           Point2D(5, -1e300), Point2D(nan, 5), Point2D(5, nan)}) {
    ExpectNear(BilinearARGBSF(&image, p.x, p.y), zero, 0.0f);
    if (std::fabs(p.x) > 1e6 || p.x != p.x || p.y != p.y) ExpectNear(Lanczos3ARGBSF(&image, p.x, p.y), zero, 0.0f);
  }
}

TEST_F(FloatFrame, Lanczos3IsTheKernelsSumOfWhatLiesInside) {
  for (const Point2D& p : {Point2D(6.5, 5.5), Point2D(3, 4), Point2D(0.25, 0.75), Point2D(12.5, 10.25),
                           Point2D(-2.5, 4.5), Point2D(15.5, 4), Point2D(4.5, -3.5)}) {
    const Weights across = Lanczos(p.x), down = Lanczos(p.y);
    Value sum;
    for (int j = 0; j < 6; ++j)
      for (int i = 0; i < 6; ++i) {
        const int x = across.first + i, y = down.first + j;
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        const PixelARGBSF s = Scene(x, y);
        const double weight = across.of[static_cast<size_t>(i)] * down.of[static_cast<size_t>(j)];
        sum.c[0] += weight * s.a;
        sum.c[1] += weight * s.r;
        sum.c[2] += weight * s.g;
        sum.c[3] += weight * s.b;
      }
    ExpectNear(Lanczos3ARGBSF(&image, p.x, p.y),
               {static_cast<float>(sum.c[0]), static_cast<float>(sum.c[1]), static_cast<float>(sum.c[2]),
                static_cast<float>(sum.c[3])},
               3e-6f);  // 36 roundings of sums up to 8
  }
}

TEST_F(FloatFrame, Lanczos3AtAWholePositionIsThePixelToAThirdOfAPercent) {
  for (const Point2D& p : {Point2D(3, 4), Point2D(6, 5), Point2D(9, 7)}) {
    const PixelARGBSF expected = Scene(p.x, p.y), actual = Lanczos3ARGBSF(&image, p.x, p.y);
    EXPECT_NEAR(actual.a, 1.0f, 1e-6f);  // a constant is reproduced
    EXPECT_NEAR(actual.r, expected.r, 0.003f * 4);
    EXPECT_NEAR(actual.b, expected.b, 0.003f * 8);
  }
}

TEST_F(FloatFrame, Lanczos3ShiftsAWaveByHalfAPixel) {
  Image wave(64, 8, ARGBSF);
  const auto level = [](double x) { return 0.5 + 0.4 * std::sin(x * 0.6); };
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 64; ++x) {
      const auto v = static_cast<float>(level(x));
      reinterpret_cast<PixelARGBSF*>(wave.rows[y])[x] = {1.0f, v, 1.0f - v, 2.0f * v};
    }
  for (int column = 10; column < 50; ++column) {
    const double x = column + 0.5;
    const PixelARGBSF p = Lanczos3ARGBSF(&wave, x, 4.0);
    EXPECT_NEAR(p.r, level(x), 0.006);  // what a window of three lobes leaves of a wave of ten pixels
    EXPECT_NEAR(p.g, 1.0 - level(x), 0.006);
    EXPECT_NEAR(p.b, 2.0 * level(x), 0.012);
  }
}

TEST_F(FloatFrame, JustBelowAWholeNumberIsThatNumber) {
  const double below = std::nextafter(6.0, 0.0);  // 6 in single precision
  ExpectNear(Lanczos3ARGBSF(&image, below, 5.0), Lanczos3ARGBSF(&image, 6.0, 5.0), 0.0f);
  ExpectNear(BilinearARGBSF(&image, below, 5.0), Scene(6, 5), 1e-6f);
}

TEST_F(FloatFrame, OvershootPassesThrough) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) *At(x, y) = x < 6 ? PixelARGBSF{1, 0, 0, 0} : PixelARGBSF{1, 1, 1, 1};
  EXPECT_LT(Lanczos3ARGBSF(&image, 4.5, 5).r, -0.05f);
  EXPECT_GT(Lanczos3ARGBSF(&image, 6.5, 5).r, 1.05f);
}

TEST_F(FloatFrame, InterpolatorReadsFloatFramesAsBlack) {
  ImageInterpolator interpolator(image);
  for (interpolator.mode = 0; interpolator.mode <= 3; ++interpolator.mode) {
    const Pixel p = interpolator(6.0, 2.0);
    EXPECT_EQ(p.R(), 0);
    EXPECT_EQ(p.G(), 0);
    EXPECT_EQ(p.B(), 0);
    EXPECT_EQ(p.Y(), 0);
    EXPECT_EQ(p.U(), 0);
    EXPECT_EQ(p.V(), 0);
    EXPECT_NEAR(p.A(), 65535, 1);  // opaque; the Lanczos sum is rounded
  }
  EXPECT_FLOAT_EQ(BilinearARGBSF(&image, 6.0, 2.0).r, 1.0f);
}

TEST(CubicKernel, HasTheValuesOfItsPolynomials) {
  EXPECT_EQ(ImageInterpolator::rfunc(0.0), 1.0);
  EXPECT_EQ(ImageInterpolator::rfunc(0.5), 0.5625);
  EXPECT_EQ(ImageInterpolator::rfunc(-0.5), 0.5625);
  EXPECT_EQ(ImageInterpolator::rfunc(1.0), 0.0);
  EXPECT_EQ(ImageInterpolator::rfunc(1.5), -0.0625);
  EXPECT_EQ(ImageInterpolator::rfunc(-1.5), -0.0625);
  EXPECT_EQ(ImageInterpolator::rfunc(2.0), 0.0);
  EXPECT_EQ(ImageInterpolator::rfunc(2.5), 0.0);
}

TEST(LanczosExact, IsTheProductOfTwoSincs) {
  EXPECT_EQ(ImageInterpolator::lsinc(0.0, 3.0f), 1.0);
  EXPECT_EQ(ImageInterpolator::lsinc(3.0, 3.0f), 0.0);
  EXPECT_EQ(ImageInterpolator::lsinc(-4.0, 3.0f), 0.0);
  EXPECT_EQ(ImageInterpolator::lsinc(2.0, 2.0f), 0.0);
  EXPECT_NEAR(ImageInterpolator::lsinc(1.0, 3.0f), 0.0, 1e-15);
  const double pi = std::acos(-1.0);
  EXPECT_NEAR(ImageInterpolator::lsinc(1.5, 3.0f), -4 / (3 * pi * pi), 1e-15);  // -2/(3 pi) * 2/pi
  EXPECT_NEAR(ImageInterpolator::lsinc(-0.5, 3.0f), 6 / (pi * pi), 1e-15);      // 2/pi * 3/pi
  EXPECT_NEAR(ImageInterpolator::lsinc(1.0, 2.0f), 0.0, 1e-15);
}

TEST(Visibility, IsOneOnlyWhereAllSharingNeighboursAreOpaque) {
  for (const PixelType type : {LA16, RGBA32, ARGB64, YUVA32, YUVAP444}) {
    Image image(6, 6, type);
    image.Clear(image.GenerateWhite());
    Pixel hole = image.GenerateWhite();
    hole.SetAlpha(hole.A() - 1);
    image.SetPixel(4, 4, hole);
    const auto visible = [&](double x, double y) { return ImageInterpolator::GetVisibility(&image, Point2D(x, y)); };
    EXPECT_EQ(visible(1, 1), 1.0) << type;
    for (const double f : {0.05, 0.1, 0.3, 0.45, 0.7, 0.85, 0.99})
      EXPECT_EQ(visible(1 + f, 2 + f * f), 1.0) << type << ' ' << f;
    EXPECT_EQ(visible(5, 5), 1.0) << type;  // the neighbours outside have no share
    EXPECT_EQ(visible(5.1, 2), 0.0) << type;
    EXPECT_EQ(visible(-0.1, 2), 0.0) << type;
    EXPECT_EQ(visible(2, 5.5), 0.0) << type;
    EXPECT_EQ(visible(4, 4), 0.0) << type;
    EXPECT_EQ(visible(3.5, 3.5), 0.0) << type;
    EXPECT_EQ(visible(3, 3), 1.0) << type;
    EXPECT_EQ(visible(-5, 2), 0.0) << type;
    EXPECT_EQ(visible(std::numeric_limits<double>::quiet_NaN(), 2), 0.0) << type;
  }
}

}  // namespace
}  // namespace Vorn
