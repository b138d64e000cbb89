#include "numerics/Geometry.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

namespace Vorn {
namespace {

const std::vector<double> perspective = {2, 1, 3, 0, 4, -1, 0.5, 0, 1};

Matrix Perspective() {
  Matrix m(3, 3);
  m = perspective;
  return m;
}

TEST(ProjectPoint, DividesByTheThirdCoordinate) {
  Point2D p(2, 5);
  p.id = 8;
  p.weight = 0.5;
  const Point2D projected = ProjectPoint(Perspective(), p);
  EXPECT_EQ(projected.x, (4 + 5 + 3) / 2.0);  // w = 0.5 * 2 + 1
  EXPECT_EQ(projected.y, (20 - 1) / 2.0);
  EXPECT_EQ(projected.id, -1);
  EXPECT_EQ(projected.weight, 1.0);
}

TEST(ProjectPoint, APointAtInfinityIsNotFinite) {
  EXPECT_FALSE(std::isfinite(ProjectPoint(Perspective(), Point2D(-2, 0)).x));  // w = 0
}

TEST(ProjectPoint, ActsAboutTheOriginGiven) {
  Matrix quarterTurn(3, 3);
  quarterTurn = std::vector<double>{0, -1, 0, 1, 0, 0, 0, 0, 1};
  const Point2D projected = ProjectPoint(quarterTurn, Point2D(14, 20), 10.0f, 20.0f);
  EXPECT_EQ(projected.x, 10.0);
  EXPECT_EQ(projected.y, 24.0);
}

TEST(ProjectPoint, TakesNineParametersOrCopies) {
  std::vector<double> params = perspective;
  EXPECT_EQ(ProjectPoint(params, Point2D(2, 5)), Point2D(6, 9.5));
  params.pop_back();
  Point2D p(2, 5);
  p.id = 8;
  p.weight = 0.5;
  EXPECT_EQ(ProjectPoint(params, p), p);
}

TEST(Geometry, DistanceAndAreaOfA345Triangle) {
  const Point2D a(1, 1), b(5, 1), c(5, 4);
  EXPECT_EQ(Distance(a, c), 5.0);
  EXPECT_EQ(TriangleArea(a, b, c), 6.0);
  EXPECT_EQ(TriangleArea(c, b, a), 6.0);
  EXPECT_EQ(TriangleArea(a, Point2D(3, 1), b), 0.0);
}

TEST(Geometry, MaxPowerOfTwoIsNotAboveItsArgument) {
  const int cases[][3] = {{1, 1, 0},  {2, 2, 1},  {3, 2, 1}, {1023, 512, 9}, {1024, 1024, 10}, {INT_MAX, 1 << 30, 30},
                          {0, 0, -1}, {-8, 0, -1}};
  for (const auto& [n, power, expected] : cases) {
    int exponent = 99;
    EXPECT_EQ(MaxPowerOfTwo(n, &exponent), power);
    EXPECT_EQ(exponent, expected);
    EXPECT_EQ(MaxPowerOfTwo(n, nullptr), power);
  }
}

TEST(Geometry, BinaryLog2RoundsDown) {
  EXPECT_EQ(BinaryLog2(0), -1);
  EXPECT_EQ(BinaryLog2(1), 0);
  EXPECT_EQ(BinaryLog2(255), 7);
  EXPECT_EQ(BinaryLog2(256), 8);
  EXPECT_EQ(BinaryLog2(UINT_MAX), 31);
}

TEST(Geometry, SignumFollowsTheSignBit) {
  EXPECT_EQ(Signum(0.0), 1);
  EXPECT_EQ(Signum(-0.0), -1);
  EXPECT_EQ(Signum(1e-300), 1);
  EXPECT_EQ(Signum(-7.0), -1);
}

}  // namespace
}  // namespace Vorn
