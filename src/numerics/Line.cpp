#include "numerics/Line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "numerics/Geometry.h"

namespace Vorn {

Line::Line(const Point2D& a, const Point2D& b, bool startBound, bool stopBound)
    : start(a), stop(b), hasStart(startBound), hasStop(stopBound) {
  if (start.x > stop.x) swapEnds();
  if (CompareDouble(start.x, stop.x)) {
    vertical = true;
    intercept = start.x;
    if (start.y > stop.y) swapEnds();
  } else if (CompareDouble(start.y, stop.y)) {
    intercept = start.y;
  } else {
    slope = (stop.y - start.y) / (stop.x - start.x);
    intercept = start.y - slope * start.x;
  }
}

Line::Line(const Point2D& p, double lineSlope) : slope(lineSlope), intercept(p.y - lineSlope * p.x) {}

Line::Line(const std::vector<double>& abc) {
  if (abc.size() != 3) {
    std::fputs("Line: Invalid 3-vector\n", stderr);
    return;
  }
  const double a = abc[0], b = abc[1], c = abc[2];
  vertical = CompareDouble(b, 0.0);
  slope = vertical ? 0.0 : -a / b;
  intercept = vertical ? -c / a : -c / b;
}

bool Line::GetStart(Point2D& point) const {
  if (hasStart) point = start;
  return hasStart;
}

bool Line::GetStop(Point2D& point) const {
  if (hasStop) point = stop;
  return hasStop;
}

Point2D Line::Middle() const { return (start + stop) / 2.0; }

void Line::GetYforX(double x, double& y) const {
  if (!vertical)
    y = slope * x + intercept;
  else
    y = hasStart ? start.y : hasStop ? stop.y : 0.0;
}

void Line::GetXforY(double y, double& x) const {
  if (!CompareDouble(0.0, slope))
    x = (y - intercept) / slope;
  else
    x = hasStart ? start.x : hasStop ? stop.x : 0.0;
}

bool Line::IsOnLine(const Point2D& point) const {
  const double distance = vertical ? point.x - intercept : point.y - (slope * point.x + intercept);
  const double Point2D::*along = vertical ? &Point2D::y : &Point2D::x;
  return std::fabs(distance) <= tolerance && !(hasStart && point.*along < start.*along) &&
         !(hasStop && point.*along > stop.*along);
}

bool Line::IsIntersectingAt(const Line& other, Point2D& crossing) const {
  const bool parallel = vertical == other.vertical && (vertical || CompareDouble(slope, other.slope));
  if (!parallel) {
    crossing = crossingWith(other);
  } else {
    if (!CompareDouble(intercept, other.intercept)) return false;
    const Point2D* const end = firstEnd() ? firstEnd() : other.firstEnd();
    crossing = end ? *end : vertical ? Point2D(intercept, 0.0) : Point2D(0.0, intercept);
    if (!end) return true;
  }
  return IsOnLine(crossing) && other.IsOnLine(crossing);
}

bool Line::IsIntersecting(const Line& other) const {
  Point2D crossing;
  return IsIntersectingAt(other, crossing);
}

double Line::Distance(const Point2D& point, bool* perpendicular) const {
  Point2D foot;
  const bool crosses = IsIntersectingAt(Line(point, -1.0 / slope), foot);
  if (perpendicular) *perpendicular = crosses;
  if (crosses) return Vorn::Distance(point, foot);
  double nearest = 10000000000.0;
  if (hasStart) nearest = Vorn::Distance(point, start);
  if (hasStop) nearest = hasStart ? std::min(nearest, Vorn::Distance(point, stop)) : Vorn::Distance(point, stop);
  return nearest;
}

void Line::swapEnds() {
  std::swap(start, stop);
  std::swap(hasStart, hasStop);
}

Point2D Line::crossingWith(const Line& other) const {
  if (vertical || other.vertical) {
    const Line& upright = vertical ? *this : other;
    const Line& slanted = vertical ? other : *this;
    Point2D crossing(upright.intercept, 0.0);
    slanted.GetYforX(crossing.x, crossing.y);
    return crossing;
  }
  const double x = (other.intercept - intercept) / (slope - other.slope);
  return {x, x * slope + intercept};
}

const Point2D* Line::firstEnd() const { return hasStart ? &start : hasStop ? &stop : nullptr; }

}  // namespace Vorn
