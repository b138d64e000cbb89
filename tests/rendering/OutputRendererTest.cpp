#include "rendering/OutputRenderer.h"

#include <gtest/gtest.h>

#include <vector>

#include "numerics/Parallel.h"
#include "rendering/VideoCompleter.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Rectangle;

namespace {

/// A picture of four floats a pixel. A ramp's pixels tell their own position, also after linear interpolation.
struct Picture {
  Picture(int w, int h) : width(w), height(h), data(static_cast<size_t>(w) * h * 4, -1.0f) {}

  static Picture Ramp(int w, int h) {
    Picture picture(w, h);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        float* pixel = picture.at(x, y);
        pixel[0] = 1.0f, pixel[1] = static_cast<float>(x), pixel[2] = static_cast<float>(y), pixel[3] = 0.5f;
      }
    return picture;
  }

  float* at(int x, int y) { return &data[(static_cast<size_t>(y) * width + x) * 4]; }

  int width, height;
  std::vector<float> data;
};

Matrix Shift(double x, double y) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

class Renderer : public testing::Test {
 protected:
  Renderer() {
    Vorn::SetProcessorCount(1);
    renderer.setInvertedAxes(false);
    renderer.setWidth(160, 120);
  }
  ~Renderer() override { Vorn::SetProcessorCount(0); }

  void Compensate(const Matrix& m, int frame = 0, int originLocation = 4) {
    HomographySet motion;
    motion.Set(frame, m);
    motion.AppendRange(frame, frame);
    motion.originLocation = originLocation;
    renderer.setCompensatingMotion(motion);
  }

  void SetBorder(int tlx, int tly, int brx, int bry) {
    const Rectangle border(tlx, tly, brx, bry);
    renderer.setBorder(&border);
  }

  Picture Render(Picture source, int width = 160, int height = 120, float time = 0.0f, int interlacing = 0) {
    Picture output(width, height);
    renderer.processFrame(time, interlacing, source.data.data(), output.data.data(), source.width, source.height,
                          source.width * 16, width, height, width * 16);
    return output;
  }
  Picture RenderRamp() { return Render(Picture::Ramp(160, 120)); }

  static void ExpectFrom(Picture& output, int x, int y, double sourceX, double sourceY) {
    EXPECT_NEAR(output.at(x, y)[1], sourceX, 0.01) << x << ", " << y;
    EXPECT_NEAR(output.at(x, y)[2], sourceY, 0.01) << x << ", " << y;
  }
  static bool IsBlack(Picture& output, int x, int y) {
    const float* pixel = output.at(x, y);
    return pixel[0] == 1.0f && pixel[1] == 0.0f && pixel[2] == 0.0f && pixel[3] == 0.0f;
  }
  /// The rectangle of pixels that aren't black.
  static Rectangle Lit(Picture& output) {
    Rectangle lit(output.width, output.height, -1, -1);
    for (int y = 0; y < output.height; ++y)
      for (int x = 0; x < output.width; ++x) {
        if (IsBlack(output, x, y)) continue;
        lit.tlx = std::min(lit.tlx, x), lit.tly = std::min(lit.tly, y);
        lit.brx = std::max(lit.brx, x), lit.bry = std::max(lit.bry, y);
      }
    return lit;
  }
  static void ExpectLit(Picture output, int tlx, int tly, int brx, int bry) {
    const Rectangle lit = Lit(output);
    EXPECT_EQ(lit.tlx, tlx);
    EXPECT_EQ(lit.tly, tly);
    EXPECT_EQ(lit.brx, brx);
    EXPECT_EQ(lit.bry, bry);
  }

  OutputRenderer renderer;
};

TEST(OutputRenderer, StartsWithItsDefaults) {
  const OutputRenderer renderer;
  EXPECT_EQ(renderer.renderMode(), 2);
  EXPECT_EQ(renderer.zoomMode(), 0);
  EXPECT_EQ(renderer.zoomAmount(), 0.0f);
  EXPECT_TRUE(renderer.invertedAxes());
  EXPECT_FALSE(renderer.highQuality());
  EXPECT_EQ(renderer.completer(), nullptr);
}

