#include <cmath>

#include "Input.h"
#include "analysis/HomographySet.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  Vorn::HomographySet set;
  set.Load(input.path().c_str());
  fuzz::Require(set.hset.size() == set.number, "the count is that of the frames");
  fuzz::Require(set.hset.size() * 12 <= size, "no more frames than the bytes can hold");
  for (const Vorn::HomographyFrame& held : set.hset) {
    Vorn::Matrix m;
    if (set.Index(held.frame) >= 0) fuzz::Require(set.Get(held.frame, m), "a frame that has an index is found");
  }
  set.Normalise();
  if (set.sizeParam != 4 && set.sizeParam != 8) return 0;
  const fuzz::InputFile output(nullptr, 0);
  Vorn::HomographySet again;
  fuzz::Require(set.Save(output.path().c_str()) && again.Load(output.path().c_str()), "what is saved can be loaded");
  fuzz::Require(again.hset.size() == set.hset.size(), "saving keeps all frames");
  return 0;
}
