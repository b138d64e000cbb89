#include "film/RecentPictures.h"

#include <algorithm>
#include <utility>

namespace film {

void RecentPictures::makeRoom(std::size_t memory, std::size_t bytes) {
  constexpr std::size_t most = 64;  // more neighbours than that are asked for of no frame
  const std::lock_guard<std::mutex> guard(lock);
  room = std::clamp<std::size_t>(memory / bytes, 2, most);
}

SharedPicture RecentPictures::find(int number) {
  const std::lock_guard<std::mutex> guard(lock);
  const auto kept =
      std::find_if(pictures.begin(), pictures.end(), [number](const Kept& each) { return each.number == number; });
  if (kept == pictures.end()) return nullptr;
  pictures.splice(pictures.begin(), pictures, kept);
  return kept->picture;
}

void RecentPictures::keep(int number, SharedPicture picture) {
  const std::lock_guard<std::mutex> guard(lock);
  if (room == 0) return;
  while (pictures.size() >= room) pictures.pop_back();
  pictures.push_front({number, std::move(picture)});
}

}  // namespace film
