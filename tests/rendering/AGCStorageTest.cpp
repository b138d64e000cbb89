#include "rendering/AGCStorage.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P2(IsGain, frame, gain, "") { return arg.frame == frame && arg.gain == gain; }
MATCHER_P2(IsRange, first, last, "") { return arg.first == first && arg.last == last; }

std::string Number(long value) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes += static_cast<char>((value >> (8 * i)) & 255);
  return bytes;
}

std::string Number(float value) {
  std::string bytes(4, '\0');
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

std::string Chunk(const std::string& tag, const std::string& content) {
  return tag + Number(static_cast<long>(content.size())) + content;
}

std::string Conf(long version, long numberFrames) { return Chunk("CONF", Number(version) + Number(numberFrames)); }
std::string Gain(long frame, float gain) { return Chunk("00FP", Number(frame) + Number(gain)); }
std::string Span(long first, long last) { return Chunk("RANG", Number(first) + Number(last)); }
std::string File(const std::string& chunks) { return Chunk("RIFF", "AGCG" + chunks); }

class AGCStorageTest : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path); }

  bool load(const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
    return storage.Load(path.c_str());
  }
  std::string saved() {
    EXPECT_TRUE(storage.Save(path.c_str()));
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  AGCStorage storage;
  const std::string path = testing::TempDir() + "AGCStorage" + std::to_string(getpid()) +
                           testing::UnitTest::GetInstance()->current_test_info()->name() + ".gains";
};

TEST_F(AGCStorageTest, IsEmptyWhenConstructed) {
  EXPECT_THAT(storage.gains, IsEmpty());
  EXPECT_THAT(storage.range.data, IsEmpty());
  EXPECT_EQ(storage.range.adjacency, 1U);
  EXPECT_EQ(storage.numberFrames, 0);
  EXPECT_EQ(storage.version, 2);
  EXPECT_EQ(storage.GetStart(), -1);
  EXPECT_EQ(storage.GetStop(), -1);
  EXPECT_THAT(storage.GetGains(), IsEmpty());
}

TEST_F(AGCStorageTest, AddAppendsAndSetOverwritesTheFirstEntry) {
  storage.AddGain(1.0F, 5);
  storage.AddGain(2.0F, 5);
  storage.SetGain(5, 3.0F);
  storage.SetGain(4, 4.0F);
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(5, 3.0F), IsGain(5, 2.0F), IsGain(4, 4.0F)));
}

TEST_F(AGCStorageTest, GainOfAMissingFrameIsOne) {
  storage.SetGain(5, 3.0F);
  float gain = 9.0F;
  EXPECT_TRUE(storage.GetGain(5, gain));
  EXPECT_EQ(gain, 3.0F);
  EXPECT_FALSE(storage.GetGain(6, gain));
  EXPECT_EQ(gain, 1.0F);
}

TEST_F(AGCStorageTest, GainsOfASpanHaveOneValueAFrame) {
  storage.AddGain(2.0F, 12);
  storage.AddGain(1.5F, 10);
  storage.AddGain(7.0F, 12);
  storage.AddGain(9.0F, 14);
  EXPECT_THAT(storage.GetGains(9, 13), ElementsAre(1.0F, 1.5F, 1.0F, 2.0F, 1.0F));
  EXPECT_THAT(storage.GetGains(13, 12), IsEmpty());
  EXPECT_THAT(storage.GetGains(-2000000000, 2000000000), IsEmpty());
}

TEST_F(AGCStorageTest, TheRangeThatBeginsFirstGivesStartStopAndGains) {
  storage.AddRange(30, 40);
  storage.AddRange(10, 20);
  storage.AddGain(2.0F, 20);
  storage.AddGain(3.0F, 30);
  EXPECT_EQ(storage.GetStart(), 10);
  EXPECT_EQ(storage.GetStop(), 20);
  const std::vector<float> gains = storage.GetGains();
  ASSERT_EQ(gains.size(), 11U);
  EXPECT_EQ(gains[0], 1.0F);
  EXPECT_EQ(gains[10], 2.0F);
}

