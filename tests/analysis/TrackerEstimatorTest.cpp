#include "analysis/TrackerEstimator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "analysis/FileBytes.h"
#include "analysis/SyntheticClip.h"
#include "numerics/Geometry.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"
#include "numerics/Random.h"
#include "tracking/KLTTracker.h"

using Vorn::HomographySet;
using Vorn::KLTTracker;
using Vorn::Matrix;
using Vorn::Point2D;

namespace {

constexpr int kWidth = 320, kHeight = 240;
using Pose = SyntheticClip::Pose;

const KLTTracker& TrackerOf(const TrackerEstimator& estimator) {
  return static_cast<const KLTTracker&>(*estimator.tracker);
}

/// The system's standard settings for frames of this size.
void Configure(TrackerEstimator& estimator, int first, int last, int width = kWidth, int height = kHeight) {
  estimator.setDetectSubtitles(1);
  estimator.setFBPolicy(3, 5);
  estimator.setRange(first, last);
  estimator.setAxesInverted(0);
  estimator.setAnalysisWidth(width, height);
  estimator.setTrackOptionsWindow(15, -1, 200.0f, 80, 0.2f, 25);
  estimator.setMotionOptions(0, 1, 5, 2.0f);
}

/// A hand-held pan: a few pixels a frame, turning and zooming a little.
Pose HandHeld(int frame) {
  return {2.3 * frame + 3 * std::sin(1.7 * frame), 2.5 * std::sin(0.9 * frame), 0.006 * std::sin(1.1 * frame),
          1 + 0.004 * std::sin(0.8 * frame)};
}

class TrackerEstimatorTest : public ::testing::Test {
 protected:
  TrackerEstimatorTest() : clip(kWidth, kHeight) {
    Vorn::SetRandomSeed(1);
    Vorn::SetProcessorCount(1);
    Vorn::SetLogSink([this](const std::string& message) { log.push_back(message); });
  }
  ~TrackerEstimatorTest() override {
    Vorn::SetProcessorCount(0);
    Vorn::SetLogSink({});
  }

  void Process(int frame, const std::vector<float>& pixels) {
    estimator.processFrame(frame, 0, pixels.data(), kWidth, kHeight, kWidth * 16);
  }
  void Process(int frame, const Pose& pose) { Process(frame, clip.Frame(pose)); }

  std::set<int> IdsOf(const std::vector<Point2D>& points) const {
    std::set<int> ids;
    for (const Point2D& p : points) ids.insert(p.id);
    return ids;
  }

