#pragma once

#include <string>

namespace film {

/// A file that lies in memory, for code that writes to named files only.
class MemoryFile {
 public:
  /// Fails where the system has no such files.
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// The name to open it by, as long as this object lives.
  std::string path() const;

  std::string contents() const;

 private:
  int file;
};

}  // namespace film
