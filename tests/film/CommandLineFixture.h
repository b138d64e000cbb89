#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "film/Clips.h"
#include "film/CommandLine.h"
#include "film/FrameSource.h"
#include "film/SampleSound.h"
#include "numerics/Log.h"

// The program run as from a shell, on a small shaky clip.
namespace film {

inline constexpr int clipFrames = 14, clipWidth = 192, clipHeight = 144;

/// A textured scene that the camera shakes over by known whole and half pixels.
inline float SceneLuma(double x, double y) {
  return static_cast<float>(0.5 + 0.16 * std::sin(x / 3.1) * std::cos(y / 4.3) + 0.14 * std::sin((x + 2 * y) / 7.7) +
                            0.12 * std::cos((3 * x - y) / 11.0));
}
inline double ShakeX(int frame) { return 1.5 * std::sin(1.9 * frame); }
inline double ShakeY(int frame) { return 1.0 * std::cos(2.3 * frame); }

/// The frames in `blank` are grey all over, so that nothing can be measured in them.
inline void WriteShakyClip(const std::string& path, const std::set<int>& blank = {}) {
  EncoderOptions options;
  options.crf = 8;
  options.preset = "ultrafast";
  options.threads = 1;
  MovieWriter movie(path, TestContents(clipWidth, clipHeight), MovieSpan{}, options);
  SampleSound(movie).write(clipFrames / 25.0);
  PicturePool pool(clipWidth, clipHeight);
  for (int number = 0; number < clipFrames; ++number) {
    SharedPicture picture = TestPicture(pool, number);
    for (int y = 0; y < clipHeight; ++y)
      for (int x = 0; x < clipWidth; ++x) {
        float* argb = picture->samples.data() + 4 * (static_cast<size_t>(y) * clipWidth + x);
        argb[1] = argb[2] = argb[3] = blank.count(number) ? 0.5f : SceneLuma(x + ShakeX(number), y + ShakeY(number));
      }
    movie.write(std::move(picture));
  }
  movie.finish();
}

struct Outcome {
  int status;
  std::string out, err;
};

/// Runs the program in a folder of the test's own.
class CommandTest : public testing::Test {
 protected:
  CommandTest() { setenv("LC_ALL", "C", 1); }
  ~CommandTest() override { Vorn::SetLogSink({}); }

  static Outcome run(std::vector<std::string> arguments) {
    std::vector<const char*> argv{"orvane"};
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Outcome outcome{};
    outcome.status = Main(static_cast<int>(argv.size()), argv.data());
    std::fflush(stdout);
    outcome.out = testing::internal::GetCapturedStdout();
    outcome.err = testing::internal::GetCapturedStderr();
    return outcome;
  }

  /// Fails the test unless the run fails with one line that holds the words.
  static void expectRefusal(const std::vector<std::string>& arguments, int status, const std::string& name,
                            const std::string& remedy) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    EXPECT_THAT(outcome.err, testing::AllOf(testing::HasSubstr(name), testing::HasSubstr(remedy)));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }

  TestFolder folder;
};

/// With a clip in it.
class CommandLineTest : public CommandTest {
 protected:
  CommandLineTest() : clip(folder / "clip.mp4"), out(folder / "out.mp4"), document(clip + ".orvane.json") {
    WriteShakyClip(clip);
  }

  static std::vector<std::vector<float>> framesOf(const std::string& path) {
    FrameSource source(ScanClip(path, {.threads = 1}), 1);
    std::vector<std::vector<float>> frames;
    for (int number = 0; number < source.contents().identity.frames; ++number)
      frames.push_back(source.fetch(number)->samples);
    return frames;
  }

  std::string clip, out, document;
};

}  // namespace film
