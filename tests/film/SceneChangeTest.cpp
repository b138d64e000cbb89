#include "film/SceneChange.h"

#include <gtest/gtest.h>

#include "film/Clips.h"

namespace film {
namespace {

/// Frame `number` of a clip that cuts to a negative at frame 5, and whose camera moves.
SharedPicture CutClip(PicturePool& pool, int number) {
  SharedPicture picture = TestPicture(pool, number);
  if (number >= 5)
    for (float& sample : picture->samples) sample = 1.0f - 0.5f * sample;
  return picture;
}

TEST(SceneChange, OnlyTheCutIsOne) {
  PicturePool pool(192, 144);
  const PictureOf pictures = [&](int number) { return CutClip(pool, number); };
  for (int frame = 0; frame <= 10; ++frame) EXPECT_EQ(ScenesChangeAt(frame, 10, pictures), frame == 5) << frame;
}

TEST(SceneChange, ARapidlyChangingPictureHasNoCut) {
  PicturePool pool(64, 48);
  const PictureOf flashing = [&](int number) {
    SharedPicture picture = pool.take();
    std::fill(picture->samples.begin(), picture->samples.end(), number % 2 ? 0.9f : 0.1f);
    return picture;
  };
  for (int frame = 1; frame < 8; ++frame) EXPECT_FALSE(ScenesChangeAt(frame, 8, flashing)) << frame;
}

TEST(SceneChange, TheDifferenceIsTheMeanOverTheCells) {
  PicturePool pool(64, 36);
  const SharedPicture a = pool.take(), b = pool.take();
  std::fill(a->samples.begin(), a->samples.end(), 0.25f);
  std::fill(b->samples.begin(), b->samples.end(), 0.25f);
  for (size_t i = 0; i < b->samples.size() / 2; ++i) b->samples[i] = 0.75f;  // the upper half
  EXPECT_DOUBLE_EQ(CoarseDifference(*a, *b), 0.25);
  EXPECT_EQ(CoarseDifference(*a, *a), 0.0);
}

TEST(SceneChange, PicturesSmallerThanTheCellsWork) {
  PicturePool pool(3, 2);
  const SharedPicture a = pool.take(), b = pool.take();
  std::fill(a->samples.begin(), a->samples.end(), 0.0f);
  std::fill(b->samples.begin(), b->samples.end(), 1.0f);
  EXPECT_NEAR(CoarseDifference(*a, *b), 6.0 / (32 * 18), 1e-12);  // the other cells hold no pixel
}

TEST(SceneChange, AFrameThatCantBeReadIsNoCut) {
  EXPECT_FALSE(ScenesChangeAt(3, 10, [](int) { return SharedPicture(); }));
}

}  // namespace
}  // namespace film
