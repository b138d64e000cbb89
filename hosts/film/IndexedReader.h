#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "film/ClipContents.h"
#include "film/ClipReader.h"

namespace film {

/// Reads any frame of a clip by its number, bit-equal to the same frame of a run from the clip's start.
///
/// In order it costs what decoding costs. Else decoding begins at the last access point that can serve. The landing is
/// checked by the packet that is read there, and each frame read after it by its samples. Where a check fails an
/// earlier point is tried, in growing steps, and the clip's start in the end.
///
/// One caller at a time. Memory: what the decoder needs.
class IndexedReader {
 public:
  /// `threads`: for decoding, 0 for as many as there are processors. The file is opened when it is first needed.
  IndexedReader(const ClipContents& clip, int threads);

  /// Frame `number` with the time and the duration of the index; false where the clip has none such or no longer holds
  /// it. Fails where the file can't be opened or what comes out isn't of the clip's format.
  bool read(int number, CodedFrame* coded);

  /// The first frame that will be decoded when `number` is asked for next.
  int startFor(int number) const;

  /// How often decoding went to an access point, and how often to the clip's start after it had begun there.
  int jumps() const { return jumpCount; }
  int restarts() const { return restartCount; }

 private:
  const std::vector<IndexedFrame>& frames() const { return index->frames; }
  void findServedFrames();
  bool goesOnTo(int number) const;
  bool decodeTo(int number, CodedFrame* coded);
  int numberOf(const CodedFrame& coded) const;
  bool jumpTo(int number, CodedFrame* coded);
  int pointFor(int number, int before) const;
  bool beginAt(const AccessPoint& point);
  void beginAtStart();

  std::string path;
  VideoFormat format;
  std::shared_ptr<const FrameIndex> index;
  int threads;
  std::vector<std::pair<int, int>> byPacket;  // packet and number of each frame, sorted
  std::vector<int> serves;                    // for each access point the first frame that may be had from it
  std::unique_ptr<ClipReader> reader;
  bool fromStart = false;  // of the run that `reader` is in
  int upcoming = -1;       // the frame that it should give next; -1 where only the frame will tell
  int jumpCount = 0, restartCount = 0;
};

}  // namespace film
