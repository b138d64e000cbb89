#pragma once

#include <cstddef>
#include <vector>

#include "analysis/HomographySet.h"
#include "analysis/MotionConfidenceSet.h"
#include "numerics/Point2D.h"
#include "planning/MotionInterval.h"

/// Reads what the camera operator meant from the camera's path: follows a point through the measured motion, finds the
/// frames where the motion changes character (key frames), cuts the clip into events on each axis, and labels each
/// event as the camera holding still or moving.
///
/// An axis is 0 for horizontal and 1 for vertical; the axes are independent. Distances are in pixels, speeds in pixels
/// per frame, stretches from their first to their last frame. A frame without a matrix counts as the identity.
class IntentDetector {
 public:
  /// Splits the clip by motion confidence into stretches that are broken, still or moving, and keeps them in `eventsP`.
  /// A set without frames gives no stretch.
  std::vector<MotionInterval> PreliminaryDetect(const Vorn::HomographySet& motion,
                                                const MotionConfidenceSet& confidence);
  /// Finds the events in the good stretches of `preliminary`; broken ones stand in both results as they are. With
  /// `motionPriority` there are few, long moves; without it the events follow the path more closely.
  void Analyse(const Vorn::HomographySet& motion, const std::vector<MotionInterval>& preliminary, bool motionPriority);
  void GetHorizontalMotion(std::vector<MotionInterval>& events) const;
  void GetVerticalMotion(std::vector<MotionInterval>& events) const;
  /// Empties the three event lists.
  void Clear();

  /// For tools and editing: takes the whole set as one moving stretch.
  std::vector<MotionInterval> CreateDefaultPrelimEvents(const Vorn::HomographySet& motion);
  /// The key frames of both axes in order, each once.
  void GetKeyFrames(std::vector<int>& keys) const;
  /// The key strictly between `first` and `last` that lines up to it and from it fit best, and better than one line
  /// over the whole; -1 if there is none.
  int findBestLinearKeyFrame(int first, int last, int axis) const;
  /// Erases the keys strictly between `first` and `last`; the second form only those nearer to `key` than `distance`,
  /// and not `key` itself.
  void deleteKeyFrames(int first, int last, int axis);
  void deleteAdjacentKeyFrames(int key, int axis, int first, int last, int distance);

  /// Fills `location` with the running sum of the point's displacements. Only its differences have meaning.
  void projectCentreTrack(const Vorn::HomographySet& motion, int first, int last);
  /// Finds the key frames of a stretch that `location` covers, `first` and `last` among them.
  void findKeyFrames(int first, int last);
  /// Makes the moving events between the keys. A lone key makes one event of its frame.
  void makeSubEvents(std::vector<MotionInterval>& out, const std::vector<int>& keys) const;
  /// Labels each event that isn't broken as still or moving. `track` is laid out like `location`.
  void classifySubEvents(std::vector<MotionInterval>& events, const std::vector<Vorn::Point2D>& track, int axis,
                         double threshold) const;
  /// Merges events that are too short to be meant into the one before.
  void removeFastChanges(std::vector<MotionInterval>& events, int axis) const;
  /// Halves long events until each is short or within `linFitThresh` of a straight line.
  void insertKeyFrames(std::vector<MotionInterval>& events, int axis) const;
  /// Merges still events with the still event before them, in one pass: three in a row become two.
  void mergeStillEvents(std::vector<MotionInterval>& events) const;
  /// Removes the key frames that a straight line spans, on both axes.
  void recursiveLinearFit(const MotionInterval& stretch);
  /// The same on one axis: one pass over the keys from `first` on, and none without a key before `last`. The pass isn't
  /// bound by `last`, as the list holds only the current stretch.
  void recursiveSearch(int first, int last, int axis);
  /// Whether a key lies strictly between `first` and `last`.
  bool hasKeyFrames(int first, int last, int axis) const;
  /// How far the path is from a straight line, leaving out `minInterval` frames at either end: the largest deviation,
  /// or the sum of all; 0 if no frame is left.
  float calculateLinearFitCost(int first, int last, int axis, bool useMaximum) const;

  double minGrad = 1.0;                 ///< Speed above which an axis counts as moving; at half of it, it has stopped.
  double minDisp = 20.0;                ///< Displacement that makes a key frame; below it an event can be still.
  double linFitThresh = 80.0;           ///< Deviation from a line at which an event is split. `Analyse` overwrites it.
  float linearThreshMotionPri = 40.0f;  ///< Deviation from a line within which a stretch counts as straight.
  int minInterval = 10;                 ///< The shortest event, in frames.
  bool mergeStill = true;               ///< Merge neighbouring still events.
  bool insertLinearKeyFrames = true;    ///< Kept for stored settings; events are always split.
  Vorn::Point2D centre = {320, 240};    ///< The point that is tracked, for motion about the top-left corner.
  std::vector<MotionInterval> eventsX;  ///< Horizontal result.
  std::vector<MotionInterval> eventsY;  ///< Vertical result.
  std::vector<MotionInterval> eventsP;  ///< Preliminary result.
  std::vector<Vorn::Point2D> location;  ///< The tracked path of the current stretch, one entry per frame.
  int locationStart = 0;                ///< The frame of its first entry.
  std::vector<int> keyX;                ///< Horizontal key frames of the current stretch, ascending.
  std::vector<int> keyY;                ///< Vertical ones.

 private:
  const std::vector<int>& keys(int axis) const { return axis == 0 ? keyX : keyY; }
  std::vector<int>& keys(int axis) { return axis == 0 ? keyX : keyY; }
  double position(int frame, int axis) const;
  double gradient(const MotionInterval& event, int axis) const;
  bool isTooShort(const std::vector<MotionInterval>& events, std::size_t index, int axis) const;
  bool bends(const MotionInterval& event, int axis) const;
  std::vector<int> candidateKeys(int first, int last, int axis) const;
  std::vector<int> thinnedKeys(const std::vector<int>& candidates, int axis) const;
  bool standsByItself(const std::vector<int>& candidates, std::size_t index, int previous, int axis) const;
  void finishTail(std::vector<MotionInterval>& stretches) const;
  Vorn::Point2D trackedPoint(const Vorn::HomographySet& motion) const;
  template <typename Visit>
  void visitDeviations(int first, int last, int axis, Visit visit) const;
};
