// Set-up and selection; how features are followed is in KLTTrackerSearchTest.cpp.
#include "tracking/KLTTracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <set>
#include <vector>

#include "Scenes.h"
#include "numerics/Parallel.h"

namespace Vorn {
namespace {

using TrackStatus = FeatureStorage::TrackStatus;

TEST(KLTTracker, HasTheseDefaults) {
  const KLTTracker tracker;
  EXPECT_EQ(tracker.window, 15);
  EXPECT_EQ(tracker.minEigenvalue, 0.005F);
  EXPECT_TRUE(tracker.features.empty());
  EXPECT_EQ(tracker.eigenvalueFraction, 0.005F);
  EXPECT_FALSE(tracker.blockMode);
  EXPECT_EQ(tracker.nextFeatureId, 0);
  EXPECT_EQ(tracker.maxFeatures, 1000);
  EXPECT_EQ(tracker.maxRange, 30.0F);
  EXPECT_EQ(tracker.levels, 1);
  EXPECT_EQ(tracker.framesTracked, 0);
  EXPECT_EQ(tracker.residualScale, 255);
  EXPECT_EQ(tracker.imageMax, 255);
  EXPECT_EQ(tracker.residualThreshold, 150.0F);
  EXPECT_TRUE(tracker.verifyAll);
  EXPECT_FALSE(tracker.verifySelected);
  EXPECT_FALSE(tracker.verifying);
  EXPECT_FALSE(tracker.gradientsCurrent);
  EXPECT_EQ(tracker.CountActive(), 0);
}

TEST(KLTTracker, SetOptionsStoresAllSix) {
  KLTTracker tracker;
  EXPECT_TRUE(tracker.SetOptions(4608, 21, 5, 200.0F, 80, true));
  EXPECT_EQ(tracker.maxFeatures, 4608);
  EXPECT_EQ(tracker.window, 21);
  EXPECT_EQ(tracker.levels, 5);
  EXPECT_EQ(tracker.minEigenvalue, 200.0F);
  EXPECT_EQ(tracker.maxRange, 80.0F);
  EXPECT_TRUE(tracker.blockMode);
}

TEST(KLTTracker, SetOptionsRefusesAnEmptyBudgetOrWindowAndChangesNothing) {
  KLTTracker tracker;
  EXPECT_FALSE(tracker.SetOptions(0, 15, 3, 200.0F, 80, false));
  EXPECT_FALSE(tracker.SetOptions(100, 0, 3, 200.0F, 80, true));
  EXPECT_FALSE(tracker.SetOptions(-1, 9, 3, 200.0F, 80, true));
  EXPECT_EQ(tracker.maxFeatures, 1000);
  EXPECT_EQ(tracker.window, 15);
  EXPECT_EQ(tracker.levels, 1);
  EXPECT_EQ(tracker.minEigenvalue, 0.005F);
  EXPECT_EQ(tracker.maxRange, 30.0F);
  EXPECT_FALSE(tracker.blockMode);
}

TEST(KLTTracker, InitialiseSizesTheGradientsAndTheirPyramids) {
  KLTTracker tracker;
  tracker.SetOptions(100, 15, 3, 200.0F, 80, false);
  ASSERT_TRUE(tracker.Initialise(101, 64));
  EXPECT_EQ(tracker.gradientX.width, 101);
  EXPECT_EQ(tracker.gradientY.height, 64);
  ASSERT_NE(tracker.gradientPyramidX, nullptr);
  EXPECT_EQ(&(*tracker.gradientPyramidX)[0], &tracker.gradientX);
  EXPECT_EQ((*tracker.gradientPyramidY)[2].width, 25);
  EXPECT_EQ((*tracker.gradientPyramidY)[2].height, 16);
  const ArrayPyramid* kept = tracker.gradientPyramidX.get();
  ASSERT_TRUE(tracker.Initialise(101, 64));
  EXPECT_EQ(tracker.gradientPyramidX.get(), kept);
  tracker.SetOptions(100, 15, 2, 200.0F, 80, false);
  ASSERT_TRUE(tracker.Initialise(101, 64));
  EXPECT_EQ(tracker.gradientPyramidX->levels, 2);
}

TEST(KLTTracker, InitialiseRefusesSizesThatHaveNoMemory) {
  KLTTracker tracker;
  EXPECT_FALSE(tracker.Initialise(-1, 10));
  EXPECT_FALSE(tracker.Initialise(10, -1));
  EXPECT_FALSE(tracker.Initialise(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()));
  EXPECT_TRUE(tracker.Initialise(40, 30));
}

TEST(KLTTracker, ClearForgetsFeaturesAndFlags) {
  FastArray frame = WavesMovedBy(0, 0);
  Tracking t(160, 120, 2);
  t.StartDetecting(frame);
  t.Track(frame, frame, false, true);
  ASSERT_FALSE(t.tracker.features.empty());
  ASSERT_TRUE(t.tracker.gradientsCurrent);
  t.tracker.Clear();
  EXPECT_TRUE(t.tracker.features.empty());
  EXPECT_EQ(t.tracker.nextFeatureId, 0);
  EXPECT_EQ(t.tracker.framesTracked, 0);
  EXPECT_TRUE(t.tracker.verifyAll);
  EXPECT_FALSE(t.tracker.verifySelected);
  EXPECT_FALSE(t.tracker.verifying);
  EXPECT_FALSE(t.tracker.gradientsCurrent);
  EXPECT_EQ(t.tracker.maxFeatures, 500);  // options stay
}

/// The eigenvalue map by the definition, in double precision; 0 on the border.
std::vector<double> EigenvaluesByDefinition(const FastArray& gx, const FastArray& gy) {
  const int width = gx.width, height = gx.height;
  std::vector<double> map(static_cast<std::size_t>(width) * height, 0.0);
  for (int y = 1; y < height - 1; ++y)
    for (int x = 1; x < width - 1; ++x) {
      double xx = 0, yy = 0, xy = 0;
      for (int v = y - 1; v <= y + 1; ++v)
        for (int u = x - 1; u <= x + 1; ++u) {
          xx += gx(u, v) * gx(u, v);
          yy += gy(u, v) * gy(u, v);
          xy += gx(u, v) * gy(u, v);
        }
      const double trace = xx + yy, determinant = xx * yy - xy * xy;  // the roots of l^2 - trace l + determinant
      map[static_cast<std::size_t>(y) * width + x] =
          trace / 2 - std::sqrt(std::max(0.0, trace * trace / 4 - determinant));
    }
  return map;
}

TEST(KLTTracker, EigenvaluesAreTheSmallerRootsOfTheGradientMatrix) {
  const FastArray gx = NoiseFrame(37, 29, 5), gy = NoiseFrame(37, 29, 6);
  FastArray map = ConstantFrame(41, 29, -1.0F);
  KLTTracker tracker;
  tracker.maxEvalue = 0.0F;
  tracker.CalculateEigenvalues(gx.data, gy.data, gx.stride, 37, 29, 1, 28, map.data, map.stride);
  const std::vector<double> expected = EigenvaluesByDefinition(gx, gy);
  for (int y = 0; y < 29; ++y)
    for (int x = 0; x < 37; ++x) {
      const bool border = x == 0 || y == 0 || x == 36 || y == 28;
      if (border)
        EXPECT_EQ(map(x, y), -1.0F) << x << "," << y;
      else  // sums of up to 9 * 255^2 in single precision
        EXPECT_NEAR(map(x, y), expected[y * 37 + x], 0.5) << x << "," << y;
    }
  EXPECT_NEAR(tracker.maxEvalue, *std::max_element(expected.begin(), expected.end()), 0.5);
}

TEST(KLTTracker, EigenvaluesAreWrittenForTheRowsOfTheStripeOnly) {
  const FastArray gx = NoiseFrame(20, 20, 7), gy = NoiseFrame(20, 20, 8);
  FastArray map = ConstantFrame(20, 20, -1.0F);
  KLTTracker tracker;
  tracker.CalculateEigenvalues(gx.data, gy.data, 20, 20, 20, 5, 9, map.data, 20);
  for (int y = 0; y < 20; ++y) EXPECT_EQ(map(10, y) != -1.0F, y >= 5 && y <= 9) << y;
}

TEST(KLTTracker, AStraightEdgeHasNoSmallerEigenvalue) {
  const FastArray gx = FrameOf(16, 16, [](double x, double) { return x == 8 ? 40.0 : 0.0; });
  const FastArray gy = ConstantFrame(16, 16, 0.0F);
  FastArray map = ConstantFrame(16, 16, -1.0F);
  KLTTracker tracker;
  tracker.CalculateEigenvalues(gx.data, gy.data, 16, 16, 16, 1, 15, map.data, 16);
  EXPECT_EQ(map(8, 8), 0.0F);
  EXPECT_EQ(tracker.maxEvalue, 0.0F);
}

TEST(KLTTracker, AConstantFrameHasNoFeatures) {
  FastArray frame = ConstantFrame(64, 48, 100.0F);
  Tracking t(64, 48, 2);
  t.StartDetecting(frame);
  EXPECT_EQ(t.tracker.maxEvalue, 0.0F);
  EXPECT_TRUE(t.points.empty());
  EXPECT_TRUE(t.statuses.empty());
  EXPECT_TRUE(t.tracker.features.empty());
}

TEST(KLTTracker, TheFirstDetectionReportsNewFeaturesBestFirst) {
  FastArray frame = NoiseFrame(160, 120, 9);
  Tracking t(160, 120, 2, 50);
  t.StartDetecting(frame);
  ASSERT_EQ(t.points.size(), 50u);
  ASSERT_EQ(t.statuses.size(), 50u);
  double lastQuality = std::numeric_limits<double>::infinity();
  auto point = t.points.begin();
  for (int i = 0; i < 50; ++i, ++point) {
    const Feature& feature = t.tracker.features[i];
    EXPECT_EQ(feature.id, i);
    EXPECT_EQ(feature.start, -1);
    EXPECT_EQ(feature.status, FeatureNew);
    EXPECT_LE(feature.quality, lastQuality);
    lastQuality = feature.quality;
    ASSERT_EQ(feature.track.size(), 1u);
    EXPECT_EQ(feature.track[0].id, -1);
    EXPECT_EQ(feature.track[0].weight, 1.0);
    EXPECT_EQ(point->x, feature.track[0].x);
    EXPECT_EQ(point->y, feature.track[0].y);
    EXPECT_EQ(point->id, i);
    EXPECT_EQ(point->weight, 1.0);
    EXPECT_EQ(t.statuses[i], TrackStatus::TrackNew);
  }
  EXPECT_EQ(t.tracker.features[0].quality, t.tracker.maxEvalue);
  EXPECT_EQ(t.tracker.CountActive(), 0);  // new ones aren't followed yet
}

struct Corner {
  int x, y;
  float evalue;
  bool operator==(const Corner& other) const { return x == other.x && y == other.y && evalue == other.evalue; }
};

/// The selection written down plainly: every pixel above its threshold, sorted, each kept if no better one is near.
std::vector<Corner> SelectPlainly(KLTTracker& tracker, FastArray& frame, const std::vector<Point2D>& occupied,
                                  const std::function<float(const FastArray&, int, int)>& threshold) {
  const int width = frame.width, height = frame.height, radius = tracker.window / 2;
  FastArray map = ConstantFrame(width, height, 0.0F);
  KLTTracker measuring;
  measuring.CalculateEigenvalues(tracker.gradientX.data, tracker.gradientY.data, width, width, height, 1, height - 1,
                                 map.data, width);
  std::vector<Corner> all, kept;
  for (int y = 1; y < height - 1; ++y)
    for (int x = 1; x < width - 1; ++x)
      if (map(x, y) > threshold(map, x, y)) all.push_back({x, y, map(x, y)});
  std::stable_sort(all.begin(), all.end(), [](const Corner& a, const Corner& b) { return a.evalue > b.evalue; });
  for (const Corner& corner : all) {
    if (static_cast<int>(occupied.size() + kept.size()) >= tracker.maxFeatures) break;
    const auto near = [&](double x, double y) {
      return std::abs(corner.x - x) <= radius && std::abs(corner.y - y) <= radius;
    };
    const bool taken =
        std::any_of(kept.begin(), kept.end(), [&](const Corner& other) { return near(other.x, other.y); }) ||
        std::any_of(occupied.begin(), occupied.end(), [&](const Point2D& other) { return near(other.x, other.y); });
    if (!taken) kept.push_back(corner);
  }
  return kept;
}

std::vector<Corner> NewFeaturesOf(const KLTTracker& tracker) {
  std::vector<Corner> found;
  for (const Feature& feature : tracker.features)
    if (feature.status == FeatureNew)
      found.push_back({static_cast<int>(feature.track[0].x), static_cast<int>(feature.track[0].y),
                       static_cast<float>(feature.quality)});
  return found;
}

TEST(KLTTracker, SelectsTheBestThatAreNotTooNearToABetterOne) {
  FastArray noise = NoiseFrame(150, 110, 10), waves = WavesMovedBy(0.3, 0.6, 150, 110);
  for (FastArray* frame : {&noise, &waves})
    for (const int budget : {1, 20, 100, 5000})  // the last is more than there is room for
      for (const int window : {15, 6, 1}) {
        Tracking t(150, 110, 1, budget, window);
        t.StartDetecting(*frame);
        const std::vector<Corner> expected = SelectPlainly(
            t.tracker, *frame, {}, [&](const FastArray&, int, int) { return t.tracker.maxEvalue * 0.005F; });
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(NewFeaturesOf(t.tracker), expected) << "budget " << budget << ", window " << window;
      }
}

TEST(KLTTracker, PixelsAtOrBelowTheThresholdAreNoCandidates) {
  // One strong corner and one whose eigenvalue is below 0.005 of it.
  FastArray frame = FrameOf(100, 60, [](double x, double y) {
    const double strong = 200.0 * std::exp(-((x - 30) * (x - 30) + (y - 30) * (y - 30)) / 8.0);
    const double weak = 10.0 * std::exp(-((x - 70) * (x - 70) + (y - 30) * (y - 30)) / 8.0);
    return strong + weak;
  });
  Tracking t(100, 60, 1, 5000, 1);
  t.StartDetecting(frame);
  ASSERT_FALSE(t.points.empty());
  for (const Point2D& point : t.points) EXPECT_LT(point.x, 50.0);  // (10 / 200)^2 is 0.0025
  t.tracker.eigenvalueFraction = 0.001F;
  t.points.clear();
  t.StartDetecting(frame);
  EXPECT_TRUE(std::any_of(t.points.begin(), t.points.end(), [](const Point2D& point) { return point.x > 50.0; }));
}

TEST(KLTTracker, TheOutermostRowsAndColumnsHoldNoFeature) {
  FastArray frame = NoiseFrame(40, 30, 11);
  Tracking t(40, 30, 1, 5000, 1);
  t.StartDetecting(frame);
  ASSERT_GT(t.points.size(), 500u);
  for (const Point2D& point : t.points) {
    EXPECT_GE(point.x, 1.0);
    EXPECT_GE(point.y, 1.0);
    EXPECT_LE(point.x, 38.0);
    EXPECT_LE(point.y, 28.0);
  }
}

TEST(KLTTracker, FramesWithoutAnInnerPixelAreNoError) {
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(2, 9), std::pair(9, 2), std::pair(3, 3)}) {
    FastArray frame = NoiseFrame(width, height, 12);
    Tracking t(width, height, 1);
    t.StartDetecting(frame);
    EXPECT_LE(t.points.size(), 1u) << width << "x" << height;
  }
}

