#include "planning/LocalCorrect.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "planning/Axis.h"

using Events = std::vector<MotionInterval>;
using Filters = std::vector<MotionFixParams>;

namespace {

bool IsBroken(const MotionInterval& event) { return event.motion_type == MotionBroken; }

/// Joins neighbours that are both broken or both good.
void JoinAlike(Events& events) {
  Events joined;
  for (const MotionInterval& event : events)
    if (!joined.empty() && IsBroken(joined.back()) == IsBroken(event))
      joined.back().end_frame = event.end_frame;
    else
      joined.push_back(event);
  events = joined;
}

bool Follows(const MotionInterval& event, const MotionInterval& before) {
  return event.begin_frame == static_cast<long long>(before.end_frame) + 1;
}

void CollectFastLines(const Filters& filters, float limit, std::vector<int>& indices) {
  indices.clear();
  for (std::size_t i = 0; i < filters.size(); ++i)
    if (filters[i].comp_type == Linear && std::fabs(filters[i].gradient) > limit)
      indices.push_back(static_cast<int>(i));
}

}  // namespace

void LocalCorrect::Clear() {
  eventsX.clear();
  eventsY.clear();
  filtersX.clear();
  filtersY.clear();
}

MotionFixParams& LocalCorrect::Filter(int axis, int index) {
  return (axis < 1 ? filtersX : filtersY)[static_cast<std::size_t>(index)];
}

void LocalCorrect::SetFromData(const Events& horizontal, const Events& vertical, const Filters& fitsX,
                               const Filters& fitsY) {
  eventsX = horizontal;
  eventsY = vertical;
  filtersX = fitsX;
  filtersY = fitsY;
}

bool LocalCorrect::IsValid() const {
  if (eventsX.empty() || eventsY.empty()) return false;
  if (eventsX.front().begin_frame != eventsY.front().begin_frame) return false;
  for (std::size_t i = 1; i < eventsX.size(); ++i)
    if (!Follows(eventsX[i], eventsX[i - 1])) return false;
  const MotionInterval* joined = &eventsY.front();  // a gap stops it there, and tells only by the end
  for (const MotionInterval& event : eventsY)
    if (Follows(event, *joined)) joined = &event;
  return eventsX.back().end_frame == joined->end_frame;
}

float LocalCorrect::processedPosition(int axis, int frame) const {
  float position = 0;
  correcter->GetPosition(axis < 1 ? 0 : 1, frame, position);
  return position;
}

float LocalCorrect::GetStartAtFrame(int axis, int /*unused*/, int frame) const {
  return processedPosition(axis, frame);
}

MotionFixParams LocalCorrect::uncompensated(int axis, const MotionInterval& event) const {
  MotionFixParams section;
  section.comp_type = None;
  section.start_pos = processedPosition(axis, event.begin_frame);
  section.end_pos = processedPosition(axis, event.end_frame);
  return section;
}

void LocalCorrect::InitialiseSingle(int first, int last) {
  Clear();
  eventsX = eventsY = {{first, last, MotionMoving, false}};
  ClearAxis(0, false);
  ClearAxis(1, false);
}

void LocalCorrect::ClearAxis(int axis, bool wholeClip) {
  if (eventsX.empty()) return;
  Axis at = onAxis(axis);
  at.filters.clear();
  if (wholeClip)
    at.events = {{eventsX.front().begin_frame, eventsX.back().end_frame, MotionMoving, false}};
  else
    JoinAlike(at.events);
  for (const MotionInterval& event : at.events) at.filters.push_back(uncompensated(axis, event));
}

void LocalCorrect::InitialiseNoComp(const Events& horizontal, const Events& vertical) {
  eventsX = horizontal;
  eventsY = vertical;
  for (const int axis : {0, 1}) {
    Axis at = onAxis(axis);
    at.filters.clear();
    for (const MotionInterval& event : at.events) {
      at.filters.push_back(uncompensated(axis, event));
      if (IsBroken(event)) at.filters.back().start_pos = at.filters.back().end_pos = 0;
    }
  }
}

void LocalCorrect::InitialiseSections(const Events& horizontal, const Events& vertical) {
  eventsX = horizontal;
  eventsY = vertical;
  initialiseSections(onAxis(0));
  initialiseSections(onAxis(1));
}

/// The first section starts where the camera really starts, inner ones aim at the processed path, and those before
/// uncorrected footage end where the camera really is. The rest is zero, so that no fit of an earlier clip survives.
void LocalCorrect::initialiseSections(Axis at) {
  at.filters.assign(at.events.size(), MotionFixParams());
  for (int i = 0; i <= at.last(); ++i) {
    at.filter(i).start_pos = static_cast<float>(OnAxis(correcter->actualCentre(at.event(i).begin_frame), at.axis));
    at.filter(i).end_pos = aimOf(at, i);
  }
}

float LocalCorrect::aimOf(const Axis& at, int index) const {
  const int end = at.events[static_cast<std::size_t>(index)].end_frame;
  if (index < at.last() && !at.isBroken(index + 1)) return processedPosition(at.axis, end);
  return static_cast<float>(OnAxis(correcter->actualCentre(end), at.axis));
}

void LocalCorrect::FitCorrection() { correcter->Fit(eventsX, filtersX, eventsY, filtersY); }

void LocalCorrect::Correct(const Vorn::HomographySet& in, Vorn::HomographySet& out) {
  if (eventsX.empty() || eventsY.empty()) return;
  if (compensating)
    correcter->CorrectCompensating(in, eventsX, filtersX, eventsY, filtersY, out);
  else
    correcter->Correct(in, eventsX, filtersX, eventsY, filtersY, out);
}

int LocalCorrect::GetBadGradients(std::vector<int>& x, std::vector<int>& y) const {
  CollectFastLines(filtersX, maxGradient, x);
  CollectFastLines(filtersY, maxGradient, y);
  return static_cast<int>(x.size() + y.size());
}

float LocalCorrect::GetMaximumSpeed() const {
  float fastest = 0;
  for (const Filters* filters : {&filtersX, &filtersY})
    for (const MotionFixParams& section : *filters)
      if (section.comp_type == Linear) fastest = std::max(fastest, std::fabs(section.gradient));
  return fastest;
}
