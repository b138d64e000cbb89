#include "film/Container.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Failure.h"

namespace film {
namespace {

TEST(Container, NamesThatAreNoFilmsAreRefused) {
  for (const char* name : {"a", "a.xyz", "a.mp3", "a.png", "a.wav", "a.gif", "a.srt"})
    EXPECT_THROW(Container{name}, Failure) << name;
  for (const char* name :
       {"a.mp4", "a.MOV", "a.m4v", "a.mkv", "a.webm", "a.ts", "a.mts", "a.mpg", "a.vob", "a.avi", "a.mxf"})
    EXPECT_NO_THROW(Container{name}) << name;
}

TEST(Container, HoldsWhatOthersUnderstand) {
  EXPECT_TRUE(Container("a.mp4").holds(AV_CODEC_ID_HEVC));
  EXPECT_FALSE(Container("a.mp4").holds(AV_CODEC_ID_PRORES));
  EXPECT_FALSE(Container("a.mp4").holds(AV_CODEC_ID_PCM_S16LE));
  EXPECT_TRUE(Container("a.mov").holds(AV_CODEC_ID_PRORES));
  EXPECT_TRUE(Container("a.mov").holds(AV_CODEC_ID_PCM_S16LE));
  EXPECT_FALSE(Container("a.webm").holds(AV_CODEC_ID_H264));
  EXPECT_TRUE(Container("a.mkv").holds(AV_CODEC_ID_FFV1));
  EXPECT_TRUE(Container("a.ts").holds(AV_CODEC_ID_H264));
  EXPECT_FALSE(Container("a.ts").holds(AV_CODEC_ID_FFV1));
  EXPECT_TRUE(Container("a.mpg").holds(AV_CODEC_ID_MPEG2VIDEO));
  EXPECT_TRUE(Container("a.mxf").holds(AV_CODEC_ID_DNXHD));
  EXPECT_FALSE(Container("a.mxf").holds(AV_CODEC_ID_PRORES)) << "the library's writer refuses it";
}

TEST(Container, TellsWhichKindsHoldACodec) {
  EXPECT_THAT(Container::EndingsFor(AV_CODEC_ID_PRORES), testing::ElementsAre(".mov", ".mkv"));
  EXPECT_THAT(Container::EndingsFor(AV_CODEC_ID_VP9), testing::Contains(".webm"));
}

TEST(Container, AHeaderIsTriedWithoutWriting) {
  AVCodecParameters* film = avcodec_parameters_alloc();
  film->codec_type = AVMEDIA_TYPE_VIDEO;
  film->codec_id = AV_CODEC_ID_MPEG4;
  film->width = 64;
  film->height = 48;
  const OutputFormat streams(avformat_alloc_context());
  AVStream* other = avformat_new_stream(streams.get(), nullptr);
  other->codecpar->codec_type = AVMEDIA_TYPE_DATA;
  other->codecpar->codec_id = AV_CODEC_ID_NONE;
  other->codecpar->codec_tag = MKTAG('m', 'e', 'b', 'x');
  other->time_base = {1, 600};
  const Container mp4("a.mp4");
  EXPECT_TRUE(mp4.takes(*film, {1, 600}, {30, 1}, nullptr));
  EXPECT_FALSE(mp4.takes(*film, {1, 600}, {30, 1}, other));
  avcodec_parameters_free(&film);
}

TEST(Container, MxfCountsFrames) {
  const AVRational counted = Container("a.mxf").timeBaseFor({1, 12800}, {30000, 1001});
  EXPECT_EQ(counted.num, 1001);
  EXPECT_EQ(counted.den, 30000);
  EXPECT_EQ(Container("a.mov").timeBaseFor({1, 12800}, {30000, 1001}).den, 12800);
}

TEST(Container, ListsAreReadable) {
  EXPECT_EQ(AnyOf({"a"}), "a");
  EXPECT_EQ(AnyOf({"a", "b"}), "a or b");
  EXPECT_EQ(AnyOf({"a", "b", "c"}), "a, b or c");
}

}  // namespace
}  // namespace film
