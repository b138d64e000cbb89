#include "film/ColourRows.h"

#include <algorithm>

#include "numerics/VectorTarget.h"

namespace film {
namespace {

template <class Code>
[[gnu::always_inline]] inline void toValues(const Code* codes, int width, float scale, float offset, float* values) {
  for (int i = 0; i < width; ++i) values[i] = static_cast<float>(codes[i]) * scale + offset;
}

template <class Code>
[[gnu::always_inline]] inline void toCodes(const float* values, int width, float scale, float offset, float largest,
                                           Code* codes) {
  for (int i = 0; i < width; ++i) {
    const float exact = values[i] * scale + (offset + 0.5f);
    const float above = exact > 0.0f ? exact : 0.0f;  // in this form what is not a number takes the 0
    codes[i] = static_cast<Code>(static_cast<int>(above < largest ? above : largest));
  }
}

int inside(int index, int count) { return std::clamp(index, 0, count - 1); }

float widenedSample(const float* coarse, int count, int x, const ChromaAxis::Finer& filter) {
  const int parity = x % 2, first = x / 2 + filter.from[parity];
  return coarse[inside(first, count)] * filter.weight[parity][0] +
         coarse[inside(first + 1, count)] * filter.weight[parity][1];
}

float narrowedSample(const float* fine, int width, int i, const ChromaAxis::Coarser& filter) {
  float sum = 0.0f;
  for (int k = 0; k < filter.count; ++k) sum += fine[inside(2 * i + filter.from + k, width)] * filter.weight[k];
  return sum;
}

}  // namespace

VORN_VECTOR_CLONES void CodesToValues(const std::uint8_t* codes, int width, float scale, float offset, float* values) {
  toValues(codes, width, scale, offset, values);
}

VORN_VECTOR_CLONES void CodesToValues(const std::uint16_t* codes, int width, float scale, float offset, float* values) {
  toValues(codes, width, scale, offset, values);
}

VORN_VECTOR_CLONES void ValuesToCodes(const float* values, int width, float scale, float offset, float largest,
                                      std::uint8_t* codes) {
  toCodes(values, width, scale, offset, largest, codes);
}

VORN_VECTOR_CLONES void ValuesToCodes(const float* values, int width, float scale, float offset, float largest,
                                      std::uint16_t* codes) {
  toCodes(values, width, scale, offset, largest, codes);
}

VORN_VECTOR_CLONES void JoinRow(const float* __restrict luma, const float* __restrict cb, const float* __restrict cr,
                                int width, float kr, float kb, float* __restrict argb) {
  const float toRed = 2.0f * (1.0f - kr), toBlue = 2.0f * (1.0f - kb), kg = 1.0f - kr - kb;
  const float redInGreen = toRed * kr / kg, blueInGreen = toBlue * kb / kg;
  for (int i = 0; i < width; ++i) {
    argb[4 * i] = 1.0f;
    argb[4 * i + 1] = luma[i] + toRed * cr[i];
    argb[4 * i + 2] = luma[i] - blueInGreen * cb[i] - redInGreen * cr[i];
    argb[4 * i + 3] = luma[i] + toBlue * cb[i];
  }
}

VORN_VECTOR_CLONES void JoinGreyRow(const float* __restrict luma, int width, float* __restrict argb) {
  for (int i = 0; i < width; ++i) {
    argb[4 * i] = 1.0f;
    argb[4 * i + 1] = luma[i];
    argb[4 * i + 2] = luma[i];
    argb[4 * i + 3] = luma[i];
  }
}

VORN_VECTOR_CLONES void SplitRow(const float* __restrict argb, int width, float kr, float kb, float* __restrict luma,
                                 float* __restrict cb, float* __restrict cr) {
  const float kg = 1.0f - kr - kb, fromRed = 0.5f / (1.0f - kr), fromBlue = 0.5f / (1.0f - kb);
  for (int i = 0; i < width; ++i) {
    const float r = argb[4 * i + 1], g = argb[4 * i + 2], b = argb[4 * i + 3];
    const float y = kr * r + kg * g + kb * b;
    luma[i] = y;
    cb[i] = (b - y) * fromBlue;
    cr[i] = (r - y) * fromRed;
  }
}

VORN_VECTOR_CLONES void SplitGreyRow(const float* __restrict argb, int width, float kr, float kb,
                                     float* __restrict luma) {
  const float kg = 1.0f - kr - kb;
  for (int i = 0; i < width; ++i) luma[i] = kr * argb[4 * i + 1] + kg * argb[4 * i + 2] + kb * argb[4 * i + 3];
}

VORN_VECTOR_CLONES void JoinRgbRow(const float* __restrict red, const float* __restrict green,
                                   const float* __restrict blue, int width, float* __restrict argb) {
  for (int i = 0; i < width; ++i) {
    argb[4 * i] = 1.0f;
    argb[4 * i + 1] = red[i];
    argb[4 * i + 2] = green[i];
    argb[4 * i + 3] = blue[i];
  }
}

VORN_VECTOR_CLONES void SplitRgbRow(const float* __restrict argb, int width, float* __restrict red,
                                    float* __restrict green, float* __restrict blue) {
  for (int i = 0; i < width; ++i) {
    red[i] = argb[4 * i + 1];
    green[i] = argb[4 * i + 2];
    blue[i] = argb[4 * i + 3];
  }
}

VORN_VECTOR_CLONES void JoinAlphaRow(const float* __restrict alpha, int width, float* __restrict argb) {
  for (int i = 0; i < width; ++i) argb[4 * i] = alpha[i];
}

VORN_VECTOR_CLONES void SplitAlphaRow(const float* __restrict argb, int width, float* __restrict alpha) {
  for (int i = 0; i < width; ++i) alpha[i] = argb[4 * i];
}

VORN_VECTOR_CLONES void UnpremultiplyRow(const float* __restrict argb, int width, float* __restrict straight) {
  for (int i = 0; i < width; ++i) {
    const float a = argb[4 * i];
    const float divisor = a > 0.0f && a < 1.0f ? a : 1.0f;
    straight[4 * i] = a;
    for (int c = 1; c < 4; ++c) straight[4 * i + c] = argb[4 * i + c] / divisor;
  }
}

VORN_VECTOR_CLONES void BlendRows(const float* first, const float* second, int width, float a, float b, float* blend) {
  for (int i = 0; i < width; ++i) blend[i] = first[i] * a + second[i] * b;
}

VORN_VECTOR_CLONES void AddRow(const float* __restrict row, int width, float weight, float* __restrict sum) {
  for (int i = 0; i < width; ++i) sum[i] += row[i] * weight;
}

VORN_VECTOR_CLONES void WidenRow(const float* __restrict coarse, int width, const ChromaAxis::Finer& filter,
                                 float* __restrict fine) {
  const int count = (width + 1) / 2, last = count - 1;
  const float* even = coarse + filter.from[0];
  const float* odd = coarse + filter.from[1];
  const float e0 = filter.weight[0][0], e1 = filter.weight[0][1], o0 = filter.weight[1][0], o1 = filter.weight[1][1];
  for (int i = 1; i < last; ++i) {
    fine[2 * i] = even[i] * e0 + even[i + 1] * e1;
    fine[2 * i + 1] = odd[i] * o0 + odd[i + 1] * o1;
  }
  for (int x = 0; x < std::min(2, width); ++x) fine[x] = widenedSample(coarse, count, x, filter);
  for (int x = std::max(2 * last, 0); x < width; ++x) fine[x] = widenedSample(coarse, count, x, filter);
}

VORN_VECTOR_CLONES void NarrowRow(const float* __restrict fine, int width, const ChromaAxis::Coarser& filter,
                                  float* __restrict coarse) {
  const int count = (width + 1) / 2, firstWhole = 1, endWhole = (width - 4) / 2;
  const float w0 = filter.weight[0], w1 = filter.weight[1], w2 = filter.weight[2], w3 = filter.weight[3],
              w4 = filter.weight[4];  // 0 in the filter of four
  for (int i = firstWhole; i < endWhole; ++i) {
    const float* at = fine + 2 * i + filter.from;
    coarse[i] = (at[0] * w0 + at[1] * w1) + (at[2] * w2 + at[3] * w3) + at[4] * w4;
  }
  for (int i = 0; i < std::min(firstWhole, count); ++i) coarse[i] = narrowedSample(fine, width, i, filter);
  for (int i = std::max(firstWhole, endWhole); i < count; ++i) coarse[i] = narrowedSample(fine, width, i, filter);
}

}  // namespace film
