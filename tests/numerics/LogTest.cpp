#include "numerics/Log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Vorn {
namespace {

TEST(Log, FormatsAndHandsEachMessageToTheSink) {
  std::vector<std::string> messages;
  SetLogSink([&messages](const std::string& message) { messages.push_back(message); });
  Log("Get pyramid for frame %d, lacing %d", 7, 2);
  Log("%s", std::string(3000, 'x').c_str());
  SetLogSink(nullptr);
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0], "Get pyramid for frame 7, lacing 2");
  EXPECT_EQ(messages[1], std::string(3000, 'x'));
}

TEST(Log, WithoutASinkWritesALineToTheStandardErrorStream) {
  testing::internal::CaptureStderr();
  Log("frame %d", 3);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "frame 3\n");
}

}  // namespace
}  // namespace Vorn
