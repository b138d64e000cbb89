#pragma once

#include "imaging/Image.h"

namespace Vorn {

/// Removes one field of an interlaced frame: the rows of the unwanted field become a filtered mix of their neighbours,
/// by the kernel (-1, 4, 2, 4, -1) / 8 down each column, alpha included; the others are copied.
///
/// `source`, `target`: valid `ARGBSF` images of equal size, not the same one. Field 1 filters rows 2, 4, 6, ... and
/// keeps the top 2 and bottom 3 rows as they are; field 2 filters rows 3, 5, 7, ... and keeps the top 3 and bottom 4.
/// An image with fewer rows than that is copied.
///
/// Stripes are of lanes (floats of a row), 4 * width / `ProcessorCount()` each. The lanes that this division leaves
/// over aren't filtered, and the target keeps in the unwanted rows what it held there: see `StripeCountFor`.
void DeinterlaceARGBSF(Image const* source, Image* target, int field);

/// Filters the lanes [firstLane, endLane) of the rows firstRow, firstRow + 2, ... below endRow. `source` and `target`
/// are the first bytes of row 0, the strides are in bytes. Reads two rows above and below each filtered one.
void DeinterlaceStripeARGBSF(unsigned char* source, unsigned char* target, int firstRow, int endRow, int sourceStride,
                             int targetStride, int firstLane, int endLane);

/// One stripe's work: the arguments of `DeinterlaceStripeARGBSF`.
struct DeinterlaceContext {
  unsigned char* source;
  unsigned char* target;
  int firstRow, endRow;
  int sourceStride, targetStride;
  int firstLane, endLane;
};

/// Runs the stripe that `context`, a `DeinterlaceContext*`, describes.
void DeinterlaceWrapper(void* context);

}  // namespace Vorn
