#pragma once

#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include "estimation/EstimationModel.h"

namespace Vorn {

/// A model of one parameter whose fit and errors a test writes down.
class ScriptedModel : public EstimationModel {
 public:
  using EstimationModel::Evaluate;
  using EstimationModel::IsDegenerate;

  explicit ScriptedModel(int samples) { minSamples = samples; }

  bool Estimate(const PointSet&, const PointSet&, const MatchSet&) override { return false; }
  bool Estimate(const PointSet& a, const PointSet&, const MatchSet&, std::vector<double>& params) override {
    if (!fits) return false;
    params = {a[0].x};
    return true;
  }
  double Evaluate(const Point2D& a, const Point2D& b) const override { return error(modelParams[0], a, b); }
  double Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) override {
    return error(params[0], a, b);
  }
  double Optimise(const PointSet&, const PointSet&, const MatchSet&, std::vector<double>&, int, bool) override {
    return 0;
  }
  void Project(const Point2D& in, Point2D& out) const override { out = in; }
  void Project(const Point2D& in, Point2D& out, std::vector<double>&) override { out = in; }
  bool IsDegenerate(PointSet&) const override { return false; }

  bool fits = true;
  std::function<double(double param, const Point2D& a, const Point2D& b)> error = [](double, const Point2D&,
                                                                                     const Point2D&) { return 0.0; };
};

/// Point k of both sets lies at (k, 0), and match k pairs them.
struct NumberedMatches {
  explicit NumberedMatches(int count) {
    for (int k = 0; k < count; ++k) {
      a.Add({static_cast<double>(k), 0});
      b.Add({static_cast<double>(k), 0});
      matches.AddMatch(k, k, 1.0);
    }
  }
  PointSet a, b;
  MatchSet matches;
};

}  // namespace Vorn
