#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "film/NobodysRights.h"
#include "film/StoredFileFixture.h"
#include "film/StoredFormat.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class ShowFileTest : public StoredFileTest {
 protected:
  /// What is told of a file for programs; the name of the file doesn't matter.
  json shown(const std::string& bytes) const {
    const Outcome outcome = run({"show", made("file.of.any.name", bytes), "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return json::parse(outcome.out);
  }
  std::string told(const std::string& bytes) const {
    const std::string path = made("told", bytes);
    const Outcome outcome = run({"show", path});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith(path + ": "));
    return outcome.out.substr(path.size() + 2);
  }
};

TEST_F(ShowFileTest, Motion) {
  EXPECT_EQ(told(hset()),
            "a matrix for each frame: motion, or a correction (HSET, version 2)\n"
            "matrices:                 2 frames, 3 to 4\n"
            "covered:                  3 to 4\n"
            "move by a matrix:         0 to 0.1 pixels, 0.05 on average\n"
            "turn by a matrix:         0 to 0 degrees, 0 on average\n"
            "origin:                   the frame's centre\n");
  const json d = shown(hset());
  EXPECT_EQ(d["format"], "HSET");
  EXPECT_EQ(d["version"], 2);
  EXPECT_EQ(d["complete"], true);
  EXPECT_EQ(d["valueBytes"], 4);
  EXPECT_EQ(d["originLocation"], 4);
  EXPECT_EQ(d["ranges"], json::parse(R"([{"first": 3, "last": 4}])"));
  ASSERT_EQ(d["frames"].size(), 2u);
  EXPECT_EQ(d["frames"][1].dump(),
            R"({"frame":4,"m00":1.0,"m01":0.0,"m02":0.1,"m10":0.0,"m11":1.0,"m12":0.0,"m20":0.0,"m21":0.0,"m22":1.0})");
}

TEST_F(ShowFileTest, MotionInTheOldForm) {
  EXPECT_THAT(
      told(kOldHset),
      AllOf(StartsWith("a matrix for each frame, motion or a correction, in the old text form (HSET, version 1)\n"),
            HasSubstr("2 frames, 0 to 1"), HasSubstr("top left corner")));
  EXPECT_EQ(shown(kOldHset)["frames"][1]["m02"], 2.123456789);
}

TEST_F(ShowFileTest, Confidence) {
  EXPECT_EQ(told(kMconf),
            "how far the motion of each frame can be trusted (MCONF)\n"
            "confidence:               2 frames, 0 to 1\n"
            "values:                   0.05 to 1, 0.525 on average\n"
            "doubtful:                 1 frame of 0.1 or less\n");
  EXPECT_EQ(shown(kMconf)["frames"], json::parse(R"([{"frame": 0, "confidence": 1.0},
                                                     {"frame": 1, "confidence": 0.05}])"));
}

TEST_F(ShowFileTest, NegativeFramesAreToldAsTheyAre) {
  EXPECT_THAT(told("MCONF\n-3 0.5\n-5 1\n"), HasSubstr("confidence:               2 frames, -5 to -3\n"));
  EXPECT_EQ(shown("MCONF\n-3 0.5\n-5 1\n")["end"], -3);
  const std::string motion = "HSET\n-7 1 0 0 0 1 0 0 0 1\n-6 1 0 0 0 1 0 0 0 1\n";
  EXPECT_THAT(told(motion), AllOf(HasSubstr("matrices:                 2 frames, -7 to -6\n"),
                                  HasSubstr("covered:                  -7 to -6\n")));
  EXPECT_THAT(told("GAINS\nstart -9\n1\n1\n"), HasSubstr("covered:                  -9 to -8\n"));
}

TEST_F(ShowFileTest, AMatrix) {
  EXPECT_EQ(told(kMatrix), "one matrix (matrix)\nmatrix:                   2 rows of 3 values\n1 2 3\n4 5 -0.0065\n");
  EXPECT_EQ(shown(kMatrix)["values"], json::parse("[[1,2,3],[4,5,-0.0065]]"));
}

TEST_F(ShowFileTest, Points) {
  EXPECT_EQ(told(pset()),
            "points (PSET, version 2)\n"
            "points:                   2\n"
            "comment:                  odd\n"
            "x:                        -3 to 1.5, -0.75 on average\n"
            "y:                        0.1 to 2, 1.05 on average\n"
            "weight:                   0.5 to 1, 0.75 on average\n");
  EXPECT_EQ(shown(pset())["points"][1], json::parse(R"({"id": 8, "x": -3.0, "y": 0.1, "weight": 0.5})"));
  EXPECT_THAT(told(kPoints), StartsWith("points, in the old text form (POINTS, version 1)\n"));
  EXPECT_EQ(shown(kPoints)["points"][0], json::parse(R"({"id": 1, "x": 10.0, "y": 20.5, "weight": 1.0})"));
}

