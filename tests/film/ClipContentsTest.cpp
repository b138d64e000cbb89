#include "film/ClipContents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/FrameSource.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string FailureOf(const std::string& path) {
  try {
    ScanClip(path, {.threads = 1});
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "no failure";
}

TEST(ClipContents, FramesAreCounted) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 37);
  const ClipContents contents = ScanClip(folder / "clip.mp4", {.threads = 0});
  EXPECT_EQ(contents.identity.frames, 37);
  EXPECT_EQ(contents.identity.width, 64);
  EXPECT_EQ(contents.identity.height, 48);
  EXPECT_EQ(contents.identity.timeBaseNumerator, 1);
  EXPECT_EQ(contents.identity.timeBaseDenominator, 12800);
  EXPECT_THAT(contents.identity.firstPacket, MatchesRegex("[0-9a-f]{16}"));
  EXPECT_NE(contents.identity.firstPacket, contents.identity.lastPacket);
  EXPECT_EQ(contents.warning, "");
  EXPECT_FALSE(contents.planes.fullRange);
  EXPECT_EQ(contents.planes.kr, 0.2126);
}

TEST(ClipContents, TheIndexHoldsTheTimeAndTheLengthOfEachFrame) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 12);
  const ClipContents contents = ScanClip(folder / "clip.mp4", ScanOptions{1});
  ASSERT_EQ(contents.index->frames.size(), 12u);
  for (int number = 0; number < 12; ++number) {
    EXPECT_EQ(contents.index->frames[number].time, 512 * number);
    EXPECT_EQ(contents.index->frames[number].duration, 512);
  }
  EXPECT_EQ(contents.index->packets, 12);
  EXPECT_EQ(contents.index->end, ClipEnd::Whole);
}

TEST(ClipContents, AVariableRateAndALateStartAreKept) {
  const TestFolder folder;
  for (const char* name : {"clip.mkv", "clip.mp4"}) {
    MakeClip(folder / name, 30,
             "-vf settb=1/1000,setpts='2000+40*N+10*mod(N\\,3)' -fps_mode passthrough -enc_time_base 1/1000 -copyts " +
                 std::string(name == std::string("clip.mp4") ? "-video_track_timescale 1000 " : "") +
                 "-c:v libx264 -bf 3");
    const ClipContents contents = ScanClip(folder / name, ScanOptions{1});
    ASSERT_EQ(contents.index->frames.size(), 30u) << name;
    EXPECT_EQ(contents.firstTime, 2000);
    for (int number = 0; number < 30; ++number) {
      const IndexedFrame& frame = contents.index->frames[number];
      EXPECT_EQ(frame.time, 2000 + 40 * number + 10 * (number % 3)) << name;
      if (number < 29) {
        EXPECT_EQ(frame.duration, number % 3 == 2 ? 20 : 50) << name;
      }
    }
  }
}

TEST(ClipContents, AKnownIndexIsBelievedOnlyWhenThePacketsBearItOut) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 12);
  WriteTestClip(folder / "other.mp4", 12, 64, 48, 30);
  int counted = 0;
  ScanOptions options{1};
  options.progress = [&](int) { return ++counted > 0; };
  const ClipContents contents = ScanClip(folder / "clip.mp4", options);
  EXPECT_GT(counted, 0);
  counted = 0;
  options.known = contents.index;
  const ClipContents again = ScanClip(folder / "clip.mp4", options);
  EXPECT_EQ(counted, 0);  // nothing was decoded to count
  EXPECT_EQ(again.identity.frames, 12);
  EXPECT_EQ(again.identity.lastPacket, contents.identity.lastPacket);
  EXPECT_EQ(*again.index, *contents.index);
  const ClipContents other = ScanClip(folder / "other.mp4", options);
  EXPECT_GT(counted, 0);
  EXPECT_NE(*other.index, *contents.index);
  counted = 0;
  auto wrong = std::make_shared<FrameIndex>(*contents.index);
  ++wrong->frames[0].check;  // as from another version of the decoder
  options.known = wrong;
  EXPECT_EQ(*ScanClip(folder / "clip.mp4", options).index, *contents.index);
  EXPECT_GT(counted, 0);
}

/// Two raw streams after one another.
void WriteChangingClip(const TestFolder& folder, const std::string& name) {
  MakeClip(folder / "a.h264", 7, "-c:v libx264 -preset ultrafast");
  MakeClip(folder / "b.h264", 9, "-c:v libx264 -preset ultrafast", "80x48");
  WriteAll(folder / name, ReadAll(folder / "a.h264") + ReadAll(folder / "b.h264"));
}

