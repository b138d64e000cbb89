// How the feature store reads a strk file and finds its way through the segments.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "numerics/RIFF.h"
#include "tracking/FeatureStorage.h"

namespace Vorn {
namespace {

constexpr long kConfSize = 18, kRangeSize = 16, kEntrySize = 20, kPointSize = 14;
constexpr long kNoData = 0xffffffff;  // -1 in the file

bool ReadSigned(std::FILE* file, int& v) {
  long value = 0;
  if (!readLong(file, value)) return false;
  v = static_cast<std::int32_t>(value);
  return true;
}

bool ReadPoint(std::FILE* file, Point2D& point, int& status) {
  return ReadSigned(file, point.id) && ReadFloat(file, point.x) && ReadFloat(file, point.y) && readInt(file, status);
}

bool Holds(const std::vector<Range>& sorted, int frame) {
  const auto behind = std::ranges::upper_bound(sorted, frame, {}, &Range::first);
  return behind != sorted.begin() && std::prev(behind)->last >= frame;
}

}  // namespace

std::string FeatureStorage::segmentPath(int number) const {
  return number == 0 ? firstPath : basePath + std::to_string(number);
}

bool FeatureStorage::openSegment(int number, const char* fileMode) {
  file.reset(std::fopen(segmentPath(number).c_str(), fileMode));
  if (!file) return false;
  segment = number;
  return true;
}

/// Makes a segment the open one. Leaving the one that is being written finishes it.
bool FeatureStorage::enterSegment(int number) {
  if (file && number == segment) return true;
  if (mode == StorageWrite) return false;  // its file couldn't be made
  if (file && isWriting() && !finished && !finishSegment()) return false;
  finished = number + 1 != static_cast<int>(segments.size());
  return openSegment(number, mode == StorageUpdate ? "r+b" : "rb") && readHeaders(false, number == 0);
}

/// Whether records can be added to the open segment: in the room of what follows its DATA list.
bool FeatureStorage::canAppend() {
  if (confPosition == 0 || dataPosition < confPosition || dataSize < 4) return false;
  dataSize += dataSize % 2;
  return dataPosition + dataSize <= fileSize() && seekBehindRecords();
}

long FeatureStorage::fileSize() {
  std::rewind(file.get());
  return BytesLeft(file.get());
}

bool FeatureStorage::readHeaders(bool readRanges, bool first) {
  index.Clear();
  confPosition = dataPosition = dataSize = 0;
  continued = false;
  RIFFChunkHeader riff;
  long magic = 0;
  if (!readRIFFChunkHeader(file.get(), riff) || !readLong(file.get(), magic)) return false;
  if (riff.tag != Tag("RIFF") || magic != Tag(first ? "STRK" : "TRKN")) return false;
  for (long counter = 4; counter < riff.length;) {
    RIFFChunkHeader chunk;
    if (!readRIFFChunkHeader(file.get(), chunk)) return false;
    const long size = chunk.length + chunk.length % 2, body = std::ftell(file.get());
    if (!readChunk(chunk, readRanges) || std::fseek(file.get(), body + size, SEEK_SET) != 0) return false;
    counter += 8 + size;
  }
  return true;
}

/// Reads the body of a chunk as far as it is of use; one of an unknown kind isn't.
bool FeatureStorage::readChunk(const RIFFChunkHeader& chunk, bool readRanges) {
  if (chunk.tag == Tag("CONF")) return readCONF(chunk.length);
  if (chunk.tag == Tag("COMM")) return readCOMM(chunk.length);
  if (chunk.tag == Tag("LIST")) return readList(chunk.length, readRanges);
  if (chunk.tag == Tag("INDX")) return readINDX(chunk.length);
  return true;
}

/// Reads the settings, or as many as the chunk has room for.
bool FeatureStorage::readCONF(long length) {
  confPosition = std::ftell(file.get()) - 8;
  if (length > kConfSize) std::fputs("Track configuration read error\n", stderr);
  long left = length;
  const auto has = [&left](long bytes) { return (left -= bytes) >= 0; };
  for (int* const value : {&version, &window, &levels, &range})
    if (has(2) && !readInt(file.get(), *value)) return false;
  long id = 0;
  int flag = 0;
  double least = minevalue;
  if (has(4) && !readLong(file.get(), id)) return false;
  if (has(2) && !readInt(file.get(), flag)) return false;
  if (has(4) && !ReadFloat(file.get(), least)) return false;
  largestId = std::max(largestId, id);
  continued = flag != 0;
  minevalue = static_cast<float>(least);
  return true;
}

bool FeatureStorage::readCOMM(long length) {
  if (length > BytesLeft(file.get())) return false;
  std::string text(static_cast<size_t>(length), '\0');
  if (std::fread(text.data(), 1, text.size(), file.get()) != text.size()) return false;
  comment = text.substr(0, text.find('\0'));
  return true;
}

bool FeatureStorage::readList(long length, bool readRanges) {
  long type = 0;
  if (length < 4 || !readLong(file.get(), type)) return false;
  if (type == Tag("MRNG") && readRanges) return readMRNG(length - 4);
  if (type != Tag("DATA")) return true;
  dataPosition = std::ftell(file.get()) - 4;
  dataSize = length;
  return true;
}

bool FeatureStorage::readMRNG(long length) {
  std::vector<Range> runs;
  for (; length >= kRangeSize; length -= kRangeSize) {
    RIFFChunkHeader head;
    Range run;
    if (!readRIFFChunkHeader(file.get(), head) || head.tag != Tag("RANG") || head.length != 8) return false;
    if (!ReadSigned(file.get(), run.first) || !ReadSigned(file.get(), run.last)) return false;
    runs.push_back(run);
  }
  AddRanges(segments.back(), runs);
  rangesSorted = false;
  return true;
}

bool FeatureStorage::readINDX(long length) {
  for (; length >= kEntrySize; length -= kEntrySize) {
    RecordIndex::Entry entry;
    long flag = 0;
    if (!readLong(file.get(), entry.tag) || !readLong(file.get(), flag) || !ReadSigned(file.get(), entry.frame) ||
        !readLong(file.get(), entry.offset) || !readLong(file.get(), entry.size))
      return false;
    entry.continued = flag != 0;
    index.Append(entry);
  }
  return true;
}

bool FeatureStorage::ReadFrame(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses) {
  if (!isReading()) return false;
  if (legacy) {
    if (!loadLegacy()) return false;
    for (const Feature& feature : held) {
      if (!feature.IsActive(frame)) continue;
      points.push_back(feature.Location(frame));
      points.back().id = feature.id;
    }
    return true;
  }
  points.clear();
  statuses.clear();
  storeRun();  // what was just written can be read
  const int holder = segmentOf(frame);
  if (holder < 0) return true;
  if (!enterSegment(holder)) return false;
  long budget = fileSize();
  return readRecords(frame, points, statuses, budget);
}

/// The first segment that covers a frame, or -1.
int FeatureStorage::segmentOf(int frame) {
  if (!rangesSorted)
    for (MultiRange& covered : segments) covered.Sort();
  rangesSorted = true;
  const auto found =
      std::ranges::find_if(segments, [=](const MultiRange& covered) { return Holds(covered.data, frame); });
  return found == segments.end() ? -1 : static_cast<int>(found - segments.begin());
}

/// Reads all records of a frame. `budget`: how many bytes of records the file can still hold, so that a damaged index
/// that names a record again and again can't ask for more points than there are.
bool FeatureStorage::readRecords(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses,
                                 long& budget) {
  for (const RecordIndex::Entry* entry = index.First(frame); entry; entry = index.Continuation(*entry))
    if (entry->offset != kNoData && !readRecord(*entry, points, statuses, budget)) return false;
  frameInUse = frame;
  return true;
}

bool FeatureStorage::readRecord(const RecordIndex::Entry& entry, std::list<Point2D>& points,
                                std::vector<TrackStatus>& statuses, long& budget) {
  RIFFChunkHeader head;
  if (std::fseek(file.get(), dataPosition + entry.offset, SEEK_SET) != 0 || !readRIFFChunkHeader(file.get(), head) ||
      head.tag != Tag("00TB")) {
    frameInUse = -1;
    return false;
  }
  long frame = 0, count = 0;  // the index has told the frame
  if (!readLong(file.get(), frame) || !readLong(file.get(), count) || head.length < 12 * count) return false;
  budget -= 16 + kPointSize * count;
  if (budget < 0) return false;
  for (long i = 0; i < count; ++i) {
    Point2D point;
    int status = 0;
    if (!ReadPoint(file.get(), point, status)) return false;
    points.push_back(point);
    statuses.push_back(static_cast<TrackStatus>(status));
  }
  return true;
}

}  // namespace Vorn
