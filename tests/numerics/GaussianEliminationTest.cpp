#include "numerics/GaussianElimination.h"

#include <gtest/gtest.h>

#include <vector>

namespace Vorn {
namespace {

using Values = std::vector<double>;

bool Solve(const Values& matrix, Values b, Values& x) {
  const auto n = static_cast<unsigned int>(b.size());
  Matrix a(n, n);
  a = matrix;
  return GaussianElimination().Solve(a, x, b);
}

TEST(GaussianElimination, SolvesWithRowSwaps) {
  Values x;
  ASSERT_TRUE(Solve({0, 2, 1, 2, 1, 1, 1, 1, -1}, {7, 7, 0}, x));
  ASSERT_EQ(x.size(), 3u);
  EXPECT_NEAR(x[0], 1.0, 1e-15);
  EXPECT_NEAR(x[1], 2.0, 1e-15);
  EXPECT_NEAR(x[2], 3.0, 1e-15);
}

TEST(GaussianElimination, AZeroColumnFailsAtThePivot) {
  Values x = {7};
  EXPECT_FALSE(Solve({1, 0, 2, 3, 0, 4, 5, 0, 7}, {1, 2, 3}, x));
  EXPECT_EQ(x, (Values{7}));
}

TEST(GaussianElimination, APivotBelowAHundredthInSinglePrecisionFails) {
  Values x;
  EXPECT_FALSE(Solve({0.00999, 0, 0, 1}, {1, 1}, x));
  EXPECT_TRUE(Solve({0.009999999776482582, 0, 0, 1}, {1, 1}, x));
  EXPECT_TRUE(Solve({0.01, 0, 0, 1}, {1, 1}, x));
  EXPECT_NEAR(x[0], 100.0, 1e-12);
}

TEST(GaussianElimination, TheLastDiagonalElementOnlyHasToDifferFromZero) {
  Values x;
  EXPECT_TRUE(Solve({1, 0, 0, 1e-9}, {1, 1e-9}, x));
  EXPECT_EQ(x, (Values{1, 1}));
  EXPECT_FALSE(Solve({1, 0, 0, 0}, {1, 0}, x));
  EXPECT_FALSE(Solve({1, 2, 2, 4}, {1, 0}, x));
  EXPECT_TRUE(Solve({0.004}, {1}, x));
  EXPECT_EQ(x, (Values{250}));
}

TEST(GaussianElimination, SizesThatDontFitFail) {
  Values x, b = {1, 2, 3};
  Matrix two = Matrix::GetIdentity(2), none;
  EXPECT_FALSE(GaussianElimination().Solve(two, x, b));
  b.clear();
  EXPECT_FALSE(GaussianElimination().Solve(none, x, b));
}

}  // namespace
}  // namespace Vorn
