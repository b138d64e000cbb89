#pragma once

#include <string>
#include <vector>

#include "film/Failure.h"
#include "film/Progress.h"

namespace film {

/// Several clips for one command.
struct BatchOptions {
  std::string command;                 ///< "stabilise"
  std::vector<std::string> clips;      ///< files, and folders of files
  std::string outFolder;               ///< empty for a command that writes no films
  std::vector<std::string> arguments;  ///< handed on to the run of each clip
  int jobs = 1;                        ///< clips at a time
  int threads = 0;                     ///< for all of them together; 0 for as many as there are processors
  ProgressStyle progress = ProgressStyle::None;
  std::string program = "/proc/self/exe";
};

/// Runs the command on each clip, in a process of its own, and prints a table of what came of them. What stops one
/// doesn't stop the others. The status for failed if any failed; for cancelled if the user ended it, which keeps what
/// cancelling the clips that run then keeps.
ExitStatus RunBatch(const BatchOptions& options);

}  // namespace film
