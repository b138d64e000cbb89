#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace film {

/// How large the overlay's parts are on a picture, in pixels: readable on small pictures, fine on large ones.
struct OverlayScale {
  /// `shrunk`: how many times smaller the picture is made before it is looked at.
  OverlayScale(int width, int height, double shrunk = 1.0) {
    const double side = std::min(width, height) / shrunk;
    letters = shrunk * (6.0 + 0.0105 * side);
    stroke = shrunk * std::max(1.0, side / 540.0);
    mark = shrunk * std::max(1.0, side / 540.0);
  }

  /// Makes marks smaller, and lines with them, where there are so many on a picture of `area` pixels that they would
  /// hide it; but no smaller than they are on small pictures.
  void makeRoomFor(std::size_t marks, double area, double shrunk = 1.0) {
    constexpr double mostCovered = 0.08;
    // A dot has 1.5 marks as its radius.
    const double radius =
        std::sqrt(mostCovered * area / (std::numbers::pi * static_cast<double>(std::max<std::size_t>(marks, 1))));
    const double fitting = std::clamp(radius / 1.5, std::min(shrunk, mark), mark);
    stroke = std::max(std::min(shrunk, stroke), stroke * fitting / mark);
    mark = fitting;
  }

  double letters;  ///< the height of digits
  double stroke;   ///< the thickness of lines
  double mark;     ///< half the size of a feature's mark
};

}  // namespace film
