#include "film/JsonArchive.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <utility>

namespace film {
namespace {

std::string hexadecimal(std::uint64_t bits, int digits) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llx", digits, static_cast<unsigned long long>(bits));
  return text;
}

/// The bits in a string of just `digits` hexadecimal digits behind 0x.
std::optional<std::uint64_t> bitsOf(const nlohmann::json& value, size_t digits) {
  if (!value.is_string()) return std::nullopt;
  const auto& text = value.get_ref<const std::string&>();
  if (text.size() != digits + 2 || text[0] != '0' || text[1] != 'x') return std::nullopt;
  std::uint64_t bits = 0;
  const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), bits, 16);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return bits;
}

template <class Integer>
Integer nearest(const nlohmann::json& value) {
  constexpr Integer lowest = std::numeric_limits<Integer>::min(), highest = std::numeric_limits<Integer>::max();
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    return number > static_cast<std::uint64_t>(highest) ? highest : static_cast<Integer>(number);
  }
  if (value.is_number_integer()) {
    const auto number = value.get<std::int64_t>();
    return number < lowest ? lowest : number > highest ? highest : static_cast<Integer>(number);
  }
  return 0;
}

}  // namespace

nlohmann::json JsonOf(double value) {
  if (std::isfinite(value)) return value;
  return hexadecimal(std::bit_cast<std::uint64_t>(value), 16);
}

double DoubleOf(const nlohmann::json& value) {
  if (value.is_number()) return value.get<double>();
  if (const auto bits = bitsOf(value, 16)) return std::bit_cast<double>(*bits);
  return 0.0;
}

JsonArchive::JsonArchive(nlohmann::json object) : members(std::move(object)) {
  if (!members.is_object()) members = nlohmann::json::object();
}

void JsonArchive::encodeFloat(float value, const std::string& forKey) {
  if (std::isfinite(value))
    members[forKey] = static_cast<double>(value);
  else
    members[forKey] = hexadecimal(std::bit_cast<std::uint32_t>(value), 8);
}

void JsonArchive::encodeDouble(double value, const std::string& forKey) { members[forKey] = JsonOf(value); }

const nlohmann::json* JsonArchive::find(const std::string& key) const {
  const auto found = members.find(key);
  return found == members.end() ? nullptr : &*found;
}

long JsonArchive::decodeIntegerForKey(const std::string& key) const {
  const nlohmann::json* value = find(key);
  return value ? nearest<long>(*value) : 0;
}

int JsonArchive::decodeIntForKey(const std::string& key) const {
  const nlohmann::json* value = find(key);
  return value ? nearest<int>(*value) : 0;
}

float JsonArchive::decodeFloatForKey(const std::string& key) const {
  const nlohmann::json* value = find(key);
  if (!value) return 0.0f;
  if (const auto bits = bitsOf(*value, 8)) return std::bit_cast<float>(static_cast<std::uint32_t>(*bits));
  return static_cast<float>(DoubleOf(*value));
}

double JsonArchive::decodeDoubleForKey(const std::string& key) const {
  const nlohmann::json* value = find(key);
  return value ? DoubleOf(*value) : 0.0;
}

bool JsonArchive::decodeBoolForKey(const std::string& key) const {
  const nlohmann::json* value = find(key);
  return value && value->is_boolean() && value->get<bool>();
}

}  // namespace film
