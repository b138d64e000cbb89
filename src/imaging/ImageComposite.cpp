#include "imaging/ImageComposite.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "imaging/ChromaRows.h"
#include "imaging/ColourConversion.h"
#include "imaging/Opacity.h"
#include "imaging/PixelRows.h"

namespace Vorn {
namespace {

constexpr std::size_t alpha = 3;

/// What lies of a picture over another one: columns and rows of the lower one, and how far the upper one is shifted.
struct Overlap {
  int left, top, right, bottom;  ///< both included
  int dx, dy;                    ///< from the lower picture to the upper one
  bool isEmpty() const { return right < left || bottom < top; }
};

Rectangle WholeOf(const Image& image) { return {0, 0, image.width - 1, image.height - 1}; }

Rectangle Inside(const Rectangle& area, const Image& image) {
  return {std::max(area.tlx, 0), std::max(area.tly, 0), std::min(area.brx, image.width - 1),
          std::min(area.bry, image.height - 1)};
}

/// A whole coordinate that differences can still be made of; what is no number lies far away.
int NearestPixel(double position) {
  constexpr double farthest = 1 << 29;
  return std::fabs(position) < farthest ? static_cast<int>(std::lround(position)) : static_cast<int>(-farthest);
}

Overlap OverlapOf(const Rectangle& area, const Image& lower, int x, int y) {
  const int dx = area.tlx - x, dy = area.tly - y;
  return {std::max(area.tlx - dx, 0),
          std::max(area.tly - dy, 0),
          std::min(area.brx - dx, lower.width - 1),
          std::min(area.bry - dy, lower.height - 1),
          dx,
          dy};
}

int Mixed(int under, int over, double share) { return static_cast<int>(std::lround(under + (over - under) * share)); }

/// A row of the lower picture with one of the upper one laid over it.
class RowCompositor {
 public:
  RowCompositor(const Image& upper, const Image& converted, const Image& lower, const Overlap& place, double share)
      : top(upper), colours(converted), bottom(lower), overlap(place), weight(share) {}

  void operator()(int y, PixelRow& row) {
    ReadRow(bottom, y, CodeScale::ZeroBased, row);
    if (y < overlap.top || y > overlap.bottom) return;
    const auto width = static_cast<std::size_t>(top.width);
    alphas.resize(width);
    codes.resize(width);
    ReadRow(top, y + overlap.dy, CodeScale::ZeroBased, alphas);
    ReadRow(colours, y + overlap.dy, CodeScale::ZeroBased, codes);
    for (int x = overlap.left; x <= overlap.right; ++x) {
      const int from = x + overlap.dx;
      compose(OpacityOf(alphas[from][alpha], OpaqueCode(top)), codes[from], row[static_cast<std::size_t>(x)]);
    }
  }

 private:
  void compose(double opacity, const PixelCodes& over, PixelCodes& under) const {
    const Shares shares(opacity * weight, bottom.HasMatte() ? OpacityOf(under[alpha], OpaqueCode(bottom)) : 1.0);
    if (shares.colour <= 0.0) return;
    for (std::size_t c = 0; c < alpha; ++c) under[c] = Mixed(under[c], over[c], shares.colour);
    under[alpha] = static_cast<int>(std::lround(shares.opacity * OpaqueCode(bottom)));
  }

