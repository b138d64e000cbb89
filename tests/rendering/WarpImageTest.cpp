#include "rendering/WarpImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "imaging/ImageInterpolator.h"

namespace Vorn {
namespace {

Matrix M(const std::vector<double>& values) {
  Matrix m(3, 3);
  m = values;
  return m;
}

Matrix Shift(double x, double y) { return M({1, 0, x, 0, 1, y, 0, 0, 1}); }
Matrix Scale(double x, double y) { return M({x, 0, 0, 0, y, 0, 0, 0, 1}); }
Matrix Rotation(double radians) {
  const double c = std::cos(radians), s = std::sin(radians);
  return M({c, -s, 0, s, c, 0, 0, 0, 1});
}

void ExpectRectangle(const Rectangle& r, int tlx, int tly, int brx, int bry) {
  EXPECT_EQ(r.tlx, tlx);
  EXPECT_EQ(r.tly, tly);
  EXPECT_EQ(r.brx, brx);
  EXPECT_EQ(r.bry, bry);
}

void ExpectPoint(const Point2D& p, double x, double y) {
  EXPECT_NEAR(p.x, x, 1e-9);
  EXPECT_NEAR(p.y, y, 1e-9);
}

template <typename Call>
std::string ErrorsOf(Call call) {
  testing::internal::CaptureStderr();
  call();
  return testing::internal::GetCapturedStderr();
}

TEST(WarpImage, StartsAsTheIdentityWithEverythingOff) {
  const WarpImage warp;
  EXPECT_TRUE(warp.forward->IsIdentity());
  EXPECT_TRUE(warp.inverse->IsIdentity());
  ExpectPoint(warp.offset, 0, 0);
  ExpectPoint(warp.centre, 0, 0);
  EXPECT_FALSE(warp.autoWindow);
  EXPECT_FALSE(warp.matchTarget);
  EXPECT_FALSE(warp.keepOffset);
  EXPECT_FALSE(warp.inscribed);
  EXPECT_EQ(warp.interpolation, 3);
}

TEST(WarpImage, IsMadeFromAMatrixOfThreeByThreeOnly) {
  const WarpImage scaled(Scale(2, 4));
  EXPECT_EQ((*scaled.forward)(0, 0), 2.0);
  EXPECT_NEAR((*scaled.inverse)(1, 1), 0.25, 1e-12);
  EXPECT_TRUE(WarpImage(Matrix(2, 3)).forward->IsIdentity());
  EXPECT_TRUE(WarpImage(Matrix()).inverse->IsIdentity());
}

TEST(WarpImage, CopiesAreApart) {
  WarpImage first(Scale(2, 2));
  first.centre = Point2D(3, 4);
  first.offset = Point2D(5, 6);
  first.autoWindow = first.matchTarget = first.keepOffset = first.inscribed = true;
  first.window = Rectangle(1, 2, 3, 4);
  first.interpolation = 0;
  WarpImage copy(first), assigned;
  assigned = first;
  first.SetMatrix(Scale(8, 8));
  for (const WarpImage* each : {&copy, &assigned}) {
    EXPECT_EQ((*each->forward)(0, 0), 2.0);
    EXPECT_NEAR((*each->inverse)(0, 0), 0.5, 1e-12);
    ExpectPoint(each->centre, 3, 4);
    ExpectPoint(each->offset, 5, 6);
    EXPECT_TRUE(each->autoWindow && each->matchTarget && each->keepOffset && each->inscribed);
    ExpectRectangle(each->window, 1, 2, 3, 4);
    EXPECT_EQ(each->interpolation, 0);
  }
}

TEST(WarpImage, SetsTheInverseOfAMatrix) {
  WarpImage warp;
  warp.SetMatrix(M({1.1, 0.2, 30, -0.1, 0.9, -12, 1e-4, 2e-4, 1.05}));
  EXPECT_TRUE((*warp.forward * *warp.inverse).IsIdentity());
}

TEST(WarpImage, ASingularMatrixHasItsPseudoInverse) {
  WarpImage warp;
  EXPECT_EQ(ErrorsOf([&] { warp.SetMatrix(Scale(2, 0)); }), "");
  EXPECT_NEAR((*warp.inverse)(0, 0), 0.5, 1e-12);
  EXPECT_NEAR((*warp.inverse)(1, 1), 0.0, 1e-12);
  EXPECT_NEAR((*warp.inverse)(2, 2), 1.0, 1e-12);
}

TEST(WarpImage, ProjectsPointsAboutTheCentreAndBack) {
  WarpImage warp(M({2, 0, 1, 0, 3, 2, 0, 0.01, 1}));
  warp.centre = Point2D(10, 20);
  Point2D p(15, 30);  // (5, 10) from the centre, w = 1.1
  warp.ProjectPoint(p);
  ExpectPoint(p, 11 / 1.1 + 10, 32 / 1.1 + 20);
  warp.BackProjectPoint(p);
  ExpectPoint(p, 15, 30);
  const Matrix other = Shift(7, 8);
  warp.warpPoint(p, &other);
  ExpectPoint(p, 22, 38);
}

TEST(WarpImage, PointAtInfinityIsNotFinite) {
  WarpImage warp;
  warp.SetMatrix(M({1, 0, 0, 0, 1, 0, 0.1, 0, 0}));
  Point2D p(0, 5);
  warp.ProjectPoint(p);
  EXPECT_FALSE(std::isfinite(p.y));
}

TEST(WarpWindow, BoundsTheWarpedCorners) {
  WarpImage warp;
  Rectangle r;
  warp.CalculateWarpWindow(101, 51, r);
  ExpectRectangle(r, 0, 0, 100, 50);
  warp.SetMatrix(Shift(2.5, -3.25));
  warp.CalculateWarpWindow(101, 51, r);
  ExpectRectangle(r, 2, -4, 103, 47);
  ExpectRectangle(warp.window, 2, -4, 103, 47);
  warp.SetMatrix(Scale(-1, 2));
  warp.CalculateWarpWindow(101, 51, r);
  ExpectRectangle(r, -100, 0, 0, 100);
  warp.SetMatrix(M({1, 0, 0, 0, 1, 0, 0, 0.01, 1}));  // the lower edge is seen from 1.5 times as far
  warp.CalculateWarpWindow(101, 51, r);
  ExpectRectangle(r, 0, 0, 100, 34);
}

TEST(WarpWindow, TakesAnotherMatrixWithoutKeepingIt) {
  WarpImage warp;
  Rectangle r;
  warp.CalculateWarpWindow(11, 11, Shift(5, 6), r);
  ExpectRectangle(r, 5, 6, 15, 16);
  EXPECT_TRUE(warp.forward->IsIdentity());
  EXPECT_TRUE(warp.inverse->IsIdentity());
}

TEST(WarpWindow, OffsetCountsOnlyWhenItIsKept) {
  WarpImage warp(Scale(2, 2));
  warp.offset = Point2D(3, 4);
  Rectangle r;
  warp.CalculateWarpWindow(11, 11, r);
  ExpectRectangle(r, 0, 0, 20, 20);
  ExpectPoint(warp.offset, 3, 4);  // ignored, not reset
  warp.keepOffset = true;
  warp.CalculateWarpWindow(11, 11, r);
  ExpectRectangle(r, -6, -8, 14, 12);
}

TEST(WarpWindow, IsTheInscribedRectangleOnRequest) {
  WarpImage warp(Rotation(0.1));
  warp.centre = Point2D(50, 25);
  Rectangle bounding, r;
  warp.CalculateWarpWindow(101, 51, bounding);
  warp.inscribed = true;
  warp.CalculateWarpWindow(101, 51, r);
  EXPECT_GT(r.tlx, bounding.tlx);
  EXPECT_LT(r.bry, bounding.bry);
  ExpectRectangle(warp.window, bounding.tlx, bounding.tly, bounding.brx, bounding.bry);
}

TEST(WarpWindow, WhatNoIntHoldsEndsAtItsRange) {
  WarpImage warp(Scale(1e12, 1));
  Rectangle r;
  warp.CalculateWarpWindow(101, 51, r);
  ExpectRectangle(r, 0, 0, std::numeric_limits<int>::max(), 50);
}

/// The inscribed rectangle of a frame that was warped about its centre.
Rectangle InscribedIn(const Matrix& m, int w, int h) {
  WarpImage warp(m);
  warp.centre = Point2D((w - 1) / 2.0, (h - 1) / 2.0);
  warp.inscribed = true;
  Rectangle r(-1, -2, -3, -4);
  EXPECT_EQ(ErrorsOf([&] { warp.CalculateWarpWindow(w, h, r); }), "");
  return r;
}

TEST(InscribedRectangle, OfAnUprightFrameIsTheFrame) {
  // The diagonals hit the corners, each on two sides: what is left of the eight hits is four.
  ExpectRectangle(InscribedIn(Matrix::GetIdentity(3), 101, 51), 0, 0, 100, 50);
  ExpectRectangle(InscribedIn(Shift(4, -3), 1920, 1080), 4, -3, 1923, 1076);
  ExpectRectangle(InscribedIn(Scale(0.5, 0.5), 101, 61), 25, 15, 75, 45);
  ExpectRectangle(InscribedIn(Shift(0.4, 0.4), 101, 51), 1, 1, 100, 50);
}

TEST(InscribedRectangle, KeepsTheAspectInAFrameOfAnother) {
  // Squeezed to half its width: the diagonals of the old aspect hit left and right sides at a quarter of the height.
  ExpectRectangle(InscribedIn(Scale(0.5, 1), 101, 61), 25, 15, 75, 45);
  ExpectRectangle(InscribedIn(Scale(1, 0.5), 101, 61), 25, 15, 75, 45);
}

TEST(InscribedRectangle, OfAFrameTurnedByHalfARightAngle) {
  // The diagonals of the square hit the sides' middles, 50 from the centre: 35.36 in x and in y.
  const double eighth = std::atan(1.0);
  ExpectRectangle(InscribedIn(Rotation(eighth), 101, 101), 15, 15, 85, 85);
}

TEST(InscribedRectangle, OfATurnedFrameReachesToTheNearestSide) {
  constexpr int w = 641, h = 361;
  const double a = (w - 1) / 2.0, b = (h - 1) / 2.0, phi = std::atan2(b, a);
  for (const double theta : {0.02, -0.05, 0.2, -0.4, 0.7}) {
    // Along a ray, a side is reached where the first of the turned frame's half sizes is used up.
    const auto reach = [&](double angle) {
      return std::min(a / std::fabs(std::cos(angle - theta)), b / std::fabs(std::sin(angle - theta)));
    };
    const double t = std::min(reach(phi), reach(-phi));
    const auto outward = [](double v) { return static_cast<int>(std::ceil(v)); };
    const auto inward = [](double v) { return static_cast<int>(std::floor(v)); };
    ExpectRectangle(InscribedIn(Rotation(theta), w, h), outward(a - t * std::cos(phi)), outward(b - t * std::sin(phi)),
                    inward(a + t * std::cos(phi)), inward(b + t * std::sin(phi)));
  }
}

TEST(InscribedRectangle, LiesInsideAFrameInPerspective) {
  constexpr int w = 641, h = 361;
  const Matrix m = M({1.02, 0.05, 6, -0.04, 0.97, -4, 2e-4, -3e-4, 1});
  WarpImage warp(m);
  warp.centre = Point2D(320, 180);
  warp.inscribed = true;
  Rectangle r;
  warp.CalculateWarpWindow(w, h, r);
  ASSERT_TRUE(r.IsValid());
  EXPECT_GT(r.brx - r.tlx, w / 2);
  for (Point2D p : {Point2D(r.tlx, r.tly), Point2D(r.brx, r.tly), Point2D(r.tlx, r.bry), Point2D(r.brx, r.bry)}) {
    warp.BackProjectPoint(p);
    EXPECT_GE(p.x, -0.001);
    EXPECT_GE(p.y, -0.001);
    EXPECT_LE(p.x, w - 1 + 0.001);
    EXPECT_LE(p.y, h - 1 + 0.001);
  }
}

TEST(InscribedRectangle, RoundsTheCornersToThreeDecimals) {
  ExpectRectangle(InscribedIn(Shift(0.0004, -0.0004), 101, 51), 0, 0, 100, 50);
  ExpectRectangle(InscribedIn(Shift(0.0006, -0.0006), 101, 51), 1, 0, 100, 49);
  const WarpImage warp;
  Point2D tl(0.12345, 0), tr(100.12345, 0), bl(0.12345, 50), br(100.12345, 50);
  Rectangle r;
  warp.calculateInscribedRectangle(101, 51, tl, tr, bl, br, r);
  EXPECT_DOUBLE_EQ(tl.x, 0.123);
  EXPECT_DOUBLE_EQ(br.x, 100.123);
  ExpectRectangle(r, 1, 0, 100, 50);
}

TEST(InscribedRectangle, OfFiveHitsTheNearestOfEachQuadrantCounts) {
  // The frame is folded over: the sides' crossing in the centre is a fifth hit, and counts as lower right.
  const WarpImage warp;
  Point2D tl(0, 0), tr(10, 10), bl(0, 10), br(10, 0);
  Rectangle r;
  warp.calculateInscribedRectangle(11, 11, tl, tr, bl, br, r);
  ExpectPoint(tl, 0, 0);
  ExpectPoint(tr, 10, 0);
  ExpectPoint(bl, 0, 10);
  ExpectPoint(br, 5, 5);
  ExpectRectangle(r, 0, 0, 5, 5);
}

TEST(InscribedRectangle, AQuadrantWithoutAHitIsToldAndLeavesTheRectangle) {
  // A frame bent inwards so far that the centre, (2.75, 2.75), lies outside of it: six hits, none of them lower right.
  const WarpImage warp;
  Point2D tl(0, 0), tr(10, 0), bl(0, 10), br(1, 1);
  Rectangle r(1, 2, 3, 4);
  EXPECT_EQ(ErrorsOf([&] { warp.calculateInscribedRectangle(11, 11, tl, tr, bl, br, r); }),
            "WarpImage: Error - could not find valid inscribed corners\n");
  ExpectRectangle(r, 1, 2, 3, 4);
}

TEST(InscribedRectangle, AMissingCentreIsToldWithCornersAndMiddles) {
  // So flat that the lines between the middles have one slope within a millionth, and intercepts half a pixel apart.
  const WarpImage warp;
  Point2D tl(998000, 997999.9995), tr(1000000, 1000000.0005), bl(1000000, 999999.9995), br(1002000, 1002000.0005);
  Rectangle r;
  EXPECT_EQ(ErrorsOf([&] { warp.calculateInscribedRectangle(101, 51, tl, tr, bl, br, r); }),
            "WarpImage: Error - warped boundary has no centre!\n"
            " Border CW: 998000, 998000; 1e+06, 1e+06; 1.002e+06, 1.002e+06; 1e+06, 1e+06 Line (999000, 999000) - "
            "(1.001e+06, 1.001e+06) no intersection with (1.001e+06, 1.001e+06) - (999000, 999000)\n");
}

TEST(InscribedRectangle, FramesWithoutSizeOrNumbersAreSurvived) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const int size : {1, 0}) InscribedIn(Matrix::GetIdentity(3), size, size);
  WarpImage warp(M({nan, 0, 0, 0, 1, 0, 0, 0, 1}));
  warp.inscribed = true;
  Rectangle r;
  EXPECT_NE(ErrorsOf([&] { warp.CalculateWarpWindow(101, 51, r); }).find("has no centre!"), std::string::npos);
}

