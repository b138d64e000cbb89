#include "film/OverlayPainter.h"

#include <algorithm>
#include <cmath>

#include "film/OverlayColours.h"
#include "film/OverlayMarks.h"

using Vorn::Point2D;

namespace film {
namespace {

constexpr double pathSeconds = 1.0;
constexpr int shortestReach = 5, longestReach = 120;
constexpr float outsideShare = 0.35f, aheadShare = 0.5f, edgeShare = 0.6f;

int picturesEach(const ClipContents& clip) { return clip.format.interlaced() ? 2 : 1; }

int reachOf(const ClipContents& clip) {
  const double pictures = pathSeconds * av_q2d(clip.frameRate) * picturesEach(clip);
  return static_cast<int>(std::lround(std::clamp<double>(pictures, shortestReach, longestReach)));
}

void drawBorder(Canvas& canvas, const OverlayScale& scale, const std::array<Point2D, 4>& corners) {
  for (size_t i = 0; i < corners.size(); ++i)
    canvas.line(corners[i], corners[(i + 1) % corners.size()], 1.5 * scale.stroke, overlay::planned);
}

}  // namespace

OverlayPainter::OverlayPainter(Effect& effect, const ClipContents& clip, int turns, double times)
    : planner(*effect.plugIn().ObjC_MP),
      window(effect),
      panel(planner, clip.identity.frames * picturesEach(clip), picturesEach(clip)),
      quarterTurns(turns),
      shrunk(times),
      reach(reachOf(clip)) {}

void OverlayPainter::paint(int number, const std::vector<FeatureMark>& marks, FloatPicture* picture) const {
  Canvas canvas(*picture, quarterTurns);
  const OverlayScale scale(picture->width, picture->height, shrunk);
  const std::array<Point2D, 4> corners = shownCorners(canvas, number);
  canvas.fillOutside(corners, overlay::black, outsideShare);
  OverlayScale markScale = scale;
  markScale.makeRoomFor(marks.size(), static_cast<double>(picture->width) * picture->height, shrunk);
  DrawFeatures(canvas, markScale, marks);
  drawPath(canvas, scale, number);
  drawBorder(canvas, scale, corners);
  panel.draw(canvas, scale, number, marks);
}

std::array<Point2D, 4> OverlayPainter::shownCorners(const Canvas& canvas, int number) const {
  std::array<Point2D, 4> corners = window.corners(number);
  for (Point2D& corner : corners) corner = canvas.shown(corner.x, corner.y);
  return corners;
}

void OverlayPainter::drawPath(Canvas& canvas, const OverlayScale& scale, int number) const {
  const CentrePath path = CentrePathAround(planner, window, number, reach);
  const auto draw = [&](const std::vector<Point2D>& points, const Colour& colour) {
    const auto at = [&](size_t i) { return canvas.shown(points[i].x, points[i].y); };
    const double thickness = 1.5 * scale.stroke;
    // What lies behind has a dark edge, so that it shows on any ground; what lies ahead is faint.
    for (size_t i = 1; i <= path.now; ++i) canvas.line(at(i - 1), at(i), 2 * thickness, overlay::black, edgeShare);
    for (size_t i = 1; i < points.size(); ++i)
      canvas.line(at(i - 1), at(i), thickness, colour, i <= path.now ? 1.0f : aheadShare);
    canvas.line(at(path.now), at(path.now), 6 * scale.stroke + 2 * shrunk, overlay::black);
    canvas.line(at(path.now), at(path.now), 6 * scale.stroke, colour);
  };
  draw(path.measured, overlay::measured);
  draw(path.planned, overlay::planned);
}

}  // namespace film
