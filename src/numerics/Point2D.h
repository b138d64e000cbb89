#pragma once

#include <ostream>
#include <string>

#include "numerics/Matrix.h"

namespace Vorn {

/// A point in pixels, with the identity of the feature that it belongs to. Pixel (i, j) lies at exactly (i, j).
class Point2D {
 public:
  Point2D() = default;
  Point2D(double px, double py) : x(px), y(py) {}
  /// From "x,y": splits at the first comma and reads both halves as far as they are numbers. Without a comma the point
  /// is (0, 0).
  explicit Point2D(const std::string& text);

  // Arithmetic gives a new point, without `id` and with weight 1; code that needs them restores them.
  Point2D operator+(const Point2D& other) const { return {x + other.x, y + other.y}; }
  Point2D operator-(const Point2D& other) const { return {x - other.x, y - other.y}; }
  Point2D operator*(double factor) const { return {x * factor, y * factor}; }
  Point2D operator/(double divisor) const { return {x / divisor, y / divisor}; }

  // In place only x and y change.
  Point2D& operator+=(const Point2D& other) {
    x += other.x;
    y += other.y;
    return *this;
  }
  Point2D operator-=(const Point2D& other) {  // a copy, unlike +=
    x -= other.x;
    y -= other.y;
    return *this;
  }

  /// The same `id`, and `weight`, x and y alike by `CompareDouble`.
  bool operator==(const Point2D& other) const {
    return id == other.id && CompareDouble(weight, other.weight) && CompareDouble(x, other.x) &&
           CompareDouble(y, other.y);
  }
  bool operator!=(const Point2D& other) const { return !(*this == other); }

  double x = 0.0;
  double y = 0.0;
  int id = -1;          ///< Identity of a tracked feature; -1 is none.
  double weight = 1.0;  ///< Quality or reliability, by use.
};

/// A whole pixel position.
class Coordinate2D {
 public:
  Coordinate2D() = default;
  Coordinate2D(int px, int py) : x(px), y(py) {}

  Coordinate2D operator+(const Coordinate2D& other) const { return {x + other.x, y + other.y}; }
  Coordinate2D operator-(const Coordinate2D& other) const { return {x - other.x, y - other.y}; }
  bool operator==(const Coordinate2D& other) const { return x == other.x && y == other.y; }

  int x = 0;
  int y = 0;
};

/// Writes "(x,y)".
inline std::ostream& operator<<(std::ostream& stream, const Coordinate2D& coordinate) {
  return stream << '(' << coordinate.x << ',' << coordinate.y << ')';
}

}  // namespace Vorn
