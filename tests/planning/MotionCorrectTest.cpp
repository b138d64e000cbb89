#include "planning/MotionCorrect.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <string>

#include "numerics/Geometry.h"
#include "numerics/Matrix.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Point2D;

namespace {

using Events = std::vector<MotionInterval>;
using Fits = std::vector<MotionFixParams>;
using Path = std::function<double(int)>;

std::vector<Point2D> MakePath(int first, int last, const Path& x, const Path& y) {
  std::vector<Point2D> path;
  for (int f = first; f <= last; ++f) path.emplace_back(x(f), y(f));
  return path;
}

double Zero(int) { return 0; }

/// A correcter whose processed path is x on the horizontal axis and y on the vertical one, from `first` to `last`.
MotionCorrect WithPath(int first, int last, const Path& x, const Path& y = Zero) {
  MotionCorrect correct(640, 480);
  correct.SetCentreMotion(MakePath(first, last, x, y), first, last);
  return correct;
}

Matrix Shift(double dx, double dy) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = dx;
  m(1, 2) = dy;
  return m;
}

HomographySet Shifts(int first, int last, double dx, double dy) {
  HomographySet set;
  for (int f = first; f <= last; ++f) set.Set(f, Shift(dx, dy));
  set.AppendRange(first, last);
  return set;
}

/// The accumulated centre, frame by frame, of a set about the centre.
std::vector<Point2D> Accumulate(const HomographySet& set) {
  std::vector<Point2D> path;
  Point2D position(0, 0);
  for (int f = set.start; f <= set.end; ++f) {
    Matrix m;
    set.Get(f, m);
    position += Vorn::ProjectPoint(m, Point2D(0, 0));
    path.push_back(position);
  }
  return path;
}

MotionFixParams HoldAt(float position) { return {Hold, 0, 0, 0, 0, 0, position, position}; }
MotionFixParams NoneAt() { return {None, 0, 0, 0, 0, 0, 0, 0}; }
/// A line without eases over `steps` steps.
MotionFixParams Straight(float start, float gradient, int steps) {
  return {Linear, gradient, gradient, 0, steps, 0, start, start + gradient * static_cast<float>(steps)};
}

TEST(MotionCorrect, CentreIsHalfTheSizeInWholePixels) {
  MotionCorrect correct(641, 481);
  EXPECT_EQ(correct.centre, Point2D(320, 240));
  EXPECT_EQ(correct.motionStart, 0);
  EXPECT_EQ(correct.motionEnd, 0);
  correct.SetDimensions(1921, 1080);
  EXPECT_EQ(correct.width, 1921);
  EXPECT_EQ(correct.height, 1080);
  EXPECT_EQ(correct.centre, Point2D(960, 540));
}

TEST(MotionCorrect, PositionsOffThePathAreTheZeroPoint) {
  MotionCorrect correct = WithPath(
      10, 12, [](int f) { return 5.0 * f; }, [](int f) { return -1.0 * f; });
  correct.SetActualCentreMotion(MakePath(
                                    10, 12, [](int f) { return 3.0 * f; }, Zero),
                                10, 12);
  EXPECT_EQ(correct.motionStart, 10);
  EXPECT_EQ(correct.motionEnd, 12);
  EXPECT_EQ(correct.projectedCentre(11), Point2D(55, -11));
  EXPECT_EQ(correct.actualCentre(12), Point2D(36, 0));
  for (const int frame : {9, 13, 14, 1000000, -2147483647}) {
    EXPECT_EQ(correct.projectedCentre(frame), Point2D()) << frame;
    EXPECT_EQ(correct.actualCentre(frame), Point2D()) << frame;
  }
  EXPECT_EQ(correct.projectedCentre(9).id, -1);
  EXPECT_EQ(correct.projectedCentre(9).weight, 1.0);
  float position = 7;
  EXPECT_TRUE(correct.GetPosition(0, 12, position));
  EXPECT_EQ(position, 60.0f);
  EXPECT_TRUE(correct.GetPosition(1, 10, position));
  EXPECT_EQ(position, -10.0f);
  EXPECT_FALSE(correct.GetPosition(0, 13, position));
  EXPECT_EQ(position, 0.0f);
  std::vector<Point2D> actual;
  correct.GetActualCentreMotion(actual);
  ASSERT_EQ(actual.size(), 3u);
  EXPECT_EQ(actual[0], Point2D(30, 0));
}

TEST(MotionCorrect, GradientSpansFiveFramesToEitherSideWithinThePath) {
  const MotionCorrect correct = WithPath(
      100, 130, [](int f) { return (f - 100.0) * (f - 100); }, [](int f) { return -3.0 * f; });
  EXPECT_FLOAT_EQ(correct.GetGradient(0, 115), 30.0f);  // (20² - 10²) / 10
  EXPECT_FLOAT_EQ(correct.GetGradient(0, 100), 5.0f);   // 5² / 5
  EXPECT_FLOAT_EQ(correct.GetGradient(0, 102), 7.0f);   // 7² / 7
  EXPECT_FLOAT_EQ(correct.GetGradient(0, 130), 55.0f);  // (30² - 25²) / 5
  EXPECT_FLOAT_EQ(correct.GetGradient(1, 115), -3.0f);
  EXPECT_EQ(correct.GetGradient(0, 99), 0.0f);
  EXPECT_EQ(correct.GetGradient(0, 131), 0.0f);
  EXPECT_EQ(WithPath(4, 4, [](int) { return 9.0; }).GetGradient(0, 4), 0.0f);
  EXPECT_EQ(MotionCorrect(640, 480).GetGradient(0, 0), 0.0f);
}