TEST(ClipContents, AChangeOfSizeIsRefusedWithItsFrame) {
  const TestFolder folder;
  WriteChangingClip(folder, "clip.h264");
  EXPECT_THAT(FailureOf(folder / "clip.h264"),
              AllOf(StartsWith(folder / "clip.h264"), HasSubstr("size or pixel format changes at frame 7; split")));
}

TEST(ClipContents, AClipIsUsedUpToAChangeWhenAskedTo) {
  const TestFolder folder;
  WriteChangingClip(folder, "clip.h264");
  ScanOptions options{1};
  options.upToChange = true;
  const ClipContents contents = ScanClip(folder / "clip.h264", options);
  EXPECT_EQ(contents.identity.frames, 7);
  EXPECT_THAT(contents.warning, HasSubstr("changes behind frame 6; it is used up to there"));
  FrameSource frames(contents, 1);
  EXPECT_NE(frames.fetch(6), nullptr);
  EXPECT_EQ(frames.fetch(7), nullptr);

  options.known = contents.index;
  int counted = 0;
  options.progress = [&](int) { return ++counted > 0; };
  EXPECT_EQ(ScanClip(folder / "clip.h264", options).warning, contents.warning);
  EXPECT_EQ(counted, 0);
  options.upToChange = false;  // a later run that doesn't ask for it
  EXPECT_THROW(ScanClip(folder / "clip.h264", options), Failure);
}

TEST(ClipContents, JoinedTransportStreamsAreUsedUpToTheJoint) {
  const TestFolder folder;
  MakeClip(folder / "a.ts", 7, "-c:v libx264 -preset ultrafast");
  MakeClip(folder / "b.ts", 9, "-c:v libx264 -preset ultrafast", "80x48");
  WriteAll(folder / "clip.ts", ReadAll(folder / "a.ts") + ReadAll(folder / "b.ts"));
  ScanOptions options{1};
  options.upToChange = true;
  EXPECT_EQ(ScanClip(folder / "clip.ts", options).identity.frames, 7);
}

TEST(ClipContents, JoinedTransportStreamsOfOneSizeAreWhole) {
  const TestFolder folder;
  MakeClip(folder / "a.ts", 12, "-c:v libx264 -bf 3");
  MakeClip(folder / "b.ts", 12, "-c:v libx264 -bf 3 -output_ts_offset 0.48");
  WriteAll(folder / "clip.ts", ReadAll(folder / "a.ts") + ReadAll(folder / "b.ts"));
  const ClipContents clip = ScanClip(folder / "clip.ts", ScanOptions{1});
  EXPECT_EQ(clip.warning, "");
  std::vector<std::uint32_t> joined, single;
  for (const IndexedFrame& frame : clip.index->frames) joined.push_back(frame.check);
  for (const char* name : {"a.ts", "b.ts"}) {
    const ClipContents part = ScanClip(folder / name, ScanOptions{1});
    for (const IndexedFrame& frame : part.index->frames) single.push_back(frame.check);
  }
  EXPECT_EQ(joined, single);
}

TEST(ClipContents, ALostPieceOfATransportStreamIsNoJoint) {
  const TestFolder folder;
  MakeClip(folder / "clip.ts", 25, "-c:v libx264");
  std::string bytes = ReadAll(folder / "clip.ts");
  bytes.erase(bytes.size() / 2 / 188 * 188, 188);
  WriteAll(folder / "clip.ts", bytes);
  EXPECT_THAT(FailureOf(folder / "clip.ts"), HasSubstr("can't be decoded; repair"));
}

TEST(ClipContents, OneFrameIsAClip) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 1);
  const ClipContents contents = ScanClip(folder / "clip.mp4", {.threads = 1});
  EXPECT_EQ(contents.identity.frames, 1);
  EXPECT_EQ(contents.identity.firstPacket, contents.identity.lastPacket);
}

