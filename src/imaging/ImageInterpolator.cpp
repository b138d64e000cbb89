#include "imaging/ImageInterpolator.h"

#include <cmath>

#include "imaging/Image.h"
#include "imaging/SamplePosition.h"
#include "numerics/Point2D.h"

namespace Vorn {

ImageInterpolator::ImageInterpolator(const Image& source) { SetImage(&source); }

void ImageInterpolator::SetImage(const Image& source) { SetImage(&source); }

void ImageInterpolator::SetImage(const Image* source) {
  image = source;
  setSpecialisedFunctions();
}

void ImageInterpolator::bind(Sampler newBilinear, Sampler newCubicSpline, Sampler newBicubic, Sampler newLanczos3) {
  bilinear = newBilinear;
  cubicSpline = newCubicSpline;
  bicubic = newBicubic;
  lanczos3 = newLanczos3;
}

void ImageInterpolator::setSpecialisedFunctions() {
  switch (image != nullptr ? image->type : L8) {
    case L8:
    case LA16:
    case L10:
    case L16:
    case LA32:
      return bind(BilinearL, CubicSplineL, BicubicL, Lanczos3L);
    case BGR24:
    case RGB24:
    case BGRA32:
    case ARGB32:
    case RGBA32:
    case RGB30:
    case RGB48:
    case RGBA64:
      return bind(BilinearRGBA, CubicSplineRGBA, BicubicRGBA, Lanczos3RGBA);
    case ARGB64:
      return bind(BilinearARGB64, CubicSplineRGBA, BicubicRGBA, Lanczos3ARGB64);
    case YUVA32:
      return bind(BilinearYUVA32, CubicSplineYUVA, BicubicYUVA, Lanczos3YUVA32);
    case Y1UV10:
    case Y1UV12:
    case Y1UV14:
    case Y1UV16:
      return bind(BilinearY1UVNN, CubicSplineYUVA, BicubicYUVA, Lanczos3Y1UVNN);
    default:  // ARGBSF too, whose pixels have no Y, U and V: kept, float frames have functions of their own
      return bind(BilinearYUVA, CubicSplineYUVA, BicubicYUVA, Lanczos3YUVA);
  }
}

Pixel ImageInterpolator::operator()(double x, double y) const {
  switch (mode) {
    case 0:
      return Lanczos3(x, y);
    case 1:
      return Bicubic(x, y);
    case 2:
      return CubicSpline(x, y);
    case 3:
      return Bilinear(x, y);
    default:
      return Nearest(x, y);
  }
}

Pixel ImageInterpolator::Nearest(double x, double y) const {
  return (*image)(SamplePosition(x).whole, SamplePosition(y).whole);
}

double ImageInterpolator::rfunc(double x) {
  const double b = std::fabs(x);
  if (b <= 1.0) return 1.5 * b * b * b - 2.5 * b * b + 1.0;
  if (b <= 2.0) return -0.5 * b * b * b + 2.5 * b * b - 4.0 * b + 2.0;
  return 0.0;
}

double ImageInterpolator::lsinc(double x, float a) {
  constexpr double pi = 3.141592653589793;
  const auto sinc = [](double t) { return std::sin(pi * t) / (pi * t); };
  const double b = std::fabs(x);
  if (CompareDouble(0.0, b)) return 1.0;
  if (!(b < a)) return 0.0;
  return sinc(b) * sinc(b / a);
}

double ImageInterpolator::GetVisibility(const Image* image, const Point2D& point) {
  const SamplePosition x(point.x), y(point.y);
  const auto opacity = [&](int column, int row) {
    if (column < 0 || row < 0 || column >= image->width || row >= image->height) return 0.0;
    return (*image)(column, row).A() / static_cast<double>(image->aMax - image->aMin);
  };
  // In this form two opaque neighbours give exactly 1 at any fraction; a sum of products may fall short of it.
  const auto blend = [](double a, double b, double fraction) { return a + (b - a) * fraction; };
  const double upper = blend(opacity(x.whole, y.whole), opacity(x.whole + 1, y.whole), x.fraction);
  const double lower = blend(opacity(x.whole, y.whole + 1), opacity(x.whole + 1, y.whole + 1), x.fraction);
  return std::trunc(blend(upper, lower, y.fraction));
}

}  // namespace Vorn
