#include "rendering/ImageCache.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Vorn {

ImageCache::ImageCache(int places) : capacity(places) {}

bool ImageCache::Read(int frame, Image*& image) {
  Entry* entry = findLive(frame);
  if (entry == nullptr) return false;
  image = entry->image.get();
  promote(*entry);
  if (policy == CacheRetained) ++entry->retainCount;
  return true;
}

bool ImageCache::GetTop(Image*& image) const {
  if (entries.empty()) return false;
  image = entries.front().image.get();
  return true;
}

bool ImageCache::Write(int frame, Image*& image) {
  if (Entry* present = findLive(frame)) {
    promote(*present);
    if (present->image.get() != image) present->image.reset(image);
    return true;
  }
  if (used < capacity) {
    growAges();
    entries.insert(entries.begin(), Entry{std::unique_ptr<Image>(image), 0, frame, 1});
    ++used;
    return true;
  }
  Entry* victim = policy == CacheByAge ? findLeastRecent() : findVictim();
  if (victim == nullptr) return false;
  growAges();
  *victim = Entry{std::unique_ptr<Image>(image), 0, frame, 1};
  return true;
}

bool ImageCache::CanWrite(int) const {
  if (policy == CacheByAge || used < capacity) return true;
  const auto free = std::ranges::find(entries, 0, &Entry::retainCount);
  return free != entries.end() && free->age < used;
}

void ImageCache::Pop(int frame) {
  if (const Entry* entry = findLive(frame)) remove(entry);
}

void ImageCache::Release(int frame) {
  if (Entry* entry = find(frame)) --entry->retainCount;
}

int ImageCache::GetRetainCount(int frame) const {
  const Entry* entry = find(frame);
  return entry != nullptr ? entry->retainCount : 0;
}

void ImageCache::Clear() {
  entries.clear();
  used = 0;
}

void ImageCache::SetPolicy(CachePolicy newPolicy) {
  policy = newPolicy;
  for (Entry& entry : entries) entry.retainCount = 0;
}

void ImageCache::Resize(int places) {
  const bool shrinks = places < capacity;
  capacity = places;
  if (!shrinks) return;
  while (!entries.empty() && used >= capacity) {
    const Entry* victim = findVictim();
    if (victim == nullptr) return;
    remove(victim);
  }
}

void ImageCache::Status() const { std::fputs(StatusAsString().c_str(), stdout); }

std::string ImageCache::StatusAsString() const {
  if (entries.empty()) return "cache empty\n";
  std::string text = "Cache status:\n";
  for (const Entry& entry : entries)
    text += "Pos " + std::to_string(entry.age) + " frame number " + std::to_string(entry.frame) + " retain count " +
            std::to_string(entry.retainCount) + "\n";
  return text + std::to_string(used) + "/" + std::to_string(capacity) + " used.\n";
}

const ImageCache::Entry* ImageCache::find(int frame) const {
  const auto entry = std::ranges::find(entries, frame, &Entry::frame);
  return entry != entries.end() ? &*entry : nullptr;
}

ImageCache::Entry* ImageCache::find(int frame) { return const_cast<Entry*>(std::as_const(*this).find(frame)); }

ImageCache::Entry* ImageCache::findLive(int frame) {
  Entry* entry = find(frame);
  return entry != nullptr && entry->age < used ? entry : nullptr;
}

void ImageCache::promote(Entry& entry) {
  for (Entry& other : entries)
    if (other.age < entry.age) ++other.age;
  entry.age = 0;
}

/// The live entry that was used before all others; null if a removed one has left a hole in its place.
ImageCache::Entry* ImageCache::findLeastRecent() {
  const auto entry = std::ranges::find(entries, used - 1, &Entry::age);
  return entry != entries.end() ? &*entry : nullptr;
}

/// The entry of highest age among those that the policy gives up; null if there is none.
ImageCache::Entry* ImageCache::findVictim() {
  Entry* oldest = nullptr;
  for (Entry& entry : entries)
    if ((policy == CacheByAge || entry.retainCount == 0) && (oldest == nullptr || entry.age > oldest->age))
      oldest = &entry;
  return oldest;
}

void ImageCache::growAges() {
  for (Entry& entry : entries) ++entry.age;
}

void ImageCache::remove(const Entry* entry) {
  entries.erase(entries.begin() + (entry - entries.data()));
  --used;
}

}  // namespace Vorn
