#pragma once

#include "numerics/Matrix.h"
#include "numerics/PointSet.h"

namespace Vorn {

/// Moves the points to their centroid and scales them to a mean distance of √2 from it
/// (Hartley, "In Defense of the Eight-Point Algorithm", PAMI 1997).
///
/// `points`: pixels in, unitless out; each keeps its `id` and `weight`.
/// `t`: becomes the 3 by 3 similarity that was applied, normalised = t * pixel; any shape in.
/// An empty set is not an error: it leaves NaNs in `t`, so callers test for matches first.
void normalisePoints(PointSet& points, Matrix& t);

}  // namespace Vorn
