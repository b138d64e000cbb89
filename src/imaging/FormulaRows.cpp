#include "imaging/FormulaRows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

constexpr std::size_t alpha = 3;

/// What differences of blue and luma, and of red and luma, are divided by, or multiplied with: by their sign in
/// constant luminance.
struct Factors {
  double negativeBlue, blue, negativeRed, red;
};

struct Spans {
  float y, u, v;
  int uNeutral, vNeutral;
};

VORN_VECTOR_CLONES void ToRGBCodes(const LumaWeights& weights, const Factors& factors, const Spans& spans, float max,
                                   int count, PixelCodes* row) {
  const LumaWeights k = weights;
  const Factors f = factors;
  const Spans s = spans;
  for (int x = 0; x < count; ++x) {
    PixelCodes& c = row[x];
    const float y = static_cast<float>(c[0]) / s.y;
    const float cb = static_cast<float>(c[1] - s.uNeutral) / s.u, cr = static_cast<float>(c[2] - s.vNeutral) / s.v;
    const auto b = static_cast<float>(y + cb * (cb < 0.0F ? f.negativeBlue : f.blue));
    const auto r = static_cast<float>(y + cr * (cr < 0.0F ? f.negativeRed : f.red));
    const auto g = static_cast<float>((y - k.kr * r - k.kb * b) / k.kg);
    c[0] = static_cast<int>(std::clamp(r * max, 0.0F, max));
    c[1] = static_cast<int>(std::clamp(g * max, 0.0F, max));
    c[2] = static_cast<int>(std::clamp(b * max, 0.0F, max));
  }
}

/// Rounding half up needs no floor: what is below 0 becomes 0 anyhow.
VORN_VECTOR_CLONES void ToYCbCrCodes(const LumaWeights& weights, const Factors& divisors, const Spans& spans, float max,
                                     int count, PixelCodes* row) {
  const LumaWeights k = weights;
  const Factors d = divisors;
  const double ySpan = spans.y, uSpan = spans.u, vSpan = spans.v, uNeutral = spans.uNeutral, vNeutral = spans.vNeutral;
  for (int x = 0; x < count; ++x) {
    PixelCodes& c = row[x];
    const float r = static_cast<float>(c[0]) / max, g = static_cast<float>(c[1]) / max,
                b = static_cast<float>(c[2]) / max;
    const auto y = static_cast<float>(k.kr * r + k.kg * g + k.kb * b);
    const double blue = static_cast<double>(b) - y, red = static_cast<double>(r) - y;
    const auto cb = static_cast<float>(blue / (blue < 0.0 ? d.negativeBlue : d.blue));
    const auto cr = static_cast<float>(red / (red < 0.0 ? d.negativeRed : d.red));
    c[0] = static_cast<int>(std::clamp(ySpan * y + 0.5, 0.0, ySpan));
    c[1] = static_cast<int>(std::clamp(uNeutral + uSpan * cb + 0.5, 0.0, uSpan));
    c[2] = static_cast<int>(std::clamp(vNeutral + vSpan * cr + 0.5, 0.0, vSpan));
  }
}

/// A space, with its factors and divisors.
struct Standard {
  LumaWeights k;
  Factors factors, divisors;
};

Standard StandardOf(const LumaWeights& k, ColourSpace space) {
  const Factors same{k.cb, k.cb, k.cr, k.cr};
  if (space != Rec2020CL) return {k, same, same};
  return {k, {1.9404, 1.58124, 1.7184, 0.9936}, {1.9404, 1.5816, 1.7184, 0.9936}};
}

VORN_VECTOR_CLONES void ToOtherCodes(const Standard& from, const Standard& to, const Spans& spans,
                                     const CodeBounds& bounds, int count, PixelCodes* row) {
  const Standard a = from, b = to;
  const Spans s = spans;
  const CodeBounds held = bounds;
  const double ySpan = s.y, uSpan = s.u, vSpan = s.v, uNeutral = s.uNeutral, vNeutral = s.vNeutral;
  for (int x = 0; x < count; ++x) {
    PixelCodes& c = row[x];
    const float y = static_cast<float>(c[0]) / s.y;
    const float cb = static_cast<float>(c[1] - s.uNeutral) / s.u, cr = static_cast<float>(c[2] - s.vNeutral) / s.v;
    const auto blue = static_cast<float>(y + cb * (cb < 0.0F ? a.factors.negativeBlue : a.factors.blue));
    const auto red = static_cast<float>(y + cr * (cr < 0.0F ? a.factors.negativeRed : a.factors.red));
    const auto green = static_cast<float>((y - a.k.kr * red - a.k.kb * blue) / a.k.kg);
    const auto luma = static_cast<float>(b.k.kr * red + b.k.kg * green + b.k.kb * blue);
    const double toBlue = static_cast<double>(blue) - luma, toRed = static_cast<double>(red) - luma;
    const auto u = static_cast<float>(toBlue / (toBlue < 0.0 ? b.divisors.negativeBlue : b.divisors.blue));
    const auto v = static_cast<float>(toRed / (toRed < 0.0 ? b.divisors.negativeRed : b.divisors.red));
    const double codes[] = {ySpan * luma, uNeutral + uSpan * u, vNeutral + vSpan * v};
    for (std::size_t i = 0; i < 3; ++i)
      c[i] = static_cast<int>(std::clamp<double>(std::floor(codes[i] + 0.5), held.least[i], held.most[i]));
    c[alpha] = std::clamp(c[alpha], held.least[alpha], held.most[alpha]);
  }
}

