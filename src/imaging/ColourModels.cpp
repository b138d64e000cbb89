// Colours of single pixels: hue, saturation and value, and CIE L*a*b*.
#include <algorithm>
#include <array>
#include <cmath>

#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"

namespace Vorn {
namespace {

using Triple = std::array<double, 3>;
using Rows = std::array<Triple, 3>;

// Linear RGB to X, Y, Z, each as a share of the white point's.
constexpr Rows toXYZ = {
    {{0.433953, 0.376219, 0.189828}, {0.212671, 0.71516, 0.072169}, {0.017758, 0.109477, 0.872766}}};

constexpr Rows Inverse(const Rows& m) {
  Rows result{};
  double determinant = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t i1 = (i + 1) % 3, i2 = (i + 2) % 3;
    for (std::size_t j = 0; j < 3; ++j) {
      const std::size_t j1 = (j + 1) % 3, j2 = (j + 2) % 3;
      result[j][i] = m[i1][j1] * m[i2][j2] - m[i1][j2] * m[i2][j1];
    }
  }
  for (std::size_t j = 0; j < 3; ++j) determinant += m[0][j] * result[j][0];
  for (Triple& row : result)
    for (double& value : row) value /= determinant;
  return result;
}

constexpr Rows fromXYZ = Inverse(toXYZ);

constexpr Triple Times(const Rows& m, const Triple& v) {
  Triple result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
  return result;
}

// Below this share of white the cube root gives way to a line.
constexpr double darkest = 0.008856, slope = 7.787, shift = 0.13793103;

double Lightness(double t) { return t > darkest ? std::cbrt(t) : slope * t + shift; }

double FromLightness(double f) {
  const double cubed = f * f * f;
  return cubed > darkest ? cubed : (f - shift) / slope;
}

/// A share of full scale as the nearest code of the pixel.
int NearestCode(double share, const Pixel& p) {
  int code = TruncateToInt(std::floor(share * p.maxValue + 0.5));
  return Pixel::validify(code, 0, static_cast<int>(p.maxValue));
}

void BecomeRGB(const Triple& shares, Pixel& p) {
  const unsigned maxValue = p.maxValue;
  p = Pixel(NearestCode(shares[0], p), NearestCode(shares[1], p), NearestCode(shares[2], p), p.A());
  p.maxValue = maxValue;
}

}  // namespace

void RGBtoHSV(const Pixel& p, float& h, float& s, float& v) {
  const auto max = static_cast<float>(std::max(p.maxValue, 1U));
  const float r = static_cast<float>(p.R()) / max, g = static_cast<float>(p.G()) / max,
              b = static_cast<float>(p.B()) / max;
  v = std::max({r, g, b});
  const float delta = v - std::min({r, g, b});
  if (delta == 0.0F) {
    s = 0.0F;
    h = -1.0F;
    return;
  }
  s = v != 0.0F ? delta / v : -1.0F;
  if (r == v) {
    h = 60.0F * (g - b) / delta;
    if (h < 0.0F) h += 360.0F;
  }
  if (g == v) h = 60.0F * ((b - r) / delta + 2.0F);  // the later one decides where two are largest
  if (b == v) h = 60.0F * ((r - g) / delta + 4.0F);
}

void HSVtoRGB(float h, float s, float v, Pixel& p) {
  float turn = std::fmod(h, 360.0F);
  if (turn < 0.0F) turn += 360.0F;
  if (!(turn < 360.0F)) turn = 0.0F;
  const double chroma = static_cast<double>(s) * v, place = turn / 60.0, rest = v - chroma;
  const double second = chroma * (1.0 - std::fabs(std::fmod(place, 2.0) - 1.0));
  const Triple sextants[6] = {{chroma, second, 0.0}, {second, chroma, 0.0}, {0.0, chroma, second},
                              {0.0, second, chroma}, {second, 0.0, chroma}, {chroma, 0.0, second}};
  Triple shares = sextants[static_cast<int>(place)];
  for (double& share : shares) share += rest;
  BecomeRGB(shares, p);
}

void RGBtoLAB(const Pixel& p, double& l, double& a, double& b) {
  const double max = std::max(p.maxValue, 1U);
  const Triple xyz = Times(toXYZ, {p.R() / max, p.G() / max, p.B() / max});
  const double fx = Lightness(xyz[0]), fy = Lightness(xyz[1]), fz = Lightness(xyz[2]);
  l = xyz[1] > darkest ? 116.0 * fy - 16.0 : 903.3 * xyz[1];
  a = 500.0 * (fx - fy);
  b = 200.0 * (fy - fz);
}

void LABtoRGB(const double& l, const double& a, const double& b, Pixel& p) {
  const double fy = (l + 16.0) / 116.0, fx = fy + a / 500.0, fz = fy - b / 200.0;
  BecomeRGB(Times(fromXYZ, {FromLightness(fx), FromLightness(fy), FromLightness(fz)}), p);
}

}  // namespace Vorn
