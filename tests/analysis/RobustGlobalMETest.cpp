#include "analysis/RobustGlobalME.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "numerics/Geometry.h"
#include "numerics/Parallel.h"
#include "numerics/Random.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;
using Vorn::ArrayPyramid;
using Vorn::FastArray;
using Vorn::MatchSet;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

constexpr int kWidth = 1280, kHeight = 720;
const Point2D kCentre(640, 360);

Matrix Rows(const std::vector<double>& values) {
  Matrix m(3, 3);
  m = values;
  return m;
}

Matrix Translation(double dx, double dy) { return Rows({1, 0, dx, 0, 1, dy, 0, 0, 1}); }

/// Turned, zoomed and moved, about the centre.
Matrix Similarity() {
  const double a = 1.01 * std::cos(0.02), b = 1.01 * std::sin(0.02);
  return Rows({a, -b, 7.5, b, a, -4.25, 0, 0, 1});
}

/// The largest distance between the projections of the frame's corners and centre by two matrices.
double Apart(const Matrix& a, const Matrix& b) {
  double apart = 0;
  for (const Point2D& p : {Point2D(0, 0), Point2D(1279, 0), Point2D(0, 719), Point2D(1279, 719), kCentre})
    apart = std::max(apart, Vorn::Distance(Vorn::ProjectPoint(a, p, 640, 360), Vorn::ProjectPoint(b, p, 640, 360)));
  return apart;
}

/// One frame's matches. Features are added with their place in the frame before and how they got to this one.
struct Frame {
  PointSet current, previous;
  MatchSet matches;

  void Add(int id, const Point2D& before, const Point2D& now, double quality = 1.0) {
    const int k = static_cast<int>(current.points.size());
    Point2D a = before, b = now;
    a.id = b.id = id;
    b.weight = quality;
    previous.Add(a);
    current.Add(b);
    matches.AddMatch(k, k, 1.0);
  }

  /// `across` by `down` features from `firstId` on, evenly over the given part of the frame, moved by `motion`.
  void AddGrid(int firstId, int across, int down, const Matrix& motion, double left = 20, double top = 20,
               double right = 1260, double bottom = 700) {
    for (int j = 0; j < down; ++j)
      for (int i = 0; i < across; ++i) {
        const Point2D p(left + (right - left) * i / (across - 1), top + (bottom - top) * j / (down - 1));
        Add(firstId + j * across + i, p, Vorn::ProjectPoint(motion, p, 640, 360));
      }
  }
};

class RobustGlobalMETest : public ::testing::Test {
 protected:
  RobustGlobalMETest() {
    Vorn::SetRandomSeed(1);
    Vorn::SetProcessorCount(1);
    me.SetSourceDimensions(kWidth, kHeight);
    me.Begin(0);
  }
  ~RobustGlobalMETest() override { Vorn::SetProcessorCount(0); }

  bool Estimate(int number, Frame& frame) {
    result = Rows({9, 9, 9, 9, 9, 9, 9, 9, 9});
    return me.Estimate(number, frame.current, frame.previous, frame.matches, result);
  }

  /// Gives every motion two frames that agree with it.
  void ShowFlatFrames() {
    flat.Resize(kWidth, kHeight);
    flat.Clear(100);
    flatPyramid.Generate(flat, true);
    me.SetPyramids(&flatPyramid, &flatPyramid);
  }

  const MatchWeight* RecordOf(int id) const {
    const auto found = std::ranges::find(me.matchWeights, id, &MatchWeight::id);
    return found == me.matchWeights.end() ? nullptr : &*found;
  }

  Matrix MotionOf(int number) const {
    Matrix m;
    EXPECT_TRUE(me.motion.Get(number, m));
    return m;
  }

  void ExpectNoMotion(int number, float confidence) {
    Matrix qa;
    EXPECT_TRUE(result.IsIdentity());
    EXPECT_TRUE(MotionOf(number).IsIdentity());
    EXPECT_TRUE(me.qaMotion.Get(number, qa));
    EXPECT_TRUE(qa.IsIdentity());
    EXPECT_GE(me.confSet.end, number);
    EXPECT_EQ(me.confSet.Get(number), confidence);
  }

  FastArray flat;
  ArrayPyramid flatPyramid{flat, 1, false};
  RobustGlobalME me;
  Matrix result;
};

