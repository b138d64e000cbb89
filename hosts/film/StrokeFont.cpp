#include "film/StrokeFont.h"

#include <algorithm>
#include <array>

namespace film {
namespace {

struct Glyph {
  char letter;
  const char* strokes;  // two digits a point, x and y in hexadecimal; a blank ends a stroke
};

constexpr Glyph glyphs[] = {
    {'a', "646c 664424060a2c4c6a"},
    {'b', "000c 062444666a4c2c0a"},
    {'c', "664424060a2c4c6a"},
    {'d', "606c 664424060a2c4c6a"},
    {'e', "0868664424060a2c4c6a"},
    {'f', "5040222c 0454"},
    {'g', "646d4f1f 664424060a2c4c6a"},
    {'h', "000c 062444666c"},
    {'i', "040c 00"},
    {'j', "242d1f0f 20"},
    {'k', "000c 5409 276c"},
    {'l', "000b1c2c"},
    {'m', "040c 062434464c 466474868c"},
    {'n', "040c 062444666c"},
    {'o', "2444666a4c2c0a0624"},
    {'p', "040f 062444666a4c2c0a"},
    {'q', "646f 664424060a2c4c6a"},
    {'r', "040c 06244455"},
    {'s', "65541405071858696b5c1c0b"},
    {'t', "212a4c5c 0454"},
    {'u', "040a2c4c6a 646c"},
    {'v', "043c64"},
    {'w', "042c466c84"},
    {'x', "046c 640c"},
    {'y', "043a 641f"},
    {'z', "04640c6c"},
    {'0', "2040626a4c2c0a0220"},
    {'1', "12303c 0c6c"},
    {'2', "02204062640c6c"},
    {'3', "00603545676a4c2c0a"},
    {'4', "4c400868"},
    {'5', "60100545676a4c2c0a"},
    {'6', "5030040a2c4c6a67452507"},
    {'7', "00602c"},
    {'8', "204051544525141120 2545676a4c2c0a0725"},
    {'9', "1c3c686240200205274765"},
    {'.', "0c"},
    {',', "1b0e"},
    {':', "05 0b"},
    {'/', "600c"},
    {'+', "0868 353b"},
    {'-', "0868"},
    {'%', "600c 11 5b"},
};
constexpr const char* unknown = "00606c0c00";
constexpr int blankWidth = 4;

struct Shape {
  std::vector<GlyphStroke> strokes;
  int width = 0;
};

int valueOf(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

Shape shapeOf(const char* strokes) {
  Shape shape;
  bool begins = true;
  for (const char* at = strokes; *at != 0;) {
    if (*at == ' ') {
      begins = true;
      ++at;
      continue;
    }
    if (begins) shape.strokes.emplace_back();
    begins = false;
    shape.strokes.back().push_back({valueOf(at[0]), valueOf(at[1])});
    shape.width = std::max(shape.width, valueOf(at[0]));
    at += 2;
  }
  return shape;
}

const Shape& shapeFor(char letter) {
  static const std::array<Shape, 128> shapes = [] {
    std::array<Shape, 128> all;
    all.fill(shapeOf(unknown));
    all[' '] = {{}, blankWidth};
    for (const Glyph& glyph : glyphs) {
      const auto code = static_cast<unsigned char>(glyph.letter);
      all[code] = shapeOf(glyph.strokes);
      if (code >= 'a' && code <= 'z') all[code + 'A' - 'a'] = shapeOf(glyph.strokes);
    }
    return all;
  }();
  const auto code = static_cast<unsigned char>(letter);
  return shapes[code < shapes.size() ? code : 0];
}

}  // namespace

const std::vector<GlyphStroke>& StrokesOf(char letter) { return shapeFor(letter).strokes; }

int WidthOf(char letter) { return shapeFor(letter).width; }

}  // namespace film
