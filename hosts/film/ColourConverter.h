#pragma once

#include <vector>

#include "film/ChromaAxis.h"
#include "film/PlaneFormat.h"

namespace film {

/// Turns planes of codes into rows of float a, r, g, b and back (ITU-T H.273, equations for matrix coefficients that
/// stand on two luma weights).
///
/// Nothing is rounded or clipped on the way to floats: codes outside the nominal range become values below 0 or above
/// 1. So luma comes back to the very code, whatever the chroma is, and since `ChromaAxis` pairs its filters to that
/// end, so does chroma (all but the last sample of an odd size with chroma between the samples). Red, green and blue
/// come back too.
///
/// An interlaced picture with halved rows of chroma is worked on as two pictures, one a field, so that no chroma row
/// is made from both moments. What is midway between the rows of a frame lies a quarter of the way down from the top
/// field's rows and three quarters from the bottom field's (ITU-T H.262, figure 6-2).
///
/// One object serves one thread at a time; it holds the row buffers.
class ColourConverter {
 public:
  /// `premultiplied`: colours that `toCodes` gets are weighed with their a, and are to be stored without that weight.
  explicit ColourConverter(const PlaneFormat& format, bool premultiplied = false);

  /// Fills `argb`, `rowBytes` from row to row, with a = 1 where the format has no opacity. Nominal black is 0 and white
  /// 1.
  void toFloat(const ConstPlanes& planes, float* argb, std::ptrdiff_t rowBytes);

  /// The nearest codes, clipped to those that the depth has; what is not a number becomes code 0. `a` is read where
  /// the format has opacity.
  void toCodes(const float* argb, std::ptrdiff_t rowBytes, const Planes& planes);

 private:
  static constexpr int keptRows = 8;  // more than the rows that one chroma row is made from

  ColourConverter(const PlaneFormat& format, int chromaRows, bool premultiplied);

  void readLumaAndChroma(const ConstPlanes& planes, int row, float* argb);
  void readRgb(const ConstPlanes& planes, int row, float* argb);
  void readOpacity(const ConstPlanes& planes, int row, float* argb);
  void writeRgb(const float* argb, int row, const Planes& planes);
  void writeOpacity(const float* argb, int row, const Planes& planes);
  void readChromaRow(const ConstPlanes& planes, int plane, int row, float* values);
  void blendChroma(const ConstPlanes& planes, int plane, int row, float* full);
  void keepChroma(const float* full, int row, float* kept);
  void writeChromaRow(const Planes& planes, int plane, int row, const float* kept);
  void writeChromaRowsThrough(const Planes& planes, int lastLumaRow, int* next);

  PlaneFormat format;
  std::vector<ColourConverter> fields;  // of an interlaced picture the top and the bottom one, else empty
  int chromaRows;                       // those that the picture has
  ChromaAxis axisX, axisY;
  float lumaScale, lumaOffset, chromaScale, chromaOffset, largestCode;
  std::vector<float> luma, chroma[2];      // one row in full width
  std::vector<float> opacity, straight;    // the same; empty where there is none
  std::vector<float> coarse, coarseBelow;  // one row in chroma width
  std::vector<float> kept[2];              // `keptRows` rows in chroma width, row r at r % keptRows
};

}  // namespace film
