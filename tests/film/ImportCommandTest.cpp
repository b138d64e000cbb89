#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "analysis/HomographySet.h"
#include "film/CommandLineFixture.h"
#include "film/Session.h"
#include "film/Warnings.h"

namespace film {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// A clip that is analysed, its project, and a second document that knows nothing yet.
class ImportCommandTest : public CommandLineTest {
 protected:
  ImportCommandTest() : package(folder / "beach.orvane"), fresh(folder / "fresh.json") {
    EXPECT_EQ(run({"analyse", clip, "--quiet", "--seed", "1", "--threads", "1"}).status, 0);
    EXPECT_EQ(run({"export", clip, "--package", package}).status, 0);
  }

  Outcome import(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"import", package, clip, "--effect", fresh};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  /// What nothing may add to but the program itself.
  static void expectOwnLinesOnly(const std::string& err) {
    std::istringstream lines(err);
    for (std::string line; std::getline(lines, line);) EXPECT_THAT(line, testing::StartsWith("orvane: "));
  }

  /// An old motion file: a frame's shake, but for the frames in `others`.
  void writeMotion(const std::map<int, std::string>& others = {}) {
    std::string text = "HSET\n";
    for (int frame = 0; frame < clipFrames; ++frame) {
      const auto other = others.find(frame);
      text += std::to_string(frame) + " " +
              (other != others.end() ? other->second
               : frame % 2           ? "1 0 1 0 1 0 0 0 1"
                                     : "1 0 -1 0 1 0 0 0 1") +
              "\n";
    }
    WriteAll(package + "/motion.set", text);
  }

  /// Puts another index into the package.
  void index(const std::string& text) { WriteAll(package + "/project.fpf", text); }

  nlohmann::json stored() const { return nlohmann::json::parse(ReadAll(fresh)); }

  /// The effect's output for all frames, before any encoding.
  std::vector<std::vector<float>> rendered(const std::string& effectPath, std::vector<SettingChange> changes) {
    SessionOptions options;
    options.clip = clip;
    options.effectPath = effectPath;
    options.threads = 1;
    Session session(options);
    session.effect().change(changes);
    std::vector<std::vector<float>> frames;
    for (int number = 0; number < clipFrames; ++number) frames.push_back(session.effect().render(number)->samples);
    return frames;
  }

  static float largestDifference(const std::vector<std::vector<float>>& a, const std::vector<std::vector<float>>& b) {
    float largest = 0;
    for (size_t frame = 0; frame < a.size(); ++frame)
      for (size_t i = 0; i < a[frame].size(); ++i) largest = std::max(largest, std::fabs(a[frame][i] - b[frame][i]));
    return largest;
  }

  std::string package, fresh;
};

const std::string kSequence = "<sequence width='192' height='144'></sequence>";
const std::string kMotion = "<motion>motion.set</motion><premotion>rotation.set</premotion>";
const std::string kFilters = "<filters>events.mfp</filters>";

TEST_F(ImportCommandTest, AProjectRendersLikeTheAnalysisThatItWasMadeFrom) {
  const auto filmed = framesOf(clip);
  const Outcome outcome = import();
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(package), HasSubstr("The project was imported.")));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr(clip + ": 14 frames"), Not(HasSubstr("a second"))));
  for (const std::vector<SettingChange>& changes :
       std::vector<std::vector<SettingChange>>{{},
                                               {{kRenderingType, 0}},
                                               {{kRenderingType, 1}},
                                               {{kRotationDampening, 0}, {kGlobalSmoothing, 40}},
                                               {{kGlobalMode, 2}, {kRenderingType, 0}}}) {
    const auto steady = rendered(document, changes);
    EXPECT_GT(largestDifference(filmed, steady), 0.1f);
    EXPECT_LT(largestDifference(steady, rendered(fresh, changes)), 1e-4f) << "positions have six digits in the file";
  }
}

