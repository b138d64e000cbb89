#include "film/FramePlanes.h"

#include <gtest/gtest.h>

#include <random>

#include "film/VideoFormat.h"

namespace film {
namespace {

Frame MakePicture(AVPixelFormat format, int width, int height) {
  Frame frame = MakeFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
  return frame;
}

int CodeAt(const ConstPlanes& planes, int bits, int plane, int x, int y) {
  const std::uint8_t* row = planes.data[plane] + y * planes.stride[plane];
  return bits > 8 ? reinterpret_cast<const std::uint16_t*>(row)[x] : row[x];
}

TEST(FramePlanes, PackedColoursComeOutInTheOrderRedGreenBlueOpacity) {
  FramePlanes planes;
  const Frame rgba = MakePicture(AV_PIX_FMT_BGRA, 2, 1);
  const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
  std::copy_n(bytes, 8, rgba->data[0]);
  const ConstPlanes read = planes.read(*rgba);
  const int first[] = {3, 2, 1, 4};
  for (int p = 0; p < 4; ++p) {
    EXPECT_EQ(CodeAt(read, 8, p, 0, 0), first[p]);
    EXPECT_EQ(CodeAt(read, 8, p, 1, 0), first[p] + 4);
  }
}

TEST(FramePlanes, TheOtherByteOrderIsTurned) {
  FramePlanes planes;
  const Frame rgb = MakePicture(AV_PIX_FMT_RGB48BE, 1, 1);
  const std::uint8_t bytes[] = {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC};
  std::copy_n(bytes, 6, rgb->data[0]);
  const ConstPlanes read = planes.read(*rgb);
  EXPECT_EQ(CodeAt(read, 16, 0, 0, 0), 0x1234);
  EXPECT_EQ(CodeAt(read, 16, 1, 0, 0), 0x5678);
  EXPECT_EQ(CodeAt(read, 16, 2, 0, 0), 0x9ABC);
}

TEST(FramePlanes, APaletteIsLookedUp) {
  FramePlanes planes;
  const Frame frame = MakePicture(AV_PIX_FMT_PAL8, 2, 1);
  auto* palette = reinterpret_cast<std::uint32_t*>(frame->data[1]);
  palette[7] = 0xFF102030;
  palette[9] = 0xFF405060;
  frame->data[0][0] = 9;
  frame->data[0][1] = 7;
  const ConstPlanes read = planes.read(*frame);
  EXPECT_EQ(CodeAt(read, 8, 0, 0, 0), 0x40);
  EXPECT_EQ(CodeAt(read, 8, 1, 0, 0), 0x50);
  EXPECT_EQ(CodeAt(read, 8, 2, 1, 0), 0x30);
}

TEST(FramePlanes, SeparatePlanesAreLentAsTheyAre) {
  FramePlanes planes;
  const Frame frame = MakePicture(AV_PIX_FMT_GBRP10, 4, 2);
  const ConstPlanes read = planes.read(*frame);
  EXPECT_EQ(read.data[0], frame->data[2]);
  EXPECT_EQ(read.data[1], frame->data[0]);
  EXPECT_EQ(read.data[2], frame->data[1]);
}

TEST(FramePlanes, WhatIsFilledInReadsBackFromEveryFormat) {
  for (AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA444P12, AV_PIX_FMT_GRAY16BE, AV_PIX_FMT_YA8,
                               AV_PIX_FMT_YA16BE, AV_PIX_FMT_NV12, AV_PIX_FMT_P010, AV_PIX_FMT_YUYV422, AV_PIX_FMT_Y210,
                               AV_PIX_FMT_X2RGB10, AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB, AV_PIX_FMT_BGR0,
                               AV_PIX_FMT_RGB48LE, AV_PIX_FMT_RGBA64BE, AV_PIX_FMT_GBRAP16, AV_PIX_FMT_YUV422P10BE}) {
    ASSERT_TRUE(FramePlanes::Supports(format)) << av_get_pix_fmt_name(format);
    VideoFormat video;
    video.width = 10;
    video.height = 6;
    video.pixelFormat = format;
    const PlaneFormat planes = *PlaneFormatOf(video);
    const Frame frame = MakePicture(format, 10, 6);
    std::mt19937 random(1);
    std::vector<int> written;
    FramePlanes writer;
    const Planes fill = writer.toFill(*frame);
    const auto each = [&](auto visit) {
      for (int p = 0; p < 4; ++p) {
        if (p == 3 ? !planes.alpha : planes.grey && p > 0) continue;
        const bool chroma = (p == 1 || p == 2) && !planes.rgb;
        for (int y = 0; y < (chroma ? planes.chromaHeight() : 6); ++y)
          for (int x = 0; x < (chroma ? planes.chromaWidth() : 10); ++x) visit(p, x, y);
      }
    };
    each([&](int p, int x, int y) {
      const int code = static_cast<int>(random() % (1u << planes.bits));
      std::uint8_t* row = fill.data[p] + y * fill.stride[p];
      if (planes.bits > 8)
        reinterpret_cast<std::uint16_t*>(row)[x] = static_cast<std::uint16_t>(code);
      else
        row[x] = static_cast<std::uint8_t>(code);
      written.push_back(code);
    });
    writer.finish(*frame);
    FramePlanes reader;
    const ConstPlanes read = reader.read(*frame);
    size_t next = 0;
    each([&](int p, int x, int y) {
      EXPECT_EQ(CodeAt(read, planes.bits, p, x, y), written[next++]) << av_get_pix_fmt_name(format) << p << x << y;
    });
  }
}

TEST(FramePlanes, FloatsAndCoarseColoursAreNotSupported) {
  for (AVPixelFormat format : {AV_PIX_FMT_GBRPF32, AV_PIX_FMT_RGB565, AV_PIX_FMT_MONOBLACK, AV_PIX_FMT_XYZ12,
                               AV_PIX_FMT_BAYER_BGGR8, AV_PIX_FMT_NONE})
    EXPECT_FALSE(FramePlanes::Supports(format));
}

}  // namespace
}  // namespace film
