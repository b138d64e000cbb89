#include "film/CodedFrames.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>

namespace film {
namespace {

int bytesOf(const VideoFormat& format) {
  return std::max(av_image_get_buffer_size(format.pixelFormat, format.width, format.height, 1), 1);
}

}  // namespace

CodedFrames::CodedFrames(const ClipContents& clip, int threads, std::size_t memory)
    : reader(clip, threads), frames(clip.identity.frames), frameBytes(bytesOf(clip.format)) {
  setMemory(memory);
}

void CodedFrames::setMemory(std::size_t bytes) {
  const std::lock_guard<std::mutex> guard(lock);
  mostKept = static_cast<int>(std::clamp<std::size_t>(bytes / static_cast<std::size_t>(frameBytes), 4, 1000));
}

void CodedFrames::keepNeighbourhood() {
  constexpr std::size_t neighbourhood = 72;  // 50 and those between them and the ones read ahead
  setMemory(std::min(neighbourhood * static_cast<std::size_t>(frameBytes), std::size_t{3} << 29));
}

SharedCodedFrame CodedFrames::fetch(int number) {
  const std::lock_guard<std::mutex> guard(lock);
  if (SharedCodedFrame found = find(number)) return found;
  if (number < 0 || number >= frames) return nullptr;
  // Those that must be decoded on the way are likely to be asked for next when it goes backwards.
  for (int passed = std::max(reader.startFor(number), number - mostKept / 2); passed < number; ++passed)
    if (!find(passed)) read(passed);
  return read(number);
}

SharedCodedFrame CodedFrames::find(int number) {
  const auto found = kept.find(number);
  if (found == kept.end()) return nullptr;
  uses.splice(uses.begin(), uses, found->second.use);
  return found->second.frame;
}

SharedCodedFrame CodedFrames::read(int number) {
  auto coded = std::make_shared<CodedFrame>();
  if (!reader.read(number, coded.get())) return nullptr;
  while (static_cast<int>(kept.size()) >= mostKept) {
    kept.erase(uses.back());
    uses.pop_back();
  }
  uses.push_front(number);
  kept[number] = {coded, uses.begin()};
  return coded;
}

}  // namespace film
