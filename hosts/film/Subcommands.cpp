#include "film/Subcommands.h"

#include <functional>
#include <tuple>

#include "film/CommandOptions.h"
#include "film/GivenOptions.h"
#include "film/Presets.h"

namespace film {
namespace {

void addOutFolder(CLI::App* command, Arguments* arguments) {
  command
      ->add_option(
          "-O,--out-dir", arguments->batch.outFolder,
          "the folder for the films of several clips, each named like its clip, but .mkv where its own kind of "
          "file can't be written; made unless it is there")
      ->type_name("DIR")
      ->excludes("--out");
}

/// Has the command run on one clip here, or on several in turn. `one` is what it does.
void runOnEach(CLI::App* command, Arguments* arguments, bool writesFilms, const std::function<ExitStatus()>& one) {
  command->callback([=] {
    arguments->batch.command = command->get_name();
    arguments->batch.arguments = HandedOn(*command);
    TakeClips(arguments, writesFilms);
    arguments->run = arguments->batch.clips.empty() ? one : [=] { return RunBatch(arguments->batch); };
  });
}

/// What the commands that write films have in common.
void addFilmOptions(CLI::App* command, Arguments* arguments) {
  AddSeveralClipsOptions(command, arguments);
  AddDocumentOptions(command, arguments);
  AddRenderOptions(command, arguments);
  addOutFolder(command, arguments);
  AddSpanOptions(command, arguments);
  AddPreviewOption(command, arguments);
  AddZoomLimitOption(command, arguments);
  AddSettingOptions(command, arguments);
}

void addTracksOption(CLI::App* command, Arguments* arguments) {
  command
      ->add_option(
          "--tracks", arguments->tracks,
          "also write the features that are followed, frame by frame; with an analysis that is stored they are "
          "followed once more")
      ->type_name("F.strk");
}

void addStabilise(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "stabilise", "analyse a clip unless that was done, and write the steady one; with -O, several clips");
  command->alias("stabilize");
  addFilmOptions(command, arguments);
  AddAnalysisOptions(command, arguments);
  addTracksOption(command, arguments);
  runOnEach(command, arguments, true,
            [=] { return Stabilise(arguments->session, arguments->render, arguments->tracks); });
}

void addAnalyse(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("analyse", "measure the camera motion of a clip, or of several, and keep it");
  command->alias("analyze");
  AddSeveralClipsOptions(command, arguments);
  AddDocumentOptions(command, arguments);
  AddPresetOption(command, arguments);
  AddAnalysisOptions(command, arguments);
  AddSettingOptions(command, arguments);
  addTracksOption(command, arguments);
  runOnEach(command, arguments, false, [=] { return Analyse(arguments->session, arguments->tracks); });
}

void addRender(CLI::App* app, Arguments* arguments) {
  CLI::App* command =
      app->add_subcommand("render", "write the steady clip from what is stored; with -O, several clips");
  addFilmOptions(command, arguments);
  runOnEach(command, arguments, true, [=] { return Render(arguments->session, arguments->render); });
}

void addPlan(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "plan",
      "tell what the settings will do, without rendering: holds and moves, zoom, crop, how much of the frame is lost. "
      "Analyses first unless that was done. Settings that are given here are tried and not kept");
  AddClipOptions(command, arguments);
  command->add_flag("--json", arguments->json, "for programs");
  AddPresetOption(command, arguments);
  AddZoomLimitOption(command, arguments);
  AddAnalysisOptions(command, arguments);
  AddSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Plan(arguments->session, arguments->json); }; });
}

void addCompare(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "compare", "write a film that shows two clips of one size and length together, with A's sound");
  command->add_option("A", arguments->compare.a, "the one clip, such as the shaky one")->type_name("")->required();
  command->add_option("B", arguments->compare.b, "the other, such as the steady one")->type_name("")->required();
  AddRenderOptions(command, arguments);
  command->get_option("--out")->required();
  command->get_option("--preset")
      ->type_name("SPEED")
      ->description("how long the encoder tries to make OUT small: ultrafast to veryslow")
      ->check(
          CLI::Validator([](std::string& word) { return IsEncoderSpeed(word) ? "" : word + " is no such speed"; }, ""));
  command
      ->add_option("--layout", arguments->compare.layout,
                   "side: side by side; split: the left half of A, the right half of B; difference: four times how far "
                   "they differ, black where they are alike; side unless given")
      ->type_name("side|split|difference")
      ->check(CLI::IsMember({"side", "split", "difference"}).description(""));
  AddFieldsOption(
      command, &arguments->compare.fields,
      "which field of an interlaced frame comes first in both clips, none for progressive frames; auto, to find out "
      "for each, unless given");
  AddRunOptions(command, arguments);
  command->callback([arguments] {
    arguments->run = [=] { return Compare(arguments->compare, arguments->render, arguments->session.progress); };
  });
}

