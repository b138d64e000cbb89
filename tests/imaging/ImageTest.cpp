#include "imaging/Image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace Vorn {
namespace {

using Bytes = std::vector<unsigned char>;

/// What the layouts' table says of each type, in its own order.
struct Facts {
  PixelType type;
  int code, bitDepth, pixelBytes, tailBytes, chromaSubsampling;
  ColourSpace space;
  bool matte;
};

constexpr Facts facts[] = {
    {L8, 100, 8, 1, 0, 0, Mono, false},         {LA16, 101, 8, 2, 0, 0, Mono, true},
    {L10, 110, 10, 2, 2, 0, Mono, false},       {L16, 120, 16, 2, 2, 0, Mono, false},
    {LA32, 121, 16, 4, 0, 0, Mono, true},       {Y2UV32, 200, 8, 2, 0, 1, Rec709, false},
    {YUV24, 210, 8, 3, 1, 0, Rec709, false},    {YUVA32, 220, 8, 4, 0, 0, Rec709, true},
    {Y6UVX32, 230, 10, 3, 0, 1, Rec709, false}, {Y1UVX32, 240, 10, 4, 0, 0, Rec709, false},
    {Y2UV10, 250, 10, 8, 0, 1, Rec709, false},  {Y2UV12, 251, 12, 8, 0, 1, Rec709, false},
    {Y2UV14, 252, 14, 8, 0, 1, Rec709, false},  {Y2UV16, 253, 16, 8, 0, 1, Rec709, false},
    {Y1UV10, 260, 10, 6, 2, 0, Rec709, false},  {Y1UV12, 261, 12, 6, 2, 0, Rec709, false},
    {Y1UV14, 262, 14, 6, 2, 0, Rec709, false},  {Y1UV16, 263, 16, 6, 2, 0, Rec709, false},
    {YUVA64, 280, 16, 8, 0, 0, Rec709, true},   {YUVP420, 287, 8, 2, 1, 2, Rec709, false},
    {YUVP422, 288, 8, 2, 1, 1, Rec709, false},  {YUVP444, 289, 8, 3, 1, 0, Rec709, false},
    {YUVAP444, 290, 8, 4, 1, 0, Rec709, true},  {BGR24, 400, 8, 3, 1, 0, RGB, false},
    {RGB24, 401, 8, 3, 1, 0, RGB, false},       {BGRA32, 410, 8, 4, 0, 0, RGB, true},
    {ARGB32, 411, 8, 4, 0, 0, RGB, true},       {RGBA32, 412, 8, 4, 0, 0, RGB, true},
    {RGB30, 421, 10, 4, 0, 0, RGB, false},      {RGB48, 431, 16, 6, 2, 0, RGB, false},
    {ARGB64, 441, 16, 8, 0, 0, RGB, true},      {RGBA64, 442, 16, 8, 0, 0, RGB, true},
    {ARGBSF, 1000, 16, 16, 0, 0, RGB, true},
};

bool IsPlanar(PixelType type) { return type >= 287 && type <= 290; }

/// An image over memory that is zero but for what the test writes; the memory has no slack for the sanitizer to miss.
struct Zeroed {
  explicit Zeroed(int width, int height, int stride, PixelType type)
      : memory(static_cast<std::size_t>(stride * height)), image(width, height, stride, type, memory.data(), false) {}
  Bytes memory;
  Image image;
};

Pixel Scaled(Pixel pixel, unsigned maxValue) {
  pixel.maxValue = maxValue;
  return pixel;
}

TEST(Image, IsEmptyWhenMadeFromNothing) {
  const Image image;
  EXPECT_EQ(image.label, "none");
  EXPECT_EQ(image.GetType(), Undefined);
  EXPECT_EQ(image.space, NoSpace);
  EXPECT_EQ(image.bitDepth, 8);
  EXPECT_EQ(image.GetWidth(), 0);
  EXPECT_EQ(image.GetHeight(), 0);
  EXPECT_EQ(image.GetStride(), 0);
  EXPECT_EQ(image.GetSize(), 0);
  EXPECT_EQ(image.GetChannels(true), 0);
  EXPECT_FALSE(image.HasMatte());
  EXPECT_FALSE(image.valid);
  EXPECT_FALSE(image.planar);
  EXPECT_TRUE(image.ownsData);
}

TEST(Image, EveryTypeHasItsFormat) {
  for (const Facts& f : facts) {
    const Image image(12, 4, f.type);
    SCOPED_TRACE(f.code);
    EXPECT_EQ(static_cast<int>(f.type), f.code);
    EXPECT_TRUE(image.valid);
    EXPECT_EQ(image.GetType(), f.type);
    EXPECT_EQ(image.bitDepth, f.bitDepth);
    EXPECT_EQ(image.pixelBytes, f.pixelBytes);
    EXPECT_EQ(image.tailBytes, f.tailBytes);
    EXPECT_EQ(image.chromaSubsampling, f.chromaSubsampling);
    EXPECT_EQ(image.space, f.space);
    EXPECT_EQ(image.HasMatte(), f.matte);
    EXPECT_EQ(image.planar, IsPlanar(f.type));
    const int colours = f.space == Mono ? 1 : 3;
    EXPECT_EQ(image.GetChannels(false), colours);
    EXPECT_EQ(image.GetChannels(true), f.matte ? colours + 1 : colours);
  }
}

TEST(Image, RangesFollowTheDepthAndTheFamily) {
  const struct {
    int depth;
    unsigned full, yMin, yMax, cMax, alphaRange;
  } ranges[] = {{8, 255, 16, 235, 240, 219},
                {10, 1023, 64, 940, 960, 876},
                {12, 4095, 256, 3760, 3840, 3504},
                {14, 16383, 1024, 15040, 15360, 14016},
                {16, 65535, 4096, 60160, 61440, 56064}};
  for (const Facts& f : facts) {
    SCOPED_TRACE(f.code);
    const Image image(12, 4, f.type);
    const auto& r = *std::ranges::find_if(ranges, [&](const auto& row) { return row.depth == f.bitDepth; });
    const bool ycbcr = f.space == Rec709;
    EXPECT_EQ(image.maxValue, r.full);
    EXPECT_EQ(image.yMin, ycbcr ? r.yMin : 0);
    EXPECT_EQ(image.yMax, ycbcr ? r.yMax : r.full);
    EXPECT_EQ(image.uMin, ycbcr ? r.yMin : 0);
    EXPECT_EQ(image.uMax, ycbcr ? r.cMax : r.full);
    EXPECT_EQ(image.vMin, ycbcr ? r.yMin : 0);
    EXPECT_EQ(image.vMax, ycbcr ? r.cMax : r.full);
    EXPECT_EQ(image.aMin, ycbcr ? r.yMin : 0);
    EXPECT_EQ(image.aMax, ycbcr ? r.yMax : r.full);
    EXPECT_EQ(image.alphaRange, ycbcr ? r.alphaRange : r.full);
  }
}

TEST(Image, BlackAndWhiteFollowTheFamily) {
  for (const Facts& f : facts) {
    SCOPED_TRACE(f.code);
    const Image image(12, 4, f.type);
    const int full = static_cast<int>(image.maxValue);
    const int step = f.bitDepth == 8 ? 1 : 1 << (f.bitDepth - 8);
    const Pixel black = f.space == Mono  ? Pixel(0, full)
                        : f.space == RGB ? Pixel(0, 0, 0, full)
                                         : Pixel(0, 112 * step, 112 * step, 219 * step, Rec709);
    const Pixel white = f.space == Mono  ? Pixel(full, full)
                        : f.space == RGB ? Pixel(full, full, full, full)
                                         : Pixel(219 * step, 112 * step, 112 * step, 219 * step, Rec709);
    EXPECT_EQ(image.black, Scaled(black, image.maxValue));
    EXPECT_EQ(image.GenerateBlack(), Scaled(black, image.maxValue));
    EXPECT_EQ(image.GenerateWhite(), Scaled(white, image.maxValue));
  }
}

TEST(Image, StridesFollowTheType) {
  EXPECT_EQ(Image(7, 1, Y2UV32).stride, 16);
  EXPECT_EQ(Image(8, 1, Y2UV32).stride, 16);
  EXPECT_EQ(Image(7, 1, Y2UV10).stride, 32);
  EXPECT_EQ(Image(6, 1, Y2UV16).stride, 24);
  EXPECT_EQ(Image(6, 1, Y6UVX32).stride, 128);
  EXPECT_EQ(Image(7, 1, Y6UVX32).stride, 256);
  EXPECT_EQ(Image(7, 1, RGB24).stride, 21);
  EXPECT_EQ(Image(7, 1, Y1UV12).stride, 42);
  EXPECT_EQ(Image(7, 1, ARGBSF).stride, 112);
  EXPECT_EQ(Image(7, 1, L10).stride, 14);
  const Image image(1, 1, RGB48);
  for (const PixelType planar : {YUVP420, YUVP422, YUVP444, YUVAP444}) EXPECT_EQ(image.calculateStride(64, planar), 0);
  EXPECT_EQ(image.calculateStride(10, L8), 60);  // pixelBytes as it stands, which is RGB48's
}

TEST(Image, GivenStrideIsKeptAndCounted) {
  const Image image(10, 3, 48, RGB24);
  EXPECT_TRUE(image.valid);
  EXPECT_EQ(image.stride, 48);
  EXPECT_EQ(image.GetSize(), 144);
  EXPECT_EQ(image.rows[2] - image.rows[0], 96);
}

TEST(Image, PlanesHaveTheSizesOfTheirSampling) {
  const struct {
    PixelType type;
    int planes, strides[4];
    long size;
  } shapes[] = {{YUVP420, 3, {8, 4, 4, 0}, 32 + 8 + 8},
                {YUVP422, 3, {8, 4, 4, 0}, 32 + 16 + 16},
                {YUVP444, 3, {8, 8, 8, 0}, 96},
                {YUVAP444, 4, {8, 8, 8, 8}, 128}};
  for (const auto& shape : shapes) {
    SCOPED_TRACE(shape.type);
    const Image image(8, 4, shape.type);
    EXPECT_TRUE(image.valid && image.planar && image.ownsData);
    EXPECT_EQ(image.planeCount, shape.planes);
    EXPECT_EQ(image.stride, 8);
    EXPECT_EQ(image.GetSize(), shape.size);
    for (int i = 0; i < shape.planes; ++i) EXPECT_EQ(image.planeStride[i], shape.strides[i]);
  }
}

TEST(Image, SizesAndTypesWithoutStorageAreNotValid) {
  EXPECT_FALSE(Image(0, 5, ARGBSF).valid);
  EXPECT_FALSE(Image(5, -1, ARGBSF).valid);
  EXPECT_FALSE(Image(5, 5, 0, ARGBSF).valid);
  EXPECT_FALSE(Image(0, 4, YUVP420).valid);
  EXPECT_FALSE(Image(2000000000, 1, ARGBSF).valid);  // no int counts the bytes of such a row
  for (int reserved = 281; reserved <= 286; ++reserved)
    EXPECT_FALSE(Image(4, 4, static_cast<PixelType>(reserved)).valid);
  EXPECT_FALSE(Image(4, 4, 64, ARGBSF, nullptr, false).valid);
}

TEST(Image, WrapsPaddedHostMemoryWithoutCopyingOrFreeingIt) {
  std::vector<float> host(2 * 16, 0.25f);
  auto* bytes = reinterpret_cast<unsigned char*>(host.data());
  {
    Image image(3, 2, 64, ARGBSF, bytes, false);
    EXPECT_TRUE(image.valid);
    EXPECT_FALSE(image.ownsData);
    EXPECT_FALSE(image.planar);
    EXPECT_EQ(image.GetWidth(), 3);
    EXPECT_EQ(image.GetHeight(), 2);
    EXPECT_EQ(image.GetStride(), 64);
    EXPECT_EQ(image.GetSize(), 128);
    EXPECT_EQ(image.rows[0], bytes);
    EXPECT_EQ(image.rows[1], bytes + 64);
    image.SetPixel(1, 1, Pixel(65535, 0, 0, 65535));
  }
  EXPECT_EQ(host[16 + 4], 1.0f);
  EXPECT_EQ(host[16 + 5], 1.0f);
  EXPECT_EQ(host[16 + 6], 0.0f);
  EXPECT_EQ(host[0], 0.25f);
}

TEST(Image, FreesWrappedMemoryThatItWasGiven) {  // the sanitizer sees a leak or a double free
  Image image(4, 2, 4, L8, new unsigned char[8], true);
  EXPECT_TRUE(image.ownsData);
  unsigned char* planes[] = {new unsigned char[8], new unsigned char[2], new unsigned char[2]};
  const int strides[] = {4, 2, 2};
  const Image planar(4, 2, strides, YUVP420, planes, true);
  EXPECT_TRUE(planar.ownsData && planar.planar);
}

TEST(Image, WrapsPlanesOfThePlanarTypesOnly) {
  unsigned char y[32] = {}, u[32] = {}, v[32] = {}, a[32] = {};
  unsigned char* planes[] = {y, u, v, a};
  int strides[] = {8, 8, 8, 8};
  for (const Facts& f : facts) {
    const Image image(8, 4, strides, f.type, planes, false);
    SCOPED_TRACE(f.code);
    EXPECT_EQ(image.valid, IsPlanar(f.type));
    if (!image.valid) continue;
    EXPECT_TRUE(image.planar);
    EXPECT_EQ(image.planeCount, f.type == YUVAP444 ? 4 : 3);
    EXPECT_EQ(image.rows[2], v);
    EXPECT_EQ(image.planeStride[1], 8);
    EXPECT_EQ(image.stride, 8);
  }
}

TEST(Image, LikeAnotherKeepsTypeRangesSpaceAndAtTheSameSizeTheStride) {
  Image model(6, 4, 40, YUV24);
  model.SetColourSpace(Rec601);
  model.yMin = 1;
  model.SetRangeA(3, 203);
  const Image same(6, 4, model), other(7, 4, model);
  EXPECT_EQ(same.stride, 40);
  EXPECT_EQ(other.stride, 21);
  for (const Image* image : {&same, &other}) {
    EXPECT_TRUE(image->valid && image->ownsData);
    EXPECT_TRUE(image->IsSameFormat(model));
    EXPECT_EQ(image->alphaRange, 200u);
    EXPECT_EQ(image->label, "none");
  }
}

TEST(Image, LikeAPlanarOneTakesItsPlaneStridesWhateverTheSize) {
  const Image model(8, 4, YUVP422);
  Image wide(16, 6, model);
  EXPECT_TRUE(wide.valid);
  EXPECT_EQ(wide.GetWidth(), 16);
  EXPECT_EQ(wide.planeStride[0], 8);
  EXPECT_EQ(wide.planeStride[1], 4);
  EXPECT_EQ(wide.GetSize(), 48 + 24 + 24);
  for (int y = 0; y < 6; ++y)  // reads and writes beyond the short rows stay inside the planes
    for (int x = 0; x < 16; ++x) wide.SetPixel(x, y, wide(x, y));
}

TEST(Image, CopyOwnsItsBlockAndHasNoLabel) {
  Bytes host(4 * 3, 7);
  Image wrapped(3, 3, 4, L8, host.data(), false);
  wrapped.label = "host";
  Image copy(wrapped);
  EXPECT_TRUE(copy.valid && copy.ownsData);
  EXPECT_EQ(copy.label, "none");
  EXPECT_EQ(copy.stride, 4);
  EXPECT_EQ(copy.rows[2][3], 7);  // padding included
  copy.SetPixel(1, 1, Pixel(99, 255));
  EXPECT_EQ(copy(1, 1).Luma(), 99);
  EXPECT_EQ(host, Bytes(12, 7));
}

TEST(Image, CopyOfPlanesIsDeep) {
  Image image(5, 5, YUVP420);
  for (int plane = 0; plane < 3; ++plane) std::memset(image.rows[plane], 10 + plane, plane == 0 ? 25 : 5);
  Image copy(image);
  for (int plane = 0; plane < 3; ++plane) {
    EXPECT_NE(copy.rows[plane], image.rows[plane]);
    EXPECT_EQ(std::memcmp(copy.rows[plane], image.rows[plane], plane == 0 ? 25 : 5), 0);
  }
}

TEST(Image, AssigningTakesTheLabelAndTheFormat) {
  Image source(4, 2, YUVA32), target;
  source.label = "take me";
  source.SetColourSpace(SMPTE240M);
  source.Clear();
  target = source;
  EXPECT_EQ(target.label, "take me");
  EXPECT_TRUE(target.IsSameFormat(source));
  EXPECT_EQ(target(3, 1), source(3, 1));
  EXPECT_EQ(target.GetWidth(), 4);
}

TEST(Image, AssigningOntoWrappedMemoryOfTheSameShapeWritesIntoIt) {
  Bytes host(2 * 12, 0);
  Image wrapped(3, 2, 12, RGBA32, host.data(), false);
  Image source(2, 2, 12, BGRA32);
  source.Clear(Pixel(1, 2, 3, 4));
  std::memset(source.rows[0] + 8, 9, 4);
  std::memset(source.rows[1] + 8, 9, 4);
  wrapped = source;
  EXPECT_FALSE(wrapped.ownsData);
  EXPECT_EQ(wrapped.rows[0], host.data());
  EXPECT_EQ(wrapped.GetWidth(), 2);
  EXPECT_EQ(wrapped.GetType(), BGRA32);
  const Bytes row = {3, 2, 1, 4, 3, 2, 1, 4, 9, 9, 9, 9};
  EXPECT_TRUE(std::equal(row.begin(), row.end(), host.begin()));
  EXPECT_TRUE(std::equal(row.begin(), row.end(), host.begin() + 12));
}

TEST(Image, ACopyOfABottomUpBitmapHasItsRowsInOrder) {
  for (const PixelType type : {RGB24, Y2UV16, Y6UVX32, ARGBSF}) {
    Image upright(7, 3, type);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 7; ++x) upright.SetRaw(x, y, Pixel(10 * y + x, 2, 3, 4, upright.space));
    const Image bottomUp(7, 3, -upright.stride, type, upright.rows[2], false);
    EXPECT_EQ(bottomUp.GetSize(), upright.GetSize());
    const Image copy = bottomUp;
    Image again(1, 1, L8);
    again = bottomUp;
    for (int x = 0; x < 7; ++x) {
      EXPECT_EQ(copy.GetRaw(x, 0), upright.GetRaw(x, 2)) << type;
      EXPECT_EQ(again.GetRaw(x, 2), upright.GetRaw(x, 0)) << type;
    }
    EXPECT_TRUE(Image(7, 3, bottomUp).valid);
  }
}

