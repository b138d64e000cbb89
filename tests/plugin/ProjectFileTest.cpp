#include "plugin/ProjectFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

TEST(ProjectFile, FindsItsSectionsByTheirTags) {
  const auto project = ParseProjectFile(
      "<x><sequence name='a' width=\"1920\" height=\"1080\"/></sequence>"
      "<motion>\n  data/m.set </motion><premotion>/abs/r.set</premotion><motionConfidence>c</motionConfidence>"
      "<filters>f</filters><completion><agc source='gains 1.txt'/></completion>");
  ASSERT_TRUE(project);
  EXPECT_EQ(project->width, 1920);
  EXPECT_EQ(project->height, 1080);
  EXPECT_EQ(project->motion, "data/m.set");
  EXPECT_EQ(project->rotation, "/abs/r.set");
  EXPECT_EQ(project->confidence, "c");
  EXPECT_EQ(project->events, "f");
  EXPECT_EQ(project->gains, "gains 1.txt");
}

TEST(ProjectFile, MissingPartsAreToldApart) {
  EXPECT_FALSE(ParseProjectFile("<motion>m</motion>"));
  EXPECT_FALSE(ParseProjectFile("<sequence width='1' height='2'>"));
  const auto bare = ParseProjectFile("<sequence></sequence><motion>m");
  ASSERT_TRUE(bare);
  EXPECT_FALSE(bare->hasDimensions());
  EXPECT_FALSE(bare->motion);
  EXPECT_FALSE(bare->gains);
}

TEST(ProjectFile, BlanksAroundAnyPathAreRemoved) {
  const auto gainsOf = [](const std::string& source) {
    return ParseProjectFile("<sequence></sequence><completion><x source=" + source + "/></completion>")->gains;
  };
  EXPECT_EQ(gainsOf("' a b.gains\n'"), "a b.gains");
  EXPECT_EQ(gainsOf("\"/gains\t\""), "/gains");
}

TEST(ProjectFile, TheTextsOfASizeDecideThatItIsThere) {
  const auto parse = [](const std::string& attributes) {
    return *ParseProjectFile("<sequence " + attributes + "></sequence>");
  };
  for (const char* attributes : {"width='640'", "height='480'", "width=640 height=480", "height='480' width='640'",
                                 "width='' height=''", "width='640 height="}) {
    EXPECT_FALSE(parse(attributes).hasDimensions()) << attributes;
    EXPECT_EQ(parse(attributes).width, 0) << attributes;
  }
  for (const auto& [attributes, width, height] :
       std::vector<std::tuple<std::string, int, int>>{{"width='a' height='b'", 0, 0},
                                                      {"width='-640' height='480'", -640, 480},
                                                      {"width='0' height='0'", 0, 0},
                                                      {"width=' 640 ' height='480.9'", 640, 480},
                                                      {"width='99999999999999999999' height='480'", 1000000000, 480},
                                                      {"width='640' height='480", 640, 480}}) {
    EXPECT_TRUE(parse(attributes).hasDimensions()) << attributes;
    EXPECT_EQ(parse(attributes).width, width) << attributes;
    EXPECT_EQ(parse(attributes).height, height) << attributes;
  }
}

TEST(ProjectFile, WhatIsWrittenReadsBack) {
  ProjectFile project;
  project.sized = true;
  project.width = 1920, project.height = 1080;
  project.motion = "m.set", project.rotation = "r.set", project.confidence = "c", project.events = "e e.mfp";
  project.gains = "../g";
  const auto whole = ParseProjectFile(ProjectFileText(project));
  ASSERT_TRUE(whole);
  EXPECT_TRUE(whole->hasDimensions());
  EXPECT_EQ(whole->width, 1920);
  EXPECT_EQ(whole->height, 1080);
  EXPECT_EQ(whole->motion, "m.set");
  EXPECT_EQ(whole->rotation, "r.set");
  EXPECT_EQ(whole->confidence, "c");
  EXPECT_EQ(whole->events, "e e.mfp");
  EXPECT_EQ(whole->gains, "../g");
  const auto bare = ParseProjectFile(ProjectFileText({}));
  ASSERT_TRUE(bare);
  EXPECT_FALSE(bare->hasDimensions() || bare->motion || bare->rotation || bare->confidence || bare->events ||
               bare->gains);
}

TEST(ProjectFile, OnlyTextInUTF8IsRead) {
  const std::string path = testing::TempDir() + "project-file-test.fpf";
  const auto read = [&](const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
    return ReadUTF8File(path);
  };
  EXPECT_EQ(read("plain \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xA5"), "plain \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xA5");
  EXPECT_FALSE(read("\xE9t\xE9"));
  EXPECT_FALSE(read("cut \xC3"));
  for (const char* bytes : {"\xFF\xFE", "\x80", "\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                            "\xE2\x82", "\xE2\x82x", "\xF0\x9F\x8E"})
    EXPECT_FALSE(read(bytes)) << bytes;
  EXPECT_TRUE(read("\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF\xE0\xA0\x80\xC2\x80"));
  EXPECT_EQ(read(""), "");
  EXPECT_FALSE(ReadUTF8File(testing::TempDir()));
  EXPECT_FALSE(ReadUTF8File(path + ".missing"));
  EXPECT_FALSE(ReadUTF8File("/dev/zero")) << "a file without an end";
}

}  // namespace
