#include "planning/IntentDetector.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "numerics/Matrix.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Point2D;

namespace {

using Events = std::vector<MotionInterval>;
using Motion = std::function<double(int)>;

double Zero(int) { return 0; }

/// Frames `first` to `last`, each moved by (x, y) against the one before, about the centre.
HomographySet Shifts(int first, int last, const Motion& x, const Motion& y = Zero) {
  HomographySet set;
  for (int f = first; f <= last; ++f) {
    Matrix m = Matrix::GetIdentity(3);
    m(0, 2) = x(f);
    m(1, 2) = y(f);
    set.Set(f, m);
  }
  set.AppendRange(first, last);
  return set;
}

/// A detector whose path is x on the horizontal axis, from `first` to `last`.
IntentDetector OnPath(int first, int last, const Motion& x, const Motion& y = Zero) {
  IntentDetector detector;
  detector.locationStart = first;
  for (int f = first; f <= last; ++f) detector.location.emplace_back(x(f), y(f));
  return detector;
}

std::vector<std::tuple<int, int, int>> Told(const Events& events) {
  std::vector<std::tuple<int, int, int>> told;
  for (const MotionInterval& event : events) told.emplace_back(event.begin_frame, event.end_frame, event.motion_type);
  return told;
}
using List = std::vector<std::tuple<int, int, int>>;

MotionConfidenceSet LowIn(const Events& spans, float low = 0.0f) {
  MotionConfidenceSet confidence;
  for (const MotionInterval& span : spans)
    for (int f = span.begin_frame; f <= span.end_frame; ++f) confidence.Set(f, low);
  return confidence;
}

TEST(IntentDetector, StartsWithItsTuning) {
  const IntentDetector detector;
  EXPECT_EQ(detector.minGrad, 1.0);
  EXPECT_EQ(detector.minDisp, 20.0);
  EXPECT_EQ(detector.linFitThresh, 80.0);
  EXPECT_EQ(detector.linearThreshMotionPri, 40.0f);
  EXPECT_EQ(detector.minInterval, 10);
  EXPECT_TRUE(detector.mergeStill);
  EXPECT_TRUE(detector.insertLinearKeyFrames);
  EXPECT_EQ(detector.centre, Point2D(320, 240));
  EXPECT_EQ(detector.locationStart, 0);
  EXPECT_TRUE(detector.eventsX.empty() && detector.eventsY.empty() && detector.eventsP.empty());
  EXPECT_TRUE(detector.location.empty() && detector.keyX.empty() && detector.keyY.empty());
}

// The split by confidence.

TEST(PreliminaryDetect, QuietConfidentClipIsOneStillStretch) {
  IntentDetector detector;
  const HomographySet motion = Shifts(5, 60, [](int) { return 1.99; });
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({}))), (List{{5, 60, MotionStill}}));
  EXPECT_EQ(Told(detector.eventsP), (List{{5, 60, MotionStill}}));
}

TEST(PreliminaryDetect, OneRealMoveMakesTheStretchMoving) {
  IntentDetector detector;
  const auto atFrame30 = [](int f) { return f == 30 ? -2.0 : 0.0; };
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 60, atFrame30), LowIn({}))), (List{{0, 60, MotionMoving}}));
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 60, Zero, atFrame30), LowIn({}))), (List{{0, 60, MotionMoving}}));
  const auto atLowConfidence = [](int f) { return f == 20 ? 9.0 : 0.0; };
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 60, atLowConfidence), LowIn({{15, 30, 0, false}}))),
            (List{{0, 14, MotionStill}, {15, 30, MotionBroken}, {31, 60, MotionStill}}));
}

TEST(PreliminaryDetect, AboutTheCornerThePositionItselfIsTested) {
  IntentDetector detector;
  HomographySet motion = Shifts(0, 60, Zero);
  motion.originLocation = 0;
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({}))), (List{{0, 60, MotionMoving}}));
}

