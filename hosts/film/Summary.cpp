#include "film/Summary.h"

#include <cmath>

#include "film/Report.h"

namespace film {

std::FILE* ProgressStream(ProgressStyle style) { return style == ProgressStyle::Json ? stdout : stderr; }

void PrintSummary(Session& session, const std::string& what, int frames, double rate,
                  const std::vector<Warning>& warnings) {
  if (session.progressStyle() == ProgressStyle::None) return;
  const double zoom = ZoomOf(session.effect());
  if (session.progressStyle() == ProgressStyle::Json) {
    nlohmann::ordered_json line{{"done", what},
                                {"frames", frames},
                                {"events", EventText(session.effect())},
                                {"zoom", std::round(zoom * 1000) / 1000},
                                {"fps", std::round(rate * 100) / 100}};
    if (!warnings.empty()) line["warnings"] = DescribeWarnings(warnings);
    std::printf("%s\n", line.dump().c_str());
  } else {
    std::printf("%s: %d %s, %s, zoom %.3f", OnOneLine(what).c_str(), frames, frames == 1 ? "frame" : "frames",
                EventText(session.effect()).c_str(), zoom);
    if (rate > 0) std::printf(", %.1f frames a second", rate);
    std::printf("\n");
  }
}

std::vector<Warning> TellWarnings(Session& session) {
  session.effect().showFirstFrame();
  std::vector<Warning> warnings = FindWarnings(session);
  if (session.progressStyle() == ProgressStyle::Bar || session.progressStyle() == ProgressStyle::Lines)
    for (const Warning& warning : warnings) std::fprintf(stderr, "orvane: %s\n", OnOneLine(warning.text).c_str());
  return warnings;
}

ExitStatus Cancelled(const std::string& kept) {
  std::fprintf(stderr, "orvane: cancelled; %s\n", OnOneLine(kept).c_str());
  return kCancelled;
}

std::string KeptAnalysis(const Session& session) {
  if (!session.needsAnalysis()) return "the analysis of before is kept in " + session.documentPath();
  return "what was analysed by then is kept in " + session.documentPath() + "; the next run analyses the whole clip";
}

}  // namespace film
