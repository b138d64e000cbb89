#include <algorithm>
#include <fstream>
#include <sstream>

#include "film/DescribeValues.h"
#include "film/Failure.h"
#include "plugin/StringsFile.h"

namespace film {
namespace {

/// At least one entry, behind comments or not.
bool recognises(std::string_view head) {
  std::istringstream text{std::string(head)};
  return !ReadStringsFile(text).empty();
}

Description describe(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  bool complete = false;
  Description texts = Description::array();
  for (const auto& [key, text] : ReadStringsFile(file, &complete)) texts.push_back({{"key", key}, {"text", text}});
  return {{"format", "strings"}, {"complete", complete}, {"texts", std::move(texts)}};
}

std::string lines(const Description& d) {
  constexpr size_t shown = 8;
  const Description& texts = d["texts"];
  std::string told = Line("texts", std::to_string(texts.size()));
  for (size_t i = 0; i < std::min(texts.size(), shown); ++i)
    told += OnOneLine(texts[i]["key"].get<std::string>() + " = " + texts[i]["text"].get<std::string>()) + "\n";
  if (texts.size() > shown) told += "and " + std::to_string(texts.size() - shown) + " more\n";
  return told;
}

}  // namespace

StoredFormat StringsFormat() { return {"strings", "texts that users see", recognises, describe, lines, "texts"}; }

}  // namespace film
