// How the feature store writes a strk file and its segments.
#include <algorithm>
#include <filesystem>

#include "numerics/RIFF.h"
#include "tracking/FeatureStorage.h"

namespace Vorn {
namespace {

constexpr long kMostBytes = 4026531840;  // of DATA in a segment, so that its sizes fit 32 bits
constexpr long kMostFrames = 74500;
constexpr long kConfSize = 18, kIdOffset = 16, kFlagOffset = 20;  // of the CONF chunk

bool WriteHead(std::FILE* file, const char* tag, long size) {
  return writeLong(file, Tag(tag)) && writeLong(file, size);
}

bool WriteListHead(std::FILE* file, const char* type, long size) {
  return WriteHead(file, "LIST", size) && writeLong(file, Tag(type));
}

bool WriteComment(std::FILE* file, const std::string& comment) {
  if (comment.empty()) return true;
  const bool padded = comment.size() % 2 != 0;
  return WriteHead(file, "COMM", static_cast<long>(comment.size()) + (padded ? 1 : 0)) &&
         std::fwrite(comment.data(), 1, comment.size(), file) == comment.size() &&
         (!padded || std::fputc(0, file) != EOF);
}

bool WriteRange(std::FILE* file, const Range& run) {
  return WriteHead(file, "RANG", 8) && writeLong(file, run.first) && writeLong(file, run.last);
}

bool WriteEntry(std::FILE* file, const RecordIndex::Entry& entry) {
  return writeLong(file, entry.tag) && writeLong(file, entry.continued ? 1 : 0) && writeLong(file, entry.frame) &&
         writeLong(file, entry.offset) && writeLong(file, entry.size);
}

bool WritePoint(std::FILE* file, const Point2D& point, int status) {
  return writeLong(file, point.id) && WriteFloat(file, point.x) && WriteFloat(file, point.y) && writeInt(file, status);
}

}  // namespace

bool FeatureStorage::IsFileNearLimit() const { return dataSize > kMostBytes || framesInSegment > kMostFrames; }

bool FeatureStorage::WriteFrame(int frame, const std::list<Point2D>& points, const std::vector<TrackStatus>& statuses) {
  if (!isWriting() || !enterSegment(static_cast<int>(segments.size()) - 1)) return false;
  if (IsFileNearLimit() && !rollOver()) return false;
  extendRun(frame);
  ++framesInSegment;
  frameInUse = frame;
  if (points.empty()) return true;
  if (mode == StorageUpdate) index.ContinueNewest(frame);
  return writeRecord(frame, points, statuses);
}

/// Neighbouring frames, upwards or downwards, make one run.
void FeatureStorage::extendRun(int frame) {
  const long long step = static_cast<long long>(frame) - runEnd;
  if (runOpen && (step == 1 || step == -1)) {
    runFirst = std::min(runFirst, frame);
    runLast = std::max(runLast, frame);
  } else {
    storeRun();
    runOpen = true;
    runFirst = runLast = frame;
  }
  runEnd = frame;
}

void FeatureStorage::storeRun() {
  if (!runOpen) return;
  frames.AddRange(runFirst, runLast);
  segments.back().AddRange(runFirst, runLast);
  rangesSorted = runOpen = false;
}

bool FeatureStorage::writeHeaders(bool first) {
  std::FILE* const out = file.get();
  confPosition = 12;
  const bool written = WriteHead(out, "RIFF", 12) && writeLong(out, Tag(first ? "STRK" : "TRKN")) &&
                       WriteHead(out, "CONF", kConfSize) && writeInt(out, version) && writeInt(out, window) &&
                       writeInt(out, levels) && writeInt(out, range) && writeLong(out, largestId) &&
                       writeInt(out, continued ? 1 : 0) && WriteFloat(out, minevalue) && WriteComment(out, comment) &&
                       WriteListHead(out, "DATA", 4);
  dataSize = 4;
  dataPosition = std::ftell(out) - dataSize;
  return written;
}

bool FeatureStorage::writeRecord(int frame, const std::list<Point2D>& points,
                                 const std::vector<TrackStatus>& statuses) {
  std::FILE* const out = file.get();
  if (mode == StorageUpdate && !seekBehindRecords()) return false;
  const long count = static_cast<long>(points.size()), size = 14 * count + 8;
  bool written = WriteHead(out, "00TB", size) && writeLong(out, frame) && writeLong(out, count);
  size_t i = 0;
  for (const Point2D& point : points) {
    const int status = i < statuses.size() ? statuses[i] : TrackContinued;
    written = written && WritePoint(out, point, status);
    largestId = std::max<long>(largestId, point.id);
    ++i;
  }
  if (!written) return seekBehindRecords() && false;  // what there is of it will be written over
  index.Append({Tag("00TB"), false, frame, dataSize, size});
  dataSize += 8 + size;
  pointsWritten += count;
  return true;
}

bool FeatureStorage::seekBehindRecords() { return std::fseek(file.get(), dataPosition + dataSize, SEEK_SET) == 0; }

/// Ends the segment, which the next one continues, and begins that.
bool FeatureStorage::rollOver() {
  if (basePath.empty()) return false;
  continued = true;
  const bool complete = finishSegment();
  continued = false;
  index.Clear();
  const int next = static_cast<int>(segments.size());
  if (!complete || !openSegment(next, mode == StorageUpdate ? "w+b" : "wb")) return false;
  segments.emplace_back();
  framesInSegment = 0;
  finished = false;
  return writeHeaders(false);
}

/// Writes what only the end of a segment knows, and closes its file.
bool FeatureStorage::finishSegment() {
  storeRun();
  segments.back().Sort();
  bool written = seekBehindRecords() && writeTrailer();
  const long end = std::ftell(file.get());
  // The flag is written as 32 bits over its 16 and the lower half of minevalue. Kept: readers expect that value.
  written = written && patch(4, end - 8) && patch(confPosition + kIdOffset, largestId) &&
            patch(confPosition + kFlagOffset, continued ? 1 : 0) && patch(dataPosition - 4, dataSize);
  written = std::fclose(file.release()) == 0 && written;
  finished = true;
  std::error_code error;
  const std::string path = segmentPath(segment);
  if (written && std::filesystem::file_size(path, error) > static_cast<std::uintmax_t>(end) && !error)
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(end), error);  // ranges that met take less room
  return written && !error;
}

bool FeatureStorage::writeTrailer() {
  std::FILE* const out = file.get();
  const std::vector<Range>& runs = segments.back().data;
  const std::vector<RecordIndex::Entry>& entries = index.Entries();
  return WriteListHead(out, "MRNG", 16 * static_cast<long>(runs.size()) + 4) &&
         std::ranges::all_of(runs, [out](const Range& run) { return WriteRange(out, run); }) &&
         WriteHead(out, "INDX", 20 * static_cast<long>(entries.size())) &&
         std::ranges::all_of(entries, [out](const RecordIndex::Entry& entry) { return WriteEntry(out, entry); });
}

bool FeatureStorage::patch(long position, long value) {
  return std::fseek(file.get(), position, SEEK_SET) == 0 && writeLong(file.get(), value);
}

}  // namespace Vorn