// Holds.

TEST(FitHold, TakesTheMedianWithTheFrameBeforeTheInterval) {
  const MotionCorrect correct = WithPath(
      0, 9, [](int f) { return 10.0 * f; }, [](int f) { return -f; });
  MotionFixParams out = {Linear, 3, 4, 5, 6, 7, 8, 9};
  correct.FitHold(1, {{0, 4, 1, false}, {5, 8, 1, false}}, 0, out);
  EXPECT_EQ(out, (MotionFixParams{Hold, 0, 0, 5, 6, 7, 60, 60}));  // of 40, 50, 60, 70, 80; the eases stay
  EXPECT_EQ(out.gradient, 0.0f);
  correct.FitHold(0, {{0, 3, 1, false}, {4, 8, 1, false}}, 1, out);
  EXPECT_EQ(out.start_pos, -2.0f);  // of 0, -1, -2, -3 the lower of the middle two
}

TEST(Fit, SingleStillEventHoldsTheMedianOfTheWholePath) {
  const MotionCorrect correct = WithPath(
      0, 10, [](int f) { return 2.0 * f; }, [](int f) { return f * f; });
  Fits x, y;
  correct.Fit({{0, 10, MotionStill, false}}, x, {{0, 10, MotionStill, false}}, y);
  ASSERT_EQ(x.size(), 1u);
  EXPECT_EQ(x[0], HoldAt(10));
  EXPECT_EQ(y[0], HoldAt(25));
}

TEST(Fit, FirstStillEventHoldsTheZeroPosition) {
  const MotionCorrect correct = WithPath(0, 40, [](int) { return 50.0; });
  Fits x, y;
  correct.Fit({{0, 19, MotionStill, false}, {20, 40, MotionMoving, false}}, x, {}, y);
  EXPECT_EQ(x[0], HoldAt(0));
  EXPECT_EQ(x[1].start_pos, 0.0f);
  EXPECT_EQ(x[1].gradient_in, 0.0f);
  EXPECT_TRUE(y.empty());
}

TEST(Fit, LastHoldEndsWhereTheCameraTrulyIs) {
  MotionCorrect correct = WithPath(0, 59, [](int f) { return 1.0 * f; });
  correct.SetActualCentreMotion(MakePath(
                                    0, 59, [](int f) { return 1.0 * f + (f == 59 ? 7 : 0); }, Zero),
                                0, 59);
  Fits x(2), y;
  correct.Fit({{0, 29, MotionMoving, false}, {30, 59, MotionStill, false}}, x, {}, y);
  EXPECT_EQ(x[1], HoldAt(66));
  EXPECT_EQ(x[0].end_pos, 66.0f);
}

TEST(Fit, InnerHoldTakesTheMedianAndTheLinesBesideItMeetIt) {
  MotionCorrect correct = WithPath(0, 89, [](int f) { return f < 30 ? f : f < 60 ? 30 : f - 30; });
  Fits x(3), y;
  x[0].start_pos = 3;
  x[0].end_pos = 99;
  x[2].start_pos = 99;
  x[2].end_pos = 59;
  x[2].gradient_in = 4;
  correct.Fit({{0, 29, MotionMoving, false}, {30, 59, MotionStill, false}, {60, 89, MotionMoving, false}}, x, {}, y);
  EXPECT_EQ(x[1], HoldAt(30));
  EXPECT_EQ(x[0].start_pos, 3.0f);
  EXPECT_EQ(x[0].end_pos, 30.0f);
  EXPECT_EQ(x[2].start_pos, 30.0f);
  EXPECT_EQ(x[2].end_pos, 59.0f);
  EXPECT_EQ(x[2].gradient_in, 0.0f);
}

TEST(Fit, FollowingStillEventsShareTheHold) {
  const MotionCorrect correct = WithPath(0, 99, [](int f) { return 1.0 * f; });
  Fits x, y;
  correct.Fit({{0, 19, MotionMoving, false},
               {20, 39, MotionStill, false},
               {40, 59, MotionStill, false},
               {60, 79, MotionStill, false},
               {80, 99, MotionMoving, false}},
              x, {}, y);
  for (const int i : {1, 2, 3}) EXPECT_EQ(x[i], HoldAt(29)) << i;  // the median of frames 19 to 39
  EXPECT_EQ(x[4].start_pos, 29.0f);
}

TEST(Fit, HoldBeforeABrokenStretchIsWhereTheCameraIsAndOneBehindItRestarts) {
  MotionCorrect correct = WithPath(0, 99, [](int f) { return 1.0 * f; });
  correct.SetActualCentreMotion(MakePath(
                                    0, 99, [](int f) { return 2.0 * f; }, Zero),
                                0, 99);
  Fits x(5), y;
  for (MotionFixParams& section : x) section = {Linear, 1, 1, 0, 0, 0, 77, 77};
  correct.Fit({{0, 19, MotionMoving, false},
               {20, 39, MotionStill, false},
               {40, 59, MotionBroken, false},
               {60, 79, MotionStill, false},
               {80, 99, MotionMoving, false}},
              x, {}, y);
  EXPECT_EQ(x[1], HoldAt(78));
  EXPECT_EQ(x[0].end_pos, 78.0f);
  EXPECT_EQ(x[2], NoneAt());
  EXPECT_EQ(x[2].gradient, 0.0f);
  EXPECT_EQ(x[3].start_pos, 0.0f);
  EXPECT_EQ(x[3].comp_type, Hold);
  EXPECT_EQ(x[4].start_pos, 0.0f);
}

