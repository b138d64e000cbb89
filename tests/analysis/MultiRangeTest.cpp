#include "analysis/MultiRange.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

using Vorn::MultiRange;
using Vorn::Range;

namespace {

using Spans = std::vector<std::pair<int, int>>;

MultiRange Ranges(const Spans& spans, unsigned adjacency = 1) {
  MultiRange ranges;
  ranges.adjacency = adjacency;
  for (const auto& [first, last] : spans) ranges.AddRange(first, last);
  return ranges;
}

Spans SpansOf(const MultiRange& ranges) {
  Spans spans;
  for (const Range& r : ranges.data) spans.emplace_back(r.first, r.last);
  return spans;
}

TEST(MultiRange, IsEmptyWithAnAdjacencyOfOneToBeginWith) {
  EXPECT_TRUE(MultiRange().data.empty());
  EXPECT_EQ(MultiRange().adjacency, 1u);
}

TEST(MultiRange, ReversedSpanIsIgnored) { EXPECT_TRUE(SpansOf(Ranges({{3, 2}})).empty()); }

TEST(MultiRange, SeparateSpansKeepTheOrderOfArrival) {
  EXPECT_EQ(SpansOf(Ranges({{20, 30}, {1, 5}, {50, 60}})), (Spans{{20, 30}, {1, 5}, {50, 60}}));
}

TEST(MultiRange, CoveredSpanChangesNothing) {
  EXPECT_EQ(SpansOf(Ranges({{1, 10}, {3, 7}, {1, 10}, {1, 1}, {10, 10}})), (Spans{{1, 10}}));
}

TEST(MultiRange, OverlapGrowsTheSpanOnTheSideOfTheOverlap) {
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {8, 15}})), (Spans{{5, 15}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {1, 6}})), (Spans{{1, 10}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {1, 20}})), (Spans{{1, 20}}));
}

TEST(MultiRange, NeighbourBehindIsJoined) { EXPECT_EQ(SpansOf(Ranges({{5, 10}, {11, 15}})), (Spans{{5, 15}})); }

TEST(MultiRange, LongNeighbourInFrontIsJoined) {
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {1, 4}})), (Spans{{1, 10}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 5}, {1, 4}})), (Spans{{1, 5}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {1, 3}})), (Spans{{5, 10}, {1, 3}}));
}

TEST(MultiRange, SingleFrameInFrontIsJoined) { EXPECT_EQ(SpansOf(Ranges({{5, 10}, {4, 4}})), (Spans{{4, 10}})); }

TEST(MultiRange, FrameInFrontOfASingleFrameDoesNotTurnItRound) {
  EXPECT_EQ(SpansOf(Ranges({{5, 5}, {4, 4}})), (Spans{{4, 5}}));
  EXPECT_EQ(SpansOf(Ranges({{10, 12}, {9, 9}}, 3)), (Spans{{9, 12}}));
}

TEST(MultiRange, SpanThatSwallowsOthersLeavesOne) {
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {12, 15}, {1, 20}})), (Spans{{1, 20}}));
}

TEST(MultiRange, FrameBetweenTwoSpansJoinsThem) {
  EXPECT_EQ(SpansOf(Ranges({{1, 4}, {6, 9}, {5, 5}})), (Spans{{1, 9}}));
  EXPECT_EQ(SpansOf(Ranges({{6, 9}, {1, 4}, {5, 5}})), (Spans{{1, 9}}));
}

TEST(MultiRange, GrowthMergesSpansOneAfterTheOther) {
  EXPECT_EQ(SpansOf(Ranges({{30, 40}, {1, 4}, {10, 14}, {20, 25}, {3, 30}})), (Spans{{1, 40}}));
}

TEST(MultiRange, AdjacencyZeroLeavesNeighboursApart) {
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {11, 15}}, 0)), (Spans{{5, 10}, {11, 15}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {10, 15}}, 0)), (Spans{{5, 15}}));
}

TEST(MultiRange, WideAdjacencyBridgesAGap) {
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {13, 20}}, 3)), (Spans{{5, 20}}));
  EXPECT_EQ(SpansOf(Ranges({{5, 10}, {14, 20}}, 3)), (Spans{{5, 10}, {14, 20}}));
}