TEST(RobustGlobalME, DefaultsAreThoseOfTheAnalysis) {
  const RobustGlobalME me;
  EXPECT_TRUE(me.motion.hset.empty());
  EXPECT_TRUE(me.qaMotion.hset.empty());
  EXPECT_TRUE(me.confSet.index.empty());
  ASSERT_TRUE(me.homgModel);
  ASSERT_TRUE(me.qaModel);
  EXPECT_EQ(me.homgModel->minSamples, 5);
  EXPECT_EQ(me.qaModel->minSamples, 2);
  EXPECT_TRUE(me.matchWeights.empty());
  EXPECT_TRUE(me.useDirect);
  EXPECT_EQ(me.landmarkThresh, 1.0);
  EXPECT_EQ(me.minPointsQuasiAffine, 25);
  EXPECT_EQ(me.minPointsHomography, 50);
  EXPECT_EQ(me.minTrackDuration, 10);
  EXPECT_EQ(me.sourceWidth, -1);
  EXPECT_EQ(me.sourceHeight, -1);
  EXPECT_EQ(me.origin.x, 0.0);
  EXPECT_EQ(me.origin.y, 0.0);
  EXPECT_EQ(me.currentPyramid, nullptr);
  EXPECT_EQ(me.previousPyramid, nullptr);
  EXPECT_FALSE(me.directlyEstimated);
  EXPECT_EQ(me.framesEstimated, 0);
  EXPECT_FALSE(me.recomputeMatchQuality);
  EXPECT_TRUE(me.subtitleDetection);
  EXPECT_EQ(me.verbose, 0);
  EXPECT_EQ(me.confidenceMaxError, 12.0f);
  EXPECT_EQ(me.weightInitInlier, 1.0f);
  EXPECT_EQ(me.weightInitOutlier, -1.0f);
  EXPECT_EQ(me.weightMax, 2.0f);
  EXPECT_EQ(me.weightMin, -1.0f);
  EXPECT_EQ(me.weightDiffInlier, 0.1f);
  EXPECT_EQ(me.weightDiffOutlier, 1.5f);
  EXPECT_EQ(me.windowSize, 15);
  EXPECT_EQ(me.qualityMax, 255);
  EXPECT_EQ(me.dcTotalError, 0.0f);
  EXPECT_EQ(me.dcPixelCount, 0);
}

TEST(RobustGlobalME, OptionsAreStoredAndTheFirstIsDropped) {
  RobustGlobalME me;
  me.SetOptions(true, false, 5, 2.0f);
  EXPECT_FALSE(me.useDirect);
  EXPECT_EQ(me.minTrackDuration, 5);
  EXPECT_EQ(me.landmarkThresh, 2.0);
  me.SetOptions(false, true, 7, 3.0f);
  EXPECT_TRUE(me.useDirect);
}

TEST(RobustGlobalME, OriginIsTheCentreInWholePixels) {
  RobustGlobalME me;
  me.motion.originLocation = me.qaMotion.originLocation = 0;
  me.SetSourceDimensions(101, 77);
  EXPECT_EQ(me.sourceWidth, 101);
  EXPECT_EQ(me.sourceHeight, 77);
  EXPECT_EQ(me.origin.x, 50.0);
  EXPECT_EQ(me.origin.y, 38.0);
  EXPECT_EQ(me.motion.originLocation, 4);
  EXPECT_EQ(me.qaMotion.originLocation, 4);
}

TEST_F(RobustGlobalMETest, FirstFrameHasNoMotionAndFullConfidence) {
  me.Begin(17);
  Matrix m;
  EXPECT_TRUE(me.motion.Get(17, m));
  EXPECT_TRUE(m.IsIdentity());
  EXPECT_TRUE(me.qaMotion.Get(17, m));
  EXPECT_TRUE(m.IsIdentity());
  EXPECT_EQ(me.confSet.Get(17), 1.0f);
  EXPECT_EQ(me.framesEstimated, 0);
}

TEST_F(RobustGlobalMETest, SimilarityIsRecovered) {
  Frame frame;
  frame.AddGrid(0, 20, 12, Similarity());
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_LT(Apart(result, Similarity()), 1e-4);  // refinement ends when the cost falls by less than 1e-8
  EXPECT_LT(Apart(MotionOf(1), Similarity()), 1e-4);
  Matrix qa;
  ASSERT_TRUE(me.qaMotion.Get(1, qa));
  EXPECT_LT(Apart(qa, Similarity()), 1e-4);
  EXPECT_NEAR(me.confSet.Get(1), 1.0f, 1e-6);
  EXPECT_EQ(me.framesEstimated, 1);
  EXPECT_FALSE(me.directlyEstimated);
}

