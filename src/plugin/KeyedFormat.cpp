#include "plugin/KeyedFormat.h"

#include <algorithm>

using Vorn::MultiRange;
using Vorn::Range;

void EncodeRanges(const MultiRange& ranges, KeyedCoder& coder) {
  coder.encodeInteger(static_cast<long>(ranges.data.size()), "num_ranges");
  for (int i = 0; i < static_cast<int>(ranges.data.size()); ++i) {
    coder.encodeInteger(ranges.data[i].first, IndexedKey("range", i) + "_first");
    coder.encodeInteger(ranges.data[i].last, IndexedKey("range", i) + "_last");
  }
}

std::vector<Range> DecodeRanges(const KeyedCoder& coder) {
  long framesLeft = coder.numberOfValues();
  const long count = std::min(coder.decodeIntegerForKey("num_ranges"), framesLeft);
  std::vector<Range> ranges;
  for (int i = 0; i < count; ++i) {
    const int first = static_cast<int>(coder.decodeIntegerForKey(IndexedKey("range", i) + "_first"));
    const int last = static_cast<int>(coder.decodeIntegerForKey(IndexedKey("range", i) + "_last"));
    const long frames = static_cast<long>(last) - first + 1;
    if (frames < 1 || frames > framesLeft) continue;
    framesLeft -= frames;
    ranges.push_back({first, last});
  }
  return ranges;
}
