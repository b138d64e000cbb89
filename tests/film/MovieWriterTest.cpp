#include "film/MovieWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/FrameSource.h"
#include "film/SampleSound.h"

namespace film {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Makes a clip with sound, a rotation and a title.
void WriteRichClip(const std::string& path) {
  EncoderOptions options;
  options.preset = "ultrafast";
  MovieWriter movie(path, TestContents(64, 48), MovieSpan{}, options);
  SampleSound(movie).write(1.0);
  PicturePool pool(64, 48);
  for (int number = 0; number < 25; ++number) movie.write(TestPicture(pool, number));
  movie.finish();
}

void CopyClip(const std::string& from, const std::string& to, int first, int last) {
  const ClipContents contents = ScanClip(from, {.threads = 1});
  MovieSpan span;
  span.whole = first == 0 && last == contents.identity.frames - 1;
  span.firstTime = 512 * first;
  if (!span.whole) span.end = 512 * (last + 1);
  EncoderOptions options;
  options.preset = "ultrafast";
  MovieWriter movie(to, contents, span, options);
  FrameSource frames(contents, 1);
  for (int number = first; number <= last; ++number) movie.write(frames.fetch(number));
  movie.finish();
}

/// All packets of the streams of one kind, as bytes.
std::vector<std::string> PacketsOf(const std::string& path, AVMediaType type) {
  AVFormatContext* opened = nullptr;
  EXPECT_GE(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const InputFile input(opened);
  const Packet packet = MakePacket();
  std::vector<std::string> packets;
  while (av_read_frame(opened, packet.get()) >= 0) {
    if (opened->streams[packet->stream_index]->codecpar->codec_type == type)
      packets.emplace_back(reinterpret_cast<const char*>(packet->data), packet->size);
    av_packet_unref(packet.get());
  }
  return packets;
}

TEST(MovieWriter, FramesAndTimesAreTheClips) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 25);
  CopyClip(folder / "clip.mp4", folder / "copy.mp4", 0, 24);
  const ClipContents copy = ScanClip(folder / "copy.mp4", {.threads = 1});
  EXPECT_EQ(copy.identity.frames, 25);
  EXPECT_EQ(copy.identity.timeBaseDenominator, 12800);
  EXPECT_EQ(copy.format.pixelFormat, AV_PIX_FMT_YUV420P);
  EXPECT_EQ(copy.format.range, AVCOL_RANGE_MPEG);
  EXPECT_EQ(copy.format.matrix, AVCOL_SPC_BT709);
  FrameSource frames(copy, 1);
  for (int number = 0; number < 25; ++number) EXPECT_EQ(frames.fetch(number)->time, 512 * number);
}

TEST(MovieWriter, SoundIsCopiedPacketByPacket) {
  const TestFolder folder;
  WriteRichClip(folder / "clip.mp4");
  CopyClip(folder / "clip.mp4", folder / "copy.mp4", 0, 24);
  const auto sound = PacketsOf(folder / "clip.mp4", AVMEDIA_TYPE_AUDIO);
  EXPECT_GT(sound.size(), 40u);  // 48,000 samples in packets of 1024
  EXPECT_TRUE(PacketsOf(folder / "copy.mp4", AVMEDIA_TYPE_AUDIO) == sound);
}

TEST(MovieWriter, APartOfTheClipBeginsAtZeroWithItsOwnSound) {
  const TestFolder folder;
  WriteRichClip(folder / "clip.mp4");
  CopyClip(folder / "clip.mp4", folder / "part.mp4", 10, 19);
  const ClipContents part = ScanClip(folder / "part.mp4", {.threads = 1});
  EXPECT_EQ(part.identity.frames, 10);
  EXPECT_EQ(part.firstTime, 0);
  const size_t packets = PacketsOf(folder / "part.mp4", AVMEDIA_TYPE_AUDIO).size();
  EXPECT_NEAR(static_cast<double>(packets), 0.4 * 48000 / 1024, 2.0);
}

TEST(MovieWriter, TheIndexLiesInFront) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 5);
  const std::string bytes = ReadAll(folder / "clip.mp4");
  ASSERT_NE(bytes.find("moov"), std::string::npos);
  EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
}

