#include "film/StoredFormat.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "film/DescribeValues.h"
#include "film/EngineMessages.h"
#include "film/Failure.h"
#include "numerics/Text.h"

namespace film {
namespace {

constexpr size_t headSize = 4096;

/// The first bytes of a file; nothing of what is no file, since a pipe or a device may have no end.
std::string headOf(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return {};
  std::ifstream file(path, std::ios::binary);
  std::string head(headSize, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return head;
}

/// Settings and texts; before the others, since their forms are looser than a preset's.
const std::vector<StoredFormat>& furtherFormats() {
  static const std::vector<StoredFormat> formats = {PresetFormat(), StringsFormat(), ProjectFormat()};
  return formats;
}

const StoredFormat* formatIn(const std::vector<StoredFormat>& formats, std::string_view head) {
  const auto found = std::ranges::find_if(formats, [&](const StoredFormat& f) { return f.recognises(head); });
  return found == formats.end() ? nullptr : &*found;
}

bool isProjectFolder(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) return false;
  const std::string name = path.substr(0, path.find_last_not_of('/') + 1);
  return Vorn::ToLower(Vorn::GetExtension(name.c_str())) == "orvane" ||
         std::filesystem::exists(std::filesystem::path(path) / "project.fpf", error);
}

/// The forms that begin with a line of their own aren't read with Windows' line ends, and the events break off.
void checkLineEnds(const std::string& path) {
  const std::string head = headOf(path);
  const size_t end = head.find('\n');
  if (end == std::string::npos || end == 0 || head[end - 1] != '\r') return;
  const std::string_view line(head.data(), end - 1);
  for (const char* keyword : {"HSET", "MCONF", "POINTS", "MATCHES", "GAINS", "MFP", "MFP1", "MFP2", "MFP3"})
    if (line == keyword)
      throw Failure(path +
                    ": this has Windows' line ends (CR LF), with which its format isn't read; save it with Unix line "
                    "ends (LF), or run: tr -d '\\r' < FILE > NEWFILE");
}

}  // namespace

const std::vector<StoredFormat>& StoredFormats() {
  static const std::vector<StoredFormat> formats = {
      MotionFormat(),    OldMotionFormat(), ConfidenceFormat(), PointsFormat(),    OldPointsFormat(),
      MatchesFormat(),   ArrayFormat(),     TracksFormat(),     OldTracksFormat(), EventsFormat(),
      OldEventsFormat(), GainsFormat(),     OldGainsFormat(),   DocumentFormat(),  MatrixFormat()};
  return formats;
}

const StoredFormat* FormatOf(const std::string& path) {
  const std::string head = headOf(path);
  if (head.empty()) return nullptr;
  if (IsChunked(head, "TRKN"))
    throw Failure(path +
                  ": this is a further segment of a file of feature tracks; name the first one, without the "
                  "number at the end");
  return formatIn(StoredFormats(), head);
}

const StoredFormat* AnyFormatOf(const std::string& path) {
  if (isProjectFolder(path)) return &furtherFormats().back();
  if (const StoredFormat* further = formatIn(furtherFormats(), headOf(path))) return further;
  return FormatOf(path);
}

void CheckReadable(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::none)
    throw Failure(path + ": can't be reached (" + error.message() + "); check the access rights of its folder");
  if (!std::filesystem::exists(status) || std::filesystem::is_directory(status)) return;
  if (!std::filesystem::is_regular_file(status))
    throw Failure(path + ": this is a pipe or a device; save what comes from it as a file, and name that");
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0)
    throw Failure(path + ": can't be read (" + std::strerror(errno) +
                  "); change its access rights, or ask its owner for a copy");
  close(file);
}

void CheckExportReplaceable(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) == 0) return;
  const StoredFormat* format = FormatOf(path);
  if (!format || std::string_view(format->name) == DocumentFormat().name)
    throw Failure(path + ": this is no exported file, and would be lost; choose another name");
}

Description Describe(const StoredFormat& format, const std::string& path) {
  checkLineEnds(path);
  EngineMessages messages;
  Description description = format.describe(path);
  if (messages.finish()) description["complete"] = false;
  return description;
}

bool Rewrite(const StoredFormat& format, const std::string& in, const std::string& out) {
  EngineMessages messages;
  const bool written = format.rewrite(in, out);
  const int error = errno;
  messages.finish();
  errno = error;
  return written;
}

std::string TextOf(const StoredFormat& format, const std::string& path, const Description& description) {
  std::string version;
  if (description.contains("version")) version = ", version " + description["version"].dump();
  return path + ": " + format.holds + " (" + format.name + version + ")\n" + format.lines(description);
}

}  // namespace film
