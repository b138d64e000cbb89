#include "analysis/HomographySet.h"

#include <gtest/gtest.h>

#include <limits>

#include "analysis/FileBytes.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;
using Vorn::HomographySet;
using Vorn::Matrix;
using Vorn::MultiRange;
using Vorn::Range;

namespace {

/// (0, 1, ... 8) / 3 + `base`, values that no float holds exactly.
double Value(double base, int i) { return base + i / 3.0; }

Matrix Sample(double base) {
  Matrix m(3, 3);
  for (int i = 0; i < 9; ++i) m.data[i] = Value(base, i);
  return m;
}

void ExpectSample(const Matrix& m, double base) {
  ASSERT_EQ(m.rows, 3u);
  ASSERT_EQ(m.columns, 3u);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(m.data[i], Value(base, i)) << "value " << i;
}

void ExpectFloatSample(const Matrix& m, double base) {
  for (int i = 0; i < 9; ++i) EXPECT_EQ(m.data[i], static_cast<double>(static_cast<float>(Value(base, i))));
}

std::string FloatValues(double base) {
  std::string bytes;
  for (int i = 0; i < 9; ++i) bytes += Float(static_cast<float>(Value(base, i)));
  return bytes;
}

std::string DoubleValues(double base) {
  std::string bytes;
  for (int i = 0; i < 9; ++i) bytes += Double(Value(base, i));
  return bytes;
}

std::string Conf(long version, long origin, long size) {
  return "CONF" + Long(12) + Long(version) + Long(origin) + Long(size);
}
std::string Rang(int first, int last) { return "RANG" + Long(8) + Long(first) + Long(last); }
std::string Proj(int frame, double base) { return "PROJ" + Long(40) + Long(frame) + FloatValues(base); }
std::string List(const std::string& type, const std::string& records) {
  return "LIST" + Long(static_cast<long>(records.size()) + 4) + type + records;
}
std::string Riff(const std::string& chunks) {
  return "RIFF" + Long(static_cast<long>(chunks.size()) + 4) + "HSET" + chunks;
}

bool LoadBytes(HomographySet& set, const std::string& bytes) {
  const TemporaryFile file;
  file.Write(bytes);
  return set.Load(file.Path());
}

TEST(HomographySet, IsEmptyAboutTheCentreToBeginWith) {
  const HomographySet set;
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_EQ(set.originLocation, 4);
  EXPECT_EQ(set.sizeParam, 4u);
  EXPECT_EQ(set.number, 0u);
  EXPECT_EQ(set.version, 2u);
  EXPECT_EQ(HomographySet::compatibleVersion, 2u);
  EXPECT_TRUE(set.hset.empty());
  EXPECT_TRUE(set.range.data.empty());
  EXPECT_EQ(set.range.adjacency, 1u);
}

TEST(HomographySet, SetAppendsAndWidensTheSpan) {
  HomographySet set;
  set.Set(5, Sample(1));
  EXPECT_EQ(set.start, 5);
  EXPECT_EQ(set.end, 5);
  set.Set(6, Sample(2));
  set.Set(3, Sample(3));
  EXPECT_EQ(set.start, 3);
  EXPECT_EQ(set.end, 6);
  EXPECT_EQ(set.number, 3u);
  ExpectSample(set[2], 3);
}

TEST(HomographySet, SetOfAKnownFrameReplacesItsMatrixOnly) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(6, Sample(2));
  set.start = 0;
  set.end = 99;
  set.Set(5, Sample(9));
  EXPECT_EQ(set.number, 2u);
  EXPECT_EQ(set.start, 0);
  EXPECT_EQ(set.end, 99);
  ExpectSample(set[0], 9);
}

TEST(HomographySet, GetCopiesTheMatrixOrGivesTheIdentity) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(9, Sample(2));
  Matrix out;
  EXPECT_TRUE(set.Get(9, out));
  ExpectSample(out, 2);
  for (const int frame : {4, 7, 10}) {
    out = Sample(4);
    EXPECT_FALSE(set.Get(frame, out));
    EXPECT_EQ(out.rows, 3u);
    EXPECT_TRUE(out.IsIdentity());
  }
}

