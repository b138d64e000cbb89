#include "film/Warnings.h"

#include <algorithm>
#include <cmath>

#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

constexpr float usable = 0.1f;     // what the planner takes for broken is not above it
constexpr int longestCut = 2;      // frames without motion where the picture changes at once
constexpr int shortestShot = 3;    // good frames on either side of a cut
constexpr double hardlyAny = 0.8;  // of all frames without motion
constexpr double leastGap = 1.75;  // of the pace; less may be a clock that isn't exact
constexpr double atRest = 0.1;     // pixels; what is measured between two codings of one picture stays below
constexpr double onTheMove = 0.4;  // pixels from frame to frame
constexpr int paceFrames = 4;      // steps to either side that tell a frame's pace

struct Stretch {
  int first, last;
  int length() const { return last - first + 1; }
};

std::vector<Stretch> stretchesWithoutMotion(const std::vector<float>& confidences) {
  std::vector<Stretch> stretches;
  for (int frame = 0; frame < static_cast<int>(confidences.size()); ++frame) {
    if (confidences[static_cast<size_t>(frame)] > usable) continue;
    if (stretches.empty() || stretches.back().last != frame - 1) stretches.push_back({frame, frame});
    stretches.back().last = frame;
  }
  return stretches;
}

bool isCut(const std::vector<Stretch>& stretches, size_t i, int frames) {
  const int before = stretches[i].first - (i > 0 ? stretches[i - 1].last + 1 : 0);
  const int after = (i + 1 < stretches.size() ? stretches[i + 1].first : frames) - stretches[i].last - 1;
  return stretches[i].length() <= longestCut && before >= shortestShot && after >= shortestShot;
}

std::string counted(int count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

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
  warning.text = "no usable motion in " + counted(warning.count, "frame", "frames") + " (" + listText(stretches) +
                 "), which " + (warning.count == 1 ? "stays" : "stay") +
                 " as filmed; blur, darkness or something close to the lens may be why";
  return warning;
}

/// The middle one of the steps between frames around step `i`.
double paceAround(const std::vector<IndexedFrame>& frames, size_t i) {
  std::vector<std::int64_t> steps;
  const size_t first = i > paceFrames ? i - paceFrames : 1, last = std::min(i + paceFrames, frames.size() - 1);
  for (size_t j = first; j <= last; ++j)
    if (j != i) steps.push_back(frames[j].time - frames[j - 1].time);
  if (steps.empty()) return 0;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return static_cast<double>(*middle);
}

std::vector<float> confidencesOf(const Session& session, const MotionConfidenceSet& set) {
  const size_t frames = static_cast<size_t>(session.contents().identity.frames);
  std::vector<float> confidences(frames, 1.0f);
  const int last = set.index.empty() ? 0 : *std::max_element(set.index.begin(), set.index.end());
  const int each = last >= static_cast<int>(frames) ? 2 : 1;  // an analysis by fields counts two a frame
  for (size_t i = 0; i < set.index.size(); ++i) {
    const int frame = set.index[i] / each;
    if (set.index[i] < 0 || frame >= static_cast<int>(frames)) continue;
    float& confidence = confidences[static_cast<size_t>(frame)];
    confidence = std::min(confidence, set.confidence[i]);
  }
  return confidences;
}

/// How far the picture moved to each frame, in pixels: the most of four points half-way to the corners, where the fit
/// is firmer than at these. Negative without usable motion; empty for an analysis by fields.
std::vector<double> stepsOf(const Session& session, const SerialisedMotion& stored,
                            const std::vector<float>& confidences) {
  const Vorn::HomographySet& motion = *stored.getMotion();
  const int frames = session.contents().identity.frames;
  if (motion.end >= frames) return {};
  const double x = session.contents().format.width / 4.0, y = session.contents().format.height / 4.0;
  std::vector<double> steps(static_cast<size_t>(frames), -1.0);
  for (int frame = 1; frame < frames; ++frame) {
    const Vorn::Matrix* h = nullptr;
    if (!motion.Get(frame, h) || confidences[static_cast<size_t>(frame)] <= usable) continue;
    double farthest = 0;
    for (const double cx : {-x, x})
      for (const double cy : {-y, y}) {
        const double w = (*h)(2, 0) * cx + (*h)(2, 1) * cy + (*h)(2, 2);
        farthest = std::max(farthest, std::hypot(((*h)(0, 0) * cx + (*h)(0, 1) * cy + (*h)(0, 2)) / w - cx,
                                                 ((*h)(1, 0) * cx + (*h)(1, 1) * cy + (*h)(1, 2)) / w - cy));
      }
    steps[static_cast<size_t>(frame)] = farthest;
  }
  return steps;
}

