#include "plugin/OrvaneFCPXPlugIn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "analysis/TrackerEstimator.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"
#include "numerics/Random.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/FakeHost.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

namespace {

constexpr int width = 320, height = 240;

double ShakeX(double frame) { return 2.5 * std::sin(frame * 1.9) + 1.5 * std::cos(frame * 0.8); }
double ShakeY(double frame) { return 1.5 * std::cos(frame * 1.4); }

/// A textured scene at any shift, exactly, on 0 to 1.
float Scene(double x, double y) {
  return static_cast<float>(0.5 + 0.12 * std::sin(x / 6.0) + 0.12 * std::cos(y / 5.0) +
                            0.11 * std::sin((x + 2.0 * y) / 9.3) + 0.11 * std::cos((1.7 * x - y) / 13.1));
}

std::unique_ptr<MemoryImage> SceneShiftedBy(double dx, double dy) {
  auto image = std::make_unique<MemoryImage>(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      float* pixel = image->pixel(x, y);
      pixel[0] = 1.0f;
      pixel[1] = pixel[2] = pixel[3] = Scene(x - dx, y - dy);
    }
  return image;
}

FxRenderInfo At(double frame) {
  FxRenderInfo info;
  info.time.frame = frame;
  return info;
}

class Effect : public testing::Test {
 protected:
  Effect() {
    Vorn::SetRandomSeed(1);
    Vorn::SetProcessorCount(1);
    Vorn::SetLogSink([this](const std::string& message) { log.push_back(message); });
    host.draw = [](double time) { return SceneShiftedBy(ShakeX(time), ShakeY(time)); };
    host.duration = 19;
    plugIn.addParameters();
  }
  ~Effect() override {
    Vorn::SetLogSink(nullptr);
    Vorn::SetProcessorCount(0);
  }

  void Change(unsigned id, double value) {
    host.values[id] = value;
    plugIn.parameterChanged(id);
  }

  /// Presses the button and turns the main queue until the result is stored.
  bool Analyse() {
    host.objects[kMotionStorage].reset();
    plugIn.doAnalysisTask();
    return platform.runUntil([this] { return host.objects[kAGCStorage] && host.objects[kMotionStorage]; });
  }

  std::unique_ptr<MemoryImage> Render(double time) {
    auto output = std::make_unique<MemoryImage>(width, height);
    EXPECT_TRUE(plugIn.renderOutput(output.get(), host.draw(time).get(), At(time)));
    return output;
  }

