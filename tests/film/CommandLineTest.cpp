#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "analysis/HomographySet.h"
#include "film/CommandLineFixture.h"

namespace film {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST_F(CommandLineTest, StabiliseAnalysesRendersAndSumsUp) {
  const Outcome outcome = run({"stabilise", clip, "-o", out, "--preset", "ultrafast", "--progress", "lines"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("Analysing: frame 14 of 14"), HasSubstr("Rendering: frame 14 of 14")));
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("14 frames"), HasSubstr("hold"), HasSubstr("zoom 1."), HasSubstr("frames a second")));
  EXPECT_EQ(ScanClip(out, {.threads = 1}).identity.frames, clipFrames);
  const auto saved = nlohmann::json::parse(ReadAll(document));
  EXPECT_EQ(saved["archives"]["101"]["width"], clipWidth);
  EXPECT_EQ(saved["archives"]["101"]["end"], clipFrames - 1);
}

TEST_F(CommandLineTest, AnExportReplacesNothingButExports) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string film = folder / "film.mp4", motion = folder / "m.hset";
  WriteAll(film, ReadAll(clip));
  for (const char* option : {"--motion", "--events", "--gains", "--design"}) {
    expectRefusal({"export", clip, option, film}, 1, "film.mp4", "would be lost");
    EXPECT_EQ(ReadAll(film), ReadAll(clip));
  }
  expectRefusal({"export", clip, "--motion", motion, "--gains", film}, 1, "film.mp4", "would be lost");
  EXPECT_FALSE(std::filesystem::exists(motion)) << "nothing is written where something is refused";
  ASSERT_EQ(run({"export", clip, "--motion", motion}).status, 0);
  ASSERT_EQ(run({"export", clip, "--motion", motion}).status, 0) << "an export is made anew";
}

