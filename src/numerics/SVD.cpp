#include "numerics/SVD.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

constexpr double epsilon = 2.220446049250313e-16;  // 2^-52

/// The Euclidean length of `count` values, `stride` apart.
double Norm(const double* values, size_t stride, size_t count) {
  double sum = 0.0;
  for (size_t i = 0; i < count; ++i) sum += values[i * stride] * values[i * stride];
  if (sum > 1e-280 && sum < 1e280) return std::sqrt(sum);
  double largest = 0.0;  // the squares under- or overflow, so take them of the values scaled to 1
  for (size_t i = 0; i < count; ++i) largest = std::max(largest, std::fabs(values[i * stride]));
  if (largest == 0.0) return sum;
  sum = 0.0;
  for (size_t i = 0; i < count; ++i) sum += (values[i * stride] / largest) * (values[i * stride] / largest);
  return largest * std::sqrt(sum);
}

/// Applies the Householder reflection whose vector v stands in column k of `a`, from row `top` on, to some columns:
/// a_j += t_j v with t_j = -(v^T a_j) / v_top. Goes along rows; each sum runs from the top down.
VORN_VECTOR_CLONES void ReflectColumns(double* a, size_t stride, size_t k, size_t top, size_t bottom, size_t first,
                                       size_t end, double* __restrict factors) {
  for (size_t j = first; j < end; ++j) factors[j] = 0.0;
  for (size_t i = top; i < bottom; ++i) {
    const double* const row = a + i * stride;
    const double v = row[k];
    for (size_t j = first; j < end; ++j) factors[j] += v * row[j];
  }
  const double pivot = a[top * stride + k];
  for (size_t j = first; j < end; ++j) factors[j] = -factors[j] / pivot;
  for (size_t i = top; i < bottom; ++i) {
    double* const row = a + i * stride;
    const double v = row[k];
    for (size_t j = first; j < end; ++j) row[j] += factors[j] * v;
  }
}

/// Applies the reflection with the vector e[first] ... e[end - 1] to the rows below `top`, from the right.
VORN_VECTOR_CLONES void ReflectRows(double* a, size_t stride, size_t top, size_t bottom, size_t first, size_t end,
                                    const double* __restrict e, double* __restrict factors) {
  for (size_t j = first; j < end; ++j) factors[j] = -e[j] / e[first];
  for (size_t i = top; i < bottom; ++i) {
    double* const row = a + i * stride;
    double product = 0.0;
    for (size_t j = first; j < end; ++j) product += e[j] * row[j];
    for (size_t j = first; j < end; ++j) row[j] += factors[j] * product;
  }
}

VORN_VECTOR_CLONES void RotatePairs(double* __restrict a, double* __restrict b, size_t count, double cs, double sn) {
  for (size_t i = 0; i < count; ++i) {
    const double x = a[i], y = b[i];
    a[i] = cs * x + sn * y;
    b[i] = -sn * x + cs * y;
  }
}

void RotateRows(Matrix& m, int a, int b, double cs, double sn) {
  const auto rowA = static_cast<size_t>(a), rowB = static_cast<size_t>(b);
  if (rowA >= m.rows || rowB >= m.rows) return;  // the value past a wide matrix's last row has no vector in U
  RotatePairs(m.data + rowA * m.columns, m.data + rowB * m.columns, m.columns, cs, sn);
}

void TransposeInto(const Matrix& source, Matrix& target) {
  if (target.rows != source.columns || target.columns != source.rows) target.Resize(source.columns, source.rows);
  for (unsigned int r = 0; r < source.rows; ++r)
    for (unsigned int c = 0; c < source.columns; ++c) target(c, r) = source(r, c);
}

struct Rotation {
  double cs, sn, length;
};

/// The rotation that turns (f, g) to (length, 0).
Rotation RotationOf(double f, double g) {
  const double length = pythag(f, g);
  if (length == 0.0) return {1.0, 0.0, 0.0};
  return {f / length, g / length, length};
}

