#include "tracking/FeatureStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tracking/StrkBytes.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Status = FeatureStorage::TrackStatus;
constexpr Status kContinued = FeatureStorage::TrackContinued, kNew = FeatureStorage::TrackNew;

Point2D PointOf(int id, double x, double y) {
  Point2D point(x, y);
  point.id = id;
  return point;
}

Feature TrackOf(int id, int start, const std::vector<Point2D>& positions) {
  Feature feature;
  feature.id = id;
  feature.start = start;
  for (const Point2D& p : positions) feature.track.push_back(PointOf(id, p.x, p.y));
  return feature;
}

/// id, x and y of points, for comparing.
std::vector<std::vector<double>> Values(const std::list<Point2D>& points) {
  std::vector<std::vector<double>> values;
  for (const Point2D& p : points) values.push_back({static_cast<double>(p.id), p.x, p.y});
  return values;
}

std::vector<std::vector<double>> Values(const PointSet& points) {
  return Values({points.points.begin(), points.points.end()});
}

/// "id start end" of each track.
std::vector<std::vector<int>> Spans(const std::list<Feature>& tracks) {
  std::vector<std::vector<int>> spans;
  for (const Feature& f : tracks) spans.push_back({f.id, f.start, f.start + static_cast<int>(f.track.size()) - 1});
  return spans;
}

std::vector<std::vector<int>> Spans(const MultiRange& ranges) {
  std::vector<std::vector<int>> spans;
  for (const Range& r : ranges.data) spans.push_back({r.first, r.last});
  return spans;
}

class FeatureStorageFile : public testing::Test {
 protected:
  ~FeatureStorageFile() override {
    for (int i = 1; i < 4; ++i) std::remove(segment(i).c_str());
  }

  /// A file of the extension strk, which further segments need.
  std::string path() const { return file.Path() + std::string(".strk"); }
  std::string segment(int number) const { return path() + std::to_string(number); }
  void write(const std::string& bytes) const { std::ofstream(path(), std::ios::binary) << bytes; }
  static std::string bytesOf(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::string bytes() const { return bytesOf(path()); }

  void SetUp() override { std::remove(path().c_str()); }
  void TearDown() override { std::remove(path().c_str()); }

  bool read(int frame) { return store.ReadFrame(frame, points, statuses); }

  TemporaryFile file;
  FeatureStorage store;
  std::list<Point2D> points;
  std::vector<Status> statuses;
};

TEST(FeatureStorage, TrackStatusNumbersAreThoseThatAreStored) {
  EXPECT_EQ(static_cast<int>(FeatureStorage::TrackContinued), 0);
  EXPECT_EQ(static_cast<int>(FeatureStorage::TrackNew), 1);
}

TEST(FeatureStorage, IsClosedAndZeroAtFirst) {
  const FeatureStorage store;
  EXPECT_EQ(static_cast<int>(store.mode), 0);
  EXPECT_EQ(store.window, 0);
  EXPECT_EQ(store.levels, 0);
  EXPECT_EQ(store.range, 0);
  EXPECT_EQ(store.minevalue, 0.0F);
  EXPECT_EQ(store.comment, "");
  EXPECT_FALSE(store.IsFileNearLimit());
  EXPECT_EQ(static_cast<int>(FeatureStorage::StorageUpdate), 1);
  EXPECT_EQ(static_cast<int>(FeatureStorage::StorageWrite), 2);
  EXPECT_EQ(static_cast<int>(FeatureStorage::StorageRead), 4);
}

TEST_F(FeatureStorageFile, IsWrittenByteForByte) {
  store.window = 13;
  store.levels = 4;
  store.range = 15;
  store.comment = "odd";
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  ASSERT_TRUE(
      store.WriteFrame(5, {PointOf(7, 1.5, 2.5), PointOf(9, -3.25, 4), PointOf(2, 10, 20)}, {kNew, kNew, kContinued}));
  ASSERT_TRUE(store.WriteFrame(6, {PointOf(9, -3, 4.5)}, {kContinued}));
  ASSERT_TRUE(store.WriteFrame(7, {}, {}));
  ASSERT_TRUE(store.Close());
  std::string expected = strk::Small();
  expected.replace(12 + 22, 4, Float(0.0F));  // minevalue wasn't set
  EXPECT_EQ(bytes(), expected);
}

TEST_F(FeatureStorageFile, ThreePointsMakeARecordOfFiftyBytesAndOneEntry) {
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  ASSERT_TRUE(store.WriteFrame(0, {PointOf(0, 1, 2), PointOf(1, 3, 4), PointOf(2, 5, 6)}, {kNew, kNew, kNew}));
  store.Close();
  const std::string record =
      strk::Record(0, 3, strk::Point(0, 1, 2, 1) + strk::Point(1, 3, 4, 1) + strk::Point(2, 5, 6, 1));
  ASSERT_EQ(record.substr(4, 4), Long(50));
  EXPECT_EQ(bytes(), strk::File("STRK", strk::Conf(0, 0, 0, 2, 0, 0) + strk::List("DATA", record) +
                                            strk::List("MRNG", strk::Range(0, 0)) +
                                            strk::Chunk("INDX", strk::Entry(0, 0, 4, 50))));
}

TEST_F(FeatureStorageFile, AFileWithoutFramesHasAllItsChunks) {
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  store.Close();
  EXPECT_EQ(bytes(), strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", "") + strk::List("MRNG", "") +
                                            strk::Chunk("INDX", "")));
}

