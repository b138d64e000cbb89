#include "analysis/MultiRange.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <limits>

namespace Vorn {

namespace {

// Sums of a frame and an adjacency are made in 64 bits, so that frame numbers from a damaged file can't overflow.
using Wide = long long;

constexpr Range kDropped{10000, 0};

bool IsEmpty(const Range& r) { return r.first > r.last; }

bool IsSame(const Range& a, const Range& b) { return a.first == b.first && a.last == b.last; }

int FrameAfter(int frame) { return frame < std::numeric_limits<int>::max() ? frame + 1 : frame; }

int FrameBefore(int frame) { return frame > std::numeric_limits<int>::min() ? frame - 1 : frame; }

bool Covers(const Range& r, const Range& other) { return r.first <= other.first && r.last >= other.last; }

/// Lets `r` take in `added` if they overlap or touch; false if they do neither.
bool Extend(Range& r, const Range& added, Wide a) {
  if (std::max(r.first, r.last) + a < added.first || std::min(r.first, r.last) - a > added.last) return false;
  const bool overlapsEnd = r.first <= added.first && r.last >= added.first;
  const bool overlapsStart = r.first <= added.last && r.last >= added.last;
  const bool liesWithin = r.first > added.first && r.last < added.last;
  // The last condition leaves a span just before a short one to the start: the end would turn the short one round.
  const bool touchesEnd = r.last - a <= added.first && r.last + a >= added.first && added.last >= r.first;
  const bool touchesStart = r.first - a <= added.last && r.first + a >= added.last;

  if (overlapsEnd || (touchesEnd && !overlapsStart && !liesWithin))
    r.last = added.last;
  else if (liesWithin)
    r = added;
  else if (overlapsStart || touchesStart)
    r.first = added.first;
  else
    return false;
  return true;
}

/// Takes from `t` what `o` covers of it; where `o` lies inside `t`, the piece before it goes to `pieces`.
void CutOut(Range& t, const Range& o, std::vector<Range>& pieces) {
  if (o.first == t.first) {
    t.first = FrameAfter(o.last);
  } else if (o.last == t.last) {
    t.last = FrameBefore(o.first);
  } else if (o.first > t.first && o.last < t.last) {
    pieces.push_back({t.first, FrameBefore(o.first)});
    t.first = FrameAfter(o.last);
  }
}

/// Cuts off the ends of `s` that reach into a span of `others`; `kDropped` if one of them covers it.
Range TrimEnds(Range s, const std::vector<Range>& others) {
  for (const Range& o : others) {
    if (Covers(o, s)) return kDropped;
    if (o.first <= s.first && s.first <= o.last) s.first = FrameAfter(o.last);
    if (o.first <= s.last && s.last <= o.last) s.last = FrameBefore(o.first);
  }
  return s;
}

}  // namespace

bool compareRange(const Range& a, const Range& b) { return a.first < b.first; }

void MultiRange::AddRange(int first, int last) {
  if (last < first) return;
  int candidate = addToSpan({first, last});
  if (candidate < 0) return;

  const Range grown = data[candidate];
  std::erase_if(data, [&](const Range& r) { return r.first > grown.first && r.last < grown.last; });
  candidate = indexOf(grown);
  if (candidate < 0) {
    std::cerr << "Error finding candidate range\n";
    return;
  }
  while (mergeOneInto(candidate)) {
  }
}

/// Gives `added` to the first span that it overlaps or touches, and returns that span's index; -1 if nothing is left to
/// merge, because a span covers it already or it became a span of its own.
int MultiRange::addToSpan(const Range& added) {
  const Wide a = static_cast<int>(adjacency);
  for (size_t i = 0; i < data.size(); ++i) {
    if (Covers(data[i], added)) return -1;
    if (Extend(data[i], added, a)) return static_cast<int>(i);
  }
  data.push_back(added);
  return -1;
}

int MultiRange::indexOf(const Range& span) const {
  const auto found = std::ranges::find_if(data, [&](const Range& r) { return IsSame(r, span); });
  return found == data.end() ? -1 : static_cast<int>(found - data.begin());
}

/// Lets the candidate swallow the first other span that it meets; `candidate` follows it to its new index. False if it
/// meets none.
bool MultiRange::mergeOneInto(int& candidate) {
  const Wide a = static_cast<int>(adjacency);
  Range grown = data[candidate];
  for (size_t i = 0; i < data.size(); ++i) {
    if (static_cast<int>(i) == candidate) continue;
    const Range o = data[i];
    const bool meetsFirst = o.first <= grown.first && grown.first <= o.last + a;
    const bool meetsLast = o.first - a <= grown.last && grown.last <= o.last;
    if (!meetsFirst && !meetsLast) continue;
    if (meetsFirst) grown.first = o.first;
    if (meetsLast) grown.last = o.last;
    data[candidate] = grown;
    data.erase(data.begin() + static_cast<std::ptrdiff_t>(i));
    if (static_cast<int>(i) < candidate) --candidate;
    return true;
  }
  return false;
}

bool MultiRange::SetRange(int i, const Range& range) {
  if (i < 0 || i >= static_cast<int>(data.size())) return false;
  data[i] = range;
  return true;
}

bool MultiRange::IsIncluded(int frame) const { return RangeContaining(frame) >= 0; }

bool MultiRange::IsIncluded(const Range& range) const {
  int first = range.first;
  for (const Range& span : data) {
    if (first >= span.first) {
      if (range.last <= span.last) return true;
      first = std::max(first, FrameAfter(span.last));
    }
    if (first > range.last) return true;
  }
  return false;
}

int MultiRange::RangeContaining(int frame) const {
  const auto found = std::ranges::find_if(data, [=](const Range& r) { return r.first <= frame && frame <= r.last; });
  return found == data.end() ? -1 : static_cast<int>(found - data.begin());
}

int MultiRange::RangeClosestTo(int frame) const {
  int closest = -1;
  Wide smallest = std::numeric_limits<Wide>::max();
  for (size_t i = 0; i < data.size(); ++i) {
    const Wide distance = std::min(std::llabs(Wide{data[i].first} - frame), std::llabs(Wide{data[i].last} - frame));
    if (distance >= smallest) continue;
    smallest = distance;
    closest = static_cast<int>(i);
  }
  return closest;
}

MultiRange MultiRange::FindNegativeOverlap(const MultiRange& other) const {
  MultiRange needed = *this, have = other;
  needed.Sort();
  have.Sort();

  std::vector<Range> pieces;
  for (const Range& span : needed.data) {
    Range rest = TrimEnds(span, have.data);
    if (IsEmpty(rest)) continue;
    for (const Range& o : have.data) CutOut(rest, o, pieces);
    pieces.push_back(rest);
  }

  MultiRange missing;
  for (const Range& piece : pieces) missing.AddRange(piece.first, piece.last);  // ignores a piece that came to nothing
  missing.Sort();
  return missing;
}

void MultiRange::Sort() { std::ranges::stable_sort(data, compareRange); }

void AddRanges(MultiRange& set, const std::vector<Range>& ranges) {
  struct Arrival {
    Range span;
    size_t order;
  };
  std::vector<Arrival> arrivals, merged;
  for (const Range& r : set.data) arrivals.push_back({r, arrivals.size()});
  for (const Range& r : ranges)
    if (!IsEmpty(r)) arrivals.push_back({r, arrivals.size()});
  std::ranges::sort(arrivals, [](const Arrival& a, const Arrival& b) { return compareRange(a.span, b.span); });

  const Wide a = static_cast<int>(set.adjacency);
  for (const Arrival& next : arrivals) {
    if (merged.empty() || next.span.first > merged.back().span.last + a) {
      merged.push_back(next);
    } else {
      merged.back().span.last = std::max(merged.back().span.last, next.span.last);
      merged.back().order = std::min(merged.back().order, next.order);  // it stands where its first part stood
    }
  }
  std::ranges::sort(merged, {}, &Arrival::order);
  set.data.clear();
  for (const Arrival& m : merged) set.data.push_back(m.span);
}

}  // namespace Vorn
