#pragma once

#include <algorithm>

#include "imaging/Image.h"

namespace Vorn {

/// The zero-based alpha code of full opacity.
inline unsigned OpaqueCode(const Image& image) {
  return image.type >= Y2UV32 && image.type <= YUVAP444 ? image.alphaRange : image.maxValue;
}

/// An alpha code as a share of the code of full opacity, 0 to 1.
inline double OpacityOf(int code, unsigned opaqueCode) {
  return opaqueCode == 0 ? 0.0 : std::clamp(code / static_cast<double>(opaqueCode), 0.0, 1.0);
}

/// What comes of a colour that is laid over another one, both with opacities of 0 to 1 (T. Porter, T. Duff,
/// "Compositing digital images", SIGGRAPH 1984; colours aren't premultiplied).
struct Shares {
  Shares(double over, double under)
      : opacity(over + under * (1.0 - over)), colour(opacity > 0.0 ? over / opacity : 0) {}
  double opacity;  ///< of the result
  double colour;   ///< the share of the upper colour in it
};

}  // namespace Vorn