/// The implicit QR iteration on the bidiagonal matrix with diagonal s and superdiagonal e, which carries its rotations
/// over to U and V until all of e is negligible. Both are given transposed, so that a rotation goes along two rows.
class ImplicitQR {
 public:
  ImplicitQR(std::vector<double>& diagonal, std::vector<double>& superdiagonal, Matrix& left, Matrix& right)
      : s(diagonal.data()),
        e(superdiagonal.data()),
        transposedU(left),
        transposedV(right),
        size(static_cast<int>(diagonal.size())) {}

  void Run() {
    // Some tens of steps settle a value. The bound is out of reach for them; it only ends what underflow keeps alive.
    constexpr int mostStepsPerValue = 1000;
    for (int p = size, steps = 0; p > 0;) {
      if (++steps > mostStepsPerValue && p > 1) e[p - 2] = 0.0;
      const int k = lastNegligibleOffDiagonal(p);
      if (k == p - 2) {
        settle(p - 1);
        --p;
        steps = 0;
        continue;
      }
      const int zero = lastNegligibleValue(k, p);
      if (zero == k)
        qrStep(k + 1, p);
      else if (zero == p - 1)
        deflate(k + 1, p);
      else
        split(zero + 1, p);
    }
  }

 private:
  // What isn't above its limit is negligible: so written, a NaN is too, and the iteration ends.

  /// Zeroes and returns the last negligible off-diagonal element in front of p - 1; -1 if there is none.
  int lastNegligibleOffDiagonal(int p) {
    for (int k = p - 2; k >= 0; --k)
      if (!(std::fabs(e[k]) > epsilon * (std::fabs(s[k]) + std::fabs(s[k + 1])))) {
        e[k] = 0.0;
        return k;
      }
    return -1;
  }

  /// Zeroes and returns the last value behind k and below p that is negligible against its neighbours; k if there is
  /// none.
  int lastNegligibleValue(int k, int p) {
    for (int i = p - 1; i > k; --i) {
      const double neighbours = std::fabs(e[i]) + (i != k + 1 ? std::fabs(e[i - 1]) : 0.0);
      if (!(std::fabs(s[i]) > epsilon * neighbours)) {
        s[i] = 0.0;
        return i;
      }
    }
    return k;
  }

  /// s[p - 1] is 0: rotates e[p - 2] away, upward through the block that starts at k.
  void deflate(int k, int p) {
    double f = std::exchange(e[p - 2], 0.0);
    for (int j = p - 2; j >= k; --j) {
      const Rotation r = RotationOf(s[j], f);
      s[j] = r.length;
      if (j != k) {
        f = -r.sn * e[j - 1];
        e[j - 1] *= r.cs;
      }
      RotateRows(transposedV, j, p - 1, r.cs, r.sn);
    }
  }

  /// s[k - 1] is 0: rotates e[k - 1] away, downward, so that the block splits there.
  void split(int k, int p) {
    double f = std::exchange(e[k - 1], 0.0);
    for (int j = k; j < p; ++j) {
      const Rotation r = RotationOf(s[j], f);
      s[j] = r.length;
      f = -r.sn * e[j];
      e[j] *= r.cs;
      RotateRows(transposedU, j, k - 1, r.cs, r.sn);
    }
  }

  /// The shift nearest to the smallest value of the block's trailing 2 by 2, over the scale of the block.
  double shiftOf(double sp, double spm1, double epm1) const {
    const double b = ((spm1 + sp) * (spm1 - sp) + epm1 * epm1) / 2.0;
    const double c = (sp * epm1) * (sp * epm1);
    if (b == 0.0 && c == 0.0) return 0.0;
    const double root = std::sqrt(b * b + c);
    return c / (b + (b < 0.0 ? -root : root));
  }

