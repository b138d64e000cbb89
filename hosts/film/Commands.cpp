#include "film/Commands.h"

#include <cstdio>

#include "film/Interrupt.h"
#include "film/ParameterTable.h"
#include "film/Report.h"
#include "film/RunFiles.h"
#include "film/SampleClip.h"
#include "film/SampleMotion.h"
#include "film/Summary.h"

namespace film {

ExitStatus Analyse(const SessionOptions& options) {
  Session session(options);
  session.checkDocumentCanBeWritten();
  session.applySettings();
  if (!session.needsAnalysis()) {
    if (options.progress == ProgressStyle::Bar || options.progress == ProgressStyle::Lines)
      std::printf("%s: analysed before; --again analyses it anew\n", options.clip.c_str());
    if (options.progress == ProgressStyle::Json) {
      session.effect().showFirstFrame();
      PrintSummary(session, options.clip, session.contents().identity.frames, 0.0, {});
    }
    return kDone;
  }
  const std::optional<double> rate = session.analyse();
  if (!rate) return Cancelled(KeptAnalysis(session));
  const std::vector<Warning> warnings = TellWarnings(session);
  PrintSummary(session, options.clip, session.contents().identity.frames, *rate, warnings);
  return kDone;
}

ExitStatus Show(const SessionOptions& options, bool json) {
  Session session(options);
  if (session.effect().holdsAnalysis()) session.effect().showFirstFrame();
  const nlohmann::ordered_json description = DescribeEffect(session);
  std::printf("%s", json ? (description.dump(1) + "\n").c_str() : TextOf(description).c_str());
  return kDone;
}

ExitStatus ShowParameters(bool json) {
  const nlohmann::ordered_json parameters = DescribeDeclaredParameters();
  std::printf("%s", json ? (parameters.dump(1) + "\n").c_str() : TableOf(parameters).c_str());
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
