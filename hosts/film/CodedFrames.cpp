#include "film/CodedFrames.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>

namespace film {
namespace {

int framesIn(std::size_t memory, const VideoFormat& format) {
  const int bytes = av_image_get_buffer_size(format.pixelFormat, format.width, format.height, 32);
  return static_cast<int>(std::clamp<std::size_t>(memory / static_cast<std::size_t>(std::max(bytes, 1)), 4, 1000));
}

}  // namespace

CodedFrames::CodedFrames(const ClipContents& clip, int threads, std::size_t memory)
    : reader(clip, threads), frames(clip.identity.frames), mostKept(framesIn(memory, clip.format)) {}

SharedCodedFrame CodedFrames::fetch(int number) {
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
  if (static_cast<int>(kept.size()) >= mostKept) {
    kept.erase(uses.back());
    uses.pop_back();
  }
  uses.push_front(number);
  kept[number] = {coded, uses.begin()};
  return coded;
}

}  // namespace film
