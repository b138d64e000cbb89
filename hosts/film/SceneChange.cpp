#include "film/SceneChange.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace film {
namespace {

constexpr int columns = 32, rows = 18;
constexpr double leastChange = 0.08;  // a quick pan stays below
constexpr double timesTheUsual = 2.0;

using Cells = std::array<double, static_cast<size_t>(columns) * rows>;

Cells cellsOf(const FloatPicture& picture) {
  Cells sums{}, counts{};
  for (int y = 0; y < picture.height; ++y) {
    const size_t row = static_cast<size_t>(y) * rows / picture.height * columns;
    const float* green = picture.samples.data() + 4 * static_cast<size_t>(picture.width) * y + 2;
    for (int x = 0; x < picture.width; ++x) {
      const size_t cell = row + static_cast<size_t>(x) * columns / picture.width;
      sums[cell] += green[4 * static_cast<size_t>(x)];
      counts[cell] += 1;
    }
  }
  for (size_t i = 0; i < sums.size(); ++i)
    if (counts[i] > 0) sums[i] /= counts[i];
  return sums;
}

double difference(const Cells& a, const Cells& b) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
  return sum / static_cast<double>(a.size());
}

}  // namespace

double CoarseDifference(const FloatPicture& a, const FloatPicture& b) { return difference(cellsOf(a), cellsOf(b)); }

bool ScenesChangeAt(int frame, int frames, const PictureOf& pictures) {
  if (frame < 2 || frame >= frames) return false;
  const int first = frame - 2, last = std::min(frames - 1, frame + 1);
  std::vector<Cells> cells;
  for (int number = first; number <= last; ++number) {
    const SharedPicture picture = pictures(number);
    if (!picture) return false;
    cells.push_back(cellsOf(*picture));
  }
  double usual = 0, change = 0;
  for (int number = first + 1; number <= last; ++number) {
    const auto i = static_cast<size_t>(number - first);
    const double step = difference(cells[i - 1], cells[i]);
    if (number == frame)
      change = step;
    else
      usual = std::max(usual, step);
  }
  return change > leastChange && change > timesTheUsual * usual;
}

}  // namespace film
