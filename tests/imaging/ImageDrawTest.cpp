#include "imaging/ImageDraw.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "imaging/Image.h"
#include "numerics/Line.h"

using Vorn::Coordinate2D;
using Vorn::Image;
using Vorn::ImageDraw;
using Vorn::Pixel;

namespace {

using Cells = std::vector<Coordinate2D>;

Cells LineOf(int x0, int y0, int x1, int y1) {
  Cells cells{{99, 99}};  // what was there goes
  ImageDraw::GetBresenham(x0, y0, x1, y1, cells);
  return cells;
}

TEST(GetBresenhamTest, APointIsOneCell) { EXPECT_EQ(LineOf(5, 5, 5, 5), (Cells{{5, 5}})); }

TEST(GetBresenhamTest, TheOrderDoesNotDependOnTheOrderOfTheEnds) {
  EXPECT_EQ(LineOf(3, 0, 0, 0), (Cells{{0, 0}, {1, 0}, {2, 0}, {3, 0}}));
  EXPECT_EQ(LineOf(0, 0, 3, 0), (Cells{{0, 0}, {1, 0}, {2, 0}, {3, 0}}));
  EXPECT_EQ(LineOf(2, 3, 2, 1), (Cells{{2, 1}, {2, 2}, {2, 3}}));
  EXPECT_EQ(LineOf(2, 1, 2, 3), (Cells{{2, 1}, {2, 2}, {2, 3}}));
}

TEST(GetBresenhamTest, WalksEachKindOfSlope) {
  EXPECT_EQ(LineOf(0, 0, 2, 2), (Cells{{0, 0}, {1, 1}, {2, 2}}));
  EXPECT_EQ(LineOf(0, 2, 2, 0), (Cells{{0, 2}, {1, 1}, {2, 0}}));
  EXPECT_EQ(LineOf(0, 0, 4, 2), (Cells{{0, 0}, {1, 1}, {2, 1}, {3, 2}, {4, 2}}));
  EXPECT_EQ(LineOf(0, 2, 4, 0), (Cells{{0, 2}, {1, 1}, {2, 1}, {3, 0}, {4, 0}}));
  EXPECT_EQ(LineOf(0, 0, 2, 4), (Cells{{0, 0}, {1, 1}, {1, 2}, {2, 3}, {2, 4}}));
  EXPECT_EQ(LineOf(0, 4, 2, 0), (Cells{{0, 4}, {1, 3}, {1, 2}, {2, 1}, {2, 0}}));
}

TEST(GetBresenhamTest, EveryLineHoldsBothEndsWithoutGaps) {
  for (int x = -9; x <= 9; ++x) {
    for (int y = -9; y <= 9; ++y) {
      const Cells cells = LineOf(0, 0, x, y);
      ASSERT_EQ(cells.size(), static_cast<size_t>(std::max(std::abs(x), std::abs(y)) + 1));
      EXPECT_EQ(std::ranges::count(cells, Coordinate2D(0, 0)), 1);
      EXPECT_EQ(std::ranges::count(cells, Coordinate2D(x, y)), 1) << x << " " << y;
      for (size_t i = 1; i < cells.size(); ++i) {
        const Coordinate2D step = cells[i] - cells[i - 1];
        EXPECT_LE(std::max(std::abs(step.x), std::abs(step.y)), 1);
      }
    }
  }
}

class ImageDrawTest : public ::testing::Test {
 protected:
  ImageDrawTest() : image(9, 7, Vorn::L8), draw(image) { image.Clear(); }

  /// The picture in text, a row a line; '.' for 0.
  std::string Picture() const {
    std::string text;
    for (int y = 0; y < image.GetHeight(); ++y) {
      for (int x = 0; x < image.GetWidth(); ++x)
        text += image.rows[y][x] == 0 ? '.' : image.rows[y][x] == 200 ? '#' : '+';
      text += '\n';
    }
    return text;
  }

