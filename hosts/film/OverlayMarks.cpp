#include "film/OverlayMarks.h"

#include "film/OverlayColours.h"

using Vorn::Point2D;

namespace film {
namespace {

constexpr float trailShare = 0.5f;  // of its newest piece; the others fade

void drawSquare(Canvas& canvas, const Point2D& place, double half, double thickness, const Colour& colour) {
  const Point2D corners[] = {{place.x - half, place.y - half},
                             {place.x + half, place.y - half},
                             {place.x + half, place.y + half},
                             {place.x - half, place.y + half}};
  for (int i = 0; i < 4; ++i) canvas.line(corners[i], corners[(i + 1) % 4], thickness, colour);
}

void drawTrail(Canvas& canvas, const OverlayScale& scale, const FeatureMark& mark, const Colour& colour) {
  for (int i = 1; i < mark.length; ++i) {
    const auto &from = mark.trail[static_cast<size_t>(i)], &to = mark.trail[static_cast<size_t>(i - 1)];
    canvas.line(canvas.shown(from.x, from.y), canvas.shown(to.x, to.y), scale.stroke, colour,
                trailShare * static_cast<float>(FeatureMark::longestTrail - i) / (FeatureMark::longestTrail - 1));
  }
}

}  // namespace

void DrawFeatureMark(Canvas& canvas, const OverlayScale& scale, FeatureKind kind, const Point2D& place) {
  const Colour& colour = overlay::features[static_cast<int>(kind)];
  const double wide = 2 * scale.mark;
  switch (kind) {
    case FeatureKind::Tracked:
      return canvas.line(place, place, 1.5 * wide, colour);
    case FeatureKind::New:
      canvas.line({place.x - wide, place.y}, {place.x + wide, place.y}, scale.stroke, colour);
      return canvas.line({place.x, place.y - wide}, {place.x, place.y + wide}, scale.stroke, colour);
    case FeatureKind::Lost:
      canvas.line({place.x - wide, place.y - wide}, {place.x + wide, place.y + wide}, scale.stroke, colour);
      return canvas.line({place.x - wide, place.y + wide}, {place.x + wide, place.y - wide}, scale.stroke, colour);
    case FeatureKind::Barred:
      return drawSquare(canvas, place, wide, scale.stroke, colour);
    case FeatureKind::Still:
      return canvas.ring(place, wide, scale.stroke, colour);
  }
}

void DrawFeatures(Canvas& canvas, const OverlayScale& scale, const std::vector<FeatureMark>& marks) {
  for (const FeatureMark& mark : marks) drawTrail(canvas, scale, mark, overlay::features[static_cast<int>(mark.kind)]);
  for (const FeatureMark& mark : marks)
    DrawFeatureMark(canvas, scale, mark.kind, canvas.shown(mark.trail[0].x, mark.trail[0].y));
}

}  // namespace film
