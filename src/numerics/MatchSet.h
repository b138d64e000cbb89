#pragma once

#include <algorithm>
#include <vector>

namespace Vorn {

/// A point of one set and its partner in another.
struct MatchPair {
  int first = 0;       ///< Index into the first point set.
  int second = 0;      ///< Index into the second one.
  double score = 0.0;  ///< Above 0 for a match that counts; more is better.

  bool operator<(const MatchPair& other) const { return score > other.score; }  ///< The best sorts first.
};

/// A list of index pairs between two point sets, each with a score, and its text file format (MATCHES).
///
/// `numMatches` is what was added and does not see a removal. So callers that remove matches loop over the size of
/// `matches`, and a query that looks through `numMatches` entries also meets the entries that a removal left behind
/// the live ones: the values which last stood at those positions.
class MatchSet {
 public:
  void AddMatch(int first, int second, double score);
  /// Sets the score of an equal pair among the first `numMatches`, or else adds the match.
  void AddUpdateMatch(int first, int second, double score);

  /// The partner of the first pair with that `first`, among `numMatches` entries, and its score where the pointer is
  /// given; -1 if there is none.
  int GetMatch(int first, double* score = nullptr) const;
  /// The pair at a position; false if i >= `numMatches`.
  bool GetMatchedPair(unsigned int i, int& first, int& second) const;
  bool GetMatchedPair(unsigned int i, MatchPair& pair) const;
  void SetMatchedPair(unsigned int i, const MatchPair& pair);  ///< Nothing if i >= `numMatches`.

  double GetScore(int first) const;  ///< Of the first live pair with that `first`; 0 if there is none.
  void SetScore(int first, double score);

  void Remove(unsigned int i);                              ///< A position past the last live pair does nothing.
  void RemoveIndexA(const std::vector<int>& firstIndices);  ///< Removes every pair whose `first` is among them.
  void SortMatches(
      bool bestFirst);  ///< By score, best first or worst first. Equal scores keep their order in the former.
  void Clear();
  unsigned int Count() const;  ///< How many of the first `numMatches` pairs have a score above 0.

  /// False if the file can't be opened or isn't a MATCHES file; the set then stays. A file that ends early gives the
  /// pairs that it holds.
  bool Load(const char* path);
  bool Save(const char* path) const;  ///< False only if the file can't be opened.

  std::vector<MatchPair> matches;  ///< The live pairs.
  unsigned int numMatches = 0;

 private:
  MatchPair* slot(unsigned int i);
  const MatchPair* slot(unsigned int i) const;
  unsigned int slotCount() const;

  std::vector<MatchPair> stale;  // what stands at the positions from matches.size() on
};

inline const MatchPair* MatchSet::slot(unsigned int i) const {
  if (i < matches.size()) return &matches[i];
  const size_t behind = i - matches.size();
  return behind < stale.size() ? &stale[behind] : nullptr;
}

inline bool MatchSet::GetMatchedPair(unsigned int i, MatchPair& pair) const {
  if (i >= numMatches) return false;
  const MatchPair* const stored = slot(i);
  pair = stored ? *stored : MatchPair{-1, -1, 0.0};  // a position that was never written
  return true;
}

inline bool MatchSet::GetMatchedPair(unsigned int i, int& first, int& second) const {
  MatchPair pair;
  if (!GetMatchedPair(i, pair)) return false;
  first = pair.first;
  second = pair.second;
  return true;
}

}  // namespace Vorn
