#include "planning/IntentDetector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "numerics/Geometry.h"
#include "numerics/Matrix.h"
#include "planning/Axis.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::ProjectPoint;
using Vorn::Signum;

namespace {

using Events = std::vector<MotionInterval>;

int Frames(const MotionInterval& event) { return event.end_frame - event.begin_frame + 1; }

/// Lets the event at `index` take over the frames of the one behind it.
void Absorb(Events& events, std::size_t index) {
  events[index].end_frame = events[index + 1].end_frame;
  events.erase(events.begin() + static_cast<std::ptrdiff_t>(index) + 1);
}

void MergeBroken(Events& events) {
  for (std::size_t i = 0; i + 1 < events.size();)
    if (events[i].motion_type == MotionBroken && events[i + 1].motion_type == MotionBroken)
      Absorb(events, i);
    else
      ++i;
}

/// Whether two speeds point the same way, and neither stands.
bool SameDirection(double a, double b) { return (a > 0 && b > 0) || (a < 0 && b < 0); }
bool Opposite(double a, double b) { return (a > 0 && b < 0) || (a < 0 && b > 0); }

}  // namespace

// The split by confidence.

Point2D IntentDetector::trackedPoint(const HomographySet& motion) const {
  return motion.originLocation == 4 ? Point2D(0, 0) : centre;
}

std::vector<MotionInterval> IntentDetector::PreliminaryDetect(const HomographySet& motion,
                                                              const MotionConfidenceSet& confidence) {
  const float lowConfidence = 0.1f;
  const double realMove = 2.0;  // pixels in one frame
  const Point2D point = trackedPoint(motion);
  Events stretches;
  MotionInterval current = {motion.start, motion.end, MotionStill, false};
  const auto closeBefore = [&](int frame) {
    current.end_frame = frame - 1;
    stretches.push_back(current);
    current.begin_frame = frame;
  };

  eventsP.clear();
  if (motion.start == -1 && motion.end == -1) return eventsP;  // no frames
  for (int frame = motion.start; frame <= motion.end; ++frame) {
    const float c = confidence.Get(frame);
    if (c <= lowConfidence && current.motion_type != MotionBroken) {
      // A shorter stretch ahead of the drop goes down with it.
      if (frame - current.begin_frame > minInterval) closeBefore(frame);
      current.motion_type = MotionBroken;
    } else if (c > lowConfidence && current.motion_type == MotionBroken) {
      if (frame - current.begin_frame <= minInterval && current.begin_frame != motion.start) continue;
      closeBefore(frame);
      current.motion_type = MotionStill;
    }
    if (current.motion_type != MotionStill) continue;
    Matrix m;
    motion.Get(frame, m);
    const Point2D moved = ProjectPoint(m, point);
    // The position itself is tested, which is the displacement when the origin is the centre. Meant.
    if (std::fabs(moved.x) >= realMove || std::fabs(moved.y) >= realMove) current.motion_type = MotionMoving;
  }
  current.end_frame = motion.end;
  stretches.push_back(current);

  MergeBroken(stretches);
  finishTail(stretches);
  eventsP = stretches;
  return eventsP;
}

/// A last stretch that is too short takes frames from the one before if that can spare them, and else joins it.
void IntentDetector::finishTail(Events& stretches) const {
  if (stretches.size() < 2) return;
  MotionInterval& last = stretches.back();
  MotionInterval& previous = stretches[stretches.size() - 2];
  const int shortage = minInterval - (last.end_frame - last.begin_frame);
  if (shortage <= 0 || last.motion_type == MotionBroken) return;
  if (previous.motion_type != MotionBroken && previous.end_frame - previous.begin_frame - shortage > minInterval) {
    last.begin_frame = last.end_frame - minInterval;
    previous.end_frame = last.begin_frame - 1;
  } else {
    Absorb(stretches, stretches.size() - 2);
  }
}

// The events of the good stretches.

