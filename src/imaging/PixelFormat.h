#pragma once

#include "imaging/PixelType.h"

namespace Vorn {

/// Where one channel's code lies in a pixel group: the word's number in the group and the code's lowest bit in it.
struct ChannelField {
  signed char word = -1;  ///< -1: the layout has no such channel
  unsigned char shift = 0;
};

/// How the pixels of an interleaved format lie in a row: groups of equal size, made of little-endian words.
struct PixelLayout {
  int wordBytes = 0;  ///< 1, 2 or 4; 0 for formats that are not interleaved integers
  int groupPixels = 1;
  int groupBytes = 0;
  unsigned fieldMask = 0;  ///< of a code, shifted down to bit 0
  unsigned wordMask = 0;   ///< the bits of a word that belong to any code; the spare ones are written as zero
  ChannelField fields[6][4] =
      {};  ///< by pixel of the group, then Y, U, V, alpha or R, G, B, alpha or luma, -, -, alpha
};

/// What is to be known about one `PixelType`.
struct PixelFormat {
  PixelType type;
  int bitDepth;
  int pixelBytes;
  int tailBytes;
  int chromaSubsampling;  ///< 0 full chroma, 1 halved horizontally, 2 halved in both directions
  ColourSpace space;
  int planes;  ///< 0 for interleaved formats
  bool hasMatte;
  PixelType withMatte;       ///< the same format with a matte, itself if it has one; `Undefined` if there is none
  PixelType withFullChroma;  ///< what a chroma-subsampled format turns into; `Undefined` for all others
  PixelLayout layout;
};

/// The row of `type`, or null for a code without one. Rows live for ever.
const PixelFormat* FindPixelFormat(PixelType type);

}  // namespace Vorn
