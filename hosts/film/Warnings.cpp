#include "film/Warnings.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace film {
namespace {

constexpr size_t mostLooks = 32;      // at pictures; a clip of more cuts than that is told of these
constexpr double hardlyAny = 0.8;     // of all frames without motion
constexpr double leastGap = 1.75;     // of the pace; less may be a clock that isn't exact
constexpr double atRest = 0.1;        // pixels; what is measured between two codings of one picture stays below
constexpr double onTheMove = 0.4;     // pixels from frame to frame
constexpr double strongZoom = 1.414;  // less than half of the frame is left
constexpr int paceFrames = 4;         // steps to either side that tell a frame's pace

struct Stretch {
  int first, last;
  int length() const { return last - first + 1; }
};

/// "12, 40 to 48, 60 and 3 more".
std::string listText(const std::vector<Stretch>& stretches) {
  constexpr size_t shown = 8;
  std::string text;
  for (size_t i = 0; i < std::min(stretches.size(), shown); ++i) {
    text += (i > 0 ? ", " : "") + std::to_string(stretches[i].first);
    if (stretches[i].length() > 1) text += " to " + std::to_string(stretches[i].last);
  }
  if (stretches.size() > shown) text += " and " + std::to_string(stretches.size() - shown) + " more";
  return text;
}

std::vector<Stretch> stretchesOf(const std::vector<int>& frames) {
  std::vector<Stretch> stretches;
  for (const int frame : frames) {
    if (stretches.empty() || stretches.back().last != frame - 1) stretches.push_back({frame, frame});
    stretches.back().last = frame;
  }
  return stretches;
}

std::vector<Stretch> stretchesWithoutMotion(const std::vector<float>& confidences) {
  std::vector<int> without;
  for (size_t frame = 0; frame < confidences.size(); ++frame)
    if (confidences[frame] <= usableConfidence) without.push_back(static_cast<int>(frame));
  return stretchesOf(without);
}

Warning cutWarning(const std::vector<Stretch>& cuts) {
  Warning warning{"cuts", static_cast<int>(cuts.size()), {}, ""};
  std::vector<Stretch> places;
  for (const Stretch& cut : cuts) {
    warning.places.push_back(cut.first);
    places.push_back({cut.first, cut.first});
  }
  warning.text = std::string("what looks like ") + (cuts.size() == 1 ? "a cut at frame " : "cuts at frames ") +
                 listText(places) + "; split the clip there, since each shot is steadied better by itself";
  return warning;
}

Warning lowConfidenceWarning(const std::vector<Stretch>& stretches) {
  Warning warning{"lowConfidence", 0, {}, ""};
  for (const Stretch& stretch : stretches)
    for (int frame = stretch.first; frame <= stretch.last; ++frame) warning.places.push_back(frame);
  warning.count = static_cast<int>(warning.places.size());
  warning.text = "no usable motion in " + Counted(warning.count, "frame", "frames") + " (" + listText(stretches) +
                 "), which " + (warning.count == 1 ? "stays" : "stay") +
                 " as filmed; blur, darkness or something close to the lens may be why";
  return warning;
}

/// The step from frame `i` on, by one frame and then by two, that is a move; null without one.
const Step* nearestMove(const std::vector<Step>& steps, size_t i, int direction) {
  for (int distance = 1; distance <= 2; ++distance) {
    const auto j = static_cast<std::ptrdiff_t>(i) + static_cast<std::ptrdiff_t>(direction) * distance;
    if (j < 1 || j >= std::ssize(steps)) return nullptr;
    if (const Step& step = steps[static_cast<size_t>(j)]; step.size > onTheMove) return &step;
  }
  return nullptr;
}

/// Where the camera turns back it rests for a frame too, but then moves the other way.
bool restsAmidMotion(const std::vector<Step>& steps, size_t i) {
  if (i >= steps.size() || steps[i].size < 0 || steps[i].size >= atRest) return false;
  const Step *before = nearestMove(steps, i, -1), *after = nearestMove(steps, i, 1);
  return before && after && before->x * after->x + before->y * after->y > 0;
}

/// The middle one of the steps between frames around step `i`.
double paceAround(const std::vector<IndexedFrame>& frames, size_t i) {
  std::vector<std::int64_t> steps;
  steps.reserve(2 * paceFrames + 1);
  const size_t first = i > paceFrames ? i - paceFrames : 1, last = std::min(i + paceFrames, frames.size() - 1);
  for (size_t j = first; j <= last; ++j)
    if (j != i) steps.push_back(frames[j].time - frames[j - 1].time);
  if (steps.empty()) return 0;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return static_cast<double>(*middle);
}

}  // namespace

