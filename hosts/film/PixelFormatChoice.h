#pragma once

#include <optional>

#include "film/VideoFormat.h"

namespace film {

/// A pixel format of an encoder and the planes in it.
struct PixelFormatChoice {
  AVPixelFormat pixelFormat = AV_PIX_FMT_NONE;
  PlaneFormat planes;
};

/// Of the formats that `codec` takes the leanest that holds every code of `format` and `planes`: no fewer bits, no
/// coarser chroma, opacity if and only if `planes` have it. Nothing if there is none.
///
/// `evenSizes`: halved chroma needs an even size.
std::optional<PixelFormatChoice> ChoosePixelFormat(const AVCodec& codec, const VideoFormat& format,
                                                   const PlaneFormat& planes, bool evenSizes);

/// "12 bits in 4:2:0", "16 bits in RGB with opacity"
std::string DescribePlanes(const PlaneFormat& planes);

}  // namespace film