TEST_F(CommandLineTest, NamesThatAreNotUTF8AreShownInJson) {
  const std::string odd = folder / "b\xff.mp4";
  std::filesystem::copy_file(clip, odd);
  const Outcome outcome = run({"analyse", odd, "--progress", "json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("\xEF\xBF\xBD.mp4"));
  const Outcome shown = run({"show", odd, "--json"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_TRUE(nlohmann::json::accept(shown.out));
}

TEST_F(CommandLineTest, ExportedMotionIsTheCameras) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--seed", "1", "--threads", "1"}).status, 0);
  const Outcome outcome = run({"export", clip, "--motion", folder / "m.hset", "--rotation", folder / "r.hset",
                               "--confidence", folder / "c.mconf", "--events", folder / "e.mfp", "--gains",
                               folder / "g.gains", "--compensation", folder / "k.hset", "--design", folder / "d.hset"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  Vorn::HomographySet motion;
  ASSERT_TRUE(motion.Load((folder / "m.hset").c_str()));
  for (int frame = 1; frame < clipFrames; ++frame) {
    Vorn::Matrix matrix;
    ASSERT_TRUE(motion.Get(frame, matrix));
    EXPECT_NEAR(matrix(0, 2), ShakeX(frame - 1) - ShakeX(frame), 0.1) << frame;
    EXPECT_NEAR(matrix(1, 2), ShakeY(frame - 1) - ShakeY(frame), 0.1) << frame;
  }
  EXPECT_EQ(ReadAll(folder / "c.mconf").substr(0, 5), "MCONF");
  EXPECT_EQ(ReadAll(folder / "e.mfp").substr(0, 4), "MFP3");
  for (const char* name : {"r.hset", "k.hset", "d.hset", "g.gains"})
    EXPECT_EQ(ReadAll(folder / name).substr(0, 4), "RIFF");
}

TEST_F(CommandLineTest, TheDocumentGivesTheSameFramesAgain) {
  const std::vector<std::string> encoder = {"--preset", "ultrafast", "--crf", "0", "--quiet"};
  const auto with = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), encoder.begin(), encoder.end());
    return run(arguments).status;
  };
  ASSERT_EQ(with({"stabilise", clip, "-o", out}), 0);
  ASSERT_EQ(with({"render", clip, "-o", folder / "again.mp4"}), 0);
  EXPECT_TRUE(framesOf(out) == framesOf(folder / "again.mp4"));
  // Every setting that moves the plan: what it gives in the run that changes it, a later run gives too.
  const std::vector<std::vector<std::string>> settings = {{"--events", "border"},      {"--smoothing", "30"},
                                                          {"--events", "none"},        {"--global-mode", "cancel"},
                                                          {"--global-mode", "smooth"}, {"--rotation-dampening", "off"},
                                                          {"--rendering", "natural"},  {"--rendering", "crop"}};
  for (const auto& setting : settings) {
    ASSERT_EQ(with({"render", clip, "-o", folder / "changed.mp4", setting[0], setting[1], "--force"}), 0);
    ASSERT_EQ(with({"render", clip, "-o", folder / "later.mp4", "--force"}), 0);
    EXPECT_TRUE(framesOf(folder / "changed.mp4") == framesOf(folder / "later.mp4")) << setting[0] << setting[1];
  }
  EXPECT_FALSE(framesOf(folder / "later.mp4") == framesOf(out));  // the settings do matter
}

TEST_F(CommandLineTest, SettingsStayUntilChanged) {
  ASSERT_EQ(run({"analyze", clip, "--quiet", "--smoothing", "40", "--rendering", "crop"}).status, 0);
  EXPECT_THAT(run({"show", clip}).out, AllOf(HasSubstr("--smoothing 40"), HasSubstr("--rendering crop")));
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--zoom-type", "variable", "--zoom-amount", "1.25"}).status, 0);
  const auto shown = nlohmann::json::parse(run({"show", clip, "--json"}).out);
  EXPECT_EQ(shown["settings"]["smoothing"], 40);
  EXPECT_EQ(shown["settings"]["zoom-type"], "variable");
  EXPECT_EQ(shown["settings"]["zoom-amount"], 1.25);
  EXPECT_EQ(shown["analysed"][0]["last"], clipFrames - 1);
  EXPECT_THAT(shown["lowConfidence"], IsEmpty());
  EXPECT_GE(shown["border"]["zoomToFill"], 1.0);
}

TEST_F(CommandLineTest, APartOfTheClipCanBeRendered) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  ASSERT_EQ(run({"render", clip, "-o", out, "--from", "3", "--to", "7", "--quiet"}).status, 0);
  EXPECT_EQ(ScanClip(out, {.threads = 1}).identity.frames, 5);
  expectRefusal({"render", clip, "-o", out, "--force", "--from", "3", "--to", "14", "--quiet"}, 2, clip, "0 to 13");
  expectRefusal({"render", clip, "-o", out, "--force", "--from", "8", "--to", "7", "--quiet"}, 2, "--from", "behind");
}

TEST_F(CommandLineTest, ASpanOutsideTheClipIsToldAsSuch) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  expectRefusal({"render", clip, "-o", out, "--from", "14"}, 2, clip, "within its frames, 0 to 13");
  expectRefusal({"render", clip, "-o", out, "--to", "-1"}, 2, clip, "within its frames, 0 to 13");
  expectRefusal({"render", clip, "-o", out, "--from", "5", "--to", "4"}, 2, "--from", "behind --to");
}

TEST_F(CommandLineTest, WithOneThreadAndASeedAnAnalysisRepeats) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--threads", "1", "--seed", "7"}).status, 0);
  const std::string first = ReadAll(document);
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--threads", "1", "--seed", "7", "--again"}).status, 0);
  EXPECT_EQ(ReadAll(document), first);
}

TEST_F(CommandLineTest, ProgressForProgramsIsJsonLines) {
  const Outcome outcome = run({"stabilise", clip, "-o", out, "--progress", "json"});
  ASSERT_EQ(outcome.status, 0);
  std::istringstream lines(outcome.out);
  nlohmann::json last;
  for (std::string line; std::getline(lines, line);) last = nlohmann::json::parse(line);
  EXPECT_EQ(last["frames"], clipFrames);
  EXPECT_TRUE(last.contains("zoom"));
  EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandLineTest, TheLogGoesToAFileOnly) {
  const Outcome outcome = run({"analyse", clip, "--quiet", "--log", folder / "log"});
  ASSERT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err + outcome.out, "");
  EXPECT_THAT(ReadAll(folder / "log"), HasSubstr("Get pyramid for frame 0, lacing 0"));
}

