#include "planning/MotionCorrect.h"
#include "planning/Axis.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

using Vorn::Point2D;

namespace {

bool Holds(const std::vector<Point2D>& path, int start, int frame) {
  const long long position = static_cast<long long>(frame) - start;
  return position >= 0 && position < static_cast<long long>(path.size());
}

Point2D Entry(const std::vector<Point2D>& path, int start, int frame) {
  return Holds(path, start, frame) ? path[static_cast<std::size_t>(frame - start)] : Point2D();
}

/// Cuts both ease lengths down to `frames` in all, in proportion.
void ShortenEases(int frames, MotionFixParams& params) {
  // The product first: a share that is whole stays whole.
  const double whole = static_cast<double>(params.ease_in) + params.ease_out;
  params.ease_in = static_cast<int>(static_cast<double>(params.ease_in) * frames / whole);
  params.ease_out = static_cast<int>(static_cast<double>(params.ease_out) * frames / whole);
}

}  // namespace

float NextGradient(int index, const std::vector<MotionFixParams>& params) {
  const auto next = static_cast<std::size_t>(index) + 1;
  if (next >= params.size()) return 0;
  return params[next].comp_type == Linear || params[next].comp_type == None ? params[next].gradient_in : 0;
}

MotionCorrect::MotionCorrect(int frameWidth, int frameHeight) { SetDimensions(frameWidth, frameHeight); }

void MotionCorrect::SetDimensions(int frameWidth, int frameHeight) {
  width = frameWidth;
  height = frameHeight;
  const int middleX = width / 2, middleY = height / 2;
  centre = Point2D(middleX, middleY);
}

void MotionCorrect::SetCentreMotion(const std::vector<Point2D>& path, int start, int end) {
  pCentreRange = path;
  motionStart = start;
  motionEnd = end;
}

void MotionCorrect::SetActualCentreMotion(const std::vector<Point2D>& path, int /*start*/, int /*end*/) {
  aCentreRange = path;
}

void MotionCorrect::GetActualCentreMotion(std::vector<Point2D>& path) const { path = aCentreRange; }

Point2D MotionCorrect::projectedCentre(int frame) const { return Entry(pCentreRange, motionStart, frame); }

Point2D MotionCorrect::actualCentre(int frame) const { return Entry(aCentreRange, motionStart, frame); }

bool MotionCorrect::GetPosition(int axis, int frame, float& position) const {
  position = static_cast<float>(OnAxis(projectedCentre(frame), axis));
  return Holds(pCentreRange, motionStart, frame);
}

float MotionCorrect::GetGradient(int axis, int frame) const {
  const int reach = 5;
  const long long last = static_cast<long long>(motionStart) + static_cast<long long>(pCentreRange.size()) - 1;
  const long long low = std::max<long long>(motionStart, static_cast<long long>(frame) - reach);
  const long long high = std::min<long long>(last, static_cast<long long>(frame) + reach);
  if (low == high || frame < low || frame > high) return 0;
  const double moved =
      OnAxis(projectedCentre(static_cast<int>(high)), axis) - OnAxis(projectedCentre(static_cast<int>(low)), axis);
  return static_cast<float>(moved / static_cast<double>(high - low));
}

bool MotionCorrect::AdjustLinear(int /*axis*/, int index, const std::vector<MotionInterval>& events,
                                 const std::vector<MotionFixParams>& params, MotionFixParams& out) const {
  if (out.comp_type != Linear) return false;
  const MotionInterval& event = events[static_cast<std::size_t>(index)];
  const int frames = event.end_frame - event.begin_frame + (index == 0 ? 0 : 1);
  const double distance = static_cast<double>(out.end_pos) - out.start_pos;
  if (out.ease_in == 0 && out.ease_out == 0) {
    out.gradient = frames == 0 ? 0 : static_cast<float>(distance / frames);
    out.linear_period = frames;
    return false;
  }
  const bool tooLong = static_cast<long long>(out.ease_in) + out.ease_out > std::max(frames, 0);
  if (tooLong) ShortenEases(std::max(frames, 0), out);
  out.linear_period = frames - out.ease_in - out.ease_out;
  const double eased = 0.5 * out.gradient_in * out.ease_in + 0.5 * NextGradient(index, params) * out.ease_out;
  const double steps = 0.5 * out.ease_out + out.linear_period + 0.5 * out.ease_in;
  out.gradient = steps == 0 ? 0 : static_cast<float>((distance - eased) / steps);
  return tooLong;
}

void MotionCorrect::AdjustNoComp(int axis, int index, const std::vector<MotionInterval>& events,
                                 MotionFixParams& out) const {
  const auto at = static_cast<std::size_t>(index);
  if (events[at].motion_type == MotionBroken) {
    out.end_pos = out.start_pos;
    return;
  }
  const bool restarted = index > 0 && events[at - 1].motion_type == MotionBroken;
  const double from = restarted ? 0 : OnAxis(projectedCentre(events[at].begin_frame), axis);
  out.end_pos = static_cast<float>(out.start_pos + (OnAxis(projectedCentre(events[at].end_frame), axis) - from));
}

float MotionCorrect::GetGradientProcessed(int axis, int frame, const std::vector<MotionInterval>& events,
                                          const std::vector<MotionFixParams>& params) const {
  if (events.empty() || params.empty()) return 0;
  const auto holding = std::find_if(events.begin(), events.end(), [frame](const MotionInterval& event) {
    return event.begin_frame <= frame && frame <= event.end_frame;
  });
  std::size_t index = holding == events.end() ? 0 : static_cast<std::size_t>(holding - events.begin());
  index = std::min(index, params.size() - 1);
  const MotionFixParams& section = params[index];
  if (section.comp_type == Hold) return 0;
  if (section.comp_type != Linear) return GetGradient(axis, frame);
  // A later section's speed starts on the frame before it, as its positions do.
  const double elapsed = std::max(0.0, static_cast<double>(frame) - events[index].begin_frame + (index == 0 ? 0 : 1));
  const double easedOut = elapsed - section.ease_in - section.linear_period;
  const auto between = [](double from, double to, double share) {
    return static_cast<float>(from + (to - from) * std::min(share, 1.0));
  };
  if (elapsed < section.ease_in) return between(section.gradient_in, section.gradient, elapsed / section.ease_in);
  if (easedOut <= 0 || section.ease_out < 1) return section.gradient;
  const float next = index + 1 < params.size() ? params[index + 1].gradient_in : 0;
  return between(section.gradient, next, easedOut / section.ease_out);
}

bool MotionCorrect::noneBetterThanLinear(int axis, int hasPrevious, const MotionInterval& event,
                                         const MotionFixParams& params, float nextGradient) const {
  std::vector<double> line;
  generateLinearFilter(params.start_pos, hasPrevious != 0, event, params, params.gradient_in, nextGradient, line);
  const std::size_t first = hasPrevious != 0 ? 1 : 0;
  if (line.size() <= first) return false;
  double none = 0, linear = 0;
  for (std::size_t i = first; i < line.size(); ++i) {
    const int frame = event.begin_frame + static_cast<int>(i - first);
    const double actual = OnAxis(actualCentre(frame), axis);
    none += std::fabs(OnAxis(projectedCentre(frame), axis) - actual);
    linear += std::fabs(line[i] - actual);
  }
  return linear > none && linear / static_cast<double>(line.size() - first) > 100.0;
}

double MotionCorrect::angle(const Point2D& a, const Point2D& b, bool normal) const {
  const double dx = b.x - a.x, dy = b.y - a.y;
  return std::atan(normal ? -dx / dy : dy / dx);
}
