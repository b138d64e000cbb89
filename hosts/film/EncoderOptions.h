#pragma once

#include <optional>
#include <string>
#include <vector>

namespace film {

/// How the output is to be encoded. What is left open follows the clip.
struct EncoderOptions {
  std::string codec;                ///< a name of `CodecNames`; empty for the clip's own
  std::optional<double> crf;        ///< quality on the encoder's own scale, lower is better
  std::string preset;               ///< speed, "ultrafast" to "veryslow", or a word of the encoder's own
  std::vector<std::string> extras;  ///< the encoder's own options as "name=value"; they come last and win
  bool lossless = false;            ///< every code comes back
  bool alpha = false;               ///< with an alpha channel: what the picture doesn't cover stays transparent
  int threads = 0;                  ///< 0 for as many as there are processors
  bool exact = false;               ///< no trace of the encoder's version or the time of day in the file
};

}  // namespace film
