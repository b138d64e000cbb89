#include <cctype>
#include <charconv>
#include <fstream>
#include <sstream>

#include "film/DescribeValues.h"
#include "film/Failure.h"

namespace film {
namespace {

constexpr unsigned int mostShown = 8;  // rows and columns that fit a screen

/// Takes the next whole number off the front.
bool takeCount(std::string_view& text, unsigned int& count) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return count > 0 && !text.empty() && std::isspace(static_cast<unsigned char>(text.front()));
}

/// Two counts and nothing but numbers behind them. The counts are checked against the numbers when all are read.
bool recognises(std::string_view head) {
  unsigned int rows = 0, columns = 0;
  if (!takeCount(head, rows) || !takeCount(head, columns)) return false;
  return head.find_first_not_of("0123456789+-.eEinfaINFA \t\r\n") == std::string_view::npos &&
         head.find_first_of("0123456789") != std::string_view::npos;
}

Description describe(const std::string& path) {
  std::ifstream file(path);
  unsigned int rows = 0, columns = 0;
  file >> rows >> columns;
  size_t numbers = 0;
  for (double ignored = 0; file >> ignored;) ++numbers;
  const auto announced = static_cast<size_t>(rows) * columns;
  Vorn::Matrix matrix;
  if (numbers == 0 || (numbers < announced && announced > 65536) || !matrix.Load(path.c_str()))
    throw Failure(path + ": a matrix of " + std::to_string(rows) + " by " + std::to_string(columns) +
                  " is announced, but its values are missing; get a whole copy of the file");
  Description values = Description::array();
  for (unsigned int r = 0; r < matrix.rows; ++r) {
    Description row = Description::array();
    for (unsigned int c = 0; c < matrix.columns; ++c) row.push_back(NumberOf(matrix(r, c)));
    values.push_back(std::move(row));
  }
  return {{"format", "matrix"},
          {"complete", numbers >= announced},
          {"rows", rows},
          {"columns", columns},
          {"values", std::move(values)}};
}

std::string lines(const Description& d) {
  std::string text = Line("matrix", Count(d["rows"], "row", "rows") + " of " + Count(d["columns"], "value", "values"));
  if (d["rows"] > mostShown || d["columns"] > mostShown) return text;
  for (const Description& row : d["values"]) {
    std::string line;
    for (const Description& value : row) line.append(line.empty() ? "" : " ").append(Short(value));
    text += line + "\n";
  }
  return text;
}

}  // namespace

StoredFormat MatrixFormat() { return {"matrix", "one matrix", recognises, describe, lines, "values"}; }

}  // namespace film
