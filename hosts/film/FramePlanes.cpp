#include "film/FramePlanes.h"

#include <bit>
#include <cstring>

namespace film {
namespace {

constexpr bool bigEndianMachine = std::endian::native == std::endian::big;

bool isPalette(const AVPixFmtDescriptor& description) { return (description.flags & AV_PIX_FMT_FLAG_PAL) != 0; }

int componentsOf(const AVPixFmtDescriptor& description) {
  return isPalette(description) ? 3 : description.nb_components;
}

bool otherByteOrder(const AVPixFmtDescriptor& description) {
  return ((description.flags & AV_PIX_FMT_FLAG_BE) != 0) != bigEndianMachine;
}

/// Each component in a plane of its own, as words of the machine.
bool hasSeparatePlanes(const AVPixFmtDescriptor& description) {
  if (description.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM)) return false;
  const int bytes = description.comp[0].depth > 8 ? 2 : 1;
  if (bytes == 2 && otherByteOrder(description)) return false;
  for (int c = 0; c < description.nb_components; ++c) {
    const AVComponentDescriptor& component = description.comp[c];
    if (component.step != bytes || component.offset != 0 || component.shift != 0) return false;
  }
  return true;
}

/// The plane that a component goes to: opacity is always the fourth.
int targetOf(const AVPixFmtDescriptor& description, int component) {
  const bool opacity = (description.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 && !isPalette(description) &&
                       component == description.nb_components - 1;
  return opacity ? 3 : component;
}

bool isChroma(const AVPixFmtDescriptor& description, int target) {
  return (target == 1 || target == 2) && (description.flags & AV_PIX_FMT_FLAG_RGB) == 0 && !isPalette(description);
}

int coarser(int size, int log2) { return -((-size) >> log2); }

/// Samples that fill whole bytes or words of their own, if need be with bits to spare below.
bool fillsWords(const AVPixFmtDescriptor& description, const AVComponentDescriptor& component) {
  if (description.flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM)) return false;
  if (component.depth == 8) return component.shift == 0;
  return component.depth + component.shift <= 16 && component.step % 2 == 0 && component.offset % 2 == 0 &&
         (description.flags & AV_PIX_FMT_FLAG_PLANAR ? true : component.depth + component.shift == 16);
}

/// Red, green or blue of a row of a palette's picture.
template <class Code>
void lookUp(const AVFrame& frame, int row, int component, int width, Code* codes) {
  const std::uint8_t* indices = frame.data[0] + static_cast<std::ptrdiff_t>(row) * frame.linesize[0];
  const auto* entries = reinterpret_cast<const std::uint32_t*>(frame.data[1]);  // 0xAARRGGBB
  for (int i = 0; i < width; ++i) codes[i] = static_cast<Code>((entries[indices[i]] >> (16 - 8 * component)) & 0xFF);
}

template <class Code>
Code swapped(Code code, bool swap) {
  if constexpr (sizeof(Code) == 2) return swap ? static_cast<Code>((code << 8) | (code >> 8)) : code;
  return code;
}

}  // namespace

bool FramePlanes::Supports(AVPixelFormat format) {
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  if (!description || format == AV_PIX_FMT_XYZ12LE || format == AV_PIX_FMT_XYZ12BE) return false;
  if (description->flags & (AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT)) return false;
  const int depth = description->comp[0].depth;
  for (int c = 0; c < description->nb_components; ++c)
    if (description->comp[c].depth != depth) return false;
  return depth >= 8 && depth <= 16;
}

void FramePlanes::describe(const AVFrame& frame) {
  description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  components = componentsOf(*description);
  separate = hasSeparatePlanes(*description);
}

template <class Byte>
PlanesOf<Byte> FramePlanes::ownPlanes(const AVFrame& frame) const {
  PlanesOf<Byte> planes;
  for (int c = 0; c < components; ++c) {
    const int target = targetOf(*description, c), plane = description->comp[c].plane;
    planes.data[target] = frame.data[plane];
    planes.stride[target] = frame.linesize[plane];
  }
  return planes;
}