TEST(PreliminaryDetect, ATenthIsStillLowConfidence) {
  IntentDetector detector;
  const HomographySet motion = Shifts(0, 60, Zero);
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({{20, 40, 0, false}}, 0.1f))).size(), 3u);
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({{20, 40, 0, false}}, 0.11f))).size(), 1u);
}

TEST(PreliminaryDetect, DipAtTheStartClosesAsSoonAsConfidenceReturns) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(3, 60, Zero), LowIn({{3, 4, 0, false}}))),
            (List{{3, 4, MotionBroken}, {5, 60, MotionStill}}));
}

TEST(PreliminaryDetect, ShortDipSwallowsFramesUntilItIsLongEnough) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 99, Zero), LowIn({{40, 42, 0, false}}))),
            (List{{0, 39, MotionStill}, {40, 50, MotionBroken}, {51, 99, MotionStill}}));
}

TEST(PreliminaryDetect, ShortStretchAheadOfADropGoesDownWithIt) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 60, Zero), LowIn({{10, 30, 0, false}}))),
            (List{{0, 30, MotionBroken}, {31, 60, MotionStill}}));
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 60, Zero), LowIn({{11, 30, 0, false}}))),
            (List{{0, 10, MotionStill}, {11, 30, MotionBroken}, {31, 60, MotionStill}}));
}

TEST(PreliminaryDetect, NeighbouringBrokenStretchesMerge) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 99, Zero),
                                            LowIn({{20, 35, 0, false}, {39, 60, 0, false}, {64, 70, 0, false}}))),
            (List{{0, 19, MotionStill}, {20, 71, MotionBroken}, {72, 99, MotionStill}}));
}

TEST(PreliminaryDetect, ShortTailJoinsTheStretchBeforeUnlessBroken) {
  IntentDetector detector;
  const HomographySet motion = Shifts(0, 99, Zero);
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({{60, 90, 0, false}}))),
            (List{{0, 59, MotionStill}, {60, 99, MotionBroken}}));
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({{60, 88, 0, false}}))),
            (List{{0, 59, MotionStill}, {60, 88, MotionBroken}, {89, 99, MotionStill}}));
  EXPECT_EQ(Told(detector.PreliminaryDetect(motion, LowIn({{97, 99, 0, false}}))),
            (List{{0, 96, MotionStill}, {97, 99, MotionBroken}}));
}

TEST(PreliminaryDetect, AllLowIsOneBrokenStretchAndNoFramesAreNone) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.PreliminaryDetect(Shifts(0, 30, Zero), LowIn({{0, 30, 0, false}}))),
            (List{{0, 30, MotionBroken}}));
  EXPECT_TRUE(detector.PreliminaryDetect(HomographySet(), MotionConfidenceSet()).empty());
  EXPECT_TRUE(detector.eventsP.empty());
}

// The track and its key frames.

TEST(ProjectCentreTrack, SumsTheDisplacementsBehindTheFirstProjection) {
  IntentDetector detector;
  HomographySet motion = Shifts(
      4, 8, [](int f) { return f; }, [](int) { return -1.0; });
  detector.projectCentreTrack(motion, 5, 7);
  EXPECT_EQ(detector.locationStart, 5);
  EXPECT_EQ(detector.location, (std::vector<Point2D>{{10, -2}, {16, -3}, {23, -4}}));
  motion.originLocation = 0;
  detector.projectCentreTrack(motion, 5, 6);
  EXPECT_EQ(detector.location, (std::vector<Point2D>{{330, 238}, {336, 237}}));
  detector.projectCentreTrack(motion, 20, 21);  // frames without a matrix don't move
  EXPECT_EQ(detector.location, (std::vector<Point2D>{{320, 240}, {320, 240}}));
}

/// Stands to frame 39, moves 3 pixels a frame to frame 79, stands again.
double HoldPanHold(int f) { return f < 40 ? 0 : f < 80 ? 3.0 * (f - 39) : 120; }

