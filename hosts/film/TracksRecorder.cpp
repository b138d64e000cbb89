#include "film/TracksRecorder.h"

#include <filesystem>

#include "film/Interrupt.h"
#include "film/Progress.h"
#include "film/Summary.h"

namespace film {

TracksRecorder::TracksRecorder(const std::string& path, const std::string& clip) {
  if (!path.empty()) file = std::make_unique<TracksFile>(path, std::filesystem::path(clip).filename().string());
}

AnalysisWatcher TracksRecorder::watcher() const {
  if (!file) return nullptr;
  return [tracks = file.get()](int number, const SharedPicture&, const TrackerEstimator& analysis) {
    tracks->add(number, analysis);
  };
}

bool TracksRecorder::follow(Session& session) const {
  if (!file) return true;
  Progress progress(session.progressStyle(), ProgressStream(session.progressStyle()), "Tracking",
                    session.contents().identity.frames);
  return session.watchAnalysis([&](int frames) { progress.update(frames); }, Interrupted, watcher());
}

void TracksRecorder::finish() {
  if (file) file->finish();
}

}  // namespace film
