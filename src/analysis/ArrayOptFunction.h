#pragma once

#include <vector>

#include "estimation/LeastSquaresFunction.h"
#include "imaging/FastArray.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"

/// The bilinear blend of the four pixels around (x, y), each row's two first; 0 if the pixel above and left of the
/// place is outside the array. A neighbour to the right or below that isn't there counts as its inner one.
float bilinearInterpolate(const Vorn::FastArray* array, float x, float y);

/// The least-squares problem of aligning one image with another: one residual for each pixel of `region`, row by row,
/// the difference of the grey values that a motion brings together. The work goes by stripes of rows to all processors.
class ArrayOptFunction : public Vorn::LeastSquaresFunction {
 public:
  explicit ArrayOptFunction(unsigned int parameterCount);

  /// Both are lent. Pixels nearer than `border` to an edge of `fixed` take no part. With `useCentre` set the motion
  /// acts about the middle of `moving`, in whole pixels.
  void SetArrays(Vorn::FastArray& movingArray, Vorn::FastArray& fixedArray, int border);

  /// Analytic derivatives; `j` as in the base class.
  void CalculateJacobian(const std::vector<double>& params, Vorn::Matrix& j) override;
  double GetError(const std::vector<double>& params, std::vector<double>& residuals) override;

  /// The residuals of stripe `stripe`, that is, of the region's `rowsPerStripe` rows from row `stripe` *
  /// `rowsPerStripe` on, as far as the region goes, into their places in `residuals`; 0 for pixels that don't count.
  /// Adds to `validCount` and `totalError`. Safe to call from several threads for different stripes.
  virtual void GetElementError(unsigned long stripe, int rowsPerStripe, const std::vector<double>& params,
                               std::vector<double>& residuals) = 0;
  /// The Jacobian's rows for the same pixels; those of pixels that don't count stay as they are.
  virtual void CalculateJacobianRows(unsigned long stripe, int rowsPerStripe, const std::vector<double>& params,
                                     Vorn::Matrix& j) = 0;

  Vorn::FastArray* moving = nullptr;   ///< What is sampled through the motion: the current frame.
  Vorn::FastArray* fixed = nullptr;    ///< What gives the pixel grid: the previous frame.
  Vorn::Rectangle region{0, 0, 0, 0};  ///< The pixels of `fixed` that take part.
  int regionWidth = 1;                 ///< Pixels in a row of `region`.
  bool useCentre = false;              ///< The motion acts about `centre`, else about (0, 0).
  Vorn::Point2D centre{0.0, 0.0};

 protected:
  struct Rows {
    int first, end;  // `end` excluded
  };
  /// The rows of `fixed` that belong to a stripe.
  Rows rowsOf(unsigned long stripe, int rowsPerStripe) const;
  /// The residual's index of the first pixel of a row of `fixed`.
  size_t indexOf(int row) const { return static_cast<size_t>(row - region.tly) * regionWidth; }

 private:
  int regionHeight() const { return region.bry - region.tly + 1; }
  int rowsPerStripe() const;
};

/// Alignment by the similarity (a, b, c, d): x' = a u - b v + c, y' = b u + a v + d, where (u, v) is the pixel as seen
/// from `centre`, and (x', y') too. A pixel counts if it comes to lie at least one pixel inside `region`.
class QuasiAffineArrayOpt : public ArrayOptFunction {
 public:
  QuasiAffineArrayOpt() : ArrayOptFunction(4) {}

  bool E(const std::vector<double>& params, int index, double& e) override;
  void GetElementError(unsigned long stripe, int rowsPerStripe, const std::vector<double>& params,
                       std::vector<double>& residuals) override;
  void CalculateJacobianRows(unsigned long stripe, int rowsPerStripe, const std::vector<double>& params,
                             Vorn::Matrix& j) override;

 private:
  bool project(const std::vector<double>& params, int x, int y, double& px, double& py) const;
  double residualAt(double px, double py, int x, int y) const;
};
