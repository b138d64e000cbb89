#pragma once

#include <string>
#include <vector>

#include "film/EncoderOptions.h"
#include "film/Libav.h"
#include "film/PlaneFormat.h"
#include "film/VideoFormat.h"

namespace film {

/// What an encoder is set up for.
struct EncoderTask {
  VideoFormat format;                         ///< of the output
  PlaneFormat planes;                         ///< what the encoder is given
  const AVCodecParameters* source = nullptr;  ///< the clip's own stream; null if there is none
  EncoderOptions options;
};

/// One of FFmpeg's encoders and how it is used here.
struct EncoderKind {
  enum class Lossless { Never, OnDemand, Always };

  const char* codec;  ///< what `--codec` calls it; several encoders may share it
  const char* label;  ///< for people
  AVCodecID id;
  const char* encoder;  ///< FFmpeg's name
  double worstCrf;      ///< the end of the scale of `--crf`; 0 where there is no such scale
  const char* speeds;   ///< the encoder's own words for `--preset` beside the common ones: "placebo", "0..8"; null
                        ///< where it has no speeds at all
  Lossless lossless;
  bool fields;        ///< tells that a frame holds two fields
  bool evenSizes;     ///< chroma that is halved needs an even size
  bool countsFrames;  ///< takes a frame rate and nothing else for time
  /// Sets `context` up for the task. Its `bit_rate` is one of `bitRates`.
  void (*configure)(const EncoderTask& task, AVCodecContext& context);
  /// Bit rates to try one after the other, 0 for the encoder's own choice.
  std::vector<std::int64_t> (*bitRates)(const EncoderTask& task);
};

/// All of them; of those for one codec the preferred first, and the codecs in the order in which they stand in for one
/// that can't be used.
const std::vector<EncoderKind>& EncoderKinds();

/// The names for `--codec`.
std::vector<std::string> CodecNames();

/// The common words for speed, the quickest first.
const std::vector<std::string>& SpeedWords();

/// Whether `--preset word` can be used with an encoder.
bool HasSpeed(const EncoderKind& kind, const std::string& word);

}  // namespace film
