#include "rendering/AGCComputer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numerics/Geometry.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"

using Vorn::FastArray;
using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::PointSet;

namespace {

constexpr int gridStep = 15;  // also the patch's size, so that the frame is sampled once without overlap
constexpr double farthestOff = 2.0;
constexpr double leastSum = 0.0001;

/// From a patch's corner to its centre, in whole pixels.
Point2D HalfPatch(int window) {
  const int half = window / 2;
  return {static_cast<double>(half), static_cast<double>(half)};
}

/// The sum of a window of an array, resampled bilinearly with its top-left corner at `corner`; false if it doesn't lie
/// inside. The comparisons also turn down coordinates that aren't numbers.
bool SumPatch(const FastArray& array, const Point2D& corner, int window, double& sum) {
  const double left = std::floor(corner.x), top = std::floor(corner.y);
  if (!(left >= 0.0 && top >= 0.0 && left + window < array.width && top + window < array.height)) return false;
  const double fx = corner.x - left, fy = corner.y - top;
  const double w00 = (1.0 - fx) * (1.0 - fy), w10 = fx * (1.0 - fy), w01 = (1.0 - fx) * fy, w11 = fx * fy;
  sum = 0.0;
  for (int y = 0; y < window; ++y) {
    const float* above = array.data + (static_cast<ptrdiff_t>(top) + y) * array.stride + static_cast<ptrdiff_t>(left);
    const float* below = above + array.stride;
    for (int x = 0; x < window; ++x)
      sum += static_cast<float>(w00 * above[x] + w10 * above[x + 1] + w01 * below[x] + w11 * below[x + 1]);
  }
  return true;
}

}  // namespace

void AGCComputer::clear() {
  sumJ = 0.0F;
  sumIJ = 0.0F;
  pointsUsed = 0;
}

float AGCComputer::calculateFrame(int frame, const FastArray* current, const FastArray* previous, const Matrix* motion,
                                  float originx, float originy, float last_gain) {
  Vorn::Log("AGCComputer: Calculate AGC for frame %d (no points)", frame);
  const Point2D half = HalfPatch(gridStep);
  currentCorners.Clear();
  previousCorners.Clear();
  for (int y = 0; y < current->height; y += gridStep)
    for (int x = 0; x < current->width; x += gridStep) {
      const Point2D centre = Point2D(x, y) + half;
      currentCorners.Add(Vorn::ProjectPoint(*motion, centre, originx, originy) - half);
      previousCorners.Add(centre - half);
    }
  return gainOfCorners(*current, *previous, last_gain, gridStep);
}

float AGCComputer::calculateFrame(int /*frame*/, const FastArray* current, const FastArray* previous,
                                  const Matrix* motion, float originx, float originy, const PointSet* cpoints,
                                  const PointSet* ppoints, float last_gain, int window) {
  const Point2D half = HalfPatch(window);
  currentCorners.Clear();
  previousCorners.Clear();
  const size_t pairs = std::min(cpoints->points.size(), ppoints->points.size());
  for (size_t i = 0; i < pairs; ++i) {
    const Point2D &c = cpoints->points[i], &p = ppoints->points[i];
    const Point2D q = Vorn::ProjectPoint(*motion, p, originx, originy);
    if (!(std::hypot(q.x - c.x, q.y - c.y) < farthestOff)) continue;
    currentCorners.Add(c - half);
    previousCorners.Add(p - half);
  }
  return gainOfCorners(*current, *previous, last_gain, window);
}

/// Patches are measured on all processors and summed in their order, so that a run repeats exactly.
float AGCComputer::gainOfCorners(const FastArray& current, const FastArray& previous, float last_gain, int window) {
  clear();
  means.resize(currentCorners.points.size());
  Vorn::ApplyInParallel(static_cast<int>(means.size()), [&](int index) {
    const auto i = static_cast<unsigned>(index);
    means[i] = measure(current, previous, currentCorners[i], previousCorners[i], window);
  });
  for (const PatchMeans& pair : means)
    if (pair.used) sumGainI(pair.previous, pair.current);

  if (pointsUsed == 0) return last_gain;
  if (!(std::fabs(sumJ) > leastSum)) return 1.0F;  // black: not even the last gain is known to hold
  return static_cast<float>((sumIJ * (last_gain * -2.0)) / (sumJ * -2.0));
}

void AGCComputer::calculateGain(unsigned index, const FastArray* current, const FastArray* previous,
                                const PointSet* cpoints, const PointSet* ppoints, int window) {
  const PatchMeans pair = measure(*current, *previous, (*cpoints)[index], (*ppoints)[index], window);
  if (pair.used) sumGainI(pair.previous, pair.current);
}

AGCComputer::PatchMeans AGCComputer::measure(const FastArray& current, const FastArray& previous,
                                             const Point2D& currentCorner, const Point2D& previousCorner, int window) {
  double currentSum = 0.0, previousSum = 0.0;
  if (window < 1 || !SumPatch(previous, previousCorner, window, previousSum) ||
      !SumPatch(current, currentCorner, window, currentSum))
    return {0.0F, 0.0F, false};
  const double pixels = static_cast<double>(window) * window;
  return {static_cast<float>(previousSum / pixels), static_cast<float>(currentSum / pixels), true};
}

void AGCComputer::sumGainI(float i, float j) {
  const std::lock_guard<std::mutex> guard(sum_values);
  sumJ += j * j;
  sumIJ += i * j;
  ++pointsUsed;
}
