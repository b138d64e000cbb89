#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "analysis/HomographySet.h"
#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class PlanCommandTest : public CommandLineTest {
 protected:
  /// What `plan` tells with these settings.
  json planOf(std::vector<std::string> settings) const {
    settings.insert(settings.begin(), {"plan", clip, "--json", "--progress", "none"});
    const Outcome outcome = run(settings);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(outcome.out);
  }
};

TEST_F(PlanCommandTest, AClipIsAnalysedFirstAndTheAnalysisKept) {
  const Outcome outcome = run({"plan", clip, "--progress", "none"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("analysed frames:          0 to 13\n"), HasSubstr("horizontal events:"),
                                 HasSubstr("\nzoom:                     1."), HasSubstr("\nframe lost:               "),
                                 HasSubstr("\nempty borders:            0.0 % of the frame\n")));
  EXPECT_EQ(run({"render", clip, "-o", out, "--preset", "ultrafast", "--quiet"}).status, 0);
}

TEST_F(PlanCommandTest, SettingsAreTriedAndNotKept) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--smoothing", "90"}).status, 0);
  const std::string before = ReadAll(document);
  const json tried = planOf({"--smoothing", "20", "--events", "none"});
  EXPECT_EQ(tried["settings"]["smoothing"], 20);
  EXPECT_NE(tried["plan"]["zoom"], planOf({})["plan"]["zoom"]);
  EXPECT_EQ(ReadAll(document), before);
}

TEST_F(PlanCommandTest, WhatItTellsIsWhatRenderingDoes) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const json tried = planOf({"--events", "border", "--smoothing", "60"});
  const Outcome rendered = run({"render", clip, "-o", out, "--events", "border", "--smoothing", "60", "--preset",
                                "ultrafast", "--progress", "json"});
  ASSERT_EQ(rendered.status, 0);
  const json summary = json::parse(rendered.out.substr(rendered.out.rfind("{\"done\"")));
  EXPECT_EQ(summary["zoom"], tried["plan"]["zoom"]);
}

TEST_F(PlanCommandTest, AFullZoomLosesTheSquareOfWhatItEnlarges) {
  const json tried = planOf({});
  const double zoom = tried["border"]["zoomToFill"];
  ASSERT_GT(zoom, 1.005);
  EXPECT_NEAR(tried["plan"]["cutPercent"], 100 * (1 - 1 / (zoom * zoom)), 0.05);
  EXPECT_EQ(tried["plan"]["emptyPercent"], 0.0);
}

TEST_F(PlanCommandTest, AFitZoomKeepsTheBorderAndLeavesBands) {
  const json tried = planOf({"--zoom-type", "fit"});
  const json& border = tried["border"];
  const double w = border["right"].get<int>() - border["left"].get<int>() + 1;
  const double h = border["bottom"].get<int>() - border["top"].get<int>() + 1;
  const double zoom = std::min(clipWidth / w, clipHeight / h);
  EXPECT_NEAR(tried["plan"]["zoom"], zoom, 0.0005);
  EXPECT_NEAR(tried["plan"]["cutPercent"], 100 * (1 - w * h / (clipWidth * clipHeight)), 0.05);
  EXPECT_NEAR(tried["plan"]["emptyPercent"], 100 * (1 - w * h * zoom * zoom / (clipWidth * clipHeight)), 0.05);
}

TEST_F(PlanCommandTest, ACropLosesWhatLiesOutsideOfIt) {
  const json tried = planOf({"--rendering", "crop", "--crop-centre", "off"});
  const json& border = tried["border"];
  const int left = border["left"], top = border["top"], right = border["right"], bottom = border["bottom"];
  const double all = clipWidth * clipHeight;
  EXPECT_NEAR(tried["plan"]["cutPercent"], 100 * (1 - (right - left + 1) * (bottom - top + 1) / all), 0.05);
  const int x = std::max(left, clipWidth - 1 - right), y = std::max(top, clipHeight - 1 - bottom);
  EXPECT_NEAR(planOf({"--rendering", "crop", "--crop-centre", "off", "--crop-equal", "on"})["plan"]["emptyPercent"],
              100 * (1 - (clipWidth - 2 * x) * (clipHeight - 2 * y) / all), 0.05);
}

