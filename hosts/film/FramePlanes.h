#pragma once

#include <vector>

#include "film/Libav.h"
#include "film/PlaneFormat.h"

namespace film {

/// A frame's samples as separate planes in the machine's byte order, whatever the pixel format makes of them: colours
/// side by side in a pixel, a palette, the other byte order.
///
/// One object serves one thread at a time; it holds the planes that a frame doesn't have itself.
class FramePlanes {
 public:
  /// Whether frames of that format can be had as planes that `ColourConverter` works on.
  static bool Supports(AVPixelFormat format);

  /// The samples of `frame`. They are lent until the frame goes or the next call, whichever comes first.
  ConstPlanes read(const AVFrame& frame);

  /// Where to write samples of `frame`, which the caller has made writable; `finish` then brings them into it.
  Planes toFill(AVFrame& frame);
  void finish(AVFrame& frame);

 private:
  void describe(const AVFrame& frame);
  template <class Byte>
  PlanesOf<Byte> ownPlanes(const AVFrame& frame) const;
  Planes makePlanes(const AVFrame& frame);
  template <class Code>
  void readComponent(const AVFrame& frame, int component, const Planes& planes);
  template <class Code>
  void writeComponent(AVFrame& frame, int component, const Planes& planes);

  const AVPixFmtDescriptor* description = nullptr;
  int components = 0;     // with opacity
  bool separate = false;  // the frame has the planes itself
  std::vector<std::uint8_t> samples[4];
  std::vector<std::uint16_t> line;
  Planes made;
};

}  // namespace film
