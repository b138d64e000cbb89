#include <cstdio>

#include "film/Commands.h"
#include "film/Failure.h"
#include "film/FrameNumbers.h"
#include "film/PackageFaults.h"
#include "film/ProjectPackage.h"
#include "film/Summary.h"

namespace film {
namespace {

bool isForPeople(ProgressStyle style) { return style == ProgressStyle::Bar || style == ProgressStyle::Lines; }

[[noreturn]] void failToImport(const Session& session, const std::string& package, const ProjectImport& result,
                               const PackageFaults& faults) {
  std::string line = package + ": " + result.text + " (" + faults.fatal;
  if (result.motionReplaced) line += "; its motion is kept in " + session.documentPath() + " all the same";
  throw Failure(line + ")");
}

/// Fails if none of the motion is of the clip's frames.
void checkIsOfClip(const ClipContents& clip, const std::string& package, const PackageFaults& faults) {
  const std::vector<int> frames = FramesOf(clip, faults.moved);
  const int last = clip.identity.frames - 1;
  if (frames.empty() || (frames.front() <= last && frames.back() >= 0)) return;
  throw Failure(package + ": its motion is that of the frames " + std::to_string(frames.front()) + " to " +
                std::to_string(frames.back()) + ", and " + clip.path + " has 0 to " + std::to_string(last) +
                "; import it for the clip that it was made of");
}

/// What the alert doesn't say.
std::vector<std::string> notesOn(Session& session, const std::string& package, const PackageFaults& faults) {
  std::vector<std::string> notes = faults.notes;
  if (const std::vector<int> frames = FramesOf(session.contents(), faults.uncertain); !frames.empty())
    notes.push_back(faults.confidenceFile + ": gives low confidence to " + CountedFrames(frames) +
                    ", which count as certain once imported");
  if (const int beyond = session.effect().framesBeyondClip(); beyond > 0)
    notes.push_back(package + ": its motion goes on for " + Counted(beyond, "frame", "frames") +
                    " behind the clip's end; is it of another clip?");
  if (session.needsAnalysis())
    notes.push_back(package + ": its motion covers " + std::to_string(session.effect().analysedFrames()) +
                    " of the clip's " + Counted(session.contents().identity.frames, "frame", "frames") +
                    "; `orvane render` leaves the others as they are, `orvane stabilise` analyses the clip anew");
  return notes;
}

void tell(const Session& session, const std::string& package, const ProjectImport& result,
          const std::vector<std::string>& notes) {
  const ProgressStyle style = session.progressStyle();
  if (style != ProgressStyle::None || !result.hasSize)
    std::fprintf(stderr, "orvane: %s: %s\n", OnOneLine(package).c_str(), result.text.c_str());
  if (isForPeople(style))
    for (const std::string& note : notes) std::fprintf(stderr, "orvane: %s\n", OnOneLine(note).c_str());
}

}  // namespace

ExitStatus Import(const SessionOptions& options, const std::string& given) {
  const std::string package = PackageName(given);
  Session session(options);
  session.checkDocumentCanBeWritten();
  const PackageFaults faults = FindPackageFaults(package);
  if (!faults.useless.empty()) throw Failure(faults.useless);  // before it takes the place of what is stored
  checkIsOfClip(session.contents(), package, faults);
  const std::optional<ProjectImport> result = session.importProject(package);
  if (!result) throw Failure(package + ": the effect takes no such project");
  if (!result->good) failToImport(session, package, *result, faults);
  const std::vector<std::string> notes = notesOn(session, package, faults);
  tell(session, package, *result, notes);
  const std::vector<Warning> warnings = TellWarnings(session);
  PrintSummary(session, {options.clip, session.contents().identity.frames, 0, warnings, notes});
  return kDone;
}

}  // namespace film