/// The part of the frame that a moved frame leaves empty, counted pixel by pixel.
double EmptyPercent(const Vorn::Matrix& h) {
  Vorn::Matrix back = h;
  EXPECT_TRUE(back.Inverse());
  int empty = 0;
  for (int y = 0; y < clipHeight; ++y)
    for (int x = 0; x < clipWidth; ++x) {
      const double cx = x + 0.5 - clipWidth / 2, cy = y + 0.5 - clipHeight / 2;
      const double w = back(2, 0) * cx + back(2, 1) * cy + back(2, 2);
      const double sx = (back(0, 0) * cx + back(0, 1) * cy + back(0, 2)) / w;
      const double sy = (back(1, 0) * cx + back(1, 1) * cy + back(1, 2)) / w;
      empty += std::abs(sx) > clipWidth / 2 || std::abs(sy) > clipHeight / 2;
    }
  return 100.0 * empty / (clipWidth * clipHeight);
}

TEST_F(PlanCommandTest, NaturalBordersAreMeasuredOverAllFrames) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--rendering", "natural"}).status, 0);
  ASSERT_EQ(run({"export", clip, "--compensation", folder / "k.hset"}).status, 0);
  Vorn::HomographySet compensation;
  ASSERT_TRUE(compensation.Load((folder / "k.hset").c_str()));
  double sum = 0, most = 0;
  for (int frame = 0; frame < clipFrames; ++frame) {
    Vorn::Matrix h;
    ASSERT_TRUE(compensation.Get(frame, h));
    sum += EmptyPercent(h);
    most = std::max(most, EmptyPercent(h));
  }
  const json tried = planOf({});
  EXPECT_EQ(tried["plan"]["zoom"], 1.0);
  EXPECT_EQ(tried["plan"]["cutPercent"], 0.0);
  ASSERT_GT(most, 0.5);
  // A pixel on the rim is counted whole or not at all: half of the rim's share.
  const double rim = 100.0 * (clipWidth + clipHeight) / (clipWidth * clipHeight) / 2;
  EXPECT_NEAR(tried["plan"]["emptyPercent"], sum / clipFrames, rim);
  EXPECT_NEAR(tried["plan"]["emptiestPercent"], most, rim);
}

TEST_F(PlanCommandTest, TheZoomIsLimitedByLessSmoothingWithoutAnotherAnalysis) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--events", "none"}).status, 0);
  const auto before = json::parse(ReadAll(document));
  const double full = planOf({})["plan"]["zoom"], least = planOf({"--smoothing", "1"})["plan"]["zoom"];
  ASSERT_GT(full, least + 0.004);
  const double limit = (full + least) / 2;
  const json tried = planOf({"--max-zoom", std::to_string(limit)});
  const int smoothing = tried["settings"]["smoothing"];
  EXPECT_LE(tried["plan"]["zoom"], limit + 0.0005);
  EXPECT_LT(smoothing, 100);
  EXPECT_GT(planOf({"--smoothing", std::to_string(smoothing + 1)})["plan"]["zoom"], limit);  // no lower than needed

  const Outcome outcome = run(
      {"render", clip, "-o", out, "--max-zoom", std::to_string(limit), "--preset", "ultrafast", "--progress", "lines"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("orvane: " + clip + ": smoothing lowered from 100 to " +
                                     std::to_string(smoothing) + ": it takes a zoom of 1."));
  const auto after = json::parse(ReadAll(document));
  EXPECT_EQ(after["archives"]["101"], before["archives"]["101"]);
  EXPECT_EQ(after["parameters"]["201"], smoothing);
}

TEST_F(PlanCommandTest, ALimitThatFitsAlreadyChangesNothing) {
  const Outcome outcome =
      run({"stabilise", clip, "-o", out, "--max-zoom", "3", "--preset", "ultrafast", "--progress", "lines"});
  ASSERT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("smoothing stays at 100: it takes a zoom of 1."));
}

