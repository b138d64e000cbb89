#include "analysis/HomographySet.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <memory>

#include "analysis/TextRecords.h"
#include "numerics/RIFF.h"

namespace Vorn {

namespace {

constexpr int kValues = 9;
constexpr int kNoStart = 100000000;  // above any frame, so that the first record lowers it

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File Open(const char* path, const char* mode) { return {std::fopen(path, mode), std::fclose}; }

bool ReadSigned(FILE* file, int& v) {
  long value = 0;
  if (!readLong(file, value)) return false;
  v = static_cast<int>(static_cast<std::uint32_t>(value));
  return true;
}

bool ReadUnsigned(FILE* file, unsigned int& v) {
  long value = 0;
  if (!readLong(file, value)) return false;
  v = static_cast<unsigned int>(value);
  return true;
}

bool ReadDouble(FILE* file, double& v) {
  long low = 0, high = 0;
  if (!readLong(file, low) || !readLong(file, high)) return false;
  v = std::bit_cast<double>(static_cast<std::uint64_t>(high) << 32 | static_cast<std::uint64_t>(low));
  return true;
}

/// Moves on by `bytes`; false, at the end of the file, if there aren't that many.
bool Skip(FILE* file, long bytes) {
  if (bytes <= BytesLeft(file)) return std::fseek(file, bytes, SEEK_CUR) == 0;
  std::fseek(file, 0, SEEK_END);
  return false;
}

/// Reads the nine values of a record into `m`. Values of an unknown size are passed over, and `m` stays: the matrix of
/// the record before stands for this one too.
bool ReadMatrix(FILE* file, unsigned int valueSize, Matrix& m) {
  if (valueSize != 4 && valueSize != 8) return Skip(file, kValues * static_cast<long>(valueSize));
  for (int i = 0; i < kValues; ++i)
    if (!(valueSize == 4 ? ReadFloat(file, m.data[i]) : ReadDouble(file, m.data[i]))) return false;
  return true;
}

void WriteTag(FILE* file, const char* tag) { writeLong(file, Tag(tag)); }

void WriteChunkHeader(FILE* file, const char* tag, long length) {
  WriteTag(file, tag);
  writeLong(file, length);
}

bool WriteDouble(FILE* file, double v) {
  const auto bits = std::bit_cast<std::uint64_t>(v);
  return writeLong(file, static_cast<long>(bits & 0xffffffffu)) && writeLong(file, static_cast<long>(bits >> 32));
}

/// The nine values of a motion matrix, row by row; what a matrix of another shape lacks is taken from the identity.
std::array<double, kValues> ValuesOf(const Matrix& m) {
  std::array<double, kValues> values = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (unsigned int r = 0; r < std::min(m.rows, 3u); ++r)
    for (unsigned int c = 0; c < std::min(m.columns, 3u); ++c) values[r * 3 + c] = m(r, c);
  return values;
}

void WriteConf(FILE* file, const HomographySet& set) {
  WriteChunkHeader(file, "CONF", 12);
  writeLong(file, set.version);
  writeLong(file, set.originLocation);
  writeLong(file, set.sizeParam);
}

void WriteRanges(FILE* file, const MultiRange& ranges) {
  WriteChunkHeader(file, "LIST", 16 * static_cast<long>(ranges.data.size()) + 4);
  WriteTag(file, "MRNG");
  for (const Range& r : ranges.data) {
    WriteChunkHeader(file, "RANG", 8);
    writeLong(file, r.first);
    writeLong(file, r.last);
  }
}

void WriteFrames(FILE* file, const std::vector<HomographyFrame>& frames, long valueSize) {
  WriteChunkHeader(file, "LIST", static_cast<long>(frames.size()) * (kValues * valueSize + 12) + 4);
  WriteTag(file, "HOMG");
  for (const HomographyFrame& f : frames) {
    WriteChunkHeader(file, "PROJ", kValues * valueSize + 4);
    writeLong(file, f.frame);
    for (const double v : ValuesOf(f.matrix)) valueSize == 4 ? WriteFloat(file, v) : WriteDouble(file, v);
  }
}

}  // namespace

bool compareHomographyFrame(const HomographyFrame& a, const HomographyFrame& b) { return a.frame < b.frame; }

bool HomographySet::Save(const char* path) const {
  if (sizeParam != 4 && sizeParam != 8) return false;
  const File file = Open(path, "wb");
  if (!file) return false;

  MultiRange sortedRanges = range;
  sortedRanges.Sort();
  std::vector<HomographyFrame> sortedFrames = hset;
  std::ranges::stable_sort(sortedFrames, compareHomographyFrame);

  const long valueSize = sizeParam;
  const long framesLength = static_cast<long>(hset.size()) * (kValues * valueSize + 12);
  WriteChunkHeader(file.get(), "RIFF", framesLength + 16 * static_cast<long>(range.data.size()) + 48);
  WriteTag(file.get(), "HSET");
  WriteConf(file.get(), *this);
  WriteRanges(file.get(), sortedRanges);
  WriteFrames(file.get(), sortedFrames, valueSize);
  return true;
}

bool HomographySet::Load(const char* path) {
  hset.clear();
  positions.Clear();
  number = 0;
  start = end = -1;
  const File file = Open(path, "rb");
  if (!file) return false;

  RIFFChunkHeader riff;
  long form = 0;
  if (!readRIFFChunkHeader(file.get(), riff) || !readLong(file.get(), form) || riff.tag != Tag("RIFF") ||
      form != Tag("HSET"))
    return loadLegacy(path);
  return loadChunks(file.get(), riff.length);
}

/// Reads the chunks behind the file's head; `length` is the file's length less 8. Lengths are counted, not trusted:
/// reading ends at the counted length or with the first read that fails.
bool HomographySet::loadChunks(FILE* file, long length) {
  bool result = true;
  long counter = 4;
  RIFFChunkHeader chunk;
  while (counter < length && readRIFFChunkHeader(file, chunk)) {
    if (chunk.tag == Tag("CONF")) {
      if (!readConf(file)) return result;
      counter += 20;  // its own length isn't used
    } else if (chunk.tag == Tag("LIST")) {
      long type = 0;
      if (!readLong(file, type)) return result;
      counter += 12;  // a list of an unknown type is entered: its chunks are read as if they stood here
      if (type == Tag("MRNG")) {
        if (!readMRNG(file, chunk.length - 4)) return false;
        counter += chunk.length - 4;
      } else if (type == Tag("HOMG")) {
        result = readProjections(file, chunk.length - 4);
        counter += chunk.length - 4;
      }
    } else {
      if (!Skip(file, chunk.length)) return result;
      counter += 8 + chunk.length;
    }
  }
  return result;
}

bool HomographySet::readConf(FILE* file) {
  unsigned int origin = 0;
  if (!ReadUnsigned(file, version)) return false;
  if (version == 0) version = compatibleVersion;
  if (!ReadUnsigned(file, origin)) return false;
  if (origin < 5) originLocation = static_cast<int>(origin);
  return ReadUnsigned(file, sizeParam);
}

bool HomographySet::readMRNG(FILE* file, long length) {
  constexpr long recordLength = 16;
  if (length % recordLength != 0) return false;
  std::vector<Range> ranges;
  bool complete = true;
  for (; complete && length > 0; length -= recordLength) {
    RIFFChunkHeader record;
    Range r;
    complete = readRIFFChunkHeader(file, record) && record.tag == Tag("RANG") && ReadSigned(file, r.first) &&
               ReadSigned(file, r.last);
    if (complete && record.length == 8) ranges.push_back(r);
  }
  AddRanges(range, ranges);
  return complete;
}

bool HomographySet::readProjections(FILE* file, long length) {
  const long recordLength = kValues * static_cast<long>(sizeParam) + 12;
  Matrix m = Matrix::GetIdentity(3);
  start = kNoStart;
  end = -1;
  for (; length > 0; length -= recordLength) {
    RIFFChunkHeader record;
    int frame = 0;
    if (!readRIFFChunkHeader(file, record) || record.tag != Tag("PROJ") || !ReadSigned(file, frame) ||
        !ReadMatrix(file, sizeParam, m)) {
      start = -1;
      return false;
    }
    appendLoaded(frame, m);
  }
  if (start == kNoStart && end == -1) start = -1;  // a list without records
  return true;
}

bool HomographySet::loadLegacy(const char* path) {
  std::ifstream stream(path);
  if (!FirstLineIs(stream, "HSET")) return false;
  start = kNoStart;
  end = -1;
  Matrix m(3, 3);
  for (int frame = 0; stream >> frame;) {
    for (int i = 0; i < kValues; ++i) stream >> m.data[i];
    if (!stream) break;
    appendLoaded(frame, m);
  }
  originLocation = 0;
  version = 1;
  if (hset.empty()) {
    start = -1;
    return false;
  }
  range.AddRange(start, end);
  return true;
}

void HomographySet::append(int frame, const Matrix& m) {
  hset.push_back({frame, m});
  positions.Append(frame);
  ++number;
}

void HomographySet::appendLoaded(int frame, const Matrix& m) {
  append(frame, m);
  start = std::min(start, frame);
  end = std::max(end, frame);
}

void HomographySet::Clear() {
  start = end = -1;
  originLocation = 4;
  sizeParam = 4;
  version = compatibleVersion;
  hset.clear();
  positions.Clear();
  range.data.clear();
}

int HomographySet::Index(int frame) const {
  if (frame < start || frame > end) return -1;
  const auto holds = [&](long long i) { return i < static_cast<long long>(hset.size()) && hset[i].frame == frame; };
  const long long expected = static_cast<long long>(frame) - start;  // where frames that arrive in order lie
  if (holds(expected)) return static_cast<int>(expected);
  return find(frame);
}

/// The first position that holds `frame`, or -1. A list that was changed from outside is searched from the start.
int HomographySet::find(int frame) const {
  if (positions.Count() == hset.size()) return positions.Find(frame);
  const auto found = std::ranges::find(hset, frame, &HomographyFrame::frame);
  return found == hset.end() ? -1 : static_cast<int>(found - hset.begin());
}

bool HomographySet::Get(int frame, const Matrix*& out) const {
  const int position = Index(frame);
  out = position < 0 ? nullptr : &hset[position].matrix;
  return out != nullptr;
}

bool HomographySet::Get(int frame, Matrix& out) const {
  const int position = Index(frame);
  if (position < 0) {
    out = Matrix::GetIdentity(3);
    return false;
  }
  out = hset[position].matrix;
  return true;
}

const Matrix& HomographySet::Get(int position, int* frame) const {
  if (frame) *frame = hset[position].frame;
  return hset[position].matrix;
}

void HomographySet::Set(int frame, const Matrix& m) {
  const int position = find(frame);
  if (position >= 0) {
    hset[position].matrix = m;
    return;
  }
  append(frame, m);
  if (start == -1 || start > frame) start = frame;
  if (end < frame) end = frame;
}

bool HomographySet::IsValid() const {
  const auto bad = std::ranges::find_if(hset, [](const HomographyFrame& f) { return !f.matrix.IsValid(); });
  if (bad == hset.end()) return true;
  std::cerr << "Invalid matrix for frame " << bad->frame << "\n" << bad->matrix << "\n";
  return false;
}

void HomographySet::AppendRange(int first, int last) {
  if (last < first) return;
  range.AddRange(first, last);
  if (start == -1 || start > first) start = first;
  if (end < last) end = last;
}

void HomographySet::SetRanges(const MultiRange& ranges) {
  range = ranges;
  if (range.data.empty()) return;
  range.Sort();
  start = range.data.front().first;
  end = range.data.back().last;
}

unsigned int HomographySet::GetVersion(bool* compatible) const {
  if (compatible) *compatible = version <= compatibleVersion;
  return version;
}

void HomographySet::Normalise() {
  for (HomographyFrame& f : hset) {
    Matrix& m = f.matrix;
    if (m.rows == 0 || m.columns == 0) continue;
    const double scale = m(m.rows - 1, m.columns - 1);
    if (!CompareDouble(scale, 0.0)) m = m / scale;
  }
}

}  // namespace Vorn
