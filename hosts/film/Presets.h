#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "film/Settings.h"

// Sets of settings under one name: built-in ones, and files of them. A preset never holds a clip's analysis.
namespace film {

/// A built-in preset.
struct Preset {
  const char* name;
  const char* help;  ///< what it is for
  std::vector<SettingChange> settings;
};
const std::vector<Preset>& BuiltInPresets();

/// Whether `word` is one of the encoder's speeds, "ultrafast" to "veryslow".
bool IsEncoderSpeed(const std::string& word);

/// Whether `word` can only be a file's name: it has a slash in it or ".json" at its end.
bool NamesPresetFile(const std::string& word);

/// The settings of a preset. A word that doesn't name a file for certain names a built-in preset, or a file where there
/// is no such preset.
///
/// A file is one JSON object whose members are named like the setting options without their dashes and hold a word, a
/// number, or for "on" and "off" also true and false. Fails on anything else, naming file and setting.
std::vector<SettingChange> LoadPreset(const std::string& word);

/// `preset` without what `given` sets, with `given` behind it.
std::vector<SettingChange> OverridePreset(const std::vector<SettingChange>& preset,
                                          const std::vector<SettingChange>& given);

/// Settings as the contents of a preset's file.
nlohmann::ordered_json DescribePreset(const std::vector<SettingChange>& settings);

}  // namespace film
