#include "numerics/Matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Vorn {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Values = std::vector<double>;

Matrix Filled(unsigned int rows, unsigned int columns, const Values& values) {
  Matrix matrix(rows, columns);
  matrix = values;
  return matrix;
}

Values ValuesOf(const Matrix& matrix) {
  Values values;
  matrix.GetAsVector(values);
  return values;
}

std::string TemporaryPath(const char* name) { return testing::TempDir() + "orvane_matrix_" + name; }

std::string WriteFile(const char* name, const std::string& text) {
  const std::string path = TemporaryPath(name);
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(CompareDouble, IsRelativeToItsFirstArgument) {
  EXPECT_TRUE(CompareDouble(1.0, 1.0000001));
  EXPECT_TRUE(CompareDouble(-2000.0, -2000.001));
  EXPECT_FALSE(CompareDouble(1.0, 1.00001));
  EXPECT_FALSE(CompareDouble(1e-9, 0.0));
  EXPECT_TRUE(CompareDouble(0.0, 1e-9));
  EXPECT_TRUE(CompareDouble(0.0, -1e-9));
  EXPECT_FALSE(CompareDouble(0.0, 0.000001));  // the limit itself doesn't count
  EXPECT_FALSE(CompareDouble(1.0, std::nan("")));
}

TEST(Matrix, StartsEmpty) {
  const Matrix matrix;
  EXPECT_EQ(matrix.rows, 0u);
  EXPECT_EQ(matrix.columns, 0u);
  EXPECT_EQ(matrix.data, nullptr);
  EXPECT_FALSE(matrix.loaded);
  EXPECT_TRUE(matrix.IsValid());
  EXPECT_TRUE(matrix.IsIdentity());
  EXPECT_EQ(matrix.ToCSV(), "");
  EXPECT_TRUE(ValuesOf(matrix).empty());
}

TEST(Matrix, ElementsStandRowByRow) {
  Matrix matrix = Filled(2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(matrix(1, 0), 4);
  matrix(0, 2) = 9;
  EXPECT_EQ(matrix.data[2], 9);
  EXPECT_EQ(ValuesOf(matrix), (Values{1, 2, 9, 4, 5, 6}));
}

TEST(Matrix, ResizeGivesTheNewShapeAndForgetsTheFile) {
  for (const unsigned int columns : {2u, 40u, 3u}) {
    Matrix matrix(4, 4);
    matrix.loaded = true;
    ASSERT_TRUE(matrix.Resize(5, columns));
    EXPECT_EQ(matrix.rows, 5u);
    EXPECT_EQ(matrix.columns, columns);
    EXPECT_FALSE(matrix.loaded);
    matrix.Clear();
    EXPECT_EQ(ValuesOf(matrix), Values(5 * columns, 0.0));
  }
  Matrix matrix(3, 3);
  ASSERT_TRUE(matrix.Resize(0, 0));
  EXPECT_EQ(matrix.data, nullptr);
}

TEST(Matrix, ClearOfAnEmptyMatrixIsToldAndDoesNothing) {
  Matrix matrix;
  CaptureStderr();
  matrix.Clear();
  EXPECT_EQ(GetCapturedStderr(), "Error: Matrix::Clear() but no memory allocated\n");
}

TEST(Matrix, CopiesAreDeepAndNotLoaded) {
  for (const unsigned int size : {3u, 5u}) {
    Matrix matrix = Filled(size, size, {1, 2, 3, 4});
    matrix.loaded = true;
    Matrix copy(matrix), assigned, sameShape(size, size);
    assigned = matrix;
    const double* const storage = sameShape.data;
    sameShape = matrix * 1.0;  // a temporary gives its values, not its storage
    EXPECT_EQ(sameShape.data, storage);
    sameShape = matrix;
    EXPECT_EQ(sameShape.data, storage);
    const Values expected = ValuesOf(matrix);
    matrix(0, 0) = 77;
    for (const Matrix* other : {&copy, &assigned, &sameShape}) {
      EXPECT_EQ(ValuesOf(*other), expected);
      EXPECT_EQ(other->rows, size);
      EXPECT_FALSE(other->loaded);
    }
  }
}

TEST(Matrix, SelfAssignmentKeepsEverything) {
  Matrix matrix = Filled(2, 2, {1, 2, 3, 4});
  matrix.loaded = true;
  const Matrix& self = matrix;
  matrix = self;
  EXPECT_EQ(ValuesOf(matrix), (Values{1, 2, 3, 4}));
  EXPECT_TRUE(matrix.loaded);
}

TEST(Matrix, MovesAndSwapsKeepTheValues) {
  for (const unsigned int size : {2u, 6u}) {
    Matrix a = Filled(size, size, {1, 2, 3}), b = Filled(3, 1, {7, 8, 9});
    const Values inA = ValuesOf(a), inB = ValuesOf(b);
    std::swap(a, b);
    EXPECT_EQ(ValuesOf(a), inB);
    EXPECT_EQ(ValuesOf(b), inA);
    const Matrix moved(std::move(b));
    EXPECT_EQ(ValuesOf(moved), inA);
    std::vector<Matrix> many(1, moved);
    for (int i = 0; i < 20; ++i) many.push_back(moved);  // moves when it grows
    for (const Matrix& matrix : many) EXPECT_EQ(ValuesOf(matrix), inA);
  }
}

TEST(Matrix, AssigningAVectorFillsOrCuts) {
  Matrix matrix = Filled(3, 3, {9, 9, 9, 9, 9, 9, 9, 9, 9});
  matrix = Values{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(ValuesOf(matrix), (Values{1, 2, 3, 4, 5, 6, 0, 0, 0}));
  EXPECT_EQ(ValuesOf(Filled(1, 2, {1, 2, 3})), (Values{1, 2}));
  Matrix empty;
  CaptureStderr();
  empty = Values{1, 2};
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(empty.data, nullptr);
}

TEST(Matrix, AddsSubtractsAndScalesElementByElement) {
  const Matrix a = Filled(2, 2, {1, 2, 3, 4}), b = Filled(2, 2, {10, 20, 30, 40});
  EXPECT_EQ(ValuesOf(a + b), (Values{11, 22, 33, 44}));
  EXPECT_EQ(ValuesOf(b - a), (Values{9, 18, 27, 36}));
  EXPECT_EQ(ValuesOf(a * 2.0), (Values{2, 4, 6, 8}));
  EXPECT_EQ(ValuesOf(a / 2.0), (Values{0.5, 1, 1.5, 2}));
  EXPECT_FALSE((a / 0.0).IsValid());
}

TEST(Matrix, MultipliesRowsByColumns) {
  const Matrix a = Filled(2, 3, {1, 2, 3, 4, 5, 6}), b = Filled(3, 2, {7, 8, 9, 10, 11, 12});
  const Matrix product = a * b;
  EXPECT_EQ(product.rows, 2u);
  EXPECT_EQ(ValuesOf(product), (Values{58, 64, 139, 154}));
  EXPECT_EQ((b * a).columns, 3u);
}

TEST(Matrix, MotionMatricesMultiplyToTheirComposition) {
  const Matrix scale = Filled(3, 3, {2, 0, 0, 0, 3, 0, 0, 0, 1}), shift = Filled(3, 3, {1, 0, 5, 0, 1, 7, 0, 0, 1});
  EXPECT_EQ(ValuesOf(scale * shift), (Values{2, 0, 10, 0, 3, 21, 0, 0, 1}));  // the shift comes first
  EXPECT_EQ(ValuesOf(shift * scale), (Values{2, 0, 5, 0, 3, 7, 0, 0, 1}));
  const Matrix a = Filled(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 10}), b = Filled(3, 3, {2, 3, 5, 7, 11, 13, 17, 19, 23});
  EXPECT_EQ(ValuesOf(a * b), (Values{67, 82, 100, 145, 181, 223, 240, 299, 369}));
}

TEST(Matrix, LargeProductsSumFromTheFirstTermToTheLast) {
  constexpr unsigned int inner = 37;
  Matrix a(4, inner), b(inner, 11);
  for (unsigned int i = 0; i < 4 * inner; ++i) a.data[i] = std::sin(i) * std::pow(10.0, i % 7);
  for (unsigned int i = 0; i < inner * 11; ++i) b.data[i] = std::cos(3.0 * i);
  const Matrix product = a * b;
  for (unsigned int r = 0; r < 4; ++r)
    for (unsigned int c = 0; c < 11; ++c) {
      double sum = 0.0;
      for (unsigned int k = 0; k < inner; ++k) sum += a(r, k) * b(k, c);
      EXPECT_EQ(product(r, c), sum);
    }
}

TEST(Matrix, MultipliesAColumnVector) {
  EXPECT_EQ(Filled(2, 3, {1, 2, 3, 4, 5, 6}) * (Values{1, 0, 2}), (Values{7, 16}));
}

TEST(Matrix, ShapesThatDontFitAreToldAndGiveTheLeftOperand) {
  const Matrix a = Filled(2, 2, {1, 2, 3, 4}), b(3, 2);
  CaptureStderr();
  EXPECT_EQ(ValuesOf(a + b), ValuesOf(a));
  EXPECT_EQ(GetCapturedStderr(), "Matrix: error - addition not allowed unless matrices have same dimensions\n");
  CaptureStderr();
  EXPECT_EQ(ValuesOf(a - b), ValuesOf(a));
  EXPECT_EQ(GetCapturedStderr(), "Matrix: error - subtraction not allowed, objects wrong size\n");
  CaptureStderr();
  EXPECT_EQ(ValuesOf(a * b), ValuesOf(a));
  EXPECT_EQ(GetCapturedStderr(), "Matrix: error - multiplication not possible, dimensions incompatible\n");
  CaptureStderr();
  EXPECT_EQ(a * (Values{5, 6, 7}), (Values{5, 6, 7}));
  EXPECT_EQ(GetCapturedStderr(),
            "Matrix: error - multiplication by vector of wrong size\nMatrix is 2x2, vector is 3\n");
}

TEST(Matrix, TransposesAndSwapsRowsAndColumns) {
  Matrix matrix = Filled(2, 3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(matrix.Transpose().rows, 3u);
  EXPECT_EQ(ValuesOf(matrix.Transpose()), (Values{1, 4, 2, 5, 3, 6}));
  matrix.SwapRows(0, 1);
  EXPECT_EQ(ValuesOf(matrix), (Values{4, 5, 6, 1, 2, 3}));
  matrix.SwapColumns(0, 2);
  EXPECT_EQ(ValuesOf(matrix), (Values{6, 5, 4, 3, 2, 1}));
}

TEST(Matrix, IdentityHasOnesOnTheDiagonalOfAnyShape) {
  EXPECT_EQ(ValuesOf(Matrix::GetIdentity(2)), (Values{1, 0, 0, 1}));
  Matrix wide(2, 4);
  wide.MakeIdentity();
  EXPECT_EQ(ValuesOf(wide), (Values{1, 0, 0, 0, 0, 1, 0, 0}));
  EXPECT_TRUE(wide.IsIdentity());
  EXPECT_EQ(Matrix::GetIdentity(0).data, nullptr);
}

TEST(Matrix, SkewSymmetricMatrixTakesThreeValues) {
  EXPECT_EQ(ValuesOf(Matrix::MakeSkewSymmetric(Values{2, 3, 5, 99})), (Values{0, -3, 5, 3, 0, -2, -5, 2, 0}));
  EXPECT_EQ(ValuesOf(Matrix::MakeSkewSymmetric(Values{2, 3})), Values(9, 0.0));
}

TEST(Matrix, InverseOfA3By3IsItsAdjugateOverTheDeterminant) {
  Matrix matrix = Filled(3, 3, {1, 2, 3, 0, 1, 4, 5, 6, 0});  // determinant 1
  ASSERT_TRUE(matrix.Inverse());
  EXPECT_EQ(ValuesOf(matrix), (Values{-24, 18, 5, 20, -15, -4, -5, 4, 1}));
}

TEST(Matrix, NearlySingular3By3IsToldAndKept) {
  Matrix matrix = Filled(3, 3, {0.0000005, 7, 0, 0, 1, 0, 0, 0, 1});
  const Values before = ValuesOf(matrix);
  CaptureStderr();
  EXPECT_FALSE(matrix.Inverse());
  EXPECT_EQ(GetCapturedStderr(), "Matrix::Inverse() - Singular matrix\n");
  EXPECT_EQ(ValuesOf(matrix), before);
  matrix(0, 0) = 0.000002;
  EXPECT_TRUE(matrix.Inverse());
  EXPECT_DOUBLE_EQ(matrix(0, 0), 500000.0);
}

TEST(Matrix, OtherShapesFailAtASmallPivotThat3By3Accepts) {
  Matrix two = Filled(2, 2, {0.005, 0, 0, 1}), three = Filled(3, 3, {0.005, 0, 0, 0, 1, 0, 0, 0, 1});
  EXPECT_FALSE(two.Inverse());
  EXPECT_TRUE(three.Inverse());
  EXPECT_DOUBLE_EQ(three(0, 0), 200.0);
}

TEST(Matrix, FailedEliminationLeavesWhatItHasEliminated) {
  Matrix matrix = Filled(4, 4, {1, 0, 0, 0, 2, 0, 0, 0, 4, 0, 0, 5, 0, 0, 0, 8});
  EXPECT_FALSE(matrix.Inverse());  // the second column has no pivot
  EXPECT_EQ(ValuesOf(matrix), (Values{4, 0, 0, 5, 0, 0, 0, -2.5, 0, 0, 0, -1.25, 0, 0, 0, 8}));
}

TEST(Matrix, InvertsOtherSquareShapesWithRowSwaps) {
  const Values values = {0, 2, 1, 3, 4, 1, -1, 2, 2, -3, 5, 1, 1, 1, 1, -2};
  const Matrix original = Filled(4, 4, values);
  Matrix inverse = original;
  ASSERT_TRUE(inverse.Inverse());
  const Matrix product = original * inverse;
  for (unsigned int r = 0; r < 4; ++r)
    for (unsigned int c = 0; c < 4; ++c) EXPECT_NEAR(product(r, c), r == c ? 1.0 : 0.0, 1e-14);  // rounding
  Matrix two = Filled(2, 2, {2, 4, 1, 1});
  ASSERT_TRUE(two.Inverse());
  EXPECT_EQ(ValuesOf(two), (Values{-0.5, 2, 0.5, -1}));
}

TEST(Matrix, TheLastPivotIsNotTested) {
  Matrix four = Matrix::GetIdentity(4);
  four(3, 3) = 0.0;
  EXPECT_TRUE(four.Inverse());
  EXPECT_FALSE(four.IsValid());
  Matrix one = Filled(1, 1, {0.004});
  EXPECT_TRUE(one.Inverse());
  EXPECT_DOUBLE_EQ(one(0, 0), 250.0);
}

TEST(Matrix, AMatrixThatIsntSquareHasNoInverse) {
  Matrix wide = Filled(2, 3, {1, 2, 3, 4, 5, 6}), tall = Filled(3, 2, {1, 2, 3, 4, 5, 6});
  EXPECT_FALSE(wide.Inverse());
  EXPECT_FALSE(tall.Inverse());
  EXPECT_EQ(ValuesOf(wide), (Values{1, 2, 3, 4, 5, 6}));
}

TEST(Matrix, InterpolatesBetweenFourElements) {
  const Matrix matrix = Filled(2, 2, {0, 10, 20, 40});
  EXPECT_DOUBLE_EQ(matrix.Interpolate(0.0, 0.5), 5.0);
  EXPECT_DOUBLE_EQ(matrix.Interpolate(0.5, 0.0), 10.0);
  EXPECT_DOUBLE_EQ(matrix.Interpolate(0.25, 0.5), 0.75 * 5.0 + 0.25 * 30.0);
}

TEST(Matrix, InterpolationFallsToZeroOverTheLastRowAndColumn) {
  const Matrix matrix = Filled(2, 2, {0, 10, 20, 40});
  EXPECT_EQ(matrix.Interpolate(1.0, 1.0), 40.0);
  EXPECT_DOUBLE_EQ(matrix.Interpolate(1.75, 1.0), 10.0);
  EXPECT_DOUBLE_EQ(matrix.Interpolate(1.0, 1.5), 20.0);
  EXPECT_EQ(matrix.Interpolate(2.0, 0.0), 0.0);
  EXPECT_EQ(matrix.Interpolate(0.0, 2.0), 0.0);
}

TEST(Matrix, InterpolationTakesSmallNegativeArgumentsAsInside) {
  const Matrix matrix = Filled(2, 2, {0, 10, 20, 40});
  EXPECT_DOUBLE_EQ(matrix.Interpolate(0.0, -0.5), -5.0);  // extrapolated from the first two elements
  EXPECT_EQ(matrix.Interpolate(-1.0, 0.0), 0.0);
  EXPECT_EQ(matrix.Interpolate(0.0, -1e300), 0.0);
  EXPECT_EQ(matrix.Interpolate(std::nan(""), 0.0), 0.0);
  EXPECT_EQ(Matrix().Interpolate(0.0, 0.0), 0.0);
}

TEST(Matrix, IsValidRefusesWhatIsntFinite) {
  Matrix matrix = Matrix::GetIdentity(3);
  EXPECT_TRUE(matrix.IsValid());
  matrix(2, 1) = std::numeric_limits<double>::max();
  EXPECT_TRUE(matrix.IsValid());
  for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    matrix(2, 1) = bad;
    EXPECT_FALSE(matrix.IsValid());
  }
}

TEST(Matrix, IsIdentityAllowsAMillionth) {
  EXPECT_TRUE(Filled(2, 2, {1.0000005, 0.0000005, -0.0000005, 0.9999995}).IsIdentity());
  EXPECT_FALSE(Filled(2, 2, {1, 0.000002, 0, 1}).IsIdentity());
  EXPECT_FALSE(Filled(2, 2, {1.000002, 0, 0, 1}).IsIdentity());
}

TEST(Matrix, CSVIsOneLine) {
  EXPECT_EQ(Filled(3, 3, {1, 0.5, -2, 1e-7, 1234567, 0, 3, 4, 5}).ToCSV(), "1,0.5,-2,1e-07,1.23457e+06,0,3,4,5");
}

TEST(Matrix, StreamOutputHasNoTrailingBlankOrNewline) {
  std::ostringstream text;
  text << Filled(2, 2, {1.5, 9e-16, -9e-16, -2}) << '|' << Matrix();
  EXPECT_EQ(text.str(), "1.5 0\n0 -2|");
}

TEST(Matrix, SavesItsShapeAndThenAnElementALine) {
  const std::string path = TemporaryPath("save");
  ASSERT_TRUE(Filled(2, 3, {1, -2.5, 3, 1e-9, 1234567, 6}).Save(path.c_str()));
  EXPECT_EQ(ReadFile(path), "2 3\n1\n-2.5\n3\n1e-09\n1.23457e+06\n6\n");
  EXPECT_FALSE(Matrix(2, 2).Save("/nonexistent/matrix"));
}

TEST(Matrix, LoadsWhatWasSaved) {
  const std::string path = TemporaryPath("load");
  Matrix saved(4, 5);
  for (unsigned int i = 0; i < 20; ++i) saved.data[i] = i * 0.25;
  ASSERT_TRUE(saved.Save(path.c_str()));
  Matrix matrix(3, 3);
  ASSERT_TRUE(matrix.Load(path.c_str()));
  EXPECT_TRUE(matrix.loaded);
  EXPECT_EQ(matrix.rows, 4u);
  EXPECT_EQ(matrix.columns, 5u);
  EXPECT_EQ(ValuesOf(matrix), ValuesOf(saved));
  EXPECT_FALSE(matrix.Load("/nonexistent/matrix"));
  EXPECT_FALSE(matrix.loaded);
  EXPECT_FALSE(matrix.Load(testing::TempDir().c_str()));
}

TEST(Matrix, LoadKeepsWhatAShortFileLacks) {
  Matrix matrix = Filled(2, 2, {9, 9, 9, 9});
  EXPECT_TRUE(matrix.Load(WriteFile("short", "2 2\n1\n2\nx\n4\n").c_str()));
  EXPECT_TRUE(matrix.loaded);
  EXPECT_EQ(ValuesOf(matrix), (Values{1, 2, 9, 9}));
  EXPECT_TRUE(matrix.Load(WriteFile("shape", "3 1\n7").c_str()));
  EXPECT_EQ(ValuesOf(matrix), (Values{7, 0, 0}));
}

TEST(Matrix, LoadRefusesAShapeThatTheFileCantHold) {
  Matrix matrix = Filled(1, 2, {1, 2});
  for (const char* text : {"4000000000 4000000000\n1\n", "-1 -1\n", "100000 1000\n1\n2\n3", "4000000000 0\n1\n"}) {
    EXPECT_FALSE(matrix.Load(WriteFile("huge", text).c_str())) << text;
    EXPECT_FALSE(matrix.loaded);
    EXPECT_EQ(ValuesOf(matrix), (Values{1, 2}));
  }
}

}  // namespace
}  // namespace Vorn