  FakeHost host;
  FakePlatform platform;
  std::vector<std::string> log;
  OrvaneFCPXPlugIn plugIn{&host, &platform};
};

float LargestDifference(const MemoryImage& a, const MemoryImage& b, int margin = 0) {
  float largest = 0.0f;
  for (int y = margin; y < height - margin; ++y)
    for (size_t i = (static_cast<size_t>(y) * width + margin) * 4;
         i < (static_cast<size_t>(y + 1) * width - margin) * 4; ++i)
      largest = std::max(largest, std::fabs(a.pixels[i] - b.pixels[i]));
  return largest;
}

// What a host is told.

TEST_F(Effect, DeclaresItsParametersInOrder) {
  std::vector<std::pair<unsigned, std::string>> declared;
  for (const DeclaredParameter& parameter : host.parameters) declared.emplace_back(parameter.id, parameter.kind);
  const std::vector<std::pair<unsigned, std::string>> expected{
      {102, "toggle"}, {100, "button"}, {103, "button"}, {200, "menu"},   {201, "int"},
      {205, "toggle"}, {203, "menu"},   {300, "menu"},   {1100, "group"}, {313, "menu"},
      {314, "float"},  {0, "end"},      {1000, "group"}, {312, "toggle"}, {311, "toggle"},
      {310, "toggle"}, {0, "end"},      {101, "custom"}, {303, "custom"}, {204, "custom"}};
  EXPECT_EQ(declared, expected);
}

TEST_F(Effect, DeclaresDefaultsRangesAndFlags) {
  for (const auto& [id, name, value, flags] : std::vector<std::tuple<unsigned, const char*, double, unsigned>>{
           {102, "OrvaneFCPX::DetectSubtitles", 0, 0},
           {100, "OrvaneFCPX::AnalysisButtonLabel", 0, 0},
           {103, "OrvaneFCPX::ImportProjectButtonLabel", 0, 0},
           {200, "OrvaneFCPX::GlobalMode", 1, 0},
           {201, "OrvaneFCPX::GlobalSmoothing", 100, 0},
           {205, "OrvaneFCPX::RotationDampening", 1, 0},
           {203, "OrvaneFCPX::EventDetection", 1, 0},
           {300, "OrvaneFCPX::RenderingType", 2, 0},
           {1100, "OrvaneFCPX::ZoomGroup", 0, 0},
           {313, "OrvaneFCPX::ZoomType", 0, 0},
           {314, "OrvaneFCPX::VariableZoomAmount", 1, 4},
           {1000, "OrvaneFCPX::CropGroup", 0, 0},
           {312, "OrvaneFCPX::CropCentre", 1, 4},
           {311, "OrvaneFCPX::CropEqual", 0, 4},
           {310, "OrvaneFCPX::CropAspect", 0, 4},
           {101, "OrvaneFCPX::MotionStorage", 0, 35},
           {303, "OrvaneFCPX::AGCStorage", 0, 35},
           {204, "OrvaneFCPX::EventsStorage", 0, 35}}) {
    const DeclaredParameter* parameter = host.declared(id);
    ASSERT_NE(parameter, nullptr) << id;
    EXPECT_EQ(parameter->name, name);
    EXPECT_EQ(parameter->defaultValue, value) << name;
    EXPECT_EQ(parameter->flags, flags) << name;
  }
  const DeclaredParameter& smoothing = *host.declared(201);
  EXPECT_EQ(smoothing.min, 1);
  EXPECT_EQ(smoothing.max, 100);
  EXPECT_EQ(smoothing.sliderMin, 1);
  EXPECT_EQ(smoothing.sliderMax, 100);
  EXPECT_EQ(smoothing.delta, 1);
  const DeclaredParameter& amount = *host.declared(314);
  EXPECT_EQ(amount.min, 1.0);
  EXPECT_EQ(amount.max, 2.0);
  EXPECT_EQ(amount.sliderMin, 1.0);
  EXPECT_EQ(amount.sliderMax, 2.0);
  EXPECT_EQ(amount.delta, 0.01);
}

TEST_F(Effect, DeclaresMenuEntriesAndEmptyStores) {
  EXPECT_EQ(
      host.declared(200)->entries,
      (std::vector<std::string>{"OrvaneFCPX::GlobalNoProc", "OrvaneFCPX::GlobalSmooth", "OrvaneFCPX::GlobalCancel"}));
  EXPECT_EQ(host.declared(203)->entries, (std::vector<std::string>{"OrvaneFCPX::NoEvents", "OrvaneFCPX::MotionPriority",
                                                                   "OrvaneFCPX::BorderPriority"}));
  EXPECT_EQ(host.declared(300)->entries,
            (std::vector<std::string>{"OrvaneFCPX::NaturalMode", "OrvaneFCPX::CropMode", "OrvaneFCPX::ZoomMode",
                                      "OrvaneFCPX::CompleteMode"}));
  EXPECT_EQ(host.declared(313)->entries,
            (std::vector<std::string>{"OrvaneFCPX::ZoomFull", "OrvaneFCPX::ZoomFit", "OrvaneFCPX::ZoomVariable"}));
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.declared(101)->object);
  ASSERT_TRUE(motion);
  EXPECT_TRUE(motion->getMotion()->hset.empty());
  EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedAGC>(host.declared(303)->object));
  EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedEvents>(host.declared(204)->object));
}

TEST(EffectDeclaration, FailsWithoutTheHostsService) {
  FakeHost host;
  FakePlatform platform;
  host.hasCreation = false;
  EXPECT_FALSE(OrvaneFCPXPlugIn(&host, &platform).addParameters());
  EXPECT_TRUE(host.parameters.empty());
}

TEST_F(Effect, TellsItsProperties) {
  EXPECT_FALSE(plugIn.variesOverTime());
  EXPECT_EQ(plugIn.properties(), (std::map<std::string, bool>{{"MayRemapTime", true}}));
  bool hardware = true, software = false;
  EXPECT_TRUE(plugIn.frameSetup(At(0), FxImageInfo{}, &hardware, &software));
  EXPECT_FALSE(hardware);
  EXPECT_TRUE(software);
  EXPECT_TRUE(plugIn.frameCleanup());
  int w = 0, h = 0;
  FxImageInfo input;
  input.width = 720, input.height = 576;
  EXPECT_TRUE(plugIn.getOutputWidth(&w, &h, input, At(0)));
  EXPECT_EQ(w, 720);
  EXPECT_EQ(h, 576);
  EXPECT_FALSE(plugIn.getOutputWidth(nullptr, &h, input, At(0)));
  EXPECT_FALSE(plugIn.getOutputWidth(&w, nullptr, input, At(0)));
}

TEST(EffectPaths, AreTakenWithinAFolderUnlessAbsolute) {
  EXPECT_EQ(OrvaneFCPXPlugIn::getFullPath("", "/p"), "");
  EXPECT_EQ(OrvaneFCPXPlugIn::getFullPath("/a/b", "/p"), "/a/b");
  EXPECT_EQ(OrvaneFCPXPlugIn::getFullPath("a/b", "/p"), "/p/a/b");
}

// What a changed parameter does.

