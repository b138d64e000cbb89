#include "film/TracksFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <map>

#include "film/CommandLineFixture.h"
#include "film/Failure.h"
#include "film/Interrupt.h"
#include "film/NobodysRights.h"
#include "film/SquaresClip.h"

namespace film {
namespace {

using testing::HasSubstr;

struct StoredPoint {
  float x, y;
  int status;
};
using StoredFrame = std::map<int, StoredPoint>;  // by id

/// A reader of strk files that knows nothing but the table of their bytes.
class StrkReader {
 public:
  explicit StrkReader(const std::string& path) : bytes(ReadAll(path)) {
    EXPECT_EQ(word(0), "RIFF");
    EXPECT_EQ(number(4), bytes.size() - 8);
    EXPECT_EQ(word(8), "STRK");
    for (size_t at = 12; at + 8 <= bytes.size();) {
      const std::string tag = word(at);
      const size_t size = number(at + 4);
      if (tag == "CONF") readConf(at);
      if (tag == "COMM") comment = bytes.substr(at + 8, size).c_str();
      if (tag == "LIST" && word(at + 8) == "DATA") readData(at + 8, at + 8 + size);
      if (tag == "LIST" && word(at + 8) == "MRNG")
        for (size_t r = at + 12; r < at + 8 + size; r += 16)
          ranges.emplace_back(static_cast<int>(number(r + 8)), static_cast<int>(number(r + 12)));
      if (tag == "INDX") readIndex(at + 8, size);
      at += 8 + size + size % 2;
    }
  }

  int window = 0, levels = 0, range = 0, largestId = 0, continued = -1;
  float minevalue = 0;
  std::string comment;
  std::map<int, StoredFrame> frames;
  std::vector<std::pair<int, int>> ranges;
  std::map<int, size_t> index;  // where the index says that a frame's record is

 private:
  std::string word(size_t at) const { return bytes.substr(at, 4); }
  std::uint32_t number(size_t at, size_t count = 4) const {
    std::uint32_t value = 0;
    for (size_t i = 0; i < count; ++i)
      value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(at + i))) << 8 * i;
    return value;
  }
  float real(size_t at) const {
    float value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
  }
  void readConf(size_t at) {
    EXPECT_EQ(number(at + 4), 18u);
    EXPECT_EQ(number(at + 8, 2), 2u);
    window = static_cast<int>(number(at + 10, 2));
    levels = static_cast<int>(number(at + 12, 2));
    range = static_cast<int>(number(at + 14, 2));
    largestId = static_cast<int>(number(at + 16));
    continued = static_cast<int>(number(at + 20, 2));
    minevalue = real(at + 22);
  }
  void readData(size_t data, size_t end) {
    for (size_t at = data + 4; at < end; at += 8 + number(at + 4)) {
      EXPECT_EQ(word(at), "00TB");
      const int frame = static_cast<int>(number(at + 8));
      places[frame] = at - data;
      StoredFrame& points = frames[frame];
      for (size_t i = 0, p = at + 16; i < number(at + 12); ++i, p += 14)
        points[static_cast<int>(number(p))] = {real(p + 4), real(p + 8), static_cast<int>(number(p + 12, 2))};
    }
  }
  void readIndex(size_t at, size_t size) {
    for (size_t e = at; e < at + size; e += 20) {
      index[static_cast<int>(number(e + 8))] = number(e + 12);
      EXPECT_EQ(number(e + 12), places[static_cast<int>(number(e + 8))]);
    }
  }

  std::string bytes;
  std::map<int, size_t> places;
};

class TracksFileTest : public CommandLineTest {
 protected:
  static constexpr int frames = 8;

  TracksFileTest() : film(folder / "squares.mkv"), tracks(folder / "f.strk") {}

