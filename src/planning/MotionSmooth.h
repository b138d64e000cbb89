#pragma once

#include <vector>

#include "analysis/HomographySet.h"
#include "numerics/Matrix.h"
#include "planning/MotionInterval.h"

/// Low-passes a set of frame-to-frame motion matrices along time, element by element: hand shake drops out and the slow
/// camera path stays. Each matrix is first scaled so that its element (2,2) is 1, which is what makes averaging
/// elements meaningful.
///
/// Set `strength` and `robust`, and `sigma` through `SetSigma`, then smooth. All forms clear `out` first; out takes the
/// input's origin and ranges. False where a frame is missing or a matrix can't be inverted; callers then take the
/// unsmoothed motion.
class MotionSmooth {
 public:
  enum MotionSmoothingType {
    GaussSmoothing = 0,         ///< a Gaussian over the matrices' elements; what the system uses
    GaussInverseSmoothing = 1,  ///< a Gaussian over the motions accumulated from the frame in hand
    CopySmoothing = 2           ///< no filter, as for any other value
  };

  /// Stores the width of the Gaussian in frames; the kernel is built anew.
  void SetSigma(double newSigma);

  /// The whole set.
  bool Smooth(const Vorn::HomographySet& in, MotionSmoothingType type, Vorn::HomographySet& out);
  /// One stretch, both ends inclusive. Outside the set: a message, false, and `out` untouched.
  bool Smooth(const Vorn::HomographySet& in, MotionSmoothingType type, Vorn::HomographySet& out, int first, int last);
  /// Each run of intervals between broken ones by itself; the frames of a broken interval become the identity, but for
  /// one that stands first in the list, whose frames `out` doesn't get. False for an empty list.
  bool Smooth(const Vorn::HomographySet& in, MotionSmoothingType type, Vorn::HomographySet& out,
              const std::vector<MotionInterval>& intervals);

  std::vector<double> kernel;     ///< taps of the Gaussian; empty until it is needed
  bool filterFirstFrame = false;  ///< false: the first frame of a run is copied
  double sigma = 4.0;             ///< frames; truncated, also the look-around of the robust pre-filter
  float strength = 1.0f;          ///< mix of filtered (1) and unfiltered (0) motion
  bool robust = false;            ///< repair single jolts before filtering

 private:
  void filter(const Vorn::HomographySet& normalised, MotionSmoothingType type, int first, int last,
              Vorn::HomographySet& out);
  bool apply(const Vorn::HomographySet& in, MotionSmoothingType type, int first, int last, Vorn::HomographySet& out);
  void robustPreFilter(const Vorn::HomographySet& in, int first, int last, Vorn::HomographySet& out) const;
  bool isOutlier(const Vorn::HomographySet& in, int frame, int last) const;
  bool gaussFilter(const Vorn::HomographySet& in, int first, int last, float mix, Vorn::HomographySet& out);
  bool gaussInverseFilter(const Vorn::HomographySet& in, int first, int last, float mix, Vorn::HomographySet& out);
  bool copyFirstFrame(const Vorn::HomographySet& in, int first, Vorn::HomographySet& out) const;
  bool weightedMean(const Vorn::HomographySet& in, int frame, int first, int last, Vorn::Matrix& sum) const;
  bool weightedAccumulatedMean(const Vorn::HomographySet& in, int frame, int first, Vorn::Matrix& sum) const;
  bool copyFilter(const Vorn::HomographySet& in, int first, int last, Vorn::HomographySet& out) const;
  void computeGaussKernel(double width);
  void fixOutlierHomography(int frame, int unused, int last, Vorn::HomographySet& set) const;
  double tap(int k) const { return kernel[k < static_cast<int>(kernel.size()) ? k : kernel.size() - 1]; }
};
