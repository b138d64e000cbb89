#pragma once

#include <cstdio>

namespace Vorn {

// The byte-level primitives of the chunked file formats. Numbers are little-endian on any machine. A read or write that
// fails (end of the file, full disk, closed stream) returns false and leaves the output argument as it was; the bytes
// that were read or written before the failure stay so.

/// The head of a chunk. Tags are compared as numbers.
struct RIFFChunkHeader {
  long tag = 0;     ///< Its four characters in the order of the file, the first one in the lowest byte.
  long length = 0;  ///< Bytes that follow the head; 0 to 4294967295.
};

/// The number of a tag of four characters: `header.tag == Tag("CONF")`.
constexpr long Tag(const char* characters) {
  long tag = 0;
  for (int i = 3; i >= 0; --i) tag = tag * 256 + static_cast<unsigned char>(characters[i]);
  return tag;
}

/// Reads 4 bytes. The value is unsigned: 0 to 4294967295.
bool readLong(FILE* file, long& v);

/// Writes the low 4 bytes of `v`.
bool writeLong(FILE* file, long v);

/// Reads 2 bytes: the "int" of these formats has 16 bits. The value is unsigned: 0 to 65535.
bool readInt(FILE* file, int& v);

/// Writes the low 2 bytes of `v`.
bool writeInt(FILE* file, int v);

/// Reads a number of single precision into one of double.
bool ReadFloat(FILE* file, double& v);

/// Writes `v`, narrowed to single precision.
bool WriteFloat(FILE* file, double v);

/// Reads a tag and a length; `h` changes only when both were there.
bool readRIFFChunkHeader(FILE* file, RIFFChunkHeader& h);

/// The bytes from the current position to the file's end, so that a count or length from a file can be checked before
/// it is believed; 0 when the stream can't tell (a pipe). The position stays.
long BytesLeft(FILE* file);

/// Whether `v` is even, for either sign.
constexpr bool isEven(long v) { return v % 2 == 0; }

/// Swaps each pair of neighbouring bytes, for 16-bit samples. `bytes` must be even: with an odd count the last pair
/// reaches one byte past the end.
void swapEndian(char* data, int bytes);

}  // namespace Vorn
