// The file interface of `Image`, which chooses a codec by name or content and has none.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "imaging/Image.h"

namespace Vorn {
namespace {

/// A file of the given bytes, with an extension that nobody knows.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& bytes)
      : path(testing::TempDir() + "ImageFileTest" + std::to_string(getpid()) + ".Xyz") {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }
  ~TemporaryFile() { std::remove(path.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::string path;
};

std::string SaidBy(const auto& call, bool expected) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(call(), expected);
  return testing::internal::GetCapturedStderr();
}

std::string SaidOnLoading(const std::string& path) {
  return SaidBy([&] { return Image().Load(path.c_str()); }, false);
}

std::string SaidOnSaving(const Image& image, const std::string& path) {
  return SaidBy([&] { return image.Save(path.c_str()); }, false);
}

const char* const knownExtensions[] = {"jpeg", "jpg", "jp2", "png", "bmp", "tga", "ppm", "pgm", "pam", "tif", "tiff"};

TEST(ImageFile, KnownExtensionsFailWithoutAWord) {
  const Image image(2, 2, RGB24);
  for (const std::string extension : knownExtensions) {
    EXPECT_EQ(SaidOnLoading("/nowhere/picture." + extension), "") << extension;
    EXPECT_EQ(SaidOnSaving(image, "/nowhere/picture." + extension), "") << extension;
  }
  EXPECT_EQ(SaidOnLoading("/nowhere/PICTURE.Jpg"), "");
  EXPECT_EQ(SaidOnLoading("/nowhere/picture.pbm"), "");
}

TEST(ImageFile, SavingAnUnknownExtensionFallsBackToPNG) {
  const Image image(2, 2, RGB24);
  for (const char* name : {"picture.pbm", "picture.iff", "picture.xyz", "picture"})
    EXPECT_EQ(SaidOnSaving(image, name), "Image: save by extension - unrecognised. Saving as PNG\n") << name;
}

TEST(ImageFile, SavingWithoutSizeOrTypeIsRefused) {
  EXPECT_EQ(SaidOnSaving(Image(), "picture.png"), "Image cannot be saved as it has invalid dimensions (0x0)\n");
  unsigned char byte = 0;
  EXPECT_EQ(SaidOnSaving(Image(1, 1, 1, Undefined, &byte, false), "picture.png"),
            "Image cannot be saved as it has invalid pixel type\n");
}

TEST(ImageFile, InterchangeFilesAreRefusedOnLoading) {
  EXPECT_EQ(SaidOnLoading("picture.iff"), "IFF-VRIM images are only supported during testing.\n");
}

TEST(ImageFile, UnknownExtensionIsTestedByItsFirstBytes) {
  const std::string announced = "Image: Extension xyz unrecognised. Testing magic number\n";
  const std::string notFound = "Image: Could not understand from magic number. Trying to load as PNG\n";
  using std::string_literals::operator""s;
  for (const std::string& magic : {"\xFF\xD8"s, "MM\0\x2A"s, "II\x2A\0"s, "BM"s, "\x89PNG\r\n"s, "\0\0\0\x0CjP"s,
                                   "\0\0\x02"s, "\x50\x04"s, "\x50\x05"s, "\x50\x06"s, "\x50\x07"s}) {
    const TemporaryFile file(magic + std::string(8 - magic.size(), 'z'));
    EXPECT_EQ(SaidOnLoading(file.path), announced) << testing::PrintToString(magic);
  }
  for (const std::string& other : {"zzzzzzzz"s, "P3zzzzzz"s, "\x50\x03zzzzzz"s, "\x50\x08zzzzzz"s, "\0\0\0\0zzzz"s}) {
    const TemporaryFile file(other);
    EXPECT_EQ(SaidOnLoading(file.path), announced + notFound) << testing::PrintToString(other);
  }
}

TEST(ImageFile, FilesTooShortForAMagicNumberGiveUp) {
  const TemporaryFile file("BM12345");
  EXPECT_EQ(SaidOnLoading(file.path), "Image: Extension xyz unrecognised. Testing magic number\n");
  EXPECT_EQ(SaidOnLoading("/nowhere/picture"), "Image: Extension  unrecognised. Testing magic number\n");
}

TEST(ImageFile, NoCodecIsThere) {
  Image image(2, 2, RGB24);
  EXPECT_FALSE(image.LoadJPEG("a") || image.LoadJ2K("a") || image.LoadPNG("a") || image.LoadBMP("a") ||
               image.LoadTGA("a") || image.LoadPNM("a") || image.LoadTIFF("a"));
  EXPECT_FALSE(image.SaveJPEG("a", 85) || image.SaveJ2K("a", 90) || image.SavePNG("a") || image.SaveBMP("a") ||
               image.SaveTGA("a") || image.SavePNM("a") || image.SaveTIFF("a", 100));
  EXPECT_FALSE(image.Load(nullptr));
  EXPECT_FALSE(image.Save(nullptr));
}

}  // namespace
}  // namespace Vorn
