#include "imaging/FastArray.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "imaging/Image.h"
#include "numerics/Matrix.h"
#include "numerics/RIFF.h"

namespace Vorn {
namespace {

constexpr size_t bytesOnTrust = size_t{1} << 20;

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

/// The head of a file: the word counts by its first four letters alone, and the numbers have at most six digits.
bool ReadSizes(FILE* file, int& width, int& height) {
  char word[255] = "";
  int storedStride = 0;
  char lineFeed = 0;
  const int read = fscanf(file, "%254s%6d%6d%6d%c", word, &width, &height, &storedStride, &lineFeed);
  return read == 5 && std::strncmp(word, "FARY", 4) == 0 && width >= 0 && height >= 0;
}

/// To 0..maximum; what isn't a number becomes 0.
float ClampToRange(float value, float maximum) { return value > 0.0F ? std::min(value, maximum) : 0.0F; }

}  // namespace

FastArray::FastArray(int columns, int rows) { Resize(columns, rows); }

FastArray::FastArray(FastArray& parent, int x0, int y0, int x1, int y1)
    : data(parent.row(y0) + x0),
      width(x1 - x0),
      height(y1 - y0),
      stride(parent.stride),
      isView(true),
      memoryEnd(parent.memoryEnd) {}

FastArray::FastArray(const FastArray& other) {
  Resize(other.width, other.height);
  copyRows(other);
}

FastArray& FastArray::operator=(const FastArray& other) {
  if (this == &other) return *this;
  // `other` may be a view of this very array, so the old memory lives until it is copied.
  const bool grows = isView || width != other.width || height != other.height;
  const std::unique_ptr<float[]> old = grows ? std::move(storage) : nullptr;
  Resize(other.width, other.height);
  copyRows(other);
  return *this;
}

bool FastArray::Resize(int newWidth, int newHeight) {
  newWidth = std::max(newWidth, 0);
  newHeight = std::max(newHeight, 0);
  if (!isView && width == newWidth && height == newHeight) return true;
  storage.reset();  // first, so that old and new memory aren't held together
  const size_t length = static_cast<size_t>(newWidth) * static_cast<size_t>(newHeight);
  storage = std::make_unique_for_overwrite<float[]>(length);
  data = storage.get();
  memoryEnd = data + length;
  width = newWidth;
  height = newHeight;
  stride = newWidth;
  isView = false;
  return true;
}

bool FastArray::Copy(const FastArray& source) {
  if (source.data == nullptr) {
    fputs("FastArray: Cannot copy from NULL source\n", stderr);
    return false;
  }
  if (source.data == data) return true;
  if (data == nullptr) {
    fputs("FastArray: Cannot copy to NULL target\n", stderr);
    return false;
  }
  if (isTight() && source.isTight()) {
    const ptrdiff_t length = std::min<ptrdiff_t>(Length(), source.memoryAhead(source.Length()));
    std::memmove(data, source.data, static_cast<size_t>(length) * sizeof(float));
    return true;
  }
  if (width != source.width || height != source.height) return false;
  copyRows(source);
  return true;
}

ptrdiff_t FastArray::memoryAhead(ptrdiff_t unknown) const {
  return memoryEnd == nullptr ? unknown : std::max<ptrdiff_t>(memoryEnd - data, 0);
}

void FastArray::copyRows(const FastArray& source) {
  if (width == 0 || height == 0 || data == source.data) return;
  const size_t rowBytes = static_cast<size_t>(width) * sizeof(float);
  if (isTight() && source.isTight()) {
    std::memmove(data, source.data, rowBytes * static_cast<size_t>(height));
    return;
  }
  for (int y = 0; y < height; ++y) std::memmove(row(y), source.row(y), rowBytes);
}

void FastArray::Clear(float value) {
  if (width == 0 || height == 0) return;
  if (!isView && value == 0.0F) {
    std::memset(data, 0, static_cast<size_t>(width) * static_cast<size_t>(height) * sizeof(float));
    return;
  }
  for (int y = 0; y < height; ++y) std::fill_n(row(y), width, value);
}

void FastArray::Free() {
  storage.reset();
  data = nullptr;
  memoryEnd = nullptr;
  width = 0;
  height = 0;
}

bool FastArray::ConvertFromMatrix(const Matrix& matrix) {
  Resize(static_cast<int>(matrix.columns), static_cast<int>(matrix.rows));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      (*this)(x, y) = static_cast<float>(matrix(static_cast<unsigned>(y), static_cast<unsigned>(x)));
  return true;
}

void FastArray::ConvertToImage(Image& out, int maxValue) const {
  out.Resize(width, height, L8);
  const auto maximum = static_cast<float>(out.maxValue);
  const bool stretched = static_cast<unsigned>(maxValue) != out.maxValue;
  const int alpha = stretched ? static_cast<int>(out.maxValue) : maxValue;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float value = data[static_cast<ptrdiff_t>(y) * width + x];
      if (stretched) value = value / static_cast<float>(maxValue) * maximum;
      out.SetPixel(x, y, Pixel(static_cast<int>(ClampToRange(value, maximum)), alpha));
    }
}

bool FastArray::Load(const char* path) {
  const File file(fopen(path, "rb"));
  if (file == nullptr) return false;
  int storedWidth = 0, storedHeight = 0;
  if (!ReadSizes(file.get(), storedWidth, storedHeight)) return false;
  const auto rowBytes = static_cast<size_t>(storedWidth) * sizeof(float);
  const auto bytesLeft = static_cast<size_t>(BytesLeft(file.get()));
  // A file that was cut short still gives its part, but a short one doesn't claim memory that it can't fill.
  if (rowBytes * static_cast<size_t>(storedHeight) > 2 * bytesLeft + bytesOnTrust) return false;
  Resize(storedWidth, storedHeight);
  bool whole = true;
  for (int y = 0; y < height; ++y) {
    const size_t read = whole ? fread(row(y), 1, rowBytes, file.get()) : 0;
    whole = read == rowBytes;
    if (!whole) std::memset(reinterpret_cast<char*>(row(y)) + read, 0, rowBytes - read);
  }
  return whole;
}

bool FastArray::Save(const char* path) const {
  File file(fopen(path, "wb"));
  if (file == nullptr) return false;
  bool written = fprintf(file.get(), "FARY\n%d %d %d\n", width, height, stride) > 0;
  if (width > 0 && height > 0) {
    const size_t length = static_cast<size_t>(stride) * static_cast<size_t>(height);
    const size_t inMemory = std::min(length, static_cast<size_t>(memoryAhead(static_cast<ptrdiff_t>(length))));
    const std::vector<float> behindTheEnd(length - inMemory);
    written &= fwrite(data, sizeof(float), inMemory, file.get()) == inMemory;
    if (!behindTheEnd.empty())
      written &= fwrite(behindTheEnd.data(), sizeof(float), behindTheEnd.size(), file.get()) == behindTheEnd.size();
  }
  return (fclose(file.release()) == 0) && written;
}

}  // namespace Vorn
