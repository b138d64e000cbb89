#include "imaging/PixelRows.h"

#include <gtest/gtest.h>

#include "imaging/PixelTypes.h"

namespace Vorn {
namespace {

PixelCodes CodesOf(const Pixel& p) {
  if (p.space == RGB) return {p.R(), p.G(), p.B(), p.A()};
  if (p.space == Mono) return {p.Luma(), 0, 0, p.A()};
  return {p.Y(), p.U(), p.V(), p.A()};
}

class PixelRowsOfEveryType : public testing::TestWithParam<PixelType> {
 protected:
  Image noise(int width, int height) {
    Image image(width, height, GetParam());
    FillWithNoise(image, dice);
    return image;
  }
  Dice dice;
};

INSTANTIATE_TEST_SUITE_P(All, PixelRowsOfEveryType, testing::ValuesIn(allPixelTypes));

TEST_P(PixelRowsOfEveryType, AreWhatThePixelAccessGives) {
  const Image image = noise(13, 5);
  PixelRow row(13);
  for (int y = 0; y < 5; ++y) {
    ReadRow(image, y, CodeScale::ZeroBased, row);
    for (int x = 0; x < 13; ++x) ASSERT_EQ(row[x], CodesOf(image(x, y))) << x << ", " << y;
    ReadRow(image, y, CodeScale::Stored, row);
    for (int x = 0; x < 13; ++x) ASSERT_EQ(row[x], CodesOf(image.GetRaw(x, y))) << x << ", " << y;
  }
}

TEST_P(PixelRowsOfEveryType, AreTransparentBlackOutsideOfTheImage) {
  const Image image = noise(3, 2);
  PixelCodes black = CodesOf(image.black);
  black[3] = 0;
  PixelRow row(9);
  ReadRow(image, 1, CodeScale::ZeroBased, row);
  EXPECT_EQ(row[2], CodesOf(image(2, 1)));
  for (int x = 3; x < 9; ++x) EXPECT_EQ(row[x], black) << x;
  for (const int y : {-1, 2, 1000000}) {
    ReadRow(image, y, CodeScale::ZeroBased, row);
    for (int x = 0; x < 9; ++x) EXPECT_EQ(row[x], black) << x;
  }
}

TEST_P(PixelRowsOfEveryType, AreStoredAsThePixelAccessStoresThem) {
  const Image source = noise(11, 4);
  Image byRows(11, 4, GetParam()), byPixels(11, 4, GetParam());
  FillWith(byRows, byRows.black);
  FillWith(byPixels, byPixels.black);
  PixelRow row(14);  // longer than the image: the rest is dropped
  for (int y = 0; y < 4; ++y) {
    ReadRow(source, y, CodeScale::ZeroBased, row);
    WriteRow(row, y, CodeScale::ZeroBased, byRows);
    for (int x = 0; x < 11; ++x) byPixels.SetPixel(x, y, source(x, y));
  }
  WriteRow(row, 4, CodeScale::ZeroBased, byRows);
  WriteRow(row, -1, CodeScale::Stored, byRows);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 11; ++x) ASSERT_EQ(byRows.GetRaw(x, y), byPixels.GetRaw(x, y)) << x << ", " << y;
}

TEST_P(PixelRowsOfEveryType, KeepStoredCodesOnTheWayThere) {
  const Image source = noise(8, 2);
  Image target(8, 2, GetParam());
  PixelRow row(8);
  for (int y = 0; y < 2; ++y) {
    ReadRow(source, y, CodeScale::Stored, row);
    WriteRow(row, y, CodeScale::Stored, target);
  }
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(target.GetRaw(x, y), source.GetRaw(x, y)) << x << ", " << y;
}

TEST(PixelRows, OfAnImageWithoutPixelsAreBlack) {
  const Image empty;
  PixelRow row(2, {1, 2, 3, 4});
  ReadRow(empty, 0, CodeScale::ZeroBased, row);
  EXPECT_EQ(row[0], (PixelCodes{0, 0, 0, 0}));
  Image target;
  WriteRow(row, 0, CodeScale::ZeroBased, target);
  EXPECT_FALSE(target.valid);
}

}  // namespace
}  // namespace Vorn
