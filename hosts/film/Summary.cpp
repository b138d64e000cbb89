#include "film/Summary.h"

#include <cmath>

#include "film/JsonText.h"
#include "film/Report.h"

namespace film {

std::FILE* ProgressStream(ProgressStyle style) { return style == ProgressStyle::Json ? stdout : stderr; }

void PrintSummary(Session& session, const Made& made) {
  if (session.progressStyle() == ProgressStyle::None) return;
  const double zoom = ZoomOf(session.effect());
  if (session.progressStyle() == ProgressStyle::Json) {
    nlohmann::ordered_json line{{"done", made.what},
                                {"frames", made.frames},
                                {"events", EventText(session.effect())},
                                {"zoom", std::round(zoom * 1000) / 1000},
                                {"fps", std::round(made.rate * 100) / 100}};
    if (!made.warnings.empty()) line["warnings"] = DescribeWarnings(made.warnings);
    if (!made.notes.empty()) line["notes"] = made.notes;
    std::printf("%s\n", JsonText(line).c_str());
  } else {
    std::printf("%s: %d %s, %s, zoom %.3f", OnOneLine(made.what).c_str(), made.frames,
                made.frames == 1 ? "frame" : "frames", EventText(session.effect()).c_str(), zoom);
    if (made.rate > 0) std::printf(", %.1f frames a second", made.rate);
    std::printf("\n");
  }
}

namespace {

std::vector<Warning> tell(Session& session, std::vector<Warning> warnings) {
  if (session.progressStyle() == ProgressStyle::Bar || session.progressStyle() == ProgressStyle::Lines)
    for (const Warning& warning : warnings) std::fprintf(stderr, "orvane: %s\n", OnOneLine(warning.text).c_str());
  return warnings;
}

}  // namespace

std::vector<Warning> TellWarnings(Session& session) {
  session.effect().showFirstFrame();
  return tell(session, FindWarnings(session));
}

std::vector<Warning> TellPlanWarnings(Session& session) {
  session.effect().showFirstFrame();
  return tell(session, FindPlanWarnings(session));
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
