#pragma once

#include <vector>

#include "numerics/Point2D.h"

namespace Vorn {

/// A straight line y = slope * x + intercept, or x = intercept if it is vertical, which may end on either side and so
/// be a ray or a segment.
class Line {
 public:
  Line() = default;
  /// Through two points, of which each may bound the line. Two points with the same x by `CompareDouble` make it
  /// vertical, so that two equal points do too.
  Line(const Point2D& a, const Point2D& b, bool startBound, bool stopBound);
  Line(const Point2D& p, double slope);  ///< Through p, unbounded.
  /// From the coefficients of a*x + b*y + c = 0, unbounded. Other than 3 values give the zero line, with a message.
  explicit Line(const std::vector<double>& abc);

  bool GetStart(Point2D& point) const;  ///< False, with `point` as it was, if the line doesn't end there.
  bool GetStop(Point2D& point) const;
  Point2D Middle() const;

  /// For a vertical line, where any y would do, that of its start or else of its stop, or 0.
  void GetYforX(double x, double& y) const;
  /// For a horizontal (or vertical) line the x of its start or else of its stop, or 0.
  void GetXforY(double y, double& x) const;

  /// Within `tolerance` in y (in x on a vertical line), and not beyond an end.
  bool IsOnLine(const Point2D& point) const;

  /// The crossing of both lines; true if it lies on both. Lines that coincide cross at the first end that exists, of
  /// this line and then of the other; that end has to lie on both, even if they overlap elsewhere. Parallel lines leave
  /// `crossing` as it was.
  bool IsIntersectingAt(const Line& other, Point2D& crossing) const;
  bool IsIntersecting(const Line& other) const;

  /// The distance from `point` to the foot of its perpendicular, if that lies on the line (`perpendicular` becomes
  /// true), and otherwise to the nearer end, or 1e10 if there is none. Meant for slanted lines: a horizontal or
  /// vertical one has no perpendicular here, and its ends decide.
  double Distance(const Point2D& point, bool* perpendicular) const;

  double slope = 0.0;      ///< 0 for a vertical line.
  double intercept = 0.0;  ///< For a vertical line its x.
  bool vertical = false;
  Point2D start, stop;  ///< The ends, ordered by x, or by y if vertical; meaningful where the line ends there.
  bool hasStart = false;
  bool hasStop = false;
  double tolerance = 0.001;  ///< The distance that counts as on the line.

 private:
  void swapEnds();
  Point2D crossingWith(const Line& other) const;
  const Point2D* firstEnd() const;
};

}  // namespace Vorn
