#include "film/OverlayPainter.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "film/OverlayColours.h"
#include "film/PlannedEffect.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

constexpr float ground = 0.5f;

class OverlayPainterTest : public PlannedEffectTest {
 protected:
  OverlayPainterTest() {
    set(kRenderingType, RenderZoom);
    set(kZoomType, ZoomFull);
    picture.width = width;
    picture.height = height;
  }
  void paint(int frame, const std::vector<FeatureMark>& marks = {}, int turns = 0) {
    picture.samples.assign(4 * static_cast<size_t>(width) * height, ground);
    OverlayPainter(*effect, source->contents(), turns).paint(frame, marks, &picture);
  }
  static FeatureMark mark(FeatureKind kind, float x, float y) {
    FeatureMark made;
    made.kind = kind;
    made.length = 1;
    made.trail[0] = {x, y};
    return made;
  }
  const float* at(int x, int y) const { return picture.samples.data() + 4 * static_cast<size_t>(y * width + x) + 1; }
  void expectColour(int x, int y, const Colour& colour, float tolerance = 0.01f) const {
    EXPECT_NEAR(at(x, y)[0], colour.r, tolerance) << x << "," << y;
    EXPECT_NEAR(at(x, y)[1], colour.g, tolerance) << x << "," << y;
    EXPECT_NEAR(at(x, y)[2], colour.b, tolerance) << x << "," << y;
  }
  /// That nothing was drawn there.
  void expectGround(int x, int y) const { expectColour(x, y, {ground, ground, ground}, 0.0f); }

  FloatPicture picture;
};

TEST_F(OverlayPainterTest, TheCropBorderIsAtItsPlace) {
  // By hand: zoomed by 192 / 160 = 1.2 about (96, 72), the output's left edge comes from 96 - 96.5 / 1.2 = 15.58, its
  // top from 72 - 72.5 / 1.2 = 11.58. On frame 2, which is moved by (4, -3), from 11.58 and 14.58.
  struct Place {
    int frame, left, top;
  };
  for (const Place& place : {Place{0, 16, 12}, Place{2, 12, 15}}) {
    paint(place.frame);
    for (const int y : {30, 50}) {
      EXPECT_GT(at(place.left, y)[0], 0.85f) << place.frame;  // white, of which this pixel has five sixths
      EXPECT_GT(at(place.left - 1, y)[0], 0.6f) << place.frame;
      EXPECT_FLOAT_EQ(at(place.left - 3, y)[0], ground * 0.65f);  // what is cut away is darker
      expectGround(place.left + 3, y);
    }
    for (const int x : {40, 90}) {
      EXPECT_GT(at(x, place.top)[1], 0.85f) << place.frame;
      EXPECT_FLOAT_EQ(at(x, place.top - 3)[1], ground * 0.65f);
      expectGround(x, place.top + 3);
    }
  }
}

TEST_F(OverlayPainterTest, EachKindOfFeatureHasItsColourAndShape) {
  paint(0, {mark(FeatureKind::Tracked, 40, 30), mark(FeatureKind::New, 60, 30), mark(FeatureKind::Lost, 80, 30),
            mark(FeatureKind::Barred, 100, 30), mark(FeatureKind::Still, 120, 30)});
  expectColour(40, 30, overlay::skyBlue);  // a dot
  expectColour(41, 30, overlay::skyBlue);
  expectGround(43, 30);
  expectColour(60, 30, overlay::yellow);  // a plus
  expectColour(62, 30, overlay::yellow);
  expectColour(60, 28, overlay::yellow);
  expectGround(62, 28);
  expectColour(80, 30, overlay::vermilion);  // a cross
  expectColour(82, 32, overlay::vermilion);
  expectColour(78, 32, overlay::vermilion);
  expectGround(80, 33);
  expectGround(82, 30);
  expectGround(100, 30);  // a square, hollow
  for (const int d : {-2, 0, 2}) {
    expectColour(100 + d, 28, overlay::purple);
    expectColour(102, 30 + d, overlay::purple);
  }
  expectGround(120, 30);  // a ring
  expectColour(122, 30, overlay::green);
  expectColour(120, 28, overlay::green);
  expectGround(122, 28 - 1);
}

TEST_F(OverlayPainterTest, ATrackedFeatureHasAFadingTrail) {
  FeatureMark moved = mark(FeatureKind::Tracked, 40, 30);
  moved.length = 3;
  moved.trail[1] = {50, 30};
  moved.trail[2] = {60, 30};
  paint(0, {moved});
  const float near = at(46, 30)[2], far = at(56, 30)[2];
  EXPECT_GT(near, far);
  EXPECT_GT(far, ground);
  expectGround(62, 30);
  expectGround(50, 33);
}

