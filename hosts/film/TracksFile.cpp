#include "film/TracksFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "film/Failure.h"
#include "tracking/KLTTracker.h"

namespace film {
namespace {

/// `path`, unless there is a file that isn't one of tracks.
const std::string& replaceable(const std::string& path) {
  std::ifstream old(path, std::ios::binary);
  char head[12] = {};
  old.read(head, sizeof head);
  const bool isEmpty = !old.is_open() || old.gcount() == 0;
  const bool isTracks = old.gcount() == sizeof head && std::string(head, 4) == "RIFF" &&
                        (std::string(head + 8, 4) == "STRK" || std::string(head + 8, 4) == "TRKN");
  std::error_code error;
  if (!isEmpty && !isTracks && std::filesystem::is_regular_file(path, error))
    throw Failure(path + ": this is no file of feature tracks, and would be lost; choose another name");
  return path;
}

}  // namespace

TracksFile::TracksFile(const std::string& path, const std::string& comment) : file(replaceable(path)) {
  storage.comment = comment;
}

TracksFile::~TracksFile() {
  storage.Close();
  for (int i = 1; !finished && i < segments(); ++i) unlink((file.temporaryPath() + std::to_string(i)).c_str());
}

void TracksFile::fail() const { FailToWrite(file.path(), errno != 0 ? errno : EIO); }

void TracksFile::open(const TrackerEstimator& analysis) {
  opened = true;
  storage.window = analysis.windowSize;
  storage.levels = analysis.multiresolutionLevels;
  storage.minevalue = analysis.tracker->minEigenvalue;
  if (const auto* tracker = dynamic_cast<const Vorn::KLTTracker*>(analysis.tracker.get()))
    storage.range = static_cast<int>(tracker->maxRange);
  errno = 0;
  if (!storage.Open(file.temporaryPath().c_str(), Vorn::FeatureStorage::StorageWrite)) fail();
}

void TracksFile::add(int number, const TrackerEstimator& analysis) {
  if (!opened) open(analysis);
  errno = 0;
  if (!storage.WriteFrame(number, analysis.trackPoints, analysis.trackStatus)) fail();
}

void TracksFile::finish() {
  errno = 0;
  if (!storage.Close()) fail();
  // The first segment comes last: without it the others are nothing.
  for (int i = 1; i < segments(); ++i) {
    const std::string number = std::to_string(i);
    if (std::rename((file.temporaryPath() + number).c_str(), (file.path() + number).c_str()) != 0) fail();
  }
  file.commit();
  finished = true;
}

}  // namespace film
