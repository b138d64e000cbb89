// The examples of docs/formats.md that are files of the program.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "docs/Examples.h"
#include "film/SampleMotion.h"

namespace film {
namespace {

void ExpectMotion(const nlohmann::json& matrices, bool shaken) {
  ASSERT_GE(matrices.size(), 3u);
  for (int frame = 0; frame < 3; ++frame) {
    ASSERT_EQ(matrices[frame].size(), 9u);
    const Matrix3 expected = SampleMotionAt(frame, shaken);
    // The scene's sines may differ in the last bits from one C library to another.
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(matrices[frame][i].get<double>(), expected[i], 1e-9) << frame << ' ' << i;
  }
}

TEST(FilmFormats, TheTruthOfASampleIsAsTold) {
  const auto told = nlohmann::json::parse(TextOf("truth"));
  EXPECT_EQ(told["width"], sampleWidth);
  EXPECT_EQ(told["height"], sampleHeight);
  EXPECT_EQ(told["fps"], sampleRate);
  EXPECT_EQ(told["frames"], sampleFrames);
  ExpectMotion(told["motion"], true);
  ExpectMotion(told["intended"], false);
}

}  // namespace
}  // namespace film
