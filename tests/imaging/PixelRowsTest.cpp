#include "imaging/PixelRows.h"

#include <gtest/gtest.h>

#include <cstddef>

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
  const int sizes[][2] = {{13, 5}, {1, 1}, {2, 1}, {5, 1}, {1, 3}, {6, 2}};
  for (const auto& [width, height] : sizes) {
    const Image image = noise(width, height);
    PixelRow row(static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y) {
      ReadRow(image, y, CodeScale::ZeroBased, row);
      for (int x = 0; x < width; ++x) ASSERT_EQ(row[x], CodesOf(image(x, y))) << width << ": " << x << ", " << y;
      ReadRow(image, y, CodeScale::Stored, row);
      for (int x = 0; x < width; ++x) ASSERT_EQ(row[x], CodesOf(image.GetRaw(x, y))) << width << ": " << x << ", " << y;
    }
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
  const int sizes[][2] = {{11, 4}, {11, 5}, {1, 1}, {4, 1}, {1, 3}};
  for (const auto& [width, height] : sizes) {
    const Image source = noise(width, height);
    Image byRows(width, height, GetParam()), byPixels(width, height, GetParam());
    FillWith(byRows, byRows.black);
    FillWith(byPixels, byPixels.black);
    PixelRow row(static_cast<std::size_t>(width) + 3);  // longer than the image: the rest is dropped
    for (int y = 0; y < height; ++y) {
      ReadRow(source, y, CodeScale::ZeroBased, row);
      for (int x = 0; x < width; ++x) {  // differing chroma, so that it shows which write of a shared one counts
        if (IsYCbCrType(GetParam())) row[x][1] = dice.upTo(static_cast<int>(source.uMax - source.uMin));
        Pixel pixel = source(x, y);
        if (IsYCbCrType(GetParam())) pixel.U_ = row[x][1];
        byPixels.SetPixel(x, y, pixel);
      }
      WriteRow(row, y, CodeScale::ZeroBased, byRows);
    }
    WriteRow(row, height, CodeScale::ZeroBased, byRows);
    WriteRow(row, -1, CodeScale::Stored, byRows);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        ASSERT_EQ(byRows.GetRaw(x, y), byPixels.GetRaw(x, y)) << width << ": " << x << ", " << y;
  }
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
