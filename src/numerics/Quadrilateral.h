#pragma once

#include "numerics/Point2D.h"

namespace Vorn {

/// A shape of four corners, such as the outline of a warped frame.
class Quadrilateral {
 public:
  Point2D corners[4];
};

}  // namespace Vorn
