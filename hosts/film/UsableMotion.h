#pragma once

#include <vector>

#include "analysis/HomographySet.h"
#include "planning/MotionInterval.h"

// Whether stored numbers can be those of a camera at all. What plans with others ends in numbers that are none.
namespace film {

/// The frames whose motion can't be undone or stored as floats, in order; and those that it sends a million pixels
/// away, scales a thousand times, or tilts to the horizon.
std::vector<int> UnusableMotion(const Vorn::HomographySet& motion);

/// The frames whose similarity tells no angle.
std::vector<int> UnusableRotation(const Vorn::HomographySet& rotation);

/// Whether a designed path stays within a million pixels, and its speeds within that a frame.
bool IsUsablePath(const std::vector<MotionFixParams>& fits);

}  // namespace film
