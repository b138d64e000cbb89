// Clips whose frames are made of two fields, from the file to the steady file.
#include <functional>
#include <nlohmann/json.hpp>

#include "film/CommandLineFixture.h"
#include "film/Effect.h"
#include "film/Fields.h"
#include "film/Session.h"
#include "plugin/SerialisedMotion.h"

namespace film {
namespace {

constexpr int width = 320, height = 240, frames = 16, fields = 2 * frames;

/// Where the camera is at a field: each one stands elsewhere than the one before.
double FieldX(int field) { return 2.2 * std::sin(1.3 * field) + 0.6 * std::cos(2.9 * field); }
double FieldY(int field) { return 1.4 * std::cos(1.7 * field); }

/// Of waves that are long enough for every second row to hold them.
float FieldScene(double x, double y) {
  return static_cast<float>(0.5 + 0.16 * std::sin(x / 3.1) * std::cos(y / 5.3) + 0.14 * std::sin((x + 2 * y) / 11.7) +
                            0.12 * std::cos((3 * x - y) / 11.0));
}

ClipContents InterlacedContents(AVFieldOrder order) {
  ClipContents contents = TestContents(width, height);
  contents.format.fieldOrder = order;
  contents.planes = *PlaneFormatOf(contents.format);
  return contents;
}

/// `luma`: of a field at a pixel of the frame.
void WriteInterlacedClip(const std::string& path, AVFieldOrder order,
                         const std::function<float(int field, double x, double y)>& luma) {
  EncoderOptions options;
  options.crf = 4;
  options.preset = "ultrafast";
  options.threads = 1;
  MovieWriter movie(path, InterlacedContents(order), MovieSpan{}, options);
  PicturePool pool(width, height);
  const int second = static_cast<int>(SecondField(order));
  for (int number = 0; number < frames; ++number) {
    SharedPicture picture = TestPicture(pool, number);
    for (int y = 0; y < height; ++y) {
      const int field = 2 * number + (y % 2 == second ? 1 : 0);
      for (int x = 0; x < width; ++x) {
        float* argb = picture->samples.data() + 4 * (static_cast<size_t>(y) * width + x);
        argb[1] = argb[2] = argb[3] = luma(field, x, y);
      }
    }
    movie.write(std::move(picture));
  }
  movie.finish();
}

float At(const std::vector<float>& picture, int x, int y) {
  return picture[4 * (static_cast<size_t>(y) * width + static_cast<size_t>(x)) + 2];
}

/// How much each row stands out from the mean of its neighbours, which the rows of two moments do: the mean over the
/// picture's inner part.
double Combing(const std::vector<float>& picture) {
  constexpr int margin = 24;
  double sum = 0;
  for (int y = margin; y < height - margin; ++y)
    for (int x = margin; x < width - margin; ++x)
      sum += std::fabs(At(picture, x, y) - 0.5 * (At(picture, x, y - 1) + At(picture, x, y + 1)));
  return sum / ((width - 2 * margin) * (height - 2 * margin));
}

/// The same of the scene at one moment.
double CombingOfTheScene() {
  std::vector<float> picture(static_cast<size_t>(width) * height * 4);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) picture[4 * (static_cast<size_t>(y) * width + x) + 2] = FieldScene(x, y);
  return Combing(picture);
}

double MeanDifference(const std::vector<float>& a, const std::vector<float>& b, int firstRow, int step) {
  constexpr int margin = 24;
  double sum = 0;
  int count = 0;
  for (int y = margin + firstRow; y < height - margin; y += step)
    for (int x = margin; x < width - margin; ++x, ++count) sum += std::fabs(At(a, x, y) - At(b, x, y));
  return sum / count;
}

/// What the frames of a file say of their fields.
std::vector<std::string> FlagsOf(const std::string& path) {
  std::vector<std::string> flags;
  ClipReader reader(path, 1);
  for (CodedFrame coded; reader.next(&coded);)
    flags.push_back(!coded.frame->interlaced_frame ? "none" : coded.frame->top_field_first ? "top" : "bottom");
  return flags;
}

class InterlacedClip : public CommandLineTest, public testing::WithParamInterface<AVFieldOrder> {
 protected:
  InterlacedClip() {
    writeFrames([](int field, double x, double y) { return FieldScene(x + FieldX(field), y + FieldY(field)); });
  }
  void writeFrames(const std::function<float(int field, double x, double y)>& luma) const {
    WriteInterlacedClip(clip, GetParam(), luma);
  }