TEST(Fit, LineBehindABrokenStretchStartsAtZero) {
  const MotionCorrect correct = WithPath(0, 59, [](int f) { return 1.0 * f; });
  Fits x(2), y;
  x[1].start_pos = 40;
  x[1].end_pos = 59;
  correct.Fit({{0, 29, MotionBroken, false}, {30, 59, MotionMoving, false}}, x, {}, y);
  EXPECT_EQ(x[1].start_pos, 0.0f);
  EXPECT_EQ(x[1].end_pos, 59.0f);
}

TEST(Fit, SecondOfTwoHoldsBeforeABrokenStretchMoves) {
  const MotionCorrect correct = WithPath(0, 79, [](int f) { return 1.0 * f; });
  Fits x(3), y;
  x[1].start_pos = 20;
  x[1].end_pos = 44;
  correct.Fit({{0, 19, MotionStill, false}, {20, 39, MotionStill, false}, {40, 79, MotionBroken, false}}, x, {}, y);
  EXPECT_EQ(x[0], HoldAt(0));
  EXPECT_EQ(x[1].comp_type, Linear);
  EXPECT_EQ(x[1].start_pos, 0.0f);
  EXPECT_EQ(x[1].end_pos, 44.0f);
  EXPECT_EQ(x[2].comp_type, None);
}

TEST(Fit, HoldsAtTheEndOfTheClipStayTogether) {
  const MotionCorrect correct = WithPath(0, 79, [](int f) { return 1.0 * f; });
  Fits x, y;
  correct.Fit({{0, 19, MotionMoving, false}, {20, 39, MotionStill, false}, {40, 79, MotionStill, false}}, x, {}, y);
  EXPECT_EQ(x[1], HoldAt(29));
  EXPECT_EQ(x[2], HoldAt(29));
}

TEST(Fit, WithoutAProcessedPathItSaysSoAndChangesNothing) {
  const MotionCorrect correct(640, 480);
  Fits x = {HoldAt(4), HoldAt(5)}, y;
  CaptureStderr();
  correct.Fit({{0, 9, MotionMoving, false}}, x, {{0, 9, MotionMoving, false}}, y);
  EXPECT_EQ(GetCapturedStderr(), "Cannot fit for corrected motion if processed centre motion is not available\n");
  EXPECT_EQ(x, (Fits{HoldAt(4), HoldAt(5)}));
  EXPECT_TRUE(y.empty());
}

// Lines.

TEST(FitLinear, StraightPathNeedsNoEase) {
  const MotionCorrect correct = WithPath(0, 40, [](int f) { return 5 + 0.5 * f; });
  MotionFixParams out;
  const Fits params = {{Linear, 0, 0.5f, 9, 9, 9, 5, 25}};
  // The assumed ease out makes the first search prefer some ease in, unless the next section goes on at the speed.
  Fits withNext = params;
  withNext.push_back({Linear, 0, 0.5f, 0, 0, 0, 25, 30});
  correct.FitLinear(0, {{0, 40, 0, false}, {41, 60, 0, false}}, withNext, 0, out);
  EXPECT_EQ(out.comp_type, Linear);
  EXPECT_EQ(out.ease_out, 0);
  EXPECT_EQ(out.ease_in + out.linear_period + out.ease_out, 40);
  EXPECT_NEAR(out.gradient, 0.5, 1e-6);
  EXPECT_EQ(out.gradient_in, 0.5f);
  EXPECT_EQ(out.start_pos, 5.0f);
  EXPECT_EQ(out.end_pos, 25.0f);
}

/// A section from rest to rest at `speed`, with an ease in of 8, a constant part of 22 and an ease out of 10 frames:
/// the quarter of 40 that the first search assumes, so that both searches can meet it exactly.
double EasedMove(int j, double speed) {
  if (j < 8) return 0.5 * speed / 8 * j * j;
  if (j < 30) return speed * (4 + (j - 8));
  const int k = j - 30;
  return speed * (4 + 22 + k) - 0.5 * speed / 10 * k * k;
}

TEST(FitLinear, FindsTheEaseLengthsOfAnEasedMove) {
  for (const double speed : {0.5, 2.0, -3.0}) {
    const MotionCorrect correct = WithPath(50, 90, [=](int f) { return EasedMove(f - 50, speed); });
    const Fits params = {{Linear, 0, 0, 0, 0, 0, 0, static_cast<float>(EasedMove(40, speed))}};
    MotionFixParams out;
    correct.FitLinear(0, {{50, 90, 0, false}}, params, 0, out);
    EXPECT_EQ(out.ease_in, 8) << speed;
    EXPECT_EQ(out.linear_period, 22) << speed;
    EXPECT_EQ(out.ease_out, 10) << speed;
    EXPECT_NEAR(out.gradient, speed, 1e-6);
  }
}

