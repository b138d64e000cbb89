#include "film/FrameSource.h"

#include <utility>

#include "film/ColourConverter.h"
#include "film/Failure.h"

namespace film {
namespace {

ConstPlanes planesOf(const AVFrame& frame) {
  ConstPlanes planes;
  for (int p = 0; p < 3; ++p) {
    planes.data[p] = frame.data[p];
    planes.stride[p] = frame.linesize[p];
  }
  return planes;
}

}  // namespace

FrameSource::FrameSource(ClipContents clipContents, int decoderThreads)
    : clip(std::move(clipContents)), threads(decoderThreads), pool(clip.format.width, clip.format.height) {}

FrameSource::~FrameSource() { stop(); }

SharedPicture FrameSource::fetch(int number) {
  if (number < 0 || number >= clip.identity.frames) return nullptr;
  if (current && current->number == number) return current;
  if (!reader.joinable() || number < nextNumber) {
    stop();
    start();
  }
  current = nullptr;  // its memory serves the next one
  while (nextNumber <= number) {
    SharedPicture picture = pop();
    if (!picture) return nullptr;
    current = std::move(picture);
  }
  return current;
}

void FrameSource::start() {
  stopping = ended = false;
  error = nullptr;
  nextNumber = 0;
  ready.clear();
  reader = std::thread([this] { readFrames(); });
}

void FrameSource::stop() {
  if (!reader.joinable()) return;
  {
    const std::lock_guard<std::mutex> guard(lock);
    stopping = true;
  }
  changed.notify_all();
  reader.join();
}

void FrameSource::readFrames() {
  try {
    ClipReader frames(clip.path, threads);
    ColourConverter converter(clip.planes);
    CodedFrame coded;
    for (int number = 0; number < clip.identity.frames && frames.next(&coded);) {
      if (coded.time < clip.firstTime) continue;  // not counted either
      CheckSameFormat(clip.path, clip.format, *coded.frame, number);
      if (!waitForRoom()) return;
      SharedPicture picture = pool.take();
      converter.toFloat(planesOf(*coded.frame), picture->samples.data(), picture->rowBytes());
      picture->number = number++;
      picture->time = coded.time;
      picture->duration = coded.duration;
      push(std::move(picture));
    }
  } catch (...) {
    const std::lock_guard<std::mutex> guard(lock);
    error = std::current_exception();
  }
  const std::lock_guard<std::mutex> guard(lock);
  ended = true;
  changed.notify_all();
}

bool FrameSource::waitForRoom() {
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [this] { return stopping || ready.size() < readAhead; });
  return !stopping;
}

void FrameSource::push(SharedPicture picture) {
  const std::lock_guard<std::mutex> guard(lock);
  ready.push_back(std::move(picture));
  changed.notify_all();
}

SharedPicture FrameSource::pop() {
  std::unique_lock<std::mutex> guard(lock);
  changed.wait(guard, [this] { return ended || !ready.empty(); });
  if (ready.empty()) {
    if (error) std::rethrow_exception(error);
    return nullptr;
  }
  SharedPicture picture = std::move(ready.front());
  ready.pop_front();
  ++nextNumber;
  changed.notify_all();
  return picture;
}

}  // namespace film
