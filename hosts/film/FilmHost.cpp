#include "film/FilmHost.h"

#include <utility>

namespace film {

FxImageInfo FilmImage::imageInfo() const {
  FxImageInfo info;
  info.width = picture->width;
  info.height = picture->height;
  info.depth = 3;
  info.origin = 1;
  return info;
}

void FilmHost::rethrowTrouble() {
  const std::lock_guard<std::mutex> guard(lock);
  if (trouble) std::rethrow_exception(std::exchange(trouble, nullptr));
}

SharedPicture FilmHost::picture(int number) {
  const std::lock_guard<std::mutex> guard(lock);
  try {
    return source.fetch(number);
  } catch (...) {
    trouble = std::current_exception();  // the effect knows no exceptions; the command asks for it afterwards
    return nullptr;
  }
}

bool FilmHost::getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo&, double atTime) {
  bitmap->reset();
  if (!(atTime >= 0 && atTime < source.contents().identity.frames)) return false;
  if (SharedPicture found = picture(static_cast<int>(atTime))) *bitmap = std::make_unique<FilmImage>(std::move(found));
  return *bitmap != nullptr;
}

bool FilmHost::getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) {
  return getSourceBitmap(bitmap, withInfo, atTime);  // nothing stands before the effect
}

void* FilmHost::service(const std::type_info& protocol) {
  if (protocol == typeid(FxTimingAPI)) return static_cast<FxTimingAPI*>(this);
  if (protocol == typeid(FxTemporalImageAPI)) return static_cast<FxTemporalImageAPI*>(this);
  if (protocol == typeid(FxProgressAPI)) return static_cast<FxProgressAPI*>(this);
  if (protocol == typeid(FxCustomParameterActionAPI)) return static_cast<FxCustomParameterActionAPI*>(this);
  if (protocol == typeid(FxParameterCreationAPI_v4)) return static_cast<FxParameterCreationAPI_v4*>(&store);
  if (protocol == typeid(FxParameterRetrievalAPI)) return static_cast<FxParameterRetrievalAPI*>(&store);
  if (protocol == typeid(FxParameterRetrievalAPI_v2)) return static_cast<FxParameterRetrievalAPI_v2*>(&store);
  if (protocol == typeid(FxParameterSettingAPI)) return static_cast<FxParameterSettingAPI*>(&store);
  if (protocol == typeid(FxParameterSettingAPI_v2)) return static_cast<FxParameterSettingAPI_v2*>(&store);
  return nullptr;
}

}  // namespace film
