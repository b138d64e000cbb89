#pragma once

#include <vector>

#include "numerics/Point2D.h"

namespace Vorn {

class Image;
class Line;
class Pixel;

/// Draws simple shapes into an image of any format. A drawn pixel is laid over what is there by its alpha; what lies
/// outside the image is left out. Pixels are in the image's own space, as `Image::operator()` gives them.
class ImageDraw {
 public:
  ImageDraw() = default;                                 ///< Nothing is drawn.
  explicit ImageDraw(Image& target) : image(&target) {}  ///< The image is lent.
  explicit ImageDraw(Image* target) : image(target) {}   ///< With null nothing is drawn.

  /// Lists every pixel of the line, both ends included, in place of what `out` held (J. E. Bresenham, "Algorithm for
  /// computer control of a digital plotter", IBM Systems Journal 1965). The order depends on the line alone, never on
  /// which end comes first: from the left end to the right one, and a vertical line from the smaller y to the larger.
  static void GetBresenham(int x0, int y0, int x1, int y1, std::vector<Coordinate2D>& out);

  void DrawLine(int x0, int y0, int x1, int y1, const Pixel& colour);
  /// The part of a line, ray or segment that lies in the image.
  void DrawLine(const Line& line, const Pixel& colour);
  /// A line `width` pixels wide, its ends cut square. With `antialias` its edges are blended by how much of a pixel
  /// they cover.
  void DrawWideLine(int x0, int y0, int x1, int y1, const Pixel& colour, double width, bool antialias);
  /// The outline, and the area, of the upright rectangle between two corners, which belong to it.
  void DrawBox(int x0, int y0, int x1, int y1, const Pixel& colour);
  void DrawFilledBox(int x0, int y0, int x1, int y1, const Pixel& colour);
  /// An outline one pixel thin. A radius of 0 is a point.
  void DrawCircle(int x, int y, const Pixel& colour, int radius);
  // Marks at a point, `size` pixels to each side.
  void DrawBoxPoint(int x, int y, const Pixel& colour, int size);
  void DrawCrossPoint(int x, int y, const Pixel& colour, int size);
  void DrawPlusPoint(int x, int y, const Pixel& colour, int size);
  /// Gives the colour to the pixel and to all that are joined to it by sides and are just like it. Not blended.
  void FloodFill(int x, int y, const Pixel& colour);

 private:
  bool contains(int x, int y) const;
  double opacityOf(const Pixel& colour) const;
  void composite(int x, int y, const Pixel& colour, double coverage = 1.0);

  Image* image = nullptr;
};

}  // namespace Vorn
