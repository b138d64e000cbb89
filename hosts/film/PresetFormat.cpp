#include <algorithm>

#include "film/DescribeValues.h"
#include "film/Presets.h"
#include "film/Settings.h"

namespace film {
namespace {

/// Takes off the front what may stand between two signs of JSON, and `sign` behind it; false if that doesn't follow.
bool take(std::string_view& text, char sign) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (!text.starts_with(sign)) return false;
  text.remove_prefix(1);
  return true;
}

/// An object whose first member is a setting. Whether the others are tells their reader.
bool recognises(std::string_view head) {
  if (!take(head, '{') || !take(head, '"')) return false;
  const std::string_view name = head.substr(0, head.find('"'));
  return std::ranges::any_of(SettingOptions(), [&](const SettingOption& option) { return name == option.name; });
}

Description describe(const std::string& path) {
  const std::string named = NamesPresetFile(path) ? path : "./" + path;  // else it could be a built-in one
  return {{"format", "preset"}, {"complete", true}, {"settings", DescribePreset(LoadPreset(named))}};
}

std::string lines(const Description& d) { return Line("settings", SettingsText(d["settings"])); }

}  // namespace

StoredFormat PresetFormat() { return {"preset", "settings under one name", recognises, describe, lines, nullptr}; }

}  // namespace film
