#pragma once

#include <memory>
#include <string>
#include <vector>

#include "imaging/Image.h"

namespace Vorn {

/// Which entry of a full cache makes room.
enum CachePolicy : int {
  CacheRetained = 0,  ///< the least recently used one that nobody retains; reading retains
  CacheByAge = 1,     ///< the one of age `used` - 1, whoever still uses it
};

/// A store of a fixed number of decoded frames by frame number, which owns its images. Not safe for concurrent use.
///
/// Each entry has an age, 0 for the most recently used. `Pop` leaves the ages of the others, so that some may reach
/// the number of entries: such an entry is not found any more. Under `CacheByAge` a full cache then evicts by age
/// alone, and refuses new frames while no entry has the age of the last place.
class ImageCache {
 public:
  explicit ImageCache(int capacity);

  /// Hands out the frame's image, which stays the cache's, and makes it the most recently used. Under `CacheRetained`
  /// the frame is retained once more. False, and `image` as it was, if the frame isn't there.
  bool Read(int frame, Image*& image);
  /// The image of the first entry, whatever its age. False if the cache is empty.
  bool GetTop(Image*& image) const;
  /// Takes `image` over, in place of the frame's old one, in a free place, or in the place of the entry that the policy
  /// gives up. A new frame is retained once. False if there is no such place: the image is then
  /// still the caller's.
  bool Write(int frame, Image*& image);
  /// Whether `Write` would find a place. Under `CacheRetained` a full cache answers by its first entry that isn't
  /// retained.
  bool CanWrite(int frame) const;

  /// Removes the frame and its image.
  void Pop(int frame);
  /// Retains the frame once less. There is no floor: each call counts.
  void Release(int frame);
  /// 0 if the frame isn't there.
  int GetRetainCount(int frame) const;

  void Clear();
  /// Forgets all retain counts.
  void SetPolicy(CachePolicy policy);
  /// Growing keeps what there is. Shrinking removes entries, least recently used first, until one more fits, or until
  /// the policy gives none up: the cache then stays larger than its capacity.
  void Resize(int capacity);

  /// Prints `StatusAsString` to the standard output.
  void Status() const;
  /// One line an entry and one for the whole.
  std::string StatusAsString() const;

 private:
  struct Entry {
    std::unique_ptr<Image> image;
    int age;
    int frame;
    int retainCount;
  };

  const Entry* find(int frame) const;
  Entry* find(int frame);
  Entry* findLive(int frame);
  void promote(Entry& entry);
  Entry* findLeastRecent();
  Entry* findVictim();
  void growAges();
  void remove(const Entry* entry);

  std::vector<Entry> entries;
  int used = 0;
  int capacity;
  CachePolicy policy = CacheByAge;
};

}  // namespace Vorn
