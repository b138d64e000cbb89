#pragma once

#include <vector>

#include "estimation/LeastSquaresFunction.h"

namespace Vorn {

/// The Levenberg-Marquardt minimiser (D. Marquardt, "An Algorithm for Least-Squares Estimation of Nonlinear
/// Parameters", SIAM J. Appl. Math. 1963), with his multiplicative damping of the normal equations' diagonal.
class LM {
 public:
  explicit LM(LeastSquaresFunction& leastSquares) : function(&leastSquares) {}

  /// Improves `params` (as many as the function has) in place and returns the final cost, which is never above the
  /// cost at the start. Ends with `converged` and `finished`, with `lambdaStuck`, or, after `maxIterations`, with
  /// neither; a start at the optimum ends with `lambdaStuck`. Normal equations that aren't finite make no step. If
  /// `verbose`, the cost of each iteration and the outcome go to the standard output stream.
  double Optimise(std::vector<double>& params, bool verbose);

  double initialCost = -1.0;      ///< The cost before the first step.
  bool converged = false;         ///< The cost stopped falling.
  bool lambdaStuck = false;       ///< No damping gave a lower cost.
  bool finished = false;          ///< Set with `converged`.
  int maxIterations = 10000;      ///< At least one iteration is made.
  double tolerance = 0.00000001;  ///< A fall of the cost by less than this is convergence.
  LeastSquaresFunction* function;

 private:
  struct Workspace;

  void takeStep(std::vector<double>& params, double& cost, double& lambda, Workspace& work);
  void report(int iterations, double cost) const;
};

}  // namespace Vorn
