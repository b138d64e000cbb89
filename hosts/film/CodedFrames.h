#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>

#include "film/IndexedReader.h"

namespace film {

using SharedCodedFrame = std::shared_ptr<const CodedFrame>;

/// Gives any frame of a clip as it was coded, and keeps those used last, so that going about in the neighbourhood of a
/// frame decodes each neighbour once.
///
/// One caller at a time.
class CodedFrames {
 public:
  /// `memory`: bytes that the frames kept here may take, beside those that callers hold; four frames are kept in any
  /// case.
  CodedFrames(const ClipContents& clip, int threads, std::size_t memory = std::size_t{256} << 20);

  /// Frame `number`, or null as `IndexedReader::read` tells.
  SharedCodedFrame fetch(int number);

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

  IndexedReader reader;
  int frames, mostKept;
  std::list<int> uses;  // numbers of the frames kept, the one used last in front
  std::map<int, Kept> kept;
};

}  // namespace film
