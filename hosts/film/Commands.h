#pragma once

#include <optional>
#include <string>

#include "film/Failure.h"
#include "film/MovieWriter.h"
#include "film/Session.h"

// What the program does, one function a command. Each returns the exit status or throws a `Failure`.
namespace film {

struct RenderOptions {
  std::string out;
  bool force = false;  ///< OUT may exist
  std::optional<int> from, to;
  bool preview = false;  ///< ten seconds at half size
  EncoderOptions encoder;
};

struct ExportOptions {
  std::string motion, rotation, confidence, events, gains, compensation, design;  ///< files; empty for not wanted
  std::string package;                                                            ///< a folder, likewise
  bool force = false;                                                             ///< `package` may exist
};

struct CompareOptions {
  std::string a, b;
  std::string layout = "side";  ///< or "split" or "difference"
  std::string fields;           ///< of both: "top", "bottom" or "none"; else each clip tells
};

struct PresetsOptions {
  std::string save;  ///< the file to write; empty to list what there is
  std::string clip;  ///< whose settings it gets
  std::string effectPath;
  bool force = false, json = false;
};

struct ConvertOptions {
  std::string in, out;
  bool force = false;  ///< OUT may exist
};

/// `tracks`: the file for the features that the analysis follows, or empty. With a stored analysis they are
/// followed once more, and what is stored stays.
ExitStatus Analyse(const SessionOptions& options, const std::string& tracks = {});
ExitStatus Render(const SessionOptions& options, const RenderOptions& render);
/// `tracks`: as for `Analyse`.
ExitStatus Stabilise(const SessionOptions& options, const RenderOptions& render, const std::string& tracks = {});
/// Tells what is stored for a clip, or what one of the program's own files or projects holds.
ExitStatus Show(const SessionOptions& options, bool json);
/// Writes one of the program's own files in its present form, or as a table.
ExitStatus Convert(const ConvertOptions& options);
/// Tells what the settings would do; changed ones aren't kept.
ExitStatus Plan(const SessionOptions& options, bool json);
/// Writes a film of two clips for comparing them.
ExitStatus Compare(const CompareOptions& options, const RenderOptions& render, ProgressStyle style);
/// Writes a film of the clip as filmed with what the analysis saw and what the plan does drawn on it. Settings that are
/// given are tried and not kept.
ExitStatus Overlay(const SessionOptions& options, const RenderOptions& render);
/// Lists the built-in presets, or writes a clip's settings as one.
ExitStatus Presets(const PresetsOptions& options);
/// Takes over a project of the standalone application, a folder, in place of an analysis.
ExitStatus Import(const SessionOptions& options, const std::string& package);
ExitStatus Export(const SessionOptions& options, const ExportOptions& files);
ExitStatus ShowParameters(bool json);
ExitStatus Sample(const std::string& out, const std::string& truth, bool force, ProgressStyle progress);

}  // namespace film