/// The features that are left of these, on a frame that gives no new ones.
std::vector<Point2D> KeptOf(const std::vector<Point2D>& at, int window = 15) {
  FastArray frame = ConstantFrame(320, 240, 50.0F);
  Tracking t(320, 240, 1, 500, window);
  t.points.assign(at.begin(), at.end());
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  EXPECT_TRUE(t.points.empty());
  std::vector<Point2D> kept;
  for (const Feature& feature : t.tracker.features) kept.push_back(feature.track.back());
  return kept;
}

TEST(KLTTracker, FeaturesStayMoreThanHalfAWindowApart) {
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(107, 100)}).size(), 1u);
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(108, 100)}).size(), 2u);
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(100, 93)}).size(), 1u);
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(107, 92)}).size(), 2u);
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(103, 100)}, 7).size(), 1u);
  EXPECT_EQ(KeptOf({Point2D(100, 100), Point2D(104, 100)}, 7).size(), 2u);
}

TEST(KLTTracker, FeaturesWhosePixelIsOutsideTheFrameAreDropped) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(KeptOf({Point2D(-1.0, 50), Point2D(50, -1.5), Point2D(320, 100), Point2D(150, 240.25), Point2D(1e12, 9),
                      Point2D(nan, 100), Point2D(100, nan)})
                  .empty());
  EXPECT_EQ(KeptOf({Point2D(-0.75, 50), Point2D(50, -0.25), Point2D(319.9, 239.9)}).size(), 3u);
}

