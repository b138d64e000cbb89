#include "Input.h"
#include "numerics/MatchSet.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  Vorn::MatchSet set;
  set.Load(input.path().c_str());
  fuzz::Require(set.matches.size() == set.numMatches, "the count is that of the pairs");
  fuzz::Require(set.matches.size() * 5 <= size, "no more pairs than the bytes can hold");
  fuzz::Require(set.Count() <= set.numMatches, "no more positive scores than pairs");
  set.SortMatches(true);
  return 0;
}
