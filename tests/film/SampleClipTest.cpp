#include "film/SampleClip.h"

#include <gtest/gtest.h>

#include <cmath>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/SampleMotion.h"
#include "film/SampleScene.h"

namespace film {
namespace {

/// Where the scene's place (x, y) stands in a frame, about the frame's centre.
std::pair<double, double> OnScreen(const SamplePose& pose, double x, double y) {
  const double dx = x - pose.x, dy = y - pose.y, c = std::cos(pose.roll), s = std::sin(pose.roll);
  return {pose.zoom * (c * dx - s * dy), pose.zoom * (s * dx + c * dy)};
}

TEST(SampleMotion, MatricesCarryPlacesOfOneFrameToTheNext) {
  for (int frame : {1, 30, 75, 100, 179}) {
    const Matrix3 m = SampleMotionAt(frame, true);
    for (const auto& [x, y] : {std::pair(600.0, 300.0), std::pair(900.0, 500.0)}) {
      const auto [fromX, fromY] = OnScreen(SamplePoseAt(frame - 1, true), x, y);
      const auto [toX, toY] = OnScreen(SamplePoseAt(frame, true), x, y);
      EXPECT_NEAR(m[0] * fromX + m[1] * fromY + m[2], toX, 1e-9);
      EXPECT_NEAR(m[3] * fromX + m[4] * fromY + m[5], toY, 1e-9);
    }
  }
}

TEST(SampleMotion, TheIntentionHoldsPansAndHolds) {
  for (int frame : {1, 40, 60, 121, 179}) {
    const Matrix3 m = SampleMotionAt(frame, false);
    EXPECT_NEAR(m[2], 0.0, 1e-9) << frame;
  }
  double way = 0;
  for (int frame = 1; frame < sampleFrames; ++frame) way += SampleMotionAt(frame, false)[2];
  EXPECT_NEAR(way, -380.0, 1e-6);
}

TEST(SampleMotion, TheHandShakesByPixelsButNotOutOfTheScene) {
  double largest = 0;
  for (int frame = 0; frame < sampleFrames; ++frame) {
    const SamplePose shaken = SamplePoseAt(frame, true), meant = SamplePoseAt(frame, false);
    largest = std::max(largest, std::abs(shaken.x - meant.x));
    const double reachX = sampleWidth / 2 + 30, reachY = sampleHeight / 2 + 30;  // with the roll
    EXPECT_GT(shaken.x - reachX, 0);
    EXPECT_LT(shaken.x + reachX, SampleScene::width);
    EXPECT_GT(shaken.y - reachY, 0);
    EXPECT_LT(shaken.y + reachY, SampleScene::height);
  }
  EXPECT_GT(largest, 5.0);
}

TEST(SampleScene, HasTextureEverywhereBelowTheSky) {
  const SampleScene scene;
  for (int y = 220; y < 880; y += 60)
    for (int x = 20; x < 1880; x += 60) {
      double sum = 0, squares = 0;
      for (int j = 0; j < 20; ++j)
        for (int i = 0; i < 20; ++i) {
          const double g = scene.at(x + i, y + j).g;
          sum += g;
          squares += g * g;
        }
      EXPECT_GT(squares / 400 - (sum / 400) * (sum / 400), 1e-5) << x << ", " << y;  // 0.8 of 255 in deviation
    }
}

TEST(SampleClip, CancellingLeavesNothing) {
  const TestFolder folder;
  EXPECT_THROW(WriteSampleClip(folder / "sample.mp4", folder / "truth.json", [](int frames) { return frames < 3; }),
               Failure);
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace
}  // namespace film
