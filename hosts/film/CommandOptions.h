#pragma once

#include <CLI/CLI.hpp>

#include "film/Arguments.h"

// The options that commands share.
namespace film {

/// How a run shows itself, its log and its threads.
void AddRunOptions(CLI::App* command, Arguments* arguments);
/// The clip and its document, with the options of a run.
void AddClipOptions(CLI::App* command, Arguments* arguments);
/// The effect's settings.
void AddSettingOptions(CLI::App* command, Arguments* arguments);
void AddAnalysisOptions(CLI::App* command, Arguments* arguments);
/// The file to write and its encoder.
void AddRenderOptions(CLI::App* command, Arguments* arguments);

}  // namespace film