TEST(Image, AssigningOntoAnotherShapeReallocates) {
  Bytes host(24, 5);
  Image wrapped(3, 2, 12, RGBA32, host.data(), false);
  const Image taller(3, 3, RGBA32);
  wrapped = taller;
  EXPECT_TRUE(wrapped.ownsData);
  EXPECT_NE(wrapped.rows[0], host.data());
  EXPECT_EQ(wrapped.GetHeight(), 3);
  EXPECT_EQ(host, Bytes(24, 5));
}

TEST(Image, AssigningAnotherTailOntoWrappedMemoryKeepsIt) {
  Bytes host(2 * 8, 0);
  Image wrapped(4, 2, 8, LA16, host.data(), false);
  Image source(4, 2, L16);
  source.Clear(Pixel(0x1234, 0));
  wrapped = source;
  EXPECT_FALSE(wrapped.ownsData);
  EXPECT_EQ(wrapped.rows[0], host.data());
  EXPECT_EQ(host[14], 0x34);
  EXPECT_EQ(host[15], 0x12);
}

TEST(Image, AssigningReallocatesForAnotherTailOrKindOfStorage) {
  Image owned(4, 2, LA16);
  const Image withTail(4, 2, L16);  // as many bytes a row
  const unsigned char* const before = owned.rows[0];
  owned = withTail;
  EXPECT_NE(owned.rows[0], before);
  EXPECT_EQ(owned.tailBytes, 2);

  Image interleaved(8, 4, L8);
  const Image planar(8, 4, YUVP422);
  ASSERT_EQ(interleaved.stride, planar.stride);
  interleaved = planar;
  EXPECT_TRUE(interleaved.planar);
  EXPECT_EQ(interleaved.planeCount, 3);
  interleaved = Image(8, 4, L8);
  EXPECT_FALSE(interleaved.planar);
  interleaved.Clear(Pixel(3, 255));
  EXPECT_EQ(interleaved(7, 3).Luma(), 3);

  Image halved(8, 4, YUVP420);  // its chroma planes are half as long at equal strides
  halved = planar;
  EXPECT_EQ(halved.GetSize(), 64);
}

