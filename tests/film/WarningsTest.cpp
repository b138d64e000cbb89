#include "film/Warnings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace film {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Confidences of a clip in which the given frames have none.
std::vector<float> ConfidencesWithout(size_t frames, const std::vector<int>& without) {
  std::vector<float> confidences(frames, 0.9f);
  for (const int frame : without) confidences[static_cast<size_t>(frame)] = 0.0f;
  return confidences;
}

std::vector<IndexedFrame> FramesAt(const std::vector<std::int64_t>& times) {
  std::vector<IndexedFrame> frames;
  for (const std::int64_t time : times)
    frames.push_back({time, 0, -1, static_cast<std::uint32_t>(1000 + frames.size())});
  return frames;
}

/// The scene changes where frame numbers end in 0.
bool isCut(int frame) { return frame % 10 == 0; }

TEST(MotionWarnings, ACleanClipHasNone) {
  EXPECT_THAT(MotionWarnings(ConfidencesWithout(50, {}), {}, isCut), IsEmpty());
  EXPECT_THAT(MotionWarnings({}, {}, isCut), IsEmpty());
  EXPECT_THAT(MotionWarnings({0.0f}, {}, isCut), IsEmpty());  // one frame has no motion to be found
}

TEST(MotionWarnings, StretchesThatBeginWithANewSceneAreCuts) {
  const auto warnings = MotionWarnings(ConfidencesWithout(100, {30, 31, 70}), {}, isCut);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "cuts");
  EXPECT_EQ(warnings[0].count, 2);
  EXPECT_THAT(warnings[0].places, ElementsAre(30, 70));
  EXPECT_EQ(
      warnings[0].text,
      "what looks like cuts at frames 30, 70; split the clip there, since each shot is steadied better by itself");
  EXPECT_EQ(MotionWarnings(ConfidencesWithout(100, {30}), {}, isCut)[0].text,
            "what looks like a cut at frame 30; split the clip there, since each shot is steadied better by itself");
}

TEST(MotionWarnings, OtherStretchesStayAsFilmed) {
  const auto warnings = MotionWarnings(ConfidencesWithout(100, {41, 42, 43, 98, 99}), {}, isCut);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "lowConfidence");
  EXPECT_EQ(warnings[0].count, 5);
  EXPECT_THAT(warnings[0].places, ElementsAre(41, 42, 43, 98, 99));
  EXPECT_EQ(
      warnings[0].text,
      "no usable motion in 5 frames (41 to 43, 98 to 99), which stay as filmed; blur, darkness or something close "
      "to the lens may be why");
}

TEST(MotionWarnings, LongListsAreCutShort) {
  std::vector<int> without;
  for (int i = 0; i < 10; ++i) without.push_back(10 + 20 * i);
  EXPECT_EQ(MotionWarnings(ConfidencesWithout(300, without), {}, isCut)[0].text,
            "what looks like cuts at frames 10, 30, 50, 70, 90, 110, 130, 150 and 2 more; split the clip there, since "
            "each shot is steadied better by itself");
}

TEST(MotionWarnings, AClipWithHardlyAnyMotionIsToldAsAWhole) {
  std::vector<float> confidences(50, 0.0f);
  confidences[0] = 1.0f;
  const auto warnings = MotionWarnings(confidences, {}, isCut);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "noMotion");
  EXPECT_EQ(warnings[0].text,
            "no motion could be found in 49 of 50 frames, which stay as filmed; unless the picture stands still, it "
            "needs more "
            "light, or details such as corners");
}

TEST(MotionWarnings, APictureWithoutTextureMovesByExactlyNothing) {
  std::vector<Step> steps(50, {0, 0, 0});
  const auto warnings = MotionWarnings(std::vector<float>(50, 1.0f), steps, isCut);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "noMotion");
  EXPECT_EQ(warnings[0].count, 49);  // the first frame has none before it
  std::fill(steps.begin() + 1, steps.end(), Step{1e-4, 1e-4, 0});
  EXPECT_THAT(MotionWarnings(std::vector<float>(50, 1.0f), steps, isCut), IsEmpty());  // a tripod
}

TEST(RepeatedFrames, EqualSamplesAreARepeat) {
  auto frames = FramesAt({0, 1, 2, 3, 4, 5});
  frames[3].check = frames[2].check;
  EXPECT_THAT(RepeatedFrames(frames, {}), ElementsAre(3));
}

