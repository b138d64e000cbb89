// Up- and down-sampling of chroma in imaging/ColourConversion.h, on stored codes worked out by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "imaging/ColourConversion.h"
#include "imaging/PixelTypes.h"

namespace Vorn {
namespace {

using testing::ElementsAre;

using Byte = unsigned char;

/// A one-row image with these stored codes; U and V are the same unless V is given.
Image RowOf(PixelType type, const std::vector<int>& y, const std::vector<int>& u, std::vector<int> v = {}) {
  if (v.empty()) v = u;
  Image image(static_cast<int>(y.size()), 1, type);
  image.Clear();
  for (std::size_t x = 0; x < y.size(); ++x) image.SetRaw(static_cast<int>(x), 0, Pixel(y[x], u[x], v[x], 200, Rec709));
  return image;
}

template <typename Component>
std::vector<int> Stored(const Image& image, int y, Component component) {
  std::vector<int> codes;
  for (int x = 0; x < image.width; ++x) codes.push_back((image.GetRaw(x, y).*component)());
  return codes;
}
std::vector<int> YOf(const Image& image, int y = 0) { return Stored(image, y, &Pixel::Y); }
std::vector<int> UOf(const Image& image, int y = 0) { return Stored(image, y, &Pixel::U); }
std::vector<int> VOf(const Image& image, int y = 0) { return Stored(image, y, &Pixel::V); }

std::vector<Byte> Bytes(const Image& image, int count) { return {image.rows[0], image.rows[0] + count}; }

TEST(ChromaUpSampling, SecondPixelsTakeTheMeanOfTheirNeighbours) {
  const Image pairs =
      RowOf(Y2UV32, {20, 21, 22, 23, 24, 25}, {100, 100, 103, 103, 200, 200}, {200, 200, 203, 203, 128, 128});
  Image full(6, 1, YUVA32);
  EXPECT_TRUE(ConvertYUVupSampleChroma32(pairs, full));
  EXPECT_THAT(YOf(full), ElementsAre(20, 21, 22, 23, 24, 25));
  EXPECT_THAT(UOf(full), ElementsAre(100, 102, 103, 151, 200, 200));  // 101.5 goes up to, 151.5 down to neutral 128
  EXPECT_THAT(VOf(full), ElementsAre(200, 201, 203, 165, 128, 128));  // 201.5 and 165.5 go down
  for (int x = 0; x < 6; ++x) EXPECT_EQ(full.GetRaw(x, 0).A(), 235);
}

TEST(ChromaUpSampling, TheLastPixelOfAnOddWidthKeepsThePairsChroma) {
  const Image pairs = RowOf(Y2UV32, {20, 21, 22}, {90, 90, 95});
  Image full(3, 1, YUV24);
  EXPECT_TRUE(ConvertYUVupSampleChroma32(pairs, full));
  EXPECT_THAT(UOf(full), ElementsAre(90, 93, 95));  // between two pairs, 92.5
  EXPECT_THAT(Bytes(full, 9), ElementsAre(90, 20, 90, 93, 21, 93, 95, 22, 95));
}

TEST(ChromaUpSampling, OfWordsWorksAtEachDepth) {
  const struct {
    PixelType pairs, full;
    int neutral;
  } depths[] = {{Y2UV10, Y1UV10, 512}, {Y2UV12, Y1UV12, 2048}, {Y2UV14, Y1UV14, 8192}, {Y2UV16, Y1UV16, 32768}};
  for (const auto& depth : depths) {
    const int n = depth.neutral;
    const Image pairs = RowOf(depth.pairs, {n, n + 1, n + 2, n + 3, n + 4}, {n - 8, n - 8, n - 5, n - 5, n + 6});
    Image full(5, 1, depth.full);
    EXPECT_TRUE(ConvertYUVupSampleChroma64(pairs, full));
    EXPECT_THAT(YOf(full), ElementsAre(n, n + 1, n + 2, n + 3, n + 4));
    EXPECT_THAT(UOf(full), ElementsAre(n - 8, n - 6, n - 5, n, n + 6));  // -6.5 goes up, 0.5 goes down
  }
}

TEST(ChromaUpSampling, TakesOnTheSourcesColourSpace) {
  Image pairs = RowOf(Y2UV10, {64, 64}, {700, 700});
  pairs.SetColourSpace(Rec601);
  pairs.uMin = 0;
  Image full(2, 1, Y1UV10);
  ConvertYUVupSampleChroma64(pairs, full);
  EXPECT_EQ(full.space, Rec601);
  EXPECT_EQ(full.uMin, 0U);
  EXPECT_THAT(UOf(full), ElementsAre(700, 700));
}

TEST(ChromaUpSampling, KernelsDoTheRowsTheyAreGiven) {
  Image pairs(4, 3, Y2UV32), wide(4, 3, YUVA32), narrow(4, 3, YUV24), words(4, 3, Y2UV10), full(4, 3, Y1UV10);
  Dice dice;
  FillWithNoise(pairs, dice);
  FillWithNoise(words, dice);
  wide.Clear(wide.GenerateWhite());
  narrow.Clear(narrow.GenerateWhite());
  full.Clear(full.GenerateWhite());
  ParallelY2UV32toYUVA32 toWide(pairs, wide);
  toWide(1);
  EXPECT_EQ(YOf(wide, 1), YOf(pairs, 1));
  EXPECT_EQ(YOf(wide, 0), std::vector<int>(4, 235));
  EXPECT_EQ(YOf(wide, 2), std::vector<int>(4, 235));
  ParallelY2UV32toYUV24 toNarrow(pairs, narrow);
  toNarrow(0, 2);
  EXPECT_EQ(YOf(narrow, 1), YOf(pairs, 1));
  EXPECT_EQ(YOf(narrow, 2), std::vector<int>(4, 235));
  ParallelY2UVNNtoY1UVNN toFull(words, full);
  parallel_for(toFull, 0, 3);
  for (int y = 0; y < 3; ++y) EXPECT_EQ(YOf(full, y), YOf(words, y));
}

TEST(ChromaUpSampling, OfSixInFourWordsGoesFromGroupToGroup) {
  const std::vector<int> luma = {64, 100, 200, 300, 400, 500, 600, 700, 800};
  const Image six = RowOf(Y6UVX32, luma, {600, 600, 611, 611, 400, 400, 405, 405, 512});
  Image full(9, 1, Y1UV10);
  EXPECT_TRUE(ConvertY6UVX32toY1UV10(six, full));
  EXPECT_EQ(YOf(full), luma);
  // 605.5 goes down to neutral 512 and 505.5, 402.5 go up; 458.5 goes up from the next group; the last one is its own.
  EXPECT_THAT(UOf(full), ElementsAre(600, 605, 611, 506, 400, 403, 405, 459, 512));
  EXPECT_EQ(VOf(full), UOf(full));
}

TEST(ChromaUpSampling, OfSixInFourWordsKeepsTheStoredChromaAtTheEndOfTheRow) {
  const Image one = RowOf(Y6UVX32, {64, 65, 66, 67, 68, 69}, {600, 600, 610, 610, 620, 620});
  Image full(6, 1, Y1UV10);
  ConvertY6UVX32toY1UV10(one, full);
  EXPECT_THAT(UOf(full), ElementsAre(600, 605, 610, 615, 620, 620));  // no group follows
  Image tail = RowOf(Y6UVX32, {64, 65, 66, 67, 68, 69, 70, 71}, {600, 600, 600, 600, 600, 600, 700, 700});
  unsigned words[4];  // a chroma in the group that belongs to no pixel of the row
  std::memcpy(words, tail.rows[0] + 16, sizeof words);
  words[1] = (words[1] & ~(0x3FFU << 10)) | 1000U << 10;
  std::memcpy(tail.rows[0] + 16, words, sizeof words);
  Image fullTail(8, 1, Y1UV10);
  ConvertY6UVX32toY1UV10(tail, fullTail);
  EXPECT_THAT(UOf(fullTail), ElementsAre(600, 600, 600, 600, 600, 650, 700, 700));
}

TEST(ChromaDownSampling, PairsTakeTheMeanRoundedTowardNeutral) {
  const Image full = RowOf(YUVA32, {20, 21, 22, 23, 24}, {100, 103, 200, 203, 77}, {127, 128, 128, 129, 99});
  Image pairs(5, 1, Y2UV32);
  EXPECT_TRUE(ConvertYUVdownSampleChroma32(full, pairs));
  EXPECT_THAT(YOf(pairs), ElementsAre(20, 21, 22, 23, 24));
  EXPECT_THAT(UOf(pairs), ElementsAre(102, 102, 201, 201, 77));
  EXPECT_THAT(VOf(pairs), ElementsAre(128, 128, 128, 128, 99));
  const Image without = RowOf(YUV24, {20, 21, 22, 23, 24}, {100, 103, 200, 203, 77});
  EXPECT_TRUE(ConvertYUVdownSampleChroma32(without, pairs));
  EXPECT_THAT(UOf(pairs), ElementsAre(102, 102, 201, 201, 77));
}

TEST(ChromaDownSampling, OfWordsWorksAtEachDepth) {
  const struct {
    PixelType full, pairs;
    int neutral;
  } depths[] = {{Y1UV10, Y2UV10, 512},   {Y1UV12, Y2UV12, 2048},  {Y1UV14, Y2UV14, 8192},
                {Y1UV16, Y2UV16, 32768}, {YUVA64, Y2UV16, 32768}, {Y1UVX32, Y2UV10, 512}};
  for (const auto& depth : depths) {
    const int n = depth.neutral;
    const Image full = RowOf(depth.full, {n, n + 1, n + 2}, {n - 8, n - 5, n + 6}, {n + 8, n + 5, n});
    Image pairs(3, 1, depth.pairs);
    EXPECT_TRUE(ConvertYUVdownSampleChroma64(full, pairs));
    EXPECT_THAT(YOf(pairs), ElementsAre(n, n + 1, n + 2));
    EXPECT_THAT(UOf(pairs), ElementsAre(n - 6, n - 6, n + 6));
    EXPECT_THAT(VOf(pairs), ElementsAre(n + 6, n + 6, n));
  }
}

/// A planar image whose samples of Y, U and V are given row by row.
Image Planes(PixelType type, int width, int height, const std::vector<std::vector<int>>& samples) {
  Image image(width, height, type);
  for (std::size_t plane = 0; plane < samples.size(); ++plane)
    for (std::size_t i = 0; i < samples[plane].size(); ++i) image.rows[plane][i] = static_cast<Byte>(samples[plane][i]);
  return image;
}

std::vector<int> PlaneOf(const Image& image, int plane, std::size_t count) {
  return {image.rows[plane], image.rows[plane] + count};
}

TEST(PlanarChroma, IsInterpolatedAlongRowsAndBetweenThem) {
  const std::vector<int> luma(16, 50), u = {100, 110, 121, 131}, v = {200, 200, 128, 128};
  const Image quarter = Planes(YUVP420, 4, 4, {luma, u, v});
  Image full(4, 4, YUVP444);
  EXPECT_TRUE(ConvertYUVupSampleChromaPlanar8(quarter, full));
  EXPECT_THAT(UOf(full, 0), ElementsAre(100, 105, 110, 110));
  EXPECT_THAT(UOf(full, 1), ElementsAre(111, 116, 121, 121));  // 110.5, 115.5 and 120.5 go up to neutral
  EXPECT_THAT(UOf(full, 2), ElementsAre(121, 126, 131, 131));
  EXPECT_THAT(UOf(full, 3), ElementsAre(121, 126, 131, 131));  // the last row keeps that of its pair
  EXPECT_THAT(VOf(full, 1), ElementsAre(164, 164, 164, 164));
  const Image half = Planes(YUVP422, 4, 1, {{1, 2, 3, 4}, {90, 95}, {200, 205}});
  Image withAlpha(4, 1, YUVAP444);
  EXPECT_TRUE(ConvertYUVupSampleChromaPlanar8(half, withAlpha));
  EXPECT_THAT(YOf(withAlpha), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(UOf(withAlpha), ElementsAre(90, 93, 95, 95));
  EXPECT_THAT(VOf(withAlpha), ElementsAre(200, 202, 205, 205));
  EXPECT_EQ(withAlpha.GetRaw(3, 0).A(), 235);
}

TEST(PlanarChroma, IsAveragedInCells) {
  const std::vector<int> luma = {1, 2, 3, 4, 5, 6, 7, 8};
  const Image full = Planes(YUVP444, 4, 2, {luma, {100, 101, 200, 200, 100, 101, 201, 202}, std::vector<int>(8, 128)});
  Image quarter(4, 2, YUVP420), half(4, 2, YUVP422);
  EXPECT_TRUE(ConvertYUVdownSampleChromaPlanar8(full, quarter));
  EXPECT_EQ(PlaneOf(quarter, 0, 8), luma);
  EXPECT_THAT(PlaneOf(quarter, 1, 2), ElementsAre(101, 200));  // 100.5 up, 200.75 down
  EXPECT_THAT(PlaneOf(quarter, 2, 2), ElementsAre(128, 128));
  EXPECT_TRUE(ConvertYUVdownSampleChromaPlanar8(full, half));
  EXPECT_THAT(PlaneOf(half, 1, 4), ElementsAre(101, 200, 101, 201));
}

TEST(PlanarChroma, OfOddSizesLeavesOutTheColumnAndRowWithoutSamples) {
  // The third column and row have no sample of their own and don't spoil those of their neighbours.
  const Image full =
      Planes(YUVP444, 3, 3, {std::vector<int>(9, 50), {90, 94, 1, 92, 96, 1, 1, 1, 1}, std::vector<int>(9, 7)});
  Image quarter(3, 3, YUVP420);
  ConvertYUVdownSampleChromaPlanar8(full, quarter);
  EXPECT_THAT(PlaneOf(quarter, 1, 1), ElementsAre(93));
  EXPECT_THAT(PlaneOf(quarter, 2, 1), ElementsAre(7));
  Image half(3, 3, YUVP422);
  ConvertYUVdownSampleChromaPlanar8(full, half);
  EXPECT_THAT(PlaneOf(half, 1, 3), ElementsAre(92, 94, 1));
}

TEST(PlanarChroma, WithRoomForTheLastColumnKeepsItsOwn) {
  Byte y[3], u[2] = {9, 9}, v[2] = {9, 9};
  Byte* planes[] = {y, u, v};
  const int strides[] = {3, 2, 2};
  Image half(3, 1, strides, YUVP422, planes, false);
  const Image full = Planes(YUVP444, 3, 1, {{50, 51, 52}, {90, 94, 33}, {7, 7, 44}});
  ConvertYUVdownSampleChromaPlanar8(full, half);
  EXPECT_THAT(u, ElementsAre(92, 33));
  EXPECT_THAT(v, ElementsAre(7, 44));
}

TEST(ChromaResampling, LeavesOtherFormatsAlone) {
  const Image source = RowOf(YUVA32, {20, 21}, {100, 103}), grey(2, 1, L8);
  Image target(2, 1, YUVA32);
  target.Clear(Pixel(3, 4, 5, 6, Rec709));
  for (const auto convert : {ConvertYUVupSampleChroma32, ConvertYUVupSampleChroma64, ConvertYUVdownSampleChroma32,
                             ConvertYUVdownSampleChroma64, ConvertYUVupSampleChromaPlanar8,
                             ConvertYUVdownSampleChromaPlanar8, ConvertY6UVX32toY1UV10}) {
    EXPECT_TRUE(convert(source, target));
    EXPECT_TRUE(convert(grey, target));
    EXPECT_TRUE(convert(Image(), target));
    EXPECT_EQ(target(1, 0), Pixel(3, 4, 5, 6, Rec709));
    Image empty;
    EXPECT_TRUE(convert(source, empty));
    EXPECT_FALSE(empty.valid);
  }
}

TEST(ChromaResampling, FillsALargerTargetWithTransparentBlack) {
  const Image pairs = RowOf(Y2UV32, {50, 50}, {90, 90});
  Image full(4, 2, YUVA32);
  full.Clear(full.GenerateWhite());
  ConvertYUVupSampleChroma32(pairs, full);
  EXPECT_THAT(YOf(full), ElementsAre(50, 50, 16, 16));
  EXPECT_THAT(UOf(full), ElementsAre(90, 90, 128, 128));
  EXPECT_EQ(full.GetRaw(2, 0).A(), 16);
  EXPECT_THAT(YOf(full, 1), ElementsAre(16, 16, 16, 16));
  Image smaller(1, 1, YUVA32);
  ConvertYUVupSampleChroma32(pairs, smaller);
  EXPECT_THAT(UOf(smaller), ElementsAre(90));
}

}  // namespace
}  // namespace Vorn
