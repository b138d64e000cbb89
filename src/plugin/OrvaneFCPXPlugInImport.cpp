// Taking over a project of the standalone application in place of an analysis.

#include <filesystem>
#include <system_error>

#include "analysis/TrackerEstimator.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ParameterReader.h"
#include "plugin/ProjectFile.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

namespace {

/// The file that a project names, for a loader. An empty name, which no loader can open, stands for what is no plain
/// file: a pipe would be waited for, and a device may have no end.
std::string FileOf(const std::string& path, const std::string& package) {
  const std::string full = OrvaneFCPXPlugIn::getFullPath(path, package);
  std::error_code fault;
  return std::filesystem::is_regular_file(full, fault) ? full : std::string();
}

}  // namespace

void OrvaneFCPXPlugIn::doImportProject() {
  if (progressWindow) return progressWindow->bringToFront();
  const auto package = platform->runModalOpenPanel({"Select Orvane project", {"orvane", "ORVANE", "Orvane"}, ""});
  if (!package) return;
  const auto text = ReadUTF8File(*package + "/project.fpf");
  if (!text) {
    showAlert("OrvaneFCPX::ImportMessageBad", "OrvaneFCPX::ImportDetailsNoFPF", 0);
    return;
  }
  auto* setting = _apiManager->apiForProtocol<FxParameterSettingAPI_v2>();
  if (setting) setting->setIntValue(1, kGlobalMode, 0.0);

  const auto project = ParseProjectFile(*text);
  const bool good = project && setting && takeProject(*project, *package, *setting);  // what can't be kept isn't taken
  if (!good)
    showAlert("OrvaneFCPX::ImportMessageBad", "OrvaneFCPX::ImportDetailsBad", 0);
  else if (project->hasDimensions())
    showAlert("OrvaneFCPX::ImportMessageGood", "OrvaneFCPX::ImportDetailsGood", 1);
  else
    showAlert("OrvaneFCPX::ImportMessageGood", "OrvaneFCPX::ImportMissingDimensions", 0);
}

/// True if motion and events were both taken over; what could be taken over stays when a later part fails.
bool OrvaneFCPXPlugIn::takeProject(const ProjectFile& project, const std::string& package,
                                   FxParameterSettingAPI& setting) {
  if (project.hasDimensions()) {
    analysisWide = project.width;
    analysisHigh = project.height;
  }
  const bool motionLoaded = loadProjectMotion(project, package);
  if (!project.hasDimensions()) takeDimensionsOfFirstFrame();
  if (motionLoaded) storeMotion(setting);
  const bool eventsLoaded =
      project.events && motionLoaded && loadProjectEvents(FileOf(*project.events, package), setting);

  // A completer made here completes nothing and has no record of how to ask for frames, and the first render keeps it:
  // a known limit of importing before the first render.
  if (!ObjC_VC) ObjC_VC = std::make_unique<VideoCompleter>();
  if (project.gains) ObjC_VC->loadGains(FileOf(*project.gains, package).c_str());  // not stored: gone on reload
  if (ObjC_MP) {
    ObjC_VC->setGlobalMotion(*ObjC_MP->actualMotion());
    ObjC_VC->setOutputMotion(*ObjC_MP->designMotion());
    if (ObjC_OR) ObjC_OR->setCompensatingMotion(*ObjC_MP->compensatingMotion());
  }
  return eventsLoaded;
}

bool OrvaneFCPXPlugIn::loadProjectMotion(const ProjectFile& project, const std::string& package) {
  if (!project.motion) return false;
  if (!ObjC_TRKME) ObjC_TRKME = std::make_unique<TrackerEstimator>();
  // A path that is missing or empty isn't loaded at all; one that leads nowhere fails to load.
  const auto fileOf = [&](const std::optional<std::string>& path) {
    return path && !path->empty() ? std::optional(FileOf(*path, package)) : std::nullopt;
  };
  const auto motion = fileOf(project.motion), rotation = fileOf(project.rotation),
             confidence = fileOf(project.confidence);
  const auto given = [](const std::optional<std::string>& path) { return path ? path->c_str() : nullptr; };
  return ObjC_TRKME->loadMotion(given(motion), given(rotation), given(confidence));
}

void OrvaneFCPXPlugIn::takeDimensionsOfFirstFrame() {
  auto* images = _apiManager->apiForProtocol<FxTemporalImageAPI>();
  std::unique_ptr<FxImage> frame;
  if (!images || !images->getSourceBitmap(&frame, fullSizeFrameAt(0.0), 0.0)) return;
  analysisWide = frame->width();
  analysisHigh = frame->height();
}

bool OrvaneFCPXPlugIn::loadProjectEvents(const std::string& path, FxParameterSettingAPI& setting) {
  if (ObjC_MP)
    ObjC_MP->clear();
  else
    ObjC_MP = std::make_unique<MotionProcessorFCPX>();
  ObjC_MP->setWidth(analysisWide, analysisHigh);
  const ParameterReader reader(_apiManager->apiForProtocol<FxParameterRetrievalAPI_v2>(), 0.0);
  ObjC_MP->setGlobalMode(reader.intValue(kGlobalMode));
  ObjC_MP->setSmoothingFactor(reader.smoothingFactor());
  ObjC_MP->setInputMotion(*ObjC_TRKME->motion(), *ObjC_TRKME->qamotion(), *ObjC_TRKME->confidence());
  ObjC_MP->setPriorities(reader.intValue(kEventDetection));
  const bool loaded = ObjC_MP->loadEvents(path);
  if (!loaded) ObjC_MP->initialiseEvents();
  ObjC_MP->processMotion();
  storeEvents(setting);
  return loaded;
}
