#include "planning/MotionProcessorFCPX.h"

#include <algorithm>
#include <cmath>

#include "numerics/Geometry.h"
#include "numerics/SVD.h"
#include "planning/Mosaic.h"

using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::Mosaic;
using Vorn::Point2D;
using Vorn::Rectangle;

namespace {

constexpr double motionSigma = 4.0;     // frames
constexpr double rotationSigma = 20.0;  // frames: roll is calmed harder than the rest
constexpr int fadeFrames = 10;          // in which the compensation behind a broken stretch's start fades out

Matrix Identity() { return Matrix::GetIdentity(3); }

/// The frame's matrix, or the identity where the set has none.
Matrix At(const HomographySet& set, int frame) {
  Matrix m;
  set.Get(frame, m);
  return m;
}

Matrix Rotation(double theta) {
  Matrix m = Identity();
  m(0, 0) = m(1, 1) = std::cos(theta);
  m(1, 0) = std::sin(theta);
  m(0, 1) = -m(1, 0);
  return m;
}

Matrix InverseOf(Matrix m) {
  m.Inverse();
  return m;
}

/// From `saved`, `left` being 10, to the identity, `left` being 0.
Matrix Fade(const Matrix& saved, int left) {
  return saved * static_cast<double>(static_cast<float>(left) * 0.1f) +
         Identity() * static_cast<double>(static_cast<float>(fadeFrames - left) * 0.1f);
}

}  // namespace

MotionProcessorFCPX::MotionProcessorFCPX() : correcter(640, 480), lcf(std::make_unique<LocalCorrect>(&correcter)) {
  intentFinder.minInterval = 10;
}

void MotionProcessorFCPX::clear() {
  intentFinder.Clear();
  lcf->Clear();
}

void MotionProcessorFCPX::setWidth(int width, int height) {
  analysedWidth = width;
  analysedHeight = height;
  correcter.SetDimensions(width, height);
  intentFinder.centre = Vorn::FrameCentre(width, height);
}

void MotionProcessorFCPX::setInputMotion(const HomographySet& motion, const HomographySet& qaMotion,
                                         const MotionConfidenceSet& confidence) {
  rawMotion = motion;
  quasiAffineMotion = qaMotion;
  motionConfidence = confidence;
  derotMotion.Clear();
  rotationMode = !quasiAffineMotion.hset.empty();  // asked before the first frame is added: that alone is no rotation
  identifyFirstFrame();
  if (rotationMode) convertRotation();
  preliminaryEvents = intentFinder.PreliminaryDetect(rawMotion, motionConfidence);
  resetFrames.clear();
  for (const MotionInterval& interval : preliminaryEvents)
    if (interval.motion_type == MotionBroken) resetFrames.push_back(interval.begin_frame);
  globalFilter();
}

/// The first frame of an analysis has no predecessor, and so no motion of its own.
void MotionProcessorFCPX::identifyFirstFrame() {
  const int start = rawMotion.start;
  if (rawMotion.range.data.empty() || rawMotion.range.data.front().first == start) return;
  rawMotion.Set(start, Identity());
  quasiAffineMotion.Set(start, Identity());
  rawMotion.AppendRange(start, start + 1);
  motionConfidence.Set(start, 1.0f);
}

void MotionProcessorFCPX::convertRotation() {
  rotationOnlyMotion = quasiAffineMotion;
  for (int frame = rotationOnlyMotion.start; frame <= rotationOnlyMotion.end; ++frame) {
    const Matrix m = At(rotationOnlyMotion, frame);
    rotationOnlyMotion.Set(frame, Rotation(std::atan(m(1, 0) / m(0, 0))));
  }
}

void MotionProcessorFCPX::globalFilter() {
  if (globalMotionMode != GlobalSmooth)
    globalFilterMotion = rawMotion;
  else if (!dampensRotation())
    filterAsAWhole();
  else
    filterRotationApart();
  stillBrokenFrames();

  // Where rotation isn't filtered apart in this pass the path comes from `trimMotion`: it is the same one, since a
  // rotation about the centre doesn't move the centre.
  const bool rotationIsApart = dampensRotation() && globalMotionMode == GlobalSmooth;
  std::vector<Point2D> path;
  calculateCentreMotion(path, rotationIsApart ? derotMotion : trimMotion);
  correcter.SetActualCentreMotion(path, rawMotion.start, rawMotion.end);
  calculateCentreMotion(path, globalFilterMotion);
  correcter.SetCentreMotion(path, rawMotion.start, rawMotion.end);
}