void addOverlay(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "overlay",
      "write the clip as filmed with features, crop, holds and moves and the camera's path drawn on it, to see why it "
      "comes out as it does. Analyses first unless that was done. Settings that are given here are tried and not kept");
  addFilmOptions(command, arguments);
  AddAnalysisOptions(command, arguments);
  runOnEach(command, arguments, true, [=] { return Overlay(arguments->session, arguments->render); });
}

void addPresets(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "presets", "list the built-in presets with what they set, or write the settings stored for a clip as one");
  PresetsOptions& options = arguments->presetFile;
  command->add_flag("--json", options.json, "for programs");
  CLI::Option* save = command->add_option("--save", options.save, "write CLIP's settings to this file, for --preset")
                          ->type_name("FILE.json");
  CLI::Option* clip =
      command->add_option("CLIP", options.clip, "the clip whose settings --save writes")->type_name("")->needs(save);
  save->needs(clip);
  command->add_option("--effect", options.effectPath, "the effect document of CLIP, if it lies elsewhere")
      ->type_name("FILE")
      ->needs(save);
  command->add_flag("--force", options.force, "replace FILE.json if it exists")->needs(save);
  command->callback([arguments] { arguments->run = [=] { return Presets(arguments->presetFile); }; });
}

void addShow(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("show",
                                          "tell what is stored for a clip, or what is in one of the program's own "
                                          "files, whatever its name, or in a project");
  AddClipOptions(command, arguments);
  command->get_option("CLIP")->description(
      "the video file; or a file of motion, confidence, points, matches, tracks, events, gains, a plane, a matrix, "
      "strings, an effect document, a preset, or a project, which is a folder");
  command->add_flag("--json", arguments->json, "for programs");
  command->callback([arguments] { arguments->run = [=] { return Show(arguments->session, arguments->json); }; });
}

void addConvert(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "convert", "write one of the program's own files that is of an old form in the present one, or any as a table");
  ConvertOptions& options = arguments->convert;
  command->add_option("IN", options.in, "the file to read; what it is shows in its contents, not its name")
      ->type_name("")
      ->required();
  command->add_option("OUT", options.out, "the file to write; one that ends in .csv is a table for spreadsheets")
      ->type_name("")
      ->required();
  command->add_flag("--force", options.force, "replace OUT if it exists");
  command->callback([arguments] { arguments->run = [=] { return Convert(arguments->convert); }; });
}

void addParameters(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("parameters", "list the effect's parameters");
  command->add_flag("--json", arguments->json, "for programs");
  command->callback([arguments] { arguments->run = [=] { return ShowParameters(arguments->json); }; });
}

void addImport(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("import",
                                          "take over a project of the standalone application in place of an analysis "
                                          "of the clip; what is stored for it is replaced");
  command->add_option("PACKAGE", arguments->package, "the project, a folder whose name ends in .orvane")
      ->type_name("")
      ->required();
  AddClipOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Import(arguments->session, arguments->package); }; });
}

void addExport(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand(
      "export", "write what is stored for a clip as files of its own; earlier exports are replaced");
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
  CLI::Option* package =
      group->add_option("--package", files.package, "a project that `orvane import` reads, a folder named *.orvane")
          ->type_name("OUT.orvane");
  group->require_option(1, 0);
  command->add_flag("--force", files.force, "replace the files of OUT.orvane if it exists")->needs(package);
  command->callback([arguments] { arguments->run = [=] { return Export(arguments->session, arguments->files); }; });
}

void addSample(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("sample", "write a shaky clip of a drawn scene to try things on");
  command->add_option("OUT", arguments->render.out, "the file to write")->type_name("")->required();
  command->add_option("--truth", arguments->truth, "write the exact camera motion here, as JSON")->type_name("FILE");
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
  addPlan(app, arguments);
  addShow(app, arguments);
  addConvert(app, arguments);
  addCompare(app, arguments);
  addOverlay(app, arguments);
  addPresets(app, arguments);
  addImport(app, arguments);
  addExport(app, arguments);
  addParameters(app, arguments);
  addSample(app, arguments);
  RefuseEmptyValues(app);
}

}  // namespace film
