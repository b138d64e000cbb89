#include "rendering/BackProjection.h"

#include "imaging/ImageInterpolator.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

/// In the order of these tests a value that is no number becomes `low`.
template <typename T>
inline T Within(T value, T low, T high) {
  const T raised = value > low ? value : low;
  return raised < high ? raised : high;
}

/// For values that fit an int.
inline int Floor(float value) {
  const int truncated = static_cast<int>(value);
  return truncated - (static_cast<float>(truncated) > value ? 1 : 0);
}

VORN_VECTOR_CLONES
bool LocateInSinglePrecision(const BackProjection& p, int row, int firstColumn, int count, int width, int height,
                             BilinearPlaces& places) {
  const auto dy = static_cast<float>(row - p.targetOriginY);
  const auto originX = static_cast<float>(p.sourceOriginX), originY = static_cast<float>(p.sourceOriginY);
  const auto right = static_cast<float>(width), bottom = static_cast<float>(height);
  const float m00 = p.m00, m01dy = p.m01 * dy, m02 = p.m02, m10 = p.m10, m11dy = p.m11 * dy, m12 = p.m12, m20 = p.m20;
  const float wOfRow = p.m21 * dy + p.m22;
  const int left = firstColumn - p.targetOriginX;
  int outside = 0;
  for (int i = 0; i < count; ++i) {
    const auto dx = static_cast<float>(left + i);
    const float w = m20 * dx + wOfRow;
    const float x = Within(originX + (m00 * dx + m01dy + m02) / w, -2.0f, right);
    const float y = Within(originY + (m10 * dx + m11dy + m12) / w, -2.0f, bottom);
    const int x0 = Floor(x), y0 = Floor(y);
    places.x[i] = x0;
    places.y[i] = y0;
    places.fx[i] = x - static_cast<float>(x0);
    places.fy[i] = y - static_cast<float>(y0);
    outside |= x0 | (width - 2 - x0) | y0 | (height - 2 - y0);  // the sign bit
  }
  return outside >= 0;
}

/// Places along each axis, and their pixels.
VORN_VECTOR_CLONES
void LocateInDoublePrecision(const BackProjection& p, int row, int firstColumn, int count, int width, int height,
                             float* xs, float* ys, LanczosPlaces& places) {
  const auto dy = static_cast<float>(row - p.targetOriginY);
  const double originX = p.sourceOriginX, originY = p.sourceOriginY;
  const double right = width + 2.0, bottom = height + 2.0;
  const float m00 = p.m00, m01dy = p.m01 * dy, m02 = p.m02, m10 = p.m10, m11dy = p.m11 * dy, m12 = p.m12, m20 = p.m20;
  const float wOfRow = p.m21 * dy + p.m22;
  const int left = firstColumn - p.targetOriginX;
  for (int i = 0; i < count; ++i) {
    const auto dx = static_cast<float>(left + i);
    const double w = m20 * dx + wOfRow, u = m00 * dx + m01dy + m02, v = m10 * dx + m11dy + m12;
    xs[i] = static_cast<float>(Within(originX + u / w, -4.0, right));
    ys[i] = static_cast<float>(Within(originY + v / w, -4.0, bottom));
    places.x[i] = Floor(xs[i]);
    places.y[i] = Floor(ys[i]);
  }
}

/// The kernel at a distance within [-3, 3].
inline float ReadTable(float t) {
  const float place = (t + 3.0f) * 100.0f / 6.0f;
  const int k = static_cast<int>(place);
  return LanczosTable[k] + (LanczosTable[k + 1] - LanczosTable[k]) * (place - static_cast<float>(k));
}

/// The weights of `getLanczosKernel` to the bit, tap by tap so that they are computed side by side for all places.
VORN_VECTOR_CLONES
void MakeKernels(const float* __restrict at, const int* __restrict pixel, int count,
                 float (*__restrict kernel)[warpChunk]) {
  for (int tap = 0; tap < lanczosTaps; ++tap) {
    float* const __restrict weights = kernel[tap];
    for (int i = 0; i < count; ++i) weights[i] = ReadTable(at[i] - static_cast<float>(pixel[i] - 2 + tap));
  }
  for (int tap = 2; tap < 4; ++tap) {  // the only ones that can be at the centre
    float* const __restrict weights = kernel[tap];
    for (int i = 0; i < count; ++i) {
      const double t = at[i] - static_cast<float>(pixel[i] - 2 + tap);
      weights[i] = CompareDouble(0.0, t) ? 1.0f : weights[i];
    }
  }
  for (int i = 0; i < count; ++i) {
    float sum = 0.0f;
    for (int tap = 0; tap < lanczosTaps; ++tap) sum += kernel[tap][i];
    for (int tap = 0; tap < lanczosTaps; ++tap) kernel[tap][i] /= sum;
  }
}

}  // namespace

BackProjection::BackProjection(const FastWarper& warper, const Matrix& inverse)
    : m00(static_cast<float>(inverse(0, 0))),
      m01(static_cast<float>(inverse(0, 1))),
      m02(static_cast<float>(inverse(0, 2))),
      m10(static_cast<float>(inverse(1, 0))),
      m11(static_cast<float>(inverse(1, 1))),
      m12(static_cast<float>(inverse(1, 2))),
      m20(static_cast<float>(inverse(2, 0))),
      m21(static_cast<float>(inverse(2, 1))),
      m22(static_cast<float>(inverse(2, 2))),
      sourceOriginX(warper.sourceOriginX),
      sourceOriginY(warper.sourceOriginY),
      targetOriginX(warper.targetOriginX),
      targetOriginY(warper.targetOriginY) {}

bool LocateBilinear(const BackProjection& projection, int row, int firstColumn, int count, int width, int height,
                    BilinearPlaces& places) {
  return LocateInSinglePrecision(projection, row, firstColumn, count, width, height, places);
}

void LocateLanczos(const BackProjection& projection, int row, int firstColumn, int count, int width, int height,
                   LanczosPlaces& places) {
  float xs[warpChunk], ys[warpChunk];
  LocateInDoublePrecision(projection, row, firstColumn, count, width, height, xs, ys, places);
  MakeKernels(xs, places.x, count, places.kernelX);
  MakeKernels(ys, places.y, count, places.kernelY);
}

}  // namespace Vorn