/// A picture whose codes tell their place.
Image Picture(PixelType type, int w = 12, int h = 8) {
  Image image(w, h, type);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      Pixel p(10 + 8 * x, 20 + 4 * y, 60 + x + y, image.GenerateWhite().A(), image.space);
      image.SetPixel(x, y, p);
    }
  return image;
}

void ExpectSame(const Image& a, const Image& b) {
  ASSERT_EQ(a.width, b.width);
  ASSERT_EQ(a.height, b.height);
  ASSERT_EQ(a.type, b.type);
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) ASSERT_EQ(a(x, y), b(x, y)) << x << ' ' << y;
}

constexpr PixelType someTypes[] = {L8,      LA16,     L10,   YUV24,  YUVA32, Y1UVX32, Y1UV10, Y1UV16, YUVA64,
                                   YUVP444, YUVAP444, BGR24, ARGB32, RGB30,  RGB48,   ARGB64, RGBA64};

TEST(WarpProject, IdentityGivesThePictureInEveryFamily) {
  for (const PixelType type : someTypes) {
    SCOPED_TRACE(type);
    const Image source = Picture(type);
    ExpectSame(WarpImage().Project(source, false), source);
  }
}

TEST(WarpProject, KeepsRangesAndSpace) {
  Image source(6, 4, YUVA32);
  source.SetColourSpace(Rec601);
  source.SetRangeA(0, 255);
  source.Clear(Pixel(100, 50, 60, 200, Rec601));
  const Image warped = WarpImage().Project(source, false);
  EXPECT_TRUE(warped.IsSameFormat(source));
  EXPECT_EQ(warped(2, 2), Pixel(100, 50, 60, 200, Rec601));
}