TEST_F(RobustGlobalMETest, HomographyIsRecovered) {
  const Matrix truth = Rows({1.01, 0.012, 6, -0.008, 0.99, -3, 4e-5, -3e-5, 1});
  Frame frame;
  frame.AddGrid(0, 20, 12, truth);
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_LT(Apart(result, truth), 0.01);
  Matrix qa;
  ASSERT_TRUE(me.qaMotion.Get(1, qa));
  EXPECT_GT(Apart(qa, truth), 1.0);  // no similarity does what this homography does
  EXPECT_DOUBLE_EQ(qa(0, 0), qa(1, 1));
  EXPECT_DOUBLE_EQ(qa(0, 1), -qa(1, 0));
}

TEST_F(RobustGlobalMETest, FirstEstimateMakesARecordForEveryFeature) {
  Frame frame;
  frame.AddGrid(100, 20, 12, Translation(3, 0));
  frame.Add(7, Point2D(300.5, 200.5), Point2D(300.75, 200.25));  // stands still: 3 pixels from the motion
  ASSERT_TRUE(Estimate(1, frame));
  ASSERT_EQ(me.matchWeights.size(), 241u);
  EXPECT_EQ(me.matchWeights[0].id, 100);
  EXPECT_EQ(me.matchWeights[0].weight, 1.0f);
  EXPECT_EQ(me.matchWeights[0].inlierRun, 1);
  EXPECT_EQ(me.matchWeights[0].age, 1);
  EXPECT_EQ(me.matchWeights[0].stillRun, -1);
  EXPECT_EQ(me.matchWeights[240].id, 7);
  EXPECT_EQ(me.matchWeights[240].weight, -1.0f);
  EXPECT_EQ(me.matchWeights[240].inlierRun, 0);
  EXPECT_EQ(me.matchWeights[240].age, 1);
  EXPECT_EQ(me.matchWeights[240].stillRun, 1);
}

TEST_F(RobustGlobalMETest, AgreeingFeaturesGainWeightUpToTheMaximum) {
  for (int number = 1; number <= 15; ++number) {
    Frame frame;
    frame.AddGrid(0, 12, 8, Translation(2, 1));
    ASSERT_TRUE(Estimate(number, frame));
    EXPECT_LT(Apart(result, Translation(2, 1)), 1e-3);
    const MatchWeight& record = *RecordOf(5);
    EXPECT_NEAR(record.weight, std::min(2.0, 1.0 + 0.1 * (number - 1)), 1e-5);
    EXPECT_EQ(record.inlierRun, number);
    EXPECT_EQ(record.age, number);
    EXPECT_EQ(record.stillRun, -1);
    EXPECT_EQ(me.framesEstimated, number);
  }
  EXPECT_EQ(RecordOf(5)->weight, 2.0f);
}

TEST_F(RobustGlobalMETest, OneDisagreementBarsAFeatureForGood) {
  const auto frameWith = [](const Point2D& step) {
    Frame frame;
    frame.AddGrid(0, 20, 12, Translation(2, 1));
    frame.Add(1000, Point2D(700, 300), Point2D(700, 300) + step);
    return frame;
  };
  Frame good = frameWith({2, 1}), bad = frameWith({9, 1});
  ASSERT_TRUE(Estimate(1, good));
  ASSERT_TRUE(Estimate(2, good));
  EXPECT_NEAR(RecordOf(1000)->weight, 1.1f, 1e-6);
  ASSERT_TRUE(Estimate(3, bad));
  EXPECT_EQ(RecordOf(1000)->weight, -1.0f);
  EXPECT_EQ(RecordOf(1000)->inlierRun, 0);
  EXPECT_EQ(RecordOf(1000)->age, 3);
  for (int number = 4; number < 24; ++number) {
    ASSERT_TRUE(Estimate(number, good));
    EXPECT_LT(RecordOf(1000)->weight, 0.0f) << "frame " << number;
    EXPECT_EQ(RecordOf(1000)->inlierRun, number - 3);
  }
  ASSERT_TRUE(Estimate(24, bad));
  EXPECT_LT(Apart(result, Translation(2, 1)), 1e-3);  // it takes no part
}

