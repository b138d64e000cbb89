#include "film/PacketCopier.h"

#include <set>

#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"

namespace film {
namespace {

constexpr size_t cell = 188;        // a transport stream's
constexpr int soundNumber = 0x101;  // which of its streams the writer makes the sound

int streamOf(const std::string& bytes, size_t at) {
  return (bytes[at + 1] & 0x1f) << 8 | static_cast<unsigned char>(bytes[at + 2]);
}

/// The shaky clip's packets in a transport stream.
void WriteTransportStream(const std::string& path) {
  const std::string clip = path + ".mp4";
  WriteShakyClip(clip);
  AVFormatContext* opened = nullptr;
  ASSERT_GE(avformat_open_input(&opened, clip.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  AVFormatContext* output = nullptr;
  ASSERT_GE(avformat_alloc_output_context2(&output, nullptr, "mpegts", path.c_str()), 0);
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream* stream = avformat_new_stream(output, nullptr);
    avcodec_parameters_copy(stream->codecpar, input->streams[i]->codecpar);
    stream->codecpar->codec_tag = 0;
  }
  ASSERT_GE(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
  ASSERT_GE(avformat_write_header(output, nullptr), 0);
  const Packet packet = MakePacket();
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    const int stream = packet->stream_index;
    av_packet_rescale_ts(packet.get(), input->streams[stream]->time_base, output->streams[stream]->time_base);
    ASSERT_GE(av_interleaved_write_frame(output, packet.get()), 0);
  }
  ASSERT_GE(av_write_trailer(output), 0);
  avio_closep(&output->pb);
  avformat_free_context(output);
}

/// The clip as a transport stream whose sound `spoil` changes; it gets the bytes and where a cell of sound begins.
template <class Spoil>
void WriteSpoilt(const std::string& path, const Spoil& spoil) {
  WriteTransportStream(path);
  std::string bytes = ReadAll(path);
  for (size_t at = 0; at + cell <= bytes.size(); at += cell)
    if (streamOf(bytes, at) == soundNumber) spoil(bytes, at);
  WriteAll(path, bytes);
}

using PacketCopierTest = CommandLineTest;

TEST_F(PacketCopierTest, SoundOfWhichNothingIsThereIsLeftOut) {
  const std::string silent = folder / "silent.ts";
  WriteSpoilt(silent, [](std::string& bytes, size_t at) { bytes[at + 1] = 0x1f, bytes[at + 2] = '\xff'; });  // padding
  for (const char* name : {"out.mp4", "out.mkv"}) {
    const Outcome outcome = run({"stabilise", silent, "-o", folder / name, "--quiet"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, testing::AllOf(testing::HasSubstr(name), testing::HasSubstr("audio stream 1 (aac) is left "
                                                                                         "out")));
    EXPECT_EQ(framesOf(folder / name).size(), clipFrames);
  }
}

TEST_F(PacketCopierTest, DamagedPacketsOfSoundAreLeftOut) {
  const std::string noisy = folder / "noisy.ts";
  int begun = 0;  // groups of packets; the first one tells the format and stays
  WriteSpoilt(noisy, [&](std::string& bytes, size_t at) {
    const auto byte = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(bytes[i])); };
    const bool begins = (byte(at + 1) & 0x40) != 0;
    if (!begins || ++begun != 2) return;
    const size_t header = at + 4 + ((byte(at + 3) & 0x20) != 0 ? 1 + byte(at + 4) : 0);
    const size_t sound = header + 9 + byte(header + 8);
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(sound),
              bytes.begin() + static_cast<std::ptrdiff_t>(at + cell), '\0');
  });
  ASSERT_GE(begun, 2);
  const Outcome outcome = run({"stabilise", noisy, "-o", out, "--quiet"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, testing::HasSubstr("because the clip has them damaged: "));
  EXPECT_EQ(framesOf(out).size(), clipFrames);
}

TEST_F(PacketCopierTest, NumbersOfStreamsStayUnlessTheWriterNeedsThem) {
  WriteTransportStream(folder / "usual.ts");  // numbered from 0x100 on, which is a Blu-ray file's own
  RunFfmpeg("-i '" + folder / "usual.ts" + "' -c copy -mpegts_pmt_start_pid 0x1010 -mpegts_start_pid 0x1000 '" +
            folder / "other.ts" + "'");  // and 0x1000 is any other transport stream's
  const struct {
    const char *from, *to;
    std::set<int> streams;
  } rows[] = {{"usual.ts", "same.ts", {0x100, 0x101}},
              {"usual.ts", "disc.m2ts", {0x101, 0x102}},
              {"usual.ts", "camera.mts", {0x101, 0x102}},
              {"other.ts", "moved.ts", {0x100, 0x1001}}};
  for (const auto& row : rows) {
    const std::string from = folder / row.from, to = folder / row.to;
    const Outcome outcome = run({"stabilise", from, "-o", to, "--quiet"});
    ASSERT_EQ(outcome.status, 0) << row.to << outcome.err;
    AVFormatContext* opened = nullptr;
    ASSERT_GE(avformat_open_input(&opened, to.c_str(), nullptr, nullptr), 0);
    const InputFile input(opened);
    std::set<int> found;
    for (unsigned i = 0; i < input->nb_streams; ++i) found.insert(input->streams[i]->id);
    EXPECT_EQ(found, row.streams) << row.to;
    EXPECT_EQ(framesOf(to).size(), clipFrames) << row.to;
  }
}

TEST_F(PacketCopierTest, BluRayFilesPutATimeInFrontOfEachCell) {
  constexpr char sync = 0x47;
  WriteTransportStream(folder / "clip.ts");
  for (const char* name : {"out.ts", "out.m2ts", "out.mts"}) {
    ASSERT_EQ(run({"stabilise", folder / "clip.ts", "-o", folder / name, "--quiet"}).status, 0);
    const std::string bytes = ReadAll(folder / name);
    const size_t time = name == std::string("out.ts") ? 0 : 4;
    ASSERT_GT(bytes.size(), 20 * (time + cell));
    for (size_t number = 0; number < 20; ++number) EXPECT_EQ(bytes[number * (time + cell) + time], sync) << name;
  }
}

}  // namespace
}  // namespace film
