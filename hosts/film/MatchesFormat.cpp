#include <fstream>

#include "film/DescribeValues.h"
#include "numerics/MatchSet.h"

namespace film {
namespace {

/// How many pairs were added to the set that was saved. Where some of them were removed the file holds fewer.
unsigned long announcedIn(const std::string& path) {
  std::ifstream file(path);
  std::string keyword;
  unsigned long count = 0;
  file >> keyword >> count;
  return count;
}

Description describe(const std::string& path) {
  Vorn::MatchSet set;
  const bool loaded = set.Load(path.c_str());
  Spread score;
  Description matches = Description::array();
  for (const Vorn::MatchPair& pair : set.matches) {
    score.add(pair.score);
    matches.push_back({{"first", pair.first}, {"second", pair.second}, {"score", NumberOf(pair.score)}});
  }
  return {{"format", "MATCHES"},     {"complete", loaded},    {"added", announcedIn(path)},
          {"positive", set.Count()}, {"score", score.json()}, {"matches", std::move(matches)}};
}

std::string lines(const Description& d) {
  std::string pairs = std::to_string(d["matches"].size());
  if (d["added"] != d["matches"].size()) pairs += " of " + d["added"].dump() + " that were added";
  return Line("pairs of points", pairs) + Line("with a score above 0", d["positive"].dump()) +
         Line("score", SpreadText(d["score"]));
}

}  // namespace

StoredFormat MatchesFormat() {
  return {"MATCHES", "pairs of points", [](std::string_view head) { return BeginsWithLine(head, "MATCHES"); }, describe,
          lines,     "matches"};
}

}  // namespace film
