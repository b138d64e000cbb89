#pragma once

#include <memory>
#include <string>

/// A keyed store of named values, written when a project is saved and read when it is opened.
///
/// A key that is missing decodes as 0, 0.0 or false. Integers keep 32 bits or more, floats and doubles come back
/// bit for bit. Keys are unique; encoding one again replaces its value.
class KeyedCoder {
 public:
  virtual ~KeyedCoder() = default;

  virtual void encodeInteger(long value, const std::string& forKey) = 0;
  virtual void encodeInt(int value, const std::string& forKey) = 0;
  virtual void encodeFloat(float value, const std::string& forKey) = 0;
  virtual void encodeDouble(double value, const std::string& forKey) = 0;
  virtual void encodeBool(bool value, const std::string& forKey) = 0;

  virtual long decodeIntegerForKey(const std::string& key) const = 0;
  virtual int decodeIntForKey(const std::string& key) const = 0;
  virtual float decodeFloatForKey(const std::string& key) const = 0;
  virtual double decodeDoubleForKey(const std::string& key) const = 0;
  virtual bool decodeBoolForKey(const std::string& key) const = 0;

  /// How many keys are stored: what bounds the loops of a reader whose counts come from a damaged archive. A coder
  /// that can't tell keeps this default, more frames than any clip has.
  virtual long numberOfValues() const { return 10'000'000; }
};

/// What a host can keep in a custom parameter: it writes itself to a coder and makes its like from one.
class KeyedCodable {
 public:
  virtual ~KeyedCodable() = default;

  virtual void encodeWithCoder(KeyedCoder& coder) const = 0;

  /// A new object of the same class with what `coder` holds. Hosts call it on a custom parameter's default value when
  /// they open a project; `this` only gives the class.
  virtual std::shared_ptr<const KeyedCodable> decodedWithCoder(const KeyedCoder& coder) const = 0;
};
