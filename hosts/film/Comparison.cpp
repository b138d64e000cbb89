#include "film/Comparison.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/display.h>
}

#include "film/ClipReader.h"

namespace film {
namespace {

constexpr float enlarged = 4.0f;
constexpr int lineWidth = 2;

bool isUpright(int quarterTurns) { return quarterTurns % 2 == 0; }
// Turned by half a turn, or by a quarter clockwise, the coded picture's left or top comes to the right.
bool isReversed(int quarterTurns) { return quarterTurns == 1 || quarterTurns == 2; }

const float* rowOf(const FloatPicture& picture, int y) {
  return picture.samples.data() + 4 * static_cast<size_t>(picture.width) * y;
}
float* rowOf(FloatPicture* picture, int y) {
  return picture->samples.data() + 4 * static_cast<size_t>(picture->width) * y;
}

void putBeside(const FloatPicture& left, const FloatPicture& right, FloatPicture* out) {
  for (int y = 0; y < left.height; ++y) {
    float* target = std::copy_n(rowOf(left, y), 4 * static_cast<size_t>(left.width), rowOf(out, y));
    std::copy_n(rowOf(right, y), 4 * static_cast<size_t>(right.width), target);
  }
}

void putBelow(const FloatPicture& top, const FloatPicture& bottom, FloatPicture* out) {
  const auto end = std::copy(top.samples.begin(), top.samples.end(), out->samples.begin());
  std::copy(bottom.samples.begin(), bottom.samples.end(), end);
}

void split(const FloatPicture& low, const FloatPicture& high, bool upright, FloatPicture* out) {
  const int size = upright ? out->width : out->height, middle = size / 2;
  for (int y = 0; y < out->height; ++y)
    for (int x = 0; x < out->width; ++x) {
      const int place = upright ? x : y;
      float* target = rowOf(out, y) + 4 * static_cast<size_t>(x);
      if (place >= middle - lineWidth / 2 && place < middle + lineWidth / 2)
        std::fill_n(target, 4, 1.0f);
      else
        std::copy_n(rowOf(place < middle ? low : high, y) + 4 * static_cast<size_t>(x), 4, target);
    }
}

void subtract(const FloatPicture& a, const FloatPicture& b, FloatPicture* out) {
  for (size_t i = 0; i < out->samples.size(); i += 4) {
    out->samples[i] = 1.0f;
    for (size_t c = i + 1; c < i + 4; ++c)
      out->samples[c] = std::min(1.0f, enlarged * std::fabs(a.samples[c] - b.samples[c]));
  }
}

}  // namespace

int QuarterTurns(const std::string& clip) {
  const ClipReader reader(clip, 1);
  const auto* matrix = reinterpret_cast<const std::int32_t*>(
      av_stream_get_side_data(&reader.stream(), AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  const double anticlockwise = matrix ? av_display_rotation_get(matrix) : 0.0;
  if (!std::isfinite(anticlockwise)) return 0;
  return (4 - static_cast<int>(std::lround(anticlockwise / 90.0)) % 4) % 4;
}

ClipContents ComparedContents(const ClipContents& contents, CompareLayout layout, int quarterTurns) {
  ClipContents compared = contents;
  if (layout != CompareLayout::Side) return compared;
  (isUpright(quarterTurns) ? compared.format.width : compared.format.height) *= 2;
  compared.planes = PlaneFormatOf(compared.format).value_or(contents.planes);
  return compared;
}

void ComparePictures(const FloatPicture& a, const FloatPicture& b, CompareLayout layout, int quarterTurns,
                     FloatPicture* out) {
  const FloatPicture& low = isReversed(quarterTurns) ? b : a;
  const FloatPicture& high = isReversed(quarterTurns) ? a : b;
  if (layout == CompareLayout::Difference)
    subtract(a, b, out);
  else if (layout == CompareLayout::Split)
    split(low, high, isUpright(quarterTurns), out);
  else if (isUpright(quarterTurns))
    putBeside(low, high, out);
  else
    putBelow(low, high, out);
  out->number = a.number;
  out->time = a.time;
  out->duration = a.duration;
}

}  // namespace film