TEST(OutputRenderer, GoodMotionRangesAreWalkedPairByPair) {
  OutputRenderer renderer;
  int low = -1, high = -1;
  renderer.getGoodMotionRange(5, &low, &high);
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 0);
  renderer.setGoodFrames({10, 20, 30, 40});
  const auto rangeOf = [&](int frame) {
    renderer.getGoodMotionRange(frame, &low, &high);
    return std::pair(low, high);
  };
  EXPECT_EQ(rangeOf(3), std::pair(10, 20));
  EXPECT_EQ(rangeOf(10), std::pair(10, 20));
  EXPECT_EQ(rangeOf(20), std::pair(10, 20));
  EXPECT_EQ(rangeOf(21), std::pair(30, 40));
  EXPECT_EQ(rangeOf(99), std::pair(30, 40)) << "a frame past them all gets the last";
}

TEST_F(Renderer, NaturalMovesTheFrameAndLeavesTheRestEmpty) {
  renderer.setRenderMode(RenderNatural);
  Compensate(Shift(10, -4));
  SetBorder(10, 0, 159, 115);
  Picture output = RenderRamp();
  ExpectFrom(output, 50, 60, 40, 64);
  ExpectFrom(output, 10, 0, 0, 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(output.at(9, 60)[i], 0.0f) << "no source reaches here";
    EXPECT_EQ(output.at(50, 116)[i], 0.0f);
  }
}

TEST_F(Renderer, AFrameWithoutMotionGoesThrough) {
  renderer.setRenderMode(RenderNatural);
  Compensate(Shift(10, -4), 7);
  SetBorder(0, 0, 159, 119);
  Picture output = RenderRamp();
  EXPECT_EQ(output.data, Picture::Ramp(160, 120).data);
}

TEST_F(Renderer, RotationIsAboutTheCentreOrTheCornerAsTheMotionSays) {
  renderer.setRenderMode(RenderNatural);
  Matrix twice = Matrix::GetIdentity(3);
  twice(0, 0) = twice(1, 1) = 2.0;
  for (const int originLocation : {4, 0}) {
    Compensate(twice, 0, originLocation);
    SetBorder(0, 0, 159, 119);
    Picture output = RenderRamp();
    if (originLocation == 4)
      ExpectFrom(output, 100, 60, 90, 60);
    else
      ExpectFrom(output, 100, 60, 50, 30);
  }
}

TEST_F(Renderer, ZoomFullBringsTheBorderToTheFrameWithoutEmptyStrips) {
  for (const int originLocation : {4, 0}) {
    Compensate(Shift(8, 6), 0, originLocation);
    SetBorder(8, 6, 135, 101);  // 128 by 96: a zoom of 1.25, off the centre
    Picture output = RenderRamp();
    ExpectFrom(output, 80, 60, 72 - 8, 54 - 6);                 // the border's centre
    ExpectFrom(output, 0, 0, 8 - 8, 6 - 6);                     // its corner
    ExpectFrom(output, 159, 119, 8 + 127.2 - 8, 6 + 95.2 - 6);  // 159 / 1.25 on
    for (int y = 0; y < 120; ++y)
      for (int x = 0; x < 160; ++x) ASSERT_EQ(output.at(x, y)[0], 1.0f) << x << ", " << y;
  }
}

TEST_F(Renderer, ZoomFullTakesTheLargerRatioAndZoomFitTheSmaller) {
  Compensate(Shift(0, 0));
  SetBorder(20, 15, 147, 94);  // 128 by 80: 1.25 and 1.5
  Picture full = RenderRamp();
  ExpectFrom(full, 80, 60, 84, 55);
  ExpectFrom(full, 110, 90, 84 + 20, 55 + 20);
  renderer.setZoomMode(ZoomFit);
  SetBorder(20, 15, 147, 94);
  Picture fit = RenderRamp();
  ExpectFrom(fit, 105, 85, 84 + 20, 55 + 20);
  ExpectLit(fit, 0, 10, 158, 108);  // bands of (120 - 100) / 2; the crop's last row and column are black
}

