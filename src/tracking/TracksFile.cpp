#include "tracking/TracksFile.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace Vorn {
namespace {

struct Parameter {
  std::string_view name;
  int TracksHeader::*value;
};
constexpr Parameter kParameters[] = {{"trackstart", &TracksHeader::trackStart},
                                     {"trackend", &TracksHeader::trackEnd},
                                     {"window", &TracksHeader::window},
                                     {"levels", &TracksHeader::levels},
                                     {"range", &TracksHeader::range}};

/// A line without its line feed; false at the end of the file.
bool ReadLine(std::FILE* file, std::string& line) {
  line.clear();
  int c = std::fgetc(file);
  if (c == EOF) return false;
  for (; c != EOF && c != '\n'; c = std::fgetc(file)) line += static_cast<char>(c);
  return true;
}

int WholeNumber(const char* text) {
  return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

void SetParameter(TracksHeader& header, std::string_view name, const char* text) {
  if (name == "minevalue") header.minevalue = std::strtof(text, nullptr);
  const auto* known = std::ranges::find(kParameters, name, &Parameter::name);
  if (known != std::end(kParameters)) header.*known->value = WholeNumber(text);
}

/// Reads what follows a feature's keyword.
bool ReadFeature(std::FILE* file, Feature& feature) {
  char startWord[6], endWord[4];
  int end = 0;
  if (std::fscanf(file, "%d", &feature.id) != 1) return false;
  if (std::fscanf(file, "%5s %d %3s %d", startWord, &feature.start, endWord, &end) != 4) return false;
  for (long long frame = feature.start; frame <= end; ++frame) {
    Point2D point;
    if (std::fscanf(file, "%lf %lf", &point.x, &point.y) != 2) return false;
    point.id = feature.id;
    feature.track.push_back(point);
  }
  return true;
}

}  // namespace

bool ReadTracksHeader(std::FILE* file, TracksHeader& header) {
  std::string line;
  if (!ReadLine(file, line) || !line.starts_with("TRACKS")) return false;
  if (!ReadLine(file, header.comment)) return false;
  char word[1025], name[33], value[17];
  int count = 0;
  if (std::fscanf(file, "%1024s %3d", word, &count) != 2) return false;
  for (int i = 0; i < count; ++i) {
    if (std::fscanf(file, "%32s %16s", name, value) != 2) return false;
    SetParameter(header, name, value);
  }
  return true;
}

bool ReadTracks(std::FILE* file, std::list<Feature>& tracks) {
  char word[65];
  while (std::fscanf(file, "%64s", word) == 1) {
    Feature feature;
    if (!ReadFeature(file, feature)) return false;
    tracks.push_back(std::move(feature));
  }
  return std::ferror(file) == 0;
}

}  // namespace Vorn
