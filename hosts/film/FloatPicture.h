#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "film/PictureNotes.h"

namespace film {

/// A picture as the effect takes it: four floats a pixel, a, r, g, b, rows from the top without gaps.
struct FloatPicture {
  int width = 0, height = 0;
  std::vector<float> samples;
  int number = 0;             ///< of the frame in its clip
  std::int64_t time = 0;      ///< presentation time in the stream's time base
  std::int64_t duration = 0;  ///< the same; 0 where unknown
  PictureNotes notes;         ///< what the stream says of this picture

  int rowBytes() const { return width * 16; }
};
using SharedPicture = std::shared_ptr<FloatPicture>;

/// Hands out pictures of one size and takes their memory back when the last holder lets go, so that a run allocates
/// no more than the most that were ever held at once. Pictures may outlive the pool. Any thread.
class PicturePool {
 public:
  PicturePool(int width, int height);

  /// A picture with the samples of whoever had it last.
  SharedPicture take();

  /// What one takes.
  std::size_t pictureBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 16; }

 private:
  struct Store {
    std::mutex lock;
    std::vector<std::unique_ptr<FloatPicture>> idle;
  };

  int width, height;
  std::shared_ptr<Store> store;
};

}  // namespace film