TEST(KLTTracker, OldFeaturesWithoutAnIdGetOne) {
  FastArray frame = ConstantFrame(100, 100, 1.0F);
  Tracking t(100, 100, 1);
  t.points = {Point2D(20, 20), Point2D(50, 50), Point2D(80, 80)};
  std::next(t.points.begin())->id = 4;
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  ASSERT_EQ(t.tracker.features.size(), 3u);
  EXPECT_EQ(t.tracker.features[0].id, 5);
  EXPECT_EQ(t.tracker.features[1].id, 4);
  EXPECT_EQ(t.tracker.features[2].id, 6);
}

TEST(KLTTracker, StartWithResumeTurnsPointsIntoFeatures) {
  FastArray frame = ConstantFrame(100, 100, 1.0F);
  Tracking t(100, 100, 1, 2);
  t.points = {Point2D(20.5, 20.25), Point2D(22, 20)};  // overlapping: no detection, so none is dropped
  t.points.front().id = 11;
  t.points.back().id = 3;
  t.statuses.assign(2, TrackStatus::TrackNew);
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  EXPECT_TRUE(t.points.empty());
  EXPECT_TRUE(t.statuses.empty());
  ASSERT_EQ(t.tracker.features.size(), 2u);
  const Feature& feature = t.tracker.features[0];
  EXPECT_EQ(feature.id, 11);
  EXPECT_EQ(feature.status, FeatureTracked);
  EXPECT_EQ(feature.quality, 0.0);
  ASSERT_EQ(feature.track.size(), 1u);
  EXPECT_EQ(feature.track[0].x, 20.5);
  EXPECT_EQ(feature.track[0].y, 20.25);
  EXPECT_EQ(t.tracker.nextFeatureId, 12);
  EXPECT_EQ(t.tracker.CountActive(), 2);
}

