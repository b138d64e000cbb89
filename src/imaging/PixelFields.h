#pragma once

#include <algorithm>
#include <cstddef>

#include "imaging/PixelFormat.h"

namespace Vorn {

// How the codes of a pixel are taken out of the words of its group, and put into them.

template <int bytes>
inline unsigned ReadWord(const unsigned char* at) {
  unsigned word = at[0];
  if constexpr (bytes > 1) word |= static_cast<unsigned>(at[1]) << 8;
  if constexpr (bytes > 2) word |= static_cast<unsigned>(at[2]) << 16 | static_cast<unsigned>(at[3]) << 24;
  return word;
}

template <int bytes>
inline void WriteWord(unsigned char* at, unsigned word) {
  at[0] = static_cast<unsigned char>(word);
  if constexpr (bytes > 1) at[1] = static_cast<unsigned char>(word >> 8);
  if constexpr (bytes > 2) {
    at[2] = static_cast<unsigned char>(word >> 16);
    at[3] = static_cast<unsigned char>(word >> 24);
  }
}

/// The group that holds a row's pixel x, and the fields of that pixel in it.
struct PixelPlace {
  std::ptrdiff_t offset;
  const ChannelField* fields;
};

inline PixelPlace PlaceOf(const PixelLayout& layout, int x) {
  if (layout.groupPixels == 1) return {static_cast<std::ptrdiff_t>(x) * layout.groupBytes, layout.fields[0]};
  const int group = x / layout.groupPixels;
  return {static_cast<std::ptrdiff_t>(group) * layout.groupBytes, layout.fields[x - group * layout.groupPixels]};
}

template <int bytes>
inline void ReadFields(const PixelLayout& layout, const ChannelField* fields, const unsigned char* group, int* codes) {
  for (int i = 0; i < 4; ++i)
    if (fields[i].word >= 0)
      codes[i] =
          static_cast<int>((ReadWord<bytes>(group + fields[i].word * bytes) >> fields[i].shift) & layout.fieldMask);
}

template <int bytes>
inline void WriteFields(const PixelLayout& layout, const ChannelField* fields, unsigned char* group, const int* codes) {
  for (int i = 0; i < 4; ++i) {
    if (fields[i].word < 0) continue;
    unsigned char* at = group + fields[i].word * bytes;
    const unsigned others = layout.wordMask & ~(layout.fieldMask << fields[i].shift);
    const unsigned code = static_cast<unsigned>(codes[i]) & layout.fieldMask;
    WriteWord<bytes>(at, (ReadWord<bytes>(at) & others) | code << fields[i].shift);
  }
}

/// In single precision, so that every code that was stored reads back. A NaN is taken as 0.
inline int CodeOfFloat(float value) {
  const float positive = value > 0.0f ? value : 0.0f;
  return static_cast<int>(std::min(positive, 1.0f) * 65535.0f);
}

inline float FloatOfCode(int code) { return static_cast<float>(static_cast<float>(code) / 65535.0); }

}  // namespace Vorn
