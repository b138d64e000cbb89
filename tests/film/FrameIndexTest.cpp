#include "film/FrameIndex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace film {
namespace {

Frame PictureWithAlignment(int alignment, unsigned char padding) {
  Frame frame = MakeFrame();
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = 37;
  frame->height = 21;
  av_frame_get_buffer(frame.get(), alignment);
  for (int plane = 0; plane < 3; ++plane) {
    const int width = plane == 0 ? 37 : 19, height = plane == 0 ? 21 : 11;
    for (int y = 0; y < height; ++y) {
      std::memset(frame->data[plane] + y * frame->linesize[plane], padding, frame->linesize[plane]);
      for (int x = 0; x < width; ++x)
        frame->data[plane][y * frame->linesize[plane] + x] = static_cast<unsigned char>(plane * 70 + 3 * x + 5 * y);
    }
  }
  return frame;
}

TEST(FrameIndex, TheCheckOfAPictureIsOfItsSamplesAlone) {
  const Frame one = PictureWithAlignment(1, 0), other = PictureWithAlignment(64, 99);
  ASSERT_NE(one->linesize[0], other->linesize[0]);
  EXPECT_EQ(CheckOf(*one), CheckOf(*other));
}

TEST(FrameIndex, EverySampleCounts) {
  const Frame frame = PictureWithAlignment(1, 0);
  const std::uint32_t check = CheckOf(*frame);
  for (int plane = 0; plane < 3; ++plane) {
    unsigned char& last = frame->data[plane][(plane == 0 ? 20 : 10) * frame->linesize[plane] + (plane == 0 ? 36 : 18)];
    ++last;
    EXPECT_NE(CheckOf(*frame), check) << plane;
    --last;
  }
  EXPECT_EQ(CheckOf(*frame), check);
}

/// A packet that lends its bytes.
AVPacket PacketOf(const std::string& bytes, std::int64_t pts, std::int64_t dts, std::int64_t position, int flags) {
  AVPacket packet{};
  packet.data = reinterpret_cast<std::uint8_t*>(const_cast<char*>(bytes.data()));
  packet.size = static_cast<int>(bytes.size());
  packet.pts = pts;
  packet.dts = dts;
  packet.pos = position;
  packet.flags = flags;
  return packet;
}

TEST(FrameIndex, ZerosAtItsEndsDoNotChangeAPacket) {
  const std::string inner("\1\0\2", 3), padded("\0\0\1\0\2\0", 6), empty, zeros(3, '\0');
  EXPECT_EQ(CheckOf(PacketOf(inner, 0, 0, 0, 0)), CheckOf(PacketOf(padded, 0, 0, 0, 0)));
  EXPECT_NE(CheckOf(PacketOf(inner, 0, 0, 0, 0)), CheckOf(PacketOf("\1\2", 0, 0, 0, 0)));
  EXPECT_EQ(CheckOf(PacketOf(empty, 0, 0, 0, 0)), CheckOf(PacketOf(zeros, 0, 0, 0, 0)));
}

TEST(FrameIndex, KeyPacketsAreNotedWithWhereToBegin) {
  const std::string a = "first", b = "second", c = "third", d = "fourth";
  PacketLog log;
  log.add(PacketOf(a, 20, AV_NOPTS_VALUE, -1, AV_PKT_FLAG_KEY));
  log.add(PacketOf(b, 10, 1, 1000, 0));
  log.add(PacketOf(c, 50, 2, -1, AV_PKT_FLAG_KEY));
  log.add(PacketOf(d, AV_NOPTS_VALUE, AV_NOPTS_VALUE, 3000, AV_PKT_FLAG_KEY | AV_PKT_FLAG_DISCARD));
  FrameIndex index;
  log.finish(&index);
  EXPECT_EQ(index.packets, 4);
  EXPECT_EQ(index.packetsCheck, log.check());
  const std::vector<AccessPoint> expected = {
      {0, 20, -1, CheckOf(PacketOf(a, 0, 0, 0, 0))},   // the presentation time where no other is told
      {2, 2, 1000, CheckOf(PacketOf(c, 0, 0, 0, 0))},  // where a packet before it begins
      {3, AV_NOPTS_VALUE, 3000, CheckOf(PacketOf(d, 0, 0, 0, 0))}};
  EXPECT_EQ(index.points, expected);
}

TEST(FrameIndex, ThePacketsCheckSeesBytesTimesAndFlags) {
  const auto checkOf = [](const std::string& bytes, std::int64_t pts, std::int64_t dts, int flags) {
    PacketLog log;
    log.add(PacketOf(bytes, pts, dts, 0, flags));
    return log.check();
  };
  const std::uint64_t check = checkOf("bytes", 5, 3, 1);
  EXPECT_EQ(checkOf("bytes", 5, 3, 1), check);
  EXPECT_NE(checkOf("byteS", 5, 3, 1), check);
  EXPECT_NE(checkOf("bytes", 6, 3, 1), check);
  EXPECT_NE(checkOf("bytes", 5, 4, 1), check);
  EXPECT_NE(checkOf("bytes", 5, 3, 0), check);
}

}  // namespace
}  // namespace film
