#include "film/StrokeFont.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace film {
namespace {

const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789.,:/+-%";

std::string TextOf(char letter) {
  std::string text;
  for (const GlyphStroke& stroke : StrokesOf(letter)) {
    for (const GlyphPoint& point : stroke) text += std::to_string(point.x) + "," + std::to_string(point.y) + " ";
    text += "; ";
  }
  return text;
}

TEST(StrokeFont, EveryLetterHasAShapeOfItsOwn) {
  std::set<std::string> shapes{TextOf('\x7f')};  // the box for what is unknown
  for (const char letter : letters) EXPECT_TRUE(shapes.insert(TextOf(letter)).second) << letter;
}

TEST(StrokeFont, LettersStayBetweenTheirLines) {
  for (const char letter : letters) {
    ASSERT_FALSE(StrokesOf(letter).empty()) << letter;
    for (const GlyphStroke& stroke : StrokesOf(letter)) {
      ASSERT_FALSE(stroke.empty()) << letter;
      for (const GlyphPoint& point : stroke) {
        EXPECT_GE(point.x, 0) << letter;
        EXPECT_LE(point.x, WidthOf(letter)) << letter;
        EXPECT_GE(point.y, 0) << letter;
        EXPECT_LE(point.y, glyphHeight + 3) << letter;
      }
    }
  }
}

TEST(StrokeFont, DigitsReachFromTopToBase) {
  for (const char digit : std::string("0123456789")) {
    int top = 99, bottom = -1;
    for (const GlyphStroke& stroke : StrokesOf(digit))
      for (const GlyphPoint& point : stroke) top = std::min(top, point.y), bottom = std::max(bottom, point.y);
    EXPECT_EQ(top, 0) << digit;
    EXPECT_EQ(bottom, glyphHeight) << digit;
  }
}

TEST(StrokeFont, CapitalsAreSmallAndBytesBeyondAsciiAreABox) {
  EXPECT_EQ(TextOf('Q'), TextOf('q'));
  EXPECT_EQ(TextOf('\xe4'), TextOf('\x01'));
  EXPECT_FALSE(StrokesOf('\xe4').empty());
  EXPECT_TRUE(StrokesOf(' ').empty());
  EXPECT_GT(WidthOf(' '), 0);
}

}  // namespace
}  // namespace film