TEST_F(FeatureStorageFile, ACommentOfEvenLengthHasNoPad) {
  store.comment = "even";
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  store.Close();
  EXPECT_EQ(bytes().substr(38, 16), "COMM" + Long(4) + "evenLIST");
}

TEST_F(FeatureStorageFile, ClosingCutsTheLowerHalfOfMinevalueOff) {
  store.minevalue = 1.2345678F;
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  store.Close();
  std::string truncated = Float(1.2345678F);
  truncated[0] = truncated[1] = '\0';
  EXPECT_EQ(bytes().substr(34, 4), truncated);

  FeatureStorage reader;
  ASSERT_TRUE(reader.Open(path().c_str(), FeatureStorage::StorageRead));
  float expected = 0;
  std::memcpy(&expected, truncated.data(), 4);
  EXPECT_EQ(reader.minevalue, expected);
  EXPECT_NE(reader.minevalue, store.minevalue);
}

TEST_F(FeatureStorageFile, IsReadFrameByFrame) {
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.window, 13);
  EXPECT_EQ(store.levels, 4);
  EXPECT_EQ(store.range, 15);
  EXPECT_EQ(store.minevalue, 0.5F);
  EXPECT_EQ(store.comment, "odd");
  EXPECT_EQ(store.version, 2);
  EXPECT_THAT(Spans(store.frames), ElementsAre(ElementsAre(5, 7)));

  ASSERT_TRUE(read(5));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(7, 1.5, 2.5), ElementsAre(9, -3.25, 4), ElementsAre(2, 10, 20)));
  EXPECT_THAT(statuses, ElementsAre(kNew, kNew, kContinued));
  for (const Point2D& p : points) EXPECT_EQ(p.weight, 1.0);
  ASSERT_TRUE(read(6));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(9, -3, 4.5)));
}

TEST_F(FeatureStorageFile, FramesWithoutPointsAndFramesOfNoRangeAreEmpty) {
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  for (const int frame : {7, 8, 4, -1, 2000000000}) {
    points = {PointOf(1, 1, 1)};
    statuses = {kNew};
    EXPECT_TRUE(read(frame));
    EXPECT_THAT(points, IsEmpty());
    EXPECT_THAT(statuses, IsEmpty());
  }
}

TEST_F(FeatureStorageFile, ChunksOfAnUnknownKindAreSkippedToAnEvenSize) {
  const std::string record = strk::Record(3, 1, strk::Point(4, 1, 2, 0));
  const std::string extra = strk::Chunk("XTRA", "abc"), list = strk::List("MORE", "0123456789");
  write(strk::File("STRK", extra + strk::Conf(1, 2, 3, 4, 0, 0) + list + strk::List("DATA", record) + extra +
                               strk::List("MRNG", strk::Range(3, 3)) + extra +
                               strk::Chunk("INDX", strk::Entry(0, 3, 4, 22))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.levels, 2);
  ASSERT_TRUE(read(3));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(4, 1, 2)));
}

TEST_F(FeatureStorageFile, ALargerConfigurationIsToldAndReadAllTheSame) {
  const std::string conf = strk::Chunk("CONF", strk::Conf(13, 4, 15, 9, 0, 0.5F).substr(8) + "more");
  write(strk::File("STRK", conf + strk::List("DATA", "") + strk::List("MRNG", "") + strk::Chunk("INDX", "")));
  testing::internal::CaptureStderr();
  EXPECT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Track configuration read error\n");
  EXPECT_EQ(store.range, 15);
  EXPECT_EQ(store.minevalue, 0.5F);
}