TEST(Image, AssigningAnInvalidImageGivesTheStorageBack) {
  Image image(4, 4, L8);
  image = Image();
  EXPECT_FALSE(image.valid);
  EXPECT_EQ(image.GetWidth(), 0);
  EXPECT_EQ(image.GetType(), Undefined);
  EXPECT_EQ(image(0, 0).A(), 0);
}

TEST(Image, AssigningToItselfChangesNothing) {
  Image image(4, 4, L8);
  image.label = "me";
  image.Clear(Pixel(8, 255));
  const Image& same = image;
  image = same;
  EXPECT_EQ(image(3, 3).Luma(), 8);
  EXPECT_EQ(image.label, "me");
}

TEST(Image, ResizingAnUndefinedImageSaysSo) {
  Image image;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(image.Resize(4, 4, Undefined));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: Resizing an image of undefined type\n");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(image.Resize(4, 4));
  EXPECT_FALSE(image.Resize(Image()));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error: Resizing an image of undefined type\nError: Resizing an image of undefined type\n");
}

TEST(Image, ResizingToTheSameSizeAndTypeTouchesNothing) {
  Image image(5, 4, 32, YUV24);
  image.SetColourSpace(Rec601);
  const unsigned char* before = image.rows[0];
  EXPECT_TRUE(image.Resize(5, 4, YUV24));
  EXPECT_TRUE(image.Resize(5, 4));
  EXPECT_TRUE(image.Resize(5, 4, 32, YUV24));
  EXPECT_EQ(image.rows[0], before);
  EXPECT_EQ(image.stride, 32);
  EXPECT_EQ(image.space, Rec601);
  EXPECT_TRUE(image.Resize(5, 4, 48, YUV24));
  EXPECT_EQ(image.stride, 48);
  EXPECT_EQ(image.space, Rec709);
}

