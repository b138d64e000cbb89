#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "film/Commands.h"

namespace film {

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

}  // namespace film
