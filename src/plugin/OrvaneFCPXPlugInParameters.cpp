// What a changed parameter does to the engine objects and to the other controls.

#include "planning/MotionProcessorFCPX.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/ParameterReader.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

namespace {

void SetHidden(FxAPIManager& manager, unsigned id, bool hidden) {
  manager.apiForProtocol<FxParameterSettingAPI>()->setParameterFlags(hidden ? kFxParameterHidden : kFxParameterDefault,
                                                                     id);
}

ParameterReader ReaderAtCurrentTime(FxAPIManager& manager) {
  return {manager.apiForProtocol<FxParameterRetrievalAPI>(),
          manager.apiForProtocol<FxCustomParameterActionAPI>()->currentTime()};
}

}  // namespace

bool OrvaneFCPXPlugIn::parameterChanged(unsigned id) {
  switch (id) {
    case kGlobalMode:
      globalModeChanged();
      break;
    case kGlobalSmoothing:
      smoothingChanged();
      break;
    case kEventDetection:
      prioritiesChanged();
      break;
    case kRotationDampening:
      rotationChanged();
      break;
    case kRenderingType:
      renderingTypeChanged();
      break;
    case kCropAspect:
    case kCropEqual:
    case kCropCentre:
      cropChanged(id);
      break;
    case kZoomType:
      zoomTypeChanged();
      break;
    default:  // the zoom amount too is read by every render anyway
      break;
  }
  return true;
}

void OrvaneFCPXPlugIn::globalModeChanged() {
  if (!ObjC_MP) return;
  const int mode = ReaderAtCurrentTime(*_apiManager).intValue(kGlobalMode);
  SetHidden(*_apiManager, kRotationDampening, mode != 1);
  ObjC_MP->setGlobalMode(mode);
  ObjC_MP->globalFilter();
  ObjC_MP->initialiseEvents();
  replan();
}

void OrvaneFCPXPlugIn::smoothingChanged() {
  if (!ObjC_MP) return;
  ObjC_MP->setSmoothingFactor(ReaderAtCurrentTime(*_apiManager).smoothingFactor());
  ObjC_MP->globalFilter();
  replan();
}

void OrvaneFCPXPlugIn::prioritiesChanged() {
  if (!ObjC_MP) return;
  ObjC_MP->setPriorities(ReaderAtCurrentTime(*_apiManager).intValue(kEventDetection));
  ObjC_MP->initialiseEvents();
  replan();
}

void OrvaneFCPXPlugIn::rotationChanged() {
  if (!ObjC_MP) return;
  ObjC_MP->setRotationEnabled(ReaderAtCurrentTime(*_apiManager).boolValue(kRotationDampening));
  ObjC_MP->globalFilter();
  replan();
}

void OrvaneFCPXPlugIn::replan() {
  ObjC_MP->processMotion();
  if (ObjC_VC) {
    ObjC_VC->setGlobalMotion(*ObjC_MP->actualMotion());
    ObjC_VC->setOutputMotion(*ObjC_MP->designMotion());
  }
  if (ObjC_OR) ObjC_OR->setCompensatingMotion(*ObjC_MP->compensatingMotion());
}

void OrvaneFCPXPlugIn::renderingTypeChanged() {
  const ParameterReader reader = ReaderAtCurrentTime(*_apiManager);
  int mode = 0;
  if (!reader.readInt(kRenderingType, &mode)) return;
  SetHidden(*_apiManager, kZoomType, mode != 2);
  for (const unsigned id : {kCropAspect, kCropEqual, kCropCentre}) SetHidden(*_apiManager, id, mode != 1);
  if (mode == 1) {
    // An equal crop can be neither centred nor of the frame's aspect, so each hides the other.
    const bool equalExcluded = reader.boolValue(kCropCentre) || reader.boolValue(kCropAspect);
    if (equalExcluded) SetHidden(*_apiManager, kCropEqual, true);
    if (reader.boolValue(kCropEqual)) {
      SetHidden(*_apiManager, kCropAspect, true);
      SetHidden(*_apiManager, kCropCentre, true);
    }
  }
  if (ObjC_OR) ObjC_OR->setRenderMode(mode < 4 ? mode : 2);
}

void OrvaneFCPXPlugIn::cropChanged(unsigned id) {
  const ParameterReader reader = ReaderAtCurrentTime(*_apiManager);
  const bool aspect = reader.boolValue(kCropAspect), equal = reader.boolValue(kCropEqual),
             centre = reader.boolValue(kCropCentre);
  if (id == kCropEqual) {
    SetHidden(*_apiManager, kCropCentre, equal);
    SetHidden(*_apiManager, kCropAspect, equal);
  } else {
    const bool set = id == kCropAspect ? aspect : centre;
    SetHidden(*_apiManager, kCropEqual, set);
    if (set) SetHidden(*_apiManager, id == kCropAspect ? kCropCentre : kCropAspect, false);
  }
  if (ObjC_OR) ObjC_OR->setCropAspect(aspect, equal, centre);
}

void OrvaneFCPXPlugIn::zoomTypeChanged() {
  int type = 0;
  if (!ReaderAtCurrentTime(*_apiManager).readInt(kZoomType, &type)) return;
  SetHidden(*_apiManager, kVariableZoomAmount, type != 2);
  if (ObjC_OR) ObjC_OR->setZoomMode(type == 1 || type == 2 ? type : 0);
}
