// Taking over a project of the standalone application: packages written by hand, and what the host sees of it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "analysis/TrackerEstimator.h"
#include "numerics/Log.h"
#include "numerics/Parallel.h"
#include "planning/MotionProcessorFCPX.h"
#include "plugin/FakeHost.h"
#include "plugin/OrvaneFCPXPlugIn.h"
#include "plugin/SerialisedAGC.h"
#include "plugin/SerialisedEvents.h"
#include "plugin/SerialisedMotion.h"
#include "rendering/OutputRenderer.h"
#include "rendering/VideoCompleter.h"

namespace {

namespace fs = std::filesystem;

constexpr int wide = 200, high = 180, frames = 30;
using Touches = std::vector<std::string>;

/// Writes down what the effect reads and changes, in order.
class RecordingHost : public FakeHost {
 public:
  bool getIntValue(int* value, unsigned id, double time) override {
    note("read", id, time);
    return FakeHost::getIntValue(value, id, time);
  }
  bool getBoolValue(bool* value, unsigned id, double time) override {
    note("read", id, time);
    return FakeHost::getBoolValue(value, id, time);
  }
  bool setIntValue(int value, unsigned id, double time) override {
    note(("set to " + std::to_string(value)).c_str(), id, time);
    return FakeHost::setIntValue(value, id, time);
  }
  bool getCustomParameterValue(std::shared_ptr<const KeyedCodable>* value, unsigned id) override {
    touches.push_back("fetch " + std::to_string(id));
    return FakeHost::getCustomParameterValue(value, id);
  }
  bool setCustomParameterValue(std::shared_ptr<const KeyedCodable> value, unsigned id) override {
    touches.push_back("store " + std::to_string(id));
    return FakeHost::setCustomParameterValue(std::move(value), id);
  }
  bool setParameterFlags(unsigned flagWord, unsigned id) override {
    touches.push_back("flag " + std::to_string(id));
    return FakeHost::setParameterFlags(flagWord, id);
  }

  Touches touches;

 private:
  void note(const char* what, unsigned id, double time) {
    touches.push_back(std::string(what) + " " + std::to_string(id) + (time == 0.0 ? "" : " later"));
  }
};

Vorn::Matrix Moved(double dx, double dy, double angle = 0.0) {
  Vorn::Matrix m = Vorn::Matrix::GetIdentity(3);
  m(0, 0) = m(1, 1) = std::cos(angle);
  m(1, 0) = std::sin(angle);
  m(0, 1) = -m(1, 0);
  m(0, 2) = dx;
  m(1, 2) = dy;
  return m;
}

/// The camera's shake from the frame before, whole pixels that add up to no more than 6.
double StepX(int frame) { return frame == 0 ? 0 : (frame % 2 ? 6 : -6); }
double Roll(int frame) { return 0.004 * std::sin(frame * 1.3); }

class ProjectImport : public testing::Test {
 protected:
  ProjectImport()
      : folder(testing::TempDir() + "project-import-" + std::to_string(getpid()) + "/"),
        package(folder + "beach.orvane") {
    Vorn::SetProcessorCount(1);
    Vorn::SetLogSink([this](const std::string& message) { log.push_back(message); });
    fs::create_directories(package + "/data");
    host.draw = [](double) {
      auto image = std::make_unique<MemoryImage>(wide, high);
      for (int y = 0; y < high; ++y)
        for (int x = 0; x < wide; ++x)
          for (int c = 0; c < 4; ++c)
            image->pixel(x, y)[c] = c == 0 ? 1.0f : 0.5f + 0.2f * std::sin(0.2f * x) * std::cos(0.13f * y);
      return image;
    };
    host.duration = frames - 1;
    plugIn.addParameters();
    platform.chosenItem = package;
    WriteData();
    host.touches.clear();
  }
  ~ProjectImport() override {
    fs::remove_all(folder);
    Vorn::SetLogSink(nullptr);
    Vorn::SetProcessorCount(0);
  }

  /// motion.set, rotation.set, c.mconf, e.mfp and data/g.gains, of a shaking hold with a little roll.
  void WriteData() {
    Vorn::HomographySet motion, rotation;
    MotionConfidenceSet confidence;
    AGCStorage gains;
    for (int frame = 0; frame < frames; ++frame) {
      motion.Set(frame, Moved(StepX(frame), 0, Roll(frame)));
      rotation.Set(frame, Moved(StepX(frame), 0, Roll(frame)));
      confidence.Set(frame, 0.5f);
      gains.SetGain(frame + 2, 1.0f + 0.01f * static_cast<float>(frame));
    }
    motion.AppendRange(0, frames - 1);
    gains.AddRange(2, frames + 1);
    ASSERT_TRUE(motion.Save((package + "/motion.set").c_str()));
    ASSERT_TRUE(rotation.Save((package + "/rotation.set").c_str()));
    ASSERT_TRUE(confidence.Save((package + "/c.mconf").c_str()));
    ASSERT_TRUE(gains.Save((package + "/data/g.gains").c_str()));
    Write("e.mfp",
          "MFP3\nH 2\n0 Hold\n0 14\n0 0 0 0\n1.5 1.5 0\n1 G\n1 Linear\n15 29\n0 15 0 0.25\n1.5 5.25 0\n0 G\n"
          "V 1\n0 Hold\n0 29\n0 0 0 0\n0.5 0.5 0\n0 G\n");
  }

  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(package + "/" + name, std::ios::binary) << bytes;
  }

