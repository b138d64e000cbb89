#include "rendering/VideoCompleter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "numerics/Geometry.h"
#include "numerics/Parallel.h"

using Vorn::HomographySet;
using Vorn::Image;
using Vorn::Matrix;
using Vorn::PixelARGBSF;
using Vorn::Point2D;
using Vorn::Rectangle;

namespace {

AGCStorage GainsFrom(int first, std::initializer_list<float> values) {
  AGCStorage gains;
  int frame = first;
  for (const float value : values) gains.SetGain(frame++, value);
  gains.AddRange(first, frame - 1);
  return gains;
}

TEST(VideoCompleter, WithoutGainsFramesAreAlike) {
  const VideoCompleter completer{FxRenderInfo{}};
  EXPECT_EQ(completer.gain(3, 9), 1.0f);
}

TEST(VideoCompleter, TheGainIsThatOfTheReferenceOverThatOfTheFrame) {
  VideoCompleter completer{FxRenderInfo{}};
  const AGCStorage gains = GainsFrom(0, {1.0f, 2.0f, 4.0f});
  completer.setGains(&gains, 0);
  EXPECT_EQ(completer.gain(1, 2), 2.0f);
  EXPECT_EQ(completer.gain(2, 0), 0.25f);
  EXPECT_EQ(completer.gain(2, 3), 0.25f) << "a frame behind the gains counts 1";
  EXPECT_EQ(completer.gain(-1, 1), 2.0f) << "a frame before them too";
}

TEST(VideoCompleter, GainsCanStartAtAnyFrame) {
  VideoCompleter completer{FxRenderInfo{}};
  const AGCStorage gains = GainsFrom(10, {2.0f, 8.0f});
  completer.setGains(&gains, 10);
  EXPECT_EQ(completer.gain(10, 11), 4.0f);
  EXPECT_EQ(completer.gain(0, 10), 2.0f);
}

TEST(VideoCompleter, AGainsFileThatCannotBeReadIsLogged) {
  VideoCompleter completer{FxRenderInfo{}};
  testing::internal::CaptureStderr();
  EXPECT_FALSE(completer.loadGains("no such file"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to load gains\n");
}

constexpr int kWidth = 200, kHeight = 176;

PixelARGBSF& At(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

/// Brightness of a scene that is linear between whole places, so that bilinear sampling finds it again.
float Scene(double x, double y) { return static_cast<float>(0.3 + 0.0005 * x + 0.001 * y); }

Matrix Shift(double dx, double dy) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = dx;
  m(1, 2) = dy;
  return m;
}

/// What became of a host's lasting bitmaps.
struct Looks {
  std::set<int> frames;  // that were looked at
  int awake = 0, mostAwake = 0;
};

class Bitmap : public FxImage {
 public:
  Bitmap(int width, int height) : image(width, height, Vorn::ARGBSF) {}
  int imageType() const override { return bitmapType; }
  FxImageInfo imageInfo() const override { return {}; }
  ~Bitmap() override { restPixels(); }
  void* dataPtr() const override {
    if (looks && !awake) looks->mostAwake = std::max(looks->mostAwake, ++looks->awake);
    if (looks) looks->frames.insert(frame);
    awake = true;
    return image.rows[0];
  }
  bool isLasting() const override { return looks != nullptr; }
  void restPixels() const override {
    if (looks && awake) --looks->awake;
    awake = false;
  }
  int rowBytes() const override { return image.GetStride(); }
  int width() const override { return image.GetWidth(); }
  int height() const override { return image.GetHeight(); }
  int field() const override { return 0; }
  Image image;
  Looks* looks = nullptr;
  int frame = 0;
  mutable bool awake = false;
};

/// A clip of a camera that moves over the scene: frame f has its corner at (`speed` f, `fall` f). Of an interlaced clip
/// that is field f, and what a frame holds of its other field is off by a shade.
class Clip : public FxTemporalImageAPI {
 public:
  bool getSourceBitmap(std::unique_ptr<FxImage>*, const FxRenderInfo&, double) override { return false; }
  bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& info, double atTime) override {
    times.push_back(atTime);
    quality = info.qualityLevel;
    if (missing.contains(static_cast<int>(atTime))) return false;
    auto frame = std::make_unique<Bitmap>(width, kHeight);
    const double number = fieldKept != 0 ? 2 * atTime : atTime;
    const float light = lights.contains(static_cast<int>(atTime)) ? lights[static_cast<int>(atTime)] : 1.0f;
    for (int y = 0; y < kHeight; ++y) {
      const int row = upward ? kHeight - 1 - y : y;
      for (int x = 0; x < width; ++x) {
        const float shade = fieldKept != 0 && row % 2 != fieldKept % 2 ? 0.25f : 0.0f;
        const float value = light * Scene(x + speed * number, y + fall * number) + shade;
        At(frame->image, x, row) = {1.0f, value, value, value};
      }
    }
    frame->frame = static_cast<int>(atTime);
    if (lasting) frame->looks = &looks;
    *bitmap = std::move(frame);
    return true;
  }

  int width = kWidth;
  double speed = 3, fall = 0;
  int fieldKept = 0;  // 1: the odd rows, 2: the even ones; 0 progressive
  bool upward = false;
  bool lasting = false;
  Looks looks;
  std::map<int, float> lights;
  std::set<int> missing;
  std::vector<double> times;
  int quality = 0;
};

class CompletionTest : public ::testing::Test {
 protected:
  CompletionTest() : image(kWidth, kHeight, Vorn::ARGBSF), matte(kWidth, kHeight, Vorn::L8) {
    Vorn::SetProcessorCount(2);
    FxRenderInfo info;
    info.qualityLevel = 2;
    completer = std::make_unique<VideoCompleter>(info);
    completer->setSequence(&clip);
    completer->setSequenceStart(0);
    completer->setSequenceLength(41);
    completer->setAnalysisWidth(kWidth, kHeight);
    HomographySet motion;
    for (int f = 0; f <= 40; ++f) motion.Set(f, Shift(f == 0 ? 0 : -clip.speed, 0));
    motion.AppendRange(0, 40);
    completer->setGlobalMotion(motion);
  }
  ~CompletionTest() override { Vorn::SetProcessorCount(0); }

  /// Frame 20, moved by (dx, dy) in the output, as the warp leaves it.
  void Warp(int dx, int dy) {
    for (int y = 0; y < kHeight; ++y) {
      const int row = clip.upward ? kHeight - 1 - y : y;
      for (int x = 0; x < kWidth; ++x) {
        const bool known = x - dx >= 0 && x - dx < kWidth && y - dy >= 0 && y - dy < kHeight;
        const float value = known ? Truth(x - dx, y - dy) : 0.0f;
        At(image, x, row) = {known ? 1.0f : 0.0f, value, value, value};
        matte.rows[row][x] = known ? 255 : 0;
      }
    }
    projection = Shift(dx, dy);
  }
  /// What the place (x, y) of frame 20, or beyond it, shows.
  float Truth(double x, double y) const { return Scene(x + clip.speed * 20, y + clip.fall * 20); }

  bool Complete(int low = 0, int high = 40) {
    return completer->complete(&image, &matte, &projection, 20, low, high, &border);
  }

  Clip clip;
  std::unique_ptr<VideoCompleter> completer;
  Image image, matte;
  Matrix projection;
  Rectangle border{0, 0, kWidth - 1, kHeight - 1};
};

TEST_F(CompletionTest, TheEmptyPartIsBorrowedFromTheSideThatTheCameraCameFrom) {
  completer->expaint = false;
  Warp(30, 0);
  EXPECT_FALSE(Complete()) << "the rows at the edges are never borrowed";
  EXPECT_EQ(completer->completable, 30 * kHeight);
  EXPECT_NEAR(completer->completed, 30 * (kHeight - 6), 60);
  for (int y = 4; y < kHeight - 4; ++y)
    for (int x = 0; x < 30; ++x) {
      ASSERT_NEAR(At(image, x, y).g, Truth(x - 30, y), 1e-4) << x << " " << y;
      ASSERT_EQ(At(image, x, y).a, 1.0f);
      ASSERT_EQ(matte.rows[y][x], 255);
    }
  EXPECT_EQ(At(image, 5, 1).a, 0.0f);
  EXPECT_EQ(matte.rows[1][5], 0);
  EXPECT_EQ(clip.quality, 2) << "frames are asked for as the effect was";
}

TEST_F(CompletionTest, TheNeighboursAheadFillTheOtherSide) {
  completer->expaint = false;
  Warp(-30, 0);
  Complete();
  for (int x = kWidth - 30; x < kWidth; ++x) ASSERT_NEAR(At(image, x, 90).g, Truth(x + 30, 90), 1e-4) << x;
}

TEST_F(CompletionTest, AFrameWithoutEmptyPixelsStaysAndIsWhole) {
  Warp(0, 0);
  EXPECT_TRUE(Complete());
  EXPECT_EQ(completer->completable, 0);
  for (int x = 0; x < kWidth; ++x) ASSERT_EQ(At(image, x, 100).g, Truth(x, 100));
}

TEST_F(CompletionTest, WhatNoFrameShowsIsGrownIn) {
  Warp(30, 20);  // above the frames there is nothing
  EXPECT_TRUE(Complete());
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) ASSERT_EQ(At(image, x, y).a, 1.0f) << x << " " << y;
  EXPECT_NEAR(At(image, 100, 0).g, Truth(70, 0), 0.01);
}

TEST_F(CompletionTest, OutsideTheGoodFramesNothingIsTouched) {
  Warp(30, 0);
  EXPECT_TRUE(Complete(21, 40));
  EXPECT_EQ(At(image, 5, 100).a, 0.0f);
  EXPECT_TRUE(Complete(0, 19));
  EXPECT_TRUE(Complete(20, 20)) << "a window of the frame alone";
  EXPECT_EQ(At(image, 5, 100).a, 0.0f);
  EXPECT_TRUE(clip.times.empty());
}

TEST_F(CompletionTest, OnlyGoodFramesAreBorrowedFrom) {
  completer->expaint = false;
  Warp(-30, 0);  // needs frames ahead
  EXPECT_FALSE(Complete(0, 22));
  EXPECT_EQ(At(image, kWidth - 1, 100).a, 0.0f);
  for (const double time : clip.times) EXPECT_LE(time, 22);
}

TEST_F(CompletionTest, ASmallCacheBorrowsNothingAndALargeOneFillsTheRest) {
  completer->setMaxCacheSize(1);
  Warp(30, 0);
  EXPECT_TRUE(Complete());
  EXPECT_EQ(At(image, 5, 100).a, 0.0f);
  EXPECT_TRUE(clip.times.empty());
}

TEST_F(CompletionTest, SmallFramesAreLeftAsTheWarpMadeThem) {
  Image small(159, 176, Vorn::ARGBSF), smallMatte(159, 176, Vorn::L8);
  small.Clear();
  smallMatte.Clear();
  projection = Shift(30, 0);
  completer->setAnalysisWidth(159, 176);
  EXPECT_TRUE(completer->complete(&small, &smallMatte, &projection, 20, 0, 40, &border));
  EXPECT_EQ(At(small, 80, 80).a, 0.0f);
}

TEST_F(CompletionTest, AFrameThatCannotBeFetchedCountsAsNotThere) {
  completer->expaint = false;
  for (int f = 7; f <= 20; ++f) clip.missing.insert(f);
  Warp(30, 0);
  EXPECT_NO_FATAL_FAILURE(Complete());
  for (int x = 0; x < 30; ++x) ASSERT_NEAR(At(image, x, 90).g, Truth(x - 30, 90), 1e-4) << x;
}

TEST_F(CompletionTest, ALastingFrameIsLookedAtOnlyWhereItIsBorrowedFrom) {
  clip.speed = 11;  // the frames stand apart: each neighbour is offered
  completer->expaint = false;
  HomographySet motion;
  for (int f = 0; f <= 40; ++f) motion.Set(f, Shift(f == 0 ? 0 : -clip.speed, 0));
  motion.AppendRange(0, 40);
  completer->setGlobalMotion(motion);
  Warp(30, 0);
  Complete();
  const Image copied = image;
  EXPECT_GT(clip.times.size(), 20u);

  clip.lasting = true;
  Warp(30, 0);
  Complete();
  // Each frame before reaches 11 pixels further left, without its rim of 3: the third one covers the last column.
  EXPECT_EQ(clip.looks.frames, (std::set<int>{17, 18, 19}));
  EXPECT_EQ(clip.looks.awake, 0);
  for (int y = 0; y < kHeight; ++y)
    ASSERT_EQ(std::memcmp(image.rows[y], copied.rows[y], kWidth * sizeof(PixelARGBSF)), 0) << y;
}

TEST_F(CompletionTest, FewLastingFramesAreAwakeAtATime) {
  clip.speed = 11;
  clip.lasting = true;
  HomographySet motion;
  for (int f = 0; f <= 40; ++f) motion.Set(f, Shift(f == 0 ? 0 : -clip.speed, 0));
  motion.AppendRange(0, 40);
  completer->setGlobalMotion(motion);
  Warp(180, 0);  // needs the seventeen frames before
  Complete();
  EXPECT_GE(clip.looks.frames.size(), 16u);
  EXPECT_LE(clip.looks.mostAwake, 10) << "eight that rest and one for each processor";
  EXPECT_EQ(At(image, 3, 90).a, 1.0f);
}

TEST_F(CompletionTest, FramesOfAnotherSizeCountAsNotThere) {
  clip.width = 64;
  Warp(30, 0);
  Complete();
  EXPECT_EQ(completer->completed, 0);
  EXPECT_TRUE(completer->cache.empty());
}

TEST_F(CompletionTest, BorrowedPixelsGetTheFramesOwnLight) {
  completer->expaint = false;
  AGCStorage gains;
  for (int f = 0; f <= 40; ++f) {
    const float light = f < 20 ? 1.25f : 1.0f;
    clip.lights[f] = light;
    gains.SetGain(f, 1.0f / light);
  }
  gains.AddRange(0, 40);
  completer->setGains(&gains, 0);
  Warp(30, 0);
  Complete();
  // The gain of the frame borrowed from over that of this one: 0.8.
  for (int x = 0; x < 30; ++x) ASSERT_NEAR(At(image, x, 90).g, Truth(x - 30, 90), 1e-3) << x;
  completer->setEnableAGC(false);
  Warp(30, 0);
  Complete();
  ASSERT_NEAR(At(image, 5, 90).g, 1.25f * Truth(5 - 30, 90), 1e-3);
}

TEST_F(CompletionTest, InvertedAxesAreCompletedAlike) {
  clip.upward = true;
  completer->setInvertAxes(true);
  completer->expaint = false;
  Warp(30, 12);
  Complete();
  for (int y = 17; y < kHeight - 4; ++y) ASSERT_NEAR(At(image, 4, kHeight - 1 - y).g, Truth(4 - 30, y - 12), 1e-3) << y;
}

TEST_F(CompletionTest, MotionMeasuredAtAnotherSizeIsScaledForGood) {
  completer->expaint = false;
  HomographySet half;
  for (int f = 0; f <= 40; ++f) half.Set(f, Shift(f == 0 ? 0 : -clip.speed / 2, 0));
  half.AppendRange(0, 40);
  completer->setGlobalMotion(half);
  completer->setAnalysisWidth(kWidth / 2, kHeight / 2);
  Warp(30, 0);
  projection = Shift(15, 0);
  Complete();
  for (int x = 0; x < 30; ++x) ASSERT_NEAR(At(image, x, 90).g, Truth(x - 30, 90), 1e-4) << x;
  Matrix kept;
  ASSERT_TRUE(completer->globalMotion.Get(7, kept));
  EXPECT_NEAR(kept(0, 2), -clip.speed, 1e-12);
}

TEST_F(CompletionTest, InterlacedFramesAreAskedForByHalfTimes) {
  completer->setInterlace(1);
  completer->setSequenceLength(21);
  Warp(30, 0);
  Complete();
  ASSERT_FALSE(clip.times.empty());
  EXPECT_EQ(clip.times.front(), 10.0) << "field 20 is in frame 10";
  for (const double time : clip.times) EXPECT_EQ(time * 2, std::round(time * 2));
}

/// Which rows run upward, which field is kept, and by what the analysed size is smaller.
using Kind = std::tuple<bool, int, int>;
class CompletionOfKindTest : public CompletionTest, public ::testing::WithParamInterface<Kind> {};

TEST_P(CompletionOfKindTest, BothBordersAreFilledFromTheRightPlaceAndField) {
  const auto [upward, field, smaller] = GetParam();
  clip.upward = upward;
  clip.fieldKept = field;
  clip.fall = -2;
  HomographySet motion;
  for (int f = 0; f <= 40; ++f)
    motion.Set(f, Shift(f == 0 ? 0 : -clip.speed / smaller, f == 0 ? 0 : -clip.fall / smaller));
  motion.AppendRange(0, 40);
  completer->setGlobalMotion(motion);
  completer->setAnalysisWidth(kWidth / smaller, kHeight / smaller);
  completer->setInvertAxes(upward);
  completer->setInterlace(field);
  if (field != 0) completer->setSequenceLength(21);
  completer->expaint = false;
  for (const int dx : {24, -24}) {
    completer->setGlobalMotion(motion);  // it was scaled for good
    const int dy = dx > 0 ? -16 : 16;    // the frames before are to the left and below
    Warp(dx, dy);
    projection = Shift(static_cast<double>(dx) / smaller, static_cast<double>(dy) / smaller);
    Complete();
    const auto expectTruth = [&](int x, int y) {
      const int row = upward ? kHeight - 1 - y : y;
      ASSERT_NEAR(At(image, x, row).g, Truth(x - dx, y - dy), 1e-4) << x << " " << y << " moved by " << dx;
      ASSERT_EQ(At(image, x, row).a, 1.0f);
    };
    for (int y = 60; y < kHeight - 60; ++y)
      for (int x = 0; x < 24; ++x) expectTruth(dx > 0 ? x : kWidth - 1 - x, y);
    for (int y = 0; y < 16; ++y)
      for (int x = 60; x < kWidth - 60; ++x) expectTruth(x, dy > 0 ? y : kHeight - 1 - y);
  }
}

std::string NameOf(const ::testing::TestParamInfo<Kind>& info) {
  const auto [upward, field, smaller] = info.param;
  return std::string(upward ? "Upward" : "Downward") + "Field" + std::to_string(field) +
         (smaller == 2 ? "HalfSize" : "FullSize");
}

INSTANTIATE_TEST_SUITE_P(Kinds, CompletionOfKindTest,
                         ::testing::Combine(::testing::Bool(), ::testing::Values(0, 1, 2), ::testing::Values(1, 2)),
                         NameOf);

class NothingTransparentTest : public CompletionTest, public ::testing::WithParamInterface<int> {};

TEST_P(NothingTransparentTest, InAnyMode) {
  completer->setRenderMode(GetParam());
  Warp(30, 20);  // above the frames there is nothing
  EXPECT_TRUE(Complete());
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      ASSERT_EQ(At(image, x, y).a, 1.0f) << x << " " << y;
      if (x >= 30 && y >= 20) {
        ASSERT_EQ(At(image, x, y).g, Truth(x - 30, y - 20)) << "known before";
      }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, NothingTransparentTest,
                         ::testing::Values(CompleteNearest, CompleteMean, CompleteMedian, CompleteSame));

class CompletionModeTest : public CompletionTest, public ::testing::WithParamInterface<int> {};

TEST_P(CompletionModeTest, EachModeThatBorrowsFindsTheScene) {
  completer->setRenderMode(GetParam());
  completer->expaint = false;
  Warp(30, 0);
  Complete();
  for (int x = 0; x < 30; ++x) ASSERT_NEAR(At(image, x, 90).g, Truth(x - 30, 90), 1e-3) << x;
  EXPECT_TRUE(completer->cache.empty());
}

INSTANTIATE_TEST_SUITE_P(Modes, CompletionModeTest, ::testing::Values(CompleteNearest, CompleteMean, CompleteMedian));

TEST_F(CompletionTest, TheFrameItselfIsTheFourthSource) {
  completer->setRenderMode(CompleteSame);
  completer->expaint = false;
  Warp(30, 0);
  matte.rows[90][100] = 7;  // known to the frame itself
  At(image, 100, 90) = {0, 0, 0, 0};
  Complete();
  EXPECT_NEAR(At(image, 100, 90).g, Truth(70, 90), 1e-4);
  EXPECT_EQ(At(image, 5, 90).a, 0.0f);
}

TEST_F(CompletionTest, AnUnknownModeFillsNothing) {
  completer->setRenderMode(9);
  completer->expaint = false;
  Warp(30, 0);
  EXPECT_FALSE(Complete());
  EXPECT_EQ(completer->completed, 0);
}

TEST_F(CompletionTest, WhatTheFrameBeforeShowedIsCarriedOver) {
  completer->expaint = false;
  HomographySet still;
  for (int f = 0; f <= 40; ++f) still.Set(f, Matrix::GetIdentity(3));
  completer->setOutputMotion(still);
  completer->setRenderMode(9);  // nothing is borrowed
  Warp(0, 0);
  const float red = 0.77f;
  At(image, 9, 90) = {1, red, red, red};
  projection = Shift(0, 0);
  completer->complete(&image, &matte, &projection, 19, 0, 40, &border);
  EXPECT_EQ(completer->previousFrameCompleted, 19);
  Warp(30, 0);
  EXPECT_FALSE(Complete());
  EXPECT_NEAR(At(image, 9, 90).r, red, 1e-5);
  EXPECT_EQ(matte.rows[90][9], 255);
  EXPECT_EQ(At(image, 0, 90).a, 0.0f) << "the pixel at the edge isn't sampled";
  Warp(30, 0);
  Complete();  // frame 20 after frame 20: out of order
  EXPECT_EQ(At(image, 9, 90).a, 0.0f);
}

TEST(VideoCompleter, AccumulatedMotionLeadsToTheFirstFrame) {
  const VideoCompleter completer;
  HomographySet in, out;
  in.originLocation = 0;
  for (int f = 3; f <= 7; ++f) in.Set(f, Shift(f, 2));
  out.Set(99, Shift(1, 1));
  completer.LocalAccumulate(in, out, 4, 2);
  EXPECT_EQ(out.originLocation, 0);
  EXPECT_EQ(out.hset.size(), 3u);
  EXPECT_EQ(out.start, 4);
  EXPECT_EQ(out.end, 6);
  Matrix m;
  ASSERT_TRUE(out.Get(4, m));
  EXPECT_TRUE(m.IsIdentity());
  ASSERT_TRUE(out.Get(6, m));
  EXPECT_NEAR(m(0, 2), -11, 1e-12);
  EXPECT_NEAR(m(1, 2), -4, 1e-12);
}

TEST(VideoCompleter, TheRangeGrowsFromTheNearestFrame) {
  const VideoCompleter completer;
  int low = 0, high = 0;
  const std::vector<int> frames{30, 10, 14, 20, 16, 11};
  completer.getRange(15, 1, frames, low, high);
  EXPECT_EQ(low, 14) << "the first among equals";
  EXPECT_EQ(high, 14);
  completer.getRange(15, 2, frames, low, high);  // then 16, and 11 before 20
  EXPECT_EQ(low, 11);
  EXPECT_EQ(high, 16);
  completer.getRange(15, 50, frames, low, high);
  EXPECT_EQ(low, 10);
  EXPECT_EQ(high, 30);
  completer.getRange(15, 3, {10, 15, 20}, low, high);
  EXPECT_EQ(low, 10);
  EXPECT_EQ(high, 20);
  completer.getRange(15, 2, {13, 15, 17, 30}, low, high);  // the later one first where both are as near
  EXPECT_EQ(low, 13);
  EXPECT_EQ(high, 17);
  completer.getRange(15, 5, {7}, low, high);
  EXPECT_EQ(low, 7);
  EXPECT_EQ(high, 7);
  completer.getRange(0, 2, {-2000000000, 0}, low, high);  // farther than what stands for a missing frame
  EXPECT_EQ(low, -2000000000);
  EXPECT_EQ(high, 0);
}

TEST(VideoCompleter, GainIsOfTheLumaAlone) {
  const PixelARGBSF grey = VideoCompleter::compensateGain(PixelARGBSF{0.5f, 0.2f, 0.2f, 0.2f}, 2.0f);
  EXPECT_EQ(grey.a, 0.5f);
  EXPECT_NEAR(grey.r, 0.4f, 1e-6);
  EXPECT_NEAR(grey.g, 0.4f, 1e-6);
  EXPECT_NEAR(grey.b, 0.4f, 1e-6);
  const PixelARGBSF red = VideoCompleter::compensateGain(PixelARGBSF{1.0f, 1.0f, 0.0f, 0.0f}, 2.0f);
  EXPECT_NEAR(red.r, 1.2126f, 1e-5);  // luma 0.2126 more in each
  EXPECT_NEAR(red.g, 0.2126f, 1e-5);
  EXPECT_NEAR(red.b, 0.2126f, 1e-5);
}

class FrameCacheTest : public CompletionTest {};

TEST_F(FrameCacheTest, AFrameIsFetchedOnceAndCounted) {
  const Image* first = completer->getFrame(7, 1, kWidth, kHeight);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(completer->getFrame(7, 2, kWidth, kHeight), first);
  EXPECT_EQ(clip.times, (std::vector<double>{7}));
  ASSERT_EQ(completer->cache.size(), 1u);
  EXPECT_EQ(completer->cache[0].users, 2);
  EXPECT_EQ(completer->cache[0].lastRender, 2);
  completer->doneFrame(7, kWidth, kHeight);
  completer->doneFrame(8, kWidth, kHeight);
  EXPECT_EQ(completer->cache[0].users, 1);
  completer->releaseCaches();
  EXPECT_TRUE(completer->cache.empty());
}

TEST_F(FrameCacheTest, AFullCacheDropsTheFirstIdleFrameOrGrows) {
  completer->setMaxCacheSize(2);
  completer->getFrame(1, 1, kWidth, kHeight);
  completer->getFrame(2, 1, kWidth, kHeight);
  completer->getFrame(3, 1, kWidth, kHeight);
  EXPECT_EQ(completer->cache.size(), 3u) << "all in use";
  completer->doneFrame(2, kWidth, kHeight);
  completer->getFrame(4, 1, kWidth, kHeight);
  ASSERT_EQ(completer->cache.size(), 3u);
  EXPECT_EQ(completer->cache[0].frame, 1);
  EXPECT_EQ(completer->cache[1].frame, 3);
  EXPECT_EQ(completer->cache[2].frame, 4);
}

TEST_F(FrameCacheTest, TrimmingDropsWhatIsIdleForSixteenRenders) {
  completer->getFrame(1, 10, kWidth, kHeight);
  completer->getFrame(2, 11, kWidth, kHeight);
  completer->getFrame(3, 10, kWidth, kHeight);
  completer->doneFrame(1, kWidth, kHeight);
  completer->doneFrame(2, kWidth, kHeight);
  completer->trimCache(26);
  ASSERT_EQ(completer->cache.size(), 2u);
  EXPECT_EQ(completer->cache[0].frame, 2);
  EXPECT_EQ(completer->cache[1].frame, 3) << "in use";
}

TEST(VideoCompleter, WithoutARenderRecordNothingIsCompleted) {
  const VideoCompleter plain;
  EXPECT_EQ(plain.maxCacheSize(), 0);
  EXPECT_EQ(plain.renderMode(), 0);
  EXPECT_EQ(plain.extent, 0);
  EXPECT_EQ(plain.neighbourHood, 0);
  EXPECT_EQ(plain.previousFrameCompleted, 0);
  EXPECT_FALSE(plain.enableAGC || plain.selfLocking || plain.doMosaic || plain.transferPrevious || plain.expaint);
  const VideoCompleter whole{FxRenderInfo()};
  EXPECT_EQ(whole.maxCacheSize(), 50);
  EXPECT_EQ(whole.renderMode(), 1);
  EXPECT_EQ(whole.extent, 100);
  EXPECT_EQ(whole.neighbourHood, 15);
  EXPECT_EQ(whole.previousFrameCompleted, -10000);
  EXPECT_TRUE(whole.enableAGC && whole.selfLocking && whole.doMosaic && whole.transferPrevious && whole.expaint);
}

TEST_F(FrameCacheTest, CachesCanBeReleasedBeforeAnyFrame) {
  VideoCompleter unused;
  unused.releaseCaches();
  EXPECT_EQ(unused.getFrame(0, 0, 4, 4), nullptr);
}

}  // namespace
