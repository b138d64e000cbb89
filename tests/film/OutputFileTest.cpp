#include "film/OutputFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "film/Clips.h"
#include "film/Failure.h"

namespace film {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string FailureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "no failure";
}

TEST(OutputFile, TakesItsNameOnlyWhenCommitted) {
  const TestFolder folder;
  const std::string path = folder / "out";
  {
    OutputFile file(path);
    WriteAll(file.temporaryPath(), "new");
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::path(file.temporaryPath()).parent_path(), std::filesystem::path(path).parent_path());
    file.commit();
  }
  EXPECT_EQ(ReadAll(path), "new");
  EXPECT_THAT(folder.names(), ElementsAre("out"));
}

TEST(OutputFile, AbandonedLeavesWhatStoodThere) {
  const TestFolder folder;
  WriteAll(folder / "out", "old");
  {
    OutputFile file(folder / "out");
    WriteAll(file.temporaryPath(), "half");
  }
  EXPECT_EQ(ReadAll(folder / "out"), "old");
  EXPECT_THAT(folder.names(), ElementsAre("out"));
}

TEST(OutputFile, RemovesTemporaryFilesOnDemand) {
  const TestFolder folder;
  OutputFile file(folder / "out");
  EXPECT_EQ(folder.names().size(), 1u);
  RemoveTemporaryFiles();
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(OutputFile, HasTheRightsOfAnyNewFile) {
  const TestFolder folder;
  const mode_t before = umask(022);
  OutputFile::write(folder / "out", "text");
  umask(before);
  struct stat status;
  ASSERT_EQ(stat((folder / "out").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0644u);
}

TEST(OutputFile, AMissingFolderIsNamedWithItsRemedy) {
  const TestFolder folder;
  const std::string text = FailureOf([&] { OutputFile file(folder / "none/out"); });
  EXPECT_THAT(text, HasSubstr(folder / "none/out"));
  EXPECT_THAT(text, HasSubstr("folder does not exist; make it"));
}

TEST(OutputFile, AFolderIsNoFile) {
  const TestFolder folder;
  std::filesystem::create_directory(folder / "dir");
  EXPECT_THAT(FailureOf([&] { OutputFile file(folder / "dir"); }), HasSubstr("this is a folder"));
}

TEST(OutputFile, APipeIsNotReplaced) {
  const TestFolder folder;
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(FailureOf([&] { OutputFile file(folder / "pipe"); }), HasSubstr(folder / "pipe: this is a device or"));
  EXPECT_THAT(folder.names(), ElementsAre("pipe"));
}

TEST(OutputFile, TheLongestNamesAreFine) {
  const TestFolder folder;
  const std::string path = folder / std::string(251, 'n').append(".mov");
  OutputFile::write(path, "text");
  EXPECT_EQ(ReadAll(path), "text");
}

TEST(OutputFile, TheTextForAFullDiskHasARemedy) {
  EXPECT_THAT(FailureOf([] { FailToWrite("clip.mp4", ENOSPC); }), HasSubstr("clip.mp4: the disk is full; free"));
}

}  // namespace
}  // namespace film
