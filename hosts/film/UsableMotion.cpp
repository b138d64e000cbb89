#include "film/UsableMotion.h"

#include <algorithm>
#include <cmath>

namespace film {
namespace {

using Vorn::HomographySet;
using Vorn::Matrix;

bool fitsFloat(double value) { return std::isfinite(static_cast<float>(value)); }

/// By which the picture is scaled at the point that the matrix acts about: the determinant of the map's derivative
/// there is det(m) / m22^3. Not finite where that point goes to infinity.
double areaScale(const Matrix& m) {
  const auto of = [&m](unsigned row, unsigned column) { return m(row, column) / m(2, 2); };
  return of(0, 0) * (of(1, 1) - of(1, 2) * of(2, 1)) - of(0, 1) * (of(1, 0) - of(1, 2) * of(2, 0)) +
         of(0, 2) * (of(1, 0) * of(2, 1) - of(1, 1) * of(2, 0));
}

/// What no entry reaches, a 1 in the corner: for the linear part, the shift in pixels, and the tilt, by which the
/// horizon would lie a pixel away.
constexpr double farthest[9] = {1e3, 1e3, 1e6, 1e3, 1e3, 1e6, 1, 1, 2};

bool isMotion(const Matrix& m) {
  for (int i = 0; i < 9; ++i)
    if (!fitsFloat(m.data[i]) || !(std::abs(m.data[i] / m(2, 2)) < farthest[i])) return false;
  return std::abs(areaScale(m)) > 1e-6;
}

bool isRotation(const Matrix& m) {
  return std::all_of(m.data, m.data + 9, fitsFloat) && (m(0, 0) != 0 || m(1, 0) != 0);
}

std::vector<int> framesThatArent(bool (*usable)(const Matrix& m), const HomographySet& set) {
  std::vector<int> frames;
  for (const Vorn::HomographyFrame& frame : set.hset)
    if (!usable(frame.matrix)) frames.push_back(frame.frame);
  std::sort(frames.begin(), frames.end());
  return frames;
}

}  // namespace

bool IsUsablePath(const std::vector<MotionFixParams>& fits) {
  const auto isNear = [](float pixels) { return std::abs(pixels) < 1e6f; };
  return std::all_of(fits.begin(), fits.end(), [&](const MotionFixParams& fit) {
    return isNear(fit.gradient) && isNear(fit.gradient_in) && isNear(fit.start_pos) && isNear(fit.end_pos);
  });
}

std::vector<int> UnusableMotion(const HomographySet& motion) { return framesThatArent(isMotion, motion); }

std::vector<int> UnusableRotation(const HomographySet& rotation) { return framesThatArent(isRotation, rotation); }

}  // namespace film
