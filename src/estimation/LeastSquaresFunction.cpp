#include "estimation/LeastSquaresFunction.h"

#include <algorithm>
#include <cmath>

namespace Vorn {

void LeastSquaresFunction::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  clearJacobian(j);
  std::vector<double> moved = params;
  for (int i = 0; i < numResiduals; ++i) {
    for (unsigned int p = 0; p < numParams; ++p) {
      const double step = stepFor(params[p]);
      double ahead = 0, behind = 0;
      moved[p] = params[p] + step;
      const bool aheadCounts = E(moved, i, ahead);
      moved[p] = params[p] - step;
      const bool behindCounts = E(moved, i, behind);
      moved[p] = params[p];
      if (aheadCounts && behindCounts) j(i, p) = (ahead - behind) / (2.0 * step);
    }
  }
}

double LeastSquaresFunction::stepFor(double parameter) const {
  if (derivativeStep > 0) return derivativeStep;
  return std::max(std::fabs(parameter * 0.0001), 0.000001);
}

double LeastSquaresFunction::GetError(const std::vector<double>& params, std::vector<double>& residuals) {
  beginError(residuals);
  runStripes(numResiduals, [&](int first, int end) {
    double squares = 0;
    int count = 0;
    for (int i = first; i < end; ++i) {
      double e = 0;
      if (!E(params, i, e)) continue;
      residuals[i] = e;
      squares += e * e;
      ++count;
    }
    addToError(squares, count);
  });
  return meanError();
}

void LeastSquaresFunction::clearJacobian(Matrix& j) const {
  const auto rows = static_cast<unsigned int>(std::max(numResiduals, 0));
  if (j.rows != rows || j.columns != numParams) j.Resize(rows, numParams);
  if (rows > 0 && numParams > 0) j.Clear();  // an empty one would only be told as an error
}

void LeastSquaresFunction::beginError(std::vector<double>& residuals) {
  residuals.assign(std::max(numResiduals, 0), 0.0);
  validCount = 0;
  totalError = 0;
}

void LeastSquaresFunction::addToError(double squares, int count) {
  const std::lock_guard<std::mutex> guard(lock);
  totalError += squares;
  validCount += count;
}

}  // namespace Vorn
