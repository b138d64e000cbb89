#pragma once

#include "film/Canvas.h"
#include "film/FeatureTrails.h"
#include "film/OverlayScale.h"

namespace film {

/// Draws the mark of a feature at a place: a dot for a tracked one, a plus for a new one, a cross for a lost one, a
/// square for a barred one, a ring for a still one.
void DrawFeatureMark(Canvas& canvas, const OverlayScale& scale, FeatureKind kind, const Vorn::Point2D& place);

/// Draws the features of a frame, each with where it came from.
void DrawFeatures(Canvas& canvas, const OverlayScale& scale, const std::vector<FeatureMark>& marks);

}  // namespace film
