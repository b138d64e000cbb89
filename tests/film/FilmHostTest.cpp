#include "film/FilmHost.h"

#include <gtest/gtest.h>

#include <cstring>

#include "film/Clips.h"
#include "film/Failure.h"

namespace film {
namespace {

class FilmHostTest : public testing::Test {
 protected:
  FilmHostTest() {
    WriteTestClip(folder / "clip.mp4", 6);
    source = std::make_unique<FrameSource>(ScanClip(folder / "clip.mp4", {.threads = 1}), 1);
    host = std::make_unique<FilmHost>(*source, store);
  }
  TestFolder folder;
  ParameterStore store;
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<FilmHost> host;
};

TEST_F(FilmHostTest, EveryServiceIsTheHostsOrTheStores) {
  EXPECT_EQ(host->apiForProtocol<FxTimingAPI>(), host.get());
  EXPECT_EQ(host->apiForProtocol<FxTemporalImageAPI>(), host.get());
  EXPECT_EQ(host->apiForProtocol<FxProgressAPI>(), host.get());
  EXPECT_EQ(host->apiForProtocol<FxCustomParameterActionAPI>(), host.get());
  EXPECT_EQ(host->apiForProtocol<FxParameterCreationAPI_v4>(), &store);
  EXPECT_EQ(host->apiForProtocol<FxParameterRetrievalAPI>(), &store);
  EXPECT_EQ(host->apiForProtocol<FxParameterRetrievalAPI_v2>(), &store);
  EXPECT_EQ(host->apiForProtocol<FxParameterSettingAPI>(), &store);
  EXPECT_EQ(host->apiForProtocol<FxParameterSettingAPI_v2>(), &store);
  EXPECT_EQ(host->apiForProtocol<FilmHostTest>(), nullptr);
}

TEST_F(FilmHostTest, TheEffectEndsOnTheLastFrame) {
  double start = -1, duration = -1;
  host->startTimeForEffect(&start);
  host->durationForEffect(&duration);
  EXPECT_EQ(start, 0.0);
  EXPECT_EQ(duration, 5.0);
}

TEST_F(FilmHostTest, FramesAreBitmapsOfFloatsFromTheTop) {
  std::unique_ptr<FxImage> bitmap;
  ASSERT_TRUE(host->getSourceBitmap(&bitmap, FxRenderInfo{}, 3.0));
  EXPECT_EQ(bitmap->imageType(), FxImage::bitmapType);
  EXPECT_EQ(bitmap->width(), 64);
  EXPECT_EQ(bitmap->height(), 48);
  EXPECT_EQ(bitmap->rowBytes(), 64 * 16);
  EXPECT_EQ(bitmap->field(), 0);
  EXPECT_NE(bitmap->imageInfo().origin, 0);
  const float* argb = static_cast<const float*>(bitmap->dataPtr());
  EXPECT_EQ(argb[0], 1.0f);
  EXPECT_NEAR(argb[4 * 64 * 5 + 4 * 7 + 2], TestLuma(3, 7, 5), 0.03);
}

TEST_F(FilmHostTest, NeighboursLastAndComeBackAfterARest) {
  std::unique_ptr<FxImage> frame, neighbour, other;
  ASSERT_TRUE(host->getSourceBitmap(&frame, FxRenderInfo{}, 3.0));
  EXPECT_FALSE(frame->isLasting());
  ASSERT_TRUE(host->getInputBitmap(&neighbour, FxRenderInfo{}, 3.0));
  EXPECT_TRUE(neighbour->isLasting());
  EXPECT_EQ(neighbour->imageType(), FxImage::bitmapType);
  EXPECT_EQ(neighbour->width(), 64);
  EXPECT_EQ(neighbour->height(), 48);
  EXPECT_EQ(neighbour->rowBytes(), 64 * 16);
  EXPECT_EQ(neighbour->imageInfo().width, 64);
  EXPECT_NE(neighbour->imageInfo().origin, 0);
  const size_t bytes = 64 * 48 * 16;
  EXPECT_EQ(std::memcmp(neighbour->dataPtr(), frame->dataPtr(), bytes), 0);
  for (int round = 0; round < 2; ++round)
    for (double time = 0; time < 6; ++time) {
      ASSERT_TRUE(host->getInputBitmap(&other, FxRenderInfo{}, time));
      EXPECT_NE(other->dataPtr(), nullptr);
    }
  EXPECT_EQ(std::memcmp(neighbour->dataPtr(), frame->dataPtr(), bytes), 0);
  neighbour->restPixels();
  EXPECT_EQ(std::memcmp(neighbour->dataPtr(), frame->dataPtr(), bytes), 0);
}

TEST_F(FilmHostTest, TimesWithoutAFrameFail) {
  std::unique_ptr<FxImage> bitmap;
  for (double time : {-1.0, 6.0, 1e300, std::nan("")}) {
    EXPECT_FALSE(host->getSourceBitmap(&bitmap, FxRenderInfo{}, time)) << time;
    EXPECT_EQ(bitmap, nullptr);
  }
  EXPECT_TRUE(host->getInputBitmap(&bitmap, FxRenderInfo{}, 5.5));  // in the last frame
  host->rethrowTrouble();                                           // none of this was trouble
}

TEST_F(FilmHostTest, AFileThatGoesAwayIsToldAfterwards) {
  std::filesystem::remove(folder / "clip.mp4");
  std::unique_ptr<FxImage> bitmap;
  EXPECT_FALSE(host->getSourceBitmap(&bitmap, FxRenderInfo{}, 0.0));
  EXPECT_THROW(host->rethrowTrouble(), Failure);
  host->rethrowTrouble();  // told once
}

TEST_F(FilmHostTest, AWatcherGetsEachPictureWhenTheNextIsAskedFor) {
  std::vector<std::pair<double, int>> seen;
  host->watchSource([&](double time, const SharedPicture& picture) { seen.emplace_back(time, picture->number); });
  std::unique_ptr<FxImage> image;
  const std::vector<std::pair<double, int>> first = {{0.0, 0}}, both = {{0.0, 0}, {1.0, 1}};
  EXPECT_TRUE(host->getSourceBitmap(&image, {}, 0.0));
  EXPECT_TRUE(seen.empty());
  EXPECT_TRUE(host->getSourceBitmap(&image, {}, 1.0));
  EXPECT_EQ(seen, first);
  EXPECT_TRUE(host->tellWatcher());
  EXPECT_EQ(seen, both);
  EXPECT_TRUE(host->tellWatcher());  // once each
  host->watchSource(nullptr);
  EXPECT_TRUE(host->getSourceBitmap(&image, {}, 2.0));
  EXPECT_TRUE(host->getSourceBitmap(&image, {}, 3.0));
  EXPECT_EQ(seen, both);
}

TEST_F(FilmHostTest, WhatAWatcherThrowsEndsTheAnalysisAndIsToldAfterwards) {
  host->watchSource([](double, const SharedPicture&) { throw Failure("the disk is full"); });
  std::unique_ptr<FxImage> image;
  EXPECT_TRUE(host->getSourceBitmap(&image, {}, 0.0));
  EXPECT_FALSE(host->getSourceBitmap(&image, {}, 1.0));
  EXPECT_FALSE(image);
  EXPECT_THROW(host->rethrowTrouble(), Failure);
  EXPECT_NO_THROW(host->rethrowTrouble());
}

}  // namespace
}  // namespace film