TEST(KLTTracker, StartWithAFullBudgetOfPointsDetectsNothingButHasTheGradients) {
  FastArray frame = FrameOf(80, 60, [](double x, double y) { return 2.0 * x + 3.0 * y; });
  Tracking t(80, 60, 2, 1);
  t.points = {Point2D(40, 30)};
  ArrayPyramid pyramid(frame, 2, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  EXPECT_EQ(t.tracker.features.size(), 1u);
  EXPECT_FLOAT_EQ(t.tracker.gradientX(40, 30), 2.0F);
  EXPECT_FLOAT_EQ(t.tracker.gradientY(40, 30), 3.0F);
  EXPECT_EQ((*t.tracker.gradientPyramidX)[1].width, 40);
}

TEST(KLTTracker, StartWithResumeAndRoomReportsTheNewOnesOnly) {
  FastArray frame = NoiseFrame(160, 120, 13);
  Tracking t(160, 120, 1, 20);
  t.points = {Point2D(80, 60)};
  t.points.front().id = 99;
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  EXPECT_EQ(t.tracker.features.size(), 20u);
  EXPECT_EQ(t.tracker.features[0].id, 99);
  ASSERT_EQ(t.points.size(), 19u);
  EXPECT_EQ(t.points.front().id, 100);
  EXPECT_EQ(t.statuses, std::vector<TrackStatus>(19, TrackStatus::TrackNew));
}

TEST(KLTTracker, StartBeginsTheCountersAnew) {
  FastArray frame = WavesMovedBy(0, 0);
  Tracking t(160, 120, 2);
  t.StartDetecting(frame);
  t.Track(frame, frame, true);
  ASSERT_GT(t.tracker.nextFeatureId, 0);
  ASSERT_EQ(t.tracker.framesTracked, 1);
  const int firstCount = t.tracker.nextFeatureId;
  t.points.clear();
  t.statuses.clear();
  t.StartDetecting(frame);
  EXPECT_EQ(t.tracker.framesTracked, 0);
  EXPECT_FALSE(t.tracker.gradientsCurrent);
  EXPECT_EQ(t.tracker.nextFeatureId, firstCount);  // counted from 0 again
  EXPECT_EQ(t.points.front().id, 0);
}

TEST(KLTTracker, DetectionAppendsToTheLists) {
  FastArray frame = NoiseFrame(100, 80, 14);
  Tracking t(100, 80, 1, 10);
  t.points = {Point2D(1, 2)};
  t.statuses = {TrackStatus::TrackContinued};
  t.StartDetecting(frame);
  ASSERT_EQ(t.points.size(), 11u);
  EXPECT_EQ(t.points.front().x, 1.0);
  EXPECT_EQ(t.statuses.size(), 11u);
  t.tracker.DetectFeatures(frame, t.points, t.statuses, false);  // all ten again, old ones by now but not yet tracked
  EXPECT_EQ(t.points.size(), 21u);
  EXPECT_EQ(t.statuses.back(), TrackStatus::TrackNew);
}

TEST(KLTTracker, ReplenishKeepsLiveFeaturesWithTheirIds) {
  FastArray frame = NoiseFrame(160, 120, 15);
  Tracking t(160, 120, 1, 60);
  t.StartDetecting(frame);
  t.Track(frame, frame);
  const std::size_t alive = t.points.size();
  ASSERT_GT(alive, 30u);
  const std::list<Point2D> before = t.points;
  const int firstNewId = t.tracker.nextFeatureId;
  t.tracker.features[5].status = FeatureLost;
  const int deadId = t.tracker.features[5].id;
  t.tracker.Replenish(frame, t.points, t.statuses);
  EXPECT_EQ(t.points.size(), 60u);
  EXPECT_EQ(t.tracker.framesTracked, 0);
  auto status = t.statuses.begin();
  auto now = t.points.begin();
  for (const Point2D& old : before) {
    if (old.id == deadId) continue;
    EXPECT_EQ(now->id, old.id);
    EXPECT_EQ(now->x, old.x);
    EXPECT_EQ(*status, TrackStatus::TrackContinued);
    ++now;
    ++status;
  }
  for (; now != t.points.end(); ++now, ++status) {
    EXPECT_GE(now->id, firstNewId);
    EXPECT_EQ(*status, TrackStatus::TrackNew);
  }
}

TEST(KLTTracker, NewFeaturesFillTheGapsBetweenOldOnes) {
  FastArray frame = NoiseFrame(150, 110, 16);
  Tracking t(150, 110, 1, 80);
  const std::vector<Point2D> old = {Point2D(40, 40), Point2D(75, 55), Point2D(100, 90)};
  t.points.assign(old.begin(), old.end());
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  EXPECT_EQ(NewFeaturesOf(t.tracker), SelectPlainly(t.tracker, frame, old, [&](const FastArray&, int, int) {
              return t.tracker.maxEvalue * 0.005F;
            }));
}

TEST(KLTTracker, TheBudgetCutsOldFeaturesToo) {
  FastArray frame = ConstantFrame(100, 100, 1.0F);
  Tracking t(100, 100, 1, 500);
  t.points = {Point2D(20, 20), Point2D(50, 50), Point2D(80, 80)};
  ArrayPyramid pyramid(frame, 1, true);
  t.tracker.Start(pyramid, t.points, t.statuses, true);
  t.tracker.maxFeatures = 2;
  t.tracker.Replenish(frame, t.points, t.statuses);
  ASSERT_EQ(t.points.size(), 2u);
  EXPECT_EQ(t.points.back().x, 50.0);
}

TEST(KLTTracker, BlockMaximaAreTakenOverTheirOwnBlocks) {
  // 200 x 150: 4 x 3 values, from blocks of 4 x 3 pixels whose last column is left out.
  FastArray map = FrameOf(200, 150, [](double x, double y) { return 1000.0 - 10.0 * y - x; });
  std::vector<float> maxima(12, -1.0F);
  const KLTTracker tracker;
  for (int row = 0; row < 3; ++row) tracker.FindBlockEVMaximum(row, map.data, 200, 150, map.stride, maxima.data());
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 4; ++column) {
      const int x = column == 0 ? 1 : column * 4, y = row == 0 ? 1 : row * 3;  // the map falls from the top left
      EXPECT_EQ(maxima[row * 4 + column], map(x, y)) << row << "," << column;
    }
  FastArray rising = FrameOf(200, 150, [](double x, double y) { return 10.0 * y + x; });
  tracker.FindBlockEVMaximum(1, rising.data, 200, 150, rising.stride, maxima.data());
  EXPECT_EQ(maxima[4 + 2], rising(10, 5));  // columns 8 to 10, rows 3 to 5
}

