// The examples of docs/formats.md, read and written by the code that they describe.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/FileBytes.h"
#include "analysis/HomographySet.h"
#include "analysis/MotionConfidenceSet.h"
#include "docs/Examples.h"
#include "imaging/FastArray.h"
#include "numerics/MatchSet.h"
#include "numerics/Matrix.h"
#include "numerics/PointSet.h"
#include "planning/LocalCorrect.h"
#include "plugin/FakeHost.h"
#include "plugin/ProjectFile.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "plugin/StringsFile.h"
#include "rendering/AGCStorage.h"
#include "tracking/FeatureStorage.h"
#include "tracking/FeatureTrack.h"

using testing::ElementsAre;

namespace {

/// Pairs of hexadecimal digits, up to a semicolon on each line.
std::string BytesOf(const std::string& name) {
  std::string bytes;
  for (const std::string& line : BlockOf(name)) {
    std::istringstream pairs(line.substr(0, line.find(';')));
    for (unsigned byte = 0; pairs >> std::hex >> byte;) bytes += static_cast<char>(byte);
  }
  return bytes;
}

template <class Format>
void Load(Format& format, const std::string& bytes) {
  const TemporaryFile file;
  file.Write(bytes);
  EXPECT_TRUE(format.Load(file.Path()));
}

template <class Format>
std::string Saved(Format& format) {
  const TemporaryFile file;
  EXPECT_TRUE(format.Save(file.Path()));
  return file.Read();
}

const std::vector<double> move = {1, 0, 2.5, 0, 1, -1.5, 0, 0, 1};

std::vector<double> ValuesOf(const Vorn::Matrix& m) {
  std::vector<double> values;
  m.GetAsVector(values);
  return values;
}

MemoryCoder ArchiveOf(const std::string& name) {
  MemoryCoder coder;
  std::istringstream text(TextOf(name));
  std::string key, type;
  for (double value = 0; text >> key >> type >> value;) {
    if (type == "integer") coder.encodeInteger(static_cast<long>(value), key);
    if (type == "int") coder.encodeInt(static_cast<int>(value), key);
    if (type == "float") coder.encodeFloat(static_cast<float>(value), key);
    if (type == "double") coder.encodeDouble(value, key);
    if (type == "bool") coder.encodeBool(value != 0, key);
  }
  return coder;
}

std::vector<std::string> LinesOf(const MemoryCoder& coder) {
  std::vector<std::string> lines;
  for (const MemoryCoder::Entry& entry : coder.entries) {
    std::ostringstream line;
    line << entry.key << ' ' << entry.kind << ' ' << entry.value;
    lines.push_back(line.str());
  }
  return lines;
}

std::vector<std::string> EncodedLinesOf(const KeyedCodable& object) {
  MemoryCoder coder;
  object.encodeWithCoder(coder);
  return LinesOf(coder);
}

}  // namespace

TEST(Formats, MatrixTextIsAsTold) {
  Vorn::Matrix m;
  Load(m, TextOf("matrix"));
  EXPECT_EQ(ValuesOf(m), move);
  EXPECT_EQ(Saved(m), TextOf("matrix"));
}

TEST(Formats, HsetIsAsTold) {
  Vorn::HomographySet set;
  Load(set, BytesOf("hset"));
  ASSERT_EQ(set.hset.size(), 1u);
  EXPECT_EQ(set.hset[0].frame, 1);
  EXPECT_EQ(ValuesOf(set.hset[0].matrix), move);
  ASSERT_EQ(set.range.data.size(), 1u);
  EXPECT_EQ(set.range.data[0].first, 1);
  EXPECT_EQ(set.range.data[0].last, 1);
  EXPECT_EQ(Saved(set), BytesOf("hset"));
}

TEST(Formats, HsetTextIsAsTold) {
  Vorn::HomographySet set;
  Load(set, TextOf("hset-text"));
  ASSERT_EQ(set.hset.size(), 1u);
  EXPECT_EQ(set.hset[0].frame, 1);
  EXPECT_EQ(ValuesOf(set.hset[0].matrix), move);
  EXPECT_EQ(set.originLocation, 0);
  EXPECT_EQ(set.version, 1u);
  EXPECT_TRUE(set.range.IsIncluded(1));
}

TEST(Formats, MconfIsAsTold) {
  MotionConfidenceSet set;
  Load(set, TextOf("mconf"));
  EXPECT_THAT(set.index, ElementsAre(0, 1));
  EXPECT_THAT(set.confidence, ElementsAre(1.0f, 0.875f));
  EXPECT_EQ(set.Get(2), 1.0f);
  EXPECT_EQ(Saved(set), TextOf("mconf"));
}

