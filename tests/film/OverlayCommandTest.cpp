#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "film/CommandLineFixture.h"
#include "film/Comparison.h"
#include "film/Interrupt.h"
#include "film/MadeClips.h"
#include "film/OverlayColours.h"
#include "film/SquaresClip.h"

namespace film {
namespace {

using testing::HasSubstr;

class OverlayCommandTest : public CommandLineTest {
 protected:
  OverlayCommandTest() : film(folder / "squares.mkv"), drawn(folder / "drawn.mkv") {}

  static Outcome overlay(const std::string& from, const std::string& to, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"overlay",   from, "-o",     to,  "--quiet",
                                       "--threads", "1",  "--seed", "1", "--force"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  using Places = std::vector<std::pair<int, int>>;

  /// The pixels of nearly this colour in a part of a frame, on all rows or on every second one.
  static Places placesOf(const std::vector<float>& frame, const Colour& colour, int left, int top, int right,
                         int bottom, int step = 1) {
    Places places;
    for (int y = top; y < bottom; y += step)
      for (int x = left; x < right; ++x) {
        const float* argb = frame.data() + 4 * (static_cast<size_t>(y) * SquaresClip::width + x);
        if (std::fabs(argb[1] - colour.r) < 0.1f && std::fabs(argb[2] - colour.g) < 0.1f &&
            std::fabs(argb[3] - colour.b) < 0.1f)
          places.emplace_back(x, y);
      }
    return places;
  }
  /// The same within some pixels of a place.
  static Places around(const std::vector<float>& frame, const Colour& colour, double x, double y, int reach = 5) {
    const int column = static_cast<int>(x), row = static_cast<int>(y);
    return placesOf(frame, colour, column - reach, row - reach, column + reach + 1, row + reach + 1);
  }
  /// Expects marks of a colour at the four corners of a square, and of no other kind.
  static void expectSquare(const std::vector<float>& frame, const SquaresClip::Corner& place, const Colour& colour) {
    for (const double dx : {-0.5, SquaresClip::side - 0.5})
      for (const double dy : {-0.5, SquaresClip::side - 0.5})
        for (const Colour& kind : overlay::features) {
          const bool wanted = kind.r == colour.r && kind.g == colour.g;
          EXPECT_EQ(!around(frame, kind, place.x + dx, place.y + dy).empty(), wanted)
              << place.x + dx << "," << place.y + dy << " " << kind.r;
        }
  }

  std::string film, drawn;
};

TEST_F(OverlayCommandTest, FeaturesAreDrawnWhereTheyAreInTheColourOfWhatTheyAre) {
  const SquaresClip squares;
  squares.write(film, 8);
  ASSERT_EQ(overlay(film, drawn, {"--rendering", "natural"}).status, 0);
  const auto frames = framesOf(drawn);
  ASSERT_EQ(frames.size(), 8u);
  for (const int column : {0, 2, 4}) {
    expectSquare(frames[0], squares.placeOf(column, 1, 0), overlay::yellow);   // just found
    expectSquare(frames[1], squares.placeOf(column, 1, 1), overlay::skyBlue);  // followed
    expectSquare(frames[6], squares.placeOf(column, 1, 6), overlay::skyBlue);
  }
  for (const int frame : {2, 4, 7}) {
    const auto& picture = frames[static_cast<size_t>(frame)];
    expectSquare(picture, squares.placeOf(SquaresClip::stillColumn, 0, frame), overlay::green);
    expectSquare(picture, squares.placeOf(SquaresClip::oddColumn, 0, frame), overlay::purple);
  }
  const auto going = [&](int frame) { return squares.placeOf(SquaresClip::goingColumn, SquaresClip::goingRow, frame); };
  expectSquare(frames[4], going(4), overlay::skyBlue);
  expectSquare(frames[5], going(4), overlay::vermilion);  // gone: where it was last
  EXPECT_TRUE(around(frames[6], overlay::vermilion, going(4).x, going(4).y, 16).empty());
}

TEST_F(OverlayCommandTest, NothingIsDrawnWhereThereIsNothing) {
  const SquaresClip squares;
  squares.write(film, 5);
  ASSERT_EQ(overlay(film, drawn, {"--rendering", "natural"}).status, 0);
  const auto before = framesOf(film), after = framesOf(drawn);
  // Between the squares, clear of border, path and strip.
  for (const int column : {0, 2, 4})
    for (int y = 84; y < 94; ++y)
      for (int x = 8; x < 28; ++x) {
        const size_t at = 4 * (static_cast<size_t>(y) * SquaresClip::width + 40 * column + x);
        for (size_t c = at + 1; c < at + 4; ++c) EXPECT_NEAR(after[3][c], before[3][c], 0.01) << x << "," << y;
      }
}

TEST_F(OverlayCommandTest, EachFieldHasItsFeaturesInItsRows) {
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB}) {
    SquaresClip squares;
    squares.speed = 3.0;
    squares.write(film, 6, order);
    ASSERT_EQ(overlay(film, drawn, {"--rendering", "natural", "--fields", FieldWord(order), "--again"}).status, 0);
    const auto frames = framesOf(drawn);
    ASSERT_EQ(frames.size(), 6u);
    EXPECT_EQ(ScanClip(drawn).identity.frames, 6);
    // The mean column of the dots at a square's left corners, in the rows of one field.
    const auto meanColumn = [&](int frame, Field field) {
      const auto place = squares.placeOf(2, 1, 2 * frame);
      const int top = static_cast<int>(place.y) - 6, first = top % 2 == static_cast<int>(field) ? top : top + 1;
      const Places dots = placesOf(frames[static_cast<size_t>(frame)], overlay::skyBlue, static_cast<int>(place.x) - 4,
                                   first, static_cast<int>(place.x) + 7, static_cast<int>(place.y) + 18, 2);
      EXPECT_FALSE(dots.empty());
      double sum = 0;
      for (const auto& [x, y] : dots) sum += x;
      return sum / static_cast<double>(dots.size());
    };
    for (const int frame : {3, 4}) {
      const double first = meanColumn(frame, FirstField(order)), second = meanColumn(frame, SecondField(order));
      EXPECT_NEAR(first, squares.placeOf(2, 1, 2 * frame).x - 0.5, 1.5);
      EXPECT_NEAR(second - first, 3.0, 1.0);  // the second field is a moment later
    }
  }
}

TEST_F(OverlayCommandTest, TheSoundComesAlongAndNothingElseChanges) {
  ASSERT_EQ(overlay(clip, out).status, 0);
  const ClipContents before = ScanClip(clip), after = ScanClip(out);
  EXPECT_EQ(after.identity.frames, before.identity.frames);
  EXPECT_EQ(after.format.width, before.format.width);
  for (size_t i = 0; i < before.index->frames.size(); ++i)
    EXPECT_EQ(after.index->frames[i].time, before.index->frames[i].time);
  const auto soundPackets = [](const std::string& path) {
    ClipReader reader(path, 1);
    const Packet packet = MakePacket();
    int count = 0;
    for (; av_read_frame(&reader.file(), packet.get()) >= 0; av_packet_unref(packet.get()))
      count += packet->stream_index != reader.stream().index ? 1 : 0;
    return count;
  };
  EXPECT_GT(soundPackets(out), 0);
  EXPECT_EQ(soundPackets(out), soundPackets(clip));
}

TEST_F(OverlayCommandTest, APreviewIsOfHalfTheSizeWithLinesAsThick) {
  const SquaresClip squares;
  squares.write(film, 8);
  ASSERT_EQ(overlay(film, drawn, {"--rendering", "natural", "--preview", "--from", "2", "--lossless"}).status, 0);
  const ClipContents preview = ScanClip(drawn);
  EXPECT_EQ(preview.format.width, SquaresClip::width / 2);
  EXPECT_EQ(preview.format.height, SquaresClip::height / 2);
  EXPECT_EQ(preview.identity.frames, 6);
  // A dot is half as large in the whole picture as it would be drawn there, so that it keeps its size when halved.
  const auto place = squares.placeOf(2, 1, 3);
  const auto frames = framesOf(drawn);
  float nearest = 1.0f;
  for (int dy = -2; dy <= 2; ++dy)
    for (int dx = -2; dx <= 2; ++dx) {
      const int x = static_cast<int>(place.x / 2) + dx, y = static_cast<int>(place.y / 2) + dy;
      const float* argb = frames[1].data() + 4 * (static_cast<size_t>(y) * (SquaresClip::width / 2) + x);
      const Colour& dot = overlay::skyBlue;
      nearest = std::min(
          nearest, std::max({std::fabs(argb[1] - dot.r), std::fabs(argb[2] - dot.g), std::fabs(argb[3] - dot.b)}));
    }
  EXPECT_LT(nearest, 0.12f);
}

TEST_F(OverlayCommandTest, WarningsAreToldAsByTheOtherCommands) {
  const std::string flat = folder / "flat.mkv",
                    told = "orvane: " + flat + ": no motion could be found in 4 of 5 frames";
  MakeClip(flat, 5, "-vf lutyuv=y=128:u=128:v=128 -c:v ffv1");
  EXPECT_THAT(run({"overlay", flat, "-o", drawn, "--progress", "lines"}).err, HasSubstr(told));
  EXPECT_THAT(run({"overlay", flat, "-o", drawn, "--force", "--progress", "lines"}).err, HasSubstr(told));
  const std::string lines = run({"overlay", flat, "-o", drawn, "--force", "--progress", "json"}).out;
  EXPECT_THAT(lines.substr(lines.rfind("{\"done\"")), HasSubstr("\"warnings\":[{\"kind\":\"noMotion\""));
  EXPECT_EQ(run({"overlay", flat, "-o", drawn, "--force", "--quiet"}).err, "");
}

TEST_F(OverlayCommandTest, TheStoredAnalysisIsUsedAndSettingsAreOnlyTried) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string stored = ReadAll(document);
  ASSERT_EQ(overlay(clip, out, {"--rendering", "crop", "--smoothing", "30"}).status, 0);
  EXPECT_EQ(ReadAll(document), stored);
  std::filesystem::remove(document);
  ASSERT_EQ(overlay(clip, out).status, 0);
  EXPECT_TRUE(std::filesystem::exists(document));  // as with the other commands
}

