#pragma once

#include <vector>

#include "analysis/HomographySet.h"
#include "numerics/Point2D.h"
#include "planning/MotionInterval.h"

/// Turns events into a designed path of the image centre, and the path into corrected motion.
///
/// Each axis is a chain of sections, one per event: `Hold` keeps the centre at a position, `Linear` moves it at a
/// constant speed with parabolic easing at both ends, `None` leaves the camera as it was. Only the translation of the
/// centre is designed; rotation, zoom and perspective pass through. The axes are independent of one another.
///
/// An axis is 0 for horizontal and 1 for vertical. Positions are displacements of the centre in pixels, accumulated
/// since the last reset; speeds are pixels per frame. Lists of `MotionFixParams` run parallel to their lists of
/// `MotionInterval`. Indices are unchecked unless an operation says otherwise.
class MotionCorrect {
 public:
  MotionCorrect(int width, int height);

  /// Stores the frame size in pixels; `centre` becomes its half, in whole pixels.
  void SetDimensions(int frameWidth, int frameHeight);

  /// Gives the processed centre path, that of the motion after global filtering: one entry per frame from `start`.
  void SetCentreMotion(const std::vector<Vorn::Point2D>& path, int start, int end);
  /// Gives the actual centre path. It stands on the frames of the processed one, so its span isn't kept.
  void SetActualCentreMotion(const std::vector<Vorn::Point2D>& path, int start, int end);
  void GetActualCentreMotion(std::vector<Vorn::Point2D>& path) const;

  /// The position at a frame on the processed and on the actual path. Off the path it is the zero point.
  Vorn::Point2D projectedCentre(int frame) const;
  Vorn::Point2D actualCentre(int frame) const;
  /// The processed position on an axis; false, and position 0, for a frame off the path.
  bool GetPosition(int axis, int frame, float& position) const;
  /// The processed speed around a frame, over up to five frames to either side; 0 off the path.
  float GetGradient(int axis, int frame) const;

  /// Fits both axes: resizes the fits to their events, and makes each section follow the processed path as closely as
  /// it can. A `Linear` section keeps the positions that it came with, except where a neighbour overrides them.
  /// Without a processed path it says so on the error stream and leaves the fits alone.
  void Fit(const std::vector<MotionInterval>& eventsX, std::vector<MotionFixParams>& paramsX,
           const std::vector<MotionInterval>& eventsY, std::vector<MotionFixParams>& paramsY) const;
  /// Makes `out` a hold at the median processed position of the interval, the frame before it included. Its easing
  /// fields stay as they are.
  void FitHold(int index, const std::vector<MotionInterval>& events, int axis, MotionFixParams& out) const;
  /// Makes `out` the line from the section's `start_pos` to its `end_pos` whose ease lengths bring it nearest to the
  /// processed path. Positions and `gradient_in` are those of `params[index]`. Quadratic in the section's frames.
  void FitLinear(int index, const std::vector<MotionInterval>& events, const std::vector<MotionFixParams>& params,
                 int axis, MotionFixParams& out) const;

  /// Lays the positions of a `Linear` section out frame by frame, in values rounded to float: one entry per frame, and
  /// one in front for the frame before it if `hasPrevious`.
  void generateLinearFilter(double startPos, bool hasPrevious, const MotionInterval& event,
                            const MotionFixParams& params, float gradientIn, float nextGradient,
                            std::vector<double>& out) const;

  /// Rewrites the motion so that the accumulated centre stands on the designed path. `out` is cleared first, and takes
  /// origin and ranges from `in`. When the sections end before the frames do, or a horizontal line doesn't reach its
  /// frame, it says so on the error stream and `out` holds the frames done; frames between two sections are skipped.
  void Correct(const Vorn::HomographySet& in, std::vector<MotionInterval>& eventsX,
               std::vector<MotionFixParams>& paramsX, std::vector<MotionInterval>& eventsY,
               std::vector<MotionFixParams>& paramsY, Vorn::HomographySet& out) const;
  /// Corrects the whole set as one move per axis; an axis whose flag is false is left as it was.
  void Correct(const Vorn::HomographySet& in, bool compX, bool compY, Vorn::HomographySet& out) const;
  /// As `Correct`, but stores the correcting translation alone.
  void CorrectCompensating(const Vorn::HomographySet& in, std::vector<MotionInterval>& eventsX,
                           std::vector<MotionFixParams>& paramsX, std::vector<MotionInterval>& eventsY,
                           std::vector<MotionFixParams>& paramsY, Vorn::HomographySet& out) const;

  /// Refits speed and constant part of `out`, the `Linear` section `index`, after an ease length or a position was
  /// edited. True if the eases had to be shortened to fit. Any other section is left alone, and the result is false.
  bool AdjustLinear(int axis, int index, const std::vector<MotionInterval>& events,
                    const std::vector<MotionFixParams>& params, MotionFixParams& out) const;
  /// Sets `end_pos` of `out`, the `None` section `index`, to its `start_pos` plus the processed displacement.
  void AdjustNoComp(int axis, int index, const std::vector<MotionInterval>& events, MotionFixParams& out) const;
  /// The designed speed at a frame; a frame outside all sections counts to the first.
  float GetGradientProcessed(int axis, int frame, const std::vector<MotionInterval>& events,
                             const std::vector<MotionFixParams>& params) const;

  /// Whether leaving the camera alone keeps nearer to the actual path than the line does, by summed distance over the
  /// interval, and the line is off by more than 100 pixels on average.
  bool noneBetterThanLinear(int axis, int hasPrevious, const MotionInterval& event, const MotionFixParams& params,
                            float nextGradient) const;
  /// The arctangent of the slope from `a` to `b`: dy/dx, or that of the normal, -dx/dy.
  double angle(const Vorn::Point2D& a, const Vorn::Point2D& b, bool normal) const;

  int width;
  int height;
  int motionStart = 0;                      ///< First frame of both paths.
  int motionEnd = 0;                        ///< Last frame.
  Vorn::Point2D centre;                     ///< The point whose path is designed.
  std::vector<Vorn::Point2D> pCentreRange;  ///< The processed centre path.
  std::vector<Vorn::Point2D> aCentreRange;  ///< The actual centre path.

 private:
  void fitAxis(int axis, const std::vector<MotionInterval>& events, std::vector<MotionFixParams>& params) const;
  void fitHolds(int axis, const std::vector<MotionInterval>& events, std::vector<MotionFixParams>& params) const;
  double holdPosition(int axis, int index, const std::vector<MotionInterval>& events,
                      const std::vector<MotionFixParams>& params) const;
  void joinLines(int axis, const std::vector<MotionInterval>& events, std::vector<MotionFixParams>& params) const;
  void fitLines(int axis, const std::vector<MotionInterval>& events, std::vector<MotionFixParams>& params) const;
};

/// The speed at which section `index` hands over: the next section's `gradient_in` if that moves, else 0.
float NextGradient(int index, const std::vector<MotionFixParams>& params);
