#pragma once

#include "plugin/FxPlug.h"
#include "plugin/OrvaneFCPXPlugIn.h"

/// The effect's parameter values at one time. A value that the host doesn't have, or doesn't hand out for want of the
/// service, reads as 0 or false.
class ParameterReader {
 public:
  ParameterReader(FxParameterRetrievalAPI* retrieval, double time) : api(retrieval), atTime(time) {}

  bool readInt(unsigned id, int* value) const { return api && api->getIntValue(value, id, atTime); }

  int intValue(unsigned id) const {
    int value = 0;
    if (api) api->getIntValue(&value, id, atTime);
    return value;
  }

  bool boolValue(unsigned id) const {
    bool value = false;
    if (api) api->getBoolValue(&value, id, atTime);
    return value;
  }

  float floatValue(unsigned id) const {
    double value = 0.0;
    if (api) api->getFloatValue(&value, id, atTime);
    return static_cast<float>(value);
  }

  /// The smoothing control's percentage as a factor from 0 to 1.
  float smoothingFactor() const { return static_cast<float>(intValue(kGlobalSmoothing)) / 100.0f; }

 private:
  FxParameterRetrievalAPI* api;
  double atTime;
};

/// The stored object of the class `Stored` in a custom parameter; null where there is none or one of another class.
template <class Stored>
std::shared_ptr<const Stored> StoredParameter(FxParameterRetrievalAPI& api, unsigned id) {
  std::shared_ptr<const KeyedCodable> value;
  api.getCustomParameterValue(&value, id);
  return std::dynamic_pointer_cast<const Stored>(value);
}
