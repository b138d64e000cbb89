#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "film/FrameIndex.h"
#include "film/Libav.h"
#include "film/VideoFormat.h"

namespace film {

/// A picture of the clip as it was coded.
struct CodedFrame {
  Frame frame;
  int number = -1;            ///< in the clip; -1 where that isn't known
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

  /// Goes to an access point of this file: the next picture is the first that decoding from there gives. False where
  /// the container didn't lead there; only a reader that is opened anew can be used then.
  bool seek(const AccessPoint& point);

  /// The same by reading all packets before it; for a reader that was just opened.
  bool skipTo(const AccessPoint& point);

  PacketLog* log = nullptr;  ///< lent; notes all packets from the start on

  /// The earliest presentation time of a packet that the decoder refused or that wasn't whole, as far as it can be
  /// told.
  std::optional<std::int64_t> firstLost;
  bool cutShort = false;  ///< the file ended before its contents did

  /// A hash of the first and of the last packet read so far, as 16 hexadecimal digits; empty before any.
  std::string firstPacketHash() const;
  std::string lastPacketHash() const;

 private:
  using PacketTest = std::function<bool(const AVPacket&)>;

  void openDecoder(int threads);
  bool readPacket(AVPacket& target);
  bool seekByte(const AccessPoint& point);
  bool seekTime(const AccessPoint& point);
  bool findPacket(const AccessPoint& point, const PacketTest& fits, const PacketTest& behind);
  void beginAt(const AccessPoint& point);
  void feed();
  void note(const AVPacket& read);
  void doubt();
  void noteLost(std::int64_t time);
  std::int64_t timeOf(const AVFrame& frame);

  std::string clipPath;
  InputFile input;
  CodecContext decoder;
  Packet packet, firstPacket, lastPacket;
  Packet found;  // where a seek led to, for as long as it wasn't read
  int streamIndex = -1;
  int nextNumber = 0;  // of the packet that is read next
  bool packetsEnded = false, foundOne = false;
  std::optional<std::int64_t> doubtful;  // time of a packet that may not be whole
  int doubtfulNumber = 0;
  std::int64_t lastFed = 0;   // presentation time of the packet that the decoder got last
  std::int64_t nextTime = 0;  // what a frame without a time stamp gets
};

}  // namespace film
