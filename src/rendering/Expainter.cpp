#include "rendering/Expainter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "imaging/ImageDraw.h"
#include "rendering/Matte.h"

using Vorn::Coordinate2D;
using Vorn::Image;
using Vorn::Pixel;
using Vorn::PixelARGBSF;

namespace {

constexpr int kBlock = 32;                   // cells
constexpr float kEdgeThreshold = 0.4f;       // of the full range of luma
constexpr double kLongestExtension = 200.0;  // pixels
constexpr int kKnownCellsBeforeHole = 3;     // the largest index in a walk at which a known cell may still come

const std::array<Coordinate2D, 4> kSides{Coordinate2D(-1, 0), Coordinate2D(1, 0), Coordinate2D(0, -1),
                                         Coordinate2D(0, 1)};
const std::array<Coordinate2D, 4> kDiagonals{Coordinate2D(-1, -1), Coordinate2D(1, -1), Coordinate2D(-1, 1),
                                             Coordinate2D(1, 1)};

bool IsFloat(const Image& image) { return image.GetType() == Vorn::ARGBSF; }

PixelARGBSF& FloatPixel(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

bool Contains(int w, int h, const Coordinate2D& cell) { return cell.x >= 0 && cell.y >= 0 && cell.x < w && cell.y < h; }

size_t IndexOf(int w, int x, int y) { return static_cast<size_t>(y) * w + x; }
size_t IndexOf(int w, const Coordinate2D& cell) { return IndexOf(w, cell.x, cell.y); }

float LumaAt(Image& image, int x, int y) {
  if (!IsFloat(image)) return static_cast<float>(image(x, y).GetYL());
  const PixelARGBSF& pixel = FloatPixel(image, x, y);
  return static_cast<float>(0.299 * pixel.r + 0.587 * pixel.g + 0.114 * pixel.b);
}

/// Up to eight neighbours of a cell.
struct Neighbours {
  std::array<Coordinate2D, 8> cells;
  int count = 0;
  void add(const Coordinate2D& cell) { cells[count++] = cell; }
};

void SetFloatMean(Image& image, const Coordinate2D& cell, const Neighbours& known) {
  PixelARGBSF mean{1.0f, 0.0f, 0.0f, 0.0f};
  for (int i = 0; i < known.count; ++i) {
    const PixelARGBSF& pixel = FloatPixel(image, known.cells[i].x, known.cells[i].y);
    mean.r += pixel.r;
    mean.g += pixel.g;
    mean.b += pixel.b;
  }
  const auto n = static_cast<float>(known.count);
  mean.r /= n;
  mean.g /= n;
  mean.b /= n;
  FloatPixel(image, cell.x, cell.y) = mean;
}

void SetCodeMean(Image& image, const Coordinate2D& cell, const Neighbours& known) {
  Pixel mean = image(known.cells[0].x, known.cells[0].y);
  for (int i = 1; i < known.count; ++i) mean = mean + image(known.cells[i].x, known.cells[i].y);
  for (int Pixel::*component : {&Pixel::R_, &Pixel::G_, &Pixel::B_, &Pixel::M_, &Pixel::Y_, &Pixel::U_, &Pixel::V_})
    mean.*component /= known.count;
  mean.SetAlpha(static_cast<int>(image.alphaRange));
  image.SetPixel(cell.x, cell.y, image.Limit(mean));
}

/// Where the line through (x, y) leaves the image, in whole pixels: by its top, bottom, left and right side. In single
/// precision like the slope, so that what an upright or level line's slope is off by doesn't shift it by a pixel.
std::vector<Coordinate2D> EndsOfLine(int x, int y, float slope, int w, int h) {
  std::vector<Coordinate2D> ends;
  for (const int side : {0, h - 1}) {
    const float hit = static_cast<float>(x) + static_cast<float>(side - y) / slope;
    if (hit >= 0 && hit <= static_cast<float>(w - 1)) ends.emplace_back(static_cast<int>(hit), side);
  }
  for (const int side : {0, w - 1}) {
    const float hit = static_cast<float>(y) + static_cast<float>(side - x) * slope;
    if (hit >= 0 && hit <= static_cast<float>(h - 1)) ends.emplace_back(side, static_cast<int>(hit));
  }
  return ends;
}

}  // namespace

int Expainter::Repair(Image& image, Image& matte, bool edges) {
  const int width = image.GetWidth(), height = image.GetHeight();
  if (!image.valid || !matte.valid || matte.GetWidth() != width || matte.GetHeight() != height) return 0;
  full = MatteMaximum(matte);
  boundary = full / 2;
  marker = full / 4;
  loadMask(matte, width, height);
  std::list<Coordinate2D> ring = findFirstRing(width, height), barriers;
  if (edges) {
    const float threshold = IsFloat(image) ? kEdgeThreshold : kEdgeThreshold * static_cast<float>(image.maxValue);
    findAndMarkEdges(kBlock, threshold, width, height, image, cells.data(), barriers);
  }
  const int filled = growRings(image, ring, true);
  return filled + growRings(image, barriers, false);
}

void Expainter::loadMask(const Image& matte, int width, int height) {
  cells.resize(static_cast<size_t>(width) * height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) cells[IndexOf(width, x, y)] = MatteValue(matte, x, y);
}

std::list<Coordinate2D> Expainter::findFirstRing(int width, int height) {
  std::list<Coordinate2D> ring;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int& cell = cells[IndexOf(width, x, y)];
      if (cell < full) cell = empty;
      if (!isBoundary(cells.data(), width, height, x, y)) continue;
      ring.emplace_back(x, y);
      cell = boundary;
    }
  }
  return ring;
}