  const Image &top, &colours, &bottom;
  const Overlap overlap;
  const double weight;
  PixelRow alphas, codes;  // the upper picture as it is, for its alpha, and in the format of the lower one
};

float MixedFloat(float under, float over, double share) {
  return share >= 1.0 ? over : static_cast<float>(under + (static_cast<double>(over) - under) * share);
}

bool HasFloats(const Image& image) { return image.type == ARGBSF && !image.planar; }

PixelARGBSF FloatsAt(const Image& image, int x, int y) {
  PixelARGBSF p;
  std::memcpy(&p, image.rows[y] + static_cast<std::size_t>(x) * sizeof p, sizeof p);
  return p;
}

void SetFloats(Image& image, int x, int y, const PixelARGBSF& p) {
  std::memcpy(image.rows[y] + static_cast<std::size_t>(x) * sizeof p, &p, sizeof p);
}

double OpacityOfFloat(float value) { return value > 0.0F ? std::min(static_cast<double>(value), 1.0) : 0.0; }

/// Floats don't go through codes: values beyond white stay what they are.
void ComposeFloats(const Image& top, Image& bottom, const Overlap& overlap, double weight) {
  for (int y = overlap.top; y <= overlap.bottom; ++y)
    for (int x = overlap.left; x <= overlap.right; ++x) {
      const PixelARGBSF over = FloatsAt(top, x + overlap.dx, y + overlap.dy), under = FloatsAt(bottom, x, y);
      const Shares shares(OpacityOfFloat(over.a) * weight, OpacityOfFloat(under.a));
      if (shares.colour <= 0.0) continue;
      SetFloats(bottom, x, y,
                {static_cast<float>(shares.opacity), MixedFloat(under.r, over.r, shares.colour),
                 MixedFloat(under.g, over.g, shares.colour), MixedFloat(under.b, over.b, shares.colour)});
    }
}

/// The picture in the format of another one: itself, or what `temporary` then holds.
const Image& InFormatOf(const Image& like, const Image& image, Image& temporary) {
  if (image.IsSameFormat(like) || !temporary.Resize(image.width, image.height, like)) return image;
  ConvertToImage(image, temporary);
  return temporary;
}

bool LayOver(const Image& top, const Rectangle& part, Image& bottom, int x, int y, double weight) {
  if (!top.valid || !bottom.valid) return false;
  if (&top == &bottom) return LayOver(Image(top), part, bottom, x, y, weight);
  const Overlap overlap = OverlapOf(Inside(part, top), bottom, x, y);
  const double share = weight > 0.0 ? std::min(weight, 1.0) : 0.0;
  if (overlap.isEmpty() || share == 0.0) return true;
  Image temporary;
  const Image& converted = InFormatOf(bottom, top, temporary);
  if (HasFloats(bottom)) {
    ComposeFloats(converted, bottom, overlap, share);
    return true;
  }
  RowCompositor compose(top, converted, bottom, overlap, share);
  if (bottom.chromaSubsampling != 0) {
    StoreYCbCr(bottom, CodeScale::ZeroBased, compose);
    return true;
  }
  PixelRow row(static_cast<std::size_t>(bottom.width));
  for (int line = overlap.top; line <= overlap.bottom; ++line) {
    compose(line, row);
    WriteRow(row, line, CodeScale::ZeroBased, bottom);
  }
  return true;
}

/// Fills the target, which has the source's format, with pixels from the columns and rows that are told.
template <typename ColumnOf, typename RowOf>
void Rearrange(const Image& source, Image& target, ColumnOf&& columnOf, RowOf&& rowOf) {
  if (HasFloats(source)) {
    for (int y = 0; y < target.height; ++y)
      for (int x = 0; x < target.width; ++x) SetFloats(target, x, y, FloatsAt(source, columnOf(x), rowOf(y)));
    return;
  }
  PixelRow line(static_cast<std::size_t>(source.width));
  StoreYCbCr(target, CodeScale::Stored, [&](int y, PixelRow& row) {  // other formats have no chroma to share
    ReadRow(source, rowOf(y), CodeScale::Stored, line);
    for (int x = 0; x < target.width; ++x)
      row[static_cast<std::size_t>(x)] = line[static_cast<std::size_t>(columnOf(x))];
  });
}

bool Cut(const Image& source, const Rectangle& area, Image& target) {
  const Rectangle inside = Inside(area, source);
  if (!source.valid || !inside.IsValid()) return false;
  if (!target.Resize(inside.brx - inside.tlx + 1, inside.bry - inside.tly + 1, source)) return false;
  Rearrange(
      source, target, [&](int x) { return inside.tlx + x; }, [&](int y) { return inside.tly + y; });
  return true;
}

PixelType MatteTypeOf(const Image& image) {
  if (image.maxValue < 256) return L8;
  return image.maxValue == 1023 ? L10 : L16;
}

/// The columns of a row that aren't fully transparent: from the first to the last, or none.
void ExtendToOpaque(const Image& image, int y, PixelRow& row, Rectangle& area) {
  ReadRow(image, y, CodeScale::ZeroBased, row);
  for (int x = 0; x < image.width; ++x) {
    const bool seen = HasFloats(image) ? FloatsAt(image, x, y).a > 0.0F : row[static_cast<std::size_t>(x)][alpha] > 0;
    if (!seen) continue;
    area = {std::min(area.tlx, x), std::min(area.tly, y), std::max(area.brx, x), std::max(area.bry, y)};
  }
}

/// The picture in the type that has a matte; false if there is none.
bool Promote(Image& image) {
  PixelType type = image.type;
  if (!image.valid || !Image::UpgradeTypeToAlpha(type)) return false;
  if (type == image.type) return true;
  Image promoted;
  if (!promoted.Resize(image.width, image.height, type)) return false;
  promoted.CopyColourSpace(image);
  ConvertToImage(image, promoted);
  promoted.label = image.label;
  image = promoted;
  return true;
}

void SetAlphaOfFloats(const Image& luma, Image& image) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      PixelARGBSF p = FloatsAt(image, x, y);
      p.a = static_cast<float>(luma(x, y).Luma()) / static_cast<float>(luma.maxValue);
      SetFloats(image, x, y, p);
    }
}