/// The two searches written down plainly, without stopping early.
MotionFixParams PlainSearch(const std::vector<double>& p, int N, double s, double D, double gin, double gnext) {
  const int H = N / 2, q = static_cast<int>(0.25 * N);
  int E = H;
  double best = 10000.0;
  for (int e = std::fabs(gin - D / N) > 1.0 ? static_cast<int>(0.1 * N) : 0; e <= H; ++e) {
    const double g = (D - 0.5 * gin * e - 0.5 * gnext * q) / ((N - q + q / 2) - e + e / 2);
    double error = 0;
    for (int j = 0; j < e; ++j) error += std::fabs(p[j] - (s + j * gin + j * j * (0.5 * (g - gin) / e)));
    for (int j = 0; j < H - e; ++j) error += std::fabs(p[e + j] - (s + 0.5 * g * e + j * g));
    if (error / H < best) best = error / H, E = e;
  }
  const int L = N - E;
  const double Dr = D - 0.5 * gin * E;
  int O = L;
  best = 10000.0;
  for (int o = 0; o <= L; ++o) {
    const double g = (Dr - 0.5 * gnext * o) / (o / 2 + E / 2 + (L - o));
    const double b = 0.5 * (g - gin) * E + gin * E;
    double error = 0;
    for (int j = 0; j < o; ++j)
      error += std::fabs(p[N - o + j] - (s + b + (L - o) * g + j * g + j * j * (0.5 * (gnext - g) / o)));
    for (int j = 0; j < N - o - E; ++j) error += std::fabs(p[E + j] - (s + b + j * g));
    if (error / L < best) best = error / L, O = o;
  }
  MotionFixParams out = {Linear, 0, static_cast<float>(gin), E, L - O, O, static_cast<float>(s), 0};
  out.gradient = static_cast<float>((Dr - 0.5 * gnext * O) / (0.5 * O + (L - O) + 0.5 * E));
  return out;
}

TEST(FitLinear, AgreesWithAPlainSearchOnWanderingPaths) {
  std::mt19937 random(7);
  std::normal_distribution<double> step(0.7, 2.0);
  for (const int length : {1, 2, 3, 9, 40, 41, 150, 300}) {
    for (const int next : {Linear, None, Hold}) {
      std::vector<double> walk(static_cast<std::size_t>(length) + 2);
      for (std::size_t i = 1; i < walk.size(); ++i) walk[i] = walk[i - 1] + step(random);
      const MotionCorrect correct = WithPath(0, length, Zero, [&](int f) { return walk[f]; });
      const Events events = {{0, 0, 0, false}, {1, length, 0, false}, {length + 1, length + 9, 0, false}};
      const Fits params = {MotionFixParams(),
                           {Linear, 0, 1.25f, 0, 0, 0, -2, static_cast<float>(walk[length])},
                           {next, 0, -0.75f, 0, 0, 0, 0, 0}};
      MotionFixParams out;
      correct.FitLinear(1, events, params, 1, out);
      const std::vector<double> measured(walk.begin() + 1, walk.end());  // from the section's first frame
      const double distance = static_cast<double>(params[1].end_pos) + 2;
      MotionFixParams expected = PlainSearch(measured, length, -2, distance, 1.25, next == Hold ? 0 : -0.75);
      expected.end_pos = params[1].end_pos;
      EXPECT_EQ(out, expected) << length;
      EXPECT_FLOAT_EQ(out.gradient, expected.gradient) << length;
    }
  }
}

TEST(FitLinear, AbruptStartIsEasedOverATenthAtLeast) {
  const MotionCorrect correct = WithPath(0, 40, [](int f) { return 3.0 * f; });
  MotionFixParams out;
  correct.FitLinear(0, {{0, 40, 0, false}}, {{Linear, 0, 0, 0, 0, 0, 0, 120}}, 0, out);
  EXPECT_GE(out.ease_in, 4);
}

TEST(FitLinear, SingleFirstFrameFindsNoEase) {
  const MotionCorrect correct = WithPath(0, 9, [](int f) { return 3.0 * f; });
  MotionFixParams out;
  const MotionInterval event = {0, 0, 0, false};
  correct.FitLinear(0, {event}, {{Linear, 0, 0, 0, 0, 0, 4, 6}}, 0, out);
  EXPECT_EQ(out, (MotionFixParams{Linear, 0, 0, 0, 0, 0, 4, 6}));
  EXPECT_EQ(out.gradient, 0.0f);  // and not a division by no frames
  std::vector<double> filter;
  correct.generateLinearFilter(out.start_pos, false, event, out, out.gradient_in, 0, filter);
  EXPECT_EQ(filter, std::vector<double>{4});
}

TEST(Fit, LinesHandOverPositionsAndSpeeds) {
  const MotionCorrect correct = WithPath(0, 79, [](int f) { return f < 40 ? f : 40 + 2 * (f - 40); });
  Fits x(2), y;
  x[0].end_pos = 40;
  x[1].start_pos = 7;
  x[1].end_pos = 118;
  correct.Fit({{0, 39, MotionMoving, false}, {40, 79, MotionMoving, false}}, x, {}, y);
  EXPECT_EQ(x[1].start_pos, 40.0f);
  EXPECT_EQ(x[1].end_pos, 118.0f);
  if (x[0].ease_out == 0)
    EXPECT_EQ(x[1].gradient_in, x[0].gradient);
  else
    EXPECT_FLOAT_EQ(x[1].gradient_in, 1.5f);  // (50 - 35) / 10 around frame 40
}

