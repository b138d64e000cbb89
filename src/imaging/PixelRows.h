#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace Vorn {

class Image;

/// The codes of a pixel: R, G, B, alpha, or Y, U, V, alpha, or luma, -, -, alpha.
using PixelCodes = std::array<int, 4>;
using PixelRow = std::vector<PixelCodes>;

/// Whether codes stand above the minima of their ranges, as `Image::operator()` gives them, or are those in memory.
enum class CodeScale { ZeroBased, Stored };

// Whole rows of any format at once: what `Image`'s pixel access does, with the format looked up once a row.

/// Fills all of `row` with the pixels from column 0 on. What the image doesn't have, beside or below it, is its black
/// with alpha 0 (zero-based in either scale). Opaque where the format has no matte.
void ReadRow(const Image& image, int y, CodeScale scale, PixelRow& row);

/// Stores the row from column 0 on, as far as the image goes; each code is masked to its field.
void WriteRow(const PixelRow& row, int y, CodeScale scale, Image& image);

}  // namespace Vorn
