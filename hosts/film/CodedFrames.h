#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>

#include "film/IndexedReader.h"

namespace film {

using SharedCodedFrame = std::shared_ptr<const CodedFrame>;

/// Gives any frame of a clip as it was coded, and keeps those used last, so that going about in the neighbourhood of a
/// frame decodes each neighbour once.
///
/// Any thread; one waits for another's decoding.
class CodedFrames {
 public:
  /// Keeps as many frames as `memory` bytes hold, beside those that callers hold, and no fewer than four.
  CodedFrames(const ClipContents& clip, int threads, std::size_t memory);

  /// Frame `number`, or null as `IndexedReader::read` tells.
  SharedCodedFrame fetch(int number);

  /// From now on keeps as many as this memory holds.
  void setMemory(std::size_t bytes);

  /// From now on keeps all neighbours that are asked for around a frame, as far as 1.5 GiB hold them: with fewer kept
  /// than are asked for, all would be decoded anew for each frame.
  void keepNeighbourhood();

  /// Frames that are kept at most.
  int capacity() const { return mostKept; }

  /// As `IndexedReader` tells.
  int jumps() const { return reader.jumps(); }

 private:
  struct Kept {
    SharedCodedFrame frame;
    std::list<int>::iterator use;
  };

  SharedCodedFrame find(int number);
  SharedCodedFrame read(int number);

  std::mutex lock;
  IndexedReader reader;
  int frames, frameBytes;
  int mostKept = 0;
  std::list<int> uses;  // numbers of the frames kept, the one used last in front
  std::map<int, Kept> kept;
};

}  // namespace film