TEST(Fit, LineThatDoesNotEaseOutHandsOnItsSpeed) {
  // Of one step after an ease there is nothing left to ease out.
  const MotionCorrect correct = WithPath(0, 41, [](int f) { return 1.0 * f; });
  Fits x(2), y;
  x[0].end_pos = 1;
  x[1].end_pos = 41;
  correct.Fit({{0, 1, MotionMoving, false}, {2, 41, MotionMoving, false}}, x, {}, y);
  ASSERT_EQ(x[0].ease_out, 0);
  EXPECT_FLOAT_EQ(x[0].gradient, 1.0f);
  EXPECT_EQ(x[1].gradient_in, x[0].gradient);
}

TEST(GenerateLinearFilter, FollowsEaseConstantPartAndEaseOut) {
  const MotionFixParams params = {Linear, 2, 1, 4, 3, 5, 0, 0};
  std::vector<double> filter;
  MotionCorrect(640, 480).generateLinearFilter(10, false, {100, 112, 0, false}, params, 1, 0.5f, filter);
  ASSERT_EQ(filter.size(), 13u);
  // Ease in: 10 + i + i²/8. Constant part from 16 on, at 2. Ease out from 22: 2 j - 0.15 j².
  const double expected[13] = {10, 11.125, 12.5, 14.125, 16, 18, 20, 22, 23.85, 25.4, 26.65, 27.6, 28.25};
  for (int i = 0; i < 13; ++i) EXPECT_FLOAT_EQ(static_cast<float>(filter[i]), static_cast<float>(expected[i])) << i;
  for (const double value : filter) EXPECT_EQ(value, static_cast<double>(static_cast<float>(value)));
}

TEST(GenerateLinearFilter, LaterSectionsHaveOneEntryMore) {
  std::vector<double> filter;
  MotionCorrect(640, 480).generateLinearFilter(1, true, {5, 8, 0, false}, Straight(1, 2, 4), 2, 0, filter);
  EXPECT_EQ(filter, (std::vector<double>{1, 3, 5, 7, 9}));
}

// Correction.

TEST(Correct, HoldRemovesTheTranslationAndKeepsTheRest) {
  HomographySet in = Shifts(0, 9, 3, -2), out;
  for (int f = 0; f < 10; ++f) {
    in[f](0, 0) = 1.01;
    in[f](0, 1) = 0.02;
    in[f](2, 0) = 1e-5;
  }
  Events events = {{0, 9, MotionStill, false}};
  Fits x = {HoldAt(4)}, y = {HoldAt(-1)};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  EXPECT_EQ(out.start, 0);
  EXPECT_EQ(out.end, 9);
  for (const Point2D& position : Accumulate(out)) {
    EXPECT_NEAR(position.x, 4, 1e-9);
    EXPECT_NEAR(position.y, -1, 1e-9);
  }
  EXPECT_NEAR(out[5](1, 1), 1, 1e-12);
  EXPECT_NEAR(out[5](2, 0), 1e-5, 1e-12);
}

TEST(Correct, WorksAboutTheCornerWhereTheSetDoes) {
  const double c = std::cos(0.02), s = std::sin(0.02);
  HomographySet in, out;
  in.originLocation = 0;
  Matrix turn = Matrix::GetIdentity(3);
  turn(0, 0) = turn(1, 1) = c;
  turn(0, 1) = -s;
  turn(1, 0) = s;
  for (int f = 0; f < 6; ++f) in.Set(f, turn);
  in.AppendRange(0, 5);
  Events events = {{0, 5, MotionStill, false}};
  Fits x = {HoldAt(0)}, y = {HoldAt(0)};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  EXPECT_EQ(out.originLocation, 0);
  for (int f = 0; f < 6; ++f) {
    const Point2D moved = Vorn::ProjectPoint(out[f], Point2D(320, 240));
    EXPECT_NEAR(moved.x, 320, 1e-9);
    EXPECT_NEAR(moved.y, 240, 1e-9);
    EXPECT_NEAR(out[f](1, 0), s, 1e-12);
  }
}

TEST(Correct, TakesRangesFromTheInputAndForgetsTheOutput) {
  HomographySet in = Shifts(0, 9, 1, 1), out = Shifts(50, 60, 9, 9);
  Events events = {{0, 9, MotionStill, false}};
  Fits x = {HoldAt(0)}, y = {HoldAt(0)};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  ASSERT_EQ(out.range.data.size(), 1u);
  EXPECT_EQ(out.range.data[0].first, 0);
  EXPECT_EQ(out.range.data[0].last, 9);
  EXPECT_EQ(out.hset.size(), 10u);
  HomographySet empty;
  MotionCorrect(640, 480).Correct(empty, events, x, events, y, out);
  EXPECT_TRUE(out.hset.empty());
}

TEST(Correct, LineFollowsItsFilterFromTheSecondSectionOneEntryLater) {
  HomographySet in = Shifts(0, 19, 0.3, 7), out;
  Events events = {{0, 9, MotionMoving, false}, {10, 19, MotionMoving, false}};
  Fits x = {Straight(5, 2, 9), Straight(23, -1, 10)}, y = {Straight(0, 0, 9), Straight(0, 3, 10)};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  const std::vector<Point2D> path = Accumulate(out);
  ASSERT_EQ(path.size(), 20u);
  for (int f = 0; f < 20; ++f) {
    EXPECT_NEAR(path[f].x, f < 10 ? 5 + 2 * f : 23 - (f - 9), 1e-9) << f;
    EXPECT_NEAR(path[f].y, f < 10 ? 0 : 3 * (f - 9), 1e-9) << f;
  }
}

