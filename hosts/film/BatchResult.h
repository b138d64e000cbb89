#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "film/BatchClips.h"

// How the clips of a batch fare, for people and for programs.
namespace film {

struct BatchResult {
  enum State { Waiting, Running, Done, Failed, Cancelled };

  BatchClip clip;
  State state = Waiting;
  std::string pass;  ///< what a running one does: "Analysing"
  int done = 0, total = 0;
  std::shared_ptr<const nlohmann::json> summary;  ///< the object that a run writes at its end; null before
  std::string error;                              ///< the line of one that failed
  double seconds = 0;                             ///< that the run took

  /// Takes what a run writes for programs.
  void hear(const nlohmann::json& line);
  /// The texts of the warnings in its summary.
  std::vector<std::string> warnings() const;
};

/// One line for a terminal: "2 of 10 clips done; a.mp4: Analysing 40 %". `columns` wide at most.
std::string StatusText(const std::vector<BatchResult>& results, int columns);

/// A line for each clip under a head, in columns, and one that counts them.
std::string TableText(const std::vector<BatchResult>& results);

/// The same for programs, on one line.
nlohmann::ordered_json DescribeResults(const std::vector<BatchResult>& results);

}  // namespace film
