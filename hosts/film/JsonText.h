#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace film {

/// JSON for printing, on one line or with `indent` spaces a level. File names needn't be UTF-8, which JSON is: what
/// isn't becomes U+FFFD.
template <class Json>
std::string JsonText(const Json& value, int indent = -1) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace film
