#pragma once

#include <functional>
#include <string>

#include "film/Effect.h"

namespace film {

/// What a search for a smaller zoom came to.
struct ZoomLimit {
  int smoothingBefore = 0, smoothing = 0;
  double zoomBefore = 1, zoom = 1;
};

/// Fails with the status for wrong usage where the settings don't zoom, or their zoom doesn't follow from the
/// smoothing. `valueOf`: of the parameter with that number; `clip` is for the message.
void CheckZoomLimit(const std::function<int(unsigned id)>& valueOf, const std::string& clip);

/// Lowers the smoothing of an analysed clip as little as it takes for the zoom to be `most` or less and for a crop to
/// exist; a search over the plan, in which nothing is measured again. What fits already stays as it is.
///
/// Fails, with all settings as they were, as `CheckZoomLimit` does and when no smoothing fits.
ZoomLimit LimitZoom(Effect& effect, const std::string& clip, double most);

/// "smoothing 100 lowered to 37: zoom 1.214 becomes 1.098", or that it stays.
std::string TextOf(const ZoomLimit& limit);

}  // namespace film