  /// Writes the index and presses the button; the one alert that came of it.
  AlertSheet Import(const std::string& index) {
    Write("project.fpf", index);
    return Press();
  }
  AlertSheet Press() {
    platform.alerts.clear();
    plugIn.doImportProject();
    EXPECT_EQ(platform.alerts.size(), 1u);
    if (platform.alerts.empty()) return {};
    EXPECT_EQ(platform.alerts[0].button, "OrvaneFCPX::OK");
    return platform.alerts[0];
  }

  void ExpectBad(const AlertSheet& alert, const std::string& about = "") {
    EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageBad") << about;
    EXPECT_EQ(alert.details, "OrvaneFCPX::ImportDetailsBad") << about;
    EXPECT_EQ(alert.style, 0) << about;
  }
  void ExpectGood(const AlertSheet& alert, const std::string& about = "") {
    EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageGood") << about;
    EXPECT_EQ(alert.details, "OrvaneFCPX::ImportDetailsGood") << about;
    EXPECT_EQ(alert.style, 1) << about;
  }
  void ExpectGoodWithoutSize(const AlertSheet& alert, const std::string& about = "") {
    EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageGood") << about;
    EXPECT_EQ(alert.details, "OrvaneFCPX::ImportMissingDimensions") << about;
    EXPECT_EQ(alert.style, 0) << about;
  }

  std::shared_ptr<const SerialisedMotion> StoredMotion() {
    return std::dynamic_pointer_cast<const SerialisedMotion>(host.objects[101]);
  }
  std::shared_ptr<const SerialisedEvents> StoredEvents() {
    return std::dynamic_pointer_cast<const SerialisedEvents>(host.objects[204]);
  }
  std::pair<int, int> StoredSize() {
    int w = -1, h = -1;
    StoredMotion()->getAnalysisWidth(&w, &h);
    return {w, h};
  }

  std::unique_ptr<MemoryImage> Render(OrvaneFCPXPlugIn& effect, int frame) {
    auto output = std::make_unique<MemoryImage>(wide, high);
    FxRenderInfo info;
    info.time.frame = frame;
    EXPECT_TRUE(effect.renderOutput(output.get(), host.draw(frame).get(), info));
    return output;
  }
  std::unique_ptr<MemoryImage> Render(int frame) { return Render(plugIn, frame); }

  std::string folder, package;
  RecordingHost host;
  FakePlatform platform;
  std::vector<std::string> log;
  OrvaneFCPXPlugIn plugIn{&host, &platform};
};

float LargestDifference(const MemoryImage& a, const MemoryImage& b) {
  float largest = 0.0f;
  for (size_t i = 0; i < a.pixels.size(); ++i) largest = std::max(largest, std::fabs(a.pixels[i] - b.pixels[i]));
  return largest;
}

int EmptyPixels(const MemoryImage& image) {
  int empty = 0;
  for (size_t i = 0; i < image.pixels.size(); i += 4) empty += image.pixels[i] < 0.5f ? 1 : 0;
  return empty;
}

const std::string kSequence = "<sequence width=\"200\" height=\"180\"></sequence>";
const std::string kMotion = "<motion>motion.set</motion>";
const std::string kRotation = "<premotion>rotation.set</premotion>";
const std::string kConfidence = "<motionConfidence>c.mconf</motionConfidence>";
const std::string kFilters = "<filters>e.mfp</filters>";
const std::string kGains = "<completion><gains source='data/g.gains'/></completion>";
const std::string kWhole = kSequence + kMotion + kRotation + kConfidence + kFilters + kGains;

// What is touched, in which order.

TEST_F(ProjectImport, ReadsAndStoresParametersInOrder) {
  ExpectGood(Import(kWhole));
  EXPECT_EQ(host.touches, (Touches{"set to 1 200", "store 101", "read 200", "read 201", "read 203", "store 204"}))
      << "neither rotation dampening nor the gains' parameter is touched";
  EXPECT_TRUE(host.requests.empty()) << "the size is known";
}

