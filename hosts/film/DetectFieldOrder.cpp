// Which field of a clip comes first, by what its frames and its container say.
#include "film/ClipReader.h"
#include "film/Fields.h"

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

}  // namespace

AVFieldOrder DetectFieldOrder(const std::string& path) {
  ClipReader reader(path, 1);
  const AVCodecParameters& parameters = *reader.stream().codecpar;
  // An HEVC stream of fields holds each one as a picture of its own, which no neighbour shares the rows with.
  if (parameters.codec_id == AV_CODEC_ID_HEVC) return AV_FIELD_PROGRESSIVE;
  const AVFieldOrder told = orderOfFrames(reader);
  if (told != AV_FIELD_PROGRESSIVE || tellsWholeFrames(parameters.codec_id)) return told;
  return orderOfContainer(parameters.field_order);
}

}  // namespace film
