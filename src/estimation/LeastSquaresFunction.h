#pragma once

#include <mutex>
#include <vector>

#include "numerics/Matrix.h"
#include "numerics/Parallel.h"

namespace Vorn {

/// A least-squares problem that `LM` minimises: `numParams` parameters, `numResiduals` residuals, and the mean of the
/// squared residuals as its cost. The sums live in the object, so one `LM` at a time may work on it.
class LeastSquaresFunction {
 public:
  explicit LeastSquaresFunction(unsigned int parameterCount) : numParams(parameterCount) {}
  virtual ~LeastSquaresFunction() = default;
  LeastSquaresFunction(const LeastSquaresFunction&) = delete;
  LeastSquaresFunction& operator=(const LeastSquaresFunction&) = delete;

  /// Fills `j` (`numResiduals` by `numParams`; resized if it isn't) with the derivatives of the residuals at `params`.
  /// Here by central differences, two evaluations of `E` an element; elements of residuals that don't count are 0.
  virtual void CalculateJacobian(const std::vector<double>& params, Matrix& j);

  /// The cost at `params`: the mean square of the residuals that count, 0 if none does. `residuals` gets the size
  /// `numResiduals`, with 0 for a residual that doesn't count; `validCount` and `totalError` are set. Calls `E` from
  /// several threads when there are many residuals.
  virtual double GetError(const std::vector<double>& params, std::vector<double>& residuals);

  /// The residual `index` at `params` into `e`; false if it doesn't count (and `e` is then ignored). Must be safe to
  /// call from several threads.
  virtual bool E(const std::vector<double>& params, int index, double& e) = 0;

  /// Called by `LM` after each iteration with the parameters that it has reached.
  virtual void UpdateFromLocation(const std::vector<double>& /*params*/) {}

  unsigned int numParams;
  int numResiduals = 0;       ///< Set by the user of the object.
  int validCount = 0;         ///< Residuals that counted in the last `GetError`.
  double totalError = 0;      ///< Their sum of squares.
  double derivativeStep = 0;  ///< Fixed step of the numeric Jacobian; at or below 0 a step is chosen per parameter.

 protected:
  /// Makes `j` a matrix of `numResiduals` by `numParams` zeros; allocates only if the shape differs.
  void clearJacobian(Matrix& j) const;

  /// Sizes and zeroes the residuals and zeroes the two sums.
  void beginError(std::vector<double>& residuals);

  /// Adds what a stripe found to the two sums.
  void addToError(double squares, int count);

  /// `validCount` residuals' mean square.
  double meanError() const { return validCount > 0 ? totalError / validCount : 0.0; }

  /// Calls `stripe(first, end)`, `end` excluded, for one stripe of `count` / P items on each of the P processors and
  /// then for the remainder on the calling thread. Few items stay on the calling thread, in the same stripes: waking
  /// others would take longer than the work.
  template <typename Stripe>
  static void runStripes(int count, Stripe&& stripe);

 private:
  static constexpr int fewItems = 2048;

  double stepFor(double parameter) const;

  std::mutex lock;  // guards validCount and totalError
};

template <typename Stripe>
void LeastSquaresFunction::runStripes(int count, Stripe&& stripe) {
  const int processors = ProcessorCount(), size = count / processors;
  const auto one = [&](int k) { stripe(k * size, (k + 1) * size); };
  if (count < fewItems)
    for (int k = 0; k < processors && size > 0; ++k) one(k);
  else
    ApplyInParallel(processors, one);
  if (size * processors < count) stripe(size * processors, count);
}

}  // namespace Vorn
