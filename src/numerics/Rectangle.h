#pragma once

namespace Vorn {

/// An upright rectangle of pixels. Both corners are inclusive: (0, 0, 0, 0) holds one pixel.
class Rectangle {
 public:
  Rectangle() = default;
  Rectangle(int left, int top, int right, int bottom) : tlx(left), tly(top), brx(right), bry(bottom) {}

  bool IsValid() const { return brx >= tlx && bry >= tly; }

  int tlx = 0;
  int tly = 0;
  int brx = 0;
  int bry = 0;
};

}  // namespace Vorn