TEST(FindKeyFrames, FindsWhereAPanStartsAndStops) {
  IntentDetector detector = OnPath(0, 119, HoldPanHold);
  detector.findKeyFrames(0, 119);
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 39, 80, 119}));
  EXPECT_EQ(detector.keyY, (std::vector<int>{0, 119}));
}

TEST(FindKeyFrames, FindsAReversalThatDoesNotStop) {
  IntentDetector detector = OnPath(10, 89, Zero, [](int f) { return f < 50 ? 3.0 * (f - 10) : 117 - 1.5 * (f - 49); });
  detector.findKeyFrames(10, 89);
  EXPECT_EQ(detector.keyY, (std::vector<int>{10, 50, 89}));
}

TEST(FindKeyFrames, SlowDriftBelowTheLimitsIsNoStart) {
  // 0.45 pixels a frame: 0.9 in the central difference, above the limit for stopping and below that for starting.
  IntentDetector detector = OnPath(0, 99, [](int f) { return f < 30 ? 0 : 0.45 * (f - 30); });
  detector.findKeyFrames(0, 99);
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 99}));
}

TEST(FindKeyFrames, KeysStayApartFromOneAnotherAndFromTheEnd) {
  // A stop of a few frames: its end is too near to its beginning.
  IntentDetector stop = OnPath(0, 99, [](int f) { return 3.0 * (f < 50 ? f : f < 55 ? 50 : f - 5); });
  stop.findKeyFrames(0, 99);
  EXPECT_EQ(stop.keyX, (std::vector<int>{0, 51, 99}));
  IntentDetector late = OnPath(0, 99, [](int f) { return f < 90 ? 3.0 * f : 267; });
  late.findKeyFrames(0, 99);
  EXPECT_EQ(late.keyX, (std::vector<int>{0, 99}));
}

TEST(FindKeyFrames, ShortStretchesHaveOnlyTheirEnds) {
  IntentDetector detector = OnPath(0, 10, [](int f) { return f % 2 * 100.0; });
  for (int last = 1; last <= 10; ++last) {
    detector.findKeyFrames(0, last);
    EXPECT_EQ(detector.keyX, (std::vector<int>{0, last}));
  }
  detector.findKeyFrames(7, 7);
  EXPECT_EQ(detector.keyX, std::vector<int>{7});
}

TEST(MakeSubEvents, FinalKeyBelongsToItsEventAndOthersStartTheNext) {
  const IntentDetector detector;
  Events events = {{1, 1, 1, true}};
  detector.makeSubEvents(events, {4, 20, 31, 50});
  EXPECT_EQ(Told(events), (List{{4, 19, 0}, {20, 30, 0}, {31, 50, 0}}));
  EXPECT_FALSE(events[0].cut);
  detector.makeSubEvents(events, {9});
  EXPECT_EQ(Told(events), (List{{9, 9, 0}}));
  detector.makeSubEvents(events, {});
  EXPECT_TRUE(events.empty());
}

TEST(KeyFrameTools, FindAndErase) {
  IntentDetector detector;
  detector.keyX = {0, 10, 25, 40, 60};
  detector.keyY = {0, 25, 33, 60};
  std::vector<int> all = {99};
  detector.GetKeyFrames(all);
  EXPECT_EQ(all, (std::vector<int>{0, 10, 25, 33, 40, 60}));
  EXPECT_TRUE(detector.hasKeyFrames(9, 11, 0));
  EXPECT_FALSE(detector.hasKeyFrames(10, 25, 0));
  EXPECT_FALSE(detector.hasKeyFrames(0, 25, 1));
  detector.deleteAdjacentKeyFrames(25, 0, 0, 60, 16);
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 25, 60}));
  detector.keyX = {0, 10, 25, 40, 60};
  detector.deleteAdjacentKeyFrames(25, 0, 10, 60, 15);  // 40 isn't nearer than 15, 10 isn't inside
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 10, 25, 40, 60}));
  detector.deleteKeyFrames(0, 60, 1);
  EXPECT_EQ(detector.keyY, (std::vector<int>{0, 60}));
  detector.deleteKeyFrames(10, 40, 0);
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 10, 40, 60}));
}

