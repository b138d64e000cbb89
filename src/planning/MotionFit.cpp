// How `MotionCorrect` fits its sections to the processed centre path.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>

#include "numerics/Median.h"
#include "planning/Axis.h"
#include "planning/MotionCorrect.h"

namespace {

/// A `Linear` section in search of its ease lengths: N frames (`frames`) from `start` over `distance` pixels, entered
/// at the speed `gradientIn` and left at `gradientNext`.
struct LineSearch {
  std::vector<double> path;  // the processed position at the interval's j-th frame
  int frames;
  double start, distance, gradientIn, gradientNext;

  int easeIn() const;
  int easeOut(int easeIn) const;
  double gradient(int easeIn, int easeOut) const;

 private:
  double easeInCost(int ease, double bound) const;
  double easeOutCost(int easeIn, int ease, double bound) const;
  bool addDeviation(double& error, int first, int count, double base, double speed, double curve, double share,
                    double bound) const;
  double distanceBehind(int easeIn) const { return distance - 0.5 * gradientIn * easeIn; }
};

constexpr double kWorstCost = 10000.0;

/// Adds to `error` how far the path, from its entry `first` on, is from base + j speed + j² curve, for j below `count`.
/// Stops with false once error / share reaches `bound`: the cost can only grow, and has lost by then.
bool LineSearch::addDeviation(double& error, int first, int count, double base, double speed, double curve,
                              double share, double bound) const {
  const int block = 64;
  const double* measured = path.data() + first;
  for (int j = 0; j < count;) {
    for (const int blockEnd = std::min(count, j + block); j < blockEnd; ++j)
      error += std::fabs(measured[j] - (base + j * speed + static_cast<double>(j) * j * curve));
    if (error / share >= bound) return false;
  }
  return true;
}

/// The mean deviation over the section's first half with an ease in of `ease` frames.
double LineSearch::easeInCost(int ease, double bound) const {
  const int half = frames / 2;
  const int easeOutGuess = static_cast<int>(0.25 * frames);  // stands in for a length that isn't known yet
  const int steps = (frames - easeOutGuess + easeOutGuess / 2) - ease + ease / 2;  // in halves of whole frames
  const double speed = (distance - 0.5 * gradientIn * ease - 0.5 * gradientNext * easeOutGuess) / steps;
  double error = 0;
  if (ease > 0 && !addDeviation(error, 0, ease, start, gradientIn, 0.5 * (speed - gradientIn) / ease, half, bound))
    return std::numeric_limits<double>::infinity();
  // The line behind the ease starts from what an ease from standstill would cover. Kept: stored fits rely on it.
  if (ease < half && !addDeviation(error, ease, half - ease, start + 0.5 * speed * ease, speed, 0, half, bound))
    return std::numeric_limits<double>::infinity();
  return error / half;
}

int LineSearch::easeIn() const {
  if (frames <= 0) return 0;
  const int half = frames / 2;
  const bool abrupt = std::fabs(gradientIn - distance / frames) > 1.0;
  const int first = abrupt ? static_cast<int>(0.1 * frames) : 0;
  double best = kWorstCost;
  int bestEase = half;
  for (int ease = first; ease <= half; ++ease)
    if (const double cost = easeInCost(ease, best); cost < best) {
      best = cost;
      bestEase = ease;
    }
  return bestEase;
}

/// The mean deviation over the section with an ease out of `ease` frames.
double LineSearch::easeOutCost(int easeIn, int ease, double bound) const {
  const int rest = frames - easeIn;
  const int steps = ease / 2 + easeIn / 2 + (rest - ease);  // in halves of whole frames
  const double speed = (distanceBehind(easeIn) - 0.5 * gradientNext * ease) / steps;
  const double eased = 0.5 * (speed - gradientIn) * easeIn + gradientIn * easeIn;
  double error = 0;
  if (ease > 0 && !addDeviation(error, frames - ease, ease, start + eased + (rest - ease) * speed, speed,
                                0.5 * (gradientNext - speed) / ease, rest, bound))
    return std::numeric_limits<double>::infinity();
  if (easeIn < frames - ease &&
      !addDeviation(error, easeIn, frames - ease - easeIn, start + eased, speed, 0, rest, bound))
    return std::numeric_limits<double>::infinity();
  return error / rest;
}

int LineSearch::easeOut(int easeIn) const {
  if (frames <= 0) return 0;
  const int rest = frames - easeIn;
  double best = kWorstCost;
  int bestEase = rest;
  for (int ease = 0; ease <= rest; ++ease)
    if (const double cost = easeOutCost(easeIn, ease, best); cost < best) {
      best = cost;
      bestEase = ease;
    }
  return bestEase;
}

double LineSearch::gradient(int easeIn, int easeOut) const {
  if (frames <= 0) return 0;  // no frames to move in
  return (distanceBehind(easeIn) - 0.5 * gradientNext * easeOut) /
         (0.5 * easeOut + (frames - easeIn - easeOut) + 0.5 * easeIn);
}

void MakeHold(float position, MotionFixParams& section) {
  section.comp_type = Hold;
  section.gradient = section.gradient_in = 0;
  section.start_pos = section.end_pos = position;
}

/// The type of each section from its event. The design restarts at zero behind a broken stretch.
void ChooseTypes(const std::vector<MotionInterval>& events, std::vector<MotionFixParams>& params) {
  for (std::size_t i = 0; i < events.size(); ++i) {
    MotionFixParams& section = params[i];
    if (events[i].motion_type == MotionMoving) section.comp_type = Linear;
    if (events[i].motion_type == MotionStill) section.comp_type = Hold;
    if (events[i].motion_type != MotionBroken) continue;
    section.comp_type = None;
    section.gradient = section.gradient_in = section.start_pos = section.end_pos = 0;
    if (i + 1 < params.size()) params[i + 1].start_pos = 0;
  }
}

bool IsBroken(const std::vector<MotionInterval>& events, std::size_t index) {
  return index < events.size() && events[index].motion_type == MotionBroken;
}

/// A hold that would lead from another hold into a broken stretch must move, to end where the camera truly is.
bool MustMove(std::size_t index, const std::vector<MotionInterval>& events,
              const std::vector<MotionFixParams>& params) {
  return index > 0 && IsBroken(events, index + 1) && params[index - 1].comp_type == Hold;
}

/// Gives the position of the hold at `index` to the still events directly behind it, and to the move after them as its
/// start. Returns the last of the holds.
std::size_t SpreadHold(std::size_t index, const std::vector<MotionInterval>& events,
                       std::vector<MotionFixParams>& params) {
  const float position = params[index].start_pos;
  std::size_t next = index + 1;
  for (; next < events.size() && events[next].motion_type == MotionStill && !MustMove(next, events, params); ++next)
    MakeHold(position, params[next]);
  if (next < events.size() && !IsBroken(events, next)) {
    params[next].start_pos = position;
    params[next].gradient_in = 0;
  }
  return next - 1;
}

}  // namespace

