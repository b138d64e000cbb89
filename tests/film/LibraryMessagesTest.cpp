#include "film/LibraryMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <vector>

#include "numerics/Log.h"

namespace film {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LibraryMessagesTest : public testing::Test {
 protected:
  LibraryMessagesTest() {
    Vorn::SetLogSink([this](const std::string& line) { logged.push_back(line); });
  }
  ~LibraryMessagesTest() override { Vorn::SetLogSink({}); }

  std::vector<std::string> logged;
};

TEST_F(LibraryMessagesTest, WhatIsPrintedMeanwhileGoesToTheLogByLines) {
  testing::internal::CaptureStderr();
  {
    LibraryMessages messages;
    std::fputs("one\n", stderr);
    std::cerr << "two\nthree\n";
    EXPECT_TRUE(messages.finish());
    std::fputs("after\n", stderr);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "after\n");
  EXPECT_THAT(logged, ElementsAre("one", "two", "three"));
}

TEST_F(LibraryMessagesTest, TheStreamIsBackWhenItIsDestroyed) {
  testing::internal::CaptureStderr();
  { const LibraryMessages messages; }
  std::fputs("after\n", stderr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "after\n");
}

TEST_F(LibraryMessagesTest, WithoutMessagesThereIsNothingToTell) {
  LibraryMessages messages;
  EXPECT_FALSE(messages.finish());
  EXPECT_THAT(logged, IsEmpty());
}

}  // namespace
}  // namespace film