  SyntheticClip clip;
  TrackerEstimator estimator;
  std::vector<std::string> log;
};

TEST_F(TrackerEstimatorTest, DefaultsAreThoseOfANewObject) {
  int first = 0, last = 0, width = 7, height = 7;
  estimator.range(&first, &last);
  estimator.getAnalysisWidth(&width, &height);
  EXPECT_EQ(first, -1);
  EXPECT_EQ(last, -1);
  EXPECT_EQ(width, 0);
  EXPECT_EQ(height, 0);
  EXPECT_FALSE(estimator.invertAxes);
  EXPECT_TRUE(estimator.detectSubtitles);
  EXPECT_EQ(estimator.fbPolicy, 1);
  EXPECT_EQ(estimator.maxVerifyInterval, 5);
  EXPECT_FALSE(estimator.currentLuma || estimator.previousLuma);
  EXPECT_FALSE(estimator.currentPyramid || estimator.previousPyramid);
  EXPECT_TRUE(estimator.tracker);
  EXPECT_TRUE(estimator.ObjC_AGC);
  EXPECT_TRUE(estimator.previousHomography.IsIdentity());
  EXPECT_EQ(estimator.previousHomography.rows, 3u);
  EXPECT_EQ(estimator.previousGain, 1.0f);
  EXPECT_FALSE(estimator.doReplenish);
  for (const int zero :
       {estimator.supportWidth, estimator.supportHeight, estimator.trackableFeatures, estimator.activeFeaturesLastFrame,
        estimator.windowSize, estimator.multiresolutionLevels, estimator.maxNumberFeatures, estimator.maxDetectInterval,
        estimator.detectInterval, estimator.featuresAtDetect, estimator.framesSinceDetect, estimator.framesSinceVerify})
    EXPECT_EQ(zero, 0);
  EXPECT_EQ(estimator.replenishThreshold, 0.0f);
}

TEST_F(TrackerEstimatorTest, LevelsFollowFromTheSmallerSide) {
  const auto levelsOf = [](int width, int height) {
    TrackerEstimator e;
    e.setAnalysisWidth(width, height);
    e.setTrackOptionsWindow(15, -1, 200.0f, 80, 0.2f, 25);
    EXPECT_EQ(TrackerOf(e).levels, e.multiresolutionLevels);
    return e.multiresolutionLevels;
  };
  EXPECT_EQ(levelsOf(640, 480), 3);
  EXPECT_EQ(levelsOf(1920, 1080), 5);
  EXPECT_EQ(levelsOf(1080, 1920), 5);
  EXPECT_EQ(levelsOf(200, 120), 1);
  EXPECT_EQ(levelsOf(200, 121), 2);
  EXPECT_EQ(levelsOf(500, 241), 2);
  EXPECT_EQ(levelsOf(500, 242), 3);
}

TEST_F(TrackerEstimatorTest, TrackOptionsReachTheTrackerAndTheEstimator) {
  estimator.setAnalysisWidth(640, 480);
  estimator.setTrackOptionsWindow(11, 2, 200.0f, 80, 0.25f, 30);
  EXPECT_EQ(estimator.multiresolutionLevels, 2);
  EXPECT_EQ(estimator.windowSize, 11);
  EXPECT_EQ(estimator.replenishThreshold, 0.25f);
  EXPECT_EQ(estimator.maxDetectInterval, 30);
  EXPECT_EQ(estimator.detectInterval, 30);
  EXPECT_EQ(estimator.maxNumberFeatures, 43 * 58 / 2);  // 480 / 11, 640 / 11
  EXPECT_EQ(TrackerOf(estimator).maxFeatures, estimator.maxNumberFeatures);
  EXPECT_EQ(TrackerOf(estimator).window, 11);
  EXPECT_EQ(TrackerOf(estimator).levels, 2);
  EXPECT_FALSE(TrackerOf(estimator).blockMode);
  EXPECT_EQ(TrackerOf(estimator).gradientX.width, 640);
  EXPECT_EQ(estimator.motionEstimator.sourceWidth, 640);
  EXPECT_EQ(estimator.motionEstimator.sourceHeight, 480);
}

TEST_F(TrackerEstimatorTest, FeatureBudgetIsOneForEveryTwoTiles) {
  estimator.windowSize = 15;
  estimator.setAnalysisWidth(1920, 1080);
  EXPECT_EQ(estimator.suggestNumberFeatureTracks(), 4608);
  estimator.setAnalysisWidth(45, 45);
  EXPECT_EQ(estimator.suggestNumberFeatureTracks(), 4);  // 3 * 1.5, truncated
  estimator.setAnalysisWidth(14, 1080);
  EXPECT_EQ(estimator.suggestNumberFeatureTracks(), 0);
  estimator.windowSize = 0;
  EXPECT_EQ(estimator.suggestNumberFeatureTracks(), 0);
}

TEST_F(TrackerEstimatorTest, BudgetOfZeroLeavesTheTrackersOptions) {
  estimator.setAnalysisWidth(14, 100);
  estimator.setTrackOptionsWindow(15, -1, 200.0f, 80, 0.2f, 25);
  EXPECT_EQ(estimator.maxNumberFeatures, 0);
  EXPECT_EQ(TrackerOf(estimator).maxFeatures, 1000);
}

TEST_F(TrackerEstimatorTest, MotionOptionsTakeTheTrackersWindow) {
  estimator.setAnalysisWidth(640, 480);
  estimator.setTrackOptionsWindow(11, -1, 200.0f, 80, 0.2f, 25);
  estimator.setMotionOptions(1, 0, 5, 2.0f);
  EXPECT_EQ(estimator.motionEstimator.windowSize, 11);
  EXPECT_EQ(estimator.motionEstimator.qualityMax, 255);
  EXPECT_FALSE(estimator.motionEstimator.useDirect);
  EXPECT_EQ(estimator.motionEstimator.minTrackDuration, 5);
  EXPECT_EQ(estimator.motionEstimator.landmarkThresh, 2.0);
}

TEST_F(TrackerEstimatorTest, SubtitleDetectionIsPassedOn) {
  estimator.setDetectSubtitles(0);
  EXPECT_FALSE(estimator.motionEstimator.subtitleDetection);
  estimator.setDetectSubtitles(3);
  EXPECT_EQ(estimator.detectSubtitles, 3);
  EXPECT_TRUE(estimator.motionEstimator.subtitleDetection);
}

TEST_F(TrackerEstimatorTest, FirstFrameFindsFeaturesAndHasNoMotion) {
  Configure(estimator, 10, 20);
  estimator.framesSinceVerify = 3;
  Process(10, Pose{});
  EXPECT_GT(estimator.trackPoints.size(), 100u);
  EXPECT_EQ(estimator.featuresAtDetect, static_cast<int>(estimator.trackPoints.size()));
  EXPECT_EQ(estimator.previousPoints.points.size(), estimator.trackPoints.size());
  EXPECT_EQ(estimator.previousPoints[5].id, std::next(estimator.trackPoints.begin(), 5)->id);
  EXPECT_EQ(estimator.framesSinceDetect, 0);
  EXPECT_EQ(estimator.framesSinceVerify, 3);  // left alone
  EXPECT_EQ(estimator.supportWidth, kWidth);
  EXPECT_EQ(estimator.supportHeight, kHeight);
  EXPECT_EQ(estimator.detectInterval, 25);
  EXPECT_FALSE(estimator.currentLuma || estimator.currentPyramid);
  EXPECT_TRUE(estimator.previousLuma && estimator.previousPyramid);
  EXPECT_EQ(&(*estimator.previousPyramid)[0], estimator.previousLuma.get());
  Matrix m;
  EXPECT_TRUE(estimator.motionEstimator.motion.Get(10, m));
  EXPECT_TRUE(m.IsIdentity());
  EXPECT_EQ(estimator.motionEstimator.confSet.Get(10), 1.0f);
  float gain = 0;
  EXPECT_TRUE(estimator.gainStorage.GetGain(10, gain));
  EXPECT_EQ(gain, 1.0f);
}

TEST_F(TrackerEstimatorTest, ClipOfOneFrameIsPublished) {
  Configure(estimator, 7, 7);
  Process(7, Pose{});
  estimator.finaliseFrom(7, 7);
  Matrix m;
  EXPECT_TRUE(estimator.motion()->Get(7, m));
  EXPECT_TRUE(m.IsIdentity());
  EXPECT_EQ(estimator.confidence()->number, 1u);
  EXPECT_EQ(estimator.confidence()->Get(7), 1.0f);
  EXPECT_EQ(estimator.getAGC()->GetStart(), 7);
}

/// How far two motions take points of a grid over the frame apart, sorted.
class Errors {
 public:
  explicit Errors(const SyntheticClip& scene) : clip(scene) {}

