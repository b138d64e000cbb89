#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "numerics/MatchSet.h"
#include "numerics/Parallel.h"
#include "numerics/PointSet.h"
#include "numerics/Random.h"

namespace Vorn {

/// The part of the plane that points are planted in.
struct Field {
  double left, top, width, height;
};

inline constexpr Field inPixels = {0, 0, 1920, 1080};
/// About the centre, in hundreds of pixels: a conditioning like that of normalised points, in which the minimiser of
/// homographies is at home.
inline constexpr Field inHundreds = {-9.6, -5.4, 19.2, 10.8};

/// Points moved by a known homography, with noise, some of them put to a wrong place.
struct PlantedMatches {
  PointSet a, b;
  MatchSet matches;
  std::vector<bool> isOutlier;
};

inline Point2D MovedBy(const std::vector<double>& h, double x, double y) {
  const double w = h[6] * x + h[7] * y + h[8];
  return {(h[0] * x + h[1] * y + h[2]) / w, (h[3] * x + h[4] * y + h[5]) / w};
}

/// An outlier is off by more than 300 pixels in both axes.
inline PlantedMatches Plant(int count, double outlierRatio, double noise, const std::vector<double>& h,
                            unsigned int seed = 7, const Field& field = inPixels) {
  PlantedMatches planted;
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> jitter(0, 1);
  for (int k = 0; k < count; ++k) {
    const double x = field.left + field.width * unit(random), y = field.top + field.height * unit(random);
    const Point2D moved = MovedBy(h, x, y);
    const bool isOutlier = unit(random) < outlierRatio;
    const double dx = field.width * (0.16 + unit(random) / 4), dy = -field.height * (0.28 + unit(random) / 4);
    const double ex = noise * jitter(random), ey = noise * jitter(random);
    planted.a.Add({x, y});
    planted.b.Add({moved.x + ex + (isOutlier ? dx : 0), moved.y + ey + (isOutlier ? dy : 0)});
    planted.matches.AddMatch(k, k, 1.0);
    planted.isOutlier.push_back(isOutlier);
  }
  return planted;
}

/// Quasi-affine parameters as a homography.
inline std::vector<double> AsHomography(const std::vector<double>& q) {
  return {q[0], -q[1], q[2], q[1], q[0], q[3], 0, 0, 1};
}

/// The largest distance between what two homographies make of a grid over the field.
inline double LargestDifference(const std::vector<double>& h, const std::vector<double>& g,
                                const Field& field = inPixels) {
  double largest = 0;
  for (int i = 0; i < 25; ++i) {
    const double x = field.left + field.width * (i % 5) / 4, y = field.top + field.height * (i / 5) / 4;
    const Point2D p = MovedBy(h, x, y), q = MovedBy(g, x, y);
    largest = std::max(largest, std::hypot(p.x - q.x, p.y - q.y));
  }
  return largest;
}

/// A fixed seed and one processor, so that a solve repeats exactly.
class RepeatableSolve : public testing::Test {
 protected:
  RepeatableSolve() {
    SetRandomSeed(1);
    SetProcessorCount(1);
  }
  ~RepeatableSolve() override { SetProcessorCount(0); }
};

}  // namespace Vorn