TEST(Formats, StrkIsAsTold) {
  const TemporaryFile file;
  file.Write(BytesOf("strk"));
  Vorn::FeatureStorage store;
  ASSERT_TRUE(store.Open(file.Path(), Vorn::FeatureStorage::StorageRead));
  EXPECT_EQ(store.window, 13);
  EXPECT_EQ(store.minevalue, 0.5f);
  std::list<Vorn::Point2D> points;
  std::vector<Vorn::FeatureStorage::TrackStatus> statuses;
  ASSERT_TRUE(store.ReadFrame(1, points, statuses));
  ASSERT_EQ(points.size(), 1u);
  EXPECT_EQ(points.front().x, 10.5);
  EXPECT_THAT(statuses, ElementsAre(Vorn::FeatureStorage::TrackNew));

  Vorn::FeatureStorage writer;
  writer.GetConfiguration(store);
  ASSERT_TRUE(writer.Open(file.Path(), Vorn::FeatureStorage::StorageWrite));
  writer.WriteFrame(1, points, statuses);
  writer.WriteFrame(2, {}, {});
  ASSERT_TRUE(writer.Close());
  EXPECT_EQ(file.Read(), BytesOf("strk"));
}

TEST(Formats, TracksAreAsTold) {
  const TemporaryFile file;
  file.Write(TextOf("tracks"));
  Vorn::FeatureTrack tracks;
  ASSERT_TRUE(tracks.Load(file.Path(), nullptr, nullptr));
  ASSERT_EQ(tracks.GetTracks().size(), 1u);
  EXPECT_EQ(tracks.GetTracks().front().Location(2).y, 20.25);
  ASSERT_TRUE(tracks.Save(file.Path(), "a comment"));
  EXPECT_EQ(file.Read(), TextOf("tracks"));
}

TEST(Formats, PsetIsAsTold) {
  Vorn::PointSet set;
  Load(set, BytesOf("pset"));
  ASSERT_EQ(set.numPoints, 1u);
  EXPECT_EQ(set[0].id, 7);
  EXPECT_EQ(set[0].x, 10.5);
  EXPECT_EQ(set[0].y, 20.0);
  EXPECT_EQ(set[0].weight, 1.0);
  EXPECT_EQ(set.comment, "abc");
  EXPECT_EQ(Saved(set), BytesOf("pset"));
}

TEST(Formats, PointsAreAsTold) {
  Vorn::PointSet set;
  Load(set, TextOf("points"));
  ASSERT_EQ(set.numPoints, 2u);
  EXPECT_EQ(set[1].id, 8);
  EXPECT_EQ(set[1].x, 30.0);
  EXPECT_EQ(set[1].y, 40.25);
  EXPECT_EQ(set[1].weight, 1.0);
}

TEST(Formats, MatchesAreAsTold) {
  Vorn::MatchSet set;
  Load(set, TextOf("matches"));
  ASSERT_EQ(set.matches.size(), 2u);
  EXPECT_EQ(set.matches[0].first, 0);
  EXPECT_EQ(set.matches[0].second, 3);
  EXPECT_EQ(set.matches[0].score, 0.75);
  EXPECT_EQ(Saved(set), TextOf("matches"));
}

TEST(Formats, FaryIsAsTold) {
  Vorn::FastArray array;
  Load(array, BytesOf("fary"));
  ASSERT_EQ(array.width, 2);
  ASSERT_EQ(array.height, 2);
  EXPECT_EQ(array(1, 0), 1.0f);
  EXPECT_EQ(array(0, 1), 2.0f);
  EXPECT_EQ(array(1, 1), 255.0f);
  EXPECT_EQ(Saved(array), BytesOf("fary"));
}

TEST(Formats, Mfp3IsAsTold) {
  LocalCorrect store(nullptr);
  Load(store, TextOf("mfp3"));
  ASSERT_EQ(store.eventsX.size(), 2u);
  ASSERT_EQ(store.eventsY.size(), 1u);
  EXPECT_EQ(store.eventsX[1].begin_frame, 60);
  EXPECT_EQ(store.eventsX[1].end_frame, 119);
  EXPECT_EQ(store.eventsX[1].motion_type, MotionMoving);
  MotionFixParams pan;
  pan.comp_type = Linear;
  pan.ease_in = 10, pan.linear_period = 40, pan.ease_out = 10;
  pan.start_pos = -0.25f, pan.end_pos = 324.75f;
  EXPECT_EQ(store.filtersX[1], pan);
  EXPECT_EQ(store.filtersX[1].gradient, 6.5f);
  EXPECT_EQ(Saved(store), TextOf("mfp3"));
}

