#include "imaging/Image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace Vorn {
namespace {

TEST(Image, IsEmptyWhenMadeFromNothing) {
  const Image image;
  EXPECT_EQ(image.label, "none");
  EXPECT_EQ(image.GetType(), Undefined);
  EXPECT_EQ(image.bitDepth, 8);
  EXPECT_FALSE(image.valid);
  EXPECT_TRUE(image.ownsData);
  EXPECT_EQ(image.GetSize(), 0);
}

TEST(Image, WrapsPaddedHostMemoryWithoutCopyingOrFreeingIt) {
  std::vector<float> host(2 * 16, 0.25f);
  {
    Image image(3, 2, 64, ARGBSF, reinterpret_cast<unsigned char*>(host.data()), false);
    EXPECT_TRUE(image.valid);
    EXPECT_FALSE(image.ownsData);
    EXPECT_EQ(image.GetWidth(), 3);
    EXPECT_EQ(image.GetSize(), 128);
    EXPECT_EQ(image.rows[1], reinterpret_cast<unsigned char*>(host.data()) + 64);
    image.SetPixel(1, 1, Pixel(65535, 0, 0, 65535));
  }
  EXPECT_EQ(host[16 + 4], 1.0f);
  EXPECT_EQ(host[16 + 5], 1.0f);
  EXPECT_EQ(host[16 + 6], 0.0f);
  EXPECT_EQ(host[0], 0.25f);
}

}  // namespace
}  // namespace Vorn
