#include "numerics/Random.h"

#include <gtest/gtest.h>

namespace Vorn {
namespace {

TEST(Random, ASetSeedRepeatsTheSequence) {
  SetRandomSeed(5);
  const unsigned first = SeedFromClock(), second = SeedFromClock();
  SetRandomSeed(5);
  EXPECT_EQ(SeedFromClock(), first);
  EXPECT_EQ(SeedFromClock(), second);
  EXPECT_NE(first, second);
}

TEST(Random, AnotherSeedGivesAnotherSequence) {
  SetRandomSeed(5);
  const unsigned ofFive = SeedFromClock();
  SetRandomSeed(6);
  EXPECT_NE(SeedFromClock(), ofFive);
}

}  // namespace
}  // namespace Vorn
