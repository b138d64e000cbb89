// How the event store is edited, so that the sections beside an edit stay continuous with it.
#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "planning/LocalCorrect.h"

namespace {

/// The event whose last frame is nearest to `frame`, -1 if none is nearer than `limit`.
int NearestEnd(const std::vector<MotionInterval>& events, int frame, long long limit) {
  int nearest = -1;
  for (std::size_t i = 0; i < events.size(); ++i) {
    const long long distance = std::llabs(static_cast<long long>(events[i].end_frame) - frame);
    if (distance >= limit) continue;
    limit = distance;
    nearest = static_cast<int>(i);
  }
  return nearest;
}

int Frames(const MotionInterval& event) { return event.end_frame - event.begin_frame + 1; }

}  // namespace

bool LocalCorrect::Axis::holds(int index) const {
  return index >= 0 && index <= last() && static_cast<std::size_t>(index) < filters.size();
}

bool LocalCorrect::Axis::isBroken(int index) const {
  return index >= 0 && index <= last() && events[static_cast<std::size_t>(index)].motion_type == MotionBroken;
}

bool LocalCorrect::Axis::isType(int index, int compType) const {
  return holds(index) && filters[static_cast<std::size_t>(index)].comp_type == compType;
}

void LocalCorrect::Axis::erase(int index) {
  events.erase(events.begin() + index);
  filters.erase(filters.begin() + index);
}

LocalCorrect::Axis LocalCorrect::onAxis(int axis) {
  return axis < 1 ? Axis{0, eventsX, filtersX} : Axis{1, eventsY, filtersY};
}

// Lines and holds beside one another.

void LocalCorrect::adjustLine(Axis& at, int index) {
  if (at.isType(index, Linear)) correcter->AdjustLinear(at.axis, index, at.events, at.filters, at.filter(index));
}

void LocalCorrect::fitLine(Axis& at, int index) {
  MotionFixParams line;
  correcter->FitLinear(index, at.events, at.filters, at.axis, line);
  at.filter(index) = line;
}

/// Brings the holds from `index` on to a position, and lets a line behind them start there.
void LocalCorrect::spreadHold(Axis& at, int index, float position) {
  for (; at.isType(index, Hold); ++index) at.filter(index).start_pos = at.filter(index).end_pos = position;
  if (!at.isType(index, Linear)) return;
  at.filter(index).start_pos = position;
  adjustLine(at, index);
}

bool LocalCorrect::Refit(int axis, int index) {
  Axis at = onAxis(axis);
  if (at.isType(index, Linear)) {
    fitLine(at, index);
    adjustLine(at, index - 1);
    adjustLine(at, index + 1);
    return true;
  }
  if (!at.isType(index, Hold)) return false;
  if (index == 0 || at.isType(index - 1, Linear)) correcter->FitHold(index, at.events, at.axis, at.filter(index));
  const float position = at.filter(index).start_pos;
  if (at.isType(index - 1, Linear)) {
    at.filter(index - 1).end_pos = position;
    adjustLine(at, index - 1);
  }
  spreadHold(at, index + 1, position);
  return true;
}

bool LocalCorrect::SetupInitialVelocity(int axis, int index) {
  Axis at = onAxis(axis);
  if (!at.holds(index)) return false;
  at.filter(index).gradient_in =
      at.isBroken(index - 1) ? 0 : correcter->GetGradient(at.axis, at.event(index).begin_frame);
  return true;
}

void LocalCorrect::AdjustAllLinearFilters() {
  for (const int axis : {0, 1}) {
    Axis at = onAxis(axis);
    for (int i = 0; i <= at.last(); ++i) adjustLine(at, i);
  }
}

// Adding and removing events.

bool LocalCorrect::AddEvent(int axis, int frame) {
  Axis at = onAxis(axis);
  int index = 0;
  while (at.holds(index) && (frame < at.event(index).begin_frame || frame > at.event(index).end_frame)) ++index;
  if (!at.holds(index) || at.isBroken(index)) return false;
  const MotionInterval whole = at.event(index);
  if (frame - whole.begin_frame < minEventFrames || whole.end_frame - frame < minEventFrames) return false;

  MotionFixParams first = at.filter(index), second = first;
  second.gradient_in = correcter->GetGradientProcessed(at.axis, frame, at.events, at.filters);
  first.end_pos = second.start_pos = processedPosition(at.axis, frame);
  if (first.comp_type == Hold) first.end_pos = first.start_pos;
  at.event(index).end_frame = frame;
  at.events.insert(at.events.begin() + index + 1, {frame + 1, whole.end_frame, whole.motion_type, false});
  if (first.comp_type == Linear) {
    first.ease_in = std::min(first.ease_in, Frames(at.event(index)));
    second.ease_out = std::min(second.ease_out, Frames(at.event(index + 1)));
    first.ease_out = second.ease_in = 0;
  }
  at.filter(index) = first;
  at.filters.insert(at.filters.begin() + index + 1, second);
  adjustLine(at, index);
  adjustLine(at, index + 1);
  return true;
}

