#include "film/Canvas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace film {
namespace {

constexpr Colour red{1, 0, 0};

struct Sheet {
  Sheet(int width, int height, int turns = 0) : canvas(prepare(width, height), turns) {}
  FloatPicture& prepare(int width, int height) {
    picture.width = width;
    picture.height = height;
    picture.samples.assign(4 * static_cast<size_t>(width) * height, 0.0f);
    return picture;
  }
  /// How much red a pixel of the coded picture has.
  float at(int x, int y) const { return picture.samples[4 * static_cast<size_t>(y * picture.width + x) + 1]; }
  float sum() const {
    float all = 0;
    for (size_t i = 1; i < picture.samples.size(); i += 4) all += picture.samples[i];
    return all;
  }
  FloatPicture picture;
  Canvas canvas;
};

TEST(Canvas, AFillCoversItsPixelsAndNoOthers) {
  Sheet sheet(8, 6);
  sheet.canvas.fill(2, 1, 5, 4, red, 0.5f);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) EXPECT_EQ(sheet.at(x, y), x >= 2 && x < 5 && y >= 1 && y < 4 ? 0.5f : 0.0f);
  sheet.canvas.fill(-5, -5, 100, 100, red);
  EXPECT_EQ(sheet.sum(), 48.0f);
}

TEST(Canvas, ALineCoversItsThicknessAroundItsPlace) {
  Sheet sheet(12, 9);
  sheet.canvas.line({3, 4}, {8, 4}, 3, red);
  for (int x = 3; x <= 8; ++x) {
    EXPECT_EQ(sheet.at(x, 3), 1.0f) << x;
    EXPECT_EQ(sheet.at(x, 4), 1.0f) << x;
    EXPECT_EQ(sheet.at(x, 5), 1.0f) << x;
    EXPECT_EQ(sheet.at(x, 2), 0.0f) << x;
    EXPECT_EQ(sheet.at(x, 6), 0.0f) << x;
  }
  EXPECT_EQ(sheet.at(9, 4), 1.0f);  // the round end: one and a half pixels on
  EXPECT_EQ(sheet.at(10, 4), 0.0f);
}

TEST(Canvas, ALineBetweenRowsIsSharedByBoth) {
  Sheet sheet(12, 9);
  sheet.canvas.line({2, 4.25}, {9, 4.25}, 1, red);
  EXPECT_FLOAT_EQ(sheet.at(5, 4), 0.75f);
  EXPECT_FLOAT_EQ(sheet.at(5, 5), 0.25f);
}

TEST(Canvas, ASteepLineIsAsWholeAsAFlatOne) {
  Sheet sheet(20, 20), turned(20, 20);
  sheet.canvas.line({3, 2}, {8, 17}, 2, red);
  turned.canvas.line({2, 3}, {17, 8}, 2, red);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) EXPECT_FLOAT_EQ(sheet.at(x, y), turned.at(y, x));
  for (int y = 2; y <= 17; ++y) EXPECT_GT(sheet.at(3 + static_cast<int>(std::lround((y - 2) / 3.0)), y), 0.6f) << y;
}

TEST(Canvas, ADotIsRoundAndARingIsHollow) {
  Sheet dot(15, 15), ring(15, 15);
  dot.canvas.line({7, 7}, {7, 7}, 6, red);
  ring.canvas.ring({7, 7}, 4, 1, red);
  EXPECT_EQ(dot.at(7, 7), 1.0f);
  EXPECT_EQ(dot.at(9, 9), 0.0f + static_cast<float>(3.5 - std::hypot(2.0, 2.0)));
  EXPECT_EQ(dot.at(10, 10), 0.0f);
  EXPECT_NEAR(dot.sum(), M_PI * 9, 1.0);  // the area
  EXPECT_EQ(ring.at(7, 7), 0.0f);
  EXPECT_EQ(ring.at(11, 7), 1.0f);
  EXPECT_NEAR(ring.sum(), 2 * M_PI * 4, 1.0);
}

