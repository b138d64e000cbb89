#pragma once

#include <vector>

#include "film/OutputWindow.h"
#include "planning/MotionProcessorFCPX.h"

namespace film {

/// Where the camera aims around a frame: laid over that frame's scene, as if drawn onto what was filmed.
struct CentrePath {
  std::vector<Vorn::Point2D> measured;  ///< what was at the frame's centre
  std::vector<Vorn::Point2D> planned;   ///< what the plan puts there
  size_t now = 0;                       ///< the place of the frame in both
};

/// The path over up to `reach` frames (or fields) to each side, in pixels of frame `number` as coded. It ends where the
/// motion is broken, since nothing is known of the scene from there on.
CentrePath CentrePathAround(const MotionProcessorFCPX& planner, const OutputWindow& window, int number, int reach);

}  // namespace film
