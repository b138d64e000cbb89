#pragma once

#include <string>

#include "film/Clips.h"
#include "film/Fields.h"

// A clip of white squares on black, whose corners are all that there is to follow.
namespace film {

/// Rows and columns of squares move by a pixel a moment to the right, but for three of them: one stands still, one
/// moves down by 4, and one vanishes.
struct SquaresClip {
  static constexpr int width = 320, height = 240, side = 12, pitch = 40, begin = 20, columns = 7, rows = 5;
  static constexpr int stillColumn = 1, oddColumn = 5, goingColumn = 3, goingRow = 1, goneFrom = 5;

  struct Corner {
    double x, y;
  };

  double speed = 1.0;  // pixels a moment

  /// The left upper corner of a square at a moment; in row 0 stand the still and the odd one.
  Corner placeOf(int column, int row, int moment) const {
    Corner place{begin + pitch * column + speed * moment, static_cast<double>(begin + pitch * row)};
    if (row == 0 && column == stillColumn) place.x = begin + pitch * column;
    if (row == 0 && column == oddColumn) place = {static_cast<double>(begin + pitch * column), begin + 4.0 * moment};
    return place;
  }
  static bool isThere(int column, int row, int moment) {
    if (row == 1 && column == oddColumn) return false;  // room for the odd one
    return row != goingRow || column != goingColumn || moment < goneFrom;
  }

  /// Paints the rows `firstRow`, `firstRow` + `step`, ... of a moment.
  void paint(int moment, int firstRow, int step, FloatPicture* picture) const {
    for (int y = firstRow; y < height; y += step)
      for (int x = 0; x < width; ++x) {
        float* argb = picture->samples.data() + 4 * (static_cast<size_t>(y) * width + x);
        argb[0] = 1.0f;
        argb[1] = argb[2] = argb[3] = isWhite(moment, x, y) ? 0.9f : 0.1f;
      }
  }

  /// FFV1 with full chroma, so that colours come back as they were drawn. `order`: of the fields, of which each is a
  /// moment.
  void write(const std::string& path, int frames, AVFieldOrder order = AV_FIELD_PROGRESSIVE,
             AVPixelFormat pixelFormat = AV_PIX_FMT_YUV444P) const {
    ClipContents contents = TestContents(width, height, pixelFormat);
    contents.format.fieldOrder = order;
    contents.planes = *PlaneFormatOf(contents.format);
    contents.identity.timeBaseDenominator = 1000;
    EncoderOptions options;
    options.codec = "ffv1";
    options.threads = 1;
    MovieWriter movie(path, contents, MovieSpan{}, options);
    PicturePool pool(width, height);
    for (int number = 0; number < frames; ++number) {
      SharedPicture picture = pool.take();
      picture->time = 40 * number;
      picture->duration = 40;
      if (order == AV_FIELD_PROGRESSIVE) {
        paint(number, 0, 1, picture.get());
      } else {
        paint(2 * number, static_cast<int>(FirstField(order)), 2, picture.get());
        paint(2 * number + 1, static_cast<int>(SecondField(order)), 2, picture.get());
      }
      movie.write(std::move(picture));
    }
    movie.finish();
  }

 private:
  bool isWhite(int moment, int x, int y) const {
    for (int row = 0; row < rows; ++row)
      for (int column = 0; column < columns; ++column) {
        const Corner place = placeOf(column, row, moment);
        if (isThere(column, row, moment) && x >= place.x && x < place.x + side && y >= place.y && y < place.y + side)
          return true;
      }
    return false;
  }
};

}  // namespace film
