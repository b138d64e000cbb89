#pragma once

#include "imaging/Image.h"

// How much of a rendered pixel is known, as an image of its own: 8-bit luma, or 16-bit (`L16`).

/// The value of a pixel that is known as a whole.
inline int MatteMaximum(const Vorn::Image& matte) { return matte.GetType() == Vorn::L16 ? 65535 : 255; }

/// The matte's value at a pixel inside it.
inline int MatteValue(const Vorn::Image& matte, int x, int y) {
  const unsigned char* row = matte.rows[y];
  return matte.GetType() == Vorn::L16 ? reinterpret_cast<const unsigned short*>(row)[x] : row[x];
}

/// Marks a pixel as known as a whole.
inline void FillMatte(Vorn::Image& matte, int x, int y) {
  unsigned char* row = matte.rows[y];
  if (matte.GetType() == Vorn::L16)
    reinterpret_cast<unsigned short*>(row)[x] = 65535;
  else
    row[x] = 255;
}
