#include "numerics/Point2D.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Vorn {
namespace {

Point2D Tagged(double x, double y, int id, double weight) {
  Point2D point(x, y);
  point.id = id;
  point.weight = weight;
  return point;
}

void ExpectPoint(const Point2D& point, double x, double y, int id, double weight) {
  EXPECT_EQ(point.x, x);
  EXPECT_EQ(point.y, y);
  EXPECT_EQ(point.id, id);
  EXPECT_EQ(point.weight, weight);
}

TEST(Point2D, StartsAtTheOriginWithoutIdentity) {
  ExpectPoint(Point2D(), 0, 0, -1, 1.0);
  ExpectPoint(Point2D(3, -4.5), 3, -4.5, -1, 1.0);
}

TEST(Point2D, IsReadFromTextAtTheFirstComma) {
  ExpectPoint(Point2D("12.5,-3"), 12.5, -3, -1, 1.0);
  ExpectPoint(Point2D("1,2,3"), 1, 2, -1, 1.0);
  ExpectPoint(Point2D(" 7 px, 8e1"), 7, 80, -1, 1.0);
  ExpectPoint(Point2D("x,5"), 0, 5, -1, 1.0);
  ExpectPoint(Point2D("12.5"), 0, 0, -1, 1.0);
  ExpectPoint(Point2D(""), 0, 0, -1, 1.0);
}

TEST(Point2D, AssignmentCopiesAllMembers) {
  Point2D point;
  point = Tagged(1, 2, 3, 0.25);
  ExpectPoint(point, 1, 2, 3, 0.25);
}

TEST(Point2D, ArithmeticLosesIdAndWeight) {
  const Point2D a = Tagged(6, 8, 3, 0.25), b = Tagged(1, 2, 3, 0.5);
  ExpectPoint(a + b, 7, 10, -1, 1.0);
  ExpectPoint(a - b, 5, 6, -1, 1.0);
  ExpectPoint(a * 0.5, 3, 4, -1, 1.0);
  ExpectPoint(a / 4, 1.5, 2, -1, 1.0);
}

TEST(Point2D, InPlaceArithmeticKeepsIdAndWeight) {
  Point2D point = Tagged(6, 8, 3, 0.25);
  point += Tagged(1, 1, 9, 0.75);
  ExpectPoint(point, 7, 9, 3, 0.25);
  Point2D copy = (point -= Tagged(2, 3, 9, 0.75));
  ExpectPoint(point, 5, 6, 3, 0.25);
  ExpectPoint(copy, 5, 6, 3, 0.25);
}

TEST(Point2D, EqualityNeedsIdWeightAndPlace) {
  const Point2D point = Tagged(100, 200, 5, 0.5);
  EXPECT_EQ(point, Tagged(100.00001, 200.00001, 5, 0.5));
  EXPECT_NE(point, Tagged(100, 200, -1, 0.5));
  EXPECT_NE(Tagged(100, 200, -1, 0.5), point);
  EXPECT_NE(point, Tagged(100, 200, 5, 0.6));
  EXPECT_NE(point, Tagged(100.1, 200, 5, 0.5));
  EXPECT_NE(point, Tagged(100, 200.1, 5, 0.5));
  EXPECT_EQ(Point2D(1, 2), Point2D(1, 2));
}

TEST(Coordinate2D, AddsSubtractsAndCompares) {
  const Coordinate2D a(5, -7), b(2, 3);
  EXPECT_EQ(a + b, Coordinate2D(7, -4));
  EXPECT_EQ(a - b, Coordinate2D(3, -10));
  EXPECT_FALSE(a == b);
  EXPECT_FALSE(a == Coordinate2D(5, 7));
  EXPECT_EQ(Coordinate2D(), Coordinate2D(0, 0));
}

TEST(Coordinate2D, IsPrintedInParentheses) {
  std::ostringstream text;
  text << Coordinate2D(3, -4);
  EXPECT_EQ(text.str(), "(3,-4)");
}

}  // namespace
}  // namespace Vorn