  nlohmann::json saved() const { return nlohmann::json::parse(ReadAll(document)); }
  static Outcome with(std::vector<std::string> arguments) {
    for (const char* more : {"--preset", "ultrafast", "--crf", "4", "--quiet", "--force"}) arguments.push_back(more);
    return run(arguments);
  }
  nlohmann::json warningsOfAnalysis() const {
    const std::string lines = run({"analyse", clip, "--progress", "json"}).out;
    return nlohmann::json::parse(lines.substr(lines.rfind("{\"done\""))).value("warnings", nlohmann::json::array());
  }
  std::string word() const { return FieldWord(GetParam()); }
  std::string otherWord() const { return word() == "top" ? "bottom" : "top"; }
};

INSTANTIATE_TEST_SUITE_P(BothOrders, InterlacedClip, testing::Values(AV_FIELD_TT, AV_FIELD_BB),
                         [](const auto& each) { return each.param == AV_FIELD_TT ? "TopFirst" : "BottomFirst"; });

TEST_P(InterlacedClip, TheMotionOfEveryFieldIsMeasured) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--seed", "1", "--threads", "1"}).status, 0);
  EXPECT_EQ(saved()["clip"]["fields"], word());
  ASSERT_EQ(run({"export", clip, "--motion", folder / "m.hset"}).status, 0);
  Vorn::HomographySet motion;
  ASSERT_TRUE(motion.Load((folder / "m.hset").c_str()));
  for (int field = 1; field < fields; ++field) {
    Vorn::Matrix matrix;
    ASSERT_TRUE(motion.Get(field, matrix)) << field;
    const double m22 = matrix(2, 2);
    EXPECT_NEAR(matrix(0, 2) / m22, FieldX(field - 1) - FieldX(field), 0.15) << field;
    EXPECT_NEAR(matrix(1, 2) / m22, FieldY(field - 1) - FieldY(field), 0.15) << field;
  }
}

TEST_P(InterlacedClip, BothFieldsFollowThePathAndNothingCombs) {
  const std::vector<std::vector<float>> before = framesOf(clip);
  ASSERT_EQ(with({"stabilise", clip, "-o", out, "--global-mode", "cancel", "--rendering", "natural"}).status, 0);
  const std::vector<std::vector<float>> after = framesOf(out);
  ASSERT_EQ(after.size(), before.size());
  const double clean = CombingOfTheScene(), halfACode = 0.5 / 219;  // what coding leaves
  for (size_t number = 0; number < after.size(); ++number) {
    EXPECT_LT(Combing(after[number]), clean + halfACode) << number;
    for (const int row : {0, 1})  // each field stands where the first frame's first field stood
      EXPECT_LT(MeanDifference(after[number], after[0], row, 2), 0.012) << number << ", rows from " << row;
  }
  double combing = 0, moved = 0;
  for (const std::vector<float>& picture : before) {
    combing += Combing(picture) / frames;
    moved += MeanDifference(picture, before[0], 0, 2) / frames;
  }
  EXPECT_GT(combing, 20 * clean) << "the clip does comb";
  EXPECT_GT(moved, 0.04) << "and moves";
}

TEST_P(InterlacedClip, WhatIsBorrowedForAFieldIsOfTheRightPlaceToo) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--global-mode", "cancel"}).status, 0);
  const auto borderOff = [&](const std::string& rendering) {
    EXPECT_EQ(with({"render", clip, "-o", out, "--rendering", rendering, "--from", "7", "--to", "8"}).status, 0);
    double sum = 0;
    int count = 0;
    for (const std::vector<float>& picture : framesOf(out))
      for (int y = 20; y < height - 20; ++y)
        for (int x = 0; x < 6; ++x, count += 2)
          for (const int column : {x, width - 1 - x})
            sum += std::fabs(At(picture, column, y) - FieldScene(column + FieldX(0), y + FieldY(0)));
    return sum / count;
  };
  EXPECT_GT(borderOff("natural"), 0.05) << "the first frame's view isn't all seen by these";
  EXPECT_LT(borderOff("complete"), 0.02);
}

TEST_P(InterlacedClip, WhatIsBorrowedDoesNotComb) {
  ASSERT_EQ(with({"stabilise", clip, "-o", out, "--global-mode", "cancel", "--rendering", "complete"}).status, 0);
  const auto combingAtTheSides = [](const std::vector<float>& picture) {
    double sum = 0;
    for (int y = 8; y < height - 8; ++y)
      for (int x = 0; x < 8; ++x)
        for (const int column : {x, width - 1 - x})
          sum += std::fabs(At(picture, column, y) - 0.5 * (At(picture, column, y - 1) + At(picture, column, y + 1)));
    return sum / (16.0 * (height - 16));
  };
  const std::vector<std::vector<float>> before = framesOf(clip), after = framesOf(out);
  const double halfACode = 0.5 / 219;
  const double misplaced = 0.15 * 0.03;  // a sixth of a pixel between the fields, on the scene's mean slope
  for (size_t number = 0; number < after.size(); ++number)
    EXPECT_LT(combingAtTheSides(after[number]), CombingOfTheScene() + halfACode + misplaced) << number;
  double combing = 0;
  for (const std::vector<float>& picture : before) combing += combingAtTheSides(picture) / frames;
  EXPECT_GT(combing, 20 * CombingOfTheScene()) << "the clip does comb there";
}

