#include "plugin/OrvaneFCPXPlugIn.h"

#include "analysis/TrackerEstimator.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

OrvaneFCPXPlugIn::OrvaneFCPXPlugIn(FxAPIManager* apiManager, Platform* desktop)
    : _apiManager(apiManager), platform(desktop) {}

OrvaneFCPXPlugIn::~OrvaneFCPXPlugIn() {
  if (progressWindow) progressWindow->cancelButton();
  passRuns->wait(true);
}

bool OrvaneFCPXPlugIn::addParameters() {
  auto* creation = _apiManager->apiForProtocol<FxParameterCreationAPI_v4>();
  if (!creation) return false;

  creation->addToggleButtonWithName(localised("OrvaneFCPX::DetectSubtitles"), kDetectSubtitles, false,
                                    kFxParameterDefault);
  creation->addPushButtonWithName(
      localised("OrvaneFCPX::AnalysisButtonLabel"), kAnalysisButton, [this] { doAnalysisTask(); }, kFxParameterDefault);
  creation->addPushButtonWithName(
      localised("OrvaneFCPX::ImportProjectButtonLabel"), kImportProjectButton, [this] { doImportProject(); },
      kFxParameterDefault);
  creation->addPopupMenuWithName(localised("OrvaneFCPX::GlobalMode"), kGlobalMode, 1,
                                 {localised("OrvaneFCPX::GlobalNoProc"), localised("OrvaneFCPX::GlobalSmooth"),
                                  localised("OrvaneFCPX::GlobalCancel")},
                                 kFxParameterDefault);
  creation->addIntSliderWithName(localised("OrvaneFCPX::GlobalSmoothing"), kGlobalSmoothing, 100, 1, 100, 1, 100, 1,
                                 kFxParameterDefault);
  creation->addToggleButtonWithName(localised("OrvaneFCPX::RotationDampening"), kRotationDampening, true,
                                    kFxParameterDefault);
  creation->addPopupMenuWithName(localised("OrvaneFCPX::EventDetection"), kEventDetection, 1,
                                 {localised("OrvaneFCPX::NoEvents"), localised("OrvaneFCPX::MotionPriority"),
                                  localised("OrvaneFCPX::BorderPriority")},
                                 kFxParameterDefault);
  creation->addPopupMenuWithName(localised("OrvaneFCPX::RenderingType"), kRenderingType, 2,
                                 {localised("OrvaneFCPX::NaturalMode"), localised("OrvaneFCPX::CropMode"),
                                  localised("OrvaneFCPX::ZoomMode"), localised("OrvaneFCPX::CompleteMode")},
                                 kFxParameterDefault);

  creation->startParameterSubGroup(localised("OrvaneFCPX::ZoomGroup"), kZoomGroup, kFxParameterDefault);
  creation->addPopupMenuWithName(
      localised("OrvaneFCPX::ZoomType"), kZoomType, 0,
      {localised("OrvaneFCPX::ZoomFull"), localised("OrvaneFCPX::ZoomFit"), localised("OrvaneFCPX::ZoomVariable")},
      kFxParameterDefault);
  creation->addFloatSliderWithName(localised("OrvaneFCPX::VariableZoomAmount"), kVariableZoomAmount, 1.0, 1.0, 2.0, 1.0,
                                   2.0, 0.01, kFxParameterHidden);
  creation->endParameterSubGroup();

  creation->startParameterSubGroup(localised("OrvaneFCPX::CropGroup"), kCropGroup, kFxParameterDefault);
  creation->addToggleButtonWithName(localised("OrvaneFCPX::CropCentre"), kCropCentre, true, kFxParameterHidden);
  creation->addToggleButtonWithName(localised("OrvaneFCPX::CropEqual"), kCropEqual, false, kFxParameterHidden);
  creation->addToggleButtonWithName(localised("OrvaneFCPX::CropAspect"), kCropAspect, false, kFxParameterHidden);
  creation->endParameterSubGroup();

  creation->addCustomParameterWithName(localised("OrvaneFCPX::MotionStorage"), kMotionStorage,
                                       std::make_shared<SerialisedMotion>(), kFxParameterStored);
  creation->addCustomParameterWithName(localised("OrvaneFCPX::AGCStorage"), kAGCStorage,
                                       std::make_shared<SerialisedAGC>(), kFxParameterStored);
  creation->addCustomParameterWithName(localised("OrvaneFCPX::EventsStorage"), kEventsStorage,
                                       std::make_shared<SerialisedEvents>(), kFxParameterStored);
  return true;
}

bool OrvaneFCPXPlugIn::getOutputWidth(int* width, int* height, const FxImageInfo& withInput,
                                      const FxRenderInfo& /*withInfo*/) const {
  if (!width || !height) return false;
  *width = withInput.width;
  *height = withInput.height;
  return true;
}

bool OrvaneFCPXPlugIn::frameSetup(const FxRenderInfo& /*renderInfo*/, const FxImageInfo& /*inputInfo*/, bool* hardware,
                                  bool* software) const {
  *hardware = false;
  *software = true;
  return true;
}