TEST_F(FeatureStorageFile, ASmallerConfigurationLeavesTheRestAtZero) {
  const std::string conf = strk::Chunk("CONF", strk::Int(2) + strk::Int(13) + strk::Int(4));
  write(strk::File("STRK", conf + strk::List("DATA", "") + strk::List("MRNG", "") + strk::Chunk("INDX", "")));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.window, 13);
  EXPECT_EQ(store.levels, 4);
  EXPECT_EQ(store.range, 0);
}

TEST_F(FeatureStorageFile, AnEntryWithTheFlagGoesOnInTheNextOfItsFrame) {
  const std::string one = strk::Record(3, 1, strk::Point(4, 1, 2, 1)),
                    two = strk::Record(3, 1, strk::Point(5, 3, 4, 0));
  const std::string head =
      strk::Conf(0, 0, 0, 5, 0, 0) + strk::List("DATA", one + two) + strk::List("MRNG", strk::Range(3, 3));
  write(strk::File("STRK", head + strk::Chunk("INDX", strk::Entry(1, 3, 4, 22) + strk::Entry(0, 3, 34, 22))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  ASSERT_TRUE(read(3));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(4, 1, 2), ElementsAre(5, 3, 4)));
  EXPECT_THAT(statuses, ElementsAre(kNew, kContinued));

  write(strk::File("STRK", head + strk::Chunk("INDX", strk::Entry(0, 3, 4, 22) + strk::Entry(0, 3, 34, 22))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  ASSERT_TRUE(read(3));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(4, 1, 2)));
}

TEST_F(FeatureStorageFile, AnOffsetOfMinusOneMeansNoData) {
  write(strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", "") +
                               strk::List("MRNG", strk::Range(3, 3)) + strk::Chunk("INDX", strk::Entry(0, 3, -1, 0))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_TRUE(read(3));
  EXPECT_THAT(points, IsEmpty());
}

/// A file whose only record is `record`, of frame 3.
std::string FileOf(const std::string& record) {
  return strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", record) +
                                strk::List("MRNG", strk::Range(3, 3)) + strk::Chunk("INDX", strk::Entry(0, 3, 4, 22)));
}

TEST_F(FeatureStorageFile, ARecordOfAnotherTagOrTooSmallForItsPointsFails) {
  std::string record = strk::Record(3, 1, strk::Point(4, 1, 2, 1));
  write(FileOf(record));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_TRUE(read(3));
  record[1] = '1';
  write(FileOf(record));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(read(3));
  write(FileOf("00TB" + Long(11) + Long(3) + Long(1) + strk::Point(4, 1, 2, 1)));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(read(3));
  write(FileOf("00TB" + Long(12) + Long(3) + Long(1) + strk::Point(4, 1, 2, 1)));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_TRUE(read(3));  // twelve bytes a point are enough to pass
  EXPECT_EQ(points.size(), 1u);
}

TEST_F(FeatureStorageFile, OperationsOfTheWrongModeFail) {
  EXPECT_FALSE(read(0));
  EXPECT_FALSE(store.WriteFrame(0, {}, {}));
  EXPECT_FALSE(store.ReadToList());
  EXPECT_FALSE(store.WriteList());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  EXPECT_EQ(store.mode, FeatureStorage::StorageWrite);
  EXPECT_FALSE(read(0));
  EXPECT_FALSE(store.ReadToList());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(store.WriteFrame(0, {}, {}));
  store.Close();
  EXPECT_EQ(static_cast<int>(store.mode), 0);
  EXPECT_FALSE(read(0));
}

