#include "imaging/Sobel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "imaging/FastArray.h"
#include "imaging/Image.h"
#include "numerics/Parallel.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

/// Three taps, applied as k0 a + k1 b + k2 c from left to right.
struct Kernel {
  float k0, k1, k2;
};

struct Kernels {
  Kernel alongY, alongX;
};

Kernels KernelsFor(int direction, double scale) {
  const Kernel difference = {-1.0F, 0.0F, 1.0F};
  Kernel smoothing = {1.0F, 2.0F, 1.0F};
  if (scale != 1.0) smoothing = {static_cast<float>(scale), static_cast<float>(2.0 * scale), static_cast<float>(scale)};
  return direction != 0 ? Kernels{smoothing, difference} : Kernels{difference, smoothing};
}

struct Plane {
  const float* input;
  int inputStride;
  float* output;
  int outputStride;
  int width, height;
};

constexpr int columnsAtOnce = 512;  // so that what is held stays in the first cache

VORN_VECTOR_CLONES
void CombineThree(const float* a, const float* b, const float* c, Kernel k, int count, float* target) {
  for (int i = 0; i < count; ++i) target[i] = k.k0 * a[i] + k.k1 * b[i] + k.k2 * c[i];
}

/// At an edge, where both neighbours are the one inside.
VORN_VECTOR_CLONES
void CombineAtEdge(const float* edge, const float* inside, Kernel k, int count, float* target) {
  const float neighbours = k.k0 + k.k2;
  for (int i = 0; i < count; ++i) target[i] = k.k1 * edge[i] + neighbours * inside[i];
}

/// The pass along y for row `y`, columns `first` to `end` - 1. A single row is its own neighbour.
void FilterAlongY(const Plane& plane, Kernel k, int y, int first, int end, float* target) {
  const auto row = [&](int r) {
    return plane.input + static_cast<ptrdiff_t>(std::clamp(r, 0, plane.height - 1)) * plane.inputStride + first;
  };
  const int last = plane.height - 1;
  if (y == 0 || y == last)
    CombineAtEdge(row(y), row(y == 0 ? 1 : last - 1), k, end - first, target);
  else
    CombineThree(row(y - 1), row(y), row(y + 1), k, end - first, target);
}

/// The pass along x for columns `first` to `end` - 1, from a line that begins at column `lineFirst`.
void FilterAlongX(const float* line, int lineFirst, Kernel k, int first, int end, int width, float* output) {
  const auto r = [=](int x) { return line + (x - lineFirst); };
  const int last = width - 1, inner = std::max(first, 1), innerEnd = std::min(end, last);
  if (first == 0) CombineAtEdge(r(0), r(std::min(1, last)), k, 1, output);
  if (inner < innerEnd) CombineThree(r(inner - 1), r(inner), r(inner + 1), k, innerEnd - inner, output + inner);
  if (end == width && last > 0) CombineAtEdge(r(last), r(last - 1), k, 1, output + last);
}

/// Both passes for rows `firstRow` to `endRow` - 1, a piece of a row at a time.
void FilterRows(const Plane& plane, const Kernels& kernels, int firstRow, int endRow) {
  float line[columnsAtOnce + 2];
  for (int y = firstRow; y < endRow; ++y)
    for (int first = 0; first < plane.width; first += columnsAtOnce) {
      const int end = std::min(first + columnsAtOnce, plane.width);
      const int lineFirst = std::max(first - 1, 0), lineEnd = std::min(end + 1, plane.width);
      FilterAlongY(plane, kernels.alongY, y, lineFirst, lineEnd, line);
      FilterAlongX(line, lineFirst, kernels.alongX, first, end, plane.width,
                   plane.output + static_cast<ptrdiff_t>(y) * plane.outputStride);
    }
}

}  // namespace

bool Sobel::Filter(const FastArray& input, FastArray& output, int direction, double scale) const {
  const Plane plane = {input.data, input.stride, output.data, output.stride, input.width, input.height};
  const Kernels kernels = KernelsFor(direction, scale);
  ForEachStripe(input.height, [&](int firstRow, int endRow) { FilterRows(plane, kernels, firstRow, endRow); });
  return true;
}

bool Sobel::Filter(const float* input, float* output, int direction, int width, int height, double scale) const {
  FilterRows({input, width, output, width, width, height}, KernelsFor(direction, scale), 0, height);
  return true;
}

bool Sobel::Filter(const Image& input, Image& output, int direction, double scale) const {
  FastArray luma(input.width, input.height), gradient(input.width, input.height);
  for (int y = 0; y < luma.height; ++y)
    for (int x = 0; x < luma.width; ++x) luma(x, y) = static_cast<float>(input(x, y).GetYL());
  Filter(luma.data, gradient.data, direction, luma.width, luma.height, scale);

  const PixelType type = input.maxValue == 255 ? L8 : input.maxValue == 1023 ? L10 : L16;
  output.Resize(luma.width, luma.height, type);
  const int maximum = static_cast<int>(output.maxValue);
  for (int y = 0; y < luma.height; ++y)
    for (int x = 0; x < luma.width; ++x) {
      const float magnitude = std::min(std::fabs(gradient(x, y)), static_cast<float>(maximum));
      output.SetPixel(x, y, Pixel(static_cast<int>(magnitude), maximum));
    }
  return true;
}

}  // namespace Vorn
