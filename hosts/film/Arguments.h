#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "film/Batch.h"
#include "film/Commands.h"

namespace film {

/// What the options of the command line were given.
struct Arguments {
  SessionOptions session;
  std::vector<std::string> clips;  // of the commands that take several, folders too
  BatchOptions batch;
  std::vector<std::string> settings;  // runs parallel to SettingOptions()
  std::vector<std::string> presets;   // as given: settings' and the encoder's
  RenderOptions render;
  ExportOptions files;
  CompareOptions compare;
  ConvertOptions convert;
  PresetsOptions presetFile;
  std::string progress = "auto", log, truth, package, tracks;
  bool quiet = false, json = false;
  int threads = 0;
  std::optional<unsigned> seed;
  std::function<ExitStatus()> run;
};

}  // namespace film
