// The render entry: makes the engine objects at first use, feeds them, and renders one frame.

#include <cmath>

#include "analysis/TrackerEstimator.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ParameterReader.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

/// The rendering parameters at the time of one frame.
struct OrvaneFCPXPlugIn::RenderSettings {
  explicit RenderSettings(const ParameterReader& reader)
      : renderMode(reader.intValue(kRenderingType)),
        cropAspect(reader.boolValue(kCropAspect)),
        cropEqual(reader.boolValue(kCropEqual)),
        cropCentre(reader.boolValue(kCropCentre)),
        zoomAmount(reader.floatValue(kVariableZoomAmount)),
        zoomMode(reader.intValue(kZoomType)) {}

  int renderMode;
  bool cropAspect, cropEqual, cropCentre;
  float zoomAmount;
  int zoomMode;
};

namespace {

/// The host numbers its fields the other way round than the engine.
int InterlacingOf(int hostField) { return hostField == 1 ? 2 : hostField == 2 ? 1 : 0; }

}  // namespace

bool OrvaneFCPXPlugIn::renderOutput(FxImage* outputImage, FxImage* withInput, const FxRenderInfo& withInfo) {
  auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
  auto* images = _apiManager->apiForProtocol<FxTemporalImageAPI>();
  auto* timing = _apiManager->apiForProtocol<FxTimingAPI>();
  if (!retrieval || !images || !timing) return false;

  const double time = withInfo.time.frame;
  const RenderSettings settings(ParameterReader(retrieval, time));
  const bool inverted = (withInput ? withInput->imageInfo() : FxImageInfo{}).origin == 0;
  double start = 0.0, duration = 0.0;
  timing->startTimeForEffect(&start);
  timing->durationForEffect(&duration);
  const int firstFrame = static_cast<int>(start), lastFrame = static_cast<int>(duration);

  if (!ObjC_TRKME) createEstimator();
  const bool planChanged = !ObjC_MP;
  if (planChanged) createPlanner(time);
  const bool completerIsNew = !ObjC_VC;
  if (completerIsNew) createCompleter(withInfo);
  ObjC_VC->setSequenceStart(firstFrame);
  ObjC_VC->setSequenceLength(lastFrame - firstFrame + 1);  // the duration is the last frame's number
  updateCompleter(inverted, planChanged || completerIsNew);
  updateRenderer(settings, inverted, planChanged);

  if (!withInput || withInput->imageType() != FxImage::bitmapType) return false;
  const int interlacing = InterlacingOf(withInput->field());
  if (interlaceMode < 0) fixInterlaceMode(interlacing, time);
  ObjC_VC->setInterlace(interlacing);
  ObjC_OR->setRenderWidth(outputImage->width(), outputImage->height());
  ObjC_OR->processFrame(static_cast<float>(time), interlacing, withInput->dataPtr(), outputImage->dataPtr(),
                        withInput->width(), withInput->height(), withInput->rowBytes(), outputImage->width(),
                        outputImage->height(), outputImage->rowBytes());
  if (static_cast<int>(time) == lastFrame) ObjC_VC->releaseCaches();
  return true;
}

void OrvaneFCPXPlugIn::createEstimator() {
  ObjC_TRKME = std::make_unique<TrackerEstimator>();
  auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
  const auto stored = StoredParameter<SerialisedMotion>(*retrieval, kMotionStorage);
  if (!stored) return;
  stored->getAnalysisWidth(&analysisWide, &analysisHigh);
  ObjC_TRKME->setMotion(*stored->getMotion(), *stored->getConfidence());
  *ObjC_TRKME->qamotion() = *stored->getQAMotion();  // else rotation dampening would be lost on reload
  ObjC_TRKME->setAnalysisWidth(analysisWide, analysisHigh);
}

void OrvaneFCPXPlugIn::createPlanner(double time) {
  ObjC_MP = std::make_unique<MotionProcessorFCPX>();
  ObjC_MP->setWidth(analysisWide, analysisHigh);
  auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
  const ParameterReader reader(retrieval, time);
  ObjC_MP->setGlobalMode(reader.intValue(kGlobalMode));
  ObjC_MP->setSmoothingFactor(reader.smoothingFactor());
  ObjC_MP->setRotationEnabled(reader.boolValue(kRotationDampening));
  ObjC_MP->setPriorities(reader.intValue(kEventDetection));
  const auto stored = StoredParameter<SerialisedEvents>(*retrieval, kEventsStorage);
  ObjC_MP->setInputMotion(*ObjC_TRKME->motion(), *ObjC_TRKME->qamotion(), *ObjC_TRKME->confidence());
  if (stored && stored->hasEvents())
    ObjC_MP->setLoadedEventsH(*stored->eventsX(), *stored->eventsY(), *stored->filtersX(), *stored->filtersY());
  else
    ObjC_MP->initialiseEvents();
  ObjC_MP->processMotion();
}

void OrvaneFCPXPlugIn::createCompleter(const FxRenderInfo& renderInfo) {
  ObjC_VC = std::make_unique<VideoCompleter>(renderInfo);
  ObjC_VC->setSequence(_apiManager->apiForProtocol<FxTemporalImageAPI>());
  const auto stored =
      StoredParameter<SerialisedAGC>(*_apiManager->apiForProtocol<FxParameterRetrievalAPI>(), kAGCStorage);
  if (stored) ObjC_VC->setGains(stored->data(), 0);
}

void OrvaneFCPXPlugIn::updateCompleter(bool inverted, bool motionIsNews) {
  ObjC_VC->setInvertAxes(inverted);
  ObjC_VC->setAnalysisWidth(analysisWide, analysisHigh);
  ObjC_VC->setEnableAGC(true);
  if (!motionIsNews) return;
  ObjC_VC->setGlobalMotion(*ObjC_MP->actualMotion());
  ObjC_VC->setOutputMotion(*ObjC_MP->designMotion());
}

void OrvaneFCPXPlugIn::updateRenderer(const RenderSettings& settings, bool inverted, bool planChanged) {
  const bool isNew = !ObjC_OR;
  if (isNew) {
    ObjC_OR = std::make_unique<OutputRenderer>();
    ObjC_OR->setCompleter(ObjC_VC.get());
  }
  ObjC_OR->setGoodFrames(*ObjC_MP->goodFrames());
  ObjC_OR->setHighQuality(false);
  ObjC_OR->setRenderMode(settings.renderMode);
  ObjC_OR->setZoomMode(settings.zoomMode);
  ObjC_OR->setZoomAmount(settings.zoomAmount);
  ObjC_OR->setCropAspect(settings.cropAspect, settings.cropEqual, settings.cropCentre);
  if (planChanged || isNew) ObjC_OR->setCompensatingMotion(*ObjC_MP->compensatingMotion());
  ObjC_OR->setWidth(analysisWide, analysisHigh);
  ObjC_OR->setInvertedAxes(inverted);
  ObjC_OR->setBorder(ObjC_MP->border());  // last: it derives from all that was set before it
}

void OrvaneFCPXPlugIn::fixInterlaceMode(int interlacing, double time) {
  const auto narrowed = static_cast<float>(time);
  const bool halfFrame = narrowed > std::trunc(narrowed);
  // At a whole time the order to record is the opposite of the field in hand.
  interlaceMode = interlacing == 0 || halfFrame ? interlacing : 3 - interlacing;
}
