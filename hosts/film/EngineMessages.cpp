#include "film/EngineMessages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "numerics/Log.h"

namespace film {

EngineMessages::EngineMessages() : standardError(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  std::fflush(stderr);
  const int file = open(said.path().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (file >= 0 && standardError >= 0) dup2(file, STDERR_FILENO);
  if (file >= 0) close(file);
}

bool EngineMessages::finish() {
  std::fflush(stderr);
  if (standardError < 0) return false;
  dup2(standardError, STDERR_FILENO);
  close(standardError);
  standardError = -1;
  const std::string text = said.contents();
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) Vorn::Log("%s", line.c_str());
  return !text.empty();
}

}  // namespace film
