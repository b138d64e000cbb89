#include "estimation/LM.h"

#include <cmath>
#include <iostream>

#include "numerics/SVD.h"

namespace Vorn {

// Made once for an optimisation and reused by its iterations.
struct LM::Workspace {
  explicit Workspace(int parameterCount)
      : normal(parameterCount, parameterCount),
        damped(parameterCount, parameterCount),
        gradient(parameterCount),
        svd(parameterCount, parameterCount) {}

  // Keeps the storage from iteration to iteration.
  void shapeJacobian(unsigned int rows, unsigned int columns) {
    if (jacobian.rows != rows || jacobian.columns != columns) jacobian.Resize(rows, columns);
  }

  Matrix jacobian;
  Matrix normal;                 // J^T J
  Matrix damped;                 // the same with its diagonal raised
  std::vector<double> gradient;  // J^T r
  std::vector<double> residuals, trial, trialResiduals;
  SVD svd;
};

namespace {

// A = J^T J and g = J^T r in one pass over the rows of J.
void FormNormalEquations(const Matrix& j, const std::vector<double>& r, Matrix& a, std::vector<double>& g) {
  const unsigned int n = a.columns;
  a.Clear();
  g.assign(n, 0.0);
  for (unsigned int k = 0; k < j.rows; ++k) {
    const double* row = j.data + size_t{k} * n;
    for (unsigned int i = 0; i < n; ++i) {
      double* sums = a.data + size_t{i} * n;
      for (unsigned int c = i; c < n; ++c) sums[c] += row[i] * row[c];
      g[i] += row[i] * r[k];
    }
  }
  for (unsigned int i = 1; i < n; ++i)
    for (unsigned int c = 0; c < i; ++c) a(i, c) = a(c, i);
}

void Damp(const Matrix& a, double lambda, Matrix& b) {
  b = a;
  for (unsigned int i = 0; i < b.rows; ++i) b(i, i) *= 1.0 + lambda;
}

}  // namespace

double LM::Optimise(std::vector<double>& params, bool verbose) {
  converged = lambdaStuck = finished = false;
  Workspace work(static_cast<int>(function->numParams));
  double lambda = 0.001, cost = 0;
  int i = 0;
  do {
    cost = function->GetError(params, work.residuals);
    if (i == 0) initialCost = cost;
    if (verbose) std::cout << i << ". " << cost << "\n";
    work.shapeJacobian(static_cast<unsigned int>(work.residuals.size()), function->numParams);
    function->CalculateJacobian(params, work.jacobian);
    FormNormalEquations(work.jacobian, work.residuals, work.normal, work.gradient);
    takeStep(params, cost, lambda, work);
    function->UpdateFromLocation(params);
    ++i;
  } while (i < maxIterations && !finished && !lambdaStuck);
  if (verbose) report(i, cost);
  return cost;
}

// Raises the damping until the cost falls or the damping has run out.
void LM::takeStep(std::vector<double>& params, double& cost, double& lambda, Workspace& work) {
  const bool solvable = work.normal.IsValid();
  while (true) {
    if (solvable) {
      Damp(work.normal, lambda, work.damped);
      work.svd.Calculate(work.damped);
      const std::vector<double> step = work.svd.Inverse() * work.gradient;
      work.trial = params;
      for (size_t p = 0; p < step.size(); ++p) work.trial[p] -= step[p];
      const double trialCost = function->GetError(work.trial, work.trialResiduals);
      if (cost > trialCost && function->validCount > 0) {
        if (std::fabs(cost - trialCost) < tolerance) converged = finished = true;
        params = work.trial;
        lambda *= 0.1;
        cost = trialCost;
        return;
      }
    }
    lambda *= 10.0;
    if (lambda > 10000000000.0) {
      lambdaStuck = true;
      return;
    }
  }
}

void LM::report(int iterations, double cost) const {
  std::cout << "Optimisation finished at iteration " << iterations << ", cost " << cost << "\n";
  if (converged)
    std::cout << "Converged\n";
  else if (lambdaStuck)
    std::cout << "Lambda stuck\n";
  else
    std::cout << "Unconverged\n";
}

}  // namespace Vorn
