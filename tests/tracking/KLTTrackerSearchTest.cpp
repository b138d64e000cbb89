// How KLTTracker follows features and which it drops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "Scenes.h"
#include "imaging/Sobel.h"
#include "numerics/Matrix.h"
#include "numerics/Parallel.h"
#include "tracking/KLTTracker.h"

namespace Vorn {
namespace {

using TrackStatus = FeatureStorage::TrackStatus;

/// The list's points by id.
std::map<int, Point2D> ById(const std::list<Point2D>& points) {
  std::map<int, Point2D> byId;
  for (const Point2D& point : points) byId[point.id] = point;
  return byId;
}

/// Detects in the first frame, tracks into the second: pairs of start and end by id.
std::vector<std::pair<Point2D, Point2D>> TrackOnce(FastArray from, FastArray to, int levels, bool verifyAll,
                                                   int window = 15) {
  Tracking t(from.width, from.height, levels, 500, window);
  t.StartDetecting(from);
  const std::map<int, Point2D> starts = ById(t.points);
  EXPECT_TRUE(t.Track(to, from, verifyAll));
  EXPECT_EQ(t.statuses, std::vector<TrackStatus>(t.points.size(), TrackStatus::TrackContinued));
  std::vector<std::pair<Point2D, Point2D>> moved;
  for (const auto& [id, end] : ById(t.points)) moved.emplace_back(starts.at(id), end);
  return moved;
}

void ExpectMove(const std::vector<std::pair<Point2D, Point2D>>& moved, double dx, double dy, double tolerance) {
  ASSERT_GE(moved.size(), 10u);  // an empty result must not pass
  for (const auto& [start, end] : moved) {
    EXPECT_NEAR(end.x - start.x, dx, tolerance) << "at " << start.x << "," << start.y;
    EXPECT_NEAR(end.y - start.y, dy, tolerance) << "at " << start.x << "," << start.y;
  }
}

TEST(KLTTrackerSearch, FeaturesFollowASubpixelMove) {
  for (const bool verifyAll : {false, true})  // ten times the step at which the search stops
    ExpectMove(TrackOnce(WavesMovedBy(0, 0), WavesMovedBy(2.25, -1.5), 1, verifyAll), 2.25, -1.5, 0.1);
}

TEST(KLTTrackerSearch, ThePyramidReachesMovesBeyondTheWindow) {
  const auto scene = [](double dx, double dy) {  // waves of 75 to 270 pixels, so that nothing within reach looks alike
    return FrameOf(320, 240, [=](double x, double y) {
      const double u = x - dx, v = y - dy;
      return 128.0 + 50.0 * std::sin(u / 43.0) * std::cos(v / 38.0) + 25.0 * std::sin((u + 0.6 * v) / 17.0) +
             20.0 * std::sin((0.8 * u - v) / 12.0);
    });
  };
  auto moved = TrackOnce(scene(0, 0), scene(21.5, -14.25), 4, true);
  std::erase_if(moved, [](const auto& pair) {  // at the edge a window sees what isn't in the scene
    return pair.second.x > 300 || pair.second.y < 20;
  });
  ExpectMove(moved, 21.5, -14.25, 0.15);
}

TEST(KLTTrackerSearch, EveryWindowSizeFollows) {
  for (const int window : {7, 8, 16, 21, 33})
    ExpectMove(TrackOnce(WavesMovedBy(0, 0, 240, 180), WavesMovedBy(1.25, -0.75, 240, 180), 2, true, window), 1.25,
               -0.75, 0.1);
}

TEST(KLTTrackerSearch, IdenticalFramesLeaveFeaturesWhereTheyAre) {
  for (const int levels : {1, 3}) {
    const FastArray frame = NoiseFrame(160, 120, 21);
    const auto moved = TrackOnce(frame, frame, levels, true);
    ExpectMove(moved, 0.0, 0.0, 0.0);
    for (const auto& [start, end] : moved) EXPECT_EQ(end.weight, 0.0);
  }
}

TEST(KLTTrackerSearch, WithoutFeaturesTheListsAreEmptied) {
  FastArray frame = ConstantFrame(64, 48, 9.0F);
  for (const bool verify : {false, true}) {
    Tracking t(64, 48, 2);
    t.StartDetecting(frame);
    t.points = {Point2D(1, 1)};
    t.statuses = {TrackStatus::TrackNew};
    EXPECT_TRUE(t.Track(frame, frame, verify, verify));
    EXPECT_TRUE(t.points.empty());
    EXPECT_TRUE(t.statuses.empty());
    EXPECT_EQ(t.tracker.framesTracked, 1);
  }
}

TEST(KLTTrackerSearch, TracksGrowByOnePointAFrame) {
  Tracking t(160, 120, 3);
  FastArray frames[] = {WavesMovedBy(0, 0), WavesMovedBy(1, 0.5), WavesMovedBy(2, 1), WavesMovedBy(3, 1.5)};
  t.StartDetecting(frames[0]);
  for (int i = 1; i < 4; ++i) {
    ASSERT_TRUE(t.Track(frames[i], frames[i - 1], i == 2, i == 3));
    ASSERT_GE(t.points.size(), 10u);
    EXPECT_EQ(t.tracker.framesTracked, i);
    auto point = t.points.begin();
    for (const Feature& feature : t.tracker.features) {
      if (feature.status != FeatureTracked) continue;
      ASSERT_EQ(feature.track.size(), i + 1u);
      EXPECT_NEAR(feature.track.back().x - feature.track.front().x, i, 0.1);
      EXPECT_EQ(point->id, feature.id);
      EXPECT_EQ(point->x, feature.track.back().x);
      EXPECT_EQ(point->weight, feature.quality);
      ++point;
    }
    EXPECT_EQ(point, t.points.end());
    EXPECT_EQ(t.tracker.CountActive(), static_cast<int>(t.points.size()));
  }
}

TEST(KLTTrackerSearch, ALongTrackForgetsItsOldestPointsOnly) {
  constexpr int frames = 1000, firstFrame = 7;
  Tracking t(60, 60, 1, 10);
  FastArray frame = NoiseFrame(60, 60, 5);
  PointSet given;
  given.Add(Point2D(30, 30));
  t.tracker.AddFeatures(given, firstFrame, &frame);
  t.tracker.features.push_back(t.tracker.features[0]);
  t.tracker.features[1].start = -1;  // as of those that were detected
  size_t longest = 0;
  for (int i = 1; i <= frames; ++i) {
    ASSERT_TRUE(t.Track(frame, frame, true));
    ASSERT_EQ(t.points.size(), 2u) << i;
    const Feature& feature = t.tracker.features[0];
    longest = std::max(longest, feature.track.size());
    ASSERT_GE(feature.track.size(), std::min(i + 1u, 100u));
    ASSERT_EQ(feature.start + static_cast<int>(feature.track.size()) - 1, firstFrame + i);
    ASSERT_EQ(t.tracker.features[1].start, -1);
    ASSERT_EQ(t.tracker.features[1].track.size(), feature.track.size());
  }
  EXPECT_LE(longest, 256u);
  EXPECT_LE(t.tracker.features[0].track.capacity(), 256u);
}

TEST(KLTTrackerSearch, TheFiveArgumentFormKeepsTheFlags) {
  FastArray frame = WavesMovedBy(0, 0);
  ArrayPyramid pyramid(frame, 1, true);
  Tracking t(160, 120, 1);
  t.StartDetecting(frame);
  t.Track(frame, frame, false, false);
  FeatureTracker& tracker = t.tracker;
  tracker.Track(pyramid, pyramid, Matrix::GetIdentity(3), t.points, t.statuses);
  EXPECT_FALSE(t.tracker.gradientsCurrent);
  t.Track(frame, frame, true, false);
  EXPECT_TRUE(t.tracker.verifyAll);
  EXPECT_TRUE(t.tracker.gradientsCurrent);
  t.Track(frame, frame, false, true);
  EXPECT_FALSE(t.tracker.verifyAll);
  EXPECT_TRUE(t.tracker.verifySelected);
  EXPECT_TRUE(t.tracker.gradientsCurrent);
}

TEST(KLTTrackerSearch, GradientsLeftByTheBackwardPassGiveTheSameTracks) {
  FastArray frames[5];
  for (int i = 0; i < 5; ++i) frames[i] = WavesMovedBy(0.8 * i, -0.6 * i);
  Tracking computed(160, 120, 3), reused(160, 120, 3);
  computed.StartDetecting(frames[0]);
  reused.StartDetecting(frames[0]);
  for (int i = 1; i < 5; ++i) {
    computed.Track(frames[i], frames[i - 1], false, false);
    reused.Track(frames[i], frames[i - 1], false, true);  // nothing is doubtful here
    ASSERT_GE(computed.points.size(), 10u);
    EXPECT_EQ(computed.points, reused.points) << "frame " << i;
  }
}

TEST(KLTTrackerSearch, ReplenishedFeaturesAreFollowedFromTheirOwnFrame) {
  FastArray first = WavesMovedBy(0, 0), second = WavesMovedBy(1.5, 1), third = WavesMovedBy(3, 2);
  Tracking t(160, 120, 2);
  t.StartDetecting(first);
  t.Track(second, first, false, false);
  t.tracker.features.resize(t.tracker.features.size() / 2);
  t.tracker.Replenish(second, t.points, t.statuses);
  ASSERT_TRUE(std::count(t.statuses.begin(), t.statuses.end(), TrackStatus::TrackNew) > 5);
  const std::map<int, Point2D> starts = ById(t.points);
  t.Track(third, second, false, false);
  ASSERT_GE(t.points.size(), 10u);
  for (const Point2D& end : t.points) EXPECT_NEAR(end.x - starts.at(end.id).x, 1.5, 0.1);
}

TEST(KLTTrackerSearch, ResultsAreTheSameForAnyProcessorCount) {
  FastArray from = WavesMovedBy(0, 0, 323, 241), to = WavesMovedBy(3.3, -2.6, 323, 241);
  SetProcessorCount(1);
  Tracking one(323, 241, 3);
  one.StartDetecting(from);
  one.Track(to, from, true);
  ASSERT_GE(one.points.size(), 50u);
  for (const int processors : {2, 5}) {
    SetProcessorCount(processors);
    Tracking many(323, 241, 3);
    many.StartDetecting(from);
    many.Track(to, from, true);
    ASSERT_EQ(many.points.size(), one.points.size());
    for (auto a = one.points.begin(), b = many.points.begin(); a != one.points.end(); ++a, ++b) {
      EXPECT_EQ(a->id, b->id);
      EXPECT_EQ(a->x, b->x);
      EXPECT_EQ(a->y, b->y);
      EXPECT_EQ(a->weight, b->weight);
    }
  }
  SetProcessorCount(0);
}

// --- what is dropped ---

TEST(KLTTrackerSearch, AFeatureIsTrackedOnItsOwnAtAnyTime) {
  Tracking t(160, 120, 1);
  FastArray frame = WavesMovedBy(0, 0);
  t.StartAt(frame, {{40, 40}, {80, 60}});
  FastArray x(160, 120), y(160, 120);
  Sobel().Filter(frame, x, 1, 0.125);
  Sobel().Filter(frame, y, 0, 0.125);
  t.tracker.features[1].quality = 1000.0;
  t.tracker.TrackFeature(1, &frame, &frame, &x, &y, 0);  // before any frame was tracked
  EXPECT_EQ(t.tracker.features[1].quality, 0.0);
}

TEST(KLTTrackerSearch, AFeatureOnAConstantAreaIsLost) {
  FastArray frame = ConstantFrame(160, 120, 80.0F);
  for (const int levels : {1, 3}) {
    Tracking t(160, 120, levels);
    t.StartAt(frame, {Point2D(80, 60)});
    t.Track(frame, frame);
    EXPECT_EQ(t.StatusOf(0), FeatureLost);
    EXPECT_TRUE(t.points.empty());
    EXPECT_EQ(t.tracker.CountActive(), 0);
    EXPECT_EQ(t.tracker.features[0].track.size(), 1u);  // what the coarser levels passed down is gone
  }
}

TEST(KLTTrackerSearch, TheCentreMustStayHalfAWindowInsideTheFrame) {
  FastArray frame = WavesMovedBy(0, 0);  // 160 x 120
  Tracking t(160, 120, 1);
  t.StartAt(frame, {Point2D(7, 60), Point2D(6.75, 60), Point2D(80, 7), Point2D(80, 6.75)});
  t.Track(frame, frame);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(t.StatusOf(i), i % 2 == 0 ? FeatureTracked : FeatureOutOfBounds) << i;
  EXPECT_EQ(t.points.size(), 2u);
}

TEST(KLTTrackerSearch, ASourceWindowBeyondTheMarginIsOutOfBounds) {
  FastArray frame = WavesMovedBy(0, 0);
  Tracking t(160, 120, 1);
  // The corner lies 7 before the centre. It may lie from -15, where there is nothing but zeros to see, up to 160 - 15
  // and 120 - 15, both excluded.
  t.StartAt(frame, {Point2D(-8, 60), Point2D(-8.25, 60), Point2D(80, -8), Point2D(80, -9), Point2D(151.75, 60),
                    Point2D(152, 60), Point2D(80, 111.75), Point2D(80, 112), Point2D(1e9, 60),
                    Point2D(80, std::numeric_limits<double>::quiet_NaN())});
  t.Track(frame, frame);
  const std::vector<FeatureStatus> expected = {
      FeatureLost,        FeatureOutOfBounds, FeatureLost,        FeatureOutOfBounds, FeatureTracked,
      FeatureOutOfBounds, FeatureTracked,     FeatureOutOfBounds, FeatureOutOfBounds, FeatureOutOfBounds};
  for (int i = 0; i < 10; ++i) EXPECT_EQ(t.StatusOf(i), expected[i]) << i;
}

TEST(KLTTrackerSearch, AFeatureThatLeavesTheFrameIsOutOfBounds) {
  const auto dim = [](double dx) {  // about 0, so that the zeros outside make no large residual
    return FrameOf(160, 120,
                   [=](double x, double y) { return 10.0 * std::sin((x - dx) / 6.0) + 10.0 * std::cos(y / 5.0); });
  };
  FastArray from = dim(0), left = dim(-4), right = dim(4);
  Tracking t(160, 120, 1), u(160, 120, 1);
  t.StartAt(from, {Point2D(12.5, 60), Point2D(9, 60)});
  t.Track(left, from);
  EXPECT_EQ(t.StatusOf(0), FeatureTracked);      // comes to 8.5
  EXPECT_EQ(t.StatusOf(1), FeatureOutOfBounds);  // comes to 5
  u.StartAt(from, {Point2D(147.5, 60), Point2D(150, 60)});
  u.Track(right, from);
  EXPECT_EQ(u.StatusOf(0), FeatureTracked);      // comes to 151.5
  EXPECT_EQ(u.StatusOf(1), FeatureOutOfBounds);  // comes to 154, and 153 is the last
}

TEST(KLTTrackerSearch, ASearchThatLeavesTheMarginIsOutOfBounds) {
  // A flat target: every step is as wide as the first one, to the right, until the search is beyond the edge.
  FastArray from = FrameOf(160, 120, [](double x, double y) { return 100.0 + x + 20.0 * std::cos(y / 4.0); });
  FastArray to = ConstantFrame(160, 120, 60.0F);
  Tracking t(160, 120, 1);
  t.StartAt(from, {Point2D(80, 60)});
  t.Track(to, from);
  EXPECT_EQ(t.StatusOf(0), FeatureOutOfBounds);
  EXPECT_EQ(t.tracker.features[0].track.size(), 1u);
}

/// A round spot: its gradients cancel over a window about its centre, so an offset of the frame moves nothing.
FastArray Spot(double centreX, double centreY, double offset, double spread = 8.0) {
  return FrameOf(240, 160, [=](double x, double y) {
    const double r2 = (x - centreX) * (x - centreX) + (y - centreY) * (y - centreY);
    return 60.0 + offset + 120.0 * std::exp(-r2 / (2.0 * spread * spread));
  });
}

TEST(KLTTrackerSearch, TheWeightIsTheMeanSquaredDifference) {
  FastArray from = Spot(100, 80, 0), to = Spot(100, 80, 10);
  for (const bool verify : {false, true}) {
    Tracking t(240, 160, 1);
    t.StartAt(from, {Point2D(100, 80)});
    t.Track(to, from, verify);
    ASSERT_EQ(t.points.size(), 1u);
    EXPECT_NEAR(t.points.front().weight, 100.0, 0.5);
    EXPECT_FLOAT_EQ(t.tracker.residualThreshold, 162.5625F);
  }
}

TEST(KLTTrackerSearch, TheWeightIsScaledToFramesOf255) {
  FastArray from = Spot(100, 80, 0), to = Spot(100, 80, 10);
  Tracking t(240, 160, 1);
  t.tracker.imageMax = 510;
  t.StartAt(from, {Point2D(100, 80)});
  t.Track(to, from);
  ASSERT_EQ(t.points.size(), 1u);
  EXPECT_NEAR(t.points.front().weight, 25.0, 0.2);
}

TEST(KLTTrackerSearch, AResidualAboveTheThresholdDropsTheFeature) {
  FastArray from = Spot(100, 80, 0), within = Spot(100, 80, 12.7), beyond = Spot(100, 80, 12.8);  // 161.3 and 163.8
  Tracking a(240, 160, 1), b(240, 160, 1);
  a.StartAt(from, {Point2D(100, 80)});
  b.StartAt(from, {Point2D(100, 80)});
  a.Track(within, from);
  b.Track(beyond, from);
  EXPECT_EQ(a.StatusOf(0), FeatureTracked);
  EXPECT_EQ(b.StatusOf(0), FeatureLargeResidual);
  EXPECT_NEAR(b.tracker.features[0].quality, 163.84, 0.5);
  EXPECT_TRUE(b.points.empty());
}

TEST(KLTTrackerSearch, ADeadFeatureStaysAsItIs) {
  FastArray frame = WavesMovedBy(0, 0);
  Tracking t(160, 120, 2);
  t.StartAt(frame, {Point2D(60, 60), Point2D(100, 60)});
  t.tracker.features[0].status = FeatureLargeResidual;
  t.tracker.features[0].quality = 777.0;
  t.Track(frame, frame, true);
  EXPECT_EQ(t.StatusOf(0), FeatureLargeResidual);
  EXPECT_EQ(t.tracker.features[0].quality, 777.0);
  EXPECT_EQ(t.tracker.features[0].track.size(), 1u);
  ASSERT_EQ(t.points.size(), 1u);
  EXPECT_EQ(t.points.front().id, 1);
}

/// Calls a hook before each feature's level.
class HookedTracker : public KLTTracker {
 public:
  void TrackFeature(unsigned int index, FastArray* target, FastArray* source, FastArray* x, FastArray* y,
                    int level) override {
    if (verifying) {
      const std::lock_guard guard(lock);
      verified.insert(static_cast<int>(index));
    }
    if (hook) hook(*this, features[index], level);
    KLTTracker::TrackFeature(index, target, source, x, y, level);
  }

