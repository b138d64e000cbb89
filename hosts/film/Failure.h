#pragma once

#include <stdexcept>
#include <string>

namespace film {

/// How the program ends.
enum ExitStatus : int { kDone = 0, kFailed = 1, kUsage = 2, kCancelled = 130 };

/// With question marks for control characters: names of files may hold them, and would break the line or steer the
/// terminal.
inline std::string OnOneLine(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  return text;
}

/// What stops a command. The text is one line for the user that names the file and what to do about it.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& line, ExitStatus exitStatus = kFailed)
      : std::runtime_error(OnOneLine(line)), status(exitStatus) {}

  ExitStatus status;
};

}  // namespace film