TEST(WarpProject, MovesThePictureAndLeavesBlack) {
  const Image source = Picture(RGBA32);
  WarpImage warp;
  const Image warped = warp.Project(source, Shift(3, 2), false);
  EXPECT_EQ((*warp.forward)(0, 2), 3.0);  // the matrix is set
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 12; ++x)
      EXPECT_EQ(warped(x, y), x < 3 || y < 2 ? Pixel(0, 0, 0, 0) : source(x - 3, y - 2)) << x << ' ' << y;
}

TEST(WarpProject, BlendsBetweenPixelsByTheModeSet) {
  const Image source = Picture(RGB24);
  WarpImage warp(Shift(-0.5, 0));
  EXPECT_EQ(warp.Project(source, false)(4, 4).R(), 10 + 8 * 4 + 4);
  EXPECT_EQ(warp.Project(source, false)(11, 4).R(), 49);  // half of the last, 98
  warp.interpolation = 7;
  EXPECT_EQ(warp.Project(source, false)(4, 4).R(), 10 + 8 * 4);  // (4.5, 4) truncated
  warp.interpolation = 1;
  EXPECT_EQ(warp.Project(source, false)(10, 4).R(), 100);  // (9 (90 + 98) - 82 - 0) / 16 = 100.6, truncated
}