TEST(HomographySet, GetPointsToTheMatrixOrToNothing) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(6, Sample(2));
  const Matrix* out = nullptr;
  EXPECT_TRUE(set.Get(6, out));
  EXPECT_EQ(out, &set[1]);
  EXPECT_FALSE(set.Get(7, out));
  EXPECT_EQ(out, nullptr);
  set.end = 50;  // the expected position lies behind the last entry
  EXPECT_FALSE(set.Get(20, out));
  EXPECT_EQ(out, nullptr);
}

TEST(HomographySet, GetByPositionTellsTheFrame) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(9, Sample(2));
  int frame = 0;
  ExpectSample(set.Get(1, &frame), 2);
  EXPECT_EQ(frame, 9);
  ExpectSample(set.Get(0, nullptr), 1);
}

TEST(HomographySet, LookupsFindFramesInAnyOrderOfArrival) {
  HomographySet set;
  const int frames[] = {10, 11, 12, 4, 30, 5, 29};
  for (const int frame : frames) set.Set(frame, Sample(frame));
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(set.Index(frames[i]), i);
    Matrix out;
    EXPECT_TRUE(set.Get(frames[i], out));
    ExpectSample(out, frames[i]);
  }
  for (const int missing : {3, 6, 13, 28, 31}) EXPECT_EQ(set.Index(missing), -1);
}

TEST(HomographySet, FramesThatWereListedByHandAreFound) {
  HomographySet set;
  for (const int frame : {4, 5, 6}) set.Set(frame, Sample(frame));
  set.hset.clear();
  set.Set(5, Sample(1));
  ASSERT_EQ(set.hset.size(), 1u);
  ExpectSample(set[0], 1);

  set.hset.push_back({9, Sample(2)});
  set.end = 9;
  EXPECT_EQ(set.Index(9), 1);
  EXPECT_EQ(set.Index(6), -1);
  set.Set(9, Sample(3));
  ASSERT_EQ(set.hset.size(), 2u);
  ExpectSample(set[1], 3);
}

TEST(HomographySet, FramesOutsideTheSpanAreRefused) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(6, Sample(2));
  set.start = 6;
  EXPECT_EQ(set.Index(5), -1);
  EXPECT_EQ(set.Index(6), 1);
}

TEST(HomographySet, CopiesAreDeep) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.AppendRange(5, 8);
  set.sizeParam = 8;
  set.originLocation = 0;
  set.version = 1;
  HomographySet copy;
  copy = set;
  set[0](0, 0) = 77;
  set.Set(6, Sample(2));
  ExpectSample(copy[0], 1);
  EXPECT_EQ(copy.number, 1u);
  EXPECT_EQ(copy.start, 5);
  EXPECT_EQ(copy.end, 8);
  EXPECT_EQ(copy.originLocation, 0);
  EXPECT_EQ(copy.sizeParam, 8u);
  EXPECT_EQ(copy.version, 1u);
  EXPECT_EQ(copy.range.data.size(), 1u);
  EXPECT_EQ(copy.Index(5), 0);
  const HomographySet& self = copy;
  copy = self;
  ExpectSample(copy[0], 1);
}

TEST(HomographySet, ClearKeepsTheCount) {
  HomographySet set;
  set.Set(5, Sample(1));
  set.Set(6, Sample(1));
  set.AppendRange(5, 6);
  set.originLocation = 0;
  set.sizeParam = 8;
  set.version = 1;
  set.Clear();
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_EQ(set.originLocation, 4);
  EXPECT_EQ(set.sizeParam, 4u);
  EXPECT_EQ(set.version, 2u);
  EXPECT_TRUE(set.hset.empty());
  EXPECT_TRUE(set.range.data.empty());
  EXPECT_EQ(set.number, 2u);
  set.Set(6, Sample(3));
  EXPECT_EQ(set.number, 3u);
  EXPECT_EQ(set.Index(6), 0);
}