void IntentDetector::Analyse(const HomographySet& motion, const Events& preliminary, bool motionPriority) {
  eventsX.clear();
  eventsY.clear();
  for (const MotionInterval& stretch : preliminary) {
    if (stretch.motion_type == MotionBroken) {
      eventsX.push_back(stretch);
      eventsY.push_back(stretch);
      continue;
    }
    projectCentreTrack(motion, stretch.begin_frame, stretch.end_frame);
    findKeyFrames(stretch.begin_frame, stretch.end_frame);
    linFitThresh = motionPriority ? 80.0 : 20.0;
    if (motionPriority) recursiveLinearFit(stretch);
    for (const int axis : {0, 1}) {
      Events found;
      makeSubEvents(found, keys(axis));
      classifySubEvents(found, location, axis, minDisp);
      removeFastChanges(found, axis);
      insertKeyFrames(found, axis);
      if (mergeStill) mergeStillEvents(found);
      Events& events = axis == 0 ? eventsX : eventsY;
      events.insert(events.end(), found.begin(), found.end());
    }
  }
}

void IntentDetector::GetHorizontalMotion(Events& events) const { events = eventsX; }

void IntentDetector::GetVerticalMotion(Events& events) const { events = eventsY; }

void IntentDetector::Clear() {
  eventsX.clear();
  eventsY.clear();
  eventsP.clear();
}

std::vector<MotionInterval> IntentDetector::CreateDefaultPrelimEvents(const HomographySet& motion) {
  eventsP = {{motion.start, motion.end, MotionMoving, false}};
  return eventsP;
}

void IntentDetector::projectCentreTrack(const HomographySet& motion, int first, int last) {
  const Point2D point = trackedPoint(motion);
  Matrix m;
  motion.Get(first, m);
  Point2D tracked = ProjectPoint(m, point);
  location.clear();
  locationStart = first;
  for (int frame = first; frame <= last; ++frame) {
    motion.Get(frame, m);
    tracked = tracked + (ProjectPoint(m, point) - point);
    location.push_back(tracked);
  }
}

/// The tracked position at a frame; beyond the path, that of its nearer end.
double IntentDetector::position(int frame, int axis) const {
  if (location.empty()) return 0;
  const int last = static_cast<int>(location.size()) - 1;
  return OnAxis(location[static_cast<std::size_t>(std::clamp(frame - locationStart, 0, last))], axis);
}

// Key frames.

void IntentDetector::findKeyFrames(int first, int last) {
  for (const int axis : {0, 1}) keys(axis) = thinnedKeys(candidateKeys(first, last, axis), axis);
}

/// The frames where the axis starts, stops or reverses, between `first` and `last`.
std::vector<int> IntentDetector::candidateKeys(int first, int last, int axis) const {
  if (last <= first) return {first};
  const double stopped = 0.5 * minGrad;
  const double d0 = position(first + 1, axis) - position(first, axis);
  bool moving = std::fabs(d0) > stopped;
  int direction = Signum(d0);
  std::vector<int> candidates = {first};
  for (int frame = first + 1; frame < last - 1; ++frame) {
    // The central difference spans two frames, and is held against limits for one. Meant.
    const double d = position(frame + 1, axis) - position(frame - 1, axis);
    const double a = std::fabs(d);
    bool isKey = false;
    if (a < stopped) {
      isKey = moving;
      moving = false;
    }
    if (a > minGrad) {
      isKey = isKey || !moving;
      moving = true;
    }
    if (moving && a > stopped && Signum(d) != direction) isKey = true;
    if (isKey) candidates.push_back(frame);
    direction = Signum(d);
  }
  candidates.push_back(last);
  return candidates;
}

/// Keeps the candidates that stand apart from the last one kept and from the end, and mark a change.
std::vector<int> IntentDetector::thinnedKeys(const std::vector<int>& candidates, int axis) const {
  const int last = candidates.back();
  std::vector<int> kept = {candidates.front()};
  for (std::size_t i = 1; i < candidates.size(); ++i) {
    const int key = candidates[i], previous = kept.back();
    if (key - previous <= minInterval || last - key <= minInterval) continue;
    if (standsByItself(candidates, i, previous, axis)) kept.push_back(key);
  }
  if (kept.back() != last) kept.push_back(last);
  return kept;
}

