#pragma once

#include <functional>
#include <string>

#include "film/ClipReader.h"
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
  std::string warning;         ///< what the user should know though the clip works; empty for nothing
};

/// Called now and then with the frames counted so far; false stops the scan with the status for cancelled.
using ScanProgress = std::function<bool(int frames)>;

/// Reads the clip once from end to end and counts its frames by decoding them.
///
/// `knownFrames`: a count from an earlier time, or -1. Where the file holds just as many packets it is believed and
/// nothing but the first frame is decoded.
///
/// A clip whose end is missing is counted up to the last whole frame, with a warning. Fails on a clip without frames,
/// with a damaged frame before the end, with a change of size or format, or of a pixel format that this host can't
/// work on.
ClipContents ScanClip(const std::string& path, int knownFrames, int threads, const ScanProgress& progress);

/// Fails if the frame isn't of the format that the clip began with; `number` is for the message.
void CheckSameFormat(const std::string& path, const VideoFormat& first, const AVFrame& frame, int number);

}  // namespace film
