#include "imaging/ArrayPyramid.h"

#include <algorithm>
#include <cstddef>

#include "numerics/Parallel.h"
#include "numerics/VectorTarget.h"

namespace Vorn {
namespace {

// The kernel at every second sample c, x[c - 2] to x[c + 2]. Products and sums are in double. The two edges differ, and
// must: at the near one the kernel is mirrored, at the far one the sample beyond the border is folded onto the centre.

double Inner(double a, double b, double c, double d, double e) { return 0.0625 * (a + e) + 0.25 * (b + d) + 0.375 * c; }

double NearEdge(double c, double d, double e) { return 0.375 * c + 0.5 * d + 0.125 * e; }

double FarEdge(double a, double b, double c, double d) { return 0.0625 * a + 0.25 * (b + d) + 0.4375 * c; }

/// Whether target sample `i` is the far edge of `length` source samples. An odd length has none: its last target sample
/// has two samples on either side, and the plain rule serves.
bool IsFarEdge(int i, int length) { return length % 2 == 0 && i == length / 2 - 1; }

VORN_VECTOR_CLONES
void HalveInnerSamples(const float* source, int count, float* target) {
  for (int i = 0; i < count; ++i) {
    const float* x = source + static_cast<ptrdiff_t>(2) * i;
    target[i] = static_cast<float>(Inner(x[0], x[1], x[2], x[3], x[4]));
  }
}

/// Target samples `first` to `end` - 1 of one row of `width` source samples; `target` is where sample `first` goes.
void HalveRow(const float* x, int width, int first, int end, float* target) {
  const int last = end - 1;
  const bool nearEdge = first == 0, farEdge = last > 0 && IsFarEdge(last, width);
  // Of two samples there is no third: it is mirrored about the second.
  if (nearEdge) target[0] = static_cast<float>(NearEdge(x[0], x[1], x[width > 2 ? 2 : 0]));
  const int inner = nearEdge ? 1 : first, innerEnd = farEdge ? last : end;
  if (inner < innerEnd)
    HalveInnerSamples(x + static_cast<ptrdiff_t>(2) * inner - 2, innerEnd - inner, target + (inner - first));
  const float* c = x + static_cast<ptrdiff_t>(2) * last;
  if (farEdge) target[last - first] = static_cast<float>(FarEdge(c[-2], c[-1], c[0], c[1]));
}

VORN_VECTOR_CLONES
void CombineInnerRows(const float* const* rows, int width, float* target) {
  const float *a = rows[0], *b = rows[1], *c = rows[2], *d = rows[3], *e = rows[4];
  for (int x = 0; x < width; ++x) target[x] = static_cast<float>(Inner(a[x], b[x], c[x], d[x], e[x]));
}

VORN_VECTOR_CLONES
void CombineNearEdge(const float* c, const float* d, const float* e, int width, float* target) {
  for (int x = 0; x < width; ++x) target[x] = static_cast<float>(NearEdge(c[x], d[x], e[x]));
}

VORN_VECTOR_CLONES
void CombineFarEdge(const float* a, const float* b, const float* c, const float* d, int width, float* target) {
  for (int x = 0; x < width; ++x) target[x] = static_cast<float>(FarEdge(a[x], b[x], c[x], d[x]));
}

constexpr int rowsHeld = 5;         // as many as the kernel needs
constexpr int columnsAtOnce = 512;  // so that what is held stays in the first cache

/// The source's rows at half width, target columns `first` to `end` - 1, made when they are first asked for, in
/// ascending order. The last five stay: a row is halved once, and read again from the cache.
class HalvedRows {
 public:
  HalvedRows(const FastArray& array, int firstColumn, int endColumn)
      : source(array), first(firstColumn), end(endColumn) {}

  const float* row(int y) {
    float* held = rows[y % rowsHeld];
    if (y > newest) {
      HalveRow(source.data + static_cast<ptrdiff_t>(y) * source.stride, source.width, first, end, held);
      newest = y;
    }
    return held;
  }

  const FastArray& source;
  const int first, end;

 private:
  int newest = -1;
  float rows[rowsHeld][columnsAtOnce];
};

/// Target row `y`, from the source's rows 2 y - 2 to 2 y + 2 at half width.
void ReduceToRow(HalvedRows& halved, int y, float* target) {
  const int sourceHeight = halved.source.height, width = halved.end - halved.first;
  if (y == 0) {
    const float *c = halved.row(0), *d = halved.row(1);
    CombineNearEdge(c, d, sourceHeight > 2 ? halved.row(2) : c, width, target);
    return;
  }
  const bool farEdge = IsFarEdge(y, sourceHeight);
  const float* rows[rowsHeld] = {};
  for (int k = 0; k < (farEdge ? rowsHeld - 1 : rowsHeld); ++k) rows[k] = halved.row(2 * y - 2 + k);
  if (farEdge)
    CombineFarEdge(rows[0], rows[1], rows[2], rows[3], width, target);
  else
    CombineInnerRows(rows, width, target);
}

}  // namespace

ArrayPyramid::ArrayPyramid(FastArray& base, int levelCount, bool filter) {
  allocate(levelCount);
  Generate(base, filter);
}

bool ArrayPyramid::allocate(int count) {
  count = std::max(count, 0);
  if (count == levels && !arrays.empty()) return true;
  owned.clear();
  arrays.assign(static_cast<size_t>(count), nullptr);
  for (int level = 1; level < count; ++level) {
    owned.push_back(std::make_unique<FastArray>());
    arrays[static_cast<size_t>(level)] = owned.back().get();
  }
  levels = count;
  return true;
}

bool ArrayPyramid::Generate(FastArray& base, bool filter) {
  if (levels < 1) return true;
  arrays[0] = &base;
  for (size_t level = 1; level < arrays.size(); ++level) {
    const FastArray* previous = arrays[level - 1];
    if (!arrays[level]->Resize(previous->width / 2, previous->height / 2)) return false;
    if (filter) filterScale(previous, arrays[level]);
  }
  return true;
}

/// One reduction step. Rows at half width are made and combined hand in hand, so that they never leave the cache; each
/// stripe also makes the few beyond its ends that its neighbour makes too.
void ArrayPyramid::filterScale(const FastArray* source, FastArray* target) {
  ForEachStripe(target->height, [=](int firstRow, int endRow) {
    for (int first = 0; first < target->width; first += columnsAtOnce) {
      HalvedRows halved(*source, first, std::min(first + columnsAtOnce, target->width));
      for (int y = firstRow; y < endRow; ++y)
        ReduceToRow(halved, y, target->data + static_cast<ptrdiff_t>(y) * target->stride + first);
    }
  });
}

}  // namespace Vorn