void SetAlphaOfCodes(const Image& luma, Image& image) {
  PixelRow pixels(static_cast<std::size_t>(image.width)), shares(pixels.size());
  for (int y = 0; y < image.height; ++y) {
    ReadRow(image, y, CodeScale::ZeroBased, pixels);
    ReadRow(luma, y, CodeScale::ZeroBased, shares);
    for (std::size_t x = 0; x < pixels.size(); ++x)
      pixels[x][alpha] = static_cast<int>(std::lround(OpacityOf(shares[x][0], luma.maxValue) * OpaqueCode(image)));
    WriteRow(pixels, y, CodeScale::ZeroBased, image);
  }
}

}  // namespace

bool ImageComposite::Composite(const Image& top, Image& bottom) {
  return LayOver(top, WholeOf(top), bottom, 0, 0, 1.0);
}

bool ImageComposite::Blend(const Image& top, Image& bottom, double weight) {
  return LayOver(top, WholeOf(top), bottom, 0, 0, weight);
}

Pixel ImageComposite::Blend(const Pixel& first, const Pixel& second, double firstWeight, double secondWeight) {
  const double sum = firstWeight + secondWeight;
  if (!(sum > 0.0)) return first;
  Pixel result = first;
  for (int Pixel::*c : {&Pixel::R_, &Pixel::G_, &Pixel::B_, &Pixel::M_, &Pixel::Y_, &Pixel::U_, &Pixel::V_, &Pixel::A_})
    result.*c = Mixed(first.*c, second.*c, secondWeight / sum);
  return result;
}

Image ImageComposite::Crop(const Image& source, const Rectangle& area) {
  Image result;
  Crop(result, source, area);
  return result;
}

bool ImageComposite::Crop(Image& target, const Image& source, const Rectangle& area) {
  if (&target == &source) return Cut(Image(source), area, target);
  return Cut(source, area, target);
}

Image ImageComposite::CropEmptyMatte(const Image& source) {
  if (!source.HasMatte()) return Crop(source, WholeOf(source));
  constexpr int most = std::numeric_limits<int>::max();
  Rectangle area(most, most, -1, -1);
  PixelRow row(static_cast<std::size_t>(std::max(source.width, 0)));
  for (int y = 0; y < source.height; ++y) ExtendToOpaque(source, y, row, area);
  return Crop(source, area);
}

bool ImageComposite::Paste(const Image& source, Image& target, const Point2D& position, double weight) {
  return Paste(source, target, position, WholeOf(source), weight);
}

bool ImageComposite::Paste(const Image& source, Image& target, const Point2D& position, const Rectangle& area,
                           double weight) {
  const Rectangle inside = Inside(area, source);
  // What the picture doesn't have of the area keeps its place: it isn't shifted into the corner.
  const int x = NearestPixel(position.x + (static_cast<double>(inside.tlx) - area.tlx));
  const int y = NearestPixel(position.y + (static_cast<double>(inside.tly) - area.tly));
  return LayOver(source, inside, target, x, y, weight);
}

bool ImageComposite::GetMatte(const Image& source, Image& matte) {
  if (&source == &matte) return GetMatte(Image(source), matte);
  if (!source.valid || !matte.Resize(source.width, source.height, MatteTypeOf(source))) return false;
  PixelRow row(static_cast<std::size_t>(source.width));
  for (int y = 0; y < source.height; ++y) {
    ReadRow(source, y, CodeScale::ZeroBased, row);
    for (PixelCodes& codes : row)
      codes[0] = static_cast<int>(std::lround(OpacityOf(codes[alpha], OpaqueCode(source)) * matte.maxValue));
    WriteRow(row, y, CodeScale::ZeroBased, matte);
  }
  return true;
}

bool ImageComposite::ReMatte(Image& image, const Image& matte) {
  if (&image == &matte) return ReMatte(image, Image(matte));
  Image luma;
  if (!matte.valid || !ConvertToLuma(matte, luma) || !Promote(image)) return false;
  if (HasFloats(image))
    SetAlphaOfFloats(luma, image);
  else
    SetAlphaOfCodes(luma, image);
  return true;
}

bool ImageComposite::MirrorHorizontally(const Image& source, Image& target) {
  if (&source == &target) return MirrorHorizontally(Image(source), target);
  if (!source.valid || !target.Resize(source)) return false;
  Rearrange(
      source, target, [&](int x) { return source.width - 1 - x; }, [](int y) { return y; });
  return true;
}

bool ImageComposite::MirrorVertically(const Image& source, Image& target) {
  if (&source == &target) return MirrorVertically(Image(source), target);
  if (!source.valid || !target.Resize(source)) return false;
  Rearrange(
      source, target, [](int x) { return x; }, [&](int y) { return source.height - 1 - y; });
  return true;
}

}  // namespace Vorn
