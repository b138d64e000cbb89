#include "film/BatchClips.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "film/Container.h"
#include "film/Failure.h"

namespace film {
namespace {

namespace fs = std::filesystem;

constexpr const char* endings[] = {".mp4", ".mov", ".m4v",  ".mkv", ".webm", ".avi", ".mpg", ".mpeg",
                                   ".ts",  ".mts", ".m2ts", ".m2v", ".vob",  ".mxf", ".wmv", ".flv",
                                   ".3gp", ".3g2", ".ogv",  ".dv",  ".nut",  ".y4m"};

/// The clips of a folder in the order of their names. Hidden files are other programs' or in the making.
std::vector<std::string> clipsIn(const std::string& folder, std::string* error) {
  std::vector<std::string> clips;
  std::error_code trouble;
  for (fs::directory_iterator entry(folder, trouble), end; !trouble && entry != end; entry.increment(trouble)) {
    std::error_code ignored;
    const std::string name = entry->path().filename();
    if (!name.starts_with(".") && IsVideoName(name) && !entry->is_directory(ignored)) clips.push_back(entry->path());
  }
  std::sort(clips.begin(), clips.end());
  if (trouble)
    *error = folder + ": the folder can't be read (" + trouble.message() + "); check its permissions";
  else if (clips.empty())
    *error = folder +
             ": this folder holds no video files (.mp4, .mov, .mkv and the like); name the clips or another "
             "folder";
  return clips;
}

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return a == b || fs::equivalent(a, b, error);
}

void add(const BatchClip& clip, std::vector<BatchClip>* clips) {
  const bool known = std::any_of(clips->begin(), clips->end(),
                                 [&](const BatchClip& other) { return isSameFile(other.path, clip.path); });
  if (!known) clips->push_back(clip);
}

/// A film of a kind that can be read but not written becomes one that takes every codec and sound.
fs::path outputName(const std::string& clip) {
  fs::path name = fs::path(clip).filename();
  return Container::IsKnown(clip) ? name : name.replace_extension(".mkv");
}

void nameOutputs(const std::string& outFolder, std::vector<BatchClip>* clips) {
  std::map<std::string, std::string> taken;
  for (BatchClip& clip : *clips) {
    if (!clip.error.empty()) continue;
    clip.out = (fs::path(outFolder) / outputName(clip.path)).string();
    const auto [earlier, isNew] = taken.emplace(clip.out, clip.path);
    if (!isNew)
      throw Failure(earlier->second + " and " + clip.path + " would both become " + clip.out +
                        "; rename one, or run them with different -O",
                    kUsage);
  }
}

}  // namespace

bool IsVideoName(const std::string& name) {
  std::string ending = fs::path(name).extension();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return std::find(std::begin(endings), std::end(endings), ending) != std::end(endings);
}

std::vector<BatchClip> FindBatchClips(const std::vector<std::string>& named, const std::string& outFolder) {
  std::vector<BatchClip> clips;
  for (const std::string& name : named) {
    std::error_code error;
    if (!fs::is_directory(name, error)) {
      add({name, "", ""}, &clips);
      continue;
    }
    std::string trouble;
    for (const std::string& path : clipsIn(name, &trouble)) add({path, "", ""}, &clips);
    if (!trouble.empty()) add({name, "", trouble}, &clips);
  }
  if (!outFolder.empty()) nameOutputs(outFolder, &clips);
  return clips;
}

void MakeOutFolder(const std::string& outFolder) {
  std::error_code error;
  if (fs::is_directory(outFolder, error)) return;
  if (fs::exists(outFolder, error)) throw Failure(outFolder + ": this is no folder; choose another name for -O");
  if (!fs::create_directory(outFolder, error))
    throw Failure(outFolder + ": the folder can't be made (" + error.message() + "); make it first, or choose another");
}

}  // namespace film
