#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace Vorn {

/// Truncates towards zero; what no int can hold becomes the nearest one, and a NaN zero.
template <typename Real>
inline int TruncateToInt(Real value) {
  constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
  if (value >= static_cast<Real>(most)) return most;
  if (value <= static_cast<Real>(least)) return least;
  return std::isnan(value) ? 0 : static_cast<int>(value);
}

/// A code from 0 to `from` on the scale from 0 to `to`, truncated towards zero. Exact: both ends land on the ends.
inline int ScaleCode(int code, unsigned from, unsigned to) {
  if (from == 0) return 0;
  constexpr unsigned word = 65535;  // whose products a 32-bit number holds, which divides faster
  if (static_cast<unsigned>(code) <= word && to <= word)
    return static_cast<int>(static_cast<unsigned>(code) * to / from);
  const long scaled = static_cast<long>(code) * static_cast<long>(to) / static_cast<long>(from);
  constexpr long least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(scaled, least, most));
}

/// The mean of `count` codes with this sum, rounded to the side on which the neutral code lies, so that averaging never
/// adds colour.
inline int MeanTowardNeutral(int sum, int count, int neutral) {
  // Pairs and fours are most, and need no division.
  const int truncated = sum / (count == 2 || count == 4 ? 1 : count);
  const int down = count == 2   ? sum >> 1
                   : count == 4 ? sum >> 2
                                : truncated - (sum < 0 && truncated * count != sum ? 1 : 0);
  const bool fractional = down * count != sum;
  return down + (fractional && sum < neutral * count ? 1 : 0);
}

}  // namespace Vorn