TEST_F(OverlayCommandTest, APartOfTheClipIsDrawnAsInTheWhole) {
  const SquaresClip squares;
  squares.write(film, 9);
  ASSERT_EQ(overlay(film, drawn).status, 0);
  const auto whole = framesOf(drawn);
  ASSERT_EQ(overlay(film, drawn, {"--from", "3", "--to", "5"}).status, 0);
  const auto part = framesOf(drawn);
  ASSERT_EQ(part.size(), 3u);
  // Features are followed from the start of the clip, so that their trails and kinds are there.
  expectSquare(part[0], squares.placeOf(0, 1, 3), overlay::skyBlue);
  for (const size_t at : {4 * (84u * 320 + 30) + 1, 4 * (30u * 320 + 20) + 1})
    EXPECT_NEAR(part[1][at], whole[4][at], 0.01);
}

TEST_F(OverlayCommandTest, ClipsOfEveryShapeAreDrawnOn) {
  const struct {
    const char *name, *size, *options;
  } kinds[] = {{"tiny.mkv", "16x16", "-c:v ffv1"},
               {"odd.mkv", "65x49", "-c:v ffv1 -pix_fmt yuv444p"},
               {"deep.mp4", "128x96", "-c:v libx264 -pix_fmt yuv420p10le"},
               {"tall.mp4", "64x192", "-c:v libx264 -pix_fmt yuv420p"},
               {"opaque.mov", "96x64", "-c:v png -pix_fmt rgba"}};
  for (const auto& kind : kinds) {
    MakeClip(folder / kind.name, 4, kind.options, kind.size);
    const std::string to = folder / (std::string("drawn-") + kind.name);
    const Outcome outcome = overlay(folder / kind.name, to);
    ASSERT_EQ(outcome.status, 0) << kind.name << outcome.err;
    const ClipContents before = ScanClip(folder / kind.name), after = ScanClip(to);
    EXPECT_EQ(after.identity.frames, 4) << kind.name;
    EXPECT_EQ(after.format.pixelFormat, before.format.pixelFormat) << kind.name;
    EXPECT_EQ(after.format.width, before.format.width) << kind.name;
    EXPECT_EQ(after.format.height, before.format.height) << kind.name;
  }
}

