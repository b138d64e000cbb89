#pragma once

namespace film {

/// The program: reads the command line, does what it says, and returns the exit status. Whatever stops it is one line
/// on the standard error stream.
int Main(int argc, const char* const* argv);

}  // namespace film
