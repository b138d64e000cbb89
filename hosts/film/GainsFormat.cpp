#include <algorithm>

#include "film/DescribeValues.h"
#include "rendering/AGCStorage.h"

namespace film {
namespace {

/// In the text form only the first frame is numbered; those that lie behind the last number that there is aren't told.
void dropWrapped(AGCStorage* store) {
  const auto wrapped = std::ranges::adjacent_find(
      store->gains, [](const FrameParams& before, const FrameParams& next) { return next.frame < before.frame; });
  if (wrapped != store->gains.end()) store->gains.erase(wrapped + 1, store->gains.end());
}

Description describe(const std::string& path, bool isOld) {
  AGCStorage store;
  bool complete = store.Load(path.c_str());
  if (isOld) {
    const size_t read = store.gains.size();
    dropWrapped(&store);
    complete = complete && store.gains.size() == read;
  }
  Spread spread;
  FrameSpan span;
  Description frames = Description::array();
  for (const FrameParams& entry : store.gains) {
    spread.add(entry.gain);
    span.add(entry.frame);
    frames.push_back({{"frame", entry.frame}, {"gain", NumberOf(entry.gain)}});
  }
  return {{"format", "GAINS"},
          {"version", isOld ? 1 : store.version},
          {"complete", complete},
          {"text", isOld},
          {"ranges", isOld && !span.empty ? SpansOf(span.first, span.last) : SpansOf(store.range)},
          {"gain", spread.json()},
          {"frames", std::move(frames)}};
}

std::string lines(const Description& d) {
  return Line("gains", Count(d["frames"].size(), "frame", "frames")) + Line("covered", SpanText(d["ranges"])) +
         Line("gain", SpreadText(d["gain"]));
}

bool rewrite(const std::string& in, const std::string& out) {
  AGCStorage store;
  store.Load(in.c_str());
  return store.Save(out.c_str());
}

}  // namespace

StoredFormat GainsFormat() {
  return {"GAINS",
          "the gain of each frame",
          [](std::string_view head) { return IsChunked(head, "AGCG"); },
          [](const std::string& path) { return describe(path, false); },
          lines,
          "frames"};
}

StoredFormat OldGainsFormat() {
  return {"GAINS",
          "the gain of each frame, in the old text form",
          [](std::string_view head) { return BeginsWithLine(head, "GAINS"); },
          [](const std::string& path) { return describe(path, true); },
          lines,
          "frames",
          "GAINS",
          rewrite};
}

}  // namespace film
