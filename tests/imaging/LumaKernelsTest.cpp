#include "imaging/LumaKernels.h"

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <vector>

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// The luma of a one-row image of these bytes (or 16-bit words, or floats), with a stride that fits them.
template <typename Sample>
std::vector<float> LumaOf(PixelType type, int width, std::vector<Sample> samples) {
  auto* bytes = reinterpret_cast<unsigned char*>(samples.data());
  const Image image(width, 1, static_cast<int>(samples.size() * sizeof(Sample)), type, bytes, false);
  FastArray luma;
  EXPECT_TRUE(luma.ConvertFromLuma(image));
  EXPECT_EQ(luma.width, width);
  EXPECT_EQ(luma.height, 1);
  return {luma.data, luma.data + luma.Length()};
}

using Byte = unsigned char;
using Word = unsigned short;

TEST(LumaKernels, PackedBytesGiveTheirStoredCode) {
  EXPECT_THAT(LumaOf<Byte>(Y2UV32, 4, {1, 20, 2, 21, 3, 22, 4, 23}), ElementsAre(20, 21, 22, 23));
  EXPECT_THAT(LumaOf<Byte>(YUV24, 2, {1, 20, 2, 3, 21, 4, 0}), ElementsAre(20, 21));
  EXPECT_THAT(LumaOf<Byte>(YUVA32, 2, {1, 20, 2, 255, 3, 21, 4, 255}), ElementsAre(20, 21));
}

TEST(LumaKernels, PackedWordsGiveTheirStoredCode) {
  EXPECT_THAT(LumaOf<Word>(YUVA64, 2, {60000, 1, 2, 3, 70, 4, 5, 6}), ElementsAre(60000, 70));
  for (const PixelType type : {Y2UV10, Y2UV12, Y2UV14, Y2UV16})
    EXPECT_THAT(LumaOf<Word>(type, 2, {1, 900, 2, 901}), ElementsAre(900, 901));
  for (const PixelType type : {Y1UV10, Y1UV12, Y1UV14, Y1UV16})
    EXPECT_THAT(LumaOf<Word>(type, 2, {900, 1, 2, 901, 3, 4, 0}), ElementsAre(900, 901));
}

TEST(LumaKernels, AnOddWidthStaysInItsRow) {  // what lay outside, the address sanitizer would find
  EXPECT_THAT(LumaOf<Byte>(Y2UV32, 3, {1, 20, 2, 21, 3, 22, 4, 23}), ElementsAre(20, 21, 22));
  EXPECT_THAT(LumaOf<Word>(Y2UV10, 3, {1, 900, 2, 901, 3, 902, 4, 903}), ElementsAre(900, 901, 902));
}

TEST(LumaKernels, PlanarFormatsGiveTheirFirstPlane) {
  for (const PixelType type : {YUVP420, YUVP422, YUVP444, YUVAP444}) {
    std::vector<Byte> samples[4];
    Byte* planes[4];
    int strides[4];
    for (int i = 0; i < 4; ++i) {
      for (int k = 0; k < 15; ++k) samples[i].push_back(static_cast<Byte>(60 * i + k));
      planes[i] = samples[i].data();
      strides[i] = 5;
    }
    const Image image(4, 3, strides, type, planes, false);
    FastArray luma;
    luma.ConvertFromLuma(image);
    EXPECT_THAT(std::vector<float>(luma.data, luma.data + luma.Length()),
                ElementsAre(0, 1, 2, 3, 5, 6, 7, 8, 10, 11, 12, 13));
  }
}

TEST(LumaKernels, RGBGivesAQuarterHalfAndQuarterInIntegers) {
  EXPECT_THAT(LumaOf<Word>(ARGB64, 2, {9, 100, 50, 3, 9, 1, 10, 2}), ElementsAre(50, 5));  // 203/4, 23/4
  EXPECT_THAT(LumaOf<Byte>(RGB24, 2, {100, 50, 3, 1, 10, 2, 0}), ElementsAre(50, 5));
  EXPECT_THAT(LumaOf<Byte>(BGR24, 1, {3, 50, 100, 0}), ElementsAre(50));
  EXPECT_THAT(LumaOf<Byte>(BGRA32, 1, {3, 50, 100, 255}), ElementsAre(50));
  EXPECT_THAT(LumaOf<Byte>(ARGB32, 1, {255, 100, 50, 3}), ElementsAre(50));
  EXPECT_THAT(LumaOf<Byte>(RGBA32, 1, {100, 50, 3, 255}), ElementsAre(50));
}