TEST_F(RobustGlobalMETest, MovingObjectIsDropped) {
  const auto frame = [](double cameraX, double objectX) {
    Frame f;
    f.AddGrid(0, 20, 12, Translation(cameraX, 0));
    f.AddGrid(1000, 4, 3, Translation(objectX, 0), 600, 300, 680, 360);
    return f;
  };
  Frame first = frame(3, 12), second = frame(-2, 9);
  ASSERT_TRUE(Estimate(1, first));
  EXPECT_GT(Apart(result, Translation(3, 0)), 0.1);  // as yet the object pulls
  EXPECT_EQ(RecordOf(1005)->weight, -1.0f);
  ASSERT_TRUE(Estimate(2, second));
  EXPECT_LT(Apart(result, Translation(-2, 0)), 1e-3);
}

TEST_F(RobustGlobalMETest, NewFeaturesWaitForOneFrame) {
  Frame first, second, third;
  first.AddGrid(0, 20, 12, Translation(3, 0));
  second.AddGrid(0, 20, 12, Translation(3, 0));
  second.AddGrid(1000, 4, 3, Translation(9, 0), 600, 300, 680, 360);
  ASSERT_TRUE(Estimate(1, first));
  ASSERT_TRUE(Estimate(2, second));
  EXPECT_LT(Apart(result, Translation(3, 0)), 1e-3);  // the new ones, which disagree, had no part
  ASSERT_NE(RecordOf(1000), nullptr);
  EXPECT_EQ(RecordOf(1000)->age, 1);
}

TEST_F(RobustGlobalMETest, MarksOfKnownFeaturesDoNotFollowRemovals) {
  // The barred feature is the first match but the last record: when its match goes, the new feature at the end moves to
  // a position that bears a mark, and takes part at once.
  Frame frame;
  frame.Add(500, Point2D(640, 360), Point2D(640, 360));
  frame.AddGrid(0, 12, 8, Translation(3, 0));
  frame.Add(900, Point2D(600, 300), Point2D(630, 300));
  for (int id = 0; id < 96; ++id) me.matchWeights.push_back({id, 1.0f, 40, 40, -1});
  me.matchWeights.push_back({500, -1.0f, 0, 1, -1});
  me.framesEstimated = 1;
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_GT(Apart(result, Translation(3, 0)), 0.05);

  me.matchWeights.clear();
  me.matchWeights.push_back({500, -1.0f, 0, 1, -1});
  for (int id = 0; id < 96; ++id) me.matchWeights.push_back({id, 1.0f, 40, 40, -1});
  ASSERT_TRUE(Estimate(2, frame));
  EXPECT_LT(Apart(result, Translation(3, 0)), 1e-3);  // in the order of the matches the marks are right
}

TEST_F(RobustGlobalMETest, LostFeaturesLoseTheirRecords) {
  Frame first, second;
  first.AddGrid(0, 20, 12, Translation(3, 0));
  second.AddGrid(0, 20, 10, Translation(3, 0));
  ASSERT_TRUE(Estimate(1, first));
  ASSERT_TRUE(Estimate(2, second));
  EXPECT_EQ(me.matchWeights.size(), 200u);
  EXPECT_EQ(RecordOf(239), nullptr);
}

TEST_F(RobustGlobalMETest, NoMatchesGiveTheIdentityAndForgetTheFeatures) {
  Frame first, empty;
  first.AddGrid(0, 20, 12, Translation(3, 0));
  ASSERT_TRUE(Estimate(1, first));
  EXPECT_FALSE(Estimate(2, empty));
  ExpectNoMotion(2, 0.0f);
  EXPECT_TRUE(me.matchWeights.empty());
  EXPECT_EQ(me.framesEstimated, 1);
}

TEST_F(RobustGlobalMETest, FewerThanTheSimilarityNeedsGiveUp) {
  Frame first, few;
  first.AddGrid(0, 20, 12, Translation(3, 0));
  few.AddGrid(0, 6, 4, Translation(3, 0));
  ASSERT_TRUE(Estimate(1, first));
  EXPECT_FALSE(Estimate(2, few));
  ExpectNoMotion(2, 0.0f);
  EXPECT_TRUE(me.matchWeights.empty());
  EXPECT_EQ(me.framesEstimated, 0);
}

