#include "numerics/Geometry.h"

#include <bit>
#include <cmath>

namespace Vorn {

Point2D ProjectPoint(const std::vector<double>& params, const Point2D& p) {
  if (params.size() != 9) return p;
  Matrix m(3, 3);
  m = params;
  return ProjectPoint(m, p);
}

double Distance(const Point2D& a, const Point2D& b) { return std::hypot(a.x - b.x, a.y - b.y); }

double TriangleArea(const Point2D& a, const Point2D& b, const Point2D& c) {
  return 0.5 * std::fabs(a.x * (b.y - c.y) + b.x * (c.y - a.y) + c.x * (a.y - b.y));
}

int MaxPowerOfTwo(int n, int* exponent) {
  const int power = n < 1 ? -1 : BinaryLog2(static_cast<unsigned int>(n));
  if (exponent) *exponent = power;
  return power < 0 ? 0 : 1 << power;
}

int BinaryLog2(unsigned int v) { return static_cast<int>(std::bit_width(v)) - 1; }

int Signum(double v) { return std::signbit(v) ? -1 : 1; }

}  // namespace Vorn