TEST_F(Effect, ChangesBeforeTheFirstRenderOnlyDoTheControls) {
  for (const unsigned id : {200u, 201u, 203u, 205u, 300u, 310u, 311u, 312u, 313u, 314u, 102u, 7u})
    EXPECT_TRUE(plugIn.parameterChanged(id)) << id;
  EXPECT_EQ(plugIn.ObjC_MP, nullptr);
  EXPECT_EQ(plugIn.ObjC_OR, nullptr);
  Change(200, 0);
  EXPECT_FALSE(host.hidden(205)) << "nothing is done without a plan";
}

TEST_F(Effect, TheZoomAmountIsShownForVariableZoomOnly) {
  Change(313, 2);
  EXPECT_FALSE(host.hidden(314));
  Change(313, 1);
  EXPECT_TRUE(host.hidden(314));
  Change(313, 0);
  EXPECT_TRUE(host.hidden(314));
}

TEST_F(Effect, TheRenderingTypeShowsItsOwnControls) {
  Change(300, 0);
  EXPECT_TRUE(host.hidden(313));
  for (const unsigned id : {310u, 311u, 312u}) EXPECT_TRUE(host.hidden(id));
  Change(300, 2);
  EXPECT_FALSE(host.hidden(313));
  for (const unsigned id : {310u, 311u, 312u}) EXPECT_TRUE(host.hidden(id));
}

TEST_F(Effect, EnteringCropHidesWhatTheCropFlagsExclude) {
  struct Row {
    bool aspect, equal, centre, aspectHidden, equalHidden, centreHidden;
  };
  for (const Row& row : {Row{false, false, false, false, false, false}, Row{false, false, true, false, true, false},
                         Row{true, false, false, false, true, false}, Row{false, true, false, true, false, true},
                         Row{true, false, true, false, true, false}}) {
    host.values[310] = row.aspect, host.values[311] = row.equal, host.values[312] = row.centre;
    Change(300, 1);
    EXPECT_EQ(host.hidden(310), row.aspectHidden);
    EXPECT_EQ(host.hidden(311), row.equalHidden);
    EXPECT_EQ(host.hidden(312), row.centreHidden);
    EXPECT_TRUE(host.hidden(313));
  }
}

TEST_F(Effect, TheCropFlagsExcludeEachOther) {
  Change(310, 1);
  EXPECT_TRUE(host.hidden(311));
  EXPECT_FALSE(host.hidden(312));
  Change(310, 0);
  EXPECT_FALSE(host.hidden(311));
  Change(312, 1);
  EXPECT_TRUE(host.hidden(311));
  EXPECT_FALSE(host.hidden(310));
  Change(312, 0);
  EXPECT_FALSE(host.hidden(311));
  Change(311, 1);
  EXPECT_TRUE(host.hidden(312));
  EXPECT_TRUE(host.hidden(310));
  Change(311, 0);
  EXPECT_FALSE(host.hidden(312));
  EXPECT_FALSE(host.hidden(310));
}

TEST_F(Effect, ChangesReachTheEngineObjects) {
  Render(0);
  Change(300, 7);
  EXPECT_EQ(plugIn.ObjC_OR->renderMode(), 2) << "an unknown mode zooms";
  Change(300, 0);
  EXPECT_EQ(plugIn.ObjC_OR->renderMode(), 0);
  Change(313, 2);
  EXPECT_EQ(plugIn.ObjC_OR->zoomMode(), 2);
  Change(313, 9);
  EXPECT_EQ(plugIn.ObjC_OR->zoomMode(), 0);
  Change(201, 50);
  EXPECT_EQ(plugIn.ObjC_MP->globalSmoothFactor, 0.5f);
  Change(203, 2);
  EXPECT_EQ(plugIn.ObjC_MP->eventPriority, 2);
  Change(205, 0);
  EXPECT_FALSE(plugIn.ObjC_MP->globalRot);
  Change(200, 2);
  EXPECT_EQ(plugIn.ObjC_MP->globalMotionMode, 2);
  EXPECT_TRUE(host.hidden(205)) << "rotation is dampened while smoothing only";
  Change(200, 1);
  EXPECT_FALSE(host.hidden(205));
}

// Rendering.

TEST_F(Effect, WithoutAnAnalysisFramesGoThroughAsTheyAre) {
  const auto input = host.draw(4);
  const auto output = Render(4);
  EXPECT_EQ(LargestDifference(*output, static_cast<const MemoryImage&>(*input)), 0.0f);
  EXPECT_TRUE(plugIn.ObjC_TRKME && plugIn.ObjC_MP && plugIn.ObjC_VC && plugIn.ObjC_OR);
}