  /// One step on the block from k to p - 1: chases the bulge that the shift makes down the diagonal.
  void qrStep(int k, int p) {
    const double scale =
        std::max({std::fabs(s[p - 1]), std::fabs(s[p - 2]), std::fabs(e[p - 2]), std::fabs(s[k]), std::fabs(e[k])});
    const double sp = s[p - 1] / scale, sk = s[k] / scale, ek = e[k] / scale;
    double f = (sk + sp) * (sk - sp) + shiftOf(sp, s[p - 2] / scale, e[p - 2] / scale);
    double g = sk * ek;
    for (int j = k; j < p - 1; ++j) {
      const Rotation right = RotationOf(f, g);
      if (j != k) e[j - 1] = right.length;
      f = right.cs * s[j] + right.sn * e[j];
      e[j] = right.cs * e[j] - right.sn * s[j];
      g = right.sn * s[j + 1];
      s[j + 1] *= right.cs;
      RotateRows(transposedV, j, j + 1, right.cs, right.sn);
      const Rotation left = RotationOf(f, g);
      s[j] = left.length;
      f = left.cs * e[j] + left.sn * s[j + 1];
      s[j + 1] = -left.sn * e[j] + left.cs * s[j + 1];
      g = left.sn * e[j + 1];
      e[j + 1] *= left.cs;
      RotateRows(transposedU, j, j + 1, left.cs, left.sn);
    }
    e[p - 2] = f;
  }

  /// s[k] has converged: makes it positive and moves it to its place among the values behind it, which are in order.
  void settle(int k) {
    if (s[k] < 0.0) {
      s[k] = -s[k];
      for (unsigned int i = 0; i < transposedV.columns; ++i) transposedV(static_cast<unsigned int>(k), i) *= -1.0;
    }
    for (; k + 1 < size && !(s[k] >= s[k + 1]); ++k) {
      std::swap(s[k], s[k + 1]);
      const auto row = static_cast<unsigned int>(k);
      transposedV.SwapRows(row, row + 1);
      if (row + 1 < transposedU.rows) transposedU.SwapRows(row, row + 1);
    }
  }

  double* const s;
  double* const e;
  Matrix& transposedU;
  Matrix& transposedV;
  const int size;
};

/// left diag(values) right^T over the first values that all three have.
Matrix Compose(const Matrix& left, const std::vector<double>& values, const Matrix& right) {
  const size_t count = std::min<size_t>({left.columns, right.columns, values.size()});
  Matrix product(left.rows, right.rows);
  for (unsigned int r = 0; r < product.rows; ++r)
    for (unsigned int c = 0; c < product.columns; ++c) {
      double sum = 0.0;
      for (unsigned int k = 0; k < count; ++k) sum += left(r, k) * values[k] * right(c, k);
      product(r, c) = sum;
    }
  return product;
}

std::vector<double> ColumnOf(const Matrix& matrix, size_t column) {
  std::vector<double> values(matrix.rows);
  for (unsigned int r = 0; r < matrix.rows; ++r) values[r] = matrix(r, static_cast<unsigned int>(column));
  return values;
}

std::unique_ptr<Matrix> CopyOf(const std::unique_ptr<Matrix>& matrix) {
  return matrix ? std::make_unique<Matrix>(*matrix) : nullptr;
}

bool HasShape(const std::unique_ptr<Matrix>& matrix, int rows, int columns) {
  return matrix && std::cmp_equal(matrix->rows, rows) && std::cmp_equal(matrix->columns, columns);
}

void GiveShape(std::unique_ptr<Matrix>& matrix, int rows, int columns) {
  if (!matrix) matrix = std::make_unique<Matrix>();
  if (!HasShape(matrix, rows, columns))
    matrix->Resize(static_cast<unsigned int>(rows), static_cast<unsigned int>(columns));
}

void Zero(const std::unique_ptr<Matrix>& matrix) {
  if (matrix && matrix->data) matrix->Clear();
}

