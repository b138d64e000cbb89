#include "analysis/ArrayOptFunction.h"

#include <algorithm>
#include <cmath>

#include "numerics/Parallel.h"

using Vorn::FastArray;
using Vorn::Matrix;

float bilinearInterpolate(const FastArray* array, float x, float y) {
  const float left = std::floor(x), top = std::floor(y);
  if (!(left >= 0.0f && top >= 0.0f && left < static_cast<float>(array->width) &&
        top < static_cast<float>(array->height)))
    return 0.0f;
  const int ix = static_cast<int>(left), iy = static_cast<int>(top);
  const int right = std::min(ix + 1, array->width - 1), below = std::min(iy + 1, array->height - 1);
  const float fx = x - left, fy = y - top;
  const FastArray& a = *array;
  const float upper = a(ix, iy) * (1.0f - fx) + a(right, iy) * fx;
  const float lower = a(ix, below) * (1.0f - fx) + a(right, below) * fx;
  return upper * (1.0f - fy) + lower * fy;
}

ArrayOptFunction::ArrayOptFunction(unsigned int parameterCount) : LeastSquaresFunction(parameterCount) {
  derivativeStep = 0.5;  // pixels
}

void ArrayOptFunction::SetArrays(FastArray& movingArray, FastArray& fixedArray, int border) {
  moving = &movingArray;
  fixed = &fixedArray;
  region = {border, border, fixed->width - 1 - border, fixed->height - 1 - border};
  regionWidth = region.brx - region.tlx + 1;
  numResiduals = region.IsValid() ? regionWidth * regionHeight() : 0;
  if (useCentre) {
    const int centreX = moving->width / 2, centreY = moving->height / 2;  // whole pixels
    centre = Vorn::Point2D(centreX, centreY);
  }
}

void ArrayOptFunction::CalculateJacobian(const std::vector<double>& params, Matrix& j) {
  clearJacobian(j);
  if (numResiduals < 1) return;
  const int rows = rowsPerStripe();
  Vorn::ApplyInParallel(Vorn::ProcessorCount(), [&](int stripe) { CalculateJacobianRows(stripe, rows, params, j); });
}

double ArrayOptFunction::GetError(const std::vector<double>& params, std::vector<double>& residuals) {
  beginError(residuals);
  if (numResiduals < 1) return meanError();
  const int rows = rowsPerStripe();
  Vorn::ApplyInParallel(Vorn::ProcessorCount(), [&](int stripe) { GetElementError(stripe, rows, params, residuals); });
  return meanError();
}

int ArrayOptFunction::rowsPerStripe() const {
  const int processors = Vorn::ProcessorCount();
  return (regionHeight() + processors - 1) / processors;
}

ArrayOptFunction::Rows ArrayOptFunction::rowsOf(unsigned long stripe, int rowsPerStripe) const {
  const long first = region.tly + static_cast<long>(stripe) * rowsPerStripe;
  const auto inside = [this](long row) { return static_cast<int>(std::min(row, region.bry + 1L)); };
  return {inside(first), inside(first + rowsPerStripe)};
}

bool QuasiAffineArrayOpt::project(const std::vector<double>& params, int x, int y, double& px, double& py) const {
  const double a = params[0], b = params[1];
  const double u = std::trunc(x - centre.x), v = std::trunc(y - centre.y);
  px = a * u - b * v + params[2] + centre.x;
  py = b * u + a * v + params[3] + centre.y;
  return px - 1 >= region.tlx && px + 1 <= region.brx && py - 1 >= region.tly && py + 1 <= region.bry;
}

double QuasiAffineArrayOpt::residualAt(double px, double py, int x, int y) const {
  return bilinearInterpolate(moving, static_cast<float>(px), static_cast<float>(py)) - (*fixed)(x, y);
}

bool QuasiAffineArrayOpt::E(const std::vector<double>& params, int index, double& e) {
  const int x = region.tlx + index % regionWidth, y = region.tly + index / regionWidth;
  double px = 0, py = 0;
  e = 0;
  if (!project(params, x, y, px, py)) return false;
  e = residualAt(px, py, x, y);
  return true;
}

void QuasiAffineArrayOpt::GetElementError(unsigned long stripe, int rowsPerStripe, const std::vector<double>& params,
                                          std::vector<double>& residuals) {
  const Rows rows = rowsOf(stripe, rowsPerStripe);
  double squares = 0;
  int count = 0;
  for (int y = rows.first; y < rows.end; ++y) {
    double* row = residuals.data() + indexOf(y);
    for (int x = region.tlx; x <= region.brx; ++x) {
      double px = 0, py = 0;
      double& e = row[x - region.tlx];
      e = 0;
      if (!project(params, x, y, px, py)) continue;
      e = residualAt(px, py, x, y);
      squares += e * e;
      ++count;
    }
  }
  addToError(squares, count);
}

void QuasiAffineArrayOpt::CalculateJacobianRows(unsigned long stripe, int rowsPerStripe,
                                                const std::vector<double>& params, Matrix& j) {
  const Rows rows = rowsOf(stripe, rowsPerStripe);
  const double step = derivativeStep;
  const auto sample = [this](double x, double y) {
    return bilinearInterpolate(moving, static_cast<float>(x), static_cast<float>(y));
  };
  for (int y = rows.first; y < rows.end; ++y) {
    for (int x = region.tlx; x <= region.brx; ++x) {
      double px = 0, py = 0;
      if (!project(params, x, y, px, py)) continue;
      const double gx = (sample(px + step, py) - sample(px - step, py)) / (2.0 * step);
      const double gy = (sample(px, py + step) - sample(px, py - step)) / (2.0 * step);
      double* row = j.data + (indexOf(y) + (x - region.tlx)) * 4;
      // About the array's corner, though the residual is about its centre: kept, the damping lives with it.
      row[0] = x * gx + y * gy;
      row[1] = x * gy - y * gx;
      row[2] = gx;
      row[3] = gy;
    }
  }
}
