#include <cstdio>

#include "film/Commands.h"
#include "film/PackageFaults.h"
#include "film/ProjectPackage.h"
#include "film/Summary.h"

namespace film {
namespace {

bool isForPeople(ProgressStyle style) { return style == ProgressStyle::Bar || style == ProgressStyle::Lines; }

[[noreturn]] void failToImport(const Session& session, const std::string& package, const ProjectImport& result) {
  std::string line = package + ": " + result.text + " (" + FindPackageFaults(package).fatal;
  if (result.motionReplaced) line += "; its motion is kept in " + session.documentPath() + " all the same";
  throw Failure(line + ")");
}

/// What the alert says, and what it doesn't.
void tell(Session& session, const std::string& package, const ProjectImport& result) {
  const ProgressStyle style = session.progressStyle();
  if (style != ProgressStyle::None || !result.hasSize)
    std::fprintf(stderr, "orvane: %s: %s\n", package.c_str(), result.text.c_str());
  if (!isForPeople(style)) return;
  for (const std::string& note : FindPackageFaults(package).notes) std::fprintf(stderr, "orvane: %s\n", note.c_str());
  if (const int beyond = session.effect().framesBeyondClip(); beyond > 0)
    std::fprintf(stderr, "orvane: %s: its motion goes on for %d frames behind the clip's end; is it of another clip?\n",
                 package.c_str(), beyond);
  if (session.needsAnalysis())
    std::fprintf(stderr,
                 "orvane: %s: its motion covers %d of the clip's %d frames; `orvane render` leaves the others as they "
                 "are, `orvane stabilise` analyses the clip anew\n",
                 package.c_str(), session.effect().analysedFrames(), session.contents().identity.frames);
}

}  // namespace

ExitStatus Import(const SessionOptions& options, const std::string& given) {
  const std::string package = PackageName(given);
  Session session(options);
  session.checkDocumentCanBeWritten();
  const std::optional<ProjectImport> result = session.importProject(package);
  if (!result) throw Failure(package + ": the effect takes no such project");
  if (!result->good) failToImport(session, package, *result);
  tell(session, package, *result);
  const std::vector<Warning> warnings = TellWarnings(session);
  PrintSummary(session, {options.clip, session.contents().identity.frames, 0, warnings});
  return kDone;
}

}  // namespace film
