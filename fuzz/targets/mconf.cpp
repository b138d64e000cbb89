#include "Input.h"
#include "analysis/MotionConfidenceSet.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  MotionConfidenceSet set;
  const bool loaded = set.Load(input.path().c_str());
  fuzz::Require(loaded == !set.index.empty(), "a set is loaded if it has entries");
  fuzz::Require(set.index.size() == set.confidence.size() && set.index.size() == set.number, "the lists are parallel");
  fuzz::Require(set.index.size() * 3 <= size, "no more entries than the bytes can hold");
  for (const int frame : set.index) set.Get(frame);
  return 0;
}
