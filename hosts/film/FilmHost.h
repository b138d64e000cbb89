#pragma once

#include <exception>
#include <memory>
#include <mutex>

#include "film/FrameSource.h"
#include "film/ParameterStore.h"
#include "plugin/FxPlug.h"

namespace film {

/// A picture as an image of the effect's host: a bitmap, progressive, with row 0 at the top.
class FilmImage : public FxImage {
 public:
  explicit FilmImage(SharedPicture shared) : picture(std::move(shared)) {}

  int imageType() const override { return bitmapType; }
  FxImageInfo imageInfo() const override;
  void* dataPtr() const override { return picture->samples.data(); }
  int rowBytes() const override { return picture->rowBytes(); }
  int width() const override { return picture->width; }
  int height() const override { return picture->height; }
  int field() const override { return 0; }

 private:
  SharedPicture picture;
};

/// The services that a clip's effect finds in this host. A clip of n frames begins at time 0 and has the duration
/// n - 1, one unit being one frame.
class FilmHost : public FxAPIManager,
                 public FxTimingAPI,
                 public FxTemporalImageAPI,
                 public FxProgressAPI,
                 public FxCustomParameterActionAPI {
 public:
  /// Both are lent.
  FilmHost(FrameSource& frames, ParameterStore& parameters) : source(frames), store(parameters) {}

  /// Frame `number` of the clip, or null when it has none such or can't be read.
  SharedPicture picture(int number);

  /// Why a frame couldn't be given, if that was more than a number that the clip hasn't; thrown and forgotten.
  void rethrowTrouble();

  void startTimeForEffect(double* time) override { *time = 0.0; }
  void durationForEffect(double* time) override { *time = source.contents().identity.frames - 1; }
  double currentTime() override { return 0.0; }
  void updateProgress(double) override {}
  bool getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) override;
  bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) override;

 protected:
  void* service(const std::type_info& protocol) override;

 private:
  FrameSource& source;
  ParameterStore& store;
  std::mutex lock;  // over the frame source and `trouble`
  std::exception_ptr trouble;
};

}  // namespace film
