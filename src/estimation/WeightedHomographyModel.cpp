#include "estimation/WeightedHomographyModel.h"

#include <algorithm>
#include <cmath>

#include "estimation/FeaturesOptFunction.h"
#include "estimation/LM.h"
#include "numerics/GaussianElimination.h"
#include "numerics/Geometry.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

constexpr int parameterCount = 9;

// The equations of n matches: design * h = 0.
struct FitWorkspace {
  explicit FitWorkspace(int n) : design(2 * n, parameterCount), svd(2 * n, parameterCount) {}

  void shape(int n) {
    if (design.rows != static_cast<unsigned int>(2 * n)) design.Resize(2 * n, parameterCount);
  }

  Matrix design;
  SVD svd;
};

void FillEquations(const PointSet& a, const PointSet& b, const MatchSet& matches, int n, Matrix& design) {
  for (int k = 0; k < n; ++k) {
    int first = 0, second = 0;
    matches.GetMatchedPair(k, first, second);
    const double x = a[first].x, y = a[first].y, u = b[second].x, v = b[second].y;
    const double rows[] = {x,   y,   1.0, 0.0, 0.0, 0.0, -u * x, -u * y, -u,  //
                           0.0, 0.0, 0.0, x,   y,   1.0, -v * x, -v * y, -v};
    std::copy_n(rows, 2 * parameterCount, &design(2 * k, 0));
  }
}

bool Fit(const PointSet& a, const PointSet& b, const MatchSet& matches, int n, FitWorkspace& work,
         std::vector<double>& params) {
  FillEquations(a, b, matches, n, work.design);
  work.svd.Calculate(work.design);
  const Matrix& v = *work.svd.V;
  params.resize(parameterCount);
  for (unsigned int p = 0; p < parameterCount; ++p) params[p] = v(p, v.columns - 1);
  return true;
}

void Move(const std::vector<double>& h, const Point2D& in, Point2D& out) {
  const double w = h[6] * in.x + h[7] * in.y + h[8];
  const double x = (h[0] * in.x + h[1] * in.y + h[2]) / w;
  out.y = (h[3] * in.x + h[4] * in.y + h[5]) / w;
  out.x = x;
}

VORN_VECTOR_CLONES
void SquaredDistances(const double* h, const double* x1, const double* y1, const double* x2, const double* y2, int n,
                      double* __restrict__ distances) {
  const double h0 = h[0], h1 = h[1], h2 = h[2], h3 = h[3], h4 = h[4], h5 = h[5], h6 = h[6], h7 = h[7], h8 = h[8];
  for (int k = 0; k < n; ++k) {
    const double w = h6 * x1[k] + h7 * y1[k] + h8;
    const double dx = (h0 * x1[k] + h1 * y1[k] + h2) / w - x2[k];
    const double dy = (h3 * x1[k] + h4 * y1[k] + h5) / w - y2[k];
    distances[k] = dx * dx + dy * dy;
  }
}

struct SlopeLine {
  double slope, offset;  // y = slope * x + offset
};

bool LineThrough(const Point2D& p, const Point2D& q, SlopeLine& line) {
  Matrix equations(2, 2);
  equations = std::vector<double>{p.x, 1.0, q.x, 1.0};
  std::vector<double> heights = {p.y, q.y}, solution;
  if (!GaussianElimination().Solve(equations, solution, heights)) return false;
  line = {solution[0], solution[1]};
  return true;
}

// The offset is added where it should be subtracted, so only lines through the origin are found; kept, since a stricter
// test would refuse samples that have always been accepted.
int CountNear(const SlopeLine& line, const PointSet& points) {
  return static_cast<int>(std::count_if(points.points.begin(), points.points.end(), [&line](const Point2D& p) {
    return std::fabs(p.y - line.slope * p.x + line.offset) < 0.001;
  }));
}

}  // namespace

WeightedHomographyModel::WeightedHomographyModel() : inverter(3, 3) {
  minSamples = 5;
  chiThreshold = 5.99;
}

bool WeightedHomographyModel::Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches) {
  if (!Estimate(a, b, matches, modelParams)) return false;
  updateInverse();
  return true;
}

bool WeightedHomographyModel::Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches,
                                       std::vector<double>& params) {
  const int n = static_cast<int>(matches.Count());
  if (n == 0) {  // no equations: nothing to decompose
    params.assign(parameterCount, 0.0);
    return true;
  }
  if (n > minSamples) {
    FitWorkspace work(n);
    return Fit(a, b, matches, n, work, params);
  }
  // Trials fit samples of one size over and over: each thread keeps the storage for them.
  thread_local FitWorkspace ofSample(n);
  ofSample.shape(n);
  return Fit(a, b, matches, n, ofSample, params);
}

double WeightedHomographyModel::Evaluate(const Point2D& a, const Point2D& b) const {
  Point2D forward, backward;
  Move(modelParams, a, forward);
  Move(inverseParams, b, backward);
  const double d1 = Distance(forward, b), d2 = Distance(backward, a);
  return (d2 * d2 + d1 * d1) * b.weight;
}

double WeightedHomographyModel::Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) {
  Point2D projected;
  Move(params, a, projected);
  const double d = Distance(projected, b);
  return d * d * b.weight;
}

double WeightedHomographyModel::Optimise(const PointSet& a, const PointSet& b, const MatchSet& matches,
                                         std::vector<double>& params, int maxIterations, bool verbose) {
  if (&params != &modelParams) modelParams = params;
  WeightedHomographyFeatureOpt problem(a, b, matches);
  LM minimiser(problem);
  minimiser.maxIterations = maxIterations;
  const double cost = minimiser.Optimise(modelParams, verbose);
  SetModel(modelParams);
  return cost;
}

void WeightedHomographyModel::Project(const Point2D& in, Point2D& out) const { Move(modelParams, in, out); }

void WeightedHomographyModel::Project(const Point2D& in, Point2D& out, std::vector<double>& params) {
  Move(params, in, out);
}

bool WeightedHomographyModel::IsDegenerate(PointSet& points) const {
  if (points.numPoints < 4) return true;
  SlopeLine line = {};
  if (!LineThrough(points[0], points[1], line)) return false;
  if (CountNear(line, points) >= 3) return true;
  return LineThrough(points[2], points[3], line) && CountNear(line, points) > 2;
}

bool WeightedHomographyModel::IsDegenerate(const std::vector<double>& params) {
  double h[parameterCount];
  for (int i = 0; i < parameterCount; ++i) h[i] = params[i] / params[8];
  const double determinant =
      h[0] * (h[4] * h[8] - h[5] * h[7]) - h[1] * (h[3] * h[8] - h[5] * h[6]) + h[2] * (h[3] * h[7] - h[4] * h[6]);
  return determinant > 10.0 || determinant < 0.1;
}

void WeightedHomographyModel::SetModel(std::vector<double>& params) {
  modelParams = params;
  if (modelParams.size() >= parameterCount) updateInverse();
}

void WeightedHomographyModel::updateInverse() {
  Matrix forward(3, 3);
  forward = modelParams;
  inverter.Calculate(forward);
  inverter.Inverse().GetAsVector(inverseParams);
}

bool WeightedHomographyModel::squaredDistances(const MatchColumns& matches, const std::vector<double>& params,
                                               double* distances) const {
  SquaredDistances(params.data(), matches.x1.data(), matches.y1.data(), matches.x2.data(), matches.y2.data(),
                   matches.Count(), distances);
  return true;
}

}  // namespace Vorn
