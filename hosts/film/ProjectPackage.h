#pragma once

#include <string>
#include <vector>

#include "plugin/ProjectFile.h"

// Projects of the standalone application as folders on a disk.
namespace film {

/// The name of a package as given, without slashes behind it, as shells write them. Fails, as wrong usage, unless it
/// ends in .orvane.
std::string PackageName(const std::string& given);

/// What an export calls the files of a package.
namespace package_names {
constexpr const char *index = "project.fpf", *motion = "motion.set", *rotation = "rotation.set",
                     *confidence = "motion.mconf", *events = "events.mfp", *gains = "gains.agc";
constexpr const char* data[] = {motion, rotation, confidence, events, gains};
}  // namespace package_names

/// The paths of all files that an export may write into a package; none without one.
std::vector<std::string> PackagePaths(const std::string& package);

/// A data file of a package.
struct PackageFile {
  std::string name, bytes;
};

/// Writes a package as a whole or not at all: its index and the files that the index names. One that exists is replaced
/// with `force` only, file by file, unless one of them is of another kind, and whatever else lies in it stays. Fails
/// with a text that names it.
void WritePackage(const std::string& package, const ProjectFile& index, const std::vector<PackageFile>& files,
                  bool force);

}  // namespace film