  Outcome analyse(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments{"analyse", film, "--tracks", tracks, "--quiet", "--threads", "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }
  /// Expects a feature within two pixels of a square's left upper corner, and returns its id.
  static int idAt(const StoredFrame& frame, const SquaresClip::Corner& place) {
    for (const auto& [id, point] : frame)
      if (std::fabs(point.x - place.x) < 3 && std::fabs(point.y - place.y) < 3) return id;
    ADD_FAILURE() << "no feature at " << place.x << "," << place.y;
    return -1;
  }

  std::string film, tracks;
};

TEST_F(TracksFileTest, HoldsWhereTheFeaturesWereOnEachFrame) {
  const SquaresClip squares;
  squares.write(film, frames);
  ASSERT_EQ(analyse().status, 0);
  const StrkReader file(tracks);
  EXPECT_EQ(file.window, 15);
  EXPECT_EQ(file.levels, 2);  // 240 rows are halved once
  EXPECT_EQ(file.range, 80);
  EXPECT_EQ(file.minevalue, 200.0f);
  EXPECT_EQ(file.continued, 0);
  EXPECT_EQ(file.comment, "squares.mkv");
  ASSERT_EQ(file.frames.size(), static_cast<size_t>(frames));
  EXPECT_EQ(file.index.size(), static_cast<size_t>(frames));
  EXPECT_EQ(file.ranges, (std::vector<std::pair<int, int>>{{0, frames - 1}}));
  int largest = -1;
  for (const auto& [number, points] : file.frames)
    for (const auto& [id, point] : points) {
      largest = std::max(largest, id);
      EXPECT_EQ(point.status, number == 0 ? 1 : 0) << number << " " << id;  // new on the first frame
    }
  EXPECT_EQ(file.largestId, largest);
  for (const int column : {0, 2, 4, 6}) {
    const int id = idAt(file.frames.at(0), squares.placeOf(column, 2, 0));
    const StoredPoint begin = file.frames.at(0).at(id);
    for (int frame = 1; frame < frames; ++frame) {
      ASSERT_TRUE(file.frames.at(frame).contains(id)) << frame;
      EXPECT_NEAR(file.frames.at(frame).at(id).x, begin.x + static_cast<float>(frame), 0.1) << frame;
      EXPECT_NEAR(file.frames.at(frame).at(id).y, begin.y, 0.1) << frame;
    }
  }
  // The square that vanishes takes its features along.
  const int going = idAt(file.frames.at(4), squares.placeOf(SquaresClip::goingColumn, SquaresClip::goingRow, 4));
  EXPECT_FALSE(file.frames.at(5).contains(going));
}

TEST_F(TracksFileTest, OfAnInterlacedClipEachFieldIsAFrame) {
  SquaresClip squares;
  squares.speed = 2.0;
  squares.write(film, 4, AV_FIELD_TT);
  ASSERT_EQ(analyse({"--fields", "top"}).status, 0);
  const StrkReader file(tracks);
  EXPECT_EQ(file.ranges, (std::vector<std::pair<int, int>>{{0, 7}}));
  const int id = idAt(file.frames.at(0), squares.placeOf(2, 2, 0));
  EXPECT_NEAR(file.frames.at(7).at(id).x - file.frames.at(0).at(id).x, 14.0f, 0.3f);
}

TEST_F(TracksFileTest, AStoredAnalysisStaysAsItIs) {
  SquaresClip().write(film, frames);
  ASSERT_EQ(run({"analyse", film, "--quiet"}).status, 0);
  const std::string stored = ReadAll(film + ".orvane.json");
  ASSERT_EQ(analyse().status, 0);
  EXPECT_EQ(ReadAll(film + ".orvane.json"), stored);
  EXPECT_EQ(StrkReader(tracks).frames.size(), static_cast<size_t>(frames));
  ASSERT_EQ(analyse({"--again"}).status, 0);  // over the one that is there
  EXPECT_EQ(StrkReader(tracks).frames.size(), static_cast<size_t>(frames));
}

TEST_F(TracksFileTest, StabilisingWritesThemBesideTheFilm) {
  SquaresClip().write(film, frames);
  const std::string steady = folder / "steady.mkv";
  const auto stabilise = [&] {
    return run({"stabilise", film, "-o", steady, "--tracks", tracks, "--force", "--quiet", "--threads", "1"});
  };
  ASSERT_EQ(stabilise().status, 0);
  const StrkReader measured(tracks);
  EXPECT_EQ(measured.frames.size(), static_cast<size_t>(frames));
  const std::string stored = ReadAll(film + ".orvane.json");
  std::filesystem::remove(tracks);
  ASSERT_EQ(stabilise().status, 0);  // from what is stored
  EXPECT_EQ(ReadAll(film + ".orvane.json"), stored);
  EXPECT_EQ(StrkReader(tracks).frames.size(), static_cast<size_t>(frames));
  EXPECT_EQ(ScanClip(steady).identity.frames, frames);
}

TEST_F(TracksFileTest, TheFolderOfAnAnalysedClipNeedntBeWritable) {
  SquaresClip().write(film, frames);
  ASSERT_EQ(run({"analyse", film, "--quiet"}).status, 0);
  const TestFolder other;
  using std::filesystem::perms;
  std::filesystem::permissions(other / "", perms::all);
  std::filesystem::permissions(folder / "",
                               perms::all & ~(perms::owner_write | perms::group_write | perms::others_write));
  {
    const NobodysRights rights;
    tracks = other / "f.strk";
    const Outcome outcome = analyse();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(StrkReader(tracks).frames.size(), static_cast<size_t>(frames));
    // What is kept with the clip needs it, and another place is named.
    expectRefusal({"analyse", film, "--tracks", tracks, "--again", "--quiet"}, 1, film + ".orvane.json", "--effect");
    expectRefusal({"analyse", film, "--tracks", tracks, "--smoothing", "40", "--quiet"}, 1, film + ".orvane.json",
                  "--effect");
  }
  std::filesystem::permissions(folder / "", perms::all);
}

TEST_F(TracksFileTest, WhatCantBeWrittenIsToldBeforeTheWork) {
  SquaresClip().write(film, frames);
  tracks = folder / "none" + std::string("/f.strk");
  Outcome outcome = analyse();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("f.strk: its folder does not exist"));
  EXPECT_FALSE(std::filesystem::exists(film + ".orvane.json"));
  tracks = clip;  // another film
  const std::string before = ReadAll(clip);
  outcome = analyse();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("no file of feature tracks"));
  tracks = film;
  EXPECT_EQ(analyse().status, 2);
  tracks = film + ".orvane.json";
  EXPECT_EQ(analyse().status, 2);
  EXPECT_EQ(ReadAll(clip), before);
  outcome = run({"analyse", film, clip, "--tracks", folder / "f.strk", "--quiet"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--tracks is for one clip"));
}

TEST_F(TracksFileTest, OneThatIsNotFinishedLeavesNothing) {
  TrackerEstimator analysis;
  analysis.trackPoints.emplace_back(1.0, 2.0);
  analysis.trackStatus = {Vorn::FeatureStorage::TrackNew};
  WriteAll(tracks, "");
  const std::vector<std::string> before = folder.names();
  {
    TracksFile file(tracks, "");
    file.add(0, analysis);
  }
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAreArray(before));
  EXPECT_EQ(ReadAll(tracks), "");
}

TEST_F(TracksFileTest, SegmentsOfALongOneTakeTheirNamesToo) {
  TrackerEstimator analysis;  // without features: 74501 frames make two segments
  {
    TracksFile file(tracks, "");
    for (int number = 0; number <= 74501; ++number) file.add(number, analysis);
    file.finish();
  }
  EXPECT_EQ(StrkReader(tracks).continued, 1);
  ASSERT_TRUE(std::filesystem::exists(tracks + "1"));
  EXPECT_EQ(ReadAll(tracks + "1").substr(8, 4), "TRKN");
  Vorn::FeatureStorage storage;
  EXPECT_TRUE(storage.Open(tracks.c_str(), Vorn::FeatureStorage::StorageRead));
  EXPECT_EQ(storage.segments.size(), 2u);
  {
    TracksFile file(tracks, "");
    for (int number = 0; number <= 74501; ++number) file.add(number, analysis);
  }
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("clip.mp4", "f.strk", "f.strk1"));
}

class TracksFileDeathTest : public TracksFileTest {
 protected:
  TracksFileDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] void cancel() const {
    CatchInterrupts();
    std::raise(SIGINT);
    const char* const argv[] = {"orvane", "analyse", film.c_str(), "--tracks", tracks.c_str(), "--quiet"};
    const int status = Main(6, argv);
    const auto names = folder.names();
    for (const std::string& name : names)
      if (name.find("strk") != std::string::npos) std::_Exit(4);
    std::_Exit(status);
  }
};

TEST_F(TracksFileDeathTest, ACancelledAnalysisLeavesNoTracks) {
  SquaresClip().write(film, frames);
  EXPECT_EXIT(cancel(), testing::ExitedWithCode(130), "cancelled");
}

}  // namespace
}  // namespace film
