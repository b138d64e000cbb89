// What goes through the program without being moved comes back as it was.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>

#include "film/CommandLineFixture.h"
#include "film/FramePlanes.h"
#include "film/MadeClips.h"

namespace film {
namespace {

/// The codes of all planes of all frames.
std::vector<std::string> CodesOf(const std::string& path) {
  ClipReader reader(path, 1);
  CodedFrame coded;
  FramePlanes reading;
  std::vector<std::string> frames;
  while (reader.next(&coded)) {
    const PlaneFormat format = *PlaneFormatOf(VideoFormatOf(*coded.frame));
    const ConstPlanes planes = reading.read(*coded.frame);
    std::string codes;
    for (int p = 0; p < 4; ++p) {
      if (!planes.data[p]) continue;
      const bool chroma = (p == 1 || p == 2) && !format.rgb;
      const int width = chroma ? format.chromaWidth() : format.width;
      for (int y = 0; y < (chroma ? format.chromaHeight() : format.height); ++y)
        codes.append(reinterpret_cast<const char*>(planes.data[p] + y * planes.stride[p]),
                     static_cast<size_t>(width) * format.sampleBytes());
    }
    frames.push_back(codes);
  }
  return frames;
}

/// A clip of FFV1 in which every frame is the same noise, so that nothing moves and every code occurs somewhere.
void WriteStillNoise(const std::string& path, AVPixelFormat pixelFormat, bool fullRange,
                     AVFieldOrder order = AV_FIELD_PROGRESSIVE) {
  ClipContents contents = TestContents(192, 144, pixelFormat);
  contents.format.range = fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  contents.format.fieldOrder = order;
  contents.planes = *PlaneFormatOf(contents.format);
  contents.identity.timeBaseDenominator = 1000;
  EncoderOptions options;
  options.codec = "ffv1";
  options.threads = 1;
  MovieWriter movie(path, contents, MovieSpan{}, options);
  PicturePool pool(192, 144);
  std::mt19937 random(3);
  std::uniform_real_distribution<float> value(0.0f, 1.0f);
  const SharedPicture noise = pool.take();
  for (float& sample : noise->samples) sample = value(random);
  for (int number = 0; number < 3; ++number) {
    const SharedPicture picture = pool.take();
    picture->samples = noise->samples;
    picture->time = 40 * number;
    picture->duration = 40;
    movie.write(picture);
  }
  movie.finish();
}

using KeptExactly = CommandLineTest;

TEST_F(KeptExactly, AFrameThatIsNotMovedKeepsItsCodes) {
  const std::string still = folder / "still.mkv", same = folder / "same.mkv";
  for (AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV444P12, AV_PIX_FMT_YUV420P16,
                               AV_PIX_FMT_GRAY16, AV_PIX_FMT_GBRP16, AV_PIX_FMT_GBRAP10, AV_PIX_FMT_YUVA420P})
    for (bool fullRange : {false, true}) {
      WriteStillNoise(still, format, fullRange);
      const Outcome outcome = run({"stabilise", still, "-o", same, "--quiet", "--force", "--again", "--global-mode",
                                   "none", "--events", "none", "--rendering", "natural"});
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      const std::vector<std::string> before = CodesOf(still);
      ASSERT_EQ(before.size(), 3u);
      EXPECT_TRUE(CodesOf(same) == before) << av_get_pix_fmt_name(format) << fullRange;
      EXPECT_EQ(ScanClip(same, {.threads = 1}).format.pixelFormat, format);
    }
}

TEST_F(KeptExactly, AnInterlacedFrameThatIsNotMovedKeepsItsLumaCodes) {
  const std::string still = folder / "still.mkv", same = folder / "same.mkv";
  for (AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P10})
    for (AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB}) {
      WriteStillNoise(still, format, false, order);
      const Outcome outcome = run({"stabilise", still, "-o", same, "--quiet", "--force", "--again", "--global-mode",
                                   "none", "--events", "none", "--rendering", "natural"});
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      const std::vector<std::string> before = CodesOf(still), after = CodesOf(same);
      ASSERT_EQ(before.size(), 3u);
      ASSERT_EQ(after.size(), 3u);
      const size_t luma = size_t{192} * 144 * (format == AV_PIX_FMT_YUV420P ? 1 : 2);
      for (size_t n = 0; n < 3; ++n)
        EXPECT_TRUE(after[n].substr(0, luma) == before[n].substr(0, luma)) << av_get_pix_fmt_name(format) << order;
      EXPECT_EQ(ScanClip(same, {.threads = 1}).format.fieldOrder, order);
    }
}

