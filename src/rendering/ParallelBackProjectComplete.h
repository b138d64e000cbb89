#pragma once

#include "imaging/Image.h"
#include "numerics/Matrix.h"
#include "numerics/Parallel.h"
#include "numerics/Point2D.h"

/// Fills what is still empty in a frame from the completed frame before it: one row for each index.
class ParallelBackProjectComplete : public Vorn::ParallelLoop {
 public:
  void operator()(int row) override;

  // All lent.
  Vorn::Image* image = nullptr;           ///< `ARGBSF`, filled in place
  Vorn::Image* matte = nullptr;           ///< of the same size; what is filled is marked in it
  const Vorn::Image* previous = nullptr;  ///< `ARGBSF`
  int margin = 1;                         ///< pixels along the edges of `previous` that aren't sampled
  Vorn::Matrix matrix;                    ///< from pixels of `image` to pixels of `previous`, about `origin`
  float gain = 1.0f;                      ///< of the luma, see `VideoCompleter::compensateGain`
  Vorn::Point2D origin;
  bool bestInterpolation = false;  ///< Lanczos instead of bilinear
  bool enableAGC = true;
};
