#pragma once

#include <vector>

#include "estimation/EstimationModel.h"
#include "numerics/SVD.h"

namespace Vorn {

/// The similarity with uniform scale, rotation and translation, called quasi-affine in this system: four parameters
/// (a, b, c, d) with x' = a x - b y + c and y' = b x + a y + d. Two points determine it.
class WeightedQuasiAffineModel : public EstimationModel {
 public:
  WeightedQuasiAffineModel();

  using EstimationModel::Evaluate;

  bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches) override;
  /// The least-squares solution; a direction that the points leave open gets coefficient 0. Always true.
  bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params) override;
  double Evaluate(const Point2D& a, const Point2D& b) const override;
  double Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) override;
  double Optimise(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params,
                  int maxIterations, bool verbose) override;
  void Project(const Point2D& in, Point2D& out) const override;
  void Project(const Point2D& in, Point2D& out, std::vector<double>& params) override;
  /// Fewer than two points, or all equal to the first one.
  bool IsDegenerate(PointSet& points) const override;
  bool IsDegenerate(const std::vector<double>& params) override;
  /// The inverse is rebuilt only from at least 4 parameters.
  void SetModel(std::vector<double>& params) override;

  SVD inverter;                       ///< 3 by 3, for the inverse mapping.
  std::vector<double> inverseParams;  ///< The parameters of the inverse mapping.

 private:
  bool squaredDistances(const MatchColumns& matches, const std::vector<double>& params,
                        double* distances) const override;
  void updateInverse();
};

}  // namespace Vorn