TEST(Correct, EasesOutTowardsTheNextLineButNotTowardsAHold) {
  HomographySet in = Shifts(0, 12, 0, 0), out;
  Events events = {{0, 10, MotionMoving, false}, {11, 12, MotionMoving, false}};
  for (const int next : {Linear, None, Hold}) {
    Fits x = {{Linear, 2, 2, 0, 6, 4, 0, 0}, {next, 4, 4, 0, 2, 0, 30, 38}}, y = {HoldAt(0), HoldAt(0)};
    MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
    const double change = next == Hold ? -2 : 2;  // over four frames
    EXPECT_NEAR(Accumulate(out)[10].x, 12 + 4 * 2 + 16 * 0.5 * change / 4, 1e-6) << next;
  }
}

TEST(Correct, OnlyTheHorizontalAxisCarriesAHoldOn) {
  HomographySet in = Shifts(0, 5, 1, 1), out;
  Events events = {{0, 2, MotionStill, false}, {3, 5, MotionStill, false}};
  Fits x = {HoldAt(5), HoldAt(9)}, y = {HoldAt(5), HoldAt(9)};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  EXPECT_NEAR(Accumulate(out)[5].x, 5, 1e-9);
  EXPECT_NEAR(Accumulate(out)[5].y, 9, 1e-9);
}

TEST(Correct, UncompensatedSectionsPassMotionThroughAndCloseTheGapOfALine) {
  HomographySet in = Shifts(0, 9, 1, 2), out;
  Events events = {{0, 4, MotionMoving, false}, {5, 9, MotionMoving, false}};
  // The line would go on to 14, the horizontal one, and to 4, the vertical one, on its last entry.
  Fits x = {Straight(10, 1, 4), NoneAt()}, y = {NoneAt(), NoneAt()};
  MotionCorrect(640, 480).Correct(in, events, x, events, y, out);
  const std::vector<Point2D> path = Accumulate(out);
  EXPECT_NEAR(path[4].x, 14, 1e-9);
  EXPECT_NEAR(path[5].x, 14, 1e-9);  // one frame closes the gap
  EXPECT_NEAR(path[6].x, 15, 1e-9);
  EXPECT_NEAR(path[9].x, 18, 1e-9);
  for (int f = 0; f < 10; ++f) EXPECT_NEAR(path[f].y, 2 * (f + 1), 1e-9);
}

TEST(Correct, PathRestartsBehindAHorizontalBrokenEvent) {
  HomographySet in = Shifts(0, 14, 1, 1), out;
  Events horizontal = {{0, 4, MotionStill, false}, {5, 9, MotionBroken, false}, {10, 14, MotionStill, false}};
  Events vertical = {{0, 14, MotionStill, false}};
  Fits x = {HoldAt(3), NoneAt(), HoldAt(0)}, y = {HoldAt(0)};
  MotionCorrect(640, 480).Correct(in, horizontal, x, vertical, y, out);
  EXPECT_NEAR(out[9](0, 2), 1, 1e-9);   // uncorrected
  EXPECT_NEAR(out[10](0, 2), 0, 1e-9);  // from zero to the hold at 0
  EXPECT_NEAR(out[14](0, 2), 0, 1e-9);
  // A broken event that stands on the vertical axis alone restarts nothing.
  Fits y2 = {HoldAt(3), NoneAt(), HoldAt(0)}, x2 = {HoldAt(0)};
  MotionCorrect(640, 480).Correct(in, vertical, x2, horizontal, y2, out);
  EXPECT_NEAR(out[10](1, 2), -8, 1e-9);  // back from 3 + 5
}

TEST(Correct, StopsWhereTheSectionsEnd) {
  HomographySet in = Shifts(0, 9, 1, 1), out;
  Events events = {{0, 3, MotionStill, false}}, whole = {{0, 9, MotionStill, false}};
  Fits fits = {HoldAt(0)};
  CaptureStderr();
  MotionCorrect(640, 480).Correct(in, whole, fits, events, fits, out);
  EXPECT_EQ(GetCapturedStderr(), "Error: Missing filter section at end, cannot correct motion\n");
  EXPECT_EQ(out.hset.size(), 4u);
  Events none;
  CaptureStderr();
  MotionCorrect(640, 480).Correct(in, none, fits, whole, fits, out);
  EXPECT_EQ(GetCapturedStderr(), "Error: Missing filter section at end, cannot correct motion\n");
  EXPECT_TRUE(out.hset.empty());
}

TEST(Correct, SkipsTheFramesBetweenTwoSections) {
  HomographySet in = Shifts(0, 9, 1, 1), out;
  Events gap = {{0, 3, MotionStill, false}, {6, 9, MotionStill, false}}, whole = {{0, 9, MotionStill, false}};
  Fits two = {HoldAt(0), HoldAt(0)}, one = {HoldAt(0)};
  CaptureStderr();
  MotionCorrect(640, 480).Correct(in, gap, two, whole, one, out);
  EXPECT_EQ(GetCapturedStderr(), "Error: Missing filter section during Correct, continuing\n");
  EXPECT_EQ(out.hset.size(), 8u);
  EXPECT_EQ(out.Index(4), -1);
  EXPECT_EQ(out.Index(5), -1);
  EXPECT_GE(out.Index(6), 0);
}

