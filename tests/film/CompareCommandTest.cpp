#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/CommandLineFixture.h"
#include "film/Fields.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using testing::HasSubstr;

class CompareCommandTest : public CommandLineTest {
 protected:
  static size_t soundPackets(const std::string& path) {
    ClipReader reader(path, 1);
    const Packet packet = MakePacket();
    size_t count = 0;
    while (av_read_frame(&reader.file(), packet.get()) >= 0) {
      count += packet->stream_index != reader.stream().index;
      av_packet_unref(packet.get());
    }
    return count;
  }
};

TEST_F(CompareCommandTest, BothClipsAreShownWithTheSoundOfTheFirst) {
  WriteTestClip(folder / "b.mp4", clipFrames, clipWidth, clipHeight);
  ASSERT_EQ(run({"compare", clip, folder / "b.mp4", "-o", out, "--crf", "4", "--quiet"}).status, 0);
  const auto both = framesOf(out), first = framesOf(clip), second = framesOf(folder / "b.mp4");
  ASSERT_EQ(both.size(), first.size());
  EXPECT_EQ(ScanClip(out).format.width, 2 * clipWidth);
  const auto at = [](const std::vector<float>& frame, int width, int x, int y) {
    return frame[4 * static_cast<size_t>(y * width + x) + 2];
  };
  for (const int x : {5, 60, 120})
    for (const int y : {7, 70}) {
      EXPECT_NEAR(at(both[9], 2 * clipWidth, x, y), at(first[9], clipWidth, x, y),
                  0.03);  // what the encoder may change
      EXPECT_NEAR(at(both[9], 2 * clipWidth, clipWidth + x, y), at(second[9], clipWidth, x, y), 0.03);
    }
  EXPECT_GT(soundPackets(clip), 0u);
  EXPECT_EQ(soundPackets(out), soundPackets(clip));
}

TEST_F(CompareCommandTest, AClipDoesNotDifferFromItself) {
  ASSERT_EQ(run({"compare", clip, clip, "-o", out, "--layout", "difference", "--crf", "4", "--quiet"}).status, 0);
  for (const auto& frame : framesOf(out))
    for (size_t i = 0; i < frame.size(); i += 4 * 97) EXPECT_NEAR(frame[i + 1], 0.0f, 0.01);
}

TEST_F(CompareCommandTest, FieldsAreFoundWhereOnlyTheFileTellsThem) {
  const std::string made = folder / "fields.mov";
  MakeClip(made, 3, "-vf setfield=bff,format=yuv420p -flags +ildct+ilme -c:v utvideo");
  ASSERT_EQ(DetectFieldOrder(made), AV_FIELD_BB);
  ASSERT_EQ(ScanClip(made).format.fieldOrder, AV_FIELD_PROGRESSIVE) << "the frames themselves don't tell";
  const std::string compared = folder / "compared.mov";
  const auto orderWith = [&](std::vector<std::string> more) {
    more.insert(more.begin(), {"compare", made, made, "-o", compared, "--force", "--codec", "h264", "--quiet"});
    EXPECT_EQ(run(more).status, 0);
    return DetectFieldOrder(compared);
  };
  EXPECT_EQ(orderWith({}), AV_FIELD_BB);
  EXPECT_EQ(orderWith({"--fields", "top"}), AV_FIELD_TT);
  EXPECT_EQ(orderWith({"--fields", "none"}), AV_FIELD_PROGRESSIVE);
}

TEST_F(CompareCommandTest, WhatCantBeComparedIsTold) {
  WriteTestClip(folder / "short.mp4", 5, clipWidth, clipHeight);
  WriteTestClip(folder / "small.mp4", clipFrames, 64, 48);
  expectRefusal({"compare", clip, folder / "short.mp4", "-o", out}, 1, folder / "short.mp4",
                "has 14 frames and " + (folder / "short.mp4") + " has 5; only clips of as many frames can be compared");
  expectRefusal({"compare", clip, folder / "small.mp4", "-o", out}, 1, folder / "small.mp4",
                "is 192 x 144 and " + (folder / "small.mp4") + " is 64 x 48; only clips of one size can be compared");
  expectRefusal({"compare", clip, folder / "none.mp4", "-o", out}, 1, folder / "none.mp4", "check the name");
  expectRefusal({"compare", clip, folder / "small.mp4", "-o", clip, "--force"}, 2, clip, "choose another name");
  expectRefusal({"compare", clip, clip, "-o", out, "--layout", "above"}, 2, "--layout", "--help");
  expectRefusal({"compare", clip, clip}, 2, "--out", "--help");
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(CompareCommandTest, NeitherClipIsTakenForTheLog) {
  const std::string second = folder / "second.mp4";
  std::filesystem::copy_file(clip, second);
  const std::string film = ReadAll(clip);
  for (const std::string& taken : {clip, second})
    expectRefusal({"compare", clip, second, "-o", out, "--log", taken}, 2, taken, "choose another name");
  EXPECT_EQ(ReadAll(clip), film);
  EXPECT_EQ(ReadAll(second), film);
}

}  // namespace
}  // namespace film
