// Which road leads from one pixel format to another, and the roads of grey and RGB.
#include <algorithm>
#include <cstring>

#include "imaging/ChromaRows.h"
#include "imaging/CodeArithmetic.h"
#include "imaging/ColourConversion.h"
#include "imaging/FormulaRows.h"
#include "imaging/PixelRows.h"

namespace Vorn {
namespace {

constexpr std::size_t alpha = 3;

bool IsGrey(const Image& image) { return image.type >= L8 && image.type <= LA32; }
bool IsYCbCr(const Image& image) { return image.type >= Y2UV32 && image.type <= YUVAP444; }
bool IsPlanes(const Image& image) { return image.type >= YUVP420 && image.type <= YUVAP444; }

unsigned LumaRange(const Image& image) { return image.yMax - image.yMin; }

std::size_t PixelsOf(const Image& image) {
  return static_cast<std::size_t>(std::max(image.width, 0)) * static_cast<std::size_t>(std::max(image.height, 0));
}

int ClampedCode(int code, unsigned max) { return std::clamp(code, 0, static_cast<int>(max)); }

/// Rows of the target's width, one after the other: `convert` changes the codes of a pixel.
template <typename Convert>
bool ConvertRows(const Image& source, CodeScale scale, Image& target, Convert&& convert) {
  PixelRow row(static_cast<std::size_t>(std::max(target.width, 0)));
  for (int y = 0; y < target.height; ++y) {
    ReadRow(source, y, scale, row);
    for (PixelCodes& codes : row) convert(codes);
    WriteRow(row, y, scale, target);
  }
  return true;
}

/// The same into Y'CbCr of any sampling.
template <typename Convert>
bool ConvertRowsToYCbCr(const Image& source, Image& target, Convert&& convert) {
  StoreYCbCr(target, CodeScale::ZeroBased, [&](int y, PixelRow& row) {
    ReadRow(source, y, CodeScale::ZeroBased, row);
    for (PixelCodes& codes : row) convert(codes);
  });
  return true;
}

bool AreRedBlueTwins(PixelType a, PixelType b) { return (a == RGB24 && b == BGR24) || (a == BGR24 && b == RGB24); }

bool CopySwapped(const Image& source, Image& target) {
  const PixelType type = target.type;
  target = source;
  SwapRedBlue(target);
  target.setPixelType(type);
  return true;
}

bool ConvertBetweenRGB(const Image& source, Image& target) {
  const unsigned from = source.maxValue, to = target.maxValue;
  if (from == to) return ConvertRows(source, CodeScale::Stored, target, [](PixelCodes&) {});
  const DepthScale scale(from, to, PixelsOf(target));
  return ConvertRows(source, CodeScale::ZeroBased, target, [&](PixelCodes& codes) {
    for (int& code : codes) code = scale(code);
  });
}

bool ConvertYCbCrToGrey(const Image& source, Image& target) {
  return ConvertRows(source, CodeScale::ZeroBased, target, [&](PixelCodes& codes) {
    codes[0] = ClampedCode(ScaleCode(codes[0], LumaRange(source), target.maxValue), target.maxValue);
    codes[alpha] = ClampedCode(ScaleCode(codes[alpha], source.alphaRange, target.maxValue), target.maxValue);
  });
}

bool ConvertOtherToGrey(const Image& source, Image& target) {
  const bool grey = IsGrey(source);
  const DepthScale scale(source.maxValue, target.maxValue, PixelsOf(target));
  return ConvertRows(source, CodeScale::ZeroBased, target, [&](PixelCodes& codes) {
    if (!grey) codes[0] = LumaCode(codes[0], codes[1], codes[2], source.maxValue);
    codes = {scale(codes[0]), 0, 0, scale(codes[alpha])};
  });
}

bool ConvertMonoToYCbCr(const Image& source, Image& target) {
  const NeutralChroma neutral(target, CodeScale::ZeroBased);
  return ConvertRowsToYCbCr(source, target, [&](PixelCodes& codes) {
    codes = {ScaleCode(codes[0], source.maxValue, LumaRange(target)), neutral.u, neutral.v,
             ScaleCode(codes[alpha], source.maxValue, target.alphaRange)};
  });
}

YCbCrSpans SpansOf(const Image& image) { return {LumaRange(image), image.uMax - image.uMin, image.vMax - image.vMin}; }

bool ConvertRGBToYCbCr(const Image& source, Image& target) {
  const YCbCrSpans spans = SpansOf(target);
  StoreYCbCr(target, CodeScale::ZeroBased, [&](int y, PixelRow& row) {
    ReadRow(source, y, CodeScale::ZeroBased, row);
    RowToYCbCr(source.maxValue, spans, target.space, row);
    ScaleAlpha(source.maxValue, target.alphaRange, target.alphaRange, row);
  });
  return true;
}

bool ConvertYCbCrToRGB(const Image& source, Image& target) {
  Image temporary;
  const Image& full = WithFullChroma(source, temporary);
  const YCbCrSpans spans = SpansOf(full);
  PixelRow row(static_cast<std::size_t>(std::max(target.width, 0)));
  for (int y = 0; y < target.height; ++y) {
    ReadRow(full, y, CodeScale::ZeroBased, row);
    RowToRGB(spans, full.space, target.maxValue, row);
    ScaleAlpha(full.aMax - full.aMin, target.alphaRange, target.maxValue, row);
    WriteRow(row, y, CodeScale::ZeroBased, target);
  }
  return true;
}

bool ConvertBetweenYCbCr(const Image& source, Image& target) {
  if (IsPlanes(source) && IsPlanes(target)) return ConvertPlanarToPlanar(source, target);
  if (IsPlanes(source)) return ConvertYUVplanarToInterleaved(source, target);
  if (IsPlanes(target)) return ConvertInterleavedYUVtoPlanar(source, target);
  ConvertYCbCr(source, target);
  return true;
}

/// In double precision until the sum, which is narrowed so that white comes out whole.
int LumaOfFloats(const PixelARGBSF& p) {
  const auto luma = static_cast<float>(0.299 * p.r + 0.587 * p.g + 0.114 * p.b);
  return static_cast<int>(std::min(luma > 0.0F ? luma : 0.0F, 1.0F) * 65535.0F);
}

bool ConvertFloatsToLuma(const Image& source, Image& target) {
  PixelRow row(static_cast<std::size_t>(source.width));
  for (int y = 0; y < source.height; ++y) {
    for (std::size_t x = 0; x < row.size(); ++x) {
      PixelARGBSF p;
      std::memcpy(&p, source.rows[y] + x * sizeof p, sizeof p);
      row[x] = {LumaOfFloats(p)};
    }
    WriteRow(row, y, CodeScale::ZeroBased, target);
  }
  return true;
}

PixelType LumaTypeOf(const Image& source) {
  if (source.maxValue == 65535) return L16;
  return source.maxValue == 1023 ? L10 : L8;
}

}  // namespace

bool ConvertToType(const Image& source, PixelType type, Image& target, ColourSpace space) {
  if (&source == &target) return ConvertToType(Image(source), type, target, space);
  if (source.type == type && source.space == space) {
    target = source;
    return true;
  }
  if (!target.Resize(source.width, source.height, type)) return false;
  if (space != NoSpace) target.SetColourSpace(space);
  return ConvertToImage(source, target);
}

bool ConvertToImage(const Image& source, Image& target) {
  if (source.IsSameFormat(target)) {
    target = source;
    return true;
  }
  if (AreRedBlueTwins(source.type, target.type)) return CopySwapped(source, target);
  if (!source.valid || !target.valid) return true;
  if (source.space == RGB && target.space == RGB) return ConvertBetweenRGB(source, target);
  if (IsGrey(target) && IsYCbCr(source)) return ConvertYCbCrToGrey(source, target);
  if (IsGrey(target) && (IsGrey(source) || source.space == RGB)) return ConvertOtherToGrey(source, target);
  if (IsGrey(source) && target.space == RGB) return ConvertMonoToRGB(source, target);
  if (IsGrey(source) && IsYCbCr(target)) return ConvertMonoToYCbCr(source, target);
  if (source.space == RGB && IsPlanes(target)) return ConvertRGBtoPlanar(source, target);
  if (source.space == RGB && IsYCbCr(target)) return ConvertRGBToYCbCr(source, target);
  if (IsYCbCr(source) && IsYCbCr(target)) return ConvertBetweenYCbCr(source, target);
  if (IsPlanes(source) && target.space == RGB) return ConvertPlanarToRGB(source, target);
  if (IsYCbCr(source) && target.space == RGB) return ConvertYCbCrToRGB(source, target);
  return true;
}

bool ConvertToLuma(const Image& source, Image& target) {
  if (&source == &target) return ConvertToLuma(Image(source), target);
  if (!target.Resize(source.width, source.height, LumaTypeOf(source))) return false;
  if (source.type == target.type) {
    target = source;
    return true;
  }
  if (source.type == ARGBSF && !source.planar) return ConvertFloatsToLuma(source, target);
  return ConvertToImage(source, target);
}

bool ConvertMonoToRGB(const Image& source, Image& target) {
  if (!IsGrey(source) || target.space != RGB) return true;
  const DepthScale scale(source.maxValue, target.maxValue, PixelsOf(target));
  return ConvertRows(source, CodeScale::ZeroBased, target, [&](PixelCodes& codes) {
    const int luma = scale(codes[0]);
    codes = {luma, luma, luma, scale(codes[alpha])};
  });
}

bool ConvertRGBtoPlanar(const Image& source, Image& target) {
  return source.space != RGB || !IsPlanes(target) || ConvertRGBToYCbCr(source, target);
}

bool ConvertPlanarToRGB(const Image& source, Image& target) {
  return !IsPlanes(source) || target.space != RGB || ConvertYCbCrToRGB(source, target);
}

}  // namespace Vorn
