#include "tracking/FeatureTrack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/FileBytes.h"

namespace Vorn {
namespace {

Feature TrackOf(int id, int start, const std::vector<Point2D>& positions) {
  Feature feature;
  feature.id = id;
  feature.start = start;
  feature.track = positions;
  for (Point2D& point : feature.track) point.id = id;
  return feature;
}

TEST(FeatureTrack, SavesWholeTracksAndTheSettingsThatAreSet) {
  const TemporaryFile file;
  FeatureTrack tracks;
  tracks.Store(TrackOf(4, 3, {{1.5, 2}, {0.1234567, 1e7}}));
  tracks.Store(TrackOf(5, 0, {{1, 1}, {2, 2}, {3, 3}}));
  ASSERT_TRUE(tracks.Save(file.Path(), "what it is"));
  EXPECT_EQ(file.Read(),
            "TRACKS\nwhat it is\nParams 2\ntrackstart 0\ntrackend 4\nFeature 4\nstart 3 end 4\n1.5 2\n0.123457 1e+07\n"
            "Feature 5\nstart 0 end 2\n1 1\n2 2\n3 3\n");
  tracks.Clear();
  tracks.window = 13;
  tracks.levels = 4;
  tracks.range = 15;
  tracks.minevalue = 0.5F;
  ASSERT_TRUE(tracks.Save(file.Path(), ""));
  EXPECT_EQ(file.Read(),
            "TRACKS\n\nParams 6\ntrackstart -1\ntrackend -1\nwindow 13\nlevels 4\nrange 15\nminevalue 0.500000\n");
}

TEST(FeatureTrack, ATrackOfOnePointIsNeitherStoredNorSaved) {
  const TemporaryFile file;
  FeatureTrack tracks;
  tracks.Store(TrackOf(4, 3, {{1, 2}}));
  EXPECT_TRUE(tracks.GetTracks().empty());
  EXPECT_EQ(tracks.trackStart, -1);
  tracks.GetTracks().push_back(TrackOf(4, 3, {{1, 2}}));
  ASSERT_TRUE(tracks.Save(file.Path(), nullptr));
  EXPECT_EQ(file.Read(), "TRACKS\n\nParams 2\ntrackstart -1\ntrackend -1\n");
}

TEST(FeatureTrack, StoringWidensTheSpan) {
  FeatureTrack tracks(std::list<Feature>{TrackOf(1, 5, {{1, 1}, {2, 2}}), TrackOf(2, 9, {{1, 1}})});
  EXPECT_EQ(tracks.trackStart, 5);
  EXPECT_EQ(tracks.trackEnd, 6);
  tracks.Store(TrackOf(3, 4, {{1, 1}, {1, 1}, {1, 1}, {1, 1}}));
  EXPECT_EQ(tracks.trackStart, 4);
  EXPECT_EQ(tracks.trackEnd, 7);
  EXPECT_EQ(tracks.CountActiveInFrame(5), 2);
  EXPECT_EQ(tracks.CountActiveInFrame(4), 1);
  EXPECT_EQ(tracks.CountActiveInFrame(8), 0);
}

TEST(FeatureTrack, LoadsWhatTheFileTells) {
  const TemporaryFile file;
  file.Write(
      "TRACKS\nc\nParams 3\ntrackstart 2\ntrackend 40\nrange 7\n"
      "Feature 5\nstart 2 end 3\n1 2\n3.5 4\nFeature 6\nstart 4 end 4\n7 8\n");
  FeatureTrack tracks;
  int first = 0, last = 0;
  ASSERT_TRUE(tracks.Load(file.Path(), &first, &last));
  EXPECT_EQ(first, 2);
  EXPECT_EQ(last, 40);
  EXPECT_EQ(tracks.range, 7);
  EXPECT_EQ(tracks.comment, "c");
  ASSERT_EQ(tracks.GetTracks().size(), 1u);
  const Feature& feature = tracks.GetTracks().front();
  EXPECT_EQ(feature.id, 5);
  EXPECT_EQ(feature.start, 2);
  ASSERT_EQ(feature.track.size(), 2u);
  EXPECT_EQ(feature.track[1].x, 3.5);
  EXPECT_EQ(feature.track[1].id, 5);
  EXPECT_EQ(feature.track[1].weight, 1.0);
  EXPECT_TRUE(tracks.Load(file.Path(), nullptr, nullptr));
}

TEST(FeatureTrack, ADeferredLoadHappensOnFirstUse) {
  const TemporaryFile file;
  file.Write("TRACKS\nc\nParams 0\nFeature 5\nstart 2 end 3\n1 2\n3 4\n");
  FeatureTrack tracks;
  ASSERT_TRUE(tracks.LoadDeferred(file.Path()));
  EXPECT_EQ(tracks.comment, "c");
  file.Write("TRACKS\nc\nParams 0\nFeature 9\nstart 0 end 1\n1 2\n3 4\n");  // nothing had been read yet
  ASSERT_EQ(tracks.GetTracks().size(), 1u);
  EXPECT_EQ(tracks.GetTracks().front().id, 9);
  file.Write("");
  EXPECT_EQ(tracks.GetTracks().size(), 1u);
  EXPECT_FALSE(tracks.LoadDeferred(file.Path()));
  EXPECT_TRUE(tracks.GetTracks().empty());
}

TEST(FeatureTrack, FilesOfAnotherKindOrBrokenOnesFail) {
  const TemporaryFile file;
  FeatureTrack tracks;
  int first = 0, last = 0;
  EXPECT_FALSE(tracks.Load(file.Path(), &first, &last));
  EXPECT_EQ(first, -1);
  EXPECT_EQ(last, -1);
  file.Write("POINTS\n");
  EXPECT_FALSE(tracks.Load(file.Path(), &first, &last));
  file.Write("TRACKS\n\nParams 0\nFeature 5\nstart 2 end 3\n1 2\n3 4\nFeature 6\nstart 2 end 3\n1 2\n");
  EXPECT_FALSE(tracks.Load(file.Path(), &first, &last));
  EXPECT_EQ(tracks.GetTracks().size(), 1u);
}

TEST(FeatureTrack, AFileThatCannotBeMadeIsTold) {
  FeatureTrack tracks;
  const std::string path = testing::TempDir() + "none/tracks.txt";
  testing::internal::CaptureStderr();
  EXPECT_FALSE(tracks.Save(path.c_str(), ""));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Could not save " + path + "\n");
}

TEST(FeatureTrack, ACommentOfSeveralLinesStaysOneLine) {
  const TemporaryFile file;
  FeatureTrack tracks;
  ASSERT_TRUE(tracks.Save(file.Path(), "one\ntwo"));
  EXPECT_TRUE(tracks.Load(file.Path(), nullptr, nullptr));
  EXPECT_EQ(tracks.comment, "one two");
}

TEST(FeatureTrack, ListsAreJoinedAndAppended) {
  FeatureTrack a(std::list<Feature>{TrackOf(1, 0, {{0, 0}, {1, 1}})}),
      b(std::list<Feature>{TrackOf(1, 2, {{2, 2}, {3, 3}})});
  JoinTracks(a, b);
  ASSERT_EQ(a.GetTracks().size(), 1u);
  EXPECT_EQ(a.GetTracks().front().track.size(), 4u);
  EXPECT_EQ(a.trackEnd, 3);
  appendTracks(a, b);
  ASSERT_EQ(a.GetTracks().size(), 2u);
  EXPECT_EQ(a.GetTracks().back().id, 2);
}

}  // namespace
}  // namespace Vorn
