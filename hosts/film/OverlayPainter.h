#pragma once

#include <array>
#include <vector>

#include "film/CentrePath.h"
#include "film/Effect.h"
#include "film/FeatureTrails.h"
#include "film/FloatPicture.h"
#include "film/OutputWindow.h"
#include "film/OverlayPanel.h"

namespace film {

/// Draws on a clip's pictures what the analysis saw and what the plan does: features, crop, centre path, events.
class OverlayPainter {
 public:
  /// `effect` has shown a frame; it is lent, and may not plan anew meanwhile. `quarterTurns`: how the clip is turned
  /// when it is shown, clockwise. `shrunk`: how many times smaller the pictures become once they are painted.
  OverlayPainter(Effect& effect, const ClipContents& clip, int quarterTurns, double shrunk = 1.0);

  /// `number`: of the frame, or of the field in an interlaced clip. `picture`: of the clip's size.
  void paint(int number, const std::vector<FeatureMark>& marks, FloatPicture* picture) const;

 private:
  std::array<Vorn::Point2D, 4> shownCorners(const Canvas& canvas, int number) const;
  void drawPath(Canvas& canvas, const OverlayScale& scale, int number) const;

  const MotionProcessorFCPX& planner;
  OutputWindow window;
  OverlayPanel panel;
  int quarterTurns;
  double shrunk;
  int reach;  // of the path to each side, in frames or fields
};

}  // namespace film