TEST(WarpProject, LimitsWhatOvershoots) {
  Image source(12, 4, LA16);
  source.Clear(Pixel(0, 255));
  for (int y = 0; y < 4; ++y)
    for (int x = 6; x < 12; ++x) source.SetPixel(x, y, Pixel(255, 255));
  WarpImage warp(Shift(-0.5, 0));
  warp.interpolation = 2;
  const Image warped = warp.Project(source, false);
  EXPECT_EQ(warped(6, 1), Pixel(255, 255));   // 271 without
  EXPECT_EQ(warped(4, 1), Pixel(0, 255));     // -16 without
  EXPECT_EQ(warped(10, 1), Pixel(255, 255));  // alpha 271 without: it would wrap round to 15
}

TEST(WarpProject, AlphaRaisesTheType) {
  const Image source = Picture(RGB24);
  WarpImage warp(Shift(2, 0));
  const Image warped = warp.Project(source, true);
  EXPECT_EQ(warped.type, RGBA32);
  EXPECT_EQ(warped(1, 3).A(), 0);
  EXPECT_EQ(warped(2, 3), source(0, 3));
  EXPECT_EQ(warp.Project(Picture(YUV24), true).type, YUVA32);
  EXPECT_EQ(warp.Project(Picture(YUV24), true)(1, 3).A(), 0);
  EXPECT_EQ(warp.Project(Picture(YUV24), true)(2, 3).A(), 219);
  EXPECT_EQ(warp.Project(Picture(L8), true).type, LA16);
  EXPECT_EQ(warp.Project(Picture(YUVA32), true).type, YUVA32);
  EXPECT_EQ(warp.Project(Picture(Y2UV32), true).type, Y2UV32);  // there is no such type with a matte
  EXPECT_EQ(warp.Project(source, Shift(1, 0), true).type, RGBA32);
}

