#include "analysis/FrameIndex.h"

namespace Vorn {

void FrameIndex::Append(int frame) {
  if (count == 0) firstFrame = frame;
  if (counting && frame - static_cast<long long>(firstFrame) != count) {
    for (int i = 0; i < count; ++i) firstPositionOf.emplace(firstFrame + i, i);
    counting = false;
  }
  if (!counting) firstPositionOf.emplace(frame, count);  // an earlier entry of the frame stays
  ++count;
}

int FrameIndex::Find(int frame) const {
  if (counting) {
    const long long position = frame - static_cast<long long>(firstFrame);
    return position >= 0 && position < count ? static_cast<int>(position) : -1;
  }
  const auto found = firstPositionOf.find(frame);
  return found == firstPositionOf.end() ? -1 : found->second;
}

}  // namespace Vorn
