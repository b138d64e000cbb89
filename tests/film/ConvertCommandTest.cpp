#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "film/StoredFileFixture.h"

namespace film {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class ConvertCommandTest : public StoredFileTest {
 protected:
  /// The bytes of what an input becomes.
  std::string converted(const std::string& bytes, const std::string& name) const {
    const std::string in = made("in", bytes), out = folder / name;
    const Outcome outcome = run({"convert", in, out, "--force"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    return ReadAll(out);
  }
};

TEST_F(ConvertCommandTest, OldMotionKeepsAllItsDigits) {
  const auto row = [](double dx, double dy) {
    return Double(1) + Double(0) + Double(dx) + Double(0) + Double(1) + Double(dy) + Double(0) + Double(0) + Double(1);
  };
  EXPECT_EQ(converted(kOldHset, "new.set"),
            file("HSET", chunk("CONF", Long(2) + Long(0) + Long(8)) + strk::List("MRNG", strk::Range(0, 1)) +
                             strk::List("HOMG", chunk("PROJ", Long(0) + row(0, 0)) +
                                                    chunk("PROJ", Long(1) + row(2.123456789, -1)))));
}

TEST_F(ConvertCommandTest, OldPointsBecomeChunked) {
  EXPECT_EQ(converted(kPoints, "new.pset"),
            file("PSET", chunk("CONF", strk::Int(2) + strk::Int(0) + Long(2)) +
                             chunk("DATA", Long(1) + Float(10) + Float(20.5F) + Float(1) + Long(7) + Float(100) +
                                               Float(-3) + Float(1))));
}

TEST_F(ConvertCommandTest, OldTracksBecomeChunked) {
  const std::string two = strk::Record(2, 1, strk::Point(5, 1, 2, 1)),
                    three = strk::Record(3, 1, strk::Point(5, 3.5F, 4, 0));
  EXPECT_EQ(converted(kTracks, "new.strk"),
            file("STRK", strk::Conf(13, 0, 0, 5, 0, 0) + chunk("COMM", std::string("from a tool\0", 12)) +
                             strk::List("DATA", two + three) + strk::List("MRNG", strk::Range(0, 6)) +
                             chunk("INDX", strk::Entry(0, 2, 4, 22) + strk::Entry(0, 3, 34, 22))));
}

TEST_F(ConvertCommandTest, OldEventsGetTheThirdVersion) {
  const std::string expected =
      "MFP3\nH 1\n0 Linear\n0 9\n2 6 2 1.5\n1 12 0\n0 G\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 3 0\n0 G\n";
  EXPECT_EQ(converted(kMfp2, "new.mfp"), expected);
  std::string first = expected;
  first.replace(first.find("1 12 0"), 6, "1 0 0");  // the first version had no end for a line
  EXPECT_EQ(converted(kMfp1, "new.mfp"), first);
}

TEST_F(ConvertCommandTest, OldGainsBecomeChunked) { EXPECT_EQ(converted(kOldGains, "new.agc"), gains()); }

TEST_F(ConvertCommandTest, EverythingBecomesATable) {
  EXPECT_EQ(converted(hset(), "m.csv"),
            "frame,m00,m01,m02,m10,m11,m12,m20,m21,m22\n3,1.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,1.0\n"
            "4,1.0,0.0,0.1,0.0,1.0,0.0,0.0,0.0,1.0\n");
  EXPECT_EQ(converted(kMconf, "c.CSV"), "frame,confidence\n0,1.0\n1,0.05\n");
  EXPECT_EQ(converted(pset(), "p.csv"), "id,x,y,weight\n7,1.5,2.0,1.0\n8,-3.0,0.1,0.5\n");
  EXPECT_EQ(converted(kMatches, "x.csv"), "first,second,score\n0,3,0.5\n1,2,0.0\n");
  EXPECT_EQ(converted(strk::Small(), "t.csv"),
            "track,id,frame,x,y\n0,7,5,1.5,2.5\n1,9,5,-3.25,4.0\n1,9,6,-3.0,4.5\n2,2,5,10.0,20.0\n");
  EXPECT_EQ(converted(kMfp2, "e.csv"),
            "axis,index,kind,first,last,cut,fit,easeIn,linearPeriod,easeOut,gradient,gradientIn,startPosition,"
            "endPosition\nhorizontal,0,move,0,9,false,Linear,2,6,2,1.5,0.0,1.0,12.0\n"
            "vertical,0,hold,0,9,false,Hold,0,0,0,0.0,0.0,3.0,3.0\n");
  EXPECT_EQ(converted(gains(), "g.csv"), "frame,gain\n5,1.0\n6,1.25\n");
  EXPECT_EQ(converted(kMatrix, "a.csv"), "1.0,2.0,3.0\n4.0,5.0,-0.0065\n");
  EXPECT_EQ(converted(fary(), "f.csv"), "0.5,-1.0\n");
}

TEST_F(ConvertCommandTest, LongTracksBringTheirSegments) {
  const std::string in =
      made("long.tracks", "TRACKS\n\nParams 2\ntrackstart 0\ntrackend 74501\nFeature 5\nstart 2 end 3\n1 2\n3.5 4\n");
  const std::string out = folder / "long.strk";
  ASSERT_EQ(run({"convert", in, out}).status, 0);
  EXPECT_EQ(ReadAll(out).substr(8, 4), "STRK");
  EXPECT_EQ(ReadAll(out + "1").substr(8, 4), "TRKN");
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("long.tracks", "long.strk", "long.strk1"));
  EXPECT_THAT(run({"show", out}).out, HasSubstr("covered:                  0 to 74501\n"));

  std::remove(out.c_str());
  expectRefusal({"convert", in, out}, 1, out + "1", "--force");
  EXPECT_THAT(folder.names(), testing::UnorderedElementsAre("long.tracks", "long.strk1"));
}

TEST_F(ConvertCommandTest, WhatIsInItsPresentFormIsToldSo) {
  for (const std::string& bytes : {hset(), pset(), gains(), fary(), mfp3(), strk::Small(), std::string(kMconf),
                                   std::string(kMatches), std::string(kMatrix)}) {
    expectRefusal({"convert", made("in", bytes), folder / "out"}, 1, folder / "in", ".csv");
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));
  }
}

