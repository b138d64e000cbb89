#pragma once

#include <cmath>
#include <memory>
#include <vector>

#include "numerics/Matrix.h"

namespace Vorn {

/// The length of (a, b) without needless overflow.
inline double pythag(double a, double b) {
  const double lengthA = std::fabs(a), lengthB = std::fabs(b);
  if (lengthA > lengthB) return lengthA * std::sqrt(1.0 + (b / a) * (b / a));
  if (a == 0.0 && b == 0.0) return 0.0;
  return lengthB * std::sqrt(1.0 + (a / b) * (a / b));
}

/// The singular value decomposition A = U diag(w) V^T of an m by n matrix (Golub and Reinsch, "Singular Value
/// Decomposition and Least Squares Solutions", Numerische Mathematik 14, 1970, in the form of LINPACK's DSVDC).
///
/// It is thin: with s = min(m, n), U is m by s and V is n by s, so that a wide matrix has no null vector in V. Values
/// that aren't finite give factors that aren't. An object that is used again for the same size allocates nothing.
class SVD {
 public:
  SVD(const Matrix& matrix, bool full);  ///< Decomposes, by `CalculateFull` if `full`, else by `Calculate`.
  SVD(int rows, int columns);            ///< Allocates only, for reuse.
  SVD(const SVD& other);                 ///< Deep.
  SVD(SVD&& other) noexcept = default;
  SVD& operator=(const SVD& other);
  SVD& operator=(SVD&& other) noexcept = default;
  ~SVD() = default;

  /// Decomposes. A matrix without rows or columns is refused with a message, and nothing changes.
  void Calculate(const Matrix& matrix);
  /// As `Calculate`, but a wide matrix isn't transposed for the work: V then is n by n, its last columns span the null
  /// space, and w gets a further entry of 0.
  void CalculateFull(const Matrix& matrix);

  /// Makes room for a working size (the larger count becomes `rows`) and zeroes `U`, `V` and `w`.
  void Allocate(int newRows, int newColumns);
  void Clear();  ///< Empties `w` and zeroes `U` and `V`.

  Matrix GetU() const;       ///< The first min(rows, columns) columns of `U`.
  double GetW(int i) const;  ///< Past the end 0, with a message.
  Matrix Inverse() const;    ///< The pseudo-inverse V diag(1 / w) U^T, where a value of exactly 0 stays 0.
  int Rank() const;          ///< The number of values above max(rows, columns) * w[0] * 2^-52.
  std::vector<double> NullVector() const;      ///< The column of `V` of the smallest value; the first of equal ones.
  std::vector<double> LeftNullVector() const;  ///< The same, of `U`.
  Matrix Recompose() const;                    ///< U diag(w) V^T.

  std::vector<double> w;         ///< The singular values in descending order.
  std::unique_ptr<Matrix> U, V;  ///< Null until first use.
  int rows = 0;                  ///< The working size, which has rows >= columns except after `CalculateFull`.
  int columns = 0;

 private:
  void allocateFactors(int newRows, int newColumns);
  void decompose();
  void bidiagonalise();
  void generateU();
  void generateV();
  size_t smallestValue(unsigned int columnCount) const;

  // Kept between calls for their storage.
  Matrix reduced;         // the matrix while it is made bidiagonal
  std::vector<double> e;  // the superdiagonal
  std::vector<double> factors;
  Matrix transposedU, transposedV;
};

}  // namespace Vorn