TEST_F(PlanCommandTest, ALimitThatCantBeKeptIsToldWithTheLeastThatCan) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string before = ReadAll(document);
  expectRefusal({"render", clip, "-o", out, "--max-zoom", "1", "--quiet"}, 1, clip,
                "no smoothing keeps to --max-zoom: the least that any takes is a zoom of 1.");
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_EQ(ReadAll(document), before);
  expectRefusal({"plan", clip, "--max-zoom", "1.1", "--rendering", "natural"}, 2, clip, "needs --rendering zoom");
  expectRefusal({"plan", clip, "--max-zoom", "1.1", "--global-mode", "cancel"}, 2, clip, "--global-mode smooth");
  expectRefusal({"plan", clip, "--max-zoom", "1.1", "--zoom-type", "variable"}, 2, clip, "--zoom-amount");
  expectRefusal({"plan", clip, "--max-zoom", "0.9"}, 2, "--max-zoom", "--help");
}

TEST_F(PlanCommandTest, APreviewIsHalfAsLargeAndTenSecondsLong) {
  WriteTestClip(folder / "long.mp4", 260, 32, 24);
  ASSERT_EQ(run({"stabilise", folder / "long.mp4", "-o", out, "--preview", "--preset", "ultrafast", "--quiet"}).status,
            0);
  const ClipContents preview = ScanClip(out);
  EXPECT_EQ(preview.format.width, 16);
  EXPECT_EQ(preview.format.height, 12);
  EXPECT_EQ(preview.identity.frames, 250);
  ASSERT_EQ(run({"render", folder / "long.mp4", "-o", out, "--preview", "--from", "100", "--preset", "ultrafast",
                 "--quiet", "--force"})
                .status,
            0);
  EXPECT_EQ(ScanClip(out).identity.frames, 160);
  ASSERT_EQ(run({"render", folder / "long.mp4", "-o", out, "--preview", "--to", "20", "--preset", "ultrafast",
                 "--quiet", "--force"})
                .status,
            0);
  EXPECT_EQ(ScanClip(out).identity.frames, 21);
}

TEST_F(PlanCommandTest, ThePreviewOfAVariableRateLastsTenSecondsToo) {
  // Ten frames a second for five seconds, then two.
  MakeClip(folder / "slow.mp4", 80,
           "-vf \"settb=1/600,setpts='if(lt(N,50),60*N,3000+300*(N-50))'\" -fps_mode passthrough -enc_time_base 1/600 "
           "-video_track_timescale 600 -c:v libx264 -preset ultrafast");
  ASSERT_EQ(run({"stabilise", folder / "slow.mp4", "-o", out, "--preview", "--preset", "ultrafast", "--quiet"}).status,
            0);
  EXPECT_EQ(ScanClip(out).identity.frames, 50 + 10);
}

/// Further than the frame is wide.
void WritePan(const std::string& pan) {
  EncoderOptions options;
  options.crf = 8;
  options.preset = "ultrafast";
  options.threads = 1;
  MovieWriter movie(pan, TestContents(clipWidth, clipHeight), MovieSpan{}, options);
  PicturePool pool(clipWidth, clipHeight);
  for (int number = 0; number < 25; ++number) {
    SharedPicture picture = TestPicture(pool, number);
    for (int y = 0; y < clipHeight; ++y)
      for (int x = 0; x < clipWidth; ++x) {
        float* argb = picture->samples.data() + 4 * (static_cast<size_t>(y) * clipWidth + x);
        argb[1] = argb[2] = argb[3] = SceneLuma(x + 10.0 * number, y);
      }
    movie.write(std::move(picture));
  }
  movie.finish();
}

TEST_F(PlanCommandTest, ACropThatCantBeFoundIsTold) {
  const std::string pan = folder / "pan.mp4";
  WritePan(pan);
  const Outcome locked = run({"plan", pan, "--global-mode", "cancel", "--progress", "none"});
  EXPECT_THAT(locked.out, AllOf(HasSubstr("(no border was found)"),
                                HasSubstr("warning: " + pan +
                                          ": no part of the picture is seen by every frame once all are locked "
                                          "onto the first, so nothing is cropped or zoomed; use --global-mode "
                                          "smooth, or cut the clip to the part that stays in view\n")));
}

