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

/// The one line at the end: frames, events by kind, zoom, frames a second. A `rate` of 0 is left out for
/// people. `what` names what was made. The effect has
/// shown a frame. `warnings`: for programs, what an analysis in this run found.
void PrintSummary(Session& session, const std::string& what, int frames, double rate,
                  const std::vector<Warning>& warnings);

/// What the user should know after an analysis; told at once to people, and handed on for the summary to programs.
/// Shows the first frame.
std::vector<Warning> TellWarnings(Session& session);

/// Tells that the user's cancelling was heeded, and what is left.
ExitStatus Cancelled(const std::string& kept);

/// What stays of a cancelled analysis.
std::string KeptAnalysis(const Session& session);

}  // namespace film
