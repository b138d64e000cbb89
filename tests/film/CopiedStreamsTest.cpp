// What lies beside the film in a clip: attached files, cover pictures, further films, and sound that begins before it.
#include <nlohmann/json.hpp>

#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"

namespace film {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct FoundStream {
  AVMediaType type = AVMEDIA_TYPE_UNKNOWN;
  AVCodecID codec = AV_CODEC_ID_NONE;
  bool cover = false;
  std::string description, fileName;  ///< its bytes of set-up; of attached files they are all there is
  std::vector<std::string> packets;
  std::vector<double> times;  ///< of the packets, seconds
};

std::string BytesOf(const std::uint8_t* data, int size) {
  return data ? std::string(reinterpret_cast<const char*>(data), static_cast<size_t>(size)) : "";
}

std::vector<FoundStream> StreamsOf(const std::string& path) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0) << path;
  const InputFile input(opened);
  EXPECT_GE(avformat_find_stream_info(opened, nullptr), 0);
  std::vector<FoundStream> streams(opened->nb_streams);
  for (unsigned i = 0; i < opened->nb_streams; ++i) {
    const AVStream& stream = *opened->streams[i];
    streams[i].type = stream.codecpar->codec_type;
    streams[i].codec = stream.codecpar->codec_id;
    streams[i].cover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    streams[i].description = BytesOf(stream.codecpar->extradata, stream.codecpar->extradata_size);
    streams[i].fileName = MetadataText(stream.metadata, "filename");
  }
  const Packet packet = MakePacket();
  while (av_read_frame(opened, packet.get()) >= 0) {
    FoundStream& stream = streams[packet->stream_index];
    stream.packets.push_back(BytesOf(packet->data, packet->size));
    stream.times.push_back(static_cast<double>(packet->pts) * av_q2d(opened->streams[packet->stream_index]->time_base));
    av_packet_unref(packet.get());
  }
  return streams;
}

class CopiedStreams : public CommandLineTest {
 protected:
  /// Stabilises the clip into `name`; what was said.
  std::string steady(const std::string& from, const std::string& name) const {
    const Outcome outcome = run({"stabilise", folder / from, "-o", folder / name, "--preset", "ultrafast"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.err;
  }
  void makePicture() const { RunFfmpeg("-f lavfi -i testsrc2=s=40x30 -frames:v 1 '" + folder / "cover.png" + "'"); }

  const std::string film = "-f lavfi -i testsrc2=s=96x64:r=25 ", codec = " -c:v:0 libx264 -preset ultrafast -crf 12 ";
};

TEST_F(CopiedStreams, AttachedFilesStayInMatroskaAndAreNamedElsewhere) {
  WriteAll(folder / "Letters.ttf", "not really a font\0but bytes");
  RunFfmpeg(film + codec + "-frames:v 6 -attach '" + folder / "Letters.ttf" +
            "' -metadata:s:t mimetype=application/x-truetype-font '" + folder / "clip.mkv" + "'");
  const std::vector<FoundStream> before = StreamsOf(folder / "clip.mkv");
  ASSERT_EQ(before.size(), 2u);
  ASSERT_EQ(before[1].type, AVMEDIA_TYPE_ATTACHMENT);

  EXPECT_THAT(steady("clip.mkv", "steady.mkv"), Not(HasSubstr("left out")));
  const std::vector<FoundStream> after = StreamsOf(folder / "steady.mkv");
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[1].type, AVMEDIA_TYPE_ATTACHMENT);
  EXPECT_EQ(after[1].description, ReadAll(folder / "Letters.ttf"));
  EXPECT_EQ(after[1].fileName, "Letters.ttf");

  EXPECT_THAT(steady("clip.mkv", "steady.mp4"), AllOf(HasSubstr("attachment stream 1 ("), HasSubstr("is left out, "
                                                                                                    "since .mp4")));
  EXPECT_EQ(StreamsOf(folder / "steady.mp4").size(), 1u);
}

TEST_F(CopiedStreams, ProgramsAreToldInTheSummaryWhatIsLeftOut) {
  WriteAll(folder / "Letters.ttf", "not really a font");
  RunFfmpeg(film + codec + "-frames:v 6 -attach '" + folder / "Letters.ttf" +
            "' -metadata:s:t mimetype=application/x-truetype-font '" + folder / "clip.mkv" + "'");
  for (const char* command : {"stabilise", "render", "overlay"}) {
    const std::string lines =
        run({command, folder / "clip.mkv", "-o", out, "--force", "--preset", "ultrafast", "--progress", "json"}).out;
    const auto summary = nlohmann::json::parse(lines.substr(lines.rfind("{\"done\"")));
    const auto notes = summary.value("notes", nlohmann::json::array());
    ASSERT_EQ(notes.size(), 1u) << summary.dump();
    EXPECT_THAT(notes[0].get<std::string>(), testing::StartsWith("attachment stream 1 ("));
  }
}

TEST_F(CopiedStreams, CoverPicturesStayWhereTheyCan) {
  makePicture();
  RunFfmpeg(film + "-i '" + folder / "cover.png" + "' -map 0 -map 1" + codec +
            "-frames:v:0 6 -c:v:1 copy -disposition:v:1 attached_pic '" + folder / "clip.mp4" + "'");
  ASSERT_TRUE(StreamsOf(folder / "clip.mp4").at(1).cover);
  const std::string picture = ReadAll(folder / "cover.png");

  EXPECT_THAT(steady("clip.mp4", "steady.mp4"), Not(HasSubstr("left out")));
  const std::vector<FoundStream> kept = StreamsOf(folder / "steady.mp4");
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_TRUE(kept[1].cover);
  EXPECT_EQ(kept[1].packets, std::vector{picture});

  EXPECT_THAT(steady("clip.mp4", "steady.mkv"), Not(HasSubstr("left out")));
  const std::vector<FoundStream> attached = StreamsOf(folder / "steady.mkv");
  ASSERT_EQ(attached.size(), 2u);
  EXPECT_TRUE(attached[1].cover);
  EXPECT_EQ(attached[1].packets, std::vector{picture});
  EXPECT_EQ(attached[1].fileName, "cover.png");

  EXPECT_THAT(steady("clip.mp4", "steady.mov"), HasSubstr("cover picture 1 (png) is left out, since .mov files"));
  EXPECT_EQ(StreamsOf(folder / "steady.mov").size(), 1u);
}

TEST_F(CopiedStreams, FurtherFilmsAreCopiedAsTheyAre) {
  RunFfmpeg(film + "-f lavfi -i testsrc=s=64x48:r=10 -map 0 -map 1" + codec +
            "-c:v:1 ffv1 -t 0.6 -disposition:v:0 default '" + folder / "clip.mkv" + "'");
  const std::vector<FoundStream> before = StreamsOf(folder / "clip.mkv");
  ASSERT_EQ(before.size(), 2u);
  ASSERT_EQ(before[1].packets.size(), 6u);

  EXPECT_THAT(steady("clip.mkv", "steady.mkv"), Not(HasSubstr("left out")));
  const std::vector<FoundStream> after = StreamsOf(folder / "steady.mkv");
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[0].packets.size(), 15u);
  EXPECT_EQ(after[1].codec, AV_CODEC_ID_FFV1);
  EXPECT_EQ(after[1].packets, before[1].packets);
  EXPECT_EQ(after[1].times, before[1].times);

