#include "planning/Coverage.h"

#include <gtest/gtest.h>

#include <functional>

namespace Vorn {
namespace {

HomographySet Motion(int first, int last, const std::function<double(int)>& x) {
  HomographySet set;
  for (int frame = first; frame <= last; ++frame) {
    Matrix m = Matrix::GetIdentity(3);
    m(0, 2) = x(frame);
    set.Set(frame, m);
  }
  set.AppendRange(first, last);
  return set;
}

std::vector<int> Selected(const HomographySet& motion, int current, int low, int high) {
  Coverage coverage(100);
  coverage.SetMotion(&motion, 100, 80);
  coverage.Reproject(coverage.mosaic->GetProjection(current));
  const int count = coverage.CalculateCoverage(Rectangle(), current, low, high, 0.5f);
  EXPECT_EQ(count, static_cast<int>(coverage.frames.size()));
  return coverage.frames;
}

TEST(Coverage, StartsWithItsDefaults) {
  const Coverage coverage(100);
  EXPECT_EQ(coverage.mosaic, nullptr);
  EXPECT_TRUE(coverage.displayTransform.IsIdentity());
  EXPECT_EQ(coverage.width, 640);
  EXPECT_EQ(coverage.height, 480);
  EXPECT_EQ(coverage.separation, 15.0);
  EXPECT_EQ(coverage.limit, 100);
  EXPECT_EQ(coverage.capacity, 100);
  std::vector<Point2D> points;
  EXPECT_TRUE(coverage.InFrames(0, 0, points).empty());
}

TEST(Coverage, FramesOnTopOfEachOtherAddNothingButTheEnds) {
  const HomographySet motion = Motion(0, 20, [](int f) { return 0.3 * f; });
  EXPECT_EQ(Selected(motion, 10, 2, 18), (std::vector<int>{10, 2, 18}));
}

TEST(Coverage, FramesTenPixelsApartAreTakenNearestFirst) {
  const HomographySet motion = Motion(0, 8, [](int f) { return 5.0 * f; });
  EXPECT_EQ(Selected(motion, 4, 0, 8), (std::vector<int>{4, 6, 2, 8, 0}));
}

TEST(Coverage, OneFrameOfferedIsTheSelection) {
  const HomographySet motion = Motion(0, 8, [](int f) { return 5.0 * f; });
  EXPECT_EQ(Selected(motion, 4, 4, 4), std::vector<int>{4});
}

TEST(Coverage, AnEarlierSelectionKeepsItsPlace) {
  const HomographySet motion = Motion(0, 8, [](int f) { return 5.0 * f; });
  Coverage coverage(100);
  for (const int current : {4, 5}) {
    coverage.SetMotion(&motion, 100, 80);
    coverage.Reproject(coverage.mosaic->GetProjection(current));
    coverage.CalculateCoverage(Rectangle(), current, 0, 8, 0.5f);
  }
  EXPECT_EQ(coverage.previousFrames, (std::vector<int>{6, 2, 8, 0}));
  // 6 stands 5 pixels from 5 and falls out; 2, 8 and 0 keep their order; what is left stands too near to one of them.
  EXPECT_EQ(coverage.frames, (std::vector<int>{5, 2, 8, 0}));
}

TEST(Coverage, PointsAreSoughtInAllButTheCurrentFrame) {
  const HomographySet motion = Motion(0, 2, [](int f) { return 40.0 * f; });
  Coverage coverage(100);
  coverage.SetMotion(&motion, 100, 80);
  coverage.CalculateCoverage(Rectangle(), 0, 0, 2, 0.5f);
  ASSERT_EQ(coverage.frames, (std::vector<int>{0, 1, 2}));
  std::vector<Point2D> points;
  EXPECT_EQ(coverage.InFrames(0, 0, points), (std::vector<int>{1}));  // frame 2 has it at 50 - 80
  ASSERT_EQ(points.size(), 1u);
  EXPECT_NEAR(points[0].x, 10.0, 1e-9);
  EXPECT_NEAR(points[0].y, 40.0, 1e-9);
}

TEST(Coverage, ReprojectRebasesThePlane) {
  const HomographySet motion = Motion(0, 2, [](int f) { return 40.0 * f; });
  Coverage coverage(100);
  coverage.SetMotion(&motion, 100, 80);
  coverage.Reproject(coverage.mosaic->GetProjection(1));
  EXPECT_TRUE(coverage.mosaic->GetProjection(1).IsIdentity());
}

TEST(Coverage, QuadDistanceSumsOverTheCorners) {
  Quadrilateral a, b;
  for (Point2D& corner : b.corners) corner = Point2D(3, 4);
  EXPECT_EQ(Coverage(1).CalculateQuadDistance(a, b), 20.0);
}

}  // namespace
}  // namespace Vorn