  Image image;
  ImageDraw draw;
  const Pixel ink{200, 255};
};

TEST_F(ImageDrawTest, LinesAreClippedToTheImage) {
  draw.DrawLine(-3, 3, 30, 3, ink);
  draw.DrawLine(4, -5, 4, 50, ink);
  EXPECT_EQ(Picture(), "....#....\n....#....\n....#....\n#########\n....#....\n....#....\n....#....\n");
}

TEST_F(ImageDrawTest, AnEndlessLineCrossesTheImage) {
  draw.DrawLine(Vorn::Line(Vorn::Point2D(0, 1), 0.5), ink);
  EXPECT_EQ(image.rows[1][0], 200);
  EXPECT_EQ(image.rows[5][8], 200);
  EXPECT_EQ(image.rows[3][4], 200);
}

TEST_F(ImageDrawTest, RaysAndSegmentsEndWhereTheyAreBound) {
  using Vorn::Line, Vorn::Point2D;
  draw.DrawLine(Line(Point2D(2, 1), Point2D(5, 1), true, true), ink);   // a level segment
  draw.DrawLine(Line(Point2D(7, 2), Point2D(7, 4), true, true), ink);   // an upright one
  draw.DrawLine(Line(Point2D(1, 4), Point2D(2, 5), true, false), ink);  // a slanted ray
  EXPECT_EQ(Picture(), ".........\n..####...\n.......#.\n.......#.\n.#.....#.\n..#......\n...#.....\n");
}

TEST_F(ImageDrawTest, SteepSegmentsAndRaysEndInTheirRows) {
  using Vorn::Line, Vorn::Point2D;
  draw.DrawLine(Line(Point2D(1, 1), Point2D(2, 5), true, true), ink);
  draw.DrawLine(Line(Point2D(4, 4), Point2D(5, 2), true, true), ink);   // rising: it starts below
  draw.DrawLine(Line(Point2D(7, 3), Point2D(8, 0), true, false), ink);  // and goes on upward
  EXPECT_EQ(Picture(), "........#\n.#......#\n.#...#.#.\n..#..#.#.\n..#.#....\n..#......\n.........\n");
}

TEST_F(ImageDrawTest, ABoxHasEachCellOfItsOutlineOnce) {
  draw.DrawBox(6, 5, 2, 1, Pixel(200, 128));  // translucent, so that a second coat would show
  int drawn = 0;
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 9; ++x) {
      const bool onOutline = x >= 2 && x <= 6 && y >= 1 && y <= 5 && (x == 2 || x == 6 || y == 1 || y == 5);
      EXPECT_EQ(image.rows[y][x], onOutline ? 100 : 0) << x << " " << y;
      drawn += image.rows[y][x] != 0;
    }
  EXPECT_EQ(drawn, 16);
}

TEST_F(ImageDrawTest, FilledBoxesAndFloodsFillAreas) {
  draw.DrawFilledBox(-4, -4, 1, 1, ink);
  EXPECT_EQ(Picture(), "##.......\n##.......\n.........\n.........\n.........\n.........\n.........\n");
  draw.DrawLine(0, 4, 8, 4, ink);
  draw.FloodFill(8, 6, Pixel(100, 255));
  EXPECT_EQ(Picture(), "##.......\n##.......\n.........\n.........\n#########\n+++++++++\n+++++++++\n");
  draw.FloodFill(8, 6, Pixel(100, 255));  // with the colour that is there: ends
  draw.FloodFill(50, 50, ink);
}

TEST_F(ImageDrawTest, ACircleIsAsFarFromItsMiddleEverywhere) {
  image.Resize(41, 41, Vorn::L8);
  image.Clear();
  draw.DrawCircle(20, 20, Pixel(200, 128), 15);
  int drawn = 0;
  for (int y = 0; y < 41; ++y)
    for (int x = 0; x < 41; ++x) {
      if (image.rows[y][x] == 0) continue;
      EXPECT_EQ(image.rows[y][x], 100) << "drawn twice at " << x << " " << y;
      EXPECT_NEAR(std::hypot(x - 20, y - 20), 15, 0.75);
      ++drawn;
    }
  EXPECT_GE(drawn, 80);
  for (const auto& [x, y] : {std::pair(5, 20), {35, 20}, {20, 5}, {20, 35}}) EXPECT_EQ(image.rows[y][x], 100);
  image.Clear();
  draw.DrawCircle(20, 20, ink, 0);
  EXPECT_EQ(image.rows[20][20], 200);
  draw.DrawCircle(20, 20, ink, INT_MAX);
  draw.DrawCircle(20, 20, ink, -1);
}

