#pragma once

#include <memory>

#include "plugin/KeyedCoder.h"

namespace film {

/// The least that a host can keep in a custom parameter.
struct StoredNumber : KeyedCodable {
  explicit StoredNumber(double stored = 0) : number(stored) {}
  void encodeWithCoder(KeyedCoder& coder) const override { coder.encodeDouble(number, "number"); }
  std::shared_ptr<const KeyedCodable> decodedWithCoder(const KeyedCoder& coder) const override {
    return std::make_shared<StoredNumber>(coder.decodeDoubleForKey("number"));
  }

  double number;
};

}  // namespace film
