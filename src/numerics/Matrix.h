#pragma once

#include <cmath>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace Vorn {

/// Whether b equals `a` to within a millionth of `a`. Relative to the first argument and therefore not symmetric: with
/// a = 0 it is the absolute test |b| < 0.000001, and with b = 0 it holds for a = 0 alone.
inline bool CompareDouble(const double& a, const double& b) {
  const double difference = a != 0.0 ? (a - b) / a : b;
  return std::fabs(difference) < 0.000001;
}

/// A dense row-major matrix of doubles, nearly always a 3 by 3 motion matrix that maps (x, y, 1) of one frame to
/// another.
///
/// Element access is unchecked. Operations on shapes that don't fit write a message to the standard error stream and
/// return a copy of their left operand. Up to nine elements live inside the object, so that motion matrices never touch
/// the heap.
class Matrix {
 public:
  Matrix() {}                                       ///< No rows, no columns, null `data`.
  Matrix(unsigned int rows, unsigned int columns);  ///< The contents are undefined until written.
  Matrix(const Matrix& other);                      ///< Deep; `loaded` of the copy is false.
  Matrix(Matrix&& other) noexcept;                  ///< As a copy; leaves `other` fit only for assignment.
  ~Matrix() = default;

  /// Changes the shape. Old values are lost and new ones undefined, `loaded` is false. Returns false, with the matrix
  /// empty, if there isn't that much memory.
  bool Resize(unsigned int rows, unsigned int columns);
  /// Sets all elements to 0. An empty matrix is left alone, with a message.
  void Clear();

  Matrix& operator=(const Matrix& other);
  Matrix& operator=(Matrix&& other) noexcept;
  /// Fills the present shape row by row. A short vector leaves zeros behind it, a long one is cut; an empty matrix
  /// stays empty.
  Matrix& operator=(const std::vector<double>& values);

  double& operator()(unsigned int row, unsigned int column) { return data[index(row, column)]; }
  const double& operator()(unsigned int row, unsigned int column) const { return data[index(row, column)]; }

  Matrix operator+(const Matrix& other) const;
  Matrix operator-(const Matrix& other) const;
  Matrix operator*(double factor) const;
  Matrix operator/(double divisor) const;  ///< A zero divisor isn't tested.
  Matrix operator*(const Matrix& right) const;
  /// The matrix times a column vector of `columns` values. A vector of another size comes back as it is, with a
  /// message.
  std::vector<double> operator*(const std::vector<double>& vector) const;

  Matrix Transpose() const;

  /// Inverts in place. A 3 by 3 matrix counts as singular below a determinant of 0.000001 in magnitude, which includes
  /// a motion that scales a frame to under a thousandth per axis; it then stays as it was, with a message. Any other
  /// square matrix fails when a pivot (the last one excepted) has a magnitude below 0.01, and is left partly
  /// eliminated; a last pivot of 0 gives elements that aren't finite. A matrix that isn't square fails and is kept.
  bool Inverse();

  void SwapRows(unsigned int a, unsigned int b);
  void SwapColumns(unsigned int a, unsigned int b);

  void GetAsVector(std::vector<double>& values) const;  ///< All values row by row; `values` gets that size.
  static Matrix GetIdentity(int n);
  void MakeIdentity();  ///< Ones on the diagonal and zeros elsewhere, for any shape.
  /// The skew-symmetric matrix (0, -v1, v2), (v1, 0, -v0), (-v2, v0, 0) of the first three values of `v`: the cross
  /// product with (v0, v2, v1), in this order of components on purpose. All zeros for a shorter vector.
  static Matrix MakeSkewSymmetric(const std::vector<double>& v);

  /// Bilinear interpolation between elements. Neighbours beyond the last row or column count as 0, so the value falls
  /// toward 0 there. 0 outside; an argument between -1 and 0 still counts as inside, with a negative fraction.
  double Interpolate(double row, double column) const;

  bool IsValid() const;     ///< All elements are finite.
  bool IsIdentity() const;  ///< All elements are within 0.000001 of those of the identity. True for an empty matrix.

  /// All elements row by row on one line, with commas between them.
  std::string ToCSV() const;
  /// Reads what `Save` writes, and sets `loaded`. False if the file can't be opened, or if it announces a shape that
  /// its length can't hold and that is too large to allocate on trust. Elements that the file lacks are 0 where the
  /// shape changed, and else keep their values.
  bool Load(const char* path);
  /// Writes a text file: rows, a blank, columns, and then each element on a line of its own, row by row. False only if
  /// the file can't be opened.
  bool Save(const char* path) const;

  double* data = nullptr;  ///< rows * columns values, row by row; null when there are none. Never deleted by a user.
  unsigned int rows = 0;
  unsigned int columns = 0;
  bool loaded = false;  ///< The values come from a file.

 private:
  static constexpr size_t inlineCapacity = 9;

  size_t index(unsigned int row, unsigned int column) const { return size_t{row} * columns + column; }
  size_t count() const { return size_t{rows} * columns; }
  bool allocate(unsigned int newRows, unsigned int newColumns);
  void copyValues(const Matrix& other);
  void take(Matrix& other) noexcept;
  bool hasSameShape(const Matrix& other) const { return rows == other.rows && columns == other.columns; }

  bool invert3x3();
  bool performGaussJordanElimination();
  bool triangulate(Matrix& companion);
  unsigned int findPivot(unsigned int column) const;
  void subtractRow(unsigned int row, unsigned int from, double factor);

  std::unique_ptr<double[]> heap;        // what `data` points into above the inline capacity
  double inlineStorage[inlineCapacity];  // ... and up to it
};

/// Cells of a row separated by one blank, rows by a newline, none after the last. A value with magnitude below 1e-15
/// is printed as 0, which keeps rounding residue out of the text.
std::ostream& operator<<(std::ostream& stream, const Matrix& matrix);

}  // namespace Vorn
