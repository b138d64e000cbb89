#pragma once

#include <optional>

#include "film/Libav.h"
#include "film/PlaneFormat.h"

namespace film {

/// What a stream says of its pictures, in FFmpeg's terms; it goes to the output as it came.
struct VideoFormat {
  int width = 0, height = 0;
  AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED;
  AVRational sampleAspect{0, 1};
  /// `AV_FIELD_TT` or `AV_FIELD_BB` where a frame holds two fields, the first being the top or the bottom one; anything
  /// else for whole frames.
  AVFieldOrder fieldOrder = AV_FIELD_UNKNOWN;

  std::optional<AVMasteringDisplayMetadata> mastering;  ///< the screen that the clip was graded on
  std::optional<AVContentLightMetadata> light;          ///< its brightest pixel and brightest frame

  bool interlaced() const { return fieldOrder == AV_FIELD_TT || fieldOrder == AV_FIELD_BB; }
};

/// The planes that `FramePlanes` makes of `format`, or nothing when this host doesn't work on that kind of picture:
/// only whole-number codes of 8 to 16 bits in 4:2:0, 4:2:2, 4:4:4, grey, or red, green and blue. What the stream leaves
/// open is taken as players take it: limited range, BT.709 from 720 rows on and BT.601 below, chroma in line with the
/// left luma column.
std::optional<PlaneFormat> PlaneFormatOf(const VideoFormat& format);

/// As above for the pictures that a decoder handed out.
VideoFormat VideoFormatOf(const AVFrame& frame);

/// The same pixel format without a range in its name.
AVPixelFormat WithoutRange(AVPixelFormat format);

}  // namespace film
