#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "imaging/Pixel.h"
#include "imaging/PixelType.h"

namespace Vorn {

struct PixelFormat;

/// The container for pictures: a table of row pointers over a block of bytes, and what the bytes mean.
///
/// An image is either invalid (no storage, size 0) or valid. Interleaved images have one pointer a row in `rows`,
/// planar ones one a plane; `planar` says which. An image that wraps memory doesn't copy it, and the memory must
/// outlive it. Sizes and strides of wrapped memory are the caller's word and aren't checked.
///
/// No locks: many threads may read one image and write disjoint rows while nobody resizes it.
class Image {
 public:
  /// Empty, `Undefined`, not valid.
  Image() = default;
  /// Allocates; contents are undefined. Not valid if a size isn't positive or the type has no layout.
  Image(int width, int height, PixelType type);
  /// `stride`: bytes from row to row; planar types have theirs from the width and ignore it.
  Image(int width, int height, int stride, PixelType type);
  /// Allocates with the type, ranges and space of `like`, contents undefined. Keeps the stride of `like` if the size
  /// is unchanged; the plane strides of a planar `like` are taken on whatever the size.
  Image(int width, int height, const Image& like);
  /// Wraps `height` rows that lie `stride` bytes apart, without copying. With `own` the image frees `data`, which was
  /// made with new[]. Without data the image is not valid.
  Image(int width, int height, int stride, PixelType type, unsigned char* data, bool own);
  /// Wraps planes, for the codes 287 to 290 with 3, 3, 3 and 4 planes (and as many strides, in bytes); not valid for
  /// any other type. With `own` the image frees each plane, which was made with new[].
  Image(int width, int height, const int* strides, PixelType type, unsigned char* const* planes, bool own);

  /// Deep: the copy of a wrapped image owns its block. The label is "none".
  Image(const Image& other);
  /// Deep, with the label. Storage of the same height, stride and kind (if owned, also tail) is kept: assigning onto a
  /// wrapped image copies into the wrapped memory.
  Image& operator=(const Image& other);
  ~Image();

  /// Makes room for `w` by `h` pixels of `t` in the format's own ranges; contents are undefined. An owned, valid image
  /// of this size and type stays untouched. `Undefined` prints a message. False, and nothing changed, for it, for a
  /// type without a layout and for sizes that aren't positive.
  bool Resize(int w, int h, PixelType t);
  /// As above, with the bytes from row to row; planar types have theirs from the width and ignore it.
  bool Resize(int w, int h, int rowStride, PixelType t);
  bool Resize(int w, int h);
  /// With the type, ranges and space of `like`.
  bool Resize(int w, int h, const Image& like);
  bool Resize(const Image& like);
  /// Makes room for `planes` (at most 4) byte planes of `strides[i]` bytes a row; planes 1 and 2 have half the rows if
  /// `chromaSubsampling` is 2. Keeps storage that already has this shape. False if a size or count isn't positive.
  bool ResizePlanar(int w, int h, int planes, const int* strides);

  /// Fills depth, bytes, ranges, space and black for `t`, and leaves the storage alone. A code without a layout is
  /// stored, and nothing else changes.
  void setPixelType(PixelType t);
  /// The bytes that an image's rows of `t` take; 0 for planar types. Types without a rule of their own use
  /// `pixelBytes` as it stands, so call setPixelType first.
  int calculateStride(int w, PixelType t) const;

  /// The pixel with its ranges' minima taken off, scaled to `maxValue` of the format's depth. Outside the image it is
  /// black with alpha 0. A float is clamped to 0..1 and becomes a 16-bit code.
  Pixel operator()(int x, int y) const;
  /// The codes as they are stored; alpha is `aMax` where there is no matte. `maxValue` is 255 (`ARGB64`: 65535).
  Pixel GetRaw(int x, int y) const;
  /// The counterparts: outside the image they do nothing, each code is masked to its field, and alpha is dropped where
  /// there is no matte. The pixel's own `maxValue` isn't looked at. Pixels that share chroma get the later one's.
  void SetPixel(int x, int y, const Pixel& pixel);
  void SetRaw(int x, int y, const Pixel& pixel);

  /// The pixel with its components clamped to what the image can hold.
  Pixel Limit(const Pixel& pixel) const;
  Pixel GenerateBlack() const;
  Pixel GenerateWhite() const;