TEST_F(ImportCommandTest, AnImportedProjectExportsAsItWas) {
  ASSERT_EQ(import({"--quiet"}).status, 0);
  const std::string again = folder / "again.orvane";
  ASSERT_EQ(run({"export", clip, "--effect", fresh, "--package", again}).status, 0);
  for (const char* name : {"motion.set", "rotation.set", "events.mfp"})
    EXPECT_EQ(ReadAll(again + "/" + name), ReadAll(package + "/" + name)) << name;
  EXPECT_FALSE(fs::exists(again + "/gains.agc")) << "an import stores no gains";
  EXPECT_THAT(ReadAll(again + "/project.fpf"), Not(HasSubstr("<completion>")));
}

TEST_F(ImportCommandTest, StoresMotionAndEventsAndLeavesTheSettings) {
  ASSERT_EQ(run({"plan", clip, "--quiet"}).status, 0);
  ASSERT_EQ(import({"--quiet"}).status, 0);
  const auto before = nlohmann::json::parse(ReadAll(document)), after = stored();
  EXPECT_EQ(after["archives"]["101"]["width"], clipWidth);
  EXPECT_EQ(after["archives"]["101"]["frame5h2"], before["archives"]["101"]["frame5h2"]);
  EXPECT_EQ(after["archives"]["101"]["qa5q2"], before["archives"]["101"]["qa5q2"]);
  EXPECT_EQ(after["archives"]["101"]["conf_val5"], 1.0);
  EXPECT_EQ(after["archives"]["204"]["number_horizontal"], before["archives"]["204"]["number_horizontal"]);
  EXPECT_EQ(after["archives"]["303"]["num_ranges"], 0);
  EXPECT_EQ(after["parameters"], before["parameters"]);
  EXPECT_THAT(folder.names(), Not(Contains(testing::StartsWith("."))));
}

TEST_F(ImportCommandTest, TheModeIsSmoothAfterwards) {
  index(kMotion + kFilters);  // no sequence: nothing but the mode is touched
  WriteAll(fresh, ReadAll(document));
  ASSERT_EQ(
      run({"render", clip, "-o", out, "--effect", fresh, "--global-mode", "cancel", "--preset", "ultrafast", "--quiet"})
          .status,
      0);
  const auto before = stored();
  ASSERT_EQ(before["parameters"]["200"], 2);
  EXPECT_EQ(import().status, 1);
  const auto after = stored();
  EXPECT_EQ(after["parameters"]["200"], 1);
  EXPECT_EQ(after["archives"], before["archives"]);
}

TEST_F(ImportCommandTest, ASizeThatTheProjectLacksIsTheClips) {
  index("<sequence></sequence>" + kMotion + kFilters);
  const Outcome outcome = import({"--quiet"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("the size of this clip's frames was taken")) << "a warning isn't quiet";
  EXPECT_EQ(stored()["archives"]["101"]["height"], clipHeight);
}

TEST_F(ImportCommandTest, AGoodImportIsQuietWhenAsked) {
  const Outcome outcome = import({"--quiet"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  EXPECT_THAT(outcome.out, IsEmpty());
  const auto line = nlohmann::json::parse(import({"--progress", "json"}).out);
  EXPECT_EQ(line["done"], clip);
  EXPECT_EQ(line["frames"], clipFrames);
}

TEST_F(ImportCommandTest, WhatTheProjectLeavesOpenIsTold) {
  fs::remove(package + "/rotation.set");
  WriteAll(package + "/motion.mconf", "RIFF");
  EXPECT_THAT(import().err, AllOf(HasSubstr("rotation.set: is missing"), HasSubstr("motion.mconf: is no MCONF file"),
                                  HasSubstr("gains.agc: gains of brightness aren't kept after an import")));
  WriteAll(package + "/motion.set", "HSET\n0 1 0 0 0 1 0 0 0 1\n1 1 0 2 0 1 0 0 0 1\n");
  const Outcome outcome = import();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("2 of the clip's 14 frames"), HasSubstr("orvane stabilise")));
}

TEST_F(ImportCommandTest, AProjectOfAnotherClipIsToldByItsLength) {
  std::string motion = "HSET\n";
  for (int frame = 0; frame < clipFrames + 5; ++frame) motion += std::to_string(frame) + " 1 0 0 0 1 0 0 0 1\n";
  WriteAll(package + "/motion.set", motion);
  const Outcome outcome = import();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("5 frames behind the clip's end; is it of another clip?"));
  EXPECT_EQ(run({"show", clip, "--effect", fresh}).status, 0);
}

