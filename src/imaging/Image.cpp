#include "imaging/Image.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "imaging/PixelFormat.h"

namespace Vorn {
namespace {

bool IsPlanarType(PixelType type) { return type >= YUVP420 && type <= YUVAP444; }

int PlanesOf(PixelType type) { return type == YUVAP444 ? 4 : 3; }

std::array<int, 4> PlaneStrides(int width, PixelType type) {
  const int chroma = type == YUVP420 || type == YUVP422 ? width / 2 : width;
  return {width, chroma, chroma, width};
}

long long RoundUp(long long value, int multiple) { return (value + multiple - 1) / multiple * multiple; }

/// The bytes of a row; 0 for planar types and for rows that no int can count.
int StrideOf(int width, PixelType type, int pixelBytes) {
  const long long w = width;
  long long bytes = w * pixelBytes;
  if (type == Y2UV32) bytes = RoundUp(w * 2, 4);
  if (type >= Y2UV10 && type <= Y2UV16) bytes = RoundUp(w * 4, 8);
  // Kept: 128 bytes for each six pixels, of which 16 carry data. Row length of this format is meant to be generous.
  if (type == Y6UVX32) bytes = w / 6 * 128 + (w % 6 != 0 ? 128 : 0);
  if (IsPlanarType(type) || bytes > std::numeric_limits<int>::max()) return 0;
  return static_cast<int>(bytes);
}

bool RefuseUndefined(PixelType type) {
  if (type == Undefined) std::fputs("Error: Resizing an image of undefined type\n", stderr);
  return type == Undefined;
}

/// Not cleared: the contents of a new image are undefined, and clearing them would cost a pass over every frame.
std::unique_ptr<unsigned char[]> NewBlock(std::size_t bytes) {
  return std::unique_ptr<unsigned char[]>(new unsigned char[bytes]);
}

}  // namespace

Image::Image(int w, int h, PixelType t) { Resize(w, h, t); }

Image::Image(int w, int h, int rowStride, PixelType t) { Resize(w, h, rowStride, t); }

Image::Image(int w, int h, const Image& like) {
  copyFormat(like);
  if (like.planar)
    ResizePlanar(w, h, like.planeCount, like.planeStride);
  else
    resize(w, h, w == like.width && h == like.height ? std::abs(like.stride) : calculateStride(w, type));
}

Image::Image(int w, int h, int rowStride, PixelType t, unsigned char* data, bool own) {
  if (data == nullptr) return;
  adoptRows(data, w, h, rowStride);
  setPixelType(t);
  ownsData = own;
}

Image::Image(int w, int h, const int* strides, PixelType t, unsigned char* const* planes, bool own) {
  if (!IsPlanarType(t) || std::any_of(planes, planes + PlanesOf(t), [](auto* plane) { return plane == nullptr; }))
    return;
  setPixelType(t);
  width = w;
  height = h;
  stride = strides[0];
  planar = true;
  planeCount = PlanesOf(t);
  rowTable = std::make_unique<unsigned char*[]>(static_cast<std::size_t>(planeCount));
  rows = rowTable.get();
  for (int plane = 0; plane < planeCount; ++plane) {
    planeStride[plane] = strides[plane];
    rows[plane] = planes[plane];
    planeCapacity[plane] = planeBytes(plane);
  }
  ownsData = own;
  valid = true;
}

Image::Image(const Image& other) {
  *this = other;
  label = "none";
}

Image& Image::operator=(const Image& other) {
  if (this == &other) return *this;
  const bool keepsStorage = canTakePixelsOf(other);
  if (!keepsStorage) freeStorage();
  copyFormat(other);
  label = other.label;
  if (!other.valid) return *this;
  if (!keepsStorage && other.planar) ResizePlanar(other.width, other.height, other.planeCount, other.planeStride);
  if (!keepsStorage && !other.planar) resize(other.width, other.height, std::abs(other.stride));
  if (valid) copyPixels(other);
  return *this;
}

Image::~Image() { freeStorage(); }

bool Image::Resize(int w, int h, PixelType t) {
  if (RefuseUndefined(t)) return false;
  if (ownsData && valid && width == w && height == h && type == t) return true;
  const PixelFormat* row = FindPixelFormat(t);
  return row != nullptr && Resize(w, h, StrideOf(w, t, row->pixelBytes), t);
}

bool Image::Resize(int w, int h, int rowStride, PixelType t) {
  if (RefuseUndefined(t)) return false;
  if (ownsData && hasShape(w, h, rowStride, t)) return true;
  if (w <= 0 || h <= 0 || FindPixelFormat(t) == nullptr) return false;
  if (!IsPlanarType(t) && rowStride <= 0) return false;
  setPixelType(t);
  if (!IsPlanarType(t)) return resize(w, h, rowStride);
  if (t == YUVP444) freeStorage();  // kept: this type gets new planes at every such call
  return ResizePlanar(w, h, PlanesOf(t), PlaneStrides(w, t).data());
}

bool Image::Resize(int w, int h) { return Resize(w, h, type); }

bool Image::Resize(int w, int h, const Image& like) {
  if (!Resize(w, h, like.type)) return false;
  CopyColourSpace(like);
  return true;
}

bool Image::Resize(const Image& like) { return Resize(like.width, like.height, like); }

bool Image::hasShape(int w, int h, int rowStride, PixelType t) const {
  if (!valid || width != w || height != h || type != t) return false;
  if (!IsPlanarType(t)) return !planar && stride == rowStride;
  const auto strides = PlaneStrides(w, t);
  const int third = t == YUVP444 ? w / 2 : strides[2];  // kept: half a row, which full chroma never has
  return planar && planeCount == PlanesOf(t) && planeStride[0] == strides[0] && planeStride[1] == strides[1] &&
         planeStride[2] == third && (planeCount < 4 || planeStride[3] == strides[3]);
}

bool Image::resize(int w, int h, int rowStride) {
  if (w <= 0 || h <= 0 || rowStride <= 0) return false;
  freeStorage();
  const std::size_t bytes = static_cast<std::size_t>(rowStride) * static_cast<std::size_t>(h);
  auto block = NewBlock(bytes + static_cast<std::size_t>(tailBytes));
  std::fill_n(block.get() + bytes, tailBytes, static_cast<unsigned char>(0));
  adoptRows(block.get(), w, h, rowStride);
  block.release();  // NOLINT(bugprone-unused-return-value): rows[0] owns it from here on
  return true;      // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): freeStorage gives it back
}

bool Image::ResizePlanar(int w, int h, int planes, const int* strides) {
  if (w <= 0 || h <= 0 || planes <= 0 || planes > 4) return false;
  if (holdsPlanes(h, planes, strides)) {
    width = w;
    return true;
  }
  const std::array<int, 4> wanted = {strides[0], planes > 1 ? strides[1] : 0, planes > 2 ? strides[2] : 0,
                                     planes > 3 ? strides[3] : 0};  // a copy: they may be this image's own
  freeStorage();
  height = h;
  planeCount = planes;
  std::copy(wanted.begin(), wanted.end(), planeStride);
  std::array<std::unique_ptr<unsigned char[]>, 4> blocks;
  for (int plane = 0; plane < planes; ++plane) {
    planeCapacity[plane] = planeBytes(plane);
    blocks[static_cast<std::size_t>(plane)] = NewBlock(planeCapacity[plane]);
  }
  rowTable = std::make_unique<unsigned char*[]>(static_cast<std::size_t>(planes));
  rows = rowTable.get();
  for (int plane = 0; plane < planes; ++plane) rows[plane] = blocks[static_cast<std::size_t>(plane)].release();
  width = w;
  stride = planeStride[0];
  planar = true;
  valid = true;
  return true;
}

bool Image::holdsPlanes(int h, int planes, const int* strides) const {
  if (!valid || !planar || height != h || planeCount != planes) return false;
  for (int plane = 0; plane < planes; ++plane)  // the type may have changed since, and with it the rows of chroma
    if (planeStride[plane] != strides[plane] || planeCapacity[plane] < planeBytes(plane)) return false;
  return true;
}

void Image::adoptRows(unsigned char* data, int w, int h, int rowStride) {
  const std::size_t count = static_cast<std::size_t>(std::max(h, 1));  // the first also says what to free
  rowTable = std::make_unique<unsigned char*[]>(count);
  rows = rowTable.get();
  for (std::size_t i = 0; i < count; ++i) rows[i] = data + static_cast<std::ptrdiff_t>(i) * rowStride;
  width = w;
  height = h;
  stride = rowStride;
  planar = false;
  planeCount = 0;
  std::fill_n(planeStride, 4, 0);
  valid = true;
}

void Image::freeStorage() {
  if (valid && ownsData) {
    const int blocks = planar ? planeCount : 1;  // the rows of an interleaved image are one block
    for (int i = 0; i < blocks; ++i) delete[] rows[i];
  }
  rowTable.reset();
  rows = nullptr;
  width = height = stride = planeCount = 0;
  std::fill_n(planeStride, 4, 0);
  std::fill_n(planeCapacity, 4, std::size_t{0});
  planar = valid = false;
  ownsData = true;
}

void Image::Free() {
  freeStorage();
  setPixelType(Undefined);
  bitDepth = 8;
  label.clear();
}

bool Image::canTakePixelsOf(const Image& other) const {
  if (!valid || !other.valid || planar != other.planar || height != other.height || stride != other.stride ||
      (ownsData && tailBytes != other.tailBytes))  // what is wrapped has no tail of ours
    return false;
  return !planar || (chromaSubsampling == other.chromaSubsampling &&
                     holdsPlanes(other.height, other.planeCount, other.planeStride));
}

void Image::copyFormat(const Image& other) {
  chromaSubsampling = other.chromaSubsampling;
  bitDepth = other.bitDepth;
  yMin = other.yMin;
  yMax = other.yMax;
  uMin = other.uMin;
  uMax = other.uMax;
  vMin = other.vMin;
  vMax = other.vMax;
  aMin = other.aMin;
  aMax = other.aMax;
  black = other.black;
  tailBytes = other.tailBytes;
  pixelBytes = other.pixelBytes;
  maxValue = other.maxValue;
  alphaRange = other.alphaRange;
  type = other.type;
  space = other.space;
  format = other.format;
}

void Image::copyPixels(const Image& other) {
  width = other.width;
  if (planar)
    for (int plane = 0; plane < planeCount; ++plane) std::copy_n(other.rows[plane], planeBytes(plane), rows[plane]);
  else
    for (int y = 0; y < height; ++y) std::memcpy(rows[y], other.rows[y], std::min(rowBytes(), other.rowBytes()));
}

/// Of a bottom-up bitmap, whose stride is negative, only the pixels.
std::size_t Image::rowBytes() const {
  if (stride > 0) return static_cast<std::size_t>(stride);
  long bytes = static_cast<long>(width) * pixelBytes;
  if (format != nullptr && format->layout.groupPixels > 1)
    bytes = RoundUp(width, format->layout.groupPixels) / format->layout.groupPixels * format->layout.groupBytes;
  return static_cast<std::size_t>(std::min(bytes, std::labs(stride)));
}

int Image::planeRows(int plane) const {
  const bool halved = chromaSubsampling == 2 && (plane == 1 || plane == 2);
  return halved ? height / 2 : height;
}

std::size_t Image::planeBytes(int plane) const {
  if (plane >= planeCount || planeStride[plane] <= 0 || height <= 0) return 0;
  const std::size_t bytes = static_cast<std::size_t>(planeStride[plane]) * static_cast<std::size_t>(height);
  const bool halved = chromaSubsampling == 2 && (plane == 1 || plane == 2);
  return halved ? bytes / 2 : bytes;
}

long Image::GetSize() const {
  if (!planar) return std::labs(stride) * height;
  long bytes = 0;
  for (int plane = 0; plane < planeCount; ++plane) bytes += static_cast<long>(planeBytes(plane));
  return bytes;
}

void Image::setPixelType(PixelType t) {
  type = t;
  format = FindPixelFormat(t);
  if (format == nullptr) return;
  bitDepth = format->bitDepth;
  pixelBytes = format->pixelBytes;
  tailBytes = format->tailBytes;
  chromaSubsampling = format->chromaSubsampling;
  space = format->space;

  // ITU-R BT.601 and BT.709: luma 16 to 235 and chroma 16 to 240 at 8 bits, and their multiples at more.
  const bool ycbcr = space >= Rec601;
  const unsigned unit = bitDepth > 0 ? 1u << (bitDepth - 8) : 0;
  maxValue = bitDepth > 0 ? 256 * unit - 1 : 0;
  yMin = uMin = vMin = aMin = ycbcr ? 16 * unit : 0;
  yMax = aMax = ycbcr ? 235 * unit : maxValue;
  uMax = vMax = ycbcr ? 240 * unit : maxValue;
  alphaRange = aMax - aMin;
  generateBlack();
}

int Image::calculateStride(int w, PixelType t) const { return StrideOf(w, t, pixelBytes); }

Pixel Image::GenerateBlack() const {
  Pixel pixel;
  if (type >= BGR24 && type <= ARGBSF)
    pixel = Pixel(0, 0, 0, static_cast<int>(maxValue));
  else if (type >= Y2UV32 && type <= YUVAP444)
    pixel = Pixel(0, static_cast<int>((uMax - uMin) >> 1), static_cast<int>((vMax - vMin) >> 1),
                  static_cast<int>(alphaRange), space);
  else if (type >= L8 && type <= LA32)
    pixel = Pixel(0, static_cast<int>(maxValue));
  else
    return black;
  pixel.maxValue = maxValue;
  return pixel;
}

Pixel Image::GenerateWhite() const {
  const int full = static_cast<int>(maxValue);
  Pixel pixel;
  if (type >= BGR24 && type <= ARGBSF)
    pixel = Pixel(full, full, full, full);
  else if (type >= Y2UV32 && type <= YUVAP444)
    pixel = Pixel(static_cast<int>(yMax - yMin), static_cast<int>((uMax - uMin) >> 1),
                  static_cast<int>((vMax - vMin) >> 1), static_cast<int>(alphaRange), space);
  else if (type >= L8 && type <= LA32)
    pixel = Pixel(full, full);
  else
    return pixel;
  pixel.maxValue = maxValue;
  return pixel;
}

void Image::generateBlack() { black = GenerateBlack(); }

bool Image::IsSameFormat(const Image& other) const {
  return type == other.type && space == other.space && yMin == other.yMin && yMax == other.yMax && uMin == other.uMin &&
         uMax == other.uMax && vMin == other.vMin && vMax == other.vMax && aMin == other.aMin && aMax == other.aMax;
}

int Image::GetChannels(bool withMatte) const {
  if (space == NoSpace) return 0;
  return (space == Mono ? 1 : 3) + (withMatte && HasMatte() ? 1 : 0);
}

bool Image::HasMatte() const { return format != nullptr && format->hasMatte; }

bool Image::UpgradeTypeToAlpha(PixelType& t) {
  const PixelFormat* row = FindPixelFormat(t);
  if (row == nullptr || row->withMatte == Undefined) return false;
  t = row->withMatte;
  return true;
}

bool Image::UpgradeTypeToFullChroma(PixelType& t) {
  const PixelFormat* row = FindPixelFormat(t);
  if (row == nullptr || row->withFullChroma == Undefined) return false;
  t = row->withFullChroma;
  return true;
}

void Image::CopyColourSpace(const Image& like) {
  space = like.space;
  yMin = like.yMin;
  yMax = like.yMax;
  uMin = like.uMin;
  uMax = like.uMax;
  vMin = like.vMin;
  vMax = like.vMax;
  SetRangeA(like.aMin, like.aMax);
}

void Image::SetRangeA(unsigned min, unsigned max) {
  aMin = min;
  aMax = max;
  alphaRange = aMax - aMin;
  generateBlack();
}

}  // namespace Vorn
