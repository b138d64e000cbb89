#include "analysis/IdIndex.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

using Vorn::IdIndex;

namespace {

TEST(IdIndex, HoldsWhatWasSetAndNothingElse) {
  IdIndex index;
  std::map<int, int> expected;
  index.Reset(500);
  unsigned state = 7;
  for (int i = 0; i < 500; ++i) {
    state = state * 1664525u + 1013904223u;
    const int id = static_cast<int>(state >> 8) % 3000 - 1000;
    index[id] = i;
    expected[id] = i;
  }
  for (int id = -1100; id < 2100; ++id) {
    const auto found = expected.find(id);
    EXPECT_EQ(index.Find(id), found == expected.end() ? -1 : found->second) << id;
  }
}

TEST(IdIndex, NewIdHasNoPosition) {
  IdIndex index;
  index.Reset(1);
  EXPECT_EQ(index.Find(5), -1);
  EXPECT_EQ(index[5], -1);
}

TEST(IdIndex, ExtremeIdsAreIdsLikeOthers) {
  IdIndex index;
  index.Reset(3);
  index[std::numeric_limits<int>::min()] = 1;
  index[std::numeric_limits<int>::max()] = 2;
  index[-1] = 3;
  EXPECT_EQ(index.Find(std::numeric_limits<int>::min()), 1);
  EXPECT_EQ(index.Find(std::numeric_limits<int>::max()), 2);
  EXPECT_EQ(index.Find(-1), 3);
  EXPECT_EQ(index.Find(0), -1);
}

TEST(IdIndex, IsEmptyAfterReset) {
  IdIndex index;
  index.Reset(2);
  index[4] = 1;
  index.Reset(0);
  EXPECT_EQ(index.Find(4), -1);
}

}  // namespace
