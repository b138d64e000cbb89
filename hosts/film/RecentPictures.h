#pragma once

#include <cstddef>
#include <list>
#include <mutex>

#include "film/FloatPicture.h"

namespace film {

/// Keeps the pictures that were used last, by a number of the caller's, so that going about in the neighbourhood of a
/// frame makes each of them once. Keeps none until it is given room. Nobody may change a picture that is kept. Any
/// thread.
class RecentPictures {
 public:
  /// From now on as many pictures of `bytes` as `memory` holds, no fewer than two.
  void makeRoom(std::size_t memory, std::size_t bytes);

  /// Null if it isn't kept.
  SharedPicture find(int number);
  void keep(int number, SharedPicture picture);

 private:
  struct Kept {
    int number;
    SharedPicture picture;
  };

  std::mutex lock;
  std::size_t room = 0;
  std::list<Kept> pictures;  // the one used last in front
};

}  // namespace film
