#include "estimation/NormalisePoints.h"

#include <gtest/gtest.h>

#include <cmath>

#include "numerics/Geometry.h"

namespace Vorn {
namespace {

PointSet FourCorners() {
  PointSet points;
  for (const auto& [x, y] : {std::pair{10.0, 20.0}, {16.0, 20.0}, {16.0, 28.0}, {10.0, 28.0}}) points.Add({x, y});
  for (int i = 0; i < 4; ++i) {
    points[i].id = 40 + i;
    points[i].weight = 0.25 * i;
  }
  return points;
}

TEST(NormalisePoints, CentroidMovesToTheOriginAndTheMeanDistanceIsTheRootOfTwo) {
  PointSet points = FourCorners();
  Matrix t;
  normalisePoints(points, t);
  const double s = std::sqrt(2.0) / 5;  // each corner of the 6 by 8 box is 5 from its centre (13, 24)
  EXPECT_NEAR(points[0].x, -3 * s, 1e-15);
  EXPECT_NEAR(points[0].y, -4 * s, 1e-15);
  EXPECT_NEAR(points[2].x, 3 * s, 1e-15);
  EXPECT_NEAR(points[2].y, 4 * s, 1e-15);
}

TEST(NormalisePoints, IdsAndWeightsStay) {
  PointSet points = FourCorners();
  Matrix t;
  normalisePoints(points, t);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(points[i].id, 40 + i);
    EXPECT_EQ(points[i].weight, 0.25 * i);
  }
}

TEST(NormalisePoints, MatrixIsTheSimilarityThatWasApplied) {
  const PointSet before = FourCorners();
  PointSet points = before;
  Matrix t(2, 7);
  normalisePoints(points, t);
  ASSERT_EQ(t.rows, 3u);
  ASSERT_EQ(t.columns, 3u);
  const double s = std::sqrt(2.0) / 5;
  const double expected[3][3] = {{s, 0, -13 * s}, {0, s, -24 * s}, {0, 0, 1}};
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(t(r, c), expected[r][c], 1e-15);
  for (int i = 0; i < 4; ++i) {
    const Point2D mapped = ProjectPoint(t, before[i]);
    EXPECT_NEAR(mapped.x, points[i].x, 1e-14);
    EXPECT_NEAR(mapped.y, points[i].y, 1e-14);
  }
}

TEST(NormalisePoints, EmptySetLeavesNotANumberInTheMatrix) {
  PointSet points;
  Matrix t;
  normalisePoints(points, t);
  ASSERT_EQ(t.rows, 3u);
  EXPECT_TRUE(std::isnan(t(0, 0)));
  EXPECT_TRUE(std::isnan(t(1, 1)));
  EXPECT_TRUE(std::isnan(t(0, 2)));
  EXPECT_TRUE(std::isnan(t(1, 2)));
  EXPECT_EQ(t(2, 2), 1.0);
  EXPECT_EQ(t(0, 1), 0.0);
}

}  // namespace
}  // namespace Vorn
