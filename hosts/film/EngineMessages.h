#pragma once

#include "film/MemoryFile.h"

namespace film {

/// While one lives, what is printed on the standard error stream is kept from it; then it goes to the log, line by
/// line. For calls into the engine that print messages for developers there. The caller prints nothing meanwhile, from
/// any thread.
class EngineMessages {
 public:
  EngineMessages();
  ~EngineMessages();
  EngineMessages(const EngineMessages&) = delete;
  EngineMessages& operator=(const EngineMessages&) = delete;

 private:
  MemoryFile said;
  int standardError;  // a copy of it
};

}  // namespace film