void MotionCorrect::Fit(const std::vector<MotionInterval>& eventsX, std::vector<MotionFixParams>& paramsX,
                        const std::vector<MotionInterval>& eventsY, std::vector<MotionFixParams>& paramsY) const {
  if (pCentreRange.empty()) {
    std::fputs("Cannot fit for corrected motion if processed centre motion is not available\n", stderr);
    return;
  }
  paramsX.resize(eventsX.size());
  paramsY.resize(eventsY.size());
  fitAxis(0, eventsX, paramsX);
  fitAxis(1, eventsY, paramsY);
}

void MotionCorrect::fitAxis(int axis, const std::vector<MotionInterval>& events,
                            std::vector<MotionFixParams>& params) const {
  ChooseTypes(events, params);
  fitHolds(axis, events, params);
  joinLines(axis, events, params);
  fitLines(axis, events, params);
}

void MotionCorrect::fitHolds(int axis, const std::vector<MotionInterval>& events,
                             std::vector<MotionFixParams>& params) const {
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (params[i].comp_type != Hold) continue;
    if (MustMove(i, events, params)) {
      params[i].comp_type = Linear;
      continue;
    }
    const auto position = static_cast<float>(holdPosition(axis, static_cast<int>(i), events, params));
    if (i > 0 && !IsBroken(events, i - 1) && params[i - 1].comp_type != Hold) params[i - 1].end_pos = position;
    MakeHold(position, params[i]);
    i = SpreadHold(i, events, params);
  }
}

