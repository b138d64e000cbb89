#pragma once

#include <optional>
#include <string>

/// What the index file "project.fpf" of a standalone application's project names, as far as the effect takes it over.
/// The file isn't parsed as XML: its sections are found by their fixed start and end tags. Paths stand as written.
struct ProjectFile {
  bool sized = false;         ///< the file has texts for both width and height, whatever they say
  int width = 0, height = 0;  ///< pixels as these texts tell them, also none or fewer; both 0 without them
  std::optional<std::string> motion, rotation, confidence, events, gains;

  bool hasDimensions() const { return sized; }
};

/// Reads the text of an index file. Nothing where it lacks the sequence section, without which it is no project.
std::optional<ProjectFile> ParseProjectFile(const std::string& text);

/// The text of an index file that `ParseProjectFile` reads back. A path must not hold quotes or tags, which have no
/// escapes here.
std::string ProjectFileText(const ProjectFile& project);

/// The whole text of a file; nothing if it can't be read, isn't UTF-8 or is larger than any index, 16 MiB.
std::optional<std::string> ReadUTF8File(const std::string& path);
