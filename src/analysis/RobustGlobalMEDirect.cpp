#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/ArrayOptFunction.h"
#include "analysis/RobustGlobalME.h"
#include "estimation/LM.h"
#include "numerics/Parallel.h"

// Aligning two frames by their grey values, where features can't be trusted.

using Vorn::FastArray;
using Vorn::Matrix;

namespace {

constexpr int kMaxIterations = 50;
constexpr double kTolerance = 0.01;       // of a mean squared difference of grey values
constexpr double kNoAlignment = 10000.0;  // the error where there is nothing to align

/// The parameters (a, b, c, d) of the motion of the frame before, or of no motion.
std::vector<double> StartFrom(const Vorn::HomographySet& motion, int frame) {
  Matrix q;
  if (!motion.Get(frame - 1, q)) return {1.0, 0.0, 0.0, 0.0};
  return {q(0, 0), q(1, 0), q(0, 2), q(1, 2)};
}

void ScaleTranslation(std::vector<double>& params, double factor) {
  params[2] *= factor;
  params[3] *= factor;
}

struct Place {
  float x, y;
};

/// Where `m`, nine elements by rows about (cx, cy), brings the pixel (x, y).
Place Project(const double* m, int x, int y, float cx, float cy) {
  const float u = static_cast<float>(x) - cx, v = static_cast<float>(y) - cy;
  const double w = m[6] * u + m[7] * v + m[8];
  return {static_cast<float>((m[0] * u + m[1] * v + m[2]) / w + cx),
          static_cast<float>((m[3] * u + m[4] * v + m[5]) / w + cy)};
}

}  // namespace

bool RobustGlobalME::DirectEstimate(int frame, Matrix& result, float& confidence) {
  result = Matrix::GetIdentity(3);
  if (!currentPyramid || !previousPyramid) return false;
  QuasiAffineArrayOpt alignment;
  alignment.useCentre = true;
  Vorn::LM minimiser(alignment);
  minimiser.maxIterations = kMaxIterations;
  minimiser.tolerance = kTolerance;

  std::vector<double> params = StartFrom(qaMotion, frame);
  const int levels = std::min(currentPyramid->levels, previousPyramid->levels);
  ScaleTranslation(params, std::ldexp(1.0, std::min(0, 1 - levels)));
  double error = kNoAlignment;
  for (int level = levels - 1; level >= 0; --level) {
    alignment.SetArrays((*currentPyramid)[level], (*previousPyramid)[level], 0);
    error = minimiser.Optimise(params, false);
    const bool ended = minimiser.finished || minimiser.lambdaStuck;
    if (!(error <= (ended ? 0.5 : 0.25) * qualityMax)) {
      confidence = 0.0f;
      return false;
    }
    if (level > 0) ScaleTranslation(params, 2.0);
  }
  result = similarityMatrix(params);
  confidence = static_cast<float>(1.0 - std::clamp(error, 0.0, static_cast<double>(qualityMax)) / qualityMax);
  return true;
}

bool RobustGlobalME::DirectCheck(Matrix& m) {
  if (!currentPyramid || !previousPyramid) return false;
  dcTotalError = 0;
  dcPixelCount = 0;
  if (m.rows < 3 || m.columns < 3) return false;
  std::array<double, 9> elements{};
  for (int i = 0; i < 9; ++i) elements[i] = m(i / 3, i % 3);

  FastArray* current = &(*currentPyramid)[0];
  FastArray* previous = &(*previousPyramid)[0];
  const int stripe = previous->height / Vorn::ProcessorCount();  // rows that the division leaves over aren't checked
  Vorn::ApplyInParallel(Vorn::ProcessorCount(), [&](int i) {
    directCheck(current, previous, elements.data(), i * stripe, i * stripe + stripe - 1);
  });
  if (dcPixelCount == 0) return false;
  dcTotalError /= static_cast<float>(dcPixelCount);
  return !(dcTotalError > static_cast<float>(qualityMax));
}

double RobustGlobalME::directCheck(FastArray* current, FastArray* previous, double* m, int firstRow, int lastRow) {
  const int width = std::min(current->width, previous->width), height = std::min(current->height, previous->height);
  const int half = width / 2;  // in whole pixels across, not down: kept, the limit was set with it
  const auto cx = static_cast<float>(half), cy = static_cast<float>(height) * 0.5f;
  const auto lastX = static_cast<float>(width - 1), lastY = static_cast<float>(height - 1);
  double sum = 0;
  int count = 0;
  for (int y = firstRow; y <= std::min(lastRow, height - 1); ++y) {
    for (int x = 0; x < width; ++x) {
      const Place p = Project(m, x, y, cx, cy);
      if (!(p.x >= 1 && p.y >= 1 && p.x < lastX && p.y < lastY)) continue;
      const double d = bilinearInterpolate(current, p.x, p.y) - (*previous)(x, y);
      sum += d * d;
      ++count;
    }
  }
  integrateDirectCheckResult(sum, count);
  return count > 0 ? sum / count : 0.0;
}

void RobustGlobalME::integrateDirectCheckResult(double sum, int pixels) {
  const std::lock_guard lock(dc_results_lock);
  dcTotalError += static_cast<float>(sum);
  dcPixelCount += pixels;
}
