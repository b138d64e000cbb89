#include "film/Comparison.h"

#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/MadeClips.h"

namespace film {
namespace {

constexpr int width = 8, height = 6;

SharedPicture Flat(PicturePool& pool, float value) {
  SharedPicture picture = pool.take();
  std::fill(picture->samples.begin(), picture->samples.end(), value);
  picture->number = 3;
  picture->time = 30;
  picture->duration = 10;
  return picture;
}

/// The red of a pixel of both pictures laid out together: 0.25 comes from the first, 0.75 from the second.
class Laid {
 public:
  Laid(CompareLayout layout, int turns) {
    PicturePool pool(width, height);
    const ClipContents contents = ComparedContents(TestContents(width, height), layout, turns);
    w = contents.format.width;
    h = contents.format.height;
    PicturePool outs(w, h);
    picture = outs.take();
    ComparePictures(*Flat(pool, 0.25f), *Flat(pool, 0.75f), layout, turns, picture.get());
  }
  float at(int x, int y) const { return picture->samples[4 * static_cast<size_t>(y * w + x) + 1]; }
  int w = 0, h = 0;
  SharedPicture picture;
};

TEST(Comparison, SideBySideTheFirstIsAtTheLeft) {
  const Laid laid(CompareLayout::Side, 0);
  EXPECT_EQ(laid.w, 2 * width);
  EXPECT_EQ(laid.h, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < laid.w; ++x) EXPECT_EQ(laid.at(x, y), x < width ? 0.25f : 0.75f);
  EXPECT_EQ(laid.picture->number, 3);
  EXPECT_EQ(laid.picture->time, 30);
}

TEST(Comparison, ClipsThatAreTurnedAreLaidOutAsTheyAreShown) {
  // Shown a quarter turn clockwise, what is coded at the bottom comes to the left.
  const Laid quarter(CompareLayout::Side, 1);
  EXPECT_EQ(quarter.h, 2 * height);
  EXPECT_EQ(quarter.at(0, 2 * height - 1), 0.25f);
  EXPECT_EQ(quarter.at(0, 0), 0.75f);
  EXPECT_EQ(Laid(CompareLayout::Side, 2).at(0, 0), 0.75f);
  EXPECT_EQ(Laid(CompareLayout::Side, 3).at(0, 0), 0.25f);
  EXPECT_EQ(Laid(CompareLayout::Split, 1).at(0, 0), 0.75f);
}

TEST(Comparison, ASplitHasALineInTheMiddle) {
  const Laid laid(CompareLayout::Split, 0);
  EXPECT_EQ(laid.w, width);
  EXPECT_EQ(laid.at(2, 1), 0.25f);
  EXPECT_EQ(laid.at(3, 1), 1.0f);
  EXPECT_EQ(laid.at(4, 1), 1.0f);
  EXPECT_EQ(laid.at(5, 1), 0.75f);
}

TEST(Comparison, ADifferenceIsFourTimesEnlarged) {
  PicturePool pool(width, height);
  const SharedPicture out = pool.take();
  ComparePictures(*Flat(pool, 0.5f), *Flat(pool, 0.375f), CompareLayout::Difference, 0, out.get());
  EXPECT_EQ(out->samples[0], 1.0f);  // not transparent
  EXPECT_EQ(out->samples[1], 0.5f);
  ComparePictures(*Flat(pool, 0.0f), *Flat(pool, 0.5f), CompareLayout::Difference, 0, out.get());
  EXPECT_EQ(out->samples[2], 1.0f);  // no brighter than white
  ComparePictures(*Flat(pool, 0.5f), *Flat(pool, 0.5f), CompareLayout::Difference, 0, out.get());
  EXPECT_EQ(out->samples[3], 0.0f);
}

TEST(Comparison, TurnsAreReadFromTheClip) {
  const TestFolder folder;
  WriteTestClip(folder / "clip.mp4", 2);
  EXPECT_EQ(QuarterTurns(folder / "clip.mp4"), 0);
  // ffmpeg counts anticlockwise here: at 90 what is coded at the top is shown at the left.
  for (const auto& [degrees, turns] : {std::pair(90, 3), std::pair(180, 2), std::pair(270, 1)}) {
    RunFfmpeg("-i '" + (folder / "clip.mp4") + "' -c copy -metadata:s:v rotate=" + std::to_string(degrees) + " '" +
              (folder / "turned.mp4") + "'");
    EXPECT_EQ(QuarterTurns(folder / "turned.mp4"), turns) << degrees;
  }
}

}  // namespace
}  // namespace film