TEST(KeyFrameTools, BestKeyIsWhereThePathBends) {
  IntentDetector detector = OnPath(0, 99, [](int f) { return f < 60 ? 0 : 5.0 * (f - 60); });
  detector.keyX = {0, 30, 60, 80, 99};
  EXPECT_EQ(detector.findBestLinearKeyFrame(0, 99, 0), 60);
  EXPECT_EQ(detector.findBestLinearKeyFrame(60, 80, 0), -1);
  EXPECT_EQ(detector.findBestLinearKeyFrame(0, 99, 1), -1);
}

TEST(KeyFrameTools, DefaultPreliminaryEventIsTheWholeSet) {
  IntentDetector detector;
  EXPECT_EQ(Told(detector.CreateDefaultPrelimEvents(Shifts(3, 30, Zero))), (List{{3, 30, MotionMoving}}));
  EXPECT_EQ(Told(detector.eventsP), (List{{3, 30, MotionMoving}}));
}

// Straight lines.

TEST(LinearFitCost, LeavesTheEndsOutAndDividesByFrames) {
  const IntentDetector slope = OnPath(100, 130, [](int f) { return f - 100.0; });
  // The line lags behind by k / 31 at the k-th frame; 10 to 20 are measured. Its gradient is a float.
  EXPECT_NEAR(slope.calculateLinearFitCost(100, 130, 0, true), 20.0 / 31, 1e-5);
  EXPECT_NEAR(slope.calculateLinearFitCost(100, 130, 0, false), 165.0 / 31, 1e-5);
  EXPECT_EQ(slope.calculateLinearFitCost(100, 119, 0, true), 0.0f);  // no frame is left
  EXPECT_GT(slope.calculateLinearFitCost(100, 120, 0, true), 0.0f);  // one is
  const IntentDetector bumps = OnPath(100, 130, Zero, [](int f) { return f == 109 ? 99.0 : f == 112 ? -10.0 : 0; });
  EXPECT_EQ(bumps.calculateLinearFitCost(100, 130, 1, true), 10.0f);
  EXPECT_EQ(bumps.calculateLinearFitCost(100, 130, 0, true), 0.0f);
}

TEST(RecursiveSearch, ErasesTheKeysThatAStraightLineSpans) {
  IntentDetector detector = OnPath(
      0, 99, [](int f) { return 2.0 * f; }, [](int f) { return f < 50 ? 0 : 5.0 * (f - 50); });
  detector.keyX = {0, 30, 50, 70, 99};
  detector.keyY = {0, 50, 99};
  detector.recursiveLinearFit({0, 99, MotionMoving, false});
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 50, 99}));  // 50 ended one line, and began the next
  EXPECT_EQ(detector.keyY, (std::vector<int>{0, 50, 99}));  // the path bends there
}

TEST(RecursiveSearch, StartsAtFirstAndRunsToTheEndOfTheList) {
  IntentDetector detector = OnPath(0, 99, Zero);
  detector.keyX = {0, 20, 40, 60, 80, 99};
  detector.recursiveSearch(40, 60, 0);  // no key strictly inside
  EXPECT_EQ(detector.keyX.size(), 6u);
  detector.recursiveSearch(30, 70, 0);
  EXPECT_EQ(detector.keyX, (std::vector<int>{0, 20, 40, 80, 99}));
  detector.recursiveSearch(70, 99, 0);  // of three keys from 70 on there are but two
  EXPECT_EQ(detector.keyX.size(), 5u);
}

TEST(InsertKeyFrames, HalvesUntilPiecesAreShortOrStraight) {
  IntentDetector detector = OnPath(0, 99, [](int f) { return f < 50 ? 0 : 4.0 * (f - 50); });
  Events events = {{0, 99, MotionStill, true}};
  detector.insertKeyFrames(events, 0);  // off by 98 at the bend
  EXPECT_EQ(Told(events), (List{{0, 50, MotionMoving}, {51, 99, MotionMoving}}));
  EXPECT_TRUE(events[0].cut);
  EXPECT_FALSE(events[1].cut);
  events = {{0, 99, MotionStill, false}};
  detector.linFitThresh = 100;
  detector.insertKeyFrames(events, 0);
  EXPECT_EQ(Told(events), (List{{0, 99, MotionStill}}));
}

