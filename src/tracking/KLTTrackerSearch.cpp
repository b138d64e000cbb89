// How features are followed from one frame into the next.

#include <algorithm>
#include <cmath>

#include "numerics/Geometry.h"
#include "numerics/Parallel.h"
#include "tracking/KLTTracker.h"

namespace Vorn {
namespace {

constexpr int featuresPerTask = 32;
constexpr double smallestDeterminant = 0.01;
constexpr double convergedStep = 0.01;  // pixels of the level
constexpr int lastPass = 30;
constexpr double backwardTolerance = 4.0;  // pixels between where a feature was and where tracking it back ends

/// Points of a track. Verifying looks at the last three; what is older would only make memory grow with the clip.
constexpr std::size_t longestTrack = 240;

/// Drops the older half of a track that has become too long.
void ForgetOldest(Feature& feature) {
  if (feature.track.size() < longestTrack) return;
  constexpr int forgotten = longestTrack / 2;
  feature.track.erase(feature.track.begin(), feature.track.begin() + forgotten);
  if (feature.start >= 0) feature.start += forgotten;  // else the first frame isn't known
}

/// Whether the parts of a step are both too small to matter.
bool IsNothing(double dx, double dy) { return std::fabs(dx) < convergedStep && std::fabs(dy) < convergedStep; }

}  // namespace

bool KLTTracker::Track(ArrayPyramid& current, ArrayPyramid& previous, const Matrix& prediction,
                       std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses, bool all,
                       bool selected) {
  verifyAll = all;
  verifySelected = selected;
  return Track(current, previous, prediction, points, statuses);
}

bool KLTTracker::Track(ArrayPyramid& current, ArrayPyramid& previous, const Matrix& prediction,
                       std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses) {
  const bool verify = verifyAll || verifySelected;
  beginFrame(current[0].width, current[0].height);
  for (int level = levels - 1; level >= 0; --level) trackForward(current, previous, level);
  rejectBlockOutliers(current[0].width, current[0].height);
  if (verifySelected && !verifyAll) selectDoubtful(prediction, current[0].width, current[0].height);
  if (verify) verifyBackward(current, previous);
  gradientsCurrent = verify;  // tracking back leaves the gradients that the next frame starts from
  collectSurvivors(points, statuses);
  ++framesTracked;
  return true;
}

void KLTTracker::beginFrame(int width, int height) {
  intermediate.assign(features.size(), LevelResult());
  const double largest = 0.75 * residualScale;
  residualThreshold = static_cast<float>(largest * largest / (window * window));
  stagedOutliers.clear();
  sortIntoCells(width, height, [](const Feature& feature) { return feature.status < FeatureLargeResidual; });
  searchOrder = cellFeatures;
}

void KLTTracker::trackForward(ArrayPyramid& current, ArrayPyramid& previous, int level) {
  const bool detected = framesTracked == 0 && level == 0;  // the detection on `previous` left its gradients
  if (!gradientsCurrent && !detected)
    getGradients(&previous[level], &(*gradientPyramidX)[level], &(*gradientPyramidY)[level]);
  trackFeatures(searchOrder, current[level], previous[level], level);
  integrateIntermediateResults(level, false);
}

void KLTTracker::trackFeatures(const std::vector<int>& indices, FastArray& target, FastArray& source, int level) {
  const int count = static_cast<int>(indices.size());
  ApplyInParallel((count + featuresPerTask - 1) / featuresPerTask, [&](int task) {
    const int end = std::min(count, (task + 1) * featuresPerTask);
    for (int i = task * featuresPerTask; i < end; ++i)
      TrackFeature(indices[i], &target, &source, &(*gradientPyramidX)[level], &(*gradientPyramidY)[level], level);
  });
}

void KLTTracker::TrackFeature(unsigned int index, FastArray* target, FastArray* source, FastArray* sourceX,
                              FastArray* sourceY, int level) {
  Feature& feature = features[index];
  if (feature.status >= FeatureLargeResidual) return;
  const bool finest = level == 0, coarsest = level == levels - 1;
  const int half = window / 2;
  const double scale = std::ldexp(1.0F, level);
  const Point2D halfWindow(half, half);
  const Point2D& latest = feature.track.back();
  const Point2D from = (coarsest ? latest : feature.track[feature.track.size() - 2]) / scale;
  const Point2D estimate = coarsest ? from : latest * 2.0;
  const Point2D sourceCorner = from - halfWindow;
  Point2D targetCorner = estimate - halfWindow;

  // What can't be searched on a coarse level goes down as it is: a finer one can still find it.
  WindowPosition position;
  if (!LocateWindow(sourceCorner, source->width, source->height, -window, -window, position))
    return storeIntermediateResult(index, finest ? FeatureOutOfBounds : FeatureTracked, estimate);
  WindowBlocks& blocks = WindowBlocks::OfThisThread(window);
  const GradientMatrix matrix = calculateGradientMatrix(position, *sourceX, *sourceY, *source, blocks);
  if (matrix.Determinant() < smallestDeterminant)  // no magnitude: meant
    return storeIntermediateResult(index, finest ? FeatureLost : FeatureTracked, estimate);

  FeatureStatus status = gradientDescentSearch(targetCorner, *target, matrix, blocks);
  const Point2D result = targetCorner + halfWindow;
  if (finest && status == FeatureTracked) {
    feature.quality = calculateMatchQuality(blocks.source, blocks.sampled, blocks.size);
    const bool inFrame =
        result.x >= half && result.x <= target->width - half && result.y >= half && result.y <= target->height - half;
    if (feature.quality > residualThreshold) {
      status = FeatureLargeResidual;
    } else if (!inFrame) {
      status = FeatureOutOfBounds;
    }
  }
  storeIntermediateResult(index, status, result);
}

KLTTracker::GradientMatrix KLTTracker::calculateGradientMatrix(const WindowPosition& position, const FastArray& sourceX,
                                                               const FastArray& sourceY, const FastArray& source,
                                                               WindowBlocks& blocks) const {
  SampleWindow(source, position, window, blocks.patch, blocks.source);
  SampleWindow(sourceX, position, window, blocks.patch, blocks.gradientX);
  SampleWindow(sourceY, position, window, blocks.patch, blocks.gradientY);
  ClearPadding(blocks.gradientX, window);
  ClearPadding(blocks.gradientY, window);
  GradientMatrix matrix;
  SumGradientProducts(blocks.gradientX, blocks.gradientY, blocks.size, matrix.xx, matrix.yy, matrix.xy);
  return matrix;
}

// Newton's steps on the sum of squared differences. With e = source - target, gx and gy the source's gradients, and all
// sums over the window:
//     [gxx gxy] [dx]   [ex]      ex = sum of e gx
//     [gxy gyy] [dy] = [ey],     ey = sum of e gy
FeatureStatus KLTTracker::gradientDescentSearch(Point2D& corner, const FastArray& target, const GradientMatrix& matrix,
                                                WindowBlocks& blocks) const {
  const double inverseDeterminant = 1.0 / matrix.Determinant();
  Point2D before;
  for (int pass = 0; pass <= lastPass; ++pass) {
    WindowPosition position;
    if (!LocateWindow(corner, target.width, target.height, -window, 0, position)) return FeatureOutOfBounds;
    SampleWindow(target, position, window, blocks.patch, blocks.sampled);
    double ex = 0.0, ey = 0.0;
    SumErrorProducts(blocks.source, blocks.sampled, blocks.gradientX, blocks.gradientY, blocks.size, ex, ey);
    const Point2D step((ex * matrix.yy - ey * matrix.xy) * inverseDeterminant,
                       (ey * matrix.xx - ex * matrix.xy) * inverseDeterminant);
    corner += step;
    // A search that swings to and fro is halved back even if its last step was small enough to end it.
    if (pass > 0 && IsNothing(step.x + before.x, step.y + before.y)) {
      corner -= step * 0.5;
      return FeatureTracked;
    }
    if (IsNothing(step.x, step.y)) return FeatureTracked;
    before = step;
  }
  return FeatureTracked;  // out of passes is no failure: the residual tells
}

float KLTTracker::calculateMatchQuality(float* a, float* b, int size) const {
  ClearPadding(a, window);
  ClearPadding(b, window);
  const double scale = 255.0 / imageMax;
  return static_cast<float>(SumSquaredDifferences(a, b, size) * scale * scale / (window * window));
}

void KLTTracker::storeIntermediateResult(unsigned int index, FeatureStatus status, const Point2D& point) {
  if (index >= intermediate.size()) intermediate.resize(features.size());  // outside of a Track: nothing else runs
  intermediate[index].status = status;
  if (status == FeatureTracked) intermediate[index].point = point;
}

void KLTTracker::integrateIntermediateResults(int level, bool backward) {
  for (int i = 0; i < static_cast<int>(features.size()); ++i) integrateIntermediateResult(i, level, backward);
}

void KLTTracker::integrateIntermediateResults(int level, const std::vector<int>& selected) {
  for (const int index : selected) integrateIntermediateResult(index, level, true);
}

void KLTTracker::integrateIntermediateResult(int index, int level, bool backward) {
  Feature& feature = features[index];
  if (feature.status >= FeatureLargeResidual) return;
  LevelResult& result = intermediate[index];
  const bool found = result.status == FeatureTracked;
  std::vector<Point2D>& track = feature.track;
  if (level == levels - 1) {
    if (found) track.push_back(result.point);
  } else if (found) {
    track.back() = result.point;
  } else {
    track.pop_back();
  }
  if (backward && level == 0) {
    const auto last = track.end();
    if (found && Distance(last[-1], last[-3]) <= backwardTolerance) {
      track.pop_back();
    } else {
      if (found) result.status = FeatureLost;
      track.resize(track.size() - 2);
    }
  }
  feature.status = result.status;
}

void KLTTracker::collectSurvivors(std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses) {
  survivors.clear();
  for (Feature& feature : features) {
    if (feature.status != FeatureTracked) continue;
    ForgetOldest(feature);
    Point2D& point = survivors.emplace_back(feature.track.back());
    point.id = feature.id;
    point.weight = feature.quality;
  }
  points.assign(survivors.begin(), survivors.end());  // reuses the list's nodes
  statuses.assign(survivors.size(), FeatureStorage::TrackContinued);
}

}  // namespace Vorn
