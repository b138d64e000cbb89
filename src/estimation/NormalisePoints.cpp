#include "estimation/NormalisePoints.h"

#include "numerics/Geometry.h"

namespace Vorn {

void normalisePoints(PointSet& points, Matrix& t) {
  const auto n = static_cast<double>(points.points.size());
  double cx = 0, cy = 0, meanDistance = 0;
  for (const Point2D& p : points.points) {
    cx += p.x;
    cy += p.y;
  }
  cx /= n;
  cy /= n;
  for (Point2D& p : points.points) {
    p.x -= cx;
    p.y -= cy;
    meanDistance += Distance(p, Point2D(0.0, 0.0));
  }
  meanDistance /= n;
  const double s = 1.4142135623730951 / meanDistance;
  for (Point2D& p : points.points) {
    p.x *= s;
    p.y *= s;
  }
  t.Resize(3, 3);
  t.Clear();
  t(0, 0) = t(1, 1) = s;
  t(2, 2) = 1.0;
  t(0, 2) = -cx * s;
  t(1, 2) = -cy * s;
}

}  // namespace Vorn
