#include "film/LibraryMessages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "numerics/Log.h"

namespace film {

LibraryMessages::LibraryMessages() {
  std::fflush(stderr);
  const int file = open(caught.path().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  before = file < 0 ? -1 : fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (before >= 0) dup2(file, STDERR_FILENO);
  if (file >= 0) close(file);
}

LibraryMessages::~LibraryMessages() { restore(); }

bool LibraryMessages::finish() {
  restore();
  const std::string text = caught.contents();
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) Vorn::Log("%s", line.c_str());
  return !text.empty();
}

void LibraryMessages::restore() {
  if (before < 0) return;
  std::fflush(stderr);
  dup2(before, STDERR_FILENO);
  close(before);
  before = -1;
}

}  // namespace film
