#pragma once

#include <algorithm>

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

  double letters;  ///< the height of digits
  double stroke;   ///< the thickness of lines
  double mark;     ///< half the size of a feature's mark
};

}  // namespace film