TEST_F(ProjectImport, WithoutASizeTheFirstFrameIsAskedForBetweenMotionAndStoring) {
  host.whenRequested = [this](double) { host.touches.emplace_back("frame"); };
  ExpectGoodWithoutSize(Import("<sequence></sequence>" + kMotion + kFilters));
  EXPECT_EQ(host.touches,
            (Touches{"set to 1 200", "frame", "store 101", "read 200", "read 201", "read 203", "store 204"}));
  ASSERT_EQ(host.requests.size(), 1u);
  const FxRenderInfo& asked = host.requests[0].second;
  EXPECT_EQ(host.requests[0].first, 0.0);
  EXPECT_EQ(asked.time.frame, 0.0);
  EXPECT_EQ(asked.qualityLevel, 2);
  EXPECT_EQ(asked.scaleX, 1.0);
  EXPECT_EQ(asked.scaleY, 1.0);
  EXPECT_EQ(asked.depth, 3);
  EXPECT_EQ(StoredSize(), std::make_pair(wide, high));
}

TEST_F(ProjectImport, AFrameThatCannotBeHadLeavesTheSizeAsItWas) {
  host.draw = nullptr;
  ExpectGoodWithoutSize(Import("<sequence></sequence>" + kMotion + kFilters));
  EXPECT_EQ(StoredSize(), std::make_pair(0, 0));
  host.hasImages = false;
  ExpectGoodWithoutSize(Import("<sequence></sequence>" + kMotion + kFilters), "a host without frames");
}

TEST_F(ProjectImport, ASizeCountsWithoutMotionAndStaysWhereNoFrameCanBeHad) {
  ExpectBad(Import(kSequence + kFilters));
  host.draw = nullptr;
  ExpectGoodWithoutSize(Import("<sequence></sequence>" + kMotion + kFilters));
  EXPECT_EQ(StoredSize(), std::make_pair(200, 180)) << "of the import before";
}

TEST_F(ProjectImport, WithoutASizeTheFirstFrameIsAskedForWhateverTheMotion) {
  for (const char* motion : {"", "<motion>missing</motion>"}) {
    host.requests.clear();
    ExpectBad(Import(std::string("<sequence></sequence>") + motion + kFilters), motion);
    EXPECT_EQ(host.requests.size(), 1u) << motion;
  }
}

TEST_F(ProjectImport, APlannerThatIsThereTakesTheNewSize) {
  ExpectGood(Import(kWhole));
  ExpectGood(Import("<sequence width='640' height='480'></sequence>" + kMotion + kFilters));
  EXPECT_EQ(plugIn.ObjC_MP->analysedWidth, 640);
  EXPECT_EQ(plugIn.ObjC_MP->analysedHeight, 480);
}

TEST_F(ProjectImport, AnOpenPanelForProjectsStartsAtHome) {
  Import(kWhole);
  ASSERT_EQ(platform.panels.size(), 1u);
  EXPECT_EQ(platform.panels[0].title, "Select Orvane project");
  EXPECT_EQ(platform.panels[0].allowedFileTypes, (std::vector<std::string>{"orvane", "ORVANE", "Orvane"}));
  EXPECT_EQ(platform.panels[0].directory, "") << "the home folder";
}

TEST_F(ProjectImport, WithoutAChoiceNothingIsTouched) {
  Write("project.fpf", kWhole);
  platform.chosenItem.reset();
  plugIn.doImportProject();
  EXPECT_TRUE(host.touches.empty());
  EXPECT_TRUE(platform.alerts.empty());
}

TEST_F(ProjectImport, AHostThatLacksTheServicesGetsItsAlert) {
  host.hasSecondVersions = false;
  ExpectBad(Import(kWhole));
  EXPECT_TRUE(host.touches.empty());
}

TEST_F(ProjectImport, WithoutMotionOnlyTheModeIsSet) {
  ExpectBad(Import(kSequence + kRotation + kConfidence + kFilters));
  EXPECT_EQ(host.touches, Touches{"set to 1 200"});
  EXPECT_EQ(plugIn.ObjC_TRKME, nullptr);
  EXPECT_EQ(plugIn.ObjC_MP, nullptr);
  ASSERT_NE(plugIn.ObjC_VC, nullptr);
  EXPECT_TRUE(plugIn.ObjC_VC->globalMotion.hset.empty());
}

TEST_F(ProjectImport, WithoutASequenceNothingFurtherIsTouched) {
  for (const std::string& sequence : {std::string(), std::string("<sequence width='1' height='1'>"),
                                      std::string("</sequence>"), std::string("</sequence><sequence")}) {
    host.touches.clear();
    ExpectBad(Import(sequence + kMotion + kRotation + kConfidence + kFilters + kGains), sequence);
    EXPECT_EQ(host.touches, Touches{"set to 1 200"}) << sequence;
    EXPECT_TRUE(host.requests.empty()) << sequence;
    EXPECT_FALSE(plugIn.ObjC_TRKME || plugIn.ObjC_MP || plugIn.ObjC_VC || plugIn.ObjC_OR) << sequence;
  }
}

