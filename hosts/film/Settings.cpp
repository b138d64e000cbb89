#include "film/Settings.h"

#include <charconv>
#include <cmath>

#include "film/Failure.h"
#include "plugin/OrvaneFCPXPlugIn.h"

namespace film {
namespace {

SettingOption words(const char* name, unsigned id, std::vector<std::string> values, const char* help) {
  return {name, id, std::move(values), 0, 0, true, help};
}

SettingOption onOff(const char* name, unsigned id, const char* help) { return words(name, id, {"off", "on"}, help); }

SettingOption number(const char* name, unsigned id, double least, double most, bool whole, const char* help) {
  return {name, id, {}, least, most, whole, help};
}

std::string join(const std::vector<std::string>& parts) {
  std::string all;
  for (const std::string& part : parts) all += (all.empty() ? "" : ", ") + part;
  return all;
}

[[noreturn]] void refuse(const SettingOption& option, const std::string& text) {
  throw Failure("--" + std::string(option.name) + " " + text + ": not a value that it has; give " + ChoiceText(option),
                kUsage);
}

const double* find(const std::vector<SettingChange>& changes, unsigned id) {
  for (const SettingChange& change : changes)
    if (change.id == id) return &change.value;
  return nullptr;
}

void checkContradictions(const std::vector<SettingChange>& changes) {
  const double *centre = find(changes, kCropCentre), *equal = find(changes, kCropEqual),
               *aspect = find(changes, kCropAspect), *type = find(changes, kZoomType);
  if (equal && *equal != 0 && ((centre && *centre != 0) || (aspect && *aspect != 0)))
    throw Failure("--crop-equal on can't go with --crop-centre on or --crop-aspect on; choose one", kUsage);
  if (find(changes, kVariableZoomAmount) && type && *type != 2)
    throw Failure("--zoom-amount needs --zoom-type variable; leave one of the two away", kUsage);
}

}  // namespace

const std::vector<SettingOption>& SettingOptions() {
  static const std::vector<SettingOption> options = {
      onOff("detect-subtitles", kDetectSubtitles, "leave burnt-in titles out of the analysis"),
      words("global-mode", kGlobalMode, {"none", "smooth", "cancel"},
            "what becomes of the camera's motion: kept, smoothed, or locked to the first frame"),
      number("smoothing", kGlobalSmoothing, 1, 100, true, "how much it is smoothed, in percent"),
      onOff("rotation-dampening", kRotationDampening, "calm the roll harder than the rest"),
      words("events", kEventDetection, {"none", "motion", "border"},
            "look for holds and moves: not at all, for the steadiest moves, or for the smallest border"),
      words("rendering", kRenderingType, {"natural", "crop", "zoom", "complete"},
            "what becomes of the empty borders: left, cropped, zoomed away, or filled"),
      words("zoom-type", kZoomType, {"full", "fit", "variable"},
            "zoom until the frame is full, until the whole picture fits, or by --zoom-amount"),
      number("zoom-amount", kVariableZoomAmount, 1.0, 2.0, false, "how much --zoom-type variable zooms"),
      onOff("crop-centre", kCropCentre, "move the cropped picture to the frame's centre"),
      onOff("crop-equal", kCropEqual, "crop as much on opposite sides"),
      onOff("crop-aspect", kCropAspect, "crop to the frame's aspect ratio"),
  };
  return options;
}

std::string ChoiceText(const SettingOption& option) {
  if (!option.words.empty()) return "one of " + join(option.words);
  return "a " + std::string(option.whole ? "whole " : "") + "number from " + SettingText(option, option.least) +
         " to " + SettingText(option, option.most);
}

double ReadSetting(const SettingOption& option, const std::string& text) {
  for (size_t i = 0; i < option.words.size(); ++i)
    if (text == option.words[i]) return static_cast<double>(i);
  if (!option.words.empty()) refuse(option, text);
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = error == std::errc() && end == text.data() + text.size();
  if (!isNumber || !(value >= option.least && value <= option.most) || (option.whole && value != std::trunc(value)))
    refuse(option, text);
  return value;
}

std::vector<SettingChange> ReadSettings(const std::vector<std::string>& texts) {
  std::vector<SettingChange> changes;
  const std::vector<SettingOption>& options = SettingOptions();
  for (size_t i = 0; i < options.size() && i < texts.size(); ++i)
    if (!texts[i].empty()) changes.push_back({options[i].id, ReadSetting(options[i], texts[i])});
  checkContradictions(changes);
  return changes;
}

std::string SettingText(const SettingOption& option, double value) {
  const auto index = static_cast<size_t>(value);
  if (!option.words.empty()) return index < option.words.size() ? option.words[index] : std::to_string(index);
  if (option.whole) return std::to_string(std::lround(value));
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

nlohmann::ordered_json SettingJson(const SettingOption& option, double value) {
  if (!option.words.empty()) return SettingText(option, value);
  if (option.whole) return std::lround(value);
  return value;
}

}  // namespace film
