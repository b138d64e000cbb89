#include "analysis/IdIndex.h"

#include <bit>
#include <cstdint>

namespace Vorn {

void IdIndex::Reset(size_t count) {
  const size_t size = std::bit_ceil(2 * count + 2);
  shift = static_cast<unsigned int>(64 - std::countr_zero(size));
  slots.assign(size, {0, -1, false});
}

/// The slot that holds `id`, or the free one where it belongs.
size_t IdIndex::slotOf(int id) const {
  const std::uint64_t hash = static_cast<std::uint32_t>(id) * 0x9e3779b97f4a7c15u;  // Fibonacci hashing
  size_t slot = hash >> shift;
  while (slots[slot].used && slots[slot].id != id) slot = (slot + 1) & (slots.size() - 1);
  return slot;
}

int& IdIndex::operator[](int id) {
  Slot& slot = slots[slotOf(id)];
  slot.id = id;
  slot.used = true;
  return slot.position;
}

int IdIndex::Find(int id) const {
  const Slot& slot = slots[slotOf(id)];
  return slot.used ? slot.position : -1;
}

}  // namespace Vorn
