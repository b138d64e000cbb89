#include "film/ParameterTable.h"

#include <cstdio>

#include "film/Effect.h"
#include "film/Settings.h"
#include "film/TerminalPlatform.h"

namespace film {
namespace {

using Json = nlohmann::ordered_json;

const char* kindOf(Parameter::Kind kind) {
  constexpr const char* names[] = {"toggle", "button", "menu", "integer", "float", "group", "stored"};
  return names[kind];
}

Json numberOf(const Parameter& parameter, double value) {
  return parameter.kind == Parameter::FloatSlider ? Json(value) : Json(static_cast<int>(value));
}

/// The option that sets a parameter, or null.
const SettingOption* optionFor(unsigned id) {
  for (const SettingOption& option : SettingOptions())
    if (option.id == id) return &option;
  return nullptr;
}

}  // namespace

Json DescribeParameters(const ParameterStore& parameters, const ParameterStore& keys) {
  Json list = Json::array();
  for (const Parameter& parameter : parameters.parameters()) {
    const Parameter* key = keys.find(parameter.id);
    Json row{{"id", parameter.id}, {"kind", kindOf(parameter.kind)}, {"key", key ? key->name : ""}};
    row["text"] = parameter.name;
    if (const SettingOption* option = optionFor(parameter.id)) {
      row["option"] = std::string("--") + option->name;
      if (!option->words.empty()) row["values"] = option->words;
    }
    if (parameter.holdsNumber()) {
      row["default"] = numberOf(parameter, parameter.defaultValue);
      row["least"] = numberOf(parameter, parameter.least);
      row["most"] = numberOf(parameter, parameter.most);
    }
    if (!parameter.entries.empty()) {
      row["entryKeys"] = key ? key->entries : std::vector<std::string>();
      row["entries"] = parameter.entries;
    }
    if (parameter.group != 0) row["group"] = parameter.group;
    row["flags"] = parameter.flags;
    list.push_back(std::move(row));
  }
  return list;
}

Json DescribeDeclaredParameters() {
  TerminalPlatform texts(TerminalPlatform::UserLanguage()), keys("");
  keys.showKeys();
  ParameterStore withTexts, withKeys;
  DeclareParameters(&withTexts, &texts);
  DeclareParameters(&withKeys, &keys);
  return DescribeParameters(withTexts, withKeys);
}

std::string TableOf(const Json& parameters) {
  std::string text;
  for (const Json& row : parameters) {
    char line[160];
    std::snprintf(line, sizeof line, "%5u  %-8s", row["id"].get<unsigned>(), row["kind"].get<std::string>().c_str());
    text += line + row["key"].get<std::string>() + "  \"" + row["text"].get<std::string>() + "\"";
    if (row.contains("option")) {
      text += "  " + row["option"].get<std::string>() + " ";
      if (row.contains("values"))
        for (const Json& value : row["values"])
          text.append(value == row["values"][0] ? "" : "|").append(value.get<std::string>());
      else
        text += row["least"].dump() + ".." + row["most"].dump();
      const Json shown = row.contains("values") ? row["values"][row["default"].get<size_t>()] : row["default"];
      text += "  (default " + (shown.is_string() ? shown.get<std::string>() : shown.dump()) + ")";
    }
    text += "\n";
    if (row.contains("entries"))
      for (size_t i = 0; i < row["entries"].size(); ++i)
        text += "                 " + std::to_string(i) + " " + row["entryKeys"][i].get<std::string>() + "  \"" +
                row["entries"][i].get<std::string>() + "\"\n";
  }
  return text;
}

}  // namespace film