TEST_F(ImportCommandTest, ABadProjectIsToldInOneLineAndCostsNothing) {
  ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0600), 0);
  WriteAll(package + "/events-cut.mfp", ReadAll(package + "/events.mfp").substr(0, 40));
  WriteAll(package + "/motion-cut.set", ReadAll(package + "/motion.set").substr(0, 200));
  WriteAll(fresh, ReadAll(document));
  const auto before = stored();
  const auto motion = [](const std::string& path) { return kSequence + "<motion>" + path + "</motion>" + kFilters; };
  for (const auto& [text, file, fault] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {motion("missing"), "/missing", "is missing"},
           {motion("."), "/.", "is a folder"},
           {motion("pipe"), "/pipe", "is a device or a pipe"},
           {motion("events.mfp"), "/events.mfp", "is no HSET file"},
           {motion("motion-cut.set"), "/motion-cut.set", "damaged, cut short, or claims far more frames than it holds"},
           {motion(""), "/project.fpf", "names no file as its motion"},
           {motion("../beach.orvane/nothing"), "/../beach.orvane/nothing", "is missing"},
           {kSequence + kFilters, "/project.fpf", "<motion>"},
           {kSequence + "<motion>motion.set" + kFilters, "/project.fpf", "<motion>"},
           {kMotion + kFilters, "/project.fpf", "<sequence"},
           {"</sequence>" + kMotion + kFilters + "<sequence", "/project.fpf", "<sequence"},
           {"", "/project.fpf", "<sequence"},
           {kSequence + "\xFF" + kMotion + kFilters, "/project.fpf", "UTF-8"}}) {
    index(text);
    const Outcome outcome = import({"--quiet"});
    EXPECT_EQ(outcome.status, 1) << fault;
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(package + file), HasSubstr(fault), HasSubstr("can't be imported")));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(stored(), before) << fault;
  }
}

TEST_F(ImportCommandTest, MotionWithoutEventsIsKeptAndTold) {
  for (const auto& [text, fault] : std::vector<std::pair<std::string, std::string>>{
           {"", "<filters>"},
           {"<filters>missing</filters>", "/missing: is missing"},
           {"<filters>motion.set</filters>", "/motion.set: is no MFP3 file"}}) {
    fs::remove(fresh);
    index(kSequence + kMotion + text);
    const Outcome outcome = import({"--quiet"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(fault), HasSubstr("its motion is kept in " + fresh)));
    EXPECT_EQ(stored()["archives"]["101"]["end"], clipFrames - 1);
    EXPECT_EQ(stored()["archives"]["204"]["number_horizontal"] == 0, text.empty())
        << "where the file can't be read events are sought";
  }
}

TEST_F(ImportCommandTest, WhatIsNoProjectIsTurnedDown) {
  expectRefusal({"import", folder / "nothing.orvane", clip}, 1, folder / "nothing.orvane", "is missing");
  fs::create_directory(folder / "empty.orvane");
  expectRefusal({"import", folder / "empty.orvane", clip}, 1, folder / "empty.orvane/project.fpf", "is missing");
  WriteAll(folder / "file.orvane", kSequence + kMotion + kFilters);
  expectRefusal({"import", folder / "file.orvane", clip}, 1, folder / "file.orvane", "projects are folders");
  fs::create_directory(folder / "folder");
  expectRefusal({"import", folder / "folder", clip}, 2, folder / "folder", ".orvane");
  expectRefusal({"import", package, folder / "nothing.mp4"}, 1, folder / "nothing.mp4", "");
  EXPECT_EQ(run({"import", package}).status, 2);
  EXPECT_EQ(run({"import"}).status, 2);
}

