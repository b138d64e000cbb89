#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace film {

/// A setting of the effect as an option of the command line.
struct SettingOption {
  const char* name;                ///< without the dashes
  unsigned id;                     ///< of the parameter
  std::vector<std::string> words;  ///< the values 0, 1, ... in words; empty for a number
  double least, most;              ///< of a number
  bool whole;                      ///< a number without fractions
  const char* help;
};

/// All of them, in the order of the parameters.
const std::vector<SettingOption>& SettingOptions();

/// A setting that the user asked for.
struct SettingChange {
  unsigned id = 0;
  double value = 0;
};

/// The changes that the given texts mean; `texts` runs parallel to `SettingOptions`, empty for an option not given.
/// Fails with the status for wrong usage on a word or number that an option hasn't, and on options that exclude each
/// other.
std::vector<SettingChange> ReadSettings(const std::vector<std::string>& texts);

/// The value that a text means. Fails with the status for wrong usage on one that the option hasn't.
double ReadSetting(const SettingOption& option, const std::string& text);

/// What may be given: "one of off, on".
std::string ChoiceText(const SettingOption& option);

/// The word, or the number, for a value.
std::string SettingText(const SettingOption& option, double value);
/// The same for programs.
nlohmann::ordered_json SettingJson(const SettingOption& option, double value);

}  // namespace film