TEST_F(FeatureStorageFile, WhatIsNoTrackFileIsRefused) {
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(store.Open(testing::TempDir().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(store.Open((testing::TempDir() + "none/a.strk").c_str(), FeatureStorage::StorageWrite));
  write("something else\n");
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  write(strk::File("TRKN", strk::Small().substr(12)));  // a later segment isn't a file of its own
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(static_cast<int>(store.mode), 0);
}

TEST_F(FeatureStorageFile, RunsGoDownwardTooAndFrameZeroStartsOne) {
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  for (const int frame : {12, 11, 10, 20, 21, 0, 5}) ASSERT_TRUE(store.WriteFrame(frame, {}, {}));
  store.Close();
  EXPECT_THAT(bytes(), testing::HasSubstr(strk::List(
                           "MRNG", strk::Range(0, 0) + strk::Range(5, 5) + strk::Range(10, 12) + strk::Range(20, 21))));
}

TEST_F(FeatureStorageFile, AFrameWithoutPointsIsCoveredButHasNoRecord) {
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  EXPECT_TRUE(store.WriteFrame(4, {}, {}));
  store.Close();
  EXPECT_EQ(bytes(), strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", "") +
                                            strk::List("MRNG", strk::Range(4, 4)) + strk::Chunk("INDX", "")));
}

TEST_F(FeatureStorageFile, UpdatingAddsFramesInPlaceOfTheTrailer) {
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageUpdate));
  ASSERT_TRUE(store.WriteFrame(8, {PointOf(11, 1, 1)}, {kNew}));
  ASSERT_TRUE(read(8));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(11, 1, 1)));
  ASSERT_TRUE(read(5));
  EXPECT_EQ(points.size(), 3u);
  ASSERT_TRUE(store.WriteFrame(5, {PointOf(12, 2, 2)}, {kContinued}));
  ASSERT_TRUE(store.Close());

  const std::string small = strk::Small();
  const size_t data = small.find("DATA");
  const std::string records = small.substr(data + 4, 58 + 30) + strk::Record(8, 1, strk::Point(11, 1, 1, 1)) +
                              strk::Record(5, 1, strk::Point(12, 2, 2, 0));
  EXPECT_EQ(bytes(),
            strk::File("STRK", strk::Conf(13, 4, 15, 12, 0, 0.5F) + small.substr(38, 12) + strk::List("DATA", records) +
                                   strk::List("MRNG", strk::Range(5, 8)) +
                                   strk::Chunk("INDX", strk::Entry(1, 5, 4, 50) + strk::Entry(0, 6, 62, 22) +
                                                           strk::Entry(0, 8, 92, 22) + strk::Entry(0, 5, 122, 22))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  ASSERT_TRUE(read(5));
  EXPECT_EQ(points.size(), 4u);
}

TEST_F(FeatureStorageFile, RangesThatMeetLeaveNoBytesBehindTheEnd) {
  write(strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", "") +
                               strk::List("MRNG", strk::Range(1, 2) + strk::Range(4, 5)) + strk::Chunk("INDX", "")));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageUpdate));
  ASSERT_TRUE(store.WriteFrame(3, {}, {}));
  ASSERT_TRUE(store.Close());
  EXPECT_EQ(bytes(), strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", "") +
                                            strk::List("MRNG", strk::Range(1, 5)) + strk::Chunk("INDX", "")));
}

TEST_F(FeatureStorageFile, GoesOnInFurtherSegments) {
  store.comment = "long";
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  for (int frame = 0; frame <= 74500; ++frame) {
    ASSERT_FALSE(store.IsFileNearLimit());
    ASSERT_TRUE(store.WriteFrame(frame, {PointOf(frame, 1, 2)}, {kNew}));
  }
  EXPECT_TRUE(store.IsFileNearLimit());
  ASSERT_TRUE(store.WriteFrame(74501, {PointOf(3, 5, 6)}, {kContinued}));
  EXPECT_FALSE(store.IsFileNearLimit());
  ASSERT_TRUE(store.Close());

  const std::string first = bytes();
  EXPECT_EQ(first.substr(8, 4), "STRK");
  EXPECT_EQ(first.substr(32, 2), strk::Int(1));
  EXPECT_EQ(bytesOf(segment(1)),
            strk::File("TRKN", strk::Conf(0, 0, 0, 74500, 0, 0) + strk::Chunk("COMM", "long") +
                                   strk::List("DATA", strk::Record(74501, 1, strk::Point(3, 5, 6, 0))) +
                                   strk::List("MRNG", strk::Range(74501, 74501)) +
                                   strk::Chunk("INDX", strk::Entry(0, 74501, 4, 22))));

  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  for (const int frame : {74501, 17, 74500, 74501}) {
    ASSERT_TRUE(read(frame));
    EXPECT_THAT(points, testing::SizeIs(1)) << frame;
    EXPECT_EQ(points.front().id, frame == 74501 ? 3 : frame);
  }
  ASSERT_TRUE(store.ReadToList());
  EXPECT_EQ(store.GetTracks().size(), 74502u);  // id 3 comes again after a gap, as a track of its own
  EXPECT_EQ(store.firstFrame, 0);
  EXPECT_EQ(store.lastFrame, 74501);
}