TEST(Correct, StopsAtAFrameThatAHorizontalLineDoesNotReach) {
  HomographySet in = Shifts(0, 9, 1, 1), out;
  Events late = {{5, 9, MotionMoving, false}}, whole = {{0, 9, MotionStill, false}};
  Fits line = {Straight(2, 1, 4)}, hold = {HoldAt(0)};
  CaptureStderr();
  MotionCorrect(640, 480).Correct(in, late, line, whole, hold, out);
  EXPECT_EQ(GetCapturedStderr(), "Invalid Linear correction\n");
  EXPECT_TRUE(out.hset.empty());
  // The vertical axis isn't checked, and waits at the line's nearer end.
  CaptureStderr();
  MotionCorrect(640, 480).Correct(in, whole, hold, late, line, out);
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(out.hset.size(), 10u);
  EXPECT_NEAR(Accumulate(out)[0].y, 2, 1e-9);
  EXPECT_NEAR(Accumulate(out)[9].y, 6, 1e-9);
}

TEST(Correct, CompensatingStoresTheTranslationAloneAndLeavesTheLineUnchecked) {
  HomographySet in = Shifts(0, 14, 1, 0.5), corrected, alone;
  Events events = {{0, 4, MotionStill, false}, {5, 9, MotionBroken, false}, {10, 14, MotionMoving, false}};
  Fits x = {HoldAt(3), NoneAt(), Straight(0, 2, 5)}, y = {HoldAt(1), NoneAt(), Straight(0, 0, 5)};
  const MotionCorrect correct(640, 480);
  correct.Correct(in, events, x, events, y, corrected);
  correct.CorrectCompensating(in, events, x, events, y, alone);
  ASSERT_EQ(alone.hset.size(), 15u);
  for (int f = 0; f < 15; ++f) {
    EXPECT_NEAR(alone[f](0, 2) + 1, corrected[f](0, 2), 1e-9) << f;
    EXPECT_NEAR(alone[f](1, 2) + 0.5, corrected[f](1, 2), 1e-9) << f;
  }
  Events late = {{5, 14, MotionMoving, false}}, whole = {{0, 14, MotionStill, false}};
  Fits line = {Straight(2, 1, 9)}, hold = {HoldAt(0)};
  CaptureStderr();
  correct.CorrectCompensating(in, late, line, whole, hold, alone);
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(alone.hset.size(), 15u);
}

TEST(Correct, ConvenienceFormCorrectsTheFlaggedAxes) {
  HomographySet in = Shifts(0, 9, 1, 2), out;
  const MotionCorrect correct = WithPath(
      0, 9, [](int f) { return f + 1.0; }, [](int f) { return 2.0 * (f + 1); });
  correct.Correct(in, true, false, out);
  ASSERT_EQ(out.hset.size(), 10u);
  for (int f = 0; f < 10; ++f) {
    EXPECT_NEAR(Accumulate(out)[f].x, 0, 1e-9);
    EXPECT_NEAR(Accumulate(out)[f].y, 2 * (f + 1), 1e-9);
  }
}

TEST(Correct, HugeSectionsNeedNoMemory) {
  HomographySet in = Shifts(0, 4, 1, 1), out;
  Events events = {{0, 2147483647, MotionMoving, false}};
  Fits line = {{Linear, 1, 1, 2147483647, 2147483647, 2147483647, 0, 0}};
  MotionCorrect(640, 480).Correct(in, events, line, events, line, out);
  EXPECT_EQ(out.hset.size(), 5u);
}

// Helpers of the editing operations.

TEST(AdjustLinear, WithoutEasesTheSpeedIsDistanceOverFrames) {
  const MotionCorrect correct(640, 480);
  const Events events = {{0, 10, 0, false}, {11, 20, 0, false}};
  Fits params = {{Linear, 0, 3, 0, 0, 0, 5, 25}, {Linear, 0, 7, 0, 0, 0, 25, 55}};
  EXPECT_FALSE(correct.AdjustLinear(0, 0, events, params, params[0]));
  EXPECT_EQ(params[0].gradient, 2.0f);
  EXPECT_EQ(params[0].linear_period, 10);  // the first section has one step less than frames
  EXPECT_FALSE(correct.AdjustLinear(0, 1, events, params, params[1]));
  EXPECT_EQ(params[1].gradient, 3.0f);
  EXPECT_EQ(params[1].linear_period, 10);
}

TEST(AdjustLinear, EasesTakeTheirShareOfTheDistance) {
  const MotionCorrect correct(640, 480);
  const Events events = {{0, 20, 0, false}, {21, 30, 0, false}};
  for (const int next : {Linear, None, Hold}) {
    const Fits params = {{Linear, 0, 1, 4, 0, 6, 0, 33}, {next, 0, 2, 0, 0, 0, 33, 33}};
    MotionFixParams out = params[0];
    EXPECT_FALSE(correct.AdjustLinear(0, 0, events, params, out));
    EXPECT_EQ(out.linear_period, 10);
    EXPECT_FLOAT_EQ(out.gradient, next == Hold ? 31.0f / 15 : 25.0f / 15) << next;
  }
}

TEST(AdjustLinear, EasesThatDoNotFitAreCutInProportion) {
  const MotionCorrect correct(640, 480);
  const Events events = {{0, 10, 0, false}};
  const Fits params = {{Linear, 0, 0, 20, 0, 7, 0, 30}};
  MotionFixParams out = params[0];
  EXPECT_TRUE(correct.AdjustLinear(0, 0, events, params, out));
  EXPECT_EQ(out.ease_in, 7);   // of 200 / 27
  EXPECT_EQ(out.ease_out, 2);  // of 70 / 27
  EXPECT_EQ(out.linear_period, 1);
  EXPECT_FLOAT_EQ(out.gradient, 30.0f / 5.5f);
}