TEST_F(CommandLineTest, AClipOfOneFrameWorks) {
  WriteTestClip(folder / "one.mp4", 1, clipWidth, clipHeight);
  ASSERT_EQ(run({"stabilise", folder / "one.mp4", "-o", out, "--quiet"}).status, 0);
  EXPECT_EQ(ScanClip(out, {.threads = 1}).identity.frames, 1);
}

TEST_F(CommandLineTest, SmallAndOddSizesWork) {
  for (const auto& [width, height] : {std::pair(101, 77), std::pair(30, 30), std::pair(16, 16), std::pair(8, 6)}) {
    const std::string small = folder / "small.mp4";
    WriteTestClip(small, 4, width, height);
    const Outcome outcome = run({"stabilise", small, "-o", out, "--quiet", "--force", "--again"});
    EXPECT_EQ(outcome.status, 0) << width << ": " << outcome.err;
    EXPECT_EQ(ScanClip(out, {.threads = 1}).identity.frames, 4) << width;
  }
}

TEST_F(CommandLineTest, OutputsAreProtected) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  WriteAll(out, "precious");
  expectRefusal({"render", clip, "-o", out}, 1, out, "--force");
  EXPECT_EQ(ReadAll(out), "precious");
  expectRefusal({"render", clip, "-o", clip, "--force"}, 2, clip, "choose another name");
  expectRefusal({"render", clip, "-o", document, "--force"}, 2, document, "choose another name");
  std::filesystem::create_hard_link(clip, folder / "link.mp4");
  expectRefusal({"render", clip, "-o", folder / "link.mp4", "--force"}, 2, folder / "link.mp4", "choose another name");
  expectRefusal({"render", clip, "-o", folder / "none/out.mp4"}, 1, folder / "none/out.mp4", "make it first");
  expectRefusal({"render", clip, "-o", folder / "out.xyz"}, 2, folder / "out.xyz", ".mp4");
  ASSERT_EQ(run({"render", clip, "-o", out, "--force", "--quiet"}).status, 0);
  EXPECT_EQ(ScanClip(out, {.threads = 1}).identity.frames, clipFrames);
  EXPECT_THAT(folder.names(), Not(Contains(HasSubstr("out.mp4."))));  // nothing temporary stays
}

TEST_F(CommandLineTest, NoFileOfARunReplacesAnother) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string film = ReadAll(clip), stored = ReadAll(document), same = folder / "same";
  std::filesystem::create_symlink(clip, folder / "link");
  const std::string remedy = "choose another name";
  for (const std::string& taken : {clip, document, folder / "link"}) {
    expectRefusal({"analyse", clip, "--log", taken}, 2, taken, remedy);
    expectRefusal({"export", clip, "--gains", taken}, 2, taken, remedy);
  }
  expectRefusal({"analyse", clip, "--effect", clip, "--again"}, 2, clip, remedy);
  expectRefusal({"stabilise", clip, "-o", same, "--log", same}, 2, same, remedy);
  expectRefusal({"stabilise", clip, "-o", same, "--effect", folder / "./same"}, 2, same, remedy);
  expectRefusal({"export", clip, "--motion", same, "--design", same}, 2, same, remedy);
  expectRefusal({"sample", same, "--truth", same}, 2, same, remedy);
  const std::string preset = folder / "own.json";
  WriteAll(preset, R"({"smoothing": 40})");
  expectRefusal({"analyse", clip, "--preset", preset, "--log", preset}, 2, preset, remedy);
  EXPECT_EQ(ReadAll(preset), R"({"smoothing": 40})");
  EXPECT_EQ(ReadAll(clip), film);
  EXPECT_EQ(ReadAll(document), stored);
  EXPECT_FALSE(std::filesystem::exists(same));
}

