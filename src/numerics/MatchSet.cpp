#include "numerics/MatchSet.h"

#include <fstream>
#include <string>
#include <unordered_set>
#include <utility>

namespace Vorn {

void MatchSet::AddMatch(int first, int second, double score) {
  matches.push_back({first, second, score});
  if (!stale.empty()) stale.erase(stale.begin());  // its position is live again
  ++numMatches;
}

void MatchSet::AddUpdateMatch(int first, int second, double score) {
  for (unsigned int i = 0; i < slotCount(); ++i) {
    MatchPair& pair = *slot(i);
    if (pair.first == first && pair.second == second) {
      pair.score = score;
      return;
    }
  }
  AddMatch(first, second, score);
}

int MatchSet::GetMatch(int first, double* score) const {
  for (unsigned int i = 0; i < slotCount(); ++i) {
    const MatchPair& pair = *slot(i);
    if (pair.first != first) continue;
    if (score) *score = pair.score;
    return pair.second;
  }
  return -1;
}

void MatchSet::SetMatchedPair(unsigned int i, const MatchPair& pair) {
  if (i >= numMatches) return;
  if (!slot(i)) stale.resize(i - matches.size() + 1, MatchPair{-1, -1, 0.0});
  *slot(i) = pair;
}

double MatchSet::GetScore(int first) const {
  for (const MatchPair& pair : matches)
    if (pair.first == first) return pair.score;
  return 0.0;
}

void MatchSet::SetScore(int first, double score) {
  const auto found =
      std::find_if(matches.begin(), matches.end(), [first](const MatchPair& pair) { return pair.first == first; });
  if (found != matches.end()) found->score = score;
}

void MatchSet::Remove(unsigned int i) {
  if (i >= matches.size()) return;
  stale.insert(stale.begin(), matches.back());
  matches.erase(matches.begin() + i);
}

void MatchSet::RemoveIndexA(const std::vector<int>& firstIndices) {
  if (matches.empty()) return;
  const MatchPair last = matches.back();
  const std::unordered_set<int> removed(firstIndices.begin(), firstIndices.end());
  const size_t gone = std::erase_if(matches, [&](const MatchPair& pair) { return removed.count(pair.first) > 0; });
  stale.insert(stale.begin(), gone, last);  // as if removed one after the other
}

void MatchSet::SortMatches(bool bestFirst) {
  std::stable_sort(matches.begin(), matches.end());
  if (!bestFirst) std::reverse(matches.begin(), matches.end());
}

void MatchSet::Clear() {
  matches.clear();
  stale.clear();
  numMatches = 0;
}

unsigned int MatchSet::Count() const {
  unsigned int count = 0;
  for (unsigned int i = 0; i < slotCount(); ++i)
    if (slot(i)->score > 0.0) ++count;
  return count;
}

bool MatchSet::Load(const char* path) {
  std::ifstream file(path);
  std::string keyword;
  if (!std::getline(file, keyword) || keyword != "MATCHES") return false;
  unsigned int announced = 0, positive = 0;  // the second count only informs a reader
  file >> announced >> positive;
  Clear();
  MatchPair pair;
  while (numMatches < announced && file >> pair.first >> pair.second >> pair.score)
    AddMatch(pair.first, pair.second, pair.score);
  return true;
}

bool MatchSet::Save(const char* path) const {
  std::ofstream file(path);
  if (!file) return false;
  file << "MATCHES\n" << numMatches << '\n' << Count() << '\n';
  for (const MatchPair& pair : matches) file << pair.first << ' ' << pair.second << ' ' << pair.score << '\n';
  return true;
}

MatchPair* MatchSet::slot(unsigned int i) { return const_cast<MatchPair*>(std::as_const(*this).slot(i)); }

/// How many of the first `numMatches` positions hold a pair.
unsigned int MatchSet::slotCount() const {
  return static_cast<unsigned int>(std::min<size_t>(numMatches, matches.size() + stale.size()));
}

}  // namespace Vorn