TEST(InsertKeyFrames, LeavesEventsShorterThanTwoMinimaAndAlwaysEnds) {
  IntentDetector detector = OnPath(0, 49, [](int f) { return f * f; });
  detector.linFitThresh = 0;  // nothing is straight enough
  Events events = {{0, 49, MotionMoving, false}};
  detector.insertKeyFrames(events, 0);
  EXPECT_EQ(Told(events), (List{{0, 13, 0}, {14, 25, 0}, {26, 38, 0}, {39, 49, 0}}));
  detector.minInterval = 0;
  detector.linFitThresh = -5;
  detector.insertKeyFrames(events, 0);
  for (const MotionInterval& event : events) {
    EXPECT_LE(event.begin_frame, event.end_frame);
    EXPECT_LE(event.end_frame - event.begin_frame, 1);
  }
}

// Labels and merging.

int LabelOf(int last, const Motion& x, int type = MotionMoving) {
  const IntentDetector detector = OnPath(0, last, x);
  Events events = {{0, last, type, false}};
  detector.classifySubEvents(events, detector.location, 0, 20.0);
  return events[0].motion_type;
}

TEST(ClassifySubEvents, StillNeedsToArriveNowhere) {
  EXPECT_EQ(LabelOf(99, Zero), MotionStill);
  EXPECT_EQ(LabelOf(99, [](int f) { return 0.19 * f; }), MotionStill);   // 18.8 pixels, slowly
  EXPECT_EQ(LabelOf(99, [](int f) { return 0.21 * f; }), MotionMoving);  // 20.8 pixels
  EXPECT_EQ(LabelOf(40, [](int f) { return 0.24 * f; }), MotionStill);
  EXPECT_EQ(LabelOf(40, [](int f) { return 0.26 * f; }), MotionMoving);         // 10.4 pixels, but fast and straight
  EXPECT_EQ(LabelOf(40, [](int f) { return 0.26 * f + f % 2; }), MotionStill);  // a shaky stand
}

TEST(ClassifySubEvents, NoNetDisplacementIsStillIfThePathStaysNear) {
  EXPECT_EQ(LabelOf(60, [](int f) { return f < 30 ? f : 60.0 - f; }), MotionStill);
  EXPECT_EQ(LabelOf(60, [](int f) { return 1.5 * (f < 30 ? f : 60.0 - f); }), MotionMoving);  // 45 pixels off
  EXPECT_EQ(LabelOf(0, Zero), MotionStill);
  EXPECT_EQ(LabelOf(60, Zero, MotionBroken), MotionBroken);
}

/// Merges events of the given lengths and speeds, in a row from frame 0.
List Merged(const std::vector<std::tuple<int, double, int>>& pieces) {
  Events events;
  std::vector<double> path = {0};
  for (const auto& [frames, speed, type] : pieces) {
    const int begin = static_cast<int>(path.size()) - 1;
    // Within the event the position grows so that displacement over its frame count is the speed.
    for (int i = 1; i < frames; ++i) path.push_back(path.back() + speed * frames / (frames - 1));
    path.push_back(path.back());
    events.push_back({begin, begin + frames - 1, type, false});
  }
  const IntentDetector detector =
      OnPath(0, static_cast<int>(path.size()) - 1, [&](int f) { return path[static_cast<std::size_t>(f)]; });
  detector.removeFastChanges(events, 0);
  return Told(events);
}

