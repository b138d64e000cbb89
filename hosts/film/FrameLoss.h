#pragma once

#include "film/Effect.h"

namespace film {

/// What a plan costs of the picture, in per cent of the frame's area.
struct FrameLoss {
  double cut = 0;       ///< of the picture as filmed, cut away in every frame
  double empty = 0;     ///< of the frame without picture, black or transparent: the mean over all frames
  double emptiest = 0;  ///< the same of the worst frame
};

/// With the settings in hand. The effect has shown a frame and holds an analysis.
FrameLoss LossOf(Effect& effect);

}  // namespace film