/// Fills a whole ring before the next one starts.
int Expainter::growRings(Image& image, std::list<Coordinate2D>& ring, bool boundaryOnly) {
  const int width = image.GetWidth(), height = image.GetHeight();
  int count = 0;
  std::vector<Coordinate2D> filled;
  while (!ring.empty()) {
    for (Coordinate2D& cell : ring)
      if ((!boundaryOnly || cells[IndexOf(width, cell)] == boundary) && filter(image, cell, cells.data()))
        filled.push_back(cell);
    ring.clear();
    for (const Coordinate2D& cell : filled) markNewBoundary(cell.x, cell.y, width, height, cells.data(), ring);
    count += static_cast<int>(filled.size());
    filled.clear();
  }
  return count;
}

bool Expainter::isBoundary(const int* mask, int w, int h, int x, int y) const {
  if (mask[IndexOf(w, x, y)] == full) return false;
  for (int ny = std::max(y - 1, 0); ny <= std::min(y + 1, h - 1); ++ny)
    for (int nx = std::max(x - 1, 0); nx <= std::min(x + 1, w - 1); ++nx)
      if (mask[IndexOf(w, nx, ny)] == full) return true;
  return false;
}

void Expainter::markNewBoundary(int x, int y, int w, int h, int* mask, std::list<Coordinate2D>& list) const {
  for (const auto& steps : {kSides, kDiagonals}) {
    for (const Coordinate2D& step : steps) {
      const Coordinate2D next = Coordinate2D(x, y) + step;
      if (!Contains(w, h, next) || mask[IndexOf(w, next)] != empty) continue;
      mask[IndexOf(w, next)] = boundary;
      list.push_back(next);
    }
  }
  mask[IndexOf(w, x, y)] = full;
}

bool Expainter::filter(Image& image, Coordinate2D& cell, int* mask) const {
  const int w = image.GetWidth(), h = image.GetHeight();
  const auto holds = [&](const Coordinate2D& at, int value) {
    return Contains(w, h, at) && mask[IndexOf(w, at)] == value;
  };
  Neighbours known;
  for (const Coordinate2D& step : kSides)
    if (holds(cell + step, full)) known.add(cell + step);
  for (const Coordinate2D& step : kDiagonals) {
    // An edge isn't crossed at a corner.
    const bool barred = holds(cell + Coordinate2D(step.x, 0), marker) || holds(cell + Coordinate2D(0, step.y), marker);
    if (!barred && holds(cell + step, full)) known.add(cell + step);
  }
  if (known.count == 0) {
    mask[IndexOf(w, cell)] = empty;
    return false;
  }
  const Coordinate2D& first = known.cells[0];
  if (IsFloat(image)) {
    if (known.count == 1)
      FloatPixel(image, cell.x, cell.y) = FloatPixel(image, first.x, first.y);
    else
      SetFloatMean(image, cell, known);
  } else {
    if (known.count == 1)
      image.SetPixel(cell.x, cell.y, image(first.x, first.y));
    else
      SetCodeMean(image, cell, known);
  }
  return true;
}

void Expainter::getGradients(Image& image, int x, int y, float& first, float& second) const {
  const auto luma = [&](int dx, int dy) { return LumaAt(image, x + dx, y + dy); };
  first = (luma(-1, 1) + 2 * luma(0, 1) + luma(1, 1)) - (luma(-1, -1) + 2 * luma(0, -1) + luma(1, -1));
  second = (luma(1, -1) + 2 * luma(1, 0) + luma(1, 1)) - (luma(-1, -1) + 2 * luma(-1, 0) + luma(-1, 1));
}

