#include "tracking/FeatureStorage.h"

#include <algorithm>
#include <climits>
#include <iostream>
#include <unordered_map>
#include <utility>

#include "numerics/Text.h"
#include "tracking/TracksFile.h"

namespace Vorn {
namespace {

long long EndOf(const Feature& feature) { return feature.start + static_cast<long long>(feature.track.size()) - 1; }

/// The latest track of each id in a list.
class TracksById {
 public:
  explicit TracksById(std::list<Feature>& list) : tracks(list) {
    for (Feature& feature : tracks) note(feature);
  }

  /// Adds a point: to the track of its id that ends in the frame before, or as a track of its own; not at all if that
  /// track has the frame already.
  void add(const Point2D& point, int frame, bool isNew) {
    Feature* const track = find(point.id);
    if (!track || EndOf(*track) + 1 < frame || track->start > frame) {
      Feature feature;
      feature.id = point.id;
      feature.start = frame;
      feature.status = isNew ? FeatureNew : FeatureTracked;
      feature.track.push_back(point);
      add(std::move(feature));
    } else if (EndOf(*track) + 1 == frame) {
      track->status = FeatureTracked;
      track->track.push_back(point);
    }
  }

  void add(Feature feature) {
    tracks.push_back(std::move(feature));
    note(tracks.back());
  }

  Feature* find(int id) const {
    const auto found = latest.find(id);
    return found == latest.end() ? nullptr : found->second;
  }

 private:
  void note(Feature& feature) {
    Feature*& known = latest[feature.id];
    if (!known || EndOf(feature) >= EndOf(*known)) known = &feature;
  }

