#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "film/Clips.h"
#include "film/Effect.h"
#include "planning/MotionProcessorFCPX.h"

namespace film {

/// A matrix that moves by so many pixels.
inline Vorn::Matrix Shift(double x, double y) {
  Vorn::Matrix m = Vorn::Matrix::GetIdentity(3);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

/// An effect whose plan is written by hand: five frames of 192 by 144, whose corrected frames all cover 160 by 120.
/// Frame 2 is moved by (4, -3), the others stay.
class PlannedEffectTest : public testing::Test {
 protected:
  static constexpr int width = 192, height = 144, frames = 5;

  PlannedEffectTest() : platform("en") {
    WriteTestClip(folder / "clip.mp4", frames, width, height);
    source = std::make_unique<FrameSource>(ScanClip(folder / "clip.mp4", {.threads = 1}), 1);
    effect = std::make_unique<Effect>(*source, platform);
    effect->showFirstFrame();
    planner().setWidth(width, height);
    planner().border_ = {16, 12, 175, 131};
    for (int frame = 0; frame < frames; ++frame) planner().compMotion.Set(frame, Vorn::Matrix::GetIdentity(3));
    planner().compMotion.Set(2, Shift(4, -3));
  }
  MotionProcessorFCPX& planner() { return *effect->plugIn().ObjC_MP; }
  void set(unsigned id, double value) { ASSERT_TRUE(effect->parameters().setNumber(id, value)); }

  TestFolder folder;
  TerminalPlatform platform;
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<Effect> effect;
};

}  // namespace film
