#include "film/ParameterStore.h"

#include <cmath>
#include <utility>

#include "film/JsonArchive.h"

namespace film {
namespace {

bool isWhole(Parameter::Kind kind) { return kind != Parameter::FloatSlider; }

Parameter parameterOf(Parameter::Kind kind, unsigned id, const std::string& name, unsigned flags) {
  Parameter parameter;
  parameter.kind = kind;
  parameter.id = id;
  parameter.name = name;
  parameter.flags = flags;
  return parameter;
}

bool fits(const Parameter& parameter, double value) {
  return value >= parameter.least && value <= parameter.most &&
         (!isWhole(parameter.kind) || value == std::trunc(value));
}

}  // namespace

const Parameter* ParameterStore::find(unsigned id) const {
  for (const Parameter& parameter : declared)
    if (parameter.id == id) return &parameter;
  return nullptr;
}

Parameter* ParameterStore::findMutable(unsigned id) { return const_cast<Parameter*>(find(id)); }

bool ParameterStore::declare(Parameter parameter) {
  if (find(parameter.id)) return false;
  parameter.value = parameter.defaultValue;
  parameter.group = openGroups.empty() ? 0 : openGroups.back();
  declared.push_back(std::move(parameter));
  return true;
}

bool ParameterStore::setNumber(unsigned id, double value) {
  Parameter* parameter = findMutable(id);
  if (!parameter || !parameter->holdsNumber() || !fits(*parameter, value)) return false;
  parameter->value = value;
  return true;
}

bool ParameterStore::press(unsigned id) const {
  const Parameter* button = find(id);
  if (!button || !button->selector) return false;
  button->selector();
  return true;
}

nlohmann::json ParameterStore::numbers() const {
  nlohmann::json object = nlohmann::json::object();
  for (const Parameter& parameter : declared) {
    if (!parameter.holdsNumber()) continue;
    nlohmann::json& member = object[std::to_string(parameter.id)];
    if (isWhole(parameter.kind))
      member = static_cast<int>(parameter.value);
    else
      member = parameter.value;
  }
  return object;
}

void ParameterStore::setNumbers(const nlohmann::json& object) {
  for (const Parameter& parameter : declared) {
    const auto member = object.find(std::to_string(parameter.id));
    if (member != object.end() && member->is_number()) setNumber(parameter.id, member->get<double>());
  }
}

nlohmann::json ParameterStore::archives() const {
  nlohmann::json object = nlohmann::json::object();
  for (const Parameter& parameter : declared) {
    if (!parameter.custom) continue;
    JsonArchive archive;
    parameter.custom->encodeWithCoder(archive);
    object[std::to_string(parameter.id)] = archive.json();
  }
  return object;
}

void ParameterStore::setArchives(const nlohmann::json& object) {
  for (Parameter& parameter : declared) {
    const auto member = object.find(std::to_string(parameter.id));
    if (parameter.custom && member != object.end())
      parameter.custom = parameter.custom->decodedWithCoder(JsonArchive(*member));
  }
}

bool ParameterStore::addToggleButtonWithName(const std::string& name, unsigned parmId, bool defaultValue,
                                             unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::Toggle, parmId, name, parmFlags);
  parameter.defaultValue = defaultValue ? 1 : 0;
  parameter.most = 1;
  parameter.delta = 1;
  return declare(std::move(parameter));
}

bool ParameterStore::addPushButtonWithName(const std::string& name, unsigned parmId, std::function<void()> selector,
                                           unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::PushButton, parmId, name, parmFlags);
  parameter.selector = std::move(selector);
  return declare(std::move(parameter));
}

bool ParameterStore::addPopupMenuWithName(const std::string& name, unsigned parmId, int defaultValue,
                                          const std::vector<std::string>& menuEntries, unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::Menu, parmId, name, parmFlags);
  parameter.defaultValue = defaultValue;
  parameter.most = static_cast<double>(menuEntries.size()) - 1;
  parameter.delta = 1;
  parameter.entries = menuEntries;
  return declare(std::move(parameter));
}

bool ParameterStore::addIntSliderWithName(const std::string& name, unsigned parmId, int defaultValue, int parameterMin,
                                          int parameterMax, int, int, int delta, unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::IntSlider, parmId, name, parmFlags);
  parameter.defaultValue = defaultValue;
  parameter.least = parameterMin;
  parameter.most = parameterMax;
  parameter.delta = delta;
  return declare(std::move(parameter));
}

bool ParameterStore::addFloatSliderWithName(const std::string& name, unsigned parmId, double defaultValue,
                                            double parameterMin, double parameterMax, double, double, double delta,
                                            unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::FloatSlider, parmId, name, parmFlags);
  parameter.defaultValue = defaultValue;
  parameter.least = parameterMin;
  parameter.most = parameterMax;
  parameter.delta = delta;
  return declare(std::move(parameter));
}

bool ParameterStore::startParameterSubGroup(const std::string& name, unsigned parmId, unsigned parmFlags) {
  if (!declare(parameterOf(Parameter::Group, parmId, name, parmFlags))) return false;
  openGroups.push_back(parmId);
  return true;
}

bool ParameterStore::endParameterSubGroup() {
  if (openGroups.empty()) return false;
  openGroups.pop_back();
  return true;
}

bool ParameterStore::addCustomParameterWithName(const std::string& name, unsigned parmId,
                                                std::shared_ptr<const KeyedCodable> defaultValue, unsigned parmFlags) {
  Parameter parameter = parameterOf(Parameter::Custom, parmId, name, parmFlags);
  parameter.custom = std::move(defaultValue);
  return declare(std::move(parameter));
}

bool ParameterStore::getIntValue(int* value, unsigned fromParm, double) {
  const Parameter* parameter = find(fromParm);
  if (!parameter || (parameter->kind != Parameter::Menu && parameter->kind != Parameter::IntSlider)) return false;
  *value = static_cast<int>(parameter->value);
  return true;
}

bool ParameterStore::getBoolValue(bool* value, unsigned fromParm, double) {
  const Parameter* parameter = find(fromParm);
  if (!parameter || parameter->kind != Parameter::Toggle) return false;
  *value = parameter->value != 0;
  return true;
}

bool ParameterStore::getFloatValue(double* value, unsigned fromParm, double) {
  const Parameter* parameter = find(fromParm);
  if (!parameter || parameter->kind != Parameter::FloatSlider) return false;
  *value = parameter->value;
  return true;
}

bool ParameterStore::getCustomParameterValue(std::shared_ptr<const KeyedCodable>* value, unsigned fromParm) {
  const Parameter* parameter = find(fromParm);
  if (!parameter || parameter->kind != Parameter::Custom) return false;
  *value = parameter->custom;
  return true;
}

bool ParameterStore::setParameterFlags(unsigned flags, unsigned toParm) {
  Parameter* parameter = findMutable(toParm);
  if (!parameter) return false;
  parameter->flags = flags;
  return true;
}

bool ParameterStore::setIntValue(int value, unsigned toParm, double) {
  const Parameter* parameter = find(toParm);
  if (!parameter || (parameter->kind != Parameter::Menu && parameter->kind != Parameter::IntSlider)) return false;
  return setNumber(toParm, value);
}

bool ParameterStore::setCustomParameterValue(std::shared_ptr<const KeyedCodable> value, unsigned toParm) {
  Parameter* parameter = findMutable(toParm);
  if (!parameter || parameter->kind != Parameter::Custom) return false;
  parameter->custom = std::move(value);
  return true;
}

}  // namespace film