TEST_F(KeptExactly, WithoutLossEveryCodecGivesTheCodesBack) {
  const struct {
    const char* codec;
    const char* name;
    AVPixelFormat format;
  } rows[] = {{"h264", "a.mp4", AV_PIX_FMT_YUV420P},   {"h264", "a.mkv", AV_PIX_FMT_YUV422P10},
              {"h264", "a.mp4", AV_PIX_FMT_GBRP},      {"hevc", "a.mp4", AV_PIX_FMT_YUV420P12},
              {"vp9", "a.webm", AV_PIX_FMT_YUV444P10}, {"av1", "a.mkv", AV_PIX_FMT_YUV420P},
              {"png", "a.mov", AV_PIX_FMT_GBRP16},     {"utvideo", "a.avi", AV_PIX_FMT_YUV422P}};
  for (const auto& row : rows) {
    WriteStillNoise(folder / "still.mkv", row.format, false);
    const Outcome outcome =
        run({"stabilise", folder / "still.mkv", "-o", folder / row.name, "--quiet", "--force", "--again", "--codec",
             row.codec, "--lossless", "--global-mode", "none", "--events", "none", "--rendering", "natural"});
    ASSERT_EQ(outcome.status, 0) << row.codec << outcome.err;
    EXPECT_TRUE(CodesOf(folder / row.name) == CodesOf(folder / "still.mkv")) << row.codec;
  }
}

TEST_F(KeptExactly, TheFirstTimeStampStays) {
  constexpr std::int64_t times[] = {123480, 127080, 134280, 137880, 145080, 148680};  // whole milliseconds from 1372 on
  for (const char* name : {"late.mov", "late.mkv", "late.ts"}) {
    ClipContents contents = TestContents(64, 48);
    contents.identity.timeBaseDenominator = 90000;
    {
      EncoderOptions options;
      options.preset = "ultrafast";
      MovieWriter movie(folder / name, contents, MovieSpan{}, options);
      PicturePool pool(64, 48);
      for (int number = 0; number < 6; ++number) {
        const SharedPicture picture = TestPicture(pool, number);
        picture->time = times[number];
        picture->duration = number % 2 == 0 ? 3600 : 7200;
        movie.write(picture);
      }
      movie.finish();
    }
    const std::string copy = folder / ("copy-" + std::string(name));
    ASSERT_EQ(run({"stabilise", folder / name, "-o", copy, "--quiet"}).status, 0);
    for (const std::string& file : {folder / name, copy}) {
      FrameSource frames(ScanClip(file, {.threads = 1}), 1);
      ASSERT_EQ(frames.contents().identity.frames, 6);
      const ClipIdentity& identity = frames.contents().identity;
      for (int number = 0; number < 6; ++number)
        EXPECT_EQ(av_rescale_q(frames.fetch(number)->time, {identity.timeBaseNumerator, identity.timeBaseDenominator},
                               {1, 90000}),
                  times[number])
            << file << number;
    }
  }
}

