#include "film/CodedFrames.h"

#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/FrameSource.h"

namespace film {
namespace {

constexpr size_t frameBytes = 64 * 48 * 3 / 2;

class CodedFramesTest : public testing::Test {
 protected:
  CodedFramesTest() {
    WriteTestClip(folder / "clip.mp4", 40);
    contents = ScanClip(folder / "clip.mp4", ScanOptions{1});
  }
  TestFolder folder;
  ClipContents contents;
};

TEST_F(CodedFramesTest, FramesComeByNumberAsCoded) {
  CodedFrames frames(contents, 1, 100 * frameBytes);
  for (int number : {30, 29, 28, 31, 0, 39}) {
    const SharedCodedFrame coded = frames.fetch(number);
    ASSERT_NE(coded, nullptr);
    EXPECT_EQ(coded->number, number);
    EXPECT_EQ(coded->time, 512 * number);
    EXPECT_EQ(coded->frame->format, AV_PIX_FMT_YUV420P);
    EXPECT_EQ(CheckOf(*coded->frame), contents.index->frames[number].check);
  }
  EXPECT_EQ(frames.fetch(40), nullptr);
  EXPECT_EQ(frames.fetch(-1), nullptr);
}

TEST_F(CodedFramesTest, FramesUsedLastAreKept) {
  CodedFrames frames(contents, 1, 10 * frameBytes);
  ASSERT_EQ(frames.capacity(), 10);
  const AVFrame* ten = frames.fetch(10)->frame.get();
  for (int number = 11; number < 20; ++number) frames.fetch(number);
  EXPECT_EQ(frames.fetch(10)->frame.get(), ten);
  const AVFrame* eleven = frames.fetch(11)->frame.get();
  for (int number = 20; number < 29; ++number) frames.fetch(number);
  EXPECT_EQ(frames.fetch(11)->frame.get(), eleven);  // the one of the first ten that was used last
}

TEST_F(CodedFramesTest, FramesThatWereDroppedCanBeHadAgain) {
  CodedFrames frames(contents, 1, 0);
  EXPECT_EQ(frames.capacity(), 4);
  const SharedCodedFrame held = frames.fetch(5);
  for (int number = 6; number < 40; ++number) frames.fetch(number);
  EXPECT_EQ(CheckOf(*held->frame), contents.index->frames[5].check);  // a held one stays
  const SharedCodedFrame again = frames.fetch(5);
  ASSERT_NE(again, nullptr);
  EXPECT_NE(again, held);
  EXPECT_EQ(CheckOf(*again->frame), contents.index->frames[5].check);
}

TEST_F(CodedFramesTest, GoingBackwardsFindsWhatWasPassed) {
  CodedFrames frames(contents, 1, 100 * frameBytes);
  frames.fetch(39);
  const int jumps = frames.jumps();
  for (int number = 38; number >= 0; --number) EXPECT_EQ(frames.fetch(number)->number, number);
  EXPECT_EQ(frames.jumps(), jumps);
}

TEST_F(CodedFramesTest, ANeighbourhoodIsKeptWhole) {
  CodedFrames frames(contents, 1, 0);
  frames.keepNeighbourhood();
  EXPECT_GE(frames.capacity(), 52) << "fifty neighbours and two that are read ahead";
}

TEST_F(CodedFramesTest, AFrameSourceConvertsThemToWhatItGivesItself) {
  FrameSource source(contents, 2), other(contents, 2);
  for (int number : {7, 20, 3}) {
    const SharedCodedFrame coded = source.fetchCoded(number);
    ASSERT_NE(coded, nullptr);
    const SharedPicture converted = source.convert(*coded), fetched = other.fetch(number);
    ASSERT_NE(fetched, nullptr);
    ASSERT_NE(fetched, converted);
    EXPECT_TRUE(converted->samples == fetched->samples);
    EXPECT_EQ(converted->number, number);
    EXPECT_EQ(converted->time, fetched->time);
    EXPECT_EQ(converted->duration, fetched->duration);
  }
}

}  // namespace
}  // namespace film
