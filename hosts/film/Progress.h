#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace film {

enum class ProgressStyle {
  Bar,    ///< one line on a terminal, drawn over
  Lines,  ///< a plain line for every tenth of the way
  Json,   ///< one JSON object a line, ten a second at most
  None
};

/// Shows how far a pass over a clip's frames is: frame and total, frames a second, time left.
class Progress {
 public:
  /// `pass` names it: "Analysing". `out` is lent.
  Progress(ProgressStyle style, std::FILE* out, std::string pass, int total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// `done` frames of the total are done.
  void update(int done);

  /// Shows where the pass ended and leaves the line. Further updates show nothing.
  void finish();

  int done() const { return frames; }
  /// Frames a second so far.
  double rate() const;

  /// A line of the bar without colours or control characters, `columns` wide at most.
  static std::string BarText(const std::string& pass, int done, int total, double rate, int columns);
  /// Seconds as m:ss or h:mm:ss.
  static std::string TimeText(double seconds);

 private:
  using Clock = std::chrono::steady_clock;

  bool isDue(int done);
  void draw();

  ProgressStyle style;
  std::FILE* out;
  std::string pass;
  int total, frames = 0, lastTenth = -1;
  Clock::time_point began, lastDrawn;
  bool drawn = false, finished = false;
};

/// The style for a stream: a bar on a terminal, lines elsewhere.
ProgressStyle ProgressStyleFor(std::FILE* out);

/// The width of the terminal behind a stream; 80 where there is none.
int TerminalColumns(std::FILE* out);

}  // namespace film