TEST_F(KeptExactly, EncodersThatCountFramesLeaveTheTimesAlone) {
  MakeClip(folder / "vfr.mp4", 12,
           "-vf settb=1/600,setpts='24*N+6*mod(N\\,3)' -fps_mode passthrough -enc_time_base 1/600 "
           "-video_track_timescale 600 -c:v libx264 -bf 2");
  const struct { const char *codec, *name; } rows[] = {{"mpeg4", "out.mp4"}, {"mpeg2", "out.mov"}};
  for (const auto& row : rows) {
    ASSERT_EQ(run({"stabilise", folder / "vfr.mp4", "-o", folder / row.name, "--quiet", "--codec", row.codec}).status,
              0);
    const ClipContents contents = ScanClip(folder / row.name, {.threads = 1});
    ASSERT_EQ(contents.identity.frames, 12);
    const AVRational timeBase{contents.identity.timeBaseNumerator, contents.identity.timeBaseDenominator};
    for (int n = 0; n < 12; ++n)
      EXPECT_EQ(av_rescale_q(contents.index->frames[n].time, timeBase, {1, 600}), 24 * n + 6 * (n % 3)) << row.codec;
  }
}

TEST_F(KeptExactly, FilesThatBeginAtZeroShowTheFirstPictureThen) {
  MakeClip(folder / "film.mp4", 12, "-c:v libx264 -bf 3");
  for (const char* name : {"out.flv", "out.nut"}) {
    ASSERT_EQ(run({"stabilise", folder / "film.mp4", "-o", folder / name, "--quiet"}).status, 0);
    EXPECT_EQ(ScanClip(folder / name, {.threads = 1}).firstTime, 0) << name;
  }
}

TEST_F(KeptExactly, FilesThatCountFramesSayWhenThatIsNotTheClips) {
  MakeClip(folder / "vfr.mp4", 12,
           "-vf settb=1/600,setpts='24*N+120*gt(N\\,6)' -fps_mode passthrough -enc_time_base 1/600 "
           "-video_track_timescale 600 -c:v libx264 -preset ultrafast");
  const std::string words = "the pictures' own times are left out, since .mxf files count frames";
  Outcome outcome = run({"stabilise", folder / "vfr.mp4", "-o", folder / "vfr.mxf", "--quiet"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, testing::HasSubstr(words));
  outcome = run({"stabilise", clip, "-o", folder / "even.mxf", "--quiet"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, testing::Not(testing::HasSubstr(words)));
  EXPECT_EQ(framesOf(folder / "even.mxf").size(), clipFrames);
}

TEST_F(KeptExactly, ThePixelsHaveTheShapeThatTheFileSays) {
  MakeClip(folder / "square.mp4", 3, "-vf setsar=1 -c:v libx264 -preset ultrafast");
  for (const char* name : {"wide.mp4", "wide.mkv"}) {
    const std::string wide = folder / name, copy = folder / ("copy-" + std::string(name));
    RunFfmpeg("-i '" + folder / "square.mp4" + "' -c copy -aspect 16:9 '" + wide + "'");
    ASSERT_EQ(av_cmp_q(ScanClip(wide, {.threads = 1}).format.sampleAspect, {1, 1}), 0) << "of the stream";
    ASSERT_EQ(run({"stabilise", wide, "-o", copy, "--quiet"}).status, 0);
    ClipReader reader(copy, 1);
    EXPECT_EQ(av_cmp_q(av_guess_sample_aspect_ratio(nullptr, &reader.stream(), nullptr), {4, 3}), 0) << name;
    CodedFrame frame;
    ASSERT_TRUE(reader.next(&frame));
    EXPECT_EQ(av_cmp_q(frame.frame->sample_aspect_ratio, {4, 3}), 0) << name;
  }
}

TEST_F(KeptExactly, ThatPicturesWereSingleFieldsIsToldAsLost) {
  MakeClip(folder / "fields.mp4", 4, "-c:v libx265 -preset ultrafast -x265-params interlace=1:log-level=none", "64x64");
  const Outcome outcome = run({"stabilise", folder / "fields.mp4", "-o", out, "--quiet"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, testing::HasSubstr("that each of its pictures is one field is left out"));
}

TEST_F(KeptExactly, NaturalsEmptyAreaIsTransparentWithAlpha) {
  ASSERT_EQ(run({"stabilise", clip, "-o", folder / "alpha.mkv", "--quiet", "--codec", "ffv1", "--alpha",
                 "--global-mode", "cancel", "--rendering", "natural"})
                .status,
            0);
  FrameSource frames(ScanClip(folder / "alpha.mkv", {.threads = 1}), 1);
  EXPECT_TRUE(frames.contents().planes.alpha);
  int empty = 0, covered = 0;
  for (int number = 1; number < clipFrames; ++number) {
    const SharedPicture picture = frames.fetch(number);
    for (size_t i = 0; i < picture->samples.size(); i += 4) {
      empty += picture->samples[i] == 0.0f;
      covered += picture->samples[i] == 1.0f;
    }
  }
  EXPECT_GT(empty, clipHeight);  // the shake is up to 3 pixels wide
  EXPECT_GT(covered, (clipFrames - 1) * clipWidth * clipHeight * 9 / 10);
}

/// All that a packet is, but for where it lies in the file.
std::map<int, std::vector<std::string>> PacketsBesideTheFilm(const std::string& path) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  EXPECT_GE(avformat_find_stream_info(opened, nullptr), 0);
  const Packet packet = MakePacket();
  std::map<int, std::vector<std::string>> packets;
  while (av_read_frame(opened, packet.get()) >= 0) {
    const AVStream& stream = *opened->streams[packet->stream_index];
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO || stream.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE) {
      std::string all(reinterpret_cast<const char*>(packet->data), packet->size);
      for (std::int64_t number : {packet->pts, packet->dts, packet->duration})
        all += " " + std::to_string(av_rescale_q(number, stream.time_base, {1, 1000000}));
      packets[packet->stream_index].push_back(all);
    }
    av_packet_unref(packet.get());
  }
  return packets;
}

constexpr std::uint32_t sensorTag = MKTAG('g', 'p', 'm', 'd');

/// The packets of the stream in which cameras note what their sensors say, with the seconds at which they begin.
std::vector<std::string> SensorPackets(const std::string& path) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  const Packet packet = MakePacket();
  std::vector<std::string> packets;
  while (av_read_frame(opened, packet.get()) >= 0) {
    const AVStream& stream = *opened->streams[packet->stream_index];
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_DATA && stream.codecpar->codec_tag == sensorTag)
      packets.push_back(std::string(reinterpret_cast<const char*>(packet->data), packet->size) + " at " +
                        std::to_string(static_cast<double>(packet->pts) * av_q2d(stream.time_base)));
    av_packet_unref(packet.get());
  }
  return packets;
}

