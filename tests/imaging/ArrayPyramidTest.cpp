#include "imaging/ArrayPyramid.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

#include "numerics/Parallel.h"

namespace Vorn {
namespace {

FastArray Noise(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> value(-50.0F, 255.0F);
  FastArray array(width, height);
  for (int i = 0; i < array.Length(); ++i) array.data[i] = value(random);
  return array;
}

/// The reduction of one line, straight from its definition.
std::vector<float> ReducedLine(const std::vector<float>& x) {
  const int w = static_cast<int>(x.size()), m = w / 2;
  std::vector<float> y(static_cast<size_t>(m));
  const auto at = [&](int i) { return static_cast<double>(x.at(static_cast<size_t>(i))); };
  const auto set = [&](int i, double v) { y.at(static_cast<size_t>(i)) = static_cast<float>(v); };
  set(0, 0.375 * at(0) + 0.5 * at(1) + 0.125 * at(2));
  set(m - 1, 0.0625 * at(2 * m - 4) + 0.25 * (at(2 * m - 3) + at(2 * m - 1)) + 0.4375 * at(2 * m - 2));
  for (int i = 2; i < w - 2; i += 2)
    set(i / 2, 0.0625 * (at(i - 2) + at(i + 2)) + 0.25 * (at(i - 1) + at(i + 1)) + 0.375 * at(i));
  return y;
}

FastArray Reduced(const FastArray& source) {
  FastArray across(source.width / 2, source.height), down(source.width / 2, source.height / 2);
  std::vector<float> row(static_cast<size_t>(source.width)), column(static_cast<size_t>(source.height));
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) row[static_cast<size_t>(x)] = source(x, y);
    const std::vector<float> half = ReducedLine(row);
    for (int x = 0; x < across.width; ++x) across(x, y) = half[static_cast<size_t>(x)];
  }
  for (int x = 0; x < across.width; ++x) {
    for (int y = 0; y < source.height; ++y) column[static_cast<size_t>(y)] = across(x, y);
    const std::vector<float> half = ReducedLine(column);
    for (int y = 0; y < down.height; ++y) down(x, y) = half[static_cast<size_t>(y)];
  }
  return down;
}

void ExpectEqual(const FastArray& a, const FastArray& b) {
  ASSERT_EQ(a.width, b.width);
  ASSERT_EQ(a.height, b.height);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) ASSERT_EQ(a(x, y), b(x, y)) << x << ", " << y;
}

class ArrayPyramidTest : public testing::Test {
 protected:
  void TearDown() override { SetProcessorCount(0); }
};

TEST_F(ArrayPyramidTest, EachLevelIsHalfTheSizeOfTheOneBefore) {
  FastArray base(640, 480);
  base.Clear(0);
  ArrayPyramid pyramid(base, 3, true);
  EXPECT_EQ(pyramid.levels, 3);
  EXPECT_EQ(pyramid.arrays[0], &base);
  EXPECT_EQ(pyramid[1].width, 320);
  EXPECT_EQ(pyramid[1].height, 240);
  EXPECT_EQ(pyramid[2].width, 160);
  EXPECT_EQ(pyramid[2].height, 120);
}

TEST_F(ArrayPyramidTest, ALevelThatIsntThereIsTheBase) {
  FastArray base(16, 16);
  ArrayPyramid pyramid(base, 3, false);
  EXPECT_EQ(&pyramid[3], &base);
  EXPECT_EQ(&pyramid[100], &base);
  EXPECT_EQ(&pyramid[-1], &base);
  EXPECT_NE(&pyramid[2], &base);
}

TEST_F(ArrayPyramidTest, WithoutLevelsGeneratesNothing) {
  FastArray base(16, 16);
  ArrayPyramid pyramid;
  EXPECT_EQ(pyramid.levels, 0);
  pyramid.Generate(base, true);
  EXPECT_EQ(pyramid.levels, 0);
}

TEST_F(ArrayPyramidTest, AConstantStaysConstantAtEveryLevel) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{64, 48}, {101, 77}, {31, 8}, {1100, 40}}) {
    FastArray base(width, height);
    base.Clear(37.25F);
    ArrayPyramid pyramid(base, 4, true);
    for (int level = 0; level < 4; ++level)
      for (int i = 0; i < pyramid[level].Length(); ++i) ASSERT_EQ(pyramid[level].data[i], 37.25F) << level;
  }
}

