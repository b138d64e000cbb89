#include "numerics/Matrix.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <new>
#include <sstream>
#include <utility>

#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

/// out += factor * row, over `columns` values.
VORN_VECTOR_CLONES void AddScaledRow(double* out, const double* row, double factor, size_t columns) {
  for (size_t c = 0; c < columns; ++c) out[c] += factor * row[c];
}

void Multiply3x3(const double* a, const double* b, double* out) {
  for (int r = 0; r < 3; ++r, a += 3, out += 3)
    for (int c = 0; c < 3; ++c) out[c] = 0.0 + a[0] * b[c] + a[1] * b[3 + c] + a[2] * b[6 + c];
}

/// Rows of the right factor are added up, so that all reads and writes run along rows without a transposed copy; each
/// element still is the sum of its products from the first to the last. `out` is zeroed.
VORN_VECTOR_CLONES void MultiplyInto(const double* a, const double* b, double* out, size_t rows, size_t inner,
                                     size_t columns) {
  for (size_t r = 0; r < rows; ++r)
    for (size_t k = 0; k < inner; ++k) {
      const double factor = a[r * inner + k];
      for (size_t c = 0; c < columns; ++c) out[r * columns + c] += factor * b[k * columns + c];
    }
}

/// How many bytes lie behind the read position; 0 for what isn't a regular file.
std::uint64_t BytesLeft(std::ifstream& file) {
  const std::streampos here = file.tellg();
  if (!file.seekg(0, std::ios::end)) return 0;
  const std::streampos end = file.tellg();
  file.seekg(here);
  return end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

}  // namespace

Matrix::Matrix(unsigned int newRows, unsigned int newColumns) { allocate(newRows, newColumns); }

Matrix::Matrix(const Matrix& other) { copyValues(other); }

Matrix::Matrix(Matrix&& other) noexcept { take(other); }

bool Matrix::Resize(unsigned int newRows, unsigned int newColumns) {
  loaded = false;
  return allocate(newRows, newColumns);
}

void Matrix::Clear() {
  if (!data) {
    std::fputs("Error: Matrix::Clear() but no memory allocated\n", stderr);
    return;
  }
  std::fill_n(data, count(), 0.0);
}

Matrix& Matrix::operator=(const Matrix& other) {
  if (this != &other) {
    loaded = false;
    copyValues(other);
  }
  return *this;
}

Matrix& Matrix::operator=(Matrix&& other) noexcept {
  if (hasSameShape(other)) return *this = std::as_const(other);  // keeps the storage that others may point into
  loaded = false;
  take(other);
  return *this;
}

Matrix& Matrix::operator=(const std::vector<double>& values) {
  if (!data) return *this;
  Clear();
  std::copy_n(values.begin(), std::min(values.size(), count()), data);
  return *this;
}

Matrix Matrix::operator+(const Matrix& other) const {
  if (!hasSameShape(other)) {
    std::fputs("Matrix: error - addition not allowed unless matrices have same dimensions\n", stderr);
    return *this;
  }
  Matrix sum(rows, columns);
  for (size_t i = 0; i < count(); ++i) sum.data[i] = data[i] + other.data[i];
  return sum;
}

Matrix Matrix::operator-(const Matrix& other) const {
  if (!hasSameShape(other)) {
    std::fputs("Matrix: error - subtraction not allowed, objects wrong size\n", stderr);
    return *this;
  }
  Matrix difference(rows, columns);
  for (size_t i = 0; i < count(); ++i) difference.data[i] = data[i] - other.data[i];
  return difference;
}

Matrix Matrix::operator*(double factor) const {
  Matrix product(rows, columns);
  for (size_t i = 0; i < count(); ++i) product.data[i] = data[i] * factor;
  return product;
}

Matrix Matrix::operator/(double divisor) const {
  Matrix quotient(rows, columns);
  for (size_t i = 0; i < count(); ++i) quotient.data[i] = data[i] / divisor;
  return quotient;
}

Matrix Matrix::operator*(const Matrix& right) const {
  if (columns != right.rows) {
    std::fputs("Matrix: error - multiplication not possible, dimensions incompatible\n", stderr);
    return *this;
  }
  Matrix product(rows, right.columns);
  if (!product.data) return product;
  if (rows == 3 && columns == 3 && right.columns == 3) {
    Multiply3x3(data, right.data, product.data);
    return product;
  }
  product.Clear();
  MultiplyInto(data, right.data, product.data, rows, columns, right.columns);
  return product;
}

