#include "planning/LocalCorrect.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "numerics/Matrix.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Vorn::Point2D;

namespace {

using Events = std::vector<MotionInterval>;
using Fits = std::vector<MotionFixParams>;

/// The processed path is 2 f and -f, the actual one 10 f and -10 f, over frames 0 to 199.
class LocalCorrectTest : public testing::Test {
 protected:
  LocalCorrectTest() {
    std::vector<Point2D> processed, actual;
    for (int f = 0; f < 200; ++f) {
      processed.emplace_back(2 * f, -f);
      actual.emplace_back(10 * f, -10 * f);
    }
    correct.SetCentreMotion(processed, 0, 199);
    correct.SetActualCentreMotion(actual, 0, 199);
  }

  MotionCorrect correct{640, 480};
  LocalCorrect store{&correct};
};

MotionFixParams HoldAt(float position) { return {Hold, 0, 0, 0, 0, 0, position, position}; }
MotionFixParams Line(float start, float end, int frames) {
  return {Linear, (end - start) / static_cast<float>(frames), 0, 0, frames, 0, start, end};
}
MotionFixParams Uncompensated(float start, float end) { return {None, 0, 0, 0, 0, 0, start, end}; }

void ExpectSame(const Events& a, const Events& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].begin_frame, b[i].begin_frame) << i;
    EXPECT_EQ(a[i].end_frame, b[i].end_frame) << i;
    EXPECT_EQ(a[i].motion_type, b[i].motion_type) << i;
    EXPECT_EQ(a[i].cut, b[i].cut) << i;
  }
}

std::string PathOf(const char* name) {
  return testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() + name;
}

