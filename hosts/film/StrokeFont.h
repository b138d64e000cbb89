#pragma once

#include <vector>

// Letters as strokes of a pen, so that labels need no font of the system's and look the same at every size.
namespace film {

/// A point of a stroke, in units of which a digit is `glyphHeight` high: x from the letter's left end, y downwards from
/// its top.
struct GlyphPoint {
  int x, y;
};
using GlyphStroke = std::vector<GlyphPoint>;  ///< a line through these points, or a dot

inline constexpr int glyphHeight = 12, glyphGap = 4;

/// The strokes of a small letter, a digit or one of `.,:/+-%`; of a capital those of its small letter; none of a blank;
/// a box for anything else.
const std::vector<GlyphStroke>& StrokesOf(char letter);

/// How wide it is.
int WidthOf(char letter);

}  // namespace film
