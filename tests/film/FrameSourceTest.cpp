#include "film/FrameSource.h"

#include <gtest/gtest.h>

#include "film/Clips.h"

namespace film {
namespace {

/// Mean distance of a decoded test clip's frame from what was written as frame `number`.
double DistanceFrom(int number, const FloatPicture& picture) {
  double sum = 0;
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      sum += std::abs(picture.samples[4 * (static_cast<size_t>(y) * picture.width + x) + 2] - TestLuma(number, x, y));
  return sum / picture.width / picture.height;
}

class FrameSourceTest : public testing::Test {
 protected:
  FrameSourceTest() {
    WriteTestClip(folder / "clip.mp4", 20);
    contents = ScanClip(folder / "clip.mp4", {.threads = 1});
  }
  TestFolder folder;
  ClipContents contents;
};

TEST_F(FrameSourceTest, FramesComeInOrderWithTheirTimes) {
  FrameSource source(contents, 2);
  for (int number = 0; number < 20; ++number) {
    const SharedPicture picture = source.fetch(number);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->number, number);
    EXPECT_EQ(picture->time, 512 * number);
    EXPECT_LT(DistanceFrom(number, *picture), 0.02);  // the coder's loss; a neighbour is 0.1 away
  }
  EXPECT_EQ(source.fetch(20), nullptr);
  EXPECT_EQ(source.fetch(-1), nullptr);
}

TEST_F(FrameSourceTest, AnyFrameCanBeAskedForAndIsTheSame) {
  FrameSource source(contents, 1);
  const std::vector<float> third = source.fetch(3)->samples;
  for (int number : {17, 2, 2, 3, 19, 0}) {
    const SharedPicture picture = source.fetch(number);
    ASSERT_NE(picture, nullptr);
    EXPECT_LT(DistanceFrom(number, *picture), 0.02) << number;
    if (number == 3) {
      EXPECT_TRUE(picture->samples == third);
    }
  }
}

TEST_F(FrameSourceTest, PicturesAreUsedAgain) {
  FrameSource source(contents, 1);
  std::vector<const float*> seen;
  for (int number = 0; number < 20; ++number) seen.push_back(source.fetch(number)->samples.data());
  std::sort(seen.begin(), seen.end());
  EXPECT_LE(std::unique(seen.begin(), seen.end()) - seen.begin(), 3);  // two ahead, one in hand
}

TEST_F(FrameSourceTest, AHeldPictureStaysAsItIs) {
  FrameSource source(contents, 1);
  const SharedPicture first = source.fetch(0);
  const std::vector<float> copy = first->samples;
  for (int number = 1; number < 20; ++number) source.fetch(number);
  EXPECT_TRUE(first->samples == copy);
}

TEST_F(FrameSourceTest, NeighboursDoNotDisturbTheOrder) {
  WriteTestClip(folder / "long.mp4", 60);
  FrameSource source(ScanClip(folder / "long.mp4", ScanOptions{1}), 1);
  for (int number = 0; number < 60; ++number) {
    const SharedPicture picture = source.fetch(number);
    ASSERT_NE(picture, nullptr);
    for (int neighbour : {number - 7, number - 6, number + 4, number - 1, number + 1, number}) {
      const SharedPicture other = source.fetch(neighbour);
      ASSERT_EQ(other != nullptr, neighbour >= 0 && neighbour < 60);
      if (!other) continue;
      EXPECT_EQ(other->number, neighbour);
      EXPECT_EQ(other->time, 512 * neighbour);
      EXPECT_LT(DistanceFrom(neighbour, *other), 0.02) << neighbour;
    }
  }
}

TEST_F(FrameSourceTest, OnceNeighboursAreAskedForEachFrameIsMadeOnce) {
  FrameSource source(contents, 1);
  const SharedPicture neighbour = source.convert(*source.fetchCoded(9));
  EXPECT_EQ(source.convert(*source.fetchCoded(9)), neighbour);
  for (int number = 0; number < 9; ++number) source.fetch(number);
  EXPECT_EQ(source.fetch(9), neighbour);
  EXPECT_EQ(source.convert(*source.fetchCoded(4)), source.fetch(4));
}

TEST_F(FrameSourceTest, ASecondRunGivesTheSame) {
  FrameSource source(contents, 1);
  std::vector<std::vector<float>> first;
  for (int number = 0; number < 20; ++number) first.push_back(source.fetch(number)->samples);
  for (int number = 0; number < 20; ++number) EXPECT_TRUE(source.fetch(number)->samples == first[number]) << number;
}

TEST_F(FrameSourceTest, MayBeDroppedWhileItReadsAhead) {
  for (int i = 0; i < 5; ++i) FrameSource(contents, 2).fetch(i);
  const FrameSource untouched(contents, 2);
}

}  // namespace
}  // namespace film
