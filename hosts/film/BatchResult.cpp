#include "film/BatchResult.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "film/Failure.h"
#include "film/Progress.h"

namespace film {
namespace {

using Row = std::array<std::string, 6>;

size_t countOf(const std::vector<BatchResult>& results, BatchResult::State state) {
  return static_cast<size_t>(
      std::count_if(results.begin(), results.end(), [&](const BatchResult& result) { return result.state == state; }));
}

std::string countText(const std::vector<BatchResult>& results) {
  const size_t failed = countOf(results, BatchResult::Failed), cancelled = countOf(results, BatchResult::Cancelled);
  std::string text = std::to_string(countOf(results, BatchResult::Done)) + " of " + std::to_string(results.size()) +
                     (results.size() == 1 ? " clip done" : " clips done");
  if (failed > 0) text += ", " + std::to_string(failed) + " failed";
  if (cancelled > 0) text += ", " + std::to_string(cancelled) + " cancelled";
  return text;
}

/// A member of a summary, or null.
const nlohmann::json* memberOf(const BatchResult& result, const char* key) {
  return result.summary && result.summary->contains(key) ? &result.summary->at(key) : nullptr;
}

std::string textAt(const BatchResult& result, const char* key) {
  const nlohmann::json* member = memberOf(result, key);
  if (!member) return "-";
  return member->is_string() ? member->get<std::string>() : member->dump();
}

std::string zoomText(const BatchResult& result) {
  const nlohmann::json* zoom = memberOf(result, "zoom");
  if (!zoom || !zoom->is_number()) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", zoom->get<double>());
  return text;
}

/// The error without the clip's name before it, which has a column of its own.
std::string shortError(const BatchResult& result) {
  const std::string name = OnOneLine(result.clip.path) + ": ";
  return result.error.starts_with(name) ? result.error.substr(name.size()) : result.error;
}

Row rowOf(const BatchResult& result) {
  Row row{result.clip.path, "-", "-", "-", "-", ""};
  if (result.state == BatchResult::Done)
    row = {result.clip.path, textAt(result, "frames"),           textAt(result, "events"),
           zoomText(result), Progress::TimeText(result.seconds), result.clip.out};
  else if (result.state == BatchResult::Cancelled)
    row[5] = "cancelled";
  else
    row[5] = shortError(result);
  for (std::string& cell : row) cell = OnOneLine(cell);
  return row;
}

void append(std::string* text, const std::string& cell, size_t width, bool right) {
  const std::string padding(width - std::min(width, cell.size()), ' ');
  *text += right ? padding + cell : cell + padding;
  *text += "  ";
}

}  // namespace

void BatchResult::hear(const nlohmann::json& line) {
  if (!line.is_object()) return;
  if (line.contains("done")) summary = std::make_shared<const nlohmann::json>(line);
  if (!line.contains("pass")) return;
  pass = line.value("pass", "");
  done = line.value("frame", 0);
  total = line.value("frames", 0);
}

std::vector<std::string> BatchResult::warnings() const {
  std::vector<std::string> texts;
  if (const nlohmann::json* list = memberOf(*this, "warnings"))
    for (const nlohmann::json& warning : *list) texts.push_back(warning.value("text", ""));
  return texts;
}

std::string StatusText(const std::vector<BatchResult>& results, int columns) {
  std::string text = countText(results);
  const char* before = "; ";
  for (const BatchResult& result : results) {
    if (result.state != BatchResult::Running) continue;
    const long percent = result.total > 0 ? 100L * result.done / result.total : 0;
    text += before + OnOneLine(result.clip.path.substr(result.clip.path.rfind('/') + 1)) + ": " +
            (result.pass.empty() ? "Reading" : result.pass + " " + std::to_string(percent) + " %");
    before = ", ";
  }
  return text.substr(0, static_cast<size_t>(std::max(columns, 0)));
}

std::string TableText(const std::vector<BatchResult>& results) {
  std::vector<Row> rows{{"clip", "frames", "events", "zoom", "time", "result"}};
  for (const BatchResult& result : results) rows.push_back(rowOf(result));
  std::array<size_t, 6> widths{};
  for (const Row& row : rows)
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  std::string text;
  for (const Row& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) append(&text, row[i], widths[i], i == 1 || i == 3 || i == 4);
    text.erase(text.find_last_not_of(' ') + 1);
    text += "\n";
  }
  return text + countText(results) + "\n";
}

nlohmann::ordered_json DescribeResults(const std::vector<BatchResult>& results) {
  constexpr const char* states[] = {"waiting", "running", "done", "failed", "cancelled"};
  nlohmann::ordered_json clips = nlohmann::ordered_json::array();
  for (const BatchResult& result : results) {
    nlohmann::ordered_json row{{"clip", result.clip.path}, {"status", states[result.state]}};
    if (result.state == BatchResult::Failed) row["error"] = result.error;
    if (result.state == BatchResult::Done) {
      if (!result.clip.out.empty()) row["out"] = result.clip.out;
      for (const char* key : {"frames", "events", "zoom", "warnings", "notes"})
        if (const nlohmann::json* member = memberOf(result, key)) row[key] = *member;
      row["seconds"] = std::round(result.seconds * 10) / 10;
    }
    clips.push_back(std::move(row));
  }
  return {{"clips", std::move(clips)},
          {"done", countOf(results, BatchResult::Done)},
          {"failed", countOf(results, BatchResult::Failed)},
          {"cancelled", countOf(results, BatchResult::Cancelled)}};
}

}  // namespace film
