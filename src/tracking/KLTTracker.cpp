#include "tracking/KLTTracker.h"

#include <algorithm>
#include <new>

#include "imaging/Sobel.h"

namespace Vorn {
namespace {

constexpr double sobelScale = 0.125;      // a ramp of slope 1 gives 1
constexpr double givenQuality = 10000.0;  // of features that came from outside

/// A feature that was at `point`, already found.
Feature TrackedAt(const Point2D& point) {
  Feature feature;
  feature.id = point.id;
  feature.status = FeatureTracked;
  feature.track.push_back(point);
  return feature;
}

}  // namespace

void KLTTracker::Clear() {
  FeatureTracker::Clear();
  features.clear();
  nextFeatureId = 0;
  framesTracked = 0;
  verifyAll = true;
  verifySelected = verifying = gradientsCurrent = false;
}

bool KLTTracker::SetOptions(int budget, int windowSize, int levelCount, float smallestEigenvalue, int range,
                            bool blocks) {
  if (budget <= 0 || windowSize <= 0) return false;
  maxFeatures = budget;
  window = windowSize;
  levels = levelCount;
  minEigenvalue = smallestEigenvalue;
  maxRange = static_cast<float>(range);
  blockMode = blocks;
  return true;
}

bool KLTTracker::Initialise(int width, int height) {
  if (width < 0 || height < 0) return false;
  try {
    gradientX.Resize(width, height);
    gradientY.Resize(width, height);
    sizeGradientPyramids();
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

void KLTTracker::Start(ArrayPyramid& pyramid, std::list<Point2D>& points,
                       std::vector<FeatureStorage::TrackStatus>& statuses, bool resume) {
  features.clear();
  nextFeatureId = 0;
  framesTracked = 0;
  gradientsCurrent = false;
  if (resume) resumeFeatures(pyramid[0], points, statuses);
  if (static_cast<int>(features.size()) < maxFeatures) {
    DetectFeatures(pyramid[0], points, statuses, true);
  } else {
    getGradients(&pyramid[0], &gradientX, &gradientY);
    sizeGradientPyramids();
  }
}

void KLTTracker::resumeFeatures(const FastArray&, std::list<Point2D>& points,
                                std::vector<FeatureStorage::TrackStatus>& statuses) {
  for (const Point2D& point : points) {
    features.push_back(TrackedAt(point));
    nextFeatureId = std::max(nextFeatureId, point.id + 1);
  }
  points.clear();
  statuses.clear();
}

void KLTTracker::Replenish(FastArray& frame, std::list<Point2D>& points,
                           std::vector<FeatureStorage::TrackStatus>& statuses) {
  points.clear();
  statuses.clear();
  DetectFeatures(frame, points, statuses, false);
}

bool KLTTracker::AddFeatures(const PointSet& points, int frame, const FastArray* image) {
  for (unsigned int i = 0; i < points.numPoints; ++i) {
    features.push_back(TrackedAt(points[i]));
    features.back().start = frame;
    features.back().quality = givenQuality;
  }
  if (image != nullptr) getGradients(image, &gradientX, &gradientY);
  sizeGradientPyramids();
  return true;
}

int KLTTracker::CountActive() const {
  return static_cast<int>(std::count_if(features.begin(), features.end(),
                                        [](const Feature& feature) { return feature.status == FeatureTracked; }));
}

void KLTTracker::getGradients(const FastArray* frame, FastArray* x, FastArray* y) {
  x->Resize(frame->width, frame->height);
  y->Resize(frame->width, frame->height);
  Sobel sobel;
  sobel.Filter(*frame, *x, 1, sobelScale);
  sobel.Filter(*frame, *y, 0, sobelScale);
}

void KLTTracker::sizeGradientPyramids() {
  if (!gradientPyramidX || !gradientPyramidY || gradientPyramidX->levels != levels) {
    gradientPyramidX = std::make_unique<ArrayPyramid>(gradientX, levels, false);
    gradientPyramidY = std::make_unique<ArrayPyramid>(gradientY, levels, false);
  } else {
    gradientPyramidX->Generate(gradientX, false);
    gradientPyramidY->Generate(gradientY, false);
  }
}

}  // namespace Vorn
