#include "estimation/FeaturesOptFunction.h"

#include <algorithm>

namespace Vorn {
namespace {

struct Projection {
  double x, y;
};

Projection MoveQuasiAffine(const std::vector<double>& q, const Point2D& p) {
  return {q[0] * p.x - q[1] * p.y + q[2], q[1] * p.x + q[0] * p.y + q[3]};
}

Projection MoveByHomography(const std::vector<double>& h, const Point2D& p) {
  const double w = h[6] * p.x + h[7] * p.y + h[8];
  return {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
}

double Clip(double e) {
  constexpr double limit = 2.0;
  if (e < -limit) return -limit;
  return e > limit ? limit : e;
}

// Rows 2k and 2k + 1 of the quasi-affine Jacobian: the derivatives of x' and y' by a, b, c, d.
void QuasiAffineRows(const std::vector<double>& /*q*/, const Point2D& p, double* rowX, double* rowY) {
  const double x[] = {p.x, -p.y, 1.0, 0.0}, y[] = {p.y, p.x, 0.0, 1.0};
  std::copy_n(x, 4, rowX);
  std::copy_n(y, 4, rowY);
}

// The same for the homography. The last three terms have one factor 1/w where the exact derivative has two; meant, and
// harmless near w = 1.
void HomographyRows(const std::vector<double>& h, const Point2D& p, double* rowX, double* rowY) {
  const double n1 = h[0] * p.x + h[1] * p.y + h[2], n2 = h[3] * p.x + h[4] * p.y + h[5];
  const double w = h[6] * p.x + h[7] * p.y + h[8];
  const double u = p.x / w, v = p.y / w, s = 1.0 / w;
  const double x[] = {u, v, s, 0, 0, 0, -n1 * p.x / w, -n1 * p.y / w, -n1 / w};
  const double y[] = {0, 0, 0, u, v, s, -n2 * p.x / w, -n2 * p.y / w, -n2 / w};
  std::copy_n(x, 9, rowX);
  std::copy_n(y, 9, rowY);
}

}  // namespace

FeaturesOptFunction::FeaturesOptFunction(unsigned int parameterCount, const PointSet& a, const PointSet& b,
                                         const MatchSet& m)
    : LeastSquaresFunction(parameterCount), points1(&a), points2(&b), matches(&m) {
  numResiduals = 2 * static_cast<int>(m.Count());
}

double FeaturesOptFunction::GetError(const std::vector<double>& params, std::vector<double>& residuals) {
  beginError(residuals);
  runStripes(matchCount(), [&](int first, int end) {
    double squares = 0;
    int count = 0;
    for (int k = first; k < end; ++k) {
      double ex = 0, ey = 0;
      if (!Efeature(params, k, ex, ey)) continue;
      residuals[2 * k] = ex;
      residuals[2 * k + 1] = ey;
      squares += ex * ex + ey * ey;
      count += 2;
    }
    addToError(squares, count);
  });
  return meanError();
}

bool FeaturesOptFunction::E(const std::vector<double>& params, int index, double& e) {
  double ex = 0, ey = 0;
  const bool counts = Efeature(params, index / 2, ex, ey);
  e = index % 2 == 0 ? ex : ey;
  return counts;
}

int FeaturesOptFunction::matchCount() const {
  if (!points1 || !points2 || !matches) return 0;
  return std::min(static_cast<int>(matches->Count()), numResiduals / 2);
}

void FeaturesOptFunction::getPoints(unsigned int match, const Point2D*& a, const Point2D*& b) const {
  int first = 0, second = 0;
  matches->GetMatchedPair(match, first, second);
  a = &(*points1)[first];
  b = &(*points2)[second];
}

void FeaturesOptFunction::fillJacobian(const std::vector<double>& params, JacobianRows writeRows, Matrix& j) const {
  clearJacobian(j);
  const int n = matchCount();
  for (int k = 0; k < n; ++k) {
    const Point2D *a = nullptr, *b = nullptr;
    getPoints(k, a, b);
    writeRows(params, *a, &j(2 * k, 0), &j(2 * k + 1, 0));
  }
}

void WeightedQuasiAffineFeatureOpt::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  fillJacobian(params, QuasiAffineRows, j);
}

bool WeightedQuasiAffineFeatureOpt::Efeature(const std::vector<double>& params, unsigned int match, double& ex,
                                             double& ey) {
  const Point2D *a = nullptr, *b = nullptr;
  getPoints(match, a, b);
  const Projection moved = MoveQuasiAffine(params, *a);
  ex = (moved.x - b->x) * b->weight;
  ey = (moved.y - b->y) * b->weight;
  return true;
}

void RobustQuasiAffineFeatureOpt::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  fillJacobian(params, QuasiAffineRows, j);
}

bool RobustQuasiAffineFeatureOpt::Efeature(const std::vector<double>& params, unsigned int match, double& ex,
                                           double& ey) {
  const Point2D *a = nullptr, *b = nullptr;
  getPoints(match, a, b);
  const Projection moved = MoveQuasiAffine(params, *a);
  ex = Clip(moved.x - b->x);
  ey = Clip(moved.y - b->y);
  return true;
}

void WeightedHomographyFeatureOpt::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  fillJacobian(params, HomographyRows, j);
}

bool WeightedHomographyFeatureOpt::Efeature(const std::vector<double>& params, unsigned int match, double& ex,
                                            double& ey) {
  const Point2D *a = nullptr, *b = nullptr;
  getPoints(match, a, b);
  const Projection moved = MoveByHomography(params, *a);
  ex = (moved.x - b->x) * b->weight;
  ey = (moved.y - b->y) * b->weight;
  return true;
}

void RobustHomographyFeatureOpt::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  fillJacobian(params, HomographyRows, j);
}

bool RobustHomographyFeatureOpt::Efeature(const std::vector<double>& params, unsigned int match, double& ex,
                                          double& ey) {
  const Point2D *a = nullptr, *b = nullptr;
  getPoints(match, a, b);
  const Projection moved = MoveByHomography(params, *a);
  ex = Clip(moved.x - b->x);
  ey = Clip(moved.y - b->y);
  return true;
}

}  // namespace Vorn
