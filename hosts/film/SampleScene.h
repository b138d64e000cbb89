#pragma once

#include <vector>

namespace film {

/// A drawn village before mountains: the world that the sample clip's camera looks at.
///
/// It is held at twice the clip's resolution and without detail finer than that can show, so that linear reading at any
/// place gives the same scene moved by any fraction of a pixel.
class SampleScene {
 public:
  static constexpr int width = 1900, height = 900;  ///< in pixels of the clip

  SampleScene();

  struct Colour {
    float r, g, b;  ///< 0 to 1
  };

  /// The colour at a place in clip pixels; beyond the border the border goes on.
  Colour at(double x, double y) const;

 private:
  static constexpr int texelsX = 2 * width, texelsY = 2 * height;
  std::vector<Colour> texels;
};

}  // namespace film