/// Merges a section into a good neighbour. Returns the index of the section that it is now part of, or -1 if there is
/// none.
int LocalCorrect::mergeSection(Axis& at, int index) {
  if (at.events.size() < 2 || !at.holds(index) || at.isBroken(index)) return -1;
  const bool backwards = index > 0 && !at.isBroken(index - 1);
  if (!backwards && (!at.holds(index + 1) || at.isBroken(index + 1))) return -1;
  const int neighbour = backwards ? index - 1 : index + 1;
  const bool hasLine = at.isType(index, Linear) || at.isType(neighbour, Linear);
  if (backwards) {
    at.event(neighbour).end_frame = at.event(index).end_frame;
    at.filter(neighbour).end_pos = at.filter(index).end_pos;
  } else {
    at.event(neighbour).begin_frame = at.event(index).begin_frame;
    at.event(neighbour).cut = at.event(index).cut;
    at.filter(neighbour).start_pos = at.filter(index).start_pos;
  }
  at.erase(index);
  const int survivor = backwards ? neighbour : index;
  if (hasLine) fitLine(at, survivor);
  return survivor;
}

bool LocalCorrect::DeleteEventBySection(int axis, int index) {
  Axis at = onAxis(axis);
  return mergeSection(at, index) >= 0;
}

bool LocalCorrect::DeleteEvent(int axis, int frame) {
  Axis at = onAxis(axis);
  const int index = NearestEnd(at.events, frame, 100000);
  if (!at.holds(index) || !at.holds(index + 1)) return false;
  if (std::llabs(static_cast<long long>(at.event(index).end_frame) - frame) > minEventFrames) return false;
  if (at.isBroken(index) || at.isBroken(index + 1)) return false;
  at.event(index).end_frame = at.event(index + 1).end_frame;
  at.filter(index).end_pos = at.filter(index + 1).end_pos;
  at.erase(index + 1);
  fitLine(at, index);
  return true;
}

bool LocalCorrect::DeleteEventSelection(int first, int last) {
  const int horizontal = static_cast<int>(eventsX.size());
  const int axis = first < horizontal ? 0 : 1;
  if (first > last || (last < horizontal ? 0 : 1) != axis) return false;
  const int offset = axis == 0 ? 0 : horizontal;
  if (first == last) return DeleteEventBySection(axis, first - offset);

  Axis at = onAxis(axis);
  if (first < 0 || last - offset > at.last()) return false;
  bool merged = false;
  for (int index = first - offset, left = last - first + 1; left > 0; --left) {
    const int survivor = mergeSection(at, index);
    if (survivor < 0) {
      ++index;  // a broken event, or one without a good neighbour
      continue;
    }
    Refit(axis, survivor);
    merged = true;
  }
  return merged;
}

// Aligning the axes.

/// Moves the boundary nearest to the frame `boundary` so that its event ends there.
bool LocalCorrect::moveBoundary(Axis& at, int boundary) {
  const int index = NearestEnd(at.events, boundary, 10000);
  if (index < 0 || index >= at.last()) return false;
  MotionInterval &before = at.event(index), &behind = at.event(index + 1);
  if (std::abs(before.end_frame - boundary) >= minEventFrames) return false;
  if (at.isBroken(index) || at.isBroken(index + 1)) return false;
  if (boundary < before.begin_frame || boundary >= behind.end_frame) return false;
  before.end_frame = boundary;
  behind.begin_frame = boundary + 1;
  return true;
}

bool LocalCorrect::AlignEventsBySection(int axis, int index) {
  Axis at = onAxis(axis), other = onAxis(at.axis == 0 ? 1 : 0);
  return index > 0 && at.holds(index) && moveBoundary(other, at.event(index).begin_frame - 1);
}

bool LocalCorrect::AlignEvents(int axis, int frame) {
  Axis at = onAxis(axis), other = onAxis(at.axis == 0 ? 1 : 0);
  const int index = NearestEnd(at.events, frame, static_cast<long long>(minEventFrames) + 1);
  return index >= 0 && moveBoundary(other, at.event(index).end_frame);
}

// Installing edited sections and events.

bool LocalCorrect::UpdateFilterParameters(int axis, int index, MotionFixParams& params) {
  Axis at = onAxis(axis);
  if (!at.holds(index)) return false;
  if (at.isBroken(index) && params.comp_type != None) return false;  // there is no motion to follow
  const bool wasLine = at.isType(index, Linear);
  at.filter(index) = params;
  if (params.comp_type == None) makeUncompensated(at, index);
  if (params.comp_type == Hold) makeHold(at, index);
  if (params.comp_type == Linear) makeLine(at, index, wasLine);
  joinNeighbours(at, index);
  if (adjustOnEdit)
    for (const int each : {0, 1}) lineUpStarts(onAxis(each));
  params = at.filter(index);
  return true;
}

