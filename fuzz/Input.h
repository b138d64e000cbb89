#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// What the fuzz targets share: bytes as a file that can be opened by name, and what must hold for every input.
namespace fuzz {

/// The bytes of one input as a file in memory.
class InputFile {
 public:
  InputFile(const std::uint8_t* data, std::size_t size) : file(memfd_create("input", MFD_CLOEXEC)) {
    if (file < 0 || write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
  }
  ~InputFile() { close(file); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(file); }

 private:
  int file;
};

/// Ends the run with the input as a finding.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
