#include "analysis/MotionConfidenceSet.h"
#include "film/DescribeValues.h"

namespace film {
namespace {

constexpr float lowConfidence = 0.1F;  // what the planner takes for broken

Description describe(const std::string& path) {
  MotionConfidenceSet set;
  const bool complete = set.Load(path.c_str());
  Spread spread;
  FrameSpan span;
  Description frames = Description::array();
  size_t low = 0;
  for (size_t i = 0; i < set.index.size(); ++i) {
    spread.add(set.confidence[i]);
    span.add(set.index[i]);
    if (set.confidence[i] <= lowConfidence) ++low;
    frames.push_back({{"frame", set.index[i]}, {"confidence", NumberOf(set.confidence[i])}});
  }
  return {{"format", "MCONF"}, {"complete", complete},    {"start", span.first},        {"end", span.last},
          {"low", low},        {"spread", spread.json()}, {"frames", std::move(frames)}};
}

std::string lines(const Description& d) {
  std::string frames = Count(d["frames"].size(), "frame", "frames");
  if (!d["frames"].empty()) frames += ", " + d["start"].dump() + " to " + d["end"].dump();
  return Line("confidence", frames) + Line("values", SpreadText(d["spread"])) +
         Line("doubtful", Count(d["low"], "frame", "frames") + " of 0.1 or less");
}

}  // namespace

StoredFormat ConfidenceFormat() {
  return {"MCONF",
          "how far the motion of each frame can be trusted",
          [](std::string_view head) { return BeginsWithLine(head, "MCONF"); },
          describe,
          lines,
          "frames"};
}

}  // namespace film
