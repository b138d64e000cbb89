#include <sstream>

#include "Input.h"
#include "plugin/StringsFile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  std::size_t length = 0;
  for (const auto& [key, text] : ReadStringsFile(stream)) length += key.size() + text.size();
  fuzz::Require(length <= size, "no more text than the bytes can hold");
  return 0;
}
