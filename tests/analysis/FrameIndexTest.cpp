#include "analysis/FrameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

using Vorn::FrameIndex;

namespace {

void ExpectFindsFirstPositions(const std::vector<int>& frames) {
  FrameIndex index;
  for (const int frame : frames) index.Append(frame);
  for (int frame = -12; frame <= 60; ++frame) {
    const auto first = std::ranges::find(frames, frame);
    EXPECT_EQ(index.Find(frame), first == frames.end() ? -1 : first - frames.begin()) << "frame " << frame;
  }
}

TEST(FrameIndex, FindsWhatAScanFromTheStartFinds) {
  ExpectFindsFirstPositions({});
  ExpectFindsFirstPositions({7, 8, 9, 10});
  ExpectFindsFirstPositions({-3, -2, -1, 0, 1});
  ExpectFindsFirstPositions({7, 8, 9, 20, 21, 50});
  ExpectFindsFirstPositions({7, 8, 9, 8, 7, 6, 5, 9});
  ExpectFindsFirstPositions({10, 9, 8});
  ExpectFindsFirstPositions({4, 4, 5, 6});
}

TEST(FrameIndex, IsEmptyAfterClear) {
  FrameIndex index;
  index.Append(3);
  index.Append(9);
  index.Clear();
  EXPECT_EQ(index.Find(3), -1);
  index.Append(9);
  EXPECT_EQ(index.Find(9), 0);
}

TEST(FrameIndex, ExtremeFramesDoNotOverflow) {
  constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
  FrameIndex index;
  index.Append(highest);
  EXPECT_EQ(index.Find(lowest), -1);
  index.Append(lowest);
  EXPECT_EQ(index.Find(lowest), 1);
  EXPECT_EQ(index.Find(highest), 0);
}

}  // namespace