  std::list<Feature>& tracks;
  std::unordered_map<int, Feature*> latest;
};

/// The part of a track that lies in the frames `first` to `last`.
Feature Clipped(const Feature& feature, int first, int last) {
  const long long from = std::max<long long>(first, feature.start), to = std::min<long long>(last, EndOf(feature));
  Feature part = feature;
  part.track.clear();
  if (from > to) return part;
  part.start = static_cast<int>(from);
  const auto begin = feature.track.begin() - feature.start;
  part.track.assign(begin + from, begin + to + 1);
  return part;
}

/// Where the features of a list stand in each frame, in the order of the list.
std::unordered_map<int, std::vector<const Feature*>> ByFrame(const std::list<Feature>& tracks) {
  std::unordered_map<int, std::vector<const Feature*>> active;
  for (const Feature& feature : tracks)
    for (long long frame = feature.start; frame <= EndOf(feature); ++frame)
      active[static_cast<int>(frame)].push_back(&feature);
  return active;
}

void AddPoint(const Feature& feature, int frame, std::list<Point2D>& points,
              std::vector<FeatureStorage::TrackStatus>& statuses) {
  Point2D point = feature.Location(frame);
  point.id = feature.id;
  points.push_back(point);
  statuses.push_back(frame == feature.start ? FeatureStorage::TrackNew : FeatureStorage::TrackContinued);
}

}  // namespace

FeatureStorage::~FeatureStorage() { Close(); }

bool FeatureStorage::Open(const char* path, StorageAccessMode access) {
  Clear();
  const bool opened = access == StorageWrite
                          ? openForWriting(path)
                          : (access == StorageRead || access == StorageUpdate) && openForReading(path, access);
  if (opened) return true;
  abandon();
  Clear();
  return false;
}

bool FeatureStorage::openForWriting(const char* path) {
  firstPath = basePath = path;
  if (!openSegment(0, "wb")) return false;
  mode = StorageWrite;
  version = 2;
  segments.emplace_back();
  return writeHeaders(true);
}

bool FeatureStorage::openForReading(const char* path, StorageAccessMode access) {
  firstPath = path;
  if (!openSegment(0, access == StorageUpdate ? "r+b" : "rb")) return false;
  if (ToLower(GetExtension(path)) == "strk") basePath = path;
  window = levels = range = 0;
  minevalue = 0;
  comment.clear();
  segments.emplace_back();
  if (!readHeaders(true, true)) return openLegacy(access);
  mode = access;
  return openChain() && (mode == StorageRead || canAppend());
}

/// A file that isn't a strk file may be of the older text format.
bool FeatureStorage::openLegacy(StorageAccessMode access) {
  std::rewind(file.get());
  TracksHeader header;
  if (!ReadTracksHeader(file.get(), header)) return false;
  comment = header.comment;
  firstFrame = header.trackStart;
  lastFrame = header.trackEnd;
  window = header.window;
  levels = header.levels;
  range = header.range;
  minevalue = header.minevalue;
  legacy = true;
  version = 1;
  mode = access;
  return true;
}

/// Reads what the segments that follow the first one cover.
bool FeatureStorage::openChain() {
  while (continued) {
    if (basePath.empty() || !openSegment(segment + 1, mode == StorageUpdate ? "r+b" : "rb")) return false;
    segments.emplace_back();
    if (!readHeaders(true, false)) return false;
  }
  frames = segments.back();
  framesInSegment = 0;
  for (const Range& run : frames.data) framesInSegment += static_cast<long>(run.last) - run.first + 1;
  return true;
}

bool FeatureStorage::Close() {
  const bool complete = !file || !isWriting() || finished || finishSegment();
  abandon();
  return complete;
}

void FeatureStorage::abandon() {
  file.reset();
  mode = {};
}

void FeatureStorage::Clear() {
  Close();
  version = 2;
  frames = MultiRange();
  segments.clear();
  held.clear();
  firstFrame = lastFrame = frameInUse = -1;
  largestId = pointsWritten = 0;
  firstPath.clear();
  basePath.clear();
  legacy = false;
  legacyComplete.reset();
  runOpen = false;
  runFirst = runLast = runEnd = -1;
  framesInSegment = confPosition = dataPosition = dataSize = 0;
  segment = 0;
  finished = continued = false;
  rangesSorted = true;
  index.Clear();
}

void FeatureStorage::GetConfiguration(const FeatureStorage& other) {
  window = other.window;
  levels = other.levels;
  range = other.range;
  minevalue = other.minevalue;
}

bool FeatureStorage::isReading() const { return mode == StorageRead || mode == StorageUpdate; }

bool FeatureStorage::isWriting() const { return (mode == StorageWrite || mode == StorageUpdate) && !legacy; }

void FeatureStorage::SetTracks(const std::list<Feature>& tracks, int first, int last) {
  held = tracks;
  firstFrame = first;
  lastFrame = last;
  if (first == -1 || last == -1) findTrackSpan();
}

void FeatureStorage::findTrackSpan() {
  long long first = LLONG_MAX, last = LLONG_MIN;
  for (const Feature& feature : held) {
    if (feature.track.empty()) continue;
    first = std::min<long long>(first, feature.start);
    last = std::max(last, EndOf(feature));
  }
  const bool any = first <= last;
  firstFrame = any ? static_cast<int>(first) : -1;
  lastFrame = any ? static_cast<int>(std::min<long long>(last, INT_MAX)) : -1;
}

bool FeatureStorage::WriteList() {
  if (!isWriting()) return false;
  const auto active = ByFrame(held);
  if (active.empty() && firstFrame == -1 && lastFrame == -1) return true;
  for (long long number = firstFrame; number <= lastFrame; ++number) {
    const int frame = static_cast<int>(number);
    std::list<Point2D> points;
    std::vector<TrackStatus> statuses;
    if (const auto found = active.find(frame); found != active.end())
      for (const Feature* feature : found->second) AddPoint(*feature, frame, points, statuses);
    if (!WriteFrame(frame, points, statuses)) return false;
  }
  return true;
}

bool FeatureStorage::ReadToList() {
  if (!isReading()) return false;
  if (legacy) return loadLegacy();
  held.clear();
  const bool complete = AccumulateTracks(held, INT_MIN, INT_MAX);
  findTrackSpan();
  return complete;
}

std::list<Feature>& FeatureStorage::GetTracks() {
  if (legacy) loadLegacy();
  return held;
}

/// Reads the features of a TRACKS file, once.
bool FeatureStorage::loadLegacy() {
  if (!legacyComplete && !file) return false;  // closed before it was asked for them
  if (!legacyComplete) {
    held.clear();
    legacyComplete = ReadTracks(file.get(), held);
    if (firstFrame == -1 || lastFrame == -1) findTrackSpan();
  }
  return *legacyComplete;
}

bool FeatureStorage::AccumulateTracks(std::list<Feature>& tracks, int first, int last) {
  if (!isReading()) return false;
  bool complete = true;
  if (!legacy) {
    storeRun();
    for (size_t i = 0; i < segments.size(); ++i)
      complete = accumulateSegment(static_cast<int>(i), tracks, first, last) && complete;
    return complete;
  }
  complete = loadLegacy();
  std::list<Feature> parts;
  for (const Feature& feature : held)
    if (Feature part = Clipped(feature, first, last); !part.track.empty()) parts.push_back(std::move(part));
  JoinTrackLists(tracks, parts);
  return complete;
}

bool FeatureStorage::accumulateSegment(int number, std::list<Feature>& tracks, int first, int last) {
  if (!enterSegment(number)) return false;
  std::vector<int> wanted;
  for (const RecordIndex::Entry& entry : index.Entries())
    if (entry.frame >= first && entry.frame <= last) wanted.push_back(entry.frame);
  std::ranges::sort(wanted);
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());