TEST_F(Renderer, ZoomFitPutsBandsBesideATallBorder) {
  renderer.setZoomMode(ZoomFit);
  Compensate(Shift(0, 0));
  SetBorder(30, 12, 125, 107);  // 96 by 96: 1.667 and 1.25
  ExpectLit(RenderRamp(), 20, 0, 138, 118);
}

TEST_F(Renderer, VariableZoomScalesByTheAmountAndBandsWhatFallsShort) {
  renderer.setZoomMode(ZoomVariable);
  renderer.setZoomAmount(1.125f);
  Compensate(Shift(0, 0));
  SetBorder(16, 12, 143, 107);  // 128 by 96, centred: 144 by 108 after the zoom
  Picture output = RenderRamp();
  ExpectFrom(output, 98, 60, 80 + 16, 60);
  ExpectLit(output, 8, 6, 150, 112);
  renderer.setZoomAmount(2.0f);
  SetBorder(16, 12, 143, 107);
  ExpectLit(RenderRamp(), 0, 0, 159, 119);  // a border beyond the frame has no bands
}

TEST_F(Renderer, ZoomFullNeverPaintsBands) {
  renderer.setZoomAmount(1.0f);
  Compensate(Shift(0, 0));
  SetBorder(16, 12, 143, 107);
  ExpectLit(RenderRamp(), 0, 0, 159, 119);
}

TEST_F(Renderer, CropBlackensAllOutsideTheBorderAndItsLastRowAndColumn) {
  renderer.setRenderMode(RenderCrop);
  Compensate(Shift(4, 4));
  SetBorder(10, 20, 140, 100);
  Picture output = RenderRamp();
  ExpectLit(output, 10, 20, 139, 99);
  ExpectFrom(output, 50, 50, 46, 46);
}

TEST_F(Renderer, EqualMarginsMoveTheNarrowerOneIn) {
  renderer.setRenderMode(RenderCrop);
  renderer.setCropAspect(false, true, false);
  Compensate(Shift(0, 0));
  SetBorder(30, 5, 149, 99);  // margins 30 and 10, 5 and 20
  ExpectLit(RenderRamp(), 30, 20, 128, 98);
}

TEST_F(Renderer, TheCropTakesTheFramesAspect) {
  renderer.setRenderMode(RenderCrop);
  renderer.setCropAspect(true, false, false);
  Compensate(Shift(0, 0));
  SetBorder(0, 20, 159, 79);  // 160 by 60: 40 too much on either side
  ExpectLit(RenderRamp(), 40, 20, 118, 78);
  SetBorder(40, 0, 119, 119);  // 80 by 120: 30 too much above and below
  ExpectLit(RenderRamp(), 40, 30, 118, 88);
}

TEST_F(Renderer, ACentredCropMovesThePictureWithIt) {
  renderer.setRenderMode(RenderCrop);
  renderer.setCropAspect(false, false, true);
  Compensate(Shift(0, 0));
  SetBorder(10, 10, 109, 89);  // its centre (60, 50) goes to (80, 60)
  Picture output = RenderRamp();
  ExpectLit(output, 30, 20, 128, 98);
  ExpectFrom(output, 80, 60, 60, 50);
}

TEST_F(Renderer, MotionIsScaledToTheSizeInHand) {
  renderer.setRenderMode(RenderCrop);
  Compensate(Shift(10, -4));
  SetBorder(10, 0, 149, 115);
  Picture half = Render(Picture::Ramp(80, 60), 80, 60);
  ExpectFrom(half, 40, 30, 35, 32);
  ExpectLit(half, 5, 0, 73, 56);  // columns 5 to 74.5 and rows 0 to 57.5, rounded inward, without their last
  Picture twice = Render(Picture::Ramp(320, 240), 320, 240);
  ExpectFrom(twice, 160, 120, 140, 128);
  ExpectLit(twice, 20, 0, 297, 229);
}

TEST_F(Renderer, ACropThatScalesToWholePixelsKeepsThem) {
  renderer.setRenderMode(RenderCrop);
  renderer.setWidth(150, 120);
  Compensate(Shift(0, 0), 0, 0);
  SetBorder(60, 30, 135, 105);
  ExpectLit(Render(Picture::Ramp(50, 40), 50, 40), 20, 10, 44, 34);  // a third of it, without the last ones
}

