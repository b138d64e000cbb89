#include "plugin/KeyedFormat.h"

#include <algorithm>

using Vorn::MultiRange;
using Vorn::Range;

bool IsSpanOfFrames(long first, long last, long mostFrames) {
  constexpr long farthest = 1'000'000'000;
  return -farthest <= first && first <= last && last <= farthest && last - first < mostFrames;
}

long MostFramesOf(const KeyedCoder& coder) {
  constexpr long framesInGaps = 1L << 20;  // some ten hours of film
  return coder.numberOfValues() + framesInGaps;
}

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
  long lowest = 0, highest = 0;
  for (int i = 0; i < count; ++i) {
    const long first = coder.decodeIntegerForKey(IndexedKey("range", i) + "_first");
    const long last = coder.decodeIntegerForKey(IndexedKey("range", i) + "_last");
    if (!IsSpanOfFrames(first, last, framesLeft)) continue;
    const long newLowest = ranges.empty() ? first : std::min(lowest, first);
    const long newHighest = ranges.empty() ? last : std::max(highest, last);
    if (!IsSpanOfFrames(newLowest, newHighest, MostFramesOf(coder))) continue;
    lowest = newLowest;
    highest = newHighest;
    framesLeft -= last - first + 1;
    ranges.push_back({static_cast<int>(first), static_cast<int>(last)});
  }
  return ranges;
}