TEST_F(RobustGlobalMETest, FeaturesOverASmallPartGiveASimilarity) {
  ShowFlatFrames();
  const Matrix perspective = Rows({1, 0, 2, 0, 1, 1, 1e-4, 0, 1});
  Frame frame;
  frame.AddGrid(0, 10, 8, perspective, 500, 300, 700, 420);
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_DOUBLE_EQ(result(0, 0), result(1, 1));
  EXPECT_DOUBLE_EQ(result(0, 1), -result(1, 0));
  EXPECT_EQ(result(2, 0), 0.0);
  EXPECT_EQ(me.framesEstimated, 1);
  EXPECT_GT(me.confSet.Get(1), 0.9f);
}

TEST_F(RobustGlobalMETest, FewFeaturesOverTheWholeFrameGiveASimilarity) {
  ShowFlatFrames();
  const Matrix perspective = Rows({1, 0, 2, 0, 1, 1, 2e-5, 0, 1});
  Frame frame;
  frame.AddGrid(0, 8, 5, perspective);
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_DOUBLE_EQ(result(0, 0), result(1, 1));
  EXPECT_EQ(result(2, 0), 0.0);
}

TEST_F(RobustGlobalMETest, TheSimplerModelMayErrByTwice) {
  ShowFlatFrames();
  // 40 matches allow only a similarity, so features up to twice the threshold from it agree.
  Frame first, second;
  first.AddGrid(0, 8, 5, Translation(3, 0));
  ASSERT_TRUE(Estimate(1, first));
  second.AddGrid(0, 8, 5, Translation(3, 0));
  second.current[20].x += 1.7;
  second.current[21].x += 2.6;
  ASSERT_TRUE(Estimate(2, second));
  EXPECT_EQ(RecordOf(20)->inlierRun, 2);
  EXPECT_EQ(RecordOf(21)->weight, -1.0f);
}

TEST_F(RobustGlobalMETest, AFitOnWeakGroundThatMisalignsTheFramesIsVetoed) {
  Frame frame;
  frame.AddGrid(0, 8, 5, Translation(40, 0));  // too few for a homography
  FastArray still(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) still(x, y) = static_cast<float>(x / 40 % 2 * 100);
  ArrayPyramid pyramid(still, 1, false);
  me.SetPyramids(&pyramid, &pyramid);
  me.framesEstimated = 0;
  EXPECT_FALSE(Estimate(1, frame));
  ExpectNoMotion(1, 0.0f);
  EXPECT_TRUE(me.matchWeights.empty());
  EXPECT_GT(me.dcTotalError, 9000.0f);  // nearly every pixel is off by 100
}

TEST_F(RobustGlobalMETest, ContradictingMatchesAreRejected) {
  Frame frame;
  unsigned state = 5;
  const auto draw = [&](int below) { return static_cast<int>((state = state * 1664525u + 1013904223u) >> 12) % below; };
  for (int id = 0; id < 400; ++id)
    frame.Add(id, Point2D(draw(kWidth), draw(kHeight)), Point2D(draw(kWidth), draw(kHeight)));
  me.framesEstimated = 4;
  for (int id = 0; id < 400; ++id) me.matchWeights.push_back({id, 1.0f, 40, 40, -1});
  EXPECT_FALSE(Estimate(1, frame));
  ExpectNoMotion(1, 0.0f);
  EXPECT_EQ(me.framesEstimated, 0);
  EXPECT_TRUE(me.matchWeights.empty());
}

TEST_F(RobustGlobalMETest, TooFewTrustedFeaturesGetANewChance) {
  ShowFlatFrames();
  Frame frame;
  frame.AddGrid(0, 20, 12, Translation(3, 0));
  frame.Add(777, Point2D(300, 300), Point2D(303, 300));
  for (int id = 0; id < 240; ++id) me.matchWeights.push_back({id, id < 20 ? 1.5f : -1.0f, id < 20 ? 9 : 0, 9, -1});
  me.framesEstimated = 9;
  ASSERT_TRUE(Estimate(1, frame));
  EXPECT_LT(Apart(result, Translation(3, 0)), 1e-3);
  EXPECT_EQ(me.framesEstimated, 10);
  for (const int id : {0, 100}) {
    EXPECT_NEAR(RecordOf(id)->weight, 1.1f, 1e-6);  // back to 1, then agreed
    EXPECT_EQ(RecordOf(id)->inlierRun, 2);
    EXPECT_EQ(RecordOf(id)->age, 10);
  }
  ASSERT_NE(RecordOf(777), nullptr);
  EXPECT_NEAR(RecordOf(777)->weight, 1.1f, 1e-6);
  EXPECT_EQ(RecordOf(777)->age, 2);
}

