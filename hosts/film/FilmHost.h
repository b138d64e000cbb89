#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>

#include "film/Fields.h"
#include "film/FrameSource.h"
#include "film/ParameterStore.h"
#include "plugin/FxPlug.h"

namespace film {

/// How the effect's host numbers fields and, by the first one, their orders; 0 is progressive.
enum HostField { kNoField = 0, kUpperField = 1, kLowerField = 2 };

/// The field that a clip of this order shows at a time, which may be half a frame behind a whole one.
HostField HostFieldAt(AVFieldOrder order, double time);

/// A picture as an image of the effect's host: a bitmap with row 0 at the top. `fieldInHand` tells which of an
/// interlaced picture's two moments is meant.
class FilmImage : public FxImage {
 public:
  explicit FilmImage(SharedPicture shared, HostField fieldInHand = kNoField)
      : picture(std::move(shared)), hostField(fieldInHand) {}

  int imageType() const override { return bitmapType; }
  FxImageInfo imageInfo() const override;
  void* dataPtr() const override { return picture->samples.data(); }
  int rowBytes() const override { return picture->rowBytes(); }
  int width() const override { return picture->width; }
  int height() const override { return picture->height; }
  int field() const override { return hostField; }

 private:
  SharedPicture picture;
  HostField hostField;
};

class FilmHost;

/// A neighbour of the frame in hand: kept as coded, and made into a picture when somebody looks at it, since most of
/// those that are asked for aren't. The host must outlive it.
class FilmNeighbour : public FxImage {
 public:
  FilmNeighbour(FilmHost& filmHost, double atTime, SharedCodedFrame codedFrame);

  int imageType() const override { return bitmapType; }
  FxImageInfo imageInfo() const override;
  void* dataPtr() const override;
  int rowBytes() const override { return 16 * width(); }
  int width() const override;
  int height() const override;
  int field() const override;
  bool isLasting() const override { return true; }
  void restPixels() const override;

 private:
  FilmHost& host;
  double time;
  SharedCodedFrame coded;
  mutable std::mutex lock;
  mutable SharedPicture picture;
};

/// The services that a clip's effect finds in this host. A clip of n frames begins at time 0 and has the duration
/// n - 1, one unit being one frame.
///
/// An interlaced clip has the duration n, since its last field is at n - 1/2 and the effect counts in whole frames: a
/// range that ended before would leave that field without a motion of its own. At time n the clip stands still on it.
class FilmHost : public FxAPIManager,
                 public FxTimingAPI,
                 public FxTemporalImageAPI,
                 public FxProgressAPI,
                 public FxCustomParameterActionAPI {
 public:
  /// Both are lent.
  FilmHost(FrameSource& frames, ParameterStore& parameters);

  /// Frame `number` of the clip, or null when it has none such or can't be read.
  SharedPicture picture(int number);

  /// What the clip shows at a time, made from the frame there. Any thread.
  SharedPicture develop(double time, const CodedFrame& coded);

  const VideoFormat& format() const { return source.contents().format; }

  /// Why a frame couldn't be given, if that was more than a number that the clip hasn't; thrown and forgotten.
  void rethrowTrouble();

  /// Watches an analysis, which asks for its pictures one after another: `watcher` gets the picture that was asked for
  /// last, with its time, when the effect asks for another one, and so is done with it. It is called on the analysis'
  /// thread. What it throws ends the analysis, and comes out of `rethrowTrouble`. Null ends the watching.
  using Watcher = std::function<void(double time, const SharedPicture& picture)>;
  void watchSource(Watcher sourceWatcher);
  /// Hands the last picture over, after an analysis. False if the watcher failed.
  bool tellWatcher();

  void startTimeForEffect(double* time) override { *time = 0.0; }
  void durationForEffect(double* time) override { *time = interlaced() ? frameCount() : frameCount() - 1; }
  double currentTime() override { return 0.0; }
  void updateProgress(double) override {}
  /// Of an interlaced clip the frame with both of its fields, of which the effect takes the one of that time.
  bool getSourceBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) override;
  /// Of an interlaced clip the picture at that moment in all of its rows: the effect keeps the same rows of all frames
  /// that it borrows from, whichever field they are asked at.
  bool getInputBitmap(std::unique_ptr<FxImage>* bitmap, const FxRenderInfo& withInfo, double atTime) override;

 protected:
  void* service(const std::type_info& protocol) override;

 private:
  int frameCount() const { return source.contents().identity.frames; }
  bool interlaced() const { return source.contents().format.interlaced(); }
  bool hasTime(double time) const;
  SharedPicture moment(double time, const SharedPicture& frame);
  bool isFirstField(double time) const;
  SharedCodedFrame coded(int number);
  int frameAt(double time) const;

  FrameSource& source;
  ParameterStore& store;
  PicturePool moments;
  RecentPictures recentMoments;  // by field
  Watcher watcher;
  SharedPicture watched;  // not yet told
  double watchedTime = 0.0;
  std::mutex lock;  // over the frame source and `trouble`
  std::exception_ptr trouble;
};

}  // namespace film
