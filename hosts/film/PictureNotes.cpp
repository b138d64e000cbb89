#include "film/PictureNotes.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace film {
namespace {

/// A kind of note and the encoders that write it.
struct NoteKind {
  AVFrameSideDataType type;
  std::vector<std::string> encoders;
  const char* loss;  ///< for the user
};

const char* const dolbyVisionLoss =
    "Dolby Vision's changes from scene to scene are left out, since no encoder here writes them; "
    "the picture under them is kept";

const std::vector<NoteKind>& noteKinds() {
  static const std::vector<NoteKind> kinds = {
      {AV_FRAME_DATA_A53_CC,
       {"libx264", "libx264rgb", "mpeg2video"},
       "the closed captions inside the pictures are left out, since this encoder can't write them; --codec h264 or "
       "mpeg2 keeps them"},
      {AV_FRAME_DATA_SEI_UNREGISTERED,
       {"libx264", "libx264rgb"},
       "what other programs or the camera noted inside the pictures (user data) is left out, since this encoder can't "
       "write it; --codec h264 keeps it"},
      {AV_FRAME_DATA_STEREO3D,
       {"libx264", "libx264rgb", "mpeg2video", "png"},
       "how the views for the two eyes lie in the picture is left out where only the pictures tell it, since this "
       "encoder can't write it; --codec h264 keeps it"},
      {AV_FRAME_DATA_ICC_PROFILE,
       {"png"},
       "the colour profile inside the pictures is left out, since this encoder can't write it; --codec png keeps it"},
      {AV_FRAME_DATA_AFD,
       {},
       "which part of the frame is in use (active format) is left out, since no encoder here writes it"},
      {AV_FRAME_DATA_S12M_TIMECODE,
       {},
       "the time codes inside the pictures are left out, since no encoder here writes them; that of the file is kept"},
      {AV_FRAME_DATA_DYNAMIC_HDR_PLUS,
       {},
       "HDR10+'s changes from scene to scene are left out, since no encoder here writes them; "
       "the picture under them is kept"},
      {AV_FRAME_DATA_DYNAMIC_HDR_VIVID,
       {},
       "HDR Vivid's changes from scene to scene are left out, since no encoder here writes them; "
       "the picture under them is kept"},
      {AV_FRAME_DATA_DOVI_RPU_BUFFER, {}, dolbyVisionLoss},
  };
  return kinds;
}

const NoteKind* kindOf(AVFrameSideDataType type) {
  for (const NoteKind& kind : noteKinds())
    if (kind.type == type) return &kind;
  return nullptr;
}

/// What x264 and x265 say of themselves, which would no longer be true.
bool isEncodersOwn(const AVFrameSideData& data) {
  constexpr std::uint8_t x264[] = {0xdc, 0x45, 0xe9, 0xbd, 0xe6, 0xd9, 0x48, 0xb7,
                                   0x96, 0x2c, 0xd8, 0x20, 0xd9, 0x23, 0xee, 0xef};
  constexpr std::uint8_t x265[] = {0x2c, 0xa2, 0xde, 0x09, 0xb5, 0x17, 0x47, 0xdb,
                                   0xbb, 0x55, 0xa4, 0xfe, 0x7f, 0xc2, 0xfc, 0x4e};
  return data.type == AV_FRAME_DATA_SEI_UNREGISTERED && data.size >= sizeof x264 &&
         (std::memcmp(data.data, x264, sizeof x264) == 0 || std::memcmp(data.data, x265, sizeof x265) == 0);
}

bool isNote(const AVFrameSideData& data) { return kindOf(data.type) && !isEncodersOwn(data); }

void add(const AVFrameSideData& data, AVFrame& frame) {
  AVBufferRef* buffer = av_buffer_ref(data.buf);
  if (!buffer || !av_frame_new_side_data_from_buf(&frame, data.type, buffer)) {
    av_buffer_unref(&buffer);
    throw std::bad_alloc();
  }
}

}  // namespace

PictureNotes NotesOf(const AVFrame& frame) {
  const AVFrameSideData* const* const data = frame.side_data;
  if (std::none_of(data, data + frame.nb_side_data, [](const AVFrameSideData* each) { return isNote(*each); }))
    return nullptr;
  Frame notes = MakeFrame();
  for (int i = 0; i < frame.nb_side_data; ++i)
    if (isNote(*data[i])) add(*data[i], *notes);
  return notes;
}

void Annotate(const PictureNotes& notes, const std::string& encoder, AVFrame& frame, std::set<std::string>* lost) {
  for (const NoteKind& kind : noteKinds()) av_frame_remove_side_data(&frame, kind.type);
  if (!notes) return;
  for (int i = 0; i < notes->nb_side_data; ++i) {
    const AVFrameSideData& data = *notes->side_data[i];
    const NoteKind& kind = *kindOf(data.type);
    if (std::find(kind.encoders.begin(), kind.encoders.end(), encoder) != kind.encoders.end())
      add(data, frame);
    else
      lost->insert(kind.loss);
  }
}

std::string DolbyVisionLoss() { return dolbyVisionLoss; }

}  // namespace film
