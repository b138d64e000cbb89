#include "film/Fields.h"

#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/MadeClips.h"

namespace film {
namespace {

/// A picture of one column whose pixels hold the given values.
FloatPicture Column(const std::vector<float>& values) {
  FloatPicture picture;
  picture.width = 1;
  picture.height = static_cast<int>(values.size());
  for (const float value : values)
    for (int lane = 0; lane < 4; ++lane) picture.samples.push_back(value + static_cast<float>(lane));
  return picture;
}

std::vector<float> ValuesOf(const FloatPicture& picture, int lane = 0) {
  std::vector<float> values;
  for (size_t i = 0; i < picture.samples.size(); i += 4)
    values.push_back(picture.samples[i + static_cast<size_t>(lane)] - static_cast<float>(lane));
  return values;
}

std::vector<float> Kept(const std::vector<float>& values, Field field) {
  FloatPicture target = Column(std::vector<float>(values.size(), -100.0f));
  KeepField(Column(values), field, target);
  EXPECT_EQ(ValuesOf(target, 3), ValuesOf(target)) << "all four lanes alike";
  return ValuesOf(target);
}

TEST(Fields, TheOrderNamesTheFieldThatIsShownFirst) {
  EXPECT_EQ(FirstField(AV_FIELD_TT), Field::Top);
  EXPECT_EQ(SecondField(AV_FIELD_TT), Field::Bottom);
  EXPECT_EQ(FirstField(AV_FIELD_BB), Field::Bottom);
  EXPECT_EQ(SecondField(AV_FIELD_BB), Field::Top);
}

TEST(Fields, WordsAndOrdersGoBothWays) {
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE})
    EXPECT_EQ(FieldOrderOf(FieldWord(order)), order);
  EXPECT_STREQ(FieldWord(AV_FIELD_UNKNOWN), "none");
  EXPECT_EQ(FieldOrderOf("auto"), std::nullopt);
  EXPECT_EQ(FieldOrderOf(""), std::nullopt);
}

TEST(Fields, CopyingAFieldLeavesTheOtherOneAlone) {
  FloatPicture target = Column({1, 2, 3, 4, 5});
  CopyField(Column({10, 20, 30, 40, 50}), Field::Bottom, target);
  EXPECT_EQ(ValuesOf(target), (std::vector<float>{1, 20, 3, 40, 5}));
  CopyField(Column({10, 20, 30, 40, 50}), Field::Top, target);
  EXPECT_EQ(ValuesOf(target), (std::vector<float>{10, 20, 30, 40, 50}));
}

TEST(Fields, AKeptFieldFillsTheRowsBetweenWithTheMeanOfItsOwn) {
  EXPECT_EQ(Kept({1, -9, 3, -9, 7}, Field::Top), (std::vector<float>{1, 2, 3, 5, 7}));
  EXPECT_EQ(Kept({1, -9, 3, -9}, Field::Top), (std::vector<float>{1, 2, 3, 3}));
  EXPECT_EQ(Kept({-9, 2, -9, 6}, Field::Bottom), (std::vector<float>{2, 2, 4, 6}));
  EXPECT_EQ(Kept({-9, 2, -9}, Field::Bottom), (std::vector<float>{2, 2, 2}));
  EXPECT_EQ(Kept({4, 8}, Field::Top), (std::vector<float>{4, 4}));
  EXPECT_EQ(Kept({4}, Field::Top), (std::vector<float>{4}));
  EXPECT_EQ(Kept({4}, Field::Bottom), (std::vector<float>{4}));
}

/// Writes a few frames that say that they are of this order.
void WriteClip(const std::string& path, AVFieldOrder order) {
  ClipContents contents = TestContents(64, 48);
  contents.format.fieldOrder = order;
  contents.planes = *PlaneFormatOf(contents.format);
  EncoderOptions options;
  options.preset = "ultrafast";
  options.threads = 1;
  MovieWriter movie(path, contents, MovieSpan{}, options);
  PicturePool pool(64, 48);
  for (int number = 0; number < 4; ++number) movie.write(TestPicture(pool, number));
  movie.finish();
}

