#include "planning/MotionProcessorFCPX.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>

#include "numerics/Geometry.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Point2D;

namespace {

constexpr int width = 640, height = 480;

Matrix Similarity(double angle, double x, double y) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 0) = m(1, 1) = std::cos(angle);
  m(1, 0) = std::sin(angle);
  m(0, 1) = -m(1, 0);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

/// A clip whose frame-to-frame motion a function gives; frame `first` stands still.
struct Clip {
  Clip(int first, int last, const std::function<Matrix(int)>& motionOf) {
    for (int frame = first; frame <= last; ++frame) {
      const Matrix m = frame == first ? Matrix::GetIdentity(3) : motionOf(frame);
      motion.Set(frame, m);
      quasiAffine.Set(frame, m);
      confidence.Set(frame, 1.0f);
    }
    motion.AppendRange(first, last);
    quasiAffine.AppendRange(first, last);
  }

  HomographySet motion, quasiAffine;
  MotionConfidenceSet confidence;
};

double Shake(int frame) { return 6.0 * std::sin(frame * 2.1) + 4.0 * std::cos(frame * 1.3); }

/// Hand shake about a standing camera.
Clip ShakyHold(int last) {
  return Clip(0, last,
              [](int f) { return Similarity(0, Shake(f) - Shake(f - 1), 0.5 * (Shake(f + 7) - Shake(f + 6))); });
}

void Plan(MotionProcessorFCPX& processor, const Clip& clip, bool withRotation = true) {
  processor.setWidth(width, height);
  processor.setInputMotion(clip.motion, withRotation ? clip.quasiAffine : HomographySet(), clip.confidence);
  processor.initialiseEvents();
  processor.processMotion();
}

Matrix At(const HomographySet& set, int frame) {
  Matrix m;
  EXPECT_TRUE(set.Get(frame, m)) << frame;
  return m;
}

/// Where the centre of frame `frame` stands in the output, relative to the frame's centre, once the clip is corrected:
/// the camera's own path, accumulated, and then the compensation.
Point2D CorrectedCentre(const MotionProcessorFCPX& processor, const Clip& clip, int frame) {
  Point2D scene(0, 0);  // a scene point that frame 0 has at its centre
  for (int f = 1; f <= frame; ++f) scene = Vorn::ProjectPoint(At(clip.motion, f), scene);
  return Vorn::ProjectPoint(At(*processor.compensatingMotion(), frame), scene);
}

TEST(MotionProcessorFCPX, StartsWithItsDefaults) {
  const MotionProcessorFCPX processor;
  EXPECT_EQ(processor.eventPriority, 2);
  EXPECT_EQ(processor.globalMotionMode, 1);
  EXPECT_EQ(processor.analysedWidth, 0);
  EXPECT_EQ(processor.globalSmoothFactor, 1.0f);
  EXPECT_FALSE(processor.globalRot);
  EXPECT_FALSE(processor.rotationMode);
  EXPECT_TRUE(processor.validCrop);
  EXPECT_EQ(processor.intentFinder.minInterval, 10);
  EXPECT_EQ(processor.correcter.width, 640);
  EXPECT_EQ(processor.correcter.height, 480);
  EXPECT_EQ(processor.lcf->correcter, &processor.correcter);
  EXPECT_EQ(processor.border()->brx, 0);
}

TEST(MotionProcessorFCPX, TheSizeReachesTheDetectorAndTheCorrecter) {
  MotionProcessorFCPX processor;
  processor.setWidth(321, 201);
  EXPECT_EQ(processor.intentFinder.centre.x, 160.0);
  EXPECT_EQ(processor.intentFinder.centre.y, 100.0);
  EXPECT_EQ(processor.intentFinder.centre.id, -1);
  EXPECT_EQ(processor.correcter.width, 321);
}

TEST(MotionProcessorFCPX, AShakyHoldStandsStill) {
  const Clip clip = ShakyHold(120);
  MotionProcessorFCPX processor;
  processor.setPriorities(MotionPriority);
  Plan(processor, clip);
  ASSERT_EQ(processor.eventsX()->size(), 1u);
  EXPECT_EQ(processor.eventsX()->front().motion_type, MotionStill);
  const Point2D first = CorrectedCentre(processor, clip, 0);
  for (int frame = 1; frame <= 120; ++frame) {
    const Point2D now = CorrectedCentre(processor, clip, frame);
    EXPECT_NEAR(now.x, first.x, 1e-6) << frame;
    EXPECT_NEAR(now.y, first.y, 1e-6) << frame;
  }
  EXPECT_TRUE(processor.goodCrop());
  EXPECT_EQ(*processor.goodFrames(), (std::vector<unsigned>{0, 120}));
}

