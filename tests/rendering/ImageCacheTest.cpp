#include "rendering/ImageCache.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Vorn {
namespace {

/// A new image that can be told from others by its width.
Image* Numbered(int number) { return new Image(number, 1, L8); }

bool Store(ImageCache& cache, int frame) {
  Image* image = Numbered(frame);
  if (cache.Write(frame, image)) return true;
  delete image;
  return false;
}

/// The width of the frame's image, or 0 if the cache doesn't have it.
int Stored(ImageCache& cache, int frame) {
  Image* image = nullptr;
  return cache.Read(frame, image) ? image->width : 0;
}

std::vector<int> Present(ImageCache& cache, int last) {
  std::vector<int> frames;
  for (int frame = 1; frame <= last; ++frame)
    if (cache.StatusAsString().find("frame number " + std::to_string(frame) + " ") != std::string::npos)
      frames.push_back(frame);
  return frames;
}

TEST(ImageCache, HandsOutWhatWasWritten) {
  ImageCache cache(3);
  EXPECT_TRUE(Store(cache, 5));
  EXPECT_TRUE(Store(cache, 7));
  EXPECT_EQ(Stored(cache, 5), 5);
  EXPECT_EQ(Stored(cache, 7), 7);
  Image* image = nullptr;
  EXPECT_FALSE(cache.Read(6, image));
  EXPECT_EQ(image, nullptr);
}

TEST(ImageCache, StatusListsEntriesFromTheNewestWithAgeFrameAndRetainCount) {
  ImageCache cache(4);
  EXPECT_EQ(cache.StatusAsString(), "cache empty\n");
  Store(cache, 10);
  Store(cache, 11);
  Store(cache, 12);
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 0 frame number 12 retain count 1\n"
            "Pos 1 frame number 11 retain count 1\n"
            "Pos 2 frame number 10 retain count 1\n"
            "3/4 used.\n");
  testing::internal::CaptureStdout();
  cache.Status();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), cache.StatusAsString());
}

TEST(ImageCache, ReadingPromotesAndAgesOnlyTheYounger) {
  ImageCache cache(4);
  for (const int frame : {1, 2, 3, 4}) Store(cache, frame);  // ages 3, 2, 1, 0
  EXPECT_EQ(Stored(cache, 2), 2);
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 1 frame number 4 retain count 1\n"
            "Pos 2 frame number 3 retain count 1\n"
            "Pos 0 frame number 2 retain count 1\n"
            "Pos 3 frame number 1 retain count 1\n"
            "4/4 used.\n");
}

TEST(ImageCache, TopIsTheFirstOfTheListWhateverItsAge) {
  ImageCache cache(3);
  Image* image = nullptr;
  EXPECT_FALSE(cache.GetTop(image));
  Store(cache, 1);
  Store(cache, 2);
  Stored(cache, 1);
  ASSERT_TRUE(cache.GetTop(image));
  EXPECT_EQ(image->width, 2);
}

TEST(ImageCache, WritingAPresentFrameReplacesItsImageInPlace) {
  ImageCache cache(3);
  cache.SetPolicy(CacheRetained);
  Store(cache, 1);
  Store(cache, 2);
  EXPECT_EQ(Stored(cache, 1), 1);  // retained twice now
  EXPECT_EQ(Stored(cache, 2), 2);
  Image* image = Numbered(9);
  EXPECT_TRUE(cache.Write(1, image));
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 1 frame number 2 retain count 2\n"
            "Pos 0 frame number 1 retain count 2\n"
            "2/3 used.\n");
  EXPECT_EQ(Stored(cache, 1), 9);
  EXPECT_TRUE(cache.Write(1, image));  // the very image that is there survives
  EXPECT_EQ(Stored(cache, 1), 9);
}

TEST(ImageCache, OneFrameTooManyEvictsTheFirstByAge) {
  ImageCache cache(3);
  for (const int frame : {1, 2, 3, 4}) EXPECT_TRUE(Store(cache, frame));
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 1 frame number 3 retain count 1\n"
            "Pos 2 frame number 2 retain count 1\n"
            "Pos 0 frame number 4 retain count 1\n"
            "3/3 used.\n");
  EXPECT_EQ(Stored(cache, 1), 0);
}