TEST_F(OverlayCommandTest, OnATurnedClipTheStripIsBelow) {
  const std::string turned = folder / "turned.mp4";
  RunFfmpeg("-i '" + clip + "' -c copy -metadata:s:v rotate=90 '" + turned + "'");
  ASSERT_EQ(overlay(turned, out, {"--crf", "4", "--rendering", "natural"}).status, 0);
  EXPECT_EQ(QuarterTurns(out), QuarterTurns(turned));
  const auto before = framesOf(turned), after = framesOf(out);
  const auto change = [&](int left, int right) {
    double sum = 0;
    for (int y = 40; y < 100; ++y)
      for (int x = left; x < right; ++x) {
        const size_t at = 4 * (static_cast<size_t>(y) * clipWidth + static_cast<size_t>(x)) + 2;
        sum += std::fabs(after[5][at] - before[5][at]);
      }
    return sum / 60 / (right - left);
  };
  // Shown a quarter turn anticlockwise, the coded left edge is below.
  EXPECT_GT(change(1, 9), 0.15);
  EXPECT_LT(change(clipWidth - 9, clipWidth - 1), 0.1);
}

TEST_F(OverlayCommandTest, WhatCantBeDrawnOnIsTold) {
  expectRefusal({"overlay", folder / "none.mp4", "-o", out}, 1, folder / "none.mp4", "check the name");
  expectRefusal({"overlay", clip}, 2, "-o", "--help");
  expectRefusal({"overlay", clip, "-o", clip, "--force"}, 2, clip, "choose another name");
  expectRefusal({"overlay", clip, "-o", out, "--from", "99"}, 2, clip, "0 to 13");
  expectRefusal({"overlay", clip, "-o", folder / "none" + std::string("/out.mp4")}, 1, "none/out.mp4", "folder");
  WriteAll(folder / "text.mp4", "no film");
  expectRefusal({"overlay", folder / "text.mp4", "-o", out}, 1, "text.mp4", "");
  EXPECT_FALSE(std::filesystem::exists(out));
}

class OverlayDeathTest : public OverlayCommandTest {
 protected:
  OverlayDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] void cancel() const {
    const std::string name = clip, to = out;
    const char* const analyse[] = {"orvane", "analyse", name.c_str(), "--quiet"};
    if (Main(4, analyse) != 0) std::_Exit(3);
    const std::string stored = ReadAll(document);
    CatchInterrupts();
    std::raise(SIGINT);
    const char* const draw[] = {"orvane", "overlay", name.c_str(), "-o", to.c_str(), "--quiet"};
    const int status = Main(6, draw);
    if (std::filesystem::exists(to) || ReadAll(document) != stored) std::_Exit(4);
    std::_Exit(status);
  }
};

TEST_F(OverlayDeathTest, CancellingLeavesNoFile) {
  EXPECT_EXIT(cancel(), testing::ExitedWithCode(130), "cancelled");
  EXPECT_THAT(folder.names(), testing::Not(testing::Contains(HasSubstr("out.mp4"))));
}

}  // namespace
}  // namespace film
