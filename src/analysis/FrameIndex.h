#pragma once

#include <cstddef>
#include <unordered_map>

namespace Vorn {

/// Finds the first position of a frame number in a list that only grows, in constant time. A list that counts up by
/// one, which is what an analysis makes, costs no memory; any other gets a hash table.
class FrameIndex {
 public:
  /// The next position of the list holds `frame`.
  void Append(int frame);

  /// The first position that holds `frame`, or -1.
  int Find(int frame) const;

  /// How many positions the list has.
  size_t Count() const { return static_cast<size_t>(count); }

  void Clear() { *this = FrameIndex(); }

 private:
  int firstFrame = 0;
  int count = 0;
  bool counting = true;                          // position i holds firstFrame + i; the table is empty
  std::unordered_map<int, int> firstPositionOf;  // where that doesn't hold
};

}  // namespace Vorn
