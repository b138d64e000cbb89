#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "film/MovieWriter.h"

// Small clips for the tests, in a folder that goes away with the test.
namespace film {

class TestFolder {
 public:
  TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvane-test-XXXXXX").string();
    if (mkdtemp(name.data())) folder = name;
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  std::string operator/(const std::string& name) const { return (folder / name).string(); }
  /// The names in it, hidden ones too.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) found.push_back(entry.path().filename());
    return found;
  }

 private:
  std::filesystem::path folder;
};

inline std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteAll(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A clip's description without a clip: 25 frames a second, limited BT.709.
inline ClipContents TestContents(int width, int height, AVPixelFormat pixelFormat = AV_PIX_FMT_YUV420P) {
  ClipContents contents;
  contents.format.width = width;
  contents.format.height = height;
  contents.format.pixelFormat = pixelFormat;
  contents.format.range = AVCOL_RANGE_MPEG;
  contents.format.matrix = AVCOL_SPC_BT709;
  contents.format.siting = AVCHROMA_LOC_LEFT;
  contents.planes = *PlaneFormatOf(contents.format);
  contents.identity = {width, height, 0, 1, 12800, "", ""};
  return contents;
}

/// Frame `number` of the test clip: a grey wave that moves 3 pixels a frame.
inline float TestLuma(int number, int x, int y) {
  return 0.5f + 0.3f * std::sin((static_cast<float>(x) - 3.0f * static_cast<float>(number)) / 5.0f) *
                    std::cos(static_cast<float>(y) / 6.0f);
}

inline SharedPicture TestPicture(PicturePool& pool, int number) {
  SharedPicture picture = pool.take();
  for (int y = 0; y < picture->height; ++y)
    for (int x = 0; x < picture->width; ++x) {
      float* argb = picture->samples.data() + 4 * (static_cast<size_t>(y) * picture->width + x);
      argb[0] = 1.0f;
      for (int c = 1; c < 4; ++c) argb[c] = TestLuma(number, x, y);
    }
  picture->time = number * 512;
  picture->duration = 512;
  return picture;
}

inline void WriteTestClip(const std::string& path, int frames, int width = 64, int height = 48, double crf = 10,
                          AVPixelFormat pixelFormat = AV_PIX_FMT_YUV420P) {
  EncoderOptions options;
  options.crf = crf;
  options.preset = "ultrafast";
  options.threads = 1;
  MovieWriter movie(path, TestContents(width, height, pixelFormat), MovieSpan{}, options);
  PicturePool pool(width, height);
  for (int number = 0; number < frames; ++number) movie.write(TestPicture(pool, number));
  movie.finish();
}

}  // namespace film