  void Add(const Matrix& found, const Matrix& truth) {
    const auto originX = static_cast<float>(clip.centreX), originY = static_cast<float>(clip.centreY);
    for (int y = 0; y < clip.height; y += 40)
      for (int x = 0; x < clip.width; x += 40)
        errors.push_back(Vorn::Distance(Vorn::ProjectPoint(found, Point2D(x, y), originX, originY),
                                        Vorn::ProjectPoint(truth, Point2D(x, y), originX, originY)));
    std::ranges::sort(errors);
  }
  double Median() const { return errors[errors.size() / 2]; }
  double Percentile95() const { return errors[errors.size() * 95 / 100]; }

 private:
  const SyntheticClip& clip;
  std::vector<double> errors;
};

TEST_F(TrackerEstimatorTest, HandHeldMotionIsMeasured) {
  constexpr int last = 11;
  Configure(estimator, 0, last);
  for (int frame = 0; frame <= last; ++frame) Process(frame, HandHeld(frame));
  estimator.finaliseFrom(0, last);
  EXPECT_TRUE(estimator.motion()->IsValid());

  Errors errors(clip), similarityErrors(clip);
  for (int frame = 1; frame <= last; ++frame) {
    const Matrix truth = SyntheticClip::Motion(HandHeld(frame - 1), HandHeld(frame));
    Matrix found, similarity;
    ASSERT_TRUE(estimator.motion()->Get(frame, found));
    ASSERT_TRUE(estimator.qamotion()->Get(frame, similarity));
    errors.Add(found, truth);
    similarityErrors.Add(similarity, truth);
    EXPECT_GT(estimator.confidence()->Get(frame), 0.9f);
  }
  // The search for a feature stops at steps of 0.01 pixels; the fit over many features does better in the middle.
  EXPECT_LT(errors.Median(), 0.01);
  EXPECT_LT(errors.Percentile95(), 0.03);
  EXPECT_LT(similarityErrors.Median(), 0.01);
  EXPECT_LT(similarityErrors.Percentile95(), 0.03);
}

TEST_F(TrackerEstimatorTest, MovingObjectIsIgnoredFromTheThirdFrameOn) {
  constexpr int last = 8;
  Errors errors(clip);
  Configure(estimator, 0, last);
  for (int frame = 0; frame <= last; ++frame) {
    std::vector<float> pixels = clip.Frame(HandHeld(frame));
    clip.PaintObject(pixels, -90 + 6 * frame, 20, 40);
    Process(frame, pixels);
    if (frame < 3) continue;
    Matrix found;
    ASSERT_TRUE(estimator.motionEstimator.motion.Get(frame, found));
    errors.Add(found, SyntheticClip::Motion(HandHeld(frame - 1), HandHeld(frame)));
  }
  EXPECT_LT(errors.Median(), 0.08);
  EXPECT_LT(errors.Percentile95(), 0.3);
}

TEST_F(TrackerEstimatorTest, MotionIsMeasuredWithSeveralProcessorsToo) {
  Vorn::SetProcessorCount(4);
  Errors errors(clip);
  Configure(estimator, 0, 3);
  for (int frame = 0; frame <= 3; ++frame) Process(frame, HandHeld(frame));
  for (int frame = 1; frame <= 3; ++frame) {
    Matrix found;
    ASSERT_TRUE(estimator.motionEstimator.motion.Get(frame, found));
    errors.Add(found, SyntheticClip::Motion(HandHeld(frame - 1), HandHeld(frame)));
  }
  EXPECT_LT(errors.Median(), 0.01);
  EXPECT_LT(errors.Percentile95(), 0.03);
}

TEST_F(TrackerEstimatorTest, GainFollowsTheExposure) {
  const double exposures[] = {1.0, 1.0, 0.98, 0.96, 0.96};
  std::vector<double> gains;
  Configure(estimator, 0, 4);
  for (int frame = 0; frame <= 4; ++frame) {
    float gain = 0;
    Process(frame, clip.Frame(HandHeld(frame), exposures[frame]));
    ASSERT_TRUE(estimator.gainStorage.GetGain(frame, gain));
    EXPECT_EQ(estimator.previousGain, gain);
    gains.push_back(gain);
  }
  // A gain brings its frame back to the first one. The tracker gives way to a change of brightness by moving a little,
  // so that the patches at its features show only a part of it: about two thirds on this scene.
  EXPECT_EQ(gains[0], 1.0);
  EXPECT_NEAR(gains[1], 1.0, 0.001);
  for (const int frame : {2, 3, 4}) {
    const double change = 1.0 / exposures[frame] - 1.0;
    EXPECT_GT(gains[frame] - 1.0, 0.5 * change);
    EXPECT_LT(gains[frame] - 1.0, 1.02 * change);
  }
  EXPECT_NEAR(gains[4], gains[3], 0.001);
}

TEST_F(TrackerEstimatorTest, FinaliseGivesTheRangeToMotionAndGainsOnly) {
  Configure(estimator, 3, 4);
  Process(3, HandHeld(3));
  Process(4, HandHeld(4));
  EXPECT_TRUE(estimator.motion()->hset.empty());
  estimator.finaliseFrom(3, 4);
  ASSERT_EQ(estimator.motion()->range.data.size(), 1u);
  EXPECT_EQ(estimator.motion()->range.data[0].last, 4);
  EXPECT_TRUE(estimator.qamotion()->range.data.empty());
  EXPECT_EQ(estimator.motionEstimator.motion.range.data.size(), 1u);
  EXPECT_EQ(estimator.getAGC()->GetStop(), 4);
  EXPECT_EQ(estimator.confidence()->number, 2u);
}

TEST_F(TrackerEstimatorTest, LastFrameSchedulesNothingAndKeepsItsBuffers) {
  Configure(estimator, 0, 2);
  Process(0, HandHeld(0));
  Process(1, HandHeld(1));
  const auto* const currentLuma = estimator.previousLuma.get();
  const std::set<int> before = IdsOf(estimator.previousPoints.points);
  estimator.detectInterval = 0;  // a detection would be due
  Process(2, HandHeld(2));
  EXPECT_EQ(estimator.previousLuma.get(), currentLuma);
  EXPECT_TRUE(estimator.currentLuma);
  EXPECT_FALSE(estimator.doReplenish);
  EXPECT_EQ(estimator.framesSinceDetect, 2);
  EXPECT_EQ(IdsOf(estimator.previousPoints.points), before);
  Matrix m;
  ASSERT_TRUE(estimator.motionEstimator.motion.Get(2, m));
  EXPECT_FALSE(m.IsIdentity());
  for (int i = 0; i < 9; ++i) EXPECT_EQ(estimator.previousHomography.data[i], m.data[i]);
  float gain = 0;
  EXPECT_TRUE(estimator.gainStorage.GetGain(2, gain));
}

TEST_F(TrackerEstimatorTest, TwoBuffersOfEachKindAlternate) {
  Configure(estimator, 0, 9);
  for (int frame = 0; frame < 3; ++frame) Process(frame, HandHeld(frame));
  const auto* const a = estimator.currentLuma.get();
  const auto* const b = estimator.previousLuma.get();
  const float* const data = b->data;
  Process(3, HandHeld(3));
  EXPECT_EQ(estimator.currentLuma.get(), b);
  EXPECT_EQ(estimator.previousLuma.get(), a);
  Process(4, HandHeld(4));
  EXPECT_EQ(estimator.previousLuma.get(), b);
  EXPECT_EQ(estimator.previousLuma->data, data);
  EXPECT_EQ(&(*estimator.previousPyramid)[0], b);
}

TEST_F(TrackerEstimatorTest, FullVerificationFollowsThePolicy) {
  const auto run = [&](int policy) {
    TrackerEstimator each;
    Configure(each, 0, 20);
    each.setFBPolicy(policy, 2);
    std::vector<int> sinceVerify;
    for (int frame = 0; frame <= 7; ++frame) {
      const std::vector<float> pixels = clip.Frame({0.5 * frame, 0, 0, 1});
      each.processFrame(frame, 0, pixels.data(), kWidth, kHeight, kWidth * 16);
      sinceVerify.push_back(each.framesSinceVerify);
    }
    return sinceVerify;
  };
  EXPECT_EQ(run(1), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(run(2), (std::vector<int>{0, 0, 1, 2, 0, 1, 2, 0}));  // after the detection, and when two frames are behind
  EXPECT_EQ(run(3), (std::vector<int>{0, 0, 1, 2, 0, 1, 2, 0}));
  EXPECT_EQ(run(0), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(TrackerEstimatorTest, DetectionsComeAtTheInterval) {
  Configure(estimator, 0, 20);
  estimator.setTrackOptionsWindow(15, -1, 200.0f, 80, 0.9f, 4);
  std::vector<int> sinceDetect;
  for (int frame = 0; frame <= 9; ++frame) {
    Process(frame, Pose{0.3 * frame, 0, 0, 1});
    sinceDetect.push_back(estimator.framesSinceDetect);
  }
  EXPECT_EQ(sinceDetect, (std::vector<int>{0, 1, 2, 3, 0, 1, 2, 3, 0, 1}));
}

TEST_F(TrackerEstimatorTest, NewFeaturesAreMatchedTwoFramesAfterTheirBirth) {
  Configure(estimator, 0, 20);
  Process(0, HandHeld(0));
  Process(1, HandHeld(1));
  estimator.detectInterval = 2;
  Process(2, HandHeld(2));
  ASSERT_EQ(estimator.framesSinceDetect, 0);
  std::set<int> born;
  for (const Point2D& p : estimator.trackPoints) born.insert(p.id);
  for (const int id : IdsOf(estimator.previousPoints.points)) born.erase(id);
  ASSERT_GT(born.size(), 3u);
  estimator.detectInterval = 25;

  const auto recorded = [&] {
    return std::ranges::count_if(estimator.motionEstimator.matchWeights,
                                 [&](const MatchWeight& w) { return born.contains(w.id); });
  };
  Process(3, HandHeld(3));
  EXPECT_EQ(recorded(), 0);
  Process(4, HandHeld(4));
  EXPECT_GT(recorded(), 3);
}

TEST_F(TrackerEstimatorTest, TotalLossFindsNewFeaturesAtOnceButHasNoMatchesForAFrame) {
  Configure(estimator, 0, 20);
  Process(0, HandHeld(0));
  Process(1, HandHeld(1));
  Process(2, std::vector<float>(size_t{kWidth} * kHeight * 4, 0.5f));  // nothing to see
  EXPECT_EQ(estimator.currentPoints.points.size(), 0u);
  EXPECT_EQ(estimator.framesSinceDetect, 0);  // a detection took place
  EXPECT_TRUE(estimator.trackPoints.empty());
  EXPECT_EQ(estimator.motionEstimator.confSet.Get(2), 0.0f);

  Process(3, HandHeld(3));
  EXPECT_GT(estimator.trackPoints.size(), 100u);
  EXPECT_EQ(estimator.motionEstimator.confSet.Get(3), 0.0f);
  Process(4, HandHeld(4));  // a list, but no points of the frame before
  EXPECT_TRUE(estimator.motionEstimator.directlyEstimated);
  EXPECT_GT(estimator.motionEstimator.confSet.Get(4), 0.9f);
  EXPECT_GT(estimator.previousPoints.points.size(), 100u);
  Process(5, HandHeld(5));
  EXPECT_FALSE(estimator.motionEstimator.directlyEstimated);
  EXPECT_GT(estimator.motionEstimator.confSet.Get(5), 0.9f);
}

/// Runs two frames and then a third with this change made before it; whether it made the estimator find new features.
class ReplenishTest : public TrackerEstimatorTest {
 protected:
  template <typename Change>
  bool DetectsAfter(Change change) {
    Configure(estimator, 0, 20);
    for (int frame = 0; frame < 2; ++frame) Process(frame, Pose{0.3 * frame, 0, 0, 1});
    EXPECT_EQ(estimator.framesSinceDetect, 1);
    change();
    Process(2, Pose{0.6, 0, 0, 1});
    return estimator.framesSinceDetect == 0;
  }
};

TEST_F(ReplenishTest, NothingIsDueOnAQuietShot) {
  EXPECT_FALSE(DetectsAfter([] {}));
  EXPECT_EQ(estimator.framesSinceDetect, 2);
  EXPECT_EQ(estimator.activeFeaturesLastFrame, static_cast<int>(estimator.trackPoints.size()));
}

TEST_F(ReplenishTest, ManyLostFeaturesAreReplaced) {
  EXPECT_TRUE(DetectsAfter([&] { estimator.trackableFeatures *= 2; }));
}

TEST_F(ReplenishTest, NoTrackableFeaturesCountAsLost) {
  EXPECT_TRUE(DetectsAfter([&] { estimator.trackableFeatures = 0; }));
}

TEST_F(ReplenishTest, LossOfTwoFifthsAtOnceIsReplaced) {
  EXPECT_TRUE(DetectsAfter([&] { estimator.activeFeaturesLastFrame *= 2; }));
}

TEST_F(ReplenishTest, NoFeaturesOnTheLastFrameAreNoLoss) {
  EXPECT_FALSE(DetectsAfter([&] { estimator.activeFeaturesLastFrame = 0; }));
}

TEST_F(ReplenishTest, IntervalBelowZeroDetectsOnEveryFrame) {
  EXPECT_TRUE(DetectsAfter([&] { estimator.detectInterval = -3; }));
  Process(3, Pose{0.9, 0, 0, 1});
  EXPECT_EQ(estimator.framesSinceDetect, 0);
}

TEST_F(ReplenishTest, RightAfterADetectionOnlyTheIntervalCounts) {
  EXPECT_FALSE(DetectsAfter([&] {
    estimator.framesSinceDetect = 0;
    estimator.activeFeaturesLastFrame = 100000;
  }));
  EXPECT_EQ(estimator.framesSinceDetect, 1);
  EXPECT_EQ(estimator.trackableFeatures, static_cast<int>(estimator.trackPoints.size()));
}

TEST_F(TrackerEstimatorTest, SupportIsWeakBelowHalfOfTheFrame) {
  estimator.setAnalysisWidth(400, 200);
  estimator.supportWidth = 400;
  estimator.supportHeight = 200;
  estimator.detectInterval = 25;
  const auto weak = [&](double width, double height) {
    return estimator.sufficientSupport({Point2D(10, 20), Point2D(10 + width, 30), Point2D(15, 20 + height)});
  };
  EXPECT_TRUE(weak(199, 180));
  EXPECT_TRUE(weak(380, 99));
  EXPECT_TRUE(estimator.sufficientSupport({}));
  EXPECT_EQ(estimator.detectInterval, 25);
  EXPECT_EQ(estimator.supportWidth, 400);
  EXPECT_EQ(estimator.supportHeight, 200);
  EXPECT_FALSE(weak(390.7, 180.2));
  EXPECT_EQ(estimator.detectInterval, 25);
  EXPECT_EQ(estimator.supportWidth, 390);
  EXPECT_EQ(estimator.supportHeight, 180);
}

TEST_F(TrackerEstimatorTest, ShrinkingSupportBringsDetectionsForward) {
  estimator.setAnalysisWidth(400, 200);
  const auto intervalAfter = [&](double width, double height) {
    estimator.supportWidth = 400;
    estimator.supportHeight = 200;
    estimator.detectInterval = 3;
    EXPECT_FALSE(estimator.sufficientSupport({Point2D(0, 0), Point2D(width, height)}));
    return estimator.detectInterval;
  };
  EXPECT_EQ(intervalAfter(400, 200), 3);
  EXPECT_EQ(intervalAfter(340, 170), 3);
  EXPECT_EQ(intervalAfter(339, 200), 1);
  EXPECT_EQ(intervalAfter(400, 169), 1);
  EXPECT_EQ(intervalAfter(280, 140), 1);
  EXPECT_EQ(intervalAfter(279, 200), -1);
  EXPECT_EQ(intervalAfter(400, 139), -1);
}

TEST_F(TrackerEstimatorTest, EachFrameIsLogged) {
  Configure(estimator, 0, 20);
  const std::vector<float> frame(size_t{kWidth} * kHeight * 4, 0.5f);
  estimator.processFrame(0, 2, frame.data(), kWidth, kHeight, kWidth * 16);
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(log[0], "Get pyramid for frame 0, lacing 2");
}

TEST_F(TrackerEstimatorTest, PyramidIsMadeOfTheField) {
  Configure(estimator, 0, 20);
  estimator.setAxesInverted(1);
  std::vector<float> frame(size_t{kWidth} * kHeight * 4);
  for (int y = 0; y < kHeight; ++y)
    for (int i = 0; i < kWidth * 4; ++i) frame[y * kWidth * 4 + i] = static_cast<float>(y % 2);
  estimator.getCurrentPyramidForFrame(0, 1, frame.data(), kWidth, kHeight, kWidth * 16);
  ASSERT_TRUE(estimator.currentPyramid);
  EXPECT_EQ(estimator.currentPyramid->levels, estimator.multiresolutionLevels);
  const Vorn::FastArray& luma = (*estimator.currentPyramid)[0];
  EXPECT_EQ(&luma, estimator.currentLuma.get());
  for (int y = 0; y < kHeight; ++y) EXPECT_EQ(luma(9, y), 255.0f) << y;  // the last row, turned up, was 1: even rows
  EXPECT_NEAR((*estimator.currentPyramid)[1](20, 20), 255.0f, 1e-3);
}

TEST_F(TrackerEstimatorTest, FrameOfAnotherSizeIsLeftOut) {
  Configure(estimator, 0, 20);
  Process(0, HandHeld(0));
  const std::vector<float> small(100 * 50 * 4, 0.5f);
  estimator.processFrame(1, 0, small.data(), 100, 50, 1600);
  Matrix m;
  EXPECT_FALSE(estimator.motionEstimator.motion.Get(1, m));
  EXPECT_EQ(estimator.previousLuma->width, kWidth);
}

TEST_F(TrackerEstimatorTest, RunBeginsWithTheFirstFrameThatArrives) {
  Configure(estimator, 0, 20);
  Process(4, HandHeld(4));
  Process(5, HandHeld(5));
  EXPECT_EQ(estimator.motionEstimator.motion.start, 4);
  EXPECT_EQ(estimator.motionEstimator.confSet.Get(4), 1.0f);
}

TEST_F(TrackerEstimatorTest, ClearMakesReadyForAnotherRunAndKeepsWhatWasMeasured) {
  Configure(estimator, 0, 2);
  for (int frame = 0; frame <= 2; ++frame) Process(frame, HandHeld(frame));
  estimator.finaliseFrom(0, 2);
  estimator.doReplenish = true;
  estimator.clear();
  EXPECT_TRUE(estimator.motion()->hset.empty());
  EXPECT_TRUE(estimator.confidence()->index.empty());
  EXPECT_TRUE(TrackerOf(estimator).features.empty());
  EXPECT_FALSE(estimator.currentLuma || estimator.previousLuma);
  EXPECT_FALSE(estimator.currentPyramid || estimator.previousPyramid);
  EXPECT_EQ(estimator.supportWidth, 0);
  EXPECT_EQ(estimator.supportHeight, 0);
  EXPECT_EQ(estimator.trackableFeatures, 0);
  EXPECT_EQ(estimator.activeFeaturesLastFrame, 0);
  EXPECT_FALSE(estimator.doReplenish);
  EXPECT_EQ(estimator.previousGain, 1.0f);
  EXPECT_TRUE(estimator.previousHomography.IsIdentity());

  EXPECT_EQ(estimator.qamotion()->hset.size(), 3u);
  EXPECT_EQ(estimator.motionEstimator.motion.hset.size(), 3u);
  EXPECT_FALSE(estimator.motionEstimator.matchWeights.empty());
  EXPECT_EQ(estimator.getAGC()->GetStop(), 2);

  Configure(estimator, 5, 6);
  Process(5, HandHeld(5));
  Process(6, HandHeld(6));
  estimator.finaliseFrom(5, 6);
  EXPECT_EQ(estimator.motion()->hset.size(), 5u);
  EXPECT_EQ(estimator.motion()->range.data.size(), 2u);
}

TEST_F(TrackerEstimatorTest, StoredMotionIsTakenOver) {
  HomographySet motion;
  MotionConfidenceSet confidence;
  motion.Set(4, Matrix::GetIdentity(3));
  confidence.Set(4, 0.5f);
  estimator.setMotion(motion, confidence);
  EXPECT_EQ(estimator.motion()->number, 1u);
  EXPECT_EQ(estimator.confidence()->Get(4), 0.5f);
}

class LoadMotionTest : public TrackerEstimatorTest {
 protected:
  LoadMotionTest() : folder(::testing::TempDir() + "orvane_load_motion" + std::to_string(getpid()) + "/") {
    std::filesystem::create_directories(folder);
    HomographySet motion;
    MotionConfidenceSet confidence;
    for (const int frame : {3, 4, 7}) motion.Set(frame, Matrix::GetIdentity(3));
    confidence.Set(3, 0.25f);
    confidence.Set(90, 0.5f);
    motion.Save(MotionPath().c_str());
    confidence.Save(ConfidencePath().c_str());
  }
  ~LoadMotionTest() override { std::filesystem::remove_all(folder); }

  std::string MotionPath() const { return folder + "motion.set"; }
  std::string ConfidencePath() const { return folder + "confidence.mconf"; }

  std::string folder;
};

TEST_F(LoadMotionTest, EveryLoadedFrameIsTrusted) {
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), MotionPath().c_str(), ConfidencePath().c_str()));
  EXPECT_EQ(estimator.motion()->number, 3u);
  EXPECT_EQ(estimator.qamotion()->number, 3u);
  for (int frame = 3; frame <= 7; ++frame) EXPECT_EQ(estimator.confidence()->Get(frame), 1.0f);
  EXPECT_EQ(estimator.confidence()->number, 6u);  // 3 to 7, and 90 from the file
  EXPECT_EQ(estimator.confidence()->Get(90), 0.5f);
}

TEST_F(LoadMotionTest, SecondAndThirdPathMayBeAbsentOrWrong) {
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr));
  EXPECT_TRUE(estimator.qamotion()->hset.empty());
  EXPECT_EQ(estimator.confidence()->number, 5u);
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), "/nonexistent/a", "/nonexistent/b"));
}