TEST(RemoveFastChanges, ShortStandBetweenMovesOfOneDirectionIsPartOfTheMove) {
  EXPECT_EQ(Merged({{40, 1, 0}, {19, 0, 1}, {40, 1, 0}}), (List{{0, 58, 0}, {59, 98, 0}}));
  EXPECT_EQ(Merged({{40, -1, 0}, {19, 0, 1}, {40, -1, 0}}), (List{{0, 58, 0}, {59, 98, 0}}));
  EXPECT_EQ(Merged({{40, 1, 0}, {20, 0, 1}, {40, 1, 0}}).size(), 3u);   // not short
  EXPECT_EQ(Merged({{40, 1, 0}, {19, 0, 1}, {40, -1, 0}}).size(), 3u);  // another direction
  EXPECT_EQ(Merged({{40, 1, 0}, {19, 0, 1}, {40, 1, 1}}).size(), 3u);   // no move behind it
  EXPECT_EQ(Merged({{40, 1, 0}, {19, 0, 1}}).size(), 2u);
}

TEST(RemoveFastChanges, ShortJerkIsPartOfTheMove) {
  EXPECT_EQ(Merged({{40, 1, 0}, {29, 3.5, 0}}), (List{{0, 68, 0}}));
  EXPECT_EQ(Merged({{40, 1, 0}, {30, 3.5, 0}}).size(), 2u);
  EXPECT_EQ(Merged({{40, 1, 0}, {29, 2.9, 0}}).size(), 2u);
  EXPECT_EQ(Merged({{40, 0, 1}, {29, 3.5, 0}}).size(), 2u);  // a stand takes nothing over
}

TEST(RemoveFastChanges, ShorterReversalIsPartOfTheMove) {
  EXPECT_EQ(Merged({{40, 0.8, 0}, {14, -0.8, 0}}), (List{{0, 53, 0}}));
  EXPECT_EQ(Merged({{40, 0.8, 0}, {15, -0.8, 0}}).size(), 2u);
  EXPECT_EQ(Merged({{40, 0.8, 0}, {14, 0, 0}}).size(), 2u);
}

TEST(RemoveFastChanges, OneMoveTakesOverSeveral) {
  EXPECT_EQ(Merged({{60, 1, 0}, {12, -0.5, 0}, {12, -0.5, 0}, {40, 1, 0}}), (List{{0, 83, 0}, {84, 123, 0}}));
}

TEST(MergeStillEvents, OfThreeInARowTwoAreLeft) {
  const IntentDetector detector;
  Events events = {{0, 9, 1, false}, {10, 19, 1, false}, {20, 29, 1, false}, {30, 39, 0, false}, {40, 49, 1, false}};
  detector.mergeStillEvents(events);
  EXPECT_EQ(Told(events), (List{{0, 19, 1}, {20, 29, 1}, {30, 39, 0}, {40, 49, 1}}));
  events = {{0, 9, 1, false}, {10, 19, 1, true}, {20, 29, 1, false}};
  detector.mergeStillEvents(events);
  EXPECT_EQ(Told(events), (List{{0, 9, 1}, {10, 29, 1}}));  // a cut stays apart
  EXPECT_TRUE(events[1].cut);
}

// The whole.

TEST(Analyse, HoldPanHoldIsThreeEventsOnItsAxis) {
  IntentDetector detector;
  const HomographySet motion = Shifts(0, 119, [](int f) { return f >= 40 && f < 80 ? 3.0 : 0.0; });
  const Events preliminary = detector.PreliminaryDetect(motion, MotionConfidenceSet());
  for (const bool motionPriority : {false, true}) {
    detector.Analyse(motion, preliminary, motionPriority);
    EXPECT_EQ(detector.linFitThresh, motionPriority ? 80.0 : 20.0);
    const List threeEvents = {{0, 38, MotionStill}, {39, 79, MotionMoving}, {80, 119, MotionStill}};
    if (!motionPriority) {
      EXPECT_EQ(Told(detector.eventsX), threeEvents);
    }
    EXPECT_EQ(Told(detector.eventsY), (List{{0, 119, MotionStill}}));
  }
  Events x, y;
  detector.GetHorizontalMotion(x);
  detector.GetVerticalMotion(y);
  EXPECT_EQ(Told(x), Told(detector.eventsX));
  EXPECT_EQ(Told(y), Told(detector.eventsY));
  detector.Clear();
  EXPECT_TRUE(detector.eventsX.empty() && detector.eventsY.empty() && detector.eventsP.empty());
}

