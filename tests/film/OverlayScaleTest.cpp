#include "film/OverlayScale.h"

#include <gtest/gtest.h>

namespace film {
namespace {

TEST(OverlayScale, MarksAndLettersGrowWithThePicture) {
  const OverlayScale small(320, 240), large(3840, 2160);
  EXPECT_EQ(small.mark, 1.0);
  EXPECT_EQ(small.stroke, 1.0);
  EXPECT_EQ(large.mark, 4.0);
  EXPECT_EQ(large.stroke, 4.0);
  EXPECT_NEAR(large.letters, 28.68, 1e-9);
  EXPECT_NEAR(OverlayScale(2160, 3840).letters, large.letters, 1e-9);
}

TEST(OverlayScale, WhatIsShrunkLaterLooksAsOnThePictureThatItBecomes) {
  const OverlayScale half(1920, 1080), before(3840, 2160, 2.0);
  EXPECT_NEAR(before.mark, 2 * half.mark, 1e-9);
  EXPECT_NEAR(before.stroke, 2 * half.stroke, 1e-9);
  EXPECT_NEAR(before.letters, 2 * half.letters, 1e-9);
}

TEST(OverlayScale, VeryManyMarksLeaveThePictureToBeSeen) {
  constexpr double area = 3840.0 * 2160;
  OverlayScale few(3840, 2160), many(3840, 2160), countless(3840, 2160);
  few.makeRoomFor(1000, area);
  EXPECT_EQ(few.mark, 4.0);
  EXPECT_EQ(few.stroke, 4.0);
  many.makeRoomFor(15000, area);
  // The dots' radius is 1.5 marks; side by side they cover 8 % of the picture.
  EXPECT_NEAR(15000 * 3.14159265 * 2.25 * many.mark * many.mark, 0.08 * area, 1.0);
  EXPECT_NEAR(many.stroke, many.mark, 1e-9);
  EXPECT_EQ(many.letters, few.letters);
  countless.makeRoomFor(1000000, area);
  EXPECT_EQ(countless.mark, 1.0);
  EXPECT_EQ(countless.stroke, 1.0);
  OverlayScale none(320, 240);
  none.makeRoomFor(0, 320.0 * 240);
  EXPECT_EQ(none.mark, 1.0);
}

}  // namespace
}  // namespace film
