#include "film/Table.h"

#include "film/Failure.h"

namespace film {
namespace {

std::string quoted(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string inQuotes(1, '"');
  for (const char c : text) inQuotes.append(c == '"' ? 2 : 1, c);
  inQuotes += '"';
  return inQuotes;
}

std::string cell(const Description& value) {
  if (value.is_null()) return "";
  return value.is_string() ? quoted(value.get<std::string>()) : value.dump();
}

}  // namespace

std::string CommaSeparated(const Description& rows, const std::string& from) {
  if (rows.empty()) throw Failure(from + ": holds no values, so that there is no table to write");
  std::string text;
  const char* separator = "";
  if (rows.front().is_object()) {
    for (const auto& column : rows.front().items()) {
      text.append(separator).append(quoted(column.key()));
      separator = ",";
    }
    text += "\n";
  }
  for (const Description& row : rows) {
    separator = "";
    for (const Description& value : row) {
      text.append(separator).append(cell(value));
      separator = ",";
    }
    text += "\n";
  }
  return text;
}

}  // namespace film
