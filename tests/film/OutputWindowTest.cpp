#include "film/OutputWindow.h"

#include <gtest/gtest.h>

#include <cmath>

#include "film/CentrePath.h"
#include "film/PlannedEffect.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

class OutputWindowTest : public PlannedEffectTest {
 protected:
  std::array<Vorn::Point2D, 4> corners(int frame) { return OutputWindow(*effect).corners(frame); }
  void expectBox(int frame, double left, double top, double right, double bottom) {
    const auto found = corners(frame);
    const double x[] = {left, right, right, left}, y[] = {top, top, bottom, bottom};
    for (size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(found[i].x, x[i], 1e-9) << i;
      EXPECT_NEAR(found[i].y, y[i], 1e-9) << i;
    }
  }

  /// Where the renderer takes a pixel of its output from, by a picture whose red and green tell the place.
  Vorn::Point2D renderedFrom(int frame, int x, int y) {
    OutputRenderer& renderer = *effect->plugIn().ObjC_OR;
    const auto value = [&](unsigned id) { return static_cast<int>(effect->parameters().find(id)->value); };
    renderer.setWidth(width, height);
    renderer.setRenderWidth(width, height);
    renderer.setInvertedAxes(false);
    renderer.setHighQuality(false);
    renderer.setCropAspect(value(kCropAspect), value(kCropEqual), value(kCropCentre));
    renderer.setRenderMode(value(kRenderingType));
    renderer.setZoomMode(value(kZoomType));
    renderer.setZoomAmount(static_cast<float>(effect->parameters().find(kVariableZoomAmount)->value));
    renderer.setCompensatingMotion(planner().compMotion);
    renderer.setBorder(planner().border());
    std::vector<float> in(4 * static_cast<size_t>(width) * height, 1.0f), out(in.size(), 0.0f);
    for (int row = 0; row < height; ++row)
      for (int column = 0; column < width; ++column) {
        float* argb = in.data() + 4 * (static_cast<size_t>(row) * width + column);
        argb[1] = static_cast<float>(column + 1000) / 4000;  // so that black isn't a place
        argb[2] = static_cast<float>(row + 1000) / 4000;
      }
    renderer.processFrame(static_cast<float>(frame), 0, in.data(), out.data(), width, height, width * 16, width, height,
                          width * 16);
    const float* argb = out.data() + 4 * (static_cast<size_t>(y) * width + x);
    return {argb[1] * 4000.0 - 1000, argb[2] * 4000.0 - 1000};
  }
};

TEST_F(OutputWindowTest, ZoomShowsTheBorder) {
  set(kRenderingType, RenderZoom);
  set(kZoomType, ZoomFull);
  // 192 over 160 is 1.2, about (96, 72): half a pixel before the output's first one comes from (-96.5) / 1.2 + 96.
  expectBox(0, -96.5 / 1.2 + 96, -72.5 / 1.2 + 72, 95.5 / 1.2 + 96, 71.5 / 1.2 + 72);
  // Moved by (4, -3) on the way to the output, it comes from (-4, 3) further.
  expectBox(2, -96.5 / 1.2 + 92, -72.5 / 1.2 + 75, 95.5 / 1.2 + 92, 71.5 / 1.2 + 75);
}

TEST_F(OutputWindowTest, ZoomCentresABorderAtTheSide) {
  set(kRenderingType, RenderZoom);
  set(kZoomType, ZoomFull);
  planner().border_ = {0, 12, 159, 131};  // its centre is at (80, 72)
  expectBox(0, -96.5 / 1.2 + 80, -72.5 / 1.2 + 72, 95.5 / 1.2 + 80, 71.5 / 1.2 + 72);
}

TEST_F(OutputWindowTest, NaturalShowsAllThatTheCorrectionMovesIn) {
  for (const RenderMode mode : {RenderNatural, RenderComplete}) {
    set(kRenderingType, mode);
    expectBox(0, -0.5, -0.5, 191.5, 143.5);
    expectBox(2, -4.5, 2.5, 187.5, 146.5);
  }
}

TEST_F(OutputWindowTest, CropShowsTheBorderWithoutItsLastRowAndColumn) {
  set(kRenderingType, RenderCrop);
  for (const unsigned option : {kCropCentre, kCropEqual, kCropAspect}) set(option, 0);
  expectBox(0, 15.5, 11.5, 174.5, 130.5);
  expectBox(2, 11.5, 14.5, 170.5, 133.5);
}

