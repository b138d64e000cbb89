#include "film/FrameIndexText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <string_view>

namespace film {
namespace {

using nlohmann::json;
using Numbers = std::vector<std::int64_t>;

constexpr std::size_t checkDigits = 8;
constexpr std::int64_t longest = std::int64_t{1} << 60;  // for times, so that sums of a few can't overflow

constexpr struct {
  ClipEnd end;
  const char* name;
} endNames[] = {{ClipEnd::Whole, "whole"}, {ClipEnd::CutShort, "cut"}, {ClipEnd::Change, "change"}};

// Differences wrap around, so that any two numbers have one.
std::int64_t minus(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}
std::int64_t plus(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

Numbers differences(Numbers numbers) {
  for (std::size_t i = numbers.size(); i-- > 1;) numbers[i] = minus(numbers[i], numbers[i - 1]);
  return numbers;
}

Numbers sums(Numbers numbers) {
  for (std::size_t i = 1; i < numbers.size(); ++i) numbers[i] = plus(numbers[i], numbers[i - 1]);
  return numbers;
}

std::string hex(std::uint64_t number, int digits) {
  char text[17];
  std::snprintf(text, sizeof text, "%0*llx", digits, static_cast<unsigned long long>(number));
  return text;
}

template <class Number>
bool readWhole(std::string_view text, Number* number, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number, base);
  return error == std::errc() && end == text.data() + text.size();
}

/// One number a row, taken from each.
template <class Row, class Take>
Numbers column(const std::vector<Row>& rows, Take take) {
  Numbers numbers;
  numbers.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) numbers.push_back(take(rows[i], static_cast<std::int64_t>(i)));
  return numbers;
}

template <class Row>
std::string checksText(const std::vector<Row>& rows) {
  std::string text;
  text.reserve(rows.size() * checkDigits);
  for (const Row& row : rows) text += hex(row.check, checkDigits);
  return text;
}

std::string stringAt(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// Makes a row for each check, so that their number is bounded by the text that is there.
template <class Row>
bool readChecks(const json& object, std::vector<Row>* rows) {
  const std::string text = stringAt(object, "checks");
  if (text.size() % checkDigits != 0 || text.size() / checkDigits > std::numeric_limits<int>::max()) return false;
  rows->resize(text.size() / checkDigits);
  for (std::size_t i = 0; i < rows->size(); ++i)
    if (!readWhole(std::string_view(text).substr(i * checkDigits, checkDigits), &(*rows)[i].check, 16)) return false;
  return true;
}

/// The time until the next frame, which is also the duration of all frames but odd ones.
std::int64_t usualDuration(const std::vector<IndexedFrame>& frames, std::size_t n) {
  return n + 1 < frames.size() ? minus(frames[n + 1].time, frames[n].time) : 0;
}

bool readFrames(const json& text, FrameIndex* index) {
  std::vector<IndexedFrame>& frames = index->frames;
  Numbers times, durations, order;
  if (!readChecks(text, &frames) || frames.empty()) return false;
  if (!ReadColumn(stringAt(text, "times"), frames.size(), &times)) return false;
  if (!ReadColumn(stringAt(text, "durations"), frames.size(), &durations)) return false;
  if (!ReadColumn(stringAt(text, "order"), frames.size(), &order)) return false;
  times = sums(std::move(times));
  for (std::size_t n = 0; n < frames.size(); ++n) frames[n].time = times[n];
  for (std::size_t n = 0; n < frames.size(); ++n) {
    const std::int64_t packet = plus(order[n], static_cast<std::int64_t>(n));
    frames[n].duration = plus(durations[n], usualDuration(frames, n));
    if (frames[n].time < -longest || frames[n].time > longest) return false;
    if (frames[n].duration < 0 || frames[n].duration > longest) return false;
    if (packet < -1 || packet >= index->packets) return false;
    frames[n].packet = static_cast<int>(packet);
  }
  return true;
}

bool readPoints(const json& text, FrameIndex* index) {
  std::vector<AccessPoint>& points = index->points;
  Numbers packets, times, positions;
  if (!text.is_object() || !readChecks(text, &points)) return false;
  if (!ReadColumn(stringAt(text, "packets"), points.size(), &packets)) return false;
  if (!ReadColumn(stringAt(text, "times"), points.size(), &times)) return false;
  if (!ReadColumn(stringAt(text, "positions"), points.size(), &positions)) return false;
  packets = sums(std::move(packets));
  times = sums(std::move(times));
  positions = sums(std::move(positions));
  for (std::size_t i = 0; i < points.size(); ++i) {
    const std::int64_t before = i > 0 ? packets[i - 1] : -1;
    if (packets[i] <= before || packets[i] >= index->packets || positions[i] < -1) return false;
    points[i] = {static_cast<int>(packets[i]), times[i], positions[i], points[i].check};
  }
  return true;
}

/// Of all that the index holds, so that a damaged number is noticed.
std::uint64_t checkOf(const FrameIndex& index) {
  ByteCheck check;
  for (const std::int64_t number : {static_cast<std::int64_t>(index.end), std::int64_t{index.packets},
                                    static_cast<std::int64_t>(index.packetsCheck)})
    check.add(number);
  for (const IndexedFrame& frame : index.frames)
    for (const std::int64_t number :
         {frame.time, frame.duration, std::int64_t{frame.packet}, std::int64_t{frame.check}})
      check.add(number);
  for (const AccessPoint& point : index.points)
    for (const std::int64_t number :
         {std::int64_t{point.packet}, point.time, point.position, std::int64_t{point.check}})
      check.add(number);
  return check.value();
}

bool isSound(const json& text, const FrameIndex& index) {
  std::uint64_t check = 0;
  return readWhole(stringAt(text, "check"), &check, 16) && check == checkOf(index);
}

bool readWholeClip(const json& text, FrameIndex* index) {
  const auto packets = text.find("packets");
  if (packets == text.end() || !packets->is_number_integer()) return false;
  const auto count = packets->get<std::int64_t>();
  if (count <= 0 || count > std::numeric_limits<int>::max()) return false;
  index->packets = static_cast<int>(count);
  const std::string check = stringAt(text, "packetsCheck"), name = stringAt(text, "end");
  if (check.size() != 16 || !readWhole(check, &index->packetsCheck, 16)) return false;
  for (const auto& row : endNames) {
    if (name != row.name) continue;
    index->end = row.end;
    return true;
  }
  return false;
}

}  // namespace

json TextOf(const FrameIndex& index) {
  const std::vector<IndexedFrame>& frames = index.frames;
  json points{
      {"packets", ColumnText(differences(column(index.points, [](auto& row, auto) { return row.packet; })))},
      {"times", ColumnText(differences(column(index.points, [](auto& row, auto) { return row.time; })))},
      {"positions", ColumnText(differences(column(index.points, [](auto& row, auto) { return row.position; })))},
      {"checks", checksText(index.points)}};
  const auto extraDuration = [&](const IndexedFrame& frame, std::int64_t n) {
    return minus(frame.duration, usualDuration(frames, static_cast<std::size_t>(n)));
  };
  return {{"end", endNames[static_cast<int>(index.end)].name},
          {"packets", index.packets},
          {"packetsCheck", hex(index.packetsCheck, 16)},
          {"times", ColumnText(differences(column(frames, [](auto& row, auto) { return row.time; })))},
          {"durations", ColumnText(column(frames, extraDuration))},
          {"order", ColumnText(column(frames, [](auto& row, auto n) { return row.packet - n; }))},
          {"checks", checksText(frames)},
          {"points", std::move(points)},
          {"check", hex(checkOf(index), 16)}};
}

std::shared_ptr<const FrameIndex> FrameIndexOf(const json& text) {
  auto index = std::make_shared<FrameIndex>();
  if (!text.is_object() || !readWholeClip(text, index.get()) || !readFrames(text, index.get())) return nullptr;
  const auto points = text.find("points");
  if (points == text.end() || !readPoints(*points, index.get()) || !isSound(text, *index)) return nullptr;
  return index;
}

std::string ColumnText(const std::vector<std::int64_t>& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t end = i + 1;
    while (end < numbers.size() && numbers[end] == numbers[i]) ++end;
    if (i > 0) text += ' ';
    text += std::to_string(numbers[i]);
    if (end - i > 1) text += '*' + std::to_string(end - i);
    i = end;
  }
  return text;
}

bool ReadColumn(const std::string& text, std::size_t count, std::vector<std::int64_t>* numbers) {
  numbers->clear();
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
    const std::size_t star = word.find('*');
    std::int64_t number = 0;
    std::size_t times = 1;
    if (!readWhole(word.substr(0, star), &number)) return false;
    if (star != std::string_view::npos && !readWhole(word.substr(star + 1), &times)) return false;
    if (times > count - numbers->size()) return false;
    numbers->insert(numbers->end(), times, number);
  }
  return numbers->size() == count;
}

}  // namespace film