TEST_F(LoadMotionTest, MissingMotionFails) {
  EXPECT_FALSE(estimator.loadMotion(nullptr, MotionPath().c_str(), ConfidencePath().c_str()));
  EXPECT_TRUE(estimator.qamotion()->hset.empty());
  estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr);
  EXPECT_FALSE(estimator.loadMotion("/nonexistent/a", nullptr, ConfidencePath().c_str()));
  EXPECT_TRUE(estimator.motion()->hset.empty());
  EXPECT_TRUE(estimator.confidence()->index.empty());
}

TEST_F(LoadMotionTest, SpanThatNoClipHasIsRefused) {
  HomographySet motion;
  motion.Set(-2000000000, Matrix::GetIdentity(3));
  motion.Set(2000000000, Matrix::GetIdentity(3));
  ASSERT_TRUE(motion.Save(MotionPath().c_str()));
  EXPECT_FALSE(estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr));
  EXPECT_TRUE(estimator.motion()->hset.empty());
}

TEST_F(LoadMotionTest, ALoadedMotionLeavesNothingOfTheOneBefore) {
  HomographySet before;
  for (int frame = 0; frame <= 99; ++frame) before.Set(frame, Matrix::GetIdentity(3));
  before.AppendRange(0, 99);
  before.originLocation = 0;
  estimator.setMotion(before, MotionConfidenceSet());
  *estimator.qamotion() = before;
  ASSERT_TRUE(estimator.loadMotion(MotionPath().c_str(), MotionPath().c_str(), nullptr));
  for (const HomographySet* set : {estimator.motion(), estimator.qamotion()}) {
    EXPECT_TRUE(set->range.data.empty()) << "the file has no ranges";
    EXPECT_EQ(set->start, 3);
    EXPECT_EQ(set->end, 7);
    EXPECT_EQ(set->originLocation, 4);
  }
}

