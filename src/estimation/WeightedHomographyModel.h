#pragma once

#include <vector>

#include "estimation/EstimationModel.h"
#include "numerics/SVD.h"

namespace Vorn {

/// The full projective motion: nine parameters, the matrix row by row in any scale. Five points are drawn for it.
class WeightedHomographyModel : public EstimationModel {
 public:
  WeightedHomographyModel();

  using EstimationModel::Evaluate;

  bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches) override;
  /// The direct linear transform (Hartley and Zisserman, "Multiple View Geometry", 4.1): the last right singular vector
  /// of its equations, not scaled to any norm. The caller normalises the points. Always true.
  bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params) override;
  double Evaluate(const Point2D& a, const Point2D& b) const override;
  double Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) override;
  double Optimise(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params,
                  int maxIterations, bool verbose) override;
  /// The third homogeneous coordinate isn't tested for 0.
  void Project(const Point2D& in, Point2D& out) const override;
  void Project(const Point2D& in, Point2D& out, std::vector<double>& params) override;
  /// Three or more points near the line through the first two, or through the third and fourth; see the source for
  /// what near means. Fewer than four points are degenerate.
  bool IsDegenerate(PointSet& points) const override;
  /// The area grows more than tenfold, shrinks to less than a tenth, or the image is mirrored.
  bool IsDegenerate(const std::vector<double>& params) override;
  /// The inverse is rebuilt only from at least 9 parameters.
  void SetModel(std::vector<double>& params) override;

  SVD inverter;                       ///< 3 by 3, for the inverse mapping.
  std::vector<double> inverseParams;  ///< The parameters of the inverse mapping.

 private:
  bool squaredDistances(const MatchColumns& matches, const std::vector<double>& params,
                        double* distances) const override;
  void updateInverse();
};

}  // namespace Vorn
