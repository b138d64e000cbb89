#include "film/StoredFormat.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "film/DescribeValues.h"
#include "film/Failure.h"

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
  const auto found = std::ranges::find_if(StoredFormats(), [&](const StoredFormat& f) { return f.recognises(head); });
  return found == StoredFormats().end() ? nullptr : &*found;
}

std::string TextOf(const StoredFormat& format, const std::string& path, const Description& description) {
  std::string version;
  if (description.contains("version")) version = ", version " + description["version"].dump();
  return path + ": " + format.holds + " (" + format.name + version + ")\n" + format.lines(description);
}

}  // namespace film
