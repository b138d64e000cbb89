#include "film/Canvas.h"

#include <algorithm>
#include <cmath>

#include "film/StrokeFont.h"

using Vorn::Point2D;

namespace film {
namespace {

bool isFinite(const Point2D& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

/// A pixel's column or row, or the nearest one that there is, or `limit` behind the last one.
int pixelIn(double place, int limit) { return static_cast<int>(std::clamp(place, 0.0, static_cast<double>(limit))); }

/// The distance of (x, y) from the line between two points that are `d` apart.
double distanceFrom(double x, double y, const Point2D& a, const Point2D& d) {
  const double length2 = d.x * d.x + d.y * d.y;
  const double along = length2 > 0 ? std::clamp(((x - a.x) * d.x + (y - a.y) * d.y) / length2, 0.0, 1.0) : 0.0;
  return std::hypot(x - a.x - along * d.x, y - a.y - along * d.y);
}

/// How much of a pixel lies within `half` of a line, the pixel's centre being `distance` from it.
float coverage(double half, double distance) { return static_cast<float>(std::clamp(half + 0.5 - distance, 0.0, 1.0)); }

}  // namespace

Canvas::Canvas(FloatPicture& picture, int quarterTurns)
    : columns(quarterTurns % 2 == 0 ? picture.width : picture.height),
      rows(quarterTurns % 2 == 0 ? picture.height : picture.width),
      turns(quarterTurns),
      codedWidth(picture.width),
      codedHeight(picture.height) {
  const std::ptrdiff_t right = 4, down = std::ptrdiff_t{4} * picture.width;
  const std::ptrdiff_t lastColumn = right * (picture.width - 1), lastRow = down * (picture.height - 1);
  const struct {
    std::ptrdiff_t first, stepX, stepY;
  } ways[] = {
      {0, right, down}, {lastRow, -down, right}, {lastRow + lastColumn, -right, -down}, {lastColumn, down, -right}};
  first = picture.samples.data() + ways[turns].first;
  stepX = ways[turns].stepX;
  stepY = ways[turns].stepY;
}

Point2D Canvas::shown(double x, double y) const {
  if (turns == 1) return {codedHeight - 1 - y, x};
  if (turns == 2) return {codedWidth - 1 - x, codedHeight - 1 - y};
  if (turns == 3) return {y, codedWidth - 1 - x};
  return {x, y};
}

void Canvas::blend(float* argb, const Colour& colour, float share) {
  argb[0] += share * (1.0f - argb[0]);
  argb[1] += share * (colour.r - argb[1]);
  argb[2] += share * (colour.g - argb[2]);
  argb[3] += share * (colour.b - argb[3]);
}

void Canvas::fill(int left, int top, int right, int bottom, const Colour& colour, float share) {
  for (int y = std::max(top, 0); y < std::min(bottom, rows); ++y)
    for (int x = std::max(left, 0); x < std::min(right, columns); ++x) blend(at(x, y), colour, share);
}

void Canvas::line(const Point2D& a, const Point2D& b, double thickness, const Colour& colour, float share) {
  if (!isFinite(a) || !isFinite(b)) return;
  const double half = thickness / 2, reach = half + 0.5;
  const Point2D d = b - a;
  // Walked along the axis on which it is longer, each time across its thickness.
  const bool flat = std::fabs(d.x) >= std::fabs(d.y);
  const double from = flat ? std::min(a.x, b.x) : std::min(a.y, b.y);
  const double to = flat ? std::max(a.x, b.x) : std::max(a.y, b.y);
  const double slope = from == to ? 0.0 : flat ? d.y / d.x : d.x / d.y;
  const double across = reach * std::hypot(1.0, slope);
  const int limit = flat ? columns : rows, otherLimit = flat ? rows : columns;
  const int last = pixelIn(std::floor(to + reach) + 1, limit);
  for (int i = pixelIn(std::ceil(from - reach), limit); i < last; ++i) {
    const double step = std::clamp<double>(i, from, to) - (flat ? a.x : a.y);
    const double middle = (flat ? a.y : a.x) + slope * step;
    const int end = pixelIn(std::floor(middle + across) + 1, otherLimit);
    for (int j = pixelIn(std::ceil(middle - across), otherLimit); j < end; ++j) {
      const int x = flat ? i : j, y = flat ? j : i;
      const float covered = coverage(half, distanceFrom(x, y, a, d));
      if (covered > 0) blend(at(x, y), colour, share * covered);
    }
  }
}

void Canvas::ring(const Point2D& centre, double radius, double thickness, const Colour& colour, float share) {
  if (!isFinite(centre)) return;
  const double reach = radius + thickness / 2 + 0.5;
  const int right = pixelIn(std::floor(centre.x + reach) + 1, columns);
  const int bottom = pixelIn(std::floor(centre.y + reach) + 1, rows);
  for (int y = pixelIn(std::ceil(centre.y - reach), rows); y < bottom; ++y)
    for (int x = pixelIn(std::ceil(centre.x - reach), columns); x < right; ++x) {
      const double distance = std::fabs(std::hypot(x - centre.x, y - centre.y) - radius);
      const float covered = coverage(thickness / 2, distance);
      if (covered > 0) blend(at(x, y), colour, share * covered);
    }
}

void Canvas::fillOutside(const std::array<Point2D, 4>& corners, const Colour& colour, float share) {
  if (!std::all_of(corners.begin(), corners.end(), isFinite)) return;
  for (int y = 0; y < rows; ++y) {
    // Where the row enters and leaves the polygon; nowhere unless an edge crosses it.
    double enters = columns, leaves = -1;
    for (size_t i = 0; i < corners.size(); ++i) {
      const Point2D &a = corners[i], &b = corners[(i + 1) % corners.size()];
      if ((a.y < y) == (b.y < y)) continue;
      const double x = a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y);
      enters = std::min(enters, x);
      leaves = std::max(leaves, x);
    }
    const int left = pixelIn(std::ceil(enters), columns);
    const int right = std::max(left, pixelIn(std::floor(leaves) + 1, columns));
    fill(0, y, left, y + 1, colour, share);
    fill(right, y, columns, y + 1, colour, share);
  }
}

void Canvas::text(const Point2D& corner, double size, const std::string& words, const Colour& colour) {
  const double unit = size / glyphHeight;
  const double thickness = std::max(1.0, size / 8);
  double x = corner.x;
  for (const char letter : words) {
    for (const GlyphStroke& stroke : StrokesOf(letter))
      for (size_t i = 0; i < stroke.size(); ++i) {
        // Each piece once, so that a stroke's corners aren't darker; the first point alone is a dot.
        const GlyphPoint &a = stroke[i > 0 ? i - 1 : 0], &b = stroke[i];
        if (i == 0 && stroke.size() > 1) continue;
        line({x + a.x * unit, corner.y + (a.y - glyphHeight) * unit},
             {x + b.x * unit, corner.y + (b.y - glyphHeight) * unit}, thickness, colour);
      }
    x += unit * (WidthOf(letter) + glyphGap);
  }
}

double Canvas::TextWidth(double size, const std::string& words) {
  double width = 0;
  for (const char letter : words) width += WidthOf(letter) + glyphGap;
  return words.empty() ? 0.0 : (width - glyphGap) * size / glyphHeight;
}

}  // namespace film
