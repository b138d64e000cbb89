#include "tracking/WindowSampling.h"

#include <algorithm>

#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

/// One strip of `blockLanes` columns of a window. `pixels` is the window's corner; one row and one column beyond the
/// strip are read.
VORN_VECTOR_CLONES void SampleStrip(const float* __restrict pixels, std::ptrdiff_t stride, float fx, float fy, int rows,
                                    float* __restrict block, int blockStride) {
  for (int row = 0; row < rows; ++row, pixels += stride, block += blockStride) {
    const float* __restrict below = pixels + stride;
    for (int c = 0; c < blockLanes; ++c) {
      const float left = pixels[c] + (below[c] - pixels[c]) * fy;
      const float right = pixels[c + 1] + (below[c + 1] - pixels[c + 1]) * fy;
      block[c] = left + (right - left) * fx;
    }
  }
}

/// Copies `columns` by `rows` pixels from (x, y) on, with 0 for those outside of the image.
void GatherPatch(const FastArray& image, int x, int y, int columns, int rows, float* patch) {
  const int first = std::clamp(-x, 0, columns), end = std::clamp(image.width - x, first, columns);
  std::fill_n(patch, static_cast<std::ptrdiff_t>(columns) * rows, 0.0F);
  if (first == end) return;
  for (int row = std::max(0, -y); row < std::min(rows, image.height - y); ++row) {
    const float* source = image.data + static_cast<std::ptrdiff_t>(y + row) * image.stride + (x + first);
    std::copy(source, source + (end - first), patch + static_cast<std::ptrdiff_t>(row) * columns + first);
  }
}

/// The partial sums, added in the same order everywhere.
inline double SumOfLanes(const double* lanes) {
  double half[8], quarter[4];
  for (int i = 0; i < 8; ++i) half[i] = lanes[i] + lanes[i + 8];
  for (int i = 0; i < 4; ++i) quarter[i] = half[i] + half[i + 4];
  return (quarter[0] + quarter[2]) + (quarter[1] + quarter[3]);
}

}  // namespace

bool LocateWindow(const Point2D& corner, int width, int height, int low, int high, WindowPosition& position) {
  const float x = std::floor(static_cast<float>(corner.x)), y = std::floor(static_cast<float>(corner.y));
  const auto from = static_cast<float>(low);
  if (!(x >= from && x < static_cast<float>(width + high) && y >= from && y < static_cast<float>(height + high)))
    return false;
  position.x = static_cast<int>(x);
  position.y = static_cast<int>(y);
  position.fx = static_cast<float>(corner.x - position.x);
  position.fy = static_cast<float>(corner.y - position.y);
  return true;
}

WindowBlocks& WindowBlocks::OfThisThread(int window) {
  thread_local WindowBlocks blocks;
  if (blocks.window != window) blocks.fit(window);
  return blocks;
}

void WindowBlocks::fit(int newWindow) {
  window = newWindow;
  size = window * BlockStride(window);
  const std::size_t patchSize = static_cast<std::size_t>(window + 1) * (BlockStride(window) + 1);
  storage.resize(4 * static_cast<std::size_t>(size) + patchSize);
  sampled = storage.data();
  source = sampled + size;
  gradientX = source + size;
  gradientY = gradientX + size;
  patch = gradientY + size;
}

void SampleWindow(const FastArray& image, const WindowPosition& position, int window, float* patch, float* block) {
  const int blockStride = BlockStride(window);
  const bool inside = position.x >= 0 && position.y >= 0 && position.x < image.width - blockStride &&
                      position.y < image.height - window;
  const float* pixels = patch;
  std::ptrdiff_t stride = blockStride + 1;
  if (inside) {
    stride = image.stride;
    pixels = image.data + position.y * stride + position.x;
  } else {
    GatherPatch(image, position.x, position.y, blockStride + 1, window + 1, patch);
  }
  for (int strip = 0; strip < blockStride; strip += blockLanes)
    SampleStrip(pixels + strip, stride, position.fx, position.fy, window, block + strip, blockStride);
}

void ClearPadding(float* block, int window) {
  const int stride = BlockStride(window);
  for (int row = 0; row < window; ++row) std::fill(block + row * stride + window, block + (row + 1) * stride, 0.0F);
}

VORN_VECTOR_CLONES void SumGradientProducts(const float* __restrict gx, const float* __restrict gy, int size,
                                            double& gxx, double& gyy, double& gxy) {
  double xx[blockLanes] = {}, yy[blockLanes] = {}, xy[blockLanes] = {};
  for (int i = 0; i < size; i += blockLanes)
    for (int lane = 0; lane < blockLanes; ++lane) {
      const double x = gx[i + lane], y = gy[i + lane];
      xx[lane] += x * x;
      yy[lane] += y * y;
      xy[lane] += x * y;
    }
  gxx = SumOfLanes(xx);
  gyy = SumOfLanes(yy);
  gxy = SumOfLanes(xy);
}

VORN_VECTOR_CLONES void SumErrorProducts(const float* __restrict source, const float* __restrict sampled,
                                         const float* __restrict gx, const float* __restrict gy, int size, double& ex,
                                         double& ey) {
  double x[blockLanes] = {}, y[blockLanes] = {};
  for (int i = 0; i < size; i += blockLanes)
    for (int lane = 0; lane < blockLanes; ++lane) {
      const double e = source[i + lane] - sampled[i + lane];
      x[lane] += e * gx[i + lane];
      y[lane] += e * gy[i + lane];
    }
  ex = SumOfLanes(x);
  ey = SumOfLanes(y);
}

VORN_VECTOR_CLONES double SumSquaredDifferences(const float* __restrict a, const float* __restrict b, int size) {
  double sums[blockLanes] = {};
  for (int i = 0; i < size; i += blockLanes)
    for (int lane = 0; lane < blockLanes; ++lane) {
      const double difference = b[i + lane] - a[i + lane];
      sums[lane] += difference * difference;
    }
  return SumOfLanes(sums);
}

}  // namespace Vorn
