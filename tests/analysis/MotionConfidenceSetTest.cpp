#include "analysis/MotionConfidenceSet.h"

#include <gtest/gtest.h>

#include "analysis/FileBytes.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

bool LoadText(MotionConfidenceSet& set, const std::string& text) {
  const TemporaryFile file;
  file.Write(text);
  return set.Load(file.Path());
}

TEST(MotionConfidenceSet, IsEmptyAndTrustingToBeginWith) {
  const MotionConfidenceSet set;
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_EQ(set.number, 0u);
  EXPECT_EQ(set.defaultConfidence, 1.0f);
  EXPECT_TRUE(set.index.empty());
  EXPECT_TRUE(set.confidence.empty());
  EXPECT_EQ(set.Get(0), 1.0f);
}

TEST(MotionConfidenceSet, SetAppendsOrReplaces) {
  MotionConfidenceSet set;
  set.Set(5, 0.25f);
  set.Set(8, 0.5f);
  set.Set(3, 0.75f);
  EXPECT_EQ(set.start, 3);
  EXPECT_EQ(set.end, 8);
  EXPECT_EQ(set.number, 3u);
  EXPECT_EQ(set.index, (std::vector<int>{5, 8, 3}));
  set.Set(8, 0.0f);
  EXPECT_EQ(set.number, 3u);
  EXPECT_EQ(set[1], 0.0f);
  EXPECT_EQ(set.Get(8), 0.0f);
  EXPECT_EQ(set.Get(5), 0.25f);
  EXPECT_EQ(set.Get(3), 0.75f);
}

TEST(MotionConfidenceSet, UnknownFramesAreTrusted) {
  MotionConfidenceSet set;
  set.Set(5, 0.0f);
  set.Set(8, 0.0f);
  for (const int frame : {-1, 4, 6, 7, 9}) EXPECT_EQ(set.Get(frame), 1.0f) << frame;
}

TEST(MotionConfidenceSet, EntriesThatWereListedByHandAreFound) {
  MotionConfidenceSet set;
  set.Set(4, 0.25f);
  set.index = {9, 7};
  set.confidence = {0.5f, 0.75f};
  set.start = 7;
  set.end = 9;
  EXPECT_EQ(set.Get(9), 0.5f);
  EXPECT_EQ(set.Get(7), 0.75f);
  EXPECT_EQ(set.Get(8), 1.0f);
  set.Set(7, 0.125f);
  EXPECT_EQ(set.index, (std::vector<int>{9, 7}));
  EXPECT_EQ(set.confidence, (std::vector<float>{0.5f, 0.125f}));
}

TEST(MotionConfidenceSet, FramesOutsideTheSpanAreNotLookedUp) {
  MotionConfidenceSet set;
  set.Set(5, 0.0f);
  set.Set(6, 0.5f);
  set.start = 6;
  EXPECT_EQ(set.Get(5), 1.0f);
  EXPECT_EQ(set.Get(6), 0.5f);
  set.end = 90;
  EXPECT_EQ(set.Get(80), 1.0f);
}

TEST(MotionConfidenceSet, FileIsTheKeywordAndALinePerEntry) {
  MotionConfidenceSet set;
  set.Set(5, 0.25f);
  set.Set(3, 1.0f / 3);
  set.Set(-2, 1.0f);
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  EXPECT_EQ(file.Read(), "MCONF\n5 0.25\n3 0.333333\n-2 1\n");
  MotionConfidenceSet loaded;
  loaded.Set(77, 0.5f);
  ASSERT_TRUE(loaded.Load(file.Path()));
  EXPECT_EQ(loaded.index, set.index);
  EXPECT_EQ(loaded.number, 3u);
  EXPECT_EQ(loaded.start, -2);
  EXPECT_EQ(loaded.end, 5);
  EXPECT_EQ(loaded.Get(3), 0.333333f);
  EXPECT_EQ(loaded.Get(77), 1.0f);
  EXPECT_FALSE(set.Save("/nonexistent/folder/file"));
}

TEST(MotionConfidenceSet, LoadStopsWhereReadingFails) {
  MotionConfidenceSet set;
  EXPECT_TRUE(LoadText(set, "MCONF\n5 0.25\n6 0.5\n7"));
  EXPECT_EQ(set.number, 2u);
  EXPECT_TRUE(LoadText(set, "MCONF\n5 0.25\n6 x\n7 0.5\n"));
  EXPECT_EQ(set.number, 1u);
  EXPECT_EQ(set.end, 5);
}

TEST(MotionConfidenceSet, FileWithoutEntriesFailsWithAMessage) {
  MotionConfidenceSet set;
  set.Set(4, 0.5f);
  CaptureStderr();
  EXPECT_FALSE(LoadText(set, "MCONF\n"));
  EXPECT_EQ(GetCapturedStderr(), "MotionConfidenceSet::Load() - Error reading confidence indices\n");
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_TRUE(set.index.empty());
  EXPECT_TRUE(set.confidence.empty());
}

TEST(MotionConfidenceSet, OtherFilesFailInSilence) {
  MotionConfidenceSet set;
  set.Set(4, 0.5f);
  CaptureStderr();
  EXPECT_FALSE(LoadText(set, "MCONFX\n5 0.25\n"));
  EXPECT_TRUE(set.index.empty());
  EXPECT_FALSE(LoadText(set, ""));
  EXPECT_FALSE(set.Load("/nonexistent/file"));
  EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(MotionConfidenceSet, ClearEmptiesEverything) {
  MotionConfidenceSet set;
  set.Set(5, 0.25f);
  set.Clear();
  EXPECT_EQ(set.number, 0u);
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_TRUE(set.index.empty());
  EXPECT_TRUE(set.confidence.empty());
  EXPECT_EQ(set.Get(5), 1.0f);
}

}  // namespace
