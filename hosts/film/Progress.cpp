#include "film/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

namespace film {
namespace {

constexpr std::chrono::milliseconds drawInterval{100};

double secondsLeft(int done, int total, double rate) { return rate > 0 ? (total - done) / rate : 0.0; }

}  // namespace

Progress::Progress(ProgressStyle progressStyle, std::FILE* outStream, std::string passName, int totalFrames)
    : style(progressStyle), out(outStream), pass(std::move(passName)), total(totalFrames), began(Clock::now()) {}

Progress::~Progress() {
  try {
    finish();
  } catch (const std::exception&) {
    // Without memory for the last line the line stays away.
  }
}

double Progress::rate() const {
  const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
  return seconds > 0 ? frames / seconds : 0.0;
}

bool Progress::isDue(int done) {
  const Clock::time_point now = Clock::now();
  if (style == ProgressStyle::Lines) {
    const int tenth = total > 0 ? 10 * done / total : 10;
    if (tenth == lastTenth || (tenth == 0 && lastTenth < 0 && done < total)) return false;
    lastTenth = tenth;
    return true;
  }
  if (drawn && now - lastDrawn < drawInterval) return false;
  lastDrawn = now;
  return true;
}

void Progress::update(int done) {
  if (finished) return;
  frames = done;
  if (style != ProgressStyle::None && isDue(done)) draw();
}

void Progress::finish() {
  if (finished) return;
  finished = true;
  if (style == ProgressStyle::None || frames == 0) return;
  if (style != ProgressStyle::Lines) draw();
  if (style == ProgressStyle::Bar) std::fputc('\n', out);
  std::fflush(out);
}

void Progress::draw() {
  drawn = true;
  const double perSecond = rate(), left = secondsLeft(frames, total, perSecond);
  if (style == ProgressStyle::Bar) {
    std::fprintf(out, "\r%s\033[K", BarText(pass, frames, total, perSecond, TerminalColumns(out) - 1).c_str());
  } else if (style == ProgressStyle::Lines) {
    std::fprintf(out, "%s: frame %d of %d, %.1f frames a second, %s left\n", pass.c_str(), frames, total, perSecond,
                 TimeText(left).c_str());
  } else {
    const nlohmann::ordered_json line{{"pass", pass},
                                      {"frame", frames},
                                      {"frames", total},
                                      {"fps", std::round(perSecond * 100) / 100},
                                      {"secondsLeft", std::round(left * 10) / 10}};
    std::fprintf(out, "%s\n", line.dump().c_str());
  }
  std::fflush(out);
}

std::string Progress::BarText(const std::string& pass, int done, int total, double rate, int columns) {
  char numbers[96];
  std::snprintf(numbers, sizeof numbers, " %d/%d  %.1f fps  %s left", done, total, rate,
                TimeText(secondsLeft(done, total, rate)).c_str());
  const int room =
      columns - static_cast<int>(pass.size()) - static_cast<int>(std::char_traits<char>::length(numbers)) - 3;
  std::string line = pass;
  if (room >= 5) {
    const int width = std::min(room, 40);
    const int filled =
        total > 0 ? static_cast<int>(static_cast<long long>(width) * std::clamp(done, 0, total) / total) : width;
    line += " [";
    line.append(static_cast<size_t>(filled), '#').append(static_cast<size_t>(width - filled), '.');
    line += "]";
  }
  line += numbers;
  return line.substr(0, static_cast<size_t>(std::max(columns, 0)));
}

std::string Progress::TimeText(double seconds) {
  const long all = std::isfinite(seconds) ? std::lround(std::clamp(seconds, 0.0, 359999.0)) : 0;
  char text[32];
  if (all >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", all / 3600, all / 60 % 60, all % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", all / 60, all % 60);
  return text;
}

ProgressStyle ProgressStyleFor(std::FILE* out) {
  return isatty(fileno(out)) ? ProgressStyle::Bar : ProgressStyle::Lines;
}

int TerminalColumns(std::FILE* out) {
  winsize size{};
  return ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace film