  std::function<void(const HookedTracker&, Feature&, int level)> hook;
  std::set<int> verified;  // indices of features that were tracked back
  std::mutex lock;
};

/// A still scene in which, while the features are tracked back, where they came from becomes `apart` pixels off.
FeatureStatus StatusAfterBackwardRunEnds(double apart, int levels, std::size_t* trackLength) {
  FastArray frame = WavesMovedBy(0, 0);
  ArrayPyramid pyramid(frame, levels, true);
  HookedTracker tracker;
  tracker.SetOptions(1, 15, levels, 200.0F, 80, false);
  tracker.Initialise(160, 120);
  std::list<Point2D> points = {Point2D(80, 60)};
  std::vector<TrackStatus> statuses;
  tracker.Start(pyramid, points, statuses, true);
  tracker.hook = [=](const HookedTracker& self, Feature& feature, int level) {
    // Without its first level the backward run's own point isn't there yet.
    if (self.verifying && level == 0) (feature.track.end() - (levels == 1 ? 2 : 3))->x += apart;
  };
  tracker.Track(pyramid, pyramid, Matrix::GetIdentity(3), points, statuses, true, false);
  *trackLength = tracker.features[0].track.size();
  return tracker.features[0].status;
}

TEST(KLTTrackerSearch, ABackwardRunMayEndFourPixelsOff) {
  std::size_t length = 0;
  EXPECT_EQ(StatusAfterBackwardRunEnds(0.0, 2, &length), FeatureTracked);
  EXPECT_EQ(StatusAfterBackwardRunEnds(4.0, 1, &length), FeatureTracked);
  EXPECT_EQ(length, 2u);
  EXPECT_EQ(StatusAfterBackwardRunEnds(4.0, 2, &length), FeatureTracked);
  EXPECT_EQ(length, 2u);
  EXPECT_EQ(StatusAfterBackwardRunEnds(4.5, 1, &length), FeatureLost);
  EXPECT_EQ(length, 1u);
  EXPECT_EQ(StatusAfterBackwardRunEnds(4.5, 2, &length), FeatureLost);
  EXPECT_EQ(length, 1u);
}

TEST(KLTTrackerSearch, AFeatureThatDoesNotFindBackIsLostWhenVerified) {
  // The scene of the second frame lies 22 pixels to the right of what the left half of the first one shows, and 8 to
  // the left of what its right half shows: the way back leads elsewhere.
  const auto wave = [](double x, double y) { return 128.0 + 50.0 * std::sin(x / 13.0) + 50.0 * std::cos(y / 13.0); };
  FastArray from = FrameOf(240, 120, [&](double x, double y) { return x < 112 ? wave(x - 100, y) : wave(x - 130, y); });
  FastArray to = FrameOf(240, 120, [&](double x, double y) { return wave(x - 122, y); });
  for (const bool verify : {false, true}) {
    Tracking t(240, 120, 1);
    t.StartAt(from, {Point2D(100, 60)});
    t.Track(to, from, verify);
    if (verify) {
      EXPECT_EQ(t.StatusOf(0), FeatureLost);
      EXPECT_TRUE(t.points.empty());
    } else {
      ASSERT_EQ(t.points.size(), 1u);
      EXPECT_NEAR(t.points.front().x, 122.0, 0.1);
    }
  }
}

// --- the test against the neighbours: cells of 80 by 10 pixels in a frame of 1280 by 160 ---

/// Left of x = 440 everything moves by `left`, right of it by `right`. Wave lengths of 44 pixels.
FastArray TwoParts(const Point2D& left, const Point2D& right) {
  return FrameOf(1280, 160, [=](double x, double y) {
    const Point2D& move = x < 440 ? left : right;
    return 128.0 + 50.0 * std::sin((x - move.x) / 7.0) + 50.0 * std::cos((y - move.y) / 7.0);
  });
}

/// Features at the given x on line 85, the last of them on the right part; their states after one frame.
std::vector<FeatureStatus> StatesInOneCell(const std::vector<double>& at, const Point2D& left, const Point2D& right) {
  FastArray from = TwoParts(Point2D(), Point2D()), to = TwoParts(left, right);
  std::vector<Point2D> points;
  for (const double x : at) points.emplace_back(x, 82);
  Tracking t(1280, 160, 1);
  t.StartAt(from, points);
  t.Track(to, from);
  std::vector<FeatureStatus> states;
  for (const Feature& feature : t.tracker.features) states.push_back(feature.status);
  return states;
}

std::vector<FeatureStatus> AllTrackedBut(std::size_t count, int lost) {
  std::vector<FeatureStatus> states(count, FeatureTracked);
  if (lost >= 0) states[lost] = FeatureLost;
  return states;
}

TEST(KLTTrackerSearch, ACellOfFiveDropsWhatMovesFartherThanItsMedian) {
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 416, 460}, {0, 0}, {8, 0}), AllTrackedBut(5, 4));
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 416, 460}, {0, 0}, {3, 0}), AllTrackedBut(5, -1));
}

