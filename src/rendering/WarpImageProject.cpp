// What `WarpImage` does to pictures.
#include <algorithm>

#include "imaging/ImageInterpolator.h"
#include "rendering/WarpImage.h"

namespace Vorn {
namespace {

struct Size {
  long width, height;
};

Size SizeOf(const Rectangle& window) {
  return {static_cast<long>(window.brx) - window.tlx + 1, static_cast<long>(window.bry) - window.tly + 1};
}

/// A matrix may send a corner nearly to infinity: no picture is made of such a window.
bool IsSensible(const Size& size, const Image& src) {
  constexpr long largestSide = 1 << 24, alwaysSensible = 1 << 24, growth = 16;
  if (size.width < 1 || size.height < 1 || size.width > largestSide || size.height > largestSide) return false;
  return size.width * size.height <= std::max(alwaysSensible, growth * src.width * src.height);
}

bool IsOutside(const Point2D& p, const Rectangle& clip) {
  return p.x < clip.tlx || p.x > clip.brx || p.y < clip.tly || p.y > clip.bry;
}

/// `Image::Limit` lets the alpha of grey through, which would wrap round where it is stored.
Pixel Limited(const Image& image, const Pixel& sample) {
  Pixel limited = image.Limit(sample);
  Pixel::validify(limited.A_, 0, static_cast<int>(image.alphaRange));
  return limited;
}

bool Reset(Image& image, const Size& size, PixelType type, const Image& ranges) {
  if (!image.Resize(static_cast<int>(size.width), static_cast<int>(size.height), type)) return false;
  image.CopyColourSpace(ranges);
  image.Clear();
  return true;
}

}  // namespace

void ResetMatte(const Image& target, Image& matte) {
  matte.Resize(target.width, target.height, target.maxValue < 256 ? L8 : target.maxValue == 1023 ? L10 : L16);
  matte.Clear();
}

int MatteCode(const Pixel& sample, const Image& source, const Image& matte) {
  if (source.alphaRange == 0) return 0;
  const long code = static_cast<long>(sample.A()) * matte.alphaRange / source.alphaRange;
  return static_cast<int>(std::clamp(code, 0L, static_cast<long>(matte.alphaRange)));
}

Image WarpImage::Project(const Image& src, const Matrix& m, bool alpha) {
  SetMatrix(m);
  return Project(src, alpha);
}

Image WarpImage::Project(const Image& src, bool alpha) {
  PixelType type = src.type;
  if (alpha) Image::UpgradeTypeToAlpha(type);
  const Rectangle area = outputWindow(src, src.width, src.height, *forward);
  const Size size = autoWindow ? SizeOf(area) : Size{src.width, src.height};
  Image result;
  if ((!autoWindow || IsSensible(size, src)) && Reset(result, size, type, src))
    fill(src, result, nullptr, *inverse, area, nullptr);
  return result;
}

void WarpImage::Project(const Image& src, Image& dst, Image& matte, const Rectangle* clip) {
  project(src, dst, matte, *forward, *inverse, clip);
}

void WarpImage::Project(const Image& src, Image& dst, Image& matte, const Matrix& m, const Rectangle* clip) {
  Matrix back = ThreeByThree(m);
  back.Inverse();
  project(src, dst, matte, m, back, clip);
}

void WarpImage::project(const Image& src, Image& dst, Image& matte, const Matrix& m, const Matrix& back,
                        const Rectangle* clip) {
  const Image& like = matchTarget ? dst : src;
  const Rectangle area = outputWindow(src, like.width, like.height, m);
  const Size size = autoWindow ? SizeOf(area) : Size{like.width, like.height};
  if ((autoWindow && !IsSensible(size, src)) || !Reset(dst, size, src.type, src)) return;
  ResetMatte(dst, matte);
  fill(src, dst, &matte, back, area, clip);
}

void WarpImage::fill(const Image& src, Image& dst, Image* matte, const Matrix& back, const Rectangle& area,
                     const Rectangle* clip) const {
  ImageInterpolator read(src);
  read.mode = interpolation;
  const Size size = SizeOf(area);
  const int columns = static_cast<int>(std::min<long>(size.width, dst.width));
  const int rows = static_cast<int>(std::min<long>(size.height, dst.height));
  for (int row = 0; row < rows; ++row)
    for (int column = 0; column < columns; ++column) {
      Point2D p(static_cast<double>(area.tlx) + column, static_cast<double>(area.tly) + row);
      warpPoint(p, &back);
      p += offset;
      if (clip != nullptr && IsOutside(p, *clip)) continue;
      const Pixel sample = Limited(src, read(p.x, p.y));
      dst.SetPixel(column, row, sample);
      if (matte != nullptr) matte->SetPixel(column, row, Pixel(MatteCode(sample, src, *matte), 0));
    }
}

}  // namespace Vorn
