#include "numerics/SVD.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
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

Matrix Random(unsigned int rows, unsigned int columns, unsigned int seed) {
  std::mt19937 generator(seed);
  Matrix matrix(rows, columns);
  for (unsigned int i = 0; i < rows * columns; ++i)
    matrix.data[i] = static_cast<int>(generator() % 2001) / 1000.0 - 1.0;
  return matrix;
}

/// The largest magnitude of a - b.
double Difference(const Matrix& a, const Matrix& b) {
  EXPECT_EQ(a.rows, b.rows);
  EXPECT_EQ(a.columns, b.columns);
  double largest = 0.0;
  for (unsigned int i = 0; i < a.rows * a.columns; ++i)
    largest = std::max(largest, std::isnan(a.data[i] - b.data[i]) ? HUGE_VAL : std::fabs(a.data[i] - b.data[i]));
  return largest;
}

void ExpectOrthonormalColumns(const Matrix& matrix) {
  EXPECT_LT(Difference(matrix.Transpose() * matrix, Matrix::GetIdentity(static_cast<int>(matrix.columns))), 1e-13);
}

void ExpectDecomposition(const SVD& svd, const Matrix& matrix) {
  EXPECT_LT(Difference(svd.Recompose(), matrix), 1e-13);  // rounding of sums of a few dozen products near 1
  ExpectOrthonormalColumns(*svd.U);
  ExpectOrthonormalColumns(*svd.V);
  EXPECT_TRUE(std::is_sorted(svd.w.rbegin(), svd.w.rend()));
  EXPECT_GE(svd.w.back(), 0.0);
}

double LengthOf(const Values& vector) {
  double sum = 0.0;
  for (const double value : vector) sum += value * value;
  return std::sqrt(sum);
}

TEST(Pythag, IsTheLengthWithoutOverflow) {
  EXPECT_EQ(pythag(3, -4), 5.0);
  EXPECT_EQ(pythag(-4, 3), 5.0);
  EXPECT_EQ(pythag(0, 0), 0.0);
  EXPECT_EQ(pythag(0, -2), 2.0);
  EXPECT_EQ(pythag(-2, 0), 2.0);
  EXPECT_DOUBLE_EQ(pythag(3e300, 4e300), 5e300);
  EXPECT_DOUBLE_EQ(pythag(3e-300, 4e-300), 5e-300);
}

TEST(SVD, FactorsAreOrthonormalAndGiveTheMatrixBack) {
  unsigned int seed = 1;
  for (const auto& [rows, columns] : {std::pair(1u, 1u), {2u, 1u}, {2u, 2u}, {3u, 3u}, {4u, 3u}, {9u, 9u}, {40u, 9u}}) {
    const Matrix matrix = Random(rows, columns, ++seed);
    const SVD svd(matrix, false);
    ExpectDecomposition(svd, matrix);
    EXPECT_EQ(svd.U->rows, rows);
    EXPECT_EQ(svd.U->columns, columns);
    EXPECT_EQ(svd.V->rows, columns);
    EXPECT_EQ(svd.w.size(), columns);
  }
}

TEST(SVD, AWideMatrixGoesThroughItsTranspose) {
  const Matrix matrix = Filled(2, 4, {1, 2, 3, 4, -5, 6, 7, -8});
  const SVD svd(matrix, false);
  ExpectDecomposition(svd, matrix);
  EXPECT_EQ(svd.rows, 4);
  EXPECT_EQ(svd.columns, 2);
  EXPECT_EQ(svd.U->rows, 2u);
  EXPECT_EQ(svd.U->columns, 2u);
  EXPECT_EQ(svd.V->rows, 4u);
  EXPECT_EQ(svd.V->columns, 2u);
  EXPECT_EQ(svd.w.size(), 2u);
}

TEST(SVD, ValuesOfADiagonalMatrixAreItsMagnitudesInOrder) {
  const SVD svd(Filled(3, 3, {2, 0, 0, 0, -7, 0, 0, 0, 3}), false);
  EXPECT_DOUBLE_EQ(svd.GetW(0), 7.0);
  EXPECT_DOUBLE_EQ(svd.GetW(1), 3.0);
  EXPECT_DOUBLE_EQ(svd.GetW(2), 2.0);
}