TEST(Image, ResizingAWrappedImageMakesStorageOfItsOwn) {
  Bytes host(16, 3);
  Image image(4, 4, 4, L8, host.data(), false);
  EXPECT_TRUE(image.Resize(4, 4, L8));
  EXPECT_TRUE(image.ownsData);
  EXPECT_NE(image.rows[0], host.data());
}

TEST(Image, ResizingGoesBetweenKindsOfStorage) {
  Image image(8, 4, L8);
  EXPECT_TRUE(image.Resize(8, 4, YUVP420));
  EXPECT_TRUE(image.planar);
  EXPECT_EQ(image.GetSize(), 48);
  EXPECT_TRUE(image.Resize(8, 4, YUVP422));  // the same strides, but chroma planes twice as long
  EXPECT_EQ(image.GetSize(), 64);
  std::memset(image.rows[2], 1, 16);
  EXPECT_TRUE(image.Resize(8, 4, L8));
  EXPECT_FALSE(image.planar);
  EXPECT_EQ(image.planeCount, 0);
  image.Clear(Pixel(1, 255));
  EXPECT_TRUE(image.Resize(8, 4, 99, YUVAP444));  // planar types have no use for the stride
  EXPECT_EQ(image.planeCount, 4);
  EXPECT_EQ(image.stride, 8);
}