TEST_F(ProjectImport, WithoutAReadableIndexNothingIsTouched) {
  const auto expectNoIndex = [this](const std::string& about) {
    const AlertSheet alert = Press();
    EXPECT_EQ(alert.message, "OrvaneFCPX::ImportMessageBad") << about;
    EXPECT_EQ(alert.details, "OrvaneFCPX::ImportDetailsNoFPF") << about;
    EXPECT_EQ(alert.style, 0) << about;
    EXPECT_TRUE(host.touches.empty()) << about;
    EXPECT_FALSE(plugIn.ObjC_TRKME || plugIn.ObjC_MP || plugIn.ObjC_VC) << about;
  };
  expectNoIndex("missing");
  Write("project.fpf", kWhole + "\xE9");
  expectNoIndex("not UTF-8");
  fs::remove(package + "/project.fpf");
  fs::create_directory(package + "/project.fpf");
  expectNoIndex("a folder");
  fs::remove(package + "/project.fpf");
  ASSERT_EQ(mkfifo((package + "/project.fpf").c_str(), 0600), 0);
  expectNoIndex("a pipe that nobody writes to");
  std::ofstream(folder + "file.orvane") << kWhole;
  platform.chosenItem = folder + "file.orvane";
  expectNoIndex("a file for a package");
  fs::remove(package + "/project.fpf");
  Write("project.fpf", kWhole);
  fs::resize_file(package + "/project.fpf", 1ull << 40);
  platform.chosenItem = package;
  expectNoIndex("a terabyte of nothing");
}

// The index in its variants.

TEST_F(ProjectImport, SizesStandInEitherKindOfQuotes) {
  for (const char* attributes :
       {" width=\"640\" height=\"480\"", " width='640' height='480'", " width=\"640' height='480\"",
        "\n\twidth = '0' width='640'\n height='480'>\n<clip/>", " name=\"width\" width=''640'' height=\"480\"/>",
        " framewidth='640' x='9' height=480 '480'", " width='640px' height='480.9'", " width=640 '640' height='480",
        " width=' 640 ' height='\n480'"}) {
    const std::string sequence = std::string("<sequence") + attributes + "</sequence>";
    ExpectGood(Import(sequence + kMotion + kFilters), attributes);
    EXPECT_EQ(StoredSize(), std::make_pair(640, 480)) << attributes;
  }
}

TEST_F(ProjectImport, WithoutBothTextsTheSizeIsMissing) {
  for (const char* attributes : {"", " width='640'", " height='480'", " height='480' width='640'",
                                 " width=640 height=480", " width=640 height='480'", " width='' height='480'",
                                 " width= height=", " width='640 height=480", " Width='640' Height='480'"}) {
    const std::string sequence = std::string("<sequence") + attributes + "></sequence>";
    ExpectGoodWithoutSize(Import(sequence + kMotion + kFilters), attributes);
    EXPECT_EQ(StoredSize(), std::make_pair(wide, high)) << attributes;
  }
}

TEST_F(ProjectImport, TextsThatTellNoFrameAreTakenAtTheirValue) {
  constexpr int most = 1'000'000'000;  // beyond it a number counts as this one
  for (const auto& [attributes, width, height] :
       std::vector<std::tuple<std::string, int, int>>{{"width='a' height='b'", 0, 0},
                                                      {"width='0' height='144'", 0, 144},
                                                      {"width='-5' height='10'", -5, 10},
                                                      {"width='640' height='-1'", 640, -1},
                                                      {"width='640' height=''", 640, 0},  // the text is what follows
                                                      {"width='px640' height='+480'", 0, 480},
                                                      {"width='1' height='1'", 1, 1},
                                                      {"width='70000' height='480'", 70000, 480},
                                                      {"width='2000000000' height='1'", most, 1},
                                                      {"width='4294967936' height='480'", most, 480},
                                                      {"width='2147483647' height='2147483647'", most, most},
                                                      {"width='-2147483648' height='-2147483648'", -most, -most},
                                                      {"width='99999999999999999999' height='5'", most, 5},
                                                      {"width='7' height='-99999999999999999999'", 7, -most}}) {
    host.requests.clear();
    ExpectGood(Import("<sequence " + attributes + "></sequence>" + kMotion + kRotation + kFilters), attributes);
    EXPECT_EQ(StoredSize(), std::make_pair(width, height)) << attributes;
    EXPECT_TRUE(host.requests.empty()) << attributes << ": no frame was asked for";
    for (int type = 0; type <= 3; ++type) {
      host.values[300] = type;
      Render(3);
      OrvaneFCPXPlugIn reopened(&host, &platform);
      Render(reopened, 3);
    }
  }
}

