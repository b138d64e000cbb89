#include "plugin/StringsFile.h"

#include <iterator>
#include <optional>
#include <string_view>

namespace {

class StringsReader {
 public:
  explicit StringsReader(std::string_view text) : rest(text) {}

  bool atEnd() {
    skipBlanksAndComments();
    return rest.empty();
  }

  /// The quoted string that stands next.
  std::optional<std::string> quoted() {
    if (!symbol('"')) return std::nullopt;
    std::string value;
    while (!rest.empty() && rest.front() != '"') {
      if (rest.front() == '\\' && rest.size() > 1) {
        rest.remove_prefix(1);
        value += unescaped(rest.front());
      } else {
        value += rest.front();
      }
      rest.remove_prefix(1);
    }
    if (rest.empty()) return std::nullopt;
    rest.remove_prefix(1);
    return value;
  }

  bool symbol(char expected) {
    skipBlanksAndComments();
    if (rest.empty() || rest.front() != expected) return false;
    rest.remove_prefix(1);
    return true;
  }

 private:
  static char unescaped(char escape) { return escape == 'n' ? '\n' : escape == 't' ? '\t' : escape; }

  void skipBlanksAndComments() {
    for (;;) {
      rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
      if (rest.starts_with("/*"))
        skipPast("*/");
      else if (rest.starts_with("//"))
        skipPast("\n");
      else
        return;
    }
  }

  void skipPast(std::string_view mark) {
    const size_t at = rest.find(mark, 2);
    rest.remove_prefix(at == std::string_view::npos ? rest.size() : at + mark.size());
  }

  std::string_view rest;
};

}  // namespace

LocalisedStrings ReadStringsFile(std::istream& in, bool* complete) {
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  StringsReader reader(text);
  LocalisedStrings strings;
  bool sound = true;
  while (sound && !reader.atEnd()) {
    const auto key = reader.quoted();
    const bool assigned = key && reader.symbol('=');
    const auto value = assigned ? reader.quoted() : std::nullopt;
    sound = value && reader.symbol(';');
    if (sound) strings[*key] = *value;
  }
  if (complete) *complete = sound;
  return strings;
}