TEST(Image, FullChromaPlanesAreMadeAnewByEveryResizeWithAStride) {
  unsigned char y[32] = {}, u[32] = {}, v[32] = {};
  unsigned char* planes[] = {y, u, v};
  const int strides[] = {8, 8, 8};
  Image image(8, 4, strides, YUVP444, planes, false);
  EXPECT_TRUE(image.ResizePlanar(8, 4, 3, strides));  // this form keeps them
  EXPECT_EQ(image.rows[0], y);
  EXPECT_TRUE(image.Resize(8, 4, 8, YUVP444));
  EXPECT_TRUE(image.ownsData);
  EXPECT_NE(image.rows[0], y);
}

TEST(Image, RefusedSizesAndTypesLeaveTheImageAsItWas) {
  Image image(4, 4, L8);
  EXPECT_FALSE(image.Resize(0, 4, ARGBSF));
  EXPECT_FALSE(image.Resize(4, -4, ARGBSF));
  EXPECT_FALSE(image.Resize(4, 4, 0, ARGBSF));
  EXPECT_FALSE(image.Resize(4, 4, static_cast<PixelType>(285)));
  EXPECT_FALSE(image.Resize(2000000000, 1, ARGBSF));
  EXPECT_TRUE(image.valid);
  EXPECT_EQ(image.GetType(), L8);
  EXPECT_EQ(image.GetWidth(), 4);
}