TEST(Fields, TheOrderOfAClipIsFound) {
  const TestFolder folder;
  for (const char* name : {"clip.mp4", "clip.mov", "clip.mkv"})
    for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE}) {
      WriteClip(folder / name, order);
      EXPECT_EQ(DetectFieldOrder(folder / name), order) << name;
    }
  EXPECT_THROW(DetectFieldOrder(folder / "none.mp4"), Failure);
}

/// Writes twelve frames that ffmpeg marks as "tff" or "bff".
void MakeInterlacedClip(const std::string& path, const std::string& order, const std::string& codec) {
  MakeClip(path, 12, "-vf setfield=" + order + ",format=yuv422p -flags +ildct+ilme -c:v " + codec);
}

/// What the stream says of itself, without a look at its frames.
AVFieldOrder OrderInStream(const std::string& path) { return ClipReader(path, 1).stream().codecpar->field_order; }

TEST(Fields, TheOrderOfOtherProgramsClipsIsFound) {
  const TestFolder folder;
  const struct {
    const char *name, *codec;
  } rows[] = {{"prores.mov", "prores_ks"}, {"v210.mov", "v210"},        {"raw.mov", "rawvideo"}, {"ffv1.mkv", "ffv1"},
              {"huff.mkv", "ffvhuff"},     {"mpeg2.mov", "mpeg2video"}, {"x264.mkv", "libx264"}};
  for (const auto& row : rows) {
    MakeInterlacedClip(folder / row.name, "tff", row.codec);
    EXPECT_EQ(OrderInStream(folder / row.name), AV_FIELD_TB) << row.name;
    EXPECT_EQ(DetectFieldOrder(folder / row.name), AV_FIELD_TT) << row.name;
    MakeInterlacedClip(folder / row.name, "bff", row.codec);
    EXPECT_EQ(OrderInStream(folder / row.name), AV_FIELD_BT) << row.name;
    EXPECT_EQ(DetectFieldOrder(folder / row.name), AV_FIELD_BB) << row.name;
  }
}

TEST(Fields, WhatTheFramesSayWinsOverTheFile) {
  const TestFolder folder;
  MakeInterlacedClip(folder / "x264.mov", "bff", "libx264");
  ASSERT_EQ(OrderInStream(folder / "x264.mov"), AV_FIELD_TT);
  EXPECT_EQ(DetectFieldOrder(folder / "x264.mov"), AV_FIELD_BB);
}

TEST(Fields, AFewWholeFramesMayComeFirst) {
  const TestFolder folder;
  MakeClip(folder / "whole.h264", 3, "-vf format=yuv422p -c:v libx264 -preset ultrafast");
  MakeInterlacedClip(folder / "fields.h264", "tff", "libx264 -preset ultrafast");
  WriteAll(folder / "clip.h264", ReadAll(folder / "whole.h264") + ReadAll(folder / "fields.h264"));
  ASSERT_EQ(OrderInStream(folder / "clip.h264"), AV_FIELD_PROGRESSIVE);
  EXPECT_EQ(DetectFieldOrder(folder / "clip.h264"), AV_FIELD_TT);
}

TEST(Fields, FramesThatSayNothingAreAsTheFileSays) {
  const TestFolder folder;
  MakeClip(folder / "whole.mov", 3, "-c:v mjpeg");
  EXPECT_EQ(DetectFieldOrder(folder / "whole.mov"), AV_FIELD_PROGRESSIVE);
  MakeClip(folder / "fields.mov", 3, "-vf setfield=bff,format=yuvj422p -c:v mjpeg");
  EXPECT_EQ(DetectFieldOrder(folder / "fields.mov"), AV_FIELD_BB);
}

TEST(Fields, PicturesThatAreSingleFieldsAreWholeFrames) {
  const TestFolder folder;
  MakeClip(folder / "fields.mp4", 4, "-c:v libx265 -preset ultrafast -x265-params interlace=1:log-level=none", "64x64");
  EXPECT_EQ(DetectFieldOrder(folder / "fields.mp4"), AV_FIELD_PROGRESSIVE);
  EXPECT_TRUE(ScanClip(folder / "fields.mp4", {.threads = 1}).format.interlaced()) << "as its pictures say";
}

}  // namespace
}  // namespace film