TEST(KLTTrackerSearch, ACellOfFourIsNotJudged) {
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 460}, {0, 0}, {8, 0}), AllTrackedBut(4, -1));
}

TEST(KLTTrackerSearch, ACellIsOnlyWhatLiesWithinItsLimits) {
  EXPECT_EQ(StatesInOneCell({388, 404, 408, 412, 460}, {0, 0}, {8, 0}), AllTrackedBut(5, -1));  // 388: the cell before
}

TEST(KLTTrackerSearch, ACellDropsWhatMovesInAnotherDirection) {
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 416, 460}, {5, 0}, {0, 5}), AllTrackedBut(5, 4));
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 416, 460}, {5, 0}, {0, 3.5}), AllTrackedBut(5, -1));  // too short to tell
  EXPECT_EQ(StatesInOneCell({404, 408, 412, 416, 460}, {5, 0}, {5, 1}), AllTrackedBut(5, -1));    // 0.19 radians
}

TEST(KLTTrackerSearch, AnOutlierLosesItsPoint) {
  FastArray from = TwoParts(Point2D(), Point2D()), to = TwoParts(Point2D(), Point2D(7, 0));
  Tracking t(1280, 160, 1);
  t.StartAt(from, {Point2D(404, 82), Point2D(408, 82), Point2D(412, 82), Point2D(416, 82), Point2D(460, 82)});
  t.Track(to, from, true);
  EXPECT_EQ(t.StatusOf(4), FeatureLost);
  EXPECT_EQ(t.tracker.features[4].track.size(), 1u);  // staged for its length only: its direction is the cell's
  EXPECT_EQ(t.points.size(), 4u);
}

