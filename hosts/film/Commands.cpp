#include "film/Commands.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "film/Interrupt.h"
#include "film/JsonText.h"
#include "film/ParameterTable.h"
#include "film/Report.h"
#include "film/RunFiles.h"
#include "film/SampleClip.h"
#include "film/SampleMotion.h"
#include "film/StoredFormat.h"
#include "film/Summary.h"
#include "film/TracksFile.h"

namespace film {

namespace {

AnalysisWatcher watcherFor(TracksFile* tracks) {
  return
      [tracks](int number, const SharedPicture&, const TrackerEstimator& analysis) { tracks->add(number, analysis); };
}

/// Follows the features of a clip whose analysis stays as it is; false when the user cancelled.
bool recordTracks(Session& session, TracksFile* tracks) {
  Progress progress(session.progressStyle(), ProgressStream(session.progressStyle()), "Tracking",
                    session.contents().identity.frames);
  return session.watchAnalysis([&](int frames) { progress.update(frames); }, Interrupted, watcherFor(tracks));
}

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
  std::unique_ptr<TracksFile> file;
  if (!tracks.empty())
    file = std::make_unique<TracksFile>(tracks, std::filesystem::path(options.clip).filename().string());
  Session session(options);
  session.checkDocumentCanBeWritten();
  session.applySettings();
  if (!session.needsAnalysis()) {
    if (file && !recordTracks(session, file.get())) return Cancelled("nothing was written to " + tracks);
    if (file) file->finish();
    tellAnalysedBefore(session, options);
    return kDone;
  }
  const std::optional<double> rate = session.analyse(file ? watcherFor(file.get()) : nullptr);
  if (!rate) return Cancelled(KeptAnalysis(session));
  if (file) file->finish();
  const std::vector<Warning> warnings = TellWarnings(session);
  PrintSummary(session, {options.clip, session.contents().identity.frames, *rate, warnings});
  return kDone;
}

namespace {

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

/// Tells what can be read of a file, and only then that it is damaged.
ExitStatus showFile(const StoredFormat& format, const std::string& path, bool json) {
  const Description description = format.describe(path);
  if (Interrupted()) return Cancelled("nothing was changed");
  print(json ? JsonText(description, 1) + "\n" : TextOf(format, path, description));
  if (description["complete"]) return kDone;
  throw Failure(path + ": this " + format.name +
                " file is damaged or was cut short, and only what could be read is told; get a whole copy of it");
}

}  // namespace

ExitStatus Show(const SessionOptions& options, bool json) {
  if (const StoredFormat* format = FormatOf(options.clip)) return showFile(*format, options.clip, json);
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
  if (!truth.empty()) CheckOutput(truth, force);
  Progress progress(progressStyle, ProgressStream(progressStyle), "Drawing", sampleFrames);
  WriteSampleClip(out, truth, [&](int frames) {
    progress.update(frames);
    return !Interrupted();
  });
  return kDone;
}

}  // namespace film