Planes FramePlanes::makePlanes(const AVFrame& frame) {
  const int bytes = description->comp[0].depth > 8 ? 2 : 1;
  Planes planes;
  for (int c = 0; c < components; ++c) {
    const int target = targetOf(*description, c);
    const bool chroma = isChroma(*description, target);
    const int width = chroma ? coarser(frame.width, description->log2_chroma_w) : frame.width;
    const int height = chroma ? coarser(frame.height, description->log2_chroma_h) : frame.height;
    samples[target].resize(static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(bytes));
    planes.data[target] = samples[target].data();
    planes.stride[target] = static_cast<std::ptrdiff_t>(width) * bytes;
  }
  line.resize(static_cast<size_t>(frame.width));
  return planes;
}

template <class Code>
void FramePlanes::readComponent(const AVFrame& frame, int component, const Planes& planes) {
  const int target = targetOf(*description, component);
  const AVComponentDescriptor& layout = description->comp[component];
  const int width = static_cast<int>(planes.stride[target] / static_cast<std::ptrdiff_t>(sizeof(Code)));
  const int height = static_cast<int>(samples[target].size() / static_cast<size_t>(planes.stride[target]));
  const bool swap = otherByteOrder(*description), whole = fillsWords(*description, layout);
  const int mask = (1 << layout.depth) - 1, step = layout.step / static_cast<int>(sizeof(Code));
  for (int row = 0; row < height; ++row) {
    auto* codes = reinterpret_cast<Code*>(planes.data[target] + row * planes.stride[target]);
    if (isPalette(*description)) {
      lookUp(frame, row, component, width, codes);
    } else if (whole) {
      const auto* from = reinterpret_cast<const Code*>(
          frame.data[layout.plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[layout.plane] + layout.offset);
      for (int i = 0; i < width; ++i)
        codes[i] = static_cast<Code>((swapped(from[i * step], swap) >> layout.shift) & mask);
    } else {
      av_read_image_line2(line.data(), const_cast<const std::uint8_t**>(frame.data), frame.linesize, description, 0,
                          row, component, width, 0, 2);
      for (int i = 0; i < width; ++i) codes[i] = static_cast<Code>(line[static_cast<size_t>(i)]);
    }
  }
}

template <class Code>
void FramePlanes::writeComponent(AVFrame& frame, int component, const Planes& planes) {
  const int target = targetOf(*description, component);
  const AVComponentDescriptor& layout = description->comp[component];
  const int width = static_cast<int>(planes.stride[target] / static_cast<std::ptrdiff_t>(sizeof(Code)));
  const int height = static_cast<int>(samples[target].size() / static_cast<size_t>(planes.stride[target]));
  const bool swap = otherByteOrder(*description), whole = fillsWords(*description, layout);
  const int step = layout.step / static_cast<int>(sizeof(Code));
  for (int row = 0; row < height; ++row) {
    const auto* codes = reinterpret_cast<const Code*>(planes.data[target] + row * planes.stride[target]);
    if (whole) {
      auto* to = reinterpret_cast<Code*>(
          frame.data[layout.plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[layout.plane] + layout.offset);
      for (int i = 0; i < width; ++i) to[i * step] = swapped(static_cast<Code>(codes[i] << layout.shift), swap);
    } else {
      for (int i = 0; i < width; ++i) line[static_cast<size_t>(i)] = codes[i];
      av_write_image_line2(line.data(), frame.data, frame.linesize, description, 0, row, component, width, 2);
    }
  }
}

ConstPlanes FramePlanes::read(const AVFrame& frame) {
  describe(frame);
  if (separate) return ownPlanes<const std::uint8_t>(frame);
  made = makePlanes(frame);
  ConstPlanes planes;
  for (int c = 0; c < components; ++c) {
    const int target = targetOf(*description, c);
    if (description->comp[0].depth > 8)
      readComponent<std::uint16_t>(frame, c, made);
    else
      readComponent<std::uint8_t>(frame, c, made);
    planes.data[target] = made.data[target];
    planes.stride[target] = made.stride[target];
  }
  return planes;
}

Planes FramePlanes::toFill(AVFrame& frame) {
  describe(frame);
  made = separate ? ownPlanes<std::uint8_t>(frame) : makePlanes(frame);
  return made;
}

void FramePlanes::finish(AVFrame& frame) {
  if (separate) return;
  for (AVBufferRef* buffer : frame.buf)
    if (buffer) std::memset(buffer->data, 0, buffer->size);  // what lies between the components
  for (int c = 0; c < components; ++c) {
    if (description->comp[0].depth > 8)
      writeComponent<std::uint16_t>(frame, c, made);
    else
      writeComponent<std::uint8_t>(frame, c, made);
  }
}

}  // namespace film
