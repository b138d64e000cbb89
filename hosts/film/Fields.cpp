#include "film/Fields.h"

#include <algorithm>

#include "film/ClipReader.h"

namespace film {
namespace {

/// What a container says, in terms of what is shown first. "Top coded first, bottom shown first" and its mirror image
/// are what programs write for frames that hold both fields woven, of which the first named is the first shown.
AVFieldOrder orderOfContainer(AVFieldOrder order) {
  switch (order) {
    case AV_FIELD_TT:
    case AV_FIELD_TB:
      return AV_FIELD_TT;
    case AV_FIELD_BB:
    case AV_FIELD_BT:
      return AV_FIELD_BB;
    default:
      return AV_FIELD_PROGRESSIVE;
  }
}

/// What most of the first frames say. A stream may begin with a few that are whole though the others aren't.
AVFieldOrder orderOfFrames(ClipReader& reader) {
  constexpr int enough = 25;
  int frames = 0, interlaced = 0, topFirst = 0;
  for (CodedFrame coded; frames < enough && reader.next(&coded); ++frames) {
    interlaced += coded.frame->interlaced_frame ? 1 : 0;
    topFirst += coded.frame->interlaced_frame && coded.frame->top_field_first ? 1 : 0;
  }
  if (2 * interlaced <= frames) return AV_FIELD_PROGRESSIVE;
  return 2 * topFirst >= interlaced ? AV_FIELD_TT : AV_FIELD_BB;
}

/// Whether frames of that codec say of themselves that they are whole ones; others just don't say that they aren't.
bool tellsWholeFrames(AVCodecID codec) {
  switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_VC1:
    case AV_CODEC_ID_PRORES:
    case AV_CODEC_ID_DNXHD:
      return true;
    default:
      return false;
  }
}

float* rowOf(FloatPicture& picture, int row) {
  return picture.samples.data() + static_cast<std::ptrdiff_t>(row) * picture.width * 4;
}

const float* rowOf(const FloatPicture& picture, int row) {
  return picture.samples.data() + static_cast<std::ptrdiff_t>(row) * picture.width * 4;
}

void copyRow(const FloatPicture& source, int row, FloatPicture& target) {
  std::copy_n(rowOf(source, row), 4 * source.width, rowOf(target, row));
}

}  // namespace

Field FirstField(AVFieldOrder order) { return order == AV_FIELD_BB ? Field::Bottom : Field::Top; }

Field SecondField(AVFieldOrder order) { return order == AV_FIELD_BB ? Field::Top : Field::Bottom; }

AVFieldOrder DetectFieldOrder(const std::string& path) {
  ClipReader reader(path, 1);
  const AVCodecParameters& parameters = *reader.stream().codecpar;
  // An HEVC stream of fields holds each one as a picture of its own, which no neighbour shares the rows with.
  if (parameters.codec_id == AV_CODEC_ID_HEVC) return AV_FIELD_PROGRESSIVE;
  const AVFieldOrder told = orderOfFrames(reader);
  if (told != AV_FIELD_PROGRESSIVE || tellsWholeFrames(parameters.codec_id)) return told;
  return orderOfContainer(parameters.field_order);
}

const char* FieldWord(AVFieldOrder order) {
  return order == AV_FIELD_TT ? "top" : order == AV_FIELD_BB ? "bottom" : "none";
}

std::optional<AVFieldOrder> FieldOrderOf(const std::string& word) {
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE})
    if (word == FieldWord(order)) return order;
  return std::nullopt;
}

void CopyField(const FloatPicture& source, Field field, FloatPicture& target) {
  for (int row = static_cast<int>(field); row < source.height; row += 2) copyRow(source, row, target);
}

void KeepField(const FloatPicture& source, Field field, FloatPicture& target) {
  const int kept = static_cast<int>(field), last = source.height - 1;
  CopyField(source, field, target);
  for (int row = 1 - kept; row <= last; row += 2) {
    const int above = row > 0 ? row - 1 : std::min(1, last), below = row < last ? row + 1 : std::max(last - 1, 0);
    const float *a = rowOf(source, above), *b = rowOf(source, below);
    float* out = rowOf(target, row);
    for (int lane = 0; lane < 4 * source.width; ++lane) out[lane] = 0.5f * (a[lane] + b[lane]);
  }
}

}  // namespace film
