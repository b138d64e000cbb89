// The functions of imaging/ColourConversion.h that exchange bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

using testing::ElementsAre;

using Bytes = std::vector<unsigned char>;

Bytes Counting(int count) {
  Bytes bytes(static_cast<std::size_t>(count));
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

TEST(SwapRedBlue, ExchangesTheOuterBytesOfEachPixel) {
  Bytes bytes = Counting(12);
  Image image(2, 2, 6, RGB24, bytes.data(), false);
  SwapRedBlue(image);
  EXPECT_THAT(bytes, ElementsAre(3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10));
  EXPECT_EQ(image.type, RGB24);
}

TEST(SwapRedBlue, TakesTheBlockAsOneRunWhereTheStrideIsWholePixels) {
  Bytes bytes = Counting(18);
  Image image(2, 2, 9, BGR24, bytes.data(), false);
  SwapRedBlue(image);
  EXPECT_THAT(bytes, ElementsAre(3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13, 18, 17, 16));
}

TEST(SwapRedBlue, GoesRowByRowOtherwise) {
  Bytes bytes = Counting(16);
  Image image(2, 2, 8, RGB24, bytes.data(), false);
  SwapRedBlue(image);
  EXPECT_THAT(bytes, ElementsAre(3, 2, 1, 6, 5, 4, 7, 8, 11, 10, 9, 14, 13, 12, 15, 16));
  Bytes upward = Counting(12);
  Image bottomUp(2, 2, -6, RGB24, upward.data() + 6, false);
  SwapRedBlue(bottomUp);
  EXPECT_THAT(upward, ElementsAre(3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10));
}

TEST(SwapRedBlue, LeavesOtherFormatsAlone) {
  Bytes bytes = Counting(16);
  Image image(2, 2, 8, RGBA32, bytes.data(), false);
  SwapRedBlue(image);
  EXPECT_EQ(bytes, Counting(16));
  Image empty;
  SwapRedBlue(empty);
  Image planes(4, 2, YUVP444);
  SwapRedBlue(planes);
}

TEST(ConvertRGBtoBGR, ChangesBytesAndTypeOfRGB24Only) {
  Bytes bytes = Counting(6);
  Image image(2, 1, 6, RGB24, bytes.data(), false);
  EXPECT_FALSE(ConvertBGRtoRGB(image));
  EXPECT_TRUE(ConvertRGBtoBGR(image));
  EXPECT_EQ(image.type, BGR24);
  EXPECT_THAT(bytes, ElementsAre(3, 2, 1, 6, 5, 4));
  EXPECT_EQ(image.GetRaw(0, 0), Pixel(1, 2, 3, 255));
  EXPECT_FALSE(ConvertRGBtoBGR(image));
  EXPECT_TRUE(ConvertBGRtoRGB(image));
  EXPECT_EQ(image.type, RGB24);
  EXPECT_EQ(bytes, Counting(6));
}

TEST(ConvertRGBAtoARGB, RotatesEachPixelOfRGBA32Only) {
  Bytes bytes = Counting(24);
  Image image(2, 2, 12, RGBA32, bytes.data(), false);
  EXPECT_TRUE(ConvertRGBAtoARGB(image));
  EXPECT_EQ(image.type, ARGB32);
  EXPECT_THAT(bytes,
              ElementsAre(4, 1, 2, 3, 8, 5, 6, 7, 9, 10, 11, 12, 16, 13, 14, 15, 20, 17, 18, 19, 21, 22, 23, 24));
  EXPECT_EQ(image.GetRaw(0, 0), Pixel(1, 2, 3, 4));
  EXPECT_FALSE(ConvertRGBAtoARGB(image));
  EXPECT_EQ(bytes[0], 4);
}

TEST(SwapEndian, ExchangesThePairsOfBytesOfEachRowsPixels) {
  for (const auto swap : {SwapEndian, SwapEndianParallel}) {
    Bytes bytes = Counting(20);
    Image image(2, 2, 10, LA32, bytes.data(), false);
    swap(&image);
    EXPECT_THAT(bytes, ElementsAre(2, 1, 4, 3, 6, 5, 8, 7, 9, 10, 12, 11, 14, 13, 16, 15, 18, 17, 19, 20));
  }
}

TEST(SwapEndian, StaysInsideTheRow) {  // a pixel of this type counts as eight bytes, and has four
  Bytes bytes = Counting(16);
  Image image(2, 2, 8, Y2UV16, bytes.data(), false);
  SwapEndian(&image);
  EXPECT_THAT(bytes, ElementsAre(2, 1, 4, 3, 6, 5, 8, 7, 10, 9, 12, 11, 14, 13, 16, 15));
  Bytes odd = Counting(3);
  Image bytesOfRow(3, 1, 3, L8, odd.data(), false);
  SwapEndian(&bytesOfRow);
  EXPECT_THAT(odd, ElementsAre(2, 1, 3));  // the last one has no neighbour
}

TEST(SwapEndian, ReachesEachRowForAnyProcessorCount) {
  for (const int processors : {1, 2, 3, 7, 16}) {
    SetProcessorCount(processors);
    Bytes bytes = Counting(20);
    Image image(1, 10, 2, L16, bytes.data(), false);
    SwapEndianParallel(&image);
    for (std::size_t i = 0; i < bytes.size(); ++i) EXPECT_EQ(bytes[i], (i ^ 1) + 1) << processors;
  }
  SetProcessorCount(0);
}

TEST(SwapEndian4, ExchangesTheBytesOfFourWordsAPixel) {
  Bytes bytes = Counting(20);
  Image image(2, 1, 20, ARGB64, bytes.data(), false);
  SwapEndian4(&image);
  EXPECT_THAT(bytes, ElementsAre(2, 1, 4, 3, 6, 5, 8, 7, 10, 9, 12, 11, 14, 13, 16, 15, 17, 18, 19, 20));
  Bytes others = Counting(8);
  Image narrow(2, 1, 8, RGBA32, others.data(), false);
  SwapEndian4(&narrow);
  EXPECT_EQ(others, Counting(8));
}

TEST(SwapEndian, OfNothingOrOfPlanesDoesNothing) {
  Image empty, planes(4, 4, YUVP422);
  planes.Clear(Pixel(1, 2, 3, 4, Rec709));
  for (const auto swap : {SwapEndian, SwapEndianParallel, SwapEndian4}) {
    swap(nullptr);
    swap(&empty);
    swap(&planes);
    EXPECT_EQ(planes(1, 1).Y(), 1);
  }
}

}  // namespace
}  // namespace Vorn
