#include "imaging/ImageDraw.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "imaging/Image.h"
#include "imaging/Opacity.h"
#include "numerics/Line.h"

namespace Vorn {
namespace {

/// A line from its left end (from its upper one if it is vertical).
struct Walk {
  long xa, ya, xb, yb, dx, dy;
};

void WalkDown(const Walk& w, std::vector<Coordinate2D>& out) {
  for (long y = w.ya; y <= w.yb; ++y) out.emplace_back(static_cast<int>(w.xa), static_cast<int>(y));
}

/// 0 < slope < 1.
void WalkFlatFalling(const Walk& w, std::vector<Coordinate2D>& out) {
  long e = 0, y = w.ya;
  for (long x = w.xa; x <= w.xb; ++x) {
    out.emplace_back(static_cast<int>(x), static_cast<int>(y));
    e += w.dy;
    if (2 * e >= w.dx) {
      e -= w.dx;
      ++y;
    }
  }
}

/// slope >= 1.
void WalkSteepFalling(const Walk& w, std::vector<Coordinate2D>& out) {
  long e = 0, x = w.xa;
  for (long y = w.ya; y <= w.yb; ++y) {
    out.emplace_back(static_cast<int>(x), static_cast<int>(y));
    e += w.dx;
    if (2 * e >= w.dy) {
      e -= w.dy;
      ++x;
    }
  }
}

/// -1 < slope <= 0.
void WalkFlatRising(const Walk& w, std::vector<Coordinate2D>& out) {
  long e = 0, y = w.ya;
  for (long x = w.xa; x <= w.xb; ++x) {
    out.emplace_back(static_cast<int>(x), static_cast<int>(y));
    e -= w.dy;
    if (2 * e >= w.dx) {
      e -= w.dx;
      --y;
    }
  }
}

/// slope <= -1.
void WalkSteepRising(const Walk& w, std::vector<Coordinate2D>& out) {
  long e = 0, x = w.xa;
  for (long y = w.ya; y >= w.yb; --y) {
    out.emplace_back(static_cast<int>(x), static_cast<int>(y));
    e -= w.dx;
    if (2 * e <= w.dy) {
      e -= w.dy;
      ++x;
    }
  }
}

int Mix(int under, int over, double share) { return static_cast<int>(std::lround(under + (over - under) * share)); }

/// Whether the pixel at `value` on an axis lies before no end of the line and behind none. A line's ends are in the
/// order of x, so along y those of a rising line stand the other way round.
bool IsBetween(const Line& line, double Point2D::*axis, double value) {
  const double way = axis == &Point2D::y && line.slope < 0 ? -1 : 1;
  return (!line.hasStart || way * (value - line.start.*axis) > -0.5) &&
         (!line.hasStop || way * (value - line.stop.*axis) < 0.5);
}

}  // namespace

void ImageDraw::GetBresenham(int x0, int y0, int x1, int y1, std::vector<Coordinate2D>& out) {
  out.clear();
  if (x1 < x0 || (x1 == x0 && y1 < y0)) {
    std::swap(x0, x1);
    std::swap(y0, y1);
  }
  const Walk walk{x0, y0, x1, y1, static_cast<long>(x1) - x0, static_cast<long>(y1) - y0};
  if (walk.dx == 0) return WalkDown(walk, out);
  const double slope = static_cast<double>(walk.dy) / static_cast<double>(walk.dx);
  if (slope >= 1) return WalkSteepFalling(walk, out);
  if (slope > 0) return WalkFlatFalling(walk, out);
  if (slope > -1) return WalkFlatRising(walk, out);
  WalkSteepRising(walk, out);
}

bool ImageDraw::contains(int x, int y) const {
  return image && x >= 0 && y >= 0 && x < image->GetWidth() && y < image->GetHeight();
}

double ImageDraw::opacityOf(const Pixel& colour) const {
  const bool hasAlphaRange = image->space >= Rec601;  // there a pixel's own norm would take alpha for a stored code
  return hasAlphaRange ? OpacityOf(colour.A(), image->alphaRange) : std::clamp(colour.GetAlphaNorm(), 0.0, 1.0);
}

/// Lays the colour over the pixel by its alpha and by how much of the pixel it covers.
void ImageDraw::composite(int x, int y, const Pixel& colour, double coverage) {
  if (!contains(x, y)) return;
  Pixel pixel = (*image)(x, y);
  const unsigned opaque = OpaqueCode(*image);
  const Shares shares(opacityOf(colour) * coverage, image->HasMatte() ? OpacityOf(pixel.A(), opaque) : 1.0);
  if (shares.colour <= 0.0) return;
  for (int Pixel::*component : {&Pixel::R_, &Pixel::G_, &Pixel::B_, &Pixel::M_, &Pixel::Y_, &Pixel::U_, &Pixel::V_})
    pixel.*component = Mix(pixel.*component, colour.*component, shares.colour);
  pixel.SetAlpha(static_cast<int>(std::lround(shares.opacity * opaque)));
  image->SetPixel(x, y, pixel);
}

void ImageDraw::DrawLine(int x0, int y0, int x1, int y1, const Pixel& colour) {
  std::vector<Coordinate2D> cells;
  GetBresenham(x0, y0, x1, y1, cells);
  for (const Coordinate2D& cell : cells) composite(cell.x, cell.y, colour);
}

void ImageDraw::DrawLine(const Line& line, const Pixel& colour) {
  if (!image) return;
  const int right = image->GetWidth() - 1, bottom = image->GetHeight() - 1;
  if (line.vertical) {
    const int x = static_cast<int>(std::lround(std::clamp(line.intercept, -1.0, right + 1.0)));
    for (int y = 0; y <= bottom; ++y)
      if (IsBetween(line, &Point2D::y, y)) composite(x, y, colour);
    return;
  }
  // Walked along the axis on which it is longer, so that it has no gaps.
  if (std::fabs(line.slope) <= 1) {
    for (int x = 0; x <= right; ++x) {
      const double y = line.slope * x + line.intercept;
      if (y > -0.5 && y < bottom + 0.5 && IsBetween(line, &Point2D::x, x))
        composite(x, static_cast<int>(std::lround(y)), colour);
    }
  } else {
    for (int y = 0; y <= bottom; ++y) {
      const double x = (y - line.intercept) / line.slope;
      if (x > -0.5 && x < right + 0.5 && IsBetween(line, &Point2D::y, y))
        composite(static_cast<int>(std::lround(x)), y, colour);
    }
  }
}

void ImageDraw::DrawWideLine(int x0, int y0, int x1, int y1, const Pixel& colour, double width, bool antialias) {
  if (!image) return;
  const double dx = static_cast<double>(x1) - x0, dy = static_cast<double>(y1) - y0, length = std::hypot(dx, dy);
  if (length == 0) return;
  const double half = width / 2, reach = half + 1;
  const auto within = [](double v, int size) { return static_cast<int>(std::clamp(v, 0.0, size - 1.0)); };
  const int left = within(std::min(x0, x1) - reach, image->GetWidth());
  const int right = within(std::max(x0, x1) + reach, image->GetWidth());
  const int top = within(std::min(y0, y1) - reach, image->GetHeight());
  const int bottom = within(std::max(y0, y1) + reach, image->GetHeight());
  for (int y = top; y <= bottom; ++y) {
    for (int x = left; x <= right; ++x) {
      const double along = ((x - x0) * dx + (y - y0) * dy) / length;
      const double aside = std::fabs((x - x0) * dy - (y - y0) * dx) / length;
      const double inside = std::min(half - aside, std::min(along, length - along) + 0.5);  // of the nearest edge
      const double coverage = antialias ? std::clamp(inside + 0.5, 0.0, 1.0) : (inside >= 0 ? 1.0 : 0.0);
      if (coverage > 0) composite(x, y, colour, coverage);
    }
  }
}

void ImageDraw::DrawBox(int x0, int y0, int x1, int y1, const Pixel& colour) {
  const int left = std::min(x0, x1), right = std::max(x0, x1), top = std::min(y0, y1), bottom = std::max(y0, y1);
  DrawLine(left, top, right, top, colour);
  if (bottom > top) DrawLine(left, bottom, right, bottom, colour);
  if (bottom - top < 2) return;
  DrawLine(left, top + 1, left, bottom - 1, colour);  // no corner twice: the colour may be translucent
  if (right > left) DrawLine(right, top + 1, right, bottom - 1, colour);
}

void ImageDraw::DrawFilledBox(int x0, int y0, int x1, int y1, const Pixel& colour) {
  if (!image) return;
  const int left = std::max(std::min(x0, x1), 0), right = std::min(std::max(x0, x1), image->GetWidth() - 1);
  const int top = std::max(std::min(y0, y1), 0), bottom = std::min(std::max(y0, y1), image->GetHeight() - 1);
  for (int y = top; y <= bottom; ++y)
    for (int x = left; x <= right; ++x) composite(x, y, colour);
}

void ImageDraw::DrawCircle(int x, int y, const Pixel& colour, int radius) {
  if (!image || radius < 0) return;
  const long r = radius;
  const auto edge = [r](long v) { return std::lround(std::sqrt(static_cast<double>(r * r - v * v))); };
  const auto mark = [&](long px, long py) {
    if (std::labs(px) < (1L << 30) && std::labs(py) < (1L << 30))
      composite(static_cast<int>(px), static_cast<int>(py), colour);
  };
  // By rows where the outline is steep and by columns where it is flat, so that no pixel comes twice.
  const long diagonal = std::lround(static_cast<double>(r) * 0.70710678118654752);
  const long rows = std::min<long>(r, image->GetHeight() + std::labs(y)), columns = image->GetWidth() + std::labs(x);
  for (long v = -std::min(diagonal, rows); v <= std::min(diagonal, rows); ++v) {
    mark(x - edge(v), y + v);
    if (edge(v) != 0) mark(x + edge(v), y + v);
  }
  for (long u = -std::min(diagonal, columns); u <= std::min(diagonal, columns); ++u) {
    if (edge(u) <= diagonal) continue;
    mark(x + u, y - edge(u));
    mark(x + u, y + edge(u));
  }
}

void ImageDraw::DrawBoxPoint(int x, int y, const Pixel& colour, int size) {
  DrawBox(x - size, y - size, x + size, y + size, colour);
}

void ImageDraw::DrawCrossPoint(int x, int y, const Pixel& colour, int size) {
  DrawLine(x - size, y - size, x + size, y + size, colour);
  for (int i = 1; i <= size; ++i) {
    composite(x - i, y + i, colour);
    composite(x + i, y - i, colour);
  }
}

void ImageDraw::DrawPlusPoint(int x, int y, const Pixel& colour, int size) {
  DrawLine(x - size, y, x + size, y, colour);
  for (int i = 1; i <= size; ++i) {
    composite(x, y - i, colour);
    composite(x, y + i, colour);
  }
}

void ImageDraw::FloodFill(int x, int y, const Pixel& colour) {
  if (!contains(x, y)) return;
  const Pixel before = (*image)(x, y);
  const auto width = static_cast<std::size_t>(image->GetWidth());
  std::vector<bool> found(width * static_cast<std::size_t>(image->GetHeight()));
  std::vector<Coordinate2D> area;
  const auto take = [&](int cellX, int cellY) {
    if (!contains(cellX, cellY)) return;
    const std::size_t cell = static_cast<std::size_t>(cellY) * width + static_cast<std::size_t>(cellX);
    if (found[cell] || (*image)(cellX, cellY) != before) return;
    found[cell] = true;
    area.emplace_back(cellX, cellY);
  };
  take(x, y);
  for (std::size_t i = 0; i < area.size(); ++i) {
    const Coordinate2D cell = area[i];
    take(cell.x - 1, cell.y);
    take(cell.x + 1, cell.y);
    take(cell.x, cell.y - 1);
    take(cell.x, cell.y + 1);
  }
  // Only now, since neighbours that share chroma change with a pixel.
  for (const Coordinate2D& cell : area) image->SetPixel(cell.x, cell.y, colour);
}

}  // namespace Vorn