bool MotionProcessorFCPX::smoothOver(double sigma, const HomographySet& in, HomographySet& out) {
  MotionSmooth smoother;
  smoother.robust = true;
  smoother.SetSigma(sigma);
  smoother.strength = globalSmoothFactor;
  return smoother.Smooth(in, MotionSmooth::GaussSmoothing, out, preliminaryEvents);
}

void MotionProcessorFCPX::filterAsAWhole() {
  if (!smoothOver(motionSigma, rawMotion, globalFilterMotion)) globalFilterMotion = rawMotion;
}

void MotionProcessorFCPX::filterRotationApart() {
  HomographySet rotation, rest;
  bool smooth = smoothOver(rotationSigma, rotationOnlyMotion, rotation);
  for (int frame = rotationOnlyMotion.start; frame <= rotationOnlyMotion.end; ++frame)
    derotMotion.Set(frame, At(rawMotion, frame) * InverseOf(At(rotationOnlyMotion, frame)));
  derotMotion.originLocation = rawMotion.originLocation;
  smooth = smooth && smoothOver(motionSigma, derotMotion, rest);
  if (!smooth) {
    globalFilterMotion = rawMotion;
    return;
  }
  globalFilterMotion.Clear();
  for (int frame = rest.start; frame <= rest.end; ++frame)
    globalFilterMotion.Set(frame, At(rest, frame) * At(rotation, frame));
  globalFilterMotion.SetRanges(rawMotion.range);
  globalFilterMotion.originLocation = rawMotion.originLocation;
}

void MotionProcessorFCPX::stillBrokenFrames() {
  trimMotion.Clear();
  for (const MotionInterval& interval : preliminaryEvents) {
    const bool broken = interval.motion_type == MotionBroken;
    for (int frame = interval.begin_frame; frame <= interval.end_frame; ++frame) {
      trimMotion.Set(frame, broken ? Identity() : At(rawMotion, frame));
      if (!broken) continue;
      globalFilterMotion.Set(frame, Identity());
      if (dampensRotation() && globalMotionMode != GlobalCancel) derotMotion.Set(frame, Identity());
    }
  }
  trimMotion.originLocation = globalFilterMotion.originLocation;
  trimMotion.SetRanges(globalFilterMotion.range);
}

void MotionProcessorFCPX::calculateCentreMotion(std::vector<Point2D>& path, const HomographySet& motion) const {
  const Point2D centre = Vorn::FrameCentre(analysedWidth, analysedHeight);
  const Point2D origin = motion.originLocation == 4 ? centre : Point2D();
  const auto step = [&](int frame) {
    return Vorn::ProjectPoint(At(motion, frame), centre, static_cast<float>(origin.x), static_cast<float>(origin.y)) -
           centre;
  };
  path.assign(1, step(motion.start));
  for (int frame = motion.start + 1; frame <= motion.end; ++frame)
    path.push_back(isResetFrame(frame) ? Point2D() : path.back() + step(frame));
}

void MotionProcessorFCPX::initialiseEvents() {
  if (eventPriority == NoEvents) {
    lcf->InitialiseNoComp(preliminaryEvents, preliminaryEvents);
    findGoodFrames(preliminaryEvents);
    return;
  }
  // Events are sought in a fully calmed copy, whatever the user's smoothing.
  MotionSmooth smoother;
  smoother.robust = true;
  HomographySet calm;
  if (!smoother.Smooth(rawMotion, MotionSmooth::GaussSmoothing, calm, preliminaryEvents)) calm = rawMotion;
  intentFinder.Analyse(calm, preliminaryEvents, eventPriority == MotionPriority);

  std::vector<MotionInterval> horizontal, vertical;
  intentFinder.GetHorizontalMotion(horizontal);
  intentFinder.GetVerticalMotion(vertical);
  lcf->InitialiseSections(horizontal, vertical);
  lcf->FitCorrection();
  findGoodFrames(horizontal);
}

bool MotionProcessorFCPX::loadEvents(const std::string& path) {
  const bool loaded = lcf->Load(path.c_str());
  if (loaded) findGoodFrames(lcf->eventsX);
  return loaded;
}

