#pragma once

#include <string>
#include <vector>

#include "film/Container.h"
#include "film/EncoderTable.h"

namespace film {

/// What the output is to be encoded from and into.
struct EncoderWish {
  std::string out;  ///< the file's name, for messages
  const Container* container = nullptr;
  VideoFormat format;
  PlaneFormat planes;
  AVRational frameRate{25, 1}, timeBase{1, 25};
  const AVCodecParameters* source = nullptr;  ///< the clip's own stream; null if there is none
  int delay = 0;  ///< frames by which the clip's times are late, being those of decoding; as late an output keeps them
  EncoderOptions options;
};

/// An encoder that is open, and what it is given.
struct ChosenEncoder {
  const EncoderKind* kind = nullptr;
  CodecContext context;
  PlaneFormat planes;
  std::vector<std::string> remarks;  ///< where the output can't be like the clip
};

/// The encoder that was asked for, else the clip's own, else the first that keeps everything: one that the container
/// holds and that takes the pictures' depth, chroma and opacity. Fails, naming what would do, if there is none, or if
/// it doesn't take the options.
ChosenEncoder ChooseEncoder(const EncoderWish& wish);

}  // namespace film
