// A camera that swings so far that nothing is left in view of all frames once it is smoothed.
#include <nlohmann/json.hpp>

#include "film/CommandLineFixture.h"
#include "film/MadeClips.h"
#include "rendering/OutputRenderer.h"

namespace film {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const char* const noCropWarning = "so it is rendered like --rendering natural";

class ZoomLimitTest : public CommandLineTest {
 protected:
  ZoomLimitTest() : swinging(folder / "swinging.mp4"), document(swinging + ".orvane.json") {
    const std::string scene = folder / "scene.png";
    RunFfmpeg(
        "-f lavfi -i color=gray:s=360x240:r=1:d=1,format=gray,noise=c0s=100:all_seed=7,gblur=sigma=2.5,eq=contrast=6 "
        "-frames:v 1 '" +
        scene + "'");
    RunFfmpeg("-loop 1 -r 25 -i '" + scene + "' -vf \"crop=320:64:x=20:y='80+64*sin(2*PI*n/20)'\" -frames:v 40 " +
              "-c:v libx264 -preset ultrafast -crf 8 -pix_fmt yuv420p '" + swinging + "'");
  }
  double parameter(const char* id) const { return json::parse(ReadAll(document))["parameters"][id]; }

  std::string swinging, document;
};

constexpr const char* smoothing = "201";
constexpr const char* rendering = "300";

TEST_F(ZoomLimitTest, WithoutALimitItIsRenderedAsNatural) {
  const Outcome outcome = run({"analyse", swinging, "--events", "none", "--progress", "lines"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr(noCropWarning));
  EXPECT_EQ(parameter(rendering), RenderNatural);
  expectRefusal({"render", swinging, "-o", out, "--max-zoom", "1.4", "--quiet"}, 2, swinging, "needs --rendering zoom");
  EXPECT_EQ(run({"render", swinging, "-o", out, "--max-zoom", "1.4", "--rendering", "zoom", "--quiet"}).status, 0);
  EXPECT_EQ(parameter(rendering), RenderZoom);
  EXPECT_LT(parameter(smoothing), 100);
}

TEST_F(ZoomLimitTest, ALimitFindsTheSmoothingThatHasACrop) {
  const std::string steady = folder / "steady.mkv";
  const Outcome outcome = run({"stabilise", swinging, "-o", steady, "--events", "none", "--max-zoom", "1.4", "--codec",
                               "ffv1", "--alpha", "--progress", "lines"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("smoothing lowered from 100 to "),
                                 HasSubstr(": there is a crop now, and it takes a zoom "
                                           "of 1."),
                                 Not(HasSubstr(noCropWarning))));
  EXPECT_EQ(parameter(rendering), RenderZoom);
  EXPECT_LT(parameter(smoothing), 100);
  // No pixel of any frame is left empty.
  for (const std::vector<float>& frame : framesOf(steady))
    for (size_t i = 0; i < frame.size(); i += 4) ASSERT_EQ(frame[i], 1.0f);
}

TEST_F(ZoomLimitTest, ProgramsAreToldOfTheResultOnly) {
  const Outcome outcome = run({"stabilise", swinging, "-o", out, "--events", "none", "--max-zoom", "1.4", "--preset",
                               "ultrafast", "--progress", "json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const json summary = json::parse(outcome.out.substr(outcome.out.rfind("{\"done\"")));
  EXPECT_LE(summary["zoom"], 1.4);
  EXPECT_GT(summary["zoom"], 1.0);
  for (const json& warning : summary.value("warnings", json::array())) EXPECT_NE(warning["kind"], "noCrop");
}

TEST_F(ZoomLimitTest, ALimitThatNoSmoothingKeepsLeavesNatural) {
  const Outcome outcome =
      run({"stabilise", swinging, "-o", out, "--events", "none", "--max-zoom", "1.001", "--progress", "lines"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(noCropWarning), HasSubstr("no smoothing keeps to --max-zoom: the least that "
                                                                     "any takes is a zoom of 1.")));
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_EQ(parameter(rendering), RenderNatural);
  EXPECT_EQ(parameter(smoothing), 100);
}

TEST_F(ZoomLimitTest, WhoeverChoosesNaturalIsNotGivenAZoom) {
  const Outcome outcome =
      run({"plan", swinging, "--max-zoom", "1.4", "--rendering", "natural", "--events", "none", "--progress", "none"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("needs --rendering zoom"));
}

}  // namespace
}  // namespace film
