#pragma once

#include <memory>
#include <string>
#include <vector>

#include "analysis/HomographySet.h"
#include "analysis/MotionConfidenceSet.h"
#include "numerics/Rectangle.h"
#include "planning/IntentDetector.h"
#include "planning/LocalCorrect.h"
#include "planning/MotionCorrect.h"
#include "planning/MotionInterval.h"
#include "planning/MotionSmooth.h"

/// How events are sought: the values of the host's menu.
enum EventPriority { NoEvents = 0, MotionPriority = 1, BorderPriority = 2 };

/// What becomes of the camera's motion as a whole: the values of the host's menu.
enum GlobalMotionMode { GlobalNoProc = 0, GlobalSmooth = 1, GlobalCancel = 2 };

/// Plans a clip: from the measured motion and the user's settings to one compensating matrix a frame, the crop border
/// that all corrected frames cover, and the stretches in which neighbouring frames may be used.
///
/// Motion is held as frame-to-frame matrices at the analysed size; accumulating the centre's displacement gives a
/// centre path. Every stage's result is kept, so that a changed setting re-runs only the stages behind it: after a
/// setter call `globalFilter` (mode, smoothing, rotation), `initialiseEvents` (mode, priority), then `processMotion`.
/// All calls from one thread at a time.
class MotionProcessorFCPX {
 public:
  MotionProcessorFCPX();
  MotionProcessorFCPX(const MotionProcessorFCPX&) = delete;  // `lcf` refers to `correcter`
  MotionProcessorFCPX& operator=(const MotionProcessorFCPX&) = delete;

  /// Forgets events and fits.
  void clear();
  void setWidth(int width, int height);  ///< the analysed size in pixels
  void setPriorities(int priority) { eventPriority = priority; }
  void setGlobalMode(int mode) { globalMotionMode = mode; }
  void setSmoothingFactor(double factor) { globalSmoothFactor = static_cast<float>(factor); }  ///< 0 to 1
  void setRotationEnabled(bool enabled) { globalRot = enabled; }

  /// Takes copies of the measured sets, splits the clip by confidence and filters the motion. `qaMotion` may be empty:
  /// rotation is then unknown and can't be dampened.
  void setInputMotion(const Vorn::HomographySet& motion, const Vorn::HomographySet& qaMotion,
                      const MotionConfidenceSet& confidence);

  /// Applies the global mode and renews the two centre paths.
  void globalFilter();
  /// Finds the events and fits them.
  void initialiseEvents();
  /// Produces the design motion, the compensating motion and the border.
  void processMotion();

  /// Reads events and fits from a file; false if it can't be read.
  bool loadEvents(const std::string& path);
  /// Installs stored events and fits in place of `initialiseEvents`.
  void setLoadedEventsH(const std::vector<MotionInterval>& eventsH, const std::vector<MotionInterval>& eventsV,
                        const std::vector<MotionFixParams>& filtX, const std::vector<MotionFixParams>& filtY);

  const std::vector<MotionInterval>* eventsX() const { return &lcf->eventsX; }
  const std::vector<MotionInterval>* eventsY() const { return &lcf->eventsY; }
  const std::vector<MotionFixParams>* filtersX() const { return &lcf->filtersX; }
  const std::vector<MotionFixParams>* filtersY() const { return &lcf->filtersY; }
  const Vorn::Rectangle* border() const { return &border_; }
  /// Whether a rectangle remains that all corrected frames cover; the border is the whole frame where none does.
  bool goodCrop() const { return validCrop; }
  const Vorn::HomographySet* actualMotion() const { return &trimMotion; }
  const Vorn::HomographySet* designMotion() const { return &designMotion_; }
  const Vorn::HomographySet* compensatingMotion() const { return &compMotion; }
  const std::vector<unsigned>* goodFrames() const { return &goodFrames_; }

  int eventPriority = BorderPriority;
  int globalMotionMode = GlobalSmooth;
  int analysedWidth = 0, analysedHeight = 0;
  float globalSmoothFactor = 1.0f;
  bool globalRot = false;  // dampen rotation harder than the rest
  Vorn::HomographySet rawMotion;
  Vorn::HomographySet quasiAffineMotion;
  MotionConfidenceSet motionConfidence;
  bool rotationMode = false;  // quasi-affine motion was supplied: rotation is known
  IntentDetector intentFinder;
  std::vector<MotionInterval> preliminaryEvents;  // the clip split by confidence
  std::vector<int> resetFrames;                   // where broken stretches begin, ascending
  std::vector<unsigned> goodFrames_;              // (first, last) of each stretch free of broken events
  MotionCorrect correcter;
  std::unique_ptr<LocalCorrect> lcf;
  Vorn::Rectangle border_;
  Vorn::HomographySet rotationOnlyMotion;
  Vorn::HomographySet trimMotion;  // the measured motion, broken frames standing still
  Vorn::HomographySet derotMotion;
  Vorn::HomographySet globalFilterMotion;
  Vorn::HomographySet designMotion_;
  Vorn::HomographySet compMotion;
  bool validCrop = true;

 private:
  void identifyFirstFrame();
  void convertRotation();
  void filterAsAWhole();
  void filterRotationApart();
  bool smoothOver(double sigma, const Vorn::HomographySet& in, Vorn::HomographySet& out);
  void stillBrokenFrames();
  void calculateCentreMotion(std::vector<Vorn::Point2D>& path, const Vorn::HomographySet& motion) const;
  void findGoodFrames(const std::vector<MotionInterval>& events);
  void designTheMotion();
  void compensateMotion();
  void calculateCropBorder();
  bool isResetFrame(int frame) const;
  bool dampensRotation() const { return rotationMode && globalRot; }
};
