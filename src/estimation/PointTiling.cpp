#include "estimation/PointTiling.h"

#include <algorithm>

namespace Vorn {
namespace {

constexpr double preferredTileSize = 160.0;

int ChooseCount(double extent, int least) { return std::max(static_cast<int>(extent / preferredTileSize), least); }

// The column or row that a distance from the box's corner falls into. A box without extent is one column or row.
int Cell(double distance, double tileSize) { return tileSize > 0 ? static_cast<int>(distance / tileSize) : 0; }

}  // namespace

void PointTiling::SetLayout(int tilesAcross, int tilesDown) {
  tilesX = tilesAcross;
  tilesY = tilesDown;
}

void PointTiling::MakeTiles(PointSet& points) {
  fromMatches = false;
  makeTiles(points.points);
}

void PointTiling::MakeTiles(MatchSet& matches, PointSet& points) {
  std::vector<Point2D> places;
  places.reserve(matches.matches.size());
  for (const MatchPair& pair : matches.matches) places.push_back(points[pair.first]);
  fromMatches = true;
  makeTiles(places);
}

void PointTiling::makeTiles(const std::vector<Point2D>& points) {
  tileOfPoint.clear();
  pointCount = static_cast<int>(points.size());
  randomFree = points.empty();
  if (points.empty()) return;
  const auto byX =
      std::minmax_element(points.begin(), points.end(), [](const Point2D& a, const Point2D& b) { return a.x < b.x; });
  const auto byY =
      std::minmax_element(points.begin(), points.end(), [](const Point2D& a, const Point2D& b) { return a.y < b.y; });
  const double left = byX.first->x, top = byY.first->y;
  const double width = byX.second->x - left, height = byY.second->y - top;
  if (tilesX < 1) tilesX = ChooseCount(width, 4);
  if (tilesY < 1) tilesY = ChooseCount(height, 3);
  const double tileWidth = width / tilesX, tileHeight = height / tilesY;
  tileOfPoint.reserve(points.size());
  for (const Point2D& p : points)
    tileOfPoint.push_back(Cell(p.y - top, tileHeight) * tilesX + Cell(p.x - left, tileWidth));
}

std::vector<int> PointTiling::GetPointsInTile(int tile) const {
  std::vector<int> inside;
  for (int i = 0; i < pointCount; ++i)
    if (tileOfPoint[i] == tile) inside.push_back(i);
  return inside;
}

int PointTiling::GetTile(unsigned int point) const { return point < tileOfPoint.size() ? tileOfPoint[point] : -1; }

}  // namespace Vorn
