#pragma once

#include <stdexcept>
#include <string>

namespace film {

/// How the program ends.
enum ExitStatus : int { kDone = 0, kFailed = 1, kUsage = 2, kCancelled = 130 };

/// What stops a command. The text is one line for the user that names the file and what to do about it.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& line, ExitStatus exitStatus = kFailed)
      : std::runtime_error(line), status(exitStatus) {}

  ExitStatus status;
};

}  // namespace film
