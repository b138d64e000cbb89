#include "film/Fields.h"

#include <algorithm>

namespace film {
namespace {

float* rowOf(FloatPicture& picture, int row) {
  return picture.samples.data() + static_cast<std::ptrdiff_t>(row) * picture.width * 4;
}

const float* rowOf(const FloatPicture& picture, int row) {
  return picture.samples.data() + static_cast<std::ptrdiff_t>(row) * picture.width * 4;
}

void copyRow(const FloatPicture& source, int row, FloatPicture& target) {
  std::copy_n(rowOf(source, row), 4 * source.width, rowOf(target, row));
}

}  // namespace

Field FirstField(AVFieldOrder order) { return order == AV_FIELD_BB ? Field::Bottom : Field::Top; }

Field SecondField(AVFieldOrder order) { return order == AV_FIELD_BB ? Field::Top : Field::Bottom; }

const char* FieldWord(AVFieldOrder order) {
  return order == AV_FIELD_TT ? "top" : order == AV_FIELD_BB ? "bottom" : "none";
}

std::optional<AVFieldOrder> FieldOrderOf(const std::string& word) {
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE})
    if (word == FieldWord(order)) return order;
  return std::nullopt;
}

void CopyField(const FloatPicture& source, Field field, FloatPicture& target) {
  for (int row = static_cast<int>(field); row < source.height; row += 2) copyRow(source, row, target);
}

void KeepField(const FloatPicture& source, Field field, FloatPicture& target) {
  const int kept = static_cast<int>(field), last = source.height - 1;
  CopyField(source, field, target);
  for (int row = 1 - kept; row <= last; row += 2) {
    const int above = row > 0 ? row - 1 : std::min(1, last), below = row < last ? row + 1 : std::max(last - 1, 0);
    const float *a = rowOf(source, above), *b = rowOf(source, below);
    float* out = rowOf(target, row);
    for (int lane = 0; lane < 4 * source.width; ++lane) out[lane] = 0.5f * (a[lane] + b[lane]);
  }
}

}  // namespace film
