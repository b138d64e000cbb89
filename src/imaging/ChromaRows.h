#pragma once

#include <cstddef>

#include "imaging/Image.h"
#include "imaging/PixelRows.h"

namespace Vorn {

// Rows of Y'CbCr on their way into a format that may have less chroma than they.

/// The codes of no colour.
struct NeutralChroma {
  NeutralChroma(const Image& image, CodeScale scale);
  int u, v;
};

/// Gives the second pixel of each pair the mean of its neighbours' chroma; the last pixel keeps its own.
void InterpolateChroma(PixelRow& row, const NeutralChroma& neutral);

/// Gives the row the mean of the chroma above and below it.
void InterpolateChroma(const PixelRow& above, const PixelRow& below, const NeutralChroma& neutral, PixelRow& row);

/// Gives pixels of the target that share a sample of chroma the mean of theirs. Three rows come together where an odd
/// height leaves the last one without chroma of its own.
void ShareChroma(const Image& target, CodeScale scale, PixelRow* rows, int count);

/// Fills a Y'CbCr image of any sampling: `fill(y, row)` gives row y with full chroma. It may read from the image
/// itself: rows that share chroma are filled before any of them is stored.
template <typename Fill>
void StoreYCbCr(Image& target, CodeScale scale, Fill&& fill) {
  PixelRow rows[3];
  for (PixelRow& row : rows) row.resize(static_cast<std::size_t>(target.width > 0 ? target.width : 0));
  for (int y = 0, count = 0; y < target.height; y += count) {
    const int left = target.height - y;
    count = target.chromaSubsampling != 2 ? 1 : left == 3 || left == 1 ? left : 2;
    for (int i = 0; i < count; ++i) fill(y + i, rows[i]);
    ShareChroma(target, scale, rows, count);
    for (int i = 0; i < count; ++i) WriteRow(rows[i], y + i, scale, target);
  }
}

/// The picture with full chroma: the source itself, or what `temporary` then holds.
const Image& WithFullChroma(const Image& source, Image& temporary);

/// Any Y'CbCr to any other: sampling, codes, and space.
void ConvertYCbCr(const Image& source, Image& target);

}  // namespace Vorn
