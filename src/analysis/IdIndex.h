#pragma once

#include <cstddef>
#include <vector>

namespace Vorn {

/// A hash table from feature ids to positions in a list, built anew for each frame in the same memory. It stands where
/// a scan of the list would: fill it from the back, and each id leads to its first position.
class IdIndex {
 public:
  /// Empties the table and makes room for `count` ids.
  void Reset(size_t count);

  /// The position of `id`, to be set: -1 when the id is new. No more than `count` different ids may be asked for.
  int& operator[](int id);

  /// The position of `id`, or -1.
  int Find(int id) const;

 private:
  struct Slot {
    int id;
    int position;
    bool used;
  };

  size_t slotOf(int id) const;

  std::vector<Slot> slots;  // a power of two, at least twice the ids; collisions go to the next free slot
  unsigned int shift = 0;   // leaves as many bits of a hash as there are slots
};

}  // namespace Vorn
