#pragma once

#include <algorithm>

#include "film/ClipContents.h"

namespace film {

/// What the effect counts, in frames: of an interlaced clip it counts the fields, two a frame and one more at the end,
/// which belongs to the last frame.
class FrameNumbers {
 public:
  explicit FrameNumbers(const ClipContents& contents)
      : each(contents.format.interlaced() ? 2 : 1), last(contents.identity.frames - 1) {}
  /// The frame of a number.
  int of(int number) const { return each == 1 ? number : std::min(number / each, last); }
  /// The first number of a frame.
  int firstOf(int frame) const { return each * frame; }

 private:
  int each, last;
};

}  // namespace film
