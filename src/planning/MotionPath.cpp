// How `MotionCorrect` lays its sections out and brings the frames onto them.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <optional>

#include "numerics/Geometry.h"
#include "numerics/Matrix.h"
#include "planning/MotionCorrect.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::ProjectPoint;

namespace {

/// The positions of a `Linear` section, worked out one at a time: entry i is the position i steps after its start.
class LinearFilter {
 public:
  LinearFilter() = default;
  LinearFilter(double startPos, bool hasPrevious, const MotionInterval& event, const MotionFixParams& params,
               float speedIn, float speedOut)
      : size_(std::max(0LL, static_cast<long long>(event.end_frame) - event.begin_frame + (hasPrevious ? 2 : 1))),
        easeIn(params.ease_in),
        easeOutBegin(static_cast<long long>(params.ease_in) + params.linear_period),
        start(startPos),
        gradientIn(speedIn),
        gradient(params.gradient) {
    if (params.ease_in >= 1) curveIn = 0.5 * (gradient - gradientIn) / params.ease_in;
    if (params.ease_out >= 1) curveOut = -0.5 * (gradient - speedOut) / params.ease_out;
    const auto ease = static_cast<double>(easeIn);
    eased = static_cast<float>(start + ease * gradientIn + ease * ease * curveIn);
    constantEnd = static_cast<float>(eased + static_cast<double>(params.linear_period) * gradient);
  }

  long long size() const { return size_; }

  double operator[](long long i) const {
    const auto in = static_cast<double>(i), constant = static_cast<double>(i - easeIn),
               out = static_cast<double>(i - easeOutBegin);
    if (i < easeIn) return static_cast<float>(start + in * gradientIn + in * in * curveIn);
    if (i <= easeOutBegin) return static_cast<float>(eased + constant * gradient);
    return static_cast<float>(constantEnd + out * gradient + out * out * curveOut);
  }

 private:
  long long size_ = 0, easeIn = 0, easeOutBegin = 0;
  double start = 0, gradientIn = 0, gradient = 0, curveIn = 0, curveOut = 0;
  float eased = 0, constantEnd = 0;  // the positions at the ends of the ease in and of the constant part
};

/// One axis of the walk over the frames: the section under the frame, and what it designs.
class AxisWalk {
 public:
  AxisWalk(int axis, const std::vector<MotionInterval>& intervals, const std::vector<MotionFixParams>& fits)
      : horizontal(axis == 0), events(intervals), params(fits), sections(std::min(events.size(), params.size())) {}

  /// Goes on to the next section if `frame` is past this one. A frame in the gap before it jumps to its first. False
  /// if there is no section left.
  bool advance(int& frame);
  /// Works out what a section designs, on its first frame.
  void enterSection();
  /// Whether a line has a position for the frame.
  bool reaches(int frame) const {
    return params[section].comp_type != Linear || (filterIndex(frame) >= 0 && filterIndex(frame) < filter.size());
  }
  /// The designed position for the frame, if the section designs one.
  std::optional<double> designed(int frame) const;

  bool justLeftBroken() const { return entering && section > 0 && events[section - 1].motion_type == MotionBroken; }
  bool endsBroken(int frame) const {
    return events[section].motion_type == MotionBroken && frame == events[section].end_frame;
  }

 private:
  long long filterIndex(int frame) const {
    return static_cast<long long>(frame) - events[section].begin_frame + (section > 0 ? 1 : 0);
  }
  bool follows(int compType) const { return section > 0 && params[section - 1].comp_type == compType; }

