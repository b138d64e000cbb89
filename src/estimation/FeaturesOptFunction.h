#pragma once

#include <vector>

#include "estimation/LeastSquaresFunction.h"
#include "numerics/MatchSet.h"
#include "numerics/PointSet.h"

namespace Vorn {

/// The least-squares problem of fitting a motion model to point matches: two residuals a match, in x and in y. The
/// matches at positions 0 to `matches->Count()` - 1 take part. The sets are lent and must outlive their use here.
class FeaturesOptFunction : public LeastSquaresFunction {
 public:
  /// Without sets; the user sets the three pointers and `numResiduals`.
  explicit FeaturesOptFunction(unsigned int parameterCount) : LeastSquaresFunction(parameterCount) {}
  /// With `numResiduals` as twice the count of the matches.
  FeaturesOptFunction(unsigned int parameterCount, const PointSet& a, const PointSet& b, const MatchSet& m);

  /// As in the base class, by matches: the residuals of match k are at 2k (x) and 2k + 1 (y).
  double GetError(const std::vector<double>& params, std::vector<double>& residuals) override;

  /// Residual `index` of the match `index` / 2: x for an even index, y for an odd one. Always true if `Efeature` is.
  bool E(const std::vector<double>& params, int index, double& e) override;

  /// Both residuals of the match at position `match`. False if they don't count.
  virtual bool Efeature(const std::vector<double>& params, unsigned int match, double& ex, double& ey) = 0;

  const PointSet* points1 = nullptr;
  const PointSet* points2 = nullptr;
  const MatchSet* matches = nullptr;

 protected:
  /// The matches that take part: as many as have a positive score and, both residuals, a place in `numResiduals`.
  int matchCount() const;

  /// The points of the match at position `match`.
  void getPoints(unsigned int match, const Point2D*& a, const Point2D*& b) const;

  /// Writes the two rows that belong to the first point `p` of a match.
  using JacobianRows = void (*)(const std::vector<double>& params, const Point2D& p, double* rowX, double* rowY);
  void fillJacobian(const std::vector<double>& params, JacobianRows writeRows, Matrix& j) const;
};

// The four problems. The parameters are those of the models: (a, b, c, d) of x' = a x - b y + c, y' = b x + a y + d,
// and the nine elements of the homography row by row. `Efeature` and `E` are always true. The Jacobians are analytic
// and know neither the weights nor the clipping, so a clipped residual pushes with the full slope; this is meant.

/// (projected - observed) times the second point's `weight`.
class WeightedQuasiAffineFeatureOpt : public FeaturesOptFunction {
 public:
  WeightedQuasiAffineFeatureOpt() : FeaturesOptFunction(4) {}
  WeightedQuasiAffineFeatureOpt(const PointSet& a, const PointSet& b, const MatchSet& m)
      : FeaturesOptFunction(4, a, b, m) {}
  void CalculateJacobian(const std::vector<double>& params, Matrix& j) override;
  bool Efeature(const std::vector<double>& params, unsigned int match, double& ex, double& ey) override;
};

/// (projected - observed) times the second point's `weight`.
class WeightedHomographyFeatureOpt : public FeaturesOptFunction {
 public:
  WeightedHomographyFeatureOpt() : FeaturesOptFunction(9) {}
  WeightedHomographyFeatureOpt(const PointSet& a, const PointSet& b, const MatchSet& m)
      : FeaturesOptFunction(9, a, b, m) {}
  void CalculateJacobian(const std::vector<double>& params, Matrix& j) override;
  bool Efeature(const std::vector<double>& params, unsigned int match, double& ex, double& ey) override;
};

/// Projected - observed, each clipped to the range -2 to 2.
class RobustQuasiAffineFeatureOpt : public FeaturesOptFunction {
 public:
  RobustQuasiAffineFeatureOpt() : FeaturesOptFunction(4) {}
  RobustQuasiAffineFeatureOpt(const PointSet& a, const PointSet& b, const MatchSet& m)
      : FeaturesOptFunction(4, a, b, m) {}
  void CalculateJacobian(const std::vector<double>& params, Matrix& j) override;
  bool Efeature(const std::vector<double>& params, unsigned int match, double& ex, double& ey) override;
};

/// Projected - observed, each clipped to the range -2 to 2.
class RobustHomographyFeatureOpt : public FeaturesOptFunction {
 public:
  RobustHomographyFeatureOpt() : FeaturesOptFunction(9) {}
  RobustHomographyFeatureOpt(const PointSet& a, const PointSet& b, const MatchSet& m)
      : FeaturesOptFunction(9, a, b, m) {}
  void CalculateJacobian(const std::vector<double>& params, Matrix& j) override;
  bool Efeature(const std::vector<double>& params, unsigned int match, double& ex, double& ey) override;
};

}  // namespace Vorn