std::string Counted(int count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::vector<int> LowConfidenceNumbers(const MotionConfidenceSet& confidence) {
  std::vector<int> numbers;
  for (size_t i = 0; i < confidence.index.size(); ++i)
    if (confidence.confidence[i] <= usableConfidence) numbers.push_back(confidence.index[i]);
  return numbers;
}

std::string FrameList(const std::vector<int>& frames) { return listText(stretchesOf(frames)); }

std::string CountedFrames(const std::vector<int>& frames) {
  return Counted(static_cast<int>(frames.size()), "frame", "frames") + " (" + FrameList(frames) + ")";
}

std::vector<Warning> SizeWarnings(int analysedWidth, int analysedHeight, int width, int height) {
  if (analysedWidth == width && analysedHeight == height) return {};
  const auto size = [](int w, int h) { return std::to_string(w) + " x " + std::to_string(h); };
  return {{"otherSize",
           0,
           {},
           "the stored motion is of frames of " + size(analysedWidth, analysedHeight) +
               " pixels, and the clip's have " + size(width, height) +
               "; it is scaled, which is right only where both are the same pictures"}};
}

std::vector<Warning> EventWarnings(const std::vector<int>& framesWithoutEvent) {
  if (framesWithoutEvent.empty()) return {};
  const int count = static_cast<int>(framesWithoutEvent.size());
  return {{"noEvent", count, framesWithoutEvent,
           "the stored holds and moves leave out " + CountedFrames(framesWithoutEvent) +
               " of the motion; --events with another value than now finds them anew"}};
}

std::vector<Warning> MotionWarnings(const std::vector<float>& confidences, const std::vector<Step>& steps,
                                    const std::function<bool(int frame)>& changes) {
  const int frames = static_cast<int>(confidences.size());
  if (frames < 2) return {};
  const std::vector<Stretch> stretches = stretchesWithoutMotion(confidences);
  int without = steps.empty() ? 0
                              : static_cast<int>(std::count_if(steps.begin() + 1, steps.end(),
                                                               [](const Step& step) { return step.size == 0; }));
  for (const Stretch& stretch : stretches) without += stretch.length();
  if (without >= hardlyAny * frames)
    return {
        {"noMotion",
         without,
         {},
         "no motion could be found in " + std::to_string(without) + " of " + std::to_string(frames) +
             " frames, which stay as filmed; unless the picture stands still, it needs more light, or details such " +
             "as corners"}};
  std::vector<Stretch> cuts, others;
  for (size_t i = 0; i < stretches.size(); ++i)
    (i < mostLooks && changes(stretches[i].first) ? cuts : others).push_back(stretches[i]);
  std::vector<Warning> warnings;
  if (!cuts.empty()) warnings.push_back(cutWarning(cuts));
  if (!others.empty()) warnings.push_back(lowConfidenceWarning(others));
  return warnings;
}

std::vector<int> RepeatedFrames(const std::vector<IndexedFrame>& frames, const std::vector<Step>& steps) {
  std::vector<int> repeated;
  for (size_t i = 1; i < frames.size(); ++i) {
    const bool same = frames[i].check == frames[i - 1].check;
    if (same || restsAmidMotion(steps, i)) repeated.push_back(static_cast<int>(i));
  }
  return repeated;
}

std::vector<Warning> RepeatWarnings(const std::vector<int>& repeated, int frames) {
  const int count = static_cast<int>(repeated.size());
  if (count == 0 || count >= frames - 1) return {};  // a still picture is meant to stand
  return {{"repeatedFrames", count, repeated,
           Counted(count, "frame repeats", "frames repeat") + " the picture before (" +
               listText(stretchesOf(repeated)) +
               "), so that the motion stops there; use the camera's own file, or take the repeats out first"}};
}

std::vector<Warning> GapWarnings(const std::vector<IndexedFrame>& frames) {
  int missing = 0;
  std::vector<int> places;
  for (size_t i = 1; i < frames.size(); ++i) {
    const double pace = paceAround(frames, i), step = static_cast<double>(frames[i].time - frames[i - 1].time);
    if (!(pace > 0) || step < leastGap * pace) continue;
    missing += static_cast<int>(std::min(1e6, std::round(step / pace))) - 1;
    places.push_back(static_cast<int>(i));
  }
  if (places.empty()) return {};
  std::vector<Stretch> shown;
  shown.reserve(places.size());
  for (const int place : places) shown.push_back({place, place});
  return {{"droppedFrames", missing, places,
           Counted(missing, "frame is", "frames are") + " missing by the time stamps, before " +
               (places.size() == 1 ? "frame " : "frames ") + listText(shown) +
               "; the motion jumps there, use the camera's own file if it has them"}};
}

std::vector<Warning> ZoomWarnings(double zoom) {
  if (zoom <= strongZoom) return {};
  char text[160];
  std::snprintf(
      text, sizeof text,
      "the zoom of %.3f leaves only %.0f %% of the frame; --max-zoom 1.2, --events border or --events none lose "
      "less",
      zoom, 100 / (zoom * zoom));
  return {{"strongZoom", 0, {}, text}};
}

nlohmann::ordered_json DescribeWarnings(const std::vector<Warning>& warnings) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Warning& warning : warnings)
    list.push_back(
        {{"kind", warning.kind}, {"count", warning.count}, {"frames", warning.places}, {"text", warning.text}});
  return list;
}

}  // namespace film