TEST_F(ProjectImport, SectionsRunFromTheirFirstStartToTheNextEnd) {
  for (const std::string& motion :
       {std::string("<motion>motion.set</motion><motion>missing</motion>"),
        std::string("</motion><motion>motion.set</motion>"), std::string("<motion> \r\n\tmotion.set\r\n</motion>"),
        std::string("\xEF\xBB\xBF<a><b c='\xE2\x82\xAC'><motion>motion.set</motion></b>")}) {
    host.objects[101].reset();
    ExpectGood(Import(motion + kFilters + kSequence), motion);
    EXPECT_EQ(StoredMotion()->getMotion()->hset.size(), static_cast<size_t>(frames)) << motion;
  }
  for (const std::string& motion :
       {std::string("<motion>motion.set"), std::string("motion.set</motion>"),
        std::string("</motion>motion.set<motion>"), std::string("<motion ref='1'>motion.set</motion>"),
        std::string("<Motion>motion.set</Motion>"), std::string("<motion>missing</motion><motion>motion.set</motion>"),
        std::string("<motion><!-- a --></motion>"), std::string("<motion></motion>"),
        std::string("<motion>\n</motion>"), std::string("<motion>motion.set</motions>")}) {
    host.touches.clear();
    ExpectBad(Import(kSequence + motion + kFilters), motion);
    EXPECT_EQ(host.touches, Touches{"set to 1 200"}) << motion;
  }
}

TEST_F(ProjectImport, PathsAreTakenWithinThePackageUnlessAbsolute) {
  fs::copy_file(package + "/motion.set", folder + "outside.set");
  for (const std::string& path :
       {std::string("./motion.set"), std::string("data/../motion.set"), std::string("../outside.set"),
        std::string("../beach.orvane/motion.set"), folder + "outside.set", package + "//motion.set"})
    ExpectGood(Import(kSequence + "<motion>" + path + "</motion>" + kFilters), path);
  ExpectBad(Import(kSequence + "<motion>/motion.set</motion>" + kFilters), "an absolute path isn't prefixed");
  plugIn.ObjC_VC.reset();
  ExpectGood(Import(kSequence + kMotion + "<premotion>" + package + "/rotation.set</premotion><motionConfidence>" +
                    package + "/c.mconf</motionConfidence><filters>" + package +
                    "/e.mfp</filters><completion><a source='" + package + "/data/g.gains'/></completion>"));
  EXPECT_FALSE(StoredMotion()->getQAMotion()->hset.empty());
  EXPECT_EQ(StoredEvents()->eventsX()->size(), 2u) << "those of the file";
  EXPECT_EQ(plugIn.ObjC_VC->frameGains.size(), static_cast<size_t>(frames));
  platform.chosenItem = package + "/";
  ExpectGood(Import(kSequence + kMotion + kFilters), "a slash behind the package");
}

TEST_F(ProjectImport, TheGainsPathStandsInTheFirstQuotesBehindItsAttribute) {
  for (const char* inside : {"source='data/g.gains'", "<a source=\" data/g.gains \"/>", "source=x \"data/g.gains\" 'b'",
                             "source='data/g.gains", "<s path='x'/><s source=''data/g.gains''"}) {
    plugIn.ObjC_VC.reset();
    ExpectGood(Import(kSequence + kMotion + kFilters + "<completion>" + inside + "</completion>"), inside);
    ASSERT_EQ(plugIn.ObjC_VC->frameGains.size(), static_cast<size_t>(frames)) << inside;
    EXPECT_EQ(plugIn.ObjC_VC->gainStart, 2) << inside;
    EXPECT_FLOAT_EQ(plugIn.ObjC_VC->frameGains[3], 1.03f) << inside;
  }
  for (const char* inside :
       {"", " ", "source=", "source=data/g.gains", "'data/g.gains' source", "source = 'data/g.gains'", "source=''"}) {
    plugIn.ObjC_VC.reset();
    log.clear();
    ExpectGood(Import(kSequence + kMotion + kFilters + "<completion>" + inside + "</completion>"), inside);
    EXPECT_TRUE(plugIn.ObjC_VC->frameGains.empty()) << inside;
    EXPECT_TRUE(log.empty()) << inside << ": nothing was to be loaded";
  }
}

// What is taken over.

TEST_F(ProjectImport, MotionRotationAndSizeAreStoredAndFullyTrusted) {
  ExpectGood(Import(kWhole));
  const auto stored = StoredMotion();
  ASSERT_TRUE(stored);
  EXPECT_EQ(StoredSize(), std::make_pair(200, 180));
  EXPECT_EQ(stored->getMotion()->start, 0);
  EXPECT_EQ(stored->getMotion()->end, frames - 1);
  ASSERT_EQ(stored->getMotion()->range.data.size(), 1u);
  EXPECT_EQ(stored->getMotion()->range.data[0].last, frames - 1);
  Vorn::Matrix m;
  ASSERT_TRUE(stored->getMotion()->Get(7, m));
  EXPECT_EQ(m(0, 2), StepX(7));
  ASSERT_TRUE(stored->getQAMotion()->Get(7, m));
  EXPECT_NEAR(m(1, 0), std::sin(Roll(7)), 1e-9);
  for (int frame = 0; frame < frames; ++frame) EXPECT_EQ(stored->getConfidence()->Get(frame), 1.0f) << "not 0.5";
  EXPECT_TRUE(plugIn.ObjC_MP->rotationMode);
}

