#include "Input.h"
#include "imaging/FastArray.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  Vorn::FastArray array(0, 0);
  if (!array.Load(input.path().c_str())) return 0;
  fuzz::Require(static_cast<std::size_t>(array.width) * static_cast<std::size_t>(array.height) * 4 <= size,
                "no more values than the bytes can hold");
  const fuzz::InputFile output(nullptr, 0);
  fuzz::Require(array.Save(output.path().c_str()), "what was loaded can be saved");
  return 0;
}
