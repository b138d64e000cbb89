#include "film/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <optional>

#include "film/Commands.h"
#include "film/Interrupt.h"
#include "film/Libav.h"
#include "film/Settings.h"
#include "numerics/Log.h"
#include "numerics/Random.h"

namespace film {
namespace {

/// What the options of the command line were given.
struct Arguments {
  SessionOptions session;
  std::vector<std::string> settings;  // runs parallel to SettingOptions()
  RenderOptions render;
  ExportOptions files;
  std::string progress = "auto", log, truth;
  bool quiet = false, json = false;
  int threads = 0;
  std::optional<unsigned> seed;
  std::function<ExitStatus()> run;
};

constexpr const char* presets[] = {"ultrafast", "superfast", "veryfast", "faster",  "fast",
                                   "medium",    "slow",      "slower",   "veryslow"};

void addRunOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("--progress", arguments->progress, "how to show progress: auto, bar, lines, json or none")
      ->check(CLI::IsMember({"auto", "bar", "lines", "json", "none"}));
  command->add_flag("--quiet", arguments->quiet, "show errors only")->excludes("--progress");
  command->add_option("--threads", arguments->threads, "processors to use; all unless given")
      ->check(CLI::Range(1, 256));
  command->add_option("--log", arguments->log, "write the log to this file");
}

void addClipOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("CLIP", arguments->session.clip, "the video file")->required();
  command->add_option("--effect", arguments->session.effectPath,
                      "the effect document; CLIP.orvane.json beside the clip unless given");
  addRunOptions(command, arguments);
}

void addSettingOptions(CLI::App* command, Arguments* arguments) {
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

void addAnalysisOptions(CLI::App* command, Arguments* arguments) {
  command->add_flag("--again", arguments->session.again, "analyse even if an analysis is stored");
  command->add_option("--seed", arguments->seed, "makes a run with --threads 1 repeat exactly");
}

void addRenderOptions(CLI::App* command, Arguments* arguments) {
  command->add_option("-o,--out", arguments->render.out, "the file to write")->type_name("OUT")->required();
  command->add_flag("--force", arguments->render.force, "replace OUT if it exists");
  command->add_option("--crf", arguments->render.encoder.crf, "quality: 0 lossless, 17 looks lossless, 51 worst")
      ->check(CLI::Range(0.0, 51.0));
  command->add_option("--preset", arguments->render.encoder.preset, "how long the encoder tries to make OUT small")
      ->check(CLI::IsMember(std::vector<std::string>(std::begin(presets), std::end(presets))));
}

void addStabilise(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("stabilise", "analyse a clip unless that was done, and write the steady one");
  command->alias("stabilize");
  addClipOptions(command, arguments);
  addRenderOptions(command, arguments);
  addAnalysisOptions(command, arguments);
  addSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Stabilise(arguments->session, arguments->render); }; });
}

void addAnalyse(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("analyse", "measure a clip's camera motion and keep it");
  command->alias("analyze");
  addClipOptions(command, arguments);
  addAnalysisOptions(command, arguments);
  addSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Analyse(arguments->session); }; });
}

void addRender(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("render", "write the steady clip from what is stored");
  addClipOptions(command, arguments);
  addRenderOptions(command, arguments);
  command->add_option("--from", arguments->render.from, "the first frame, from 0")->type_name("N");
  command->add_option("--to", arguments->render.to, "the last frame")->type_name("N");
  addSettingOptions(command, arguments);
  command->callback([arguments] { arguments->run = [=] { return Render(arguments->session, arguments->render); }; });
}

void addShow(CLI::App* app, Arguments* arguments) {
  CLI::App* command = app->add_subcommand("show", "tell what is stored for a clip");
  addClipOptions(command, arguments);
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
  addClipOptions(command, arguments);
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
  addRunOptions(command, arguments);
  command->callback([arguments] {
    arguments->run = [=] {
      return Sample(arguments->render.out, arguments->truth, arguments->render.force, arguments->session.progress);
    };
  });
}

ProgressStyle styleOf(const Arguments& arguments) {
  if (arguments.quiet || arguments.progress == "none") return ProgressStyle::None;
  if (arguments.progress == "bar") return ProgressStyle::Bar;
  if (arguments.progress == "lines") return ProgressStyle::Lines;
  if (arguments.progress == "json") return ProgressStyle::Json;
  return ProgressStyleFor(stderr);
}

/// The log goes to a file or nowhere: its lines for each frame are not for the terminal.
std::shared_ptr<std::FILE> openLog(const std::string& path) {
  if (path.empty()) {
    Vorn::SetLogSink([](const std::string&) {});
    return nullptr;
  }
  std::FILE* opened = std::fopen(path.c_str(), "w");
  if (!opened) throw Failure(path + ": the log can't be written (" + std::strerror(errno) + "); choose another name");
  std::shared_ptr<std::FILE> file(opened, [](std::FILE* log) {
    Vorn::SetLogSink([](const std::string&) {});
    std::fclose(log);
  });
  Vorn::SetLogSink([opened](const std::string& line) { std::fprintf(opened, "%s\n", line.c_str()); });
  return file;
}

/// The files that a command line names, or that go with its clip; empty names for those that it leaves out.
std::vector<std::string> filesOf(const Arguments& arguments) {
  const SessionOptions& session = arguments.session;
  const ExportOptions& files = arguments.files;
  return {session.clip,     session.clip.empty() ? "" : Session::DocumentPath(session),
          arguments.log,    arguments.truth,
          files.motion,     files.rotation,
          files.confidence, files.events,
          files.gains,      files.compensation,
          files.design,     arguments.render.out};
}

ExitStatus runCommand(Arguments* arguments) {
  CheckFilesDiffer(filesOf(*arguments));
  const std::shared_ptr<std::FILE> log = openLog(arguments->log);
  arguments->session.changes = ReadSettings(arguments->settings);
  arguments->session.progress = styleOf(*arguments);
  arguments->session.threads = arguments->render.encoder.threads = arguments->threads;
  if (arguments->seed) Vorn::SetRandomSeed(*arguments->seed);
  return arguments->run();
}

int tell(const std::string& line, ExitStatus status) {
  std::fprintf(stderr, "orvane: %s\n", line.c_str());
  return status;
}

/// One line for a command line that can't be understood.
std::string usageLine(const CLI::Error& error, int argc, const char* const* argv) {
  const bool unknownCommand = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) && argc > 1 &&
                              argv[1][0] != '-' && std::strcmp(error.what(), "A subcommand is required") == 0;
  const std::string fault = unknownCommand ? std::string(argv[1]) + ": no such command" : error.what();
  return "orvane: " + fault + "; --help lists what there is\n";
}

}  // namespace

int Main(int argc, const char* const* argv) {
  CLI::App app("Steadies shaky video.", "orvane");
  Arguments arguments;
  app.require_subcommand(1);
  app.failure_message([=](const CLI::App*, const CLI::Error& error) { return usageLine(error, argc, argv); });
  addStabilise(&app, &arguments);
  addAnalyse(&app, &arguments);
  addRender(&app, &arguments);
  addShow(&app, &arguments);
  addExport(&app, &arguments);
  addParameters(&app, &arguments);
  addSample(&app, &arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  CatchInterrupts();
  RouteLibavMessages();
  try {
    return runCommand(&arguments);
  } catch (const Failure& failure) {
    return tell(failure.what(), failure.status);
  } catch (const std::bad_alloc&) {
    return tell(arguments.session.clip + ": not enough memory for frames of this size; close other programs", kFailed);
  } catch (const std::exception& error) {
    return tell(error.what(), kFailed);
  }
}

}  // namespace film
