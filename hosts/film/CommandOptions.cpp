#include "film/CommandOptions.h"

#include "film/Settings.h"

namespace film {
namespace {

constexpr const char* presets[] = {"ultrafast", "superfast", "veryfast", "faster",  "fast",
                                   "medium",    "slow",      "slower",   "veryslow"};

}  // namespace

void AddRunOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("--progress", arguments->progress, "how to show progress: auto, bar, lines, json or none")
      ->check(CLI::IsMember({"auto", "bar", "lines", "json", "none"}));
  command->add_flag("--quiet", arguments->quiet, "show errors only")->excludes("--progress");
  command->add_option("--threads", arguments->threads, "processors to use; all unless given")
      ->check(CLI::Range(1, 256));
  command->add_option("--log", arguments->log, "write the log to this file");
}

void AddClipOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("CLIP", arguments->session.clip, "the video file")->required();
  command->add_option("--effect", arguments->session.effectPath,
                      "the effect document; CLIP.orvane.json beside the clip unless given");
  AddRunOptions(command, arguments);
}

void AddSettingOptions(CLI::App* command, Arguments* arguments) {
  const std::vector<SettingOption>& options = SettingOptions();
  arguments->settings.resize(options.size());
  for (size_t i = 0; i < options.size(); ++i) {
    std::string values;
    for (const std::string& word : options[i].words) values += (values.empty() ? "" : "|") + word;
    if (values.empty())
      values = SettingText(options[i], options[i].least) + ".." + SettingText(options[i], options[i].most);
    command->add_option(std::string("--") + options[i].name, arguments->settings[i], options[i].help)
        ->type_name(values)
        ->group("Settings, which stay until changed");
  }
}

void AddAnalysisOptions(CLI::App* command, Arguments* arguments) {
  command->add_flag("--again", arguments->session.again, "analyse even if an analysis is stored");
  command->add_option("--seed", arguments->seed, "makes a run with --threads 1 repeat exactly");
}

void AddRenderOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("-o,--out", arguments->render.out, "the file to write")->type_name("OUT")->required();
  command->add_flag("--force", arguments->render.force, "replace OUT if it exists");
  command->add_option("--crf", arguments->render.encoder.crf, "quality: 0 lossless, 17 looks lossless, 51 worst")
      ->check(CLI::Range(0.0, 51.0));
  command->add_option("--preset", arguments->render.encoder.preset, "how long the encoder tries to make OUT small")
      ->check(CLI::IsMember(std::vector<std::string>(std::begin(presets), std::end(presets))));
}

}  // namespace film
