#include <cstdio>

#include "film/Commands.h"
#include "film/EffectDocument.h"
#include "film/OutputFile.h"
#include "film/Presets.h"
#include "film/RunFiles.h"

namespace film {
namespace {

std::vector<SettingChange> settingsOf(const PresetsOptions& options) {
  SessionOptions session;
  session.clip = options.clip;
  session.effectPath = options.effectPath;
  const std::string path = Session::DocumentPath(session);
  const std::optional<EffectDocument> document = EffectDocument::Load(path);
  if (!document)
    throw Failure(path + ": there is no such effect document, so no settings are stored for this clip; run a command " +
                  "with the settings on it first");
  TerminalPlatform platform(TerminalPlatform::UserLanguage());
  ParameterStore parameters;
  DeclareParameters(&parameters, &platform);
  document->restore(parameters);
  std::vector<SettingChange> settings;
  for (const SettingOption& option : SettingOptions())
    if (const Parameter* parameter = parameters.find(option.id)) settings.push_back({option.id, parameter->value});
  return settings;
}

void list(bool json) {
  nlohmann::ordered_json presets = nlohmann::ordered_json::array();
  std::string text;
  for (const Preset& preset : BuiltInPresets()) {
    const nlohmann::ordered_json settings = DescribePreset(preset.settings);
    presets.push_back({{"name", preset.name}, {"help", preset.help}, {"settings", settings}});
    text += std::string(preset.name) + ": " + preset.help + "\n   ";
    for (const auto& [name, value] : settings.items())
      text += " --" + name + " " + (value.is_string() ? value.get<std::string>() : value.dump());
    text += "\n";
  }
  std::printf("%s", json ? (presets.dump(1) + "\n").c_str() : text.c_str());
}

}  // namespace

ExitStatus Presets(const PresetsOptions& options) {
  if (options.save.empty()) {
    list(options.json);
    return kDone;
  }
  CheckOutput(options.save, options.force, ".json");
  OutputFile::write(options.save, DescribePreset(settingsOf(options)).dump(1) + "\n");
  return kDone;
}

}  // namespace film