std::vector<double> Matrix::operator*(const std::vector<double>& vector) const {
  if (vector.size() != columns) {
    std::fprintf(stderr, "Matrix: error - multiplication by vector of wrong size\nMatrix is %ux%u, vector is %zu\n",
                 rows, columns, vector.size());
    return vector;
  }
  std::vector<double> product(rows, 0.0);
  for (unsigned int r = 0; r < rows; ++r)
    for (unsigned int c = 0; c < columns; ++c) product[r] += (*this)(r, c) * vector[c];
  return product;
}

Matrix Matrix::Transpose() const {
  Matrix transposed(columns, rows);
  if (!data) return transposed;
  for (unsigned int r = 0; r < rows; ++r)
    for (unsigned int c = 0; c < columns; ++c) transposed(c, r) = (*this)(r, c);
  return transposed;
}

bool Matrix::Inverse() {
  if (rows == 3 && columns == 3) return invert3x3();
  return rows == columns && performGaussJordanElimination();
}

void Matrix::SwapRows(unsigned int a, unsigned int b) {
  if (a != b) std::swap_ranges(data + index(a, 0), data + index(a, 0) + columns, data + index(b, 0));
}

void Matrix::SwapColumns(unsigned int a, unsigned int b) {
  for (unsigned int r = 0; r < rows; ++r) std::swap((*this)(r, a), (*this)(r, b));
}

void Matrix::GetAsVector(std::vector<double>& values) const { values.assign(data, data + count()); }

Matrix Matrix::GetIdentity(int n) {
  const auto size = static_cast<unsigned int>(std::max(n, 0));
  Matrix identity(size, size);
  identity.MakeIdentity();
  return identity;
}

void Matrix::MakeIdentity() {
  if (!data) return;
  Clear();
  for (unsigned int i = 0; i < std::min(rows, columns); ++i) (*this)(i, i) = 1.0;
}

Matrix Matrix::MakeSkewSymmetric(const std::vector<double>& v) {
  Matrix skew(3, 3);
  skew.Clear();
  if (v.size() >= 3) skew = std::vector<double>{0.0, -v[1], v[2], v[1], 0.0, -v[0], -v[2], v[0], 0.0};
  return skew;
}

double Matrix::Interpolate(double row, double column) const {
  const bool inside = row > -1.0 && column > -1.0 && row < rows && column < columns;  // false for NaN
  if (!inside) return 0.0;
  const auto r = static_cast<unsigned int>(static_cast<std::int64_t>(row));  // truncated: -0.5 belongs to 0
  const auto c = static_cast<unsigned int>(static_cast<std::int64_t>(column));
  const auto element = [this](unsigned int i, unsigned int j) { return i < rows && j < columns ? (*this)(i, j) : 0.0; };
  const double fx = column - c, fy = row - r;
  return (element(r + 1, c + 1) * fy + (1.0 - fy) * element(r, c + 1)) * fx +
         (element(r + 1, c) * fy + element(r, c) * (1.0 - fy)) * (1.0 - fx);
}

bool Matrix::IsValid() const {
  return std::all_of(data, data + count(), [](double value) { return std::isfinite(value); });
}

bool Matrix::IsIdentity() const {
  if (!data) return true;
  for (unsigned int r = 0; r < rows; ++r)
    for (unsigned int c = 0; c < columns; ++c)
      if (!CompareDouble(r == c ? 1.0 : 0.0, (*this)(r, c))) return false;
  return true;
}

std::string Matrix::ToCSV() const {
  std::ostringstream text;
  for (size_t i = 0; i < count(); ++i) {
    if (i > 0) text << ',';
    text << data[i];
  }
  return text.str();
}

bool Matrix::Load(const char* path) {
  constexpr std::uint64_t allocatedOnTrust = 65536;  // elements; a short file of a sane shape still loads its part
  loaded = false;
  std::ifstream file(path);
  if (!file) return false;
  unsigned int newRows = 0, newColumns = 0;
  file >> newRows >> newColumns;
  if (file.bad()) return false;  // a folder opens, but can't be read
  const std::uint64_t announced = std::uint64_t{newRows} * newColumns;
  const std::uint64_t extent = std::max<std::uint64_t>({announced, newRows, newColumns});  // one side may be 0
  if (extent > allocatedOnTrust && (!file || extent > BytesLeft(file) / 2)) return false;
  if (rows != newRows || columns != newColumns) {
    if (!Resize(newRows, newColumns)) return false;
    std::fill_n(data, count(), 0.0);
  }
  for (size_t i = 0; i < count() && file; ++i) {
    double value = 0.0;
    if (file >> value) data[i] = value;
  }
  loaded = true;
  return true;
}

bool Matrix::Save(const char* path) const {
  std::ofstream file(path);
  if (!file) return false;
  file << rows << ' ' << columns << '\n';
  for (size_t i = 0; i < count(); ++i) file << data[i] << '\n';
  return true;
}

