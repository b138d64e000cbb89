#pragma once

#include <vector>

#include "numerics/Matrix.h"
#include "numerics/Point2D.h"

namespace Vorn {

/// Projects `p` by the 3 by 3 homography `m`. The result has no `id` and weight 1; a point at infinity (w = 0) isn't
/// tested and gives coordinates that aren't finite.
inline Point2D ProjectPoint(const Matrix& m, const Point2D& p) {
  const double* const h = m.data;
  const double w = h[6] * p.x + h[7] * p.y + h[8];
  return {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
}

/// The same for a matrix that acts about an origin other than (0, 0).
inline Point2D ProjectPoint(const Matrix& m, const Point2D& p, float originX, float originY) {
  const Point2D origin(originX, originY);
  return ProjectPoint(m, p - origin) + origin;
}

/// The same with the nine values of the matrix, row by row. With any other count the result is a copy of `p`.
Point2D ProjectPoint(const std::vector<double>& params, const Point2D& p);

/// The centre of a frame in whole pixels: half its size in integer division, about which motion is held.
inline Point2D FrameCentre(int width, int height) {
  const int x = width / 2, y = height / 2;
  return Point2D(x, y);
}

double Distance(const Point2D& a, const Point2D& b);

double TriangleArea(const Point2D& a, const Point2D& b, const Point2D& c);

/// The largest power of two that isn't above `n`, and its exponent where the pointer is given. For n < 1 the result is
/// 0 and the exponent -1.
int MaxPowerOfTwo(int n, int* exponent = nullptr);

/// The logarithm to base 2, rounded down; -1 for 0.
int BinaryLog2(unsigned int v);

/// -1 if the sign bit of `v` is set, which it is for -0.0 too; else 1.
int Signum(double v);

}  // namespace Vorn