TEST(HomographySet, RangesWidenTheSpan) {
  HomographySet set;
  set.AppendRange(5, 9);
  EXPECT_EQ(set.start, 5);
  EXPECT_EQ(set.end, 9);
  set.AppendRange(20, 30);
  set.AppendRange(1, 2);
  EXPECT_EQ(set.start, 1);
  EXPECT_EQ(set.end, 30);
  EXPECT_EQ(set.range.data.size(), 3u);
  set.AppendRange(50, 40);
  EXPECT_EQ(set.end, 30);
}

TEST(HomographySet, SetRangesSortsAndTakesTheSpanFromThem) {
  MultiRange ranges;
  ranges.AddRange(20, 30);
  ranges.AddRange(3, 4);
  HomographySet set;
  set.AppendRange(100, 200);
  set.SetRanges(ranges);
  ASSERT_EQ(set.range.data.size(), 2u);
  EXPECT_EQ(set.range.data[0].first, 3);
  EXPECT_EQ(set.start, 3);
  EXPECT_EQ(set.end, 30);
  set.SetRanges(MultiRange());
  EXPECT_TRUE(set.range.data.empty());
  EXPECT_EQ(set.start, 3);
  EXPECT_EQ(set.end, 30);
}

TEST(HomographySet, ValidityNamesTheFirstBadMatrix) {
  HomographySet set;
  set.Set(5, Matrix::GetIdentity(3));
  EXPECT_TRUE(set.IsValid());
  Matrix bad = Matrix::GetIdentity(3);
  bad(1, 2) = std::numeric_limits<double>::infinity();
  set.Set(8, bad);
  set.Set(9, bad);
  CaptureStderr();
  EXPECT_FALSE(set.IsValid());
  EXPECT_EQ(GetCapturedStderr(), "Invalid matrix for frame 8\n1 0 0\n0 1 inf\n0 0 1\n");
}

TEST(HomographySet, NormaliseScalesTheCornerToOneUnlessItIsZero) {
  HomographySet set;
  Matrix m(3, 3);
  m = std::vector<double>{2, 4, 6, 8, 10, 12, 14, 16, 4};
  set.Set(1, m);
  m(2, 2) = 0;
  set.Set(2, m);
  m(2, 2) = 1e-9;
  set.Set(3, m);
  set.Normalise();
  const double halves[9] = {0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 1};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(set[0].data[i], halves[i]);
  EXPECT_EQ(set[1](0, 0), 2.0);
  EXPECT_EQ(set[1](2, 2), 0.0);
  EXPECT_EQ(set[2](2, 2), 1.0);  // tiny isn't zero
}

TEST(HomographySet, FileIsByteByByteAsDocumented) {
  HomographySet set;
  set.Set(3, Sample(1));
  set.Set(4, Sample(2));
  set.AppendRange(20, 30);
  set.AppendRange(3, 4);
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  const std::string chunks =
      Conf(2, 4, 4) + List("MRNG", Rang(3, 4) + Rang(20, 30)) + List("HOMG", Proj(3, 1) + Proj(4, 2));
  EXPECT_EQ(file.Read(), "RIFF" + Long(2 * (9 * 4 + 12) + 16 * 2 + 48) + "HSET" + chunks);
  EXPECT_EQ(set.range.data[0].first, 20);  // the set itself isn't sorted
}

TEST(HomographySet, FileHoldsDoublesWhenAsked) {
  HomographySet set;
  set.Set(-7, Sample(1));
  set.sizeParam = 8;
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  EXPECT_EQ(file.Read(), "RIFF" + Long(9 * 8 + 12 + 48) + "HSET" + Conf(2, 4, 8) + "LIST" + Long(4) + "MRNG" + "LIST" +
                             Long(9 * 8 + 12 + 4) + "HOMG" + "PROJ" + Long(76) + Long(-7) + DoubleValues(1));
}

