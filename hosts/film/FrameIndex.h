#pragma once

#include <cstdint>
#include <vector>

#include "film/ByteCheck.h"
#include "film/Libav.h"

namespace film {

/// A frame of a clip as decoding from the clip's start hands it out.
struct IndexedFrame {
  std::int64_t time = 0;  ///< presentation time in the stream's time base
  std::int64_t duration =
      0;                    ///< until the next frame is shown, for the last one as long as its packet says; 0: unknown
  int packet = -1;          ///< in which its picture begins, counted in the order of the file; -1: unknown
  std::uint32_t check = 0;  ///< of its samples

  bool operator==(const IndexedFrame&) const = default;
};

/// A packet that the container calls a place where decoding may begin. Whether it is one for a certain frame shows by
/// that frame's check.
struct AccessPoint {
  int packet = 0;              ///< number in the order of the file
  std::int64_t time = 0;       ///< of decoding, else of presentation; AV_NOPTS_VALUE where it has neither
  std::int64_t position = -1;  ///< byte in the file where it begins, or where a packet before it does; -1: unknown
  std::uint32_t check = 0;     ///< of its bytes

  bool operator==(const AccessPoint&) const = default;
};

/// Why a clip ends where it does.
enum class ClipEnd { Whole, CutShort, Change };

/// What was found by decoding a clip from end to end. Valid for the file whose video packets have the same check.
struct FrameIndex {
  std::vector<IndexedFrame> frames;
  std::vector<AccessPoint> points;
  int packets = 0;                 ///< of the video stream, to the end of the file
  std::uint64_t packetsCheck = 0;  ///< of all of them
  ClipEnd end = ClipEnd::Whole;

  bool operator==(const FrameIndex&) const = default;
};

/// Notes the packets of a video stream in the order of the file.
class PacketLog {
 public:
  void add(const AVPacket& packet);

  /// Hands what was noted to the index.
  void finish(FrameIndex* index) const;

  int packets() const { return count; }
  std::uint64_t check() const { return all.value(); }

 private:
  int count = 0;
  std::int64_t position = -1;  // the last one that was told
  ByteCheck all;
  std::vector<AccessPoint> points;
};

/// The check of a packet's bytes, without zeros at the ends: with some containers those may go to either neighbour.
std::uint32_t CheckOf(const AVPacket& packet);

/// The check of a picture's samples, without what stands between the rows.
std::uint32_t CheckOf(const AVFrame& frame);

}  // namespace film