TEST(ImageCache, RetainedFramesAreNotGivenUp) {
  ImageCache cache(2);
  cache.SetPolicy(CacheRetained);
  Store(cache, 1);
  Store(cache, 2);
  EXPECT_FALSE(cache.CanWrite(3));
  EXPECT_FALSE(Store(cache, 3));
  EXPECT_EQ(Present(cache, 3), (std::vector<int>{1, 2}));
  cache.Release(2);
  EXPECT_EQ(cache.GetRetainCount(2), 0);
  EXPECT_TRUE(cache.CanWrite(3));
  EXPECT_TRUE(Store(cache, 3));
  EXPECT_EQ(Present(cache, 3), (std::vector<int>{1, 3}));
}

TEST(ImageCache, TheOldestOfTheFreeFramesGoesFirst) {
  ImageCache cache(3);
  cache.SetPolicy(CacheRetained);
  for (const int frame : {1, 2, 3}) Store(cache, frame);
  cache.Release(3);
  cache.Release(2);
  EXPECT_TRUE(Store(cache, 4));
  EXPECT_EQ(Present(cache, 4), (std::vector<int>{1, 3, 4}));
}

TEST(ImageCache, RetainCountsFollowReadsOnlyUnderTheRetainingPolicy) {
  ImageCache cache(2);
  Store(cache, 1);
  Stored(cache, 1);
  EXPECT_EQ(cache.GetRetainCount(1), 1);
  cache.SetPolicy(CacheRetained);
  EXPECT_EQ(cache.GetRetainCount(1), 0);
  Stored(cache, 1);
  Stored(cache, 1);
  EXPECT_EQ(cache.GetRetainCount(1), 2);
  EXPECT_EQ(cache.GetRetainCount(8), 0);
  for (int i = 0; i < 3; ++i) cache.Release(1);
  EXPECT_EQ(cache.GetRetainCount(1), -1);
  cache.Release(8);
}

TEST(ImageCache, AFrameWhoseCountFellBelowZeroIsNotFree) {
  ImageCache cache(1);
  cache.SetPolicy(CacheRetained);
  Store(cache, 1);
  cache.Release(1);
  cache.Release(1);
  EXPECT_FALSE(cache.CanWrite(2));
  EXPECT_FALSE(Store(cache, 2));
}

TEST(ImageCache, ChangingThePolicyFreesHeldFrames) {
  ImageCache cache(1);
  cache.SetPolicy(CacheRetained);
  Store(cache, 1);
  EXPECT_FALSE(Store(cache, 2));
  cache.SetPolicy(CacheRetained);
  EXPECT_TRUE(Store(cache, 2));
  EXPECT_EQ(Present(cache, 2), (std::vector<int>{2}));
}

TEST(ImageCache, PoppedFrameIsGone) {
  ImageCache cache(3);
  for (const int frame : {1, 2, 3}) Store(cache, frame);
  cache.Pop(3);
  cache.Pop(8);
  EXPECT_EQ(Stored(cache, 3), 0);
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 1 frame number 2 retain count 1\n"
            "Pos 2 frame number 1 retain count 1\n"
            "2/3 used.\n");
}

TEST(ImageCache, AHoleInTheAgesHidesTheOldestEntry) {
  ImageCache cache(3);
  for (const int frame : {1, 2, 3}) Store(cache, frame);
  cache.Pop(3);  // the age of frame 1 is now 2, of two entries
  EXPECT_EQ(Stored(cache, 1), 0);
  EXPECT_EQ(Stored(cache, 2), 2);
  cache.Pop(1);  // not found, not removed
  EXPECT_EQ(Present(cache, 3), (std::vector<int>{1, 2}));
}

