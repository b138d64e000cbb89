#include "film/EffectDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "film/Clips.h"
#include "film/Failure.h"
#include "film/StoredNumber.h"

namespace film {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class EffectDocumentTest : public testing::Test {
 protected:
  EffectDocumentTest() : path(folder / "clip.mp4.orvane.json") {
    contents = TestContents(64, 48);
    contents.path = "clip.mp4";
    contents.identity = {64, 48, 12, 1, 12800, "00112233aabbccdd", "ffeeddcc99887766"};
    declare(&store);
    store.setNumber(4, 30);
    store.setCustomParameterValue(std::make_shared<StoredNumber>(0.1), 6);
  }
  static void declare(ParameterStore* parameters) {
    parameters->addIntSliderWithName("Int", 4, 100, 1, 100, 1, 100, 1, 0);
    parameters->addCustomParameterWithName("Custom", 6, std::make_shared<StoredNumber>(), 35);
  }
  std::string failureOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "no failure";
  }

  TestFolder folder;
  std::string path;
  ClipContents contents;
  ParameterStore store;
};

TEST_F(EffectDocumentTest, LiesBesideTheClip) { EXPECT_EQ(EffectDocument::PathFor("a/b.mov"), "a/b.mov.orvane.json"); }

TEST_F(EffectDocumentTest, GivesBackWhatWasSaved) {
  EffectDocument::Save(path, contents, store);
  const auto document = EffectDocument::Load(path);
  ASSERT_TRUE(document);
  document->checkClip(contents);
  EXPECT_EQ(document->frames(), 12);
  ParameterStore other;
  declare(&other);
  document->restore(other);
  EXPECT_EQ(other.find(4)->value, 30);
  EXPECT_EQ(dynamic_cast<const StoredNumber&>(*other.find(6)->custom).number, 0.1);
}

TEST_F(EffectDocumentTest, SaysWhatItIs) {
  EffectDocument::Save(path, contents, store);
  const auto json = nlohmann::json::parse(ReadAll(path));
  EXPECT_EQ(json, nlohmann::json::parse(R"({"version": 1,
      "clip": {"width": 64, "height": 48, "frames": 12, "timeBase": "1/12800",
               "firstPacket": "00112233aabbccdd", "lastPacket": "ffeeddcc99887766"},
      "parameters": {"4": 30}, "archives": {"6": {"number": 0.1}}})"));
}

TEST_F(EffectDocumentTest, NoFileIsNoDocument) { EXPECT_FALSE(EffectDocument::Load(folder / "none.json")); }

TEST_F(EffectDocumentTest, ADocumentOfAnotherClipNamesTheFieldThatDiffers) {
  EffectDocument::Save(path, contents, store);
  const auto document = EffectDocument::Load(path);
  const auto refusal = [&](const std::function<void(ClipIdentity*)>& alter) {
    ClipContents other = contents;
    alter(&other.identity);
    return failureOf([&] { document->checkClip(other); });
  };
  EXPECT_THAT(
      refusal([](ClipIdentity* clip) { clip->frames = 13; }),
      AllOf(StartsWith(path), HasSubstr("its frame count is 12, that of clip.mp4 is 13"), HasSubstr("--again")));
  EXPECT_THAT(refusal([](ClipIdentity* clip) { clip->width = 60; }), HasSubstr("frame width"));
  EXPECT_THAT(refusal([](ClipIdentity* clip) { clip->height = 60; }), HasSubstr("frame height"));
  EXPECT_THAT(refusal([](ClipIdentity* clip) { clip->timeBaseDenominator = 1000; }), HasSubstr("time base"));
  EXPECT_THAT(refusal([](ClipIdentity* clip) { clip->firstPacket = ""; }), HasSubstr("first packet"));
  EXPECT_THAT(refusal([](ClipIdentity* clip) { clip->lastPacket = ""; }), HasSubstr("last packet"));
}

TEST_F(EffectDocumentTest, DamagedAndForeignFilesAreRefusedWithARemedy) {
  EffectDocument::Save(path, contents, store);
  const std::string whole = ReadAll(path);
  for (size_t length : {size_t{0}, size_t{1}, whole.size() / 2, whole.size() - 3}) {
    WriteAll(path, whole.substr(0, length));
    EXPECT_THAT(failureOf([&] { EffectDocument::Load(path); }),
                AllOf(StartsWith(path), HasSubstr("damaged"), HasSubstr("--again")))
        << length;
  }
  for (const char* other : {"[1, 2]", "3", "{}", R"({"version": "x"})"}) {
    WriteAll(path, other);
    EXPECT_THAT(failureOf([&] { EffectDocument::Load(path); }), HasSubstr("no effect document")) << other;
  }
  WriteAll(path, R"({"version": 1, "clip": {}, "parameters": []})");
  EXPECT_THAT(failureOf([&] { EffectDocument::Load(path); }), HasSubstr("damaged"));
  WriteAll(path, R"({"version": 2})");
  EXPECT_THAT(failureOf([&] { EffectDocument::Load(path); }), AllOf(HasSubstr("version 2"), HasSubstr("--again")));
}

TEST_F(EffectDocumentTest, AFolderThatCannotTakeItIsTold) {
  EXPECT_THAT(failureOf([&] { EffectDocument::Save(folder / "none/x.json", contents, store); }),
              AllOf(HasSubstr("folder does not exist"), HasSubstr("--effect")));
}

}  // namespace
}  // namespace film