double MotionCorrect::holdPosition(int axis, int index, const std::vector<MotionInterval>& events,
                                   const std::vector<MotionFixParams>& params) const {
  const auto at = static_cast<std::size_t>(index);
  if (at > 0 && IsBroken(events, at - 1)) return params[at - 1].end_pos;
  if (events.size() > 1) {
    if (at == 0) return 0;
    // It leads into uncorrected footage, or to the end of the clip, and must end where the camera truly is.
    if (at + 1 == events.size() || IsBroken(events, at + 1)) return OnAxis(actualCentre(events[at].end_frame), axis);
  }
  MotionFixParams held;
  FitHold(index, events, axis, held);
  return held.start_pos;
}

void MotionCorrect::joinLines(int axis, const std::vector<MotionInterval>& events,
                              std::vector<MotionFixParams>& params) const {
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (params[i].comp_type != Linear) continue;
    if (i > 0 && params[i - 1].comp_type == Linear) params[i].gradient_in = GetGradient(axis, events[i].begin_frame);
    if (i > 0 && params[i - 1].comp_type == Hold) params[i].start_pos = params[i - 1].end_pos;
    if (i + 1 < params.size() && params[i + 1].comp_type == Hold) params[i].end_pos = params[i + 1].start_pos;
  }
}

void MotionCorrect::fitLines(int axis, const std::vector<MotionInterval>& events,
                             std::vector<MotionFixParams>& params) const {
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (params[i].comp_type != Linear) continue;
    MotionFixParams fitted = params[i];
    FitLinear(static_cast<int>(i), events, params, axis, fitted);
    params[i] = fitted;
    if (i + 1 == params.size() || params[i + 1].comp_type != Linear) continue;
    params[i + 1].start_pos = fitted.end_pos;
    if (fitted.ease_out == 0) params[i + 1].gradient_in = fitted.gradient;  // it hands on the speed it ends with
  }
}

void MotionCorrect::FitHold(int index, const std::vector<MotionInterval>& events, int axis,
                            MotionFixParams& out) const {
  const auto at = static_cast<std::size_t>(index);
  const int first = at == 0 ? events[at].begin_frame : events[at - 1].end_frame;  // the frame before it takes part
  std::vector<double> positions;
  for (long long frame = first; frame <= events[at].end_frame; ++frame)
    positions.push_back(OnAxis(projectedCentre(static_cast<int>(frame)), axis));
  MakeHold(static_cast<float>(Vorn::Median().Get(positions)), out);
}

void MotionCorrect::FitLinear(int index, const std::vector<MotionInterval>& events,
                              const std::vector<MotionFixParams>& params, int axis, MotionFixParams& out) const {
  const MotionInterval event = events[static_cast<std::size_t>(index)];
  const MotionFixParams section = params[static_cast<std::size_t>(index)];
  LineSearch search;
  search.frames = std::max(0, event.end_frame - event.begin_frame + (index == 0 ? 0 : 1));
  for (int j = 0; j < search.frames; ++j) search.path.push_back(OnAxis(projectedCentre(event.begin_frame + j), axis));
  search.start = section.start_pos;
  search.distance = static_cast<double>(section.end_pos) - section.start_pos;
  search.gradientIn = section.gradient_in;
  search.gradientNext = NextGradient(index, params);

  const int easeIn = search.easeIn(), easeOut = search.easeOut(easeIn);
  out.comp_type = Linear;
  out.gradient = static_cast<float>(search.gradient(easeIn, easeOut));
  out.gradient_in = section.gradient_in;
  out.ease_in = easeIn;
  out.linear_period = search.frames - easeIn - easeOut;
  out.ease_out = easeOut;
  out.start_pos = section.start_pos;
  out.end_pos = section.end_pos;
}
