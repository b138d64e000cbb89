// The file interface of `Image`: which codec a name or a file's first bytes call for. None is linked.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "imaging/Image.h"
#include "numerics/Text.h"

namespace Vorn {
namespace {

using Loader = bool (Image::*)(const char* path);
using Saver = bool (*)(const Image& image, const char* path);

constexpr int jpegQuality = 85, j2kQuality = 90, tiffQuality = 100;

bool SaveAsJPEG(const Image& image, const char* path) { return image.SaveJPEG(path, jpegQuality); }
bool SaveAsJ2K(const Image& image, const char* path) { return image.SaveJ2K(path, j2kQuality); }
bool SaveAsPNG(const Image& image, const char* path) { return image.SavePNG(path); }
bool SaveAsBMP(const Image& image, const char* path) { return image.SaveBMP(path); }
bool SaveAsTGA(const Image& image, const char* path) { return image.SaveTGA(path); }
bool SaveAsPNM(const Image& image, const char* path) { return image.SavePNM(path); }
bool SaveAsTIFF(const Image& image, const char* path) { return image.SaveTIFF(path, tiffQuality); }

struct FileKind {
  const char* extension;
  Loader load;
  Saver save;  // null: the extension isn't recognised on saving
};

constexpr FileKind fileKinds[] = {
    {"jpeg", &Image::LoadJPEG, SaveAsJPEG}, {"jpg", &Image::LoadJPEG, SaveAsJPEG},
    {"jp2", &Image::LoadJ2K, SaveAsJ2K},    {"png", &Image::LoadPNG, SaveAsPNG},
    {"bmp", &Image::LoadBMP, SaveAsBMP},    {"tga", &Image::LoadTGA, SaveAsTGA},
    {"ppm", &Image::LoadPNM, SaveAsPNM},    {"pgm", &Image::LoadPNM, SaveAsPNM},
    {"pam", &Image::LoadPNM, SaveAsPNM},    {"pbm", &Image::LoadPNM, nullptr},
    {"tif", &Image::LoadTIFF, SaveAsTIFF},  {"tiff", &Image::LoadTIFF, SaveAsTIFF},
};

constexpr std::size_t magicLength = 8;

struct Magic {
  std::size_t length;
  unsigned char bytes[magicLength];
  Loader load;
};

constexpr Magic magics[] = {
    {2, {0xFF, 0xD8}, &Image::LoadJPEG},
    {4, {0x4D, 0x4D, 0x00, 0x2A}, &Image::LoadTIFF},
    {4, {0x49, 0x49, 0x2A, 0x00}, &Image::LoadTIFF},
    {2, {0x42, 0x4D}, &Image::LoadBMP},
    {6, {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A}, &Image::LoadPNG},
    {6, {0x00, 0x00, 0x00, 0x0C, 0x6A, 0x50}, &Image::LoadJ2K},
    {3, {0x00, 0x00, 0x02}, &Image::LoadTGA},
    {2, {0x50, 0x04}, &Image::LoadPNM},
    {2, {0x50, 0x05}, &Image::LoadPNM},
    {2, {0x50, 0x06}, &Image::LoadPNM},
    {2, {0x50, 0x07}, &Image::LoadPNM},
};

bool ReadMagic(const char* path, unsigned char (&bytes)[magicLength]) {
  std::FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return false;
  const std::size_t count = std::fread(bytes, 1, magicLength, file);
  std::fclose(file);
  return count == magicLength;
}

bool LoadByMagic(Image& image, const char* path) {
  unsigned char bytes[magicLength];
  if (!ReadMagic(path, bytes)) return false;
  for (const Magic& magic : magics)
    if (std::equal(magic.bytes, magic.bytes + magic.length, bytes)) return (image.*magic.load)(path);
  std::fputs("Image: Could not understand from magic number. Trying to load as PNG\n", stderr);
  return image.LoadPNG(path);
}

}  // namespace

bool Image::Load(const char* path) {
  if (path == nullptr) return false;
  const std::string extension = ToLower(GetExtension(path));
  for (const FileKind& kind : fileKinds)
    if (extension == kind.extension) return (this->*kind.load)(path);
  if (extension == "iff") {
    std::fputs("IFF-VRIM images are only supported during testing.\n", stderr);
    return false;
  }
  std::fprintf(stderr, "Image: Extension %s unrecognised. Testing magic number\n", extension.c_str());
  return LoadByMagic(*this, path);
}

bool Image::Save(const char* path) const {
  if (width < 1 || height < 1) {
    std::fprintf(stderr, "Image cannot be saved as it has invalid dimensions (%dx%d)\n", width, height);
    return false;
  }
  if (type == Undefined) {
    std::fputs("Image cannot be saved as it has invalid pixel type\n", stderr);
    return false;
  }
  if (path == nullptr) return false;
  const std::string extension = ToLower(GetExtension(path));
  for (const FileKind& kind : fileKinds)
    if (extension == kind.extension && kind.save != nullptr) return kind.save(*this, path);
  std::fputs("Image: save by extension - unrecognised. Saving as PNG\n", stderr);
  return SavePNG(path);
}

bool Image::LoadJPEG(const char*) { return false; }
bool Image::LoadJ2K(const char*) { return false; }
bool Image::LoadPNG(const char*) { return false; }
bool Image::LoadBMP(const char*) { return false; }
bool Image::LoadTGA(const char*) { return false; }
bool Image::LoadPNM(const char*) { return false; }
bool Image::LoadTIFF(const char*) { return false; }
bool Image::SaveJPEG(const char*, int) const { return false; }
bool Image::SaveJ2K(const char*, int) const { return false; }
bool Image::SavePNG(const char*) const { return false; }
bool Image::SaveBMP(const char*) const { return false; }
bool Image::SaveTGA(const char*) const { return false; }
bool Image::SavePNM(const char*) const { return false; }
bool Image::SaveTIFF(const char*, int) const { return false; }

}  // namespace Vorn