TEST(Formats, Mfp2IsAsTold) {
  LocalCorrect store(nullptr);
  Load(store, TextOf("mfp2"));
  EXPECT_EQ(store.version, 2);
  ASSERT_EQ(store.filtersX.size(), 1u);
  EXPECT_EQ(store.filtersX[0].end_pos, 324.75f);
  EXPECT_EQ(store.filtersX[0].gradient_in, 0.0f);
  ASSERT_EQ(store.filtersY.size(), 1u);
  EXPECT_EQ(store.filtersY[0].comp_type, Hold);
  EXPECT_EQ(store.eventsY[0].motion_type, MotionStill);
}

TEST(Formats, Mfp1IsAsTold) {
  LocalCorrect store(nullptr);
  Load(store, TextOf("mfp1"));
  EXPECT_EQ(store.version, 1);
  ASSERT_EQ(store.filtersX.size(), 1u);
  EXPECT_EQ(store.filtersX[0].start_pos, -0.25f);
  EXPECT_EQ(store.filtersX[0].end_pos, -0.25f);  // of a hold: the start
  ASSERT_EQ(store.filtersY.size(), 1u);
  EXPECT_EQ(store.filtersY[0].end_pos, 1.5f);
}

TEST(Formats, GainsAreAsTold) {
  AGCStorage gains;
  Load(gains, BytesOf("gains"));
  EXPECT_THAT(gains.GetGains(), ElementsAre(1.0f, 0.98f));
  EXPECT_EQ(Saved(gains), BytesOf("gains"));
}

TEST(Formats, AGainsFileWithAChunkOfItsOwnIsRefused) {
  std::string bytes = BytesOf("gains") + "NOTE" + std::string("\4\0\0\0text", 8);
  bytes[4] = static_cast<char>(bytes.size() - 8);
  const TemporaryFile file;
  file.Write(bytes);
  EXPECT_FALSE(AGCStorage().Load(file.Path()));
}

TEST(Formats, GainsTextIsAsTold) {
  AGCStorage gains;
  Load(gains, TextOf("gains-text"));
  EXPECT_EQ(gains.GetStart(), 0);
  EXPECT_THAT(gains.GetGains(), ElementsAre(1.0f, 0.98f));
}

TEST(Formats, TheArchiveOfMotionIsAsTold) {
  const MemoryCoder coder = ArchiveOf("archive-motion");
  const SerialisedMotion motion(coder);
  ASSERT_EQ(motion.getMotion()->hset.size(), 1u);
  EXPECT_EQ(ValuesOf(motion.getMotion()->hset[0].matrix), move);
  EXPECT_EQ(ValuesOf(motion.getQAMotion()->hset[0].matrix), move);
  EXPECT_EQ(motion.getConfidence()->Get(1), 0.875f);
  EXPECT_EQ(EncodedLinesOf(motion), BlockOf("archive-motion"));
}

TEST(Formats, TheArchiveOfEventsIsAsTold) {
  const MemoryCoder coder = ArchiveOf("archive-events");
  const SerialisedEvents events(coder);
  ASSERT_TRUE(events.hasEvents());
  EXPECT_TRUE((*events.eventsX())[0].cut);
  EXPECT_EQ((*events.filtersX())[0].end_pos, 324.75f);
  EXPECT_EQ((*events.filtersY())[0].comp_type, Hold);
  EXPECT_EQ(EncodedLinesOf(events), BlockOf("archive-events"));
}

TEST(Formats, TheArchiveOfGainsIsAsTold) {
  const MemoryCoder coder = ArchiveOf("archive-gains");
  const SerialisedAGC gains(coder);
  EXPECT_THAT(gains.data()->GetGains(), ElementsAre(1.0f, 0.98f));
  EXPECT_EQ(EncodedLinesOf(gains), BlockOf("archive-gains"));
}

TEST(Formats, AProjectIsAsTold) {
  const auto project = ParseProjectFile(TextOf("project"));
  ASSERT_TRUE(project);
  EXPECT_EQ(project->width, 1920);
  EXPECT_EQ(project->height, 1080);
  EXPECT_EQ(project->motion, "motion.set");
  EXPECT_EQ(project->rotation, "rotation.set");
  EXPECT_EQ(project->confidence, "motion.mconf");
  EXPECT_EQ(project->events, "/data/beach.mfp");
  EXPECT_EQ(project->gains, "gains.agc");
}

TEST(Formats, AStringsFileIsAsTold) {
  std::istringstream file(TextOf("strings"));
  bool complete = false;
  const LocalisedStrings strings = ReadStringsFile(file, &complete);
  EXPECT_TRUE(complete);
  EXPECT_EQ(strings, (LocalisedStrings{{"OrvaneFCPX::AnalysisButtonLabel", "Analyze Clip"},
                                       {"OrvaneFCPX::OK", "OK"},
                                       {"two lines", "one\nand \"two\""}}));
}