TEST_P(InterlacedClip, TheOutputIsMarkedAsTheClipIs) {
  ASSERT_EQ(with({"stabilise", clip, "-o", out}).status, 0);
  EXPECT_EQ(FlagsOf(clip), std::vector<std::string>(frames, word()));
  EXPECT_EQ(FlagsOf(out), std::vector<std::string>(frames, word()));
  EXPECT_EQ(DetectFieldOrder(out), GetParam());
}

TEST_P(InterlacedClip, WorkedOnAsWholeFramesItKeepsItsCombs) {
  ASSERT_EQ(
      with({"stabilise", clip, "-o", out, "--global-mode", "cancel", "--rendering", "natural", "--fields", "none"})
          .status,
      0);
  EXPECT_EQ(FlagsOf(out), std::vector<std::string>(frames, "none"));
  EXPECT_EQ(saved()["clip"]["fields"], "none");
  EXPECT_EQ(saved()["archives"]["101"]["end"], frames - 1);
  double combing = 0;
  for (const std::vector<float>& picture : framesOf(out)) combing += Combing(picture) / frames;
  EXPECT_GT(combing, 20 * CombingOfTheScene());
}

TEST_P(InterlacedClip, TheDocumentGivesTheSameFramesAgain) {
  ASSERT_EQ(with({"stabilise", clip, "-o", out}).status, 0);
  const std::string before = ReadAll(document);
  ASSERT_EQ(with({"render", clip, "-o", folder / "again.mp4"}).status, 0);
  EXPECT_TRUE(framesOf(out) == framesOf(folder / "again.mp4"));
  const Outcome second = run({"analyse", clip, "--progress", "lines"});
  EXPECT_THAT(second.out, testing::HasSubstr("analysed before"));
  EXPECT_TRUE(ReadAll(document) == before);
}

TEST_P(InterlacedClip, TheChosenOrderStaysUntilItIsChanged) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--fields", otherWord()}).status, 0);
  EXPECT_EQ(saved()["clip"]["fields"], otherWord());
  const std::string before = ReadAll(document);
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  EXPECT_TRUE(ReadAll(document) == before) << "neither detected nor analysed again";

  expectRefusal({"render", clip, "-o", out, "--fields", word()}, 1, "--fields " + otherWord(), "--fields " + word());
  EXPECT_TRUE(ReadAll(document) == before) << "what doesn't serve isn't lost";

  ASSERT_EQ(run({"analyse", clip, "--quiet", "--fields", "auto"}).status, 0);
  EXPECT_EQ(saved()["clip"]["fields"], word());
}

TEST_P(InterlacedClip, ADocumentThatDoesNotTellIsOfWholeFrames) {
  ASSERT_EQ(run({"analyse", clip, "--quiet", "--fields", "none"}).status, 0);
  nlohmann::json old = saved();
  old["clip"].erase("fields");
  WriteAll(document, old.dump());
  expectRefusal({"render", clip, "-o", out}, 1, "--fields none", "--fields " + word());
  ASSERT_EQ(with({"stabilise", clip, "-o", out}).status, 0);
  EXPECT_EQ(saved()["clip"]["fields"], word());
  EXPECT_GT(saved()["archives"]["101"]["end"], frames);
}

TEST_P(InterlacedClip, WhatIsToldCountsFrames) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  const auto told = nlohmann::json::parse(run({"show", clip, "--json"}).out);
  EXPECT_EQ(told["clip"]["fields"], word());
  EXPECT_EQ(told["analysed"], nlohmann::json::parse(R"([{"first": 0, "last": 15}])"));
  for (const char* axis : {"horizontal", "vertical"}) {
    const nlohmann::json& events = told["events"][axis];
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front()["first"], 0);
    EXPECT_EQ(events.back()["last"], frames - 1);
  }
  EXPECT_THAT(run({"show", clip}).out, testing::HasSubstr(word() + " field first"));
}

TEST_P(InterlacedClip, APartOfTheFieldsIsNoWholeAnalysis) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  nlohmann::json part = saved();
  ASSERT_TRUE(part["archives"]["101"].contains("frame31h0"));
  for (const char* last : {"end", "range0_last"}) part["archives"]["101"][last] = frames + 3;  // as if cancelled
  WriteAll(document, part.dump());
  SessionOptions options;
  options.clip = clip;
  Session session(options);
  EXPECT_TRUE(session.effect().holdsAnalysis());
  EXPECT_FALSE(session.effect().holdsWholeAnalysis());
  EXPECT_EQ(session.effect().analysedFrames(), (frames + 4) / 2);
}