TEST(LumaKernels, FloatsGiveTheirFourthElementPlusTruncatedDifferences) {
  EXPECT_THAT(LumaOf<float>(ARGBSF, 2, {1.0F, 0.25F, 0.5F, 0.75F, 1.0F, 0.0F, 1.0F, 0.125F}),
              ElementsAre(0.75F, 0.125F));
  // 10.9 - 2.5 is cut to 8, -1.9 - 2.5 to -4: a quarter of 4 is 1.
  EXPECT_THAT(LumaOf<float>(ARGBSF, 1, {10.9F, 99.0F, -1.9F, 2.5F}), ElementsAre(3.5F));
  // -1 is cut from -1.5 and shifted down to -1.
  EXPECT_THAT(LumaOf<float>(ARGBSF, 1, {1.0F, 0.0F, 2.5F, 2.5F}), ElementsAre(1.5F));
}

TEST(LumaKernels, FloatsThatNoIntHoldsDoNoHarm) {
  const float infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(LumaOf<float>(ARGBSF, 1, {infinity, 0, nan, 0}).at(0), 1.0e9F / 4);
  EXPECT_EQ(LumaOf<float>(ARGBSF, 1, {-3e38F, 0, -3e38F, 0}).at(0), -2.0e9F / 4);
}

TEST(LumaKernels, AnyOtherFormatGivesThePixelsLuma) {
  EXPECT_THAT(LumaOf<Byte>(L8, 3, {5, 6, 250}), ElementsAre(5, 6, 250));
  EXPECT_THAT(LumaOf<Word>(RGB48, 1, {1000, 2000, 4000, 0}), ElementsAre(1929));  // 299 + 1174 + 456
}

TEST(LumaKernels, TenBitFormatsInWordsKeepTheirOffsetToo) {
  std::vector<Byte> bytes(16);
  const unsigned single[] = {500U << 12};  // one pixel: Y in bits 12-21
  std::memcpy(bytes.data(), single, 4);
  EXPECT_THAT(LumaOf<Byte>(Y1UVX32, 1, bytes), ElementsAre(500));
  const unsigned six[] = {64U << 10, 65U | 940U << 20, 67U << 10, 68U | 1023U << 20};  // Y0 | Y1, Y2 | Y3 | Y4, Y5
  std::memcpy(bytes.data(), six, 16);
  EXPECT_THAT(LumaOf<Byte>(Y6UVX32, 6, bytes), ElementsAre(64, 65, 940, 67, 68, 1023));
}

TEST(LumaKernels, BlackOfAVideoRangeKeepsItsOffset) {
  Image image(6, 4, YUVA32);
  image.Clear();
  FastArray luma;
  luma.ConvertFromLuma(image);
  EXPECT_THAT(std::vector<float>(luma.data, luma.data + luma.Length()),
              ElementsAreArray(std::vector<float>(24, 16.0F)));
}

TEST(LumaKernels, ConvertTheRowsUpToTheLastOne) {
  Image image(2, 4, L8);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 2; ++x) image.SetPixel(x, y, Pixel(10 * y + x, 255));
  FastArray luma(2, 4);
  luma.Clear(-1);
  ParallelAnyToLuma kernel(image, luma);
  kernel(1, 3);
  EXPECT_THAT(std::vector<float>(luma.data, luma.data + 8), ElementsAre(-1, -1, 10, 11, 20, 21, -1, -1));
  kernel(0);
  EXPECT_EQ(luma(1, 0), 1);
}

TEST(LumaKernels, RowsLieAsFarApartAsTheImageSays) {
  std::vector<Byte> samples = {1, 2, 99, 3, 4, 99};
  const Image image(2, 2, 3, L8, samples.data(), false);
  FastArray parent(9, 9);
  FastArray view(parent, 0, 0, 2, 2);
  EXPECT_TRUE(view.ConvertFromLuma(image));  // a view of the right size is detached too
  EXPECT_FALSE(view.isView);
  EXPECT_THAT(std::vector<float>(view.data, view.data + 4), ElementsAre(1, 2, 3, 4));
}

TEST(LumaKernels, AnImageWithoutMemoryGivesAnArrayOfItsSize) {
  FastArray luma(3, 3);
  EXPECT_TRUE(luma.ConvertFromLuma(Image()));
  EXPECT_EQ(luma.Length(), 0);
}

}  // namespace
}  // namespace Vorn
