#include "film/FilmHost.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace film {

HostField HostFieldAt(AVFieldOrder order, double time) {
  if (order != AV_FIELD_TT && order != AV_FIELD_BB) return kNoField;
  const Field field = time == std::floor(time) ? FirstField(order) : SecondField(order);
  return field == Field::Top ? kUpperField : kLowerField;
}

namespace {

FxImageInfo InfoOf(const FxImage& image) {
  FxImageInfo info;
  info.width = image.width();
  info.height = image.height();
  info.depth = 3;
  info.field = image.field();
  info.origin = 1;
  return info;
}

}  // namespace

FxImageInfo FilmImage::imageInfo() const { return InfoOf(*this); }

FilmNeighbour::FilmNeighbour(FilmHost& filmHost, double atTime, SharedCodedFrame codedFrame)
    : host(filmHost), time(atTime), coded(std::move(codedFrame)) {}

FxImageInfo FilmNeighbour::imageInfo() const { return InfoOf(*this); }

int FilmNeighbour::width() const { return host.format().width; }

int FilmNeighbour::height() const { return host.format().height; }

int FilmNeighbour::field() const { return HostFieldAt(host.format().fieldOrder, time); }

void* FilmNeighbour::dataPtr() const {
  const std::lock_guard<std::mutex> guard(lock);
  if (!picture) picture = host.develop(time, *coded);
  return picture->samples.data();
}

void FilmNeighbour::restPixels() const {
  const std::lock_guard<std::mutex> guard(lock);
  picture = nullptr;
}

FilmHost::FilmHost(FrameSource& frames, ParameterStore& parameters)
    : source(frames), store(parameters), moments(frames.contents().format.width, frames.contents().format.height) {
  recentMoments.makeRoom(FrameSource::momentMemory, moments.pictureBytes());
}

void FilmHost::rethrowTrouble() {
  const std::lock_guard<std::mutex> guard(lock);
  if (trouble) std::rethrow_exception(std::exchange(trouble, nullptr));
}

void FilmHost::watchSource(Watcher sourceWatcher) {
  watcher = std::move(sourceWatcher);
  watched = nullptr;
}

bool FilmHost::tellWatcher() {
  if (!watcher || !watched) return true;
  try {
    watcher(watchedTime, std::exchange(watched, nullptr));
    return true;
  } catch (...) {
    const std::lock_guard<std::mutex> guard(lock);
    trouble = std::current_exception();
    return false;
  }
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

bool FilmHost::hasTime(double time) const {
  return time >= 0 && (time < frameCount() || (interlaced() && time == frameCount()));
}

SharedCodedFrame FilmHost::coded(int number) {
  const std::lock_guard<std::mutex> guard(lock);
  try {
    return source.fetchCoded(number);
  } catch (...) {
    trouble = std::current_exception();
    return nullptr;
  }
}

int FilmHost::frameAt(double time) const { return std::min(static_cast<int>(time), frameCount() - 1); }

SharedPicture FilmHost::moment(double time, const SharedPicture& frame) {
  if (!frame) return nullptr;
  SharedPicture kept = moments.take();
  KeepField(*frame, isFirstField(time) ? FirstField(format().fieldOrder) : SecondField(format().fieldOrder), *kept);
  return kept;
}

bool FilmHost::isFirstField(double time) const { return time < frameCount() && time == std::floor(time); }

SharedPicture FilmHost::develop(double time, const CodedFrame& coded) {
  if (!interlaced()) return source.convert(coded);
  const int field = 2 * coded.number + (isFirstField(time) ? 0 : 1);
  if (SharedPicture known = recentMoments.find(field)) return known;
  SharedPicture made = moment(time, source.convert(coded));
  recentMoments.keep(field, made);
  return made;
}

bool FilmHost::getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo&, double atTime) {
  bitmap->reset();
  if (!tellWatcher() || !hasTime(atTime)) return false;
  SharedPicture found = picture(frameAt(atTime));
  if (watcher) {
    watched = found;
    watchedTime = atTime;
  }
  if (atTime >= frameCount()) found = moment(atTime, found);
  if (found)
    *bitmap = std::make_unique<FilmImage>(std::move(found), HostFieldAt(source.contents().format.fieldOrder, atTime));
  return *bitmap != nullptr;
}

bool FilmHost::getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo&, double atTime) {
  bitmap->reset();
  if (!hasTime(atTime)) return false;
  SharedCodedFrame found = coded(frameAt(atTime));  // nothing stands before the effect
  if (found) *bitmap = std::make_unique<FilmNeighbour>(*this, atTime, std::move(found));
  return *bitmap != nullptr;
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