  const bool horizontal;
  const std::vector<MotionInterval>& events;
  const std::vector<MotionFixParams>& params;
  const std::size_t sections;
  std::size_t section = 0;
  bool started = false;
  bool entering = false;  // the frame is the section's first
  LinearFilter filter;
  double target = 0, lastDesigned = 0;
};

bool AxisWalk::advance(int& frame) {
  entering = !started;
  started = true;
  if (section < sections && frame > events[section].end_frame) {
    ++section;
    entering = true;
  }
  if (section >= sections) {
    std::fputs("Error: Missing filter section at end, cannot correct motion\n", stderr);
    return false;
  }
  if (entering && section > 0 && frame < events[section].begin_frame) {
    std::fputs("Error: Missing filter section during Correct, continuing\n", stderr);
    frame = events[section].begin_frame;
  }
  return true;
}

void AxisWalk::enterSection() {
  if (!entering) return;
  const MotionFixParams& current = params[section];
  if (current.comp_type == Hold) {
    // Only the horizontal axis carries its position on from hold to hold, and only there does every hold count as
    // the last position. Meant.
    target = horizontal && follows(Hold) ? lastDesigned : current.start_pos;
    if (horizontal || section == 0) lastDesigned = target;
  } else if (current.comp_type == Linear) {
    filter = LinearFilter(current.start_pos, section > 0, events[section], current, current.gradient_in,
                          NextGradient(static_cast<int>(section), params));
    if (filter.size() > 0) lastDesigned = filter[filter.size() - 1];
  }
}

std::optional<double> AxisWalk::designed(int frame) const {
  switch (params[section].comp_type) {
    case Hold:
      return target;
    case Linear:  // a frame that the line doesn't reach stays at its nearer end
      return filter[std::clamp(filterIndex(frame), 0LL, std::max(0LL, filter.size() - 1))];
    default:  // one frame closes the gap that a line left
      return entering && follows(Linear) ? std::optional<double>(lastDesigned) : std::nullopt;
  }
}

/// The translation that brings the position `from` onto the designed one.
Matrix Translation(std::optional<double> designedX, std::optional<double> designedY, const Point2D& from) {
  Matrix translation = Matrix::GetIdentity(3);
  if (designedX) translation(0, 2) = *designedX - from.x;
  if (designedY) translation(1, 2) = *designedY - from.y;
  return translation;
}

/// What a walk stores, and when it restarts behind a broken stretch.
enum class Output { CorrectedMotion, TranslationAlone };

/// Walks the frames of `in`. `point` is what moves; its path starts at the zero point.
void WalkFrames(const HomographySet& in, const Point2D& point, AxisWalk x, AxisWalk y, Output output,
                HomographySet& out) {
  out.Clear();
  out.originLocation = in.originLocation;
  out.SetRanges(in.range);
  if (in.start == -1 && in.end == -1) return;  // no frames

  const bool translationAlone = output == Output::TranslationAlone;
  Point2D position(0, 0);
  for (int frame = in.start; frame <= in.end; ++frame) {
    if (!x.advance(frame) || !y.advance(frame) || frame > in.end) return;
    if (translationAlone && x.justLeftBroken()) position = Point2D(0, 0);
    x.enterSection();
    y.enterSection();
    if (!translationAlone && !x.reaches(frame)) {  // the vertical axis isn't checked; meant
      std::fputs("Invalid Linear correction\n", stderr);
      return;
    }

    Matrix motion;
    in.Get(frame, motion);
    const Point2D uncorrected = position + (ProjectPoint(motion, point) - point);
    const Matrix translation = Translation(x.designed(frame), y.designed(frame), uncorrected);
    const Matrix corrected = translation * motion;
    out.Set(frame, translationAlone ? translation : corrected);

    position += ProjectPoint(corrected, point) - point;
    // The horizontal list speaks for both, since broken events stand in both lists alike.
    if (!translationAlone && x.endsBroken(frame)) position = Point2D(0, 0);
    if (frame == in.end) return;
  }
}

/// The point whose path is designed, in the coordinates of the set: about the frame's centre, or from its corner.
Point2D MovingPoint(const HomographySet& in, const Point2D& centre) {
  return in.originLocation == 4 ? Point2D(0, 0) : centre;
}

}  // namespace

void MotionCorrect::generateLinearFilter(double startPos, bool hasPrevious, const MotionInterval& event,
                                         const MotionFixParams& params, float gradientIn, float nextGradient,
                                         std::vector<double>& out) const {
  const LinearFilter filter(startPos, hasPrevious, event, params, gradientIn, nextGradient);
  out.resize(static_cast<std::size_t>(filter.size()));
  for (std::size_t i = 0; i < out.size(); ++i) out[i] = filter[static_cast<long long>(i)];
}

void MotionCorrect::Correct(const HomographySet& in, std::vector<MotionInterval>& eventsX,
                            std::vector<MotionFixParams>& paramsX, std::vector<MotionInterval>& eventsY,
                            std::vector<MotionFixParams>& paramsY, HomographySet& out) const {
  WalkFrames(in, MovingPoint(in, centre), AxisWalk(0, eventsX, paramsX), AxisWalk(1, eventsY, paramsY),
             Output::CorrectedMotion, out);
}

void MotionCorrect::CorrectCompensating(const HomographySet& in, std::vector<MotionInterval>& eventsX,
                                        std::vector<MotionFixParams>& paramsX, std::vector<MotionInterval>& eventsY,
                                        std::vector<MotionFixParams>& paramsY, HomographySet& out) const {
  WalkFrames(in, MovingPoint(in, centre), AxisWalk(0, eventsX, paramsX), AxisWalk(1, eventsY, paramsY),
             Output::TranslationAlone, out);
}

void MotionCorrect::Correct(const HomographySet& in, bool compX, bool compY, HomographySet& out) const {
  std::vector<MotionInterval> events = {{in.start, in.end, MotionMoving, false}};
  std::vector<MotionFixParams> paramsX(1), paramsY(1);
  Fit(events, paramsX, events, paramsY);
  // Behind the fit, which takes every moving event for a line.
  paramsX[0].comp_type = compX ? Linear : None;
  paramsY[0].comp_type = compY ? Linear : None;
  Correct(in, events, paramsX, events, paramsY, out);
}