TEST_F(RobustGlobalMETest, TitlesInAMovingPictureAreTakenOut) {
  const auto run = [](bool detect) {
    RobustGlobalME each;
    Matrix motion;
    each.SetSourceDimensions(kWidth, kHeight);
    each.subtitleDetection = detect;
    each.Begin(0);
    for (int number = 1; number <= 4; ++number) {
      Frame frame;
      frame.AddGrid(0, 20, 12, Translation(0.6, 0));  // little enough that the title isn't barred for disagreeing
      frame.AddGrid(1000, 10, 6, Translation(0, 0), 400, 600, 900, 700);
      EXPECT_TRUE(each.Estimate(number, frame.current, frame.previous, frame.matches, motion));
    }
    return Apart(motion, Translation(0.6, 0));
  };
  EXPECT_LT(run(true), 1e-3);
  EXPECT_GT(run(false), 0.05);
}

TEST_F(RobustGlobalMETest, LockedOffCameraKeepsItsFeatures) {
  for (int number = 1; number <= 5; ++number) {
    Frame frame;
    frame.AddGrid(0, 20, 12, Translation(0, 0));
    frame.AddGrid(1000, 3, 3, Translation(2.5, 0), 600, 300, 660, 360);
    ASSERT_TRUE(Estimate(number, frame));
    EXPECT_GT(me.confSet.Get(number), 0.99f);
  }
  EXPECT_LT(Apart(result, Translation(0, 0)), 1e-3);
  EXPECT_EQ(RecordOf(5)->stillRun, 5);
  EXPECT_EQ(RecordOf(1000)->stillRun, -1);
}

TEST_F(RobustGlobalMETest, OnceMovedAFeatureIsNeverStillAgain) {
  const auto frame = [](double dx, double dy) {
    Frame f;
    f.AddGrid(0, 20, 12, Translation(dx, dy));
    return f;
  };
  Frame still = frame(0.3, -0.3), moved = frame(0, 0.45);
  ASSERT_TRUE(Estimate(1, still));
  EXPECT_EQ(RecordOf(0)->stillRun, 1);
  ASSERT_TRUE(Estimate(2, still));
  EXPECT_EQ(RecordOf(0)->stillRun, 2);
  ASSERT_TRUE(Estimate(3, moved));
  EXPECT_EQ(RecordOf(0)->stillRun, -1);
  ASSERT_TRUE(Estimate(4, still));
  EXPECT_EQ(RecordOf(0)->stillRun, -1);
}

TEST_F(RobustGlobalMETest, OnlyTitlesLeftMeanATrustedStandstill) {
  const auto estimate = [&](int titles) {
    Frame frame;
    frame.AddGrid(0, titles, 2, Translation(0, 0), 400, 600, 900, 700);
    me.matchWeights.clear();
    for (int id = 0; id < 2 * titles; ++id) me.matchWeights.push_back({id, 1.0f, 5, 5, 5});
    for (int id = 1000; id < 1100; ++id) me.matchWeights.push_back({id, 1.0f, 5, 5, -1});
    me.framesEstimated = 5;
    EXPECT_FALSE(Estimate(titles, frame));
    EXPECT_EQ(me.framesEstimated, 5);
    EXPECT_EQ(me.matchWeights.size(), static_cast<size_t>(2 * titles));
  };
  estimate(30);
  ExpectNoMotion(30, 1.0f);
  estimate(5);  // each of the 10 counts twice: once as still, once as taken out
  ExpectNoMotion(5, 0.0f);
  estimate(6);
  ExpectNoMotion(6, 1.0f);
}

TEST_F(RobustGlobalMETest, ConfidenceFallsWithTheError) {
  Frame exact, scattered;
  exact.AddGrid(0, 20, 12, Translation(3, 0));
  scattered.AddGrid(0, 20, 12, Translation(3, 0));
  for (size_t k = 0; k < scattered.current.points.size(); ++k) {
    scattered.current[k].x += k % 2 ? 20 : -20;
    scattered.current[k].y += k % 3 ? 20 : -20;
  }
  ASSERT_TRUE(Estimate(1, exact));
  EXPECT_NEAR(me.confSet.Get(1), 1.0f, 1e-6);
  me.matchWeights.clear();
  me.framesEstimated = 0;
  ASSERT_TRUE(Estimate(2, scattered));
  EXPECT_LT(me.confSet.Get(2), 0.99999f);
  EXPECT_GT(me.confSet.Get(2), 0.9f);
}

