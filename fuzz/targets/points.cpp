#include "Input.h"
#include "numerics/PointSet.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  Vorn::PointSet set;
  const bool loaded = set.Load(input.path().c_str());
  fuzz::Require(set.points.size() == set.numPoints, "the count is that of the points");
  fuzz::Require(set.points.size() * 5 <= size, "no more points than the bytes can hold");
  if (!loaded) return 0;
  const fuzz::InputFile output(nullptr, 0);
  Vorn::PointSet again;
  fuzz::Require(set.Save(output.path().c_str()) && again.Load(output.path().c_str()), "what is saved can be loaded");
  fuzz::Require(again.numPoints == set.numPoints && again.comment == set.comment, "saving keeps points and comment");
  return 0;
}