TEST_F(Effect, RendersOnlyBitmapsAndOnlyWithItsServices) {
  auto input = SceneShiftedBy(0, 0);
  MemoryImage output(width, height);
  EXPECT_FALSE(plugIn.renderOutput(&output, nullptr, At(0)));
  input->type = 2;
  EXPECT_FALSE(plugIn.renderOutput(&output, input.get(), At(0)));
  input->type = 1;
  host.hasRetrieval = false;
  EXPECT_FALSE(plugIn.renderOutput(&output, input.get(), At(0)));
  host.hasRetrieval = true;
  EXPECT_TRUE(plugIn.renderOutput(&output, input.get(), At(0)));
}

TEST_F(Effect, TheSequenceRunsFromStartToDuration) {
  host.start = 3;
  host.duration = 19;
  Render(3);
  EXPECT_EQ(plugIn.ObjC_VC->sequenceStart(), 3);
  EXPECT_EQ(plugIn.ObjC_VC->sequenceLength(), 17);
}

TEST_F(Effect, TheZoomAmountIsReadForEveryFrame) {
  host.values[314] = 1.5;
  Render(0);
  EXPECT_EQ(plugIn.ObjC_OR->zoomAmount(), 1.5f);
  host.values[314] = 1.25;
  Render(1);
  EXPECT_EQ(plugIn.ObjC_OR->zoomAmount(), 1.25f);
}

TEST_F(Effect, RowsThatRunUpwardAreKnownByTheOrigin) {
  auto input = SceneShiftedBy(0, 0);
  MemoryImage output(width, height);
  input->origin = 0;
  ASSERT_TRUE(plugIn.renderOutput(&output, input.get(), At(0)));
  EXPECT_TRUE(plugIn.ObjC_OR->invertedAxes());
  input->origin = 1;
  ASSERT_TRUE(plugIn.renderOutput(&output, input.get(), At(0)));
  EXPECT_FALSE(plugIn.ObjC_OR->invertedAxes());
}

// The analysis.

TEST_F(Effect, TheButtonAnalysesTheClipAndStoresTheResult) {
  host.declared(100)->press();
  ASSERT_TRUE(platform.runUntil([this] { return platform.record->closed > 0 && host.requests.size() == 20; }));
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101]);
  ASSERT_TRUE(motion);
  int w = 0, h = 0;
  motion->getAnalysisWidth(&w, &h);
  EXPECT_EQ(w, width);
  EXPECT_EQ(h, height);
  ASSERT_EQ(motion->getMotion()->hset.size(), 20u);
  for (int frame = 1; frame < 20; ++frame) {
    Vorn::Matrix m;
    ASSERT_TRUE(motion->getMotion()->Get(frame, m));
    EXPECT_NEAR(m(0, 2) / m(2, 2), ShakeX(frame) - ShakeX(frame - 1), 0.1) << frame;
    EXPECT_NEAR(m(1, 2) / m(2, 2), ShakeY(frame) - ShakeY(frame - 1), 0.1) << frame;
  }
  EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedEvents>(host.objects[204])->hasEvents());
  EXPECT_EQ(std::dynamic_pointer_cast<const SerialisedAGC>(host.objects[303])->data()->gains.size(), 20u);
}

TEST_F(Effect, EveryFrameIsRequestedOnceAtFullSize) {
  ASSERT_TRUE(Analyse());
  ASSERT_EQ(host.requests.size(), 20u) << "the time equal to the duration too";
  for (int i = 0; i < 20; ++i) {
    const auto& [time, info] = host.requests[i];
    EXPECT_EQ(time, i);
    EXPECT_EQ(info.time.frame, i);
    EXPECT_EQ(info.qualityLevel, 2);
    EXPECT_EQ(info.scaleX, 1.0);
    EXPECT_EQ(info.scaleY, 1.0);
    EXPECT_EQ(info.depth, 3);
  }
  EXPECT_EQ(platform.slices, std::vector<double>(20, 0.001));
}

TEST_F(Effect, TheWindowTellsHowFarItIs) {
  ASSERT_TRUE(Analyse());
  const ProgressRecord& record = *platform.record;
  EXPECT_EQ(record.messages, std::vector<std::string>{"Analyzing motion"});
  ASSERT_EQ(record.informations.size(), 21u);
  EXPECT_EQ(record.informations[0], "Initializing...");
  EXPECT_EQ(record.informations[1], "5% complete");
  EXPECT_EQ(record.informations[20], "100% complete");
  EXPECT_EQ(record.percents.front(), 5.0);
  EXPECT_EQ(host.progress, record.percents);
  EXPECT_EQ(record.orderedOut, 1);
  EXPECT_EQ(record.closed, 1);
}

TEST_F(Effect, AClipOfOneFrameStaysAtZeroPercent) {
  host.duration = 0;
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(platform.record->percents, std::vector<double>{0.0});
  const auto input = host.draw(0);
  EXPECT_LT(LargestDifference(*Render(0), static_cast<const MemoryImage&>(*input)), 1e-4f);
}

TEST_F(Effect, CancellingKeepsWhatItHas) {
  host.whenRequested = [this](double time) {
    if (time == 7) platform.record->cancel();
  };
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(host.requests.size(), 8u);
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101]);
  EXPECT_EQ(motion->getMotion()->hset.size(), 8u);
}

