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
  EncoderOptions encoder;
};

struct ExportOptions {
  std::string motion, rotation, confidence, events, gains, compensation, design;  ///< files; empty for not wanted
};

ExitStatus Analyse(const SessionOptions& options);
ExitStatus Render(const SessionOptions& options, const RenderOptions& render);
ExitStatus Stabilise(const SessionOptions& options, const RenderOptions& render);
ExitStatus Show(const SessionOptions& options, bool json);
ExitStatus Export(const SessionOptions& options, const ExportOptions& files);
ExitStatus ShowParameters(bool json);
ExitStatus Sample(const std::string& out, const std::string& truth, bool force, ProgressStyle progress);

}  // namespace film
