#pragma once

#include "imaging/Image.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"

namespace Vorn {

/// Lays pictures over one another, cuts them, and handles their mattes. Pictures may be of any format; one that isn't
/// of the other's is converted. A picture without a matte is opaque. Where a picture reaches beyond the other one, what
/// has no counterpart is left out. Each operation gives false, and changes nothing, for a picture without pixels.
class ImageComposite {
 public:
  /// Lays `top` over `bottom`, both from their upper left corners on, by the alpha of `top` (Porter and Duff,
  /// "Compositing Digital Images", SIGGRAPH 1984: over; colours are not premultiplied). `bottom` keeps its format.
  static bool Composite(const Image& top, Image& bottom);
  /// The same with `weight` of the alpha of `top`: 0 leaves `bottom` as it is.
  static bool Blend(const Image& top, Image& bottom, double weight);
  /// The weighted mean of two pixels of one space, colours and alpha, rounded; `first` if the weights have no sum above
  /// zero. It has the space and `maxValue` of `first`.
  static Pixel Blend(const Pixel& first, const Pixel& second, double firstWeight, double secondWeight);

  /// The part of the picture inside `area`, whose corners belong to it. Empty where there is none.
  static Image Crop(const Image& source, const Rectangle& area);
  static bool Crop(Image& target, const Image& source, const Rectangle& area);
  /// The smallest part with all that isn't fully transparent; empty where everything is.
  static Image CropEmptyMatte(const Image& source);

  /// Lays `source`, or the part of it inside `area`, over `target` with its upper left corner at `position`, which is
  /// rounded to a whole pixel. `weight`: as in `Blend`.
  static bool Paste(const Image& source, Image& target, const Point2D& position, double weight);
  static bool Paste(const Image& source, Image& target, const Point2D& position, const Rectangle& area,
                    double weight = 1.0);

  /// `matte` becomes the alpha of the picture as luma at its full scale: `L8`, `L10`, or `L16` for more than 10 bits.
  static bool GetMatte(const Image& source, Image& matte);
  /// Makes the luma of `matte` the alpha of the picture, transparent where there is none. A type without a matte is
  /// promoted to the one that has it; false if there is none.
  static bool ReMatte(Image& image, const Image& matte);

  /// `target` becomes the picture with left and right, or up and down, exchanged.
  static bool MirrorHorizontally(const Image& source, Image& target);
  static bool MirrorVertically(const Image& source, Image& target);
};

}  // namespace Vorn