void MotionProcessorFCPX::setLoadedEventsH(const std::vector<MotionInterval>& eventsH,
                                           const std::vector<MotionInterval>& eventsV,
                                           const std::vector<MotionFixParams>& filtX,
                                           const std::vector<MotionFixParams>& filtY) {
  lcf->SetFromData(eventsH, eventsV, filtX, filtY);
  findGoodFrames(lcf->eventsX);
}

void MotionProcessorFCPX::findGoodFrames(const std::vector<MotionInterval>& events) {
  goodFrames_.clear();
  bool open = false;
  int first = 0, last = 0;
  const auto close = [&] {
    if (!open) return;
    goodFrames_.push_back(static_cast<unsigned>(first));
    goodFrames_.push_back(static_cast<unsigned>(last));
    open = false;
  };
  for (const MotionInterval& event : events) {
    if (event.motion_type == MotionBroken) {
      close();
      continue;
    }
    if (!open) first = event.begin_frame;
    open = true;
    last = event.end_frame;
  }
  close();
}

void MotionProcessorFCPX::processMotion() {
  validCrop = true;
  designTheMotion();
  compensateMotion();
  calculateCropBorder();
}

void MotionProcessorFCPX::designTheMotion() {
  if (globalMotionMode == GlobalCancel) {
    designMotion_.Clear();
    for (int frame = trimMotion.start; frame <= trimMotion.end && !trimMotion.hset.empty(); ++frame)
      designMotion_.Set(frame, Identity());
  } else if (globalFilterMotion.start != -1 && globalFilterMotion.end != -1) {
    lcf->Correct(globalFilterMotion, designMotion_);
  }
  designMotion_.originLocation = trimMotion.originLocation;
  designMotion_.SetRanges(trimMotion.range);
}

/// The running product of inverse measured and designed motion. Behind the start of a broken stretch it fades from what
/// it was to none, and starts anew.
void MotionProcessorFCPX::compensateMotion() {
  compMotion.Clear();
  compMotion.originLocation = rawMotion.originLocation;
  if (rawMotion.hset.empty()) return;
  Matrix comp = Identity(), saved = Identity();
  int fadeLeft = -1;
  bool startsAnew = true;
  for (int frame = rawMotion.start; frame <= rawMotion.end; ++frame) {
    Matrix measured = At(trimMotion, frame);
    if (frame == rawMotion.start) measured = measured / measured(2, 2);
    const Matrix inverse = Vorn::SVD(measured, false).Inverse();
    if (frame != rawMotion.start && isResetFrame(frame)) {
      fadeLeft = fadeFrames;
      saved = comp;
    }
    if (globalMotionMode == GlobalCancel) {
      comp = comp * inverse;
    } else {
      const Matrix step = inverse * At(designMotion_, frame);
      comp = startsAnew || fadeLeft == fadeFrames ? step : comp * step;
      startsAnew = false;
    }
    if (!Vorn::CompareDouble(comp(2, 2), 0.0)) comp = comp / comp(2, 2);
    if (fadeLeft >= 0) comp = Fade(saved, fadeLeft--);
    compMotion.Set(frame, comp);
  }
  compMotion.AppendRange(rawMotion.start, rawMotion.end);
}

bool MotionProcessorFCPX::isResetFrame(int frame) const {
  return std::binary_search(resetFrames.begin(), resetFrames.end(), frame);
}

void MotionProcessorFCPX::calculateCropBorder() {
  const Rectangle whole(0, 0, analysedWidth - 1, analysedHeight - 1);
  border_ = whole;
  if (compMotion.hset.empty()) return;
  Mosaic mosaic(analysedWidth, analysedHeight);
  mosaic.SetRegistration(compMotion);
  mosaic.SetDuration(compMotion.start, compMotion.end - compMotion.start + 1, 1);
  border_ = mosaic.GetBorder(true);
  border_.tlx = std::max(border_.tlx, whole.tlx);
  border_.tly = std::max(border_.tly, whole.tly);
  border_.brx = std::min(border_.brx, whole.brx);
  border_.bry = std::min(border_.bry, whole.bry);
  if (border_.IsValid()) return;
  border_ = whole;
  validCrop = false;
}
