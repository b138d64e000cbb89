#include "film/TerminalPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace film {
namespace {

TEST(TerminalPlatform, TextsAreInTheUsersLanguageAndElseInEnglish) {
  TerminalPlatform english("en_GB.UTF-8"), german("de_DE.UTF-8"), klingon("tlh");
  const std::string key = "OrvaneFCPX::ZoomMode";
  EXPECT_EQ(english.localisedString(key), "Zoom");
  EXPECT_NE(german.localisedString("OrvaneFCPX::NaturalMode"), english.localisedString("OrvaneFCPX::NaturalMode"));
  EXPECT_EQ(klingon.localisedString(key), "Zoom");
  EXPECT_EQ(english.localisedString("Unknown::Key"), "Unknown::Key");
  english.showKeys();
  EXPECT_EQ(english.localisedString(key), key);
}

TEST(TerminalPlatform, BlocksRunOnTheMainThreadInTheirOrder) {
  TerminalPlatform platform("en");
  std::vector<int> order;
  const auto main = std::this_thread::get_id();
  platform.dispatchAsyncGlobal([&] {
    EXPECT_NE(std::this_thread::get_id(), main);
    for (int i = 0; i < 100; ++i)
      platform.dispatchAsyncMain([&, i] {
        EXPECT_EQ(std::this_thread::get_id(), main);
        order.push_back(i);
      });
  });
  platform.runUntil([&] { return order.size() == 100; });
  for (int i = 0; i < 100; ++i) EXPECT_EQ(order[i], i);
}

TEST(TerminalPlatform, TheWindowsButtonLivesAsLongAsTheWindow) {
  TerminalPlatform platform("en");
  EXPECT_FALSE(platform.windowIsOpen());
  platform.pressCancel();  // nothing to press
  int pressed = 0;
  std::unique_ptr<ProgressView> view;
  view = platform.makeProgressView("ProgressWindow", [&] {
    ++pressed;
    view->close();
  });
  EXPECT_TRUE(platform.windowIsOpen());
  platform.pressCancel();
  EXPECT_EQ(pressed, 1);
  EXPECT_FALSE(platform.windowIsOpen());
  platform.pressCancel();
  EXPECT_EQ(pressed, 1);
}

TEST(TerminalPlatform, PanelsChooseWhatWasGivenWhereTheyLetAUser) {
  TerminalPlatform platform("en");
  const OpenPanel panel{"Title", {"orvane", "Orvane"}, ""};
  EXPECT_FALSE(platform.runModalOpenPanel(panel)) << "nobody answers";
  for (const auto& [item, allowed] : std::vector<std::pair<std::string, bool>>{
           {"a/b.orvane", true}, {"b.c.Orvane", true}, {"b.ORVANE", false}, {"b", false}, {"b.orvane/c", false}}) {
    platform.setChosenItem(item);
    EXPECT_EQ(platform.runModalOpenPanel(panel), allowed ? std::optional(item) : std::nullopt) << item;
  }
  platform.setChosenItem(std::nullopt);
  EXPECT_FALSE(platform.runModalOpenPanel(panel));
}

TEST(TerminalPlatform, AlertsAreLinesUnlessSomebodyTakesThem) {
  TerminalPlatform platform("en");
  const auto shown = [&] {
    testing::internal::CaptureStderr();
    platform.beginAlertSheet({"OK", "It broke.", "Mend it.", 0});
    return testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(shown(), "orvane: It broke. Mend it.\n");
  std::vector<std::string> taken;
  platform.setAlertSink([&](const AlertSheet& sheet) { taken.push_back(sheet.details); });
  EXPECT_EQ(shown(), "");
  EXPECT_EQ(taken, std::vector<std::string>{"Mend it."});
  platform.setAlertSink(nullptr);
  EXPECT_EQ(shown(), "orvane: It broke. Mend it.\n");
}

TEST(TerminalPlatform, ProgressGoesToTheSink) {
  TerminalPlatform platform("en");
  const auto view = platform.makeProgressView("ProgressWindow", [] {});
  view->showProgress(10);  // without a sink
  std::vector<double> seen;
  platform.setProgressSink([&](double percent) { seen.push_back(percent); });
  view->showProgress(20);
  EXPECT_THAT(seen, testing::ElementsAre(20.0));
}

TEST(TerminalPlatform, NobodyAnswersAPanel) { EXPECT_FALSE(TerminalPlatform("en").runModalOpenPanel(OpenPanel{})); }

}  // namespace
}  // namespace film