TEST_F(FeatureStorageFile, UpdatingGoesOnInTheLastSegment) {
  const auto segmentOf = [](const std::string& magic, int flag, int frame) {
    return strk::File(magic, strk::Conf(0, 0, 0, 1, flag, 0) +
                                 strk::List("DATA", strk::Record(frame, 1, strk::Point(frame, 1, 2, 1))) +
                                 strk::List("MRNG", strk::Range(frame, frame)) +
                                 strk::Chunk("INDX", strk::Entry(0, frame, 4, 22)));
  };
  write(segmentOf("STRK", 1, 1));
  std::ofstream(segment(1), std::ios::binary) << segmentOf("TRKN", 0, 2);
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageUpdate));
  ASSERT_TRUE(store.WriteFrame(3, {PointOf(3, 7, 8)}, {kNew}));
  ASSERT_TRUE(read(1));  // leaves the segment that is being written
  EXPECT_EQ(points.size(), 1u);
  ASSERT_TRUE(store.WriteFrame(4, {PointOf(3, 9, 9)}, {kContinued}));
  ASSERT_TRUE(read(3));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(3, 7, 8)));
  ASSERT_TRUE(store.Close());
  EXPECT_EQ(bytes(), segmentOf("STRK", 1, 1));
  EXPECT_EQ(bytesOf(segment(1)),
            strk::File("TRKN", strk::Conf(0, 0, 0, 3, 0, 0) +
                                   strk::List("DATA", strk::Record(2, 1, strk::Point(2, 1, 2, 1)) +
                                                          strk::Record(3, 1, strk::Point(3, 7, 8, 1)) +
                                                          strk::Record(4, 1, strk::Point(3, 9, 9, 0))) +
                                   strk::List("MRNG", strk::Range(2, 4)) +
                                   strk::Chunk("INDX", strk::Entry(0, 2, 4, 22) + strk::Entry(0, 3, 34, 22) +
                                                           strk::Entry(0, 4, 64, 22))));
}

TEST_F(FeatureStorageFile, AMissingSegmentFails) {
  write(strk::File("STRK", strk::Conf(0, 0, 0, 1, 1, 0) + strk::List("DATA", "") + strk::List("MRNG", "") +
                               strk::Chunk("INDX", "")));
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
}

TEST_F(FeatureStorageFile, ListsAreWrittenFrameByFrame) {
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  store.SetTracks({TrackOf(5, 2, {{1, 1}, {2, 2}}), TrackOf(3, 3, {{7, 7}})}, 1, 4);
  ASSERT_TRUE(store.WriteList());
  ASSERT_TRUE(store.Close());
  const std::string two = strk::Record(2, 1, strk::Point(5, 1, 1, 1));
  const std::string three = strk::Record(3, 2, strk::Point(5, 2, 2, 0) + strk::Point(3, 7, 7, 1));
  EXPECT_EQ(bytes(), strk::File("STRK", strk::Conf(0, 0, 0, 5, 0, 0) + strk::List("DATA", two + three) +
                                            strk::List("MRNG", strk::Range(1, 4)) +
                                            strk::Chunk("INDX", strk::Entry(0, 2, 4, 22) + strk::Entry(0, 3, 34, 36))));
}

TEST_F(FeatureStorageFile, ASpanOfMinusOneIsThatOfTheTracks) {
  const std::list<Feature> tracks = {TrackOf(5, 2, {{1, 1}, {2, 2}}), TrackOf(3, 7, {{7, 7}})};
  store.SetTracks(tracks, -1, 90);
  EXPECT_EQ(store.firstFrame, 2);
  EXPECT_EQ(store.lastFrame, 7);
  store.SetTracks(tracks, 1, 90);
  EXPECT_EQ(store.lastFrame, 90);
  store.SetTracks({}, -1, -1);
  EXPECT_EQ(store.firstFrame, -1);
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageWrite));
  EXPECT_TRUE(store.WriteList());
  EXPECT_THAT(store.frames.data, IsEmpty());
}