TEST_F(ImportCommandTest, ADocumentOfAnotherClipIsLeftAlone) {
  WriteTestClip(folder / "other.mp4", 5);
  ASSERT_EQ(run({"analyse", folder / "other.mp4", "--effect", fresh, "--quiet"}).status, 0);
  const std::string before = ReadAll(fresh);
  expectRefusal({"import", package, clip, "--effect", fresh}, 1, fresh, "another clip");
  EXPECT_EQ(ReadAll(fresh), before);
}

TEST_F(ImportCommandTest, SlashesBehindThePackageAndOtherSpellingsAreFine) {
  package += "//";
  EXPECT_EQ(import({"--quiet"}).status, 0);
  fs::rename(folder / "beach.orvane", folder / "BEACH.ORVANE");
  package = folder / "BEACH.ORVANE";
  EXPECT_EQ(import({"--quiet"}).status, 0);
}

// Projects with which something is wrong.

TEST_F(ImportCommandTest, ASizeThatNoFrameHasIsTurnedDownBeforeAnythingIsReplaced) {
  WriteAll(fresh, ReadAll(document));
  for (const auto& [attributes, size] :
       std::vector<std::pair<std::string, std::string>>{{"width='0' height='144'", "0 x 144"},
                                                        {"width='-5' height='10'", "-5 x 10"},
                                                        {"width='192' height='-1'", "192 x -1"},
                                                        {"width='65537' height='144'", "65537 x 144"},
                                                        {"width='99999999999' height='1'", "1000000000 x 1"},
                                                        {"width='abc' height='abc'", "0 x 0"}}) {
    index("<sequence " + attributes + "></sequence>" + kMotion + kFilters);
    expectRefusal({"import", package, clip, "--effect", fresh}, 1, package + "/project.fpf: gives its frames " + size,
                  "leave out width and height to take the clip's");
    EXPECT_EQ(ReadAll(fresh), ReadAll(document));
  }
}

TEST_F(ImportCommandTest, ASizeOtherThanTheClipsIsToldWithBoth) {
  index("<sequence width='96' height='72'></sequence>" + kMotion + kFilters);
  const Outcome outcome = import();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("of frames of 96 x 72 pixels"), HasSubstr("the clip's have 192 x 144")));
  const Outcome shown = run({"show", clip, "--effect", fresh});
  EXPECT_THAT(shown.out, AllOf(testing::ContainsRegex("crop border: .* of 96 x 72, zoom to fill"),
                               HasSubstr("warning: " + clip + ": the stored motion is of frames of 96 x 72 pixels")));
  const auto told = nlohmann::json::parse(run({"show", clip, "--effect", fresh, "--json"}).out);
  EXPECT_EQ(told["analysedSize"]["width"], 96);
  EXPECT_EQ(told["analysedSize"]["height"], 72);
  EXPECT_LT(told["border"]["right"], 96);
  EXPECT_EQ(told["warnings"][0]["kind"], "otherSize");
  EXPECT_EQ(run({"render", clip, "-o", out, "--effect", fresh, "--preset", "ultrafast", "--quiet"}).status, 0);

  EXPECT_THAT(run({"show", clip}).out, Not(HasSubstr("192 x 144, zoom"))) << "the clip's own size goes without saying";
  EXPECT_EQ(nlohmann::json::parse(run({"show", clip, "--json"}).out)["analysedSize"]["height"], clipHeight);
}

TEST_F(ImportCommandTest, SizesFarFromTheClipsDoNoHarm) {
  for (const std::string attributes : {"width='1' height='1'", "width='65536' height='1'", "width='1' height='65536'",
                                       "width='65536' height='65536'"}) {
    index("<sequence " + attributes + "></sequence>" + kMotion + kFilters);
    EXPECT_EQ(import().status, 0) << attributes;
    for (const char* rendering : {"natural", "crop", "zoom", "complete"}) {
      const Outcome outcome = run({"render", clip, "-o", out, "--force", "--effect", fresh, "--rendering", rendering,
                                   "--preset", "ultrafast", "--quiet", "--to", "3"});
      EXPECT_EQ(outcome.status, 0) << attributes << " " << rendering << ": " << outcome.err;
    }
  }
}