std::vector<Step> StepsAlongX(const std::vector<double>& xs) {
  std::vector<Step> steps;
  for (const double x : xs) steps.push_back({std::abs(x), x, 0});
  return steps;
}

TEST(RepeatedFrames, ARestAmidMotionIsARepeatCodedAnew) {
  const auto frames = FramesAt({0, 1, 2, 3, 4, 5, 6, 7});
  const auto repeated = [&](const std::vector<double>& xs) { return RepeatedFrames(frames, StepsAlongX(xs)); };
  EXPECT_THAT(repeated({0, 1.5, 1.2, 0.01, 2.0, 1.0, 1.5, 0.02}), ElementsAre(3));  // the end can't tell
  EXPECT_THAT(repeated({0, 1.5, 0.01, 1.2, 0.01, 1.1, 0.02, 1.0}), ElementsAre(2, 4, 6));
  EXPECT_THAT(repeated({0, 0.1, 0.2, 0.01, 0.1, 0.2, 0.1, 0.1}), IsEmpty());    // a quiet shot
  EXPECT_THAT(repeated({0, 1.5, 1.2, 0.01, -2.0, -1.0, -1.5, -1}), IsEmpty());  // the camera turns back
  auto steps = StepsAlongX({0, 1.5, 1.2, 0.01, 2.0, 1.0, 1.5, 1.0});
  steps[3].size = -1;
  EXPECT_THAT(RepeatedFrames(frames, steps), IsEmpty());
}

TEST(RepeatWarnings, CountsAndPlacesAreTold) {
  const auto warnings = RepeatWarnings({3, 8, 9}, 20);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "repeatedFrames");
  EXPECT_EQ(
      warnings[0].text,
      "3 frames repeat the picture before (3, 8 to 9), so that the motion stops there; use the camera's own file, "
      "or take the repeats out first");
  EXPECT_EQ(RepeatWarnings({3}, 20)[0].text.substr(0, 37), "1 frame repeats the picture before (3");
  EXPECT_THAT(RepeatWarnings({1, 2, 3}, 4), IsEmpty());  // a still picture
}

TEST(GapWarnings, WholeFramesThatAreMissingAreCounted) {
  const auto warnings = GapWarnings(FramesAt({100, 140, 180, 220, 340, 380, 420, 460, 540, 580}));
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].kind, "droppedFrames");
  EXPECT_EQ(warnings[0].count, 3);  // two of 120 in place of 40, one of 80
  EXPECT_THAT(warnings[0].places, ElementsAre(4, 8));
  EXPECT_EQ(warnings[0].text,
            "3 frames are missing by the time stamps, before frames 4, 8; the motion jumps there, use the camera's own "
            "file if it has them");
}

TEST(GapWarnings, AVaryingClockAndASlowerStretchAreNoGaps) {
  EXPECT_THAT(GapWarnings(FramesAt({0, 33, 67, 100, 140, 166, 200})), IsEmpty());
  std::vector<std::int64_t> times{0};
  for (int i = 0; i < 20; ++i) times.push_back(times.back() + 33);
  for (int i = 0; i < 20; ++i) times.push_back(times.back() + 50);
  EXPECT_THAT(GapWarnings(FramesAt(times)), IsEmpty());
  EXPECT_THAT(GapWarnings(FramesAt({})), IsEmpty());
  EXPECT_THAT(GapWarnings(FramesAt({5, 1000})), IsEmpty());
}

TEST(ZoomWarnings, AZoomThatLeavesLessThanHalfOfTheFrameIsTold) {
  EXPECT_THAT(ZoomWarnings(1.4), IsEmpty());
  ASSERT_EQ(ZoomWarnings(2.0).size(), 1u);
  EXPECT_EQ(ZoomWarnings(2.0)[0].kind, "strongZoom");
  EXPECT_EQ(
      ZoomWarnings(2.0)[0].text,
      "the zoom of 2.000 leaves only 25 % of the frame; --max-zoom 1.2, --events border or --events none lose less");
}

TEST(DescribeWarnings, HoldsWhatProgramsNeed) {
  const auto list = DescribeWarnings({{"cuts", 1, {30}, "text"}});
  EXPECT_EQ(list.dump(), R"([{"kind":"cuts","count":1,"frames":[30],"text":"text"}])");
}

}  // namespace
}  // namespace film
