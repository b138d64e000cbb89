#include "film/BatchResult.h"

#include <gtest/gtest.h>

namespace film {
namespace {

std::vector<BatchResult> ThreeClips() {
  std::vector<BatchResult> results(3);
  results[0].clip = {"in/a.mp4", "out/a.mp4", ""};
  results[0].state = BatchResult::Done;
  results[0].seconds = 75.2;
  results[0].hear(
      {{"done", "out/a.mp4"}, {"frames", 200}, {"events", "2 holds, 1 move"}, {"zoom", 1.1}, {"notes", {"no sound"}}});
  results[1].clip = {"in/b.mp4", "out/b.mp4", ""};
  results[1].state = BatchResult::Failed;
  results[1].error = "in/b.mp4: not a video";
  results[2].clip = {"c.mp4", "out/c.mp4", ""};
  results[2].state = BatchResult::Running;
  results[2].hear({{"pass", "Analysing"}, {"frame", 30}, {"frames", 120}});
  return results;
}

TEST(BatchResult, TheTableHasALineForEachClip) {
  std::vector<BatchResult> results = ThreeClips();
  results[2].state = BatchResult::Cancelled;
  EXPECT_EQ(TableText(results),
            "clip      frames  events            zoom  time  result\n"
            "in/a.mp4     200  2 holds, 1 move  1.100  1:15  out/a.mp4\n"
            "in/b.mp4       -  -                    -     -  not a video\n"
            "c.mp4          -  -                    -     -  cancelled\n"
            "1 of 3 clips done, 1 failed, 1 cancelled\n");
}

TEST(BatchResult, AnOddNameTakesOneLineToo) {
  std::vector<BatchResult> results(1);
  results[0].clip = {"a\nb.mp4", "out/a\nb.mp4", ""};
  results[0].state = BatchResult::Failed;
  results[0].error = "a?b.mp4: not a video";  // as a failure tells it
  EXPECT_EQ(TableText(results),
            "clip     frames  events  zoom  time  result\n"
            "a?b.mp4       -  -          -     -  not a video\n"
            "0 of 1 clip done, 1 failed\n");
}

TEST(BatchResult, TheStatusTellsWhatRuns) {
  EXPECT_EQ(StatusText(ThreeClips(), 80), "1 of 3 clips done, 1 failed; c.mp4: Analysing 25 %");
  EXPECT_EQ(StatusText(ThreeClips(), 9), "1 of 3 cl");
  EXPECT_EQ(StatusText(ThreeClips(), -1), "");
}

TEST(BatchResult, ProgramsGetTheSame) {
  const auto all = DescribeResults(ThreeClips());
  EXPECT_EQ(all["done"], 1);
  EXPECT_EQ(all["failed"], 1);
  EXPECT_EQ(all["clips"][0].dump(),
            R"({"clip":"in/a.mp4","status":"done","out":"out/a.mp4","frames":200,"events":"2 holds, 1 move",)"
            R"("zoom":1.1,"notes":["no sound"],"seconds":75.2})");
  EXPECT_EQ(all["clips"][1].dump(), R"({"clip":"in/b.mp4","status":"failed","error":"in/b.mp4: not a video"})");
}

TEST(BatchResult, WarningsComeOutOfTheSummary) {
  BatchResult result;
  EXPECT_TRUE(result.warnings().empty());
  result.hear({{"done", "a"}, {"warnings", {{{"kind", "cuts"}, {"text", "a: cut"}}}}});
  ASSERT_EQ(result.warnings().size(), 1u);
  EXPECT_EQ(result.warnings()[0], "a: cut");
}

}  // namespace
}  // namespace film
