#pragma once

#include <string>
#include <vector>

#include "film/EncoderChoice.h"
#include "film/PixelFormatChoice.h"

namespace film {

/// An encoder that fits, but for its settings.
struct Candidate {
  const EncoderKind* kind = nullptr;
  const AVCodec* codec = nullptr;
  PixelFormatChoice pictures;
  VideoFormat format;
  std::vector<std::string> remarks;
};

/// Opens it, with the first of its bit rates that it takes and that the file takes it with. Null if it refuses, with
/// the library's code in `error`. Fails where an option of the encoder's own is wrong.
CodecContext OpenEncoder(const EncoderWish& wish, const Candidate& candidate, int* error);

}  // namespace film
