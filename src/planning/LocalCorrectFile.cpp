// The text format MFP3 of the event store, and the two versions before it.
#include <cstdio>
#include <cstring>
#include <memory>

#include "planning/LocalCorrect.h"

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct CompWord {
  int compType;
  const char* word;
};
constexpr CompWord kCompWords[] = {{Linear, "Linear"}, {Hold, "Hold"}, {None, "None"}};

/// The version that a header line tells, 0 if the line isn't of the format.
int VersionOf(const char* header) {
  if (std::strncmp(header, "MFP", 3) != 0) return 0;
  return header[3] == '2' ? 2 : header[3] == '3' ? 3 : 1;
}

/// Reads the positions and the speed at the start, which each version writes in its own way. What a version doesn't
/// hold stays as it is.
bool ReadPositions(std::FILE* file, int version, MotionFixParams& section) {
  if (version == 3)
    return std::fscanf(file, "%f %f %f", &section.start_pos, &section.end_pos, &section.gradient_in) == 3;
  if (version == 2) return std::fscanf(file, "%f %f", &section.start_pos, &section.end_pos) == 2;
  int dropped = 0;
  if (std::fscanf(file, "%f %d", &section.start_pos, &dropped) != 2) return false;
  if (section.comp_type == Hold) section.end_pos = section.start_pos;
  return true;
}

bool ReadMarks(std::FILE* file, MotionInterval& event) {
  int cut = 0;
  char mark = 0;
  if (std::fscanf(file, "%d %c", &cut, &mark) != 2) return false;
  event.cut = cut != 0;
  if (mark == 'B') event.motion_type = MotionBroken;
  return true;
}

/// Reads one record. `section` comes as the record before left it, since an unknown word keeps its type, and version 1
/// keeps its `end_pos`.
bool ReadRecord(std::FILE* file, int version, MotionInterval& event, MotionFixParams& section) {
  int index = 0;
  char word[256];
  if (std::fscanf(file, "%d", &index) != 1 || std::fscanf(file, "%255s", word) != 1) return false;
  for (const CompWord& known : kCompWords)
    if (std::strcmp(word, known.word) == 0) section.comp_type = known.compType;
  if (std::fscanf(file, "%d %d", &event.begin_frame, &event.end_frame) != 2) return false;
  if (std::fscanf(file, "%d %d %d %f", &section.ease_in, &section.linear_period, &section.ease_out,
                  &section.gradient) != 4)
    return false;
  if (!ReadPositions(file, version, section)) return false;
  event.motion_type = section.comp_type == Hold ? MotionStill : MotionMoving;
  return version < 3 || ReadMarks(file, event);
}

/// Reads up to `count` records, and stops with false where the file breaks off.
bool ReadRecords(std::FILE* file, int version, int count, std::vector<MotionInterval>& events,
                 std::vector<MotionFixParams>& filters) {
  MotionFixParams section;
  section.comp_type = None;
  for (int i = 0; i < count; ++i) {
    MotionInterval event;
    if (!ReadRecord(file, version, event, section)) return false;
    events.push_back(event);
    filters.push_back(section);
  }
  return true;
}

/// Reads the count of the second section. Newlines in front of the letter are skipped; the letter isn't checked.
bool ReadSecondCount(std::FILE* file, int& count) {
  int letter = std::fgetc(file);
  while (letter == '\n') letter = std::fgetc(file);
  return letter != EOF && std::fscanf(file, "%d", &count) == 1;
}

void WriteRecord(std::FILE* file, int index, const MotionInterval& event, const MotionFixParams& section) {
  std::fprintf(file, "%d ", index);
  for (const CompWord& known : kCompWords)
    if (known.compType == section.comp_type) std::fprintf(file, "%s\n", known.word);
  std::fprintf(file, "%d %d\n", event.begin_frame, event.end_frame);
  std::fprintf(file, "%d %d %d %g\n", section.ease_in, section.linear_period, section.ease_out, section.gradient);
  std::fprintf(file, "%g %g %g\n", section.start_pos, section.end_pos, section.gradient_in);
  std::fprintf(file, "%d %c\n", event.cut ? 1 : 0, event.motion_type == MotionBroken ? 'B' : 'G');
}

void WriteSection(std::FILE* file, char letter, const std::vector<MotionInterval>& events,
                  const std::vector<MotionFixParams>& filters) {
  std::fprintf(file, "%c %d\n", letter, static_cast<int>(filters.size()));
  for (std::size_t i = 0; i < filters.size(); ++i)
    WriteRecord(file, static_cast<int>(i), i < events.size() ? events[i] : MotionInterval(), filters[i]);
}

}  // namespace

bool LocalCorrect::Load(const char* path) {
  const File file(std::fopen(path, "r"));
  if (!file) return false;
  char header[256] = "";
  if (!std::fgets(header, sizeof header, file.get())) header[0] = '\0';
  header[6] = '\0';
  const int found = VersionOf(header);
  version = found == 0 ? 1 : found;
  if (found == 0) {
    std::fprintf(stderr, "Could not load motion correction, bad header :%s:\n", header);
    return false;
  }

  Clear();
  char letter = 0;
  int count = 0;
  if (std::fscanf(file.get(), "%c %d", &letter, &count) != 2) return false;
  if (!ReadRecords(file.get(), version, count, eventsX, filtersX)) return false;
  if (!ReadSecondCount(file.get(), count)) return false;
  return ReadRecords(file.get(), version, count, eventsY, filtersY);
}

bool LocalCorrect::Save(const char* path) const {
  File file(std::fopen(path, "w"));
  if (!file) return false;
  std::fputs("MFP3\n", file.get());
  WriteSection(file.get(), 'H', eventsX, filtersX);
  WriteSection(file.get(), 'V', eventsY, filtersY);
  const bool written = std::ferror(file.get()) == 0;
  return std::fclose(file.release()) == 0 && written;
}
