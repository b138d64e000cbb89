#pragma once

#include <cmath>

namespace Vorn {

/// A coordinate in an image; what is far beyond any image, or no number at all, is put where the sample numbers around
/// it can still be counted.
inline double CountablePosition(double position) {
  constexpr double farthest = 1 << 30;
  return std::fabs(position) < farthest ? position : -farthest;
}

/// The same as the number of the sample at or before it and the fraction of the way to the next.
struct SamplePosition {
  explicit SamplePosition(double position) {
    position = CountablePosition(position);
    const double floor = std::floor(position);
    whole = static_cast<int>(floor);
    fraction = position - floor;
  }

  int whole;
  double fraction;
};

}  // namespace Vorn
