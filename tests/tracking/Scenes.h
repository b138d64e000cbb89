#pragma once

#include <cmath>
#include <functional>
#include <list>
#include <random>
#include <vector>

#include "imaging/ArrayPyramid.h"
#include "imaging/FastArray.h"
#include "numerics/Point2D.h"
#include "tracking/FeatureStorage.h"
#include "tracking/KLTTracker.h"

namespace Vorn {

/// A frame from a function of the pixel's x and y.
inline FastArray FrameOf(int width, int height, const std::function<double(double, double)>& scene) {
  FastArray frame(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) frame(x, y) = static_cast<float>(scene(x, y));
  return frame;
}

inline FastArray ConstantFrame(int width, int height, float value) {
  return FrameOf(width, height, [=](double, double) { return value; });
}

/// 128 + 50 sin((x - dx) / 6) + 50 cos((y - dy) / 5): exact at any shift.
inline FastArray WavesMovedBy(double dx, double dy, int width = 160, int height = 120) {
  return FrameOf(width, height, [=](double x, double y) {
    return 128.0 + 50.0 * std::sin((x - dx) / 6.0) + 50.0 * std::cos((y - dy) / 5.0);
  });
}

/// Every pixel on its own, whole numbers from 0 to 255.
inline FastArray NoiseFrame(int width, int height, unsigned seed) {
  std::mt19937 generator(seed);
  FastArray frame(width, height);
  for (int i = 0; i < width * height; ++i) frame.data[i] = static_cast<float>(generator() % 256);
  return frame;
}

/// A tracker with its two lists.
struct Tracking {
  Tracking(int width, int height, int levels, int maxFeatures = 500, int window = 15) {
    tracker.SetOptions(maxFeatures, window, levels, 200.0F, 80, false);
    tracker.Initialise(width, height);
  }

  /// Starts with features at exactly these points, ids from 0 on, and detects none.
  void StartAt(FastArray& frame, const std::vector<Point2D>& at) {
    points.assign(at.begin(), at.end());
    int id = 0;
    for (Point2D& point : points) point.id = id++;
    tracker.maxFeatures = static_cast<int>(at.size());
    ArrayPyramid pyramid(frame, tracker.levels, true);
    tracker.Start(pyramid, points, statuses, true);
  }

  void StartDetecting(FastArray& frame) {
    ArrayPyramid pyramid(frame, tracker.levels, true);
    tracker.Start(pyramid, points, statuses, false);
  }

  bool Track(FastArray& current, FastArray& previous, bool verifyAll = false, bool verifySelected = false,
             const Matrix& prediction = Matrix::GetIdentity(3)) {
    ArrayPyramid now(current, tracker.levels, true), before(previous, tracker.levels, true);
    return tracker.Track(now, before, prediction, points, statuses, verifyAll, verifySelected);
  }

  FeatureStatus StatusOf(int index) const { return tracker.features[index].status; }

  KLTTracker tracker;
  std::list<Point2D> points;
  std::vector<FeatureStorage::TrackStatus> statuses;
};

}  // namespace Vorn
