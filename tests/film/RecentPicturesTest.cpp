#include "film/RecentPictures.h"

#include <gtest/gtest.h>

namespace film {
namespace {

TEST(RecentPictures, KeepsNoneUntilItHasRoom) {
  RecentPictures recent;
  recent.keep(1, std::make_shared<FloatPicture>());
  EXPECT_EQ(recent.find(1), nullptr);
}

TEST(RecentPictures, TheOneUsedLongestAgoMakesRoom) {
  RecentPictures recent;
  recent.makeRoom(300, 100);
  const auto picture = [] { return std::make_shared<FloatPicture>(); };
  const SharedPicture one = picture(), two = picture(), three = picture(), four = picture();
  recent.keep(1, one);
  recent.keep(2, two);
  recent.keep(3, three);
  EXPECT_EQ(recent.find(1), one);
  recent.keep(4, four);
  EXPECT_EQ(recent.find(2), nullptr);
  EXPECT_EQ(recent.find(1), one);
  EXPECT_EQ(recent.find(3), three);
  EXPECT_EQ(recent.find(4), four);
}

TEST(RecentPictures, TwoAreKeptHoweverLargeAndManyHoweverSmall) {
  RecentPictures recent;
  recent.makeRoom(1, 1000);
  for (int i = 0; i < 3; ++i) recent.keep(i, std::make_shared<FloatPicture>());
  EXPECT_EQ(recent.find(0), nullptr);
  EXPECT_NE(recent.find(1), nullptr);
  EXPECT_NE(recent.find(2), nullptr);
  recent.makeRoom(1000, 1);
  for (int i = 0; i < 65; ++i) recent.keep(i, std::make_shared<FloatPicture>());
  EXPECT_EQ(recent.find(0), nullptr);
  EXPECT_NE(recent.find(1), nullptr);
}

}  // namespace
}  // namespace film
