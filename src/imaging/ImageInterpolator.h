#pragma once

#include "numerics/Matrix.h"

namespace Vorn {

/// The kernel sinc(t) sinc(t / 3) at t = -3 + 6 i / 100 for i from 0 to 100, and a zero behind it, since a look-up at
/// t = 3 reads one entry further.
extern const float LanczosTable[102];

/// The Lanczos kernel with three lobes (Duchon, "Lanczos Filtering in One and Two Dimensions", J. Appl. Meteorology
/// 1979), read from `LanczosTable` with linear interpolation in single precision. 0 outside [-3, 3] and for a NaN.
/// The table has no samples at the whole positions but 0 and the ends, so there it is only near 0 (within 0.001).
inline float LanczosSinc(double t) {
  if (!(t >= -3.0 && t <= 3.0)) return 0.0f;
  if (CompareDouble(0.0, t)) return 1.0f;
  const float place = (static_cast<float>(t) + 3.0f) * 100.0f / 6.0f;
  const int i = static_cast<int>(place);  // never negative: this is the floor
  const float share = place - static_cast<float>(i);
  return LanczosTable[i] + (LanczosTable[i + 1] - LanczosTable[i]) * share;
}

/// The weights of the six samples from floor(x) - 2 to floor(x) + 3 at position x. They sum to 1 for any phase. For an
/// x that isn't finite they aren't numbers. A caller with a position in double precision takes the floor of the
/// narrowed one: the two differ just below a whole number.
void getLanczosKernel(float x, float* kernel);

/// The cubic through p1 and p2 at t from 0 to 1, with the slopes there from p0 and p3 (Catmull and Rom, 1974).
float cubicInterpolate(float p0, float p1, float p2, float p3, float t);

}  // namespace Vorn
