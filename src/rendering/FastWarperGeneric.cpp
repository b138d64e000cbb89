// The reference member of the warper: any format, pixel by pixel.
#include <algorithm>

#include "imaging/ImageInterpolator.h"
#include "numerics/Geometry.h"
#include "rendering/FastWarper.h"
#include "rendering/WarpImage.h"

namespace Vorn {

void FastWarper::projectGeneric(const Image& src, Image& dst, Image& matte, const Matrix& inverse, int firstRow,
                                int lastRow) const {
  if (!dst.Resize(src)) return;
  dst.Clear();
  ResetMatte(dst, matte);
  const ImageInterpolator read(src);
  const auto originX = static_cast<float>(sourceOriginX), originY = static_cast<float>(sourceOriginY);
  for (int y = std::max(firstRow, 0); y <= std::min(lastRow, dst.height - 1); ++y)
    for (int x = 0; x < dst.width; ++x) {
      const Point2D p = ProjectPoint(inverse, Point2D(x, y), originX, originY);
      const Pixel sample = src.Limit(read(p.x, p.y));
      dst.SetPixel(x, y, sample);
      matte.SetPixel(x, y, Pixel(MatteCode(sample, src, matte), 0));
    }
}

}  // namespace Vorn