TEST_F(CommandLineTest, AWrongNameForTheDocumentCostsNoFile) {
  const std::string other = folder / "other";
  expectRefusal({"analyse", clip, "--effect", folder / "", "--again"}, 1, folder / "", "this is a folder");
  for (const char* precious : {"\x01 a film", "{\"name\": \"another program's\"}", "{\"version\": \"1.0.0\"}", "[1]"}) {
    WriteAll(other, precious);
    expectRefusal({"analyse", clip, "--effect", other, "--again"}, 1, other, "name another");
    EXPECT_EQ(ReadAll(other), precious);
  }
  for (const char* replaceable : {"", "{\"vers", "{\"version\": 99}"}) {
    WriteAll(other, replaceable);
    EXPECT_EQ(run({"analyse", clip, "--effect", other, "--again", "--quiet"}).status, 0) << replaceable;
    EXPECT_GT(ReadAll(other).size(), 1000u);
  }
}

TEST_F(CommandLineTest, BadInputIsNamedWithItsRemedy) {
  expectRefusal({"stabilise", folder / "none.mp4", "-o", out}, 1, folder / "none.mp4", "check the name");
  expectRefusal({"stabilise", folder / "", "-o", out}, 1, folder / "", "this is a folder");
  expectRefusal({"stabilise", folder / std::string(300, 'n'), "-o", out}, 1, "nnn", "check the name");
  expectRefusal({"stabilise", clip, "-o", ""}, 2, "empty", ".mp4");
  WriteAll(folder / "text.mp4", "text");
  expectRefusal({"stabilise", folder / "text.mp4", "-o", out}, 1, folder / "text.mp4", "not a video");
  expectRefusal({"render", clip, "-o", out}, 1, clip, "orvane analyse");
  expectRefusal({"export", clip, "--motion", folder / "m"}, 1, clip, "orvane analyse");
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("clip.mp4", "text.mp4"));
}

TEST_F(CommandLineTest, NobodyWaitsForAPipe) {
  const std::string pipe = folder / "pipe.mp4";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectRefusal({"stabilise", pipe, "-o", out}, 1, pipe, "save it as a file first");
  expectRefusal({"stabilise", clip, "-o", out, "--effect", pipe}, 1, pipe, "name a file with --effect");
  expectRefusal({"analyse", clip, "--effect", pipe, "--again"}, 1, pipe, "name a file with --effect");
  expectRefusal({"compare", clip, "/dev/null", "-o", out}, 1, "/dev/null", "save it as a file first");
}

TEST_F(CommandLineTest, DocumentsThatDoNotFitAreRefusedUntilAskedAgain) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string good = ReadAll(document);
  WriteTestClip(folder / "other.mp4", 5, clipWidth, clipHeight);
  expectRefusal({"render", folder / "other.mp4", "--effect", document, "-o", out}, 1, document, "frame count is 14");
  WriteAll(document, good.substr(0, good.size() / 2));
  expectRefusal({"stabilise", clip, "-o", out}, 1, document, "--again");
  EXPECT_EQ(run({"stabilise", clip, "-o", out, "--again", "--quiet"}).status, 0);
  EXPECT_EQ(nlohmann::json::parse(ReadAll(document))["clip"], nlohmann::json::parse(good)["clip"]);
  expectRefusal({"analyse", clip, "--effect", folder / "none/e.json", "--quiet"}, 1, folder / "none/e.json",
                "--effect");
}

