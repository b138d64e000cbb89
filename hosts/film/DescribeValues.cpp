#include "film/DescribeValues.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace film {
namespace {

template <class Number>
Description numberOf(Number value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  char digits[64];
  *std::to_chars(digits, std::end(digits) - 1, value).ptr = '\0';
  return std::strtod(digits, nullptr);
}

}  // namespace

Description NumberOf(double value) { return numberOf(value); }
Description NumberOf(float value) { return numberOf(value); }

Description SpansOf(const Vorn::MultiRange& ranges) {
  Description spans = Description::array();
  for (const Vorn::Range& range : ranges.data) spans.push_back({{"first", range.first}, {"last", range.last}});
  return spans;
}

Description SpansOf(int first, int last) { return Description::array({{{"first", first}, {"last", last}}}); }

std::string SpanText(const Description& spans) {
  constexpr size_t shown = 12;
  std::string text;
  for (size_t i = 0; i < std::min(spans.size(), shown); ++i) {
    if (i > 0) text += ", ";
    text.append(spans[i]["first"].dump()).append(" to ").append(spans[i]["last"].dump());
  }
  if (spans.size() > shown) text += " and " + std::to_string(spans.size() - shown) + " more";
  return text.empty() ? "none" : text;
}

std::string EntryName(unsigned int row, unsigned int column) {
  return {'m', static_cast<char>('0' + row), static_cast<char>('0' + column)};
}

void AddMatrix(Description& row, const Vorn::Matrix& m) {
  for (unsigned int r = 0; r < 3; ++r)
    for (unsigned int c = 0; c < 3; ++c)
      row[EntryName(r, c)] = r < m.rows && c < m.columns ? NumberOf(m(r, c)) : Description(r == c ? 1.0 : 0.0);
}

void Spread::add(double value) {
  if (!std::isfinite(value)) return;
  least = count == 0 ? value : std::min(least, value);
  most = count == 0 ? value : std::max(most, value);
  sum += value;
  ++count;
}

Description Spread::json() const {
  if (count == 0) return nullptr;
  return {{"least", least}, {"most", most}, {"mean", NumberOf(sum / static_cast<double>(count))}};
}

std::string SpreadText(const Description& spread, const std::string& unit) {
  if (spread.is_null()) return "none";
  return Short(spread["least"]) + " to " + Short(spread["most"]) + (unit.empty() ? "" : " " + unit) + ", " +
         Short(spread["mean"]) + " on average";
}

std::string Line(const std::string& label, const std::string& value) {
  constexpr size_t column = 26;
  std::string line = label + ":";
  line.resize(std::max(column, line.size() + 1), ' ');
  return line + value + "\n";
}

std::string SettingsText(const Description& settings) {
  std::string text;
  for (const auto& [name, value] : settings.items()) text += " --" + name + " " + Short(value);
  return text.empty() ? "none" : text.substr(1);
}

std::string Short(const Description& number) {
  if (!number.is_number()) return number.is_string() ? number.get<std::string>() : number.dump();
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", number.get<double>());
  return text;
}

std::string Count(size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

bool BeginsWithLine(std::string_view head, std::string_view keyword) {
  if (!head.starts_with(keyword)) return false;
  head.remove_prefix(keyword.size());
  return head.empty() || head.starts_with('\n') || head.starts_with("\r\n");
}

bool IsChunked(std::string_view head, std::string_view form) {
  return head.size() >= 12 && head.starts_with("RIFF") && head.substr(8, 4) == form;
}

}  // namespace film