TEST(MotionProcessorFCPX, AShakyPanBecomesAStraightMove) {
  const Clip clip(0, 120, [](int f) { return Similarity(0, 4.0 + Shake(f) - Shake(f - 1), 0); });
  MotionProcessorFCPX processor;
  processor.setPriorities(MotionPriority);
  Plan(processor, clip);
  for (int frame = 20; frame <= 100; ++frame) {
    const double speed = CorrectedCentre(processor, clip, frame).x - CorrectedCentre(processor, clip, frame - 1).x;
    EXPECT_NEAR(speed, 4.0, 0.5) << frame << ": of up to 24 pixels a frame going in";
  }
}

TEST(MotionProcessorFCPX, WithoutEventsOrProcessingNothingIsCorrected) {
  MotionProcessorFCPX processor;
  processor.setGlobalMode(GlobalNoProc);
  processor.setPriorities(NoEvents);
  Plan(processor, ShakyHold(60));
  for (int frame = 0; frame <= 60; ++frame) {
    const Matrix m = At(*processor.compensatingMotion(), frame);
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(m.data[k], k % 4 == 0 ? 1.0 : 0.0, 1e-9) << frame;
  }
  EXPECT_EQ(processor.border()->tlx, 0);
  EXPECT_EQ(processor.border()->brx, width - 1);
}

TEST(MotionProcessorFCPX, WithoutEventsTheDesignIsTheSmoothedMotion) {
  MotionProcessorFCPX processor;
  processor.setPriorities(NoEvents);
  Plan(processor, ShakyHold(60));
  for (int frame = 0; frame <= 60; ++frame)
    for (int k = 0; k < 9; ++k)
      EXPECT_NEAR(At(*processor.designMotion(), frame).data[k], At(processor.globalFilterMotion, frame).data[k], 1e-9);
}

TEST(MotionProcessorFCPX, CancellingLocksEveryFrameOntoTheFirst) {
  const Clip clip(0, 40, [](int f) { return Similarity(0.01 * std::sin(f), 1.5, Shake(f) - Shake(f - 1)); });
  MotionProcessorFCPX processor;
  processor.setGlobalMode(GlobalCancel);
  Plan(processor, clip);
  for (int frame = 0; frame <= 40; ++frame) {
    EXPECT_TRUE(At(*processor.designMotion(), frame).IsIdentity());
    Point2D corner(200, -150);  // about the centre
    const Point2D wanted = corner;
    for (int f = 1; f <= frame; ++f) corner = Vorn::ProjectPoint(At(clip.motion, f), corner);
    corner = Vorn::ProjectPoint(At(*processor.compensatingMotion(), frame), corner);
    EXPECT_NEAR(corner.x, wanted.x, 1e-6);
    EXPECT_NEAR(corner.y, wanted.y, 1e-6);
  }
}

TEST(MotionProcessorFCPX, CancellingALongPanLosesTheFrame) {
  MotionProcessorFCPX processor;
  processor.setGlobalMode(GlobalCancel);
  Plan(processor, Clip(0, 100, [](int) { return Similarity(0, 10, 0); }));
  EXPECT_FALSE(processor.goodCrop());
  EXPECT_EQ(processor.border()->tlx, 0);
  EXPECT_EQ(processor.border()->bry, height - 1);
  processor.setGlobalMode(GlobalNoProc);
  processor.setPriorities(NoEvents);
  processor.globalFilter();
  processor.initialiseEvents();
  processor.processMotion();
  EXPECT_TRUE(processor.goodCrop()) << "each plan judges anew";
}

TEST(MotionProcessorFCPX, TheBorderLiesInsideEveryCorrectedFrame) {
  const Clip clip = ShakyHold(90);
  MotionProcessorFCPX processor;
  processor.setPriorities(MotionPriority);
  Plan(processor, clip);
  const Vorn::Rectangle& border = *processor.border();
  ASSERT_TRUE(processor.goodCrop());
  EXPECT_GT(border.tlx, 0);
  for (int frame = 0; frame <= 90; ++frame) {
    Matrix inverse = At(*processor.compensatingMotion(), frame);
    ASSERT_TRUE(inverse.Inverse());
    for (const int x : {border.tlx, border.brx})
      for (const int y : {border.tly, border.bry}) {
        const Point2D source =
            Vorn::ProjectPoint(inverse, Point2D(x - width / 2, y - height / 2)) + Point2D(width / 2, height / 2);
        EXPECT_GE(source.x, -1e-3);
        EXPECT_LE(source.x, width - 1 + 1e-3);
        EXPECT_GE(source.y, -1e-3);
        EXPECT_LE(source.y, height - 1 + 1e-3);
      }
  }
}