TEST_F(ProjectImport, ConfidenceOfFramesWithoutMotionIsTheFiles) {
  MotionConfidenceSet confidence;
  for (const int frame : {3, frames + 5}) confidence.Set(frame, 0.25f);
  ASSERT_TRUE(confidence.Save((package + "/c.mconf").c_str()));
  ExpectGood(Import(kWhole));
  EXPECT_EQ(plugIn.ObjC_TRKME->confidence()->Get(3), 1.0f);
  EXPECT_EQ(plugIn.ObjC_TRKME->confidence()->Get(frames + 5), 0.25f);
}

TEST_F(ProjectImport, EventsAndFitsAreStoredAsTheFileTellsThem) {
  ExpectGood(Import(kWhole));
  const auto stored = StoredEvents();
  ASSERT_TRUE(stored);
  ASSERT_EQ(stored->eventsX()->size(), 2u);
  ASSERT_EQ(stored->eventsY()->size(), 1u);
  const MotionInterval& hold = (*stored->eventsX())[0];
  EXPECT_EQ(hold.begin_frame, 0);
  EXPECT_EQ(hold.end_frame, 14);
  EXPECT_EQ(hold.motion_type, MotionStill);
  EXPECT_TRUE(hold.cut);
  const MotionFixParams& line = (*stored->filtersX())[1];
  EXPECT_EQ(line.comp_type, Linear);
  EXPECT_EQ(line.linear_period, 15);
  EXPECT_EQ(line.gradient, 0.25f);
  EXPECT_EQ(line.start_pos, 1.5f);
  EXPECT_EQ(line.end_pos, 5.25f);
  EXPECT_EQ((*stored->filtersY())[0].start_pos, 0.5f);
  EXPECT_EQ(*plugIn.ObjC_MP->goodFrames(), (std::vector<unsigned>{0, 29}));
}

TEST_F(ProjectImport, ThePlanIsMadeWithTheHostsSettings) {
  host.values[200] = 2;
  host.values[201] = 40;
  host.values[203] = 2;
  ExpectGood(Import(kWhole));
  EXPECT_EQ(host.values[200], 1);
  EXPECT_EQ(plugIn.ObjC_MP->globalMotionMode, 1) << "set before it is read";
  EXPECT_EQ(plugIn.ObjC_MP->globalSmoothFactor, 0.4f);
  EXPECT_EQ(plugIn.ObjC_MP->eventPriority, 2);
  EXPECT_FALSE(plugIn.ObjC_MP->globalRot) << "rotation dampening isn't read";
  EXPECT_EQ(plugIn.ObjC_MP->analysedWidth, 200);
  EXPECT_EQ(plugIn.ObjC_MP->analysedHeight, 180);
  EXPECT_EQ(plugIn.ObjC_MP->compensatingMotion()->hset.size(), static_cast<size_t>(frames));
  EXPECT_EQ(plugIn.ObjC_VC->outputMotion.hset.size(), static_cast<size_t>(frames));
  EXPECT_EQ(plugIn.ObjC_VC->globalMotion.hset.size(), static_cast<size_t>(frames));
}

TEST_F(ProjectImport, OptionalFilesMayBeMissingOrOfAnotherKind) {
  ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0600), 0);
  Write("text", "nothing of the kind\n");
  Write("empty", "");
  for (const std::string path : {"missing", ".", "data", "pipe", "/dev/zero", "text", "empty", "../missing/x"}) {
    ExpectGood(Import(kSequence + kMotion + "<premotion>" + path + "</premotion><motionConfidence>" + path +
                      "</motionConfidence>" + kFilters + "<completion><a source='" + path + "'></completion>"),
               path);
    EXPECT_TRUE(StoredMotion()->getQAMotion()->hset.empty()) << path;
    EXPECT_EQ(StoredMotion()->getConfidence()->Get(3), 1.0f) << path;
    EXPECT_TRUE(plugIn.ObjC_VC->frameGains.empty()) << path;
    EXPECT_EQ(std::ranges::count(log, "Failed to load gains"), 1) << path;
    log.clear();
  }
}

TEST_F(ProjectImport, GainsStayWithoutACompletionAndComeWithABadImport) {
  ExpectBad(Import(kSequence + kMotion + kGains));
  EXPECT_EQ(plugIn.ObjC_VC->frameGains.size(), static_cast<size_t>(frames));
  ExpectGood(Import(kSequence + kMotion + kFilters));
  EXPECT_EQ(plugIn.ObjC_VC->frameGains.size(), static_cast<size_t>(frames));
}

