#include "film/Commands.h"

#include <cstdio>

#include "film/Interrupt.h"
#include "film/JsonText.h"
#include "film/ParameterTable.h"
#include "film/Report.h"
#include "film/RunFiles.h"
#include "film/SampleClip.h"
#include "film/SampleMotion.h"
#include "film/StoredFormat.h"
#include "film/Summary.h"
#include "film/TracksRecorder.h"

namespace film {

namespace {

/// Says that the stored analysis is used, and shows it to programs.
void tellAnalysedBefore(Session& session, const SessionOptions& options) {
  if (options.progress == ProgressStyle::Bar || options.progress == ProgressStyle::Lines)
    std::printf("%s: analysed before; --again analyses it anew\n", options.clip.c_str());
  if (options.progress == ProgressStyle::Json) {
    session.effect().showFirstFrame();
    PrintSummary(session, {options.clip, session.contents().identity.frames});
  }
}

}  // namespace

ExitStatus Analyse(const SessionOptions& options, const std::string& tracks) {
  TracksRecorder recorder(tracks, options.clip);
  Session session(options);
  if (session.needsAnalysis()) session.checkDocumentCanBeWritten();
  session.applySettings();
  if (!session.needsAnalysis()) {
    if (!recorder.follow(session)) return Cancelled("nothing was written to " + tracks);
    recorder.finish();
    tellAnalysedBefore(session, options);
    return kDone;
  }
  const std::optional<double> rate = session.analyse(recorder.watcher());
  if (!rate) return Cancelled(KeptAnalysis(session));
  recorder.finish();
  const std::vector<Warning> warnings = TellWarnings(session);
  PrintSummary(session, {options.clip, session.contents().identity.frames, *rate, warnings});
  return kDone;
}

namespace {

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::string faultsOf(const Description& faults) {
  std::string text = faults.front();
  if (faults.size() > 1) text += " (and " + std::to_string(faults.size() - 1) + " more, see --json)";
  return text + "; get a whole copy of the project";
}

/// Tells what can be read of a file, and only then that it is damaged.
ExitStatus showFile(const StoredFormat& format, const std::string& path, bool json) {
  const Description description = Describe(format, path);
  if (Interrupted()) return Cancelled("nothing was changed");
  print(json ? JsonText(description, 1) + "\n" : TextOf(format, path, description));
  if (description["complete"]) return kDone;
  if (description.contains("faults")) throw Failure(faultsOf(description["faults"]));
  throw Failure(path + ": this " + format.name +
                " file is damaged or was cut short, and only what could be read is told; get a whole copy of it");
}

}  // namespace

ExitStatus Show(const SessionOptions& options, bool json) {
  CheckReadable(options.clip);
  if (const StoredFormat* format = AnyFormatOf(options.clip)) return showFile(*format, options.clip, json);
  Session session(options);
  if (session.effect().holdsAnalysis()) session.effect().showFirstFrame();
  const nlohmann::ordered_json description = DescribeEffect(session);
  std::printf("%s", json ? (JsonText(description, 1) + "\n").c_str() : TextOf(description).c_str());
  return kDone;
}

ExitStatus ShowParameters(bool json) {
  const nlohmann::ordered_json parameters = DescribeDeclaredParameters();
  std::printf("%s", json ? (JsonText(parameters, 1) + "\n").c_str() : TableOf(parameters).c_str());
  return kDone;
}

ExitStatus Sample(const std::string& out, const std::string& truth, bool force, ProgressStyle progressStyle) {
  CheckOutput(out, force);
  if (!truth.empty()) CheckOutput(truth, force, ".json");
  Progress progress(progressStyle, ProgressStream(progressStyle), "Drawing", sampleFrames);
  WriteSampleClip(out, truth, [&](int frames) {
    progress.update(frames);
    return !Interrupted();
  });
  return kDone;
}

}  // namespace film
