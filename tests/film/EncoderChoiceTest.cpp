#include "film/EncoderChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"

namespace film {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EncoderChoiceTest : public testing::Test {
 protected:
  EncoderChoiceTest() : source(avcodec_parameters_alloc()) {
    source->codec_type = AVMEDIA_TYPE_VIDEO;
    wish.timeBase = {1, 600};
    wish.frameRate = {30, 1};
    wish.options.threads = 1;
  }
  ~EncoderChoiceTest() override { avcodec_parameters_free(&source); }

  ChosenEncoder choose(const std::string& name, AVPixelFormat format, AVCodecID own = AV_CODEC_ID_NONE, int width = 64,
                       int height = 48) {
    const Container container(name);
    wish.out = name;
    wish.container = &container;
    wish.format = TestContents(width, height, format).format;
    wish.format.fieldOrder = fieldOrder;
    wish.planes = *PlaneFormatOf(wish.format);
    source->codec_id = own;
    wish.source = own == AV_CODEC_ID_NONE ? nullptr : source;
    return ChooseEncoder(wish);
  }
  std::string failureOf(const std::string& name, AVPixelFormat format, AVCodecID own = AV_CODEC_ID_NONE,
                        int height = 48) {
    try {
      choose(name, format, own, 64, height);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, kUsage);
      return failure.what();
    }
    return "no failure";
  }

  AVCodecParameters* source;
  AVFieldOrder fieldOrder = AV_FIELD_PROGRESSIVE;
  EncoderWish wish;
};

TEST_F(EncoderChoiceTest, TheClipsOwnCodecIsTaken) {
  const struct {
    const char* name;
    AVPixelFormat format;
    AVCodecID own;
    const char* encoder;
  } rows[] = {{"a.mp4", AV_PIX_FMT_YUV420P10, AV_CODEC_ID_HEVC, "libx265"},
              {"a.mov", AV_PIX_FMT_YUV422P10, AV_CODEC_ID_PRORES, "prores_ks"},
              {"a.mkv", AV_PIX_FMT_GRAY16, AV_CODEC_ID_FFV1, "ffv1"},
              {"a.webm", AV_PIX_FMT_YUV420P, AV_CODEC_ID_VP9, "libvpx-vp9"},
              {"a.mkv", AV_PIX_FMT_YUV420P, AV_CODEC_ID_AV1, "libaom-av1"},
              {"a.ts", AV_PIX_FMT_YUV420P, AV_CODEC_ID_MPEG2VIDEO, "mpeg2video"},
              {"a.mov", AV_PIX_FMT_RGBA, AV_CODEC_ID_PNG, "png"},
              {"a.mp4", AV_PIX_FMT_GBRP, AV_CODEC_ID_H264, "libx264rgb"}};
  for (const auto& row : rows) {
    const ChosenEncoder chosen = choose(row.name, row.format, row.own);
    EXPECT_STREQ(chosen.kind->encoder, row.encoder);
    EXPECT_THAT(chosen.remarks, IsEmpty()) << row.encoder;
  }
}

TEST_F(EncoderChoiceTest, AnotherCodecStandsInWhereTheClipsOwnCannotBe) {
  ChosenEncoder chosen = choose("a.mp4", AV_PIX_FMT_YUV422P10, AV_CODEC_ID_PRORES);
  EXPECT_STREQ(chosen.kind->codec, "h264");
  EXPECT_THAT(chosen.remarks, ElementsAre("written as H.264, since .mp4 files can't hold prores"));
  EXPECT_STREQ(choose("a.mkv", AV_PIX_FMT_YUV420P16, AV_CODEC_ID_JPEG2000).kind->codec, "ffv1");
  EXPECT_STREQ(choose("a.mp4", AV_PIX_FMT_YUV420P12).kind->codec, "hevc");
  EXPECT_STREQ(choose("a.webm", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264).kind->codec, "vp9");
  fieldOrder = AV_FIELD_TT;
  chosen = choose("a.mp4", AV_PIX_FMT_YUV420P, AV_CODEC_ID_HEVC);
  EXPECT_STREQ(chosen.kind->codec, "h264");
  EXPECT_THAT(chosen.remarks, ElementsAre("written as H.264, since FFmpeg's encoder for hevc can't tell of fields"));
}

