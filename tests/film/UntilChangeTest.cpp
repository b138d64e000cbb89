// Clips whose pictures change in mid-stream.
#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"

namespace film {
namespace {

constexpr int usable = 9, behind = 6;  // frames before and behind the change, 25 a second

struct TimedPacket {
  std::string bytes;
  double start, end;  // seconds
};

std::vector<TimedPacket> PacketsOf(const std::string& path, AVMediaType type) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  const Packet packet = MakePacket();
  std::vector<TimedPacket> packets;
  while (av_read_frame(opened, packet.get()) >= 0) {
    const AVStream& stream = *opened->streams[packet->stream_index];
    const double unit = av_q2d(stream.time_base), start = static_cast<double>(packet->pts) * unit;
    if (stream.codecpar->codec_type == type)
      packets.push_back({std::string(reinterpret_cast<const char*>(packet->data), packet->size), start,
                         start + static_cast<double>(packet->duration) * unit});
    av_packet_unref(packet.get());
  }
  return packets;
}

class UntilChange : public CommandLineTest {
 protected:
  /// Writes `changing` with sound and subtitles that go on behind the change. `first`, `second`: sizes and pixel
  /// formats before and behind it, as ffmpeg's arguments; `subtitles`: their codec.
  void writeClip(const std::string& path, const std::string& first, const std::string& second,
                 const std::string& subtitles) const {
    const std::string card = "-f lavfi -i testsrc2=rate=25:size=", coded = " -c:v libx264 -preset ultrafast -crf 10 ";
    RunFfmpeg(card + first + coded + "-frames:v " + std::to_string(usable) + " '" + folder / "first.h264" + "'");
    RunFfmpeg(card + second + coded + "-frames:v " + std::to_string(behind) + " '" + folder / "second.h264" + "'");
    WriteAll(folder / "both.h264", ReadAll(folder / "first.h264") + ReadAll(folder / "second.h264"));
    WriteAll(folder / "words.srt",
             "1\n00:00:00,040 --> 00:00:00,200\nBefore\n\n2\n00:00:00,240 --> 00:00:00,500\nAcross\n\n"
             "3\n00:00:00,520 --> 00:00:00,580\nBehind\n");
    RunFfmpeg("-fflags +genpts -framerate 25 -i '" + folder / "both.h264" + "' -f lavfi -i sine=r=48000:d=0.6 -i '" +
              folder / "words.srt" + "' -map 0 -map 1 -map 2 -c:v copy -c:a pcm_s16le -c:s " + subtitles + " '" + path +
              "'");
  }
};

TEST_F(UntilChange, WhatComesBeforeIsKeptWhenAskedFor) {
  const struct {
    const char *name, *first, *second, *subtitles;
  } rows[] = {{"size.mkv", "192x144", "96x64", "srt"}, {"format.mov", "96x64", "96x64 -pix_fmt yuv422p", "mov_text"}};
  for (const auto& row : rows) {
    const std::string changing = folder / row.name, kept = folder / ("kept-" + std::string(row.name));
    writeClip(changing, row.first, row.second, row.subtitles);
    expectRefusal({"stabilise", changing, "-o", kept, "--quiet"}, 1, changing,
                  "size or pixel format changes at frame " + std::to_string(usable) + "; split the clip there");
    EXPECT_FALSE(std::filesystem::exists(kept));

    const Outcome outcome =
        run({"stabilise", changing, "-o", kept, "--until-change", "--preset", "ultrafast", "--quiet"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, testing::HasSubstr("changes behind frame " + std::to_string(usable - 1)));
    const std::vector<TimedPacket> all = PacketsOf(changing, AVMEDIA_TYPE_VIDEO);
    ASSERT_EQ(all.size(), static_cast<size_t>(usable + behind));
    const ClipContents contents = ScanClip(kept, {.threads = 1});
    ASSERT_EQ(contents.identity.frames, usable);
    const double unit = av_q2d({contents.identity.timeBaseNumerator, contents.identity.timeBaseDenominator});
    for (int number = 0; number < usable; ++number)
      EXPECT_NEAR(static_cast<double>(contents.index->frames[number].time) * unit, all[number].start, 1e-6);
  }
}

TEST_F(UntilChange, SoundAndSubtitlesEndWithThePictures) {
  const struct { const char *name, *subtitles; } rows[] = {{"clip.mkv", "srt"}, {"clip.mov", "mov_text"}};
  for (const auto& row : rows) {
    const std::string changing = folder / row.name, kept = folder / ("kept-" + std::string(row.name));
    writeClip(changing, "96x64", "64x48", row.subtitles);
    ASSERT_EQ(run({"stabilise", changing, "-o", kept, "--until-change", "--preset", "ultrafast", "--quiet"}).status, 0);
    const double end = usable / 25.0;

    const std::vector<TimedPacket> before = PacketsOf(changing, AVMEDIA_TYPE_AUDIO),
                                   after = PacketsOf(kept, AVMEDIA_TYPE_AUDIO);
    ASSERT_GT(before.back().start, end + 0.1);
    ASSERT_GT(after.size(), 5u);
    for (size_t i = 0; i < after.size(); ++i) {
      EXPECT_EQ(after[i].bytes, before[i].bytes);
      EXPECT_NEAR(after[i].start, before[i].start, 1e-6);
    }
    EXPECT_LT(after.back().start, end);
    EXPECT_GE(before[after.size()].start, end);

    // A QuickTime file fills the time between subtitles with empty ones.
    std::vector<TimedPacket> words = PacketsOf(kept, AVMEDIA_TYPE_SUBTITLE);
    std::erase_if(words, [](const TimedPacket& packet) { return packet.bytes.size() <= 2; });
    ASSERT_EQ(words.size(), 2u) << row.name;
    EXPECT_NEAR(words[0].end, 0.2, 0.001);
    EXPECT_NEAR(words[1].start, 0.24, 0.001);
    EXPECT_NEAR(words[1].end, end, 0.001);
  }
}

}  // namespace
}  // namespace film
