#include <filesystem>
#include <optional>
#include <string>

#include "film/DescribeValues.h"
#include "film/Failure.h"
#include "film/PackageFaults.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ProjectFile.h"

namespace film {
namespace {

namespace fs = std::filesystem;

constexpr const char* indexName = "project.fpf";

/// A file that a project names.
struct Part {
  const char* holds;
  std::optional<std::string> ProjectFile::*path;
  bool required;
  const char* formats[2];  // any of them will do
};
constexpr Part parts[] = {{"motion", &ProjectFile::motion, true, {"HSET", "HSET"}},
                          {"rotation", &ProjectFile::rotation, false, {"HSET", "HSET"}},
                          {"confidence", &ProjectFile::confidence, false, {"MCONF", "MCONF"}},
                          {"events", &ProjectFile::events, true, {"MFP3", "MFP"}},
                          {"gains", &ProjectFile::gains, false, {"GAINS", "GAINS"}}};

/// What the user named: the folder, or the index in it.
std::string folderOf(const std::string& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) return path;
  const fs::path folder = fs::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

ProjectFile indexOf(const std::string& path, const std::string& folder) {
  const bool isFolder = path == folder;
  const std::optional<std::string> text = ReadUTF8File(isFolder ? (fs::path(path) / indexName).string() : path);
  if (text)
    if (const std::optional<ProjectFile> project = ParseProjectFile(*text)) return *project;
  if (!isFolder) throw Failure(path + ": has no section from <sequence to </sequence>, without which it is no project");
  throw Failure(FindPackageFaults(folder).fatal + "; get a whole copy of the project");
}

/// Reads a file that is named. Throws a `Failure` with what is wrong with it.
Description contentsOf(const std::string& path, const Part& part) {
  CheckReadable(path);
  std::error_code error;
  if (!fs::exists(path, error)) throw Failure(path + ": is missing");
  if (fs::is_directory(path, error)) throw Failure(path + ": is a folder");
  const StoredFormat* format = FormatOf(path);
  if (!format || (std::string_view(format->name) != part.formats[0] && format->name != std::string(part.formats[1])))
    throw Failure(path + ": is no " + part.formats[0] + " file");
  return Describe(*format, path);
}

Description describePart(const std::string& folder, const std::string& path, const Part& part) {
  Description row{{"holds", part.holds}, {"path", path}};
  if (path.empty()) {
    row["fault"] = folder + ": names no file as its " + part.holds;
    return row;
  }
  const std::string full = OrvaneFCPXPlugIn::getFullPath(path, folder);
  try {
    row["contents"] = contentsOf(full, part);
    if (!row["contents"]["complete"]) row["fault"] = full + ": is damaged or was cut short";
  } catch (const Failure& failure) {
    row["fault"] = failure.what();
  }
  return row;
}

Description describe(const std::string& path) {
  const std::string folder = folderOf(path);
  const ProjectFile project = indexOf(path, folder);
  Description files = Description::array(), faults = Description::array();
  for (const Part& part : parts) {
    const std::optional<std::string>& named = project.*part.path;
    if (named) files.push_back(describePart(folder, *named, part));
    if (named && files.back().contains("fault"))
      faults.push_back(files.back()["fault"]);
    else if (!named && part.required)
      faults.push_back(path + ": names no file of " + part.holds);
  }
  return {{"format", "project"},      {"complete", faults.empty()},  {"width", project.width},
          {"height", project.height}, {"faults", std::move(faults)}, {"files", std::move(files)}};
}

/// "0 to 179, 180 frames", or how many events there are.
std::string summaryOf(const Description& contents) {
  if (contents.contains("events")) return Count(contents["events"].size(), "event", "events");
  const Description& frames = contents["frames"];
  std::string text = Count(frames.size(), "frame", "frames");
  if (!frames.empty()) text += ", " + frames.front()["frame"].dump() + " to " + frames.back()["frame"].dump();
  return text;
}

std::string lines(const Description& d) {
  const bool sized = d["width"] != 0 || d["height"] != 0;
  std::string text = Line("analysed at", sized ? d["width"].dump() + " x " + d["height"].dump() : "not told");
  for (const Description& file : d["files"]) {
    std::string value = file["path"].get<std::string>();
    if (file.contains("contents"))
      value += ": " + file["contents"]["format"].get<std::string>() + ", " + summaryOf(file["contents"]);
    if (file.contains("fault")) value += " (damaged, missing or of another kind)";
    text += Line(file["holds"], OnOneLine(value));
  }
  return text;
}

/// An index by itself. Editors' projects have sequences too, but none of the other sections.
bool recognises(std::string_view head) {
  const auto has = [&](std::string_view opening) { return head.find(opening) != std::string_view::npos; };
  const size_t first = head.find_first_not_of(" \t\r\n\xef\xbb\xbf");
  return first != std::string_view::npos && head[first] == '<' && has("<sequence") &&
         (has("<motion>") || has("<filters>"));
}

}  // namespace

StoredFormat ProjectFormat() {
  return {"project", "a project of the standalone application", recognises, describe, lines, nullptr};
}

}  // namespace film
