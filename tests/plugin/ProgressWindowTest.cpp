#include "plugin/ProgressWindow.h"

#include <gtest/gtest.h>

#include "plugin/FakeHost.h"

namespace {

TEST(ProgressWindow, ShowsWhatItIsTold) {
  FakePlatform platform;
  ProgressWindow window(platform);
  window.setMessage("Analyzing motion");
  window.setInformation("7% complete");
  window.setProgress(7.5);
  window.bringToFront();
  EXPECT_EQ(platform.descriptions, std::vector<std::string>{"ProgressWindow"});
  EXPECT_EQ(platform.record->messages, std::vector<std::string>{"Analyzing motion"});
  EXPECT_EQ(platform.record->informations, std::vector<std::string>{"7% complete"});
  EXPECT_EQ(platform.record->percents, std::vector<double>{7.5});
  EXPECT_EQ(platform.record->broughtToFront, 1);
  EXPECT_FALSE(window.wasCancelled());
}

TEST(ProgressWindow, TheCancelButtonIsRememberedAndClosesTheWindowOnce) {
  FakePlatform platform;
  ProgressWindow window(platform);
  platform.record->cancel();
  platform.record->cancel();
  EXPECT_TRUE(window.wasCancelled());
  EXPECT_EQ(platform.record->closed, 1);
  window.setProgress(50.0);
  window.hideAndClose();
  EXPECT_TRUE(platform.record->percents.empty()) << "a closed window is not written to";
  EXPECT_EQ(platform.record->orderedOut, 0);
  EXPECT_EQ(platform.record->closed, 1);
}

TEST(ProgressWindow, HidesBeforeItCloses) {
  FakePlatform platform;
  ProgressWindow window(platform);
  window.hideAndClose();
  EXPECT_EQ(platform.record->orderedOut, 1);
  EXPECT_EQ(platform.record->closed, 1);
  EXPECT_FALSE(window.wasCancelled());
}

}  // namespace
