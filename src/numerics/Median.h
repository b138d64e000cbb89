#pragma once

#include <numeric>
#include <utility>
#include <vector>

namespace Vorn {

/// Selects by rank, and remembers where the selected element stood.
class Median {
 public:
  /// The middle element of an odd count, the lower of the two middle ones of an even count (no average is taken); 0 for
  /// an empty vector, which leaves `index` as it was.
  template <typename T>
  T Get(std::vector<T> values) {
    if (values.empty()) return T(0);
    const int n = static_cast<int>(values.size());
    return kthSmallest(std::move(values), n % 2 + n / 2 - 1);
  }

  /// The k-th smallest, from 0; `k` must be below the number of values. Linear on average (N. Wirth, "Algorithms + Data
  /// Structures = Programs", 1976, after C. A. R. Hoare's FIND).
  template <typename T>
  T kthSmallest(std::vector<T> values, int k);

  int index = 0;  ///< The position in the input of the element last selected.
};

template <typename T>
T Median::kthSmallest(std::vector<T> values, int k) {
  std::vector<int> positions(values.size());
  std::iota(positions.begin(), positions.end(), 0);
  int l = 0, m = static_cast<int>(values.size()) - 1;
  while (l < m) {
    const T x = values[k];
    int i = l, j = m;
    do {
      while (values[i] < x) ++i;
      while (x < values[j]) --j;
      if (i <= j) {
        std::swap(values[i], values[j]);
        std::swap(positions[i], positions[j]);
        ++i;
        --j;
      }
    } while (i <= j);
    if (j < k) l = i;
    if (k < i) m = j;
  }
  index = positions[k];
  return values[k];
}

}  // namespace Vorn
