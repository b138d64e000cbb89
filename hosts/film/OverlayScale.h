#pragma once

#include <algorithm>

namespace film {

/// How large the overlay's parts are on a picture, in pixels: readable on small pictures, fine on large ones.
struct OverlayScale {
  OverlayScale(int width, int height) {
    const double side = std::min(width, height);
    letters = 6.0 + 0.0105 * side;
    stroke = std::max(1.0, side / 540.0);
    mark = std::max(1.0, side / 540.0);
  }

  double letters;  ///< the height of digits
  double stroke;   ///< the thickness of lines
  double mark;     ///< half the size of a feature's mark
};

}  // namespace film
