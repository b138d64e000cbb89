#include "numerics/Line.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace Vorn {
namespace {

Line Segment(double ax, double ay, double bx, double by) { return {Point2D(ax, ay), Point2D(bx, by), true, true}; }
Line Unbounded(double ax, double ay, double bx, double by) { return {Point2D(ax, ay), Point2D(bx, by), false, false}; }

void ExpectCrossing(const Line& a, const Line& b, double x, double y) {
  Point2D crossing;
  EXPECT_TRUE(a.IsIntersectingAt(b, crossing));
  EXPECT_NEAR(crossing.x, x, 1e-12);
  EXPECT_NEAR(crossing.y, y, 1e-12);
  EXPECT_TRUE(a.IsIntersecting(b));
}

void ExpectNoCrossing(const Line& a, const Line& b) {
  Point2D crossing;
  EXPECT_FALSE(a.IsIntersectingAt(b, crossing));
  EXPECT_FALSE(a.IsIntersecting(b));
}

TEST(Line, StartsAsTheUnboundedZeroLine) {
  const Line line;
  Point2D end(8, 9);
  EXPECT_EQ(line.slope, 0.0);
  EXPECT_EQ(line.intercept, 0.0);
  EXPECT_FALSE(line.vertical);
  EXPECT_EQ(line.tolerance, 0.001);
  EXPECT_FALSE(line.GetStart(end));
  EXPECT_FALSE(line.GetStop(end));
  EXPECT_EQ(end, Point2D(8, 9));
}

TEST(Line, ThroughTwoPointsOrdersThemAndTheirBoundsByX) {
  const Line line(Point2D(5, 1), Point2D(1, 9), true, false);
  EXPECT_EQ(line.slope, -2.0);
  EXPECT_EQ(line.intercept, 11.0);
  EXPECT_EQ(line.start, Point2D(1, 9));
  EXPECT_EQ(line.stop, Point2D(5, 1));
  EXPECT_FALSE(line.hasStart);
  EXPECT_TRUE(line.hasStop);
  EXPECT_EQ(line.Middle(), Point2D(3, 5));
}

TEST(Line, ThroughTwoPointsAboveEachOtherIsVerticalAndOrderedByY) {
  const Line line(Point2D(4, 9), Point2D(4, 2), false, true);
  EXPECT_TRUE(line.vertical);
  EXPECT_EQ(line.slope, 0.0);
  EXPECT_EQ(line.intercept, 4.0);
  EXPECT_EQ(line.start, Point2D(4, 2));
  EXPECT_TRUE(line.hasStart);
  EXPECT_FALSE(line.hasStop);
}

TEST(Line, ThroughTwoPointsSideBySideIsHorizontal) {
  const Line line = Segment(7, 3, -1, 3);
  EXPECT_FALSE(line.vertical);
  EXPECT_EQ(line.slope, 0.0);
  EXPECT_EQ(line.intercept, 3.0);
}

TEST(Line, ThroughTwoEqualPointsIsVertical) { EXPECT_TRUE(Segment(3, 3, 3, 3).vertical); }

TEST(Line, ThroughAPointWithASlopeIsUnbounded) {
  const Line line(Point2D(2, 7), 3.0);
  EXPECT_EQ(line.intercept, 1.0);
  EXPECT_FALSE(line.hasStart || line.hasStop || line.vertical);
}

TEST(Line, ComesFromThreeCoefficients) {
  const Line slanted(std::vector<double>{2, -4, 8});
  EXPECT_EQ(slanted.slope, 0.5);
  EXPECT_EQ(slanted.intercept, 2.0);
  const Line upright(std::vector<double>{2, 0, -8});
  EXPECT_TRUE(upright.vertical);
  EXPECT_EQ(upright.slope, 0.0);
  EXPECT_EQ(upright.intercept, 4.0);
  EXPECT_FALSE(Line(std::vector<double>{2, 1e-9, -8}).vertical);  // only 0 itself counts
}

TEST(Line, OtherThanThreeCoefficientsAreToldAndGiveTheZeroLine) {
  for (const size_t size : {0u, 2u, 4u}) {
    testing::internal::CaptureStderr();
    const Line line(std::vector<double>(size, 3.0));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Line: Invalid 3-vector\n");
    EXPECT_EQ(line.slope, 0.0);
    EXPECT_EQ(line.intercept, 0.0);
    EXPECT_FALSE(line.vertical);
  }
}

TEST(Line, GivesTheEndsThatItHas) {
  Point2D end;
  const Line line(Point2D(0, 1), Point2D(2, 3), true, false);
  EXPECT_TRUE(line.GetStart(end));
  EXPECT_EQ(end, Point2D(0, 1));
  EXPECT_FALSE(line.GetStop(end));
}

TEST(Line, GivesYForXAndXForY) {
  const Line line = Unbounded(0, 1, 2, 5);
  double value = 0;
  line.GetYforX(10, value);
  EXPECT_EQ(value, 21.0);
  line.GetXforY(21, value);
  EXPECT_EQ(value, 10.0);
}

TEST(Line, VerticalLineGivesTheYOfAnEnd) {
  double y = 99;
  Line(Point2D(4, 2), Point2D(4, 9), true, true).GetYforX(4, y);
  EXPECT_EQ(y, 2.0);
  Line(Point2D(4, 2), Point2D(4, 9), false, true).GetYforX(4, y);
  EXPECT_EQ(y, 9.0);
  Unbounded(4, 2, 4, 9).GetYforX(4, y);
  EXPECT_EQ(y, 0.0);
}

TEST(Line, HorizontalLineGivesTheXOfAnEnd) {
  double x = 99;
  Line(Point2D(2, 4), Point2D(9, 4), true, true).GetXforY(4, x);
  EXPECT_EQ(x, 2.0);
  Line(Point2D(2, 4), Point2D(9, 4), false, true).GetXforY(4, x);
  EXPECT_EQ(x, 9.0);
  Unbounded(2, 4, 9, 4).GetXforY(4, x);
  EXPECT_EQ(x, 0.0);
  Line(Point2D(2, 4), 0.0000005).GetXforY(5, x);  // as good as horizontal
  EXPECT_EQ(x, 0.0);
}

TEST(Line, APointIsOnTheLineWithinTheToleranceAndTheEnds) {
  const Line line = Segment(0, 0, 10, 20);
  EXPECT_TRUE(line.IsOnLine(Point2D(5, 10.0009)));
  EXPECT_FALSE(line.IsOnLine(Point2D(5, 10.0011)));
  EXPECT_TRUE(line.IsOnLine(Point2D(0, 0)));
  EXPECT_TRUE(line.IsOnLine(Point2D(10, 20)));
  EXPECT_FALSE(line.IsOnLine(Point2D(-1, -2)));
  EXPECT_FALSE(line.IsOnLine(Point2D(11, 22)));
  EXPECT_TRUE(Unbounded(0, 0, 10, 20).IsOnLine(Point2D(11, 22)));
}

TEST(Line, APointIsOnAVerticalLineWithinTheToleranceInX) {
  const Line line = Segment(3, 0, 3, 10);
  EXPECT_TRUE(line.IsOnLine(Point2D(3.0009, 5)));
  EXPECT_FALSE(line.IsOnLine(Point2D(2.9989, 5)));
  EXPECT_FALSE(line.IsOnLine(Point2D(3, -1)));
  EXPECT_FALSE(line.IsOnLine(Point2D(3, 11)));
}

TEST(Line, SlantedLinesCrossOnce) {
  ExpectCrossing(Segment(0, 0, 4, 4), Segment(0, 4, 4, 0), 2, 2);
  ExpectCrossing(Unbounded(0, 0, 1, 1), Unbounded(0, 4, 1, 3), 2, 2);
  ExpectNoCrossing(Segment(0, 0, 1, 1), Segment(0, 4, 4, 0));
  ExpectNoCrossing(Segment(0, 4, 4, 0), Segment(0, 0, 1, 1));
}

TEST(Line, AVerticalLineCrossesWhereTheOtherHasItsX) {
  ExpectCrossing(Segment(3, 0, 3, 10), Segment(0, 1, 6, 7), 3, 4);
  ExpectCrossing(Segment(0, 1, 6, 7), Segment(3, 0, 3, 10), 3, 4);
  ExpectCrossing(Segment(3, 0, 3, 10), Segment(0, 5, 6, 5), 3, 5);  // both have slope 0
  ExpectCrossing(Segment(0, 5, 6, 5), Segment(3, 0, 3, 10), 3, 5);
  ExpectNoCrossing(Segment(3, 0, 3, 10), Segment(0, 11, 6, 11));
}

TEST(Line, ParallelLinesDontCross) {
  ExpectNoCrossing(Unbounded(0, 0, 1, 2), Unbounded(0, 1, 1, 3));
  ExpectNoCrossing(Unbounded(3, 0, 3, 2), Unbounded(4, 1, 4, 3));
}

TEST(Line, CoincidingLinesCrossAtTheFirstEndOrOnTheAxis) {
  ExpectCrossing(Unbounded(0, 3, 1, 5), Unbounded(2, 7, 3, 9), 0, 3);
  ExpectCrossing(Unbounded(4, 3, 4, 5), Unbounded(4, 7, 4, 9), 4, 0);
  ExpectCrossing(Unbounded(0, 3, 1, 5), Segment(2, 7, 3, 9), 2, 7);
  ExpectCrossing(Line(Point2D(0, 0), Point2D(2, 2), false, true), Unbounded(0, 0, 1, 1), 2, 2);
  ExpectCrossing(Segment(4, 3, 4, 5), Unbounded(4, 0, 4, 1), 4, 3);
  // The first end decides alone: here it lies on both lines only in one order.
  ExpectCrossing(Segment(2, 2, 3, 3), Segment(0, 0, 10, 10), 2, 2);
  ExpectNoCrossing(Segment(0, 0, 10, 10), Segment(2, 2, 3, 3));
}

TEST(Line, DistanceIsThatToTheFootOfThePerpendicular) {
  bool perpendicular = false;
  EXPECT_NEAR(Segment(0, 0, 10, 10).Distance(Point2D(0, 4), &perpendicular), std::sqrt(8.0), 1e-12);
  EXPECT_TRUE(perpendicular);
  EXPECT_NEAR(Unbounded(0, 0, 1, 1).Distance(Point2D(-4, 0), nullptr), std::sqrt(8.0), 1e-12);
}

TEST(Line, DistanceBeyondTheEndsIsThatToTheNearerEnd) {
  bool perpendicular = true;
  EXPECT_EQ(Segment(0, 0, 10, 10).Distance(Point2D(13, 14), &perpendicular), 5.0);
  EXPECT_FALSE(perpendicular);
  EXPECT_EQ(Segment(0, 0, 10, 10).Distance(Point2D(-3, -4), nullptr), 5.0);
}

TEST(Line, UprightAndLevelLinesMeasureToTheirEnds) {
  bool perpendicular = true;
  EXPECT_EQ(Segment(0, 0, 10, 0).Distance(Point2D(3, 4), &perpendicular), 5.0);
  EXPECT_FALSE(perpendicular);
  perpendicular = true;
  EXPECT_EQ(Segment(0, 0, 0, 10).Distance(Point2D(4, 7), &perpendicular), 5.0);
  EXPECT_FALSE(perpendicular);
  EXPECT_EQ(Line(Point2D(0, 0), Point2D(10, 0), false, true).Distance(Point2D(7, 4), &perpendicular), 5.0);
  EXPECT_EQ(Unbounded(0, 0, 10, 0).Distance(Point2D(3, 4), &perpendicular), 1e10);
}

}  // namespace
}  // namespace Vorn
