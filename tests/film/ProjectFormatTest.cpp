#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "film/StoredFileFixture.h"
#include "film/StoredFormat.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

class ProjectFormatTest : public StoredFileTest {
 protected:
  ProjectFormatTest() : package(folder / "beach.orvane") {
    std::filesystem::create_directory(package);
    index(
        "<motion>m.set</motion><motionConfidence>c.mconf</motionConfidence><filters>e.mfp</filters>"
        "<completion><agc source=\"g.agc\"/></completion>");
    made("beach.orvane/m.set", hset());
    made("beach.orvane/c.mconf", kMconf);
    made("beach.orvane/e.mfp", kMfp2);
    made("beach.orvane/g.agc", gains());
  }

  void index(const std::string& sections) const {
    made("beach.orvane/project.fpf",
         "<project>\n<sequence width=\"640\" height=\"480\"></sequence>\n" + sections + "</project>\n");
  }

  std::string package;
};

TEST_F(ProjectFormatTest, AProjectIsToldWithTheFilesThatItNames) {
  const std::string expected =
      ": a project of the standalone application (project)\n"
      "analysed at:              640 x 480\n"
      "motion:                   m.set: HSET, 2 frames, 3 to 4\n"
      "confidence:               c.mconf: MCONF, 2 frames, 0 to 1\n"
      "events:                   e.mfp: MFP2, 2 events\n"
      "gains:                    g.agc: GAINS, 2 frames, 5 to 6\n";
  for (const std::string& name : {package, package + "/", package + "/project.fpf"}) {
    const Outcome outcome = run({"show", name});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, name + expected);
  }
}

TEST_F(ProjectFormatTest, ProgramsGetEverything) {
  const Outcome outcome = run({"show", package, "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const json d = json::parse(outcome.out);
  EXPECT_EQ(d["format"], "project");
  EXPECT_EQ(d["complete"], true);
  EXPECT_EQ(d["width"], 640);
  EXPECT_EQ(d["height"], 480);
  ASSERT_EQ(d["files"].size(), 4u);
  EXPECT_EQ(d["files"][0]["holds"], "motion");
  EXPECT_EQ(d["files"][0]["path"], "m.set");
  EXPECT_EQ(d["files"][0]["contents"], json::parse(run({"show", package + "/m.set", "--json"}).out));
  EXPECT_EQ(d["files"][3]["contents"]["frames"][1]["gain"], 1.25);
}

TEST_F(ProjectFormatTest, WhatIsWrongWithItIsTold) {
  index("<motion>m.set</motion><premotion>none.set</premotion>");
  const Outcome outcome = run({"show", package});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("motion:                   m.set: HSET, 2 frames, 3 to 4\n"));
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(package + "/none.set: is missing"), HasSubstr("1 more")));
  const json d = json::parse(run({"show", package, "--json"}).out);
  EXPECT_EQ(d["complete"], false);
  EXPECT_THAT(d["faults"][1].get<std::string>(), HasSubstr("names no file of events"));

  index("<motion>c.mconf</motion><filters>e.mfp</filters>");
  expectRefusal({"show", package}, 1, package + "/c.mconf", "is no HSET file");
  index("<motion>cut.set</motion><filters>e.mfp</filters>");
  made("beach.orvane/cut.set", hset().substr(0, 100));
  expectRefusal({"show", package}, 1, package + "/cut.set", "damaged or was cut short");
}

TEST_F(ProjectFormatTest, AFolderWithoutAnIndexIsToldSo) {
  std::filesystem::remove(package + "/project.fpf");
  expectRefusal({"show", package}, 1, package + "/project.fpf", "is missing");
  std::filesystem::create_directory(folder / "plain");
  expectRefusal({"show", folder / "plain"}, 1, "plain", "folder");
  made("beach.orvane/project.fpf", "no project");
  expectRefusal({"show", package}, 1, package, "<sequence");
}

TEST_F(ProjectFormatTest, EditorsProjectsAreNone) {
  EXPECT_EQ(AnyFormatOf(made("edit.xml", "<?xml version=\"1.0\"?>\n<edit><sequence width=\"1\"></sequence></edit>")),
            nullptr);
}

TEST_F(ProjectFormatTest, ItIsNoTable) {
  expectRefusal({"convert", package + "/project.fpf", folder / "out.csv"}, 1, "project.fpf", "no table");
  expectRefusal({"convert", package, folder / "out.csv"}, 1, package, "folder");
}

}  // namespace
}  // namespace film