TEST_F(Renderer, RowsThatRunUpwardAreFlippedAboutTheFrame) {
  renderer.setInvertedAxes(true);
  renderer.setRenderMode(RenderNatural);
  Compensate(Shift(0, 10));
  SetBorder(0, 10, 159, 119);
  Picture output = RenderRamp();
  ExpectFrom(output, 50, 60, 50, 70);  // down in the picture is up in the memory

  renderer.setRenderMode(RenderCrop);
  SetBorder(0, 10, 159, 99);
  ExpectLit(RenderRamp(), 0, 21, 158, 109);  // rows 120 - 99 to 120 - 10, without the last
}

TEST_F(Renderer, FieldsCountTwoAFrameAndAreRebuiltFromTheKeptOne) {
  renderer.setRenderMode(RenderNatural);
  Compensate(Shift(6, 0), 7);
  SetBorder(0, 0, 159, 119);
  Picture combed = Picture::Ramp(160, 120);
  for (int y = 0; y < 120; y += 2)
    for (int x = 0; x < 160; ++x) combed.at(x, y)[3] = 1.0f;  // the other moment
  Picture output = Render(combed, 160, 120, 3.5f, 1);
  ExpectFrom(output, 50, 61, 44, 61);
  // The five-tap kernel (-1, 4, 2, 4, -1) / 8 over rows 58 to 62, of which the even ones are the other moment's 1.
  EXPECT_NEAR(output.at(50, 60)[3], (-1 + 4 * 0.5 + 2 + 4 * 0.5 - 1) / 8, 1e-6);
  EXPECT_NEAR(output.at(50, 61)[3], 0.5, 1e-6) << "the kept field stays";
}

TEST_F(Renderer, TheDisplayTransformOverwritesWhatTheBorderMade) {
  renderer.setRenderMode(RenderZoom);
  Compensate(Shift(0, 0));
  SetBorder(16, 12, 143, 107);
  renderer.setDisplayTransform(Shift(5, 0), Shift(50, 0), Shift(0, 7));
  Picture output = RenderRamp();
  ExpectFrom(output, 50, 60, 45, 53);
  SetBorder(0, 0, 159, 119);
  Picture again = RenderRamp();
  ExpectFrom(again, 50, 60, 50, 60);
}

TEST_F(Renderer, WithoutAnAnalysisEveryModeLetsFramesThrough) {
  renderer.setWidth(0, 0);
  for (const int mode : {RenderNatural, RenderCrop, RenderZoom})
    for (const int zoom : {ZoomFull, ZoomFit}) {
      renderer.setRenderMode(mode);
      renderer.setZoomMode(zoom);
      renderer.setCropAspect(true, true, false);
      SetBorder(0, 0, -1, -1);
      EXPECT_EQ(RenderRamp().data, Picture::Ramp(160, 120).data) << mode << ", " << zoom;
    }
}

TEST_F(Renderer, ABorderSetWithoutAnAnalysisIsPainted) {
  renderer.setWidth(0, 0);
  renderer.setRenderMode(RenderCrop);
  SetBorder(10, 20, 140, 100);
  ExpectLit(RenderRamp(), 10, 20, 139, 99);
}

TEST_F(Renderer, CompleteShowsTheFrameAsNaturalWhereNothingIsFilled) {
  VideoCompleter completer{FxRenderInfo{}};
  Compensate(Shift(10, -4));
  std::vector<float> natural;
  for (const int mode : {RenderNatural, RenderComplete}) {
    renderer.setRenderMode(mode);
    renderer.setCompleter(&completer);
    SetBorder(10, 0, 159, 115);
    const Picture output = RenderRamp();
    if (mode == RenderNatural)
      natural = output.data;
    else
      EXPECT_EQ(output.data, natural);
  }
}

TEST_F(Renderer, TheTestBorderIsASetBorder) {
  renderer.setWidth(1920, 1080);
  renderer.setRenderMode(RenderCrop);
  renderer.setUpTest();
  ExpectLit(Render(Picture::Ramp(1920, 1080), 1920, 1080), 60, 20, 1899, 999);
}

}  // namespace