Spans SpansOf(const YCbCrSpans& spans) {
  return {static_cast<float>(spans.y), static_cast<float>(spans.u), static_cast<float>(spans.v),
          static_cast<int>(spans.u / 2), static_cast<int>(spans.v / 2)};
}

/// Whether single precision holds the spans, and none is empty: the rows need both.
bool ArePlain(const YCbCrSpans& spans, unsigned max) {
  constexpr unsigned most = 65535;
  return spans.y - 1 < most && spans.u - 1 < most && spans.v - 1 < most && max - 1 < most;
}

}  // namespace

void RowToRGB(const YCbCrSpans& spans, ColourSpace space, unsigned max, PixelRow& row) {
  const LumaWeights* const k = LumaWeightsOf(space);
  if (k != nullptr && ArePlain(spans, max)) {
    return ToRGBCodes(*k, StandardOf(*k, space).factors, SpansOf(spans), static_cast<float>(max),
                      static_cast<int>(row.size()), row.data());
  }
  for (PixelCodes& c : row) {
    int r, g, b;
    YCbCrToRGB(c[0], c[1], c[2], spans.y, spans.u, spans.v, space, max, r, g, b);
    c = {r, g, b, c[alpha]};
  }
}

void RowToYCbCr(unsigned max, const YCbCrSpans& spans, ColourSpace space, PixelRow& row) {
  const LumaWeights* const k = LumaWeightsOf(space);
  if (k != nullptr && ArePlain(spans, max)) {
    return ToYCbCrCodes(*k, StandardOf(*k, space).divisors, SpansOf(spans), static_cast<float>(max),
                        static_cast<int>(row.size()), row.data());
  }
  const auto held = [](int code, unsigned span) { return std::clamp(code, 0, static_cast<int>(span)); };
  for (PixelCodes& c : row) {
    int y, u, v;
    RGBToYCbCr(c[0], c[1], c[2], max, space, spans.y, spans.u, spans.v, y, u, v);
    c = {held(y, spans.y), held(u, spans.u), held(v, spans.v), c[alpha]};
  }
}

void RowToSpace(const YCbCrSpans& spans, ColourSpace from, ColourSpace to, const CodeBounds& bounds, PixelRow& row) {
  const LumaWeights *const k = LumaWeightsOf(from), *const other = LumaWeightsOf(to);
  if (k != nullptr && other != nullptr && from != to && ArePlain(spans, 1))
    return ToOtherCodes(StandardOf(*k, from), StandardOf(*other, to), SpansOf(spans), bounds,
                        static_cast<int>(row.size()), row.data());
  for (PixelCodes& c : row) {
    const Pixel pixel = ToYCbCr(Pixel(c[0], c[1], c[2], c[alpha], from), spans.y, spans.u, spans.v, to);
    c = {pixel.Y(), pixel.U(), pixel.V(), pixel.A()};
    for (std::size_t i = 0; i < c.size(); ++i) c[i] = std::clamp(c[i], bounds.least[i], bounds.most[i]);
  }
}

void ScaleAlpha(unsigned from, unsigned to, unsigned most, PixelRow& row) {
  int code = 0, scaled = 0;  // of the pixel before, which mostly has the same
  for (PixelCodes& c : row) {
    if (c[alpha] != code) {
      code = c[alpha];
      scaled = std::clamp(ScaleCode(code, from, to), 0, static_cast<int>(most));
    }
    c[alpha] = scaled;
  }
}

DepthScale::DepthScale(unsigned fromMax, unsigned toMax, std::size_t pixels) : from(fromMax), to(toMax) {
  if (from == to || pixels < from) return;
  std::vector<int> codes(from + std::size_t{1});
  for (std::size_t code = 0; code < codes.size(); ++code) codes[code] = convert(static_cast<int>(code));
  table = std::move(codes);
}

int DepthScale::convert(int code) const {
  Pixel pixel(code, 0);
  pixel.maxValue = from;
  pixel.ConvertMax(to);
  return pixel.Luma();
}

}  // namespace Vorn
