#include "film/Batch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "film/ChildRun.h"
#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/// The built program, since each clip is a run of it.
class BatchTest : public CommandLineTest {
 protected:
  Outcome runProgram(const std::vector<std::string>& arguments) {
    std::string command = ORVANE_PROGRAM;
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " >'" + (folder / "stdout") + "' 2>'" + (folder / "stderr") + "'";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), ReadAll(folder / "stdout"), ReadAll(folder / "stderr")};
  }
  /// A folder of clips, one of them broken.
  std::string makeFolder() {
    std::filesystem::create_directory(folder / "in");
    std::filesystem::copy_file(clip, folder / "in/a.mp4");
    WriteAll(folder / "in/b.mp4", "no video");
    WriteTestClip(folder / "in/c.mp4", 3, clipWidth, clipHeight);
    return folder / "in";
  }
};

TEST_F(BatchTest, OneClipThatFailsDoesNotStopTheOthers) {
  const Outcome outcome = runProgram({"stabilise", makeFolder(), folder / "gone.mp4", "-O", folder / "steady", "-j",
                                      "2", "--preset", "ultrafast", "--preset", "tripod", "--progress", "lines"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("clip"), HasSubstr("in/a.mp4"), HasSubstr("steady/a.mp4\n"),
                                 HasSubstr("not a video"), HasSubstr("\n2 of 4 clips done, 2 failed\n")));
  EXPECT_THAT(outcome.err,
              AllOf(HasSubstr("orvane: " + (folder / "in/b.mp4") + ": not a video"),
                    HasSubstr("orvane: " + (folder / "gone.mp4") + ": "), HasSubstr("in/a.mp4: done after 0:")));
  EXPECT_EQ(ScanClip(folder / "steady/a.mp4").identity.frames, clipFrames);
  EXPECT_EQ(ScanClip(folder / "steady/c.mp4").identity.frames, 3);
  EXPECT_FALSE(std::filesystem::exists(folder / "steady/b.mp4"));
  // The settings reached the runs.
  const json shown = json::parse(run({"show", folder / "in/a.mp4", "--json"}).out);
  EXPECT_EQ(shown["settings"]["global-mode"], "cancel");
}