TEST_F(EncoderChoiceTest, DepthAndChromaAreNeverLess) {
  wish.options.codec = "prores";
  ChosenEncoder chosen = choose("a.mov", AV_PIX_FMT_YUV420P);
  EXPECT_EQ(chosen.context->pix_fmt, AV_PIX_FMT_YUV422P10);
  EXPECT_THAT(chosen.remarks, ElementsAre(HasSubstr("written with 10 bits in 4:2:2")));
  EXPECT_THAT(failureOf("a.mov", AV_PIX_FMT_YUV444P12),
              AllOf(HasSubstr("ProRes takes pictures of 12 bits in 4:4:4"), HasSubstr("hevc")));
  wish.options.codec = "";
  EXPECT_EQ(choose("a.mp4", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264, 101, 77).context->pix_fmt, AV_PIX_FMT_YUV444P);
  chosen = choose("a.mov", AV_PIX_FMT_YUV444P12, AV_CODEC_ID_PRORES);  // what FFmpeg's decoder makes of any 4444
  EXPECT_STREQ(chosen.kind->codec, "prores");
  EXPECT_THAT(chosen.remarks, ElementsAre(HasSubstr("10 of its 12 bits")));
}

TEST_F(EncoderChoiceTest, ProfilesAreTheClips) {
  const std::pair<int, std::uint32_t> tags[] = {{FF_PROFILE_PRORES_PROXY, MKTAG('a', 'p', 'c', 'o')},
                                                {FF_PROFILE_PRORES_LT, MKTAG('a', 'p', 'c', 's')},
                                                {FF_PROFILE_PRORES_HQ, MKTAG('a', 'p', 'c', 'h')}};
  for (const auto& [profile, tag] : tags) {
    source->profile = profile;
    EXPECT_EQ(choose("a.mov", AV_PIX_FMT_YUV422P10, AV_CODEC_ID_PRORES).context->codec_tag, tag);
  }
  source->profile = FF_PROFILE_DNXHD;
  source->bit_rate = 121200000;
  const ChosenEncoder chosen = choose("a.mov", AV_PIX_FMT_YUV422P, AV_CODEC_ID_DNXHD, 1920, 1080);
  EXPECT_EQ(chosen.context->bit_rate, 120000000);
}

TEST_F(EncoderChoiceTest, OpacityNeedsACodecThatHasIt) {
  wish.options.alpha = true;
  EXPECT_EQ(choose("a.mov", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264).context->pix_fmt, AV_PIX_FMT_YUVA444P10);
  EXPECT_EQ(choose("a.webm", AV_PIX_FMT_YUV420P).context->pix_fmt, AV_PIX_FMT_YUVA420P);
  EXPECT_EQ(choose("a.mkv", AV_PIX_FMT_YUV420P, AV_CODEC_ID_FFV1).context->pix_fmt, AV_PIX_FMT_YUVA420P);
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P), HasSubstr("use a name that ends in .mkv"));
  wish.options.codec = "vp9";
  EXPECT_EQ(choose("a.mkv", AV_PIX_FMT_YUV420P).context->pix_fmt, AV_PIX_FMT_YUVA420P);
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P),
              HasSubstr(".mp4 files have no place for the opacity of VP9; use a name that ends in .mkv"));
  wish.options.codec = "h264";
  EXPECT_THAT(failureOf("a.mov", AV_PIX_FMT_YUV420P), HasSubstr("no encoder for H.264 takes pictures of 8 bits in "
                                                                "4:2:0 with opacity"));
}

TEST_F(EncoderChoiceTest, AClipsOpacityIsLeftOutWhereTheFileHasNoPlaceForIt) {
  const ChosenEncoder chosen = choose("a.mp4", AV_PIX_FMT_YUVA420P, AV_CODEC_ID_VP9);
  EXPECT_STREQ(chosen.kind->codec, "vp9");
  EXPECT_EQ(chosen.context->pix_fmt, AV_PIX_FMT_YUV420P);
  EXPECT_THAT(chosen.remarks, ElementsAre(HasSubstr("opacity is left out")));
}

TEST_F(EncoderChoiceTest, AviTakesPicturesInTheOrderInWhichTheyAreShown) {
  EXPECT_EQ(choose("a.avi", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264).context->has_b_frames, 0);
  EXPECT_GT(choose("a.mp4", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264).context->has_b_frames, 0);
  for (const int late : {1, 2}) {
    wish.delay = late;
    EXPECT_EQ(choose("a.avi", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264).context->max_b_frames, late);
  }
}

TEST_F(EncoderChoiceTest, DnxhdOfFieldsHasTheHighestRate) {
  wish.options.codec = "dnxhd";
  fieldOrder = AV_FIELD_TT;
  EXPECT_EQ(choose("a.mov", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264, 1920, 1080).context->bit_rate, 220000000);
}

