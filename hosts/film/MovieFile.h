#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "film/ClipContents.h"
#include "film/Container.h"
#include "film/EncoderChoice.h"
#include "film/OutputFile.h"
#include "film/PacketCopier.h"

namespace film {

/// The part of a clip that the output comes from, in the time of the clip's stream.
struct MovieSpan {
  std::int64_t firstTime = 0;       ///< when the first picture is shown
  bool whole = true;                ///< times stay; else they are moved so that the first picture stands at 0
  std::optional<std::int64_t> end;  ///< when the last picture ends; nothing where what is copied goes to the file's end
};

/// The output as a file: the encoded film, what is copied from the clip beside it, and all that describes them.
///
/// The file takes its name in `finish`. One that is destroyed before leaves nothing.
class MovieFile {
 public:
  /// Opens the clip anew for what is copied from it, if `clip` has a path. Nothing is written yet.
  MovieFile(const std::string& path, const ClipContents& clip, const MovieSpan& span);

  const std::string& path() const { return file.path(); }
  const Container& container() const { return kind; }
  /// The clip's own film; null without a clip.
  const AVCodecParameters* source() const { return copier ? copier->film().codecpar : nullptr; }
  /// What the clip's container says of the shape of its pixels; 0/1 if nothing.
  AVRational pixelAspect() const;
  /// Frames by which the clip's times are late, since its file tells those of decoding only.
  int delay() const;
  /// What couldn't be taken along; after `finish` also packets that were lost.
  const std::vector<std::string>& remarks() const { return lost; }

  /// Adds the film and all that is copied. `timeBase`: of the pictures.
  void open(const ChosenEncoder& encoder, const EncoderOptions& options, AVRational timeBase);

  /// Adds a stream of sound that isn't copied from a clip. Before the header.
  AVStream& addSound(const AVCodecContext& soundEncoder);

  /// Does nothing from the second time on.
  void writeHeader();
  /// A packet of the film, with what is copied of the time before it.
  void writeFilm(AVPacket& packet, AVRational timeBase);
  void writeSound(AVPacket& packet, AVRational timeBase, const AVStream& stream);
  /// What is left to copy, and the end.
  void finish();

  /// Fails with a reason unless `result` is that of a success.
  void check(int result) const;

 private:
  void describe();
  void describeTimeCode();
  void chooseTag(const ChosenEncoder& encoder);
  void remarkOnLosses(AVRational timeBase);
  void remarkOnShift();
  CopiedSpan copiedSpan() const;

  Container kind;  // first, since it needs no trace on the disk
  OutputFile file;
  ClipContents clip;
  MovieSpan span;
  AVRational clock{1, 25};
  std::vector<std::string> lost;
  std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> output;
  std::unique_ptr<PacketCopier> copier;
  AVStream* film = nullptr;
  std::optional<double> firstDecoded;  // of the film, in the output's seconds
  bool headerWritten = false;
};

}  // namespace film