TEST_P(InterlacedClip, WarningsOfAPartCountFramesToo) {
  ASSERT_EQ(run({"analyse", clip, "--quiet"}).status, 0);
  nlohmann::json part = saved();
  nlohmann::json& motion = part["archives"]["101"];
  for (const char* last : {"end", "range0_last"}) motion[last] = 11;  // as if cancelled before half
  ASSERT_EQ(motion["conf_end"], fields);
  motion["conf_end"] = 11;
  motion["conf_val9"] = 0.0;
  WriteAll(document, part.dump());
  const auto told = nlohmann::json::parse(run({"show", clip, "--json"}).out);
  EXPECT_EQ(told["lowConfidence"], nlohmann::json::parse("[4]"));
  ASSERT_EQ(told["warnings"].size(), 1u) << told["warnings"].dump();
  EXPECT_EQ(told["warnings"][0]["frames"], nlohmann::json::parse("[4]"));
}

TEST_P(InterlacedClip, APictureWithoutTextureIsToldAsSuch) {
  writeFrames([](int, double, double) { return 0.5f; });
  const nlohmann::json told = warningsOfAnalysis();
  ASSERT_EQ(told.size(), 1u) << told.dump();
  EXPECT_EQ(told[0]["kind"], "noMotion");
}

TEST_P(InterlacedClip, AFrameThatRepeatsAmidMotionIsTold) {
  // Its fields are those of the frame before, coded anew.
  const auto filmed = [](int field) { return field / 2 < 8 ? field : field - 2; };
  writeFrames([&](int field, double x, double y) { return FieldScene(x + 1.5 * filmed(field), y); });
  const nlohmann::json told = warningsOfAnalysis();
  ASSERT_EQ(told.size(), 1u) << told.dump();
  EXPECT_EQ(told[0]["kind"], "repeatedFrames");
  EXPECT_EQ(told[0]["frames"], nlohmann::json::parse("[8]"));
}

TEST_P(InterlacedClip, APreviewIsOfWholeFrames) {
  ASSERT_EQ(with({"stabilise", clip, "-o", out, "--preview"}).status, 0);
  EXPECT_EQ(FlagsOf(out), std::vector<std::string>(frames, "none"));
}

TEST_P(InterlacedClip, TheHostShowsFieldsHalfAFrameApart) {
  FrameSource source(ScanClip(clip, {.threads = 1}), 1);
  ParameterStore store;
  FilmHost host(source, store);
  double duration = 0;
  host.durationForEffect(&duration);
  EXPECT_EQ(duration, frames);
  const int first = word() == "top" ? 1 : 2;  // as the effect numbers them
  std::unique_ptr<FxImage> whole, half;
  ASSERT_TRUE(host.getSourceBitmap(&whole, FxRenderInfo{}, 3.0));
  ASSERT_TRUE(host.getSourceBitmap(&half, FxRenderInfo{}, 3.5));
  EXPECT_EQ(whole->field(), first);
  EXPECT_EQ(whole->imageInfo().field, first);
  EXPECT_EQ(half->field(), 3 - first);
  EXPECT_EQ(half->dataPtr(), whole->dataPtr()) << "both fields lie in the one frame";
}

TEST_P(InterlacedClip, BorrowedPicturesAreOfOneMoment) {
  FrameSource source(ScanClip(clip, {.threads = 1}), 1);
  ParameterStore store;
  FilmHost host(source, store);
  for (const double time : {5.0, 5.5, 16.0}) {  // at 16 the clip stands still on its last field
    std::unique_ptr<FxImage> bitmap;
    ASSERT_TRUE(time < frames ? host.getInputBitmap(&bitmap, FxRenderInfo{}, time)
                              : host.getSourceBitmap(&bitmap, FxRenderInfo{}, time));
    const int field = time < frames ? static_cast<int>(2 * time) : fields - 1;
    const auto* argb = static_cast<const float*>(bitmap->dataPtr());
    for (int y = 40; y < 60; ++y)
      EXPECT_NEAR(argb[4 * (y * width + 77) + 2], FieldScene(77 + FieldX(field), y + FieldY(field)), 0.04)
          << time << ", row " << y;
  }
  std::unique_ptr<FxImage> bitmap;
  for (const double time : {-0.5, 16.5, std::nan("")}) {
    EXPECT_FALSE(host.getInputBitmap(&bitmap, FxRenderInfo{}, time)) << time;
    EXPECT_FALSE(host.getSourceBitmap(&bitmap, FxRenderInfo{}, time)) << time;
  }
  host.rethrowTrouble();  // none of this was trouble
}

}  // namespace
}  // namespace film