TEST(MultiRange, ExtremeFrameNumbersDoNotOverflow) {
  constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
  EXPECT_EQ(SpansOf(Ranges({{lowest, lowest + 5}, {highest - 5, highest}})),
            (Spans{{lowest, lowest + 5}, {highest - 5, highest}}));
  EXPECT_EQ(Ranges({{lowest, 0}, {10, highest}}).RangeClosestTo(highest), 1);
  EXPECT_EQ(SpansOf(Ranges({{0, highest}}).FindNegativeOverlap(Ranges({{10, highest}}))), (Spans{{0, 9}}));
}

TEST(MultiRange, SetRangeReplacesWithoutMergingAndRefusesOtherIndices) {
  MultiRange ranges = Ranges({{1, 4}, {8, 9}});
  EXPECT_TRUE(ranges.SetRange(1, Range{2, 3}));
  EXPECT_EQ(SpansOf(ranges), (Spans{{1, 4}, {2, 3}}));
  EXPECT_FALSE(ranges.SetRange(2, Range{0, 0}));
  EXPECT_FALSE(ranges.SetRange(-1, Range{0, 0}));
  EXPECT_EQ(SpansOf(ranges), (Spans{{1, 4}, {2, 3}}));
  EXPECT_EQ(ranges[1].first, 2);
  EXPECT_EQ(ranges[1].last, 3);
}

TEST(MultiRange, FramesAreIncludedUpToBothEnds) {
  const MultiRange ranges = Ranges({{1, 4}, {8, 9}});
  for (int frame = 0; frame <= 10; ++frame)
    EXPECT_EQ(ranges.IsIncluded(frame), (frame >= 1 && frame <= 4) || frame == 8 || frame == 9) << frame;
  EXPECT_FALSE(MultiRange().IsIncluded(7));
}

TEST(MultiRange, RangeIsIncludedWhenSortedSpansCoverItTogether) {
  const MultiRange ranges = Ranges({{1, 4}, {5, 9}, {12, 20}}, 0);
  EXPECT_TRUE(ranges.IsIncluded(Range{2, 3}));
  EXPECT_TRUE(ranges.IsIncluded(Range{3, 8}));
  EXPECT_FALSE(ranges.IsIncluded(Range{3, 13}));
  EXPECT_FALSE(ranges.IsIncluded(Range{0, 3}));
  EXPECT_FALSE(MultiRange().IsIncluded(Range{1, 1}));
}

TEST(MultiRange, RangeCoveredInPiecesIsMissedWhenUnsorted) {
  MultiRange ranges = Ranges({{5, 9}, {1, 4}}, 0);
  EXPECT_FALSE(ranges.IsIncluded(Range{3, 8}));
  ranges.Sort();
  EXPECT_TRUE(ranges.IsIncluded(Range{3, 8}));
}

TEST(MultiRange, EmptyRangeIsIncludedOnceThereIsASpan) {
  EXPECT_TRUE(Ranges({{20, 30}}).IsIncluded(Range{9, 5}));
  EXPECT_FALSE(MultiRange().IsIncluded(Range{9, 5}));
}

TEST(MultiRange, RangeContainingIsTheFirstHolder) {
  MultiRange ranges = Ranges({{1, 4}, {8, 9}});
  ranges.SetRange(1, Range{3, 9});
  EXPECT_EQ(ranges.RangeContaining(3), 0);
  EXPECT_EQ(ranges.RangeContaining(5), 1);
  EXPECT_EQ(ranges.RangeContaining(10), -1);
}

TEST(MultiRange, ClosestRangeIsMeasuredToTheEnds) {
  const MultiRange ranges = Ranges({{0, 100}, {110, 120}});
  EXPECT_EQ(ranges.RangeClosestTo(65), 0);   // 35 to 100, against 45
  EXPECT_EQ(ranges.RangeClosestTo(104), 0);  // 4 against 6
  EXPECT_EQ(ranges.RangeClosestTo(106), 1);
  EXPECT_EQ(ranges.RangeClosestTo(105), 0);  // equal: the earlier one stays
  EXPECT_EQ(MultiRange().RangeClosestTo(3), -1);
}

TEST(MultiRange, SortIsByFirstFrame) {
  MultiRange ranges = Ranges({{20, 30}, {1, 5}, {50, 60}});
  ranges.Sort();
  EXPECT_EQ(SpansOf(ranges), (Spans{{1, 5}, {20, 30}, {50, 60}}));
}

