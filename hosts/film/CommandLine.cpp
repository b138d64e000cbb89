#include "film/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "film/Arguments.h"
#include "film/GivenOptions.h"
#include "film/Interrupt.h"
#include "film/Libav.h"
#include "film/Presets.h"
#include "film/ProjectPackage.h"
#include "film/RunFiles.h"
#include "film/Streams.h"
#include "film/Subcommands.h"
#include "numerics/Log.h"
#include "numerics/Random.h"

namespace film {
namespace {

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

/// Where the document of a clip lies; empty without a clip.
std::string documentOf(const std::string& clip, const std::string& effectPath) {
  SessionOptions options;
  options.clip = clip;
  options.effectPath = effectPath;
  return clip.empty() ? "" : Session::DocumentPath(options);
}

/// The files that a command line names, or that go with its clip; empty names for those that it leaves out.
std::vector<std::string> filesOf(const Arguments& arguments) {
  const SessionOptions& session = arguments.session;
  const ExportOptions& files = arguments.files;
  const PresetsOptions& preset = arguments.presetFile;
  std::vector<std::string> named{session.clip,         documentOf(session.clip, session.effectPath),
                                 preset.clip,          documentOf(preset.clip, preset.effectPath),
                                 preset.save,          arguments.log,
                                 arguments.truth,      files.motion,
                                 files.rotation,       files.confidence,
                                 files.events,         files.gains,
                                 files.compensation,   files.design,
                                 files.package,        arguments.package,
                                 arguments.tracks,     arguments.render.out,
                                 arguments.convert.in, arguments.convert.out};
  const std::vector<std::string> packaged = PackagePaths(files.package);
  named.insert(named.end(), packaged.begin(), packaged.end());
  return named;
}

/// What a run only reads, and may read twice, must not be one of the files that it writes.
void checkReadOnlyFiles(const Arguments& arguments) {
  std::vector<std::string> read{arguments.compare.a, arguments.compare.b};
  for (const std::string& word : arguments.presets)
    if (NamesPresetFile(word)) read.push_back(word);
  for (const std::string& file : read) CheckFilesDiffer({file, arguments.log, arguments.render.out});
}

ExitStatus runCommand(Arguments* arguments) {
  CheckFilesDiffer(filesOf(*arguments));
  checkReadOnlyFiles(*arguments);
  const std::shared_ptr<std::FILE> log = openLog(arguments->log);
  TakeSettings(arguments);
  arguments->session.progress = arguments->batch.progress = styleOf(*arguments);
  arguments->batch.threads = arguments->threads;
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
  OpenMissingStreams();
  CLI::App app("Steadies shaky video.", "orvane");
  Arguments arguments;
  app.require_subcommand(1);
  app.set_version_flag("--version", "orvane " ORVANE_VERSION, "Print the program's version and exit");
  app.failure_message([=](const CLI::App*, const CLI::Error& error) { return usageLine(error, argc, argv); });
  AddCommands(&app, &arguments);
  try {
    app.parse(argc, argv);
    CatchInterrupts();
    RouteLibavMessages();
    const ExitStatus status = runCommand(&arguments);
    CheckPrinted();
    return status;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  } catch (const Failure& failure) {
    return tell(failure.what(), failure.status);
  } catch (const std::bad_alloc&) {
    return tell(arguments.session.clip + ": not enough memory for frames of this size; close other programs", kFailed);
  } catch (const std::exception& error) {
    return tell(error.what(), kFailed);
  }
}

}  // namespace film