TEST_F(ImportCommandTest, MotionThatNoCameraMakesIsTurnedDownInPlainWords) {
  WriteAll(fresh, ReadAll(document));
  const std::string none = "0 0 0 0 0 0 0 0 0";
  std::map<int, std::string> all;
  for (int frame = 0; frame < clipFrames; ++frame) all[frame] = none;
  for (const auto& [others, frames] : std::vector<std::pair<std::map<int, std::string>, std::string>>{
           {all, "14 frames (0 to 13)"},
           {{{4, none}}, "1 frame (4)"},
           {{{4, "1 1 0 1 1 0 0 0 1"}, {6, "1 0 0 0 1 0 0 0 0"}}, "2 frames (4, 6)"},
           {{{5, "1e300 0 0 0 1e300 0 0 0 1e300"}}, "1 frame (5)"}}) {
    writeMotion(others);
    expectRefusal({"import", package, clip, "--effect", fresh}, 1,
                  package + "/motion.set: the motion of " + frames + " can't be used", "orvane analyse");
    EXPECT_EQ(ReadAll(fresh), ReadAll(document));
  }
  writeMotion();
  WriteAll(package + "/rotation.set", "HSET\n3 0 0 0 0 0 0 0 0 1\n");
  expectRefusal({"import", package, clip, "--effect", fresh}, 1,
                package + "/rotation.set: the rotation of 1 frame (3) can't be used", "<premotion>");
}

TEST_F(ImportCommandTest, MotionThatBelongsToNoFramesIsTurnedDown) {
  WriteAll(fresh, ReadAll(document));
  Vorn::HomographySet motion;
  for (int frame = 0; frame < clipFrames; ++frame) motion.Set(frame, Vorn::Matrix::GetIdentity(3));
  ASSERT_TRUE(motion.Save((package + "/motion.set").c_str()));
  expectRefusal({"import", package, clip, "--effect", fresh}, 1, package + "/motion.set: tells no range of frames",
                "orvane analyse");
  EXPECT_EQ(ReadAll(fresh), ReadAll(document));
}

TEST_F(ImportCommandTest, APathThatLeavesEveryPictureIsTurnedDown) {
  WriteAll(fresh, ReadAll(document));
  for (const char* position : {"nan nan 0", "1e30 1e30 0", "0 0 -inf"}) {
    WriteAll(package + "/events.mfp", std::string("MFP3\nH 1\n0 Hold\n0 13\n0 0 0 0\n0 0 0\n0 G\n") +
                                          "V 1\n0 Hold\n0 13\n0 0 0 0\n" + position + "\n0 G\n");
    expectRefusal({"import", package, clip, "--effect", fresh}, 1,
                  package + "/events.mfp: plans a path that leaves every picture", "orvane analyse");
    EXPECT_EQ(ReadAll(fresh), ReadAll(document)) << position;
  }
}

TEST_F(ImportCommandTest, MotionOfOtherFramesThanTheClipsIsTurnedDown) {
  WriteAll(fresh, ReadAll(document));
  for (const int first : {-500, clipFrames}) {
    std::string text = "HSET\n";
    for (int frame = first; frame < first + 4; ++frame) text += std::to_string(frame) + " 1 0 0 0 1 0 0 0 1\n";
    WriteAll(package + "/motion.set", text);
    expectRefusal({"import", package, clip, "--effect", fresh}, 1,
                  "its motion is that of the frames " + std::to_string(first) + " to " + std::to_string(first + 3),
                  "has 0 to 13");
    EXPECT_EQ(ReadAll(fresh), ReadAll(document));
  }
}

