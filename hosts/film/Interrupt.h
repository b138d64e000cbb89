#pragma once

namespace film {

/// Makes Ctrl-C (and a polite kill) note the wish to stop; a second one removes the temporary files and ends the
/// program at once.
void CatchInterrupts();

/// Whether the user has asked to stop.
bool Interrupted();

}  // namespace film
