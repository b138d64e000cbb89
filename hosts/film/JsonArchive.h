#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "plugin/KeyedCoder.h"

namespace film {

/// A keyed archive as a JSON object: one member a key, in the keys' order.
///
/// Numbers keep their bits: finite ones are written with as many digits as that takes, and what JSON has no number for
/// (infinities and what is not a number) as a string with the bits in hexadecimal, "0x7ff0000000000000" or
/// "0x7f800000" for a float. A member of another kind decodes as 0, an integer beyond the asked type's range as the
/// nearest that it has.
class JsonArchive : public KeyedCoder {
 public:
  JsonArchive() : members(nlohmann::json::object()) {}
  /// `object` that is none gives an empty archive.
  explicit JsonArchive(nlohmann::json object);

  const nlohmann::json& json() const { return members; }

  void encodeInteger(long value, const std::string& forKey) override { members[forKey] = value; }
  void encodeInt(int value, const std::string& forKey) override { members[forKey] = value; }
  void encodeFloat(float value, const std::string& forKey) override;
  void encodeDouble(double value, const std::string& forKey) override;
  void encodeBool(bool value, const std::string& forKey) override { members[forKey] = value; }

  long decodeIntegerForKey(const std::string& key) const override;
  int decodeIntForKey(const std::string& key) const override;
  float decodeFloatForKey(const std::string& key) const override;
  double decodeDoubleForKey(const std::string& key) const override;
  bool decodeBoolForKey(const std::string& key) const override;

  long numberOfValues() const override { return static_cast<long>(members.size()); }

 private:
  const nlohmann::json* find(const std::string& key) const;

  nlohmann::json members;
};

/// A double as JSON, by the rule above, and back; what is neither a number nor such a string is 0.
nlohmann::json JsonOf(double value);
double DoubleOf(const nlohmann::json& value);

}  // namespace film
