#include "film/Presets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"
#include "plugin/OrvaneFCPXPlugIn.h"

namespace film {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class PresetsTest : public testing::Test {
 protected:
  std::vector<SettingChange> load(const std::string& text) {
    WriteAll(file, text);
    return LoadPreset(file);
  }
  std::string refusalOf(const std::string& text) {
    try {
      load(text);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, kFailed);
      return failure.what();
    }
    return "none";
  }
  TestFolder folder;
  std::string file = folder / "mine.json";
};

double ValueIn(const std::vector<SettingChange>& settings, unsigned id) {
  for (const SettingChange& setting : settings)
    if (setting.id == id) return setting.value;
  return -1;
}

TEST_F(PresetsTest, AFileSetsWhatItNames) {
  const auto settings =
      load(R"({"smoothing": 40, "events": "border", "crop-aspect": true, "crop-centre": "off", "zoom-amount": 1.25})");
  ASSERT_EQ(settings.size(), 5u);
  EXPECT_EQ(ValueIn(settings, kGlobalSmoothing), 40);
  EXPECT_EQ(ValueIn(settings, kEventDetection), 2);
  EXPECT_EQ(ValueIn(settings, kCropAspect), 1);
  EXPECT_EQ(ValueIn(settings, kCropCentre), 0);
  EXPECT_EQ(ValueIn(settings, kVariableZoomAmount), 1.25);
  EXPECT_TRUE(load("{}").empty());
}

TEST_F(PresetsTest, WhatAFileMayNotHoldIsNamedWithTheFile) {
  EXPECT_EQ(refusalOf("smoothing: 40"), file +
                                            ": the preset isn't JSON (mistake at byte 1); mend it, or write one with "
                                            "`orvane presets --save`");
  EXPECT_EQ(refusalOf("[1]"), file + ": a preset is one JSON object of settings, such as {\"smoothing\": 40}");
  EXPECT_THAT(refusalOf(R"({"smoothness": 40})"),
              AllOf(HasSubstr(file + ": \"smoothness\" is no setting; the settings are detect-subtitles, global-mode"),
                    HasSubstr("crop-aspect")));
  EXPECT_EQ(refusalOf(R"({"smoothing": 400})"),
            file + ": \"smoothing\": 400 isn't a value that it has; give a whole number from 1 to 100");
  EXPECT_EQ(refusalOf(R"({"smoothing": 2.5})"),
            file + ": \"smoothing\": 2.5 isn't a value that it has; give a whole number from 1 to 100");
  EXPECT_EQ(refusalOf(R"({"smoothing": "40"})"),
            file + ": \"smoothing\": \"40\" isn't a value that it has; give a whole number from 1 to 100");
  EXPECT_EQ(refusalOf(R"({"zoom-amount": 2.01})"),
            file + ": \"zoom-amount\": 2.01 isn't a value that it has; give a number from 1.00 to 2.00");
  EXPECT_EQ(refusalOf(R"({"events": "some"})"),
            file + ": \"events\": some isn't a value that it has; give one of none, motion, border");
  EXPECT_EQ(refusalOf(R"({"events": 1})"),
            file + ": \"events\": 1 isn't a value that it has; give one of none, motion, border");
  EXPECT_EQ(refusalOf(R"({"events": true})"),
            file + ": \"events\": on isn't a value that it has; give one of none, motion, border");
  EXPECT_THAT(refusalOf(R"({"smoothing": null})"), HasSubstr("\"smoothing\": null isn't a value"));
  EXPECT_THAT(refusalOf(R"({"smoothing": {"of": 1}})"), HasSubstr("\"smoothing\": {\"of\":1} isn't a value"));
  EXPECT_EQ(refusalOf(R"({"smoothing": 40, "events": "none", "smoothing": 30})"),
            file + ": \"smoothing\" stands in it twice; leave one of the two away");
}

TEST_F(PresetsTest, AnEffectDocumentIsNoPreset) {
  EXPECT_THAT(refusalOf(R"({"version": 1, "clip": {}, "parameters": {}, "archives": {}})"),
              HasSubstr(file + ": this is a clip's effect document and no preset"));
}

TEST_F(PresetsTest, HarmfulFilesAreRefused) {
  EXPECT_THAT(refusalOf(std::string(500000, '[')), HasSubstr(file + ": "));
  EXPECT_THAT(refusalOf("{\"smoothing\": " + std::string(200, '[') + std::string(200, ']') + "}"),
              HasSubstr(file + ": "));
  EXPECT_EQ(refusalOf(std::string((1 << 20) + 1, ' ')),
            file + ": too large for a preset; name a file as `orvane presets --save` writes it");
  EXPECT_THAT(refusalOf("{\"\xff\xfe\": 1}"), HasSubstr(file + ": "));
  EXPECT_THAT(refusalOf(""), HasSubstr("isn't JSON"));
  EXPECT_EQ(refusalOf(R"({"smoothing": 1e400})"),
            file + ": the preset holds a number that is too large for any setting; mend it");
}

TEST_F(PresetsTest, BuiltInNamesWinUnlessTheWordLooksLikeAFile) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(std::filesystem::path(file).parent_path());
  for (const char* name : {"tripod", "own", "tripod.json"}) WriteAll(folder / name, R"({"smoothing": 7})");
  EXPECT_EQ(ValueIn(LoadPreset("tripod"), kGlobalMode), 2);
  EXPECT_EQ(ValueIn(LoadPreset("./tripod"), kGlobalSmoothing), 7);
  EXPECT_EQ(ValueIn(LoadPreset("tripod.json"), kGlobalSmoothing), 7);
  EXPECT_EQ(ValueIn(LoadPreset("own"), kGlobalSmoothing), 7);
  std::filesystem::current_path(before);
}

TEST_F(PresetsTest, ANameThatLeadsNowhereIsToldWithThoseThatDo) {
  try {
    LoadPreset("handhold");
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, kUsage);
    EXPECT_THAT(failure.what(), HasSubstr("--preset handhold: there is no such preset; give one of handheld, tripod, "
                                          "walking, keep-frame, a file, or an encoder's speed"));
  }
  EXPECT_THROW(LoadPreset(folder / "none.json"), Failure);
  EXPECT_THROW(LoadPreset(folder / ""), Failure);
  EXPECT_THROW(LoadPreset(""), Failure);
}

TEST_F(PresetsTest, EveryBuiltInPresetIsAFileOfItselfAndContradictsNothing) {
  for (const Preset& preset : BuiltInPresets()) {
    const auto again = load(DescribePreset(preset.settings).dump());
    ASSERT_EQ(again.size(), preset.settings.size()) << preset.name;
    for (const SettingChange& setting : preset.settings) EXPECT_EQ(ValueIn(again, setting.id), setting.value);
  }
}

TEST_F(PresetsTest, WhatIsGivenWinsOverThePreset) {
  const auto all = OverridePreset({{kGlobalSmoothing, 100}, {kEventDetection, 1}}, {{kGlobalSmoothing, 30}});
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(ValueIn(all, kGlobalSmoothing), 30);
  EXPECT_EQ(ValueIn(all, kEventDetection), 1);
}

TEST_F(PresetsTest, EncoderSpeedsAreNotPresets) {
  EXPECT_TRUE(IsEncoderSpeed("ultrafast"));
  EXPECT_TRUE(IsEncoderSpeed("veryslow"));
  EXPECT_FALSE(IsEncoderSpeed("tripod"));
  EXPECT_FALSE(IsEncoderSpeed(""));
}

}  // namespace
}  // namespace film
