// The examples of docs/formats.md that are files of the program.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "docs/Examples.h"
#include "film/Clips.h"
#include "film/EffectDocument.h"
#include "film/ParameterStore.h"
#include "film/SampleMotion.h"
#include "film/TerminalPlatform.h"
#include "plugin/OrvaneFCPXPlugIn.h"

namespace film {
namespace {

void ExpectMotion(const nlohmann::json& matrices, bool shaken) {
  ASSERT_GE(matrices.size(), 3u);
  for (int frame = 0; frame < 3; ++frame) {
    ASSERT_EQ(matrices[frame].size(), 9u);
    const Matrix3 expected = SampleMotionAt(frame, shaken);
    // The scene's sines may differ in the last bits from one C library to another.
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(matrices[frame][i].get<double>(), expected[i], 1e-9) << frame << ' ' << i;
  }
}

/// The effect's own parameters.
class DeclaredParameters : public FxAPIManager {
 public:
  DeclaredParameters() { OrvaneFCPXPlugIn(this, &platform).addParameters(); }
  ParameterStore store;

 protected:
  void* service(const std::type_info& protocol) override {
    return protocol == typeid(FxParameterCreationAPI_v4) ? static_cast<FxParameterCreationAPI_v4*>(&store) : nullptr;
  }

 private:
  TerminalPlatform platform{"en"};
};

TEST(FilmFormats, TheEffectDocumentIsAsTold) {
  const TestFolder folder;
  WriteAll(folder / "told.json", TextOf("effect-document"));
  const auto document = EffectDocument::Load(folder / "told.json");
  ASSERT_TRUE(document);

  ClipContents clip;
  clip.identity = {1280, 720, 180, 1, 15360, "00112233aabbccdd", "ffeeddcc99887766"};
  clip.format.fieldOrder = AV_FIELD_PROGRESSIVE;
  EXPECT_NO_THROW(document->checkClip(clip));
  DeclaredParameters parameters;
  document->restore(parameters.store);
  EffectDocument::Save(folder / "saved.json", clip, parameters.store);
  EXPECT_EQ(nlohmann::json::parse(ReadAll(folder / "saved.json")), nlohmann::json::parse(TextOf("effect-document")));
}

TEST(FilmFormats, TheTruthOfASampleIsAsTold) {
  const auto told = nlohmann::json::parse(TextOf("truth"));
  EXPECT_EQ(told["width"], sampleWidth);
  EXPECT_EQ(told["height"], sampleHeight);
  EXPECT_EQ(told["fps"], sampleRate);
  EXPECT_EQ(told["frames"], sampleFrames);
  ExpectMotion(told["motion"], true);
  ExpectMotion(told["intended"], false);
}

}  // namespace
}  // namespace film
