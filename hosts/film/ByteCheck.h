#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace film {

/// A check of bytes that costs about as much as reading them. It tells contents apart that differ by accident; it is no
/// protection against intent.
class ByteCheck {
 public:
  void add(const void* bytes, std::size_t size) {
    const unsigned char* next = static_cast<const unsigned char*>(bytes);
    for (; size >= sizeof lanes; size -= sizeof lanes, next += sizeof lanes) {
      std::uint64_t words[4];
      std::memcpy(words, next, sizeof words);
      for (int i = 0; i < 4; ++i) lanes[i] = mix(lanes[i], words[i]);
    }
    for (; size > 0; --size, ++next) lanes[0] = mix(lanes[0], *next);
  }
  void add(std::int64_t number) { lanes[0] = mix(lanes[0], static_cast<std::uint64_t>(number)); }

  std::uint64_t value() const {
    std::uint64_t all = lanes[0];
    for (int i = 1; i < 4; ++i) all = mix(all, lanes[i]);
    return all ^ (all >> 32);
  }
  std::uint32_t shortValue() const { return static_cast<std::uint32_t>(value()); }

 private:
  static constexpr std::uint64_t factor = 0x9e3779b97f4a7c15u;  // 2^64 over the golden ratio, odd

  // The sum keeps a lane that became 0 from staying so over any number of zeros.
  static std::uint64_t mix(std::uint64_t lane, std::uint64_t word) {
    return std::rotl((lane ^ word) * factor, 29) + factor;
  }

  std::uint64_t lanes[4] = {1, 2, 3, 4};
};

}  // namespace film