TEST_F(ProjectImport, AMotionFileThatCannotBeReadFailsTheImport) {
  ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0600), 0);
  Write("text", "MCONF\n0 1\n");
  Write("empty", "");
  std::string cut;
  std::getline(std::ifstream(package + "/motion.set", std::ios::binary), cut, '\0');
  Write("cut", cut);
  for (const std::string path : {"missing", ".", "pipe", "/dev/zero", "text", "empty", "cut", "e.mfp", "project.fpf"}) {
    host.touches.clear();
    ExpectBad(Import(kSequence + "<motion>" + path + "</motion>" + kFilters), path);
    EXPECT_EQ(host.touches, Touches{"set to 1 200"}) << path;
  }
}

// When only part of it can be taken over.

TEST_F(ProjectImport, MotionWithoutEventsStaysStored) {
  const auto eventsBefore = host.objects[204];
  ExpectBad(Import(kSequence + kMotion));
  EXPECT_EQ(host.touches, (Touches{"set to 1 200", "store 101"}));
  EXPECT_EQ(StoredMotion()->getMotion()->hset.size(), static_cast<size_t>(frames));
  EXPECT_EQ(host.objects[204], eventsBefore);
  EXPECT_EQ(plugIn.ObjC_MP, nullptr);
}

TEST_F(ProjectImport, EventsThatCannotBeReadAreSoughtAndThePlanStands) {
  ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0600), 0);
  Write("cut", "MFP3\nH 2\n0 Hold\n0 14\n0 0 0 0\n1.5 1.5 0\n1 G\n");
  Write("other", "GAINS\n");
  for (const std::string path : {"missing", ".", "pipe", "/dev/zero", "cut", "other", ""}) {
    host.touches.clear();
    ExpectBad(Import(kSequence + kMotion + "<filters>" + path + "</filters>"), path);
    EXPECT_EQ(host.touches, (Touches{"set to 1 200", "store 101", "read 200", "read 201", "read 203", "store 204"}))
        << path;
    ASSERT_TRUE(StoredEvents()->hasEvents()) << path;
    EXPECT_EQ(StoredEvents()->eventsX()->front().begin_frame, 0) << path;
    EXPECT_EQ(StoredEvents()->eventsX()->back().end_frame, frames - 1) << path;
    EXPECT_EQ(plugIn.ObjC_MP->compensatingMotion()->hset.size(), static_cast<size_t>(frames)) << path;
    EXPECT_EQ(plugIn.ObjC_VC->outputMotion.hset.size(), static_cast<size_t>(frames)) << path;
    plugIn.ObjC_VC.reset();
  }
}

TEST_F(ProjectImport, AFailedImportKeepsWhatAnEarlierOneStored) {
  ExpectGood(Import(kWhole));
  const auto motion = host.objects[101], events = host.objects[204];
  ExpectBad(Import(kSequence + "<motion>missing</motion>" + kFilters));
  EXPECT_EQ(host.objects[101], motion);
  EXPECT_EQ(host.objects[204], events);
  EXPECT_EQ(plugIn.ObjC_VC->globalMotion.hset.size(), static_cast<size_t>(frames)) << "the plan of before";
}

// Rendering after an import.

TEST_F(ProjectImport, BeforeTheFirstRenderTheCompleterFillsNothing) {
  host.values[300] = 3;
  ExpectGood(Import(kWhole));
  const VideoCompleter* completer = plugIn.ObjC_VC.get();
  EXPECT_EQ(completer->maxCacheSize(), 0);
  EXPECT_FALSE(completer->doMosaic || completer->transferPrevious || completer->expaint);
  host.requests.clear();
  EXPECT_GT(EmptyPixels(*Render(5)), high) << "6 columns are uncovered, and stay empty";
  EXPECT_EQ(plugIn.ObjC_VC.get(), completer) << "kept as it is";
  EXPECT_EQ(completer->sequence(), nullptr);
  EXPECT_TRUE(host.requests.empty());
  EXPECT_EQ(completer->frameGains.size(), static_cast<size_t>(frames));
}

TEST_F(ProjectImport, BehindTheFirstRenderTheCompleterFillsAsBefore) {
  host.values[300] = 3;
  Render(0);
  const VideoCompleter* completer = plugIn.ObjC_VC.get();
  const OutputRenderer* renderer = plugIn.ObjC_OR.get();
  ExpectGood(Import(kWhole));
  EXPECT_EQ(plugIn.ObjC_VC.get(), completer);
  EXPECT_EQ(plugIn.ObjC_OR.get(), renderer);
  EXPECT_EQ(completer->gainStart, 2);
  EXPECT_TRUE(plugIn.ObjC_MP->globalRot) << "read when the planner was made, and not again";
  EXPECT_EQ(EmptyPixels(*Render(5)), 0);
  EXPECT_FALSE(host.requests.empty());
}