TEST(SVD, ValuesOfA2By2FollowTheClosedForm) {
  const double a = 3, b = -1, c = 2, d = 5;  // w^2 are the roots of x^2 - (a^2 + b^2 + c^2 + d^2) x + (ad - bc)^2
  const double half = (a * a + b * b + c * c + d * d) / 2, det = a * d - b * c;
  const SVD svd(Filled(2, 2, {a, b, c, d}), false);
  EXPECT_NEAR(svd.w[0], std::sqrt(half + std::sqrt(half * half - det * det)), 1e-14);
  EXPECT_NEAR(svd.w[1], std::sqrt(half - std::sqrt(half * half - det * det)), 1e-14);
}

TEST(SVD, SurvivesHardCases) {
  Matrix jordan(6, 6), graded(5, 5), ones(7, 4);
  jordan.Clear();
  for (unsigned int i = 0; i < 6; ++i) {
    jordan(i, i) = i == 2 ? 0.0 : 1.0;  // a zero inside the bidiagonal splits it
    if (i < 5) jordan(i, i + 1) = 1.0;
  }
  for (unsigned int i = 0; i < 25; ++i) graded.data[i] = std::pow(10.0, -static_cast<double>(i)) * (i % 3 + 1);
  for (unsigned int i = 0; i < 28; ++i) ones.data[i] = 1.0;
  for (const Matrix& matrix : {jordan, graded, ones}) ExpectDecomposition(SVD(matrix, false), matrix);
  EXPECT_EQ(SVD(ones, false).Rank(), 1);
  EXPECT_NEAR(SVD(ones, false).w[0], std::sqrt(28.0), 1e-14);
}

TEST(SVD, ScalesOverTheWholeRangeOfDoubles) {
  const Matrix matrix = Random(5, 4, 3);
  const SVD plain(matrix, false);
  for (const double scale : {1e-250, 1e-100, 1e200}) {
    const SVD scaled(matrix * scale, false);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(scaled.GetW(i) / scale, plain.GetW(i), 1e-13);
  }
}

TEST(SVD, ValuesThatArentFiniteEndInAnInvalidInverse) {
  for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL})
    for (unsigned int i = 0; i < 9; ++i) {
      Matrix matrix = Random(3, 3, 4);
      matrix.data[i] = bad;
      EXPECT_FALSE(SVD(matrix, false).Inverse().IsValid()) << bad << " at " << i;
    }
}

TEST(SVD, EndsAtTheEdgesOfTheRange) {
  for (const double edge : {1e308, 1e-310, 5e-324})
    for (unsigned int seed = 0; seed < 20; ++seed) EXPECT_EQ(SVD(Random(6, 6, seed) * edge, false).w.size(), 6u);
}

TEST(SVD, FullKeepsAWideMatrixAndHasItsNullSpace) {
  for (const unsigned int rows : {2u, 3u, 1u}) {
    const Matrix matrix = Random(rows, 4, 5 + rows);
    SVD svd(matrix, true);
    EXPECT_LT(Difference(svd.Recompose(), matrix), 1e-14);
    EXPECT_EQ(svd.rows, static_cast<int>(rows));
    EXPECT_EQ(svd.columns, 4);
    EXPECT_EQ(svd.w.size(), rows + 1);
    EXPECT_EQ(svd.U->columns, rows);
    EXPECT_EQ(svd.V->columns, 4u);
    ExpectOrthonormalColumns(*svd.U);
    ExpectOrthonormalColumns(*svd.V);
    EXPECT_NEAR(LengthOf(svd.NullVector()), 1.0, 1e-14);
    EXPECT_LT(LengthOf(matrix * svd.NullVector()), 1e-14);
  }
  const Matrix tall = Random(5, 3, 9);
  EXPECT_EQ(Difference(*SVD(tall, true).U, *SVD(tall, false).U), 0.0);
}