std::vector<Warning> cropWarnings(Session& session) {
  const MotionProcessorFCPX* planner = session.effect().plugIn().ObjC_MP.get();
  if (!planner || planner->goodCrop()) return {};
  Warning warning{"noCrop", 0, {}, ""};
  if (planner->globalMotionMode == GlobalCancel)
    warning.text =
        "no part of the picture is seen by every frame once all are locked onto the first, so nothing is cropped or "
        "zoomed; use --global-mode smooth, or cut the clip to the part that stays in view";
  else
    warning.text =
        "no part of the picture is covered by every frame, so it is rendered like --rendering natural; `--rendering "
        "zoom` with --events border, --events none or less --smoothing tries again";
  return {warning};
}

void append(std::vector<Warning>* all, std::vector<Warning> more) {
  all->insert(all->end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

std::vector<Warning> MotionWarnings(const std::vector<float>& confidences, const std::vector<double>& steps) {
  const int frames = static_cast<int>(confidences.size());
  if (frames < 2) return {};
  const std::vector<Stretch> stretches = stretchesWithoutMotion(confidences);
  std::vector<Stretch> cuts, longer;
  int without =
      static_cast<int>(std::count(steps.begin() + std::min<std::ptrdiff_t>(1, std::ssize(steps)), steps.end(), 0.0));
  for (size_t i = 0; i < stretches.size(); ++i) {
    without += stretches[i].length();
    (isCut(stretches, i, frames) ? cuts : longer).push_back(stretches[i]);
  }
  if (without >= hardlyAny * frames)
    return {
        {"noMotion",
         without,
         {},
         "no motion could be found in " + std::to_string(without) + " of " + std::to_string(frames) +
             " frames, which stay as filmed; unless the picture stands still, it needs more light, or details such " +
             "as corners"}};
  std::vector<Warning> warnings;
  if (!cuts.empty()) warnings.push_back(cutWarning(cuts));
  if (!longer.empty()) warnings.push_back(lowConfidenceWarning(longer));
  return warnings;
}

std::vector<int> RepeatedFrames(const std::vector<IndexedFrame>& frames, const std::vector<double>& steps) {
  const auto moves = [&](size_t first, size_t last) {
    for (size_t i = first; i <= std::min(last, steps.size() - 1); ++i)
      if (steps[i] > onTheMove) return true;
    return false;
  };
  std::vector<int> repeated;
  for (size_t i = 1; i < frames.size(); ++i) {
    const bool same = frames[i].check == frames[i - 1].check;
    const bool rests = i < steps.size() && steps[i] >= 0 && steps[i] < atRest && moves(i > 2 ? i - 2 : 0, i - 1) &&
                       moves(i + 1, i + 2);
    if (same || rests) repeated.push_back(static_cast<int>(i));
  }
  return repeated;
}

std::vector<Warning> RepeatWarnings(const std::vector<int>& repeated, int frames) {
  const int count = static_cast<int>(repeated.size());
  if (count == 0 || count >= frames - 1) return {};  // a still picture is meant to stand
  return {{"repeatedFrames", count, repeated,
           counted(count, "frame repeats", "frames repeat") + " the picture before (" +
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
  for (const int place : places) shown.push_back({place, place});
  return {{"droppedFrames", missing, places,
           counted(missing, "frame is", "frames are") + " missing by the time stamps, before " +
               (places.size() == 1 ? "frame " : "frames ") + listText(shown) +
               "; the motion jumps there, use the camera's own file if it has them"}};
}

std::vector<Warning> FindWarnings(Session& session) {
  std::vector<Warning> all;
  const auto* motion =
      dynamic_cast<const SerialisedMotion*>(session.effect().parameters().find(kMotionStorage)->custom.get());
  const bool analysed = session.effect().holdsAnalysis() && motion;
  const std::vector<IndexedFrame>& frames = session.contents().index->frames;
  std::vector<float> confidences;
  std::vector<double> steps;
  if (analysed) {
    confidences = confidencesOf(session, *motion->getConfidence());
    steps = stepsOf(session, *motion, confidences);
  }
  append(&all, RepeatWarnings(RepeatedFrames(frames, steps), static_cast<int>(frames.size())));
  append(&all, GapWarnings(frames));
  if (analysed) {
    append(&all, MotionWarnings(confidences, steps));
    append(&all, cropWarnings(session));
  }
  for (Warning& warning : all) warning.text.insert(0, session.contents().path + ": ");
  return all;
}

nlohmann::ordered_json DescribeWarnings(const std::vector<Warning>& warnings) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Warning& warning : warnings)
    list.push_back(
        {{"kind", warning.kind}, {"count", warning.count}, {"frames", warning.places}, {"text", warning.text}});
  return list;
}

}  // namespace film
