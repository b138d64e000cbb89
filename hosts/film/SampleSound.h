#pragma once

#include "film/MovieWriter.h"

namespace film {

/// Plays a slow tune for `seconds` into the movie, as AAC. Before the movie's first picture.
class SampleSound {
 public:
  explicit SampleSound(MovieWriter& movie);
  void write(double seconds);

 private:
  void encode(const AVFrame* frame);

  MovieWriter& movie;
  CodecContext encoder;
  AVStream* stream = nullptr;
};

}  // namespace film
