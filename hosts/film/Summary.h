#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "film/Failure.h"
#include "film/Session.h"
#include "film/Warnings.h"

// What a command says when it ends.
namespace film {

/// Where progress of a style goes: programs read the standard output stream.
std::FILE* ProgressStream(ProgressStyle style);

/// What a command made.
struct Made {
  std::string what;  ///< its name
  int frames = 0;
  double rate = 0;                      ///< frames a second; 0 is left out for people
  std::vector<Warning> warnings = {};   ///< for programs, of what people were told before
  std::vector<std::string> notes = {};  ///< likewise: what the file couldn't take along
};

/// The one line at the end: frames, events by kind, zoom, frames a second. The effect has shown a frame.
void PrintSummary(Session& session, const Made& made);

/// What the user should know after an analysis; told at once to people, and handed on for the summary to programs.
/// Shows the first frame.
std::vector<Warning> TellWarnings(Session& session);

/// The same of what the settings do, where the analysis is one of before.
std::vector<Warning> TellPlanWarnings(Session& session);

/// Tells that the user's cancelling was heeded, and what is left.
ExitStatus Cancelled(const std::string& kept);

/// What stays of a cancelled analysis.
std::string KeptAnalysis(const Session& session);

}  // namespace film
