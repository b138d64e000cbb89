#include "numerics/Rectangle.h"

#include <gtest/gtest.h>

namespace Vorn {
namespace {

TEST(Rectangle, CornersAreInclusive) {
  EXPECT_TRUE(Rectangle().IsValid());
  EXPECT_TRUE(Rectangle(3, 4, 3, 4).IsValid());
  EXPECT_TRUE(Rectangle(-5, -4, 3, 4).IsValid());
  EXPECT_FALSE(Rectangle(3, 4, 2, 9).IsValid());
  EXPECT_FALSE(Rectangle(3, 4, 9, 3).IsValid());
}

TEST(Rectangle, StartsAsTheFirstPixel) {
  const Rectangle rectangle;
  EXPECT_EQ(rectangle.tlx, 0);
  EXPECT_EQ(rectangle.tly, 0);
  EXPECT_EQ(rectangle.brx, 0);
  EXPECT_EQ(rectangle.bry, 0);
}

}  // namespace
}  // namespace Vorn