TEST_F(OutputWindowTest, AgreesWithTheRendererInEveryMode) {
  struct Mode {
    RenderMode rendering;
    ZoomMode zoom;
    double amount;
    bool centre, equal, aspect;
  };
  const Mode modes[] = {
      {RenderNatural, ZoomFull, 1.0, false, false, false}, {RenderCrop, ZoomFull, 1.0, false, false, false},
      {RenderCrop, ZoomFull, 1.0, true, false, false},     {RenderCrop, ZoomFull, 1.0, true, true, false},
      {RenderCrop, ZoomFull, 1.0, false, true, true},      {RenderZoom, ZoomFull, 1.0, false, false, false},
      {RenderZoom, ZoomFit, 1.0, false, false, false},     {RenderZoom, ZoomVariable, 1.1, false, false, false},
      {RenderZoom, ZoomVariable, 1.7, false, false, false}};
  planner().border_ = {20, 10, 171, 127};  // neither in the middle nor of the frame's shape
  Vorn::Matrix turned = Shift(5, -3);
  turned(0, 1) = -0.02;
  turned(1, 0) = 0.02;
  planner().compMotion.Set(2, turned);
  for (const Mode& mode : modes) {
    SCOPED_TRACE(testing::Message() << mode.rendering << " " << mode.zoom << " " << mode.amount << " " << mode.centre
                                    << mode.equal << mode.aspect);
    set(kRenderingType, mode.rendering);
    set(kZoomType, mode.zoom);
    set(kVariableZoomAmount, mode.amount);
    set(kCropCentre, mode.centre);
    set(kCropEqual, mode.equal);
    set(kCropAspect, mode.aspect);
    const auto found = corners(2);
    // What the window's middle shows, and how far it reaches: its border runs along the outer edge of the last pixels
    // that hold picture.
    int left = width, right = -1, top = height, bottom = -1;
    for (int x = 0; x < width; ++x)
      if (renderedFrom(2, x, height / 2).x > -900) left = std::min(left, x), right = std::max(right, x);
    for (int y = 0; y < height; ++y)
      if (renderedFrom(2, width / 2, y).y > -900) top = std::min(top, y), bottom = std::max(bottom, y);
    if (mode.rendering == RenderNatural) left = top = 0, right = width - 1, bottom = height - 1;
    ASSERT_GT(right, left);
    const auto at = [&](double u, double v) {  // in the window, as shares of its sides; it is a parallelogram
      return found[0] + (found[1] - found[0]) * u + (found[3] - found[0]) * v;
    };
    for (const int x : {width / 2 - 30, width / 2 + 25})
      for (const int y : {height / 2 - 20, height / 2 + 17}) {
        const Vorn::Point2D place = at((x - left + 0.5) / (right - left + 1), (y - top + 0.5) / (bottom - top + 1));
        const Vorn::Point2D rendered = renderedFrom(2, x, y);
        EXPECT_NEAR(place.x, rendered.x, 0.02) << x << "," << y;  // floats of a ramp over 4000
        EXPECT_NEAR(place.y, rendered.y, 0.02) << x << "," << y;
      }
  }
}

TEST_F(OutputWindowTest, ACorrectionWithoutAnInverseIsNowhere) {
  Vorn::Matrix flat(3, 3);
  planner().compMotion.Set(1, flat);
  EXPECT_FALSE(std::isfinite(OutputWindow(*effect).centre(1).x));
}

class CentrePathTest : public OutputWindowTest {
 protected:
  CentrePathTest() {
    // The camera moves by 3 pixels a frame to the left, so that the scene moves to the right; the plan holds still at
    // where the first frame was.
    planner().rawMotion.Set(0, Vorn::Matrix::GetIdentity(3));
    planner().trimMotion.Set(0, Vorn::Matrix::GetIdentity(3));
    for (int frame = 1; frame < 5; ++frame) {
      planner().trimMotion.Set(frame, Shift(3, 1));
      planner().rawMotion.Set(frame, Shift(3, 1));
      planner().compMotion.Set(frame, Shift(-3 * frame, -frame));
    }
    planner().compMotion.Set(0, Vorn::Matrix::GetIdentity(3));
  }
  CentrePath around(int frame, int reach) {
    const OutputWindow window(*effect);
    return CentrePathAround(planner(), window, frame, reach);
  }
};

TEST_F(CentrePathTest, LiesOnTheSceneOfTheFrame) {
  const CentrePath path = around(2, 10);
  ASSERT_EQ(path.measured.size(), 5u);
  ASSERT_EQ(path.planned.size(), 5u);
  EXPECT_EQ(path.now, 2u);
  for (int frame = 0; frame < 5; ++frame) {
    // What was at the centre of frame f has moved on by 3 pixels a frame since; what the plan puts there stays.
    EXPECT_NEAR(path.measured[static_cast<size_t>(frame)].x, 96 + 3 * (2 - frame), 1e-9) << frame;
    EXPECT_NEAR(path.measured[static_cast<size_t>(frame)].y, 72 + (2 - frame), 1e-9) << frame;
    EXPECT_NEAR(path.planned[static_cast<size_t>(frame)].x, 96 + 6, 1e-9) << frame;
    EXPECT_NEAR(path.planned[static_cast<size_t>(frame)].y, 72 + 2, 1e-9) << frame;
  }
}

TEST_F(CentrePathTest, ReachesAsFarAsAsked) {
  const CentrePath path = around(2, 1);
  EXPECT_EQ(path.measured.size(), 3u);
  EXPECT_EQ(path.now, 1u);
  EXPECT_EQ(around(0, 2).now, 0u);
  EXPECT_EQ(around(0, 2).measured.size(), 3u);
}

TEST_F(CentrePathTest, EndsWhereTheMotionIsBroken) {
  planner().preliminaryEvents = {{0, 2, MotionMoving, false}, {3, 3, MotionBroken, false}, {4, 4, MotionMoving, false}};
  EXPECT_EQ(around(2, 10).measured.size(), 3u);
  EXPECT_EQ(around(3, 10).measured.size(), 1u);
  EXPECT_EQ(around(4, 10).measured.size(), 1u);
}

}  // namespace
}  // namespace film
