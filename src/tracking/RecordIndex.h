#pragma once

#include <unordered_map>
#include <vector>

namespace Vorn {

/// Where the records of a segment of a track file lie: the entries of its index, in the order of the file, with those
/// of one frame found in constant time.
class RecordIndex {
 public:
  struct Entry {
    long tag = 0;
    bool continued = false;  ///< A later entry holds more points of the same frame.
    int frame = 0;
    long offset = 0;  ///< Of the record, counted from the tag of the list that holds it.
    long size = 0;    ///< Of the record, without its tag and its size.
    int next = -1;    ///< The next entry of the same frame; -1 if there is none.
  };

  void Append(const Entry& entry) {
    const int position = static_cast<int>(entries.size());
    entries.push_back(entry);
    const auto [found, isFirst] = ends.try_emplace(entry.frame, Ends{position, position});
    if (isFirst) return;
    entries[found->second.newest].next = position;
    found->second.newest = position;
  }

  /// The first entry of a frame, or null.
  const Entry* First(int frame) const {
    const auto found = ends.find(frame);
    return found == ends.end() ? nullptr : &entries[found->second.first];
  }

  /// The entry that goes on with the frame of `entry`; null if its flag says that none does, or there is none.
  const Entry* Continuation(const Entry& entry) const {
    return entry.continued && entry.next >= 0 ? &entries[entry.next] : nullptr;
  }

  /// Tells the newest entry of a frame, if there is one, that another goes on with it.
  void ContinueNewest(int frame) {
    const auto found = ends.find(frame);
    if (found != ends.end()) entries[found->second.newest].continued = true;
  }

  const std::vector<Entry>& Entries() const { return entries; }

  void Clear() { *this = RecordIndex(); }

 private:
  struct Ends {
    int first, newest;
  };

  std::vector<Entry> entries;
  std::unordered_map<int, Ends> ends;  // by frame
};

}  // namespace Vorn