  EXPECT_THAT(steady("clip.mkv", "steady.mp4"), HasSubstr("video stream 1 (ffv1) is left out, since .mp4 files"));
  EXPECT_EQ(StreamsOf(folder / "steady.mp4").size(), 1u);
}

// An encoder of sound puts some in front of the first that was recorded, and players leave it away.
TEST_F(CopiedStreams, SoundThatBeginsBeforeTheFilmMovesNothingInMatroska) {
  for (const auto& [from, sound] : {std::pair("clip.mp4", "aac"), std::pair("clip.mkv", "libopus")}) {
    RunFfmpeg(film + "-f lavfi -i sine=r=48000" + codec + "-t 0.6 -c:a " + sound + " '" + folder / "first.mp4" + "'");
    // Copied by this program, since ffmpeg moves the film when it writes Matroska.
    if (std::string(from) == "clip.mkv") {
      steady("first.mp4", from);
    } else {
      std::filesystem::copy_file(folder / "first.mp4", folder / from,
                                 std::filesystem::copy_options::overwrite_existing);
    }
    const std::vector<FoundStream> before = StreamsOf(folder / from);
    ASSERT_LT(before[1].times[0], -0.005) << sound;
    EXPECT_THAT(steady(from, "steady.mkv"), Not(HasSubstr("later")));
    const std::vector<FoundStream> after = StreamsOf(folder / "steady.mkv");
    ASSERT_EQ(after[0].times.size(), 15u);
    for (int number = 0; number < 15; ++number) EXPECT_NEAR(after[0].times[number], number / 25.0, 1e-6) << sound;
    ASSERT_EQ(after[1].packets, before[1].packets);
    for (size_t i = 0; i < after[1].times.size(); ++i)
      EXPECT_NEAR(after[1].times[i], before[1].times[i], 0.0011) << sound;  // whole milliseconds
    std::filesystem::remove(folder / "steady.mkv");
    std::filesystem::remove(folder / (std::string(from) + ".orvane.json"));
  }
}

TEST_F(CopiedStreams, WhereAllTimesMustMoveTheyMoveTogetherAndItIsTold) {
  RunFfmpeg(film + "-f lavfi -i sine=r=48000 -c:v libx264 -t 0.6 -c:a aac '" + folder / "clip.mp4" + "'");
  const Outcome outcome = run({"stabilise", folder / "clip.mp4", "-o", folder / "steady.ts"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("all times are 80 ms later than in the clip, of pictures and sound alike"));
  std::vector<FoundStream> before = StreamsOf(folder / "clip.mp4"), after = StreamsOf(folder / "steady.ts");
  ASSERT_EQ(after.size(), 2u);
  for (size_t stream = 0; stream < 2; ++stream) {
    ASSERT_EQ(after[stream].times.size(), before[stream].times.size());
    std::sort(before[stream].times.begin(), before[stream].times.end());
    std::sort(after[stream].times.begin(), after[stream].times.end());
    for (size_t i = 0; i < after[stream].times.size(); ++i)
      EXPECT_NEAR(after[stream].times[i], before[stream].times[i] + 0.08, 1e-4);
  }
}

}  // namespace
}  // namespace film