TEST(MovieWriter, DepthAndChromaStay) {
  const TestFolder folder;
  for (AVPixelFormat format :
       {AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV444P10}) {
    WriteTestClip(folder / "clip.mp4", 3, 64, 48, 10, format);
    EXPECT_EQ(ScanClip(folder / "clip.mp4", {.threads = 1}).format.pixelFormat, format) << av_get_pix_fmt_name(format);
  }
}

TEST(MovieWriter, WhereTheChromaLiesStays) {
  const TestFolder folder;
  for (AVChromaLocation siting : {AVCHROMA_LOC_LEFT, AVCHROMA_LOC_CENTER, AVCHROMA_LOC_TOPLEFT}) {
    ClipContents contents = TestContents(64, 48);
    contents.format.siting = siting;
    contents.planes = *PlaneFormatOf(contents.format);
    EncoderOptions options;
    options.preset = "ultrafast";
    MovieWriter movie(folder / "clip.mp4", contents, MovieSpan{}, options);
    PicturePool pool(64, 48);
    movie.write(TestPicture(pool, 0));
    movie.finish();
    EXPECT_EQ(ScanClip(folder / "clip.mp4", {.threads = 1}).format.siting, siting);
  }
}

TEST(MovieWriter, TheFileTellsTheOrderOfTheFields) {
  const TestFolder folder;
  for (AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE}) {
    ClipContents contents = TestContents(64, 48, AV_PIX_FMT_YUV422P10);
    contents.format.fieldOrder = order;
    contents.planes = *PlaneFormatOf(contents.format);
    EncoderOptions options;
    options.codec = "prores";
    MovieWriter movie(folder / "clip.mov", contents, MovieSpan{}, options);
    PicturePool pool(64, 48);
    movie.write(TestPicture(pool, 0));
    movie.finish();
    EXPECT_EQ(ClipReader(folder / "clip.mov", 1).stream().codecpar->field_order, order);
  }
}

TEST(MovieWriter, GreyIsWritten) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 3, 64, 48, 10, AV_PIX_FMT_GRAY8);
  // The library's decoder hands grey out as 4:2:0 with neutral chroma.
  const ClipContents contents = ScanClip(folder / "clip.mp4", {.threads = 1});
  FrameSource frames(contents, 1);
  const SharedPicture picture = frames.fetch(1);
  ASSERT_NE(picture, nullptr);
  for (int x = 0; x < 64; ++x) {
    EXPECT_NEAR(picture->samples[4 * x + 1], TestLuma(1, x, 0), 0.05) << x;
    EXPECT_NEAR(picture->samples[4 * x + 3], picture->samples[4 * x + 1], 1e-5) << x;
  }
}

TEST(MovieWriter, OddSizesAreWrittenWithFullChroma) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 3, 101, 77);
  const ClipContents clip = ScanClip(folder / "clip.mp4", {.threads = 1});
  EXPECT_EQ(clip.identity.width, 101);
  EXPECT_EQ(clip.identity.height, 77);
  EXPECT_EQ(clip.format.pixelFormat, AV_PIX_FMT_YUV444P);
}

TEST(MovieWriter, AnAbandonedMovieLeavesNoFile) {
  const TestFolder folder;
  {
    MovieWriter movie(folder / "clip.mp4", TestContents(64, 48), MovieSpan{}, EncoderOptions{});
    PicturePool pool(64, 48);
    for (int number = 0; number < 5; ++number) movie.write(TestPicture(pool, number));
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(MovieWriter, WhatCannotBeWrittenIsTold) {
  const TestFolder folder;
  const auto failureOf = [&](const std::string& name, const ClipContents& contents, const EncoderOptions& options) {
    try {
      MovieWriter movie(folder / name, contents, MovieSpan{}, options);
    } catch (const Failure& failure) {
      return std::string(failure.what());
    }
    return std::string("no failure");
  };
  EXPECT_THAT(failureOf("clip.xyz", TestContents(64, 48), {}), HasSubstr("use one that ends in .mp4"));
  EXPECT_THAT(failureOf("clip.mp4", TestContents(64, 48, AV_PIX_FMT_YUV420P16), {}), HasSubstr("16 bits"));
  EncoderOptions wrong;
  wrong.preset = "quick";
  EXPECT_THAT(failureOf("clip.mp4", TestContents(64, 48), wrong), HasSubstr("--preset quick is unknown"));
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
}  // namespace film
