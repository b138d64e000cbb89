// Writes the files that fuzzing starts from: by the library's own writers, and by hand what is only read.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "analysis/HomographySet.h"
#include "analysis/MotionConfidenceSet.h"
#include "film/ClipContents.h"
#include "film/EffectDocument.h"
#include "film/FrameIndexText.h"
#include "film/JsonArchive.h"
#include "film/Presets.h"
#include "imaging/FastArray.h"
#include "numerics/MatchSet.h"
#include "numerics/Matrix.h"
#include "numerics/PointSet.h"
#include "planning/LocalCorrect.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/AGCStorage.h"
#include "tracking/FeatureStorage.h"
#include "tracking/FeatureTrack.h"

namespace {

namespace fs = std::filesystem;
using Vorn::FeatureStorage;

/// The folders of seeds, one a target.
class Seeds {
 public:
  explicit Seeds(fs::path folder) : root(std::move(folder)) {}

  /// The name of a seed, to be written there.
  std::string file(const std::string& target, const std::string& name) const {
    fs::create_directories(root / target);
    return (root / target / name).string();
  }
  void text(const std::string& target, const std::string& name, const std::string& content) const {
    std::ofstream(file(target, name), std::ios::binary) << content;
  }

 private:
  fs::path root;
};

Vorn::HomographySet motionOf(int frames) {
  Vorn::HomographySet motion;
  for (int frame = 0; frame < frames; ++frame) {
    Vorn::Matrix m = Vorn::Matrix::GetIdentity(3);
    m(0, 2) = 0.5 * frame;
    m(1, 0) = -0.01;
    motion.Set(frame, m);
  }
  motion.AppendRange(0, frames - 1);
  return motion;
}

void writeMotion(const Seeds& seeds) {
  Vorn::HomographySet motion = motionOf(4);
  motion.Save(seeds.file("hset", "floats").c_str());
  motion.sizeParam = 8;
  motion.AppendRange(10, 12);
  motion.Save(seeds.file("hset", "doubles").c_str());
  seeds.text("hset", "text", "HSET\n0 1 0 0 0 1 0 0 0 1\n1 1 0 2.5 0 1 -1e-3 0 0 1\n");
  MotionConfidenceSet confidence;
  for (int frame = 0; frame < 5; ++frame) confidence.Set(frame, 0.25F * static_cast<float>(frame));
  confidence.Save(seeds.file("mconf", "five").c_str());
}

void writePoints(const Seeds& seeds) {
  Vorn::PointSet points;
  Vorn::MatchSet matches;
  for (int i = 0; i < 3; ++i) {
    points.Add(Vorn::Point2D(i * 1.5, 7 - i));
    matches.AddMatch(i, 2 - i, 0.5 * i);
  }
  points.Save(seeds.file("points", "plain").c_str());
  points.comment = "odd";
  points.Save(seeds.file("points", "comment").c_str());
  seeds.text("points", "text", "POINTS\n2\n1 10 20\n7 1e2 -3.5\n");
  matches.Save(seeds.file("matches", "three").c_str());
  Vorn::Matrix matrix(2, 3);
  matrix(1, 2) = -1.25e-3;
  matrix.Save(seeds.file("matrix", "small").c_str());
  Vorn::FastArray array(4, 3);
  array(2, 1) = 5;
  array.Save(seeds.file("array", "small").c_str());
}

std::list<Vorn::Feature> tracksOf() {
  std::list<Vorn::Feature> tracks;
  for (int id = 0; id < 3; ++id) {
    Vorn::Feature& feature = tracks.emplace_back();
    feature.id = id;
    feature.start = 4 + id;
    for (int i = 0; i < 3; ++i) feature.track.emplace_back(10.0 * id, 1.0 * i);
  }
  return tracks;
}

void writeTracks(const Seeds& seeds) {
  FeatureStorage store;
  store.window = 13;
  store.comment = "odd";
  store.Open(seeds.file("tracks", "chunked").c_str(), FeatureStorage::StorageWrite);
  store.SetTracks(tracksOf());
  store.WriteList();
  store.Close();
  std::ifstream whole(seeds.file("tracks", "chunked"), std::ios::binary);
  std::string first((std::istreambuf_iterator<char>(whole)), {}), next = first;
  first[32] = 1;  // says that a further segment follows
  next.replace(8, 4, "TRKN");
  seeds.text("tracks", "segments", first + next);
  Vorn::FeatureTrack tracks(tracksOf());
  tracks.window = 9;
  tracks.minevalue = 0.5F;
  tracks.Save(seeds.file("tracks", "text").c_str(), "a comment");
}

void writeEvents(const Seeds& seeds) {
  LocalCorrect events(nullptr);
  events.eventsX = events.eventsY = {{0, 14, MotionStill, false}, {15, 40, MotionMoving, true}, {41, 50, MotionBroken}};
  events.filtersX = events.filtersY = {{Hold, 0, 0, 0, 0, 0, 4.5F, 4.5F}, {Linear, 2, 1, 5, 10, 11, 4.5F, 60}, {None}};
  events.Save(seeds.file("events", "third").c_str());
  seeds.text("events", "second", "MFP2\nH 1\n0 Linear\n0 9\n2 6 2 1.5\n0 12\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 3\n");
  seeds.text("events", "first", "MFP1\nH 1\n0 Linear\n0 9\n2 6 2 1.5\n0 12\nV 1\n0 Hold\n0 9\n0 0 0 0\n3 3\n");
  SerialisedEvents stored;
  stored.setEventsX(events.eventsX, events.eventsY);
  stored.setFiltersX(events.filtersX, events.filtersY);
  film::JsonArchive archive;
  stored.encodeWithCoder(archive);
  seeds.text("archives", "events", archive.json().dump());
}

void writeGains(const Seeds& seeds) {
  AGCStorage gains;
  for (int frame = 0; frame < 4; ++frame) gains.SetGain(frame, 1.0F + 0.1F * static_cast<float>(frame));
  gains.AddRange(0, 3);
  gains.AddRange(10, 11);
  gains.Save(seeds.file("gains", "chunked").c_str());
  seeds.text("gains", "text", "GAINS\nstart 5\n1\n1.25\n0.875\n");
  SerialisedAGC stored;
  stored.setData(gains);
  film::JsonArchive archive;
  stored.encodeWithCoder(archive);
  seeds.text("archives", "gains", archive.json().dump());
}

void writeDocuments(const Seeds& seeds) {
  SerialisedMotion stored;
  MotionConfidenceSet confidence;
  confidence.Set(0, 1);
  confidence.Set(1, 0.5F);
  stored.setMotion(motionOf(2), motionOf(2), confidence);
  stored.setAnalysisWidth(640, 480);
  film::JsonArchive archive;
  stored.encodeWithCoder(archive);
  seeds.text("archives", "motion", archive.json().dump());
  film::FrameIndex index;
  index.frames.resize(3);
  seeds.text("index", "three", film::TextOf(index).dump());
  film::ClipContents clip;
  clip.index = std::make_shared<film::FrameIndex>(index);
  film::ParameterStore parameters;
  parameters.addIntSliderWithName("smoothing", kGlobalSmoothing, 40, 1, 100, 1, 100, 1, 0);
  parameters.addCustomParameterWithName("motion", kMotionStorage, std::make_shared<SerialisedMotion>(stored), 0);
  film::EffectDocument::Save(seeds.file("document", "motion"), clip, parameters);
  seeds.text("preset", "some",
             film::DescribePreset({{kGlobalSmoothing, 40}, {kCropEqual, 1}, {kVariableZoomAmount, 1.5}}).dump(1));
  seeds.text("project", "whole",
             "<?xml version=\"1.0\"?>\n<project>\n<sequence width=\"640\" height='480'>\n</sequence>\n<motion> a/m.set "
             "</motion>\n<premotion>p.set</premotion><motionConfidence>c.mconf</motionConfidence>\n<filters>../e.mfp"
             "</filters><completion><agc source=\"g.agc\"/></completion>\n</project>\n");
  seeds.text("strings", "two",
             "/* a comment */\n\"key\" = \"a \\\"text\\\"\\n\";\n// another\n\"k\" = \"\xc3\xa9\";\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
    return 2;
  }
  const Seeds seeds(argv[1]);
  writeMotion(seeds);
  writePoints(seeds);
  writeTracks(seeds);
  writeEvents(seeds);
  writeGains(seeds);
  writeDocuments(seeds);
  return 0;
}
