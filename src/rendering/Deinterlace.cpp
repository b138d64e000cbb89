#include "rendering/Deinterlace.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "numerics/Parallel.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

constexpr int lanesPerPixel = 4;

/// (2 s(0) + 4 (s(-1) + s(1)) - (s(-2) + s(2))) / 8, where `row` is s(0) and rows lie `pitch` floats apart. The pairs
/// are summed in single precision, the weighting is in double.
VORN_VECTOR_CLONES
void FilterRow(const float* row, std::ptrdiff_t pitch, float* target, int firstLane, int endLane) {
  const float *above2 = row - 2 * pitch, *above = row - pitch, *below = row + pitch, *below2 = row + 2 * pitch;
  for (int lane = firstLane; lane < endLane; ++lane) {
    const float near = above[lane] + below[lane], far = above2[lane] + below2[lane];
    const double eightfold =
        2.0 * static_cast<double>(row[lane]) + 4.0 * static_cast<double>(near) - static_cast<double>(far);
    target[lane] = static_cast<float>(eightfold) * 0.125f;
  }
}

/// Copies the rows first, first + step, ... below `end`, as far as the image has them.
void CopyRows(const Image& source, Image& target, int first, int end, int step) {
  const std::size_t bytes = static_cast<std::size_t>(source.width) * sizeof(PixelARGBSF);
  for (int row = std::max(first, 0); row < std::min(end, source.height); row += step)
    std::memcpy(target.rows[row], source.rows[row], bytes);
}

}  // namespace

void DeinterlaceStripeARGBSF(unsigned char* source, unsigned char* target, int firstRow, int endRow, int sourceStride,
                             int targetStride, int firstLane, int endLane) {
  const auto pitch = static_cast<std::ptrdiff_t>(sourceStride) / static_cast<std::ptrdiff_t>(sizeof(float));
  for (int row = firstRow; row < endRow; row += 2)
    FilterRow(reinterpret_cast<const float*>(source + static_cast<std::ptrdiff_t>(row) * sourceStride), pitch,
              reinterpret_cast<float*>(target + static_cast<std::ptrdiff_t>(row) * targetStride), firstLane, endLane);
}

void DeinterlaceWrapper(void* context) {
  const auto& c = *static_cast<const DeinterlaceContext*>(context);
  DeinterlaceStripeARGBSF(c.source, c.target, c.firstRow, c.endRow, c.sourceStride, c.targetStride, c.firstLane,
                          c.endLane);
}

void DeinterlaceARGBSF(Image const* source, Image* target, int field) {
  if (!source->valid || !target->valid) return;
  const int height = source->height, lanes = lanesPerPixel * source->width;
  const int shift = field == 1 ? 1 : 0;
  const int firstFiltered = 3 - shift, endFiltered = height - 4 + shift;

  CopyRows(*source, *target, 0, firstFiltered, 1);
  CopyRows(*source, *target, endFiltered, height, 1);

  const int stripes = ProcessorCount(), lanesPerStripe = lanes / stripes;
  ApplyInParallel(stripes, [&](int stripe) {
    const int firstLane = stripe * lanesPerStripe;
    DeinterlaceContext context = {
        source->rows[0], target->rows[0], firstFiltered, endFiltered,
        source->stride,  target->stride,  firstLane,     std::min(firstLane + lanesPerStripe, lanes)};
    DeinterlaceWrapper(&context);
  });

  CopyRows(*source, *target, firstFiltered + 1, endFiltered, 2);
}

}  // namespace Vorn
