#include "analysis/FrameLuma.h"

#include <algorithm>
#include <cstddef>

#include "numerics/Parallel.h"
#include "numerics/VectorTarget.h"

using Vorn::FastArray;

namespace {

// 0.25 r + 0.5 g + 0.25 b as ((r - g) + (b - g)) / 4 + g: the differences in single precision, the rest in double. The
// comparisons give 0 for NaN.
VORN_VECTOR_CLONES
void LumaRow(const float* __restrict argb, int width, float* __restrict luma) {
  for (int x = 0; x < width; ++x) {
    const float r = argb[4 * x + 1], g = argb[4 * x + 2], b = argb[4 * x + 3];
    const float difference = (r - g) + (b - g);
    const auto value = static_cast<float>(difference * 0.25 + g);
    const float aboveBlack = value > 0.0f ? value : 0.0f;
    luma[x] = (aboveBlack < 1.0f ? aboveBlack : 1.0f) * 255.0f;
  }
}

VORN_VECTOR_CLONES
void AverageRows(const float* above, const float* below, int width, float* __restrict row) {
  for (int x = 0; x < width; ++x) row[x] = (above[x] + below[x]) * 0.5f;
}

float* RowOf(FastArray& array, int y) { return array.data + static_cast<ptrdiff_t>(y) * array.stride; }

}  // namespace

void LumaFromARGBSF(const void* data, int rowBytes, bool invertAxes, FastArray& luma) {
  const auto* const bytes = static_cast<const std::byte*>(data);
  Vorn::ForEachStripe(luma.height, [&](int first, int end) {
    for (int y = first; y < end; ++y) {
      const auto* const argb = reinterpret_cast<const float*>(bytes + static_cast<ptrdiff_t>(y) * rowBytes);
      LumaRow(argb, luma.width, RowOf(luma, invertAxes ? luma.height - 1 - y : y));
    }
  });
}

void RebuildOtherField(FastArray& luma, int weave) {
  const int last = luma.height - 1;
  const int first = weave == 1 ? 1 : 0;
  if (weave == 0 || last < 1) return;
  const int count = (last - first) / 2 + 1;
  Vorn::ForEachStripe(count, [&](int firstRebuilt, int endRebuilt) {
    for (int i = firstRebuilt; i < endRebuilt; ++i) {
      const int y = first + 2 * i;
      const float* const above = RowOf(luma, y > 0 ? y - 1 : 1);
      const float* const below = RowOf(luma, y < last ? y + 1 : last - 1);
      if (y == 0 || y == last)
        std::copy_n(y == 0 ? below : above, luma.width, RowOf(luma, y));
      else
        AverageRows(above, below, luma.width, RowOf(luma, y));
    }
  });
}
