#pragma once

#include <mutex>
#include <vector>

#include "imaging/FastArray.h"
#include "numerics/Matrix.h"
#include "numerics/PointSet.h"

/// Measures how a camera's automatic gain changed the brightness between two frames: small patches of the same piece of
/// the scene are compared by their means, I in the previous frame and J in the current one, and I = k J is fitted
/// through the origin by least squares, k = sum(I J) / sum(J J).
///
/// Lumas are float arrays of one size. The motion matrix maps the previous frame to the current one, about the origin
/// given in pixels. Patches that don't lie inside their frame with a pixel to spare at the right and the bottom are
/// left out silently.
class AGCComputer {
 public:
  AGCComputer() = default;

  void clear();

  /// The gain of frame `frame` from patches of 15 by 15 pixels all over it, each against where the motion came from.
  /// Returns `last_gain`, the gain of the frame before, times k; 1 if the current frame is black; `last_gain` if no
  /// patch could be used.
  float calculateFrame(int frame, const Vorn::FastArray* current, const Vorn::FastArray* previous,
                       const Vorn::Matrix* motion, float originx, float originy, float last_gain);

  /// The same from patches of `window` by `window` pixels about matched points, which are paired by their position in
  /// `cpoints` (current) and `ppoints` (previous). Only pairs that agree with the motion to within two pixels count.
  float calculateFrame(int frame, const Vorn::FastArray* current, const Vorn::FastArray* previous,
                       const Vorn::Matrix* motion, float originx, float originy, const Vorn::PointSet* cpoints,
                       const Vorn::PointSet* ppoints, float last_gain, int window);

  /// Adds the patch pair with its top-left corners at `cpoints[index]` and `ppoints[index]` to the sums. Safe to call
  /// from several threads.
  void calculateGain(unsigned index, const Vorn::FastArray* current, const Vorn::FastArray* previous,
                     const Vorn::PointSet* cpoints, const Vorn::PointSet* ppoints, int window);

  /// Adds one pair of patch means to the sums. Safe to call from several threads.
  void sumGainI(float i, float j);

  float sumJ = 0.0F;   ///< of J J
  float sumIJ = 0.0F;  ///< of I J
  int pointsUsed = 0;  ///< pairs that contributed
  std::mutex sum_values;

 private:
  struct PatchMeans {
    float previous, current;
    bool used;
  };
  static PatchMeans measure(const Vorn::FastArray& current, const Vorn::FastArray& previous,
                            const Vorn::Point2D& currentCorner, const Vorn::Point2D& previousCorner, int window);
  float gainOfCorners(const Vorn::FastArray& current, const Vorn::FastArray& previous, float last_gain, int window);

  Vorn::PointSet currentCorners, previousCorners;  // of the frame in hand; kept for their memory
  std::vector<PatchMeans> means;
};