TEST_F(ShowFileTest, Matches) {
  EXPECT_EQ(told(kMatches),
            "pairs of points (MATCHES)\n"
            "pairs of points:          2\n"
            "with a score above 0:     1\n"
            "score:                    0 to 0.5, 0.25 on average\n");
  EXPECT_EQ(shown(kMatches)["matches"][0], json::parse(R"({"first": 0, "second": 3, "score": 0.5})"));
}

TEST_F(ShowFileTest, MatchesThatWereRemovedAreTold) {
  EXPECT_THAT(told("MATCHES\n3\n1\n0 3 0.5\n"), HasSubstr("pairs of points:          1 of 3 that were added\n"));
}

TEST_F(ShowFileTest, APlaneOfNumbers) {
  EXPECT_EQ(told(fary()),
            "a plane of numbers (FARY)\n"
            "plane of numbers:         2 x 1\n"
            "values:                   -1 to 0.5, -0.25 on average\n");
  EXPECT_EQ(shown(fary())["values"], json::parse("[[0.5, -1.0]]"));
}

TEST_F(ShowFileTest, Tracks) {
  EXPECT_EQ(told(strk::Small()),
            "feature tracks (strk, version 2)\n"
            "feature tracks:           3, with 4 points\n"
            "frames:                   5 to 6\n"
            "covered:                  5 to 7\n"
            "length:                   1 to 2 frames, 1.33333 on average\n"
            "tracker:                  window 13, levels 4, range 15, minevalue 0.5\n"
            "comment:                  odd\n");
  const json d = shown(strk::Small());
  EXPECT_EQ(d["tracks"][1], json::parse(R"({"id": 9, "start": 5, "end": 6})"));
  ASSERT_EQ(d["points"].size(), 4u);
  EXPECT_EQ(d["points"][2], json::parse(R"({"track": 1, "id": 9, "frame": 6, "x": -3.0, "y": 4.5})"));
  EXPECT_THAT(told(kTracks), AllOf(StartsWith("feature tracks, in the old text form (TRACKS, version 1)\n"),
                                   HasSubstr("1, with 2 points"), HasSubstr("from a tool")));
  EXPECT_EQ(shown(kTracks)["points"][1]["x"], 3.5);
}

TEST_F(ShowFileTest, ALaterSegmentOfTracksNamesTheFirst) {
  std::string later = strk::Small();
  later.replace(8, 4, "TRKN");
  expectRefusal({"show", made("t.strk1", later)}, 1, "t.strk1", "name the first one");
}

TEST_F(ShowFileTest, EventsOfAllVersions) {
  EXPECT_EQ(told(mfp3()),
            "the events and their fits (MFP3, version 3)\n"
            "horizontal events:        hold 0 to 9, broken 10 to 20\n"
            "vertical events:          move 0 to 20\n");
  const json d = shown(mfp3());
  ASSERT_EQ(d["events"].size(), 3u);
  EXPECT_EQ(d["events"][1]["cut"], true);
  EXPECT_EQ(d["events"][1]["fit"], "None");
  EXPECT_EQ(d["events"][2]["axis"], "vertical");
  EXPECT_EQ(d["events"][2]["gradientIn"], 0.25);
  EXPECT_THAT(told(kMfp2), StartsWith("the events and their fits, in an old form (MFP, version 2)\n"));
  EXPECT_EQ(shown(kMfp2)["format"], "MFP2");
  EXPECT_EQ(shown(kMfp2)["events"][0]["endPosition"], 12.0);
  EXPECT_EQ(shown(kMfp1)["format"], "MFP1");
  EXPECT_EQ(shown(kMfp1)["events"][1]["endPosition"], 3.0);
}

TEST_F(ShowFileTest, Gains) {
  EXPECT_EQ(told(gains()),
            "the gain of each frame (GAINS, version 2)\n"
            "gains:                    2 frames\n"
            "covered:                  5 to 6\n"
            "gain:                     1 to 1.25, 1.125 on average\n");
  EXPECT_EQ(shown(gains())["frames"][1], json::parse(R"({"frame": 6, "gain": 1.25})"));
  EXPECT_THAT(told(kOldGains), StartsWith("the gain of each frame, in the old text form (GAINS, version 1)\n"));
  EXPECT_EQ(shown(kOldGains)["frames"], shown(gains())["frames"]);
}