TEST_F(Effect, AFrameThatCannotBeHadEndsThePassWithWhatItHas) {
  host.draw = [](double time) {
    return time < 12 ? SceneShiftedBy(ShakeX(time), ShakeY(time)) : std::unique_ptr<MemoryImage>();
  };
  ASSERT_TRUE(Analyse());
  EXPECT_NE(std::find(log.begin(), log.end(), "Could not access needed frame 12.000000"), log.end());
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101]);
  EXPECT_EQ(motion->getMotion()->hset.size(), 12u);
}

TEST_F(Effect, PressedAgainItOnlyBringsItsWindowForward) {
  plugIn.doAnalysisTask();
  plugIn.doAnalysisTask();
  EXPECT_EQ(platform.record->broughtToFront, 1);
  EXPECT_EQ(platform.descriptions.size(), 1u);
  ASSERT_TRUE(platform.runUntil([this] { return platform.record->closed > 0; }));
  EXPECT_EQ(host.requests.size(), 20u);
}

TEST_F(Effect, TheMainThreadGivesTheWindowUp) {
  plugIn.doAnalysisTask();
  ASSERT_TRUE(platform.runUntil([this] { return platform.record->closed > 0; }));
  EXPECT_EQ(platform.record->freed, 1) << "even while the worker's block is still there";
}

TEST_F(Effect, AnEffectThatGoesAwayEndsItsPass) {
  auto passing = std::make_unique<OrvaneFCPXPlugIn>(&host, &platform);
  std::atomic<bool> under(false);
  host.whenRequested = [&under](double time) {
    if (time != 2) return;
    under = true;  // two blocks wait on the main queue
    under.notify_all();
  };
  passing->doAnalysisTask();
  under.wait(false);
  passing.reset();
  ASSERT_TRUE(platform.drain());
  EXPECT_TRUE(host.progress.empty()) << "the host may have taken its services back";
  EXPECT_EQ(platform.record->closed, 1);
  EXPECT_LE(host.requests.size(), 20u);
  EXPECT_FALSE(std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101])->getMotion()->hset.size() > 0);
}

TEST_F(Effect, FieldsAreAnalysedTwoAFrame) {
  host.duration = 4;
  auto first = SceneShiftedBy(0, 0);
  first->fieldInHand = 1;
  MemoryImage output(width, height);
  ASSERT_TRUE(plugIn.renderOutput(&output, first.get(), At(0)));  // tells the field order
  host.requests.clear();
  ASSERT_TRUE(Analyse());
  ASSERT_EQ(host.requests.size(), 9u);
  EXPECT_EQ(host.requests[1].first, 0.5);
  std::vector<std::string> lacings;
  for (const std::string& message : log)
    if (message.rfind("Get pyramid", 0) == 0) lacings.push_back(message);
  ASSERT_GE(lacings.size(), 2u);
  EXPECT_EQ(lacings[0], "Get pyramid for frame 0, lacing 1");
  EXPECT_EQ(lacings[1], "Get pyramid for frame 1, lacing 2");
}

/// The numbers and lacings of the frames that an analysis took, as the log tells them.
std::vector<std::string> Lacings(const std::vector<std::string>& log) {
  const std::string begin = "Get pyramid for frame ";
  std::vector<std::string> lacings;
  for (const std::string& message : log)
    if (message.rfind(begin, 0) == 0) lacings.push_back(message.substr(begin.size()));
  return lacings;
}

TEST_F(Effect, TheOtherFieldFirstIsLacedTheOtherWay) {
  host.duration = 1;
  auto first = SceneShiftedBy(0, 0);
  first->fieldInHand = 2;
  MemoryImage output(width, height);
  ASSERT_TRUE(plugIn.renderOutput(&output, first.get(), At(0)));
  log.clear();
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(Lacings(log), (std::vector<std::string>{"0, lacing 2", "1, lacing 1", "2, lacing 2"}));
}

TEST_F(Effect, AClipThatWasNeverRenderedIsTakenForProgressive) {
  host.duration = 1;
  host.draw = [](double time) {
    auto image = SceneShiftedBy(ShakeX(time), ShakeY(time));
    image->fieldInHand = 1;
    return image;
  };
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(Lacings(log), (std::vector<std::string>{"0, lacing 0", "1, lacing 0"}));
}

TEST_F(Effect, TheOrderThatTheFirstRenderToldStays) {
  host.duration = 1;
  MemoryImage output(width, height);
  const auto progressive = SceneShiftedBy(0, 0), field = SceneShiftedBy(0, 0);
  field->fieldInHand = 1;
  ASSERT_TRUE(plugIn.renderOutput(&output, progressive.get(), At(0)));
  ASSERT_TRUE(plugIn.renderOutput(&output, field.get(), At(0)));
  log.clear();
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(Lacings(log), (std::vector<std::string>{"0, lacing 0", "1, lacing 0"}));
}

