#include "numerics/Median.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace Vorn {
namespace {

TEST(Median, IsTheMiddleOfAnOddCountAndTheLowerOfTheTwoMiddleOnes) {
  Median median;
  EXPECT_EQ(median.Get(std::vector<int>{1, 2, 3, 4}), 2);
  EXPECT_EQ(median.Get(std::vector<int>{5}), 5);
  EXPECT_EQ(median.Get(std::vector<double>{9.5, -1.0, 3.25}), 3.25);
}

TEST(Median, OfNothingIsZero) {
  Median median;
  EXPECT_EQ(median.Get(std::vector<float>()), 0.0F);
}

TEST(Median, IndexIsThePositionInTheInput) {
  Median median;
  median.Get(std::vector<int>{40, 10, 30, 20});
  EXPECT_EQ(median.index, 3);
  median.kthSmallest(std::vector<int>{40, 10, 30, 20}, 3);
  EXPECT_EQ(median.index, 0);
}

TEST(Median, OfEqualValuesTheSelectionsOwnOrderDecidesTheIndex) {
  Median median;
  median.Get(std::vector<int>{7, 7});  // the first exchange swaps the two
  EXPECT_EQ(median.index, 1);
}

TEST(Median, EveryRankMatchesTheSortedOrder) {
  std::mt19937 random(3);
  for (int n = 1; n <= 40; ++n) {
    std::vector<int> values(n);
    for (int& value : values) value = static_cast<int>(random() % 20);
    std::vector<int> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    for (int k = 0; k < n; ++k) {
      Median median;
      EXPECT_EQ(median.kthSmallest(values, k), sorted[k]);
      EXPECT_EQ(values[median.index], sorted[k]);
    }
  }
}

}  // namespace
}  // namespace Vorn