/// Whether the path went far to this candidate, or goes far behind it at another speed.
bool IntentDetector::standsByItself(const std::vector<int>& candidates, std::size_t index, int previous,
                                    int axis) const {
  const int key = candidates[index];
  const double here = position(key, axis), delta = here - position(previous, axis);
  if (std::fabs(delta) > minDisp) return true;
  if (index + 1 >= candidates.size()) return false;
  const int next = candidates[index + 1];
  const double ahead = position(next, axis) - here;
  return std::fabs(ahead) > minDisp && std::fabs(ahead / (next - key) - delta / (key - previous)) > 0.5;
}

void IntentDetector::GetKeyFrames(std::vector<int>& frames) const {
  frames.clear();
  std::set_union(keyX.begin(), keyX.end(), keyY.begin(), keyY.end(), std::back_inserter(frames));
}

bool IntentDetector::hasKeyFrames(int first, int last, int axis) const {
  return std::any_of(keys(axis).begin(), keys(axis).end(), [=](int key) { return first < key && key < last; });
}

int IntentDetector::findBestLinearKeyFrame(int first, int last, int axis) const {
  float best = calculateLinearFitCost(first, last, axis, false);
  int bestKey = -1;
  for (const int key : keys(axis)) {
    if (key <= first || key >= last) continue;
    const float cost =
        calculateLinearFitCost(first, key - 1, axis, false) + calculateLinearFitCost(key, last, axis, false);
    if (cost < best) {
      best = cost;
      bestKey = key;
    }
  }
  return bestKey;
}

void IntentDetector::deleteKeyFrames(int first, int last, int axis) {
  std::erase_if(keys(axis), [=](int key) { return first < key && key < last; });
}

void IntentDetector::deleteAdjacentKeyFrames(int key, int axis, int first, int last, int distance) {
  std::erase_if(keys(axis), [=](int other) {
    return first < other && other < last && other != key && std::abs(other - key) < distance;
  });
}

void IntentDetector::recursiveLinearFit(const MotionInterval& stretch) {
  for (const int axis : {0, 1}) recursiveSearch(stretch.begin_frame, stretch.end_frame, axis);
}

void IntentDetector::recursiveSearch(int first, int last, int axis) {
  if (!hasKeyFrames(first, last, axis)) return;
  std::vector<int>& list = keys(axis);
  auto left = std::lower_bound(list.begin(), list.end(), first);
  while (std::distance(left, list.end()) >= 3) {
    const auto middle = left + 1, right = left + 2;
    if (calculateLinearFitCost(*left, *right, axis, true) < linearThreshMotionPri)
      left = list.erase(middle);  // now at the right key
    else
      ++left;
  }
}

// Straight lines.

/// Gives `visit` the deviation of each measured frame from the line. The gradient's divisor counts frames, one more
/// than the steps, so that the line never quite reaches the end point. Kept: the thresholds are tuned to it.
template <typename Visit>
void IntentDetector::visitDeviations(int first, int last, int axis, Visit visit) const {
  const double begin = position(first, axis);
  const auto slope = static_cast<float>((position(last, axis) - begin) / (last - first + 1));
  for (int frame = first + minInterval; frame <= last - minInterval; ++frame)
    visit(std::fabs(position(frame, axis) - (begin + static_cast<double>(frame - first) * slope)));
}

float IntentDetector::calculateLinearFitCost(int first, int last, int axis, bool useMaximum) const {
  float largest = 0, sum = 0;
  visitDeviations(first, last, axis, [&](double error) {
    largest = std::max(largest, static_cast<float>(error));
    sum += static_cast<float>(error);
  });
  return useMaximum ? largest : sum;
}

// Events.