  /// Fills with black (interleaved Y'CbCr) or zero bytes; planes get zero bytes. Nothing happens unless valid.
  void Clear();
  void Clear(const Pixel& pixel);
  /// Gives the storage back; the image is then as it was constructed, but with an empty label.
  void Free();

  int GetWidth() const { return width; }
  int GetHeight() const { return height; }
  int GetStride() const { return stride; }
  PixelType GetType() const { return type; }
  /// Bytes of image data, padding of the rows included, the tail not.
  long GetSize() const;
  /// Same type, space and ranges; sizes may differ.
  bool IsSameFormat(const Image& other) const;
  int GetChannels(bool withMatte) const;
  bool HasMatte() const;

  /// Turns a type into the one with a matte; false, and `t` as it was, if there is none.
  static bool UpgradeTypeToAlpha(PixelType& t);
  /// Turns a chroma-subsampled type into one with full chroma; false for all others.
  static bool UpgradeTypeToFullChroma(PixelType& t);

  void CopyColourSpace(const Image& like);
  /// Stores the space and nothing else.
  void SetColourSpace(ColourSpace colourSpace) { space = colourSpace; }
  void SetRangeA(unsigned min, unsigned max);

  /// Files are chosen by extension, on loading also by the first bytes. No codec is linked: after the messages about
  /// an unknown name every call gives false, and the per-format functions stand for the interface only.
  bool Load(const char* path);
  bool Save(const char* path) const;
  bool LoadJPEG(const char* path);
  bool LoadJ2K(const char* path);
  bool LoadPNG(const char* path);
  bool LoadBMP(const char* path);
  bool LoadTGA(const char* path);
  bool LoadPNM(const char* path);
  bool LoadTIFF(const char* path);
  bool SaveJPEG(const char* path, int quality) const;
  bool SaveJ2K(const char* path, int quality) const;
  bool SavePNG(const char* path) const;
  bool SaveBMP(const char* path) const;
  bool SaveTGA(const char* path) const;
  bool SavePNM(const char* path) const;
  bool SaveTIFF(const char* path, int quality) const;

  std::string label = "none";  ///< a free tag
  int chromaSubsampling = 0;   ///< 0 full chroma, 1 halved horizontally, 2 halved in both directions
  int bitDepth = 8;
  unsigned yMin = 0, yMax = 0, uMin = 0, uMax = 0, vMin = 0, vMax = 0, aMin = 0, aMax = 0;  ///< codes
  unsigned char** rows = nullptr;  ///< first bytes of the rows, or of the planes; lent
  Pixel black;                     ///< the value of an empty area
  bool ownsData = true;            ///< whether the pixels are freed with the image; the table of rows always is
  int width = 0, height = 0;
  int stride = 0;     ///< bytes from row to row
  int tailBytes = 0;  ///< slack behind the last row, so that the last pixel can be read as a whole word
  int pixelBytes = 0;
  bool planar = false;
  int planeCount = 0;
  int planeStride[4] = {};  ///< bytes from row to row of each plane
  unsigned maxValue = 0;
  unsigned alphaRange = 0;  ///< aMax - aMin
  PixelType type = Undefined;
  ColourSpace space = NoSpace;
  bool valid = false;  ///< storage exists

 private:
  /// The codes of one pixel in the order of `PixelLayout::fields`.
  struct Codes {
    int values[4] = {};
  };

  bool resize(int w, int h, int rowStride);
  void generateBlack();

  bool hasShape(int w, int h, int rowStride, PixelType t) const;
  bool holdsPlanes(int h, int planes, const int* strides) const;
  bool canTakePixelsOf(const Image& other) const;
  void copyFormat(const Image& other);
  void copyPixels(const Image& other);
  void adoptRows(unsigned char* data, int w, int h, int rowStride);
  void freeStorage();
  std::size_t rowBytes() const;
  int planeRows(int plane) const;
  std::size_t planeBytes(int plane) const;

  bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
  bool hasCodes() const;
  Pixel outside() const;
  unsigned char* planeSample(int plane, int x, int y) const;
  Codes readCodes(int x, int y) const;
  void writeCodes(int x, int y, const Codes& codes);
  Codes rangeMinima() const;
  Pixel makePixel(const Codes& codes) const;
  Codes codesOf(const Pixel& pixel) const;

  const PixelFormat* format = nullptr;         ///< the row of `type`; null for codes without one
  std::unique_ptr<unsigned char*[]> rowTable;  ///< what `rows` points to
  std::size_t planeCapacity[4] = {};           ///< bytes behind each plane's pointer
};

}  // namespace Vorn