TEST_F(RobustGlobalMETest, DirectCheckResultsAddUp) {
  me.integrateDirectCheckResult(2.5, 10);
  me.integrateDirectCheckResult(0.25, 3);
  EXPECT_EQ(me.dcTotalError, 2.75f);
  EXPECT_EQ(me.dcPixelCount, 13);
}

FastArray Ramp(double slope) {
  FastArray array(64, 48);
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 64; ++x) array(x, y) = static_cast<float>(slope * x + y);
  return array;
}

TEST_F(RobustGlobalMETest, MatchQualityIsTheMeanSquaredDifferenceOfThePatches) {
  FastArray a = Ramp(2), b = Ramp(2);
  ArrayPyramid previous(a, 1, true), current(b, 1, true);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20, 20), Point2D(20, 20)), 0.0f);  // no pyramids
  me.SetPyramids(&current, &previous);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20, 20), Point2D(20, 20)), 0.0f);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20, 20), Point2D(23, 20)), 36.0f);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20.4, 20), Point2D(20.5, 21)), 9.0f);  // rounds to (20, 20) and (21, 21)
  b(13, 13) += 15.0f;                                                               // the patch's first pixel
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20, 20), Point2D(20, 20)), 1.0f);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(21, 20), Point2D(21, 20)), 0.0f);
  me.windowSize = 0;
  EXPECT_EQ(me.calculateMatchQuality(Point2D(20, 20), Point2D(23, 20)), 0.0f);
}

TEST_F(RobustGlobalMETest, MatchQualityReadsNothingBeyondTheFrame) {
  FastArray a = Ramp(0), b = Ramp(0);
  ArrayPyramid previous(a, 1, true), current(b, 1, true);
  me.SetPyramids(&current, &previous);
  EXPECT_EQ(me.calculateMatchQuality(Point2D(-500, 20), Point2D(1e300, 20)), 0.0f);
}

TEST_F(RobustGlobalMETest, ProjectedErrorKnowsNoOrigin) {
  EXPECT_DOUBLE_EQ(me.getProjectedError(Point2D(10, 20), Point2D(24, 43), Rows({2, 0, 1, 0, 2, 0, 0, 0, 1})),
                   std::hypot(3, 3));
}

TEST_F(RobustGlobalMETest, ResumeRebuildsTheWeights) {
  Frame frame;
  frame.Add(4, Point2D(100, 100), Vorn::ProjectPoint(Similarity(), Point2D(100, 100), 640, 360) + Point2D(1.4, 0));
  frame.Add(5, Point2D(900, 500), Vorn::ProjectPoint(Similarity(), Point2D(900, 500), 640, 360) + Point2D(0, 1.6));
  me.matchWeights.push_back({99, 1.0f, 1, 1, 1});
  me.Resume(8, Similarity(), frame.current, frame.previous, frame.matches);
  ASSERT_EQ(me.matchWeights.size(), 2u);
  EXPECT_EQ(me.matchWeights[0].id, 4);
  EXPECT_EQ(me.matchWeights[0].weight, 1.0f);
  EXPECT_EQ(me.matchWeights[0].inlierRun, 1);
  EXPECT_EQ(me.matchWeights[0].age, 1);
  EXPECT_EQ(me.matchWeights[1].weight, -1.0f);
  EXPECT_EQ(me.matchWeights[1].inlierRun, 0);
  EXPECT_EQ(me.matchWeights[1].age, 1);
  EXPECT_TRUE(me.recomputeMatchQuality);
}

TEST_F(RobustGlobalMETest, QualitiesAreMeasuredAnewOnceAfterResume) {
  FastArray a = Ramp(2), b = Ramp(2);
  ArrayPyramid previous(a, 1, true), current(b, 1, true);
  me.SetPyramids(&current, &previous);
  me.recomputeMatchQuality = true;
  Frame frame;
  frame.Add(1, Point2D(20, 20), Point2D(23, 20), 77.0);
  Estimate(1, frame);
  EXPECT_EQ(frame.current[0].weight, 36.0);
  EXPECT_FALSE(me.recomputeMatchQuality);
  frame.current[0].weight = 77.0;
  Estimate(2, frame);
  EXPECT_EQ(frame.current[0].weight, 77.0);
}

