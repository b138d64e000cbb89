#include "planning/Mosaic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Vorn {
namespace {

Matrix Shift(double x, double y) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

HomographySet Shifts(int first, std::initializer_list<std::pair<double, double>> shifts) {
  HomographySet set;
  int frame = first;
  for (const auto& [x, y] : shifts) set.Set(frame++, Shift(x, y));
  set.AppendRange(first, frame - 1);
  return set;
}

void ExpectRectangle(const Rectangle& r, int tlx, int tly, int brx, int bry) {
  EXPECT_EQ(r.tlx, tlx);
  EXPECT_EQ(r.tly, tly);
  EXPECT_EQ(r.brx, brx);
  EXPECT_EQ(r.bry, bry);
}

TEST(Mosaic, IdentityLeavesTheWholeFrame) {
  Mosaic mosaic(640, 480);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{0, 0}, {0, 0}})));
  mosaic.SetDuration(0, 2, 1);
  ExpectRectangle(mosaic.GetBorder(true), 0, 0, 639, 479);
  ExpectRectangle(mosaic.GetBorder(1, true), 0, 0, 639, 479);
}

TEST(Mosaic, TheInnerBorderIsWhatAllFramesCover) {
  Mosaic mosaic(640, 480);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(5, {{10, -4}, {-6, 8}, {0, 0}})));
  mosaic.SetDuration(5, 3, 1);
  ExpectRectangle(mosaic.GetBorder(true), 10, 8, 633, 475);
}

TEST(Mosaic, TheOuterBorderHoldsThemAllFromTheInverses) {
  Mosaic mosaic(640, 480);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{10.5, 0.5}, {-6.5, 8.5}})));
  mosaic.SetDuration(0, 2, 1);
  ExpectRectangle(mosaic.GetBorder(false), -11, -9, 646, 479);  // from (-10.5, -8.5) to (645.5, 478.5)
}

TEST(Mosaic, FramesThatDontOverlapGiveAnInvertedRectangle) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{70, 0}, {-70, 0}})));
  mosaic.SetDuration(0, 2, 1);
  EXPECT_FALSE(mosaic.GetBorder(true).IsValid());
}

TEST(Mosaic, WithoutARegistrationItSaysSo) {
  Mosaic mosaic(64, 48);
  mosaic.SetDuration(0, 2, 1);
  testing::internal::CaptureStderr();
  mosaic.ProjectCorners();
  ExpectRectangle(mosaic.GetBorder(true), 0, 0, 0, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Mosaic: Error - no registration set for Mosaic\nMosaic: Error - no registration set for Mosaic\n");
  EXPECT_TRUE(mosaic.corners.empty());
}

TEST(Mosaic, AMatrixThatIsNotFiniteIsRefusedAndTheEarlierOnesStay) {
  Mosaic mosaic(64, 48);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{3, 0}})));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(mosaic.SetRegistration(Shifts(0, {{std::numeric_limits<double>::infinity(), 0}})));
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
      "Mosaic: Error - projection matrix set contains invalid matrix.\n"));
  EXPECT_EQ(mosaic.GetProjection(0)(0, 2), 3.0);
}

TEST(Mosaic, SetDurationCountsInSteps) {
  Mosaic mosaic(64, 48);
  mosaic.SetDuration(3, 7, 3);
  EXPECT_EQ(mosaic.frames, (std::vector<int>{3, 6, 9}));
  mosaic.SetDuration(3, 0, 1);
  EXPECT_TRUE(mosaic.frames.empty());
  mosaic.SetDuration(std::vector<int>{4, 2});
  EXPECT_EQ(mosaic.frames, (std::vector<int>{4, 2}));
}

TEST(Mosaic, ProjectsCornersAboutTheCentre) {
  Mosaic mosaic(101, 51);
  HomographySet set;
  Matrix twice = Matrix::GetIdentity(3);
  twice(0, 0) = twice(1, 1) = 2.0;
  set.Set(0, twice);
  set.AppendRange(0, 0);
  ASSERT_TRUE(mosaic.SetRegistration(set));
  mosaic.SetDuration(0, 1, 1);
  mosaic.ProjectCorners();
  ASSERT_EQ(mosaic.corners.size(), 1u);
  const Quadrilateral& outline = mosaic.corners[0];
  EXPECT_EQ(outline.corners[0].x, -50.0);  // 2 (0 - 50) + 50
  EXPECT_EQ(outline.corners[0].y, -25.0);
  EXPECT_EQ(outline.corners[1].x, 150.0);
  EXPECT_EQ(outline.corners[2].y, 75.0);
  EXPECT_EQ(outline.corners[3].x, -50.0);
}

TEST(Mosaic, DimensionsHoldAllFramesAndAreBounded) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{-30.5, 0.5}, {0.5, 20.5}})));
  mosaic.SetDuration(0, 2, 1);
  EXPECT_TRUE(mosaic.CalculateDimensions());
  EXPECT_EQ(mosaic.mosaicWidth, 132);   // from floor(-0.5) to ceil(99 + 30.5)
  EXPECT_EQ(mosaic.mosaicHeight, 101);  // from floor(-20.5) to ceil(79 - 0.5)
  EXPECT_EQ(mosaic.originOffset.x, 51.0);
  EXPECT_EQ(mosaic.originOffset.y, 61.0);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{-9901, 0}, {0, 0}})));
  EXPECT_FALSE(mosaic.CalculateDimensions());
}