TEST_F(AGCStorageTest, ARangeFarBeyondTheGainsAsksForNoMemory) {
  storage.AddGain(2.0F, 0);
  storage.AddRange(0, 1 << 20);
  EXPECT_EQ(storage.GetGains().size(), (1U << 20) + 1);
  storage.AddRange(0, (1 << 20) + 1);
  EXPECT_THAT(storage.GetGains(), IsEmpty());
  EXPECT_EQ(storage.GetGains(0, (1 << 20) + 1).size(), (1U << 20) + 2);  // who asks gets it
}

TEST_F(AGCStorageTest, ClearKeepsNumberAndVersion) {
  storage.AddGain(2.0F, 20);
  storage.AddRange(1, 2);
  storage.numberFrames = 5;
  storage.version = 3;
  storage.Clear();
  EXPECT_THAT(storage.gains, IsEmpty());
  EXPECT_THAT(storage.range.data, IsEmpty());
  EXPECT_EQ(storage.numberFrames, 5);
  EXPECT_EQ(storage.version, 3);
}

TEST_F(AGCStorageTest, FileHoldsConfGainsAndRangesInFrameOrder) {
  storage.AddGain(1.5F, 11);
  storage.AddGain(0.5F, -3);
  storage.AddRange(20, 30);
  storage.AddRange(-3, 11);
  EXPECT_EQ(saved(), File(Conf(2, 2) + Chunk("LIST", "DATA" + Gain(-3, 0.5F) + Gain(11, 1.5F)) +
                          Chunk("LIST", "MRNG" + Span(-3, 11) + Span(20, 30))));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(-3, 0.5F), IsGain(11, 1.5F)));
  EXPECT_THAT(storage.range.data, ElementsAre(IsRange(-3, 11), IsRange(20, 30)));
}

TEST_F(AGCStorageTest, FileOfAnEmptyStoreHasItsListsToo) {
  EXPECT_EQ(saved(), File(Conf(2, 0) + Chunk("LIST", "DATA") + Chunk("LIST", "MRNG")));
}

TEST_F(AGCStorageTest, AnUnsortedStoreComesBackSorted) {
  storage.AddGain(1.5F, 12);
  storage.AddGain(0.5F, 10);
  storage.AddGain(2.5F, 11);
  storage.AddRange(10, 12);
  ASSERT_TRUE(storage.Save(path.c_str()));
  AGCStorage loaded;
  loaded.AddGain(8.0F, 99);  // goes
  loaded.AddRange(50, 60);
  ASSERT_TRUE(loaded.Load(path.c_str()));
  EXPECT_THAT(loaded.gains, ElementsAre(IsGain(10, 0.5F), IsGain(11, 2.5F), IsGain(12, 1.5F)));
  EXPECT_THAT(loaded.range.data, ElementsAre(IsRange(10, 12)));
  EXPECT_EQ(loaded.numberFrames, 3);
  EXPECT_EQ(loaded.version, 2);
}

TEST_F(AGCStorageTest, SavingFailsOnlyWhereNoFileCanBeMade) {
  EXPECT_FALSE(storage.Save((path + ".none/file").c_str()));
  EXPECT_FALSE(storage.Load((path + ".none").c_str()));
}

TEST_F(AGCStorageTest, NumberFramesLimitsTheRecordsButTheFirst) {
  const std::string data = Chunk("LIST", "DATA" + Gain(1, 1.5F) + Gain(2, 2.5F) + Gain(3, 3.5F));
  EXPECT_TRUE(load(File(Conf(2, 2) + data)));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.5F), IsGain(2, 2.5F)));
  EXPECT_TRUE(load(File(Conf(2, 0) + data)));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.5F)));
}

TEST_F(AGCStorageTest, OfSeveralRecordsForAFrameTheLastOneCounts) {
  EXPECT_TRUE(load(File(Conf(2, 9) + Chunk("LIST", "DATA" + Gain(1, 1.5F) + Gain(2, 2.5F) + Gain(1, 3.5F)))));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 3.5F), IsGain(2, 2.5F)));
}