TEST_F(ShowFileTest, GainsBehindTheLastFrameNumberAreDamage) {
  const std::string path = made("end.gains", "GAINS\nstart 2147483646\n1\n1.5\n2\n3\n");
  const Outcome outcome = run({"show", path, "--json"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("damaged"));
  const json d = json::parse(outcome.out);
  EXPECT_EQ(d["frames"], json::parse(R"([{"frame": 2147483646, "gain": 1.0}, {"frame": 2147483647, "gain": 1.5}])"));
  EXPECT_EQ(d["ranges"], json::parse(R"([{"first": 2147483646, "last": 2147483647}])"));
  EXPECT_EQ(shown("GAINS\nstart 2147483646\n1\n1.5\n")["frames"].size(), 2u);
}

TEST_F(ShowFileTest, NumbersThatJsonLacksAreTexts) {
  const std::string bytes = "FARY\n3 1 3\n" + Float(std::numeric_limits<float>::quiet_NaN()) +
                            Float(-std::numeric_limits<float>::infinity()) + Float(1);
  EXPECT_EQ(shown(bytes)["values"], json::parse(R"([["nan", "-inf", 1.0]])"));
}

TEST_F(ShowFileTest, WhatIsLeftOfADamagedFileIsToldAndTheRunFails) {
  const std::string path = made("cut.set", hset().substr(0, hset().size() - 10));
  const Outcome outcome = run({"show", path, "--json"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(path), HasSubstr("damaged or was cut short")));
  const json d = json::parse(outcome.out);
  EXPECT_EQ(d["complete"], false);
  EXPECT_EQ(d["frames"].size(), 1u);
}

TEST_F(ShowFileTest, EveryTruncationOfEveryFormatEndsWithAStatus) {
  for (const std::string& whole :
       {hset(), pset(), gains(), fary(), mfp3(), strk::Small(), std::string(kOldHset), std::string(kMconf),
        std::string(kMatches), std::string(kPoints), std::string(kTracks), std::string(kOldGains)})
    for (size_t size = 4; size < whole.size(); size += 3) {
      const std::string path = made("cut", whole.substr(0, size));
      const Outcome outcome = run({"show", path});
      EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << whole.substr(0, size);
      EXPECT_EQ(outcome.status == 0, outcome.err.empty()) << outcome.err;
      EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
      EXPECT_TRUE(outcome.err.empty() || outcome.err.starts_with("orvane: ")) << outcome.err;
    }
}

TEST_F(ShowFileTest, WhatIsNoneOfThemIsTakenForAClip) {
  expectRefusal({"show", made("a.txt", "just some words\n")}, 1, "a.txt", "video");
  expectRefusal({"show", folder / "none"}, 1, "none", "no such file");
  EXPECT_EQ(FormatOf(made("numbers.txt", "3 3 and words")), nullptr);
  EXPECT_EQ(FormatOf(made("empty", "")), nullptr);
  EXPECT_EQ(FormatOf(folder / ""), nullptr);
}

TEST_F(ShowFileTest, WhatTheLibraryPrintsOfAFileGoesToTheLog) {
  // A record and a half: the reader takes the one and complains.
  const std::string half =
      file("PSET", chunk("CONF", strk::Int(2) + strk::Int(0) + Long(0)) +
                       chunk("DATA", Long(7) + Float(1.5F) + Float(2) + Float(1) + Long(8) + Float(3)));
  const std::string path = made("half.pset", half), log = folder / "log.txt";
  const Outcome outcome = run({"show", path, "--json", "--log", log});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, AllOf(StartsWith("orvane: " + path), HasSubstr("damaged or was cut short")));
  EXPECT_EQ(json::parse(outcome.out)["points"].size(), 1u);
  EXPECT_EQ(ReadAll(log), "Error reading PSET DATA\n");
  expectRefusal({"show", made("none.mconf", "MCONF\nnothing\n")}, 1, "none.mconf", "damaged");
  expectRefusal({"show", made("few.points", "POINTS\n3\n1 2 3\n")}, 1, "few.points", "damaged");
  expectRefusal({"convert", made("few.points", "POINTS\n3\n1 2 3\n"), folder / "out"}, 1, "few.points", "damaged");
}

TEST_F(ShowFileTest, WindowsLineEndsAreNamedOrRead) {
  const auto windows = [](std::string text) {
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, 1, '\r');
    return text;
  };
  for (const std::string& text :
       {std::string(kOldHset), std::string(kMconf), std::string(kPoints), std::string(kMatches), std::string(kOldGains),
        std::string(kMfp1), std::string(kMfp2), mfp3()}) {
    expectRefusal({"show", made("w.txt", windows(text))}, 1, "w.txt", "Windows' line ends");
    expectRefusal({"convert", made("w.txt", windows(text)), folder / "out.csv"}, 1, "w.txt", "Unix line ends");
  }
  EXPECT_EQ(shown(windows(kMatrix))["values"], json::parse("[[1,2,3],[4,5,-0.0065]]"));
  EXPECT_EQ(shown(windows(kTracks)), shown(kTracks));  // the comment too
}

