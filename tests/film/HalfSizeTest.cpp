#include "film/HalfSize.h"

#include <gtest/gtest.h>

#include "film/Clips.h"

namespace film {
namespace {

TEST(HalfSize, SizesAreHalvedDownToEvenOnes) {
  for (const auto& [size, half] : {std::pair(1920, 960), std::pair(1082, 540), std::pair(101, 50), std::pair(99, 48),
                                   std::pair(4, 2), std::pair(2, 2), std::pair(1, 2)}) {
    const ClipContents contents = HalfSized(TestContents(size, size));
    EXPECT_EQ(contents.format.width, half) << size;
    EXPECT_EQ(contents.format.height, half) << size;
    EXPECT_EQ(contents.planes.width, half) << size;
  }
}

TEST(HalfSize, EachSampleIsTheMeanOfFour) {
  PicturePool wholes(5, 4), halves(2, 2);
  const SharedPicture whole = wholes.take(), half = halves.take();
  for (size_t i = 0; i < whole->samples.size(); ++i) whole->samples[i] = static_cast<float>(i);
  whole->number = 7;
  whole->time = 70;
  whole->duration = 10;
  Halve(*whole, AV_FIELD_PROGRESSIVE, half.get());
  // Sample c of pixel (x, y) is 4 (5 y + x) + c: the mean over two by two lies 4 * 2.5 + 2 behind its first corner.
  EXPECT_EQ(half->samples[0], 0 + 12);
  EXPECT_EQ(half->samples[4 + 3], 4 * 2 + 3 + 12);
  EXPECT_EQ(half->samples[8 + 1], 4 * 10 + 1 + 12);
  EXPECT_EQ(half->number, 7);
  EXPECT_EQ(half->time, 70);
  EXPECT_EQ(half->duration, 10);
}

TEST(HalfSize, OfTwoFieldsTheFirstIsKept) {
  PicturePool wholes(4, 8), halves(2, 4);
  const SharedPicture whole = wholes.take(), half = halves.take();
  for (size_t i = 0; i < whole->samples.size(); ++i) whole->samples[i] = static_cast<float>(i / 16);  // its row
  for (const auto& [order, first] : {std::pair(AV_FIELD_TT, 0), std::pair(AV_FIELD_BB, 1)}) {
    Halve(*whole, order, half.get());
    for (size_t i = 0; i < half->samples.size(); ++i)
      EXPECT_EQ(half->samples[i], static_cast<float>(2 * (i / 8) + first)) << order;
  }
  ClipContents contents = TestContents(720, 576);
  contents.format.fieldOrder = AV_FIELD_TT;
  contents.planes.interlaced = true;
  EXPECT_EQ(HalfSized(contents).format.fieldOrder, AV_FIELD_PROGRESSIVE);
  EXPECT_FALSE(HalfSized(contents).planes.interlaced);
}

TEST(HalfSize, ClipsOfOnePixelStayInsideTheirMemory) {
  PicturePool wholes(1, 1), halves(2, 2);
  const SharedPicture whole = wholes.take(), half = halves.take();
  std::fill(whole->samples.begin(), whole->samples.end(), 0.5f);
  Halve(*whole, AV_FIELD_PROGRESSIVE, half.get());
  for (const float sample : half->samples) EXPECT_EQ(sample, 0.5f);
}

}  // namespace
}  // namespace film