TEST_F(CommandLineTest, WrongUsageHasItsOwnStatus) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"fly"},
                                             {"stabilise"},
                                             {"stabilise", clip},
                                             {"analyse", clip, "--threads", "0"},
                                             {"render", clip, "-o", out, "--crf", "99"},
                                             {"render", clip, "-o", out, "--preset", "quick"},
                                             {"export", clip},
                                             {"analyse", clip, "--quiet", "--progress", "bar"},
                                             {"show", clip, "--smoothing", "3"}})
    expectRefusal(arguments, 2, "orvane: ", "--help");
  expectRefusal({"fly"}, 2, "fly", "no such command");
  expectRefusal({"render", clip, "-o", out, "--smoothing"}, 2, "--smoothing", "--help");
  expectRefusal({"analyse", clip, "--smoothing", "0"}, 2, "--smoothing 0", "from 1 to 100");
  expectRefusal({"analyse", clip, "--smoothing", "2.5"}, 2, "--smoothing 2.5", "whole number");
  expectRefusal({"analyse", clip, "--zoom-amount", "nan"}, 2, "--zoom-amount nan", "from 1.00 to 2.00");
  expectRefusal({"analyse", clip, "--events", "some"}, 2, "--events some", "none, motion, border");
  expectRefusal({"analyse", clip, "--crop-equal", "on", "--crop-centre", "on"}, 2, "--crop-equal", "choose one");
  expectRefusal({"analyse", clip, "--zoom-amount", "1.5", "--zoom-type", "fit"}, 2, "--zoom-amount", "variable");
  EXPECT_EQ(run({"--help"}).status, 0);
  const Outcome help = run({"stabilize", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, testing::HasSubstr("--fields auto|top|bottom|none\n"));
  EXPECT_THAT(help.out, testing::Not(testing::HasSubstr(":{"))) << "each choice is told once";
}

TEST_F(CommandLineTest, TheVersionIsToldWithoutACommand) {
  const Outcome version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.out, testing::MatchesRegex("orvane [0-9]+[.][0-9]+[.][0-9]+\n"));
  EXPECT_EQ(version.err, "");
}

TEST_F(CommandLineTest, HelpNamesEachValueOnce) {
  for (const char* command : {"stabilise", "analyse", "render", "plan", "show", "convert", "compare", "overlay",
                              "presets", "import", "export", "parameters", "sample"}) {
    const Outcome help = run({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, testing::AllOf(HasSubstr("--help"), testing::Not(HasSubstr(":{")))) << command;
  }
}

TEST_F(CommandLineTest, AnEmptyValueIsNoValue) {
  for (const char* option : {"--smoothing", "--from", "--seed", "--effect", "--log", "--codec", "--preset", "--out",
                             "--out-dir", "--encoder-option"})
    expectRefusal({"stabilise", clip, option, ""}, 2, option, "empty");
  expectRefusal({"stabilise", "", "-o", out}, 2, "CLIP", "empty");
  expectRefusal({"export", clip, "--motion", ""}, 2, "--motion", "empty");
  EXPECT_THAT(folder.names(), testing::ElementsAre("clip.mp4"));
}

TEST_F(CommandLineTest, WhatIsNoNumberIsRefused) {
  expectRefusal({"stabilise", clip, "-o", out, "--max-zoom", "nan"}, 2, "--max-zoom", "no number from 1 to 10");
  expectRefusal({"stabilise", clip, "-o", out, "--crf", "nan"}, 2, "--crf", "no number from 0 to 63");
  expectRefusal({"stabilise", clip, "-o", out, "--crf", "63.5"}, 2, "--crf", "no number from 0 to 63");
}

TEST_F(CommandLineTest, ANameWithALineBreakStaysOnOneLine) {
  const std::string odd = folder / "two\nlines.mp4", shown = folder / "two?lines.mp4";
  expectRefusal({"analyse", odd}, 1, shown, "no such file");
  std::filesystem::rename(clip, odd);
  const Outcome outcome = run({"stabilise", odd, "-o", out, "--progress", "lines"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, testing::Not(testing::HasSubstr("two\n")));
}

TEST_F(CommandLineTest, ParametersAreListedAsDeclared) {
  const auto table = nlohmann::json::parse(run({"parameters", "--json"}).out);
  ASSERT_EQ(table.size(), 18u);
  EXPECT_EQ(table[0]["id"], 102);
  EXPECT_EQ(table[4]["key"], "OrvaneFCPX::GlobalSmoothing");
  EXPECT_EQ(table[4]["text"], "Smoothing");
  EXPECT_EQ(table[4]["default"], 100);
  EXPECT_EQ(table[4]["least"], 1);
  EXPECT_EQ(table[4]["option"], "--smoothing");
  EXPECT_EQ(table[7]["entryKeys"][2], "OrvaneFCPX::ZoomMode");
  EXPECT_THAT(run({"parameters"}).out, HasSubstr("OrvaneFCPX::ZoomMode  \"Zoom\""));
}

}  // namespace
}  // namespace film