TEST_F(ImageDrawTest, MarksStandAroundTheirPoint) {
  draw.DrawPlusPoint(1, 1, ink, 1);
  draw.DrawCrossPoint(4, 1, ink, 1);
  draw.DrawBoxPoint(7, 1, ink, 1);
  EXPECT_EQ(Picture().substr(0, 30), ".#.#.####\n###.#.#.#\n.#.#.####\n");
}

TEST_F(ImageDrawTest, AWideLineIsAsWideAsAsked) {
  draw.DrawWideLine(2, 3, 6, 3, ink, 3, false);
  EXPECT_EQ(Picture(), ".........\n.........\n..#####..\n..#####..\n..#####..\n.........\n.........\n");
  image.Clear();
  draw.DrawWideLine(2, 3, 6, 3, ink, 2, true);
  EXPECT_EQ(image.rows[3][4], 200);
  EXPECT_EQ(image.rows[2][4], 100) << "half covered";
}

TEST_F(ImageDrawTest, AlphaBlendsInEveryKindOfImage) {
  Image colour(2, 1, Vorn::BGRA32);
  colour.SetPixel(0, 0, Pixel(10, 20, 30, 255));
  ImageDraw(colour).DrawLine(0, 0, 0, 0, Pixel(110, 120, 130, 51));  // a fifth
  const Pixel mixed = colour(0, 0);
  EXPECT_EQ(mixed.R(), 30);
  EXPECT_EQ(mixed.G(), 40);
  EXPECT_EQ(mixed.B(), 50);
  EXPECT_EQ(mixed.A(), 255);
}

TEST(ImageDrawAlphaTest, OpaqueInkCoversInFormatsWithRanges) {
  for (const Vorn::PixelType type : {Vorn::YUVA32, Vorn::Y2UV32, Vorn::YUV24, Vorn::Y1UV10, Vorn::YUVA64}) {
    Image video(2, 1, type);
    video.Clear();
    const Pixel white = video.GenerateWhite();
    ImageDraw(video).DrawLine(0, 0, 1, 0, white);
    EXPECT_EQ(video(1, 0).Y(), white.Y()) << type;
  }
}

TEST(ImageDrawAlphaTest, InkOnTransparentGroundKeepsItsColour) {
  Image picture(1, 1, Vorn::BGRA32);
  picture.SetPixel(0, 0, Pixel(200, 0, 0, 0));
  ImageDraw draw(&picture);
  draw.DrawLine(0, 0, 0, 0, Pixel(0, 200, 0, 0));
  EXPECT_EQ(picture(0, 0).R(), 200) << "nothing was laid over it";
  draw.DrawLine(0, 0, 0, 0, Pixel(0, 200, 0, 128));
  EXPECT_EQ(picture(0, 0).R(), 0);
  EXPECT_EQ(picture(0, 0).G(), 200);
  EXPECT_EQ(picture(0, 0).A(), 128);
}

TEST(ImageDrawAlphaTest, ClearInkLeavesFloatsAsTheyAre) {
  Image picture(1, 1, Vorn::ARGBSF);
  const float before[] = {1.0F, 3.0F, -1.0F, 0.123456F};
  std::memcpy(picture.rows[0], before, sizeof before);
  ImageDraw(picture).DrawLine(0, 0, 0, 0, Pixel(0, 0, 0, 0));
  EXPECT_EQ(std::memcmp(picture.rows[0], before, sizeof before), 0);
}

TEST(ImageDrawAlphaTest, FloodsGoOnWherePixelsShareChroma) {
  Image video(5, 5, Vorn::Y2UV32);
  video.Clear();
  const Pixel ink(100, 30, 200, 219, Vorn::Rec601);
  ImageDraw(video).FloodFill(2, 2, ink);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x) EXPECT_EQ(video(x, y).Y(), 100) << x << " " << y;
}

TEST(ImageDrawWithoutAnImageTest, DrawsNowhere) {
  ImageDraw draw;
  const Pixel ink(1, 255);
  draw.DrawLine(0, 0, 3, 3, ink);
  draw.DrawFilledBox(0, 0, 3, 3, ink);
  draw.DrawWideLine(0, 0, 3, 3, ink, 2, true);
  draw.DrawLine(Vorn::Line(Vorn::Point2D(0, 0), 1), ink);
  draw.DrawCircle(0, 0, ink, 3);
  draw.FloodFill(0, 0, ink);
}

}  // namespace
