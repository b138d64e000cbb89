#pragma once

#include <vector>

#include "analysis/HomographySet.h"

// Whether stored matrices can be those of a camera at all. What plans with others ends in numbers that are none.
namespace film {

/// The frames whose motion can't be undone, or can't be stored as floats, in order. One that shrinks or enlarges the
/// picture a million times, as an area, counts as such.
std::vector<int> UnusableMotion(const Vorn::HomographySet& motion);

/// The frames whose similarity tells no angle.
std::vector<int> UnusableRotation(const Vorn::HomographySet& rotation);

}  // namespace film
