// The analysis: one pass over the clip on a worker, then the plan, stored on the main thread.

#include <cmath>
#include <cstdio>
#include <utility>

#include "analysis/TrackerEstimator.h"
#include "numerics/Log.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ParameterReader.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

/// What one pass over the clip needs and where it stands. Frame numbers count fields on interlaced material.
struct OrvaneFCPXPlugIn::AnalysisPass {
  FxTemporalImageAPI* images = nullptr;
  FxProgressAPI* progress = nullptr;
  std::shared_ptr<ProgressWindow> window;
  float start = 0.0f, end = 0.0f;  // times, both inclusive
  int first = 0, last = 0, index = 0;
  float time = 0.0f, step = 1.0f;
};

namespace {

/// Which field of the frame at `time` is to be rebuilt from the other one: 0 none, 1 the odd rows, 2 the even ones.
int WeaveAt(float time, int interlaceMode) {
  if (interlaceMode != 1 && interlaceMode != 2) return 0;
  const bool whole = time == std::trunc(time);
  return whole ? interlaceMode : 3 - interlaceMode;
}

}  // namespace

FxRenderInfo OrvaneFCPXPlugIn::fullSizeFrameAt(double time) {
  FxRenderInfo info;
  info.time.frame = time;
  info.qualityLevel = 2;
  info.scaleX = info.scaleY = 1.0;
  info.depth = 3;
  return info;
}

std::string OrvaneFCPXPlugIn::getFullPath(const std::string& path, const std::string& prefix) {
  if (path.empty() || path.front() == '/') return path;
  return prefix + "/" + path;
}

void OrvaneFCPXPlugIn::doAnalysisTask() {
  if (progressWindow) return progressWindow->bringToFront();

  auto pass = std::make_shared<AnalysisPass>();
  auto* timing = _apiManager->apiForProtocol<FxTimingAPI>();
  pass->images = _apiManager->apiForProtocol<FxTemporalImageAPI>();
  pass->progress = _apiManager->apiForProtocol<FxProgressAPI>();
  double start = 0.0, end = 0.0;
  timing->startTimeForEffect(&start);
  timing->durationForEffect(&end);  // used as the last time as it stands
  pass->start = static_cast<float>(start);
  pass->end = static_cast<float>(end);

  progressWindow = pass->window = std::make_shared<ProgressWindow>(*platform);
  pass->window->setMessage("Analyzing motion");
  pass->window->setInformation("Initializing...");

  if (ObjC_TRKME)
    ObjC_TRKME->clear();
  else
    ObjC_TRKME = std::make_unique<TrackerEstimator>();
  const ParameterReader reader(_apiManager->apiForProtocol<FxParameterRetrievalAPI_v2>(), start);
  ObjC_TRKME->setDetectSubtitles(reader.boolValue(kDetectSubtitles));
  ObjC_TRKME->setFBPolicy(3, 5);

  *passRuns = true;
  platform->dispatchAsyncGlobal([this, pass, runs = passRuns] {
    runAnalysisPass(*pass);
    *runs = false;
    runs->notify_all();
  });
}

void OrvaneFCPXPlugIn::runAnalysisPass(AnalysisPass& pass) {
  pass.first = static_cast<int>(pass.start);
  pass.last = static_cast<int>(pass.end);
  pass.index = pass.first;
  pass.time = pass.start;
  ObjC_TRKME->setRange(pass.first, pass.last);
  while (pass.time <= pass.end && analyseFrame(pass)) {
    pass.time += pass.step;
    ++pass.index;
    if (pass.window->wasCancelled()) {
      pass.last = static_cast<int>(pass.time);  // in frames, on fields too
      break;
    }
  }
  ObjC_TRKME->finaliseFrom(pass.first, pass.last);

  // The window goes along: it is the main thread that gives it up.
  platform->dispatchAsyncMain([this, living = std::weak_ptr<char>(alive), window = std::move(pass.window)] {
    window->hideAndClose();
    if (living.expired()) return;
    progressWindow.reset();
    storeAnalysis();
  });
}

bool OrvaneFCPXPlugIn::analyseFrame(AnalysisPass& pass) {
  platform->runMainLoopFor(0.001);  // the host's frame request needs its main loop to turn
  std::unique_ptr<FxImage> frame;
  if (!pass.images->getSourceBitmap(&frame, fullSizeFrameAt(pass.time), pass.time)) {
    Vorn::Log("Could not access needed frame %f", static_cast<double>(pass.time));
    return false;
  }
  const int weave = WeaveAt(pass.time, interlaceMode);
  if (pass.time == pass.start) beginAnalysis(pass, *frame, weave);
  ObjC_TRKME->processFrame(pass.index, weave, frame->dataPtr(), frame->width(), frame->height(), frame->rowBytes());
  analysisWide = frame->width();
  analysisHigh = frame->height();
  reportProgress(pass);
  return true;
}

