#include "numerics/PointSet.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <utility>

#include "numerics/RIFF.h"

namespace Vorn {
namespace {

constexpr long recordSize = 16;  // id, x, y, weight

bool ReadRecord(std::FILE* file, Point2D& point) {
  long id = 0;
  if (!readLong(file, id)) return false;
  point.id = static_cast<std::int32_t>(id);
  return ReadFloat(file, point.x) && ReadFloat(file, point.y) && ReadFloat(file, point.weight);
}

bool WriteRecord(std::FILE* file, const Point2D& point) {
  return writeLong(file, point.id) && WriteFloat(file, point.x) && WriteFloat(file, point.y) &&
         WriteFloat(file, point.weight);
}

bool WriteHeader(std::FILE* file, const char* tag, long length) {
  return writeLong(file, Tag(tag)) && writeLong(file, length);
}

}  // namespace

const PointSet::ChunkReader PointSet::chunkReaders[] = {
    {"CONF", &PointSet::readConf}, {"COMM", &PointSet::readComment}, {"DATA", &PointSet::readData}};

void PointSet::Add(const Point2D& point) {
  points.push_back(point);
  ++numPoints;
}

void PointSet::AddOffset(const Point2D& o) {
  offset = o;
  const size_t count = std::min<size_t>(numPoints, points.size());
  for (size_t i = 0; i < count; ++i) points[i] += offset;
}

int PointSet::GetPointByID(int id, Point2D& out) const {
  const auto end = points.begin() + static_cast<std::ptrdiff_t>(std::min<size_t>(numPoints, points.size()));
  const auto found = std::find_if(points.begin(), end, [id](const Point2D& point) { return point.id == id; });
  if (found == end) return -1;
  out = *found;
  return static_cast<int>(found - points.begin());
}

void PointSet::Remove(unsigned int i) {
  if (i >= points.size()) return;
  points.erase(points.begin() + i);
  if (numPoints > 0) --numPoints;
}

void PointSet::Clear() {
  points.clear();
  numPoints = 0;
}

bool PointSet::Load(const char* path) {
  Clear();
  if (!open(path, "rb")) return false;
  if (!readFileHeader()) {
    close();
    return loadLegacy(path);
  }
  const bool complete = loadChunks();
  close();
  numPoints = static_cast<unsigned int>(points.size());  // not a count that the file only announced
  return complete;
}

bool PointSet::Save(const char* path) {
  if (!open(path, "wb")) return false;
  const bool written = writeChunks();
  const bool closed = close();
  return written && closed;
}

bool PointSet::open(const char* path, const char* mode) {
  close();
  pointsHandle = std::fopen(path, mode);
  return pointsHandle != nullptr;
}

bool PointSet::close() {
  const bool closed = !pointsHandle || std::fclose(pointsHandle) == 0;
  pointsHandle = nullptr;
  return closed;
}

bool PointSet::readFileHeader() {
  RIFFChunkHeader header;
  long form = 0;
  if (!readRIFFChunkHeader(pointsHandle, header) || !readLong(pointsHandle, form)) return false;
  if (header.tag != Tag("RIFF") || form != Tag("PSET")) return false;
  fileSize = header.length;
  return true;
}

bool PointSet::loadChunks() {
  long counter = 4;  // the form's tag
  while (counter < fileSize) {
    RIFFChunkHeader chunk;
    if (!readRIFFChunkHeader(pointsHandle, chunk) || !readChunk(chunk)) return false;
    counter += 8 + chunk.length;
  }
  return true;
}

bool PointSet::readChunk(RIFFChunkHeader& chunk) {
  for (const ChunkReader& reader : chunkReaders)
    if (Tag(reader.tag) == chunk.tag) return (this->*reader.read)(chunk.length);
  if (!isEven(chunk.length)) ++chunk.length;  // a chunk that we don't know is padded to an even length
  return std::fseek(pointsHandle, chunk.length, SEEK_CUR) == 0;
}

bool PointSet::readConf(long length) {
  int reserved = 0;
  long count = 0;
  if (length != 8) return false;
  if (!readInt(pointsHandle, formatVersion) || !readInt(pointsHandle, reserved) || !readLong(pointsHandle, count))
    return false;
  numPoints = static_cast<unsigned int>(count);
  return true;
}

bool PointSet::readComment(long length) {
  if (length > BytesLeft(pointsHandle)) return false;
  std::string text(static_cast<size_t>(length), '\0');
  if (std::fread(text.data(), 1, text.size(), pointsHandle) != text.size()) return false;
  comment = text.substr(0, text.find('\0'));
  return true;
}

bool PointSet::readData(long length) {
  if (numPoints == 0) {
    numPoints = static_cast<unsigned int>(length / recordSize);
    if (length % recordSize != 0) std::fputs("Error reading PSET DATA\n", stderr);
  }
  if (numPoints > BytesLeft(pointsHandle) / recordSize) return false;
  points.reserve(points.size() + numPoints);
  for (unsigned int i = 0; i < numPoints; ++i) {
    Point2D point;
    if (!ReadRecord(pointsHandle, point)) return false;
    points.push_back(point);
  }
  return true;
}

bool PointSet::loadLegacy(const char* path) {
  std::ifstream file(path);
  std::string keyword;
  if (!std::getline(file, keyword) || keyword != "POINTS") return false;
  long count = 0;
  const bool counted = static_cast<bool>(file >> count);
  Point2D point;
  while (std::cmp_less(numPoints, count) && file >> point.id >> point.x >> point.y) Add(point);
  if (counted && std::cmp_equal(numPoints, count)) return true;
  std::fputs("Error reading points : incorrect count.\n", stderr);
  return false;
}

bool PointSet::writeChunks() {
  const auto count = static_cast<unsigned int>(std::min<size_t>(numPoints, points.size()));
  const bool written = WriteHeader(pointsHandle, "RIFF", fileSize) && writeLong(pointsHandle, Tag("PSET")) &&
                       WriteHeader(pointsHandle, "CONF", 8) && writeInt(pointsHandle, formatVersion) &&
                       writeInt(pointsHandle, 0) && writeLong(pointsHandle, count) && writeComment() &&
                       writeData(count);
  const long length = std::ftell(pointsHandle) - 8;
  return written && std::fseek(pointsHandle, 4, SEEK_SET) == 0 && writeLong(pointsHandle, length);
}

bool PointSet::writeComment() {
  if (comment.empty()) return true;
  const auto length = static_cast<long>(comment.size());
  const bool padded = !isEven(length);
  return WriteHeader(pointsHandle, "COMM", length + (padded ? 1 : 0)) &&
         std::fwrite(comment.data(), 1, comment.size(), pointsHandle) == comment.size() &&
         (!padded || std::fputc(0, pointsHandle) != EOF);
}

bool PointSet::writeData(unsigned int count) {
  return WriteHeader(pointsHandle, "DATA", recordSize * count) &&
         std::all_of(points.begin(), points.begin() + count,
                     [this](const Point2D& point) { return WriteRecord(pointsHandle, point); });
}

}  // namespace Vorn
