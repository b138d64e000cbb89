#include "film/Subcommands.h"

#include <tuple>

#include "film/CommandOptions.h"

namespace film {
namespace {

void addStabilise(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("stabilise", "analyse a clip unless that was done, and write the steady one");
  command->alias("stabilize");
  AddClipOptions(command, arguments);
  AddRenderOptions(command, arguments);
  AddAnalysisOptions(command, arguments);
  AddSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Stabilise(arguments->session, arguments->render); }; });
}

void addAnalyse(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("analyse", "measure a clip's camera motion and keep it");
  command->alias("analyze");
  AddClipOptions(command, arguments);
  AddAnalysisOptions(command, arguments);
  AddSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Analyse(arguments->session); }; });
}

void addRender(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("render", "write the steady clip from what is stored");
  AddClipOptions(command, arguments);
  AddRenderOptions(command, arguments);
  command->add_option("--from", arguments->render.from, "the first frame, from 0")->type_name("N");
  command->add_option("--to", arguments->render.to, "the last frame")->type_name("N");
  AddSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Render(arguments->session, arguments->render); }; });
}

void addShow(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("show", "tell what is stored for a clip");
  AddClipOptions(command, arguments);
  command->add_flag("--json", arguments->json, "for programs");
  command->callback([arguments] { arguments->run = [=] { return Show(arguments->session, arguments->json); }; });
}

void addParameters(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("parameters", "list the effect's parameters");
  command->add_flag("--json", arguments->json, "for programs");
  command->callback([arguments] { arguments->run = [=] { return ShowParameters(arguments->json); }; });
}

void addExport(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("export", "write what is stored for a clip as files of its own");
  AddClipOptions(command, arguments);
  ExportOptions& files = arguments->files;
  const std::tuple<const char*, std::string*, const char*> options[] = {
      {"--motion", &files.motion, "the measured motion (HSET)"},
      {"--rotation", &files.rotation, "the measured similarities (HSET)"},
      {"--confidence", &files.confidence, "the confidence of each frame (MCONF)"},
      {"--events", &files.events, "the events and their fits (MFP3)"},
      {"--gains", &files.gains, "the gain of each frame (GAINS)"},
      {"--compensation", &files.compensation, "the correction of each frame (HSET)"},
      {"--design", &files.design, "the motion as it is to be seen (HSET)"}};
  CLI::Option_group* group = command->add_option_group("Files");
  for (const auto& [name, file, help] : options) group->add_option(name, *file, help)->type_name("F");
  group->require_option(1, 0);
  command->callback([arguments] { arguments->run = [=] { return Export(arguments->session, arguments->files); }; });
}

void addSample(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("sample", "write a shaky clip of a drawn scene to try things on");
  command->add_option("OUT", arguments->render.out, "the file to write")->required();
  command->add_option("--truth", arguments->truth, "write the exact camera motion here, as JSON");
  command->add_flag("--force", arguments->render.force, "replace the files if they exist");
  AddRunOptions(command, arguments);
  command->callback([arguments] {
    arguments->run = [=] {
      return Sample(arguments->render.out, arguments->truth, arguments->render.force, arguments->session.progress);
    };
  });
}

}  // namespace

void AddCommands(CLI::App* app, Arguments* arguments) {
  addStabilise(app, arguments);
  addAnalyse(app, arguments);
  addRender(app, arguments);
  addShow(app, arguments);
  addExport(app, arguments);
  addParameters(app, arguments);
  addSample(app, arguments);
}

}  // namespace film
