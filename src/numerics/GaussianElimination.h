#pragma once

#include <vector>

#include "numerics/Matrix.h"

namespace Vorn {

/// A solver for small square systems, by elimination with partial pivoting.
class GaussianElimination {
 public:
  /// Solves a x = b for x, which gets the size of b; a and b are destroyed. False, with x as it was, if a pivot in
  /// front of the last one has a magnitude below 0.01f, if the last one is 0, or if the sizes don't fit.
  bool Solve(Matrix& a, std::vector<double>& x, std::vector<double>& b) const;

 private:
  static bool triangulate(Matrix& a, std::vector<double>& b);
  static void pivot(Matrix& a, std::vector<double>& b, unsigned int k);
  static void backSubs(const Matrix& a, std::vector<double>& x, const std::vector<double>& b);
  static double dotProduct(const Matrix& a, unsigned int row, const std::vector<double>& x);
};

}  // namespace Vorn
