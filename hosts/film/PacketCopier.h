#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "film/ClipDescription.h"
#include "film/Container.h"
#include "film/Libav.h"

namespace film {

/// Carries a clip's streams other than the film from the clip to the output, packet by packet, as they are: sound,
/// subtitles, data, attached files, cover pictures, further films.
class PacketCopier {
 public:
  /// Opens the clip anew. `film`: the index of the stream that isn't copied.
  PacketCopier(const std::string& clipPath, int film);

  /// The clip as opened here, and its film.
  const AVFormatContext& source() const { return *input; }
  const AVStream& film() const { return *input->streams[filmIndex]; }

  /// Whether the film's time code lies in a stream that QuickTime files get from the film's metadata.
  const AVStream* timeCodeTrack() const { return timeCode; }

  /// Adds to `output`, which holds nothing yet, a stream for each that `container` takes, in the clip's order. The film
  /// gets its stream too, which is returned; its parameters are `filmParameters`.
  AVStream& addStreams(const Container& container, const AVCodecParameters& filmParameters, AVRational timeBase,
                       AVFormatContext& output);

  /// What isn't copied and why, in words.
  const std::vector<std::string>& leftOut() const { return refused; }

  /// How many packets were left out because they are too damaged to be put into the output.
  int damagedPackets() const { return damaged; }

  /// Only packets that begin within the span are copied; subtitles end with it.
  void setSpan(const CopiedSpan& copiedSpan) { span = copiedSpan; }

  /// For Matroska, once the span is set and before the header: whether what lies before the output's 0 is sound only,
  /// which players pass over there. Such sound needs no times of its own from 0 on.
  bool onlySoundBeforeZero();

  /// The time at which the first of the packets written so far is decoded, in the output's seconds, or is shown where
  /// `shown`; nothing before any.
  std::optional<double> earliest(bool shown) const { return shown ? earliestShown : earliestDecoded; }

  /// Writes all packets up to `seconds` of the output's time; they go between the pictures that way.
  /// An FFmpeg error code, or 0.
  int copyUntil(double seconds);

 private:
  /// A stream of the output and what its packets need.
  struct Target {
    int index = 0;
    bool cover = false;
    double delay = 0;  ///< seconds that readers of the output take off its packets' times
  };

  bool isCopied(const AVStream& stream) const;
  bool keepsIds(const Container& container) const;
  bool addStream(const AVStream& stream, const Container& container, const AVCodecParameters& filmParameters,
                 AVRational timeBase);
  int readPacket();
  std::map<int, double> firstTimes();
  void noteTime(const AVPacket& written, AVRational timeBase);
  int writePacket();

  AVFormatContext* output = nullptr;
  InputFile input;
  int filmIndex;
  const AVStream* timeCode = nullptr;
  Packet packet;
  std::deque<Packet> readAhead;  // in the order of the file
  std::optional<double> earliestDecoded, earliestShown;
  std::map<int, Target> targets;  // by the clip's streams
  std::vector<std::string> refused;
  CopiedSpan span;
  int damaged = 0;
  bool packetInHand = false, ended = false;
};

}  // namespace film
