#include "plugin/SerialisedMotion.h"

#include <gtest/gtest.h>

#include "plugin/FakeHost.h"

using Vorn::HomographySet;
using Vorn::Matrix;

namespace {

Matrix MatrixOf(const double (&values)[9]) {
  Matrix m(3, 3);
  for (int k = 0; k < 9; ++k) m(k / 3, k % 3) = values[k];
  return m;
}

/// Frames 12 and 13, and 20, with a gap between.
SerialisedMotion TwoStretches() {
  HomographySet motion, quasiAffine;
  MotionConfidenceSet confidence;
  for (const int frame : {12, 13, 20}) {
    motion.Set(frame, MatrixOf({1.5, 0.25, frame + 0.5, -0.5, 1.25, 3, 0.125, -0.125, 1}));
    quasiAffine.Set(frame, MatrixOf({0.75, 99, 4, 0.5, 98, -8, 97, 96, 95}));
    confidence.Set(frame, frame == 20 ? 0.5f : 1.0f);
  }
  motion.AppendRange(12, 13);
  motion.AppendRange(20, 20);
  SerialisedMotion stored;
  stored.setMotion(motion, quasiAffine, confidence);
  stored.setAnalysisWidth(640, 360);
  return stored;
}

TEST(SerialisedMotion, IsEmptyAtFirst) {
  const SerialisedMotion stored;
  int width = -1, height = -1;
  stored.getAnalysisWidth(&width, &height);
  EXPECT_EQ(width, 0);
  EXPECT_EQ(height, 0);
  EXPECT_EQ(stored.getMotion()->hset.size(), 0u);
  EXPECT_EQ(stored.getQAMotion()->hset.size(), 0u);
  EXPECT_EQ(stored.getConfidence()->confidence.size(), 0u);
}

TEST(SerialisedMotion, AnEmptyOneHasNoFrameKeysAndComesBackEmpty) {
  MemoryCoder coder;
  SerialisedMotion().encodeWithCoder(coder);
  EXPECT_EQ(coder.keys(),
            (std::vector<std::string>{"width", "height", "start", "end", "num_ranges", "conf_start", "conf_end"}));
  EXPECT_EQ(coder.at("num_ranges").value, 0.0);
  const SerialisedMotion back(coder);
  EXPECT_TRUE(back.getMotion()->hset.empty());
  EXPECT_EQ(back.getMotion()->start, -1);
  EXPECT_TRUE(back.getQAMotion()->hset.empty());
  EXPECT_TRUE(back.getConfidence()->index.empty());
}

TEST(SerialisedMotion, WritesItsKeysInOrder) {
  MemoryCoder coder;
  TwoStretches().encodeWithCoder(coder);
  std::vector<std::string> expected{"width",        "height",      "start",        "end",        "num_ranges",
                                    "range0_first", "range0_last", "range1_first", "range1_last"};
  for (const char* frame : {"12", "13", "20"}) {
    for (const char* k : {"0", "1", "2", "3", "4", "5", "6", "7", "8"})
      expected.push_back(std::string("frame") + frame + "h" + k);
    for (const char* k : {"0", "1", "2", "3"}) expected.push_back(std::string("qa") + frame + "q" + k);
  }
  expected.insert(expected.end(), {"conf_start", "conf_end"});
  for (int frame = 12; frame <= 20; ++frame) expected.push_back("conf_val" + std::to_string(frame));
  EXPECT_EQ(coder.keys(), expected);
  EXPECT_EQ(coder.at("width").kind, "integer");
  EXPECT_EQ(coder.at("range1_last").kind, "integer");
  EXPECT_EQ(coder.at("frame12h3").kind, "float");
  EXPECT_EQ(coder.at("conf_end").kind, "integer");
  EXPECT_EQ(coder.at("conf_val12").kind, "float");
}

TEST(SerialisedMotion, NumbersMatrixEntriesByRowsAndKeepsFourOfTheQuasiAffine) {
  MemoryCoder coder;
  TwoStretches().encodeWithCoder(coder);
  EXPECT_EQ(coder.at("frame12h2").value, 12.5);
  EXPECT_EQ(coder.at("frame12h3").value, -0.5);
  EXPECT_EQ(coder.at("frame20h6").value, 0.125);
  EXPECT_EQ(coder.at("qa12q0").value, 0.75);
  EXPECT_EQ(coder.at("qa12q1").value, 0.5);
  EXPECT_EQ(coder.at("qa12q2").value, 4.0);
  EXPECT_EQ(coder.at("qa12q3").value, -8.0);
  EXPECT_FALSE(coder.has("qa12q4"));
  EXPECT_FALSE(coder.has("frame14h0")) << "a gap has no keys";
  EXPECT_EQ(coder.at("conf_val15").value, 1.0) << "the default stands in a gap";
}

TEST(SerialisedMotion, ComesBackWithSimilarities) {
  MemoryCoder coder;
  TwoStretches().encodeWithCoder(coder);
  const SerialisedMotion back(coder);
  int width = 0, height = 0;
  back.getAnalysisWidth(&width, &height);
  EXPECT_EQ(width, 640);
  EXPECT_EQ(height, 360);

  const HomographySet& motion = *back.getMotion();
  EXPECT_EQ(motion.start, 12);
  EXPECT_EQ(motion.end, 20);
  ASSERT_EQ(motion.range.data.size(), 2u);
  EXPECT_EQ(motion.range.data[1].first, 20);
  ASSERT_EQ(motion.hset.size(), 3u);
  const double expected[9] = {1.5, 0.25, 20.5, -0.5, 1.25, 3, 0.125, -0.125, 1};
  Matrix m;
  ASSERT_TRUE(motion.Get(20, m));
  for (int k = 0; k < 9; ++k) EXPECT_EQ(m(k / 3, k % 3), expected[k]) << k;

  const HomographySet& quasiAffine = *back.getQAMotion();
  EXPECT_EQ(quasiAffine.range.data.size(), 2u);
  const double similarity[9] = {0.75, -0.5, 4, 0.5, 0.75, -8, 0, 0, 1};
  ASSERT_TRUE(quasiAffine.Get(13, m));
  for (int k = 0; k < 9; ++k) EXPECT_EQ(m(k / 3, k % 3), similarity[k]) << k;
  EXPECT_EQ(back.getConfidence()->Get(20), 0.5f);
  EXPECT_EQ(back.getConfidence()->end, 20);
}

TEST(SerialisedMotion, NarrowsToSinglePrecision) {
  HomographySet motion;
  motion.Set(0, MatrixOf({1.0 / 3.0, 0, 0, 0, 1, 0, 0, 0, 1}));
  motion.AppendRange(0, 0);
  SerialisedMotion stored;
  stored.setMotion(motion, HomographySet(), MotionConfidenceSet());
  MemoryCoder coder;
  stored.encodeWithCoder(coder);
  EXPECT_EQ(coder.at("frame0h0").value, static_cast<double>(1.0f / 3.0f));
  EXPECT_EQ(coder.at("qa0q0").value, 1.0) << "a frame without quasi-affine motion stands still";
}

TEST(SerialisedMotion, ADamagedArchiveNeitherHangsNorFillsTheMemory) {
  MemoryCoder coder;
  coder.encodeInteger(2000000000, "num_ranges");
  coder.encodeInteger(0, "range0_first");
  coder.encodeInteger(2000000000, "range0_last");
  coder.encodeInteger(5, "range1_first");
  coder.encodeInteger(-5, "range1_last");
  coder.encodeInteger(-2000000000, "conf_start");
  coder.encodeInteger(2000000000, "conf_end");
  const SerialisedMotion back(coder);
  EXPECT_LE(back.getMotion()->hset.size(), 1u) << "at most frame 0, which the missing ranges decode as";
  EXPECT_LE(back.getMotion()->range.data.size(), 1u);
  EXPECT_TRUE(back.getConfidence()->index.empty());
}

TEST(SerialisedMotion, FramesAtTheEndOfTheNumbersAreRefused) {
  MemoryCoder coder;
  coder.encodeInteger(3, "num_ranges");
  coder.encodeInteger(2147483646, "range0_first");
  coder.encodeInteger(2147483647, "range0_last");
  coder.encodeInteger(5, "range1_first");
  coder.encodeInteger(6, "range1_last");
  coder.encodeInteger(900000000, "range2_first");  // alone it would do
  coder.encodeInteger(900000000, "range2_last");
  coder.encodeInteger(0, "start");
  coder.encodeInteger(2000000000, "end");
  coder.encodeInteger(2147483647, "conf_start");
  coder.encodeInteger(2147483650, "conf_end");
  const SerialisedMotion back(coder);
  EXPECT_EQ(back.getMotion()->start, 5);
  EXPECT_EQ(back.getMotion()->end, 6);
  EXPECT_EQ(back.getQAMotion()->end, 6);
  EXPECT_EQ(back.getMotion()->hset.size(), 2u);
  EXPECT_TRUE(back.getConfidence()->index.empty());
}

TEST(SerialisedMotion, StartAndEndAreThoseStoredEvenBeyondTheRanges) {
  MemoryCoder coder;
  coder.encodeInteger(1, "num_ranges");
  coder.encodeInteger(5, "range0_first");
  coder.encodeInteger(6, "range0_last");
  coder.encodeInteger(3, "start");
  coder.encodeInteger(90, "end");
  const SerialisedMotion back(coder);
  EXPECT_EQ(back.getMotion()->start, 3);
  EXPECT_EQ(back.getMotion()->end, 90);
  EXPECT_EQ(back.getQAMotion()->start, 5) << "its ranges are set whole, and the span follows them";
  EXPECT_EQ(back.getQAMotion()->end, 6);
}

/// A host's coder that doesn't count its values.
class CoderWithoutACount : public MemoryCoder {
 public:
  long numberOfValues() const override { return KeyedCoder::numberOfValues(); }
};

TEST(SerialisedMotion, NeedsNoCountOfTheValues) {
  CoderWithoutACount coder;
  TwoStretches().encodeWithCoder(coder);
  const SerialisedMotion back(coder);
  EXPECT_EQ(back.getMotion()->hset.size(), 3u);
  EXPECT_EQ(back.getConfidence()->end, 20);
}

}  // namespace