TEST(ImageCache, AfterAHoleTheVictimIsTheOneOfTheLastPlace) {
  ImageCache cache(3);
  for (const int frame : {1, 2, 3}) Store(cache, frame);
  cache.Pop(3);     // frames 2 and 1 keep the ages 1 and 2
  Store(cache, 4);  // 4, 2, 1 have the ages 0, 2, 3
  EXPECT_TRUE(Store(cache, 5));
  EXPECT_EQ(cache.StatusAsString(),
            "Cache status:\n"
            "Pos 1 frame number 4 retain count 1\n"
            "Pos 0 frame number 5 retain count 1\n"
            "Pos 4 frame number 1 retain count 1\n"
            "3/3 used.\n");
}

TEST(ImageCache, AHoleInTheLastPlaceLeavesNoVictim) {
  ImageCache cache(3);
  for (const int frame : {1, 2, 3}) Store(cache, frame);
  cache.Pop(2);     // ages 2 and 0
  Store(cache, 4);  // ages 3, 1, 0: none is 2
  EXPECT_FALSE(Store(cache, 5));
  EXPECT_EQ(Present(cache, 5), (std::vector<int>{1, 3, 4}));
}

TEST(ImageCache, AHiddenFreeEntryMakesCanWriteSayNo) {
  ImageCache cache(2);
  cache.SetPolicy(CacheRetained);
  Store(cache, 1);
  Store(cache, 2);
  cache.Pop(2);
  Store(cache, 3);  // the age of frame 1 is now 2, of two entries
  cache.Release(1);
  EXPECT_FALSE(cache.CanWrite(4));
  EXPECT_TRUE(Store(cache, 4));
  EXPECT_EQ(Present(cache, 4), (std::vector<int>{3, 4}));
}

TEST(ImageCache, GrowingKeepsWhatThereIs) {
  ImageCache cache(1);
  Store(cache, 1);
  cache.Resize(2);
  EXPECT_TRUE(Store(cache, 2));
  EXPECT_EQ(Present(cache, 2), (std::vector<int>{1, 2}));
}

TEST(ImageCache, ShrinkingRemovesTheOldestUntilOneMoreFits) {
  ImageCache cache(5);
  for (const int frame : {1, 2, 3, 4, 5}) Store(cache, frame);
  Stored(cache, 1);
  cache.Resize(3);
  EXPECT_EQ(Present(cache, 5), (std::vector<int>{1, 5}));
  EXPECT_EQ(cache.StatusAsString().substr(cache.StatusAsString().size() - 10), "2/3 used.\n");
}

TEST(ImageCache, ShrinkingAboveTheNumberOfEntriesKeepsThem) {
  ImageCache cache(5);
  for (const int frame : {1, 2}) Store(cache, frame);
  cache.Resize(3);
  EXPECT_EQ(Present(cache, 2), (std::vector<int>{1, 2}));
}

TEST(ImageCache, ShrinkingStopsAtRetainedFrames) {
  ImageCache cache(4);
  cache.SetPolicy(CacheRetained);
  for (const int frame : {1, 2, 3, 4}) Store(cache, frame);
  cache.Resize(1);
  EXPECT_EQ(Present(cache, 4), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_NE(cache.StatusAsString().find("4/1 used.\n"), std::string::npos);
  cache.Resize(4);
  cache.Release(3);
  cache.Resize(1);
  EXPECT_EQ(Present(cache, 4), (std::vector<int>{1, 2, 4}));
}

TEST(ImageCache, ClearingEmptiesAndLeavesTheCapacity) {
  ImageCache cache(2);
  Store(cache, 1);
  cache.Clear();
  EXPECT_EQ(cache.StatusAsString(), "cache empty\n");
  EXPECT_TRUE(Store(cache, 2));
  EXPECT_NE(cache.StatusAsString().find("1/2 used.\n"), std::string::npos);
}

TEST(ImageCache, WithoutCapacityTakesNothing) {
  ImageCache cache(0);
  EXPECT_FALSE(Store(cache, 1));
  EXPECT_EQ(cache.StatusAsString(), "cache empty\n");
}

}  // namespace
}  // namespace Vorn
