#include "rendering/VideoSequence.h"

namespace Vorn {

VideoSequence::VideoSequence() : cache(std::make_unique<ImageCache>(100)) {}

VideoSequence::~VideoSequence() = default;

int VideoSequence::GetFrame(int frame, Image*& image) {
  if (cache->Read(frame, image)) return 1;
  if (!cache->CanWrite(frame)) return 2;
  if (!ReadFrame(frame, image)) return 0;
  return cache->Write(frame, image) ? 1 : 2;
}

}  // namespace Vorn