TEST_F(ConvertCommandTest, DamagedFilesAndForeignOnesWriteNothing) {
  const std::string out = folder / "out.csv";
  expectRefusal({"convert", made("cut", hset().substr(0, 100)), out}, 1, folder / "cut", "damaged or was cut short");
  expectRefusal({"convert", made("words", "some words"), out}, 1, folder / "words", "none of the files");
  expectRefusal({"convert", folder / "none", out}, 1, folder / "none", "no such file");
  expectRefusal({"convert", folder / "", out}, 1, folder / "", "folder");
  expectRefusal({"convert", made("none.set", file("HSET", chunk("CONF", Long(2) + Long(4) + Long(4)))), out}, 1,
                "none.set", "no values");
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(ConvertCommandTest, TracksThatClaimYearsAreRefused) {
  expectRefusal(
      {"convert",
       made("in", "TRACKS\n\nParams 2\ntrackstart 0\ntrackend 2000000000\nFeature 5\nstart 2 end 3\n1 2\n3 4\n"),
       folder / "out.strk"},
      1, folder / "in", "no clip has");
  EXPECT_THAT(folder.names(), ElementsAre("in"));
}

TEST_F(ConvertCommandTest, AFileThatIsThereNeedsForce) {
  const std::string in = made("in", kMconf), out = made("out.csv", "mine");
  expectRefusal({"convert", in, out}, 1, out, "--force");
  EXPECT_EQ(ReadAll(out), "mine");
  EXPECT_EQ(run({"convert", in, out, "--force"}).status, 0);
  EXPECT_EQ(ReadAll(out), "frame,confidence\n0,1.0\n1,0.05\n");
  expectRefusal({"convert", in, in, "--force"}, 2, in, "choose another name");
  expectRefusal({"convert", in, folder / "none/out.csv"}, 1, "none/out.csv", "folder does not exist");
  expectRefusal({"convert", in}, 2, "OUT", "--help");
}

class ConvertDocumentTest : public CommandLineTest {};

TEST_F(ConvertDocumentTest, TheMotionOfADocumentBecomesATable) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const std::string table = folder / "frames.csv";
  ASSERT_EQ(run({"convert", document, table}).status, 0);
  const std::string text = ReadAll(table);
  EXPECT_THAT(text, testing::StartsWith("frame,m00,m01,m02,m10,m11,m12,m20,m21,m22,confidence,gain\n0,1.0,0.0,"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 15);
  expectRefusal({"convert", document, folder / "new.json"}, 1, document, "already");
}

}  // namespace
}  // namespace film
