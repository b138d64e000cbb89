#pragma once

// The streams that the shell opens for the program.
namespace film {

/// Opens those of the standard streams that are closed on nothing. Else the first file that is opened would take the
/// number of a closed one, and what is printed would land in it.
void OpenMissingStreams();

/// Fails if what was printed didn't arrive, for example on a full disk. A reader who went away has what it wanted.
void CheckPrinted();

}  // namespace film
