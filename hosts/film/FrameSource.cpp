#include "film/FrameSource.h"

#include <cstdlib>
#include <utility>

namespace film {
FrameSource::FrameSource(ClipContents clipContents, int decoderThreads)
    : clip(std::move(clipContents)), pool(clip.format.width, clip.format.height), frames(clip, decoderThreads, 0) {}

FrameSource::~FrameSource() { stop(); }

SharedPicture FrameSource::fetch(int number) {
  if (number < 0 || number >= clip.identity.frames) return nullptr;
  if (current && current->number == number) return current;
  const bool ahead = reader.joinable() && number >= nextNumber && number <= nextNumber + readAhead;
  if (!ahead && isNeighbour(number)) {
    const SharedCodedFrame coded = fetchCoded(number);
    return coded ? convert(*coded) : nullptr;
  }
  if (!ahead) {
    stop();
    start(number);
  }
  current = nullptr;  // its memory serves the next one
  while (nextNumber <= number) {
    SharedPicture picture = pop();
    if (!picture) return nullptr;
    current = std::move(picture);
  }
  return current;
}

bool FrameSource::isNeighbour(int number) {
  if (!reader.joinable() || std::abs(number - nextNumber) > neighbourhood) return false;
  visited = number == lastNeighbour + 1 ? visited + 1 : 1;
  lastNeighbour = number;
  return visited <= longestVisit;
}

SharedCodedFrame FrameSource::fetchCoded(int number) {
  frames.keepNeighbourhood();
  const std::size_t memory = clip.format.interlaced() ? pictureMemory - momentMemory : pictureMemory;
  recent.makeRoom(memory, pool.pictureBytes());
  return frames.fetch(number);
}

SharedPicture FrameSource::convert(const CodedFrame& coded) {
  std::unique_ptr<Converter> converter = takeConverter();
  SharedPicture picture = toPicture(*converter, coded);
  const std::lock_guard<std::mutex> guard(convertersLock);
  converters.push_back(std::move(converter));
  return picture;
}

std::unique_ptr<FrameSource::Converter> FrameSource::takeConverter() {
  const std::lock_guard<std::mutex> guard(convertersLock);
  if (converters.empty()) return std::make_unique<Converter>(clip.planes);
  std::unique_ptr<Converter> converter = std::move(converters.back());
  converters.pop_back();
  return converter;
}

SharedPicture FrameSource::toPicture(Converter& converter, const CodedFrame& coded) {
  if (SharedPicture known = recent.find(coded.number)) return known;
  SharedPicture picture = pool.take();
  converter.colours.toFloat(converter.planes.read(*coded.frame), picture->samples.data(), picture->rowBytes());
  picture->number = coded.number;
  picture->time = coded.time;
  picture->duration = coded.duration;
  picture->notes = NotesOf(*coded.frame);
  recent.keep(coded.number, picture);
  return picture;
}

void FrameSource::start(int number) {
  stopping = ended = false;
  error = nullptr;
  nextNumber = number;
  visited = 0;
  ready.clear();
  reader = std::thread([this, number] { readFrames(number); });
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

void FrameSource::readFrames(int number) {
  try {
    Converter converter(clip.planes);
    while (const SharedCodedFrame coded = frames.fetch(number++)) {
      if (!waitForRoom()) return;
      push(toPicture(converter, *coded));
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
  changed.wait(guard, [this] { return stopping || static_cast<int>(ready.size()) < readAhead; });
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
