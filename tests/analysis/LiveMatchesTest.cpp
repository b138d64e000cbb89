#include "analysis/LiveMatches.h"

#include <gtest/gtest.h>

#include <vector>

using Vorn::LiveMatches;
using Vorn::MatchSet;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

struct Problem {
  PointSet current;
  MatchSet matches;

  explicit Problem(const std::vector<int>& ids) {
    for (size_t k = 0; k < ids.size(); ++k) {
      Point2D p(0.0, 0.0);
      p.id = ids[k];
      current.Add(p);
      matches.AddMatch(static_cast<int>(k), static_cast<int>(k), 1.0);
    }
  }
};

TEST(LiveMatches, BehavesLikeAListThatIsScannedAndErasedFrom) {
  std::vector<int> ids;
  for (int i = 0; i < 200; ++i) ids.push_back(i * 37 % 150);  // some twice, in mixed order
  const Problem problem(ids);
  LiveMatches live;
  live.Reset(problem.matches, problem.current);

  struct Entry {
    int index, id;
  };
  std::vector<Entry> list;
  for (int i = 0; i < 200; ++i) list.push_back({i, ids[i]});

  for (int step = 0; step < 260; ++step) {
    const int id = step * 53 % 160;
    size_t position = 0;
    while (position < list.size() && list[position].id != id) ++position;
    const bool there = position < list.size();
    ASSERT_EQ(live.First(id), there ? list[position].index : -1) << "step " << step;
    if (!there) continue;
    ASSERT_EQ(live.Position(list[position].index), static_cast<int>(position)) << "step " << step;
    if (step % 3 == 0) continue;
    live.RemoveFirst(id);
    EXPECT_FALSE(live.IsLeft(list[position].index));
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(position));
  }
  EXPECT_GT(list.size(), 20u);
  EXPECT_LT(list.size(), 150u);
  for (const Entry& e : list) EXPECT_TRUE(live.IsLeft(e.index));
}

TEST(LiveMatches, KnowsAMatchByTheIdOfItsCurrentPoint) {
  Problem problem({10, 11, 12});
  problem.matches.Clear();
  problem.matches.AddMatch(0, 2, 1.0);
  LiveMatches live;
  live.Reset(problem.matches, problem.current);
  EXPECT_EQ(live.First(12), 0);
  EXPECT_EQ(live.First(10), -1);
}

}  // namespace
