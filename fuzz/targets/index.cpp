// The index of a clip's frames, as an effect document holds it.
#include <nlohmann/json.hpp>

#include "Input.h"
#include "film/FrameIndexText.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = nlohmann::json::parse(data, data + size, nullptr, false);
  if (document.is_discarded()) return 0;
  const auto index = film::FrameIndexOf(document);
  if (index) fuzz::Require(index->frames.size() <= 8 * size, "no more frames than the text can hold");
  return 0;
}
