#include "plugin/SerialisedAGC.h"

#include <gtest/gtest.h>

#include "plugin/FakeHost.h"

namespace {

TEST(SerialisedAGC, WritesRangesThenGainsAndFillsGapsWithOne) {
  AGCStorage gains;
  gains.AddRange(3, 5);
  gains.AddRange(9, 9);
  gains.SetGain(3, 1.25f);
  gains.SetGain(5, 0.5f);
  gains.SetGain(9, 2.0f);
  SerialisedAGC stored;
  stored.setData(gains);
  MemoryCoder coder;
  stored.encodeWithCoder(coder);
  EXPECT_EQ(coder.keys(), (std::vector<std::string>{"num_ranges", "range0_first", "range0_last", "range1_first",
                                                    "range1_last", "gain3", "gain4", "gain5", "gain9"}));
  EXPECT_EQ(coder.at("num_ranges").kind, "integer");
  EXPECT_EQ(coder.at("gain3").kind, "float");
  EXPECT_EQ(coder.at("gain3").value, 1.25);
  EXPECT_EQ(coder.at("gain4").value, 1.0);
  EXPECT_EQ(coder.at("gain9").value, 2.0);
}

TEST(SerialisedAGC, ComesBackFrameByFrame) {
  MemoryCoder coder;
  coder.encodeInteger(1, "num_ranges");
  coder.encodeInteger(7, "range0_first");
  coder.encodeInteger(8, "range0_last");
  coder.encodeFloat(0.75f, "gain7");
  const SerialisedAGC back(coder);
  float gain = -1.0f;
  EXPECT_TRUE(back.data()->GetGain(7, gain));
  EXPECT_EQ(gain, 0.75f);
  EXPECT_TRUE(back.data()->GetGain(8, gain));
  EXPECT_EQ(gain, 0.0f) << "a missing key decodes as zero";
  EXPECT_EQ(back.data()->GetStart(), 7);
  EXPECT_EQ(back.data()->GetStop(), 8);
}

TEST(SerialisedAGC, AnEmptyArchiveGivesAnEmptyStore) {
  const SerialisedAGC back{MemoryCoder()};
  EXPECT_TRUE(back.data()->gains.empty());
  EXPECT_EQ(back.data()->GetStart(), -1);
}

TEST(SerialisedAGC, TakesCountAndVersionWithTheGains) {
  AGCStorage gains;
  gains.numberFrames = 17;
  gains.version = 1;
  SerialisedAGC stored;
  stored.setData(gains);
  EXPECT_EQ(stored.data()->numberFrames, 17);
  EXPECT_EQ(stored.data()->version, 1);
}

}  // namespace