TEST(KLTTracker, ABlockWithoutAPixelHasMaximumZero) {
  const FastArray map = ConstantFrame(60, 60, 7.0F);  // blocks of a single column, which is left out
  std::vector<float> maxima(4, -1.0F);
  const KLTTracker tracker;
  tracker.FindBlockEVMaximum(0, map.data, 60, 60, map.stride, maxima.data());
  EXPECT_EQ(maxima[0], 0.0F);
  EXPECT_EQ(maxima[1], 0.0F);
  EXPECT_EQ(maxima[2], -1.0F);
}

TEST(KLTTracker, BlockMaximaOfAWideFrameStayInside) {
  const FastArray map = ConstantFrame(3001, 101, 2.0F);  // 61 blocks of 60 columns would be 3660
  std::vector<float> maxima(61 * 3, -1.0F);
  const KLTTracker tracker;
  for (int row = 0; row < 3; ++row) tracker.FindBlockEVMaximum(row, map.data, 3001, 101, map.stride, maxima.data());
  EXPECT_EQ(maxima[49], 2.0F);
  EXPECT_EQ(maxima[60], 0.0F);
}

TEST(KLTTracker, BlockModeTakesThresholdsFromBlockMaxima) {
  FastArray frame = FrameOf(200, 150, [](double x, double y) {  // contrast grows to the right
    return 128.0 + x / 2.0 * std::sin(x / 2.0) * std::sin(y / 2.0);
  });
  Tracking t(200, 150, 1, 5000, 5);
  t.tracker.blockMode = true;
  t.tracker.eigenvalueFraction = 0.3F;
  t.StartDetecting(frame);
  std::vector<float> maxima;
  const auto threshold = [&](const FastArray& map, int x, int y) {
    if (maxima.empty()) {
      maxima.resize(12);
      for (int row = 0; row < 3; ++row)
        t.tracker.FindBlockEVMaximum(row, map.data, 200, 150, map.stride, maxima.data());
    }
    return maxima[(y / 50) * 4 + x / 50] * 0.3F;
  };
  const std::vector<Corner> expected = SelectPlainly(t.tracker, frame, {}, threshold);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(NewFeaturesOf(t.tracker), expected);
}

