#include <algorithm>
#include <cstring>

#include "rendering/Deinterlace.h"
#include "rendering/VideoCompleter.h"

// The frames that may be borrowed from, as the host hands them out.

using Vorn::Image;

namespace {

constexpr int kRendersToKeep = 16;

}  // namespace

std::unique_lock<std::mutex> VideoCompleter::lockSource() {
  return selfLocking ? std::unique_lock(sourceLock) : std::unique_lock<std::mutex>();
}

std::vector<cacheEntry>::iterator VideoCompleter::find(int frame, int width, int height) {
  return std::find_if(cache.begin(), cache.end(), [&](const cacheEntry& entry) {
    return entry.frame == frame && entry.image->GetWidth() == width && entry.image->GetHeight() == height;
  });
}

Image* VideoCompleter::getFrame(int frame, int render, int width, int height) {
  const std::unique_lock<std::mutex> lock = lockSource();
  if (const auto held = find(frame, width, height); held != cache.end()) {
    ++held->users;
    held->lastRender = render;
    return held->image.get();
  }
  if (static_cast<int>(cache.size()) >= maxCacheSize_) {
    const auto idle =
        std::find_if(cache.begin(), cache.end(), [](const cacheEntry& entry) { return entry.users <= 0; });
    if (idle != cache.end()) cache.erase(idle);  // else the cache grows beyond its limit
  }
  std::unique_ptr<Image> image = fetch(frame, width, height);
  if (!image) return nullptr;
  cache.push_back({std::move(image), frame, 1, render});
  return cache.back().image.get();
}

/// Null if the host has no such frame, or one of another size, which could never be found in the cache again.
std::unique_ptr<Image> VideoCompleter::fetch(int frame, int width, int height) const {
  if (!sequence_) return nullptr;
  const double time = interlace_ != 0 ? frame / 2.0 : frame;  // fields count two a frame
  std::unique_ptr<FxImage> bitmap;
  if (!sequence_->getInputBitmap(&bitmap, renderInfo, time) || !bitmap) return nullptr;
  if (bitmap->width() != width || bitmap->height() != height) return nullptr;
  const Image source(width, height, bitmap->rowBytes(), Vorn::ARGBSF, static_cast<unsigned char*>(bitmap->dataPtr()),
                     false);
  auto copy = std::make_unique<Image>(width, height, Vorn::ARGBSF);
  if (!source.valid || !copy->valid) return nullptr;
  if (interlace_ != 0) {
    Vorn::DeinterlaceARGBSF(&source, copy.get(), interlace_);
  } else {
    const size_t bytes = std::min(source.GetStride(), copy->GetStride());
    for (int y = 0; y < height; ++y) std::memcpy(copy->rows[y], source.rows[y], bytes);
  }
  return copy;
}

void VideoCompleter::doneFrame(int frame, int width, int height) {
  const std::unique_lock<std::mutex> lock = lockSource();
  if (const auto held = find(frame, width, height); held != cache.end()) --held->users;
}

void VideoCompleter::trimCache(int render) {
  const std::unique_lock<std::mutex> lock = lockSource();
  std::erase_if(cache, [render](const cacheEntry& entry) {
    return entry.users < 1 && static_cast<long>(render) - entry.lastRender >= kRendersToKeep;
  });
}

void VideoCompleter::releaseCaches() {
  const std::unique_lock<std::mutex> lock = lockSource();
  cache.clear();
}