bool IsEmpty(const Matrix& matrix) {
  if (matrix.rows > 0 && matrix.columns > 0) return false;
  std::fputs("Matrix has zero dimensions\n", stderr);
  return true;
}

}  // namespace

SVD::SVD(const Matrix& matrix, bool full) {
  if (full)
    CalculateFull(matrix);
  else
    Calculate(matrix);
}

SVD::SVD(int newRows, int newColumns) { Allocate(newRows, newColumns); }

SVD::SVD(const SVD& other)
    : w(other.w), U(CopyOf(other.U)), V(CopyOf(other.V)), rows(other.rows), columns(other.columns) {}

SVD& SVD::operator=(const SVD& other) {
  if (this != &other) *this = SVD(other);
  return *this;
}

void SVD::Calculate(const Matrix& matrix) {
  if (IsEmpty(matrix)) return;
  const bool wide = matrix.rows < matrix.columns;
  if (wide)
    reduced = matrix.Transpose();
  else
    reduced = matrix;
  Allocate(static_cast<int>(reduced.rows), static_cast<int>(reduced.columns));
  decompose();
  if (wide) std::swap(U, V);
}

void SVD::CalculateFull(const Matrix& matrix) {
  if (IsEmpty(matrix)) return;
  reduced = matrix;
  allocateFactors(static_cast<int>(matrix.rows), static_cast<int>(matrix.columns));
  decompose();
}

void SVD::Allocate(int newRows, int newColumns) {
  allocateFactors(std::max(newRows, newColumns), std::min(newRows, newColumns));
}

void SVD::Clear() {
  w.clear();
  Zero(U);
  Zero(V);
}

Matrix SVD::GetU() const {
  if (!U) return {};
  Matrix first(U->rows, std::min(U->columns, static_cast<unsigned int>(std::min(rows, columns))));
  for (unsigned int r = 0; r < first.rows; ++r)
    for (unsigned int c = 0; c < first.columns; ++c) first(r, c) = (*U)(r, c);
  return first;
}

double SVD::GetW(int i) const {
  if (i >= 0 && std::cmp_less(i, w.size())) return w[static_cast<size_t>(i)];
  std::fputs("Invalid singular value\n", stderr);
  return 0.0;
}

Matrix SVD::Inverse() const {
  if (!U || !V) return {};
  std::vector<double> inverted(w);
  for (double& value : inverted)
    if (value != 0.0) value = 1.0 / value;
  return Compose(*V, inverted, *U);
}

int SVD::Rank() const {
  if (w.empty()) return 0;
  const double tolerance = std::max(rows, columns) * w[0] * epsilon;
  return static_cast<int>(std::count_if(w.begin(), w.end(), [&](double value) { return value > tolerance; }));
}

std::vector<double> SVD::NullVector() const {
  return V ? ColumnOf(*V, smallestValue(V->columns)) : std::vector<double>();
}

std::vector<double> SVD::LeftNullVector() const {
  return U ? ColumnOf(*U, smallestValue(U->columns)) : std::vector<double>();
}

Matrix SVD::Recompose() const {
  if (!U || !V) return {};
  return Compose(*U, w, *V);
}

void SVD::allocateFactors(int newRows, int newColumns) {
  rows = std::max(newRows, 0);
  columns = std::max(newColumns, 0);
  const int shorter = std::min(rows, columns);
  if (HasShape(V, rows, shorter) && !HasShape(U, rows, shorter)) std::swap(U, V);  // the last matrix was wide
  GiveShape(U, rows, shorter);
  GiveShape(V, columns, columns);
  Zero(U);
  Zero(V);
  w.assign(static_cast<size_t>(std::min(rows + 1, columns)), 0.0);
}

void SVD::decompose() {
  e.assign(static_cast<size_t>(columns), 0.0);
  factors.resize(static_cast<size_t>(columns));
  bidiagonalise();
  generateU();
  generateV();
  TransposeInto(*U, transposedU);
  TransposeInto(*V, transposedV);
  ImplicitQR(w, e, transposedU, transposedV).Run();
  TransposeInto(transposedU, *U);
  TransposeInto(transposedV, *V);
}