TEST(KLTTracker, AddFeaturesTakesPointsAsTheyAre) {
  FastArray frame = FrameOf(80, 60, [](double x, double) { return 4.0 * x; });
  Tracking t(80, 60, 2);
  PointSet points;
  points.Add(Point2D(10.5, 20.0));
  points.Add(Point2D(30.0, 40.0));
  points[0].id = 8;
  points[1].id = 2;
  EXPECT_TRUE(t.tracker.AddFeatures(points, 17, &frame));
  ASSERT_EQ(t.tracker.features.size(), 2u);
  const Feature& feature = t.tracker.features[0];
  EXPECT_EQ(feature.id, 8);
  EXPECT_EQ(feature.start, 17);
  EXPECT_EQ(feature.status, FeatureTracked);
  EXPECT_EQ(feature.quality, 10000.0);
  ASSERT_EQ(feature.track.size(), 1u);
  EXPECT_EQ(feature.Location(17).x, 10.5);
  EXPECT_EQ(t.tracker.features[1].id, 2);
  EXPECT_FLOAT_EQ(t.tracker.gradientX(40, 30), 4.0F);
  EXPECT_EQ((*t.tracker.gradientPyramidX)[1].width, 40);
}

TEST(KLTTracker, SelectionIsTheSameForAnyProcessorCount) {
  FastArray frame = NoiseFrame(161, 127, 17);  // no count but 1 divides the height
  SetProcessorCount(1);
  Tracking one(161, 127, 2, 200);
  one.StartDetecting(frame);
  for (const int processors : {2, 3, 7, 200}) {
    SetProcessorCount(processors);
    Tracking many(161, 127, 2, 200);
    many.StartDetecting(frame);
    EXPECT_EQ(NewFeaturesOf(many.tracker), NewFeaturesOf(one.tracker)) << processors;
  }
  SetProcessorCount(0);
}

}  // namespace
}  // namespace Vorn