void LocalCorrect::makeUncompensated(Axis& at, int index) {
  MotionFixParams& section = at.filter(index);
  const int begin = at.event(index).begin_frame;
  const bool restarts = at.isBroken(index) || at.isBroken(index - 1);
  section = MotionFixParams();
  section.comp_type = None;
  if (at.isType(index - 1, Hold))
    section.start_pos = at.filter(index - 1).end_pos;
  else if (!restarts)
    section.start_pos = processedPosition(at.axis, begin);
  if (!at.isBroken(index)) section.gradient_in = correcter->GetGradient(at.axis, begin);
  correcter->AdjustNoComp(at.axis, index, at.events, section);
}

/// A hold behind a section that can't be led to it stays where that one ends.
void LocalCorrect::makeHold(Axis& at, int index) {
  MotionFixParams& section = at.filter(index);
  correcter->FitHold(index, at.events, at.axis, section);
  if (index > 0 && !at.isType(index - 1, Linear)) section.start_pos = section.end_pos = at.filter(index - 1).end_pos;
}

void LocalCorrect::makeLine(Axis& at, int index, bool wasLine) {
  MotionFixParams& section = at.filter(index);
  if (!wasLine) {
    section.start_pos = index > 0 ? at.filter(index - 1).end_pos : processedPosition(at.axis, at.event(0).begin_frame);
    section.end_pos = aimOf(at, index);
    SetupInitialVelocity(at.axis, index);
  }
  if (at.isType(index - 1, Hold)) {
    section.start_pos = at.filter(index - 1).end_pos;
    section.gradient_in = 0;
  }
  if (at.isType(index + 1, Hold)) section.end_pos = at.filter(index + 1).start_pos;
  if (wasLine)
    adjustLine(at, index);
  else
    fitLine(at, index);
}

/// Brings the neighbours of a changed section to where it starts and ends.
void LocalCorrect::joinNeighbours(Axis& at, int index) {
  const MotionFixParams& section = at.filter(index);
  if (at.isType(index - 1, Linear) && !at.isBroken(index)) {
    at.filter(index - 1).end_pos = section.start_pos;
    adjustLine(at, index - 1);
  }
  if (!at.isBroken(index + 1)) spreadHold(at, index + 1, section.end_pos);
}

/// Lets each section start where the one before it ends, as long as that isn't broken.
void LocalCorrect::lineUpStarts(Axis at) {
  for (int i = 1; at.holds(i); ++i) {
    MotionFixParams& section = at.filter(i);
    const float position = at.filter(i - 1).end_pos;
    if (at.isBroken(i) || at.isBroken(i - 1) || section.start_pos == position) continue;
    if (section.comp_type == Hold) continue;  // it stays where it was fitted
    section.start_pos = position;
    adjustLine(at, i);
    if (section.comp_type == None) correcter->AdjustNoComp(at.axis, i, at.events, section);
  }
}

void LocalCorrect::UpdateSections(const std::vector<MotionInterval>& horizontal,
                                  const std::vector<MotionInterval>& vertical) {
  moveSections(onAxis(0), horizontal);
  moveSections(onAxis(1), vertical);
}

void LocalCorrect::moveSections(Axis at, const std::vector<MotionInterval>& events) {
  const std::vector<MotionInterval> before = at.events;
  at.events = events;
  if (at.events.size() != before.size() || at.events.size() != at.filters.size()) {
    initialiseSections(at);
    fitAxis(at);
    return;
  }
  for (int i = 0; at.holds(i); ++i) {
    const MotionInterval& old = before[static_cast<std::size_t>(i)];
    const bool beginMoved = old.begin_frame != at.event(i).begin_frame;
    const bool endMoved = old.end_frame != at.event(i).end_frame;
    if (keepPositions && beginMoved) carryStart(at, i);
    if (keepPositions && endMoved) carryEnd(at, i);
    if (beginMoved || endMoved) adjustLine(at, i);
  }
}

void LocalCorrect::carryStart(Axis& at, int index) {
  if (at.isBroken(index) || at.isBroken(index - 1)) return;  // the design restarts at zero there
  if (at.isType(index, Hold) || at.isType(index - 1, Hold)) return;
  at.filter(index).start_pos = processedPosition(at.axis, at.event(index).begin_frame);
}

void LocalCorrect::carryEnd(Axis& at, int index) {
  if (at.isBroken(index) || at.isType(index, Hold) || at.isType(index + 1, Hold)) return;
  const bool leadsOn = at.holds(index + 1) && !at.isBroken(index + 1);
  at.filter(index).end_pos = leadsOn ? processedPosition(at.axis, at.event(index + 1).begin_frame) : aimOf(at, index);
}

/// Fits one axis by itself: the other has no sections to fit.
void LocalCorrect::fitAxis(Axis at) {
  std::vector<MotionInterval> noEvents;
  std::vector<MotionFixParams> noFits;
  if (at.axis == 0)
    correcter->Fit(at.events, at.filters, noEvents, noFits);
  else
    correcter->Fit(noEvents, noFits, at.events, at.filters);
}
