#include "film/ColourConverter.h"

#include <algorithm>
#include <cmath>

#include "film/ColourRows.h"

namespace film {
namespace {

void readRow(const std::uint8_t* data, std::ptrdiff_t stride, int row, bool wide, int width, float scale, float offset,
             float* values) {
  const std::uint8_t* start = data + row * stride;
  if (wide)
    CodesToValues(reinterpret_cast<const std::uint16_t*>(start), width, scale, offset, values);
  else
    CodesToValues(start, width, scale, offset, values);
}

void writeRow(const float* values, int width, float scale, float offset, float largest, bool wide, std::uint8_t* data,
              std::ptrdiff_t stride, int row) {
  std::uint8_t* start = data + row * stride;
  if (wide)
    ValuesToCodes(values, width, scale, offset, largest, reinterpret_cast<std::uint16_t*>(start));
  else
    ValuesToCodes(values, width, scale, offset, largest, start);
}

float* rowOf(float* argb, int row, std::ptrdiff_t rowBytes) {
  return reinterpret_cast<float*>(reinterpret_cast<char*>(argb) + row * rowBytes);
}

const float* rowOf(const float* argb, int row, std::ptrdiff_t rowBytes) {
  return reinterpret_cast<const float*>(reinterpret_cast<const char*>(argb) + row * rowBytes);
}

/// Whether chroma rows must be kept from being made of both fields.
bool hasFieldChroma(const PlaneFormat& format) {
  return format.interlaced && !format.grey && format.halfHeight && format.chromaHeight() >= 2;
}

/// The rows that a field has of `rows`; field 0 is the top one.
int rowsOf(int field, int rows) { return (rows + 1 - field) / 2; }

PlaneFormat fieldOf(const PlaneFormat& frame, int field) {
  PlaneFormat format = frame;
  format.interlaced = false;
  format.height = rowsOf(field, frame.height);
  if (frame.sitingY == Siting::Centre) format.sitingY = field == 0 ? Siting::Quarter : Siting::ThreeQuarters;
  return format;
}

template <class Byte>
PlanesOf<Byte> fieldOf(const PlanesOf<Byte>& frame, int field) {
  PlanesOf<Byte> planes;
  for (int p = 0; p < 4; ++p) {
    planes.data[p] = frame.data[p] + field * frame.stride[p];
    planes.stride[p] = 2 * frame.stride[p];
  }
  return planes;
}

}  // namespace

ColourConverter::ColourConverter(const PlaneFormat& planeFormat, bool premultiplied)
    : ColourConverter(planeFormat, planeFormat.chromaHeight(), premultiplied) {
  if (!hasFieldChroma(format)) return;
  for (int field = 0; field < 2; ++field)
    fields.push_back(ColourConverter(fieldOf(format, field), rowsOf(field, format.chromaHeight()), premultiplied));
}

ColourConverter::ColourConverter(const PlaneFormat& planeFormat, int rows, bool premultiplied)
    : format(planeFormat),
      chromaRows(rows),
      axisX(format.halfWidth, format.sitingX),
      axisY(format.halfHeight, format.sitingY),
      largestCode(std::ldexp(1.0f, format.bits) - 1.0f) {
  const float unit = std::ldexp(1.0f, format.bits - 8);
  const bool allCodes = format.fullRange || format.rgb;
  lumaScale = allCodes ? largestCode : 219.0f * unit;
  lumaOffset = allCodes ? 0.0f : 16.0f * unit;
  chromaScale = format.fullRange ? largestCode : 224.0f * unit;
  chromaOffset = 128.0f * unit;
  const size_t width = static_cast<size_t>(format.width), chromaWidth = static_cast<size_t>(format.chromaWidth());
  luma.resize(width);
  if (format.alpha) opacity.resize(width);
  if (format.alpha && premultiplied) straight.resize(4 * width);
  if (format.grey) return;
  for (std::vector<float>& row : chroma) row.resize(width);
  if (format.rgb) return;
  coarse.resize(chromaWidth);
  coarseBelow.resize(chromaWidth);
  for (std::vector<float>& buffer : kept) buffer.resize(chromaWidth * keptRows);
}

void ColourConverter::toFloat(const ConstPlanes& planes, float* argb, std::ptrdiff_t rowBytes) {
  if (!fields.empty()) {
    for (int field = 0; field < 2; ++field)
      fields[field].toFloat(fieldOf(planes, field), rowOf(argb, field, rowBytes), 2 * rowBytes);
    return;
  }
  for (int row = 0; row < format.height; ++row) {
    float* out = rowOf(argb, row, rowBytes);
    if (format.rgb)
      readRgb(planes, row, out);
    else
      readLumaAndChroma(planes, row, out);
    if (format.alpha) readOpacity(planes, row, out);
  }
}

void ColourConverter::readLumaAndChroma(const ConstPlanes& planes, int row, float* argb) {
  readRow(planes.data[0], planes.stride[0], row, format.bits > 8, format.width, 1.0f / lumaScale,
          -lumaOffset / lumaScale, luma.data());
  if (format.grey) {
    JoinGreyRow(luma.data(), format.width, argb);
    return;
  }
  for (int plane = 1; plane < 3; ++plane) blendChroma(planes, plane, row, chroma[plane - 1].data());
  JoinRow(luma.data(), chroma[0].data(), chroma[1].data(), format.width, static_cast<float>(format.kr),
          static_cast<float>(format.kb), argb);
}

void ColourConverter::readRgb(const ConstPlanes& planes, int row, float* argb) {
  float* const rows[3] = {luma.data(), chroma[0].data(), chroma[1].data()};
  for (int c = 0; c < 3; ++c)
    readRow(planes.data[c], planes.stride[c], row, format.bits > 8, format.width, 1.0f / lumaScale, 0.0f, rows[c]);
  JoinRgbRow(rows[0], rows[1], rows[2], format.width, argb);
}

void ColourConverter::readOpacity(const ConstPlanes& planes, int row, float* argb) {
  readRow(planes.data[3], planes.stride[3], row, format.bits > 8, format.width, 1.0f / largestCode, 0.0f,
          opacity.data());
  JoinAlphaRow(opacity.data(), format.width, argb);
}

void ColourConverter::writeRgb(const float* argb, int row, const Planes& planes) {
  float* const rows[3] = {luma.data(), chroma[0].data(), chroma[1].data()};
  SplitRgbRow(argb, format.width, rows[0], rows[1], rows[2]);
  for (int c = 0; c < 3; ++c)
    writeRow(rows[c], format.width, lumaScale, 0.0f, largestCode, format.bits > 8, planes.data[c], planes.stride[c],
             row);
}

void ColourConverter::writeOpacity(const float* argb, int row, const Planes& planes) {
  SplitAlphaRow(argb, format.width, opacity.data());
  writeRow(opacity.data(), format.width, largestCode, 0.0f, largestCode, format.bits > 8, planes.data[3],
           planes.stride[3], row);
}

void ColourConverter::toCodes(const float* argb, std::ptrdiff_t rowBytes, const Planes& planes) {
  if (!fields.empty()) {
    for (int field = 0; field < 2; ++field)
      fields[field].toCodes(rowOf(argb, field, rowBytes), 2 * rowBytes, fieldOf(planes, field));
    return;
  }
  const float kr = static_cast<float>(format.kr), kb = static_cast<float>(format.kb);
  int nextChromaRow = 0;
  for (int row = 0; row < format.height; ++row) {
    const float* in = rowOf(argb, row, rowBytes);
    if (format.alpha) writeOpacity(in, row, planes);
    if (!straight.empty()) {
      UnpremultiplyRow(in, format.width, straight.data());
      in = straight.data();
    }
    if (format.rgb) {
      writeRgb(in, row, planes);
      continue;
    }
    if (format.grey) {
      SplitGreyRow(in, format.width, kr, kb, luma.data());
    } else {
      SplitRow(in, format.width, kr, kb, luma.data(), chroma[0].data(), chroma[1].data());
      for (int i = 0; i < 2; ++i) keepChroma(chroma[i].data(), row, kept[i].data());
      writeChromaRowsThrough(planes, row, &nextChromaRow);
    }
    writeRow(luma.data(), format.width, lumaScale, lumaOffset, largestCode, format.bits > 8, planes.data[0],
             planes.stride[0], row);
  }
}

void ColourConverter::readChromaRow(const ConstPlanes& planes, int plane, int row, float* values) {
  const int inside = std::clamp(row, 0, chromaRows - 1);
  readRow(planes.data[plane], planes.stride[plane], inside, format.bits > 8, format.chromaWidth(), 1.0f / chromaScale,
          -chromaOffset / chromaScale, values);
}

void ColourConverter::blendChroma(const ConstPlanes& planes, int plane, int row, float* full) {
  float* narrow = axisX.halved ? coarse.data() : full;
  if (axisY.halved) {
    const int parity = row % 2, first = row / 2 + axisY.finer.from[parity];
    const float* weight = axisY.finer.weight[parity];
    readChromaRow(planes, plane, first, narrow);
    if (weight[1] != 0.0f) {
      readChromaRow(planes, plane, first + 1, coarseBelow.data());
      BlendRows(narrow, coarseBelow.data(), format.chromaWidth(), weight[0], weight[1], narrow);
    }
  } else {
    readChromaRow(planes, plane, row, narrow);
  }
  if (axisX.halved) WidenRow(narrow, format.width, axisX.finer, full);
}

void ColourConverter::keepChroma(const float* full, int row, float* rows) {
  float* target = rows + static_cast<std::ptrdiff_t>(row % keptRows) * format.chromaWidth();
  if (axisX.halved)
    NarrowRow(full, format.width, axisX.coarser, target);
  else
    std::copy_n(full, format.width, target);
}

void ColourConverter::writeChromaRowsThrough(const Planes& planes, int lastLumaRow, int* next) {
  const bool atEnd = lastLumaRow == format.height - 1;
  for (; *next < chromaRows; ++*next) {
    const int needed = axisY.halved ? 2 * *next + axisY.coarser.from + axisY.coarser.count - 1 : *next;
    if (needed > lastLumaRow && !atEnd) return;
    for (int plane = 1; plane < 3; ++plane) writeChromaRow(planes, plane, *next, kept[plane - 1].data());
  }
}

void ColourConverter::writeChromaRow(const Planes& planes, int plane, int row, const float* rows) {
  const int width = format.chromaWidth();
  const auto keptRow = [&](int lumaRow) {
    return rows + static_cast<std::ptrdiff_t>(std::clamp(lumaRow, 0, format.height - 1) % keptRows) * width;
  };
  const float* values = keptRow(row);
  if (axisY.halved) {
    const ChromaAxis::Coarser& filter = axisY.coarser;
    const int first = 2 * row + filter.from;
    BlendRows(keptRow(first), keptRow(first + 1), width, filter.weight[0], filter.weight[1], coarse.data());
    for (int k = 2; k < filter.count; ++k) AddRow(keptRow(first + k), width, filter.weight[k], coarse.data());
    values = coarse.data();
  }
  writeRow(values, width, chromaScale, chromaOffset, largestCode, format.bits > 8, planes.data[plane],
           planes.stride[plane], row);
}

}  // namespace film