TEST(AdjustLinear, AnEaseThatIsCutToAllFramesTakesAllOfThem) {
  const MotionCorrect correct(640, 480);
  const Events events = {{0, 15, 0, false}};
  MotionFixParams out = {Linear, 0, 0, 22, 0, 0, 0, 30};
  EXPECT_TRUE(correct.AdjustLinear(0, 0, events, {out}, out));
  EXPECT_EQ(out.ease_in, 15);
  EXPECT_EQ(out.linear_period, 0);
  EXPECT_FLOAT_EQ(out.gradient, 4.0f);  // 30 pixels at half of it on average
}

TEST(AdjustLinear, LeavesOtherSectionsAndEmptyOnesSound) {
  const MotionCorrect correct(640, 480);
  MotionFixParams out = HoldAt(3);
  EXPECT_FALSE(correct.AdjustLinear(0, 0, {{0, 10, 0, false}}, {out}, out));
  EXPECT_EQ(out, HoldAt(3));
  for (const int ease : {0, 5}) {
    out = {Linear, 0, 0, ease, 0, ease, 3, 9};
    EXPECT_EQ(correct.AdjustLinear(0, 0, {{4, 4, 0, false}}, {out}, out), ease != 0);
    EXPECT_EQ(out, (MotionFixParams{Linear, 0, 0, 0, 0, 0, 3, 9}));
    EXPECT_EQ(out.gradient, 0.0f);
  }
}

TEST(AdjustNoComp, EndFollowsTheProcessedDisplacement) {
  const MotionCorrect correct = WithPath(0, 29, [](int f) { return 2.0 * f; });
  const Events events = {{0, 9, 0, false}, {10, 19, MotionBroken, false}, {20, 29, 0, false}};
  MotionFixParams out = {None, 0, 0, 0, 0, 0, 100, 0};
  correct.AdjustNoComp(0, 0, events, out);
  EXPECT_EQ(out.end_pos, 118.0f);
  correct.AdjustNoComp(0, 1, events, out);
  EXPECT_EQ(out.end_pos, 100.0f);
  correct.AdjustNoComp(0, 2, events, out);
  EXPECT_EQ(out.end_pos, 158.0f);  // counted from 0 behind the broken event
}

TEST(GetGradientProcessed, InterpolatesAlongALine) {
  const MotionCorrect correct = WithPath(0, 59, [](int f) { return 4.0 * f; });
  const Events events = {{0, 19, 0, false}, {20, 29, 1, false}, {30, 39, 0, false}, {40, 59, 0, false}};
  const Fits params = {{Linear, 3, 1, 4, 8, 8, 0, 0}, HoldAt(5), NoneAt(), {Linear, 2, 0, 4, 4, 8, 0, 0}};
  const auto at = [&](int frame) { return correct.GetGradientProcessed(0, frame, events, params); };
  EXPECT_FLOAT_EQ(at(0), 1);
  EXPECT_FLOAT_EQ(at(2), 2);
  EXPECT_FLOAT_EQ(at(4), 3);
  EXPECT_FLOAT_EQ(at(12), 3);
  EXPECT_FLOAT_EQ(at(16), 1.5);  // half way down to the hold
  EXPECT_FLOAT_EQ(at(25), 0);
  EXPECT_FLOAT_EQ(at(35), 4);  // the processed path's own speed
  EXPECT_FLOAT_EQ(at(41), 1);  // the second step of four, counted from the frame before the section
  EXPECT_FLOAT_EQ(at(51), 1);  // half way down to rest at the clip's end
  EXPECT_FLOAT_EQ(at(-5), 1);  // outside all sections the first one counts
  EXPECT_EQ(correct.GetGradientProcessed(0, 3, {}, {}), 0.0f);
}

TEST(NoneBetterThanLinear, NeedsALineThatIsWorseAndFarOff) {
  MotionCorrect correct = WithPath(0, 19, [](int) { return 120.0; });
  correct.SetActualCentreMotion(MakePath(0, 19, Zero, Zero), 0, 19);
  const MotionInterval event = {0, 19, 0, false};
  EXPECT_TRUE(correct.noneBetterThanLinear(0, 0, event, Straight(130, 0, 19), 0));
  EXPECT_FALSE(correct.noneBetterThanLinear(0, 0, event, Straight(110, 0, 19), 0));  // nearer than the processed path
  correct.SetCentreMotion(MakePath(0, 19, Zero, Zero), 0, 19);
  EXPECT_FALSE(correct.noneBetterThanLinear(0, 0, event, Straight(99, 0, 19), 0));  // worse, but not far off
  EXPECT_TRUE(correct.noneBetterThanLinear(0, 1, event, Straight(101, 0, 20), 0));
}

TEST(Angle, IsThatOfTheSlopeOrItsNormal) {
  const MotionCorrect correct(640, 480);
  Point2D a(1, 1), b(3, 3), c(1, 5);
  EXPECT_DOUBLE_EQ(correct.angle(a, b, false), std::atan(1.0));
  EXPECT_DOUBLE_EQ(correct.angle(a, b, true), std::atan(-1.0));
  EXPECT_DOUBLE_EQ(correct.angle(a, c, false), std::acos(0.0));
}

}  // namespace
