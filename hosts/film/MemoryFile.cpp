#include "film/MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "film/Failure.h"

namespace film {

MemoryFile::MemoryFile() : file(memfd_create("orvane", MFD_CLOEXEC)) {
  if (file < 0) throw Failure(std::string("no memory for a file (") + std::strerror(errno) + "); close other programs");
}

MemoryFile::~MemoryFile() { close(file); }

std::string MemoryFile::path() const { return "/proc/self/fd/" + std::to_string(file); }

std::string MemoryFile::contents() const {
  std::ifstream in(path(), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace film
