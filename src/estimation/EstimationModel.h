#pragma once

#include <vector>

#include "numerics/MatchSet.h"
#include "numerics/Point2D.h"
#include "numerics/PointSet.h"

namespace Vorn {

/// The matches of one problem as columns, so that a trial's errors are plain loops over contiguous values. Entry k is
/// the match at position k; a match that `MatchSet::Remove` took out has no entry.
struct MatchColumns {
  void Fill(const PointSet& a, const PointSet& b, const MatchSet& matches);
  int Count() const { return static_cast<int>(x1.size()); }

  std::vector<double> x1, y1, x2, y2;  ///< The first points and the second ones.
  std::vector<double> weight;          ///< Of the second point.
  std::vector<int> unscored;           ///< The entries whose match has a score of 0 or less.
};

/// A motion model that the robust solvers fit to point matches. Coordinates are in any unit; errors are in its square.
///
/// The solvers call the operations with a `params` argument from several threads on one object: those write only their
/// arguments. All others use the members and belong to one thread.
class EstimationModel {
 public:
  virtual ~EstimationModel() = default;

  /// Fits `modelParams` in closed form to the matches, without weights, and sets the inverse mapping's parameters.
  /// False if the fit failed.
  virtual bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches) = 0;
  /// The same into `params` only. With n = `matches.Count()` the matches at positions 0 to n - 1 take part.
  virtual bool Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params) = 0;

  /// The symmetric weighted squared error of a pair under `modelParams`: the squared distances in the second image and,
  /// by the inverse mapping, in the first, times the weight of `b`.
  virtual double Evaluate(const Point2D& a, const Point2D& b) const = 0;
  /// The one-way weighted squared error under `params`: the squared distance from the projected `a` to `b`, times the
  /// weight of `b`.
  virtual double Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) = 0;

  /// Refines `params` by `LM` on the weighted residuals, in at most `maxIterations` iterations. The result is in the
  /// model (`GetModel`), not in `params`. Returns the final cost.
  virtual double Optimise(const PointSet& a, const PointSet& b, const MatchSet& matches, std::vector<double>& params,
                          int maxIterations, bool verbose) = 0;

  /// Maps `in` by `modelParams`; only the coordinates of `out` are written.
  virtual void Project(const Point2D& in, Point2D& out) const = 0;
  /// Maps `in` by `params`; only the coordinates of `out` are written.
  virtual void Project(const Point2D& in, Point2D& out, std::vector<double>& params) = 0;

  /// Whether the points of a minimal sample don't determine the model.
  virtual bool IsDegenerate(PointSet& points) const = 0;
  /// Whether fitted parameters describe a motion that no camera makes.
  virtual bool IsDegenerate(const std::vector<double>& /*params*/) { return false; }

  virtual std::vector<double> GetModel() { return modelParams; }
  /// Takes the parameters and rebuilds those of the inverse mapping.
  virtual void SetModel(std::vector<double>& params) { modelParams = params; }

  /// The sum of the symmetric pair errors under `modelParams` over all matches with a score above 0.
  double Evaluate(PointSet& a, PointSet& b, MatchSet& matches);
  /// The one-way pair error under `params` of each match, in match order; 0 for a match with a score of 0 or less,
  /// which makes it an inlier of any model.
  std::vector<double> Evaluate(PointSet& a, PointSet& b, MatchSet& matches, std::vector<double>& params);

  std::vector<double> modelParams;  ///< The present parameters.
  int minSamples = 1;               ///< Points of a minimal sample.
  double chiThreshold = 3.0;        ///< The squared factor of the inlier threshold.

 private:
  friend class RANSAC;

  /// The squared distance of each match's second point from its projected first point, without weight, into
  /// `distances` (one value a match). False if the model has no such loop, and must be asked pair by pair.
  virtual bool squaredDistances(const MatchColumns& /*matches*/, const std::vector<double>& /*params*/,
                                double* /*distances*/) const {
    return false;
  }
};

}  // namespace Vorn
