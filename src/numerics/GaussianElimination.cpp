#include "numerics/GaussianElimination.h"

#include <cmath>
#include <utility>

namespace Vorn {

bool GaussianElimination::Solve(Matrix& a, std::vector<double>& x, std::vector<double>& b) const {
  if (b.empty() || a.rows != b.size() || a.columns != b.size()) return false;
  if (!triangulate(a, b)) return false;
  backSubs(a, x, b);
  return true;
}

bool GaussianElimination::triangulate(Matrix& a, std::vector<double>& b) {
  constexpr double smallestPivot = 0.009999999776482582;  // 0.01 in single precision
  const unsigned int n = a.rows;
  for (unsigned int k = 0; k + 1 < n; ++k) {
    pivot(a, b, k);
    if (std::fabs(a(k, k)) < smallestPivot) return false;
    for (unsigned int r = k + 1; r < n; ++r) {
      const double factor = a(r, k) / a(k, k);
      for (unsigned int c = k + 1; c < n; ++c) a(r, c) -= factor * a(k, c);
      b[r] -= factor * b[k];
    }
  }
  return a(n - 1, n - 1) != 0.0;
}

/// Brings the largest magnitude of column k, from the diagonal down, to the diagonal; the first of equal ones.
void GaussianElimination::pivot(Matrix& a, std::vector<double>& b, unsigned int k) {
  unsigned int best = k;
  for (unsigned int r = k + 1; r < a.rows; ++r)
    if (std::fabs(a(r, k)) > std::fabs(a(best, k))) best = r;
  a.SwapRows(k, best);
  std::swap(b[k], b[best]);
}

void GaussianElimination::backSubs(const Matrix& a, std::vector<double>& x, const std::vector<double>& b) {
  x.resize(b.size());
  for (unsigned int r = a.rows; r-- > 0;) x[r] = (b[r] - dotProduct(a, r, x)) / a(r, r);
}

/// The part of a row behind the diagonal, times the part of x that is known.
double GaussianElimination::dotProduct(const Matrix& a, unsigned int row, const std::vector<double>& x) {
  double sum = 0.0;
  for (unsigned int c = row + 1; c < a.columns; ++c) sum += a(row, c) * x[c];
  return sum;
}

}  // namespace Vorn
