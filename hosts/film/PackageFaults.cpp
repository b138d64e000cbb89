#include "film/PackageFaults.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "analysis/TrackerEstimator.h"
#include "film/EngineMessages.h"
#include "film/UsableMotion.h"
#include "film/Warnings.h"
#include "planning/LocalCorrect.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ProjectFile.h"
#include "rendering/AGCStorage.h"

namespace film {
namespace {

namespace fs = std::filesystem;

/// The beginnings of a format's forms; a dot stands for any byte.
struct Form {
  const char* format;
  const char* binary;
  const char* text;
};
constexpr Form motionForm{"HSET", "RIFF....HSET", "HSET"}, confidenceForm{"MCONF", "MCONF", "MCONF"},
    eventsForm{"MFP3", "MFP", "MFP"}, gainsForm{"GAINS", "RIFF....AGCG", "GAINS"};

bool beginsWith(const std::string& bytes, const char* head) {
  for (size_t i = 0; head[i] != '\0'; ++i)
    if (i >= bytes.size() || (head[i] != '.' && head[i] != bytes[i])) return false;
  return true;
}

std::string kindFault(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_regular_file(status)) return {};
  if (fs::is_directory(status)) return "is a folder";
  return fs::exists(status) ? "is a device or a pipe" : "is missing";
}

std::string fileFault(const std::string& path, const Form& form) {
  std::string kind = kindFault(path);
  if (!kind.empty()) return kind;
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::string("can't be read (") + std::strerror(errno) + ")";
  std::string head(12, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return beginsWith(head, form.binary) || beginsWith(head, form.text) ? ""
                                                                      : std::string("is no ") + form.format + " file";
}

std::string indexFault(const std::string& package) {
  const std::string kind = kindFault(package);
  if (kind == "is missing") return package + ": is missing";
  if (kind != "is a folder") return package + ": is a file, and projects are folders with a file project.fpf in them";
  const std::string index = package + "/project.fpf", fault = kindFault(index);
  return index + ": " + (fault.empty() ? "can't be read, is larger than any index, or isn't text in UTF-8" : fault);
}

/// Whether a frame can be so many pixels wide or high: more than any codec takes is none.
bool isSide(int pixels) { return pixels > 0 && pixels <= 65'536; }

/// "the motion of 2 frames (4, 7) can't be used"
std::string unusableText(const char* what, const std::vector<int>& frames) {
  return std::string("the ") + what + " of " + CountedFrames(frames) + " can't be used";
}

/// Looks through a package as the effect would take it over.
class Inspection {
 public:
  Inspection(const std::string& folder, const ProjectFile& index) : package(folder), project(index) {
    const auto given = [](const std::string& path) { return path.empty() ? nullptr : path.c_str(); };
    const std::string motion = readable(project.motion, motionForm), rotation = readable(project.rotation, motionForm);
    loaded = estimator.loadMotion(given(motion), given(rotation), nullptr);
  }

  PackageFaults faults() {
    PackageFaults found;
    for (const Vorn::HomographyFrame& frame : estimator.motion()->hset) found.moved.push_back(frame.frame);
    found.fatal = motionFault();
    if (found.fatal.empty()) found.fatal = eventsFault();
    if (loaded) found.useless = whyUseless();
    noteKind(project.rotation, "rotation", motionForm, &found.notes);
    if (loaded) noteRotation(&found.notes);
    noteKind(project.confidence, "confidence", confidenceForm, &found.notes);
    noteConfidence(&found);
    noteKind(project.gains, "gains", gainsForm, &found.notes);
    noteGains(&found.notes);
    return found;
  }

 private:
  std::string index() const { return package + "/project.fpf"; }
  std::string full(const std::string& path) const { return OrvaneFCPXPlugIn::getFullPath(path, package); }

  /// The whole name of a file of the right kind; empty if it is none.
  std::string readable(const std::optional<std::string>& path, const Form& form) const {
    return path && !path->empty() && fileFault(full(*path), form).empty() ? full(*path) : std::string();
  }

  /// What is wrong with a file that the index names, in a line; empty if nothing is.
  std::string dataFault(const std::string& path, const char* holds, const Form& form) const {
    if (path.empty()) return index() + ": names no file as its " + holds;
    const std::string fault = fileFault(full(path), form);
    return fault.empty() ? fault : full(path) + ": " + fault + "; the project names it as its " + holds;
  }

  std::string motionFault() const {
    if (!project.motion) return index() + ": has no section from <motion> to </motion>";
    std::string fault = dataFault(*project.motion, "motion", motionForm);
    if (!fault.empty() || loaded) return fault;
    return full(*project.motion) + ": is damaged, cut short, or claims far more frames than it holds";
  }

  std::string eventsFault() const {
    if (!project.events) return index() + ": has no section from <filters> to </filters>";
    const std::string fault = dataFault(*project.events, "events", eventsForm);
    return fault.empty() ? full(*project.events) + ": is damaged or cut short" : fault;
  }

  std::string whyUseless() {
    if (project.hasDimensions() && !(isSide(project.width) && isSide(project.height)))
      return index() + ": gives its frames " + std::to_string(project.width) + " x " + std::to_string(project.height) +
             " pixels, which none have; put their size there, or leave out width and height to take the clip's";
    if (estimator.motion()->range.data.empty())
      return full(*project.motion) + ": tells no range of frames, without which its motion can't be stored; get a " +
             "whole copy of the project, or run `orvane analyse` on the clip";
    if (const std::vector<int> frames = UnusableMotion(*estimator.motion()); !frames.empty())
      return full(*project.motion) + ": " + unusableText("motion", frames) +
             "; get a whole copy of the project, or run `orvane analyse` on the clip";
    if (const std::vector<int> frames = UnusableRotation(*estimator.qamotion()); !frames.empty())
      return full(*project.rotation) + ": " + unusableText("rotation", frames) +
             "; get a whole copy of the project, or take <premotion> out of project.fpf to do without";
    const std::string events = readable(project.events, eventsForm);
    LocalCorrect plan(nullptr);
    if (!events.empty() && plan.Load(events.c_str()) && !(IsUsablePath(plan.filtersX) && IsUsablePath(plan.filtersY)))
      return events + ": plans a path that leaves every picture, or is none; get a whole copy of the project, or run " +
             "`orvane analyse` on the clip";
    return {};
  }

  void noteKind(const std::optional<std::string>& path, const char* holds, const Form& form,
                std::vector<std::string>* notes) const {
    if (!path) return;
    const std::string fault = dataFault(*path, holds, form);
    if (!fault.empty()) notes->push_back(fault + ", and does without");
  }

  /// Of a rotation that was cut the frames that are left are used.
  void noteRotation(std::vector<std::string>* notes) {
    const std::string file = readable(project.rotation, motionForm);
    if (file.empty()) return;
    const int frames = static_cast<int>(estimator.motion()->hset.size());
    int told = 0;
    for (const Vorn::HomographyFrame& frame : estimator.motion()->hset)
      told += estimator.qamotion()->Index(frame.frame) >= 0 ? 1 : 0;
    if (told == 0)
      notes->push_back(file + ": is damaged or cut short; the project names it as its rotation, and does without");
    else if (told < frames)
      notes->push_back(file + ": is damaged or cut short: it tells the rotation of " + std::to_string(told) +
                       " of the project's " + Counted(frames, "frame", "frames") +
                       ", and the others count as not turned");
    else if (Vorn::HomographySet whole; !whole.Load(file.c_str()))
      notes->push_back(file + ": is damaged behind its frames, which are used");
  }

  void noteConfidence(PackageFaults* found) {
    const std::string file = readable(project.confidence, confidenceForm);
    MotionConfidenceSet confidence;
    if (file.empty()) return;
    if (!confidence.Load(file.c_str()))
      found->notes.push_back(file + ": holds no frames; the project names it as its confidence, and does without");
    found->confidenceFile = file;
    for (const int number : LowConfidenceNumbers(confidence))
      if (estimator.motion()->Index(number) >= 0) found->uncertain.push_back(number);
  }

  void noteGains(std::vector<std::string>* notes) const {
    const std::string file = readable(project.gains, gainsForm);
    if (file.empty()) return;
    notes->push_back(AGCStorage().Load(file.c_str())
                         ? file + ": gains of brightness aren't kept after an import; `orvane analyse --again` " +
                               "measures them anew, and the motion with them"
                         : file + ": is damaged or cut short; the project names it as its gains, and does without");
  }

  const std::string& package;
  const ProjectFile& project;
  TrackerEstimator estimator;
  bool loaded = false;
};

}  // namespace

PackageFaults FindPackageFaults(const std::string& package) {
  const EngineMessages aside;
  const std::optional<std::string> text = ReadUTF8File(package + "/project.fpf");
  const std::optional<ProjectFile> project = text ? ParseProjectFile(*text) : std::nullopt;
  PackageFaults faults;
  if (!text)
    faults.fatal = indexFault(package);
  else if (!project)
    faults.fatal = package + "/project.fpf: has no section from <sequence to </sequence>";
  else
    faults = Inspection(package, *project).faults();
  return faults;
}

}  // namespace film
