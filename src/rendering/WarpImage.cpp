#include "rendering/WarpImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "numerics/Geometry.h"
#include "numerics/Line.h"
#include "numerics/SVD.h"

namespace Vorn {
namespace {

/// A coordinate as a whole number; what lies beyond the range of int, or is no number, ends at the range's edge.
int AsInt(double value) {
  constexpr double lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
  if (!(value > lowest)) return std::numeric_limits<int>::min();
  return value < highest ? static_cast<int>(value) : std::numeric_limits<int>::max();
}

struct Corners {
  Point2D &tl, &tr, &bl, &br;
};

Point2D Midpoint(const Point2D& a, const Point2D& b) { return Line(a, b, true, true).Middle(); }

std::string Text(const Point2D& p) {
  std::ostringstream text;
  text << p.x << ", " << p.y;
  return text.str();
}

/// Where the lines between the middles of opposite sides cross; (0, 0), with a message, where they don't.
Point2D CentreOf(const Corners& c) {
  const Point2D top = Midpoint(c.tl, c.tr), right = Midpoint(c.tr, c.br), bottom = Midpoint(c.br, c.bl),
                left = Midpoint(c.bl, c.tl);
  Point2D centre(0, 0);
  if (Line(top, bottom, false, false).IsIntersectingAt(Line(right, left, false, false), centre)) return centre;
  std::cerr << "WarpImage: Error - warped boundary has no centre!\n"
            << " Border CW: " << Text(c.tl) << "; " << Text(c.tr) << "; " << Text(c.br) << "; " << Text(c.bl)
            << " Line (" << Text(top) << ") - (" << Text(bottom) << ") no intersection with (" << Text(right) << ") - ("
            << Text(left) << ")\n";
  return Point2D(0, 0);
}

/// Where the diagonals of an upright rectangle of the frame's aspect meet the warped frame's sides, each point once.
std::vector<Point2D> DiagonalHits(const Corners& c, const Point2D& centre, float gradient) {
  const Line sides[4] = {Line(c.tl, c.tr, true, true), Line(c.tr, c.br, true, true), Line(c.br, c.bl, true, true),
                         Line(c.bl, c.tl, true, true)};
  std::vector<Point2D> hits;
  for (const double slope : {static_cast<double>(gradient), -static_cast<double>(gradient)}) {
    const Line diagonal(centre, slope);
    for (const Line& side : sides) {
      Point2D hit;
      if (!diagonal.IsIntersectingAt(side, hit)) continue;
      if (std::find(hits.begin(), hits.end(), hit) == hits.end()) hits.push_back(hit);
    }
  }
  return hits;
}

enum Quadrant { UpperLeft, UpperRight, LowerLeft, LowerRight };

Quadrant QuadrantOf(const Point2D& p, const Point2D& centre) {
  if (p.x < centre.x) return p.y < centre.y ? UpperLeft : LowerLeft;
  return p.y < centre.y ? UpperRight : LowerRight;
}

/// One hit a quadrant, the nearest to the centre; false where a quadrant has none.
bool ReduceToQuadrants(std::vector<Point2D>& hits, const Point2D& centre) {
  std::array<std::vector<Point2D>, 4> of;
  for (const Point2D& hit : hits) of[QuadrantOf(hit, centre)].push_back(hit);
  hits.clear();
  for (std::vector<Point2D>& quadrant : of) {
    while (quadrant.size() > 1) {
      const bool firstIsNearer = Distance(quadrant[0], centre) < Distance(quadrant[1], centre);
      quadrant.erase(quadrant.begin() + (firstIsNearer ? 1 : 0));
    }
    if (quadrant.size() != 1) return false;
    hits.push_back(quadrant.front());
  }
  return true;
}

void RoundToThreeDecimals(Point2D& p) {
  p.x = std::round(p.x * 1000) / 1000;
  p.y = std::round(p.y * 1000) / 1000;
}

}  // namespace

Matrix ThreeByThree(const Matrix& m) { return m.rows == 3 && m.columns == 3 ? m : Matrix::GetIdentity(3); }

WarpImage::WarpImage()
    : forward(std::make_unique<Matrix>(Matrix::GetIdentity(3))), inverse(std::make_unique<Matrix>(*forward)) {}

WarpImage::WarpImage(const Matrix& m) : forward(std::make_unique<Matrix>()), inverse(std::make_unique<Matrix>()) {
  SetMatrix(m);
}

WarpImage::WarpImage(const WarpImage& other)
    : forward(std::make_unique<Matrix>(*other.forward)),
      inverse(std::make_unique<Matrix>(*other.inverse)),
      offset(other.offset),
      centre(other.centre),
      autoWindow(other.autoWindow),
      matchTarget(other.matchTarget),
      keepOffset(other.keepOffset),
      inscribed(other.inscribed),
      window(other.window),
      interpolation(other.interpolation) {}

WarpImage& WarpImage::operator=(const WarpImage& other) {
  WarpImage copy(other);
  return *this = std::move(copy);
}

void WarpImage::SetMatrix(const Matrix& m) {
  *forward = ThreeByThree(m);
  *inverse = SVD(*forward, false).Inverse();
}

void WarpImage::warpPoint(Point2D& p, const Matrix* m) const { p = Vorn::ProjectPoint(*m, p - centre) + centre; }

void WarpImage::CalculateWarpWindow(int w, int h, Rectangle& r) { CalculateWarpWindow(w, h, *forward, r); }

void WarpImage::CalculateWarpWindow(int w, int h, const Matrix& m, Rectangle& r) {
  const Matrix matrix = ThreeByThree(m);
  Point2D tl(0, 0), tr(w - 1, 0), bl(0, h - 1), br(w - 1, h - 1);
  for (Point2D* corner : {&tl, &tr, &bl, &br}) {
    if (keepOffset) *corner = *corner - offset;
    warpPoint(*corner, &matrix);
  }
  const auto [left, right] = std::minmax({tl.x, tr.x, bl.x, br.x});
  const auto [top, bottom] = std::minmax({tl.y, tr.y, bl.y, br.y});
  r = window =
      Rectangle(AsInt(std::floor(left)), AsInt(std::floor(top)), AsInt(std::ceil(right)), AsInt(std::ceil(bottom)));
  if (inscribed) calculateInscribedRectangle(w, h, tl, tr, bl, br, r);
}

/// What part of the plane the output shows, of `width` by `height` pixels unless the window decides.
Rectangle WarpImage::outputWindow(const Image& src, int width, int height, const Matrix& m) {
  if (!keepOffset) offset = Point2D();
  Rectangle area(AsInt(-offset.x), AsInt(-offset.y), AsInt(width - 1 - offset.x), AsInt(height - 1 - offset.y));
  if (autoWindow) CalculateWarpWindow(src.width, src.height, m, area);
  return area;
}

void WarpImage::calculateInscribedRectangle(int w, int h, Point2D& tl, Point2D& tr, Point2D& bl, Point2D& br,
                                            Rectangle& r) const {
  const Point2D middle = CentreOf({tl, tr, bl, br});
  const float gradient = static_cast<float>(h - 1) / static_cast<float>(w - 1);
  std::vector<Point2D> hits = DiagonalHits({tl, tr, bl, br}, middle, gradient);
  if (hits.size() > 4 && !ReduceToQuadrants(hits, middle)) {
    std::cerr << "WarpImage: Error - could not find valid inscribed corners\n";
    return;
  }
  Point2D* const corners[4] = {&tl, &tr, &bl, &br};  // in the order of the quadrants
  for (const Point2D& hit : hits) *corners[QuadrantOf(hit, middle)] = hit;
  for (Point2D* corner : corners) RoundToThreeDecimals(*corner);
  r.tlx = AsInt(std::ceil(std::max(tl.x, bl.x)));
  r.tly = AsInt(std::ceil(std::max(tl.y, tr.y)));
  r.brx = AsInt(std::floor(std::min(tr.x, br.x)));
  r.bry = AsInt(std::floor(std::min(bl.y, br.y)));
}

}  // namespace Vorn
