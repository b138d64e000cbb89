#pragma once

#include <sys/types.h>

namespace film {

/// Makes Ctrl-C (and a polite kill, and a terminal that is closed) note the wish to stop; a second one removes the
/// temporary files and ends the program at once.
void CatchInterrupts();

/// Whether the user has asked to stop.
bool Interrupted();

/// The most processes that interrupts can be handed to.
constexpr int mostChildren = 64;

/// Has every wish to stop reach another process as an interrupt too; one that came before at once.
void HandInterruptsTo(pid_t process);
/// Ends that. Before the process' number can be given to another.
void HandNoMoreInterruptsTo(pid_t process);

}  // namespace film
