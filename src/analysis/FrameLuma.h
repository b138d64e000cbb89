#pragma once

#include "imaging/FastArray.h"

// The luma of a host's frame, on the analysis' scale of 0 to 255.

/// Fills `luma`, at its size, from pixels of four floats (alpha, red, green, blue), nominally 0 to 1, whose rows are
/// `rowBytes` apart: 0.25 R + 0.5 G + 0.25 B, clamped to 0..1, times 255. What isn't a number becomes 0. With
/// `invertAxes` the last row of the frame becomes row 0.
void LumaFromARGBSF(const void* data, int rowBytes, bool invertAxes, Vorn::FastArray& luma);

/// Rebuilds the rows of the other field from their neighbours above and below: the odd rows for `weave` 1, the even
/// ones for any other value but 0, which leaves the frame as it is. The first and the last row, where rebuilt, become
/// copies of the row beside them. A frame of one row stays.
void RebuildOtherField(Vorn::FastArray& luma, int weave);