TEST(HomographySet, EachFrameIsSavedWithItsOwnMatrix) {
  HomographySet set;
  set.Set(9, Sample(9));
  set.Set(4, Sample(4));
  set.Set(6, Sample(6));
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  EXPECT_EQ(file.Read(), Riff(Conf(2, 4, 4) + List("MRNG", "") + List("HOMG", Proj(4, 4) + Proj(6, 6) + Proj(9, 9))));
}

TEST(HomographySet, OtherValueSizesAreNotSaved) {
  HomographySet set;
  set.Set(1, Sample(1));
  set.sizeParam = 5;
  const TemporaryFile file;
  EXPECT_FALSE(set.Save(file.Path()));
  EXPECT_FALSE(file.Exists());
}

TEST(HomographySet, UnwritablePathFails) { EXPECT_FALSE(HomographySet().Save("/nonexistent/folder/file")); }

TEST(HomographySet, SavedFloatsComeBackRounded) {
  HomographySet set, loaded;
  set.Set(3, Sample(1));
  set.Set(4, Sample(2));
  set.AppendRange(3, 4);
  set.originLocation = 2;
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  ASSERT_TRUE(loaded.Load(file.Path()));
  ExpectFloatSample(loaded[0], 1);
  ExpectFloatSample(loaded[1], 2);
  EXPECT_EQ(loaded.start, 3);
  EXPECT_EQ(loaded.end, 4);
  EXPECT_EQ(loaded.number, 2u);
  EXPECT_EQ(loaded.originLocation, 2);
  EXPECT_EQ(loaded.version, 2u);
  ASSERT_EQ(loaded.range.data.size(), 1u);
  EXPECT_EQ(loaded.range.data[0].last, 4);
}

TEST(HomographySet, SavedDoublesComeBackExactly) {
  HomographySet set, loaded;
  set.Set(3, Sample(1));
  set.sizeParam = 8;
  const TemporaryFile file;
  ASSERT_TRUE(set.Save(file.Path()));
  ASSERT_TRUE(loaded.Load(file.Path()));
  ExpectSample(loaded[0], 1);
  EXPECT_EQ(loaded.sizeParam, 8u);
}

TEST(HomographySet, LoadReplacesFramesButAddsRanges) {
  HomographySet set;
  set.Set(50, Sample(1));
  set.AppendRange(50, 60);
  ASSERT_TRUE(LoadBytes(set, Riff(Conf(2, 4, 4) + List("MRNG", Rang(1, 2)) + List("HOMG", Proj(1, 5)))));
  EXPECT_EQ(set.number, 1u);
  EXPECT_EQ(set.start, 1);
  EXPECT_EQ(set.end, 1);
  EXPECT_EQ(set.Index(50), -1);
  ASSERT_EQ(set.range.data.size(), 2u);
  EXPECT_EQ(set.range.data[1].first, 1);
}

TEST(HomographySet, LoadedFramesStayInFileOrder) {
  HomographySet set;
  ASSERT_TRUE(LoadBytes(set, Riff(Conf(2, 4, 4) + List("HOMG", Proj(9, 9) + Proj(-4, 4) + Proj(6, 6)))));
  EXPECT_EQ(set.hset[0].frame, 9);
  EXPECT_EQ(set.hset[1].frame, -4);
  EXPECT_EQ(set.hset[2].frame, 6);
  EXPECT_EQ(set.start, -4);
  EXPECT_EQ(set.end, 9);
  EXPECT_EQ(set.Index(6), 2);
}

TEST(HomographySet, VersionZeroLoadsAsTwoAndAStrangeOriginIsLeft) {
  HomographySet set;
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(0, 7, 4))));
  EXPECT_EQ(set.version, 2u);
  EXPECT_EQ(set.originLocation, 4);
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(2, -1, 8))));
  EXPECT_EQ(set.originLocation, 4);
  EXPECT_EQ(set.sizeParam, 8u);
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(2, 0, 8))));
  EXPECT_EQ(set.originLocation, 0);
}

