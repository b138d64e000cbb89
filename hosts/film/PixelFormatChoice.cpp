#include "film/PixelFormatChoice.h"

#include <limits>
#include <vector>

namespace film {
namespace {

/// The formats that an encoder takes; one without a list takes the clip's own.
std::vector<AVPixelFormat> takenBy(const AVCodec& codec, AVPixelFormat own) {
  std::vector<AVPixelFormat> taken;
  for (const AVPixelFormat* each = codec.pix_fmts; each && *each != AV_PIX_FMT_NONE; ++each) taken.push_back(*each);
  if (!codec.pix_fmts) taken.push_back(own);
  return taken;
}

bool holds(const PlaneFormat& offered, const PlaneFormat& wanted, bool evenSizes) {
  if (offered.rgb != wanted.rgb || offered.alpha != wanted.alpha || offered.bits < wanted.bits) return false;
  if (offered.grey && !wanted.grey) return false;
  const bool chroma = !wanted.grey;
  if (chroma && ((offered.halfWidth && !wanted.halfWidth) || (offered.halfHeight && !wanted.halfHeight))) return false;
  const bool odd = (offered.halfWidth && wanted.width % 2 != 0) || (offered.halfHeight && wanted.height % 2 != 0);
  return !(evenSizes && odd);
}

/// How much more than what is wanted is offered.
int excess(const PlaneFormat& offered, const PlaneFormat& wanted) {
  int more = 16 * (offered.bits - wanted.bits);
  more += 4 * (wanted.halfWidth && !offered.halfWidth) + 4 * (wanted.halfHeight && !offered.halfHeight);
  if (wanted.grey && !offered.grey) more += 8 + 2 * !offered.halfWidth + 2 * !offered.halfHeight;
  return more;
}

}  // namespace

std::optional<PixelFormatChoice> ChoosePixelFormat(const AVCodec& codec, const VideoFormat& format,
                                                   const PlaneFormat& planes, bool evenSizes) {
  std::optional<PixelFormatChoice> best;
  int least = std::numeric_limits<int>::max();
  for (const AVPixelFormat each : takenBy(codec, format.pixelFormat)) {
    VideoFormat offered = format;
    offered.pixelFormat = each;
    const std::optional<PlaneFormat> held = PlaneFormatOf(offered);
    // A palette has too few colours, and the old names for full range only serve clips that have it.
    if (!held || (av_pix_fmt_desc_get(each)->flags & AV_PIX_FMT_FLAG_PAL) != 0) continue;
    const bool namesFullRange = WithoutRange(each) != each;
    if (namesFullRange && !planes.fullRange) continue;
    const int more = 2 * excess(*held, planes);
    if (!holds(*held, planes, evenSizes) || more >= least) continue;
    least = more;
    best = PixelFormatChoice{each, *held};
  }
  return best;
}

std::string DescribePlanes(const PlaneFormat& planes) {
  const char* kind = planes.rgb          ? "RGB"
                     : planes.grey       ? "grey"
                     : planes.halfHeight ? "4:2:0"
                     : planes.halfWidth  ? "4:2:2"
                                         : "4:4:4";
  return std::to_string(planes.bits) + " bits in " + kind + (planes.alpha ? " with opacity" : "");
}

}  // namespace film