TEST(Canvas, OutsideAPolygonIsAllButItsInside) {
  Sheet sheet(10, 8);
  sheet.canvas.fillOutside({{{1.5, 1.5}, {6.5, 1.5}, {6.5, 5.5}, {1.5, 5.5}}}, red, 1.0f);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 10; ++x)
      EXPECT_EQ(sheet.at(x, y), x >= 2 && x <= 6 && y >= 2 && y <= 5 ? 0.0f : 1.0f) << x << "," << y;
  Sheet beyond(10, 8);
  beyond.canvas.fillOutside({{{-3, -3}, {20, -3}, {20, 20}, {-3, 20}}}, red, 1.0f);
  EXPECT_EQ(beyond.sum(), 0.0f);
  Sheet away(10, 8);
  away.canvas.fillOutside({{{30, 30}, {40, 30}, {40, 40}, {30, 40}}}, red, 1.0f);
  EXPECT_EQ(away.sum(), 80.0f);
}

TEST(Canvas, WhatIsShownAtTheTopLeftIsCodedWhereTheTurnPutsIt) {
  // Shown a quarter turn clockwise, the coded bottom left corner comes to the top left.
  const std::pair<int, int> corners[] = {{0, 0}, {0, 5}, {7, 5}, {7, 0}}, right[] = {{1, 0}, {0, 4}, {6, 5}, {7, 1}};
  for (int turns = 0; turns < 4; ++turns) {
    Sheet sheet(8, 6, turns);
    EXPECT_EQ(sheet.canvas.width(), turns % 2 ? 6 : 8);
    EXPECT_EQ(sheet.canvas.height(), turns % 2 ? 8 : 6);
    sheet.canvas.fill(0, 0, 2, 1, red);
    EXPECT_EQ(sheet.sum(), 2.0f);
    EXPECT_EQ(sheet.at(corners[turns].first, corners[turns].second), 1.0f) << turns;
    EXPECT_EQ(sheet.at(right[turns].first, right[turns].second), 1.0f) << turns;
    const Vorn::Point2D shown = sheet.canvas.shown(right[turns].first, right[turns].second);
    EXPECT_EQ(shown.x, 1) << turns;
    EXPECT_EQ(shown.y, 0) << turns;
  }
}

TEST(Canvas, PlacesFarAwayOrThatAreNoNumbersCostNothing) {
  Sheet sheet(16, 16);
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinite = std::numeric_limits<double>::infinity();
  sheet.canvas.line({nan, 0}, {5, 5}, 2, red);
  sheet.canvas.line({0, infinite}, {5, 5}, 2, red);
  sheet.canvas.ring({nan, nan}, 3, 1, red);
  sheet.canvas.fillOutside({{{nan, 0}, {1, 0}, {1, 1}, {0, 1}}}, red, 1.0f);
  EXPECT_EQ(sheet.sum(), 0.0f);
  sheet.canvas.line({-1e12, 7}, {1e12, 7}, 1, red);  // a walk along all of it would take hours
  for (int x = 0; x < 16; ++x) EXPECT_NEAR(sheet.at(x, 7), 1.0f, 0.001);
  sheet.canvas.line({1e300, 1e300}, {1e299, 1e300}, 1, red);
  EXPECT_NEAR(sheet.sum(), 16.0f, 0.01);
}

TEST(Canvas, LettersStandOnTheirLineAndAreAsWideAsTold) {
  Sheet sheet(60, 30);
  sheet.canvas.text({4, 20}, 12, "h1", red);
  int left = 60, right = -1, top = 30, bottom = -1;
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 60; ++x)
      if (sheet.at(x, y) > 0.5f) {
        left = std::min(left, x), right = std::max(right, x);
        top = std::min(top, y), bottom = std::max(bottom, y);
      }
  EXPECT_EQ(top, 8);  // digits are as high as asked for
  EXPECT_EQ(bottom, 20);
  EXPECT_EQ(left, 4);
  EXPECT_EQ(right, 4 + std::lround(Canvas::TextWidth(12, "h1")));
  EXPECT_DOUBLE_EQ(Canvas::TextWidth(24, "h1"), 2 * Canvas::TextWidth(12, "h1"));
  EXPECT_EQ(Canvas::TextWidth(12, ""), 0);
}

}  // namespace
}  // namespace film