TEST(HomographySet, NewerVersionLoadsAndSaysSo) {
  HomographySet set;
  bool compatible = false;
  EXPECT_EQ(set.GetVersion(&compatible), 2u);
  EXPECT_TRUE(compatible);
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(3, 4, 4) + List("HOMG", Proj(1, 5)))));
  EXPECT_EQ(set.GetVersion(&compatible), 3u);
  EXPECT_FALSE(compatible);
  EXPECT_EQ(set.GetVersion(nullptr), 3u);
  ExpectFloatSample(set[0], 5);
}

TEST(HomographySet, SetWithoutRecordsHasNoStart) {
  HomographySet set;
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(2, 4, 4) + List("MRNG", "") + List("HOMG", ""))));
  EXPECT_EQ(set.start, -1);
  EXPECT_EQ(set.end, -1);
  EXPECT_EQ(set.number, 0u);
}

TEST(HomographySet, VeryShortLengthReadsNothingAndSucceeds) {
  HomographySet set;
  EXPECT_TRUE(LoadBytes(set, "RIFF" + Long(4) + "HSET" + List("HOMG", Proj(1, 5))));
  EXPECT_TRUE(set.hset.empty());
}

TEST(HomographySet, UnknownChunksAreSkippedAndUnknownListsEntered) {
  HomographySet set;
  EXPECT_TRUE(LoadBytes(set, Riff("JUNK" + Long(3) + "abc" + List("WHAT", Conf(2, 1, 4)) + List("HOMG", Proj(1, 5)))));
  EXPECT_EQ(set.originLocation, 1);
  ASSERT_EQ(set.hset.size(), 1u);
  ExpectFloatSample(set[0], 5);
}

TEST(HomographySet, RangesWithAStrangeLengthFieldAreIgnored) {
  HomographySet set;
  EXPECT_TRUE(LoadBytes(set, Riff(List("MRNG", "RANG" + Long(9) + Long(1) + Long(2) + Rang(5, 6)))));
  ASSERT_EQ(set.range.data.size(), 1u);
  EXPECT_EQ(set.range.data[0].first, 5);
}

TEST(HomographySet, DamagedRangesEndTheLoad) {
  HomographySet set;
  EXPECT_FALSE(
      LoadBytes(set, Riff(List("MRNG", Rang(1, 2) + "RUNG" + Rang(5, 6).substr(4)) + List("HOMG", Proj(1, 5)))));
  EXPECT_TRUE(set.hset.empty());
  EXPECT_EQ(set.range.data.size(), 1u);
  EXPECT_FALSE(LoadBytes(set, Riff(List("MRNG", Rang(1, 2) + "x") + List("HOMG", Proj(1, 5)))));
  EXPECT_TRUE(set.hset.empty());
}

TEST(HomographySet, DamagedFrameEndsItsListWithAFailure) {
  HomographySet set;
  EXPECT_FALSE(LoadBytes(set, Riff(Conf(2, 4, 4) + List("HOMG", Proj(3, 5) + "PRAJ" + Proj(4, 6).substr(4)))));
  ASSERT_EQ(set.hset.size(), 1u);
  EXPECT_EQ(set.start, -1);
  ExpectFloatSample(set[0], 5);
}

TEST(HomographySet, TruncatedFileIsReadAsFarAsItGoes) {
  const std::string whole = Riff(Conf(2, 4, 4) + List("HOMG", Proj(3, 5) + Proj(4, 6) + Proj(5, 7)));
  for (const size_t missing : {1u, 40u, 47u}) {
    HomographySet set;
    EXPECT_FALSE(LoadBytes(set, whole.substr(0, whole.size() - missing)));
    ASSERT_EQ(set.hset.size(), 2u);
    EXPECT_EQ(set.start, -1);
    ExpectFloatSample(set[1], 6);
    EXPECT_EQ(set.Index(4), 1);
  }
}

