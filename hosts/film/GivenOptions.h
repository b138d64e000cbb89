#pragma once

#include "film/Arguments.h"

// What the options that were given mean together.
namespace film {

/// Tells one clip, which this run works on, from several, which runs of their own do. Fails with the status for wrong
/// usage where the output that goes with them is missing, or an option can't be shared by several.
void TakeClips(Arguments* arguments, bool writesFilms);

/// Shares the presets out between settings and encoder, and puts the settings that were given over a preset's.
void TakeSettings(Arguments* arguments);

}  // namespace film