/// The clip's packets with a sensor's beside them, in a QuickTime file.
void AddSensor(const std::string& clip, const std::string& path) {
  AVFormatContext* opened = nullptr;
  ASSERT_GE(avformat_open_input(&opened, clip.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  AVFormatContext* output = nullptr;
  ASSERT_GE(avformat_alloc_output_context2(&output, nullptr, "mov", path.c_str()), 0);
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    AVStream* stream = avformat_new_stream(output, nullptr);
    avcodec_parameters_copy(stream->codecpar, input->streams[i]->codecpar);
    stream->codecpar->codec_tag = 0;
    stream->time_base = input->streams[i]->time_base;
  }
  AVStream* sensor = avformat_new_stream(output, nullptr);
  sensor->codecpar->codec_type = AVMEDIA_TYPE_DATA;
  sensor->codecpar->codec_id = AV_CODEC_ID_BIN_DATA;
  sensor->codecpar->codec_tag = sensorTag;
  sensor->time_base = {1, 1000};
  ASSERT_GE(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
  ASSERT_GE(avformat_write_header(output, nullptr), 0);
  const Packet packet = MakePacket();
  for (const int number : {0, 1, 2}) {
    const std::string note = "turned by " + std::to_string(7 * number);
    ASSERT_GE(av_new_packet(packet.get(), static_cast<int>(note.size())), 0);
    std::copy(note.begin(), note.end(), packet->data);
    packet->pts = packet->dts = av_rescale_q(100 * number, {1, 1000}, sensor->time_base);
    packet->duration = av_rescale_q(100, {1, 1000}, sensor->time_base);
    packet->stream_index = sensor->index;
    ASSERT_GE(av_interleaved_write_frame(output, packet.get()), 0);
  }
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    const int stream = packet->stream_index;
    av_packet_rescale_ts(packet.get(), input->streams[stream]->time_base, output->streams[stream]->time_base);
    ASSERT_GE(av_interleaved_write_frame(output, packet.get()), 0);
  }
  ASSERT_GE(av_write_trailer(output), 0);
  avio_closep(&output->pb);
  avformat_free_context(output);
}

TEST_F(KeptExactly, WhatASensorSaidComesBack) {
  const std::string film = folder / "film.mov", steady = folder / "steady.mov";
  AddSensor(clip, film);
  const std::vector<std::string> notes = SensorPackets(film);
  EXPECT_EQ(notes, (std::vector<std::string>{"turned by 0 at 0.000000", "turned by 7 at 0.100000",
                                             "turned by 14 at 0.200000"}));
  ASSERT_EQ(run({"stabilise", film, "-o", steady, "--quiet", "--preset", "ultrafast"}).status, 0);
  EXPECT_EQ(SensorPackets(steady), notes);
}

/// What a file tells of itself and its streams, one fact a line.
std::vector<std::string> FactsOf(const std::string& path) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  EXPECT_GE(avformat_find_stream_info(opened, nullptr), 0);
  std::vector<std::string> facts;
  const auto add = [&](const std::string& name, const AVDictionary* words) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(words, "", entry, AV_DICT_IGNORE_SUFFIX)))
      if (const std::string key = entry->key; key != "encoder" && key != "handler_name" && key != "vendor_id")
        facts.push_back(name + " " + key + "=" + entry->value);
  };
  add("file", opened->metadata);
  for (unsigned i = 0; i < opened->nb_streams; ++i) {
    const AVStream& stream = *opened->streams[i];
    const AVCodecParameters& p = *stream.codecpar;
    const std::string name = "stream " + std::to_string(i);
    add(name, stream.metadata);
    facts.push_back(name + " codec " + avcodec_get_name(p.codec_id) + " " + std::to_string(p.codec_tag) + " " +
                    std::to_string(p.format) + " " + std::to_string(stream.disposition));
    facts.push_back(name + " colour " + std::to_string(p.color_range) + " " + std::to_string(p.color_space) + " " +
                    std::to_string(p.color_trc) + " " + std::to_string(p.color_primaries) + " " +
                    std::to_string(p.chroma_location));
    facts.push_back(name + " shape " + std::to_string(p.width) + " " + std::to_string(p.height) + " " +
                    std::to_string(p.sample_aspect_ratio.num) + ":" + std::to_string(p.sample_aspect_ratio.den));
    if (const std::uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr))
      facts.push_back(name + " turned by " +
                      std::to_string(av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix))));
  }
  for (unsigned i = 0; i < opened->nb_chapters; ++i) {
    const AVChapter& chapter = *opened->chapters[i];
    const auto seconds = [&](std::int64_t time) {
      return std::to_string(static_cast<double>(time) * av_q2d(chapter.time_base));
    };
    add("chapter " + std::to_string(i) + " " + seconds(chapter.start) + " " + seconds(chapter.end), chapter.metadata);
  }
  std::sort(facts.begin(), facts.end());
  return facts;
}