TEST(MultiRange, NegativeOverlapIsWhatTheOtherLacks) {
  const auto missing = [](const Spans& needed, const Spans& have) {
    return SpansOf(Ranges(needed).FindNegativeOverlap(Ranges(have)));
  };
  EXPECT_EQ(missing({{0, 100}}, {{10, 20}, {40, 50}}), (Spans{{0, 9}, {21, 39}, {51, 100}}));
  EXPECT_EQ(missing({{0, 100}}, {{40, 50}, {10, 20}}), (Spans{{0, 9}, {21, 39}, {51, 100}}));
  EXPECT_EQ(missing({{0, 100}}, {}), (Spans{{0, 100}}));
  EXPECT_EQ(missing({{0, 100}}, {{0, 30}}), (Spans{{31, 100}}));
  EXPECT_EQ(missing({{0, 100}}, {{70, 100}}), (Spans{{0, 69}}));
  EXPECT_EQ(missing({{0, 100}}, {{-5, 30}, {70, 120}}), (Spans{{31, 69}}));
  EXPECT_EQ(missing({{50, 60}, {0, 10}}, {{5, 55}}), (Spans{{0, 4}, {56, 60}}));
  EXPECT_TRUE(missing({{10, 20}}, {{10, 20}}).empty());
  EXPECT_TRUE(missing({{10, 20}, {30, 40}}, {{0, 50}}).empty());
  EXPECT_TRUE(missing({}, {{0, 50}}).empty());
}

TEST(MultiRange, NegativeOverlapAgreesWithCountingFrames) {
  unsigned state = 1;
  const auto draw = [&](int below) { return static_cast<int>((state = state * 1664525u + 1013904223u) >> 16) % below; };
  for (int round = 0; round < 200; ++round) {
    MultiRange needed, have;
    for (int i = 0; i < 5; ++i) {
      const int a = draw(80), b = draw(80);
      needed.AddRange(a, a + draw(20));
      have.AddRange(b, b + draw(12));
    }
    const MultiRange missing = needed.FindNegativeOverlap(have);
    for (int frame = -1; frame < 105; ++frame)
      ASSERT_EQ(missing.IsIncluded(frame), needed.IsIncluded(frame) && !have.IsIncluded(frame))
          << "round " << round << ", frame " << frame;
    for (size_t i = 1; i < missing.data.size(); ++i) ASSERT_GT(missing.data[i].first, missing.data[i - 1].last);
  }
}

TEST(MultiRange, NegativeOverlapHasAnAdjacencyOfOne) {
  EXPECT_EQ(Ranges({{0, 9}}, 0).FindNegativeOverlap(MultiRange()).adjacency, 1u);
}

TEST(MultiRange, AddingRangesTogetherIsAddingThemOneByOne) {
  unsigned int state = 1;
  const auto draw = [&](int below) {
    state = state * 1664525u + 1013904223u;
    return static_cast<int>((state >> 8) % static_cast<unsigned int>(below));
  };
  for (int round = 0; round < 400; ++round) {
    MultiRange together, oneByOne;
    together.adjacency = oneByOne.adjacency = static_cast<unsigned int>(round % 3);
    std::vector<Range> ranges;
    for (int i = 0; i < 12; ++i) {
      const int first = draw(150);
      ranges.push_back({first, first - 1 + draw(8)});
    }
    for (const Range& r : ranges) oneByOne.AddRange(r.first, r.last);
    AddRanges(together, {ranges.begin(), ranges.begin() + 5});
    AddRanges(together, {ranges.begin() + 5, ranges.end()});
    ASSERT_EQ(together.data.size(), oneByOne.data.size()) << round;
    for (size_t i = 0; i < together.data.size(); ++i) {
      EXPECT_EQ(together.data[i].first, oneByOne.data[i].first) << round;
      EXPECT_EQ(together.data[i].last, oneByOne.data[i].last) << round;
    }
  }
}

TEST(MultiRange, RangesAtTheEndsOfTheNumbersMeet) {
  MultiRange ranges;
  AddRanges(ranges, {{2147483646, 2147483647}, {-2147483647 - 1, 0}, {2147483640, 2147483645}});
  ASSERT_EQ(ranges.data.size(), 2u);
  EXPECT_EQ(ranges.data[0].first, 2147483640);
  EXPECT_EQ(ranges.data[0].last, 2147483647);
}

}  // namespace