  TracksById byId(tracks);
  long budget = fileSize();
  bool complete = true;
  for (const int frame : wanted) {
    if (segmentOf(frame) != number) continue;
    std::list<Point2D> points;
    std::vector<TrackStatus> statuses;
    complete = readRecords(frame, points, statuses, budget) && complete;
    size_t i = 0;
    for (const Point2D& point : points) byId.add(point, frame, statuses[i++] == TrackNew);
  }
  return complete;
}

/// A frame's points, from the file where frames can be read from it one by one, else from the held tracks.
bool FeatureStorage::pointsOf(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses) {
  if (isReading() && !legacy) return ReadFrame(frame, points, statuses);
  points.clear();
  statuses.clear();
  if (legacy && !loadLegacy()) return false;
  for (const Feature& feature : held)
    if (feature.IsActive(frame)) AddPoint(feature, frame, points, statuses);
  return true;
}

bool FeatureStorage::GetFeaturesForFrame(int frame, std::list<Feature>& features) {
  std::list<Point2D> points;
  std::vector<TrackStatus> statuses;
  features.clear();
  const bool complete = pointsOf(frame, points, statuses);
  size_t i = 0;
  for (const Point2D& point : points) {
    Feature& feature = features.emplace_back();
    feature.id = point.id;
    feature.start = frame;
    feature.status = statuses[i++] == TrackNew ? FeatureNew : FeatureTracked;
    feature.track.push_back(point);
  }
  return complete;
}

bool FeatureStorage::GetPointsForFrame(int frame, PointSet& points) {
  std::list<Point2D> list;
  std::vector<TrackStatus> statuses;
  points.Clear();
  const bool complete = pointsOf(frame, list, statuses);
  for (const Point2D& point : list) points.Add(point);
  return complete;
}

bool FeatureStorage::GetMatchedPoints(int frameA, int frameB, PointSet& firstPoints, PointSet& secondPoints,
                                      MatchSet& matches) {
  matches.Clear();
  const bool complete = GetPointsForFrame(frameA, firstPoints) && GetPointsForFrame(frameB, secondPoints);
  std::unordered_map<int, int> positions;  // of each id's first point in the second set
  for (unsigned int i = 0; i < secondPoints.numPoints; ++i)
    positions.try_emplace(secondPoints[i].id, static_cast<int>(i));
  for (unsigned int i = 0; complete && i < firstPoints.numPoints; ++i)
    if (const auto found = positions.find(firstPoints[i].id); found != positions.end())
      matches.AddMatch(static_cast<int>(i), found->second, 1.0);
  return complete;
}

int FeatureStorage::CountActiveInFrame(const std::list<Feature>* tracks, int frame) {
  return static_cast<int>(
      std::ranges::count_if(*tracks, [frame](const Feature& feature) { return feature.IsActive(frame); }));
}

void FeatureStorage::OutputToStdOut() {
  if (isReading() && !ReadToList()) {
    std::cerr << "Failed to load tracks\n";
    return;
  }
  std::cout << "TRACKS\n"
            << (legacy ? "Legacy format track output\n" : "Legacy track output\n") << "Params 4\n"
            << "window " << window << "\nlevels " << levels << "\nrange " << range << "\nminevalue " << minevalue
            << '\n';
  for (const Feature& feature : held)
    if (IsTrack(feature)) std::cout << feature;
  std::cout.flush();
}

void FeatureStorage::JoinTrackLists(std::list<Feature>& tracks, const std::list<Feature>& later) {
  TracksById byId(tracks);
  for (const Feature& feature : later) {
    Feature* const track = byId.find(feature.id);
    const bool meets = track && feature.start >= track->start && feature.start <= EndOf(*track) + 1;
    if (!meets) {
      byId.add(feature);
      continue;
    }
    if (EndOf(feature) <= EndOf(*track)) continue;
    const auto overlap = static_cast<std::ptrdiff_t>(EndOf(*track) + 1 - feature.start);
    track->status = feature.status;
    track->track.insert(track->track.end(), feature.track.begin() + overlap, feature.track.end());
  }
}

void FeatureStorage::AppendTrackLists(std::list<Feature>& tracks, const std::list<Feature>& added) {
  int next = 0;
  for (const Feature& feature : tracks) next = std::max(next, feature.id < INT_MAX ? feature.id + 1 : INT_MAX);
  std::unordered_map<int, int> newIds;
  for (const Feature& feature : added) {
    const auto [id, isNew] = newIds.try_emplace(feature.id, next);
    if (isNew && next < INT_MAX) ++next;
    Feature& copy = tracks.emplace_back(feature);
    copy.id = id->second;
    for (Point2D& point : copy.track) point.id = copy.id;
  }
}

}  // namespace Vorn