TEST(MotionProcessorFCPX, WithoutQuasiAffineMotionRotationIsUnknown) {
  const Clip clip(0, 80, [](int f) { return Similarity(0.02 * std::sin(f * 1.7), 0, 0); });
  MotionProcessorFCPX with, without;
  for (MotionProcessorFCPX* processor : {&with, &without}) processor->setRotationEnabled(false);
  Plan(with, clip);
  EXPECT_TRUE(with.rotationMode);
  without.setRotationEnabled(true);
  Plan(without, clip, false);
  EXPECT_FALSE(without.rotationMode);
  for (int frame = 0; frame <= 80; ++frame)
    for (int k = 0; k < 9; ++k)
      EXPECT_EQ(At(*with.compensatingMotion(), frame).data[k], At(*without.compensatingMotion(), frame).data[k]);
  Plan(without, clip, true);
  EXPECT_TRUE(without.rotationMode);
  Plan(without, clip, false);
  EXPECT_FALSE(without.rotationMode) << "it is about the motion in hand";
}

TEST(MotionProcessorFCPX, DampeningCalmsASlowRollHarder) {
  // A roll with a period of 50 frames: a sigma of 4 lets most of it pass, one of 20 little.
  const auto roll = [](int f) { return 0.05 * std::sin(f * 2 * M_PI / 50); };
  const Clip clip(0, 200, [&](int f) { return Similarity(roll(f) - roll(f - 1), 0, 0); });
  double left[2] = {0, 0};
  for (const bool dampen : {false, true}) {
    MotionProcessorFCPX processor;
    processor.setRotationEnabled(dampen);
    processor.setPriorities(NoEvents);
    Plan(processor, clip);
    double angle = 0;
    for (int frame = 0; frame <= 200; ++frame) {
      const Matrix m = At(*processor.designMotion(), frame);
      angle += std::atan2(m(1, 0), m(0, 0));
      if (frame >= 60 && frame <= 140) left[dampen] = std::max(left[dampen], std::fabs(angle));
    }
  }
  EXPECT_GT(left[0], 0.03);
  EXPECT_LT(left[1], 0.01);
}

TEST(MotionProcessorFCPX, RotationOnlyMotionIsPureRotation) {
  const Clip clip(0, 3, [](int) {
    Matrix m = Similarity(0.1, 7, -3) * 1.2;
    m(2, 2) = 1.0;
    return m;
  });
  MotionProcessorFCPX processor;
  processor.setWidth(width, height);
  processor.setInputMotion(clip.motion, clip.quasiAffine, clip.confidence);
  const Matrix m = At(processor.rotationOnlyMotion, 2);
  EXPECT_NEAR(m(0, 0), std::cos(0.1), 1e-12);
  EXPECT_NEAR(m(0, 1), -std::sin(0.1), 1e-12);
  EXPECT_NEAR(m(1, 0), std::sin(0.1), 1e-12);
  EXPECT_EQ(m(0, 2), 0.0);
  EXPECT_EQ(m(2, 2), 1.0);
}

TEST(MotionProcessorFCPX, AllBrokenMeansNothingIsDesigned) {
  Clip clip = ShakyHold(40);
  for (int frame = 0; frame <= 40; ++frame) clip.confidence.Set(frame, 0.0f);
  MotionProcessorFCPX processor;
  Plan(processor, clip);
  ASSERT_EQ(processor.preliminaryEvents.size(), 1u);
  EXPECT_EQ(processor.preliminaryEvents[0].motion_type, MotionBroken);
  EXPECT_TRUE(processor.goodFrames()->empty());
  for (int frame = 0; frame <= 40; ++frame) {
    EXPECT_TRUE(At(*processor.designMotion(), frame).IsIdentity());
    EXPECT_TRUE(At(*processor.actualMotion(), frame).IsIdentity());
    EXPECT_TRUE(At(*processor.compensatingMotion(), frame).IsIdentity());
  }
}

TEST(MotionProcessorFCPX, BehindABreakTheCompensationFadesAndStartsAnew) {
  Clip clip = ShakyHold(120);
  for (int frame = 50; frame <= 70; ++frame) clip.confidence.Set(frame, 0.0f);
  MotionProcessorFCPX processor;
  processor.setPriorities(MotionPriority);
  Plan(processor, clip);
  ASSERT_EQ(processor.resetFrames.size(), 1u);
  const int reset = processor.resetFrames[0];
  EXPECT_EQ(reset, 50);
  const Matrix before = At(*processor.compensatingMotion(), reset - 1);
  EXPECT_GT(std::fabs(before(0, 2)), 0.5) << "else there is nothing to fade";
  for (int k = 0; k <= 10; ++k) {
    const Matrix now = At(*processor.compensatingMotion(), reset + k);
    EXPECT_NEAR(now(0, 2), before(0, 2) * (10 - k) / 10.0, 1e-5) << k;
  }
  EXPECT_TRUE(At(*processor.compensatingMotion(), 65).IsIdentity());
  EXPECT_EQ(processor.goodFrames()->size(), 4u);
  EXPECT_EQ((*processor.goodFrames())[1], 49u);
}

