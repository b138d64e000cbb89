#include "film/FeatureTrails.h"

#include <gtest/gtest.h>

#include <map>

namespace film {
namespace {

Vorn::Point2D At(int id, double x, double y) {
  Vorn::Point2D point(x, y);
  point.id = id;
  return point;
}

/// What an analysis shows behind a frame: the features that were followed into it, and those that it goes on with.
class FeatureTrailsTest : public testing::Test {
 protected:
  using Points = std::vector<Vorn::Point2D>;

  std::map<int, FeatureMark> frame(const Points& followed, const Points& live,
                                   const std::vector<MatchWeight>& weights) {
    analysis.currentPoints.points.assign(followed.begin(), followed.end());
    analysis.trackPoints.assign(live.begin(), live.end());
    analysis.motionEstimator.matchWeights = weights;
    std::map<int, FeatureMark> marks;
    for (const FeatureMark& mark : trails.take(analysis)) {
      EXPECT_FALSE(marks.contains(mark.id)) << "twice: " << mark.id;
      marks[mark.id] = mark;
    }
    return marks;
  }

  TrackerEstimator analysis;
  FeatureTrails trails;
};

TEST_F(FeatureTrailsTest, OnTheFirstFrameAllAreNew) {
  // What an analysis before left as its current points has nothing to do with it.
  const auto marks = frame({At(99, 1, 1)}, {At(1, 10, 20), At(2, 30, 40)}, {});
  ASSERT_EQ(marks.size(), 2u);
  EXPECT_EQ(marks.at(1).kind, FeatureKind::New);
  EXPECT_EQ(marks.at(2).kind, FeatureKind::New);
  EXPECT_EQ(marks.at(2).length, 1);
  EXPECT_EQ(marks.at(2).trail[0].x, 30);
  EXPECT_EQ(marks.at(2).trail[0].y, 40);
}

TEST_F(FeatureTrailsTest, KindsFollowFromTheWeights) {
  const Points points = {At(1, 1, 0), At(2, 2, 0), At(3, 3, 0), At(4, 4, 0), At(5, 5, 0)};
  frame({}, points, {});
  const auto marks = frame(points, points,
                           {{.id = 4, .weight = -1.0f, .stillRun = 5},
                            {.id = 1, .weight = 1.0f, .stillRun = -1},
                            {.id = 2, .weight = -0.1f, .stillRun = -1},
                            {.id = 3, .weight = 0.0f, .stillRun = 1}});
  EXPECT_EQ(marks.at(1).kind, FeatureKind::Tracked);
  EXPECT_EQ(marks.at(2).kind, FeatureKind::Barred);
  EXPECT_EQ(marks.at(3).kind, FeatureKind::Still);
  EXPECT_EQ(marks.at(4).kind, FeatureKind::Barred);
  EXPECT_EQ(marks.at(5).kind, FeatureKind::Tracked);  // not judged yet
}

TEST_F(FeatureTrailsTest, ALostFeatureIsShownOnceWhereItWas) {
  frame({}, {At(1, 10, 20), At(2, 30, 40)}, {});
  frame({At(1, 11, 20), At(2, 31, 40)}, {At(1, 11, 20), At(2, 31, 40)}, {});
  auto marks = frame({At(1, 12, 20)}, {At(1, 12, 20)}, {});
  EXPECT_EQ(marks.at(2).kind, FeatureKind::Lost);
  EXPECT_EQ(marks.at(2).length, 2);
  EXPECT_EQ(marks.at(2).trail[0].x, 31);
  marks = frame({At(1, 13, 20)}, {At(1, 13, 20)}, {});
  EXPECT_EQ(marks.size(), 1u);
}

TEST_F(FeatureTrailsTest, AFeatureThatADetectionDropsIsLostOnTheNextFrame) {
  frame({}, {At(1, 10, 20), At(2, 30, 40)}, {});
  auto marks = frame({At(1, 11, 20), At(2, 31, 40)}, {At(1, 11, 20), At(7, 50, 50)}, {});
  EXPECT_EQ(marks.at(2).kind, FeatureKind::Tracked);
  EXPECT_EQ(marks.at(7).kind, FeatureKind::New);
  marks = frame({At(1, 12, 20), At(7, 51, 50)}, {At(1, 12, 20), At(7, 51, 50)}, {});
  EXPECT_EQ(marks.at(2).kind, FeatureKind::Lost);
  EXPECT_EQ(marks.at(7).kind, FeatureKind::Tracked);
  EXPECT_EQ(marks.at(7).length, 2);
}

TEST_F(FeatureTrailsTest, ATrailHoldsTheLatestPlacesFirst) {
  frame({}, {At(1, 0, 5)}, {});
  std::map<int, FeatureMark> marks;
  for (int i = 1; i <= 20; ++i) marks = frame({At(1, i, 5)}, {At(1, i, 5)}, {});
  ASSERT_EQ(marks.at(1).length, FeatureMark::longestTrail);
  for (int i = 0; i < FeatureMark::longestTrail; ++i) EXPECT_EQ(marks.at(1).trail[static_cast<size_t>(i)].x, 20 - i);
}

TEST_F(FeatureTrailsTest, FramesWithoutFeaturesHaveNoMarks) {
  EXPECT_TRUE(frame({}, {}, {}).empty());
  EXPECT_TRUE(frame({}, {}, {}).empty());
  frame({}, {At(1, 0, 5)}, {});
  EXPECT_EQ(frame({}, {}, {}).at(1).kind, FeatureKind::Lost);
  EXPECT_TRUE(frame({}, {}, {}).empty());
}

}  // namespace
}  // namespace film
