#include "Input.h"
#include "plugin/ProjectFile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  const auto text = ReadUTF8File(input.path());
  if (text) fuzz::Require(text->size() == size, "a text is read whole");
  // What isn't UTF-8 never comes this far in the effect, but the scanner mustn't rely on it.
  const auto project = ParseProjectFile(std::string(reinterpret_cast<const char*>(data), size));
  if (!project) return 0;
  fuzz::Require(project->hasDimensions() || (project->width == 0 && project->height == 0),
                "a size is whole or missing");
  const auto again = ParseProjectFile("<sequence width='" + std::to_string(project->width) + "' height=\"" +
                                      std::to_string(project->height) + "\"></sequence>");
  fuzz::Require(again && again->sized && again->width == project->width && again->height == project->height,
                "a size reads back as it was taken");
  for (const auto& path : {project->motion, project->rotation, project->confidence, project->events, project->gains})
    if (path) fuzz::Require(path->size() < size, "a path is a part of the text");
  return 0;
}