TEST(MotionProcessorFCPX, TheFirstFrameGetsTheIdentityWhereItHasNoMotion) {
  Clip clip(0, 30, [](int) { return Similarity(0, 1, 0); });
  clip.motion.Clear();
  for (int frame = 1; frame <= 30; ++frame) clip.motion.Set(frame, Similarity(0, 1, 0));
  clip.motion.AppendRange(1, 30);
  clip.motion.start = 0;
  MotionProcessorFCPX processor;
  processor.setWidth(width, height);
  processor.setInputMotion(clip.motion, clip.quasiAffine, clip.confidence);
  EXPECT_TRUE(At(processor.rawMotion, 0).IsIdentity());
  ASSERT_EQ(processor.rawMotion.range.data.size(), 1u);
  EXPECT_EQ(processor.rawMotion.range.data[0].first, 0);
}

TEST(MotionProcessorFCPX, AClipOfOneFrameStaysWhereItIs) {
  for (const bool rotation : {false, true}) {
    MotionProcessorFCPX processor;
    processor.setRotationEnabled(rotation);
    Plan(processor, Clip(0, 0, [](int) { return Matrix::GetIdentity(3); }));
    EXPECT_TRUE(At(*processor.compensatingMotion(), 0).IsIdentity());
    EXPECT_EQ(processor.border()->brx, width - 1);
    EXPECT_TRUE(processor.goodCrop());
  }
}

TEST(MotionProcessorFCPX, WithoutMotionTheWholeFrameIsTheBorder) {
  MotionProcessorFCPX processor;
  processor.setWidth(width, height);
  processor.setInputMotion(HomographySet(), HomographySet(), MotionConfidenceSet());
  processor.initialiseEvents();
  processor.processMotion();
  EXPECT_TRUE(processor.compensatingMotion()->hset.empty());
  EXPECT_EQ(processor.border()->brx, width - 1);
  EXPECT_EQ(processor.border()->bry, height - 1);
  EXPECT_TRUE(processor.goodCrop());
}

TEST(MotionProcessorFCPX, StoredEventsAreTakenAsTheyAre) {
  const Clip clip = ShakyHold(120);
  MotionProcessorFCPX fresh, reloaded;
  fresh.setPriorities(MotionPriority);
  Plan(fresh, clip);
  reloaded.setWidth(width, height);
  reloaded.setInputMotion(clip.motion, clip.quasiAffine, clip.confidence);
  reloaded.setLoadedEventsH(*fresh.eventsX(), *fresh.eventsY(), *fresh.filtersX(), *fresh.filtersY());
  reloaded.processMotion();
  EXPECT_EQ(*reloaded.goodFrames(), *fresh.goodFrames());
  for (int frame = 0; frame <= 120; ++frame)
    for (int k = 0; k < 9; ++k)
      EXPECT_EQ(At(*reloaded.compensatingMotion(), frame).data[k], At(*fresh.compensatingMotion(), frame).data[k]);
}

TEST(MotionProcessorFCPX, EventsComeFromAFile) {
  const std::string path = testing::TempDir() + "EventsComeFromAFile.mfp";
  LocalCorrect store(nullptr);
  const std::vector<MotionInterval> events = {
      {0, 49, MotionStill, false}, {50, 70, MotionBroken, false}, {71, 120, MotionMoving, true}};
  const std::vector<MotionFixParams> fits = {
      {Hold, 0, 0, 0, 0, 0, 2, 2}, {None, 0, 0, 0, 0, 0, 0, 0}, {Linear, 0.5f, 0, 0, 50, 0, 0, 25}};
  store.SetFromData(events, events, fits, fits);
  ASSERT_TRUE(store.Save(path.c_str()));
  MotionProcessorFCPX processor;
  ASSERT_TRUE(processor.loadEvents(path));
  EXPECT_EQ(*processor.filtersX(), fits);
  ASSERT_EQ(processor.eventsY()->size(), 3u);
  EXPECT_TRUE(processor.eventsY()->back().cut);
  EXPECT_EQ(*processor.goodFrames(), (std::vector<unsigned>{0, 49, 71, 120}));
  EXPECT_FALSE(processor.loadEvents(path + ".missing"));
  std::remove(path.c_str());
}

TEST(MotionProcessorFCPX, ClearForgetsEventsAndFits) {
  MotionProcessorFCPX processor;
  Plan(processor, ShakyHold(60));
  ASSERT_FALSE(processor.eventsX()->empty());
  processor.clear();
  EXPECT_TRUE(processor.eventsX()->empty());
  EXPECT_TRUE(processor.filtersY()->empty());
}

}  // namespace
