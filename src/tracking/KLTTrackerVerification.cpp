// Which features are not to be believed: those that move against their neighbours, and those that don't find back.

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "numerics/Geometry.h"
#include "numerics/Median.h"
#include "numerics/Parallel.h"
#include "tracking/KLTTracker.h"

namespace Vorn {
namespace {

constexpr int cellsAlong = 16, cellCount = cellsAlong * cellsAlong;
constexpr int fewestInCell = 5;                  // thin cells aren't judged
constexpr double largestLengthDifference = 6.0;  // pixels, to the cell's median
constexpr double leastJudgedLength = 4.0;        // pixels; the direction of a shorter step tells nothing
constexpr double largestAngle = 0.35;            // radians, to the cell's common direction

using CellLimits = std::array<int, cellsAlong + 1>;

CellLimits LimitsOfCells(int size) {
  CellLimits limits;
  for (int cell = 0; cell <= cellsAlong; ++cell)
    limits[cell] = static_cast<int>(static_cast<float>(cell) * 0.0625F * static_cast<float>(size));
  return limits;
}

/// The cell that holds a coordinate: its lower limit belongs to it and its upper one doesn't. -1 outside of all.
int CellOf(double coordinate, const CellLimits& limits) {
  if (!(coordinate >= limits.front() && coordinate < limits.back())) return -1;
  return static_cast<int>(std::upper_bound(limits.begin(), limits.end(), coordinate) - limits.begin()) - 1;
}

bool HasStep(const Feature& feature) { return feature.status == FeatureTracked && feature.track.size() >= 2; }

}  // namespace

void KLTTracker::measureSteps() {
  steps.assign(features.size(), Point2D(0.0, 0.0));
  for (std::size_t i = 0; i < features.size(); ++i)
    if (HasStep(features[i])) steps[i] = features[i].track.back() - *(features[i].track.end() - 2);
}

void KLTTracker::rejectBlockOutliers(int width, int height) {
  measureSteps();
  sortIntoCells(width, height, HasStep);
  ApplyInParallel(cellCount, [&](int block) { BlockCheck(block); });
  rejectOutliers();
}

// cellFeatures[cellStart[block]] up to, but excluding, cellFeatures[cellStart[block + 1]] are then the features of the
// block at column block % 16 and row block / 16, in their order. Those outside of all blocks come last.
void KLTTracker::sortIntoCells(int width, int height, bool (*takesPart)(const Feature&)) {
  const CellLimits columns = LimitsOfCells(width), rows = LimitsOfCells(height);
  featureCells.assign(features.size(), -1);
  cellStart.assign(cellCount + 2, 0);
  for (std::size_t i = 0; i < features.size(); ++i) {
    if (!takesPart(features[i])) continue;
    const Point2D& point = features[i].track.back();
    const int column = CellOf(point.x, columns), row = CellOf(point.y, rows);
    featureCells[i] = column < 0 || row < 0 ? cellCount : row * cellsAlong + column;
    ++cellStart[featureCells[i] + 1];
  }
  std::partial_sum(cellStart.begin(), cellStart.end(), cellStart.begin());
  cellFeatures.resize(cellStart.back());
  std::array<int, cellCount + 1> next;
  std::copy_n(cellStart.begin(), next.size(), next.begin());
  for (std::size_t i = 0; i < features.size(); ++i)
    if (featureCells[i] >= 0) cellFeatures[next[featureCells[i]]++] = static_cast<int>(i);
}

void KLTTracker::BlockCheck(int block) {
  const int* cell = cellFeatures.data() + cellStart[block];
  const int count = cellStart[block + 1] - cellStart[block];
  if (count < fewestInCell) return;
  Point2D sum;
  std::vector<double> lengths(count);
  for (int k = 0; k < count; ++k) {
    const Point2D& step = steps[cell[k]];
    sum += step;
    lengths[k] = std::hypot(step.x, step.y);
  }
  const double median = Median().Get(lengths), length = std::hypot(sum.x, sum.y);
  std::vector<int> outliers;
  for (int k = 0; k < count; ++k) {
    const Point2D& step = steps[cell[k]];
    const int id = features[cell[k]].id;
    if (std::fabs(lengths[k] - median) > largestLengthDifference) outliers.push_back(id);
    if (lengths[k] < leastJudgedLength) continue;
    const double cosine = (step.x * sum.x + step.y * sum.y) / (lengths[k] * length);
    if (std::fabs(std::acos(std::clamp(cosine, -1.0, 1.0))) > largestAngle) outliers.push_back(id);
  }
  if (!outliers.empty()) stageOutliers(outliers);
}

void KLTTracker::stageOutliers(const std::vector<int>& ids) {
  const std::lock_guard lock(outliersLock);
  stagedOutliers.insert(stagedOutliers.end(), ids.begin(), ids.end());
}

// A feature that was staged for both reasons loses two points. Meant; it is dead either way.
void KLTTracker::rejectOutliers() {
  std::sort(stagedOutliers.begin(), stagedOutliers.end());
  for (Feature& feature : features) {
    const auto [first, end] = std::equal_range(stagedOutliers.begin(), stagedOutliers.end(), feature.id);
    if (first == end) continue;
    feature.status = FeatureLost;
    const std::size_t lost = std::min<std::size_t>(end - first, feature.track.size());
    feature.track.resize(feature.track.size() - lost);
    stagedOutliers.erase(first, end);  // an id is one feature's
  }
}

void KLTTracker::selectDoubtful(const Matrix& prediction, int width, int height) {
  measureSteps();
  std::vector<double> dx(steps.size()), dy(steps.size());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    dx[i] = steps[i].x;
    dy[i] = steps[i].y;
  }
  const double medianX = Median().Get(dx), medianY = Median().Get(dy);
  const double scale = 0.5 * residualScale, largestQuality = scale * scale / (window * window);
  const int middleX = width / 2, middleY = height / 2;  // a whole pixel
  const auto centreX = static_cast<float>(middleX), centreY = static_cast<float>(middleY);
  const auto isLarge = [this](double distance) { return std::fabs(distance) > window; };
  doubtful.clear();
  for (std::size_t i = 0; i < features.size(); ++i) {
    const Feature& feature = features[i];
    if (!HasStep(feature)) continue;
    const Point2D& before = *(feature.track.end() - 2);
    const Point2D predicted = ProjectPoint(prediction, before, centreX, centreY);
    const bool isFastMismatch = feature.quality > largestQuality && (isLarge(dx[i]) || isLarge(dy[i]));
    const bool isUnlikeOthers = isLarge(dx[i] - medianX) || isLarge(dy[i] - medianY);
    // A distance in x against a place in x, and the median again in y: meant, the selection was settled with it.
    const bool isUnlikePrediction = isLarge(dx[i] - predicted.x) || isLarge(dy[i] - medianY);
    if (isFastMismatch || (isUnlikeOthers && isUnlikePrediction)) doubtful.push_back(static_cast<int>(i));
  }
}

void KLTTracker::verifyBackward(ArrayPyramid& current, ArrayPyramid& previous) {
  verifying = true;
  for (int level = levels - 1; level >= 0; --level) {
    getGradients(&current[level], &(*gradientPyramidX)[level], &(*gradientPyramidY)[level]);
    if (verifyAll) {
      trackFeatures(searchOrder, previous[level], current[level], level);
      integrateIntermediateResults(level, true);
    } else {
      trackFeatures(doubtful, previous[level], current[level], level);
      integrateIntermediateResults(level, doubtful);
    }
  }
  verifying = false;
}

}  // namespace Vorn
