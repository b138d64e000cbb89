#pragma once

#include <functional>
#include <memory>
#include <string>

#include "film/ClipReader.h"
#include "film/FrameIndex.h"
#include "film/PlaneFormat.h"
#include "film/VideoFormat.h"

namespace film {

/// What tells a clip from every other.
struct ClipIdentity {
  int width = 0, height = 0;  ///< pixels as coded
  int frames = 0;
  int timeBaseNumerator = 0, timeBaseDenominator = 1;
  std::string firstPacket, lastPacket;  ///< hashes, 16 hexadecimal digits
};

/// A clip as found by reading it, never as its container claims.
struct ClipContents {
  std::string path;
  ClipIdentity identity;
  VideoFormat format;
  PlaneFormat planes;
  AVRational frameRate{25, 1};
  std::int64_t firstTime = 0;  ///< presentation time of frame 0 in the stream's time base
  /// The time and the length of each frame, and how to get at it; never null.
  std::shared_ptr<const FrameIndex> index = std::make_shared<FrameIndex>();
  std::string warning;  ///< what the user should know though the clip works; empty for nothing
};

/// Called now and then with the frames counted so far; false stops the scan with the status for cancelled.
using ScanProgress = std::function<bool(int frames)>;

struct ScanOptions {
  int threads = 0;  ///< for decoding; 0 for as many as there are processors
  /// What an earlier scan found, or null. It is believed when the packets bear it out; then nothing is decoded but the
  /// first frame, and the contents refer to the same index.
  std::shared_ptr<const FrameIndex> known = nullptr;
  bool upToChange = false;  ///< a clip whose size or pixel format changes ends there, with a warning
  ScanProgress progress = nullptr;
};

/// Reads the clip once from end to end and counts its frames by decoding them.
///
/// A clip whose end is missing is counted up to the last whole frame, with a warning. Fails on a clip without frames,
/// with a damaged frame before the end, with a change of size or format, or of a pixel format that this host can't
/// work on.
ClipContents ScanClip(const std::string& path, const ScanOptions& options = {});

/// Fails if the frame isn't of the format that the clip began with; `number` is for the message.
void CheckSameFormat(const std::string& path, const VideoFormat& first, const AVFrame& frame, int number);

}  // namespace film