std::string Written(const std::string& text) {
  const std::string path = PathOf("in.mfp");
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string Text(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

TEST_F(LocalCorrectTest, StartsEmptyWithItsDefaults) {
  EXPECT_EQ(store.version, 3);
  EXPECT_TRUE(store.adjustOnEdit);
  EXPECT_EQ(store.maxGradient, 8.0f);
  EXPECT_EQ(store.minEventFrames, 10);
  EXPECT_EQ(store.correcter, &correct);
  EXPECT_TRUE(store.keepPositions);
  EXPECT_FALSE(store.compensating);
  EXPECT_TRUE(store.eventsX.empty() && store.eventsY.empty() && store.filtersX.empty() && store.filtersY.empty());
}

TEST_F(LocalCorrectTest, CopiesShareTheCorrecterAndNothingElse) {
  store.SetFromData({{0, 9, 0, false}}, {{0, 9, 1, false}}, {HoldAt(1)}, {HoldAt(2)});
  LocalCorrect copy(store);
  EXPECT_EQ(copy.correcter, &correct);
  copy.Filter(0, 0).start_pos = 7;
  copy.Filter(5, 0).start_pos = 8;
  EXPECT_EQ(copy.filtersX[0].start_pos, 7.0f);
  EXPECT_EQ(copy.filtersY[0].start_pos, 8.0f);
  EXPECT_EQ(store.Filter(-3, 0).start_pos, 1.0f);
  EXPECT_EQ(store.Filter(1, 0).start_pos, 2.0f);
  store.Clear();
  EXPECT_TRUE(store.eventsX.empty() && store.eventsY.empty() && store.filtersX.empty() && store.filtersY.empty());
  store = copy;
  EXPECT_EQ(store.eventsY.size(), 1u);
}

// The file.

const char kFile[] =
    "MFP3\n"
    "H 3\n"
    "0 Linear\n0 59\n4 50 5 1.5\n-3.25 40 0.125\n0 G\n"
    "1 None\n60 99\n0 0 0 0\n0 0 0\n0 B\n"
    "2 Hold\n100 199\n0 0 0 0\n1e+06 1e+06 0\n1 G\n"
    "V 1\n"
    "0 None\n0 199\n0 0 0 0.333333\n1 2 0\n0 G\n";

TEST_F(LocalCorrectTest, SaveWritesTheFormatToTheByte) {
  store.SetFromData({{0, 59, 0, false}, {60, 99, 2, false}, {100, 199, 1, true}}, {{0, 199, 0, false}},
                    {{Linear, 1.5f, 0.125f, 4, 50, 5, -3.25f, 40}, Uncompensated(0, 0), HoldAt(1000000)},
                    {{None, 1.0f / 3, 0, 0, 0, 0, 1, 2}});
  const std::string path = PathOf("out.mfp");
  ASSERT_TRUE(store.Save(path.c_str()));
  EXPECT_EQ(Text(path), kFile);
}

TEST_F(LocalCorrectTest, LoadReadsWhatSaveWrote) {
  store.version = 9;
  ASSERT_TRUE(store.Load(Written(kFile).c_str()));
  EXPECT_EQ(store.version, 3);
  ExpectSame(store.eventsX, {{0, 59, 0, false}, {60, 99, 2, false}, {100, 199, 1, true}});
  ExpectSame(store.eventsY, {{0, 199, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{{Linear, 0, 0.125f, 4, 50, 5, -3.25f, 40}, Uncompensated(0, 0), HoldAt(1000000)}));
  EXPECT_EQ(store.filtersX[0].gradient, 1.5f);
  EXPECT_EQ(store.filtersY, (Fits{Uncompensated(1, 2)}));
  EXPECT_FLOAT_EQ(store.filtersY[0].gradient, 0.333333f);
}

TEST_F(LocalCorrectTest, SaveWritesNoWordForAnUnknownType) {
  store.SetFromData({{3, 4, 2, false}}, {}, {{7, 0, 0, 0, 0, 0, 0, 0}}, {});
  const std::string path = PathOf("out.mfp");
  ASSERT_TRUE(store.Save(path.c_str()));
  EXPECT_EQ(Text(path), "MFP3\nH 1\n0 3 4\n0 0 0 0\n0 0 0\n0 B\nV 0\n");
}

TEST_F(LocalCorrectTest, SaveToldOfAFolderThatIsMissing) {
  EXPECT_FALSE(store.Save((testing::TempDir() + "no/such/folder.mfp").c_str()));
  EXPECT_FALSE(store.Load((testing::TempDir() + "no/such/folder.mfp").c_str()));
}

TEST_F(LocalCorrectTest, VersionOneHasNeitherEndPositionsNorMarks) {
  ASSERT_TRUE(store.Load(Written("MFP1\nH 3\n0 Hold\n0 9\n1 2 3 0.5\n4.5 99\n1 Linear\n10 19\n0 0 0 2\n7 1\n"
                                 "2 None\n20 29\n0 0 0 0\n8 1\nV 0\n")
                             .c_str()));
  EXPECT_EQ(store.version, 1);
  ExpectSame(store.eventsX, {{0, 9, 1, false}, {10, 19, 0, false}, {20, 29, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{{Hold, 0, 0, 1, 2, 3, 4.5f, 4.5f},
                                  {Linear, 0, 0, 0, 0, 0, 7, 4.5f},  // the end position of the record before
                                  {None, 0, 0, 0, 0, 0, 8, 4.5f}}));
  EXPECT_EQ(store.filtersX[0].gradient, 0.5f);
}

TEST_F(LocalCorrectTest, VersionTwoHasEndPositionsButNoMarks) {
  ASSERT_TRUE(store.Load(Written("MFP2\nH 1\n0 None\n0 9\n0 0 0 0\n1 2\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 3\n").c_str()));
  EXPECT_EQ(store.version, 2);
  ExpectSame(store.eventsX, {{0, 9, 0, false}});
  ExpectSame(store.eventsY, {{0, 9, 1, false}});
  EXPECT_EQ(store.filtersX, (Fits{Uncompensated(1, 2)}));
  EXPECT_EQ(store.filtersY, (Fits{HoldAt(3)}));
}

TEST_F(LocalCorrectTest, UnknownWordTakesTheTypeOfTheRecordBefore) {
  ASSERT_TRUE(store.Load(Written("MFPx\nH 3\n0 What\n0 9\n0 0 0 0\n1 0\n1 Hold\n10 19\n0 0 0 0\n1 0\n"
                                 "2 hold\n20 29\n0 0 0 0\n1 0\nV 0\n")
                             .c_str()));
  EXPECT_EQ(store.version, 1);
  EXPECT_EQ(store.filtersX[0].comp_type, None);
  EXPECT_EQ(store.filtersX[1].comp_type, Hold);
  EXPECT_EQ(store.filtersX[2].comp_type, Hold);
  EXPECT_EQ(store.eventsX[2].motion_type, MotionStill);
}

TEST_F(LocalCorrectTest, SectionLettersAreNotChecked) {
  ASSERT_TRUE(store.Load(Written("MFP3\nZ 1\n0 Hold\n0 9\n0 0 0 0\n1 1 0\n0 G\n\n\n\nQ 0\n").c_str()));
  EXPECT_EQ(store.eventsX.size(), 1u);
  EXPECT_TRUE(store.eventsY.empty());
}

TEST_F(LocalCorrectTest, VerticalCountBelowOneLoads) {
  for (const char* count : {"0", "-4"}) {
    ASSERT_TRUE(
        store.Load(Written("MFP3\nH 1\n0 Hold\n0 9\n0 0 0 0\n1 1 0\n0 G\nV " + std::string(count) + "\n").c_str()));
    Vorn::HomographySet in, out;
    for (int f = 0; f < 10; ++f) in.Set(f, Vorn::Matrix::GetIdentity(3));
    out.Set(77, Vorn::Matrix::GetIdentity(3));
    store.Correct(in, out);
    EXPECT_EQ(out.hset.size(), 1u);
    EXPECT_EQ(out.start, 77);
  }
}

TEST_F(LocalCorrectTest, BadHeaderIsToldAndLeavesTheLists) {
  store.SetFromData({{0, 9, 1, false}}, {{0, 9, 1, false}}, {HoldAt(1)}, {HoldAt(2)});
  CaptureStderr();
  EXPECT_FALSE(store.Load(Written("MOVING PICTURES\nH 0\nV 0\n").c_str()));
  EXPECT_EQ(GetCapturedStderr(), "Could not load motion correction, bad header :MOVING:\n");
  CaptureStderr();
  EXPECT_FALSE(store.Load(Written("").c_str()));
  EXPECT_EQ(GetCapturedStderr(), "Could not load motion correction, bad header ::\n");
  EXPECT_EQ(store.version, 1);
  EXPECT_EQ(store.eventsX.size(), 1u);
}

TEST_F(LocalCorrectTest, EveryTruncationFailsAndKeepsTheWholeRecords) {
  const std::string whole = kFile;
  const std::size_t lastMark = whole.rfind('G');
  for (std::size_t length = 5; length <= lastMark; ++length)
    EXPECT_FALSE(store.Load(Written(whole.substr(0, length)).c_str())) << length;
  EXPECT_EQ(store.eventsX.size(), 3u);
  EXPECT_TRUE(store.eventsY.empty());
  EXPECT_TRUE(store.Load(Written(whole.substr(0, lastMark + 1)).c_str()));
}

TEST_F(LocalCorrectTest, AbsurdCountsAndRubbishStopTheReader) {
  EXPECT_FALSE(store.Load(Written("MFP3\nH 2147483647\n0 Hold\n0 9\n0 0 0 0\n1 1 0\n0 G\n").c_str()));
  EXPECT_EQ(store.eventsX.size(), 1u);
  EXPECT_FALSE(store.Load(Written("MFP3\nH 2147483647\nrubbish that goes on\n").c_str()));
  EXPECT_TRUE(store.eventsX.empty());
  EXPECT_FALSE(store.Load(Written("MFP3\nH many\n").c_str()));
  EXPECT_FALSE(store.Load(Written("MFP3\nH 0\n").c_str()));
  EXPECT_FALSE(store.Load(Written("MFP3\nH 0\nV x\n").c_str()));
}

// Initialising.

TEST_F(LocalCorrectTest, ValidListsBeginAndEndTogetherWithoutAHorizontalGap) {
  const auto valid = [&](const Events& x, const Events& y) {
    store.eventsX = x;
    store.eventsY = y;
    return store.IsValid();
  };
  EXPECT_TRUE(valid({{0, 9, 0, false}, {10, 19, 0, false}}, {{0, 19, 0, false}}));
  EXPECT_FALSE(valid({}, {{0, 19, 0, false}}));
  EXPECT_FALSE(valid({{0, 19, 0, false}}, {}));
  EXPECT_FALSE(valid({{0, 19, 0, false}}, {{1, 19, 0, false}}));
  EXPECT_FALSE(valid({{0, 19, 0, false}}, {{0, 18, 0, false}}));
  EXPECT_FALSE(valid({{0, 9, 0, false}, {11, 19, 0, false}}, {{0, 19, 0, false}}));
  EXPECT_FALSE(valid({{0, 19, 0, false}}, {{0, 9, 0, false}, {11, 19, 0, false}}));
  EXPECT_TRUE(valid({{0, 9, 0, false}}, {{0, 9, 0, false}, {11, 19, 0, false}}));  // it ends where the gap begins
  EXPECT_TRUE(valid({{0, 19, 0, false}}, {{0, 9, 0, false}, {11, 19, 0, false}, {10, 19, 0, false}}));
}

TEST_F(LocalCorrectTest, SingleEventIsUncompensated) {
  store.SetFromData({{0, 9, 1, true}}, {{0, 9, 1, true}}, {HoldAt(1)}, {HoldAt(2)});
  store.InitialiseSingle(5, 30);
  ExpectSame(store.eventsX, {{5, 30, 0, false}});
  ExpectSame(store.eventsY, {{5, 30, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{Uncompensated(10, 60)}));
  EXPECT_EQ(store.filtersY, (Fits{Uncompensated(-5, -30)}));
}

TEST_F(LocalCorrectTest, ClearedAxisKeepsTheAlternationOfGoodAndBroken) {
  const Events events = {{0, 9, 0, false},   {10, 19, 1, false}, {20, 29, 2, false}, {30, 39, 2, false},
                         {40, 49, 1, false}, {50, 59, 0, false}, {60, 69, 1, false}};
  store.SetFromData(events, events, Fits(7, HoldAt(3)), Fits(7, HoldAt(3)));
  store.ClearAxis(1, false);
  ExpectSame(store.eventsX, events);
  EXPECT_EQ(store.filtersX.size(), 7u);
  ExpectSame(store.eventsY, {{0, 19, 0, false}, {20, 39, 2, false}, {40, 69, 1, false}});
  EXPECT_EQ(store.filtersY, (Fits{Uncompensated(0, -19), Uncompensated(-20, -39), Uncompensated(-40, -69)}));
  store.ClearAxis(0, true);
  ExpectSame(store.eventsX, {{0, 69, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{Uncompensated(0, 138)}));
}

TEST_F(LocalCorrectTest, ClearingAnAxisNeedsHorizontalEvents) {
  store.eventsY = {{0, 9, 1, false}};
  store.filtersY = {HoldAt(1)};
  store.ClearAxis(1, true);
  EXPECT_EQ(store.filtersY, (Fits{HoldAt(1)}));
}

TEST_F(LocalCorrectTest, UncompensatedBrokenEventsLieAtZero) {
  store.filtersX = Fits(5, HoldAt(9));
  store.InitialiseNoComp({{0, 9, 1, true}, {10, 29, 2, false}}, {{0, 29, 0, false}});
  ExpectSame(store.eventsX, {{0, 9, 1, true}, {10, 29, 2, false}});
  ExpectSame(store.eventsY, {{0, 29, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{Uncompensated(0, 18), Uncompensated(0, 0)}));
  EXPECT_EQ(store.filtersY, (Fits{Uncompensated(0, -29)}));
}

TEST_F(LocalCorrectTest, SectionsStartAtTheActualAndAimAtTheProcessedPath) {
  store.filtersX = Fits(2, {Hold, 3, 4, 5, 6, 7, 8, 9});  // of an earlier clip
  store.InitialiseSections({{0, 9, 0, false}, {10, 19, 1, false}, {20, 29, 2, false}, {30, 39, 0, false}},
                           {{0, 39, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{{0, 0, 0, 0, 0, 0, 0, 18},
                                  {0, 0, 0, 0, 0, 0, 100, 190},
                                  {0, 0, 0, 0, 0, 0, 200, 58},
                                  {0, 0, 0, 0, 0, 0, 300, 390}}));
  EXPECT_EQ(store.filtersX[0].gradient, 0.0f);
  EXPECT_EQ(store.filtersY, (Fits{{0, 0, 0, 0, 0, 0, 0, -390}}));
}

TEST_F(LocalCorrectTest, FitGoesThroughTheCorrecter) {
  store.InitialiseSections({{0, 199, MotionStill, false}}, {{0, 199, MotionBroken, false}});
  store.FitCorrection();
  EXPECT_EQ(store.filtersX, (Fits{HoldAt(198)}));
  EXPECT_EQ(store.filtersY, (Fits{Uncompensated(0, 0)}));
}

TEST_F(LocalCorrectTest, CorrectsOrCompensates) {
  store.SetFromData({{0, 9, 1, false}}, {{0, 9, 1, false}}, {HoldAt(0)}, {HoldAt(0)});
  Vorn::HomographySet in, out;
  for (int f = 0; f < 10; ++f) {
    Vorn::Matrix m = Vorn::Matrix::GetIdentity(3);
    m(0, 2) = 3;
    m(0, 0) = 1.5;
    in.Set(f, m);
  }
  store.Correct(in, out);
  EXPECT_NEAR(out[4](0, 2), 0, 1e-12);
  EXPECT_EQ(out[4](0, 0), 1.5);
  store.compensating = true;
  store.Correct(in, out);
  EXPECT_NEAR(out[4](0, 2), -3, 1e-12);
  EXPECT_EQ(out[4](0, 0), 1.0);
}

TEST_F(LocalCorrectTest, FastLinesAreCounted) {
  const auto fast = [](int type, float gradient) { return MotionFixParams{type, gradient, 0, 0, 0, 0, 0, 0}; };
  store.filtersX = {fast(Linear, 8), fast(Linear, -8.5f), fast(Hold, 30)};
  store.filtersY = {fast(Linear, 9), fast(None, -40)};
  std::vector<int> x = {5, 5}, y;
  EXPECT_EQ(store.GetBadGradients(x, y), 2);
  EXPECT_EQ(x, std::vector<int>{1});
  EXPECT_EQ(y, std::vector<int>{0});
  EXPECT_EQ(store.GetMaximumSpeed(), 9.0f);
  store.Clear();
  EXPECT_EQ(store.GetMaximumSpeed(), 0.0f);
  EXPECT_EQ(store.GetStartAtFrame(0, 0, 21), 42.0f);
  EXPECT_EQ(store.GetStartAtFrame(1, 7, 21), -21.0f);
}

// Editing.

TEST_F(LocalCorrectTest, AddedEventSplitsALine) {
  store.eventsX = {{0, 49, 0, true}};
  store.filtersX = {{Linear, 2, 1, 30, 9, 10, 0, 98}};
  EXPECT_TRUE(store.AddEvent(0, 20));
  ExpectSame(store.eventsX, {{0, 20, 0, true}, {21, 49, 0, false}});
  const MotionFixParams &first = store.filtersX[0], &second = store.filtersX[1];
  EXPECT_EQ(first.start_pos, 0.0f);
  EXPECT_EQ(first.end_pos, 40.0f);
  EXPECT_EQ(second.start_pos, 40.0f);
  EXPECT_EQ(second.end_pos, 98.0f);
  EXPECT_EQ(first.ease_in, 20);  // cut to the 20 steps that are left
  EXPECT_EQ(first.linear_period, 0);
  EXPECT_EQ(first.ease_out, 0);
  EXPECT_EQ(first.gradient_in, 1.0f);
  EXPECT_FLOAT_EQ(first.gradient, (40 - 0.5f * 20) / 10);
  EXPECT_FLOAT_EQ(second.gradient_in, 1 + 20.0f / 30);
  EXPECT_EQ(second.ease_in, 0);
  EXPECT_EQ(second.linear_period, 19);
  EXPECT_EQ(second.ease_out, 10);
  EXPECT_FLOAT_EQ(second.gradient, 58.0f / 24);
}

TEST_F(LocalCorrectTest, AddedEventSplitsAHoldAndAnUncompensatedSection) {
  store.eventsX = {{0, 49, 1, false}};
  store.filtersX = {HoldAt(7)};
  EXPECT_TRUE(store.AddEvent(0, 30));
  ExpectSame(store.eventsX, {{0, 30, 1, false}, {31, 49, 1, false}});
  EXPECT_EQ(store.filtersX[0], HoldAt(7));
  EXPECT_EQ(store.filtersX[1].start_pos, 60.0f);
  EXPECT_EQ(store.filtersX[1].end_pos, 7.0f);
  store.eventsY = {{0, 49, 0, false}};
  store.filtersY = {Uncompensated(0, -49)};
  EXPECT_TRUE(store.AddEvent(1, 30));
  EXPECT_EQ(store.filtersY[0], Uncompensated(0, -30));
  EXPECT_EQ(store.filtersY[1].start_pos, -30.0f);
  EXPECT_EQ(store.filtersY[1].gradient_in, -1.0f);
}

TEST_F(LocalCorrectTest, AddedEventKeepsAwayFromBoundariesAndBrokenEvents) {
  store.eventsX = {{0, 49, 0, false}, {50, 99, 2, false}};
  store.filtersX = {Line(0, 98, 49), Uncompensated(0, 0)};
  for (const int frame : {-1, 0, 9, 40, 49, 75, 100, 2147483647}) EXPECT_FALSE(store.AddEvent(0, frame)) << frame;
  EXPECT_EQ(store.eventsX.size(), 2u);
  EXPECT_TRUE(store.AddEvent(0, 39));
  store.Clear();
  store.eventsX = {{0, 49, 0, false}};
  store.filtersX = {Line(0, 98, 49)};
  EXPECT_TRUE(store.AddEvent(0, 10));
  EXPECT_FALSE(store.AddEvent(1, 10));  // no events at all
}

TEST_F(LocalCorrectTest, DeletedSectionGoesIntoTheGoodOneBefore) {
  store.eventsX = {{0, 39, 1, false}, {40, 79, 1, true}, {80, 99, 0, false}};
  store.filtersX = {HoldAt(7), HoldAt(7), Line(7, 50, 20)};
  EXPECT_TRUE(store.DeleteEventBySection(0, 1));
  ExpectSame(store.eventsX, {{0, 79, 1, false}, {80, 99, 0, false}});
  EXPECT_EQ(store.filtersX, (Fits{HoldAt(7), Line(7, 50, 20)}));
  EXPECT_TRUE(store.DeleteEventBySection(0, 1));  // the line is taken over by the hold, which so becomes one
  ExpectSame(store.eventsX, {{0, 99, 1, false}});
  EXPECT_EQ(store.filtersX[0].comp_type, Linear);
  EXPECT_EQ(store.filtersX[0].start_pos, 7.0f);
  EXPECT_EQ(store.filtersX[0].end_pos, 50.0f);
  const MotionFixParams& line = store.filtersX[0];
  EXPECT_EQ(line.ease_in + line.linear_period + line.ease_out, 99);
}

TEST_F(LocalCorrectTest, DeletedSectionWithoutAGoodOneBeforeGoesIntoTheNext) {
  store.eventsY = {{0, 19, 2, false}, {20, 39, 1, true}, {40, 99, 1, false}};
  store.filtersY = {Uncompensated(0, 0), HoldAt(3), HoldAt(4)};
  EXPECT_TRUE(store.DeleteEventBySection(1, 1));
  ExpectSame(store.eventsY, {{0, 19, 2, false}, {20, 99, 1, true}});
  EXPECT_EQ(store.filtersY[1].start_pos, 3.0f);
  EXPECT_EQ(store.filtersY[1].end_pos, 4.0f);
  EXPECT_EQ(store.filtersY[1].comp_type, Hold);
}

TEST_F(LocalCorrectTest, SectionsWithoutAGoodNeighbourStay) {
  store.eventsX = {{0, 19, 1, false}, {20, 39, 2, false}, {40, 99, 1, false}};
  store.filtersX = {HoldAt(3), Uncompensated(0, 0), HoldAt(4)};
  for (const int index : {-1, 0, 1, 2, 3}) EXPECT_FALSE(store.DeleteEventBySection(0, index)) << index;
  EXPECT_EQ(store.eventsX.size(), 3u);
  store.eventsX = {{0, 19, 1, false}};
  store.filtersX = {HoldAt(3)};
  EXPECT_FALSE(store.DeleteEventBySection(0, 0));
}

TEST_F(LocalCorrectTest, DeletesTheNearestBoundary) {
  const Events events = {{0, 39, 1, false}, {40, 79, 1, false}, {80, 99, 2, false}, {100, 199, 1, false}};
  const Fits fits = {HoldAt(5), HoldAt(9), Uncompensated(0, 0), HoldAt(0)};
  store.SetFromData(events, events, fits, fits);
  EXPECT_FALSE(store.DeleteEvent(0, 50));   // 11 frames away
  EXPECT_FALSE(store.DeleteEvent(0, 79));   // a broken stretch begins there
  EXPECT_FALSE(store.DeleteEvent(0, 99));   // and ends there
  EXPECT_FALSE(store.DeleteEvent(0, 199));  // the end of the clip
  ExpectSame(store.eventsX, events);
  EXPECT_TRUE(store.DeleteEvent(0, 49));
  ExpectSame(store.eventsX, {{0, 79, 1, false}, {80, 99, 2, false}, {100, 199, 1, false}});
  EXPECT_EQ(store.filtersX[0].comp_type, Linear);
  EXPECT_EQ(store.filtersX[0].start_pos, 5.0f);
  EXPECT_EQ(store.filtersX[0].end_pos, 9.0f);
  EXPECT_EQ(store.filtersX.size(), 3u);
  ExpectSame(store.eventsY, events);
  store.Clear();
  EXPECT_FALSE(store.DeleteEvent(0, 0));
}

TEST_F(LocalCorrectTest, SelectionRunsThroughBothAxes) {
  const Events events = {{0, 29, 1, false},   {30, 59, 1, false},   {60, 79, 2, false},
                         {80, 109, 1, false}, {110, 139, 1, false}, {140, 199, 1, false}};
  const Fits fits = {HoldAt(1), HoldAt(2), Uncompensated(0, 0), HoldAt(3), HoldAt(4), HoldAt(5)};
  store.SetFromData(events, events, fits, fits);
  EXPECT_FALSE(store.DeleteEventSelection(5, 6));    // both axes
  EXPECT_FALSE(store.DeleteEventSelection(10, 12));  // beyond the end
  EXPECT_FALSE(store.DeleteEventSelection(-1, 2));
  EXPECT_FALSE(store.DeleteEventSelection(3, 1));
  ExpectSame(store.eventsX, events);
  EXPECT_TRUE(store.DeleteEventSelection(7, 9));  // vertical 1, 2 and 3
  ExpectSame(store.eventsX, events);
  ExpectSame(store.eventsY, {{0, 59, 1, false}, {60, 79, 2, false}, {80, 139, 1, false}, {140, 199, 1, false}});
  EXPECT_EQ(store.filtersY[0], HoldAt(-30));  // refitted over both
  EXPECT_TRUE(store.DeleteEventSelection(5, 5));
  EXPECT_EQ(store.eventsX.size(), 5u);
  EXPECT_TRUE(store.DeleteEventSelection(0, 4));
  ExpectSame(store.eventsX, {{0, 59, 1, false}, {60, 79, 2, false}, {80, 199, 1, false}});
}

TEST_F(LocalCorrectTest, RefittedHoldTakesItsNeighboursAlong) {
  store.eventsX = {{0, 39, 0, false}, {40, 59, 1, false}, {60, 79, 1, false}, {80, 119, 0, false}};
  store.filtersX = {Line(0, 70, 39), HoldAt(70), HoldAt(70), Line(70, 230, 40)};
  EXPECT_TRUE(store.Refit(0, 1));
  EXPECT_EQ(store.filtersX[1], HoldAt(98));  // the median of frames 39 to 59
  EXPECT_EQ(store.filtersX[2], HoldAt(98));
  EXPECT_EQ(store.filtersX[0].end_pos, 98.0f);
  EXPECT_FLOAT_EQ(store.filtersX[0].gradient, 98.0f / 39);
  EXPECT_EQ(store.filtersX[3].start_pos, 98.0f);
  EXPECT_FLOAT_EQ(store.filtersX[3].gradient, 132.0f / 40);
  store.filtersX[1] = HoldAt(50);
  EXPECT_TRUE(store.Refit(0, 2));  // it follows a hold, and stays
  EXPECT_EQ(store.filtersX[2], HoldAt(98));
}

TEST_F(LocalCorrectTest, RefittedLineAdjustsTheLinesBesideIt) {
  store.eventsX = {{0, 39, 0, false}, {40, 79, 0, false}, {80, 119, 0, false}};
  store.filtersX = {Line(0, 78, 39), Line(78, 158, 40), Line(158, 238, 40)};
  store.filtersX[0].gradient = store.filtersX[2].gradient = 77;
  store.filtersX[1] = {Linear, 0, 2, 20, 20, 20, 78, 158};
  EXPECT_TRUE(store.Refit(0, 1));
  const MotionFixParams& line = store.filtersX[1];
  EXPECT_EQ(line.ease_in + line.linear_period + line.ease_out, 40);
  EXPECT_FLOAT_EQ(store.filtersX[0].gradient, 2);
  EXPECT_FLOAT_EQ(store.filtersX[2].gradient, 2);
  EXPECT_FALSE(store.Refit(0, 3));
  EXPECT_FALSE(store.Refit(0, -1));
  store.filtersX[1] = Uncompensated(0, 0);
  EXPECT_FALSE(store.Refit(0, 1));
}

TEST_F(LocalCorrectTest, AlignsTheOtherAxisWithASection) {
  store.eventsX = {{0, 49, 0, false}, {50, 99, 0, false}};
  store.eventsY = {{0, 57, 0, false}, {58, 99, 0, false}};
  store.filtersX = store.filtersY = Fits(2);
  EXPECT_FALSE(store.AlignEventsBySection(0, 0));
  EXPECT_FALSE(store.AlignEventsBySection(0, 2));
  EXPECT_TRUE(store.AlignEventsBySection(0, 1));
  ExpectSame(store.eventsY, {{0, 49, 0, false}, {50, 99, 0, false}});
  store.eventsY = {{0, 59, 0, false}, {60, 99, 0, false}};
  EXPECT_FALSE(store.AlignEventsBySection(0, 1));  // ten frames away
  EXPECT_EQ(store.eventsY[0].end_frame, 59);
  store.eventsX = {{0, 92, 0, false}, {93, 99, 0, false}};
  store.eventsY = {{0, 99, 0, false}};
  EXPECT_FALSE(store.AlignEventsBySection(0, 1));  // the nearest is the end of the clip
}

TEST_F(LocalCorrectTest, AlignsTheOtherAxisWithABoundaryNearAFrame) {
  store.eventsX = {{0, 57, 0, false}, {58, 99, 0, false}};
  store.eventsY = {{0, 49, 0, false}, {50, 99, 0, false}};
  store.filtersX = store.filtersY = Fits(2);
  EXPECT_FALSE(store.AlignEvents(1, 60));
  EXPECT_TRUE(store.AlignEvents(1, 59));
  ExpectSame(store.eventsX, {{0, 49, 0, false}, {50, 99, 0, false}});
  ExpectSame(store.eventsY, {{0, 49, 0, false}, {50, 99, 0, false}});
}

TEST_F(LocalCorrectTest, AligningNeitherEmptiesAnEventNorMovesABrokenOne) {
  store.filtersX = store.filtersY = Fits(2);
  store.eventsX = {{0, 36, 0, false}, {37, 99, 0, false}};
  store.eventsY = {{38, 42, 0, false}, {43, 99, 0, false}};
  EXPECT_FALSE(store.AlignEventsBySection(0, 1));  // nothing would be left of 38 to 42
  store.eventsY = {{0, 39, 2, false}, {40, 99, 0, false}};
  EXPECT_FALSE(store.AlignEventsBySection(0, 1));
  store.eventsY = {{0, 39, 0, false}, {40, 99, 2, false}};
  EXPECT_FALSE(store.AlignEventsBySection(0, 1));
  EXPECT_EQ(store.eventsY[0].end_frame, 39);
}

TEST_F(LocalCorrectTest, InitialVelocityIsTheProcessedOne) {
  store.eventsY = {{0, 49, 0, false}, {50, 99, 2, false}, {100, 199, 0, false}};
  store.filtersY = Fits(3, {Linear, 0, 7, 0, 0, 0, 0, 0});
  EXPECT_TRUE(store.SetupInitialVelocity(1, 0));
  EXPECT_TRUE(store.SetupInitialVelocity(1, 2));
  EXPECT_EQ(store.filtersY[0].gradient_in, -1.0f);
  EXPECT_EQ(store.filtersY[1].gradient_in, 7.0f);
  EXPECT_EQ(store.filtersY[2].gradient_in, 0.0f);  // the path restarts
  EXPECT_FALSE(store.SetupInitialVelocity(1, 3));
}

TEST_F(LocalCorrectTest, AllLinesAreAdjusted) {
  store.eventsX = {{0, 40, 0, false}, {41, 80, 1, false}};
  store.eventsY = {{0, 80, 0, false}};
  store.filtersX = {{Linear, 0, 0, 0, 0, 0, 0, 80}, {Hold, 5, 0, 0, 0, 0, 80, 80}};
  store.filtersY = {{Linear, 0, 0, 0, 0, 0, 0, -40}};
  store.AdjustAllLinearFilters();
  EXPECT_FLOAT_EQ(store.filtersX[0].gradient, 2);
  EXPECT_EQ(store.filtersX[0].linear_period, 40);
  EXPECT_EQ(store.filtersX[1].gradient, 5.0f);
  EXPECT_FLOAT_EQ(store.filtersY[0].gradient, -0.5);
}

/// Each section starts where the one before ends.
void ExpectContinuous(const Fits& fits) {
  for (std::size_t i = 1; i < fits.size(); ++i) EXPECT_FLOAT_EQ(fits[i].start_pos, fits[i - 1].end_pos) << i;
}

TEST_F(LocalCorrectTest, MovedBoundaryCarriesPositionsOver) {
  store.eventsX = {{0, 39, 0, false}, {40, 79, 0, false}, {80, 119, 1, false}};
  store.filtersX = {Line(0, 70, 39), Line(70, 150, 40), HoldAt(150)};
  const Events edited = {{0, 49, 0, false}, {50, 89, 0, false}, {90, 119, 1, false}};
  LocalCorrect loose = store;
  loose.keepPositions = false;
  store.UpdateSections(edited, {});
  ExpectSame(store.eventsX, edited);
  EXPECT_EQ(store.filtersX[0].end_pos, 100.0f);  // of frame 50
  EXPECT_EQ(store.filtersX[1].start_pos, 100.0f);
  EXPECT_EQ(store.filtersX[1].end_pos, 150.0f);  // it still leads to the hold
  EXPECT_EQ(store.filtersX[2], HoldAt(150));
  EXPECT_FLOAT_EQ(store.filtersX[0].gradient, 100.0f / 49);
  EXPECT_FLOAT_EQ(store.filtersX[1].gradient, 50.0f / 40);
  loose.UpdateSections(edited, {});
  EXPECT_EQ(loose.filtersX[0].end_pos, 70.0f);
  EXPECT_FLOAT_EQ(loose.filtersX[0].gradient, 70.0f / 49);
}

TEST_F(LocalCorrectTest, AxisWithAnotherNumberOfEventsIsFittedAfresh) {
  store.SetFromData({{0, 199, 0, false}}, {{0, 199, 1, false}}, {Line(3, 4, 199)}, {HoldAt(8)});
  store.UpdateSections({{0, 99, 1, false}, {100, 199, 0, false}}, {{0, 199, 1, false}});
  ASSERT_EQ(store.filtersX.size(), 2u);
  EXPECT_EQ(store.filtersX[0], HoldAt(0));
  EXPECT_EQ(store.filtersX[1].comp_type, Linear);
  ExpectContinuous(store.filtersX);
  EXPECT_EQ(store.filtersY, (Fits{HoldAt(8)}));
}

TEST_F(LocalCorrectTest, EditedEasesOfALineStay) {
  store.eventsX = {{0, 40, 0, false}, {41, 80, 0, false}};
  store.filtersX = {Line(0, 80, 40), Line(80, 160, 40)};
  MotionFixParams edited = {Linear, 0, 0, 10, 0, 20, 0, 90};
  EXPECT_TRUE(store.UpdateFilterParameters(0, 0, edited));
  EXPECT_EQ(store.filtersX[0].ease_in, 10);
  EXPECT_EQ(store.filtersX[0].ease_out, 20);
  EXPECT_EQ(store.filtersX[0].linear_period, 10);
  EXPECT_FLOAT_EQ(store.filtersX[0].gradient, 90.0f / 25);
  EXPECT_EQ(edited, store.filtersX[0]);
  EXPECT_EQ(store.filtersX[1].start_pos, 90.0f);
  EXPECT_FLOAT_EQ(store.filtersX[1].gradient, 70.0f / 40);
}

TEST_F(LocalCorrectTest, ChangedTypesKeepThePathContinuous) {
  const Events events = {{0, 39, 0, false}, {40, 79, 0, false}, {80, 119, 0, false}, {120, 199, 1, false}};
  const Fits fits = {Line(0, 78, 39), Line(78, 158, 40), Line(158, 300, 40), HoldAt(300)};
  for (int index = 0; index < 4; ++index)
    for (const int type : {Linear, Hold, None}) {
      store.SetFromData(events, events, fits, fits);
      MotionFixParams changed = {type, 0, 0, 0, 0, 0, 5, 6};
      EXPECT_TRUE(store.UpdateFilterParameters(0, index, changed));
      EXPECT_EQ(store.filtersX[static_cast<std::size_t>(index)].comp_type, type);
      EXPECT_EQ(changed, store.filtersX[static_cast<std::size_t>(index)]);
      ExpectContinuous(store.filtersX);
      EXPECT_EQ(store.filtersY, fits);
    }
  MotionFixParams hold = {Hold, 0, 0, 0, 0, 0, 5, 6};
  store.SetFromData(events, events, fits, fits);
  store.UpdateFilterParameters(0, 1, hold);
  EXPECT_EQ(store.filtersX[1], HoldAt(118));  // the median of frames 39 to 79
  MotionFixParams none = {None, 0, 0, 0, 0, 0, 5, 6};
  store.SetFromData(events, events, fits, fits);
  store.UpdateFilterParameters(0, 2, none);
  EXPECT_EQ(store.filtersX[2].start_pos, 160.0f);
  EXPECT_EQ(store.filtersX[2].end_pos, 238.0f);
  EXPECT_EQ(store.filtersX[2].gradient_in, 2.0f);
  EXPECT_FALSE(store.UpdateFilterParameters(0, 4, none));
}

TEST_F(LocalCorrectTest, BrokenSectionStaysUncompensated) {
  const Events events = {{0, 39, 0, false}, {40, 79, 2, false}, {80, 199, 0, false}};
  const Fits fits = {Line(0, 78, 39), Uncompensated(0, 0), Line(0, 240, 120)};
  store.SetFromData(events, events, fits, fits);
  MotionFixParams changed = HoldAt(4);
  EXPECT_FALSE(store.UpdateFilterParameters(0, 1, changed));
  changed = Uncompensated(9, 9);
  EXPECT_TRUE(store.UpdateFilterParameters(0, 1, changed));
  EXPECT_EQ(store.filtersX, fits);
}

TEST_F(LocalCorrectTest, StartPositionsOfBothAxesLineUpUnlessSwitchedOff) {
  const Events events = {{0, 39, 0, false}, {40, 79, 0, false}};
  const Fits apart = {Line(0, 78, 39), Line(99, 158, 40)};
  store.SetFromData(events, events, {Line(0, 78, 39), Line(78, 158, 40)}, apart);
  MotionFixParams same = store.filtersX[0];
  LocalCorrect loose = store;
  loose.adjustOnEdit = false;
  EXPECT_TRUE(store.UpdateFilterParameters(0, 0, same));
  EXPECT_EQ(store.filtersY[1].start_pos, 78.0f);
  EXPECT_FLOAT_EQ(store.filtersY[1].gradient, 2);
  EXPECT_TRUE(loose.UpdateFilterParameters(0, 0, same));
  EXPECT_EQ(loose.filtersY, apart);
}

}  // namespace