TEST(HomographySet, EveryTruncationAndByteChangeEndsWell) {
  const std::string whole = Riff(Conf(2, 4, 4) + List("MRNG", Rang(3, 4)) + List("HOMG", Proj(3, 5) + Proj(4, 6)));
  const TemporaryFile file;
  for (size_t length = 0; length < whole.size(); ++length) {
    HomographySet set;
    file.Write(whole.substr(0, length));
    set.Load(file.Path());
    EXPECT_LE(set.hset.size(), 2u);
    std::string changed = whole;
    changed[length] = static_cast<char>(0xff);
    file.Write(changed);
    set.Load(file.Path());
    EXPECT_LE(set.hset.size(), 4u);
  }
}

TEST(HomographySet, HugeLengthsDoNotHang) {
  HomographySet set;
  EXPECT_FALSE(LoadBytes(set, "RIFF" + Long(-1) + "HSET" + Conf(2, 4, 4) + "LIST" + Long(-1) + "HOMG" + Proj(3, 5)));
  EXPECT_EQ(set.hset.size(), 1u);
  EXPECT_FALSE(LoadBytes(set, "RIFF" + Long(-1) + "HSET" + Conf(2, 4, -1) + "LIST" + Long(-1) + "HOMG" + Proj(3, 5)));
  EXPECT_TRUE(LoadBytes(set, "RIFF" + Long(-1) + "HSET" + "JUNK" + Long(-1)));
}

TEST(HomographySet, RecordsOfAnUnknownValueSizeRepeatTheMatrixBefore) {
  HomographySet set;
  const std::string records =
      "PROJ" + Long(22) + Long(1) + std::string(18, 'x') + "PROJ" + Long(22) + Long(2) + std::string(18, 'y');
  EXPECT_TRUE(LoadBytes(set, Riff(Conf(2, 4, 2) + List("HOMG", records))));
  ASSERT_EQ(set.hset.size(), 2u);
  EXPECT_TRUE(set[0].IsIdentity());
  EXPECT_TRUE(set[1].IsIdentity());
  EXPECT_EQ(set.end, 2);
}

TEST(HomographySet, LegacyTextLoadsAboutTheCorner) {
  HomographySet set;
  ASSERT_TRUE(LoadBytes(set, "HSET\n3 1 0 2.5 0 1 -1.5 0 0 1\n4\n2 0 0\n0 2 0\n0 0 1\n"));
  EXPECT_EQ(set.number, 2u);
  EXPECT_EQ(set.originLocation, 0);
  EXPECT_EQ(set.version, 1u);
  EXPECT_EQ(set.start, 3);
  EXPECT_EQ(set.end, 4);
  EXPECT_EQ(set[0](0, 2), 2.5);
  EXPECT_EQ(set[0](1, 2), -1.5);
  EXPECT_EQ(set[1](1, 1), 2.0);
  ASSERT_EQ(set.range.data.size(), 1u);
  EXPECT_EQ(set.range.data[0].first, 3);
  EXPECT_EQ(set.range.data[0].last, 4);
}

TEST(HomographySet, LegacyTextStopsAtTheFirstIncompleteRecord) {
  HomographySet set;
  ASSERT_TRUE(LoadBytes(set, "HSET\n3 1 0 2.5 0 1 -1.5 0 0 1\n4 2 0 0 0"));
  EXPECT_EQ(set.number, 1u);
  EXPECT_EQ(set.end, 3);
}

TEST(HomographySet, LegacyTextWithoutRecordsFails) {
  for (const char* text : {"", "HSET", "HSET\n", "HSET\nx", "HSETS\n3 1 0 0 0 1 0 0 0 1\n", "HS", "MCONF\n1 1\n"}) {
    HomographySet set;
    EXPECT_FALSE(LoadBytes(set, text)) << text;
    EXPECT_EQ(set.start, -1);
    EXPECT_EQ(set.number, 0u);
    EXPECT_TRUE(set.range.data.empty());
  }
}

TEST(HomographySet, MissingFileEmptiesTheFramesAndFails) {
  HomographySet set;
  set.Set(3, Sample(1));
  EXPECT_FALSE(set.Load("/nonexistent/file"));
  EXPECT_TRUE(set.hset.empty());
  EXPECT_EQ(set.number, 0u);
}

}  // namespace
