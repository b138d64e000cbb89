#pragma once

#include <string>

#include "analysis/TrackerEstimator.h"
#include "film/OutputFile.h"
#include "tracking/FeatureStorage.h"

namespace film {

/// The features of an analysis, frame by frame (field by field, in an interlaced clip), as a strk file in the making.
///
/// The file takes its name in `finish`, and so do the segments that continue a very long one. One that is destroyed
/// before leaves nothing.
class TracksFile {
 public:
  /// Fails if `path` can't be written, or holds a file of another kind, so that a wrong name costs nobody a film.
  /// `comment`: goes into the file.
  TracksFile(const std::string& path, const std::string& comment);
  ~TracksFile();
  TracksFile(const TracksFile&) = delete;
  TracksFile& operator=(const TracksFile&) = delete;

  /// The features as the analysis goes on with them behind picture `number`, those with them that it has just found.
  void add(int number, const TrackerEstimator& analysis);

  void finish();

 private:
  void open(const TrackerEstimator& analysis);
  [[noreturn]] void fail() const;
  int segments() const { return static_cast<int>(storage.segments.size()); }

  OutputFile file;
  Vorn::FeatureStorage storage;
  bool opened = false, finished = false;
};

}  // namespace film