TEST_F(AGCStorageTest, WhatTheConfChunkHasMoreIsSkipped) {
  EXPECT_TRUE(load(File(Chunk("CONF", Number(3L) + Number(1L) + "more") + Chunk("LIST", "DATA" + Gain(1, 1.5F)))));
  EXPECT_EQ(storage.version, 3);
  EXPECT_EQ(storage.gains.size(), 1U);
}

TEST_F(AGCStorageTest, AConfChunkOrListThatIsTooShortFails) {
  EXPECT_FALSE(load(File(Chunk("CONF", Number(2L)) + Chunk("LIST", "MRNG"))));
  EXPECT_FALSE(load(File(Conf(2, 1) + Chunk("LIST", "DATA" + Gain(1, 1.5F).substr(0, 12)) + "fill")));
}

TEST_F(AGCStorageTest, RecordsWithAnotherTagFail) {
  EXPECT_FALSE(load(File(Conf(2, 2) + Chunk("LIST", "DATA" + Gain(1, 1.5F) + Chunk("01FP", Number(2L) + Number(2L))))));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.5F)));
  EXPECT_FALSE(load(File(Chunk("LIST", "MRNG" + Chunk("RONG", Number(2L) + Number(2L))))));
}

TEST_F(AGCStorageTest, AListOfAnotherFormIsSkippedToAnEvenLength) {
  const std::string odd = "LIST" + Number(7L) + "OTHRabc" + "!";
  EXPECT_TRUE(load(File(odd + Conf(2, 1) + Chunk("LIST", "DATA" + Gain(1, 1.5F)))));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.5F)));
}

TEST_F(AGCStorageTest, AnotherChunkIsSkippedButItsBytesAreStillExpectedAndMissed) {
  const std::string odd = "OTHR" + Number(3L) + "abc" + "!";
  EXPECT_FALSE(load(File(odd + Conf(2, 1) + Chunk("LIST", "DATA" + Gain(1, 1.5F)))));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.5F)));  // what was read stays
}

TEST_F(AGCStorageTest, AFileCutShortAnywhereFails) {
  const std::string whole =
      File(Conf(2, 2) + Chunk("LIST", "DATA" + Gain(1, 1.5F) + Gain(2, 2.5F)) + Chunk("LIST", "MRNG" + Span(1, 2)));
  ASSERT_TRUE(load(whole));
  for (size_t length = 0; length < whole.size(); ++length) EXPECT_FALSE(load(whole.substr(0, length))) << length;
}

TEST_F(AGCStorageTest, AFileThatClaimsMoreThanItHoldsFails) {
  EXPECT_FALSE(load("RIFF" + Number(-1L) + "AGCG" + Conf(2, -1) + "LIST" + Number(-1L) + "DATA" + Gain(1, 1.5F)));
  EXPECT_FALSE(load("RIFF" + Number(0L) + "AGCG" + Conf(2, 1)));
}

TEST_F(AGCStorageTest, TheTextFormCountsFramesFromItsStart) {
  EXPECT_TRUE(load("GAINS\nstart 100\n1.0 1.25\n0.5\n"));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(100, 1.0F), IsGain(101, 1.25F), IsGain(102, 0.5F)));
  EXPECT_THAT(storage.range.data, ElementsAre(IsRange(100, 102)));
}

TEST_F(AGCStorageTest, TheTextFormEndsAtWhatIsNoNumber) {
  EXPECT_TRUE(load("GAINS\nstart 3\n1.5 end 2.5\n"));
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(3, 1.5F)));
}

TEST_F(AGCStorageTest, TheTextFormWithoutNumbersCoversNothing) {
  storage.AddGain(1.0F, 1);
  EXPECT_TRUE(load("GAINS\nstart 3\n"));
  EXPECT_THAT(storage.gains, IsEmpty());
  EXPECT_THAT(storage.range.data, IsEmpty());
}

TEST_F(AGCStorageTest, AnotherFirstLineFailsAndChangesNothing) {
  storage.AddGain(1.0F, 1);
  for (const char* text : {"GAIN\nstart 3\n1.0\n", "GAINSX\nstart 3\n1.0\n", "", "RIFF"})
    EXPECT_FALSE(load(text)) << text;
  EXPECT_THAT(storage.gains, ElementsAre(IsGain(1, 1.0F)));
}

}  // namespace
