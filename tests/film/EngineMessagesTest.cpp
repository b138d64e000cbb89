#include "film/EngineMessages.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "numerics/Log.h"

namespace film {
namespace {

TEST(EngineMessages, LinesGoToTheLogAndNotToTheErrorStream) {
  std::vector<std::string> log;
  Vorn::SetLogSink([&](const std::string& line) { log.push_back(line); });
  testing::internal::CaptureStderr();
  std::fputs("before\n", stderr);
  {
    const EngineMessages aside;
    std::fputs("one\n", stderr);
    std::cerr << "two %s\nthree";
  }
  std::fputs("after\n", stderr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "before\nafter\n");
  EXPECT_EQ(log, (std::vector<std::string>{"one", "two %s", "three"}));
  Vorn::SetLogSink({});
}

TEST(EngineMessages, TellsWhetherThereWereAny) {
  int lines = 0;
  Vorn::SetLogSink([&](const std::string&) { ++lines; });
  EngineMessages silence;
  EXPECT_FALSE(silence.finish());
  EXPECT_EQ(lines, 0);
  EngineMessages aside;
  std::fputs("one\n", stderr);
  EXPECT_TRUE(aside.finish());
  EXPECT_FALSE(aside.finish());
  EXPECT_EQ(lines, 1);
  Vorn::SetLogSink({});
}

}  // namespace
}  // namespace film