TEST(SVD, AnEmptyMatrixIsToldAndChangesNothing) {
  const Matrix matrix = Random(3, 3, 6);
  SVD svd(matrix, false);
  CaptureStderr();
  svd.Calculate(Matrix());
  svd.CalculateFull(Matrix());
  EXPECT_EQ(GetCapturedStderr(), "Matrix has zero dimensions\nMatrix has zero dimensions\n");
  ExpectDecomposition(svd, matrix);
  CaptureStderr();
  const SVD empty(Matrix(), false);
  EXPECT_EQ(GetCapturedStderr(), "Matrix has zero dimensions\n");
  EXPECT_EQ(empty.U, nullptr);
  EXPECT_EQ(empty.V, nullptr);
  EXPECT_EQ(empty.Rank(), 0);
  EXPECT_EQ(empty.Inverse().data, nullptr);
}

TEST(SVD, AllocatesZeroedFactorsForTheWorkingSize) {
  const SVD svd(2, 4);
  EXPECT_EQ(svd.rows, 4);
  EXPECT_EQ(svd.columns, 2);
  EXPECT_EQ(svd.U->rows, 4u);
  EXPECT_EQ(svd.U->columns, 2u);
  EXPECT_EQ(svd.V->rows, 2u);
  EXPECT_EQ(svd.w, Values(2, 0.0));
  EXPECT_EQ(Difference(*svd.U, *svd.U * 0.0), 0.0);
  EXPECT_EQ(svd.Rank(), 0);
}

TEST(SVD, KeepsItsMatricesForTheSameSize) {
  SVD svd(12, 5);
  const double *const u = svd.U->data, *const v = svd.V->data;
  for (unsigned int seed = 1; seed < 4; ++seed) {
    const Matrix matrix = Random(12, 5, seed);
    svd.Calculate(matrix);
    ExpectDecomposition(svd, matrix);
    EXPECT_EQ(svd.U->data, u);
    EXPECT_EQ(svd.V->data, v);
  }
  const Matrix wide = Random(5, 12, 8);
  for (int i = 0; i < 2; ++i) {
    svd.Calculate(wide);
    ExpectDecomposition(svd, wide);
    EXPECT_EQ(svd.V->data, u);  // swapped at the end
    EXPECT_EQ(svd.U->data, v);
  }
  svd.Calculate(Random(12, 5, 9));
  EXPECT_EQ(svd.U->data, u);
  const Matrix other = Random(4, 3, 9);
  svd.Calculate(other);
  ExpectDecomposition(svd, other);
}

TEST(SVD, CopiesAreDeep) {
  const Matrix first = Random(4, 3, 1), second = Random(4, 3, 2);
  SVD svd(first, false);
  const SVD copy(svd);
  SVD assigned(1, 1);
  assigned = svd;
  svd.Calculate(second);
  ExpectDecomposition(copy, first);
  ExpectDecomposition(assigned, first);
  EXPECT_EQ(copy.rows, 4);
  EXPECT_EQ(copy.columns, 3);
}

TEST(SVD, ClearEmptiesTheValuesAndZeroesTheFactors) {
  SVD svd(Random(3, 3, 1), false);
  svd.Clear();
  EXPECT_TRUE(svd.w.empty());
  EXPECT_EQ(Difference(*svd.U, *svd.U * 0.0), 0.0);
  EXPECT_EQ(Difference(*svd.V, *svd.V * 0.0), 0.0);
  EXPECT_EQ(svd.Rank(), 0);
  svd.Calculate(Random(3, 3, 1));
  ExpectDecomposition(svd, Random(3, 3, 1));
}

TEST(SVD, AValuePastTheEndIsToldAndZero) {
  const SVD svd(Matrix::GetIdentity(3), false);
  for (const int index : {3, -1}) {
    CaptureStderr();
    EXPECT_EQ(svd.GetW(index), 0.0);
    EXPECT_EQ(GetCapturedStderr(), "Invalid singular value\n");
  }
}

TEST(SVD, GetUHasTheMeaningfulColumns) {
  const SVD tall(Random(5, 3, 1), false), wide(Random(3, 5, 1), false);
  EXPECT_EQ(Difference(tall.GetU(), *tall.U), 0.0);
  EXPECT_EQ(wide.GetU().rows, 3u);
  EXPECT_EQ(wide.GetU().columns, 3u);
}