TEST(Image, ResizingLikeAnotherTakesItsRangesAndSpace) {
  Image model(6, 4, Y1UV12);
  model.SetColourSpace(Rec2020);
  model.SetRangeA(0, 4095);
  Image image;
  EXPECT_TRUE(image.Resize(3, 2, model));
  EXPECT_TRUE(image.IsSameFormat(model));
  EXPECT_EQ(image.GetWidth(), 3);
  EXPECT_EQ(image.black.A(), 4095);
  EXPECT_TRUE(image.Resize(model));
  EXPECT_EQ(image.GetWidth(), 6);
  EXPECT_EQ(image.GetHeight(), 4);
}

TEST(Image, PlanesAreKeptWhileTheirShapeIs) {
  Image image(8, 4, YUVP420);
  const int same[] = {8, 4, 4};
  const unsigned char* before = image.rows[0];
  EXPECT_TRUE(image.ResizePlanar(8, 4, 3, same));
  EXPECT_EQ(image.rows[0], before);
  EXPECT_TRUE(image.ResizePlanar(8, 6, 3, same));
  EXPECT_EQ(image.GetHeight(), 6);
  EXPECT_EQ(image.GetSize(), 48 + 12 + 12);
  const int padded[] = {16, 8, 8};
  EXPECT_TRUE(image.ResizePlanar(8, 6, 3, padded));
  EXPECT_EQ(image.stride, 16);
  EXPECT_FALSE(image.ResizePlanar(0, 6, 3, padded));
  EXPECT_FALSE(image.ResizePlanar(8, 0, 3, padded));
  EXPECT_FALSE(image.ResizePlanar(8, 6, 0, padded));
  EXPECT_FALSE(image.ResizePlanar(8, 6, 5, padded));
  EXPECT_TRUE(image.valid);
}