TEST_F(OverlayPainterTest, ThePathJoinsWhereTheCentreWas) {
  for (int frame = 0; frame < frames; ++frame) {
    const Vorn::Matrix step = frame == 0 ? Vorn::Matrix::GetIdentity(3) : Shift(6, 0);
    planner().rawMotion.Set(frame, step);
    planner().trimMotion.Set(frame, step);
    planner().compMotion.Set(frame, Shift(0, -8));  // planned 8 pixels below what was filmed
  }
  paint(2);
  // Frame 0's centre has moved on to (108, 72); that of frame 4 will come from (84, 72).
  expectColour(96, 72, overlay::measured);
  expectColour(96, 80, overlay::planned);
  for (const int x : {101, 106}) {
    expectColour(x, 72, overlay::measured, 0.05f);
    expectColour(x, 80, overlay::planned, 0.05f);
  }
  // What lies ahead is fainter.
  EXPECT_GT(at(87, 80)[1], 0.7f);
  EXPECT_LT(at(87, 80)[1], 0.9f);
  expectGround(112, 72);
  expectGround(80, 80);
}

TEST_F(OverlayPainterTest, TheStripShowsTheEventsAndWhereTheFrameStands) {
  planner().lcf->SetFromData({{0, 2, MotionStill, false}, {3, 4, MotionMoving, false}}, {{0, 4, MotionBroken, false}},
                             {{.comp_type = Hold}, {.comp_type = Linear}}, {{.comp_type = None}});
  planner().motionConfidence.Set(4, 0.0f);
  paint(1);
  // Rows of one colour over most of the picture's width, from the bottom upwards: confidence, vertical, horizontal.
  const auto isRowOf = [&](int y, int from, int to, const Colour& colour) {
    for (int x = from; x < to; ++x)
      if (std::abs(at(x, y)[0] - colour.r) + std::abs(at(x, y)[1] - colour.g) + std::abs(at(x, y)[2] - colour.b) > 0.02)
        return false;
    return true;
  };
  int confidence = -1, down = -1, across = -1;
  for (int y = height - 1; y > height / 2; --y) {
    if (confidence < 0 && isRowOf(y, 110, 150, overlay::green)) confidence = y;
    if (down < 0 && isRowOf(y, 110, 180, overlay::vermilion)) down = y;
    if (across < 0 && isRowOf(y, 90, 100, overlay::skyBlue) && isRowOf(y, 170, 180, overlay::yellow)) across = y;
  }
  ASSERT_GT(across, 0);
  EXPECT_GT(down, across);
  EXPECT_GT(confidence, down);
  EXPECT_TRUE(isRowOf(confidence, 175, 180, overlay::vermilion));  // frame 4 isn't to be trusted
}

TEST_F(OverlayPainterTest, ATurnedClipHasItsStripWhereItIsShownBelow) {
  // Shown a quarter turn clockwise the coded right edge is below.
  paint(0, {}, 1);
  EXPECT_LT(at(width - 2, 100)[0], 0.4f);
  expectGround(60, height - 20);
  EXPECT_EQ(at(20, 100)[0], ground);
}

TEST_F(OverlayPainterTest, TinyPicturesGetNoStripThatWouldHideThem) {
  picture.width = picture.height = 16;
  picture.samples.assign(4 * 16 * 16, ground);
  planner().setWidth(16, 16);
  planner().border_ = {0, 0, 15, 15};
  OverlayPainter(*effect, source->contents(), 0).paint(0, {mark(FeatureKind::Tracked, 4, 13)}, &picture);
  const float* pixel = picture.samples.data() + 4 * (13 * 16 + 4) + 1;
  EXPECT_FLOAT_EQ(pixel[0], overlay::skyBlue.r);
  EXPECT_FLOAT_EQ(pixel[2], overlay::skyBlue.b);
}

TEST(EventKind, FollowsFromTheEventAndItsFit) {
  const std::vector<MotionInterval> events = {{0, 9, MotionStill, false},
                                              {10, 19, MotionMoving, false},
                                              {20, 29, MotionBroken, false},
                                              {30, 39, MotionMoving, false}};
  const std::vector<MotionFixParams> fits = {
      {.comp_type = Hold}, {.comp_type = Linear}, {.comp_type = Linear}, {.comp_type = None}};
  EXPECT_EQ(EventKindAt(events, fits, 0), EventKind::Hold);
  EXPECT_EQ(EventKindAt(events, fits, 9), EventKind::Hold);
  EXPECT_EQ(EventKindAt(events, fits, 10), EventKind::Move);
  EXPECT_EQ(EventKindAt(events, fits, 29), EventKind::Broken);
  EXPECT_EQ(EventKindAt(events, fits, 30), EventKind::AsFilmed);
  EXPECT_EQ(EventKindAt(events, fits, 40), EventKind::AsFilmed);
  EXPECT_EQ(EventKindAt(events, {}, 0), EventKind::AsFilmed);
  EXPECT_EQ(EventKindAt({}, {}, 0), EventKind::AsFilmed);
}

}  // namespace
}  // namespace film
