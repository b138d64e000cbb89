#include "numerics/Quadrilateral.h"

#include <gtest/gtest.h>

namespace Vorn {
namespace {

TEST(Quadrilateral, HasFourCornersAtTheOriginUntilSet) {
  Quadrilateral quadrilateral;
  for (const Point2D& corner : quadrilateral.corners) EXPECT_EQ(corner, Point2D(0, 0));
  quadrilateral.corners[3] = Point2D(0, 7);
  const Quadrilateral copy = quadrilateral;
  EXPECT_EQ(copy.corners[3], Point2D(0, 7));
  EXPECT_EQ(copy.corners[2], Point2D(0, 0));
}

}  // namespace
}  // namespace Vorn
