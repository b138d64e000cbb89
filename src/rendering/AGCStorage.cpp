#include "rendering/AGCStorage.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <unordered_map>

#include "analysis/TextRecords.h"
#include "numerics/RIFF.h"

using Vorn::Range;
using Vorn::readLong;
using Vorn::RIFFChunkHeader;
using Vorn::Tag;
using Vorn::writeLong;

namespace {

constexpr long headBytes = 8, tagBytes = 4, recordBytes = 16;
constexpr long mostFrames = 1L << 24;
// Of a range of the store's own that its gains don't bear out: eleven hours of film, four megabytes.
constexpr long mostUnknown = 1L << 20;

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

long SizeOf(size_t records) { return tagBytes + recordBytes * static_cast<long>(records); }

void WriteHead(FILE* file, const char* tag, long size) {
  writeLong(file, Tag(tag));
  writeLong(file, size);
}

void WriteListHead(FILE* file, const char* form, size_t records) {
  WriteHead(file, "LIST", SizeOf(records));
  writeLong(file, Tag(form));
}

bool ReadFrame(FILE* file, int& frame) {
  long value = 0;
  if (!readLong(file, value)) return false;
  frame = static_cast<int>(value);
  return true;
}

/// The head of a record of a list; its size isn't looked at, since there is only the one.
bool ReadRecordHead(FILE* file, const char* tag) {
  RIFFChunkHeader head;
  return readRIFFChunkHeader(file, head) && head.tag == Tag(tag);
}

bool Skip(FILE* file, long bytes) { return bytes >= 0 && fseek(file, bytes, SEEK_CUR) == 0; }

long MadeEven(long size) { return Vorn::isEven(size) ? size : size + 1; }

}  // namespace

bool compareFrameParams(const FrameParams& a, const FrameParams& b) { return a.frame < b.frame; }

void AGCStorage::AddGain(float gain, int frame) { gains.push_back({frame, gain}); }

void AGCStorage::SetGain(int frame, float gain) {
  const auto entry = std::find_if(gains.begin(), gains.end(), [=](const FrameParams& p) { return p.frame == frame; });
  if (entry != gains.end())
    entry->gain = gain;
  else
    AddGain(gain, frame);
}

bool AGCStorage::GetGain(int frame, float& gain) const {
  const auto entry = std::find_if(gains.begin(), gains.end(), [=](const FrameParams& p) { return p.frame == frame; });
  gain = entry != gains.end() ? entry->gain : 1.0F;
  return entry != gains.end();
}

std::vector<float> AGCStorage::GetGains(int first, int last) const {
  const long frames = static_cast<long>(last) - first + 1;
  if (frames < 1 || frames > mostFrames) return {};
  std::vector<float> expanded(static_cast<size_t>(frames), 1.0F);
  // Backwards, so that of several entries for a frame the first one stays.
  for (auto entry = gains.rbegin(); entry != gains.rend(); ++entry)
    if (entry->frame >= first && entry->frame <= last)
      expanded[static_cast<size_t>(static_cast<long>(entry->frame) - first)] = entry->gain;
  return expanded;
}

std::vector<float> AGCStorage::GetGains() const {
  const Range* covered = firstRange();
  if (covered == nullptr) return {};
  const long unknown = static_cast<long>(covered->last) - covered->first + 1 - static_cast<long>(gains.size());
  return unknown <= mostUnknown ? GetGains(covered->first, covered->last) : std::vector<float>();
}

int AGCStorage::GetStart() const {
  const Range* covered = firstRange();
  return covered != nullptr ? covered->first : -1;
}

int AGCStorage::GetStop() const {
  const Range* covered = firstRange();
  return covered != nullptr ? covered->last : -1;
}

const Range* AGCStorage::firstRange() const {
  const auto earliest = std::min_element(range.data.begin(), range.data.end(), Vorn::compareRange);
  return earliest != range.data.end() ? &*earliest : nullptr;
}

void AGCStorage::AddRange(int first, int last) { range.AddRange(first, last); }

void AGCStorage::Clear() {
  gains.clear();
  range.data.clear();
}

