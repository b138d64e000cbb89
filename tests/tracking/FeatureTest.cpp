#include "tracking/Feature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

namespace Vorn {
namespace {

Feature SomeFeature() {
  Feature feature;
  feature.id = 7;
  feature.start = 10;
  feature.status = FeatureTracked;
  feature.quality = 3.5;
  feature.track = {Point2D(1.5, 2.0), Point2D(3.0, -4.25), Point2D(5.0, 6.0)};
  return feature;
}

TEST(Feature, IsLostAndNowhereAtFirst) {
  const Feature feature;
  EXPECT_EQ(feature.id, -1);
  EXPECT_EQ(feature.start, -1);
  EXPECT_EQ(feature.status, FeatureLost);
  EXPECT_EQ(feature.quality, 0.0);
  EXPECT_TRUE(feature.track.empty());
  EXPECT_EQ(feature.matrices.size(), 6u);
  for (const auto& array : feature.matrices) EXPECT_EQ(array, nullptr);
}

TEST(Feature, StatusNumbersAreThoseThatAreStored) {
  EXPECT_EQ(static_cast<int>(FeatureTracked), 0);
  EXPECT_EQ(static_cast<int>(FeatureNew), 1);
  EXPECT_EQ(static_cast<int>(FeatureLargeResidual), 2);
  EXPECT_EQ(static_cast<int>(FeatureOutOfBounds), 3);
  EXPECT_EQ(static_cast<int>(FeatureLost), 4);
}

TEST(Feature, LocationIsThePointOfItsFrame) {
  const Feature feature = SomeFeature();
  EXPECT_EQ(feature.Location(10).x, 1.5);
  EXPECT_EQ(feature.Location(11).y, -4.25);
  EXPECT_EQ(feature.Location(12).x, 5.0);
}

TEST(Feature, LocationOutsideOfTheTrackIsADefaultPoint) {
  const Feature feature = SomeFeature();
  for (const int frame : {9, 13, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    const Point2D point = feature.Location(frame);
    EXPECT_EQ(point.x, 0.0) << frame;
    EXPECT_EQ(point.y, 0.0) << frame;
    EXPECT_EQ(point.id, -1) << frame;
    EXPECT_FALSE(feature.IsActive(frame)) << frame;
  }
}

TEST(Feature, IsActiveFromItsStartToTheEndOfItsTrack) {
  const Feature feature = SomeFeature();
  EXPECT_TRUE(feature.IsActive(10));
  EXPECT_TRUE(feature.IsActive(12));
  EXPECT_FALSE(feature.IsActive(13));
  EXPECT_FALSE(Feature().IsActive(-1));  // where an empty track would begin
}

TEST(Feature, CopyingCarriesAllButTheMatrices) {
  Feature original = SomeFeature();
  original.matrices[2] = std::make_unique<Matrix[]>(3);
  const Feature copy(original);
  EXPECT_EQ(copy.id, 7);
  EXPECT_EQ(copy.start, 10);
  EXPECT_EQ(copy.status, FeatureTracked);
  EXPECT_EQ(copy.quality, 3.5);
  ASSERT_EQ(copy.track.size(), 3u);
  EXPECT_EQ(copy.track[1].y, -4.25);
  EXPECT_EQ(copy.matrices[2], nullptr);
  EXPECT_NE(original.matrices[2], nullptr);
}

TEST(Feature, AssignmentClearsTheMatrices) {
  Feature target;
  target.matrices[0] = std::make_unique<Matrix[]>(1);
  target.matrices[5] = std::make_unique<Matrix[]>(1);
  const Feature source = SomeFeature();
  target = source;
  EXPECT_EQ(target.id, 7);
  EXPECT_EQ(target.track.size(), 3u);
  for (const auto& array : target.matrices) EXPECT_EQ(array, nullptr);
}

TEST(Feature, ClearResetsTheRecord) {
  Feature feature = SomeFeature();
  feature.Clear();
  EXPECT_EQ(feature.id, -1);
  EXPECT_EQ(feature.start, -1);
  EXPECT_EQ(feature.status, FeatureLost);
  EXPECT_EQ(feature.quality, 0.0);
  EXPECT_TRUE(feature.track.empty());
}

TEST(Feature, IsOrderedByFallingQualityOrRisingId) {
  Feature weak, strong;
  weak.quality = 1.0;
  weak.id = 1;
  strong.quality = 2.0;
  strong.id = 2;
  EXPECT_TRUE(CompareFeatures(strong, weak));
  EXPECT_FALSE(CompareFeatures(weak, strong));
  EXPECT_FALSE(CompareFeatures(weak, weak));
  EXPECT_TRUE(CompareFeatureOrder(weak, strong));
  EXPECT_FALSE(CompareFeatureOrder(strong, weak));
  EXPECT_FALSE(CompareFeatureOrder(weak, weak));
}

TEST(Feature, IsWrittenWithItsSpanAndPoints) {
  std::ostringstream stream;
  stream << SomeFeature();
  EXPECT_EQ(stream.str(), "Feature 7\nstart 10 end 12\n1.5 2\n3 -4.25\n5 6\n");
}

TEST(Feature, MovesWithoutCopyingItsTrack) {
  static_assert(std::is_nothrow_move_constructible_v<Feature> && std::is_nothrow_move_assignable_v<Feature>);
  Feature feature = SomeFeature();
  const Point2D* points = feature.track.data();
  const Feature moved = std::move(feature);
  EXPECT_EQ(moved.track.data(), points);
}

}  // namespace
}  // namespace Vorn