TEST_F(Effect, FieldsCountFromTwiceTheStart) {
  host.start = 3;
  host.duration = 5;
  auto first = SceneShiftedBy(0, 0);
  first->fieldInHand = 1;
  MemoryImage output(width, height);
  ASSERT_TRUE(plugIn.renderOutput(&output, first.get(), At(3)));
  log.clear();
  ASSERT_TRUE(Analyse());
  EXPECT_EQ(Lacings(log),
            (std::vector<std::string>{"6, lacing 1", "7, lacing 2", "8, lacing 1", "9, lacing 2", "10, lacing 1"}));
  EXPECT_EQ(platform.record->percents, (std::vector<double>{20, 40, 60, 80, 100}));
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101])->getMotion();
  EXPECT_EQ(motion->start, 6);
  EXPECT_EQ(motion->end, 10);
}

TEST_F(Effect, CancelledFieldsEndTheRangeAtATimeInFrames) {
  host.whenRequested = [this](double time) {
    if (time == 2.5) platform.record->cancel();
  };
  auto first = SceneShiftedBy(0, 0);
  first->fieldInHand = 1;
  MemoryImage output(width, height);
  ASSERT_TRUE(plugIn.renderOutput(&output, first.get(), At(0)));
  ASSERT_TRUE(Analyse());
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101])->getMotion();
  EXPECT_EQ(motion->hset.size(), 6u) << "fields 0 to 5";
  ASSERT_EQ(motion->range.data.size(), 1u);
  EXPECT_EQ(motion->range.data[0].first, 0);
  EXPECT_EQ(motion->range.data[0].last, 3) << "the time at which it went on, in frames";
}

TEST_F(Effect, FieldsAreFilledFromTheMomentsOfFields) {
  host.duration = 5;
  host.draw = [](double time) {
    auto image = SceneShiftedBy(9 * time, 0);
    image->fieldInHand = time == std::floor(time) ? 1 : 2;
    return image;
  };
  Render(0);
  ASSERT_TRUE(Analyse());
  Change(kGlobalMode, 2);
  Change(kRenderingType, 3);
  for (const double time : {2.0, 2.5}) {
    host.requests.clear();
    Render(time);
    ASSERT_FALSE(host.requests.empty()) << time;
    bool betweenFrames = false;
    for (const auto& [asked, info] : host.requests) {
      EXPECT_LE(asked, host.duration) << "the clip's length is in frames";
      betweenFrames |= asked != std::floor(asked);
    }
    EXPECT_TRUE(betweenFrames) << time;
  }
}

/// Renders field 1 at a time before the analysis.
class LearntFieldOrder : public Effect {
 protected:
  /// Whether the analysis then takes the clip's frames for that field order.
  bool AnalysisIsLacedBy(int order, double renderedAt) {
    host.duration = 1;
    auto first = SceneShiftedBy(0, 0);
    first->fieldInHand = 1;
    MemoryImage output(width, height);
    EXPECT_TRUE(plugIn.renderOutput(&output, first.get(), At(renderedAt)));
    log.clear();
    EXPECT_TRUE(Analyse());
    return std::find(log.begin(), log.end(), "Get pyramid for frame 0, lacing " + std::to_string(order)) != log.end();
  }
};

TEST_F(LearntFieldOrder, ATimeThatIsWholeInSinglePrecisionIsNoHalfFrame) {
  EXPECT_TRUE(AnalysisIsLacedBy(1, 3.00000001));
}

TEST_F(LearntFieldOrder, AtAHalfFrameTheFieldInHandIsTheOrder) { EXPECT_TRUE(AnalysisIsLacedBy(2, 3.5)); }

TEST_F(Effect, AHandHeldShotStandsStillOnceAnalysed) {
  host.duration = 59;
  ASSERT_TRUE(Analyse());
  Change(300, 0);
  const auto reference = Render(10);
  double before = 0, after = 0;
  for (const int frame : {23, 31, 44, 58}) {
    const auto input = host.draw(frame);
    before = std::max<double>(before, LargestDifference(static_cast<const MemoryImage&>(*input),
                                                        static_cast<const MemoryImage&>(*host.draw(10)), 20));
    after = std::max<double>(after, LargestDifference(*Render(frame), *reference, 20));
  }
  EXPECT_GT(before, 0.15);
  EXPECT_LT(after, 0.02);
}

TEST_F(Effect, AStoredAnalysisRendersLikeAFreshOne) {
  host.duration = 39;
  ASSERT_TRUE(Analyse());
  OrvaneFCPXPlugIn reopened(&host, &platform);
  for (const int frame : {0, 13, 39}) {
    const auto fresh = Render(frame);
    MemoryImage again(width, height);
    ASSERT_TRUE(reopened.renderOutput(&again, host.draw(frame).get(), At(frame)));
    EXPECT_LT(LargestDifference(*fresh, again), 1e-3f) << "matrices are stored in single precision";
  }
  EXPECT_TRUE(reopened.ObjC_MP->rotationMode) << "rotation is known on reload too";
}

