#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "plugin/FxPlug.h"

namespace film {

/// One parameter as the effect declared it, with its value.
struct Parameter {
  enum Kind { Toggle, PushButton, Menu, IntSlider, FloatSlider, Group, Custom };

  Kind kind = Toggle;
  unsigned id = 0;
  std::string name;  ///< the text to show
  unsigned flags = 0;
  double defaultValue = 0, least = 0, most = 0, delta = 0;  ///< a toggle's and a menu's values count as numbers
  std::vector<std::string> entries;                         ///< a menu's
  unsigned group = 0;                                       ///< the group that it stands in, or 0
  double value = 0;
  std::function<void()> selector;              ///< a push button's
  std::shared_ptr<const KeyedCodable> custom;  ///< a custom parameter's value

  bool holdsNumber() const { return kind == Toggle || kind == Menu || kind == IntSlider || kind == FloatSlider; }
};

/// The parameters of an effect, with one value each for all of the clip's time.
class ParameterStore : public FxParameterCreationAPI_v4,
                       public FxParameterRetrievalAPI_v2,
                       public FxParameterSettingAPI_v2 {
 public:
  /// In the order of their declaration.
  const std::vector<Parameter>& parameters() const { return declared; }
  /// Null for an unknown one.
  const Parameter* find(unsigned id) const;

  /// Changes a number; false if `id` holds none or `value` lies outside its range.
  bool setNumber(unsigned id, double value);
  /// Runs a push button's operation; false if there is no such button.
  bool press(unsigned id) const;

  /// All numbers, by their ids in decimal.
  nlohmann::json numbers() const;
  /// Takes the numbers of `object` that are in their range; the others keep what they have.
  void setNumbers(const nlohmann::json& object);
  /// All custom values as keyed archives, by their ids in decimal.
  nlohmann::json archives() const;
  void setArchives(const nlohmann::json& object);

  bool addToggleButtonWithName(const std::string& name, unsigned parmId, bool defaultValue,
                               unsigned parmFlags) override;
  bool addPushButtonWithName(const std::string& name, unsigned parmId, std::function<void()> selector,
                             unsigned parmFlags) override;
  bool addPopupMenuWithName(const std::string& name, unsigned parmId, int defaultValue,
                            const std::vector<std::string>& menuEntries, unsigned parmFlags) override;
  bool addIntSliderWithName(const std::string& name, unsigned parmId, int defaultValue, int parameterMin,
                            int parameterMax, int sliderMin, int sliderMax, int delta, unsigned parmFlags) override;
  bool addFloatSliderWithName(const std::string& name, unsigned parmId, double defaultValue, double parameterMin,
                              double parameterMax, double sliderMin, double sliderMax, double delta,
                              unsigned parmFlags) override;
  bool startParameterSubGroup(const std::string& name, unsigned parmId, unsigned parmFlags) override;
  bool endParameterSubGroup() override;
  bool addCustomParameterWithName(const std::string& name, unsigned parmId,
                                  std::shared_ptr<const KeyedCodable> defaultValue, unsigned parmFlags) override;

  bool getIntValue(int* value, unsigned fromParm, double atTime) override;
  bool getBoolValue(bool* value, unsigned fromParm, double atTime) override;
  bool getFloatValue(double* value, unsigned fromParm, double atTime) override;
  bool getCustomParameterValue(std::shared_ptr<const KeyedCodable>* value, unsigned fromParm) override;

  bool setParameterFlags(unsigned flags, unsigned toParm) override;
  bool setIntValue(int value, unsigned toParm, double atTime) override;
  bool setCustomParameterValue(std::shared_ptr<const KeyedCodable> value, unsigned toParm) override;

 private:
  bool declare(Parameter parameter);
  Parameter* findMutable(unsigned id);

  std::vector<Parameter> declared;
  std::vector<unsigned> openGroups;
};

}  // namespace film
