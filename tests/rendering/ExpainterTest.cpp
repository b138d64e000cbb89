#include "rendering/Expainter.h"

#include <gtest/gtest.h>

#include <cmath>

using Vorn::Coordinate2D;
using Vorn::Image;
using Vorn::PixelARGBSF;

namespace {

PixelARGBSF& At(Image& image, int x, int y) { return reinterpret_cast<PixelARGBSF*>(image.rows[y])[x]; }

/// A float picture whose red tells the place, all known.
struct Picture {
  Picture(int width, int height) : image(width, height, Vorn::ARGBSF), matte(width, height, Vorn::L8) {
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        At(image, x, y) = {0.5f, static_cast<float>(x), static_cast<float>(y), 1.0f};
        matte.rows[y][x] = 255;
      }
  }
  void Empty(int x0, int y0, int x1, int y1) {
    for (int y = y0; y <= y1; ++y)
      for (int x = x0; x <= x1; ++x) {
        At(image, x, y) = {0, 0, 0, 0};
        matte.rows[y][x] = 0;
      }
  }
  Image image, matte;
};

TEST(ExpainterTest, AWholePictureAndAnEmptyOneStay) {
  Picture whole(6, 5), nothing(6, 5);
  nothing.Empty(0, 0, 5, 4);
  EXPECT_EQ(Expainter().Repair(whole.image, whole.matte, true), 0);
  EXPECT_EQ(At(whole.image, 3, 2).a, 0.5f);
  EXPECT_EQ(Expainter().Repair(nothing.image, nothing.matte, true), 0);
  EXPECT_EQ(At(nothing.image, 3, 2).a, 0.0f);
}

TEST(ExpainterTest, AHoleOfOnePixelBecomesTheMeanOfItsEightNeighbours) {
  Picture picture(7, 7);
  picture.Empty(3, 2, 3, 2);
  EXPECT_EQ(Expainter().Repair(picture.image, picture.matte, false), 1);
  const PixelARGBSF& filled = At(picture.image, 3, 2);
  EXPECT_EQ(filled.a, 1.0f);
  EXPECT_FLOAT_EQ(filled.r, 3.0f);
  EXPECT_FLOAT_EQ(filled.g, 2.0f);
  EXPECT_FLOAT_EQ(filled.b, 1.0f);
  EXPECT_EQ(picture.matte.rows[2][3], 0) << "the matte stays";
}

TEST(ExpainterTest, APartlyCoveredPixelIsFilledToo) {
  Picture picture(7, 7);
  picture.matte.rows[2][3] = 254;
  At(picture.image, 3, 2) = {0.9f, 50, 50, 50};
  EXPECT_EQ(Expainter().Repair(picture.image, picture.matte, false), 1);
  EXPECT_FLOAT_EQ(At(picture.image, 3, 2).r, 3.0f);
}

TEST(ExpainterTest, ASingleKnownNeighbourIsCopiedWithItsAlpha) {
  Picture picture(3, 1);
  picture.Empty(1, 0, 2, 0);
  EXPECT_EQ(Expainter().Repair(picture.image, picture.matte, false), 2);
  for (int x = 1; x <= 2; ++x) {
    EXPECT_EQ(At(picture.image, x, 0).a, 0.5f);
    EXPECT_EQ(At(picture.image, x, 0).r, 0.0f);
  }
}

TEST(ExpainterTest, AHoleGrowsInRingByRing) {
  // A row of 7 with the middle five empty: the ring's cells don't serve each other.
  Picture picture(7, 1);
  picture.Empty(1, 0, 5, 0);
  EXPECT_EQ(Expainter().Repair(picture.image, picture.matte, false), 5);
  const float expected[] = {0, 0, 0, 3, 6, 6, 6};
  for (int x = 0; x < 7; ++x) EXPECT_FLOAT_EQ(At(picture.image, x, 0).r, expected[x]) << x;
  EXPECT_EQ(At(picture.image, 3, 0).a, 1.0f) << "the mean of two";
}

TEST(ExpainterTest, TheMatteMayHaveSixteenBits) {
  Picture picture(7, 7);
  picture.matte = Image(7, 7, Vorn::L16);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 7; ++x) reinterpret_cast<unsigned short*>(picture.matte.rows[y])[x] = 65535;
  reinterpret_cast<unsigned short*>(picture.matte.rows[4])[4] = 65534;
  Expainter painter;
  EXPECT_EQ(painter.Repair(picture.image, picture.matte, false), 1);
  EXPECT_EQ(painter.full, 65535);
  EXPECT_EQ(painter.boundary, 32767);
  EXPECT_EQ(painter.marker, 16383);
  EXPECT_EQ(painter.empty, 0);
}