bool Matrix::allocate(unsigned int newRows, unsigned int newColumns) {
  const std::uint64_t newCount = std::uint64_t{newRows} * newColumns;
  const bool onHeap = newCount > inlineCapacity;
  if (onHeap && !(heap && newCount == count())) {
    constexpr std::uint64_t mostDoubles = PTRDIFF_MAX / sizeof(double);
    heap.reset(newCount <= mostDoubles ? new (std::nothrow) double[newCount] : nullptr);
  } else if (!onHeap) {
    heap.reset();
  }
  const bool failed = onHeap && !heap;
  rows = failed ? 0 : newRows;
  columns = failed ? 0 : newColumns;
  data = onHeap ? heap.get() : newCount > 0 ? inlineStorage : nullptr;
  return !failed;
}

void Matrix::copyValues(const Matrix& other) {
  if (allocate(other.rows, other.columns)) std::copy_n(other.data, other.count(), data);
}

void Matrix::take(Matrix& other) noexcept {
  if (!other.heap) {
    copyValues(other);
    return;
  }
  heap = std::move(other.heap);
  data = std::exchange(other.data, nullptr);
  rows = std::exchange(other.rows, 0);
  columns = std::exchange(other.columns, 0);
}

bool Matrix::invert3x3() {
  const double a00 = data[0], a01 = data[1], a02 = data[2];
  const double a10 = data[3], a11 = data[4], a12 = data[5];
  const double a20 = data[6], a21 = data[7], a22 = data[8];
  const double c0 = a11 * a22 - a21 * a12, c1 = a12 * a20 - a22 * a10, c2 = a21 * a10 - a11 * a20;
  const double determinant = a02 * c2 + (a01 * c1 + a00 * c0);
  if (CompareDouble(0.0, determinant)) {
    std::fputs("Matrix::Inverse() - Singular matrix\n", stderr);
    return false;
  }
  const double adjugate[9] = {c0, a02 * a21 - a01 * a22, a01 * a12 - a02 * a11,  //
                              c1, a00 * a22 - a02 * a20, a02 * a10 - a00 * a12,  //
                              c2, a01 * a20 - a00 * a21, a00 * a11 - a01 * a10};
  for (int i = 0; i < 9; ++i) data[i] = adjugate[i] / determinant;
  return true;
}

bool Matrix::performGaussJordanElimination() {
  Matrix companion = GetIdentity(static_cast<int>(columns));
  if (!triangulate(companion)) return false;
  for (unsigned int r = 0; r < rows; ++r) {
    const double diagonal = (*this)(r, r);  // the last one isn't tested: 0 gives elements that IsValid refuses
    for (unsigned int c = 0; c < columns; ++c) {
      (*this)(r, c) /= diagonal;
      companion(r, c) /= diagonal;
    }
  }
  for (unsigned int c = columns; c-- > 1;)
    for (unsigned int r = c; r-- > 0;) {
      const double factor = std::exchange((*this)(r, c), 0.0);
      companion.subtractRow(c, r, factor);
    }
  *this = std::move(companion);
  return true;
}

bool Matrix::triangulate(Matrix& companion) {
  for (unsigned int k = 0; k + 1 < columns; ++k) {
    const unsigned int pivotRow = findPivot(k);
    SwapRows(k, pivotRow);
    companion.SwapRows(k, pivotRow);
    const double pivot = (*this)(k, k);
    if (std::fabs(pivot) < 0.01) return false;
    for (unsigned int r = k + 1; r < rows; ++r) {
      const double factor = (*this)(r, k) / pivot;
      subtractRow(k, r, factor);
      companion.subtractRow(k, r, factor);
    }
  }
  return true;
}

unsigned int Matrix::findPivot(unsigned int column) const {
  unsigned int best = column;
  for (unsigned int r = column + 1; r < rows; ++r)
    if (std::fabs((*this)(r, column)) > std::fabs((*this)(best, column))) best = r;
  return best;
}

void Matrix::subtractRow(unsigned int row, unsigned int from, double factor) {
  AddScaledRow(data + index(from, 0), data + index(row, 0), -factor, columns);
}

std::ostream& operator<<(std::ostream& stream, const Matrix& matrix) {
  for (unsigned int r = 0; r < matrix.rows && matrix.columns > 0; ++r) {
    if (r > 0) stream << '\n';
    for (unsigned int c = 0; c < matrix.columns; ++c) {
      if (c > 0) stream << ' ';
      const double value = matrix(r, c);
      if (std::fabs(value) < 1e-15)
        stream << 0;
      else
        stream << value;
    }
  }
  return stream;
}

}  // namespace Vorn
