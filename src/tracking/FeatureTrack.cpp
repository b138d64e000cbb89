#include "tracking/FeatureTrack.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <memory>

#include "tracking/FeatureStorage.h"
#include "tracking/TracksFile.h"

namespace Vorn {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

void WriteParameters(std::FILE* file, const FeatureTrack& tracks) {
  const int given = (tracks.window != 0) + (tracks.levels != 0) + (tracks.range != 0) + (tracks.minevalue != 0);
  std::fprintf(file, "Params %d\ntrackstart %d\ntrackend %d\n", 2 + given, tracks.trackStart, tracks.trackEnd);
  if (tracks.window != 0) std::fprintf(file, "window %d\n", tracks.window);
  if (tracks.levels != 0) std::fprintf(file, "levels %d\n", tracks.levels);
  if (tracks.range != 0) std::fprintf(file, "range %d\n", tracks.range);
  if (tracks.minevalue != 0) std::fprintf(file, "minevalue %f\n", static_cast<double>(tracks.minevalue));
}

void WriteTrack(std::FILE* file, const Feature& feature) {
  const long long end = feature.start + static_cast<long long>(feature.track.size()) - 1;
  std::fprintf(file, "Feature %d\nstart %d end %lld\n", feature.id, feature.start, end);
  for (const Point2D& point : feature.track) std::fprintf(file, "%g %g\n", point.x, point.y);
}

/// Widens the span for tracks that didn't come in one by one.
void Widen(FeatureTrack& tracks, const FeatureTrack& other) {
  if (other.trackStart != -1)
    tracks.trackStart = tracks.trackStart == -1 ? other.trackStart : std::min(tracks.trackStart, other.trackStart);
  tracks.trackEnd = std::max(tracks.trackEnd, other.trackEnd);
}

}  // namespace

FeatureTrack::FeatureTrack(const std::list<Feature>& list) {
  for (const Feature& feature : list) Store(feature);
}

bool FeatureTrack::Load(const char* path, int* first, int* last) {
  Clear();
  const bool complete = load(path, true);
  if (first) *first = trackStart;
  if (last) *last = trackEnd;
  return complete;
}

bool FeatureTrack::LoadDeferred(const char* path) {
  Clear();
  if (!load(path, false)) return false;
  deferredPath = path;
  return true;
}

bool FeatureTrack::load(const char* path, bool withTracks) {
  const File file(std::fopen(path, "r"));
  TracksHeader header;
  if (!file || !ReadTracksHeader(file.get(), header)) return false;
  comment = header.comment;
  trackStart = header.trackStart;
  trackEnd = header.trackEnd;
  window = header.window;
  levels = header.levels;
  range = header.range;
  minevalue = header.minevalue;
  if (!withTracks) return true;
  std::list<Feature> read;
  const bool complete = ReadTracks(file.get(), read);
  for (const Feature& feature : read) Store(feature);
  return complete;
}

std::list<Feature>& FeatureTrack::GetTracks() {
  if (!deferredPath.empty()) {
    const std::string path = std::move(deferredPath);
    deferredPath.clear();
    load(path.c_str(), true);  // what can be read is what there is
  }
  return tracks;
}

bool FeatureTrack::Save(const char* path, const char* text) {
  GetTracks();
  File file(std::fopen(path, "w"));
  if (!file) {
    std::fprintf(stderr, "Could not save %s\n", path);
    return false;
  }
  std::string line = text ? text : "";
  std::ranges::replace(line, '\n', ' ');
  std::fprintf(file.get(), "TRACKS\n%s\n", line.c_str());
  WriteParameters(file.get(), *this);
  for (const Feature& feature : tracks)
    if (IsTrack(feature)) WriteTrack(file.get(), feature);
  const bool written = std::ferror(file.get()) == 0;
  return std::fclose(file.release()) == 0 && written;
}

bool FeatureTrack::Store(const Feature& feature) {
  if (!IsTrack(feature)) return false;
  const long long end = feature.start + static_cast<long long>(feature.track.size()) - 1;
  if (trackStart == -1 || feature.start < trackStart) trackStart = feature.start;
  trackEnd = std::max(trackEnd, static_cast<int>(std::min<long long>(end, INT_MAX)));
  tracks.push_back(feature);
  return true;
}

int FeatureTrack::CountActiveInFrame(int frame) { return FeatureStorage::CountActiveInFrame(&GetTracks(), frame); }

void FeatureTrack::Clear() { *this = FeatureTrack(); }

void JoinTracks(FeatureTrack& joined, FeatureTrack& later) {
  FeatureStorage::JoinTrackLists(joined.GetTracks(), later.GetTracks());
  Widen(joined, later);
}

void appendTracks(FeatureTrack& tracks, FeatureTrack& added) {
  FeatureStorage::AppendTrackLists(tracks.GetTracks(), added.GetTracks());
  Widen(tracks, added);
}

}  // namespace Vorn
