#include "film/FeatureTrails.h"

#include <algorithm>

namespace film {
namespace {

FeatureKind kindOf(const MatchWeight* record) {
  if (!record) return FeatureKind::Tracked;  // it takes part from the next frame on
  if (record->weight < 0) return FeatureKind::Barred;
  return record->stillRun > 0 ? FeatureKind::Still : FeatureKind::Tracked;
}

void addSpot(const Vorn::Point2D& point, FeatureMark* mark) {
  std::copy_backward(mark->trail.begin(), mark->trail.end() - 1, mark->trail.end());
  mark->trail[0] = {static_cast<float>(point.x), static_cast<float>(point.y)};
  mark->length = std::min(mark->length + 1, FeatureMark::longestTrail);
}

}  // namespace

const std::vector<FeatureMark>& FeatureTrails::take(const TrackerEstimator& analysis) {
  std::swap(marks, before);
  marks.clear();
  std::erase_if(before, [](const FeatureMark& mark) { return mark.kind == FeatureKind::Lost; });
  // An analysis begins by finding features; what its points are then is of a run before.
  if (begun) follow(analysis);
  addNew(analysis);
  begun = true;
  return marks;
}

void FeatureTrails::follow(const TrackerEstimator& analysis) {
  places.Reset(before.size());
  for (size_t i = 0; i < before.size(); ++i) places[before[i].id] = static_cast<int>(i);
  const std::vector<MatchWeight>& weights = analysis.motionEstimator.matchWeights;
  records.Reset(weights.size());
  for (size_t i = 0; i < weights.size(); ++i) records[weights[i].id] = static_cast<int>(i);
  followed.assign(before.size(), 0);
  for (const Vorn::Point2D& point : analysis.currentPoints.points) {
    const int place = places.Find(point.id), record = records.Find(point.id);
    FeatureMark mark;
    if (place >= 0) {
      mark = before[static_cast<size_t>(place)];
      followed[static_cast<size_t>(place)] = 1;
    }
    mark.id = point.id;
    mark.kind = kindOf(record < 0 ? nullptr : &weights[static_cast<size_t>(record)]);
    addSpot(point, &mark);
    marks.push_back(mark);
  }
  addLost();
}

void FeatureTrails::addLost() {
  for (size_t i = 0; i < before.size(); ++i) {
    if (followed[i]) continue;
    marks.push_back(before[i]);
    marks.back().kind = FeatureKind::Lost;
  }
}

void FeatureTrails::addNew(const TrackerEstimator& analysis) {
  places.Reset(marks.size());
  for (size_t i = 0; i < marks.size(); ++i) places[marks[i].id] = static_cast<int>(i);
  for (const Vorn::Point2D& point : analysis.trackPoints) {
    if (places.Find(point.id) >= 0) continue;
    FeatureMark mark;
    mark.id = point.id;
    mark.kind = FeatureKind::New;
    addSpot(point, &mark);
    marks.push_back(mark);
  }
}

}  // namespace film