// --- the choice of the features to verify ---

/// The features of a wide wave that a frame's halves move by different amounts, and which of them were tracked back.
std::set<int> VerifiedOf(const std::vector<Point2D>& at, const Point2D& left, const Point2D& right, double offset,
                         const Matrix& prediction) {
  const auto scene = [](const Point2D& a, const Point2D& b, double level) {
    return FrameOf(480, 320, [=](double x, double y) {
      const Point2D& move = x < 240 ? a : b;
      return 128.0 + level + 50.0 * std::sin((x - move.x) / 14.0) + 50.0 * std::cos((y - move.y) / 14.0);
    });
  };
  FastArray from = scene(Point2D(), Point2D(), 0.0), to = scene(left, right, offset);
  ArrayPyramid before(from, 1, true), now(to, 1, true);
  HookedTracker tracker;
  tracker.SetOptions(static_cast<int>(at.size()), 15, 1, 200.0F, 80, false);
  tracker.Initialise(480, 320);
  std::list<Point2D> points(at.begin(), at.end());
  int id = 0;
  for (Point2D& point : points) point.id = id++;
  std::vector<TrackStatus> statuses;
  tracker.Start(before, points, statuses, true);
  tracker.Track(now, before, prediction, points, statuses, false, true);
  EXPECT_EQ(points.size(), at.size());  // none was dropped on the way
  return tracker.verified;
}

