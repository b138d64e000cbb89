#include <algorithm>
#include <cstring>

#include "numerics/Parallel.h"
#include "rendering/Deinterlace.h"
#include "rendering/VideoCompleter.h"

// The frames that may be borrowed from, as the host hands them out.

using Vorn::Image;

namespace {

constexpr int kRendersToKeep = 16;
constexpr size_t kAwake = 8;  // lasting frames whose pixels are at hand though nobody looks at them
constexpr size_t kSpare = 8;  // images kept for their memory

bool Shows(const cacheEntry& entry, int frame, int width, int height) {
  if (entry.frame != frame) return false;
  if (entry.bitmap) return entry.bitmap->width() == width && entry.bitmap->height() == height;
  return entry.image->GetWidth() == width && entry.image->GetHeight() == height;
}

bool IsAwakeAndIdle(const cacheEntry& entry) { return entry.bitmap && entry.image && entry.users <= entry.ahead; }

void CopyRows(const Image& source, Image& target) {
  const size_t bytes = std::min(source.GetStride(), target.GetStride());
  Vorn::ForEachStripe(source.GetHeight(), [&](int first, int end) {
    for (int y = first; y < end; ++y) std::memcpy(target.rows[y], source.rows[y], bytes);
  });
}

}  // namespace

std::unique_lock<std::mutex> VideoCompleter::lockSource() {
  return selfLocking ? std::unique_lock(sourceLock) : std::unique_lock<std::mutex>();
}

std::vector<cacheEntry>::iterator VideoCompleter::find(int frame, int width, int height) {
  return std::find_if(cache.begin(), cache.end(),
                      [&](const cacheEntry& entry) { return Shows(entry, frame, width, height); });
}

Image* VideoCompleter::getFrame(int frame, int render, int width, int height) {
  const std::unique_lock<std::mutex> lock = lockSource();
  cacheEntry* const entry = enter(frame, render, width, height);
  if (!entry) return nullptr;
  if (!entry->image) {
    restIdle();
    develop(*entry, *entry->bitmap);
  }
  if (!entry->image) --entry->users;
  return entry->image.get();
}

/// Loads the frames that may be borrowed from, so that the stripes needn't wait for one another. They stay in use until
/// all are released.
void VideoCompleter::loadCoverage() {
  const std::unique_lock<std::mutex> lock = lockSource();
  for (const int frame : coverer->frames)
    if (cacheEntry* const entry = enter(frame, frameNumber, frameWidth, frameHeight)) ++entry->ahead;
}

/// The frame's entry with one user more, or null if it can't be had.
cacheEntry* VideoCompleter::enter(int frame, int render, int width, int height) {
  if (const auto held = find(frame, width, height); held != cache.end()) {
    ++held->users;
    held->lastRender = render;
    return &*held;
  }
  if (static_cast<int>(cache.size()) >= maxCacheSize_) {
    const auto idle =
        std::find_if(cache.begin(), cache.end(), [](const cacheEntry& entry) { return entry.users <= 0; });
    if (idle != cache.end()) {  // else the cache grows beyond its limit
      takeBack(std::move(idle->image));
      cache.erase(idle);
    }
  }
  cacheEntry entry{nullptr, frame, 1, render};
  if (!fetch(entry, width, height)) return nullptr;
  cache.push_back(std::move(entry));
  return &cache.back();
}

/// False if the host has no such frame, or one of another size, which could never be found in the cache again. A bitmap
/// that doesn't last is given back at once.
bool VideoCompleter::fetch(cacheEntry& entry, int width, int height) {
  if (!sequence_) return false;
  const double time = interlace_ != 0 ? entry.frame / 2.0 : entry.frame;  // fields count two a frame
  std::unique_ptr<FxImage> bitmap;
  if (!sequence_->getInputBitmap(&bitmap, renderInfo, time) || !bitmap) return false;
  if (bitmap->width() != width || bitmap->height() != height) return false;
  if (bitmap->isLasting()) {
    entry.bitmap = std::move(bitmap);
    return true;
  }
  develop(entry, *bitmap);
  return entry.image != nullptr;
}

/// Gives the entry its image; none if the bitmap has no pixels.
void VideoCompleter::develop(cacheEntry& entry, const FxImage& bitmap) {
  const int width = bitmap.width(), height = bitmap.height();
  auto source = std::make_unique<Image>(width, height, bitmap.rowBytes(), Vorn::ARGBSF,
                                        static_cast<unsigned char*>(bitmap.dataPtr()), false);
  if (!source->valid) return;
  if (interlace_ == 0 && bitmap.isLasting()) {
    entry.image = std::move(source);
    return;
  }
  std::unique_ptr<Image> own = newImage(width, height);
  if (!own->valid) return;
  if (interlace_ != 0)
    Vorn::DeinterlaceARGBSF(source.get(), own.get(), interlace_);
  else
    CopyRows(*source, *own);
  entry.image = std::move(own);
}

/// Lets go of the pixels that were looked at longest ago, but for those of a few frames.
void VideoCompleter::restIdle() {
  if (std::count_if(cache.begin(), cache.end(), IsAwakeAndIdle) < static_cast<std::ptrdiff_t>(kAwake)) return;
  for (cacheEntry& entry : cache) {
    if (!IsAwakeAndIdle(entry)) continue;
    takeBack(std::move(entry.image));
    entry.bitmap->restPixels();
    return;
  }
}

void VideoCompleter::takeBack(std::unique_ptr<Image> image) {
  if (image && image->ownsData && spare.size() < kSpare) spare.push_back(std::move(image));
}

std::unique_ptr<Image> VideoCompleter::newImage(int width, int height) {
  if (spare.empty()) return std::make_unique<Image>(width, height, Vorn::ARGBSF);
  std::unique_ptr<Image> image = std::move(spare.back());
  spare.pop_back();
  image->Resize(width, height, Vorn::ARGBSF);
  return image;
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

void VideoCompleter::emptyCache() {
  const std::unique_lock<std::mutex> lock = lockSource();
  for (cacheEntry& entry : cache) takeBack(std::move(entry.image));
  cache.clear();
}

void VideoCompleter::releaseCaches() {
  emptyCache();
  const std::unique_lock<std::mutex> lock = lockSource();
  spare.clear();
}
