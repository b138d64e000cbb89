#pragma once

#include <array>

#include "film/Effect.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"

namespace film {

/// Where the picture that is rendered lies in the picture as filmed, frame by frame.
class OutputWindow {
 public:
  /// `effect` has shown a frame; it is lent.
  explicit OutputWindow(Effect& effect);

  /// The corners of what is shown of a frame (or field, in an interlaced clip), from the top left clockwise, in pixels
  /// of the clip's frame. Bands that the rendering adds don't count. Coordinates that aren't finite where the frame's
  /// correction has no inverse.
  std::array<Vorn::Point2D, 4> corners(int number) const;

  /// Where the frame's centre would be but for the crop: it is at the frame's centre where nothing is corrected.
  Vorn::Point2D centre(int number) const;

 private:
  void displayCropped(Effect& effect);
  void displayZoomed(Effect& effect);
  Vorn::Matrix correction(int number) const;
  Vorn::Point2D filmed(const Vorn::Matrix& projection, const Vorn::Point2D& point) const;

  const MotionProcessorFCPX& planner;
  Vorn::Point2D middle, origin;  // of the frame; about which matrices act
  Vorn::Matrix display;          // from corrected to rendered
  Vorn::Rectangle shown;         // of the rendered picture; its last row and column are outside
};

}  // namespace film
