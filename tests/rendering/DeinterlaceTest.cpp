#include "rendering/Deinterlace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "numerics/Parallel.h"

namespace Vorn {
namespace {

class Deinterlace : public testing::Test {
 protected:
  void TearDown() override { SetProcessorCount(0); }

  static float& Lane(Image& image, int row, int lane) { return reinterpret_cast<float*>(image.rows[row])[lane]; }

  static Image Filled(int width, int height, float value) {
    Image image(width, height, ARGBSF);
    for (int row = 0; row < height; ++row)
      for (int lane = 0; lane < 4 * width; ++lane) Lane(image, row, lane) = value;
    return image;
  }

  /// Each lane of each row has a value of its own that no sum of few others gives.
  static Image Textured(int width, int height) {
    Image image(width, height, ARGBSF);
    unsigned state = 12345;
    for (int row = 0; row < height; ++row)
      for (int lane = 0; lane < 4 * width; ++lane) {
        state = state * 1664525u + 1013904223u;
        Lane(image, row, lane) = static_cast<float>(state >> 8) / 16777216.0f;
      }
    return image;
  }

  static std::vector<int> ChangedRows(Image& before, Image& after) {
    std::vector<int> rows;
    for (int row = 0; row < before.height; ++row)
      if (std::memcmp(before.rows[row], after.rows[row], static_cast<std::size_t>(before.width) * 16) != 0)
        rows.push_back(row);
    return rows;
  }
};

TEST_F(Deinterlace, FieldOneFiltersTheEvenRowsBetweenTwoAtTheTopAndThreeAtTheBottom) {
  SetProcessorCount(2);
  Image source = Textured(8, 12), target = Filled(8, 12, -1.0f);
  DeinterlaceARGBSF(&source, &target, 1);
  EXPECT_EQ(ChangedRows(source, target), (std::vector<int>{2, 4, 6, 8}));
}

TEST_F(Deinterlace, FieldTwoFiltersTheOddRowsBetweenThreeAtTheTopAndFourAtTheBottom) {
  SetProcessorCount(2);
  Image source = Textured(8, 12), target = Filled(8, 12, -1.0f);
  DeinterlaceARGBSF(&source, &target, 2);
  EXPECT_EQ(ChangedRows(source, target), (std::vector<int>{3, 5, 7}));
}

TEST_F(Deinterlace, OddHeightsKeepTheSameMargins) {
  SetProcessorCount(1);
  Image source = Textured(4, 11), target = Filled(4, 11, -1.0f);
  DeinterlaceARGBSF(&source, &target, 1);
  EXPECT_EQ(ChangedRows(source, target), (std::vector<int>{2, 4, 6}));
  DeinterlaceARGBSF(&source, &target, 2);
  EXPECT_EQ(ChangedRows(source, target), (std::vector<int>{3, 5}));
}

TEST_F(Deinterlace, WeighsFiveRowsOfEveryLane) {
  SetProcessorCount(2);
  Image source = Filled(4, 11, 0.0f), target = Filled(4, 11, -1.0f);
  for (int lane = 0; lane < 16; ++lane)
    for (int k = -2; k <= 2; ++k) Lane(source, 4 + k, lane) = static_cast<float>((lane + 1) * (1 << (3 * (k + 2))));
  DeinterlaceARGBSF(&source, &target, 1);
  // -1 * 1 + 4 * 8 + 2 * 64 + 4 * 512 - 1 * 4096 = -1889, an eighth of which no rounding touches.
  for (int lane = 0; lane < 16; ++lane)
    EXPECT_EQ(Lane(target, 4, lane), -1889.0f * static_cast<float>(lane + 1) / 8.0f);
}

TEST_F(Deinterlace, SumsPairsInSinglePrecisionAndTheRestInDouble) {
  SetProcessorCount(1);
  Image source = Filled(1, 9, 0.0f), target = Filled(1, 9, 0.0f);
  Lane(source, 3, 0) = 16777216.0f;  // 2^24: the pair's sum loses the 1 in single precision
  Lane(source, 5, 0) = 1.0f;
  Lane(source, 2, 0) = 67108864.0f;  // 2^26: what is left after it cancels 4 * 2^24 was kept by the double
  Lane(source, 4, 0) = 0.5f;
  DeinterlaceARGBSF(&source, &target, 1);
  EXPECT_EQ(Lane(target, 4, 0), 0.125f);  // (2 * 0.5 + 4 * 2^24 - 2^26) / 8
}

TEST_F(Deinterlace, UniformImageStaysAsItIs) {
  for (const int field : {1, 2}) {
    Image source = Filled(16, 20, 0.3f), target = Filled(16, 20, -1.0f);
    SetProcessorCount(4);
    DeinterlaceARGBSF(&source, &target, field);
    EXPECT_EQ(ChangedRows(source, target), std::vector<int>{}) << field;
  }
}

TEST_F(Deinterlace, SpikeInAnUnwantedRowIsReducedToAQuarter) {
  SetProcessorCount(1);
  Image source = Filled(2, 12, 0.0f), target = Filled(2, 12, 0.0f);
  for (int lane = 0; lane < 8; ++lane) Lane(source, 6, lane) = 1.0f;
  DeinterlaceARGBSF(&source, &target, 1);
  EXPECT_EQ(Lane(target, 6, 5), 0.25f);
  EXPECT_EQ(Lane(target, 4, 5), -0.125f);
  EXPECT_EQ(Lane(target, 5, 5), 0.0f);
}

TEST_F(Deinterlace, LanesBeyondTheLastStripeKeepWhatTheTargetHeld) {
  SetProcessorCount(3);  // 16 lanes in stripes of 5
  Image source = Textured(4, 9), target = Filled(4, 9, -1.0f);
  DeinterlaceARGBSF(&source, &target, 1);
  EXPECT_NE(Lane(target, 2, 14), -1.0f);
  EXPECT_EQ(Lane(target, 2, 15), -1.0f);
  EXPECT_EQ(Lane(target, 3, 15), Lane(source, 3, 15));
}

TEST_F(Deinterlace, ProcessorCountsThatDivideTheLanesGiveTheSameBytes) {
  const Image source = Textured(24, 18);
  Image one = Filled(24, 18, -1.0f);
  SetProcessorCount(1);
  DeinterlaceARGBSF(&source, &one, 2);
  for (const int count : {2, 3, 4, 6, 96}) {
    SetProcessorCount(count);
    Image many = Filled(24, 18, -2.0f);
    DeinterlaceARGBSF(&source, &many, 2);
    EXPECT_EQ(ChangedRows(one, many), std::vector<int>{}) << count;
  }
}

TEST_F(Deinterlace, ImagesWithoutRoomForTheFilterAreCopied) {
  SetProcessorCount(2);
  for (int height = 1; height <= 5; ++height)
    for (const int field : {1, 2}) {
      Image source = Textured(4, height), target = Filled(4, height, -1.0f);
      DeinterlaceARGBSF(&source, &target, field);
      EXPECT_EQ(ChangedRows(source, target), std::vector<int>{}) << height << " rows, field " << field;
    }
}

TEST_F(Deinterlace, StridesOfSourceAndTargetMayDifferAndPaddingIsNotTouched) {
  SetProcessorCount(2);
  Image source = Textured(4, 9), tight = Filled(4, 9, -1.0f);
  Image padded(4, 9, 96, ARGBSF);
  for (int row = 0; row < 9; ++row)
    for (int lane = 0; lane < 24; ++lane) Lane(padded, row, lane) = -3.0f;
  DeinterlaceARGBSF(&source, &tight, 1);
  DeinterlaceARGBSF(&source, &padded, 1);
  EXPECT_EQ(ChangedRows(tight, padded), std::vector<int>{});
  for (int row = 0; row < 9; ++row) EXPECT_EQ(Lane(padded, row, 16), -3.0f);
}

TEST_F(Deinterlace, StripeFiltersItsLanesOfEverySecondRow) {
  Image source = Filled(2, 8, 1.0f), target = Filled(2, 8, -1.0f);
  DeinterlaceContext context = {source.rows[0], target.rows[0], 2, 5, source.stride, target.stride, 3, 6};
  DeinterlaceWrapper(&context);
  for (int row = 0; row < 8; ++row)
    for (int lane = 0; lane < 8; ++lane) {
      const bool filtered = (row == 2 || row == 4) && lane >= 3 && lane < 6;
      EXPECT_EQ(Lane(target, row, lane), filtered ? 1.0f : -1.0f) << row << ", " << lane;
    }
}

}  // namespace
}  // namespace Vorn