TEST_F(FeatureStorageFile, ListsAreReadById) {
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  ASSERT_TRUE(store.ReadToList());
  EXPECT_THAT(Spans(store.GetTracks()), ElementsAre(ElementsAre(7, 5, 5), ElementsAre(9, 5, 6), ElementsAre(2, 5, 5)));
  EXPECT_EQ(FeatureStorage::CountActiveInFrame(&store.GetTracks(), 5), 3);
  EXPECT_EQ(FeatureStorage::CountActiveInFrame(&store.GetTracks(), 6), 1);
  EXPECT_EQ(FeatureStorage::CountActiveInFrame(&store.GetTracks(), 7), 0);

  std::list<Feature> part = {TrackOf(9, 4, {{0, 0}})};
  ASSERT_TRUE(store.AccumulateTracks(part, 5, 5));
  EXPECT_THAT(Spans(part), ElementsAre(ElementsAre(9, 4, 5), ElementsAre(7, 5, 5), ElementsAre(2, 5, 5)));
}

TEST_F(FeatureStorageFile, FeaturesOfAFrameHaveItsPoint) {
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  std::list<Feature> features;
  ASSERT_TRUE(store.GetFeaturesForFrame(5, features));
  EXPECT_THAT(Spans(features), ElementsAre(ElementsAre(7, 5, 5), ElementsAre(9, 5, 5), ElementsAre(2, 5, 5)));
  EXPECT_EQ(features.front().status, FeatureNew);
  EXPECT_EQ(features.back().status, FeatureTracked);
  EXPECT_EQ(features.back().Location(5).x, 10);
}

TEST_F(FeatureStorageFile, PointsAreMatchedByIdInListOrder) {
  const std::string first =
      strk::Record(0, 3, strk::Point(1, 1, 1, 1) + strk::Point(2, 2, 2, 1) + strk::Point(3, 3, 3, 1));
  const std::string second =
      strk::Record(1, 3, strk::Point(3, 3, 4, 0) + strk::Point(4, 4, 4, 1) + strk::Point(1, 1, 2, 0));
  write(strk::File("STRK", strk::Conf(0, 0, 0, 4, 0, 0) + strk::List("DATA", first + second) +
                               strk::List("MRNG", strk::Range(0, 1)) +
                               strk::Chunk("INDX", strk::Entry(0, 0, 4, 50) + strk::Entry(0, 1, 62, 50))));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  PointSet a, b;
  MatchSet matches;
  ASSERT_TRUE(store.GetMatchedPoints(0, 1, a, b, matches));
  EXPECT_EQ(a.numPoints, 3u);
  EXPECT_THAT(Values(b), ElementsAre(ElementsAre(3, 3, 4), ElementsAre(4, 4, 4), ElementsAre(1, 1, 2)));
  ASSERT_EQ(matches.numMatches, 2u);
  EXPECT_EQ(matches.GetMatch(0), 2);
  EXPECT_EQ(matches.GetMatch(2), 0);
  EXPECT_EQ(matches.GetMatch(1), -1);
  EXPECT_EQ(matches.GetScore(0), 1.0);
}

TEST(FeatureStorage, LooksIntoHeldTracksWhereNoFileIsOpen) {
  FeatureStorage store;
  store.SetTracks({TrackOf(5, 2, {{1, 1}, {2, 2}}), TrackOf(3, 3, {{7, 7}})});
  PointSet points;
  ASSERT_TRUE(store.GetPointsForFrame(3, points));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(5, 2, 2), ElementsAre(3, 7, 7)));
}

TEST(FeatureStorage, ClearForgetsTracksAndKeepsTheConfiguration) {
  FeatureStorage store, other;
  other.window = 9;
  other.levels = 3;
  other.range = 12;
  other.minevalue = 2.5F;
  other.SetTracks({TrackOf(5, 2, {{1, 1}})});
  store.GetConfiguration(other);
  EXPECT_EQ(store.window, 9);
  EXPECT_EQ(store.levels, 3);
  EXPECT_EQ(store.range, 12);
  EXPECT_EQ(store.minevalue, 2.5F);
  EXPECT_THAT(store.GetTracks(), IsEmpty());
  other.Clear();
  EXPECT_THAT(other.GetTracks(), IsEmpty());
  EXPECT_EQ(other.firstFrame, -1);
  EXPECT_EQ(other.window, 9);
}

