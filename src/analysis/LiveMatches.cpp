#include "analysis/LiveMatches.h"

namespace Vorn {

void LiveMatches::Reset(const MatchSet& matches, const PointSet& current) {
  const int count = static_cast<int>(matches.matches.size());
  firstOfId.Reset(matches.matches.size());
  nextOfId.resize(matches.matches.size());
  live.assign(matches.matches.size(), 1);
  removedUpTo.assign(matches.matches.size() + 1, 0);
  left = count;
  for (int i = count - 1; i >= 0; --i) {
    int& first = firstOfId[current[matches.matches[i].second].id];
    nextOfId[i] = first;
    first = i;
  }
}

int LiveMatches::Position(int index) const {
  int removed = 0;
  for (int node = index; node > 0; node &= node - 1) removed += removedUpTo[node];
  return index - removed;
}

void LiveMatches::RemoveFirst(int id) {
  int& first = firstOfId[id];
  const int index = first;
  first = nextOfId[index];
  live[index] = 0;
  --left;
  for (int node = index + 1; node < static_cast<int>(removedUpTo.size()); node += node & -node) ++removedUpTo[node];
}

}  // namespace Vorn
