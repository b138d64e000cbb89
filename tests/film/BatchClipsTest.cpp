#include "film/BatchClips.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"

namespace film {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> PathsOf(const std::vector<BatchClip>& clips) {
  std::vector<std::string> paths;
  for (const BatchClip& clip : clips) paths.push_back(clip.path);
  return paths;
}

class BatchClipsTest : public testing::Test {
 protected:
  void make(const std::string& name) { WriteAll(folder / name, "x"); }
  TestFolder folder;
};

TEST_F(BatchClipsTest, AFolderStandsForItsVideosInTheOrderOfTheirNames) {
  for (const char* name : {"b.MOV", "a.mp4", "c.txt", "a.mp4.orvane.json", ".hidden.mp4", "d.mkv"}) make(name);
  std::filesystem::create_directory(folder / "more.mp4");
  WriteAll(folder / "more.mp4/e.mp4", "x");
  EXPECT_THAT(PathsOf(FindBatchClips({folder / ""}, "")),
              ElementsAre(folder / "a.mp4", folder / "b.MOV", folder / "d.mkv"));
}

TEST_F(BatchClipsTest, EachFilmIsNamedLikeItsClip) {
  make("a.mp4");
  const auto clips = FindBatchClips({folder / "a.mp4", "gone.mp4"}, "out");
  EXPECT_EQ(clips[0].out, "out/a.mp4");
  EXPECT_EQ(clips[1].out, "out/gone.mp4");  // its own run tells that it is missing
}

TEST_F(BatchClipsTest, AClipOfAKindThatIsOnlyReadBecomesMatroska) {
  const auto clips = FindBatchClips({"a.dv", "b.m2v", "c.OGV", "d.y4m", "e.vob", "f.mpg", "g"}, "out");
  std::vector<std::string> films;
  for (const BatchClip& clip : clips) films.push_back(clip.out);
  EXPECT_THAT(films,
              ElementsAre("out/a.mkv", "out/b.mkv", "out/c.mkv", "out/d.mkv", "out/e.vob", "out/f.mpg", "out/g.mkv"));
  EXPECT_THROW(FindBatchClips({"a.dv", "a.mkv"}, "out"), Failure);
}

TEST_F(BatchClipsTest, AClipThatIsNamedTwiceIsTakenOnce) {
  make("a.mp4");
  EXPECT_EQ(FindBatchClips({folder / "a.mp4", folder / "", folder / "./a.mp4"}, "out").size(), 1u);
}

TEST_F(BatchClipsTest, TwoClipsOfOneNameAreToldBeforeAnythingIsLost) {
  std::filesystem::create_directory(folder / "x");
  make("a.mp4");
  make("x/a.mp4");
  try {
    FindBatchClips({folder / "a.mp4", folder / "x/a.mp4"}, "out");
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, kUsage);
    EXPECT_EQ(std::string(failure.what()),
              folder / "a.mp4" + " and " + (folder / "x/a.mp4") +
                  " would both become out/a.mp4; rename one, or run them with different -O");
  }
  EXPECT_EQ(FindBatchClips({folder / "a.mp4", folder / "x/a.mp4"}, "").size(), 2u);  // an analysis writes no films
}

TEST_F(BatchClipsTest, AFolderWithoutClipsIsAnErrorOfItsOwn) {
  make("notes.txt");
  const auto clips = FindBatchClips({folder / ""}, "out");
  ASSERT_EQ(clips.size(), 1u);
  EXPECT_THAT(clips[0].error, HasSubstr((folder / "") + ": this folder holds no video files"));
}

TEST_F(BatchClipsTest, TheOutFolderIsMadeWhereItCanBe) {
  MakeOutFolder(folder / "out");
  MakeOutFolder(folder / "out");
  EXPECT_TRUE(std::filesystem::is_directory(folder / "out"));
  make("file");
  EXPECT_THROW(MakeOutFolder(folder / "file"), Failure);
  EXPECT_THROW(MakeOutFolder(folder / "none/out"), Failure);
}

}  // namespace
}  // namespace film
