#include "film/PictureNotes.h"

#include <cstring>

#include "film/CommandLineFixture.h"

namespace film {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

void Note(AVFrame& frame, AVFrameSideDataType type, const std::string& bytes) {
  AVFrameSideData* data = av_frame_new_side_data(&frame, type, bytes.size());
  ASSERT_NE(data, nullptr);
  std::memcpy(data->data, bytes.data(), bytes.size());
}

std::string NoteOf(const AVFrame& frame, AVFrameSideDataType type) {
  const AVFrameSideData* data = av_frame_get_side_data(&frame, type);
  return data ? std::string(reinterpret_cast<const char*>(data->data), data->size) : "";
}

/// Two triples of CEA-608 and CEA-708 data that differ from frame to frame.
std::string CaptionOf(int number) {
  return {'\xfc', static_cast<char>(0x80 | (number & 0x7f)), '\x2c', '\xfd', static_cast<char>(0x20 + number), '\x01'};
}

const std::string cameraNote = "0123456789abcdef and what the camera says";

TEST(PictureNotes, OnlyWhatSaysSomethingOfThePictureIsANote) {
  const Frame frame = MakeFrame();
  EXPECT_EQ(NotesOf(*frame), nullptr);
  Note(*frame, AV_FRAME_DATA_GOP_TIMECODE, "12345678");
  Note(*frame, AV_FRAME_DATA_SEI_UNREGISTERED,
       "\xdc\x45\xe9\xbd\xe6\xd9\x48\xb7\x96\x2c\xd8\x20\xd9\x23\xee\xef"
       "x264 - core 164");
  EXPECT_EQ(NotesOf(*frame), nullptr);
  Note(*frame, AV_FRAME_DATA_A53_CC, "abc");
  Note(*frame, AV_FRAME_DATA_SEI_UNREGISTERED, cameraNote);
  const PictureNotes notes = NotesOf(*frame);
  ASSERT_NE(notes, nullptr);
  EXPECT_EQ(notes->nb_side_data, 2);
  EXPECT_EQ(NoteOf(*notes, AV_FRAME_DATA_A53_CC), "abc");
  EXPECT_EQ(NoteOf(*notes, AV_FRAME_DATA_SEI_UNREGISTERED), cameraNote);
}

TEST(PictureNotes, WhatTheEncoderCantWriteIsToldOnceForEachKind) {
  const Frame noted = MakeFrame(), frame = MakeFrame();
  for (AVFrameSideDataType type : {AV_FRAME_DATA_A53_CC, AV_FRAME_DATA_AFD, AV_FRAME_DATA_DYNAMIC_HDR_PLUS,
                                   AV_FRAME_DATA_DOVI_RPU_BUFFER, AV_FRAME_DATA_S12M_TIMECODE})
    Note(*noted, type, "some bytes of it");
  std::set<std::string> lost;
  for (int picture = 0; picture < 3; ++picture) Annotate(NotesOf(*noted), "libx264", *frame, &lost);
  EXPECT_EQ(frame->nb_side_data, 1);
  EXPECT_THAT(lost, testing::UnorderedElementsAre(HasSubstr("active format"), HasSubstr("HDR10+"), DolbyVisionLoss(),
                                                  HasSubstr("time codes inside")));
  Annotate(NotesOf(*noted), "libx265", *frame, &lost);
  EXPECT_EQ(frame->nb_side_data, 0);
  EXPECT_THAT(lost, testing::Contains(HasSubstr("closed captions")));
  Annotate(NotesOf(*noted), "libx264", *frame, &lost);
  Annotate(nullptr, "libx264", *frame, &lost);  // the next picture has none
  EXPECT_EQ(frame->nb_side_data, 0);
}

class CaptionedClip : public CommandLineTest {
 protected:
  static constexpr int frames = 12;

  void writeClip(const std::string& path) const {
    EncoderOptions options;
    options.threads = 1;  // and the usual speed, so that pictures are coded in another order than they are shown
    MovieWriter movie(path, TestContents(64, 48), MovieSpan{}, options);
    PicturePool pool(64, 48);
    for (int number = 0; number < frames; ++number) {
      const SharedPicture picture = TestPicture(pool, number);
      const Frame noted = MakeFrame();
      Note(*noted, AV_FRAME_DATA_A53_CC, CaptionOf(number));
      if (number == 4) Note(*noted, AV_FRAME_DATA_SEI_UNREGISTERED, cameraNote);
      picture->notes = NotesOf(*noted);
      movie.write(picture);
    }
    movie.finish();
    EXPECT_THAT(movie.notes(), IsEmpty());
  }

  /// The notes of one kind, picture by picture, as a decoder gives them; of several the first.
  static std::vector<std::string> notesIn(const std::string& path, AVFrameSideDataType type) {
    ClipReader reader(path, 1);
    std::vector<std::string> notes;
    for (CodedFrame coded; reader.next(&coded);) notes.push_back(NoteOf(*coded.frame, type));
    return notes;
  }

  static std::vector<std::string> captions(int first, int last) {
    std::vector<std::string> all;
    for (int number = first; number <= last; ++number) all.push_back(CaptionOf(number));
    return all;
  }
};

TEST_F(CaptionedClip, CaptionsStayWithTheirPictures) {
  const std::string captioned = folder / "captioned.mp4";
  writeClip(captioned);
  ASSERT_EQ(notesIn(captioned, AV_FRAME_DATA_A53_CC), captions(0, frames - 1));
  for (const char* name : {"steady.mp4", "steady.ts"}) {
    const Outcome outcome = run({"stabilise", captioned, "-o", folder / name, "--progress", "lines"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, Not(HasSubstr("left out")));
    EXPECT_EQ(notesIn(folder / name, AV_FRAME_DATA_A53_CC), captions(0, frames - 1)) << name;
    EXPECT_EQ(notesIn(folder / name, AV_FRAME_DATA_SEI_UNREGISTERED)[4], cameraNote);
  }
  ASSERT_EQ(run({"render", captioned, "-o", folder / "steady.mpg", "--codec", "mpeg2", "--quiet"}).status, 0);
  EXPECT_EQ(notesIn(folder / "steady.mpg", AV_FRAME_DATA_A53_CC), captions(0, frames - 1));
  ASSERT_EQ(
      run({"render", captioned, "-o", out, "--from", "3", "--to", "8", "--preview", "--preset", "ultrafast", "--quiet"})
          .status,
      0);
  EXPECT_EQ(notesIn(out, AV_FRAME_DATA_A53_CC), captions(3, 8));
}

TEST_F(CaptionedClip, CaptionsThatCantBeWrittenAreNamed) {
  const std::string captioned = folder / "captioned.mp4";
  writeClip(captioned);
  const Outcome outcome = run({"stabilise", captioned, "-o", out, "--codec", "hevc", "--preset", "ultrafast"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("orvane: " + out +
                                                    ": the closed captions inside the pictures are "
                                                    "left out"),
                                          HasSubstr("--codec h264"), HasSubstr("user data")));
}

}  // namespace
}  // namespace film
