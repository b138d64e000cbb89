#include "film/VideoFormat.h"

#include "film/FramePlanes.h"

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

template <class Record>
std::optional<Record> sideDataOf(const AVFrame& frame, AVFrameSideDataType type) {
  const AVFrameSideData* data = av_frame_get_side_data(&frame, type);
  return data ? std::optional<Record>(*reinterpret_cast<const Record*>(data->data)) : std::nullopt;
}

}  // namespace

std::optional<PlaneFormat> PlaneFormatOf(const VideoFormat& format) {
  if (!FramePlanes::Supports(format.pixelFormat)) return std::nullopt;
  const AVPixFmtDescriptor& description = *av_pix_fmt_desc_get(format.pixelFormat);
  const bool palette = (description.flags & AV_PIX_FMT_FLAG_PAL) != 0;
  PlaneFormat planes;
  planes.rgb = palette || (description.flags & AV_PIX_FMT_FLAG_RGB) != 0;
  planes.alpha = !palette && (description.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  planes.grey = !planes.rgb && description.nb_components < 3;
  const bool coarse = !planes.grey && !planes.rgb;
  const int x = coarse ? description.log2_chroma_w : 0, y = coarse ? description.log2_chroma_h : 0;
  if (x > 1 || y > x) return std::nullopt;
  planes.width = format.width;
  planes.height = format.height;
  planes.bits = description.comp[0].depth;
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
  format.pixelFormat = WithoutRange(static_cast<AVPixelFormat>(frame.format));
  format.range = format.pixelFormat == frame.format ? frame.color_range : AVCOL_RANGE_JPEG;
  format.primaries = frame.color_primaries;
  format.transfer = frame.color_trc;
  format.matrix = frame.colorspace;
  format.siting = frame.chroma_location;
  format.sampleAspect = frame.sample_aspect_ratio;
  format.fieldOrder = AV_FIELD_PROGRESSIVE;
  if (frame.interlaced_frame) format.fieldOrder = frame.top_field_first ? AV_FIELD_TT : AV_FIELD_BB;
  format.mastering = sideDataOf<AVMasteringDisplayMetadata>(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
  format.light = sideDataOf<AVContentLightMetadata>(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
  return format;
}

AVPixelFormat WithoutRange(AVPixelFormat format) {
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

}  // namespace film