TEST(ExpainterTest, CodesAreFilledWithWholeMeans) {
  Image image(3, 3, Vorn::L8), matte(3, 3, Vorn::L8);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) {
      image.rows[y][x] = static_cast<unsigned char>(10 + 3 * y + x);  // 10 to 18 about 14
      matte.rows[y][x] = 255;
    }
  image.rows[0][0] = 13;  // the sum of the eight is 115
  image.rows[1][1] = 0;
  matte.rows[1][1] = 0;
  EXPECT_EQ(Expainter().Repair(image, matte, false), 1);
  EXPECT_EQ(image.rows[1][1], 14);
}

TEST(ExpainterTest, SizesThatDifferAreLeftAlone) {
  Picture picture(7, 7);
  Image small(3, 3, Vorn::L8);
  small.Clear();
  EXPECT_EQ(Expainter().Repair(picture.image, small, true), 0);
}

/// A mask of 7 by 7 cells with the defaults' values.
class ExpainterMaskTest : public ::testing::Test {
 protected:
  ExpainterMaskTest() : mask(49, 255), picture(7, 7) {}
  int& Cell(int x, int y) { return mask[y * 7 + x]; }
  std::vector<int> mask;
  Picture picture;
  Expainter painter;
};

TEST_F(ExpainterMaskTest, DefaultsAreTheEightBitOnes) {
  EXPECT_EQ(painter.full, 255);
  EXPECT_EQ(painter.boundary, 127);
  EXPECT_EQ(painter.marker, 63);
  EXPECT_EQ(painter.empty, 0);
  EXPECT_EQ(painter.maxEdgeCells, 20);
}

TEST_F(ExpainterMaskTest, ABoundaryCellIsUnknownBesideAKnownOne) {
  std::fill(mask.begin(), mask.end(), 0);
  Cell(0, 0) = 255;
  EXPECT_FALSE(painter.isBoundary(mask.data(), 7, 7, 0, 0));
  EXPECT_TRUE(painter.isBoundary(mask.data(), 7, 7, 1, 1));
  EXPECT_FALSE(painter.isBoundary(mask.data(), 7, 7, 2, 0));
  EXPECT_FALSE(painter.isBoundary(mask.data(), 7, 7, 6, 6));
}

TEST_F(ExpainterMaskTest, TheNextRingComesInAFixedOrder) {
  std::fill(mask.begin(), mask.end(), 0);
  Cell(3, 3) = 127;
  Cell(2, 2) = 255;
  std::list<Coordinate2D> ring{{9, 9}};
  painter.markNewBoundary(3, 3, 7, 7, mask.data(), ring);
  EXPECT_EQ(ring, (std::list<Coordinate2D>{{9, 9}, {2, 3}, {4, 3}, {3, 2}, {3, 4}, {4, 2}, {2, 4}, {4, 4}}));
  EXPECT_EQ(Cell(3, 3), 255);
  EXPECT_EQ(Cell(4, 4), 127);
  EXPECT_EQ(Cell(2, 2), 255);
}

TEST_F(ExpainterMaskTest, NoMeanIsTakenAcrossABarriersCorner) {
  Cell(3, 3) = 127;
  for (int y = 0; y < 7; ++y) Cell(2, y) = 63;  // a barrier to the left: left and both left diagonals drop out
  for (int y = 0; y < 7; ++y) Cell(1, y) = 255;
  Coordinate2D cell(3, 3);
  ASSERT_TRUE(painter.filter(picture.image, cell, mask.data()));
  EXPECT_FLOAT_EQ(At(picture.image, 3, 3).r, (4 + 3 + 3 + 4 + 4) / 5.0f);
  EXPECT_FLOAT_EQ(At(picture.image, 3, 3).g, 3.0f);
  Cell(3, 2) = 63;  // above too: right, below and the corner between them are left
  ASSERT_TRUE(painter.filter(picture.image, cell, mask.data()));
  EXPECT_FLOAT_EQ(At(picture.image, 3, 3).r, (4 + 3 + 4) / 3.0f);
  EXPECT_FLOAT_EQ(At(picture.image, 3, 3).g, (3 + 4 + 4) / 3.0f);
}

