#include "film/Streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "film/OutputFile.h"

namespace film {

void OpenMissingStreams() {
  int file = open("/dev/null", O_RDWR);
  while (file >= 0 && file <= STDERR_FILENO) file = open("/dev/null", O_RDWR);
  if (file >= 0) close(file);
}

void CheckPrinted() {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
  errno = EIO;
  std::fputc('\n', stdout);  // fails as what came before did, and so tells why
  std::fflush(stdout);
  if (errno != EPIPE) FailToWrite("standard output", errno);
}

}  // namespace film