TEST(WarpProject, ActsAboutTheCentre) {
  const Image source = Picture(L8);
  WarpImage warp(Scale(-1, -1));
  warp.centre = Point2D(5.5, 3.5);
  const Image warped = warp.Project(source, false);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 12; ++x) EXPECT_EQ(warped(x, y), source(11 - x, 7 - y)) << x << ' ' << y;
}

TEST(WarpProject, AutoWindowHoldsTheWholeWarpedFrame) {
  const Image source = Picture(L8);
  WarpImage warp(Shift(-30, 17));
  warp.autoWindow = true;
  ExpectSame(warp.Project(source, false), source);
  warp.SetMatrix(Scale(2, 3));
  const Image larger = warp.Project(source, false);
  ASSERT_EQ(larger.width, 23);
  ASSERT_EQ(larger.height, 22);
  EXPECT_EQ(larger(8, 9), source(4, 3));
  EXPECT_EQ(larger(9, 9).Luma(), source(4, 3).Luma() + 4);
  ExpectRectangle(warp.window, 0, 0, 22, 21);
}

TEST(WarpProject, AutoWindowCanBeTheInscribedRectangle) {
  const Image source = Picture(L8, 101, 101);
  WarpImage warp(Rotation(std::atan(1.0)));
  warp.centre = Point2D(50, 50);
  warp.autoWindow = warp.inscribed = true;
  Image flat(101, 101, L8);
  flat.Clear(Pixel(77, 255));
  const Image inside = warp.Project(flat, true);
  ASSERT_EQ(inside.width, 71);
  ASSERT_EQ(inside.height, 71);
  for (int y = 0; y < 71; ++y)
    for (int x = 0; x < 71; ++x) ASSERT_EQ(inside(x, y), Pixel(77, 255)) << x << ' ' << y;  // no empty corner
}

