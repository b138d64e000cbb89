#pragma once

#include <string>
#include <vector>

#include "film/Libav.h"

namespace film {

/// The kind of file that the output is to be.
class Container {
 public:
  /// The kind that goes by the name's ending. Fails when there is none that holds films.
  explicit Container(const std::string& path);

  /// Whether there is a kind of file for films that goes by the name's ending.
  static bool IsKnown(const std::string& path);

  const AVOutputFormat& format() const { return *muxer; }
  /// The name's ending, such as ".mp4".
  const std::string& ending() const { return suffix; }
  /// MOV, MP4 and their kin.
  bool isQuickTime() const;
  bool isMatroska() const;

  /// Whether such files hold that codec as others understand it.
  bool holds(AVCodecID codec) const;
  /// Whether such files hold that codec's opacity where they hold the codec: VP9's is a picture of its own, which only
  /// Matroska has a place for.
  bool holdsOpacityOf(AVCodecID codec) const;
  /// Whether such files tell when a picture is shown: AVI counts them in the order in which they are decoded.
  bool tellsTimes() const;

  /// The time base to ask for where the clip's is `timeBase`: MXF counts frames.
  AVRational timeBaseFor(AVRational timeBase, AVRational frameRate) const;

  /// Whether a header can be written for a film of `video` with a stream of `other` beside it, if there is one. Nothing
  /// is written anywhere.
  bool takes(const AVCodecParameters& video, AVRational timeBase, AVRational frameRate, const AVStream* other) const;

  /// The endings of files that hold that codec, the usual ones first.
  static std::vector<std::string> EndingsFor(AVCodecID codec);

 private:
  const AVOutputFormat* muxer;
  std::string suffix;
};

/// "a", "a or b", "a, b or c"
std::string AnyOf(const std::vector<std::string>& names);

}  // namespace film
