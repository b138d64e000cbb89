// Which pixels become features.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "numerics/Parallel.h"
#include "numerics/VectorTarget.h"
#include "tracking/KLTTracker.h"

namespace Vorn {
namespace {

constexpr int blockSide = 50;  // pixels, for the thresholds of block mode

/// Eigenvalues of nearly the same size share a band: their exponent and the first bits of their mantissa.
constexpr int bandShift = 16;
constexpr int bandCount = 1 << (31 - bandShift);

/// The band of an eigenvalue; it never falls as the eigenvalue grows.
int BandOf(float evalue) {
  return evalue > 0.0F ? static_cast<int>(std::bit_cast<std::uint32_t>(evalue) >> bandShift) : 0;
}

/// Column c of xx, yy and xy: the sums of gx gx, gy gy and gx gy over the three rows around the one that `gx` and `gy`
/// begin.
VORN_VECTOR_CLONES void SumColumns(const float* __restrict gx, const float* __restrict gy, std::ptrdiff_t stride,
                                   int width, float* __restrict xx, float* __restrict yy, float* __restrict xy) {
  const float *ax = gx - stride, *ay = gy - stride, *bx = gx + stride, *by = gy + stride;
  for (int c = 0; c < width; ++c) {
    xx[c] = ax[c] * ax[c] + gx[c] * gx[c] + bx[c] * bx[c];
    yy[c] = ay[c] * ay[c] + gy[c] * gy[c] + by[c] * by[c];
    xy[c] = ax[c] * ay[c] + gx[c] * gy[c] + bx[c] * by[c];
  }
}

/// The smaller eigenvalue of each 3 by 3 neighbourhood from the sums of its columns. The outermost pixels are left.
VORN_VECTOR_CLONES void SmallerEigenvalues(const float* __restrict xx, const float* __restrict yy,
                                           const float* __restrict xy, int width, float* __restrict output) {
  for (int c = 1; c < width - 1; ++c) {
    const double gxx = xx[c - 1] + xx[c] + xx[c + 1];
    const double gyy = yy[c - 1] + yy[c] + yy[c + 1];
    const double gxy = xy[c - 1] + xy[c] + xy[c + 1];
    const double difference = gxx - gyy;
    output[c] = static_cast<float>((gxx + gyy - std::sqrt(difference * difference + 4.0 * gxy * gxy)) / 2.0);
  }
}

/// Sets the frame's outermost rows and columns, which never hold a candidate, to 0.
void ClearBorder(FastArray& map) {
  if (map.width <= 0 || map.height <= 0) return;
  std::fill_n(map.data, map.width, 0.0F);
  std::fill_n(&map(0, map.height - 1), map.width, 0.0F);
  for (int y = 0; y < map.height; ++y) map(0, y) = map(map.width - 1, y) = 0.0F;
}

int BlocksAlong(int size) { return std::max(1, (size + blockSide - 1) / blockSide); }

/// Whether a position, truncated, is a pixel of the frame.
bool IsInFrame(const Point2D& point, int width, int height) {
  const double x = std::trunc(point.x), y = std::trunc(point.y);
  return x >= 0.0 && x < width && y >= 0.0 && y < height;
}

}  // namespace

void KLTTracker::DetectFeatures(FastArray& frame, std::list<Point2D>& points,
                                std::vector<FeatureStorage::TrackStatus>& statuses, bool newOnly) {
  getGradients(&frame, &gradientX, &gradientY);
  computeEigenvalueMap(frame.width, frame.height);
  findThresholds(frame.width, frame.height);
  removeOverlaps(frame.width, frame.height);
  sizeGradientPyramids();
  reportFeatures(points, statuses, newOnly);
  framesTracked = 0;
}

void KLTTracker::computeEigenvalueMap(int width, int height) {
  eigenvalues.Resize(width, height);
  ClearBorder(eigenvalues);
  maxEvalue = 0.0F;
  ForEachStripe(height, [&](int first, int end) {
    CalculateEigenvalues(gradientX.data, gradientY.data, gradientX.stride, width, height, first, end - 1,
                         eigenvalues.data, eigenvalues.stride);
  });
}

void KLTTracker::CalculateEigenvalues(const float* gx, const float* gy, int stride, int width, int height, int firstRow,
                                      int lastRow, float* output, int outputStride) {
  if (width < 3) return;
  thread_local std::vector<float> columns;
  columns.resize(3 * static_cast<std::size_t>(width));
  float *xx = columns.data(), *yy = xx + width, *xy = yy + width;
  float largest = 0.0F;
  for (int y = std::max(firstRow, 1); y <= std::min(lastRow, height - 2); ++y) {
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(y) * stride;
    float* target = output + static_cast<std::ptrdiff_t>(y) * outputStride;
    SumColumns(gx + row, gy + row, stride, width, xx, yy, xy);
    SmallerEigenvalues(xx, yy, xy, width, target);
    largest = std::max(largest, *std::max_element(target + 1, target + width - 1));
  }
  updateMaxEvalue(largest);
}

void KLTTracker::updateMaxEvalue(float evalue) {
  const std::lock_guard lock(maxEvalueLock);
  maxEvalue = std::max(maxEvalue, evalue);
}

void KLTTracker::findThresholds(int width, int height) {
  rowThresholds.assign(std::max(width, 0), maxEvalue * eigenvalueFraction);
  if (!blockMode) return;
  const int nx = BlocksAlong(width), ny = BlocksAlong(height);
  blockThresholds.resize(static_cast<std::size_t>(nx) * ny);
  ApplyInParallel(ny, [&](int blockRow) {
    FindBlockEVMaximum(blockRow, eigenvalues.data, width, height, eigenvalues.stride, blockThresholds.data());
  });
  for (float& threshold : blockThresholds) threshold *= eigenvalueFraction;
}

void KLTTracker::FindBlockEVMaximum(int blockRow, const float* evalues, int width, int height, int stride,
                                    float* output) const {
  // Not the blocks that the thresholds are then looked up by: here the number of blocks is the side of a block, and the
  // last column of each is left out. Meant; the thresholds were settled with it.
  const int blockWidth = width / blockSide, blockHeight = height / blockSide;
  const int nx = BlocksAlong(width);
  const int top = std::max(blockRow * blockHeight, 1), bottom = std::min((blockRow + 1) * blockHeight, height);
  for (int column = 0; column < nx; ++column) {
    const int left = std::max(column * blockWidth, 1), right = std::min((column + 1) * blockWidth - 1, width);
    float largest = 0.0F;
    for (int y = top; y < bottom; ++y)
      for (int x = left; x < right; ++x)
        largest = std::max(largest, evalues[static_cast<std::ptrdiff_t>(y) * stride + x]);
    output[blockRow * nx + column] = largest;
  }
}

const float* KLTTracker::thresholdsOfRow(int y, int width) {
  if (blockMode) {
    const float* blocks = &blockThresholds[static_cast<std::size_t>(y / blockSide) * BlocksAlong(width)];
    for (int x = 0; x < width; ++x) rowThresholds[x] = blocks[x / blockSide];
  }
  return rowThresholds.data();
}

void KLTTracker::removeOverlaps(int width, int height) {
  occupied.assign(static_cast<std::size_t>(width) * height, 0);
  keepFeatures(width, height);
  addCandidates(width, height);
}

void KLTTracker::keepFeatures(int width, int height) {
  std::size_t kept = 0;
  for (Feature& feature : features) {
    if (static_cast<int>(kept) >= maxFeatures) break;
    if (feature.status >= FeatureLargeResidual || !IsInFrame(feature.track.back(), width, height)) continue;
    const int x = static_cast<int>(feature.track.back().x), y = static_cast<int>(feature.track.back().y);
    if (occupied[static_cast<std::size_t>(y) * width + x] != 0) continue;
    markFeature(x, y, width, height);
    if (feature.id < 0) feature.id = nextFeatureId++;
    if (&features[kept] != &feature) features[kept] = std::move(feature);
    ++kept;
  }
  features.resize(kept);
}

// All pixels above their threshold are candidates, hundreds of thousands in a textured frame, and few are reached
// before the budget is full. So they are collected and sorted from the best downward, a few bands of eigenvalues at a
// time, and those that a better feature has suppressed by then are left out. What is kept is the same as with one long
// list.
void KLTTracker::addCandidates(int width, int height) {
  if (static_cast<int>(features.size()) >= maxFeatures) return;
  countCandidates(width, height);
  long long wanted = 8LL * (maxFeatures - static_cast<int>(features.size()));
  for (int band = bandCount; band > 0; wanted *= 4) {
    const int endBand = band;
    for (long long count = 0; band > 0 && count < wanted;) count += candidateCounts[--band];
    collectCandidates(width, height, band, endBand);
    std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
      return a.evalue != b.evalue ? a.evalue > b.evalue : a.pixel < b.pixel;
    });
    for (const Candidate& candidate : candidates) {
      if (occupied[candidate.pixel] != 0) continue;
      const int x = candidate.pixel % width, y = candidate.pixel / width;
      markFeature(x, y, width, height);
      Feature& feature = features.emplace_back();
      feature.id = nextFeatureId++;
      feature.status = FeatureNew;
      feature.quality = candidate.evalue;
      feature.track.emplace_back(x, y);
      if (static_cast<int>(features.size()) >= maxFeatures) return;
    }
  }
}

