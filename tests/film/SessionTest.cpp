#include "film/Session.h"

#include <csignal>

#include "film/CommandLineFixture.h"
#include "film/Interrupt.h"

namespace film {
namespace {

class SessionDeathTest : public CommandLineTest {
 protected:
  SessionDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static int analyse(const std::string& name, const char* again) {
    const char* const argv[] = {"orvane", "analyse", name.c_str(), "--progress", "none", again};
    return Main(again ? 6 : 5, argv);
  }
  /// Cancels a second analysis at its start, in a process of its own.
  [[noreturn]] void cancelTheSecond() const {
    if (analyse(clip, nullptr) != 0) std::_Exit(3);
    const std::string stored = ReadAll(document);
    CatchInterrupts();
    std::raise(SIGINT);
    const int status = analyse(clip, "--again");
    std::_Exit(ReadAll(document) == stored ? status : 4);
  }
};

TEST_F(SessionDeathTest, ACancelledAnalysisCostsNoWholeOne) {
  EXPECT_EXIT(cancelTheSecond(), testing::ExitedWithCode(130), "cancelled; the analysis of before is kept in ");
}

/// A clip whose fields are of two colours.
void WriteTwoColours(const std::string& path) {
  ClipContents contents = TestContents(64, 48);
  contents.format.fieldOrder = AV_FIELD_TT;
  contents.planes = *PlaneFormatOf(contents.format);
  EncoderOptions options;
  options.lossless = true;
  options.threads = 1;
  MovieWriter movie(path, contents, MovieSpan{}, options);
  PicturePool pool(64, 48);
  for (int number = 0; number < 3; ++number) {
    SharedPicture picture = TestPicture(pool, number);
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 64; ++x) {
        float* argb = picture->samples.data() + 4 * (64 * y + x);
        argb[1] = y % 2 == 0 ? 0.8f : 0.2f;
        argb[2] = 0.4f;
        argb[3] = y % 2 == 0 ? 0.2f : 0.8f;
      }
    movie.write(std::move(picture));
  }
  movie.finish();
}

TEST(Session, ChromaIsReadByTheFieldsThatItGoesBy) {
  const TestFolder folder;
  SessionOptions options;
  options.clip = folder / "clip.mkv";
  WriteTwoColours(options.clip);
  const auto redAt = [&](int row) {
    const SharedPicture picture = Session(options).picture(1);
    return picture->samples[static_cast<size_t>(4 * (64 * row + 32) + 1)];
  };
  EXPECT_NEAR(redAt(20), 0.8f, 0.02);
  EXPECT_NEAR(redAt(21), 0.2f, 0.02);
  options.fields = "none";  // then the chroma rows of both moments are mixed
  EXPECT_LT(redAt(20), 0.7f);
  EXPECT_GT(redAt(21), 0.3f);
}

}  // namespace
}  // namespace film
