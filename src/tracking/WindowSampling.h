#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "imaging/FastArray.h"
#include "numerics/Point2D.h"

namespace Vorn {

// What the Lucas-Kanade search does with the pixels of square windows.
//
// Blocks of `window` rows hold a sampled window. Their rows are padded to `BlockStride(window)` floats so that all
// loops run in whole vectors; padding is 0 where it would count. Sums are in double precision, in 16 interleaved
// partial sums whatever the instruction set, so that results are the same bits everywhere.

constexpr int blockLanes = 16;

/// Floats from one row of a block to the next.
constexpr int BlockStride(int window) { return (window + blockLanes - 1) / blockLanes * blockLanes; }

/// Where a window lies: the whole pixel of its corner, and how far the corner is beyond it, 0 to 1 pixels.
struct WindowPosition {
  int x, y;
  float fx, fy;
};

/// The corner's whole pixel, found in single precision. False if it isn't within [`low`, `width` + `high`) by
/// [`low`, `height` + `high`), which a corner that isn't a number never is; `position` is then left alone.
bool LocateWindow(const Point2D& corner, int width, int height, int low, int high, WindowPosition& position);

/// One thread's blocks for one feature. They live as long as the thread, so that tracking doesn't allocate.
class WindowBlocks {
 public:
  /// The blocks of the calling thread, fit for this window size; their contents are undefined.
  static WindowBlocks& OfThisThread(int window);

  float* sampled = nullptr;  ///< the target window as last sampled
  float* source = nullptr;
  float* gradientX = nullptr;
  float* gradientY = nullptr;
  float* patch = nullptr;  ///< the pixels under a window that crosses the image's edge
  int size = 0;            ///< floats in a block

 private:
  void fit(int newWindow);

  int window = 0;
  std::vector<float> storage;
};

/// Samples `image` at the window's position into `block`, bilinear in single precision, between rows first. Outside of
/// the image everything reads as 0. The padding holds whatever lies beside the window. `patch` is scratch.
void SampleWindow(const FastArray& image, const WindowPosition& position, int window, float* patch, float* block);

/// Sets the padding of a block to 0.
void ClearPadding(float* block, int window);

/// Sums of the products of two gradients over `size` elements: gxx of gx gx, gyy of gy gy, gxy of gx gy.
void SumGradientProducts(const float* gx, const float* gy, int size, double& gxx, double& gyy, double& gxy);

/// With e = source - sampled, the sums over `size` elements of e gx and of e gy.
void SumErrorProducts(const float* source, const float* sampled, const float* gx, const float* gy, int size, double& ex,
                      double& ey);

/// The sum of (b - a)^2 over `size` elements.
double SumSquaredDifferences(const float* a, const float* b, int size);

}  // namespace Vorn