Matrix ShiftBy(double dx, double dy) {
  Matrix matrix = Matrix::GetIdentity(3);
  matrix(0, 2) = dx;
  matrix(1, 2) = dy;
  return matrix;
}

const std::vector<Point2D> fourLeftOneRight = {Point2D(60, 60), Point2D(120, 130), Point2D(60, 200), Point2D(120, 260),
                                               Point2D(360, 150)};

TEST(KLTTrackerSearch, WhatMovesLikeTheOthersIsNotVerified) {
  EXPECT_TRUE(VerifiedOf(fourLeftOneRight, {2, 1}, {2, 1}, 0.0, ShiftBy(0, 0)).empty());
  EXPECT_TRUE(VerifiedOf(fourLeftOneRight, {16, 0}, {16, 0}, 0.0, ShiftBy(0, 0)).empty());  // far, but all and well
}

TEST(KLTTrackerSearch, WhatMovesMoreThanAWindowUnlikeTheOthersIsVerified) {
  EXPECT_EQ(VerifiedOf(fourLeftOneRight, {0, 0}, {16, 0}, 0.0, ShiftBy(0, 0)), std::set<int>{4});
  EXPECT_EQ(VerifiedOf(fourLeftOneRight, {0, 0}, {0, 16}, 0.0, ShiftBy(0, 0)), std::set<int>{4});
  EXPECT_TRUE(VerifiedOf(fourLeftOneRight, {0, 0}, {14, 0}, 0.0, ShiftBy(0, 0)).empty());
}