TEST_F(LoadMotionTest, ASetWithoutFramesLoads) {
  ASSERT_TRUE(HomographySet().Save(MotionPath().c_str()));
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr));
  EXPECT_TRUE(estimator.motion()->hset.empty());
  EXPECT_EQ(estimator.confidence()->index, std::vector<int>{-1});
  std::ofstream(MotionPath(), std::ios::binary) << std::string("RIFF\4\0\0\0HSET", 12);
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), nullptr, ConfidencePath().c_str()));
  EXPECT_EQ(estimator.confidence()->index, (std::vector<int>{3, 90, -1})) << "it goes from -1 to -1, inclusive";
  EXPECT_EQ(estimator.confidence()->Get(-1), 1.0f);
  EXPECT_EQ(estimator.confidence()->Get(3), 0.25f);
}

TEST_F(LoadMotionTest, RangesThatClaimFarMoreThanTheFileHoldsAreRefused) {
  HomographySet motion;
  motion.Set(0, Matrix::GetIdentity(3));
  motion.Set(1, Matrix::GetIdentity(3));
  for (const auto& [first, last, loads] : std::vector<std::tuple<int, int, bool>>{
           {0, 1, true}, {0, 2, true}, {0, 1000000, false}, {0, 2147483647, false}, {-2147483647, 0, false}}) {
    motion.range.data = {{first, last}};
    ASSERT_TRUE(motion.Save(MotionPath().c_str()));
    EXPECT_EQ(estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr), loads) << first << " to " << last;
    EXPECT_EQ(estimator.motion()->range.data.empty(), !loads);
  }
}

