#include "film/FrameLoss.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "film/Report.h"
#include "planning/MotionProcessorFCPX.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

struct Corner {
  double x, y;
};
using Polygon = std::vector<Corner>;

double areaOf(const Polygon& polygon) {
  double twice = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const Corner &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
    twice += a.x * b.y - b.x * a.y;
  }
  return std::abs(twice) / 2;
}

/// The part of a convex polygon where `height` isn't negative, which is linear in the place
/// (Sutherland and Hodgman, "Reentrant Polygon Clipping", CACM 1974).
template <class Height>
Polygon clip(const Polygon& polygon, const Height& height) {
  Polygon inside;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const Corner &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
    const double ha = height(a), hb = height(b);
    if (ha >= 0) inside.push_back(a);
    if ((ha >= 0) != (hb >= 0)) {
      const double t = ha / (ha - hb);
      inside.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
    }
  }
  return inside;
}

/// How much of the frame a moved frame covers, 0 to 1. `left` and `top`: the frame's corner in the matrix' coordinates.
double coverage(const Vorn::Matrix& h, double left, double top, double width, double height) {
  const double right = left + width, bottom = top + height;
  Polygon moved;
  for (const Corner& corner : Polygon{{left, top}, {right, top}, {right, bottom}, {left, bottom}}) {
    const double w = h(2, 0) * corner.x + h(2, 1) * corner.y + h(2, 2);
    if (!(w > 0)) return 0;  // turned out of view
    moved.push_back({(h(0, 0) * corner.x + h(0, 1) * corner.y + h(0, 2)) / w,
                     (h(1, 0) * corner.x + h(1, 1) * corner.y + h(1, 2)) / w});
  }
  moved = clip(moved, [&](const Corner& c) { return c.x - left; });
  moved = clip(moved, [&](const Corner& c) { return right - c.x; });
  moved = clip(moved, [&](const Corner& c) { return c.y - top; });
  moved = clip(moved, [&](const Corner& c) { return bottom - c.y; });
  return areaOf(moved) / (width * height);
}

FrameLoss lossOfUncropped(const MotionProcessorFCPX& planner) {
  FrameLoss loss;
  const int width = planner.analysedWidth, height = planner.analysedHeight;
  const bool centred = planner.compensatingMotion()->originLocation == 4;
  const std::vector<Vorn::HomographyFrame>& frames = planner.compensatingMotion()->hset;
  for (size_t i = 0; i < frames.size(); ++i) {
    const Vorn::Matrix& motion = planner.compensatingMotion()->Get(static_cast<int>(i), nullptr);
    const double covered = coverage(motion, centred ? -width / 2 : 0, centred ? -height / 2 : 0, width, height);
    const double empty = std::clamp(100 * (1 - covered), 0.0, 100.0);
    loss.empty += empty / static_cast<double>(frames.size());
    loss.emptiest = std::max(loss.emptiest, empty);
  }
  return loss;
}

/// The width or height that an equal-margins crop leaves.
int equalExtent(int size, int low, int high) { return size - 2 * std::max(low, size - 1 - high); }

FrameLoss lossOfCrop(Effect& effect, const Vorn::Rectangle& border, double width, double height) {
  const auto isOn = [&](unsigned id) { return effect.parameters().find(id)->value != 0; };
  double w = border.brx - border.tlx + 1, h = border.bry - border.tly + 1;
  if (isOn(kCropEqual)) {
    w = equalExtent(static_cast<int>(width), border.tlx, border.brx);
    h = equalExtent(static_cast<int>(height), border.tly, border.bry);
  }
  if (isOn(kCropAspect)) {
    const double aspect = width / height;
    (w / h > aspect ? w : h) = w / h > aspect ? h * aspect : w / aspect;
  }
  const double lost = std::clamp(100 * (1 - w * h / (width * height)), 0.0, 100.0);
  return {lost, lost, lost};
}

FrameLoss lossOfZoom(double zoom, const Vorn::Rectangle& border, double width, double height) {
  const double w = std::min(width / zoom, border.brx - border.tlx + 1.0);
  const double h = std::min(height / zoom, border.bry - border.tly + 1.0);
  const double shown = w * h / (width * height), filled = shown * zoom * zoom;
  const double empty = std::clamp(100 * (1 - filled), 0.0, 100.0);
  return {100 * (1 - shown), empty, empty};
}

}  // namespace

FrameLoss LossOf(Effect& effect) {
  const MotionProcessorFCPX& planner = *effect.plugIn().ObjC_MP;
  const int rendering = static_cast<int>(effect.parameters().find(kRenderingType)->value);
  const double width = planner.analysedWidth, height = planner.analysedHeight;
  // Without a crop the border is all of the frame, and what the motion leaves empty stays so.
  if (rendering == RenderCrop && planner.goodCrop()) return lossOfCrop(effect, *planner.border(), width, height);
  if (rendering == RenderZoom && planner.goodCrop())
    return lossOfZoom(ZoomOf(effect), *planner.border(), width, height);
  return lossOfUncropped(planner);
}

}  // namespace film
