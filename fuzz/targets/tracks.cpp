#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "Input.h"
#include "tracking/FeatureStorage.h"
#include "tracking/FeatureTrack.h"

namespace {

using Vorn::FeatureStorage;

/// An input as a track file and the segments that continue it, each from where the head of a later segment stands.
class SegmentFiles {
 public:
  explicit SegmentFiles(std::string_view bytes)
      : path(
            (std::filesystem::temp_directory_path() / ("orvane-fuzz-" + std::to_string(getpid()) + ".strk")).string()) {
    for (bool more = true; more; ++count) {
      const std::size_t head = bytes.find("TRKN", 12);  // behind this segment's own
      more = head != std::string_view::npos && count < 4;
      const std::size_t end = more ? head - 8 : bytes.size();
      std::ofstream(segment(count), std::ios::binary) << bytes.substr(0, end);
      bytes.remove_prefix(end);
    }
  }
  ~SegmentFiles() {
    for (int i = 0; i < count; ++i) std::remove(segment(i).c_str());
  }
  SegmentFiles(const SegmentFiles&) = delete;
  SegmentFiles& operator=(const SegmentFiles&) = delete;

  std::string segment(int number) const { return number == 0 ? path : path + std::to_string(number); }

 private:
  std::string path;
  int count = 0;
};

void CheckTracks(std::list<Vorn::Feature>& tracks, std::size_t size) {
  std::size_t points = 0;
  for (const Vorn::Feature& feature : tracks) points += feature.track.size();
  fuzz::Require(points * 4 <= size, "no more points than the bytes can hold");
  fuzz::Require(tracks.size() * 10 <= size, "no more tracks than the bytes can hold");
}

void ReadAll(FeatureStorage& store, std::size_t size) {
  std::list<Vorn::Point2D> points;
  std::vector<FeatureStorage::TrackStatus> statuses;
  for (const int frame : {0, 1, 5, store.firstFrame}) {
    store.ReadFrame(frame, points, statuses);
    fuzz::Require(statuses.size() * 14 <= size, "no more statuses than the bytes can hold");
  }
  Vorn::PointSet a, b;
  Vorn::MatchSet matches;
  store.GetMatchedPoints(5, 6, a, b, matches);
  store.ReadToList();
  CheckTracks(store.GetTracks(), size);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const SegmentFiles files(std::string_view(reinterpret_cast<const char*>(data), size));
  FeatureStorage store;
  if (store.Open(files.segment(0).c_str(), FeatureStorage::StorageRead)) ReadAll(store, size);
  Vorn::FeatureTrack tracks;
  tracks.Load(files.segment(0).c_str(), nullptr, nullptr);
  CheckTracks(tracks.GetTracks(), size);

  if (!store.Open(files.segment(0).c_str(), FeatureStorage::StorageUpdate) || store.version == 1) return 0;
  const bool written = store.WriteFrame(7, {Vorn::Point2D(1, 2)}, {FeatureStorage::TrackNew});
  ReadAll(store, size + 100);
  if (!store.Close() || !written) return 0;
  store.Open(files.segment(0).c_str(), FeatureStorage::StorageRead);
  return 0;
}