TEST_F(EncoderChoiceTest, WhatCannotBeIsToldWithWhatCan) {
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P16),
              AllOf(HasSubstr("no codec that .mp4 files can hold keeps pictures of 16 bits in 4:2:0"),
                    HasSubstr("a name that ends in .mkv with --codec ffv1")));
  wish.options.codec = "prores";
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV422P10), HasSubstr(".mp4 files can't hold ProRes; use a name that ends "
                                                                  "in .mov"));
  wish.options.codec = "h265";
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P), AllOf(HasSubstr("--codec h265 is unknown"), HasSubstr("hevc")));
  wish.options.codec = "h264";
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P12), HasSubstr("use --codec hevc"));
  wish.options.codec = "prores";
  wish.options.lossless = true;
  EXPECT_THAT(failureOf("a.mov", AV_PIX_FMT_YUV422P10),
              AllOf(HasSubstr("ProRes can't be lossless"), HasSubstr("h264")));
}

TEST_F(EncoderChoiceTest, FieldsOfOddHeightsAreNotForH264) {
  fieldOrder = AV_FIELD_BB;
  const auto chosenFor = [&](int height, AVPixelFormat format) {
    return choose("a.mkv", format, AV_CODEC_ID_H264, 64, height);
  };
  EXPECT_STREQ(chosenFor(48, AV_PIX_FMT_YUV420P).kind->encoder, "libx264");
  EXPECT_STREQ(chosenFor(50, AV_PIX_FMT_YUV422P).kind->encoder, "libx264");
  const ChosenEncoder other = chosenFor(50, AV_PIX_FMT_YUV420P);
  EXPECT_STREQ(other.kind->encoder, "ffv1");
  EXPECT_THAT(other.remarks, testing::Contains(HasSubstr("since h264 holds fields in 4:2:0 only in heights that are "
                                                         "multiples of 4")));
  wish.options.codec = "h264";
  EXPECT_THAT(failureOf("a.mkv", AV_PIX_FMT_YUV420P, AV_CODEC_ID_H264, 50),
              AllOf(HasSubstr("only where the height is a multiple of 4, not 50; use --codec "), HasSubstr("mpeg2"),
                    HasSubstr("--fields none")));
  fieldOrder = AV_FIELD_PROGRESSIVE;
  EXPECT_STREQ(chosenFor(50, AV_PIX_FMT_YUV420P).kind->encoder, "libx264");
}

TEST_F(EncoderChoiceTest, OptionsThatTheEncoderLacksAreRefused) {
  wish.options.extras = {"tuna=grain"};
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P),
              AllOf(HasSubstr("tuna is unknown to the encoder libx264"), HasSubstr("tune")));
  wish.options.extras = {"crf=much"};
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P), HasSubstr("crf=much isn't a value"));
  wish.options.extras = {"tune"};
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P), HasSubstr("an equals sign"));
  wish.options.extras = {"tune=grain", "bf=0"};
  EXPECT_EQ(choose("a.mp4", AV_PIX_FMT_YUV420P).context->max_b_frames, 0);
  wish.options.extras = {};
  wish.options.preset = "quick";
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P),
              AllOf(HasSubstr("--preset quick is unknown"), HasSubstr("ultrafast, ")));
  wish.options.preset = "slow";
  EXPECT_THAT(failureOf("a.mov", AV_PIX_FMT_YUV422P10, AV_CODEC_ID_PRORES), HasSubstr("no speeds for --preset"));
  wish.options.preset = "";
  wish.options.crf = 20.0;
  EXPECT_THAT(failureOf("a.mov", AV_PIX_FMT_YUV422P10, AV_CODEC_ID_PRORES), HasSubstr("ProRes has no --crf"));
  wish.options.crf = 60.0;
  EXPECT_THAT(failureOf("a.mp4", AV_PIX_FMT_YUV420P), HasSubstr("--crf goes from 0 to 51 with H.264"));
  EXPECT_STREQ(choose("a.webm", AV_PIX_FMT_YUV420P).kind->codec, "vp9");
}

TEST(EncoderTable, SpeedsAreCommonWordsOrTheEncodersOwn) {
  for (const EncoderKind& kind : EncoderKinds()) {
    EXPECT_EQ(HasSpeed(kind, "medium"), kind.speeds != nullptr) << kind.encoder;
    EXPECT_FALSE(HasSpeed(kind, "handheld"));
    EXPECT_FALSE(HasSpeed(kind, ""));
  }
  const auto kindOf = [](const std::string& name) {
    return *std::find_if(EncoderKinds().begin(), EncoderKinds().end(),
                         [&](const EncoderKind& kind) { return name == kind.encoder; });
  };
  EXPECT_TRUE(HasSpeed(kindOf("libx265"), "placebo"));
  EXPECT_TRUE(HasSpeed(kindOf("libvpx-vp9"), "8"));
  EXPECT_FALSE(HasSpeed(kindOf("libvpx-vp9"), "9"));
  EXPECT_FALSE(HasSpeed(kindOf("libvpx-vp9"), "8x"));
}

}  // namespace
}  // namespace film
