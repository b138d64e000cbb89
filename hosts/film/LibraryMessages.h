#pragma once

#include <string>

#include "film/MemoryFile.h"

namespace film {

/// Keeps what the library prints of a file's faults off the standard error stream while it lives: the program tells of
/// them in its own words. For one thread at a time, which is the only one that prints.
class LibraryMessages {
 public:
  LibraryMessages();
  ~LibraryMessages();
  LibraryMessages(const LibraryMessages&) = delete;
  LibraryMessages& operator=(const LibraryMessages&) = delete;

  /// Lets messages through again and sends those that came to the platform's log. Whether there were any.
  bool finish();

 private:
  void restore();

  MemoryFile caught;
  int before = -1;  // the true stream, while it is replaced
};

}  // namespace film
