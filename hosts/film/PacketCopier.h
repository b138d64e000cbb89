#pragma once

#include <map>
#include <string>
#include <vector>

#include "film/Libav.h"

namespace film {

/// Carries a clip's streams other than the video from the clip to the output, packet by packet, as they are.
class PacketCopier {
 public:
  /// Opens the clip anew and adds to `output` a stream for each that its container takes. `videoStream`: the index of
  /// the one that isn't copied.
  PacketCopier(const std::string& clipPath, int videoStream, AVFormatContext& output);

  /// What isn't copied and why, in words.
  const std::vector<std::string>& leftOut() const { return refused; }

  /// How many packets were left out because they are too damaged to be put into the output.
  int damagedPackets() const { return damaged; }

  /// The clip as opened here.
  const AVFormatContext& source() const { return *input; }

  /// Only packets that begin at `first` seconds or later and before `last` are copied, `first` becoming 0.
  void setSpan(double first, double last);

  /// Writes all packets up to `seconds` of the output's time; they go between the pictures that way.
  /// An FFmpeg error code, or 0.
  int copyUntil(double seconds);

 private:
  void addStream(const AVStream& source, AVFormatContext& output);
  int writePacket();

  AVFormatContext* output;
  InputFile input;
  Packet packet;
  std::map<int, int> targets;  // output stream by input stream
  std::vector<std::string> refused;
  double spanFirst, spanLast, shift = 0.0;
  int damaged = 0;
  bool packetInHand = false, ended = false;
};

/// Copies what a stream carries beside its packets: rotation and other side data, language, title, disposition.
void CopyStreamDescription(const AVStream& source, AVStream& target);

}  // namespace film
