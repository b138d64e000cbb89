#pragma once

#include <vector>

#include "analysis/IdIndex.h"
#include "numerics/MatchSet.h"
#include "numerics/PointSet.h"

namespace Vorn {

/// The matches of a frame while some of them are taken out one by one: finds the first one left of a feature, and the
/// position that a match has among those left, without moving the others.
class LiveMatches {
 public:
  /// All of `matches`, each known by the id of its point in `current`.
  void Reset(const MatchSet& matches, const PointSet& current);

  /// The index in the original list of the first match left with that feature id, or -1.
  int First(int id) const { return firstOfId.Find(id); }

  /// How many matches are left in front of the one with this original index.
  int Position(int index) const;

  /// Takes the first match left of feature `id` out.
  void RemoveFirst(int id);

  /// How many are left.
  int Count() const { return left; }

  bool IsLeft(int index) const { return live[index] != 0; }

 private:
  IdIndex firstOfId;
  std::vector<int> nextOfId;        // the next match of the same id, or -1
  std::vector<unsigned char> live;  // by original index
  std::vector<int> removedUpTo;     // binary indexed tree over the removals (Fenwick, Softw. Pract. Exper. 1994)
  int left = 0;
};

}  // namespace Vorn