TEST(ClipContents, ACutFileIsUsedUpToItsLastWholeFrame) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 40);
  const std::string bytes = ReadAll(folder / "clip.mp4");
  WriteAll(folder / "cut.mp4", bytes.substr(0, bytes.size() * 2 / 3));
  const ClipContents contents = ScanClip(folder / "cut.mp4", {.threads = 0});
  EXPECT_GT(contents.identity.frames, 10);
  EXPECT_LT(contents.identity.frames, 40);
  EXPECT_THAT(contents.warning, AllOf(StartsWith(folder / "cut.mp4"), HasSubstr("cut short"), HasSubstr("copy it")));
  FrameSource frames(contents, 0);
  EXPECT_NE(frames.fetch(contents.identity.frames - 1), nullptr);
  EXPECT_EQ(frames.fetch(contents.identity.frames), nullptr);
}

/// A film of some seconds with four seconds of sound.
void MakeSoundClip(const std::string& path, int seconds, const std::string& codecs) {
  RunFfmpeg("-f lavfi -i testsrc2=size=64x48:rate=25:d=" + std::to_string(seconds) + " -f lavfi -i sine=r=44100:d=4 " +
            codecs + " '" + path + "'");
}

TEST(ClipContents, WhatOutlastsTheFilmMakesItNoneThatWasCut) {
  const TestFolder folder;
  MakeSoundClip(folder / "long.mkv", 1, "-c:v libx264 -preset ultrafast -c:a pcm_s16le");
  MakeSoundClip(folder / "long.flv", 1, "-c:v libx264 -preset ultrafast -c:a aac");
  MakeSoundClip(folder / "long.wmv", 1, "-c:v wmv2 -c:a wmav2");
  MakeClip(folder / "late.mkv", 25, "-c:v libx264 -preset ultrafast -output_ts_offset 5.5");
  for (const char* name : {"long.mkv", "long.flv", "long.wmv", "late.mkv"}) {
    const ClipContents contents = ScanClip(folder / name, ScanOptions{1});
    EXPECT_EQ(contents.identity.frames, 25) << name;
    EXPECT_EQ(contents.warning, "") << name;
    EXPECT_EQ(contents.index->end, ClipEnd::Whole) << name;
  }
}

TEST(ClipContents, ACutFileOfFilmAndSoundIsToldOfEachKind) {
  const TestFolder folder;
  for (const char* name : {"clip.mkv", "clip.flv", "clip.mov"}) {
    const bool indexed = name == std::string("clip.mov");
    MakeSoundClip(folder / name, 4,
                  "-c:v libx264 -preset ultrafast -c:a aac" + std::string(indexed ? " -movflags +faststart" : ""));
    const std::string bytes = ReadAll(folder / name);
    WriteAll(folder / name, bytes.substr(0, bytes.size() / 2));
    EXPECT_THAT(ScanClip(folder / name, ScanOptions{1}).warning, HasSubstr("cut short")) << name;
  }
}

TEST(ClipContents, ADamagedFrameInTheMiddleIsRefusedByItsNumber) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 40);
  std::string bytes = ReadAll(folder / "clip.mp4");
  const size_t middle = bytes.size() / 2;
  for (size_t i = middle; i < middle + 400; ++i) bytes[i] = static_cast<char>(bytes[i] * 7 + 13);
  WriteAll(folder / "bad.mp4", bytes);
  EXPECT_THAT(FailureOf(folder / "bad.mp4"),
              AllOf(StartsWith(folder / "bad.mp4"), HasSubstr("frame "), HasSubstr("can't be decoded; repair")));
}

TEST(ClipContents, WhatIsNoVideoIsNamedWithItsRemedy) {
  const TestFolder folder;
  EXPECT_THAT(FailureOf(folder / "none.mp4"), AllOf(StartsWith(folder / "none.mp4"), HasSubstr("no such file")));
  std::filesystem::create_directory(folder / "dir.mp4");
  EXPECT_THAT(FailureOf(folder / "dir.mp4"), HasSubstr("this is a folder; name a video"));
  WriteAll(folder / "empty.mp4", "");
  EXPECT_THAT(FailureOf(folder / "empty.mp4"), HasSubstr("the file is empty"));
  WriteAll(folder / "text.mp4", "no video at all\n");
  EXPECT_THAT(FailureOf(folder / "text.mp4"), HasSubstr("not a video"));
  WriteAll(folder / "text.txt", std::string(5000, 'x'));
  EXPECT_THAT(FailureOf(folder / "text.txt"), HasSubstr("not a video"));
}

TEST(ClipContents, CountingCanBeCancelled) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 20);
  try {
    ScanClip(folder / "clip.mp4", {.threads = 1, .progress = [](int) { return false; }});
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, kCancelled);
  }
}

}  // namespace
}  // namespace film