TEST_F(PlanCommandTest, WhatTheSettingsDoIsToldWithAStoredAnalysisToo) {
  const std::string pan = folder / "pan.mp4",
                    told = "orvane: " + pan + ": no part of the picture is seen by every frame";
  WritePan(pan);
  ASSERT_EQ(run({"analyse", pan, "--global-mode", "none", "--quiet"}).status, 0);
  const std::vector<std::string> more{"-o", out, "--force", "--preset", "ultrafast", "--progress", "lines"};
  const auto with = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments).err;
  };
  EXPECT_THAT(with({"stabilise", pan}), Not(HasSubstr(told)));
  EXPECT_THAT(with({"stabilise", pan, "--global-mode", "cancel"}), HasSubstr(told));
  EXPECT_THAT(with({"render", pan}), HasSubstr(told));
  EXPECT_THAT(with({"render", pan, "--rendering", "complete"}), Not(HasSubstr(told))) << "that takes no crop";
  const std::string lines = run({"render", pan, "-o", out, "--force", "--rendering", "zoom", "--progress", "json"}).out;
  EXPECT_EQ(json::parse(lines.substr(lines.rfind("{\"done\"")))["warnings"][0]["kind"], "noCrop");
}

TEST_F(PlanCommandTest, CompletionWarnsOfAClipsOwnOpacity) {
  const std::string clear = folder / "clear.mkv", told = "fills transparent parts of the clip too";
  MakeClip(clear, 12, "-vf format=yuva420p -c:v ffv1");
  EXPECT_THAT(run({"plan", clear, "--rendering", "complete", "--progress", "none"}).out, HasSubstr(told));
  EXPECT_THAT(run({"plan", clear, "--rendering", "zoom", "--progress", "none"}).out, Not(HasSubstr(told)));
  EXPECT_THAT(run({"plan", clip, "--rendering", "complete", "--progress", "none"}).out, Not(HasSubstr(told)));
}

TEST_F(PlanCommandTest, ALimitThatDoesNotGoWithTheSettingsIsToldBeforeTheAnalysis) {
  for (const char* command : {"stabilise", "overlay"}) {
    expectRefusal({command, clip, "-o", out, "--max-zoom", "1.1", "--rendering", "crop"}, 2, clip,
                  "needs --rendering zoom");
    expectRefusal({command, clip, "-o", out, "--max-zoom", "1.1", "--global-mode", "cancel"}, 2, clip,
                  "--global-mode smooth");
  }
  expectRefusal({"plan", clip, "--max-zoom", "1.1", "--zoom-type", "variable"}, 2, clip, "--zoom-amount");
  EXPECT_FALSE(std::filesystem::exists(document));
}

TEST_F(PlanCommandTest, WarningsAreToldOnceAfterTheAnalysis) {
  const std::string flat = folder / "flat.mp4";
  {
    EncoderOptions options;
    options.preset = "ultrafast";
    options.threads = 1;
    MovieWriter movie(flat, TestContents(clipWidth, clipHeight), MovieSpan{}, options);
    PicturePool pool(clipWidth, clipHeight);
    for (int number = 0; number < 5; ++number) {
      SharedPicture picture = TestPicture(pool, number);
      std::fill(picture->samples.begin(), picture->samples.end(), 0.5f);
      movie.write(std::move(picture));
    }
    movie.finish();
  }
  const std::string text = flat +
                           ": no motion could be found in 4 of 5 frames, which stay as filmed; unless the "
                           "picture stands still, it needs more light, or details such as corners\n";
  EXPECT_THAT(run({"analyse", flat, "--progress", "lines"}).err, HasSubstr("orvane: " + text));
  EXPECT_EQ(run({"analyse", flat, "--progress", "lines"}).err, "");  // nothing new is found
  EXPECT_EQ(run({"analyse", flat, "--again", "--quiet"}).err, "");
  EXPECT_THAT(run({"show", flat}).out, HasSubstr("warning: " + text));
  const std::string lines = run({"analyse", flat, "--again", "--progress", "json"}).out;
  EXPECT_EQ(json::parse(lines.substr(lines.rfind("{\"done\"")))["warnings"][0]["kind"], "noMotion");
  EXPECT_EQ(json::parse(run({"show", flat, "--json"}).out)["warnings"][0]["count"], 4);
  EXPECT_EQ(json::parse(run({"plan", flat, "--json"}).out)["warnings"][0]["count"], 4);
}

}  // namespace
}  // namespace film
