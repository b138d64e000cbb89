#include "film/UsableMotion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <vector>

namespace film {
namespace {

using Vorn::HomographySet;
using Vorn::Matrix;

Matrix Of(std::initializer_list<double> values) {
  Matrix m(3, 3);
  std::copy(values.begin(), values.end(), m.data);
  return m;
}

std::vector<int> UnusableAmong(const std::vector<Matrix>& matrices, std::vector<int> (*find)(const HomographySet&)) {
  HomographySet set;
  for (size_t i = matrices.size(); i-- > 0;) set.Set(static_cast<int>(i), matrices[i]);
  return find(set);
}

TEST(UsableMotion, WhateverACameraMayDoIsUsable) {
  EXPECT_TRUE(UnusableAmong({Matrix::GetIdentity(3), Of({1, 0, 5000, 0, 1, -4000, 0, 0, 1}),
                             Of({0.7, -0.7, 3, 0.7, 0.7, 4, 1e-5, 2e-5, 1}), Of({3, 0, 0, 0, 3, 0, 0, 0, 1}),
                             Of({-1e-20, 0, 0, 0, -1e-20, 0, 0, 0, -1e-20}),  // the identity, of any scale
                             Of({0.02, 0, 0, 0, 0.02, 0, 0, 0, 1})},
                            UnusableMotion)
                  .empty());
  EXPECT_TRUE(UnusableMotion(HomographySet()).empty());
}

TEST(UsableMotion, WhatCannotBeUndoneOrStoredIsNot) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(UnusableAmong({Of({0, 0, 0, 0, 0, 0, 0, 0, 0}), Of({1, 1, 0, 1, 1, 0, 0, 0, 1}), Matrix::GetIdentity(3),
                           Of({1, 0, 0, 0, 1, 0, 0, 0, 0}), Of({1, 0, 0, 0, 1, nan, 0, 0, 1}),
                           Of({1e40, 0, 0, 0, 1e40, 0, 0, 0, 1e40}), Of({1e-4, 0, 0, 0, 1e-4, 0, 0, 0, 1}),
                           Of({1e4, 0, 0, 0, 1e4, 0, 0, 0, 1}), Of({1, 0, 1e30, 0, 1, 0, 0, 0, 1}),
                           Of({1, 0, 0, 0, 1, 0, 0, -1e5, 1}), Of({1e5, 0, 0, 0, 1e-5, 0, 0, 0, 1})},
                          UnusableMotion),
            (std::vector<int>{0, 1, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(UsableMotion, ARotationNeedsAnAngle) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(UnusableAmong({Matrix::GetIdentity(3), Of({0, -1, 0, 1, 0, 0, 0, 0, 1}), Of({0, 0, 5, 0, 0, 5, 0, 0, 1}),
                           Of({inf, 0, 0, 0, inf, 0, 0, 0, 1})},
                          UnusableRotation),
            (std::vector<int>{2, 3}));
}

}  // namespace
}  // namespace film
