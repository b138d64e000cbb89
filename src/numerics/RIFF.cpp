#include "numerics/RIFF.h"

#include <bit>
#include <cstdint>
#include <utility>

namespace Vorn {
namespace {

bool readLittleEndian(FILE* file, int bytes, long& v) {
  long value = 0;
  for (int i = 0; i < bytes; ++i) {
    const int byte = fgetc(file);
    if (byte == EOF) return false;
    value |= static_cast<long>(byte) << (8 * i);
  }
  v = value;
  return true;
}

bool writeLittleEndian(FILE* file, int bytes, long v) {
  for (int i = 0; i < bytes; ++i)
    if (fputc(static_cast<int>((v >> (8 * i)) & 255), file) == EOF) return false;
  return true;
}

}  // namespace

bool readLong(FILE* file, long& v) { return readLittleEndian(file, 4, v); }

bool writeLong(FILE* file, long v) { return writeLittleEndian(file, 4, v); }

bool readInt(FILE* file, int& v) {
  long value = 0;
  if (!readLittleEndian(file, 2, value)) return false;
  v = static_cast<int>(value);
  return true;
}

bool writeInt(FILE* file, int v) { return writeLittleEndian(file, 2, v); }

bool ReadFloat(FILE* file, double& v) {
  long bits = 0;
  if (!readLong(file, bits)) return false;
  v = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
  return true;
}

bool WriteFloat(FILE* file, double v) { return writeLong(file, std::bit_cast<std::uint32_t>(static_cast<float>(v))); }

bool readRIFFChunkHeader(FILE* file, RIFFChunkHeader& h) {
  RIFFChunkHeader header;
  if (!readLong(file, header.tag) || !readLong(file, header.length)) return false;
  h = header;
  return true;
}

long BytesLeft(FILE* file) {
  const long position = ftell(file);
  if (position < 0 || fseek(file, 0, SEEK_END) != 0) return 0;
  const long end = ftell(file);
  if (fseek(file, position, SEEK_SET) != 0 || end < position) return 0;
  return end - position;
}

void swapEndian(char* data, int bytes) {
  for (int i = 0; i < bytes; i += 2) std::swap(data[i], data[i + 1]);
}

}  // namespace Vorn
