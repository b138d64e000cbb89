#pragma once

#include "numerics/Matrix.h"
#include "rendering/FastWarper.h"

namespace Vorn {

/// Pixels that are located at a time: few enough for their places to stay in the nearest cache.
constexpr int warpChunk = 256;

/// What takes output pixels back to the source: the matrix in single precision, and the origins.
struct BackProjection {
  BackProjection(const FastWarper& warper, const Matrix& inverse);

  float m00, m01, m02, m10, m11, m12, m20, m21, m22;
  int sourceOriginX, sourceOriginY, targetOriginX, targetOriginY;
};

/// Where the samples of a run of output pixels lie: the cell's upper left pixel, and how far into the cell. Places that
/// touch no source pixel, or are no numbers, are moved to a cell close by that doesn't either.
struct BilinearPlaces {
  int x[warpChunk], y[warpChunk];
  float fx[warpChunk], fy[warpChunk];
};

/// Locates `count` pixels (at most `warpChunk`) of `row` from `firstColumn` on, in single precision. True if all four
/// pixels of every cell lie inside the source of `width` by `height` pixels.
bool LocateBilinear(const BackProjection& projection, int row, int firstColumn, int count, int width, int height,
                    BilinearPlaces& places);

constexpr int lanczosTaps = 6;

/// The same for the Lanczos kernel: the pixel at or before the place, and the weights by tap and then by place; tap 2
/// is the pixel's own.
struct LanczosPlaces {
  int x[warpChunk], y[warpChunk];
  float kernelX[lanczosTaps][warpChunk], kernelY[lanczosTaps][warpChunk];
};

/// As above. The matrix is applied in single precision and divided in double; the kernel and its pixel are those of the
/// place in single precision.
void LocateLanczos(const BackProjection& projection, int row, int firstColumn, int count, int width, int height,
                   LanczosPlaces& places);

}  // namespace Vorn
