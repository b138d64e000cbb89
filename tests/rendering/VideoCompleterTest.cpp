#include "rendering/VideoCompleter.h"

#include <gtest/gtest.h>

namespace {

AGCStorage GainsFrom(int first, std::initializer_list<float> values) {
  AGCStorage gains;
  int frame = first;
  for (const float value : values) gains.SetGain(frame++, value);
  gains.AddRange(first, frame - 1);
  return gains;
}

TEST(VideoCompleter, WithoutGainsFramesAreAlike) {
  const VideoCompleter completer{FxRenderInfo{}};
  EXPECT_EQ(completer.gain(3, 9), 1.0f);
}

TEST(VideoCompleter, TheGainIsThatOfTheReferenceOverThatOfTheFrame) {
  VideoCompleter completer{FxRenderInfo{}};
  const AGCStorage gains = GainsFrom(0, {1.0f, 2.0f, 4.0f});
  completer.setGains(&gains, 0);
  EXPECT_EQ(completer.gain(1, 2), 2.0f);
  EXPECT_EQ(completer.gain(2, 0), 0.25f);
  EXPECT_EQ(completer.gain(2, 3), 0.25f) << "a frame behind the gains counts 1";
  EXPECT_EQ(completer.gain(-1, 1), 2.0f) << "a frame before them too";
}

TEST(VideoCompleter, GainsCanStartAtAnyFrame) {
  VideoCompleter completer{FxRenderInfo{}};
  const AGCStorage gains = GainsFrom(10, {2.0f, 8.0f});
  completer.setGains(&gains, 10);
  EXPECT_EQ(completer.gain(10, 11), 4.0f);
  EXPECT_EQ(completer.gain(0, 10), 2.0f);
}

TEST(VideoCompleter, AGainsFileThatCannotBeReadIsLogged) {
  VideoCompleter completer{FxRenderInfo{}};
  testing::internal::CaptureStderr();
  EXPECT_FALSE(completer.loadGains("no such file"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to load gains\n");
}

}  // namespace
