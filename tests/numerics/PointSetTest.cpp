#include "numerics/PointSet.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

namespace Vorn {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

Point2D Tagged(double x, double y, int id, double weight = 1.0) {
  Point2D point(x, y);
  point.id = id;
  point.weight = weight;
  return point;
}

std::string TemporaryPath(const char* name) { return testing::TempDir() + "orvane_pointset_" + name; }

std::string WriteFile(const char* name, const std::string& bytes) {
  const std::string path = TemporaryPath(name);
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The `count` low bytes of `value`, low byte first.
std::string Bytes(std::uint32_t value, int count = 4) {
  std::string bytes;
  for (int i = 0; i < count; ++i, value >>= 8) bytes.push_back(static_cast<char>(value & 255));
  return bytes;
}

std::string Chunk(const std::string& tag, const std::string& content) {
  return tag + Bytes(static_cast<std::uint32_t>(content.size())) + content;
}

std::string Conf(std::uint32_t version, std::uint32_t count) {
  return Chunk("CONF", Bytes(version, 2) + Bytes(0, 2) + Bytes(count));
}

std::string Record(int id, float x, float y, float weight) {
  return Bytes(static_cast<std::uint32_t>(id)) + Bytes(std::bit_cast<std::uint32_t>(x)) +
         Bytes(std::bit_cast<std::uint32_t>(y)) + Bytes(std::bit_cast<std::uint32_t>(weight));
}

std::string File(const std::string& chunks) { return Chunk("RIFF", "PSET" + chunks); }

bool LoadBytes(PointSet& set, const char* name, const std::string& bytes) {
  return set.Load(WriteFile(name, bytes).c_str());
}

TEST(PointSet, StartsEmpty) {
  const PointSet set;
  EXPECT_TRUE(set.points.empty());
  EXPECT_EQ(set.numPoints, 0u);
  EXPECT_EQ(set.comment, "");
  EXPECT_EQ(set.pointsHandle, nullptr);
  EXPECT_EQ(set.fileSize, 0);
  EXPECT_EQ(set.formatVersion, 2);
  EXPECT_EQ(set.offset, Point2D(0, 0));
}

TEST(PointSet, AddsRemovesAndClearsPoints) {
  PointSet set;
  for (int id = 0; id < 4; ++id) set.Add(Tagged(id, 10 * id, id));
  EXPECT_EQ(set.numPoints, 4u);
  set.Remove(1);
  EXPECT_EQ(set.numPoints, 3u);
  EXPECT_EQ(set[0].id, 0);
  EXPECT_EQ(set[1].id, 2);
  EXPECT_EQ(set[2].id, 3);
  set.Remove(3);  // past the end
  EXPECT_EQ(set.numPoints, 3u);
  set.Clear();
  EXPECT_EQ(set.numPoints, 0u);
  EXPECT_TRUE(set.points.empty());
}

TEST(PointSet, OffsetMovesXAndYOfCountedPoints) {
  PointSet set;
  set.Add(Tagged(1, 2, 7, 0.5));
  set.points.push_back(Tagged(1, 2, 8));  // beyond numPoints
  set.AddOffset(Tagged(10, 20, 99, 9));
  EXPECT_EQ(set[0], Tagged(11, 22, 7, 0.5));
  EXPECT_EQ(set[1], Tagged(1, 2, 8));
  EXPECT_EQ(set.offset.x, 10);
  EXPECT_EQ(set.offset.y, 20);
}

TEST(PointSet, FindsTheFirstPointWithAnId) {
  PointSet set;
  set.Add(Tagged(1, 1, 5));
  set.Add(Tagged(2, 2, 6));
  set.Add(Tagged(3, 3, 6));
  Point2D found;
  EXPECT_EQ(set.GetPointByID(6, found), 1);
  EXPECT_EQ(found, Tagged(2, 2, 6));
  EXPECT_EQ(set.GetPointByID(9, found), -1);
  EXPECT_EQ(found, Tagged(2, 2, 6));
  set.numPoints = 1;
  EXPECT_EQ(set.GetPointByID(6, found), -1);
}

TEST(PointSet, SavesChunksInOrderWithoutAnEmptyComment) {
  PointSet set;
  set.Add(Tagged(1.5, -2.25, 7, 0.5));
  set.Add(Tagged(3, 4, -1));
  const std::string path = TemporaryPath("plain");
  ASSERT_TRUE(set.Save(path.c_str()));
  EXPECT_EQ(set.pointsHandle, nullptr);
  const std::string bytes = ReadFile(path);
  EXPECT_EQ(bytes, File(Conf(2, 2) + Chunk("DATA", Record(7, 1.5f, -2.25f, 0.5f) + Record(-1, 3, 4, 1))));
  EXPECT_EQ(bytes.substr(4, 4), Bytes(60));  // 4 of the form, 16 of CONF, 8 and 32 of DATA
}

TEST(PointSet, SavesACommentPaddedToAnEvenLength) {
  for (const std::string comment : {"odd", "even"}) {
    PointSet set;
    set.comment = comment;
    const std::string path = TemporaryPath("comment");
    ASSERT_TRUE(set.Save(path.c_str()));
    const std::string stored = comment.size() == 3 ? comment + '\0' : comment;
    EXPECT_EQ(ReadFile(path), File(Conf(2, 0) + Chunk("COMM", stored) + Chunk("DATA", "")));
    PointSet loaded;
    ASSERT_TRUE(loaded.Load(path.c_str()));
    EXPECT_EQ(loaded.comment, comment);
  }
}

TEST(PointSet, LoadsWhatItSavedToSinglePrecision) {
  PointSet saved, loaded;
  saved.formatVersion = 5;
  saved.Add(Tagged(1234.56789, 1e-3, 70000, 0.1));
  saved.Add(Tagged(-8, 9, -1));
  const std::string path = TemporaryPath("round");
  ASSERT_TRUE(saved.Save(path.c_str()));
  loaded.Add(Tagged(5, 5, 5));
  ASSERT_TRUE(loaded.Load(path.c_str()));
  ASSERT_EQ(loaded.numPoints, 2u);
  ASSERT_EQ(loaded.points.size(), 2u);
  EXPECT_EQ(loaded[0].x, static_cast<double>(1234.56789f));
  EXPECT_EQ(loaded[0].weight, static_cast<double>(0.1f));
  EXPECT_EQ(loaded[0].id, 70000);
  EXPECT_EQ(loaded[1], Tagged(-8, 9, -1));
  EXPECT_EQ(loaded.formatVersion, 5);
  EXPECT_EQ(loaded.fileSize, static_cast<long>(ReadFile(path).size()) - 8);
}

TEST(PointSet, SkipsUnknownChunksToAnEvenLength) {
  PointSet set;
  const std::string unknown = "WHAT" + Bytes(3) + "abc" + '\0';
  ASSERT_TRUE(LoadBytes(set, "unknown", File(unknown + Conf(2, 1) + Chunk("DATA", Record(4, 1, 2, 1)))));
  ASSERT_EQ(set.numPoints, 1u);
  EXPECT_EQ(set[0], Tagged(1, 2, 4));
}

TEST(PointSet, TakesTheCountFromTheDataWhereNoneWasGiven) {
  PointSet set;
  const std::string records = Record(4, 1, 2, 1) + Record(5, 3, 4, 1);
  CaptureStderr();
  ASSERT_TRUE(LoadBytes(set, "uncounted", File(Chunk("DATA", records))));
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(set.numPoints, 2u);
  CaptureStderr();
  ASSERT_TRUE(LoadBytes(set, "ragged", File(Chunk("DATA", records + "odd"))));
  EXPECT_EQ(GetCapturedStderr(), "Error reading PSET DATA\n");
  EXPECT_EQ(set.numPoints, 2u);
}

TEST(PointSet, StopsAtTheAnnouncedLength) {
  PointSet set;
  const std::string chunks = "PSET" + Conf(2, 1) + Chunk("DATA", Record(4, 1, 2, 1));
  ASSERT_TRUE(LoadBytes(set, "tail", Chunk("RIFF", chunks) + "bytes that belong to nobody"));
  EXPECT_EQ(set.numPoints, 1u);
}

TEST(PointSet, RefusesWhatDoesntFitTheFile) {
  const std::string data = Chunk("DATA", Record(4, 1, 2, 1));
  const std::string broken[] = {
      File(Chunk("CONF", Bytes(2) + Bytes(0) + Bytes(1)) + data),  // CONF of another length
      File(Conf(2, 2) + data),                                     // more points than there are
      File(Conf(2, 4000000000u) + data),
      File("COMM" + Bytes(4000000000u) + "short"),
      File(Conf(2, 1) + data + "DA"),  // a chunk that ends in its header
      File(Conf(2, 1) + data).substr(0, 50),
  };
  for (const std::string& bytes : broken) {
    PointSet set;
    EXPECT_FALSE(LoadBytes(set, "broken", bytes));
    EXPECT_EQ(set.numPoints, set.points.size());
    EXPECT_EQ(set.pointsHandle, nullptr);
  }
}

TEST(PointSet, EveryTruncationIsSurvived) {
  const std::string whole =
      File(Conf(2, 2) + Chunk("COMM", "note") + Chunk("DATA", Record(4, 1, 2, 1) + Record(5, 1, 2, 1)));
  for (size_t length = 0; length < whole.size(); ++length) {
    PointSet set;
    EXPECT_FALSE(LoadBytes(set, "truncated", whole.substr(0, length))) << length;
  }
}

TEST(PointSet, LoadsTheLegacyText) {
  PointSet set;
  ASSERT_TRUE(LoadBytes(set, "legacy", "POINTS\n2\n7 1.25 -3\n8\t4 5e1\n"));
  ASSERT_EQ(set.numPoints, 2u);
  EXPECT_EQ(set[0], Tagged(1.25, -3, 7));
  EXPECT_EQ(set[1], Tagged(4, 50, 8));
}

TEST(PointSet, ALegacyCountThatDisagreesIsTold) {
  for (const char* text : {"POINTS\n3\n7 1 2\n8 4 5\n", "POINTS\n4000000000\n7 1 2\n", "POINTS\n-1\n7 1 2\n",
                           "POINTS\nmany\n", "POINTS\n2\n7 1 2\n8 x 5\n"}) {
    PointSet set;
    CaptureStderr();
    EXPECT_FALSE(LoadBytes(set, "miscounted", text)) << text;
    EXPECT_EQ(GetCapturedStderr(), "Error reading points : incorrect count.\n");
    EXPECT_LE(set.numPoints, 2u);
  }
}

TEST(PointSet, OtherFilesAreRefused) {
  PointSet set;
  set.Add(Tagged(1, 1, 1));
  EXPECT_FALSE(set.Load("/nonexistent/points"));
  EXPECT_EQ(set.numPoints, 0u);
  EXPECT_FALSE(LoadBytes(set, "other", "MATCHES\n0\n0\n"));
  EXPECT_FALSE(LoadBytes(set, "nothing", ""));
  EXPECT_FALSE(LoadBytes(set, "hset", Chunk("RIFF", "HSET")));
  EXPECT_FALSE(set.Load(testing::TempDir().c_str()));
  EXPECT_FALSE(set.Save("/nonexistent/points"));
}

}  // namespace
}  // namespace Vorn