TEST_F(ShowFileTest, APreset) {
  const std::string text = "{ \"smoothing\": 40, \"crop-equal\": true}\n";
  EXPECT_EQ(told(text), "settings under one name (preset)\nsettings:                 --smoothing 40 --crop-equal on\n");
  const json d = shown(text);
  EXPECT_EQ(d["format"], "preset");
  EXPECT_EQ(d["settings"], json::parse(R"({"smoothing": 40, "crop-equal": "on"})"));
  expectRefusal({"show", made("p.json", "{\"smoothing\": 400}")}, 1, "p.json", "1 to 100");
  expectRefusal({"convert", made("p.json", text), folder / "out.csv"}, 1, "p.json", "no table");
}

TEST_F(ShowFileTest, Strings) {
  const std::string text = "/* Buttons */\n\"b\" = \"Two\\nlines\";\n\"a\" = \"One\";\n";
  EXPECT_EQ(told(text), "texts that users see (strings)\ntexts:                    2\na = One\nb = Two?lines\n");
  EXPECT_EQ(shown(text)["texts"], json::parse(R"([{"key": "a", "text": "One"}, {"key": "b", "text": "Two\nlines"}])"));
  expectRefusal({"show", made("cut.strings", text + "\"c\" = \"T")}, 1, "cut.strings", "damaged");
}

TEST_F(ShowFileTest, JsonOfOtherProgramsIsToldAsWhatItLooksLike) {
  for (const char* command : {"show", "convert"}) {
    const auto refused = [&](const std::string& text, const std::string& words) {
      std::vector<std::string> arguments{command, made("o.json", text)};
      if (arguments[0] == "convert") arguments.push_back(folder / "out.csv");
      const Outcome outcome = run(arguments);
      EXPECT_EQ(outcome.status, 1);
      EXPECT_THAT(outcome.err, AllOf(HasSubstr("o.json"), HasSubstr("no effect document"), HasSubstr(words),
                                     testing::Not(HasSubstr("--again"))));
    };
    refused(R"({"version": 1, "name": "x"})", "an object with \"name\", \"version\"");
    refused(R"({"a": 1, "b": 2, "c": 3, "d": 4, "e": 5})", "\"a\", \"b\", \"c\" and 2 more");
    refused("{}", "an empty object");
    refused(R"({"format": "HSET", "complete": true})", "orvane show --json");
    refused(R"({"motion": [], "intended": []})", "--truth");
    refused("{ not json", "begins as JSON does");
  }
  expectRefusal({"show", made("cut.json", "{\n \"archives\": {")}, 1, "cut.json", "damaged or was cut short");
}

TEST_F(ShowFileTest, WhatCantBeReadIsToldAsWhatItIs) {
  const std::string pipe = folder / "pipe", out = folder / "out.csv";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& name : {pipe, std::string("/dev/null")}) {
    expectRefusal({"show", name}, 1, name, "a pipe or a device");
    expectRefusal({"convert", name, out}, 1, name, "a pipe or a device");
  }
}

TEST_F(ShowFileTest, AMissingRightToReadIsTold) {
  const std::string path = made("secret.mconf", kMconf);
  std::filesystem::permissions(folder / "", std::filesystem::perms::all);
  std::filesystem::permissions(path, std::filesystem::perms::none);
  const NobodysRights rights;
  expectRefusal({"show", path}, 1, path, "access rights");
  expectRefusal({"convert", path, folder / "out.csv"}, 1, path, "access rights");
}

class ShowDocumentTest : public CommandLineTest {};

TEST_F(ShowDocumentTest, TellsWhatIsStoredWithoutTheClip) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--smoothing", "40"}).status, 0);
  const json ofClip = json::parse(run({"show", clip, "--json"}).out);
  std::remove(clip.c_str());
  const Outcome outcome = run({"show", document});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, AllOf(StartsWith(document + ": the effect on a clip (effect document, version 1)\n"),
                                 HasSubstr("14 frames, 192 x 144"), HasSubstr("--smoothing 40"),
                                 HasSubstr("analysed frames:          0 to 13, at 192 x 144")));
  const json d = json::parse(run({"show", document, "--json"}).out);
  EXPECT_EQ(d["settings"], ofClip["settings"]);
  EXPECT_EQ(d["frames"].size(), 14u);
  EXPECT_EQ(d["frames"][0]["m00"], 1.0);
  EXPECT_TRUE(d["frames"][3].contains("confidence"));
  EXPECT_TRUE(d["frames"][3].contains("gain"));
  EXPECT_FALSE(d["events"].empty());

  const std::string other = folder / "other.json";
  std::ofstream(other) << "{\"a\": 1}\n";
  expectRefusal({"show", other}, 1, other, "no effect document");
}

}  // namespace
}  // namespace film
