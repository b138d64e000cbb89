#include "plugin/SerialisedEvents.h"

#include <gtest/gtest.h>

#include "plugin/FakeHost.h"

namespace {

MotionInterval Event(int begin, int end, int type, bool cut) {
  MotionInterval event{};
  event.begin_frame = begin, event.end_frame = end, event.motion_type = type, event.cut = cut;
  return event;
}

MotionFixParams FitOf(int type, float first) {
  MotionFixParams fit{};
  fit.comp_type = type;
  fit.gradient = first, fit.gradient_in = first + 1;
  fit.ease_in = 3, fit.linear_period = 4, fit.ease_out = 5;
  fit.start_pos = first + 2, fit.end_pos = first + 3;
  return fit;
}

SerialisedEvents TwoAndOne() {
  SerialisedEvents stored;
  stored.setEventsX({Event(0, 9, 1, false), Event(10, 29, 0, true)}, {Event(0, 29, 2, false)});
  stored.setFiltersX({FitOf(1, 0.1f), FitOf(0, 10.0f)}, {FitOf(2, 20.0f)});
  return stored;
}

TEST(SerialisedEvents, WritesItsKeysInOrder) {
  MemoryCoder coder;
  TwoAndOne().encodeWithCoder(coder);
  std::vector<std::string> expected{"number_horizontal", "number_vertical"};
  for (const char* event : {"x0", "x1", "y0"})
    for (const char* field : {"begin_frame", "end_frame", "motion_type", "cut", "comp_type", "gradient", "gradient_in",
                              "ease_in", "linear_period", "ease_out", "start_pos", "end_pos"})
      expected.push_back(std::string(1, event[0]) + field + event[1]);
  EXPECT_EQ(coder.keys(), expected);
  EXPECT_EQ(coder.at("number_horizontal").kind, "int");
  EXPECT_EQ(coder.at("xbegin_frame1").kind, "int");
  EXPECT_EQ(coder.at("xcut1").kind, "bool");
  EXPECT_EQ(coder.at("xgradient0").kind, "double");
  EXPECT_EQ(coder.at("xgradient0").value, static_cast<double>(0.1f)) << "a float, widened";
  EXPECT_EQ(coder.at("ylinear_period0").value, 4.0);
}

TEST(SerialisedEvents, ComesBackWhole) {
  MemoryCoder coder;
  TwoAndOne().encodeWithCoder(coder);
  const SerialisedEvents back(coder);
  ASSERT_EQ(back.eventsX()->size(), 2u);
  ASSERT_EQ(back.filtersX()->size(), 2u);
  ASSERT_EQ(back.eventsY()->size(), 1u);
  EXPECT_EQ((*back.eventsX())[1].begin_frame, 10);
  EXPECT_EQ((*back.eventsX())[1].end_frame, 29);
  EXPECT_TRUE((*back.eventsX())[1].cut);
  EXPECT_EQ((*back.eventsY())[0].motion_type, 2);
  const MotionFixParams& fit = (*back.filtersX())[0];
  EXPECT_EQ(fit.comp_type, 1);
  EXPECT_EQ(fit.gradient, 0.1f);
  EXPECT_EQ(fit.gradient_in, 1.1f);
  EXPECT_EQ(fit.ease_in, 3);
  EXPECT_EQ(fit.linear_period, 4);
  EXPECT_EQ(fit.ease_out, 5);
  EXPECT_EQ(fit.start_pos, 2.1f);
  EXPECT_EQ(fit.end_pos, 3.1f);
}

TEST(SerialisedEvents, HasEventsOnlyWithBothAxes) {
  SerialisedEvents stored;
  EXPECT_FALSE(stored.hasEvents());
  stored.setEventsX({Event(0, 9, 1, false)}, {});
  EXPECT_FALSE(stored.hasEvents());
  stored.setEventsX({Event(0, 9, 1, false)}, {Event(0, 9, 0, false)});
  EXPECT_TRUE(stored.hasEvents());
}

TEST(SerialisedEvents, AnEventWithoutAFitIsWrittenWithZeros) {
  SerialisedEvents stored;
  stored.setEventsX({Event(0, 9, 1, false)}, {});
  MemoryCoder coder;
  stored.encodeWithCoder(coder);
  EXPECT_EQ(coder.at("xend_frame0").value, 9.0);
  EXPECT_EQ(coder.at("xease_out0").value, 0.0);
}

TEST(SerialisedEvents, ADamagedCountCannotRunAway) {
  MemoryCoder coder;
  coder.encodeInt(2000000000, "number_horizontal");
  coder.encodeInt(-3, "number_vertical");
  const SerialisedEvents back(coder);
  EXPECT_LE(back.eventsX()->size(), 2u);
  EXPECT_TRUE(back.eventsY()->empty());
}

}  // namespace