TEST(WarpProject, OffsetIsResetUnlessKept) {
  const Image source = Picture(L8);
  WarpImage warp;
  warp.offset = Point2D(3, 2);
  ExpectSame(warp.Project(source, false), source);
  ExpectPoint(warp.offset, 0, 0);
  Image target, matte;
  warp.offset = Point2D(3, 2);
  warp.Project(source, target, matte, nullptr);
  ExpectPoint(warp.offset, 0, 0);
  warp.offset = Point2D(3, 2);
  warp.Project(source, target, matte, Matrix::GetIdentity(3), nullptr);
  ExpectPoint(warp.offset, 0, 0);
}

TEST(WarpProject, KeptOffsetMovesWindowAndSource) {
  const Image source = Picture(L8);
  WarpImage warp(Scale(2, 2));
  warp.offset = Point2D(4, 2);
  warp.keepOffset = true;
  const Image warped = warp.Project(source, false);
  ExpectPoint(warp.offset, 4, 2);
  ASSERT_EQ(warped.width, 12);
  // Column 6 is x = 2 of the plane, so 1 of the source's, which with the offset is column 5.
  EXPECT_EQ(warped(6, 4), source(5, 3));
  warp.autoWindow = true;
  const Image whole = warp.Project(source, false);
  ExpectRectangle(warp.window, -8, -4, 14, 10);
  EXPECT_EQ(whole(0, 0), source(0, 0));
  EXPECT_EQ(whole(22, 14), source(11, 7));
}

TEST(WarpProject, FractionalOffsetTruncatesTheWindow) {
  const Image source = Picture(RGBA32);
  WarpImage warp;
  warp.offset = Point2D(0.5, 0.5);
  warp.keepOffset = true;
  const Image warped = warp.Project(source, false);  // the window is (0, 0) to (10, 6)
  ASSERT_EQ(warped.width, 12);
  EXPECT_EQ(warped(3, 3).R(), 10 + 8 * 3 + 4);
  EXPECT_EQ(warped(11, 3), Pixel(0, 0, 0, 0));
  EXPECT_EQ(warped(3, 7), Pixel(0, 0, 0, 0));
  warp.offset = Point2D(-1e300, 1e300);
  EXPECT_EQ(warp.Project(source, false)(0, 0), Pixel(0, 0, 0, 0));
}