TEST_F(ExpainterMaskTest, ACellWithoutKnownNeighboursBecomesEmpty) {
  std::fill(mask.begin(), mask.end(), 0);
  Cell(3, 3) = 127;
  Coordinate2D cell(3, 3);
  EXPECT_FALSE(painter.filter(picture.image, cell, mask.data()));
  EXPECT_EQ(Cell(3, 3), 0);
}

TEST_F(ExpainterMaskTest, GradientsAreSobelsOnLuma) {
  float first = 0, second = 0;
  painter.getGradients(picture.image, 3, 3, first, second);
  EXPECT_NEAR(first, 8 * 0.587, 1e-5);   // green grows by 1 a row
  EXPECT_NEAR(second, 8 * 0.299, 1e-5);  // red by 1 a column
}

TEST_F(ExpainterMaskTest, AnEdgeIsDrawnIntoTheHole) {
  for (int y = 0; y < 7; ++y)
    for (int x = 4; x < 7; ++x) Cell(x, y) = 0;
  std::list<Coordinate2D> edge;
  painter.extendEdge(3, 3, static_cast<float>(M_PI / 2), mask.data(), picture.image, edge);  // a level edge
  EXPECT_EQ(edge, (std::list<Coordinate2D>{{4, 3}, {5, 3}, {6, 3}}));
  EXPECT_EQ(Cell(5, 3), 63);
  EXPECT_EQ(Cell(5, 2), 0);
}

TEST(ExpainterEdgeTest, AnUprightEdgeStaysInItsColumn) {
  const int size = 64;
  Picture picture(size, size);
  std::vector<int> mask(size * size, 255);
  std::fill(mask.begin(), mask.begin() + 20 * size, 0);  // the hole is above row 20
  Expainter painter;
  for (int x = 1; x < size - 1; ++x) {
    std::list<Coordinate2D> edge;
    std::vector<int> cells = mask;
    painter.extendEdge(x, 20, 0.0f, cells.data(), picture.image, edge);
    EXPECT_GE(edge.size(), 2U) << x;
    for (const Coordinate2D& cell : edge) EXPECT_EQ(cell.x, x);
  }
}

TEST_F(ExpainterMaskTest, AWalkEndsWhereItMeetsAnotherBarrier) {
  for (int y = 0; y < 7; ++y)
    for (int x = 4; x < 7; ++x) Cell(x, y) = 0;
  Cell(5, 2) = 63;
  std::list<Coordinate2D> edge;
  painter.extendEdge(3, 3, static_cast<float>(M_PI / 2), mask.data(), picture.image, edge);
  EXPECT_EQ(edge, (std::list<Coordinate2D>{{4, 3}, {5, 3}}));
}

TEST_F(ExpainterMaskTest, BeyondTheLimitEachEndGetsASingleCell) {
  for (int y = 0; y < 7; ++y)
    for (int x = 4; x < 7; ++x) Cell(x, y) = 0;
  painter.maxEdgeCells = 2;
  std::list<Coordinate2D> edge;
  painter.extendEdge(3, 1, static_cast<float>(M_PI / 2), mask.data(), picture.image, edge);
  painter.extendEdge(3, 5, static_cast<float>(M_PI / 2), mask.data(), picture.image, edge);
  EXPECT_EQ(edge, (std::list<Coordinate2D>{{4, 1}, {5, 1}, {4, 5}}));
}

TEST(ExpainterEdgeTest, AStrongSlantedEdgeStaysSharperAcrossTheHole) {
  // Black to the upper left of x + y = 40, white beyond, and the right part missing.
  constexpr int kSize = 48, kHole = 30;
  Picture picture(kSize, kSize);
  for (int y = 0; y < kSize; ++y)
    for (int x = 0; x < kSize; ++x) {
      const float value = x + y < 40 ? 0.0f : 1.0f;
      At(picture.image, x, y) = {1, value, value, value};
    }
  picture.Empty(kHole, 0, kSize - 1, kSize - 1);
  Image without = picture.image;
  EXPECT_EQ(Expainter().Repair(picture.image, picture.matte, true), (kSize - kHole) * kSize);
  EXPECT_EQ(Expainter().Repair(without, picture.matte, false), (kSize - kHole) * kSize);
  const auto blur = [](Image& image) {  // how far the cells beside the edge are from black and white
    double sum = 0;
    for (int x = kHole; x < kHole + 8; ++x) sum += At(image, x, 38 - x).g + 1 - At(image, x, 41 - x).g;
    return sum;
  };
  EXPECT_LT(blur(picture.image), 0.8 * blur(without));
}

}  // namespace
