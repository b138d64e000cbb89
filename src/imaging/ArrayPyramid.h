#pragma once

#include <memory>
#include <vector>

#include "imaging/FastArray.h"

namespace Vorn {

/// The multi-resolution stack of a float frame: level 0 is the frame itself, each further level half the size of the
/// one before, smoothed with the binomial kernel 1/16, 1/4, 3/8, 1/4, 1/16 (P. J. Burt and E. H. Adelson, "The
/// Laplacian Pyramid as a Compact Image Code", 1983).
///
/// Level 0 is the caller's array, which must stay alive and where it is; the further levels belong to the pyramid. Made
/// once and generated anew for each frame: only a change of size allocates. The results are the same for any processor
/// count.
class ArrayPyramid {
 public:
  ArrayPyramid() = default;  ///< No levels.
  ArrayPyramid(FastArray& base, int levels, bool filter);

  /// Makes the whole pyramid for a new base, with the number of levels that it was constructed with (without any,
  /// nothing happens). A level is (width / 2) by (height / 2) of the one before. With `filter` false the levels get
  /// their sizes and undefined contents: for gradients, which are filled in level by level. False if a level couldn't
  /// be made.
  bool Generate(FastArray& base, bool filter);

  /// A level that isn't there gives level 0. The pyramid must have been generated.
  FastArray& operator[](int level) { return *arrays[isLevel(level) ? level : 0]; }
  const FastArray& operator[](int level) const { return *arrays[isLevel(level) ? level : 0]; }

  int levels = 0;
  std::vector<FastArray*> arrays;  ///< `levels` of them; the first is the caller's, the others are lent

 private:
  bool isLevel(int level) const { return level >= 0 && level < levels; }
  bool allocate(int count);
  void filterScale(const FastArray* source, FastArray* target);

  std::vector<std::unique_ptr<FastArray>> owned;  // levels 1 and up
};

}  // namespace Vorn
