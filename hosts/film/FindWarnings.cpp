#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "film/FrameNumbers.h"
#include "film/PlaneFormat.h"
#include "film/Report.h"
#include "film/SceneChange.h"
#include "film/Warnings.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

/// Of each picture that was analysed, frame or field.
std::map<int, float> confidencesByNumber(const MotionConfidenceSet& set) {
  std::map<int, float> confidences;
  for (size_t i = 0; i < set.index.size(); ++i) confidences.emplace(set.index[i], set.confidence[i]);
  return confidences;
}

/// Of each frame: that of the less certain one of its fields, if it has some.
std::vector<float> confidencesOf(const Session& session, const std::map<int, float>& byNumber) {
  const FrameNumbers frames(session.contents());
  std::vector<float> confidences(static_cast<size_t>(session.contents().identity.frames), 1.0f);
  for (const auto& [number, confidence] : byNumber) {
    const int frame = number < 0 ? -1 : frames.of(number);
    if (frame < 0 || frame >= static_cast<int>(confidences.size())) continue;
    float& least = confidences[static_cast<size_t>(frame)];
    least = std::min(least, confidence);
  }
  return confidences;
}

/// What takes pixels of the picture `numbers` before to this one, of frames or of fields, which have a frame's size.
/// Nothing where some of the motion between isn't known.
std::optional<Vorn::Matrix> motionTo(int number, int numbers, const Vorn::HomographySet& motion,
                                     const std::map<int, float>& confidences) {
  Vorn::Matrix whole = Vorn::Matrix::GetIdentity(3);
  for (int each = number - numbers + 1; each <= number; ++each) {
    const Vorn::Matrix* step = nullptr;
    const auto confidence = confidences.find(each);
    if (!motion.Get(each, step) || (confidence != confidences.end() && confidence->second <= usableConfidence))
      return std::nullopt;
    whole = *step * whole;
  }
  return whole;
}

/// The most of four points half-way to the corners, where the fit is firmer than at these.
Step stepOf(const Vorn::Matrix& m, const VideoFormat& format) {
  const double x = format.width / 4.0, y = format.height / 4.0;
  double farthest = 0;
  for (const double cx : {-x, x})
    for (const double cy : {-y, y}) {
      const double w = m(2, 0) * cx + m(2, 1) * cy + m(2, 2);
      farthest = std::max(farthest, std::hypot((m(0, 0) * cx + m(0, 1) * cy + m(0, 2)) / w - cx,
                                               (m(1, 0) * cx + m(1, 1) * cy + m(1, 2)) / w - cy));
    }
  return {farthest, m(0, 2) / m(2, 2), m(1, 2) / m(2, 2)};
}

/// How far the picture moved to each frame, or in an interlaced clip to its first field from that of the frame before.
/// Negative without usable motion.
std::vector<Step> stepsOf(const Session& session, const SerialisedMotion& stored,
                          const std::map<int, float>& confidences) {
  const FrameNumbers numbers(session.contents());
  std::vector<Step> steps(static_cast<size_t>(session.contents().identity.frames));
  for (int frame = 1; frame < static_cast<int>(steps.size()); ++frame)
    if (const auto motion = motionTo(numbers.firstOf(frame), numbers.firstOf(1), *stored.getMotion(), confidences))
      steps[static_cast<size_t>(frame)] = stepOf(*motion, session.contents().format);
  return steps;
}

int settingOf(Session& session, unsigned id) { return static_cast<int>(session.effect().parameters().find(id)->value); }

bool isZoomAsked(Session& session) { return settingOf(session, kZoomType) == ZoomVariable; }

/// Completion can't tell a clip's own transparent pixels from those that the correction left empty.
std::vector<Warning> opacityWarnings(Session& session) {
  const std::optional<PlaneFormat> planes = PlaneFormatOf(session.contents().format);
  if (!planes || !planes->alpha) return {};
  return {{"opacityFilled",
           0,
           {},
           "--rendering complete fills transparent parts of the clip too; use --rendering zoom "
           "or natural to keep its opacity"}};
}

std::vector<Warning> cropWarnings(Session& session) {
  const MotionProcessorFCPX* planner = session.effect().plugIn().ObjC_MP.get();
  if (!planner) return {};
  if (settingOf(session, kRenderingType) == RenderComplete) return opacityWarnings(session);  // that takes no crop
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

/// Frames of the stored motion that one of the axes has no event for, in order.
std::vector<int> framesWithoutEvent(Session& session, const Vorn::HomographySet& motion) {
  const MotionProcessorFCPX* planner = session.effect().plugIn().ObjC_MP.get();
  if (!planner || motion.hset.empty()) return {};
  const auto hasEvent = [](const std::vector<MotionInterval>& events, int number) {
    return std::any_of(events.begin(), events.end(), [=](const MotionInterval& event) {
      return event.begin_frame <= number && number <= event.end_frame;
    });
  };
  std::vector<int> without;
  for (const Vorn::HomographyFrame& each : motion.hset) {
    if (hasEvent(*planner->eventsX(), each.frame) && hasEvent(*planner->eventsY(), each.frame)) continue;
    without.push_back(each.frame);
  }
  return FramesOf(session.contents(), without);
}

std::vector<Warning> sizeWarnings(Session& session, const SerialisedMotion& motion) {
  int width = 0, height = 0;
  motion.getAnalysisWidth(&width, &height);
  const VideoFormat& format = session.contents().format;
  return SizeWarnings(width, height, format.width, format.height);
}

void append(std::vector<Warning>* all, std::vector<Warning> more) {
  all->insert(all->end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// With the clip's name before each text.
std::vector<Warning> named(const Session& session, std::vector<Warning> warnings) {
  for (Warning& warning : warnings) warning.text.insert(0, session.contents().path + ": ");
  return warnings;
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
    const std::map<int, float> byNumber = confidencesByNumber(*motion->getConfidence());
    confidences = confidencesOf(session, byNumber);
    steps = stepsOf(session, *motion, byNumber);
  }
  if (analysed) append(&all, sizeWarnings(session, *motion));
  append(&all, RepeatWarnings(RepeatedFrames(frames, steps), static_cast<int>(frames.size())));
  append(&all, GapWarnings(frames));
  if (analysed) {
    append(&all, MotionWarnings(confidences, steps, [&](int frame) {
      return ScenesChangeAt(frame, session.contents().identity.frames,
                            [&](int number) { return session.picture(number); });
    }));
    append(&all, EventWarnings(framesWithoutEvent(session, *motion->getMotion())));
    append(&all, cropWarnings(session));
  }
  return named(session, std::move(all));
}

std::vector<Warning> FindPlanWarnings(Session& session) { return named(session, cropWarnings(session)); }

}  // namespace film
