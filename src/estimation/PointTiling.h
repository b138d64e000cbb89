#pragma once

#include <vector>

#include "numerics/MatchSet.h"
#include "numerics/PointSet.h"

namespace Vorn {

/// Cuts the bounding box of points into tiles, so that a sample can be spread over the image. Tiles are numbered row by
/// row. A point on the box's right or lower edge falls into a column or row one past the last: on the right that is the
/// first tile of the next row, below it is a tile number beyond the grid.
class PointTiling {
 public:
  /// Tiles in x and y; below 1 leaves the choice to `MakeTiles`.
  void SetLayout(int tilesAcross, int tilesDown);

  /// Tiles the points, by their index. A layout that wasn't set gets a tile for every 160 units, at least 4 by 3.
  void MakeTiles(PointSet& points);
  /// Tiles the matches, by their position: match k lies where its first point lies in `points`.
  void MakeTiles(MatchSet& matches, PointSet& points);

  /// The indices (or match positions) in tile `tile`, ascending.
  std::vector<int> GetPointsInTile(int tile) const;
  /// The tile of a point (or match); -1 past the end.
  int GetTile(unsigned int point) const;

  int tilesX = 0;  ///< 0 means choose.
  int tilesY = 0;
  std::vector<int> tileOfPoint;
  int pointCount = 0;
  bool randomFree = true;    ///< No tiles exist yet: samples are drawn without regard to place.
  bool fromMatches = false;  ///< The entries are match positions, not point indices.

 private:
  void makeTiles(const std::vector<Point2D>& points);
};

}  // namespace Vorn