TEST(WarpProject, NoPictureIsMadeOfAWindowBeyondMeasure) {
  const Image source = Picture(L8);
  WarpImage warp(M({1, 0, 0, 0, 1, 0, -1 / 10.999999, 0, 1}));
  warp.autoWindow = true;
  EXPECT_FALSE(warp.Project(source, false).valid);
  Image target = Picture(RGB24), matte = Picture(L16);
  warp.Project(source, target, matte, nullptr);
  ExpectSame(target, Picture(RGB24));
  ExpectSame(matte, Picture(L16));
  EXPECT_FALSE(warp.Project(Image(), false).valid);
}

TEST(WarpProject, FloatFramesKeepTheirAlphaAlone) {
  Image source(6, 4, ARGBSF);
  source.Clear(Pixel(1000, 2000, 3000, 65535));
  const Pixel p = WarpImage().Project(source, false)(2, 2);
  EXPECT_EQ(p.R(), 0);
  EXPECT_EQ(p.A(), 65535);
}

TEST(WarpProjectInto, FillsTargetAndMatte) {
  const Image source = Picture(RGB24);
  Image target = Picture(L16, 3, 3), matte;
  WarpImage warp(Shift(2.5, 0));
  warp.Project(source, target, matte, nullptr);
  ASSERT_EQ(target.type, RGB24);
  ASSERT_EQ(target.width, 12);
  ASSERT_EQ(matte.type, L8);
  ASSERT_EQ(matte.width, 12);
  ASSERT_EQ(matte.height, 8);
  EXPECT_EQ(matte(1, 3).Luma(), 0);
  EXPECT_EQ(matte(2, 3).Luma(), 128);  // half covered: 127.5, rounded by the interpolation
  EXPECT_EQ(matte(3, 3).Luma(), 255);
  EXPECT_EQ(target(3, 3).R(), 10 + 4);
  EXPECT_EQ(target(1, 3).R(), 0);
}

TEST(WarpProjectInto, MatteFollowsTheDepth) {
  const struct {
    PixelType source, matte;
    int opaque, half;
  } rows[] = {{L8, L8, 255, 128},          {YUVA32, L8, 255, 128},      {L10, L10, 1023, 512},
              {Y1UV10, L10, 1023, 511},    {RGB30, L10, 1023, 512},     {RGB48, L16, 65535, 32768},
              {Y1UV12, L16, 65535, 32767}, {Y1UV14, L16, 65535, 32767}, {YUVA64, L16, 65535, 32767},
              {ARGB64, L16, 65535, 32768}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.source);
    Image target, matte;
    WarpImage(Shift(2.5, 0)).Project(Picture(row.source), target, matte, nullptr);
    EXPECT_EQ(matte.type, row.matte);
    EXPECT_EQ(matte(5, 3).Luma(), row.opaque);
    EXPECT_EQ(matte(2, 3).Luma(), row.half);
    EXPECT_EQ(matte(1, 3).Luma(), 0);
  }
}

TEST(WarpProjectInto, MatteIsTruncatedAlphaOnItsOwnScale) {
  Image source = Picture(YUVA32);
  source.SetPixel(5, 5, Pixel(1, 2, 3, 100, Rec709));
  Image target, matte;
  WarpImage().Project(source, target, matte, nullptr);
  EXPECT_EQ(matte(5, 5).Luma(), 116);  // 100 * 255 / 219 = 116.4
  EXPECT_EQ(target(5, 5).A(), 100);
}

TEST(WarpProjectInto, WhatLiesOutsideTheClipStaysCleared) {
  const Image source = Picture(RGB24);
  Image target, matte;
  const Rectangle clip(3, 2, 8, 5);
  WarpImage warp;
  warp.Project(source, target, matte, Shift(1, 0), &clip);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 12; ++x) {
      const bool inside = x - 1 >= 3 && x - 1 <= 8 && y >= 2 && y <= 5;  // the edges are inside
      EXPECT_EQ(matte(x, y).Luma(), inside ? 255 : 0) << x << ' ' << y;
      EXPECT_EQ(target(x, y).R(), inside ? source(x - 1, y).R() : 0) << x << ' ' << y;
    }
  warp.Project(source, target, matte, &clip);
  EXPECT_EQ(matte(2, 3).Luma(), 0);
  EXPECT_EQ(matte(3, 2).Luma(), 255);
  EXPECT_EQ(matte(8, 5).Luma(), 255);
  EXPECT_EQ(matte(8, 6).Luma(), 0);
  warp.Project(source, target, matte, Shift(0.25, 0), &clip);
  EXPECT_EQ(matte(3, 3).Luma(), 0);  // its source is at 2.75
  EXPECT_EQ(matte(4, 3).Luma(), 255);
}