TEST_F(ArrayPyramidTest, BothEdgesOfAnEvenRowHaveTheirOwnRule) {
  FastArray base(8, 8);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 8; ++x) base(x, y) = x == 0 ? 16.0F : x == 6 ? 32.0F : 0.0F;
  ArrayPyramid pyramid(base, 2, true);
  EXPECT_EQ(pyramid[1](0, 1), 6.0F);   // 3/8 of 16: mirrored
  EXPECT_EQ(pyramid[1](1, 1), 1.0F);   // 1/16 of 16
  EXPECT_EQ(pyramid[1](2, 1), 2.0F);   // 1/16 of 32
  EXPECT_EQ(pyramid[1](3, 1), 14.0F);  // 7/16 of 32: folded onto the centre
}

TEST_F(ArrayPyramidTest, TheLastColumnAndRowOfAnOddSizeFollowThePlainRule) {
  FastArray base(7, 7);
  base.Clear(0);
  base(4, 4) = 64;
  ArrayPyramid pyramid(base, 2, true);
  EXPECT_EQ(pyramid[1].width, 3);
  EXPECT_EQ(pyramid[1](2, 2), 9.0F);  // 3/8 of 3/8 of 64; the edge rule would give 7/16 of it
}

TEST_F(ArrayPyramidTest, MatchesTheDefinitionBitByBit) {
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{{4, 4}, {5, 6}, {7, 9}, {33, 32}, {2050, 21}}) {
    FastArray base = Noise(width, height, 3);
    ArrayPyramid pyramid(base, 2, true);
    ExpectEqual(pyramid[1], Reduced(base));
  }
}

TEST_F(ArrayPyramidTest, IsTheSameForAnyProcessorCount) {
  FastArray base = Noise(203, 77, 4);
  SetProcessorCount(1);
  ArrayPyramid one(base, 4, true);
  for (const int processors : {2, 3, 8, 100}) {
    SetProcessorCount(processors);
    ArrayPyramid several(base, 4, true);
    for (int level = 1; level < 4; ++level) ExpectEqual(several[level], one[level]);
  }
}

TEST_F(ArrayPyramidTest, ReadsAViewByItsStride) {
  FastArray parent = Noise(30, 30, 5);
  FastArray view(parent, 3, 4, 23, 25);
  FastArray copy(view);
  ArrayPyramid pyramid(view, 2, true);
  ExpectEqual(pyramid[1], Reduced(copy));
}

TEST_F(ArrayPyramidTest, IsRegeneratedInPlaceForANewBase) {
  FastArray first = Noise(40, 30, 6), second = Noise(40, 30, 7);
  ArrayPyramid pyramid(first, 3, true);
  const float* before = pyramid[1].data;
  EXPECT_TRUE(pyramid.Generate(second, true));
  EXPECT_EQ(pyramid.arrays[0], &second);
  EXPECT_EQ(pyramid[1].data, before);
  ExpectEqual(pyramid[1], Reduced(second));
}

TEST_F(ArrayPyramidTest, WithoutFilteringOnlyTheSizesAreSet) {
  FastArray base(40, 30);
  ArrayPyramid pyramid(base, 3, false);
  pyramid[1].Clear(5);
  pyramid.Generate(base, false);
  EXPECT_EQ(pyramid[2].width, 10);
  EXPECT_EQ(pyramid[1](0, 0), 5.0F);
}

TEST_F(ArrayPyramidTest, TinyLevelsReadNothingOutside) {  // what they'd read, the address sanitizer would find
  for (int width = 0; width <= 4; ++width)
    for (int height = 0; height <= 4; ++height) {
      FastArray base(width, height);
      base.Clear(8);
      ArrayPyramid pyramid(base, 5, true);
      EXPECT_EQ(pyramid[1].width, width / 2);
      for (int i = 0; i < pyramid[1].Length(); ++i) EXPECT_EQ(pyramid[1].data[i], 8.0F);
      EXPECT_EQ(pyramid[4].Length(), 0);
    }
}

}  // namespace
}  // namespace Vorn