TEST(KLTTrackerSearch, ThePredictionIsComparedAsAPlaceInXAndNotAtAllInY) {
  EXPECT_TRUE(VerifiedOf(fourLeftOneRight, {0, 0}, {16, 0}, 0.0, ShiftBy(16 - 360, 0)).empty());
  EXPECT_EQ(VerifiedOf(fourLeftOneRight, {0, 0}, {16, 0}, 0.0, ShiftBy(-16, 0)), std::set<int>{4});
  EXPECT_EQ(VerifiedOf(fourLeftOneRight, {0, 0}, {0, 16}, 0.0, ShiftBy(-360, 16 - 150)), std::set<int>{4});
}

TEST(KLTTrackerSearch, ThePredictionActsAboutTheCentreOfTheFrame) {
  Matrix turned = Matrix::GetIdentity(3);  // by half a turn about (240, 160): (360, 150) goes to (120, 170)
  turned(0, 0) = turned(1, 1) = -1.0;
  turned(0, 2) = 16.0 - 120.0;
  EXPECT_TRUE(VerifiedOf(fourLeftOneRight, {0, 0}, {16, 0}, 0.0, turned).empty());
}

TEST(KLTTrackerSearch, AFastFeatureThatMatchesBadlyIsVerified) {
  // All move alike, so that only the residual can tell; the spot's match is off by the offset's square.
  const auto verified = [](double offset, double dx) {
    FastArray from = Spot(80, 80, 0, 14.0), to = Spot(80 + dx, 80, offset, 14.0);
    ArrayPyramid before(from, 1, true), now(to, 1, true);
    HookedTracker tracker;
    tracker.SetOptions(1, 15, 1, 200.0F, 80, false);
    tracker.Initialise(240, 160);
    std::list<Point2D> points = {Point2D(80, 80)};
    std::vector<TrackStatus> statuses;
    tracker.Start(before, points, statuses, true);
    tracker.Track(now, before, Matrix::GetIdentity(3), points, statuses, false, true);
    EXPECT_EQ(points.size(), 1u);
    return !tracker.verified.empty();
  };
  EXPECT_TRUE(verified(9.0, 16.0));   // 81 is above (0.5 * 255 / 15)^2 = 72.25
  EXPECT_FALSE(verified(8.0, 16.0));  // 64 isn't
  EXPECT_FALSE(verified(9.0, 14.0));  // within a window
}

