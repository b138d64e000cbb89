#include "rendering/FastWarper.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "numerics/Parallel.h"
#include "rendering/WarpImage.h"

namespace Vorn {
namespace {

/// What a pixel type needs: the members of its family, the type of its matte, and its bytes.
struct WarpFormat {
  PixelType type;
  WarpMember lanczos, bilinear;
  PixelType matteType;
  int pixelBytes;
};

constexpr WarpFormat warpFormats[] = {
    {ARGBSF, &FastWarper::projectLanczos3_ARGBSF, &FastWarper::projectBilinear_ARGBSF, L16, 16},
    {BGR24, &FastWarper::projectLanczos3_RGB24, &FastWarper::projectBilinear_RGB24, L8, 3},
    {RGB24, &FastWarper::projectLanczos3_RGB24, &FastWarper::projectBilinear_RGB24, L8, 3},
    {BGRA32, &FastWarper::projectLanczos3_RGBA32, &FastWarper::projectBilinear_RGBA32, L8, 4},
    {ARGB32, &FastWarper::projectLanczos3_RGBA32, &FastWarper::projectBilinear_RGBA32, L8, 4},
    {RGBA32, &FastWarper::projectLanczos3_RGBA32, &FastWarper::projectBilinear_RGBA32, L8, 4},
    {ARGB64, &FastWarper::projectLanczos3_RGBA64, &FastWarper::projectBilinear_RGBA64, L16, 8},
    {RGBA64, &FastWarper::projectLanczos3_RGBA64, &FastWarper::projectBilinear_RGBA64, L16, 8},
    {YUVA32, &FastWarper::projectLanczos3_YUVA32, &FastWarper::projectBilinear_YUVA32, L8, 4},
    {YUV24, &FastWarper::projectLanczos3_YUV24, &FastWarper::projectBilinear_YUV24, L8, 3},
    {Y1UV10, &FastWarper::projectLanczos3_Y1UVNN, &FastWarper::projectBilinear_Y1UVNN, L16, 6},
    {Y1UV12, &FastWarper::projectLanczos3_Y1UVNN, &FastWarper::projectBilinear_Y1UVNN, L16, 6},
    {Y1UV14, &FastWarper::projectLanczos3_Y1UVNN, &FastWarper::projectBilinear_Y1UVNN, L16, 6},
    {Y1UV16, &FastWarper::projectLanczos3_Y1UVNN, &FastWarper::projectBilinear_Y1UVNN, L16, 6},
    {YUVA64, &FastWarper::projectLanczos3_Y1UVNN, &FastWarper::projectBilinear_Y1UVNN, L16, 8},
};

const WarpFormat* FindWarpFormat(PixelType type) {
  const auto* const format = std::find_if(std::begin(warpFormats), std::end(warpFormats),
                                          [type](const WarpFormat& f) { return f.type == type; });
  return format != std::end(warpFormats) ? format : nullptr;
}

Matrix InverseOf(const Matrix& m) {
  Matrix inverse = ThreeByThree(m);
  inverse.Inverse();  // a singular matrix stays as it is, and what it gives is the result
  return inverse;
}

bool HoldsRowsOf(const Image& image, int pixelBytes) {
  return image.valid && !image.planar &&
         std::abs(static_cast<long>(image.stride)) >= static_cast<long>(image.width) * pixelBytes;
}

/// The rows that `Project` draws, cut into one stripe a processor. Rows that the division leaves over are in none.
/// Each stripe ends before the next begins, so that no two threads write one row; the last one reaches a row further.
/// With fewer rows than processors all stripes would be row 0.
std::vector<FastWarperContext> MakeStripes(const FastWarperContext& whole, int sourceHeight) {
  const int processors = ProcessorCount(), stripeHeight = sourceHeight / processors;
  std::vector<FastWarperContext> stripes(stripeHeight > 0 ? static_cast<std::size_t>(processors) : 1, whole);
  for (std::size_t i = 0; i < stripes.size(); ++i) {
    stripes[i].startRow = static_cast<int>(i) * stripeHeight;
    stripes[i].endRow = stripes[i].startRow + stripeHeight - (i + 1 < stripes.size() ? 1 : 0);
  }
  return stripes;
}

}  // namespace

void FastWarper::Project(const Image& src, Image& dst, Image& matte, const Matrix& m) const {
  const Matrix inverse = InverseOf(m);
  const WarpFormat* const format = FindWarpFormat(src.type);
  matte.Resize(dst.width, dst.height, format ? format->matteType : L8);
  matte.Clear();
  if (!format && fallback) {
    fallback->centre = Point2D(sourceOriginX, sourceOriginY);
    fallback->Project(src, dst, matte, m, nullptr);
  }
  if (!format || !HoldsRowsOf(dst, format->pixelBytes)) return;

  const WarpMember member = highQuality ? format->lanczos : format->bilinear;
  std::vector<FastWarperContext> stripes = MakeStripes({this, &src, &dst, &matte, &inverse, 0, 0, member}, src.height);
  RunInParallel(stripes, [](FastWarperContext& stripe) { FastWarpingWrapper(&stripe); });
}

void FastWarper::FastWarpingWrapper(void* context) {
  const auto& stripe = *static_cast<const FastWarperContext*>(context);
  (stripe.warper->*stripe.specialInterpolation)(*stripe.source, *stripe.destination, *stripe.matte, *stripe.inverse,
                                                stripe.startRow, stripe.endRow);
}

}  // namespace Vorn