TEST_F(Effect, CancellingAllMotionMayLoseTheFrameWithoutAnAlert) {
  // A pan that takes the first frame's scene out of sight.
  host.draw = [](double time) { return SceneShiftedBy(14.0 * time, 0); };
  host.duration = 39;
  host.values[200] = 2;
  ASSERT_TRUE(Analyse());
  EXPECT_FALSE(plugIn.ObjC_MP->goodCrop());
  EXPECT_TRUE(platform.alerts.empty()) << "cancelling all motion is expected to lose the frame";
  EXPECT_EQ(host.values[300], 2);
}

TEST_F(Effect, ABadCropFallsBackToNaturalAndSaysSo) {
  // Jumps of more than the frame's width and back, within one still shot: what is held can't cover both.
  host.duration = 29;
  ASSERT_TRUE(Analyse());
  auto motion = std::make_shared<SerialisedMotion>();
  Vorn::HomographySet leap;
  for (int frame = 0; frame <= 29; ++frame) {
    Vorn::Matrix m = Vorn::Matrix::GetIdentity(3);
    m(0, 2) = frame % 2 ? 400.0 : -400.0;
    leap.Set(frame, m);
  }
  leap.AppendRange(0, 29);
  plugIn.ObjC_TRKME->setMotion(leap, *plugIn.ObjC_TRKME->confidence());
  plugIn.storeAnalysis();
  ASSERT_FALSE(plugIn.ObjC_MP->goodCrop());
  ASSERT_EQ(platform.alerts.size(), 1u);
  EXPECT_EQ(platform.alerts[0].button, "OrvaneFCPX::OK");
  EXPECT_EQ(platform.alerts[0].message, "OrvaneFCPX::BorderBadMessage");
  EXPECT_EQ(platform.alerts[0].details, "OrvaneFCPX::BorderBadDetails");
  EXPECT_EQ(platform.alerts[0].style, 0);
  EXPECT_EQ(host.values[300], 0);
}

// Importing a project of the standalone application.

TEST_F(Effect, WhileAnAnalysisRunsNothingIsImported) {
  plugIn.doAnalysisTask();
  plugIn.doImportProject();
  EXPECT_TRUE(platform.panels.empty());
  EXPECT_EQ(platform.record->broughtToFront, 1);
  ASSERT_TRUE(platform.runUntil([this] { return platform.record->closed > 0; }));
  plugIn.doImportProject();
  EXPECT_EQ(platform.panels.size(), 1u);
}

TEST_F(Effect, ACancelledPanelChangesNothing) {
  host.declared(103)->press();
  ASSERT_EQ(platform.panels.size(), 1u);
  EXPECT_EQ(platform.panels[0].title, "Select Orvane project");
  EXPECT_EQ(platform.panels[0].allowedFileTypes, (std::vector<std::string>{"orvane", "ORVANE", "Orvane"}));
  EXPECT_TRUE(platform.alerts.empty());
  EXPECT_EQ(plugIn.ObjC_TRKME, nullptr);
}

TEST_F(Effect, APackageWithoutItsIndexLeavesTheSettings) {
  platform.chosenItem = testing::TempDir() + "no such package.orvane";
  host.values[200] = 2;
  plugIn.doImportProject();
  ASSERT_EQ(platform.alerts.size(), 1u);
  EXPECT_EQ(platform.alerts[0].message, "OrvaneFCPX::ImportMessageBad");
  EXPECT_EQ(platform.alerts[0].details, "OrvaneFCPX::ImportDetailsNoFPF");
  EXPECT_EQ(host.values[200], 2);
}

class Import : public Effect {
 protected:
  Import() {
    package =
        testing::TempDir() + "import-" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".orvane";
    std::filesystem::create_directories(package);
    platform.chosenItem = package;
    host.values[200] = 0;
  }

  /// Writes the data files of a still clip of 20 frames.
  void WriteData() {
    Vorn::HomographySet motion;
    MotionConfidenceSet confidence;
    for (int frame = 0; frame < 20; ++frame) {
      motion.Set(frame, Vorn::Matrix::GetIdentity(3));
      confidence.Set(frame, 1.0f);
    }
    motion.AppendRange(0, 19);
    ASSERT_TRUE(motion.Save((package + "/m.set").c_str()));
    ASSERT_TRUE(confidence.Save((package + "/c.mconf").c_str()));
    MotionProcessorFCPX planner;
    planner.setWidth(width, height);
    planner.setInputMotion(motion, motion, confidence);
    planner.initialiseEvents();
    ASSERT_TRUE(planner.lcf->Save((package + "/events.mfp").c_str()));
  }

