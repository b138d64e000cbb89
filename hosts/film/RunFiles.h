#pragma once

#include <string>
#include <vector>

// The files of a run: what may be written, and under which name.
namespace film {

/// Fails if two of the files of a run are the same one. Empty names stand for none.
void CheckFilesDiffer(const std::vector<std::string>& files);

/// Fails unless `out` may be written: it is no folder, nor there already unless `force`. `ending`: what names of such
/// files end in, for who gave none.
void CheckOutput(const std::string& out, bool force, const char* ending = ".mp4");

}  // namespace film
