#include "film/HalfSize.h"

#include <algorithm>

#include "film/Fields.h"

namespace film {
namespace {

int halfOf(int size) { return std::max(2, size / 4 * 2); }

}  // namespace

ClipContents HalfSized(const ClipContents& contents) {
  ClipContents half = contents;
  half.format.width = halfOf(contents.format.width);
  half.format.height = halfOf(contents.format.height);
  // Fields of half the rows would have to be looked at on an interlaced screen; one of them is a picture anywhere.
  if (half.format.interlaced()) half.format.fieldOrder = AV_FIELD_PROGRESSIVE;
  half.planes = PlaneFormatOf(half.format).value_or(contents.planes);
  return half;
}

void Halve(const FloatPicture& whole, AVFieldOrder order, FloatPicture* half) {
  const bool interlaced = order == AV_FIELD_TT || order == AV_FIELD_BB;
  // The two rows of each pair that are looked at: with fields twice the same one.
  const int above = interlaced ? static_cast<int>(FirstField(order)) : 0, below = interlaced ? above : 1;
  const auto row = [&](int y) {
    return whole.samples.data() + 4 * static_cast<size_t>(whole.width) * std::min(y, whole.height - 1);
  };
  for (int y = 0; y < half->height; ++y) {
    const float *upper = row(2 * y + above), *lower = row(2 * y + below);
    float* target = half->samples.data() + 4 * static_cast<size_t>(half->width) * y;
    for (int x = 0; x < half->width; ++x) {
      const int left = 4 * std::min(2 * x, whole.width - 1), right = 4 * std::min(2 * x + 1, whole.width - 1);
      for (int c = 0; c < 4; ++c)
        target[4 * x + c] = 0.25f * ((upper[left + c] + upper[right + c]) + (lower[left + c] + lower[right + c]));
    }
  }
  half->number = whole.number;
  half->time = whole.time;
  half->duration = whole.duration;
  half->notes = whole.notes;
}

}  // namespace film
