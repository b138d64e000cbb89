#include "imaging/ImageComposite.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "imaging/PixelTypes.h"

namespace Vorn {
namespace {

PixelARGBSF& FloatAt(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

Image Filled(int width, int height, PixelType type, const Pixel& pixel) {
  Image image(width, height, type);
  FillWith(image, pixel);
  return image;
}

Image Noise(int width, int height, PixelType type) {
  Dice dice;
  Image image(width, height, type);
  FillWithNoise(image, dice);
  return image;
}

Pixel Deep(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

void ExpectSamePixels(const Image& a, const Image& b) {
  ASSERT_EQ(a.type, b.type);
  ASSERT_EQ(a.width, b.width);
  ASSERT_EQ(a.height, b.height);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) ASSERT_EQ(a.GetRaw(x, y), b.GetRaw(x, y)) << x << ", " << y;
}

TEST(ImageComposite, LaysAPictureOverAnOpaqueOneByItsAlpha) {
  Image bottom = Filled(3, 2, RGB24, Pixel(100, 100, 100, 0));
  const Image top = Filled(2, 2, RGBA32, Pixel(200, 0, 101, 51));  // a fifth
  EXPECT_TRUE(ImageComposite::Composite(top, bottom));
  EXPECT_EQ(bottom(1, 1), Pixel(120, 80, 100, 255));
  EXPECT_EQ(bottom(2, 1), Pixel(100, 100, 100, 255));
}

TEST(ImageComposite, LaysAPictureOverATransparentOne) {
  const Image top = Filled(1, 1, RGBA32, Pixel(200, 0, 100, 51));
  Image clear = Filled(1, 1, RGBA32, Pixel(9, 9, 9, 0)), half = Filled(1, 1, BGRA32, Pixel(0, 0, 0, 102));
  EXPECT_TRUE(ImageComposite::Composite(top, clear));
  EXPECT_EQ(clear(0, 0), Pixel(200, 0, 100, 51));
  EXPECT_TRUE(ImageComposite::Composite(top, half));
  // Opacity 0.2 + 0.4 * 0.8 = 0.52, of which 0.2 / 0.52 is the upper colour's.
  EXPECT_EQ(half(0, 0), Pixel(77, 0, 38, 133));
  const Image nothing = Filled(1, 1, RGBA32, Pixel(200, 0, 100, 0));
  EXPECT_TRUE(ImageComposite::Composite(nothing, half));
  EXPECT_EQ(half(0, 0), Pixel(77, 0, 38, 133));
}

TEST(ImageComposite, ConvertsThePictureToTheOthersFormat) {
  Image video = Filled(2, 2, YUVA32, Pixel(0, 112, 112, 219, Rec709));
  const Image red = Filled(2, 2, RGBA32, Pixel(255, 0, 0, 255));
  EXPECT_TRUE(ImageComposite::Composite(red, video));
  EXPECT_EQ(video(1, 1), Pixel(47, 86, 224, 219, Rec709));
  Image pairs = Filled(3, 1, Y2UV32, Pixel(0, 112, 112, 0, Rec709));
  EXPECT_TRUE(ImageComposite::Paste(red, pairs, Point2D(1, 0), 1));
  EXPECT_EQ(pairs(0, 0), Pixel(0, 99, 168, 219, Rec709));  // chroma is shared with the pixel beside it
  EXPECT_EQ(pairs(1, 0), Pixel(47, 99, 168, 219, Rec709));
  EXPECT_EQ(pairs(2, 0), Pixel(47, 86, 224, 219, Rec709));
}

TEST(ImageComposite, BlendsFloatsAsTheyAre) {
  Image bottom(1, 1, ARGBSF), top(1, 1, ARGBSF);
  FloatAt(bottom, 0, 0) = {1, 4, -2, 0};
  FloatAt(top, 0, 0) = {0.5F, 2, 0, 1};
  EXPECT_TRUE(ImageComposite::Composite(top, bottom));
  EXPECT_EQ(FloatAt(bottom, 0, 0).a, 1.0F);
  EXPECT_EQ(FloatAt(bottom, 0, 0).r, 3.0F);
  EXPECT_EQ(FloatAt(bottom, 0, 0).g, -1.0F);
  EXPECT_EQ(FloatAt(bottom, 0, 0).b, 0.5F);
}

TEST(ImageComposite, BlendsByWeight) {
  Image bottom = Filled(1, 1, RGB24, Pixel(100, 100, 100, 0));
  const Image top = Filled(1, 1, RGB24, Pixel(200, 0, 100, 0));
  EXPECT_TRUE(ImageComposite::Blend(top, bottom, 0.0));
  EXPECT_EQ(bottom(0, 0), Pixel(100, 100, 100, 255));
  EXPECT_TRUE(ImageComposite::Blend(top, bottom, std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(bottom(0, 0), Pixel(100, 100, 100, 255));
  EXPECT_TRUE(ImageComposite::Blend(top, bottom, 0.25));
  EXPECT_EQ(bottom(0, 0), Pixel(125, 75, 100, 255));
  EXPECT_TRUE(ImageComposite::Blend(top, bottom, 7.0));
  EXPECT_EQ(bottom(0, 0), Pixel(200, 0, 100, 255));
}

TEST(ImageComposite, BlendsTwoPixelsByTheirWeights) {
  EXPECT_EQ(ImageComposite::Blend(Pixel(0, 100, 255, 0), Pixel(100, 0, 255, 200), 3, 1), Pixel(25, 75, 255, 50));
  EXPECT_EQ(ImageComposite::Blend(Pixel(10, 20), Pixel(20, 40), 0.5, 0.5), Pixel(15, 30));
  EXPECT_EQ(ImageComposite::Blend(Deep(Pixel(1, 2, 3, 4, Rec709), 1023), Pixel(3, 2, 1, 4, Rec709), 1, 1),
            Deep(Pixel(2, 2, 2, 4, Rec709), 1023));
  EXPECT_EQ(ImageComposite::Blend(Pixel(1, 2, 3, 4), Pixel(5, 6, 7, 8), 0, 0), Pixel(1, 2, 3, 4));
}

class CropEachFormat : public testing::TestWithParam<PixelType> {};
INSTANTIATE_TEST_SUITE_P(Of, CropEachFormat, testing::ValuesIn(allPixelTypes));

TEST_P(CropEachFormat, CutsAtTheCorners) {
  Image source = Noise(16, 9, GetParam());
  source.SetColourSpace(IsYCbCrType(GetParam()) ? Rec601 : source.space);
  const Image part = ImageComposite::Crop(source, Rectangle(4, 2, 11, 5));
  ASSERT_EQ(part.width, 8);
  ASSERT_EQ(part.height, 4);
  EXPECT_TRUE(part.IsSameFormat(source));
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(part(x, y), source(x + 4, y + 2)) << x << ", " << y;
}

TEST_P(CropEachFormat, MirrorsComeBack) {
  const Image source = Noise(12, 6, GetParam());
  Image mirrored, back;
  EXPECT_TRUE(ImageComposite::MirrorHorizontally(source, mirrored));
  for (int x = 0; x < 12; ++x) ASSERT_EQ(mirrored(x, 3), source(11 - x, 3));
  EXPECT_TRUE(ImageComposite::MirrorHorizontally(mirrored, back));
  ExpectSamePixels(back, source);
  EXPECT_TRUE(ImageComposite::MirrorVertically(source, mirrored));
  for (int y = 0; y < 6; ++y) ASSERT_EQ(mirrored(5, y), source(5, 5 - y));
  EXPECT_TRUE(ImageComposite::MirrorVertically(mirrored, mirrored));
  ExpectSamePixels(mirrored, source);
}

TEST_P(CropEachFormat, PastingAPartBackChangesNothing) {
  const Image source = Noise(12, 8, GetParam());
  Image opaque = source;
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 12; ++x) {
      Pixel p = source(x, y);
      p.SetAlpha(IsYCbCrType(GetParam()) ? static_cast<int>(source.alphaRange) : static_cast<int>(source.maxValue));
      opaque.SetPixel(x, y, p);
    }
  const Image part = ImageComposite::Crop(opaque, Rectangle(2, 4, 7, 5));
  Image target = opaque;
  EXPECT_TRUE(ImageComposite::Paste(part, target, Point2D(2.3, 3.6), 1.0));
  ExpectSamePixels(target, opaque);
}

TEST(ImageComposite, CropsOnlyWhatThereIs) {
  const Image source = Noise(5, 4, RGB24);
  const Image part = ImageComposite::Crop(source, Rectangle(-3, 2, 1, 90));
  EXPECT_EQ(part.width, 2);
  EXPECT_EQ(part.height, 2);
  EXPECT_EQ(part(1, 1), source(1, 3));
  EXPECT_FALSE(ImageComposite::Crop(source, Rectangle(5, 0, 9, 9)).valid);
  EXPECT_FALSE(ImageComposite::Crop(source, Rectangle(2, 2, 1, 1)).valid);
  EXPECT_FALSE(ImageComposite::Crop(Image(), Rectangle(0, 0, 1, 1)).valid);
  Image target = Filled(1, 1, L8, Pixel(7, 0));
  EXPECT_FALSE(ImageComposite::Crop(target, source, Rectangle(5, 0, 9, 9)));
  EXPECT_EQ(target(0, 0).Luma(), 7);
  EXPECT_TRUE(ImageComposite::Crop(target, source, Rectangle(4, 3, 4, 3)));
  EXPECT_EQ(target(0, 0), source(4, 3));
  EXPECT_TRUE(ImageComposite::Crop(target, target, Rectangle(0, 0, 9, 9)));
  EXPECT_EQ(target(0, 0), source(4, 3));
}

TEST(ImageComposite, OddCutsShareTheChromaOfTheirNewPairs) {
  Image source(4, 1, Y2UV32);
  for (int x = 0; x < 4; ++x) source.SetPixel(x, 0, Pixel(10 * x, x < 2 ? 100 : 103, 112, 0, Rec709));
  const Image part = ImageComposite::Crop(source, Rectangle(1, 0, 3, 0));
  EXPECT_EQ(part(0, 0), Pixel(10, 102, 112, 219, Rec709));  // the mean of both, rounded toward 112
  EXPECT_EQ(part(1, 0), Pixel(20, 102, 112, 219, Rec709));
  EXPECT_EQ(part(2, 0), Pixel(30, 103, 112, 219, Rec709));
}

TEST(ImageComposite, CropsToTheMatte) {
  Image image = Filled(6, 5, YUVA32, Pixel(50, 60, 70, 0, Rec709));
  EXPECT_FALSE(ImageComposite::CropEmptyMatte(image).valid);
  image.SetPixel(4, 1, Pixel(51, 60, 70, 1, Rec709));
  image.SetPixel(2, 3, Pixel(52, 60, 70, 219, Rec709));
  const Image part = ImageComposite::CropEmptyMatte(image);
  EXPECT_EQ(part.width, 3);
  EXPECT_EQ(part.height, 3);
  EXPECT_EQ(part(2, 0), Pixel(51, 60, 70, 1, Rec709));
  EXPECT_EQ(part(0, 2), Pixel(52, 60, 70, 219, Rec709));
  const Image opaque = Noise(3, 2, RGB24);
  ExpectSamePixels(ImageComposite::CropEmptyMatte(opaque), opaque);
  Image floats(3, 1, ARGBSF);
  FloatAt(floats, 0, 0) = {0, 1, 1, 1};
  FloatAt(floats, 1, 0) = {1e-9F, 1, 1, 1};
  FloatAt(floats, 2, 0) = {-1, 1, 1, 1};
  EXPECT_EQ(ImageComposite::CropEmptyMatte(floats).width, 1);
  EXPECT_FALSE(ImageComposite::CropEmptyMatte(Image()).valid);
}

TEST(ImageComposite, PastesAtAPosition) {
  Image target = Filled(4, 3, RGB24, Pixel(1, 1, 1, 0));
  const Image source = Noise(3, 3, RGB24);
  EXPECT_TRUE(ImageComposite::Paste(source, target, Point2D(2.4, -1.6), 1.0));
  EXPECT_EQ(target(2, 0), source(0, 2));
  EXPECT_EQ(target(3, 0), source(1, 2));
  EXPECT_EQ(target(1, 0), Pixel(1, 1, 1, 255));
  EXPECT_EQ(target(2, 1), Pixel(1, 1, 1, 255));
}

TEST(ImageComposite, PastesAPart) {
  Image target = Filled(4, 3, RGB24, Pixel(1, 1, 1, 0));
  const Image source = Noise(3, 3, RGB24);
  EXPECT_TRUE(ImageComposite::Paste(source, target, Point2D(0, 0), Rectangle(-1, 1, 0, 1)));
  EXPECT_EQ(target(0, 0), Pixel(1, 1, 1, 255));  // column -1 of the picture isn't there
  EXPECT_EQ(target(1, 0), source(0, 1));
  EXPECT_EQ(target(2, 0), Pixel(1, 1, 1, 255));
}

TEST(ImageComposite, PastesNothingFarAway) {
  constexpr double huge = 1e300, nan = std::numeric_limits<double>::quiet_NaN();
  const Image source = Noise(3, 3, RGB24);
  Image target = Filled(3, 3, RGB24, Pixel(1, 1, 1, 0));
  for (const Point2D& p : {Point2D(huge, 0), Point2D(0, -huge), Point2D(nan, 0), Point2D(3, 0), Point2D(0, -3)}) {
    EXPECT_TRUE(ImageComposite::Paste(source, target, p, 1.0));
    EXPECT_TRUE(ImageComposite::Paste(source, target, p, Rectangle(-2147483647, 0, 2147483647, 2)));
  }
  for (int x = 0; x < 3; ++x) EXPECT_EQ(target(x, 1), Pixel(1, 1, 1, 255));
}

TEST(ImageComposite, TakesTheMatteOut) {
  const struct {
    PixelType from, to;
    Pixel pixel;
    int matte;
  } cases[] = {{RGBA32, L8, Pixel(1, 2, 3, 77), 77},
               {YUVA32, L8, Pixel(1, 2, 3, 219, Rec709), 255},
               {YUVA32, L8, Pixel(1, 2, 3, 100, Rec709), 116},
               {RGB30, L10, Pixel(1, 2, 3, 0), 1023},
               {Y1UV12, L16, Pixel(1, 2, 3, 0, Rec709), 65535},
               {YUVA64, L16, Pixel(1, 2, 3, 28032, Rec709), 32768},
               {ARGBSF, L16, Pixel(1, 2, 3, 1234), 1234}};
  for (const auto& c : cases) {
    Image matte;
    EXPECT_TRUE(ImageComposite::GetMatte(Filled(2, 2, c.from, c.pixel), matte));
    EXPECT_EQ(matte.type, c.to) << c.from;
    EXPECT_EQ(matte(1, 1).Luma(), c.matte) << c.from;
  }
  Image matte;
  EXPECT_FALSE(ImageComposite::GetMatte(Image(), matte));
}

TEST(ImageComposite, AMatteThatIsPutBackIsTheSame) {
  Image image(220, 1, YUVA32);
  for (int x = 0; x < 220; ++x) image.SetPixel(x, 0, Pixel(1, 2, 3, x, Rec709));
  Image matte;
  ASSERT_TRUE(ImageComposite::GetMatte(image, matte));
  ASSERT_TRUE(ImageComposite::ReMatte(image, matte));
  for (int x = 0; x < 220; ++x) EXPECT_EQ(image(x, 0).A(), x);
}

TEST(ImageComposite, PutsAMatteIn) {
  Image matte = Filled(2, 1, L8, Pixel(51, 0));
  matte.SetPixel(1, 0, Pixel(255, 0));
  Image rgb = Filled(3, 1, RGB24, Pixel(1, 2, 3, 0)), video = Filled(2, 1, YUVA64, Pixel(1000, 2, 3, 4, Rec709)),
        floats(2, 1, ARGBSF), planes = Filled(2, 1, YUVP444, Pixel(1, 2, 3, 0, Rec709));
  FloatAt(floats, 0, 0) = FloatAt(floats, 1, 0) = {0, 2, -1, 0.5F};
  EXPECT_TRUE(ImageComposite::ReMatte(rgb, matte));
  EXPECT_EQ(rgb.type, RGBA32);
  EXPECT_EQ(rgb(0, 0), Pixel(1, 2, 3, 51));
  EXPECT_EQ(rgb(1, 0), Pixel(1, 2, 3, 255));
  EXPECT_EQ(rgb(2, 0), Pixel(1, 2, 3, 0));  // beyond the matte
  EXPECT_TRUE(ImageComposite::ReMatte(video, matte));
  EXPECT_EQ(video(0, 0), Deep(Pixel(1000, 2, 3, 11213, Rec709), 65535));
  EXPECT_EQ(video(1, 0), Deep(Pixel(1000, 2, 3, 56064, Rec709), 65535));
  EXPECT_TRUE(ImageComposite::ReMatte(floats, matte));
  EXPECT_EQ(FloatAt(floats, 0, 0).a, 0.2F);
  EXPECT_EQ(FloatAt(floats, 1, 0).a, 1.0F);
  EXPECT_EQ(FloatAt(floats, 0, 0).r, 2.0F);
  EXPECT_TRUE(ImageComposite::ReMatte(planes, matte));
  EXPECT_EQ(planes.type, YUVAP444);
  EXPECT_EQ(planes(0, 0), Pixel(1, 2, 3, 44, Rec709));
}

TEST(ImageComposite, PutsNoMatteIntoATypeThatHasNone) {
  const Image matte = Filled(2, 1, L8, Pixel(51, 0));
  Image pairs = Filled(2, 1, Y2UV32, Pixel(1, 2, 3, 0, Rec709)), empty;
  EXPECT_FALSE(ImageComposite::ReMatte(pairs, matte));
  EXPECT_EQ(pairs.type, Y2UV32);
  EXPECT_FALSE(ImageComposite::ReMatte(empty, matte));
  EXPECT_FALSE(ImageComposite::ReMatte(pairs, empty));
}

TEST(ImageComposite, RefusesPicturesWithoutPixels) {
  Image empty, picture = Noise(2, 2, RGBA32);
  const Image before = picture;
  EXPECT_FALSE(ImageComposite::Composite(empty, picture));
  EXPECT_FALSE(ImageComposite::Composite(picture, empty));
  EXPECT_FALSE(ImageComposite::Blend(empty, picture, 1));
  EXPECT_FALSE(ImageComposite::Paste(empty, picture, Point2D(0, 0), 1));
  EXPECT_FALSE(ImageComposite::MirrorVertically(empty, picture));
  EXPECT_FALSE(ImageComposite::MirrorHorizontally(empty, picture));
  ExpectSamePixels(picture, before);
}

}  // namespace
}  // namespace Vorn
