#include "film/ZoomLimit.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "film/Failure.h"
#include "film/Report.h"
#include "planning/MotionProcessorFCPX.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

constexpr int leastSmoothing = 1;
constexpr double noZoom = std::numeric_limits<double>::infinity();  // where no crop exists

int valueOf(Effect& effect, unsigned id) { return static_cast<int>(effect.parameters().find(id)->value); }

/// The zoom that the plan takes with a smoothing.
double zoomWith(Effect& effect, int smoothing) {
  effect.change({{kGlobalSmoothing, static_cast<double>(smoothing)}});
  return effect.plugIn().ObjC_MP->goodCrop() ? ZoomOf(effect) : noZoom;
}

std::string text(double zoom) {
  if (zoom == noZoom) return "no crop at all";
  char digits[32];
  std::snprintf(digits, sizeof digits, "a zoom of %.3f", zoom);
  return digits;
}

}  // namespace

void CheckZoomLimit(const std::function<int(unsigned id)>& valueOf, const std::string& clip) {
  if (valueOf(kRenderingType) != RenderZoom)
    throw Failure(clip + ": --max-zoom needs --rendering zoom; give that too, or leave --max-zoom away", kUsage);
  if (valueOf(kZoomType) == ZoomVariable)
    throw Failure(clip + ": --max-zoom needs --zoom-type full or fit; with variable the zoom is --zoom-amount", kUsage);
  if (valueOf(kGlobalMode) != GlobalSmooth)
    throw Failure(clip + ": --max-zoom lowers the smoothing, which only --global-mode smooth has; give that too",
                  kUsage);
}

ZoomLimit LimitZoom(Effect& effect, const std::string& clip, double most) {
  CheckZoomLimit([&](unsigned id) { return valueOf(effect, id); }, clip);
  effect.showFirstFrame();
  ZoomLimit limit;
  limit.smoothingBefore = valueOf(effect, kGlobalSmoothing);
  double least = noZoom;
  const auto zoomAt = [&](int smoothing) {
    const double zoom = zoomWith(effect, smoothing);
    least = std::min(least, zoom);
    return zoom;
  };
  limit.zoomBefore = zoomAt(limit.smoothingBefore);
  int fitting = limit.zoomBefore <= most ? limit.smoothingBefore : 0, tooMuch = limit.smoothingBefore;
  // Less smoothing nearly always takes less zoom. Where the least doesn't fit, one between may.
  for (int step = 0; step < 10 && fitting == 0; ++step)
    if (const int smoothing = std::max(leastSmoothing, step * limit.smoothingBefore / 10); zoomAt(smoothing) <= most)
      fitting = smoothing;
  if (fitting == 0) {
    zoomAt(limit.smoothingBefore);
    throw Failure(clip + ": no smoothing keeps to --max-zoom: the least that any takes is " + text(least) +
                  "; allow that, or try --events border, --events none or --rendering natural");
  }
  while (tooMuch - fitting > 1) {
    const int middle = (fitting + tooMuch) / 2;
    (zoomAt(middle) <= most ? fitting : tooMuch) = middle;
  }
  limit.smoothing = fitting;
  limit.zoom = zoomAt(fitting);
  return limit;
}

std::string TextOf(const ZoomLimit& limit) {
  if (limit.smoothing == limit.smoothingBefore)
    return "smoothing stays at " + std::to_string(limit.smoothing) + ": it takes " + text(limit.zoom);
  const std::string lowered = "smoothing lowered from " + std::to_string(limit.smoothingBefore) + " to " +
                              std::to_string(limit.smoothing) + ": ";
  if (limit.zoomBefore == noZoom) return lowered + "there is a crop now, and it takes " + text(limit.zoom);
  return lowered + "it takes " + text(limit.zoom) + " and took " + text(limit.zoomBefore);
}

}  // namespace film
