#include "estimation/PointTiling.h"

#include <gmock/gmock.h>

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

PointSet PointsAt(const std::vector<std::pair<double, double>>& places) {
  PointSet points;
  for (const auto& [x, y] : places) points.Add({x, y});
  return points;
}

TEST(PointTiling, DefaultsAreNoTiles) {
  const PointTiling tiling;
  EXPECT_EQ(tiling.tilesX, 0);
  EXPECT_EQ(tiling.tilesY, 0);
  EXPECT_EQ(tiling.pointCount, 0);
  EXPECT_TRUE(tiling.randomFree);
  EXPECT_THAT(tiling.tileOfPoint, IsEmpty());
}

TEST(PointTiling, LayoutIsChosenByTheBox) {
  PointSet wide = PointsAt({{100, 50}, {100 + 1759, 50 + 799}});
  PointTiling tiling;
  tiling.MakeTiles(wide);
  EXPECT_EQ(tiling.tilesX, 10);  // 1759 / 160 is 10.99
  EXPECT_EQ(tiling.tilesY, 4);
  EXPECT_FALSE(tiling.randomFree);

  PointSet small = PointsAt({{0, 0}, {200, 200}});
  PointTiling least;
  least.MakeTiles(small);
  EXPECT_EQ(least.tilesX, 4);
  EXPECT_EQ(least.tilesY, 3);
}

TEST(PointTiling, TilesAreNumberedRowByRowFromTheBoxCorner) {
  PointSet points = PointsAt({{10, 20}, {110, 80}, {59, 20}, {61, 20}, {59, 51}, {61, 51}});
  PointTiling tiling;
  tiling.SetLayout(2, 2);  // tiles of 50 by 30
  tiling.MakeTiles(points);
  EXPECT_EQ(tiling.pointCount, 6);
  // The far corner lies in column 2 of row 2: one past the last of both.
  EXPECT_THAT(tiling.tileOfPoint, ElementsAre(0, 2 * 2 + 2, 0, 1, 2, 3));
  EXPECT_EQ(tiling.GetTile(3), 1);
  EXPECT_EQ(tiling.GetTile(6), -1);
  EXPECT_THAT(tiling.GetPointsInTile(0), ElementsAre(0, 2));
  EXPECT_THAT(tiling.GetPointsInTile(5), IsEmpty());
}

TEST(PointTiling, MatchesAreTiledByPositionWhereTheirFirstPointLies) {
  PointSet points = PointsAt({{0, 0}, {90, 90}, {100, 100}, {-500, 7}});  // the last has no match and no say
  MatchSet matches;
  matches.AddMatch(2, 0, 1.0);
  matches.AddMatch(0, 1, 1.0);
  matches.AddMatch(1, 2, 1.0);
  PointTiling tiling;
  tiling.SetLayout(2, 2);
  tiling.MakeTiles(matches, points);
  EXPECT_EQ(tiling.pointCount, 3);
  EXPECT_TRUE(tiling.fromMatches);
  EXPECT_THAT(tiling.tileOfPoint, ElementsAre(6, 0, 3));
}

TEST(PointTiling, PointsOnOneSpotOrLineShareARowOrColumn) {
  PointSet spot = PointsAt({{5, 5}, {5, 5}});
  PointTiling tiling;
  tiling.MakeTiles(spot);
  EXPECT_THAT(tiling.tileOfPoint, ElementsAre(0, 0));
  PointSet line = PointsAt({{5, 0}, {5, 50}, {5, 90}});
  PointTiling column;
  column.SetLayout(4, 3);
  column.MakeTiles(line);
  EXPECT_THAT(column.tileOfPoint, ElementsAre(0, 4, 12));
}

TEST(PointTiling, EmptySetMakesNoTiles) {
  PointSet none;
  PointTiling tiling;
  tiling.MakeTiles(none);
  EXPECT_EQ(tiling.pointCount, 0);
  EXPECT_TRUE(tiling.randomFree);
  EXPECT_EQ(tiling.GetTile(0), -1);
}

}  // namespace
}  // namespace Vorn
