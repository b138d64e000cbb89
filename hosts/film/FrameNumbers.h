#pragma once

#include <algorithm>
#include <vector>

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

/// The frames of some numbers that the effect counts, in order and each once.
inline std::vector<int> FramesOf(const ClipContents& contents, const std::vector<int>& numbers) {
  const FrameNumbers frameNumbers(contents);
  std::vector<int> frames;
  frames.reserve(numbers.size());
  for (const int number : numbers) frames.push_back(frameNumbers.of(number));
  std::sort(frames.begin(), frames.end());
  frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
  return frames;
}

}  // namespace film