void OrvaneFCPXPlugIn::beginAnalysis(AnalysisPass& pass, const FxImage& frame, int weave) {
  if (weave != 0) {
    pass.index = static_cast<int>(2.0f * pass.time);
    pass.first *= 2;
    pass.last *= 2;
    ObjC_TRKME->setRange(pass.first, pass.last);
    pass.step = 0.5f;
  }
  ObjC_TRKME->setAxesInverted(frame.imageInfo().origin == 0);
  ObjC_TRKME->setAnalysisWidth(frame.width(), frame.height());
  ObjC_TRKME->setTrackOptionsWindow(15, -1, 200.0f, 80, 0.2f, 25);
  ObjC_TRKME->setMotionOptions(false, true, 5, 2.0f);
}

void OrvaneFCPXPlugIn::reportProgress(const AnalysisPass& pass) {
  platform->dispatchAsyncMain([living = std::weak_ptr<char>(alive), progress = pass.progress, window = pass.window,
                               first = pass.first, last = pass.last, index = pass.index] {
    if (living.expired()) return;  // the host's services may be gone with the effect
    const double percent = last == first ? 0.0 : (index - first + 1) * 100.0 / (last - first + 1);
    progress->updateProgress(percent);
    window->setProgress(percent);
    window->setInformation(std::to_string(static_cast<int>(percent)) + "% complete");
  });
}

void OrvaneFCPXPlugIn::storeAnalysis() {
  planStoredAnalysis();
  const bool cancelsAllMotion = ObjC_MP->globalMotionMode == 2;  // such a plan is expected to lose the frame
  if (!ObjC_MP->goodCrop() && !cancelsAllMotion) fallBackToNatural();
  auto& setting = *_apiManager->apiForProtocol<FxParameterSettingAPI>();
  storeEvents(setting);
  storeMotion(setting);
  storeGains(setting);
  if (ObjC_VC) {
    ObjC_VC->setGains(ObjC_TRKME->getAGC(), 0);
    ObjC_VC->setGlobalMotion(*ObjC_MP->actualMotion());
    ObjC_VC->setOutputMotion(*ObjC_MP->designMotion());
  }
  if (ObjC_OR) ObjC_OR->setCompensatingMotion(*ObjC_MP->compensatingMotion());
}

void OrvaneFCPXPlugIn::planStoredAnalysis() {
  if (ObjC_MP)
    ObjC_MP->clear();
  else
    ObjC_MP = std::make_unique<MotionProcessorFCPX>();
  ObjC_MP->setWidth(analysisWide, analysisHigh);
  const ParameterReader reader(_apiManager->apiForProtocol<FxParameterRetrievalAPI_v2>(), 0.0);
  ObjC_MP->setGlobalMode(reader.intValue(kGlobalMode));
  ObjC_MP->setSmoothingFactor(reader.smoothingFactor());
  ObjC_MP->setRotationEnabled(reader.boolValue(kRotationDampening));
  ObjC_MP->setInputMotion(*ObjC_TRKME->motion(), *ObjC_TRKME->qamotion(), *ObjC_TRKME->confidence());
  ObjC_MP->setPriorities(reader.intValue(kEventDetection));
  ObjC_MP->initialiseEvents();
  ObjC_MP->processMotion();
}

void OrvaneFCPXPlugIn::fallBackToNatural() {
  _apiManager->apiForProtocol<FxParameterSettingAPI>()->setIntValue(0, kRenderingType, 0.0);
  showAlert("OrvaneFCPX::BorderBadMessage", "OrvaneFCPX::BorderBadDetails", 0);
}

void OrvaneFCPXPlugIn::showAlert(const char* message, const char* details, int style) {
  platform->beginAlertSheet({localised("OrvaneFCPX::OK"), localised(message), localised(details), style});
}

void OrvaneFCPXPlugIn::storeEvents(FxParameterSettingAPI& setting) {
  auto events = std::make_shared<SerialisedEvents>();
  events->setEventsX(*ObjC_MP->eventsX(), *ObjC_MP->eventsY());
  events->setFiltersX(*ObjC_MP->filtersX(), *ObjC_MP->filtersY());
  setting.setCustomParameterValue(events, kEventsStorage);
}

void OrvaneFCPXPlugIn::storeMotion(FxParameterSettingAPI& setting) {
  auto motion = std::make_shared<SerialisedMotion>();
  motion->setMotion(*ObjC_TRKME->motion(), *ObjC_TRKME->qamotion(), *ObjC_TRKME->confidence());
  motion->setAnalysisWidth(analysisWide, analysisHigh);
  setting.setCustomParameterValue(motion, kMotionStorage);
}

void OrvaneFCPXPlugIn::storeGains(FxParameterSettingAPI& setting) {
  auto gains = std::make_shared<SerialisedAGC>();
  gains->setData(*ObjC_TRKME->getAGC());
  setting.setCustomParameterValue(gains, kAGCStorage);
}