TEST_F(ProjectImport, TheRenderedFrameFollowsTheImportedMotion) {
  host.values[300] = 0;
  host.values[205] = 0;
  const auto asFilmed = Render(5);
  ExpectGood(Import(kWhole));
  const auto steadied = Render(5);
  EXPECT_GT(LargestDifference(*asFilmed, *steadied), 0.1f);

  OrvaneFCPXPlugIn fresh(&host, &platform);
  fresh.doImportProject();
  EXPECT_EQ(LargestDifference(*Render(fresh, 5), *steadied), 0.0f) << "before the first render";
  OrvaneFCPXPlugIn reopened(&host, &platform);
  EXPECT_LT(LargestDifference(*Render(reopened, 5), *steadied), 1e-4f) << "from the stored parameters";
  EXPECT_EQ(reopened.ObjC_MP->rotationMode, fresh.ObjC_MP->rotationMode);
}

TEST_F(ProjectImport, GainsDontSurviveAReload) {
  const auto gains = host.objects[303];
  ExpectGood(Import(kWhole));
  EXPECT_EQ(host.objects[303], gains);
  OrvaneFCPXPlugIn reopened(&host, &platform);
  Render(reopened, 0);
  EXPECT_TRUE(reopened.ObjC_VC->frameGains.empty());
}

TEST_F(ProjectImport, RotationDampeningUsesTheImportedRotationOnReload) {
  host.values[300] = 0;
  ExpectGood(Import(kWhole));
  OrvaneFCPXPlugIn dampened(&host, &platform);
  const auto with = Render(dampened, 5);
  EXPECT_TRUE(dampened.ObjC_MP->globalRot && dampened.ObjC_MP->rotationMode);

  ExpectGood(Import(kSequence + kMotion + "<premotion>missing</premotion>" + kFilters));
  OrvaneFCPXPlugIn without(&host, &platform);
  Render(without, 5);
  // A stored similarity of a frame that has none is the identity, so rotation counts as known, and as none.
  Vorn::Matrix m;
  without.ObjC_TRKME->qamotion()->Get(5, m);
  EXPECT_TRUE(m.IsIdentity());
  dampened.ObjC_TRKME->qamotion()->Get(5, m);
  EXPECT_NEAR(m(1, 0), std::sin(Roll(5)), 1e-7);
}

TEST_F(ProjectImport, AFailedImportBeforeTheFirstRenderLeavesAnEmptyMotionInMemory) {
  ExpectGood(Import(kWhole));
  OrvaneFCPXPlugIn effect(&host, &platform);
  Write("project.fpf", kSequence + "<motion>missing</motion>");
  effect.doImportProject();
  Render(effect, 5);
  EXPECT_TRUE(effect.ObjC_TRKME->motion()->hset.empty()) << "stored parameters are read only when it is made";
  OrvaneFCPXPlugIn reopened(&host, &platform);
  Render(reopened, 5);
  EXPECT_EQ(reopened.ObjC_TRKME->motion()->hset.size(), static_cast<size_t>(frames)) << "nothing stored was lost";
}

// Files that are made to do harm.

TEST_F(ProjectImport, FilesThatClaimMoreThanTheyHoldDoNoHarm) {
  Vorn::HomographySet huge;
  huge.Set(0, Vorn::Matrix::GetIdentity(3));
  huge.Set(5, Vorn::Matrix::GetIdentity(3));
  huge.AppendRange(0, 2147483647);
  ASSERT_TRUE(huge.Save((package + "/huge.set").c_str()));
  ExpectBad(Import(kSequence + "<motion>huge.set</motion>" + kFilters));
  Write("far.mconf", "MCONF\n-2147483648 1\n2147483647 1\n");
  Write("far.mfp",
        "MFP3\nH 2\n0 Linear\n-2147483648 2147483647\n2147483647 -2147483648 5 1e38\nnan inf -1e38\n1 B\n"
        "1 Linear\n2147483647 -2147483648\n2147483647 2147483647 2147483647 nan\n1e38 -1e38 inf\n0 G\n"
        "V 1\n0 Linear\n0 2147483647\n-5 -7 -9 inf\n-inf 3 nan\n0 G\n");
  ExpectGood(Import(kSequence + kMotion + "<premotion>huge.set</premotion><motionConfidence>far.mconf" +
                    "</motionConfidence><filters>far.mfp</filters>"));
  MemoryCoder coder;
  StoredMotion()->encodeWithCoder(coder);
  EXPECT_LT(coder.entries.size(), 1000u);
  Render(3);
}

TEST_F(ProjectImport, AnAnalysisThatBrokeOffEarlyIsTakenWithTheFramesThatItHas) {
  Vorn::HomographySet early;
  for (int frame = 0; frame < 10; ++frame) early.Set(frame, Vorn::Matrix::GetIdentity(3));
  early.AppendRange(0, 99'999);
  ASSERT_TRUE(early.Save((package + "/early.set").c_str()));
  ExpectGood(Import(kSequence + "<motion>early.set</motion>" + kFilters));
}

}  // namespace
