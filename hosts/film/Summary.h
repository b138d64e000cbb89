#pragma once

#include <cstdio>
#include <string>

#include "film/Failure.h"
#include "film/Session.h"

// What a command says when it ends.
namespace film {

/// Where progress of a style goes: programs read the standard output stream.
std::FILE* ProgressStream(ProgressStyle style);

/// The one line at the end: frames, events by kind, zoom, frames a second. `what` names what was made. The effect has
/// shown a frame.
void PrintSummary(Session& session, const std::string& what, int frames, double rate);

/// Tells that the user's cancelling was heeded, and what is left.
ExitStatus Cancelled(const std::string& kept);

/// What stays of a cancelled analysis.
std::string KeptAnalysis(const Session& session);

}  // namespace film
