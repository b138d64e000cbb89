#include "film/VideoFormat.h"

namespace film {
namespace {

struct LumaWeights {
  AVColorSpace matrix;
  double kr, kb;
};
// ITU-T H.273, table 4. Matrices that don't stand on two luma weights (YCgCo, ICtCp) are worked on as if they were
// BT.709: the way back undoes the way there, and resampling is the same in any linear mix of the planes.
constexpr LumaWeights lumaWeights[] = {
    {AVCOL_SPC_BT709, 0.2126, 0.0722},     {AVCOL_SPC_FCC, 0.30, 0.11},         {AVCOL_SPC_BT470BG, 0.299, 0.114},
    {AVCOL_SPC_SMPTE170M, 0.299, 0.114},   {AVCOL_SPC_SMPTE240M, 0.212, 0.087}, {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593},
    {AVCOL_SPC_BT2020_CL, 0.2627, 0.0593},
};

void setLumaWeights(const VideoFormat& format, PlaneFormat* planes) {
  const AVColorSpace guess = format.height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
  const AVColorSpace matrix = format.matrix == AVCOL_SPC_UNSPECIFIED ? guess : format.matrix;
  for (const LumaWeights& row : lumaWeights)
    if (row.matrix == matrix) {
      planes->kr = row.kr;
      planes->kb = row.kb;
    }
}

void setSiting(AVChromaLocation siting, PlaneFormat* planes) {
  const bool centreX = siting == AVCHROMA_LOC_CENTER || siting == AVCHROMA_LOC_TOP || siting == AVCHROMA_LOC_BOTTOM;
  planes->sitingX = centreX ? Siting::Centre : Siting::First;
  planes->sitingY = Siting::Centre;
  if (siting == AVCHROMA_LOC_TOPLEFT || siting == AVCHROMA_LOC_TOP) planes->sitingY = Siting::First;
  if (siting == AVCHROMA_LOC_BOTTOMLEFT || siting == AVCHROMA_LOC_BOTTOM) planes->sitingY = Siting::Second;
}

/// The old names of full range formats.
AVPixelFormat withoutRange(AVPixelFormat format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return format;
  }
}

bool hasSeparatePlanes(const AVPixFmtDescriptor& description) {
  constexpr std::uint64_t refused = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL |
                                    AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
  if (description.flags & refused) return false;
  const int depth = description.comp[0].depth, bytes = depth > 8 ? 2 : 1;
  if (depth < 8 || depth > 16 || (bytes == 2 && (description.flags & AV_PIX_FMT_FLAG_BE) != 0)) return false;
  const int colours = description.nb_components >= 3 ? 3 : 1;
  for (int c = 0; c < colours; ++c) {
    const AVComponentDescriptor& component = description.comp[c];
    if (component.plane != c || component.step != bytes || component.offset != 0 || component.shift != 0 ||
        component.depth != depth)
      return false;
  }
  return true;
}

}  // namespace

std::optional<PlaneFormat> PlaneFormatOf(const VideoFormat& format) {
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format.pixelFormat);
  if (!description || !hasSeparatePlanes(*description)) return std::nullopt;
  const bool grey = description->nb_components < 3;
  const int x = grey ? 0 : description->log2_chroma_w, y = grey ? 0 : description->log2_chroma_h;
  if (x > 1 || y > x) return std::nullopt;
  PlaneFormat planes;
  planes.width = format.width;
  planes.height = format.height;
  planes.bits = description->comp[0].depth;
  planes.grey = grey;
  planes.halfWidth = x == 1;
  planes.halfHeight = y == 1;
  planes.interlaced = format.interlaced();
  planes.fullRange = format.range == AVCOL_RANGE_JPEG;
  setLumaWeights(format, &planes);
  setSiting(format.siting, &planes);
  return planes;
}

VideoFormat VideoFormatOf(const AVFrame& frame) {
  VideoFormat format;
  format.width = frame.width;
  format.height = frame.height;
  format.pixelFormat = withoutRange(static_cast<AVPixelFormat>(frame.format));
  format.range = format.pixelFormat == frame.format ? frame.color_range : AVCOL_RANGE_JPEG;
  format.primaries = frame.color_primaries;
  format.transfer = frame.color_trc;
  format.matrix = frame.colorspace;
  format.siting = frame.chroma_location;
  format.sampleAspect = frame.sample_aspect_ratio;
  format.fieldOrder = AV_FIELD_PROGRESSIVE;
  if (frame.interlaced_frame) format.fieldOrder = frame.top_field_first ? AV_FIELD_TT : AV_FIELD_BB;
  return format;
}

AVPixelFormat EncodedPixelFormat(const VideoFormat& format) {
  const std::optional<PlaneFormat> planes = PlaneFormatOf(format);
  if (!planes) return AV_PIX_FMT_NONE;
  for (const AVPixFmtDescriptor* d = av_pix_fmt_desc_next(nullptr); d; d = av_pix_fmt_desc_next(d)) {
    VideoFormat candidate = format;
    candidate.pixelFormat = av_pix_fmt_desc_get_id(d);
    const std::optional<PlaneFormat> other = PlaneFormatOf(candidate);
    if (!other || withoutRange(candidate.pixelFormat) != candidate.pixelFormat) continue;
    if (d->nb_components != (planes->grey ? 1 : 3)) continue;
    if (other->bits == planes->bits && other->grey == planes->grey && other->halfWidth == planes->halfWidth &&
        other->halfHeight == planes->halfHeight)
      return candidate.pixelFormat;
  }
  return AV_PIX_FMT_NONE;
}

}  // namespace film