TEST_F(RobustGlobalMETest, ClearForgetsTheClip) {
  Frame frame;
  frame.AddGrid(0, 20, 12, Translation(3, 0));
  ASSERT_TRUE(Estimate(1, frame));
  me.subtitleDetection = false;
  me.recomputeMatchQuality = true;
  FastArray a = Ramp(1);
  ArrayPyramid pyramid(a, 1, true);
  me.SetPyramids(&pyramid, &pyramid);
  me.Clear();
  EXPECT_TRUE(me.motion.hset.empty());
  EXPECT_TRUE(me.qaMotion.hset.empty());
  EXPECT_TRUE(me.confSet.index.empty());
  EXPECT_TRUE(me.matchWeights.empty());
  EXPECT_EQ(me.origin.x, 0.0);
  EXPECT_EQ(me.origin.y, 0.0);
  EXPECT_EQ(me.sourceWidth, -1);
  EXPECT_EQ(me.sourceHeight, -1);
  EXPECT_EQ(me.framesEstimated, 0);
  EXPECT_FALSE(me.recomputeMatchQuality);
  EXPECT_TRUE(me.subtitleDetection);
  EXPECT_EQ(me.currentPyramid, nullptr);
  EXPECT_EQ(me.previousPyramid, nullptr);
}

class FittedSolutionTest : public RobustGlobalMETest {
 protected:
  /// Unitless points under (a, b, c, d) = (1, 0, 0.5, 0), the last one astray by 2 and of no weight.
  FittedSolutionTest() {
    for (int k = 0; k < 12; ++k) {
      const Point2D p(k % 4 - 1.5, k / 4 - 1.0);
      frame.Add(k, p, p + Point2D(0.5, 0));
      all.push_back(k);
    }
    frame.current[11].x += 2.0;
    frame.current[11].weight = 0.0;
  }

  double Fit(bool refine) {
    return me.getFittedSolution(all, found, frame.previous, frame.current, frame.matches, me.qaModel.get(), fitted,
                                refine);
  }

  Frame frame;
  std::vector<int> all;
  std::vector<double> found = {1, 0, 0.5, 0}, fitted;
};

TEST_F(FittedSolutionTest, NoInliersAreAnErrorOfTenThousand) {
  all.clear();
  EXPECT_EQ(Fit(true), 10000.0);
  EXPECT_TRUE(fitted.empty());
}

TEST_F(FittedSolutionTest, FewerThanASampleCountAsNone) {
  all = {3};
  EXPECT_EQ(Fit(true), 10000.0);
  EXPECT_TRUE(all.empty());
  EXPECT_TRUE(fitted.empty());
}

TEST_F(FittedSolutionTest, ClosedFormStandsWhereItIsExact) {
  all.pop_back();
  found = {1.1, 0, 0.5, 0};
  EXPECT_NEAR(Fit(false), 0.0, 1e-20);
  ASSERT_EQ(fitted.size(), 4u);
  EXPECT_NEAR(fitted[0], 1.0, 1e-12);
  EXPECT_NEAR(fitted[2], 0.5, 1e-12);
}

TEST_F(FittedSolutionTest, SolversParametersStandWhereTheyAreClearlyBetter) {
  // The closed form knows no weights and is pulled astray; the returned error is still its own.
  EXPECT_GT(Fit(false), 0.1);
  EXPECT_EQ(fitted, found);
}

TEST_F(FittedSolutionTest, SlightlyBetterParametersAreNotTaken) {
  frame.current[11].x -= 1.9;  // now the closed form errs by less than 0.1 in all
  EXPECT_LT(Fit(false), 0.1);
  EXPECT_NE(fitted, found);
}

TEST_F(FittedSolutionTest, RefinementFollowsTheWeights) {
  found = {1.02, 0.01, 0.4, 0.1};
  EXPECT_NEAR(Fit(true), 0.0, 1e-7);  // refinement ends when the cost, a mean, falls by less than 1e-8
  EXPECT_NEAR(fitted[0], 1.0, 1e-5);
  EXPECT_NEAR(fitted[1], 0.0, 1e-5);
  EXPECT_NEAR(fitted[2], 0.5, 1e-5);
  EXPECT_NEAR(fitted[3], 0.0, 1e-5);
}

}  // namespace