TEST(SVD, InverseOfARegularMatrixIsTheInverse) {
  const Matrix matrix = Filled(3, 3, {1, 2, 3, 0, 1, 4, 5, 6, 0});
  const Matrix expected = Filled(3, 3, {-24, 18, 5, 20, -15, -4, -5, 4, 1});
  EXPECT_LT(Difference(SVD(matrix, false).Inverse(), expected), 1e-12);
}

TEST(SVD, InverseOfATallMatrixSolvesLeastSquares) {
  // The line through (0, 1), (1, 3), (2, 4), (3, 4): slope 1, intercept 1.5.
  const Matrix design = Filled(4, 2, {0, 1, 1, 1, 2, 1, 3, 1});
  const Values line = SVD(design, false).Inverse() * Values{1, 3, 4, 4};
  EXPECT_NEAR(line[0], 1.0, 1e-14);
  EXPECT_NEAR(line[1], 1.5, 1e-14);
}

TEST(SVD, InverseLeavesAZeroValueZero) {
  const Matrix inverse = SVD(Filled(3, 3, {4, 0, 0, 0, 0, 0, 0, 0, 2}), false).Inverse();
  EXPECT_LT(Difference(inverse, Filled(3, 3, {0.25, 0, 0, 0, 0, 0, 0, 0, 0.5})), 1e-16);
}

TEST(SVD, RankCountsValuesAboveTheRounding) {
  Matrix zero(3, 3);
  zero.Clear();
  EXPECT_EQ(SVD(zero, false).Rank(), 0);
  EXPECT_EQ(SVD(Filled(3, 3, {1, 2, 3, 2, 4, 6, 1, 1, 1}), false).Rank(), 2);
  EXPECT_EQ(SVD(Matrix::GetIdentity(4), false).Rank(), 4);
}

TEST(SVD, NullVectorsOfASingularMatrix) {
  const Matrix matrix = Filled(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});  // null vectors (1, -2, 1) on both sides
  const SVD svd(matrix, false);
  const Values right = svd.NullVector(), left = svd.LeftNullVector();
  const double direction[3] = {1 / std::sqrt(6.0), -2 / std::sqrt(6.0), 1 / std::sqrt(6.0)};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(right[i] * (right[0] > 0 ? 1 : -1), direction[i], 1e-14);
    EXPECT_NEAR(left[i] * (left[0] > 0 ? 1 : -1), direction[i], 1e-14);
  }
}

TEST(SVD, TheFirstOfEqualSmallestValuesGivesTheNullVector) {
  SVD svd(Matrix::GetIdentity(3), false);
  svd.w = {5, 2, 2};
  EXPECT_EQ(std::fabs(svd.NullVector()[1]), 1.0);
  svd.w = {300000, 200000, 100000};  // nothing below the start of the search
  EXPECT_EQ(std::fabs(svd.NullVector()[0]), 1.0);
}

TEST(SVD, AHomographyIsTheLastColumnOfItsSystem) {
  const double h[9] = {1.1, 0.02, 0.3, -0.03, 0.95, -0.2, 0.01, 0.02, 1.0};
  Matrix system(12, 9);
  for (unsigned int k = 0; k < 6; ++k) {
    const double x = std::cos(k * 1.1), y = std::sin(k * 1.7), scale = h[6] * x + h[7] * y + h[8];
    const double u = (h[0] * x + h[1] * y + h[2]) / scale, v = (h[3] * x + h[4] * y + h[5]) / scale;
    const double rows[18] = {x, y, 1, 0, 0, 0, -u * x, -u * y, -u, 0, 0, 0, x, y, 1, -v * x, -v * y, -v};
    std::copy_n(rows, 18, system.data + 18 * size_t{k});
  }
  const SVD svd(system, false);
  EXPECT_LT(svd.w[8], 1e-14);
  const Values found = svd.NullVector();
  for (unsigned int i = 0; i < 9; ++i) {
    EXPECT_NEAR(found[i] / found[8], h[i], 1e-12);
    EXPECT_EQ(found[i], (*svd.V)(i, 8));
  }
}

}  // namespace
}  // namespace Vorn