TEST(Analyse, BorderPrioritySplitsADeviationThatMotionPriorityTolerates) {
  IntentDetector detector;
  // 3 and then 2 pixels a frame: 26 off a straight line in the middle.
  const HomographySet motion = Shifts(0, 99, [](int f) { return f < 50 ? 3.0 : 2.0; });
  const Events whole = {{0, 99, MotionMoving, false}};
  detector.Analyse(motion, whole, true);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 99, MotionMoving}}));
  detector.Analyse(motion, whole, false);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 50, MotionMoving}, {51, 99, MotionMoving}}));
}

TEST(Analyse, MotionPrioritySpansAWaverInAMove) {
  IntentDetector detector;
  const HomographySet motion = Shifts(0, 149, [](int f) { return f >= 60 && f < 85 ? 0.0 : 1.5; });
  const Events whole = {{0, 149, MotionMoving, false}};
  detector.Analyse(motion, whole, false);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 59, MotionMoving}, {60, 83, MotionStill}, {84, 149, MotionMoving}}));
  detector.Analyse(motion, whole, true);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 83, MotionMoving}, {84, 149, MotionMoving}}));
}

TEST(Analyse, BrokenStretchesStandInBothListsAndEventsTileTheClip) {
  IntentDetector detector;
  const HomographySet motion = Shifts(
      0, 199, [](int f) { return f % 60 < 30 ? 2.5 : -2.5; }, [](int f) { return f % 70 < 35 ? 0.0 : 4.0; });
  const Events preliminary = {
      {0, 79, 0, false}, {80, 99, MotionBroken, true}, {100, 100, 1, false}, {101, 199, 0, false}};
  detector.Analyse(motion, preliminary, false);
  for (const Events* events : {&detector.eventsX, &detector.eventsY}) {
    EXPECT_EQ(events->front().begin_frame, 0);
    EXPECT_EQ(events->back().end_frame, 199);
    int broken = 0;
    for (std::size_t i = 0; i < events->size(); ++i) {
      if (i > 0) {
        EXPECT_EQ((*events)[i].begin_frame, (*events)[i - 1].end_frame + 1);
      }
      if ((*events)[i].motion_type != MotionBroken) continue;
      ++broken;
      EXPECT_EQ((*events)[i].begin_frame, 80);
      EXPECT_EQ((*events)[i].end_frame, 99);
      EXPECT_TRUE((*events)[i].cut);
      EXPECT_EQ((*events)[i + 1].end_frame, 100);  // a stretch of one frame is one event
    }
    EXPECT_EQ(broken, 1);
  }
  detector.Analyse(motion, {}, true);
  EXPECT_TRUE(detector.eventsX.empty() && detector.eventsY.empty());
}

/// A shaky drift of 20.2 pixels from frame 40 to 75, of which the last frame, a key, takes 0.45.
double ShakyDrift(int f) {
  if (f < 40 || f > 75) return 0;
  if (f == 75) return 0.45;
  return f % 2 == 0 ? (20.2 - 0.45 + 17 * 0.55) / 18 : -0.55;
}

TEST(Analyse, StillEventsMergeOnlyWhenAsked) {
  IntentDetector detector;
  const HomographySet motion = Shifts(0, 119, ShakyDrift);
  const Events whole = {{0, 119, MotionMoving, false}};
  detector.Analyse(motion, whole, false);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 74, MotionStill}, {75, 119, MotionStill}}));
  detector.mergeStill = false;
  detector.Analyse(motion, whole, false);
  EXPECT_EQ(Told(detector.eventsX), (List{{0, 38, MotionStill}, {39, 74, MotionStill}, {75, 119, MotionStill}}));
}

}  // namespace
