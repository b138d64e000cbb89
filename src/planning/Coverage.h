#pragma once

#include <memory>
#include <vector>

#include "analysis/HomographySet.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Quadrilateral.h"
#include "numerics/Rectangle.h"
#include "planning/Mosaic.h"

namespace Vorn {

/// Chooses which neighbouring frames are worth looking at to fill one output frame: those that stand apart from one
/// another, since frames on top of each other add nothing.
class Coverage {
 public:
  explicit Coverage(int newCapacity) : capacity(newCapacity) {}

  /// Registers the motion, matrices from each frame to a common plane. `newWidth`, `newHeight`: a frame's pixels.
  void SetMotion(const HomographySet* motion, int newWidth, int newHeight);
  /// Bases the plane on another matrix (`Mosaic::ReprojectMatrices`). Nothing without a motion.
  void Reproject(const Matrix& reference);
  /// Selects around `current`, within `low` to `high`; the ends of the range are always offered. Returns how many
  /// frames `frames` holds then. The rectangle and the float play no part. 0 without a motion.
  int CalculateCoverage(const Rectangle& border, int current, int low, int high, float unused);
  /// Those of the selected frames but the current one that cover a position, which they put into `points`.
  std::vector<int> InFrames(double x, double y, std::vector<Point2D>& points) const;
  /// The sum of the distances between corresponding corners.
  double CalculateQuadDistance(const Quadrilateral& a, const Quadrilateral& b) const;

  std::unique_ptr<Mosaic> mosaic;                    ///< null until the first `SetMotion`
  Matrix displayTransform = Matrix::GetIdentity(3);  ///< from the reference frame to the output
  int width = 640, height = 480;
  Point2D origin;
  std::vector<int> frames;          ///< the selection, the current frame first
  std::vector<int> previousFrames;  ///< the earlier selection without its current frame
  double separation = 15.0;         ///< pixels; stored only, the choice has its own constant
  int limit = 100;                  ///< stored only
  int capacity;                     ///< stored only

 private:
  Point2D positionOf(int frame, int current) const;
  void takeIfApart(int frame, int current, std::vector<Point2D>& seen);
};

}  // namespace Vorn