TEST_F(LoadMotionTest, DamagedRotationAndConfidenceCountAsMissing) {
  const std::string damaged = folder + "damaged";
  HomographySet rotation;
  rotation.Set(0, Matrix::GetIdentity(3));
  rotation.Set(2000000000, Matrix::GetIdentity(3));
  ASSERT_TRUE(rotation.Save(damaged.c_str()));
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), damaged.c_str(), nullptr));
  EXPECT_TRUE(estimator.qamotion()->hset.empty());

  MotionConfidenceSet confidence;
  confidence.Set(-2000000000, 0.5f);
  confidence.Set(5, 0.5f);
  ASSERT_TRUE(confidence.Save(damaged.c_str()));
  EXPECT_TRUE(estimator.loadMotion(MotionPath().c_str(), nullptr, damaged.c_str()));
  EXPECT_EQ(estimator.confidence()->start, 3);
  EXPECT_EQ(estimator.confidence()->number, 5u);
}

TEST_F(LoadMotionTest, DebugFilesAreWrittenOrTheirFailureIsLogged) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  estimator.loadMotion(MotionPath().c_str(), nullptr, nullptr);
  estimator.saveMotionDebug();
  HomographySet motion;
  MotionConfidenceSet confidence;
  EXPECT_TRUE(motion.Load("fcpx.set"));
  EXPECT_TRUE(confidence.Load("fcpx.mconf"));
  EXPECT_EQ(motion.number, 3u);
  EXPECT_EQ(confidence.number, 5u);
  EXPECT_TRUE(log.empty());

  std::filesystem::remove("fcpx.set");
  std::filesystem::remove("fcpx.mconf");
  std::filesystem::create_directory("fcpx.set");  // in the way
  std::filesystem::create_directory("fcpx.mconf");
  estimator.saveMotionDebug();
  EXPECT_EQ(log, (std::vector<std::string>{"Failed to save analysed motion", "Failed to save motion confidence"}));
  std::filesystem::current_path(before);
}

}  // namespace
