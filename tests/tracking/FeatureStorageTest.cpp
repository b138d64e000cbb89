#include "tracking/FeatureStorage.h"

#include <gtest/gtest.h>

namespace Vorn {
namespace {

TEST(FeatureStorage, TrackStatusNumbersAreThoseThatAreStored) {
  EXPECT_EQ(static_cast<int>(FeatureStorage::TrackContinued), 0);
  EXPECT_EQ(static_cast<int>(FeatureStorage::TrackNew), 1);
}

}  // namespace
}  // namespace Vorn
