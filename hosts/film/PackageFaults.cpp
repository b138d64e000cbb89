#include "film/PackageFaults.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "analysis/TrackerEstimator.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ProjectFile.h"

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

/// What is wrong with a file that the index names, in a line; empty if nothing is.
std::string dataFault(const std::string& package, const std::string& path, const char* holds, const Form& form) {
  if (path.empty()) return package + "/project.fpf: names no file as its " + holds;
  const std::string full = OrvaneFCPXPlugIn::getFullPath(path, package), fault = fileFault(full, form);
  return fault.empty() ? fault : full + ": " + fault + "; the project names it as its " + holds;
}

std::string indexFault(const std::string& package) {
  const std::string kind = kindFault(package);
  if (kind == "is missing") return package + ": is missing";
  if (kind != "is a folder") return package + ": is a file, and projects are folders with a file project.fpf in them";
  const std::string index = package + "/project.fpf", fault = kindFault(index);
  return index + ": " + (fault.empty() ? "can't be read, is larger than any index, or isn't text in UTF-8" : fault);
}

std::string motionFault(const std::string& package, const ProjectFile& project) {
  if (!project.motion) return package + "/project.fpf: has no section from <motion> to </motion>";
  std::string fault = dataFault(package, *project.motion, "motion", motionForm);
  if (!fault.empty()) return fault;
  const std::string full = OrvaneFCPXPlugIn::getFullPath(*project.motion, package);
  return TrackerEstimator().loadMotion(full.c_str(), nullptr, nullptr)
             ? ""
             : full + ": is damaged, cut short, or claims far more frames than it holds";
}

std::string eventsFault(const std::string& package, const ProjectFile& project) {
  if (!project.events) return package + "/project.fpf: has no section from <filters> to </filters>";
  const std::string fault = dataFault(package, *project.events, "events", eventsForm);
  return fault.empty() ? OrvaneFCPXPlugIn::getFullPath(*project.events, package) + ": is damaged or cut short" : fault;
}

void noteFault(const std::string& package, const std::optional<std::string>& path, const char* holds, const Form& form,
               std::vector<std::string>* notes) {
  if (!path) return;
  const std::string fault = dataFault(package, *path, holds, form);
  if (!fault.empty()) notes->push_back(fault + ", and does without");
}

}  // namespace

PackageFaults FindPackageFaults(const std::string& package) {
  PackageFaults faults;
  const std::optional<std::string> text = ReadUTF8File(package + "/project.fpf");
  if (!text) {
    faults.fatal = indexFault(package);
    return faults;
  }
  const std::optional<ProjectFile> project = ParseProjectFile(*text);
  if (!project) {
    faults.fatal = package + "/project.fpf: has no section from <sequence to </sequence>";
    return faults;
  }
  faults.fatal = motionFault(package, *project);
  if (faults.fatal.empty()) faults.fatal = eventsFault(package, *project);
  noteFault(package, project->rotation, "rotation", motionForm, &faults.notes);
  noteFault(package, project->confidence, "confidence", confidenceForm, &faults.notes);
  noteFault(package, project->gains, "gains", gainsForm, &faults.notes);
  return faults;
}

}  // namespace film
