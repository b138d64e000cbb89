#pragma once

#include <string>
#include <vector>

#include "plugin/ProjectFile.h"

// Projects of the standalone application as folders on a disk.
namespace film {

/// The name of a package as given, without slashes behind it, as shells write them. Fails, as wrong usage, unless it
/// ends in .orvane.
std::string PackageName(const std::string& given);

/// A data file of a package.
struct PackageFile {
  std::string name, bytes;
};

/// Writes a package as a whole or not at all: its index and the files that the index names. One that exists is replaced
/// with `force` only, file by file, and whatever else lies in it stays. Fails with a text that names it.
void WritePackage(const std::string& package, const ProjectFile& index, const std::vector<PackageFile>& files,
                  bool force);

}  // namespace film