TEST_F(BatchTest, ClipsOfEveryKindThatAFolderOffersAreWritten) {
  std::filesystem::create_directory(folder / "in");
  MakeClip(folder / "in/a.dv", 4, "-vf scale=720:576 -pix_fmt yuv420p -c:v dvvideo");
  MakeClip(folder / "in/b.m2v", 4, "-c:v mpeg2video");
  MakeClip(folder / "in/c.vob", 4, "-c:v mpeg2video -f vob");
  MakeClip(folder / "in/d.y4m", 4, "-pix_fmt yuv420p");
  MakeClip(folder / "in/e.ogv", 4, "-c:v libtheora");
  const Outcome outcome = runProgram({"stabilise", folder / "in", "-O", folder / "steady", "--quiet"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const char* name : {"a.mkv", "b.mkv", "c.vob", "d.mkv", "e.mkv"})
    EXPECT_EQ(ScanClip(folder / "steady" + ("/" + std::string(name))).identity.frames, 4) << name;
}

TEST_F(BatchTest, FilmsThatAreThereStayUnlessForced) {
  const std::string in = makeFolder();
  std::filesystem::remove(folder / "in/b.mp4");
  std::filesystem::create_directory(folder / "steady");
  WriteAll(folder / "steady/a.mp4", "precious");
  const Outcome outcome = runProgram({"stabilise", in, "-O", folder / "steady", "--quiet"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "orvane: " + (folder / "steady/a.mp4") +
                             ": exists already; replace it with --force or choose another name\n");
  EXPECT_EQ(ReadAll(folder / "steady/a.mp4"), "precious");
  EXPECT_EQ(runProgram({"render", in, "-O", folder / "steady", "--quiet", "--force"}).status, 1);  // a isn't analysed
  EXPECT_EQ(runProgram({"stabilise", in, "-O", folder / "steady", "--quiet", "--force"}).status, 0);
  EXPECT_EQ(ScanClip(folder / "steady/a.mp4").identity.frames, clipFrames);
  // The clips' own folder would have them replaced.
  const std::string film = ReadAll(folder / "in/a.mp4");
  EXPECT_EQ(runProgram({"stabilise", in, "-O", in, "--quiet", "--force"}).status, 1);
  EXPECT_EQ(ReadAll(folder / "in/a.mp4"), film);
}

TEST_F(BatchTest, ProgramsGetALineForEachStepAndOneForAll) {
  const Outcome outcome = runProgram({"analyse", makeFolder(), "--progress", "json", "--threads", "1"});
  EXPECT_EQ(outcome.status, 1);
  std::istringstream lines(outcome.out);
  json last;
  bool named = true;
  for (std::string line; std::getline(lines, line);) {
    last = json::parse(line);
    named = named && (last.contains("clip") || last.contains("clips"));
  }
  EXPECT_TRUE(named);
  EXPECT_EQ(last["done"], 2);
  EXPECT_EQ(last["clips"][0]["frames"], clipFrames);
  EXPECT_THAT(last["clips"][1]["error"].get<std::string>(), HasSubstr("not a video"));
  EXPECT_EQ(last["clips"][2]["status"], "done");
}

TEST_F(BatchTest, WrongUsageIsToldBeforeAnyWork) {
  const std::string in = makeFolder();
  expectRefusal({"stabilise", clip, folder / "in/c.mp4", "-o", out}, 2, "-O DIR", "--help");
  expectRefusal({"stabilise", clip, in, "-o", out}, 1, in, "this is a folder; name a video file in it, or give -O DIR");
  expectRefusal({"stabilise", clip, "-o", out, "-O", folder / "x"}, 2, "--out", "--help");
  expectRefusal({"stabilise", clip}, 2, "-o OUT is missing", "--help");
  expectRefusal({"stabilise", clip, in, "-O", folder / "x", "--effect", folder / "e"}, 2, "--effect", "one clip");
  expectRefusal({"analyse", clip, in, "--log", folder / "log"}, 2, "--log", "one clip");
  expectRefusal({"stabilise", clip, in, "-O", folder / "x", "-j", "0"}, 2, "--jobs", "--help");
  expectRefusal({"stabilise", clip, in, "-O", folder / "x", "--smoothing", "0"}, 2, "--smoothing 0", "from 1 to 100");
  std::filesystem::copy_file(clip, folder / "in/clip.mp4");
  expectRefusal({"stabilise", clip, in, "-O", folder / "x"}, 2, "in/clip.mp4", "would both become");
  EXPECT_FALSE(std::filesystem::exists(folder / "x"));
}

TEST_F(BatchTest, AFolderWithoutClipsIsTold) {
  std::filesystem::create_directory(folder / "empty");
  const Outcome outcome = runProgram({"analyse", folder / "empty", "--quiet"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("orvane: " + (folder / "empty") + ": this folder holds no video files"));
}

TEST_F(BatchTest, AnInterruptEndsAllAndKeepsWhatWasAnalysed) {
  std::filesystem::create_directory(folder / "in");
  for (const char* name : {"in/a.mp4", "in/b.mp4", "in/c.mp4"}) WriteTestClip(folder / name, 400, 256, 192);
  const std::string analysing = "a.mp4\",\"pass\":\"Analysing\"";
  std::string heard;
  bool sent = false;
  ChildRun batch(
      ORVANE_PROGRAM, {"analyse", folder / "in", "-j", "2", "--progress", "json"},
      [&](const std::string& line) { heard += line + "\n"; }, [](const std::string&) {});
  while (batch.read()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    // Its second line: at the first one the clip may not have a frame yet.
    const size_t begun = heard.find(analysing);
    if (sent || begun == std::string::npos || heard.find(analysing, begun + 1) == std::string::npos) continue;
    batch.interrupt();
    sent = true;
  }
  EXPECT_TRUE(sent);
  EXPECT_EQ(batch.status(), kCancelled);
  const json last = json::parse(heard.substr(heard.rfind("{\"clips\"")));
  EXPECT_GE(last["cancelled"], 1);
  EXPECT_EQ(last["failed"], 0);
  EXPECT_THAT(folder.names(), Not(Contains(HasSubstr("tmp"))));
  EXPECT_TRUE(std::filesystem::exists(folder / "in/a.mp4.orvane.json"));
}

TEST(ChildRun, LinesAndStatusComeBack) {
  std::vector<std::string> out, err;
  ChildRun child(
      "/bin/sh", {"-c", "echo one; printf two; echo three >&2; exit 5"},
      [&](const std::string& line) { out.push_back(line); }, [&](const std::string& line) { err.push_back(line); });
  while (child.read()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(out, (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(err, std::vector<std::string>{"three"});
  EXPECT_EQ(child.status(), 5);
}

TEST(ChildRun, ASignalThatEndsItIsTold) {
  ChildRun child(
      "/bin/sh", {"-c", "kill -KILL $$"}, [](const std::string&) {}, [](const std::string&) {});
  while (child.read()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(child.status(), -SIGKILL);
}

TEST(ChildRun, AProgramThatIsNotThereIsAFailureOfItsRun) {
  ChildRun child(
      "/no/such/program", {}, [](const std::string&) {}, [](const std::string&) {});
  while (child.read()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(child.status(), 127);
}

}  // namespace
}  // namespace film