constexpr char kText[] =
    "TRACKS\na comment of words\nParams 6\ntrackstart 2\ntrackend 4\nwindow 13\nlevels 4\nother 77\nminevalue "
    "0.250000\n"
    "Feature 5\nstart 2 end 4\n1 2\n3.5 4\n-5 6e1\nFeature 8\nstart 9 end 8\nFeature 6\nstart 4 end 4\n7 8\n";

TEST_F(FeatureStorageFile, TheTextFormatIsReadOnFirstUse) {
  write(kText);
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.comment, "a comment of words");
  EXPECT_EQ(store.version, 1);
  EXPECT_EQ(store.window, 13);
  EXPECT_EQ(store.levels, 4);
  EXPECT_EQ(store.range, 0);
  EXPECT_EQ(store.minevalue, 0.25F);
  EXPECT_EQ(store.firstFrame, 2);
  EXPECT_EQ(store.lastFrame, 4);
  points = {PointOf(1, 0, 0)};
  statuses = {kNew};
  ASSERT_TRUE(read(4));
  EXPECT_THAT(Values(points), ElementsAre(ElementsAre(1, 0, 0), ElementsAre(5, -5, 60), ElementsAre(6, 7, 8)));
  EXPECT_THAT(statuses, ElementsAre(kNew));  // stays as it is
  EXPECT_EQ(points.back().weight, 1.0);
  EXPECT_THAT(Spans(store.GetTracks()), ElementsAre(ElementsAre(5, 2, 4), ElementsAre(8, 9, 8), ElementsAre(6, 4, 4)));
  std::list<Feature> part;
  ASSERT_TRUE(store.AccumulateTracks(part, 3, 9));
  EXPECT_THAT(Spans(part), ElementsAre(ElementsAre(5, 3, 4), ElementsAre(6, 4, 4)));
}

TEST_F(FeatureStorageFile, TheTextFormatIsFoundUnderAnyExtension) {
  file.Write(kText);
  ASSERT_TRUE(store.Open(file.Path(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.GetTracks().size(), 3u);
  file.Write(strk::Small());
  ASSERT_TRUE(store.Open(file.Path(), FeatureStorage::StorageRead));
  EXPECT_EQ(store.window, 13);
}

TEST_F(FeatureStorageFile, UpdatingATextFileWritesNothing) {
  write(kText);
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageUpdate));
  EXPECT_FALSE(store.WriteFrame(5, {PointOf(5, 1, 1)}, {kNew}));
  EXPECT_TRUE(read(2));
  store.Close();
  EXPECT_EQ(bytes(), kText);
}

TEST_F(FeatureStorageFile, ATextFileThatBreaksOffFails) {
  const std::string text = kText;
  write(text.substr(0, text.find("3.5")));
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  EXPECT_FALSE(read(2));
  EXPECT_FALSE(store.ReadToList());
  testing::internal::CaptureStderr();
  store.OutputToStdOut();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to load tracks\n");
  write("TRACKS\n");
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  write("TRACKS\n\nParams 3\nwindow 3\n");
  EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead));
}

TEST_F(FeatureStorageFile, GoesToTheStandardOutputAsText) {
  write(kText);
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  testing::internal::CaptureStdout();
  store.OutputToStdOut();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "TRACKS\nLegacy format track output\nParams 4\nwindow 13\nlevels 4\nrange 0\nminevalue 0.25\n"
            "Feature 5\nstart 2 end 4\n1 2\n3.5 4\n-5 60\n");
  write(strk::Small());
  ASSERT_TRUE(store.Open(path().c_str(), FeatureStorage::StorageRead));
  testing::internal::CaptureStdout();
  store.OutputToStdOut();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "TRACKS\nLegacy track output\nParams 4\nwindow 13\nlevels 4\nrange 15\nminevalue 0.5\n"
            "Feature 9\nstart 5 end 6\n-3.25 4\n-3 4.5\n");
}

TEST(FeatureStorage, JoiningLengthensTracksThatGoOn) {
  std::list<Feature> tracks = {TrackOf(1, 0, {{0, 0}, {1, 1}}), TrackOf(2, 0, {{5, 5}})};
  FeatureStorage::JoinTrackLists(tracks, {TrackOf(1, 2, {{2, 2}}), TrackOf(2, 9, {{9, 9}}), TrackOf(3, 0, {{4, 4}}),
                                          TrackOf(1, 1, {{7, 7}, {8, 8}, {3, 3}})});
  EXPECT_THAT(Spans(tracks),
              ElementsAre(ElementsAre(1, 0, 3), ElementsAre(2, 0, 0), ElementsAre(2, 9, 9), ElementsAre(3, 0, 0)));
  EXPECT_EQ(tracks.front().Location(1).x, 1);
  EXPECT_EQ(tracks.front().Location(3).x, 3);
}

