#pragma once

#include <string>
#include <vector>

namespace film {

/// What is wrong with a project of the standalone application, a line for each thing, which names the file.
struct PackageFaults {
  std::string fatal;               ///< why it couldn't be taken over; meant for one that wasn't
  std::vector<std::string> notes;  ///< files that can be done without and weren't read
};

/// Looks for them in a package, a folder. Only files are opened, nothing is waited for.
PackageFaults FindPackageFaults(const std::string& package);

}  // namespace film