/// Turns the first track of a QuickTime file by a quarter, as phones that are held upright do.
void Turn(const std::string& path, int height) {
  std::string bytes = ReadAll(path);
  const size_t matrix = bytes.find("tkhd") + 44;
  const std::int32_t values[9] = {0, 0x10000, 0, -0x10000, 0, 0, height << 16, 0, 0x40000000};
  for (int i = 0; i < 9; ++i)
    for (int b = 0; b < 4; ++b)
      bytes[matrix + static_cast<size_t>(4 * i + b)] =
          static_cast<char>(static_cast<std::uint32_t>(values[i]) >> (24 - 8 * b));
  WriteAll(path, bytes);
}

/// A clip as a phone writes it, of 70 frames at a variable rate.
void WritePhoneClip(const TestFolder& folder, const std::string& path) {
  WriteAll(folder / "words",
           ";FFMETADATA1\ntitle=By the lake\ncom.apple.quicktime.model=Phone\ncom.apple.quicktime.location.ISO6709="
           "+47.0+008.0/\ncreation_time=2024-05-06T07:08:09.000000Z\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\n"
           "title=First\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2400\ntitle=Second\n");
  WriteAll(folder / "subtitles.srt",
           "1\n00:00:00,200 --> 00:00:01,000\nHello\n\n2\n00:00:01,500 --> 00:00:02,000\nWorld\n");
  const std::string command =
      "ffmpeg -nostdin -v error -y -f lavfi -i \"testsrc2=s=96x64:r=30:d=2.4,format=yuv420p10le,"
      "select='not(eq(n,5)+eq(n,9))'\" -f lavfi -i sine=r=48000:d=2.4 -f lavfi -i sine=f=300:r=48000:d=2.4 -i '" +
      folder / "subtitles.srt" + "' -i '" + folder / "words" +
      "' -map 0 -map 1 -map 2 -map 3 -map_metadata 4 -map_chapters 4 -fps_mode vfr -c:v libx265 -preset ultrafast "
      "-tag:v hvc1 -color_primaries bt2020 -color_trc arib-std-b67 -colorspace bt2020nc -color_range tv "
      "-x265-params log-level=none:master-display='G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)"
      "L(10000000,50)':max-cll=1000,400 -c:a:0 aac -c:a:1 pcm_s16le -c:s mov_text -metadata:s:a:0 language=eng "
      "-metadata:s:a:1 language=fra -metadata:s:s:0 language=deu -timecode 01:00:00:10 -video_track_timescale 600 "
      "-movflags use_metadata_tags '" +
      path + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << "needs the ffmpeg program, which scripts/setup installs";
  Turn(path, 64);
}