TEST(Image, FreeingLeavesAnEmptyImageWithoutALabel) {
  Image image(4, 4, RGB48);
  image.Free();
  EXPECT_FALSE(image.valid);
  EXPECT_TRUE(image.ownsData);
  EXPECT_EQ(image.label, "");
  EXPECT_EQ(image.bitDepth, 8);
  EXPECT_EQ(image.GetType(), Undefined);
  EXPECT_EQ(image.GetWidth() + image.GetHeight() + image.GetStride(), 0);
  image.Clear();
  image.Clear(Pixel(1, 2));
  EXPECT_TRUE(image.Resize(2, 2, L8));

  Bytes host(16, 3);
  Image wrapped(4, 4, 4, L8, host.data(), false);
  wrapped.Free();
  EXPECT_TRUE(wrapped.ownsData);
  EXPECT_EQ(host, Bytes(16, 3));
}

TEST(Image, CodeWithoutALayoutIsOnlyStored) {
  Image image(4, 4, L16);
  image.setPixelType(static_cast<PixelType>(283));
  EXPECT_EQ(image.GetType(), 283);
  EXPECT_EQ(image.bitDepth, 16);
  EXPECT_EQ(image.space, Mono);
  image.SetPixel(0, 0, Pixel(1, 2, 3, 4));
  EXPECT_EQ(image(0, 0).space, NoSpace);
  EXPECT_FALSE(image.HasMatte());
}

TEST(Image, TypesAreRaisedToAMatteWhereThereIsOne) {
  const struct {
    PixelType from, to;
  } raised[] = {{L8, LA16},      {L16, LA32},     {YUV24, YUVA32}, {YUVP444, YUVAP444},
                {BGR24, BGRA32}, {RGB24, RGBA32}, {RGB48, RGBA64}};
  for (const Facts& f : facts) {
    SCOPED_TRACE(f.code);
    const auto* row = std::ranges::find_if(raised, [&](const auto& r) { return r.from == f.type; });
    const bool listed = row != std::end(raised);
    PixelType type = f.type;
    EXPECT_EQ(Image::UpgradeTypeToAlpha(type), listed || f.matte);
    EXPECT_EQ(type, listed ? row->to : f.type);
  }
  PixelType none = Undefined, reserved = static_cast<PixelType>(281);
  EXPECT_FALSE(Image::UpgradeTypeToAlpha(none));
  EXPECT_FALSE(Image::UpgradeTypeToAlpha(reserved));
  EXPECT_EQ(reserved, 281);
}

TEST(Image, TypesAreRaisedToFullChromaWhereTheyLackIt) {
  const struct {
    PixelType from, to;
  } raised[] = {{Y2UV32, YUVA32}, {Y2UV10, Y1UV10},  {Y2UV12, Y1UV12},   {Y2UV14, Y1UV14},
                {Y2UV16, Y1UV16}, {Y6UVX32, Y1UV10}, {YUVP420, YUVP444}, {YUVP422, YUVP444}};
  for (const Facts& f : facts) {
    SCOPED_TRACE(f.code);
    const auto* row = std::ranges::find_if(raised, [&](const auto& r) { return r.from == f.type; });
    const bool listed = row != std::end(raised);
    PixelType type = f.type;
    EXPECT_EQ(Image::UpgradeTypeToFullChroma(type), listed);
    EXPECT_EQ(type, listed ? row->to : f.type);
  }
}

