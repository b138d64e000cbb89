#pragma once

#include <array>
#include <string>

#include "film/FloatPicture.h"
#include "numerics/Point2D.h"

namespace film {

/// Red, green and blue, 0 to 1.
struct Colour {
  float r, g, b;
};

/// Draws on a picture as it is shown, with smooth edges. Points are in pixels of the shown picture, which is turned
/// against the coded one; pixel (i, j) lies at exactly (i, j). What lies outside the picture is left out, and so is
/// what has a coordinate that is no number. `share` is how much a colour covers, 0 to 1.
///
/// Works on the samples themselves: tens of thousands of marks are drawn on each frame of a large clip.
class Canvas {
 public:
  /// `picture` is lent. `quarterTurns`: how it is turned when it is shown, clockwise.
  Canvas(FloatPicture& picture, int quarterTurns);

  int width() const { return columns; }
  int height() const { return rows; }

  /// Where a point of the coded picture is shown.
  Vorn::Point2D shown(double x, double y) const;

  /// The pixels of columns `left` to `right` - 1 and rows `top` to `bottom` - 1.
  void fill(int left, int top, int right, int bottom, const Colour& colour, float share = 1.0f);
  /// A line with round ends; a dot if it has no length.
  void line(const Vorn::Point2D& a, const Vorn::Point2D& b, double thickness, const Colour& colour, float share = 1.0f);
  void ring(const Vorn::Point2D& centre, double radius, double thickness, const Colour& colour, float share = 1.0f);
  /// All pixels outside a convex polygon.
  void fillOutside(const std::array<Vorn::Point2D, 4>& corners, const Colour& colour, float share);

  /// A line of small letters, digits and `.,:/+-%`, in strokes; capitals are drawn as small letters. `corner`: the left
  /// end of its base line. `size`: the height of its digits in pixels.
  void text(const Vorn::Point2D& corner, double size, const std::string& words, const Colour& colour);
  static double TextWidth(double size, const std::string& words);

 private:
  float* at(int x, int y) const { return first + x * stepX + y * stepY; }
  static void blend(float* argb, const Colour& colour, float share);

  int columns, rows;
  float* first;                 // the pixel that is shown at the top left
  std::ptrdiff_t stepX, stepY;  // floats from a pixel to those that are shown at its right and below it
  int turns;
  int codedWidth, codedHeight;
};

}  // namespace film
