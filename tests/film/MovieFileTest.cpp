#include "film/MovieFile.h"

#include "film/CommandLineFixture.h"
#include "film/Failure.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string FailureOf(const MovieFile& file, int code) {
  try {
    file.check(code);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "no failure";
}

TEST(MovieFile, WhatTheWriterRefusesIsNotTheDisksFault) {
  const TestFolder folder;
  const MovieFile file(folder / "clip.mxf", TestContents(64, 48), MovieSpan{});
  EXPECT_EQ(FailureOf(file, 0), "no failure");
  for (const int code : {AVERROR(EPERM), AVERROR(EACCES), AVERROR(EINVAL), AVERROR_INVALIDDATA, AVERROR_PATCHWELCOME})
    EXPECT_THAT(FailureOf(file, code), AllOf(HasSubstr("clip.mxf: FFmpeg can't put this film into a .mxf file"),
                                             HasSubstr("choose another ending"), Not(HasSubstr("folder"))));
  EXPECT_THAT(FailureOf(file, AVERROR(ENOSPC)), HasSubstr("the disk is full"));
}

using MovieFileTest = CommandLineTest;

TEST_F(MovieFileTest, TimesThatGoBackAreToldBeforeTheAnalysis) {
  MakeClip(folder / "half.ts", 12, "-c:v mpeg2video");
  WriteAll(folder / "twice.ts", ReadAll(folder / "half.ts") + ReadAll(folder / "half.ts"));
  expectRefusal({"stabilise", folder / "twice.ts", "-o", out, "--quiet"}, 1,
                folder / "twice.ts" + ": its time stamps go back at frame 12", "-c copy");
  EXPECT_FALSE(std::filesystem::exists(folder / "twice.ts.orvane.json"));
}

}  // namespace
}  // namespace film