TEST_F(ImportCommandTest, WhatIsLostOfDamagedFilesIsTold) {
  const std::string rotation = ReadAll(package + "/rotation.set"), gains = ReadAll(package + "/gains.agc");
  constexpr size_t record = 48;  // bytes of a frame's matrix
  WriteAll(package + "/rotation.set", rotation.substr(0, rotation.size() - 3 * record - 1));
  WriteAll(package + "/gains.agc", gains.substr(0, gains.size() / 2));
  const Outcome outcome = import();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("rotation.set: is damaged or cut short: it tells the rotation of 10 of the "
                                           "project's 14 frames, and the others count as not turned"),
                                 HasSubstr("gains.agc: is damaged or cut short; the project names it as its gains, and "
                                           "does without")));
  const auto line = nlohmann::json::parse(import({"--progress", "json"}).out);
  EXPECT_EQ(line["notes"].size(), 2u);

  WriteAll(package + "/rotation.set", rotation.substr(0, 70));
  WriteAll(package + "/gains.agc", gains);
  WriteAll(package + "/motion.mconf", "MCONF\n");
  const Outcome without = import();
  EXPECT_THAT(without.err, AllOf(HasSubstr("names it as its rotation, and does without"),
                                 HasSubstr("motion.mconf: holds no frames"), Not(HasSubstr("its gains"))));
  expectOwnLinesOnly(without.err);
}

TEST_F(ImportCommandTest, FramesOfLowConfidenceAreToldOnTheWayOutAndIn) {
  WriteShakyClip(clip, {5, 6});
  ASSERT_EQ(run({"analyse", clip, "--again", "--quiet", "--seed", "1", "--threads", "1"}).status, 0);
  const auto low = nlohmann::json::parse(run({"show", clip, "--json"}).out)["lowConfidence"];
  ASSERT_THAT(low, Contains(5)) << "nothing leads from the scene to a grey frame";
  const Outcome exported = run({"export", clip, "--package", package, "--force"});
  const std::string frames = Counted(static_cast<int>(low.size()), "frame", "frames") + " (" + low[0].dump();
  EXPECT_THAT(exported.err, AllOf(HasSubstr(package + ": " + frames), HasSubstr("count as certain once imported")));
  EXPECT_THAT(run({"export", clip, "--package", package, "--force", "--quiet"}).err, IsEmpty());
  const Outcome imported = import();
  EXPECT_THAT(imported.err, HasSubstr("motion.mconf: gives low confidence to " + frames));
  const auto known = nlohmann::json::parse(run({"show", clip, "--effect", fresh, "--json"}).out);
  EXPECT_THAT(known["lowConfidence"], IsEmpty());
}

TEST_F(ImportCommandTest, NamesOfSeveralLinesAreToldInOne) {
  index(kSequence + kMotion + "<motionConfidence>two\nlines</motionConfidence>" + kFilters);
  const Outcome outcome = import();
  EXPECT_THAT(outcome.err, HasSubstr("lines: is missing; the project names it as its confidence"));
  expectOwnLinesOnly(outcome.err);
  index(kSequence + "<motion>two\nlines</motion>" + kFilters);
  expectRefusal({"import", package, clip, "--effect", fresh}, 1, "lines: is missing", "as its motion");
}

TEST_F(ImportCommandTest, FramesWithoutEventsAreTold) {
  WriteAll(package + "/events.mfp",
           "MFP3\nH 1\n0 Hold\n0 9\n0 0 0 0\n0 0 0\n0 G\nV 1\n0 Hold\n0 13\n0 0 0 0\n0 0 0\n0 G\n");
  const Outcome outcome = import();
  EXPECT_THAT(outcome.err, HasSubstr("leave out 4 frames (10 to 13)"));
  expectOwnLinesOnly(outcome.err);
  EXPECT_THAT(run({"show", clip, "--effect", fresh}).err, IsEmpty());
  const Outcome anew = run({"plan", clip, "--effect", fresh, "--events", "border"});
  EXPECT_THAT(anew.out + anew.err, Not(HasSubstr("leave out"))) << "they are found anew";
}

