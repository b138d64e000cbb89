#include "Input.h"
#include "rendering/AGCStorage.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  AGCStorage store;
  const bool loaded = store.Load(input.path().c_str());
  fuzz::Require(store.gains.size() * 2 <= size, "no more gains than the bytes can hold");
  fuzz::Require(store.range.data.size() * 16 <= size + 16, "no more ranges than the bytes can hold");
  float gain = 0;
  store.GetGain(3, gain);
  store.GetStart();
  store.GetStop();
  fuzz::Require(store.GetGains().size() <= (1U << 20) + size, "no more memory than a small file may ask for");
  if (!loaded) return 0;
  const fuzz::InputFile output(nullptr, 0);
  AGCStorage again;
  fuzz::Require(store.Save(output.path().c_str()) && again.Load(output.path().c_str()), "what is saved can be loaded");
  return 0;
}
