#pragma once

#include <memory>
#include <string>

#include "imaging/Image.h"
#include "rendering/ImageCache.h"

namespace Vorn {

/// A source of numbered frames, read through a cache of 100. Where the frames come from is a subclass's business.
class VideoSequence {
 public:
  VideoSequence();
  virtual ~VideoSequence();
  VideoSequence(const VideoSequence&) = delete;
  VideoSequence& operator=(const VideoSequence&) = delete;

  /// 1: `image` is the cache's. 2: it was read but not stored, and is the caller's to delete; or the cache can't take
  /// a frame, and nothing was read: `image` is then as the caller set it. 0: the frame can't be read.
  int GetFrame(int frame, Image*& image);

  /// First and last frame, inclusive, and their number; 0, -1 and 0 until a subclass knows better.
  int GetStart() const { return start; }
  int GetEnd() const { return end; }
  int GetLength() const { return end - start + 1; }

  /// Makes a new image of the frame with `new`, which becomes the caller's. False if the frame can't be read.
  virtual bool ReadFrame(int frame, Image*& image) = 0;

  std::string codec = "none";
  std::unique_ptr<ImageCache> cache;

 protected:
  int start = 0, end = -1;
};

}  // namespace Vorn
