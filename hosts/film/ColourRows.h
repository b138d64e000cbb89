#pragma once

#include <cstdint>

#include "film/ChromaAxis.h"

// The inner loops of colour conversion: each works on one row of `width` samples and may run on the widest vectors
// that the machine has.
namespace film {

/// value = code * scale + offset
void CodesToValues(const std::uint8_t* codes, int width, float scale, float offset, float* values);
void CodesToValues(const std::uint16_t* codes, int width, float scale, float offset, float* values);

/// code = value * scale + offset, rounded and clipped to 0 to `largest`; what is not a number becomes 0.
void ValuesToCodes(const float* values, int width, float scale, float offset, float largest, std::uint8_t* codes);
void ValuesToCodes(const float* values, int width, float scale, float offset, float largest, std::uint16_t* codes);

/// Y' Cb Cr to a, r, g, b; luma 0 to 1, chroma -0.5 to 0.5 (both nominal).
void JoinRow(const float* luma, const float* cb, const float* cr, int width, float kr, float kb, float* argb);
void JoinGreyRow(const float* luma, int width, float* argb);

/// a, r, g, b to Y' Cb Cr.
void SplitRow(const float* argb, int width, float kr, float kb, float* luma, float* cb, float* cr);
void SplitGreyRow(const float* argb, int width, float kr, float kb, float* luma);

/// Red, green and blue to a, r, g, b with a = 1, and back.
void JoinRgbRow(const float* red, const float* green, const float* blue, int width, float* argb);
void SplitRgbRow(const float* argb, int width, float* red, float* green, float* blue);

/// Puts opacities into a row of a, r, g, b, and takes them out.
void JoinAlphaRow(const float* alpha, int width, float* argb);
void SplitAlphaRow(const float* argb, int width, float* alpha);

/// Divides the colours by a where a lies between 0 and 1.
void UnpremultiplyRow(const float* argb, int width, float* straight);

/// first * a + second * b
void BlendRows(const float* first, const float* second, int width, float a, float b, float* blend);

/// sum += row * weight
void AddRow(const float* row, int width, float weight, float* sum);

/// A chroma row of (width + 1) / 2 samples to `width` samples.
void WidenRow(const float* coarse, int width, const ChromaAxis::Finer& filter, float* fine);

/// A row of `width` samples to a chroma row of (width + 1) / 2 samples.
void NarrowRow(const float* fine, int width, const ChromaAxis::Coarser& filter, float* coarse);

}  // namespace film
