#include "plugin/ProjectFile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view quotes = "\"'";
constexpr std::uintmax_t mostBytes = 16 << 20;
constexpr long mostPixels = 1'000'000'000;

/// Walks a section's text as the standalone application's own reader does.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest(text) {}

  /// The quoted text behind the next `name`: up to a quote, over the quotes, and up to the next one. Nothing where the
  /// name or the text is missing.
  std::optional<std::string> attribute(std::string_view name) {
    skipTo(rest.find(name));
    skipTo(rest.find_first_of(quotes));
    skipTo(rest.find_first_not_of(quotes));
    const std::string_view text = rest.substr(0, rest.find_first_of(quotes));
    skipTo(text.size());
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
  }

 private:
  void skipTo(size_t position) { rest.remove_prefix(std::min(position, rest.size())); }

  std::string_view rest;
};

std::string_view Trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// The text between the first `start` and the first `end` behind it.
std::optional<std::string_view> Section(std::string_view text, std::string_view start, std::string_view end) {
  const size_t from = text.find(start);
  if (from == std::string_view::npos) return std::nullopt;
  const size_t begin = from + start.size(), to = text.find(end, begin);
  if (to == std::string_view::npos) return std::nullopt;
  return text.substr(begin, to - begin);
}

/// The number that a text begins with, 0 without one. At most a billion either way, so that two of them can be added.
int IntegerOf(const std::string& text) {
  return static_cast<int>(std::clamp(std::strtol(text.c_str(), nullptr, 10), -mostPixels, mostPixels));
}

std::optional<std::string> PathIn(std::string_view text, const std::string& tag) {
  const auto section = Section(text, "<" + tag + ">", "</" + tag + ">");
  return section ? std::optional<std::string>(Trimmed(*section)) : std::nullopt;
}

void AddPath(const std::string& tag, const std::optional<std::string>& path, std::string& text) {
  if (path) text += "  <" + tag + ">" + *path + "</" + tag + ">\n";
}

/// How many bytes belong to a character by its first two, 0 where none begins so (RFC 3629, section 4).
size_t LengthOfCharacter(unsigned char first, unsigned char second) {
  const auto secondIn = [second](unsigned char low, unsigned char high) { return second >= low && second <= high; };
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  if (first < 0xE0) return secondIn(0x80, 0xBF) ? 2 : 0;
  if (first < 0xF0) return secondIn(first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF) ? 3 : 0;
  return secondIn(first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF) ? 4 : 0;
}

bool IsUTF8(std::string_view text) {
  const auto byte = [text](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
  for (size_t i = 0; i < text.size();) {
    const size_t length = LengthOfCharacter(byte(i), byte(i + 1));
    for (size_t k = 2; k < length; ++k)
      if ((byte(i + k) & 0xC0) != 0x80) return false;
    if (length == 0) return false;
    i += length;
  }
  return true;
}

}  // namespace

std::optional<ProjectFile> ParseProjectFile(const std::string& text) {
  const auto sequence = Section(text, "<sequence", "</sequence>");
  if (!sequence) return std::nullopt;
  ProjectFile project;
  Scanner scanner(*sequence);
  const auto widthText = scanner.attribute("width="), heightText = scanner.attribute("height=");
  if (widthText && heightText) {  // that they are there decides: one that tells no frame is taken as it stands
    project.sized = true;
    project.width = IntegerOf(*widthText);
    project.height = IntegerOf(*heightText);
  }
  project.motion = PathIn(text, "motion");
  project.rotation = PathIn(text, "premotion");
  project.confidence = PathIn(text, "motionConfidence");
  project.events = PathIn(text, "filters");
  if (const auto completion = Section(text, "<completion>", "</completion>"))
    if (const auto source = Scanner(*completion).attribute("source=")) project.gains = Trimmed(*source);
  return project;
}

std::string ProjectFileText(const ProjectFile& project) {
  std::string text = "<project>\n  <sequence";
  if (project.hasDimensions())
    text += " width=\"" + std::to_string(project.width) + "\" height=\"" + std::to_string(project.height) + "\"";
  text += "></sequence>\n";
  AddPath("motion", project.motion, text);
  AddPath("premotion", project.rotation, text);
  AddPath("motionConfidence", project.confidence, text);
  AddPath("filters", project.events, text);
  if (project.gains) text += "  <completion><gains source=\"" + *project.gains + "\"/></completion>\n";
  return text + "</project>\n";
}

std::optional<std::string> ReadUTF8File(const std::string& path) {
  std::error_code fault;
  if (!std::filesystem::is_regular_file(path, fault)) return std::nullopt;  // a device or a pipe may have no end
  if (std::filesystem::file_size(path, fault) > mostBytes) return std::nullopt;
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (in.peek() != std::ifstream::traits_type::eof()) text << in.rdbuf();  // not even a folder's fault throws here
  if (!in || !text || !IsUTF8(text.view())) return std::nullopt;           // the fault is at the one that met it
  return text.str();
}
