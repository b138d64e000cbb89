#pragma once

#include <optional>
#include <string>

/// What the index file "project.fpf" of a standalone application's project names, as far as the effect takes it over.
/// The file isn't parsed as XML: its sections are found by their fixed start and end tags. Paths stand as written.
struct ProjectFile {
  int width = 0, height = 0;  ///< pixels; both 0 where the file doesn't tell a usable size
  std::optional<std::string> motion, rotation, confidence, events, gains;

  bool hasDimensions() const { return width > 0 && height > 0; }
};

/// Reads the text of an index file. Nothing where it lacks the sequence section, without which it is no project.
std::optional<ProjectFile> ParseProjectFile(const std::string& text);

/// The text of an index file that `ParseProjectFile` reads back. A path must not hold quotes or tags, which have no
/// escapes here.
std::string ProjectFileText(const ProjectFile& project);

/// The whole text of a file; nothing if it can't be read, isn't UTF-8 or is larger than any index, 16 MiB.
std::optional<std::string> ReadUTF8File(const std::string& path);
