#pragma once

#include <vector>

namespace Vorn {

/// A span of frames, both ends inclusive.
struct Range {
  int first = 0;
  int last = 0;
};

/// Whether `a` begins before `b`.
bool compareRange(const Range& a, const Range& b);

/// Which frames of a clip are covered: spans of frames that grow, meet and merge as ranges are added, since a clip may
/// be analysed in several passes.
class MultiRange {
 public:
  std::vector<Range> data;     ///< The spans, in order of arrival unless `Sort` was called.
  unsigned int adjacency = 1;  ///< Two spans this close count as touching; 0 keeps neighbours apart.

  /// Adds the frames `first` to `last`: into a span that overlaps or touches them, which then swallows every other span
  /// that it meets, or else as a new span at the end. Nothing happens if `last` is below `first`.
  void AddRange(int first, int last);

  /// Span `i`, which must be there.
  Range operator[](int i) const { return data[i]; }

  /// Replaces span `i` as it is, without merging. False if there is no such span.
  bool SetRange(int i, const Range& range);

  bool IsIncluded(int frame) const;

  /// Whether the spans, walked in stored order, cover `range`. A range that is covered in pieces may be missed if the
  /// spans aren't sorted.
  bool IsIncluded(const Range& range) const;

  /// The index of the first span that holds the frame, or -1.
  int RangeContaining(int frame) const;

  /// The index of the span with an end nearest to the frame, the earliest of equals; -1 if there is none.
  int RangeClosestTo(int frame) const;

  /// The parts of this set that `other` doesn't cover: the frames that a clip needs but an analysis lacks. Sorted, of
  /// adjacency 1.
  MultiRange FindNegativeOverlap(const MultiRange& other) const;

  /// Sorts the spans by their first frame.
  void Sort();

 private:
  int addToSpan(const Range& added);
  int indexOf(const Range& span) const;
  bool mergeOneInto(int& candidate);
};

/// Adds the ranges to a set whose spans don't touch, with the result of `AddRange` for one after the other; but in
/// n log n, so that a file of ever so many ranges is read in no time.
void AddRanges(MultiRange& set, const std::vector<Range>& ranges);

}  // namespace Vorn