TEST_F(ImportCommandTest, WhatTheEnginePrintsOfABadFileGoesToTheLog) {
  WriteAll(package + "/events.mfp", "GAINS\n");
  WriteAll(package + "/motion.mconf", "MCONF\n");
  const std::string log = folder / "log.txt";
  const Outcome outcome = import({"--log", log});
  EXPECT_EQ(outcome.status, 1);
  expectOwnLinesOnly(outcome.err);
  EXPECT_THAT(ReadAll(log), AllOf(HasSubstr("MotionConfidenceSet::Load() - Error reading confidence indices\n"),
                                  HasSubstr("Could not load motion correction, bad header")));
}

// Writing projects.

TEST_F(ImportCommandTest, APackageHoldsItsIndexAndWhatItNames) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(package)) names.push_back(entry.path().filename());
  EXPECT_THAT(names, testing::UnorderedElementsAre("project.fpf", "motion.set", "rotation.set", "motion.mconf",
                                                   "events.mfp", "gains.agc"));
  EXPECT_EQ(ReadAll(package + "/project.fpf"),
            "<project>\n  <sequence width=\"192\" height=\"144\"></sequence>\n  <motion>motion.set</motion>\n"
            "  <premotion>rotation.set</premotion>\n  <motionConfidence>motion.mconf</motionConfidence>\n"
            "  <filters>events.mfp</filters>\n  <completion><gains source=\"gains.agc\"/></completion>\n</project>\n");
  EXPECT_THAT(folder.names(), Not(Contains(testing::StartsWith("."))));
}

TEST_F(ImportCommandTest, AnExistingPackageIsReplacedByForceOnly) {
  WriteAll(package + "/notes.txt", "mine");
  WriteAll(package + "/motion.set", "HSET\n");
  expectRefusal({"export", clip, "--package", package}, 1, package, "--force");
  EXPECT_EQ(ReadAll(package + "/motion.set"), "HSET\n");
  EXPECT_EQ(run({"export", clip, "--package", package + "/", "--force"}).status, 0);
  EXPECT_EQ(ReadAll(package + "/motion.set").substr(0, 4), "RIFF");
  EXPECT_EQ(ReadAll(package + "/notes.txt"), "mine") << "what else lies in it stays";
  EXPECT_THAT(folder.names(), Not(Contains(testing::StartsWith("."))));
}

TEST_F(ImportCommandTest, AnExportIntoAPackageLosesNoOtherFile) {
  const std::string inside = package + "/motion.mconf";
  WriteAll(inside, "shopping list\n");
  expectRefusal({"export", clip, "--package", package, "--force"}, 1, inside + ": this is no exported file",
                "choose another name");
  EXPECT_EQ(ReadAll(inside), "shopping list\n");
  fs::remove(inside);
  index("another application's\n");
  expectRefusal({"export", clip, "--package", package, "--force"}, 1, "project.fpf: this is no index of a project",
                "choose another name");
  index("");
  fs::rename(document, package + "/events.mfp");
  expectRefusal({"export", clip, "--effect", package + "/events.mfp", "--package", package, "--force"}, 2,
                package + "/events.mfp: the same run needs this name", "choose another name");
  EXPECT_THAT(ReadAll(package + "/events.mfp"), HasSubstr("archives"));
}

TEST_F(ImportCommandTest, APackageThatCannotBeWrittenIsTold) {
  expectRefusal({"export", clip, "--package", folder / "beach"}, 2, folder / "beach", ".orvane");
  expectRefusal({"export", clip, "--package", folder / "no/beach.orvane"}, 1, folder / "no/beach.orvane", "make it");
  WriteAll(folder / "file.orvane", "");
  expectRefusal({"export", clip, "--package", folder / "file.orvane", "--force"}, 1, folder / "file.orvane",
                "another name");
  expectRefusal({"export", clip, "--effect", fresh, "--package", folder / "new.orvane"}, 1, clip, "orvane analyse");
  EXPECT_FALSE(fs::exists(folder / "new.orvane"));
  EXPECT_EQ(run({"export", clip, "--motion", folder / "m", "--force"}).status, 2) << "--force is for packages";
}

}  // namespace
}  // namespace film