TEST_F(KeptExactly, APhonesClipComesBackWhole) {
  const std::string phone = folder / "phone.mov", steady = folder / "steady.mov";
  WritePhoneClip(folder, phone);
  const Outcome outcome = run({"stabilise", phone, "-o", steady, "--preset", "ultrafast", "--quiet"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(FactsOf(steady), FactsOf(phone));
  const auto packets = PacketsBesideTheFilm(phone);
  ASSERT_EQ(packets.size(), 3u);
  EXPECT_TRUE(PacketsBesideTheFilm(steady) == packets);

  FrameSource before(ScanClip(phone, {.threads = 1}), 1), after(ScanClip(steady, {.threads = 1}), 1);
  ASSERT_EQ(before.contents().identity.frames, 70);
  ASSERT_EQ(after.contents().identity.frames, 70);
  ASSERT_EQ(after.contents().identity.timeBaseDenominator, 600);
  for (int number = 0; number < 70; ++number) {
    EXPECT_EQ(after.fetch(number)->time, before.fetch(number)->time) << number;
    EXPECT_EQ(after.fetch(number)->duration, before.fetch(number)->duration) << number;
  }
  const VideoFormat& format = after.contents().format;
  EXPECT_EQ(format.pixelFormat, AV_PIX_FMT_YUV420P10);
  ASSERT_TRUE(format.mastering && format.light);
  EXPECT_EQ(av_cmp_q(format.mastering->display_primaries[0][0], {34000, 50000}), 0);
  EXPECT_EQ(av_cmp_q(format.mastering->max_luminance, {1000, 1}), 0);
  EXPECT_EQ(format.light->MaxCLL, 1000u);
  EXPECT_EQ(format.light->MaxFALL, 400u);
}

TEST_F(KeptExactly, WhatTheFileCannotHoldIsNamed) {
  const std::string phone = folder / "phone.mov";
  WritePhoneClip(folder, phone);
  const Outcome outcome = run({"stabilise", phone, "-o", folder / "steady.ts", "--preset", "ultrafast"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const std::string said = outcome.out + outcome.err;
  for (const char* lost :
       {"audio stream 2 (pcm_s16le)", "subtitle stream 3 (mov_text)", "rotation", "time code", "chapters"})
    EXPECT_THAT(said, testing::HasSubstr(lost));
}

}  // namespace
}  // namespace film
