#include <climits>

#include "film/DescribeValues.h"
#include "film/Failure.h"
#include "tracking/FeatureStorage.h"

namespace film {
namespace {

using Vorn::Feature;
using Vorn::FeatureStorage;
using Vorn::Point2D;

/// Rewriting covers every frame of the tracks' span, so that a damaged file mustn't claim one of years.
constexpr long long mostFrames = 1LL << 24;  // six days of film

void open(FeatureStorage& store, const std::string& path) {
  if (!store.Open(path.c_str(), FeatureStorage::StorageRead))
    throw Failure(path +
                  ": this begins as a file of feature tracks and is damaged or was cut short, or a further segment of "
                  "it is missing; get a whole copy of it and of the files beside it that its name begins");
}

/// Of a text with Windows' line ends the comment keeps the half of one.
std::string commentOf(const FeatureStorage& store) {
  std::string comment = store.comment;
  if (comment.ends_with('\r')) comment.pop_back();
  return comment;
}

Description rangesOf(const FeatureStorage& store) {
  Vorn::MultiRange all;
  for (const Vorn::MultiRange& segment : store.segments) AddRanges(all, segment.data);
  all.Sort();
  return SpansOf(all);
}

void addTrack(const Feature& feature, size_t number, Description& tracks, Description& points) {
  const long long end = feature.start + static_cast<long long>(feature.track.size()) - 1;
  tracks.push_back({{"id", feature.id}, {"start", feature.start}, {"end", end}});
  long long frame = feature.start;
  for (const Point2D& point : feature.track)
    points.push_back({{"track", number},
                      {"id", feature.id},
                      {"frame", frame++},
                      {"x", NumberOf(point.x)},
                      {"y", NumberOf(point.y)}});
}

Description describe(const std::string& path) {
  FeatureStorage store;
  open(store, path);
  const bool complete = store.ReadToList();
  Spread length;
  Description tracks = Description::array(), points = Description::array();
  for (const Feature& feature : store.GetTracks()) {
    length.add(static_cast<double>(feature.track.size()));
    addTrack(feature, tracks.size(), tracks, points);
  }
  const bool isText = store.version == 1;
  return {{"format", isText ? "TRACKS" : "strk"},
          {"version", store.version},
          {"complete", complete},
          {"comment", commentOf(store)},
          {"segments", store.segments.size()},
          {"window", store.window},
          {"levels", store.levels},
          {"range", store.range},
          {"minevalue", NumberOf(store.minevalue)},
          {"start", store.firstFrame},
          {"end", store.lastFrame},
          {"ranges", rangesOf(store)},
          {"length", length.json()},
          {"tracks", std::move(tracks)},
          {"points", std::move(points)}};
}

std::string lines(const Description& d) {
  std::string text = Line(
      "feature tracks", std::to_string(d["tracks"].size()) + ", with " + Count(d["points"].size(), "point", "points"));
  if (!d["tracks"].empty()) text += Line("frames", d["start"].dump() + " to " + d["end"].dump());
  if (d["format"] == "strk") text += Line("covered", SpanText(d["ranges"]));
  text += Line("length", SpreadText(d["length"], "frames"));
  text += Line("tracker", "window " + d["window"].dump() + ", levels " + d["levels"].dump() + ", range " +
                              d["range"].dump() + ", minevalue " + Short(d["minevalue"]));
  const std::string comment = d["comment"];
  if (!comment.empty()) text += Line("comment", comment);
  if (d["segments"] > 1) text += Line("files", d["segments"].dump());
  return text;
}

bool rewrite(const std::string& in, const std::string& out) {
  FeatureStorage old, store;
  open(old, in);
  old.ReadToList();
  store.GetConfiguration(old);
  store.comment = commentOf(old);
  store.SetTracks(old.GetTracks(), old.firstFrame, old.lastFrame);
  if (static_cast<long long>(store.lastFrame) - store.firstFrame >= mostFrames)
    throw Failure(in + ": its tracks claim to cover " +
                  std::to_string(static_cast<long long>(store.lastFrame) - store.firstFrame + 1) +
                  " frames, which no clip has; the file is damaged, get a whole copy of it");
  const std::list<Feature> tracks = store.GetTracks();
  const int first = store.firstFrame, last = store.lastFrame;
  if (!store.Open(out.c_str(), FeatureStorage::StorageWrite)) return false;
  store.SetTracks(tracks, first, last);
  return store.WriteList() && store.Close();
}

}  // namespace

StoredFormat TracksFormat() {
  return {"strk", "feature tracks", [](std::string_view head) { return IsChunked(head, "STRK"); }, describe,
          lines,  "points"};
}

StoredFormat OldTracksFormat() {
  return {"TRACKS",
          "feature tracks, in the old text form",
          [](std::string_view head) { return head.starts_with("TRACKS"); },
          describe,
          lines,
          "points",
          "strk",
          rewrite};
}

}  // namespace film