TEST(FeatureStorage, AppendedTracksGetIdsOfTheirOwn) {
  std::list<Feature> tracks = {TrackOf(4, 0, {{0, 0}})};
  FeatureStorage::AppendTrackLists(tracks, {TrackOf(4, 0, {{1, 1}}), TrackOf(0, 0, {{2, 2}}), TrackOf(4, 5, {{3, 3}})});
  EXPECT_THAT(Spans(tracks),
              ElementsAre(ElementsAre(4, 0, 0), ElementsAre(5, 0, 0), ElementsAre(6, 0, 0), ElementsAre(5, 5, 5)));
  EXPECT_EQ(tracks.back().track[0].id, 5);
}

// What a damaged file may do: fail, or give finite lists no longer than the file can hold.
class DamagedTrackFile : public FeatureStorageFile {
 protected:
  DamagedTrackFile() { testing::internal::CaptureStderr(); }
  ~DamagedTrackFile() override { testing::internal::GetCapturedStderr(); }

  void readAll(const std::string& content) {
    write(content);
    if (store.Open(path().c_str(), FeatureStorage::StorageRead)) {
      for (const int frame : {5, 6, 7, 0, -1}) {
        store.ReadFrame(frame, points, statuses);
        EXPECT_LE(statuses.size() * 14, content.size());
      }
      store.ReadToList();
      size_t held = 0;
      for (const Feature& f : store.GetTracks()) held += f.track.size();
      EXPECT_LE(held * 4, content.size());  // "0 0\n" is the shortest point
    }
    store.Close();
  }
};

TEST_F(DamagedTrackFile, EveryTruncationFailsOrEndsWell) {
  const std::string whole = strk::Small();
  for (size_t size = 0; size < whole.size(); ++size) {
    write(whole.substr(0, size));
    EXPECT_FALSE(store.Open(path().c_str(), FeatureStorage::StorageRead)) << size;
  }
  const std::string text = kText;
  for (size_t size = 0; size < text.size(); ++size) readAll(text.substr(0, size));
}

TEST_F(DamagedTrackFile, ChangedBytesDoNoHarm) {
  std::mt19937 random(1);
  for (const std::string& whole : {strk::Small(), std::string(kText)})
    for (int i = 0; i < 150; ++i) {
      std::string changed = whole;
      for (unsigned int n = 1 + random() % 3; n > 0; --n)
        changed[random() % changed.size()] = static_cast<char>(random() % 4 == 0 ? 255 : random());
      readAll(changed);
    }
}

TEST_F(DamagedTrackFile, AbsurdCountsAllocateNothing) {
  readAll(FileOf("00TB" + Long(0xffffffff) + Long(3) + Long(0x10000000)));
  readAll(strk::File("STRK", strk::Chunk("COMM", "").replace(4, 4, Long(0xfffffffe))));
  readAll(strk::File("STRK", strk::Chunk("INDX", "").replace(4, 4, Long(0xfffffff0))));
  readAll("TRACKS\n\nParams 0\nFeature 1\nstart -2147483648 end 2147483647\n1 1\n");
  readAll("TRACKS\n\nParams 2\ntrackstart -99999999999999\ntrackend 999999999999999\n");
}

TEST_F(DamagedTrackFile, ARecordNamedOverAndOverIsNotReadMoreOftenThanItFits) {
  std::string points_, entries, chain;
  for (int i = 0; i < 200; ++i) points_ += strk::Point(i, 1, 2, 0);
  for (int i = 0; i < 2000; ++i) entries += strk::Entry(0, i, 4, 2808);
  for (int i = 0; i < 2000; ++i) chain += strk::Entry(1, 5, 4, 2808);
  for (const std::string& index : {entries, chain})
    readAll(strk::File("STRK", strk::Conf(0, 0, 0, 0, 0, 0) + strk::List("DATA", strk::Record(5, 200, points_)) +
                                   strk::List("MRNG", strk::Range(0, 2000)) + strk::Chunk("INDX", index)));
}

}  // namespace
}  // namespace Vorn