TEST(KLTTrackerSearch, VerifyAllTracksEveryFeatureBack) {
  FastArray frame = WavesMovedBy(0, 0);
  ArrayPyramid pyramid(frame, 2, true);
  for (const bool selected : {false, true}) {
    HookedTracker tracker;
    tracker.SetOptions(3, 15, 2, 200.0F, 80, false);
    tracker.Initialise(160, 120);
    std::list<Point2D> points = {Point2D(40, 60), Point2D(80, 60), Point2D(120, 60)};
    std::vector<TrackStatus> statuses;
    tracker.Start(pyramid, points, statuses, true);
    tracker.Track(pyramid, pyramid, Matrix::GetIdentity(3), points, statuses, true, selected);
    EXPECT_EQ(tracker.verified, (std::set<int>{0, 1, 2}));
    EXPECT_FALSE(tracker.verifying);
  }
}

// --- what must not crash ---

TEST(KLTTrackerSearch, FramesThatAreNotNumbersLoseFeaturesOnly) {
  FastArray from = WavesMovedBy(0, 0);
  for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    FastArray to = FrameOf(160, 120, [=](double x, double y) {
      return x > 60 && y > 50 ? bad : 128.0 + 50.0 * std::sin(x / 6.0) + 50.0 * std::cos(y / 5.0);
    });
    Tracking t(160, 120, 3);
    t.StartDetecting(from);
    const std::size_t before = t.points.size();
    EXPECT_TRUE(t.Track(to, from, true, true));
    EXPECT_LT(t.points.size(), before);
    EXPECT_TRUE(t.Track(from, to, false, true));
    t.tracker.Replenish(to, t.points, t.statuses);
    EXPECT_TRUE(t.Track(from, to, true));
  }
}

TEST(KLTTrackerSearch, FramesSmallerThanTheWindowAreNoError) {
  for (const auto& [width, height] : {std::pair(4, 3), std::pair(16, 9), std::pair(40, 2)}) {
    FastArray frame = NoiseFrame(width, height, 22);
    Tracking t(width, height, 3);
    t.StartDetecting(frame);
    EXPECT_TRUE(t.Track(frame, frame, true, true));
    EXPECT_TRUE(t.Track(frame, frame, false, false));
  }
}

TEST(KLTTrackerSearch, AnotherFrameSizeThanAnnouncedIsNoError) {
  FastArray small = WavesMovedBy(0, 0, 90, 70), large = WavesMovedBy(0, 0, 200, 150);
  Tracking t(160, 120, 2);
  t.StartDetecting(small);
  EXPECT_TRUE(t.Track(large, small, true));
  EXPECT_TRUE(t.Track(small, large, false, true));
  t.tracker.Replenish(large, t.points, t.statuses);
  EXPECT_FALSE(t.points.empty());
}

}  // namespace
}  // namespace Vorn
