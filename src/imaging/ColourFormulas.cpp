// Colours of single pixels: Y'CbCr and RGB, luma.
#include <algorithm>
#include <cmath>

#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"
#include "imaging/FormulaRows.h"

namespace Vorn {
namespace {

// The positive divisors of blue differ by direction, so blue drifts. Kept: converted pictures have always come out so.
double BlueDivisorCL(double difference) { return difference < 0.0 ? 1.9404 : 1.5816; }
double BlueFactorCL(double cb) { return cb < 0.0 ? 1.9404 : 1.58124; }
double RedDivisorCL(double difference) { return difference < 0.0 ? 1.7184 : 0.9936; }

float Normalised(int code, unsigned range) {
  return range == 0 ? 0.0F : static_cast<float>(code) / static_cast<float>(range);
}

int RoundedCode(double code) { return TruncateToInt(std::floor(code + 0.5)); }

int CodeOfNormalised(float value, unsigned max) {
  int code = TruncateToInt(value * static_cast<float>(max));
  return Pixel::validify(code, 0, static_cast<int>(max));
}

Pixel WithMaxValue(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

/// Three codes around 0 to 1 in one Y'CbCr space to those of another one.
void ChangeStandard(const Pixel& p, unsigned yRange, unsigned uRange, unsigned vRange, ColourSpace space, int& y,
                    int& u, int& v) {
  const auto uNeutral = static_cast<int>(uRange / 2), vNeutral = static_cast<int>(vRange / 2);
  float r, g, b, luma, cb, cr;
  normYCbCrToRGB(Normalised(p.Y(), yRange), Normalised(p.U() - uNeutral, uRange), Normalised(p.V() - vNeutral, vRange),
                 p.space, r, g, b);
  normRGBtoYCbCr(r, g, b, space, luma, cb, cr);
  y = RoundedCode(static_cast<double>(yRange) * luma);
  u = RoundedCode(uNeutral + static_cast<double>(uRange) * cb);
  v = RoundedCode(vNeutral + static_cast<double>(vRange) * cr);
}

}  // namespace

const LumaWeights* LumaWeightsOf(ColourSpace space) {
  static constexpr LumaWeights rec601 = {0.299, 0.587, 0.114, 1.772, 1.402};
  static constexpr LumaWeights rec709 = {0.2126, 0.7152, 0.0722, 1.8556, 1.5748};
  static constexpr LumaWeights smpte240M = {0.212, 0.701, 0.087, 1.826, 1.576};
  static constexpr LumaWeights rec2020 = {0.2627, 0.678, 0.0593, 1.8814, 1.4746};
  switch (space) {
    case Rec601:
      return &rec601;
    case Rec709:
      return &rec709;
    case SMPTE240M:
      return &smpte240M;
    case Rec2020CL:
    case Rec2020:
      return &rec2020;
    default:
      return nullptr;
  }
}

void normRGBtoYCbCr(float r, float g, float b, ColourSpace space, float& y, float& cb, float& cr) {
  y = cb = cr = 0.0F;
  const LumaWeights* const k = LumaWeightsOf(space);
  if (k == nullptr) return;
  y = static_cast<float>(k->kr * r + k->kg * g + k->kb * b);
  const double blue = static_cast<double>(b) - y, red = static_cast<double>(r) - y;
  cb = static_cast<float>(blue / (space == Rec2020CL ? BlueDivisorCL(blue) : k->cb));
  cr = static_cast<float>(red / (space == Rec2020CL ? RedDivisorCL(red) : k->cr));
}

void normYCbCrToRGB(float y, float cb, float cr, ColourSpace space, float& r, float& g, float& b) {
  r = g = b = 0.0F;
  const LumaWeights* const k = LumaWeightsOf(space);
  if (k == nullptr) return;
  b = static_cast<float>(y + cb * (space == Rec2020CL ? BlueFactorCL(cb) : k->cb));
  r = static_cast<float>(y + cr * (space == Rec2020CL ? RedDivisorCL(cr) : k->cr));
  g = static_cast<float>((y - k->kr * r - k->kb * b) / k->kg);
}

void RGBToYCbCr(int r, int g, int b, unsigned max, ColourSpace space, unsigned yRange, unsigned uRange, unsigned vRange,
                unsigned uOffset, unsigned vOffset, int& y, int& u, int& v) {
  float luma, cb, cr;
  normRGBtoYCbCr(Normalised(r, max), Normalised(g, max), Normalised(b, max), space, luma, cb, cr);
  y = RoundedCode(static_cast<double>(yRange) * luma);
  u = RoundedCode(uOffset + static_cast<double>(uRange) * cb);
  v = RoundedCode(vOffset + static_cast<double>(vRange) * cr);
}

void RGBToYCbCr(int r, int g, int b, unsigned max, ColourSpace space, unsigned yRange, unsigned uRange, unsigned vRange,
                int& y, int& u, int& v) {
  RGBToYCbCr(r, g, b, max, space, yRange, uRange, vRange, uRange / 2, vRange / 2, y, u, v);
}

void YCbCrToRGB(int y, int u, int v, unsigned yRange, unsigned uRange, unsigned vRange, unsigned uOffset,
                unsigned vOffset, ColourSpace space, unsigned max, int& r, int& g, int& b) {
  float red, green, blue;
  normYCbCrToRGB(Normalised(y, yRange), Normalised(u - static_cast<int>(uOffset), uRange),
                 Normalised(v - static_cast<int>(vOffset), vRange), space, red, green, blue);
  r = CodeOfNormalised(red, max);
  g = CodeOfNormalised(green, max);
  b = CodeOfNormalised(blue, max);
}

void YCbCrToRGB(int y, int u, int v, unsigned yRange, unsigned uRange, unsigned vRange, ColourSpace space, unsigned max,
                int& r, int& g, int& b) {
  YCbCrToRGB(y, u, v, yRange, uRange, vRange, uRange / 2, vRange / 2, space, max, r, g, b);
}

Pixel ToLuma(const Pixel& p, unsigned yRange) {
  if (p.space == NoSpace || p.space == Mono) return p;
  if (p.space != RGB) return WithMaxValue(Pixel(ScaleCode(p.Y(), yRange, p.maxValue), p.A()), p.maxValue);
  return WithMaxValue(Pixel(LumaCode(p.R(), p.G(), p.B(), p.maxValue), p.A()), p.maxValue);
}

Pixel ToRGB(const Pixel& p, unsigned yRange, unsigned uRange, unsigned vRange) {
  if (p.space == NoSpace || p.space == RGB) return p;
  if (p.space == Mono) return WithMaxValue(Pixel(p.Luma(), p.Luma(), p.Luma(), p.A()), p.maxValue);
  int r, g, b;
  YCbCrToRGB(p.Y(), p.U(), p.V(), yRange, uRange, vRange, p.space, p.maxValue, r, g, b);
  return WithMaxValue(Pixel(r, g, b, ScaleCode(p.A(), yRange, p.maxValue)), p.maxValue);
}

Pixel ToYCbCr(const Pixel& p, unsigned yRange, unsigned uRange, unsigned vRange, ColourSpace space) {
  if (p.space == space || p.space == NoSpace) return p;
  int y = 0, u = 0, v = 0, a = p.A();
  if (p.space == RGB) {
    RGBToYCbCr(p.R(), p.G(), p.B(), p.maxValue, space, yRange, uRange, vRange, y, u, v);
    a = ScaleCode(a, p.maxValue, yRange);
  } else if (p.space == Mono) {
    y = ScaleCode(p.Luma(), p.maxValue, yRange);
    u = static_cast<int>(uRange / 2);
    v = static_cast<int>(vRange / 2);
    a = ScaleCode(a, p.maxValue, yRange);
  } else {
    ChangeStandard(p, yRange, uRange, vRange, space, y, u, v);
  }
  return WithMaxValue(Pixel(y, u, v, a, space), p.maxValue);
}

}  // namespace Vorn
