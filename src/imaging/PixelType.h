#pragma once

namespace Vorn {

/// The layouts that an `Image` can hold. The numbers are stored and code selects on ranges of them: 100 to 121 is
/// grey, 200 to 290 Y'CbCr (from 287 on planar), 400 to 1000 RGB. 281 to 286 are reserved. The exact bytes of each
/// layout are rows of the table in PixelFormat.cpp.
enum PixelType : int {
  Undefined = 0,

  L8 = 100,    ///< luma byte
  LA16 = 101,  ///< luma byte, alpha byte
  L10 = 110,   ///< 16-bit word, luma in bits 0-9
  L16 = 120,   ///< 16-bit luma
  LA32 = 121,  ///< 16-bit luma, 16-bit alpha

  Y2UV32 = 200,   ///< two pixels in the bytes U, Y0, V, Y1
  YUV24 = 210,    ///< bytes V, Y, U
  YUVA32 = 220,   ///< bytes U, Y, V, A
  Y6UVX32 = 230,  ///< six pixels in four 32-bit words of three 10-bit codes each
  Y1UVX32 = 240,  ///< 32-bit word: U in bits 2-11, Y in bits 12-21, V in bits 22-31
  Y2UV10 = 250,   ///< two pixels in the 16-bit words U, Y0, V, Y1
  Y2UV12 = 251,
  Y2UV14 = 252,
  Y2UV16 = 253,
  Y1UV10 = 260,  ///< 16-bit words Y, U, V
  Y1UV12 = 261,
  Y1UV14 = 262,
  Y1UV16 = 263,
  YUVA64 = 280,    ///< 16-bit words Y, U, V, A
  YUVP420 = 287,   ///< byte planes Y, U, V; chroma halved both ways
  YUVP422 = 288,   ///< byte planes Y, U, V; chroma halved horizontally
  YUVP444 = 289,   ///< byte planes Y, U, V
  YUVAP444 = 290,  ///< byte planes Y, U, V, A

  BGR24 = 400,    ///< bytes B, G, R
  RGB24 = 401,    ///< bytes R, G, B
  BGRA32 = 410,   ///< bytes B, G, R, A
  ARGB32 = 411,   ///< bytes A, R, G, B
  RGBA32 = 412,   ///< bytes R, G, B, A
  RGB30 = 421,    ///< 32-bit word: R in bits 0-9, G in bits 10-19, B in bits 20-29
  RGB48 = 431,    ///< 16-bit words R, G, B
  ARGB64 = 441,   ///< 16-bit words A, R, G, B
  RGBA64 = 442,   ///< 16-bit words R, G, B, A
  ARGBSF = 1000,  ///< 32-bit floats a, r, g, b, nominally 0 to 1: the format of every frame on the render path
};

/// What the codes of a picture mean. From `Rec601` on, Y'CbCr.
enum ColourSpace : int {
  NoSpace = 0,    ///< no colour information
  Mono = 1,       ///< luma only
  RGB = 2,        ///< red, green, blue
  Rec601 = 3,     ///< ITU-R BT.601
  Rec709 = 4,     ///< ITU-R BT.709
  SMPTE240M = 5,  ///< SMPTE 240M
  Rec2020CL = 6,  ///< ITU-R BT.2020, constant luminance
  Rec2020 = 7,    ///< ITU-R BT.2020, non-constant luminance
};

}  // namespace Vorn