bool Expainter::facesHole(const int* mask, int w, int x, int y) const {
  return mask[IndexOf(w, x - 2, y)] == boundary || mask[IndexOf(w, x + 2, y)] == boundary ||
         mask[IndexOf(w, x, y - 2)] == boundary || mask[IndexOf(w, x, y + 2)] == boundary;
}

bool Expainter::liesInKnownArea(const int* mask, int w, int x, int y) const {
  for (int ny = y - 1; ny <= y + 1; ++ny)
    for (int nx = x - 1; nx <= x + 1; ++nx)
      if (mask[IndexOf(w, nx, ny)] != full) return false;
  return true;
}

void Expainter::findAndMarkEdges(int block, float threshold, int w, int h, Image& image, int* mask,
                                 std::list<Coordinate2D>& edge) const {
  if (block < 1) return;
  std::vector<float> magnitudes(static_cast<size_t>(block) * block), angles(magnitudes.size());
  for (int top = 0; top < h; top += block) {
    for (int left = 0; left < w; left += block) {
      std::fill(magnitudes.begin(), magnitudes.end(), 0.0f);
      const int firstX = std::max(left, 2), endX = std::min(left + block, w - 2);
      const int firstY = std::max(top, 2), endY = std::min(top + block, h - 2);
      const auto at = [&](int x, int y) { return IndexOf(block, x - left, y - top); };
      for (int y = firstY; y < endY; ++y) {
        for (int x = firstX; x < endX; ++x) {
          if (mask[IndexOf(w, x, y)] != full || !facesHole(mask, w, x, y) || !liesInKnownArea(mask, w, x, y)) continue;
          float first = 0, second = 0;
          getGradients(image, x, y, first, second);
          angles[at(x, y)] = first == 0.0f ? 0.0f : std::atan(second / first);
          const float magnitude = std::sqrt(first * first + second * second);
          if (magnitude > threshold) magnitudes[at(x, y)] = magnitude;
        }
      }
      const auto standsOut = [&](int x, int y) {
        for (int ny = std::max(y - 1, top); ny <= std::min(y + 1, top + block - 1); ++ny)
          for (int nx = std::max(x - 1, left); nx <= std::min(x + 1, left + block - 1); ++nx)
            if (magnitudes[at(nx, ny)] > magnitudes[at(x, y)]) return false;
        return true;
      };
      for (int y = firstY; y < endY; ++y)
        for (int x = firstX; x < endX; ++x)
          if (magnitudes[at(x, y)] > 0 && standsOut(x, y)) extendEdge(x, y, angles[at(x, y)], mask, image, edge);
    }
  }
}

void Expainter::extendEdge(int x, int y, float angle, int* mask, Image& image, std::list<Coordinate2D>& edge) const {
  const int w = image.GetWidth(), h = image.GetHeight();
  const auto slope = static_cast<float>(std::tan(angle + std::numbers::pi / 2));
  std::vector<Coordinate2D> line;
  for (const Coordinate2D& end : EndsOfLine(x, y, slope, w, h)) {
    if (std::hypot(end.x - x, end.y - y) > kLongestExtension) continue;
    Vorn::ImageDraw::GetBresenham(x, y, end.x, end.y, line);
    // Both coordinates have to differ: upright and level lines are walked as they come, by design.
    if (line.front().x != x && line.front().y != y) std::reverse(line.begin(), line.end());
    walkIntoHole(line, mask, w, h, edge);
  }
}

void Expainter::walkIntoHole(const std::vector<Coordinate2D>& line, int* mask, int w, int h,
                             std::list<Coordinate2D>& edge) const {
  bool started = false;
  for (size_t i = 0; i < line.size(); ++i) {
    int& cell = mask[IndexOf(w, line[i])];
    if (cell != empty && cell != boundary) {
      if (started || static_cast<int>(i) > kKnownCellsBeforeHole) return;
      continue;
    }
    cell = marker;
    edge.push_back(line[i]);
    if (static_cast<int>(edge.size()) >= maxEdgeCells) return;
    if (i > 0 && touchesBarrier(mask, w, h, line[i], line[i - 1])) return;  // it has met another edge
    started = true;
  }
}

bool Expainter::touchesBarrier(const int* mask, int w, int h, const Coordinate2D& cell,
                               const Coordinate2D& previous) const {
  return std::any_of(kSides.begin(), kSides.end(), [&](const Coordinate2D& step) {
    const Coordinate2D next = cell + step;
    return Contains(w, h, next) && mask[IndexOf(w, next)] == marker && !(next == previous);
  });
}
