#include <algorithm>
#include <cmath>
#include <iterator>

#include "film/Report.h"
#include "film/SceneChange.h"
#include "film/Warnings.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

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
std::vector<Step> stepsOf(const Session& session, const SerialisedMotion& stored,
                          const std::vector<float>& confidences) {
  const Vorn::HomographySet& motion = *stored.getMotion();
  const int frames = session.contents().identity.frames;
  if (motion.end >= frames) return {};
  const double x = session.contents().format.width / 4.0, y = session.contents().format.height / 4.0;
  std::vector<Step> steps(static_cast<size_t>(frames));
  for (int frame = 1; frame < frames; ++frame) {
    const Vorn::Matrix* h = nullptr;
    if (!motion.Get(frame, h) || confidences[static_cast<size_t>(frame)] <= usableConfidence) continue;
    const Vorn::Matrix& m = *h;
    double farthest = 0;
    for (const double cx : {-x, x})
      for (const double cy : {-y, y}) {
        const double w = m(2, 0) * cx + m(2, 1) * cy + m(2, 2);
        farthest = std::max(farthest, std::hypot((m(0, 0) * cx + m(0, 1) * cy + m(0, 2)) / w - cx,
                                                 (m(1, 0) * cx + m(1, 1) * cy + m(1, 2)) / w - cy));
      }
    steps[static_cast<size_t>(frame)] = {farthest, m(0, 2) / m(2, 2), m(1, 2) / m(2, 2)};
  }
  return steps;
}

bool isZoomAsked(Session& session) {
  return static_cast<int>(session.effect().parameters().find(kZoomType)->value) == ZoomVariable;
}

std::vector<Warning> cropWarnings(Session& session) {
  const MotionProcessorFCPX* planner = session.effect().plugIn().ObjC_MP.get();
  if (!planner) return {};
  if (planner->goodCrop())
    return isZoomAsked(session) ? std::vector<Warning>() : ZoomWarnings(ZoomOf(session.effect()));
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

std::vector<Warning> FindWarnings(Session& session) {
  std::vector<Warning> all;
  const auto* motion =
      dynamic_cast<const SerialisedMotion*>(session.effect().parameters().find(kMotionStorage)->custom.get());
  const bool analysed = session.effect().holdsAnalysis() && motion;
  const std::vector<IndexedFrame>& frames = session.contents().index->frames;
  std::vector<float> confidences;
  std::vector<Step> steps;
  if (analysed) {
    confidences = confidencesOf(session, *motion->getConfidence());
    steps = stepsOf(session, *motion, confidences);
  }
  append(&all, RepeatWarnings(RepeatedFrames(frames, steps), static_cast<int>(frames.size())));
  append(&all, GapWarnings(frames));
  if (analysed) {
    append(&all, MotionWarnings(confidences, steps, [&](int frame) {
      return ScenesChangeAt(frame, session.contents().identity.frames,
                            [&](int number) { return session.picture(number); });
    }));
    append(&all, cropWarnings(session));
  }
  for (Warning& warning : all) warning.text.insert(0, session.contents().path + ": ");
  return all;
}

}  // namespace film