void KLTTracker::countCandidates(int width, int height) {
  candidateCounts.assign(bandCount, 0);
  for (int y = 1; y < height - 1; ++y) {
    const float* threshold = thresholdsOfRow(y, width);
    const float* row = &eigenvalues(0, y);
    for (int x = 1; x < width - 1; ++x)
      if (row[x] > threshold[x]) ++candidateCounts[BandOf(row[x])];
  }
}

void KLTTracker::collectCandidates(int width, int height, int lowBand, int endBand) {
  candidates.clear();
  const auto low = std::bit_cast<float>(static_cast<std::uint32_t>(lowBand) << bandShift);
  for (int y = 1; y < height - 1; ++y) {
    const float* threshold = thresholdsOfRow(y, width);
    const float* row = &eigenvalues(0, y);
    const int firstPixel = y * width;
    for (int x = 1; x < width - 1; ++x)
      if (row[x] >= low && row[x] > threshold[x] && BandOf(row[x]) < endBand && occupied[firstPixel + x] == 0)
        candidates.push_back({row[x], firstPixel + x});
  }
}

void KLTTracker::markFeature(int x, int y, int width, int height) {
  const int radius = window / 2;
  const int left = std::max(x - radius, 0), right = std::min(x + radius, width - 1);
  for (int row = std::max(y - radius, 0); row <= std::min(y + radius, height - 1); ++row)
    std::fill_n(&occupied[static_cast<std::size_t>(row) * width + left], right - left + 1, std::uint8_t{1});
}

void KLTTracker::reportFeatures(std::list<Point2D>& points, std::vector<FeatureStorage::TrackStatus>& statuses,
                                bool newOnly) const {
  for (const Feature& feature : features) {
    const bool isNew = feature.status == FeatureNew;
    if (newOnly && !isNew) continue;
    points.push_back(feature.track.back());
    points.back().id = feature.id;
    statuses.push_back(isNew ? FeatureStorage::TrackNew : FeatureStorage::TrackContinued);
  }
}

}  // namespace Vorn