  void Index(const std::string& text) { std::ofstream(package + "/project.fpf") << text; }

  const AlertSheet& PressImport() {
    plugIn.doImportProject();
    EXPECT_EQ(platform.alerts.size(), 1u);
    return platform.alerts.back();
  }

  std::string package;
};

constexpr char sequence[] = "<sequence width=\"320\" height='240'></sequence>";
constexpr char data[] =
    "<motion> m.set\n</motion><premotion>m.set</premotion>"
    "<motionConfidence>c.mconf</motionConfidence>";

TEST_F(Import, AWholeProjectReplacesAnAnalysis) {
  WriteData();
  Index(std::string(sequence) + data + "<filters>events.mfp</filters>");
  const AlertSheet& alert = PressImport();
  EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageGood");
  EXPECT_EQ(alert.details, "OrvaneFCPX::ImportDetailsGood");
  EXPECT_EQ(alert.style, 1);
  EXPECT_EQ(host.values[200], 1);
  const auto motion = std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101]);
  EXPECT_EQ(motion->getMotion()->hset.size(), 20u);
  int w = 0, h = 0;
  motion->getAnalysisWidth(&w, &h);
  EXPECT_EQ(w, 320);
  EXPECT_EQ(h, 240);
  EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedEvents>(host.objects[204])->hasEvents());
  EXPECT_TRUE(host.requests.empty()) << "the size is known";
}

TEST_F(Import, WithoutASizeThatOfTheFirstFrameIsTaken) {
  WriteData();
  Index(std::string("<sequence width='320'></sequence>") + data + "<filters>events.mfp</filters>");
  const AlertSheet& alert = PressImport();
  EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageGood");
  EXPECT_EQ(alert.details, "OrvaneFCPX::ImportMissingDimensions");
  EXPECT_EQ(alert.style, 0);
  ASSERT_EQ(host.requests.size(), 1u);
  EXPECT_EQ(host.requests[0].first, 0.0);
}

TEST_F(Import, NeedsTheSecondVersionsOfTheServicesOnly) {
  host.hasFirstVersions = false;
  WriteData();
  Index(std::string(sequence) + data + "<filters>events.mfp</filters>");
  EXPECT_EQ(PressImport().message, "OrvaneFCPX::ImportMessageGood");
}

TEST_F(Import, APathThatIsEmptyCountsAsMissing) {
  WriteData();
  Index(std::string(sequence) + "<motion>m.set</motion><premotion>m.set</premotion><filters>events.mfp</filters>");
  EXPECT_EQ(PressImport().message, "OrvaneFCPX::ImportMessageGood");
  platform.alerts.clear();
  Index(std::string(sequence) + "<motion>m.set</motion><premotion> </premotion><filters>events.mfp</filters>");
  EXPECT_EQ(PressImport().message, "OrvaneFCPX::ImportMessageGood");
  EXPECT_EQ(plugIn.ObjC_TRKME->qamotion()->hset.size(), 20u) << "what was known stays";
  platform.alerts.clear();
  Index(std::string(sequence) + "<motion></motion><filters>events.mfp</filters>");
  EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad");
  EXPECT_EQ(plugIn.ObjC_TRKME->motion()->hset.size(), 20u) << "nothing was loaded, so nothing is lost";
}

TEST_F(Import, AFolderIsNoDataFile) {
  WriteData();
  Index(std::string(sequence) + "<motion>.</motion><filters>events.mfp</filters>");
  EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad");
  platform.alerts.clear();
  Index(std::string(sequence) +
        "<motion>m.set</motion><premotion>.</premotion><motionConfidence>.</motionConfidence>"
        "<filters>.</filters><completion><agc source='.'/></completion>");
  EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad");
}

TEST_F(Import, WithoutEventsTheMotionIsTakenAndTheImportCountsAsBad) {
  WriteData();
  Index(std::string(sequence) + data);
  EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad");
  EXPECT_EQ(std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101])->getMotion()->hset.size(), 20u);
}

TEST_F(Import, EventsThatCannotBeReadAreSoughtAnew) {
  WriteData();
  Index(std::string(sequence) + data + "<filters>missing.mfp</filters>");
  EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad");
  EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedEvents>(host.objects[204])->hasEvents());
}

TEST_F(Import, WithoutMotionOrSequenceNothingIsTaken) {
  WriteData();
  for (const std::string& text :
       {std::string(sequence) + "<filters>events.mfp</filters>", std::string(data) + "<filters>events.mfp</filters>",
        std::string("</sequence><sequence"), std::string()}) {
    platform.alerts.clear();
    Index(text);
    EXPECT_EQ(PressImport().details, "OrvaneFCPX::ImportDetailsBad") << text;
    EXPECT_TRUE(std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101])->getMotion()->hset.empty());
  }
}

}  // namespace
