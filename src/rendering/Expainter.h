#pragma once

#include <cstddef>
#include <list>
#include <vector>

#include "imaging/Image.h"
#include "numerics/Point2D.h"

/// The last resort for the empty part of a picture: grows it in from the known part, ring by ring, each pixel as the
/// mean of its known neighbours. Edges that run into the hole are first extended across it as barriers, which no mean
/// is taken across and which are filled last. It needs no other frame. Not for several threads on one object.
class Expainter {
 public:
  /// Fills what `matte` marks as less than fully known, in place, and returns the number of pixels filled. `matte`: of
  /// the image's size, 16-bit luma (`L16`) or 8-bit; it stays as it is. With `edges` barriers are set up. A picture of
  /// which nothing is known stays empty.
  int Repair(Vorn::Image& image, Vorn::Image& matte, bool edges);

  // The parts of the work. A mask has `w` by `h` cells, row by row, each with one of the four values below.

  /// Whether a cell that isn't known has a known one among its eight neighbours.
  bool isBoundary(const int* mask, int w, int h, int x, int y) const;
  /// Appends the empty ones among the eight neighbours to `list`, as the next ring, and makes the cell known.
  void markNewBoundary(int x, int y, int w, int h, int* mask, std::list<Vorn::Coordinate2D>& list) const;
  /// Gives the cell the mean of its known neighbours; false, and the cell empty, if it has none.
  bool filter(Vorn::Image& image, Vorn::Coordinate2D& cell, int* mask) const;
  /// The Sobel responses of the luma at a pixel that isn't on the image's edge: `first` downward, `second` to the
  /// right.
  void getGradients(Vorn::Image& image, int x, int y, float& first, float& second) const;
  /// Finds the edges that run into the hole, in blocks of `block` by `block` cells, where the gradient is above
  /// `threshold` and stands out, and extends them.
  void findAndMarkEdges(int block, float threshold, int w, int h, Vorn::Image& image, int* mask,
                        std::list<Vorn::Coordinate2D>& edge) const;
  /// Draws the edge at (x, y), whose gradient points to `angle` (radians), into the hole as barrier cells.
  void extendEdge(int x, int y, float angle, int* mask, Vorn::Image& image, std::list<Vorn::Coordinate2D>& edge) const;

  // What a cell of the mask holds; `Repair` sets the first three by the matte's range.
  int full = 255;      ///< known
  int boundary = 127;  ///< on the current ring
  int marker = 63;     ///< a barrier
  int empty = 0;       ///< unknown

  int maxEdgeCells = 20;  ///< barrier cells of a picture, beyond which each further end of an edge gets a single one

 private:
  void loadMask(const Vorn::Image& matte, int width, int height);
  std::list<Vorn::Coordinate2D> findFirstRing(int width, int height);
  int growRings(Vorn::Image& image, std::list<Vorn::Coordinate2D>& ring, bool boundaryOnly);
  bool facesHole(const int* mask, int w, int x, int y) const;
  bool liesInKnownArea(const int* mask, int w, int x, int y) const;
  void walkIntoHole(const std::vector<Vorn::Coordinate2D>& line, int* mask, int w, int h,
                    std::list<Vorn::Coordinate2D>& edge) const;
  bool touchesBarrier(const int* mask, int w, int h, const Vorn::Coordinate2D& cell,
                      const Vorn::Coordinate2D& previous) const;

  std::vector<int> cells;  // the mask, kept for its memory
};