TEST(WarpProjectInto, ClearedVideoIsBlack) {
  const Image source = Picture(YUVA32);
  Image target, matte;
  const Rectangle nothing(0, 0, -1, -1);
  WarpImage().Project(source, target, matte, &nothing);
  EXPECT_EQ(target(4, 4), source.GenerateBlack());
  EXPECT_EQ(matte(4, 4).Luma(), 0);
}

TEST(WarpProjectInto, MatchTargetTakesTheTargetsSizeUnlessTheWindowDecides) {
  const Image source = Picture(L8);
  Image target = Picture(RGB24, 20, 5), matte;
  WarpImage warp;
  warp.matchTarget = true;
  warp.Project(source, target, matte, nullptr);
  ASSERT_EQ(target.width, 20);
  ASSERT_EQ(target.height, 5);
  EXPECT_EQ(target.type, L8);
  EXPECT_EQ(matte.width, 20);
  EXPECT_EQ(target(4, 4), source(4, 4));
  EXPECT_EQ(matte(11, 4).Luma(), 255);
  EXPECT_EQ(matte(12, 4).Luma(), 0);
  warp.autoWindow = true;
  warp.Project(source, target, matte, nullptr);
  EXPECT_EQ(target.width, 12);
  Image first = warp.Project(source, false);  // the forms without a target know nothing of it
  EXPECT_EQ(first.width, 12);
}

TEST(WarpProjectInto, MatrixFormLeavesTheMatricesAlone) {
  const Image source = Picture(L8);
  Image target, matte;
  WarpImage warp(Scale(2, 2));
  warp.autoWindow = true;
  warp.Project(source, target, matte, Shift(5, 6), nullptr);
  ExpectSame(target, source);
  ExpectRectangle(warp.window, 5, 6, 16, 13);
  EXPECT_EQ((*warp.forward)(0, 0), 2.0);
  EXPECT_NEAR((*warp.inverse)(0, 0), 0.5, 1e-12);
  warp.autoWindow = false;
  warp.centre = Point2D(5.5, 3.5);
  warp.Project(source, target, matte, Scale(-1, -1), nullptr);
  EXPECT_EQ(target(0, 0), source(11, 7));
}

TEST(WarpProjectInto, MatricesOfOtherSizesCountAsTheIdentity) {
  WarpImage warp;
  warp.SetMatrix(Matrix(2, 2));
  EXPECT_TRUE(warp.forward->IsIdentity());
  Rectangle window;
  warp.CalculateWarpWindow(4, 3, Matrix(1, 1), window);
  EXPECT_EQ(window.brx, 3);
  Image source(4, 3, L8), target, matte;
  source.Clear();
  source.SetPixel(2, 1, Pixel(77, 255));
  warp.Project(source, target, matte, Matrix(1, 9), nullptr);
  EXPECT_EQ(target(2, 1).Luma(), 77);
}

TEST(WarpProjectInto, SingularMatrixServesAsItsOwnInverse) {
  const Image source = Picture(L8);
  Image target, matte;
  WarpImage warp;
  EXPECT_EQ(ErrorsOf([&] { warp.Project(source, target, matte, Scale(1, 0), nullptr); }),
            "Matrix::Inverse() - Singular matrix\n");
  EXPECT_EQ(target(4, 6), source(4, 0));
}

TEST(WarpMatte, CodesAreScaledAndTruncated) {
  const Image source(2, 2, YUVA32), deep(2, 2, L16), shallow(2, 2, L8);
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 219, Rec709), source, deep), 65535);
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 1, Rec709), source, deep), 299);  // 299.2
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 65535), deep, shallow), 255);
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 65534), deep, shallow), 254);
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 65535), deep, deep), 65535);
  EXPECT_EQ(MatteCode(Pixel(0, 0, 0, 200), Image(), shallow), 0);
}

}  // namespace
}  // namespace Vorn
