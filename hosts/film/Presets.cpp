#include "film/Presets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "film/EncoderTable.h"
#include "film/Failure.h"
#include "film/JsonText.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uintmax_t largestFile = 1 << 20;  // bytes; a preset takes a few hundred
constexpr int deepest = 32;                      // levels of a value that is read only to be refused

constexpr double off = 0, on = 1;

std::string readText(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw Failure(path + ": this is a folder and no preset; name a file in it");
  if (!std::filesystem::exists(path, error))
    throw Failure(path + ": there is no such preset; check the name, or see `orvane presets`");
  if (std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) > largestFile)
    throw Failure(path + ": too large for a preset; name a file as `orvane presets --save` writes it");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure(path + ": the preset can't be read (" + std::strerror(errno) + "); check its permissions");
  std::string text(largestFile, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(in.gcount()));
  return text;
}

/// The members of the object that `text` holds.
Json parse(const std::string& path, const std::string& text) {
  std::set<std::string> seen;
  std::string twice;
  bool tooDeep = false;
  const Json::parser_callback_t watch = [&](int depth, Json::parse_event_t event, Json& value) {
    tooDeep = tooDeep || depth > deepest;
    if (event == Json::parse_event_t::key && depth == 1 && !seen.insert(value.get<std::string>()).second)
      twice = value.get<std::string>();
    return !tooDeep;
  };
  Json read;
  try {
    read = Json::parse(text, watch);
  } catch (const Json::parse_error& error) {
    throw Failure(path + ": the preset isn't JSON (mistake at byte " + std::to_string(error.byte) +
                  "); mend it, or write one with `orvane presets --save`");
  } catch (const Json::out_of_range&) {
    throw Failure(path + ": the preset holds a number that is too large for any setting; mend it");
  }
  if (!twice.empty()) throw Failure(path + ": \"" + twice + "\" stands in it twice; leave one of the two away");
  if (!read.is_object()) throw Failure(path + ": a preset is one JSON object of settings, such as {\"smoothing\": 40}");
  if (read.contains("archives"))
    throw Failure(path + ": this is a clip's effect document and no preset; `orvane presets --save FILE.json CLIP` " +
                  "writes its settings as one");
  return read;
}

const SettingOption* optionNamed(const std::string& name) {
  for (const SettingOption& option : SettingOptions())
    if (name == option.name) return &option;
  return nullptr;
}

std::string knownSettings() {
  std::string names;
  for (const SettingOption& option : SettingOptions()) names += (names.empty() ? "" : ", ") + std::string(option.name);
  return names;
}

/// What the option would have been given on the command line.
std::string textOf(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
  return JsonText(value);
}

SettingChange settingOf(const std::string& path, const std::string& name, const Json& value) {
  const SettingOption* option = optionNamed(name);
  if (!option) throw Failure(path + ": \"" + name + "\" is no setting; the settings are " + knownSettings());
  const std::string text = textOf(value);
  if (value.is_structured() || value.is_null() || value.is_number() != option->words.empty())
    throw Failure(path + ": \"" + name + "\": " + JsonText(value).substr(0, 40) + " isn't a value that it has; give " +
                  ChoiceText(*option));
  try {
    return {option->id, ReadSetting(*option, text)};
  } catch (const Failure&) {
    throw Failure(path + ": \"" + name + "\": " + text.substr(0, 40) + " isn't a value that it has; give " +
                  ChoiceText(*option));
  }
}

// Settings that rule one another out are no fault here: a clip holds all of them too, and some are just not in use.
std::vector<SettingChange> loadFile(const std::string& path) {
  std::vector<SettingChange> settings;
  const Json members = parse(path, readText(path));
  for (const auto& [name, value] : members.items()) settings.push_back(settingOf(path, name, value));
  return settings;
}

std::string builtInNames() {
  std::string names;
  for (const Preset& preset : BuiltInPresets()) names += (names.empty() ? "" : ", ") + std::string(preset.name);
  return names;
}

}  // namespace

bool NamesPresetFile(const std::string& word) { return word.find('/') != std::string::npos || word.ends_with(".json"); }

const std::vector<Preset>& BuiltInPresets() {
  static const std::vector<Preset> presets = {
      {"handheld",
       "filmed from the hand: holds stand still, pans run evenly",
       {{kGlobalMode, GlobalSmooth},
        {kGlobalSmoothing, 100},
        {kRotationDampening, on},
        {kEventDetection, MotionPriority},
        {kRenderingType, RenderZoom},
        {kZoomType, ZoomFull}}},
      {"tripod",
       "one view that should not move at all: every frame is locked onto the first",
       {{kGlobalMode, GlobalCancel}, {kRenderingType, RenderZoom}, {kZoomType, ZoomFull}}},
      {"walking",
       "filmed while walking: steps and roll are calmed, the way of the camera is followed",
       {{kGlobalMode, GlobalSmooth},
        {kGlobalSmoothing, 100},
        {kRotationDampening, on},
        {kEventDetection, BorderPriority},
        {kRenderingType, RenderZoom},
        {kZoomType, ZoomFull}}},
      {"keep-frame",
       "little shake, or little to lose: calms what costs least of the frame",
       {{kGlobalMode, GlobalSmooth},
        {kGlobalSmoothing, 70},
        {kRotationDampening, off},
        {kEventDetection, NoEvents},
        {kRenderingType, RenderZoom},
        {kZoomType, ZoomFull}}},
  };
  return presets;
}

bool IsEncoderSpeed(const std::string& word) {
  const std::vector<EncoderKind>& kinds = EncoderKinds();
  return std::any_of(kinds.begin(), kinds.end(), [&](const EncoderKind& kind) { return HasSpeed(kind, word); });
}

std::vector<SettingChange> LoadPreset(const std::string& word) {
  if (NamesPresetFile(word)) return loadFile(word);
  for (const Preset& preset : BuiltInPresets())
    if (word == preset.name) return preset.settings;
  std::error_code error;
  if (!word.empty() && std::filesystem::exists(word, error)) return loadFile(word);
  throw Failure("--preset " + word + ": there is no such preset; give one of " + builtInNames() +
                    ", a file, or an encoder's speed from ultrafast to veryslow (--help tells more)",
                kUsage);
}

std::vector<SettingChange> OverridePreset(const std::vector<SettingChange>& preset,
                                          const std::vector<SettingChange>& given) {
  std::vector<SettingChange> all;
  const auto isGiven = [&](const SettingChange& change) {
    return std::any_of(given.begin(), given.end(), [&](const SettingChange& other) { return other.id == change.id; });
  };
  std::copy_if(preset.begin(), preset.end(), std::back_inserter(all), [&](const auto& c) { return !isGiven(c); });
  all.insert(all.end(), given.begin(), given.end());
  return all;
}

Json DescribePreset(const std::vector<SettingChange>& settings) {
  Json object = Json::object();
  for (const SettingOption& option : SettingOptions())
    for (const SettingChange& setting : settings)
      if (setting.id == option.id) object[option.name] = SettingJson(option, setting.value);
  return object;
}

}  // namespace film