TEST(Image, ColourSpaceIsCopiedWithTheRanges) {
  Image like(2, 2, YUV24), image(2, 2, YUVA32);
  like.SetColourSpace(Rec601);
  like.yMax = 255;
  like.uMin = like.vMin = 0;
  like.uMax = 100;
  like.vMax = 255;
  like.aMin = 0;
  like.aMax = 255;
  EXPECT_FALSE(image.IsSameFormat(like));
  image.CopyColourSpace(like);
  EXPECT_EQ(image.space, Rec601);
  EXPECT_EQ(image.alphaRange, 255u);
  EXPECT_EQ(image.black, Pixel(0, 50, 127, 255, Rec601));
  EXPECT_EQ(image.GetType(), YUVA32);
  EXPECT_FALSE(image.IsSameFormat(like));  // the type still differs

  Image other(2, 2, YUV24);
  other.SetColourSpace(Rec601);
  EXPECT_EQ(other.black.space, Rec709);  // only the space is stored
}

TEST(Image, SameFormatNeedsEveryRangeButNotTheSize) {
  const Image a(2, 2, YUV24);
  EXPECT_TRUE(a.IsSameFormat(Image(9, 9, YUV24)));
  unsigned Image::*const ranges[] = {&Image::yMin, &Image::yMax, &Image::uMin, &Image::uMax,
                                     &Image::vMin, &Image::vMax, &Image::aMin, &Image::aMax};
  for (const auto range : ranges) {
    Image b(2, 2, YUV24);
    ++(b.*range);
    EXPECT_FALSE(a.IsSameFormat(b));
  }
}

TEST(Image, AlphaRangeRefreshesBlack) {
  Image image(2, 2, YUVA32);
  image.SetRangeA(0, 255);
  EXPECT_EQ(image.aMin, 0u);
  EXPECT_EQ(image.aMax, 255u);
  EXPECT_EQ(image.alphaRange, 255u);
  EXPECT_EQ(image.black.A(), 255);
}

TEST(Image, LimitClampsBySpace) {
  const Image image(2, 2, YUVA32);
  EXPECT_EQ(image.Limit(Pixel(300, 300)), Pixel(255, 300));  // alpha of grey stays
  EXPECT_EQ(image.Limit(Scaled(Pixel(-1, 5), 1023)), Scaled(Pixel(0, 5), 1023));
  EXPECT_EQ(image.Limit(Pixel(-5, 256, 100, 999)), Pixel(0, 255, 100, 255));
  for (const ColourSpace space : {Rec601, Rec709, SMPTE240M})
    EXPECT_EQ(image.Limit(Pixel(220, 225, -1, 220, space)), Pixel(219, 224, 0, 219, space));
  for (const ColourSpace space : {Rec2020CL, Rec2020})
    EXPECT_EQ(image.Limit(Pixel(220, 225, -1, 220, space)), Pixel(220, 225, -1, 220, space));
  EXPECT_EQ(image.Limit(Pixel(1, 2, 3, 999, NoSpace)).A(), 999);
}

TEST(Image, ClearingYCbCrWritesBlackCodes) {
  Zeroed packed(4, 2, 8, Y2UV32);
  packed.image.Clear();
  EXPECT_EQ(packed.memory, (Bytes{128, 16, 128, 16, 128, 16, 128, 16, 128, 16, 128, 16, 128, 16, 128, 16}));
  Zeroed alpha(1, 1, 4, YUVA32);
  alpha.image.Clear();
  EXPECT_EQ(alpha.memory, (Bytes{128, 16, 128, 235}));
}

TEST(Image, ClearingOtherTypesWritesZeroBytes) {
  for (const PixelType type : {L8, LA32, BGR24, RGBA64, ARGBSF}) {
    Image image(3, 2, type);
    std::memset(image.rows[0], 0xAA, static_cast<std::size_t>(image.GetSize()));
    image.Clear();
    const Bytes bytes(image.rows[0], image.rows[0] + image.GetSize());
    EXPECT_EQ(bytes, Bytes(bytes.size(), 0)) << type;
  }
}

TEST(Image, ClearingWithAPixelWritesItEverywhere) {
  Image image(3, 2, RGB24);
  image.Clear(Pixel(1, 2, 3, 0));
  const Bytes bytes(image.rows[0], image.rows[0] + 18);
  EXPECT_EQ(bytes, (Bytes{1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST(Image, ClearingPlanesStaysInsideThem) {
  Image image(5, 5, YUVP420);
  std::memset(image.rows[1], 9, 5);
  image.Clear();
  EXPECT_EQ(image.rows[1][4], 0);
}

}  // namespace
}  // namespace Vorn
