#pragma once

#include <string>
#include <vector>

namespace film {

/// One clip of several, with the file that its run writes.
struct BatchClip {
  std::string path;
  std::string out;    ///< empty for a run that writes none
  std::string error;  ///< why it can't be run; empty for a clip to run
};

/// The clips that a command line names. A folder stands for the video files in it, by their names' endings, in the
/// order of their names and without those in folders within it. What is named twice is taken once. A folder without
/// clips comes back with an error. `outFolder`: where each clip's file gets the clip's name, with the ending .mkv where
/// films can't be written under its own; empty for none.
///
/// Fails with the status for wrong usage where two clips would write the same file.
std::vector<BatchClip> FindBatchClips(const std::vector<std::string>& named, const std::string& outFolder);

/// Whether a file's name ends like a video's: "film.MP4".
bool IsVideoName(const std::string& name);

/// Makes the folder unless it is there. Fails where that can't be done.
void MakeOutFolder(const std::string& outFolder);

}  // namespace film