/// Reflects columns and rows in turn, until only w on the diagonal and e above it remain. The vectors of the
/// reflections go to `U` and `V`.
void SVD::bidiagonalise() {
  const auto m = static_cast<size_t>(rows), n = static_cast<size_t>(columns);
  const size_t columnReflections = std::min(m - 1, n), rowReflections = n < 2 ? 0 : std::min(n - 2, m);
  double* const a = reduced.data;
  for (size_t k = 0; k < std::max(columnReflections, rowReflections); ++k) {
    if (k < columnReflections) {
      w[k] = std::copysign(Norm(a + k * n + k, n, m - k), a[k * n + k]);
      if (w[k] != 0.0) {
        for (size_t i = k; i < m; ++i) a[i * n + k] /= w[k];
        a[k * n + k] += 1.0;
        ReflectColumns(a, n, k, k, m, k + 1, n, factors.data());
      }
      w[k] = -w[k];
      for (size_t i = k; i < m; ++i) U->data[i * U->columns + k] = a[i * n + k];
    }
    for (size_t j = k + 1; j < n; ++j) e[j] = a[k * n + j];
    if (k < rowReflections) {
      e[k] = std::copysign(Norm(e.data() + k + 1, 1, n - k - 1), e[k + 1]);
      if (e[k] != 0.0) {
        for (size_t j = k + 1; j < n; ++j) e[j] /= e[k];
        e[k + 1] += 1.0;
        ReflectRows(a, n, k + 1, m, k + 1, n, e.data(), factors.data());
      }
      e[k] = -e[k];
      for (size_t j = k + 1; j < n; ++j) V->data[j * n + k] = e[j];
    }
  }
  const size_t order = w.size();
  if (columnReflections < n) w[columnReflections] = a[columnReflections * n + columnReflections];
  if (m < order) w[order - 1] = 0.0;
  if (rowReflections + 1 < order) e[rowReflections] = a[rowReflections * n + order - 1];
  e[order - 1] = 0.0;
}

/// Multiplies the column reflections out, from the last to the first.
void SVD::generateU() {
  const size_t m = U->rows, n = U->columns;
  const size_t reflections = std::min(m - 1, static_cast<size_t>(columns));
  double* const u = U->data;
  for (size_t k = n; k-- > 0;) {
    if (k < reflections && w[k] != 0.0) {
      ReflectColumns(u, n, k, k, m, k + 1, n, factors.data());
      for (size_t i = k; i < m; ++i) u[i * n + k] = -u[i * n + k];
      u[k * n + k] += 1.0;
    } else {
      for (size_t i = 0; i < m; ++i) u[i * n + k] = 0.0;
      u[k * n + k] = 1.0;
    }
  }
}

/// Multiplies the row reflections out, from the last to the first.
void SVD::generateV() {
  const size_t n = V->columns;
  const size_t reflections = n < 2 ? 0 : std::min(n - 2, static_cast<size_t>(rows));
  double* const v = V->data;
  for (size_t k = n; k-- > 0;) {
    if (k < reflections && e[k] != 0.0) ReflectColumns(v, n, k, k + 1, n, k + 1, n, factors.data());
    for (size_t i = 0; i < n; ++i) v[i * n + k] = 0.0;
    v[k * n + k] = 1.0;
  }
}

/// The index of the smallest magnitude among the first values; 0 if none is below 100000.
size_t SVD::smallestValue(unsigned int columnCount) const {
  size_t index = 0;
  double smallest = 100000.0;
  for (size_t i = 0; i < std::min<size_t>(columnCount, w.size()); ++i)
    if (std::fabs(w[i]) < smallest) {
      smallest = std::fabs(w[i]);
      index = i;
    }
  return index;
}

}  // namespace Vorn