TEST(Mosaic, LocatesPlanePositionsInFrames) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{-30.5, 0.5}, {0.5, 20.5}})));
  mosaic.SetDuration(0, 2, 1);
  ASSERT_TRUE(mosaic.CalculateDimensions());
  const Point2D location = mosaic.LocationInFrame(51, 61, 1);  // where the frames' centre lies in the plane
  EXPECT_NEAR(location.x, 50 - 0.5, 1e-9);
  EXPECT_NEAR(location.y, 40 - 20.5, 1e-9);
  const Point2D unknown = mosaic.LocationInFrame(50, 60, 7);
  EXPECT_EQ(unknown.x, 0.0);
  EXPECT_EQ(unknown.y, 0.0);
  EXPECT_EQ(unknown.id, -1);
  EXPECT_EQ(unknown.weight, 1.0);
  EXPECT_TRUE(mosaic.GetProjection(7).IsIdentity());
  EXPECT_TRUE(mosaic.GetInverseProjection(7).IsIdentity());
  EXPECT_NEAR(mosaic.CalculateCentreDistance(51, 61, 1), std::hypot(0.5, 20.5), 1e-9);
}

TEST(Mosaic, AFrameOutsideTheRangesHasTheIdentityForItsInverse) {
  HomographySet set;
  set.Set(0, Shift(3, 4));
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(set));
  EXPECT_TRUE(mosaic.GetInverseProjection(0).IsIdentity());
  const Point2D location = mosaic.LocationInFrame(10, 20, 0);
  EXPECT_EQ(location.x, 60.0);  // on from the centre, which is the plane's origin here
  EXPECT_EQ(location.y, 60.0);
}

TEST(Mosaic, APlaneBeyondAllNumbersIsTooLarge) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{-3e9, 0}, {3e9, 0}})));
  mosaic.SetDuration(0, 2, 1);
  EXPECT_FALSE(mosaic.CalculateDimensions());
  EXPECT_EQ(mosaic.mosaicWidth, std::numeric_limits<int>::max());
}

TEST(Mosaic, ListsTheFramesThatCoverAPosition) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{0, 0}, {60, 0}, {0, 0}, {30, 0}})));
  mosaic.SetDuration(0, 4, 1);
  EXPECT_EQ(mosaic.InFrames(-50 + 20, 0), (std::vector<int>{0, 2}));  // the plane counts from the centre
  EXPECT_EQ(mosaic.InFrames(-50.9, 0), (std::vector<int>{0, 2})) << "within a pixel of the edge";
  EXPECT_TRUE(mosaic.InFrames(-51, 0).empty());

  std::vector<int> frames;
  std::vector<Point2D> points;
  mosaic.InFrames(40, 0, frames, points, 2, 3);
  EXPECT_EQ(frames, (std::vector<int>{2, 1, 3})) << "outward from frame 2, backward first";
  ASSERT_EQ(points.size(), 3u);
  EXPECT_NEAR(points[0].x, 90.0, 1e-9);
  EXPECT_NEAR(points[1].x, 30.0, 1e-9);
  EXPECT_NEAR(points[2].x, 60.0, 1e-9);
  mosaic.InFrames(40, 0, frames, points, -1, 10);
  EXPECT_EQ(frames, (std::vector<int>{0, 1, 2, 3})) << "a negative centre begins at the start of the list";
}

TEST(Mosaic, ReprojectingOnAFrameMakesItsOwnPixelsThePlane) {
  Mosaic mosaic(100, 80);
  ASSERT_TRUE(mosaic.SetRegistration(Shifts(0, {{5, 0}, {15, 2}})));
  mosaic.ReprojectMatrices(1);
  EXPECT_TRUE(mosaic.GetProjection(1).IsIdentity());
  EXPECT_NEAR(mosaic.GetProjection(0)(0, 2), -10.0, 1e-9);
  EXPECT_NEAR(mosaic.GetInverseProjection(0)(0, 2), 10.0, 1e-9);
  mosaic.ReprojectMatrices(Shift(1, 1));
  EXPECT_NEAR(mosaic.GetProjection(0)(0, 2), 4.0, 1e-9) << "from what was registered, not from the last plane";
  mosaic.ReprojectMatrices(0);
  EXPECT_TRUE(mosaic.GetProjection(0).IsIdentity());
  mosaic.ReprojectMatrices(mosaic.projections[1]);  // a reference that the reprojection itself replaces
  EXPECT_NEAR(mosaic.GetProjection(1)(0, 2), 5.0, 1e-9);
}

TEST(Mosaic, AccumulatesFrameToFrameMotionWithinEachRange) {
  HomographySet in = Shifts(0, {{1, 0}, {2, 0}});
  in.Set(5, Shift(8, 0) * 2.0);
  in.AppendRange(5, 5);
  HomographySet out;
  Mosaic(100, 80).AccumulateHomographies(in, out);
  Matrix m;
  ASSERT_TRUE(out.Get(1, m));
  EXPECT_EQ(m(0, 2), 3.0);
  ASSERT_TRUE(out.Get(5, m));
  EXPECT_EQ(m(0, 2), 8.0) << "a range begins anew, scaled to 1 in the corner";
  EXPECT_EQ(out.range.data.size(), 2u);
}

}  // namespace
}  // namespace Vorn
