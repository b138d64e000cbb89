#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

// The system's own files: telling which one a file is by what stands in it, and what it holds.
namespace film {

/// What a file holds, for programs: "format" and "version" first, then a summary and all values. Numbers that JSON
/// lacks are the texts "nan", "inf" and "-inf". "complete" is false where only a part could be read.
using Description = nlohmann::ordered_json;

/// One of the formats, a row of the table.
struct StoredFormat {
  const char* name;   ///< "HSET"
  const char* holds;  ///< "the motion of each frame"
  /// Whether a file is of this format, by its first kilobytes.
  std::function<bool(std::string_view head)> recognises;
  /// Reads a file that was recognised. Throws a `Failure` if nothing of it can be told.
  std::function<Description(const std::string& path)> describe;
  /// The lines behind the first one, for people.
  std::function<std::string(const Description&)> lines;
  /// The member of the description that is a table: objects that name their columns, or arrays without names. Null
  /// where there is none.
  const char* table;
  /// The format that a file of this old one is rewritten as; null for a present one.
  const char* presentForm = nullptr;
  /// Writes `in` in its present form as the new file `out`; false if that can't be written.
  std::function<bool(const std::string& in, const std::string& out)> rewrite = nullptr;
};

const std::vector<StoredFormat>& StoredFormats();

/// The format of a file, or null if it is none of what an analysis or the library writes, or can't be read at all.
const StoredFormat* FormatOf(const std::string& path);

/// The same, or one of the further ones: presets, strings files and projects, which are folders.
const StoredFormat* AnyFormatOf(const std::string& path);

/// Fails, saying what stands in the way, if a file is there and can't be read: for want of rights, or since it is a
/// pipe or a device. A folder passes, and so does what isn't there.
void CheckReadable(const std::string& path);

/// Fails if what lies there isn't a file that an export makes: such a one is made anew without asking, what it could be
/// mistaken for isn't.
void CheckExportReplaceable(const std::string& path);

/// What a file of a format holds. A file that the library has complaints about isn't complete; they go to the log.
/// Fails if nothing of it can be told.
Description Describe(const StoredFormat& format, const std::string& path);

/// Rewrites a file, the library's complaints going to the log; false if that can't be written.
bool Rewrite(const StoredFormat& format, const std::string& in, const std::string& out);

/// What a file of a format holds as lines of text, its name first.
std::string TextOf(const StoredFormat& format, const std::string& path, const Description& description);

// The rows, one file each.
StoredFormat MotionFormat();
StoredFormat OldMotionFormat();
StoredFormat ConfidenceFormat();
StoredFormat MatrixFormat();
StoredFormat PointsFormat();
StoredFormat OldPointsFormat();
StoredFormat MatchesFormat();
StoredFormat ArrayFormat();
StoredFormat TracksFormat();
StoredFormat OldTracksFormat();
StoredFormat EventsFormat();
StoredFormat OldEventsFormat();
StoredFormat GainsFormat();
StoredFormat OldGainsFormat();
StoredFormat DocumentFormat();
StoredFormat PresetFormat();
StoredFormat StringsFormat();
StoredFormat ProjectFormat();

}  // namespace film
