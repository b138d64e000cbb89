#pragma once

#include "film/Canvas.h"

// The colours of the overlay, which viewers with any kind of colour vision can tell apart (M. Okabe and K. Ito, "Color
// Universal Design", 2008). Features of different kinds also differ in shape.
namespace film::overlay {

inline constexpr Colour skyBlue{0.337f, 0.706f, 0.914f}, yellow{0.941f, 0.894f, 0.259f},
    vermilion{0.835f, 0.369f, 0.0f}, purple{0.8f, 0.475f, 0.655f}, green{0.0f, 0.62f, 0.451f},
    orange{0.902f, 0.624f, 0.0f}, white{1.0f, 1.0f, 1.0f}, grey{0.6f, 0.6f, 0.6f}, black{0.0f, 0.0f, 0.0f};

/// Of the features, in the order of their kinds: tracked, new, lost, barred, still.
inline constexpr Colour features[] = {skyBlue, yellow, vermilion, purple, green};
/// Of the path as it was measured, and of all that is planned: the path and the crop.
inline constexpr Colour measured = orange, planned = white;
/// Of the events, in the order of their kinds: hold, move, as filmed, broken.
inline constexpr Colour events[] = {skyBlue, yellow, grey, vermilion};

}  // namespace film::overlay