bool AGCStorage::Save(const char* path) {
  const File file(fopen(path, "wb"));
  if (file == nullptr) return false;
  std::stable_sort(gains.begin(), gains.end(), compareFrameParams);
  range.Sort();

  WriteHead(file.get(), "RIFF", 0);
  writeLong(file.get(), Tag("AGCG"));
  WriteHead(file.get(), "CONF", 8);
  writeLong(file.get(), version);
  writeLong(file.get(), static_cast<long>(gains.size()));
  WriteListHead(file.get(), "DATA", gains.size());
  for (const FrameParams& params : gains) {
    WriteHead(file.get(), "00FP", 8);
    writeLong(file.get(), params.frame);
    fwrite(&params.gain, sizeof params.gain, 1, file.get());
  }
  WriteListHead(file.get(), "MRNG", range.data.size());
  for (const Range& covered : range.data) {
    WriteHead(file.get(), "RANG", 8);
    writeLong(file.get(), covered.first);
    writeLong(file.get(), covered.last);
  }
  const long size = ftell(file.get()) - headBytes;
  fseek(file.get(), 4, SEEK_SET);
  writeLong(file.get(), size);
  return true;  // what fails after opening isn't told: callers rely on the file being there
}

bool AGCStorage::Load(const char* path) {
  File file(fopen(path, "rb"));
  if (file == nullptr) return false;
  RIFFChunkHeader riff;
  long form = 0;
  if (readRIFFChunkHeader(file.get(), riff) && readLong(file.get(), form) && riff.tag == Tag("RIFF") &&
      form == Tag("AGCG"))
    return loadChunks(file.get(), riff.length - tagBytes);
  file.reset();
  return loadLegacy(path);
}

bool AGCStorage::loadChunks(FILE* file, long remaining) {
  while (remaining != 0) {
    RIFFChunkHeader chunk;
    if (!readRIFFChunkHeader(file, chunk)) return false;
    remaining -= headBytes;
    long size = chunk.length;
    if (chunk.tag == Tag("CONF")) {
      if (!loadConf(file, size)) return false;
      remaining -= size;
    } else if (chunk.tag == Tag("LIST")) {
      if (!loadList(file, size)) return false;
      remaining -= size;
    } else if (!Skip(file, MadeEven(size))) {
      return false;
    }
    // A chunk of another kind isn't taken from what remains, so that a file with one is read past its end and fails.
    // Kept: it is how files of other programs have always been turned down.
  }
  return true;
}

bool AGCStorage::loadConf(FILE* file, long size) {
  return ReadFrame(file, version) && ReadFrame(file, numberFrames) && Skip(file, size - 8);
}

/// Makes `size` even for a list of an unknown form, since that is how far it is skipped.
bool AGCStorage::loadList(FILE* file, long& size) {
  long form = 0;
  if (!readLong(file, form)) return false;
  if (form == Tag("DATA")) return loadGains(file, size - tagBytes);
  if (form == Tag("MRNG")) return loadRanges(file, size - tagBytes);
  size = MadeEven(size);
  return Skip(file, size - tagBytes);
}

/// Reads no more records than `numberFrames` says, but always the first.
bool AGCStorage::loadGains(FILE* file, long bytes) {
  gains.clear();
  std::unordered_map<int, size_t> positions;  // of each frame's entry, in place of SetGain's search
  for (int read = 0; bytes > 0 && (read == 0 || read < numberFrames); ++read, bytes -= recordBytes) {
    FrameParams params;
    if (!ReadRecordHead(file, "00FP") || !ReadFrame(file, params.frame) ||
        fread(&params.gain, sizeof params.gain, 1, file) != 1)
      return false;
    const auto [position, isNew] = positions.try_emplace(params.frame, gains.size());
    if (isNew)
      gains.push_back(params);
    else
      gains[position->second].gain = params.gain;
  }
  return Skip(file, bytes);
}

bool AGCStorage::loadRanges(FILE* file, long bytes) {
  range.data.clear();
  std::vector<Range> ranges;
  bool complete = true;
  for (; complete && bytes > 0; bytes -= recordBytes) {
    Range covered;
    complete = ReadRecordHead(file, "RANG") && ReadFrame(file, covered.first) && ReadFrame(file, covered.last);
    if (complete) ranges.push_back(covered);
  }
  AddRanges(range, ranges);
  return complete && Skip(file, bytes);
}

bool AGCStorage::loadLegacy(const char* path) {
  std::ifstream stream(path);
  if (!stream || !Vorn::FirstLineIs(stream, "GAINS")) return false;
  gains.clear();
  std::string label;
  int start = 0;
  stream >> label >> start;
  for (double value = 0.0; stream >> value;)
    AddGain(static_cast<float>(value), static_cast<int>(start + static_cast<long>(gains.size())));
  if (!gains.empty()) AddRange(start, static_cast<int>(start + static_cast<long>(gains.size()) - 1));
  return true;
}
