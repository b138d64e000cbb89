#include "film/Progress.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "film/Clips.h"

namespace film {
namespace {

std::vector<std::string> LinesOf(ProgressStyle style, int total, int last) {
  const TestFolder folder;
  std::FILE* out = std::fopen((folder / "out").c_str(), "w");
  {
    Progress progress(style, out, "Working", total);
    for (int done = 1; done <= last; ++done) progress.update(done);
  }
  std::fclose(out);
  std::istringstream text(ReadAll(folder / "out"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

TEST(Progress, BarShowsFrameTotalRateAndTimeLeft) {
  EXPECT_EQ(Progress::BarText("Working", 25, 100, 12.5, 200),
            "Working [##########..............................] 25/100  12.5 fps  0:06 left");
  EXPECT_EQ(Progress::BarText("Working", 100, 100, 12.5, 200).find('.'),
            Progress::BarText("Working", 100, 100, 12.5, 200).find("12.5") + 2);
}

TEST(Progress, BarFitsTheTerminal) {
  for (int columns : {0, 5, 30, 45, 79}) {
    EXPECT_LE(Progress::BarText("Working", 3, 100, 12.5, columns).size(), static_cast<size_t>(columns));
  }
}

TEST(Progress, TimesAreReadable) {
  EXPECT_EQ(Progress::TimeText(0.4), "0:00");
  EXPECT_EQ(Progress::TimeText(65), "1:05");
  EXPECT_EQ(Progress::TimeText(3725), "1:02:05");
  EXPECT_EQ(Progress::TimeText(1.0 / 0.0), "0:00");
}

TEST(Progress, PlainLinesComeForEachTenth) {
  const auto lines = LinesOf(ProgressStyle::Lines, 200, 200);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[0].substr(0, 26), "Working: frame 20 of 200, ");
  EXPECT_EQ(lines[9].substr(0, 26), "Working: frame 200 of 200,");
}

TEST(Progress, JsonLinesCanBeParsedAndEndWithTheLastFrame) {
  const auto lines = LinesOf(ProgressStyle::Json, 50, 30);
  ASSERT_GE(lines.size(), 1u);
  for (const std::string& line : lines) {
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json["pass"], "Working");
    EXPECT_EQ(json["frames"], 50);
    EXPECT_TRUE(json["fps"].is_number());
    EXPECT_TRUE(json["secondsLeft"].is_number());
  }
  EXPECT_EQ(nlohmann::json::parse(lines.back())["frame"], 30);
}

TEST(Progress, NoneShowsNothing) { EXPECT_TRUE(LinesOf(ProgressStyle::None, 10, 10).empty()); }

}  // namespace
}  // namespace film
