#include "estimation/WeightedQuasiAffineModel.h"

#include <algorithm>

#include "estimation/FeaturesOptFunction.h"
#include "estimation/LM.h"
#include "numerics/Geometry.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

constexpr int parameterCount = 4;

// The equations of n matches: design * (a, b, c, d) = observed.
struct FitWorkspace {
  explicit FitWorkspace(int n) : design(2 * n, parameterCount), observed(2 * n), svd(2 * n, parameterCount) {}

  void shape(int n) {
    if (design.rows != static_cast<unsigned int>(2 * n)) design.Resize(2 * n, parameterCount);
    observed.resize(2 * n);
  }

  Matrix design;
  std::vector<double> observed;
  SVD svd;
};

void FillEquations(const PointSet& a, const PointSet& b, const MatchSet& matches, int n, FitWorkspace& work) {
  for (int k = 0; k < n; ++k) {
    int first = 0, second = 0;
    matches.GetMatchedPair(k, first, second);
    const Point2D &p = a[first], &q = b[second];
    const double rows[] = {p.x, -p.y, 1.0, 0.0, p.y, p.x, 0.0, 1.0};
    std::copy_n(rows, 2 * parameterCount, &work.design(2 * k, 0));
    work.observed[2 * k] = q.x;
    work.observed[2 * k + 1] = q.y;
  }
}

// V * diag(1 / w) * U^T * observed, with 0 for a singular value of exactly 0.
void SolveByPseudoInverse(const FitWorkspace& work, std::vector<double>& params) {
  const Matrix &u = *work.svd.U, &v = *work.svd.V;
  params.assign(parameterCount, 0.0);
  const unsigned int ranks = std::min({u.columns, v.columns, static_cast<unsigned int>(parameterCount)});
  for (unsigned int i = 0; i < ranks; ++i) {
    const double w = work.svd.w[i];
    if (w == 0.0) continue;
    double c = 0;
    for (unsigned int k = 0; k < u.rows; ++k) c += u(k, i) * work.observed[k];
    c /= w;
    for (unsigned int p = 0; p < parameterCount; ++p) params[p] += v(p, i) * c;
  }
}

bool Fit(const PointSet& a, const PointSet& b, const MatchSet& matches, int n, FitWorkspace& work,
         std::vector<double>& params) {
  FillEquations(a, b, matches, n, work);
  work.svd.Calculate(work.design);
  SolveByPseudoInverse(work, params);
  return true;
}

void Move(const std::vector<double>& q, const Point2D& in, Point2D& out) {
  const double x = q[0] * in.x - q[1] * in.y + q[2];
  out.y = q[1] * in.x + q[0] * in.y + q[3];
  out.x = x;
}

VORN_VECTOR_CLONES
void SquaredDistances(double a, double b, double c, double d, const double* x1, const double* y1, const double* x2,
                      const double* y2, int n, double* __restrict__ distances) {
  for (int k = 0; k < n; ++k) {
    const double dx = a * x1[k] - b * y1[k] + c - x2[k];
    const double dy = b * x1[k] + a * y1[k] + d - y2[k];
    distances[k] = dx * dx + dy * dy;
  }
}

}  // namespace

WeightedQuasiAffineModel::WeightedQuasiAffineModel() : inverter(3, 3) {
  minSamples = 2;
  chiThreshold = 5.99;
}

bool WeightedQuasiAffineModel::Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches) {
  if (!Estimate(a, b, matches, modelParams)) return false;
  updateInverse();
  return true;
}

bool WeightedQuasiAffineModel::Estimate(const PointSet& a, const PointSet& b, const MatchSet& matches,
                                        std::vector<double>& params) {
  const int n = static_cast<int>(matches.Count());
  if (n == 0) {  // no equations: every coefficient is 0
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

double WeightedQuasiAffineModel::Evaluate(const Point2D& a, const Point2D& b) const {
  Point2D forward, backward;
  Move(modelParams, a, forward);
  Move(inverseParams, b, backward);
  const double d1 = Distance(forward, b), d2 = Distance(backward, a);
  return (d2 * d2 + d1 * d1) * b.weight;
}

double WeightedQuasiAffineModel::Evaluate(const Point2D& a, const Point2D& b, std::vector<double>& params) {
  Point2D projected;
  Move(params, a, projected);
  const double d = Distance(projected, b);
  return d * d * b.weight;
}

double WeightedQuasiAffineModel::Optimise(const PointSet& a, const PointSet& b, const MatchSet& matches,
                                          std::vector<double>& params, int maxIterations, bool verbose) {
  if (&params != &modelParams) modelParams = params;
  WeightedQuasiAffineFeatureOpt problem(a, b, matches);
  LM minimiser(problem);
  minimiser.maxIterations = maxIterations;
  const double cost = minimiser.Optimise(modelParams, verbose);
  SetModel(modelParams);
  return cost;
}

void WeightedQuasiAffineModel::Project(const Point2D& in, Point2D& out) const { Move(modelParams, in, out); }

void WeightedQuasiAffineModel::Project(const Point2D& in, Point2D& out, std::vector<double>& params) {
  Move(params, in, out);
}

bool WeightedQuasiAffineModel::IsDegenerate(PointSet& points) const {
  if (points.numPoints < 2) return true;
  return std::all_of(points.points.begin(), points.points.end(),
                     [&points](const Point2D& p) { return p == points[0]; });
}

bool WeightedQuasiAffineModel::IsDegenerate(const std::vector<double>& /*params*/) { return false; }

void WeightedQuasiAffineModel::SetModel(std::vector<double>& params) {
  modelParams = params;
  if (modelParams.size() >= parameterCount) updateInverse();
}

void WeightedQuasiAffineModel::updateInverse() {
  const std::vector<double>& q = modelParams;
  Matrix forward(3, 3);
  forward = std::vector<double>{q[0], -q[1], q[2], q[1], q[0], q[3], 0.0, 0.0, 1.0};
  inverter.Calculate(forward);
  const Matrix inverse = inverter.Inverse();
  inverseParams = {inverse(0, 0), inverse(1, 0), inverse(0, 2), inverse(1, 2)};
}

bool WeightedQuasiAffineModel::squaredDistances(const MatchColumns& matches, const std::vector<double>& params,
                                                double* distances) const {
  SquaredDistances(params[0], params[1], params[2], params[3], matches.x1.data(), matches.y1.data(), matches.x2.data(),
                   matches.y2.data(), matches.Count(), distances);
  return true;
}

}  // namespace Vorn
