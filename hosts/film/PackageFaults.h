#pragma once

#include <string>
#include <vector>

namespace film {

/// What is to be told of a project of the standalone application, a line for each thing, which names the file.
struct PackageFaults {
  std::string fatal;               ///< why it couldn't be taken over; meant for one that wasn't
  std::string useless;             ///< why nothing can be rendered from it, although the effect takes it; else empty
  std::vector<std::string> notes;  ///< files that can be done without and weren't read, or not to their end
  std::vector<int> moved;          ///< the frames that have motion, as the effect counts them
  std::string confidenceFile;
  std::vector<int> uncertain;  ///< frames of low confidence by that file, which count as certain once imported
};

/// Looks for them in a package, a folder. Only files are opened, nothing is waited for.
PackageFaults FindPackageFaults(const std::string& package);

}  // namespace film
