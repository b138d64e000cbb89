#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "film/Arguments.h"

// The options that commands share.
namespace film {

/// How a run shows itself, its log and its threads.
void AddRunOptions(CLI::App* command, Arguments* arguments);
/// The clip's document, with the options of a run; `AddClipOptions` adds the clip to them.
void AddDocumentOptions(CLI::App* command, Arguments* arguments);
void AddClipOptions(CLI::App* command, Arguments* arguments);
/// The order of an interlaced clip's fields.
void AddFieldsOption(CLI::App* command, std::string* fields, const std::string& help);
/// The effect's settings.
void AddSettingOptions(CLI::App* command, Arguments* arguments);
/// A short look at half size.
void AddPreviewOption(CLI::App* command, Arguments* arguments);
/// Presets of settings, and for a command that encodes the encoder's too.
void AddPresetOption(CLI::App* command, Arguments* arguments);
/// The limit of the zoom.
void AddZoomLimitOption(CLI::App* command, Arguments* arguments);
/// One clip, or several and folders, with -j.
void AddSeveralClipsOptions(CLI::App* command, Arguments* arguments);
void AddAnalysisOptions(CLI::App* command, Arguments* arguments);
/// The part of the clip to write.
void AddSpanOptions(CLI::App* command, Arguments* arguments);
/// Has no option of the program or its commands take an empty value for none.
void RefuseEmptyValues(CLI::App* app);
/// The file to write and its encoder.
void AddRenderOptions(CLI::App* command, Arguments* arguments);

/// What was given to a command as options that a run on one clip of several gets too.
std::vector<std::string> HandedOn(const CLI::App& command);

}  // namespace film