void IntentDetector::makeSubEvents(Events& out, const std::vector<int>& keyFrames) const {
  out.clear();
  if (keyFrames.empty()) return;
  for (std::size_t i = 0; i + 1 < keyFrames.size(); ++i)
    out.push_back({keyFrames[i], keyFrames[i + 1] - 1, MotionMoving, false});
  if (out.empty()) out.push_back({keyFrames.front(), keyFrames.front(), MotionMoving, false});
  out.back().end_frame = keyFrames.back();  // the final key belongs to its event; others start the next
}

void IntentDetector::classifySubEvents(Events& events, const std::vector<Point2D>& track, int axis,
                                       double threshold) const {
  const auto at = [&](int frame) { return OnAxis(track[static_cast<std::size_t>(frame - locationStart)], axis); };
  for (MotionInterval& event : events) {
    if (event.motion_type == MotionBroken) continue;
    const int first = event.begin_frame, last = event.end_frame;
    const double net = std::fabs(at(last) - at(first));
    double path = 0;
    for (int frame = first; frame < last; ++frame) path += std::fabs(at(frame + 1) - at(frame));
    const float cost = calculateLinearFitCost(first, last, axis, true);
    // The second case is a shaky stand: the camera wandered, but arrived nowhere.
    const bool slow = net == 0 || net / (last - first) < 0.25 || path / net > 1.5;
    const bool still = net < threshold && cost < linearThreshMotionPri && slow;
    event.motion_type = still ? MotionStill : MotionMoving;
  }
}

double IntentDetector::gradient(const MotionInterval& event, int axis) const {
  return (position(event.end_frame, axis) - position(event.begin_frame, axis)) / Frames(event);
}

void IntentDetector::removeFastChanges(Events& events, int axis) const {
  for (std::size_t i = 0; i + 1 < events.size();)
    if (isTooShort(events, i, axis))
      Absorb(events, i);  // the event keeps its type, and meets the next one
    else
      ++i;
}

/// Whether the event behind `index` is too short to be meant.
bool IntentDetector::isTooShort(const Events& events, std::size_t index, int axis) const {
  const MotionInterval &a = events[index], &b = events[index + 1];
  if (a.motion_type == MotionStill) return false;
  const double before = gradient(a, axis), here = gradient(b, axis);
  const bool betweenMoves =
      b.motion_type == MotionStill && index + 2 < events.size() && events[index + 2].motion_type != MotionStill;
  if (betweenMoves && Frames(b) < 2 * minInterval && SameDirection(before, gradient(events[index + 2], axis)))
    return true;
  if (Frames(b) >= 3 * minInterval) return false;
  if (std::fabs(here - before) >= 2.0) return true;
  return Frames(b) < 1.5 * minInterval && Opposite(before, here);
}

/// Whether the event is long enough to be split, and isn't straight.
bool IntentDetector::bends(const MotionInterval& event, int axis) const {
  const int shortest = std::max(2 * minInterval, 2);  // of two frames nothing would be left for the second half
  if (event.end_frame - event.begin_frame < shortest) return false;
  double deviation = 0;
  visitDeviations(event.begin_frame, event.end_frame, axis,
                  [&](double error) { deviation = std::max(deviation, error); });
  return deviation >= linFitThresh;
}

void IntentDetector::insertKeyFrames(Events& events, int axis) const {
  for (std::size_t i = 0; i < events.size();) {
    MotionInterval& event = events[i];
    if (!bends(event, axis)) {
      ++i;
      continue;
    }
    // Those before have passed and don't change, so the walk stays at the first half.
    const MotionInterval second = {event.begin_frame + Frames(event) / 2 + 1, event.end_frame, MotionMoving, false};
    event.end_frame = second.begin_frame - 1;
    event.motion_type = MotionMoving;
    events.insert(events.begin() + static_cast<std::ptrdiff_t>(i) + 1, second);
  }
}

void IntentDetector::mergeStillEvents(Events& events) const {
  // Steps over the event that moves into an erased place, so that of three in a row two are left. Meant.
  for (std::size_t i = 1; i < events.size(); ++i)
    if (events[i].motion_type == MotionStill && events[i - 1].motion_type == MotionStill && !events[i].cut)
      Absorb(events, i - 1);
}
