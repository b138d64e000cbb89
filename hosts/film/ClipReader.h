#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "film/FrameIndex.h"
#include "film/Libav.h"
#include "film/VideoFormat.h"

namespace film {

/// A picture of the clip as it was coded.
struct CodedFrame {
  Frame frame;
  std::int64_t time = 0;      ///< presentation time in the stream's time base
  std::int64_t duration = 0;  ///< the same; 0 where unknown
  int packet = -1;            ///< in which it begins, counted in the order of the file; -1 where unknown
  bool damaged = false;       ///< the decoder had to guess parts of it
};

/// Opens a clip and hands out the pictures of its best video stream in presentation order.
///
/// Trouble with the file is told by a `Failure`; trouble with a picture comes out with the pictures.
class ClipReader {
 public:
  /// `threads`: for decoding, 0 for as many as there are processors.
  explicit ClipReader(const std::string& path, int threads = 0);

  const std::string& path() const { return clipPath; }
  AVFormatContext& file() const { return *input; }
  AVStream& stream() const { return *input->streams[streamIndex]; }
  AVRational frameRate() const;

  /// The next packet of the video stream, in coding order, as it lies in the file; false at the end.
  bool nextPacket(AVPacket& packet);

  /// The next picture; false at the end. Damage that left no picture behind shows in `firstLost`.
  bool next(CodedFrame* coded);

  PacketLog* log = nullptr;  ///< lent; notes all packets from the start on

  /// The earliest presentation time of a packet that the decoder refused or that wasn't whole, as far as it can be
  /// told.
  std::optional<std::int64_t> firstLost;
  bool cutShort = false;  ///< the file ended before its contents did

  /// A hash of the first and of the last packet read so far, as 16 hexadecimal digits; empty before any.
  std::string firstPacketHash() const;
  std::string lastPacketHash() const;

 private:
  void openDecoder(int threads);
  void feed();
  void note(const AVPacket& read);
  void noteLost();
  std::int64_t timeOf(const AVFrame& frame);

  std::string clipPath;
  InputFile input;
  CodecContext decoder;
  Packet packet, firstPacket, lastPacket;
  int streamIndex = -1;
  int nextNumber = 0;  // of the packet that is read next
  bool packetsEnded = false;
  std::int64_t lastFed = 0;   // presentation time of the packet that the decoder got last
  std::int64_t nextTime = 0;  // what a frame without a time stamp gets
};

}  // namespace film
