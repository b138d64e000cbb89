#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "film/CommandLineFixture.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

class PresetsCommandTest : public CommandLineTest {
 protected:
  json settings() const { return json::parse(run({"show", clip, "--json"}).out)["settings"]; }
};

TEST_F(PresetsCommandTest, TheBuiltInOnesAreListedWithWhatTheySet) {
  EXPECT_THAT(run({"presets"}).out,
              AllOf(HasSubstr("handheld: "), HasSubstr("\nwalking: "), HasSubstr("\nkeep-frame: "),
                    HasSubstr("\ntripod: one view that should not move at all: every frame is locked onto the first\n"
                              "    --global-mode cancel --rendering zoom --zoom-type full\n")));
  const json list = json::parse(run({"presets", "--json"}).out);
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(list[1]["name"], "tripod");
  EXPECT_EQ(list[1]["settings"]["global-mode"], "cancel");
}

TEST_F(PresetsCommandTest, APresetSetsAndOtherOptionsWin) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--preset", "keep-frame", "--smoothing", "33"}).status, 0);
  EXPECT_EQ(settings()["events"], "none");
  EXPECT_EQ(settings()["rotation-dampening"], "off");
  EXPECT_EQ(settings()["smoothing"], 33);
}

TEST_F(PresetsCommandTest, ASpeedAndAPresetGoTogetherInAnyOrder) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"tripod", "ultrafast"}, {"ultrafast", "tripod"}}) {
    ASSERT_EQ(
        run({"stabilise", "--preset", words[0], clip, "-o", out, "--preset", words[1], "--quiet", "--force"}).status,
        0);
    EXPECT_EQ(settings()["global-mode"], "cancel");
  }
  expectRefusal({"stabilise", clip, "-o", out, "--force", "--preset", "tripod", "--preset", "walking"}, 2, "tripod",
                "twice");
  expectRefusal({"stabilise", clip, "-o", out, "--force", "--preset", "fast", "--preset", "slow"}, 2, "fast", "twice");
}

TEST_F(PresetsCommandTest, AClipsSettingsMakeAPresetWithoutItsAnalysis) {
  const std::string file = folder / "mine.json";
  expectRefusal({"presets", "--save", file, clip}, 1, document, "no such effect document");
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--smoothing", "44", "--events", "border"}).status, 0);
  ASSERT_EQ(run({"presets", "--save", file, clip}).status, 0);
  EXPECT_EQ(json::parse(ReadAll(file)), settings());
  expectRefusal({"presets", "--save", file, clip}, 1, file, "--force");
  expectRefusal({"presets", "--save", clip, clip, "--force"}, 2, clip, "choose another name");
  expectRefusal({"presets", "--save", document, clip, "--force"}, 2, document, "choose another name");
  expectRefusal({"presets", "--save", file}, 2, "CLIP", "--help");
  WriteTestClip(folder / "other.mp4", 3, clipWidth, clipHeight);
  ASSERT_EQ(run({"analyse", folder / "other.mp4", "--quiet", "--preset", file}).status, 0);
  const json other = json::parse(run({"show", folder / "other.mp4", "--json"}).out);
  EXPECT_EQ(other["settings"], settings());
  EXPECT_EQ(other["clip"]["frames"], 3);
}

TEST_F(PresetsCommandTest, ABadPresetIsToldBeforeAnyWork) {
  WriteAll(folder / "bad.json", "{\"smoothing\": 101}");
  expectRefusal({"stabilise", clip, "-o", out, "--preset", folder / "bad.json"}, 1, folder / "bad.json",
                "\"smoothing\": 101 isn't a value that it has; give a whole number from 1 to 100");
  expectRefusal({"stabilise", clip, "-o", out, "--preset", folder / "none.json"}, 1, folder / "none.json",
                "check the name");
  expectRefusal({"stabilise", clip, "-o", out, "--preset", document}, 1, document, "check the name");
  EXPECT_FALSE(std::filesystem::exists(document));
}

}  // namespace
}  // namespace film
