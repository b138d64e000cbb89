#pragma once

#include <memory>
#include <string>

#include "film/Session.h"
#include "film/TracksFile.h"

namespace film {

/// The file of feature tracks that a command was asked for beside its work, or none.
class TracksRecorder {
 public:
  /// `path`: empty for none. Fails at once if it can't be written. `clip`: whose features they are.
  TracksRecorder(const std::string& path, const std::string& clip);

  /// What is to look on while the clip is analysed; null for no file.
  AnalysisWatcher watcher() const;

  /// Follows the features of a clip whose analysis stays as it is, if there is a file; false when the user cancelled.
  bool follow(Session& session) const;

  /// Gives the file its name.
  void finish();

 private:
  std::unique_ptr<TracksFile> file;
};

}  // namespace film
