#include "imaging/ChromaRows.h"

#include "imaging/CodeArithmetic.h"

namespace Vorn {
namespace {

constexpr std::size_t u = 1, v = 2;

void CopyChroma(const PixelCodes& from, PixelCodes& to) {
  to[u] = from[u];
  to[v] = from[v];
}

void SetToMean(const PixelCodes& a, const PixelCodes& b, const NeutralChroma& neutral, PixelCodes& result) {
  result[u] = MeanTowardNeutral(a[u] + b[u], 2, neutral.u);
  result[v] = MeanTowardNeutral(a[v] + b[v], 2, neutral.v);
}

/// One mean for the pixels of a cell: columns `x` to `x + columns` - 1 of some rows.
void ShareInCell(PixelRow* rows, int count, std::size_t x, std::size_t columns, const NeutralChroma& neutral) {
  int uSum = 0, vSum = 0;
  for (int i = 0; i < count; ++i)
    for (std::size_t k = x; k < x + columns; ++k) {
      uSum += rows[i][k][u];
      vSum += rows[i][k][v];
    }
  const int cells = count * static_cast<int>(columns);
  PixelCodes mean{};
  mean[u] = MeanTowardNeutral(uSum, cells, neutral.u);
  mean[v] = MeanTowardNeutral(vSum, cells, neutral.v);
  for (int i = 0; i < count; ++i)
    for (std::size_t k = x; k < x + columns; ++k) CopyChroma(mean, rows[i][k]);
}

/// Planes of half the width, rounded down, have no sample for the last column of an odd width.
bool LastColumnHasChroma(const Image& target) {
  return !target.planar || (target.width - 1) / 2 < target.planeStride[1];
}

}  // namespace

NeutralChroma::NeutralChroma(const Image& image, CodeScale scale)
    : u(static_cast<int>((image.uMax - image.uMin) >> 1)), v(static_cast<int>((image.vMax - image.vMin) >> 1)) {
  if (scale == CodeScale::ZeroBased) return;
  u += static_cast<int>(image.uMin);
  v += static_cast<int>(image.vMin);
}

void InterpolateChroma(PixelRow& row, const NeutralChroma& neutral) {
  for (std::size_t x = 1; x + 1 < row.size(); x += 2) SetToMean(row[x - 1], row[x + 1], neutral, row[x]);
}

void InterpolateChroma(const PixelRow& above, const PixelRow& below, const NeutralChroma& neutral, PixelRow& row) {
  for (std::size_t x = 0; x < row.size(); ++x) SetToMean(above[x], below[x], neutral, row[x]);
}

void ShareChroma(const Image& target, CodeScale scale, PixelRow* rows, int count) {
  if (target.chromaSubsampling == 0 || count < 1) return;
  const NeutralChroma neutral(target, scale);
  const int sharing = count < 2 ? count : 2;
  const std::size_t width = rows[0].size(), even = width - width % 2;
  for (std::size_t x = 0; x < even; x += 2) ShareInCell(rows, sharing, x, 2, neutral);
  if (even < width) {
    if (LastColumnHasChroma(target) || even == 0)
      ShareInCell(rows, sharing, even, 1, neutral);
    else
      for (int i = 0; i < sharing; ++i) CopyChroma(rows[i][even - 1], rows[i][even]);
  }
  if (count == 3)
    for (std::size_t x = 0; x < width; ++x) CopyChroma(rows[1][x], rows[2][x]);
}

}  // namespace Vorn
