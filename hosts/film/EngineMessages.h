#pragma once

#include "film/MemoryFile.h"

namespace film {

/// While one lives, what is printed on the standard error stream is kept from it; then it goes to the log, line by
/// line. For calls into the engine that print messages for developers there: the program tells of faults in its own
/// words. The caller prints nothing meanwhile, from any thread.
class EngineMessages {
 public:
  EngineMessages();
  ~EngineMessages() { finish(); }
  EngineMessages(const EngineMessages&) = delete;
  EngineMessages& operator=(const EngineMessages&) = delete;

  /// Lets messages through again. Whether there were any; a second call finds none.
  bool finish();

 private:
  MemoryFile said;
  int standardError;  // a copy of it; -1 when it is back
};

}  // namespace film
