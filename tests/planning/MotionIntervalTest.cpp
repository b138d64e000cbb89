#include "planning/MotionInterval.h"

#include <gtest/gtest.h>

namespace {

MotionFixParams Example() { return {Linear, 1.5f, 0.25f, 3, 10, 4, -7.0f, 12.5f}; }

TEST(MotionInterval, TypesHaveTheNumbersThatStoredListsCarry) {
  EXPECT_EQ(MotionMoving, 0);
  EXPECT_EQ(MotionStill, 1);
  EXPECT_EQ(MotionBroken, 2);
  EXPECT_EQ(Linear, 0);
  EXPECT_EQ(Hold, 1);
  EXPECT_EQ(None, 2);
}

TEST(MotionInterval, FieldsStandInTheStoredOrder) {
  const MotionInterval interval = {3, 9, MotionBroken, true};
  EXPECT_EQ(interval.begin_frame, 3);
  EXPECT_EQ(interval.end_frame, 9);
  EXPECT_EQ(interval.motion_type, 2);
  EXPECT_TRUE(interval.cut);
}

TEST(MotionFixParams, IsZeroToBeginWith) {
  EXPECT_EQ(MotionFixParams(), (MotionFixParams{0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(MotionFixParams().gradient, 0.0f);
}

TEST(MotionFixParams, WholeFieldsCompareExactly) {
  MotionFixParams other = Example();
  EXPECT_TRUE(other == Example());
  for (int MotionFixParams::*field : {&MotionFixParams::comp_type, &MotionFixParams::ease_in,
                                      &MotionFixParams::linear_period, &MotionFixParams::ease_out}) {
    other = Example();
    ++(other.*field);
    EXPECT_FALSE(other == Example());
  }
}

TEST(MotionFixParams, PositionsAndIncomingSpeedCompareToAThousandth) {
  for (float MotionFixParams::*field :
       {&MotionFixParams::gradient_in, &MotionFixParams::start_pos, &MotionFixParams::end_pos}) {
    MotionFixParams other = Example();
    other.*field += 0.0009f;
    EXPECT_TRUE(other == Example());
    other.*field += 0.0002f;
    EXPECT_FALSE(other == Example());
    other = Example();
    other.*field -= 0.0011f;
    EXPECT_FALSE(other == Example());
  }
}

TEST(MotionFixParams, GradientTakesNoPartInEquality) {
  MotionFixParams other = Example();
  other.gradient = 99.0f;
  EXPECT_TRUE(other == Example());
}

}  // namespace
