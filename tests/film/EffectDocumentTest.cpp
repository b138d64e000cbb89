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
  EXPECT_EQ(document->index(), nullptr);  // there was none to save
  ParameterStore other;
  declare(&other);
  document->restore(other);
  EXPECT_EQ(other.find(4)->value, 30);
  EXPECT_EQ(dynamic_cast<const StoredNumber&>(*other.find(6)->custom).number, 0.1);
}

TEST_F(EffectDocumentTest, BracketsWithoutEndAreDamage) {
  const auto within = [&](int depth) {
    WriteAll(path, R"({"version": 1, "parameters": {}, "archives": {}, "clip": {"note": "[[", "width": )" +
                       std::string(static_cast<size_t>(depth), '[') + std::string(static_cast<size_t>(depth), ']') +
                       "}}");
    return failureOf([&] { EffectDocument::Load(path)->checkClip(contents); });
  };
  EXPECT_THAT(within(60), HasSubstr("its frame width is [[["));
  EXPECT_THAT(within(100), HasSubstr("damaged"));
  EXPECT_THAT(within(300000), HasSubstr("damaged"));
}

TEST_F(EffectDocumentTest, SaysWhatItIs) {
  EffectDocument::Save(path, contents, store);
  const auto json = nlohmann::json::parse(ReadAll(path));
  EXPECT_EQ(json, nlohmann::json::parse(R"({"version": 1,
      "clip": {"width": 64, "height": 48, "frames": 12, "timeBase": "1/12800",
               "firstPacket": "00112233aabbccdd", "lastPacket": "ffeeddcc99887766"},
      "parameters": {"4": 30}, "archives": {"6": {"number": 0.1}}})"));
}

TEST_F(EffectDocumentTest, TellsTheFieldOrderThatWasSaved) {
  for (const AVFieldOrder order : {AV_FIELD_TT, AV_FIELD_BB, AV_FIELD_PROGRESSIVE}) {
    contents.format.fieldOrder = order;
    EffectDocument::Save(path, contents, store);
    EXPECT_EQ(EffectDocument::Load(path)->fieldOrder(), order);
  }
  EXPECT_THAT(ReadAll(path), testing::HasSubstr(R"("fields": "none")"));
  nlohmann::json json = nlohmann::json::parse(ReadAll(path));
  for (const nlohmann::json& strange : {nlohmann::json(1), nlohmann::json("sideways"), nlohmann::json("auto")}) {
    json["clip"]["fields"] = strange;
    WriteAll(path, json.dump());
    EXPECT_EQ(EffectDocument::Load(path)->fieldOrder(), std::nullopt) << strange;
  }
  contents.format.fieldOrder = AV_FIELD_UNKNOWN;
  EffectDocument::Save(path, contents, store);
  EXPECT_EQ(EffectDocument::Load(path)->fieldOrder(), std::nullopt);
}

std::shared_ptr<const FrameIndex> IndexOfFourFrames() {
  FrameIndex index;
  index.packets = 5;
  index.packetsCheck = 0x0123456789abcdef;
  index.end = ClipEnd::CutShort;
  index.frames = {{-1024, 512, 0, 0xff}, {-512, 512, 3, 0x12345678}, {0, 2000, 2, 1}, {1024, 40, 4, 0xfffffffe}};
  index.points = {{0, AV_NOPTS_VALUE, 48, 0xabcdef01}, {3, 77, -1, 2}};
  return std::make_shared<FrameIndex>(index);
}

TEST_F(EffectDocumentTest, KeepsTheIndexInLinesOfNumbers) {
  contents.index = IndexOfFourFrames();
  EffectDocument::Save(path, contents, store);
  EXPECT_EQ(nlohmann::json::parse(ReadAll(path))["index"], nlohmann::json::parse(R"({
      "end": "cut", "packets": 5, "packetsCheck": "0123456789abcdef",
      "times": "-1024 512*2 1024", "durations": "0*2 976 40", "order": "0 2 0 1",
      "checks": "000000ff1234567800000001fffffffe",
      "points": {"packets": "0 3", "times": "-9223372036854775808 -9223372036854775731", "positions": "48 -49",
                 "checks": "abcdef0100000002"},
      "check": "3613e095aef55114"})"));
  const auto document = EffectDocument::Load(path);
  ASSERT_NE(document->index(), nullptr);
  EXPECT_EQ(*document->index(), *contents.index);
}

TEST_F(EffectDocumentTest, ADamagedIndexIsAsGoodAsNone) {
  contents.index = IndexOfFourFrames();
  EffectDocument::Save(path, contents, store);
  const nlohmann::json whole = nlohmann::json::parse(ReadAll(path));
  const auto indexAfter = [&](const char* place, const nlohmann::json& value) {
    nlohmann::json changed = whole;
    changed[nlohmann::json::json_pointer(std::string("/index") + place)] = value;
    WriteAll(path, changed.dump());
    return EffectDocument::Load(path)->index();
  };
  ASSERT_NE(indexAfter("/packets", 5), nullptr);
  for (const auto& [place, value] :
       std::initializer_list<std::pair<const char*, nlohmann::json>>{{"", 3},
                                                                     {"", nullptr},
                                                                     {"", nlohmann::json::object()},
                                                                     {"/end", "none"},
                                                                     {"/packets", 4},
                                                                     {"/packets", -5},
                                                                     {"/packets", "5"},
                                                                     {"/packets", 5000000000},
                                                                     {"/packetsCheck", "0123"},
                                                                     {"/packetsCheck", "0123456789abcdeg"},
                                                                     {"/times", "-1024 512*2"},
                                                                     {"/times", "-1024 512*3 1"},
                                                                     {"/times", "-1024  512*2"},
                                                                     {"/times", "-1024 512*-1 1024"},
                                                                     {"/times", "1*4000000000"},
                                                                     {"/times", "1*18446744073709551615 1 1 1 1"},
                                                                     {"/times", "9223372036854775807 0*3"},
                                                                     {"/times", 12},
                                                                     {"/durations", "-513 0 976 40"},
                                                                     {"/order", "0 2 0 2"},
                                                                     {"/order", "-2 2 0 1"},
                                                                     {"/checks", "000000ff12345678000000010"},
                                                                     {"/checks", "000000ff1234567800000001fffffffg"},
                                                                     {"/checks", ""},
                                                                     {"/checks", "000000ff1234567800000001ffffffff"},
                                                                     {"/check", "0123456789abcdef"},
                                                                     {"/points", nullptr},
                                                                     {"/points/packets", "3 0"},
                                                                     {"/points/packets", "0 5"},
                                                                     {"/points/positions", "48 -50"},
                                                                     {"/points/times", "1"},
                                                                     {"/points/checks", "abcdef01"}})
    EXPECT_EQ(indexAfter(place, value), nullptr) << place << " " << value;
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
