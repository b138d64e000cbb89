#include "film/FloatPicture.h"

namespace film {

PicturePool::PicturePool(int pictureWidth, int pictureHeight)
    : width(pictureWidth), height(pictureHeight), store(std::make_shared<Store>()) {}

SharedPicture PicturePool::take() {
  std::unique_ptr<FloatPicture> picture;
  {
    const std::lock_guard<std::mutex> guard(store->lock);
    if (!store->idle.empty()) {
      picture = std::move(store->idle.back());
      store->idle.pop_back();
    }
  }
  if (!picture) {
    picture = std::make_unique<FloatPicture>();
    picture->width = width;
    picture->height = height;
    picture->samples.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  }
  return SharedPicture(picture.release(), [home = store](FloatPicture* returned) {
    std::unique_ptr<FloatPicture> owned(returned);
    const std::lock_guard<std::mutex> guard(home->lock);
    home->idle.push_back(std::move(owned));
  });
}

}  // namespace film
