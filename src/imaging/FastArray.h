#pragma once

#include <cstddef>
#include <memory>

namespace Vorn {

class Image;
class Matrix;

/// The two-dimensional array of floats on which all analysis runs: luma, pyramid levels, gradients, eigenvalue maps. It
/// knows no images, colours or ranges; the values are on their producer's scale (the analysis: luma from 0 to 255).
///
/// An array owns its memory and is tight (`stride` is `width`), or it is a view into another array, which must outlive
/// it and keep its memory. Copies are deep. Nothing is locked: threads may write disjoint rows.
class FastArray {
 public:
  FastArray() = default;
  /// Contents are undefined. A negative size counts as 0.
  FastArray(int width, int height);
  /// A view of columns [x0, x1) and rows [y0, y1) of `parent`. No bound is checked.
  FastArray(FastArray& parent, int x0, int y0, int x1, int y1);
  FastArray(const FastArray& other);  ///< The visible elements: the copy of a view owns its memory and is tight.
  /// Copies the visible elements into memory of its own: assigning to a view detaches it from its parent, which stays
  /// as it was. Use Copy to write through a view.
  FastArray& operator=(const FastArray& other);
  ~FastArray() = default;

  /// Makes an owning array of this size with undefined contents; one that is so already stays untouched, contents and
  /// all. A negative size counts as 0. Always true.
  bool Resize(int newWidth, int newHeight);

  /// Copies into the memory that is there, also through a view; never allocates. False, with a message on the standard
  /// error stream, if the source or this array has no memory; false without one if a view takes part and the sizes
  /// differ. Between tight arrays the sizes aren't compared: as many floats as this array has are copied, as far as the
  /// source's memory goes.
  bool Copy(const FastArray& source);

  /// Sets every visible element.
  void Clear(float value);

  /// Gives the memory back, unless it is a parent's; the size becomes 0 by 0. `stride` stays.
  void Free();

  int Length() const { return width * height; }  ///< visible elements

  /// Column x, row y, both from 0; unchecked.
  float& operator()(int x, int y) { return data[static_cast<ptrdiff_t>(y) * stride + x]; }
  const float& operator()(int x, int y) const { return data[static_cast<ptrdiff_t>(y) * stride + x]; }

  /// The luma of an image of any format, at the image's size, on the format's own code scale: the offset of a Y'CbCr
  /// range stays in, so the black of `YUVA32` is 16. How each format is read is told in LumaKernels.h. Always true.
  bool ConvertFromLuma(const Image& image);

  /// Element (x, y) becomes the matrix element at row y and column x. Always true.
  bool ConvertFromMatrix(const Matrix& matrix);

  /// Makes `out` an `L8` image of this array's size. With `maxValue` at the image's own maximum, 255, values are
  /// clamped to 0..255 and truncated; with another one 0..`maxValue` is stretched over that range first. Opaque. The
  /// array must be tight: rows are taken `width` apart.
  void ConvertToImage(Image& out, int maxValue) const;

  /// Reads a file that Save wrote. False if it can't be opened, isn't one, or ends early; what was read until then
  /// stays, with zeros behind it. A file that lacks more than it has and 1 MB is refused before any memory is taken.
  /// The stride in the file is ignored, so what a view wrote comes back sheared: kept, both sides are as the format has
  /// always been.
  bool Load(const char* path);

  /// Writes "FARY", the sizes as text, then `stride` * `height` floats in the machine's byte order: a view's rows
  /// include what lies between them (zeros where its parent ends). False if the file can't be opened or written.
  bool Save(const char* path) const;

  float* data = nullptr;      ///< Element (0, 0). Lent, never deleted by a user.
  int width = 0, height = 0;  ///< elements
  int stride = 0;             ///< elements from one row to the next
  bool isView = false;        ///< the memory belongs to another array

 private:
  bool isTight() const { return stride == width; }
  const float* row(int y) const { return data + static_cast<ptrdiff_t>(y) * stride; }
  float* row(int y) { return data + static_cast<ptrdiff_t>(y) * stride; }
  /// The floats from `data` to the end of the memory, or `unknown` where a user set the fields.
  ptrdiff_t memoryAhead(ptrdiff_t unknown) const;
  void copyRows(const FastArray& source);

  std::unique_ptr<float[]> storage;  // what `data` points into; null in a view
  const float* memoryEnd = nullptr;  // one past the last float, of the parent's memory in a view
};

}  // namespace Vorn
