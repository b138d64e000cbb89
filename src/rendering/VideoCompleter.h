#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "analysis/HomographySet.h"
#include "imaging/Image.h"
#include "numerics/Matrix.h"
#include "numerics/Point2D.h"
#include "numerics/Rectangle.h"
#include "planning/Coverage.h"
#include "planning/Mosaic.h"
#include "plugin/FxPlug.h"
#include "rendering/AGCStorage.h"
#include "rendering/Expainter.h"

/// A frame of the clip that is held while it may be borrowed from.
struct cacheEntry {
  std::unique_ptr<Vorn::Image> image;  ///< null while a lasting bitmap rests
  int frame = 0;
  int users = 0;                              ///< calls of `getFrame` without their `doneFrame`
  int lastRender = 0;                         ///< the render that asked for it last
  std::unique_ptr<FxImage> bitmap = nullptr;  ///< the host's, if it lasts; else `image` is a copy
  int ahead = 0;                              ///< those of the users that haven't looked at it
};

/// How the completer picks the colour of an empty pixel.
enum CompletionMode {
  CompleteNearest = 1,  ///< from the frame nearest in time that covers the pixel well
  CompleteMean = 2,     ///< the mean of all covering frames in the neighbourhood, where they agree
  CompleteMedian = 3,   ///< the sample of median luma among them
  CompleteSame = 4,     ///< from the frame itself
};

/// Fills the part of a corrected frame that the frame itself doesn't cover: from neighbouring frames of the clip, which
/// the measured motion puts in place, then from the completed frame before, then by `Expainter`.
///
/// Frames are `ARGBSF`. Motion and projections are in pixels of the analysed size, about the frame's centre where the
/// motion's `originLocation` is 4. One call of `complete` at a time; it spreads its work over all processors.
class VideoCompleter {
 public:
  VideoCompleter() = default;  ///< Knows no way to ask for frames, and all ways to fill are off: nothing is completed.
  /// Completes as the effect does. `info` is how frames will be asked for.
  explicit VideoCompleter(const FxRenderInfo& info);

  void setAnalysisWidth(int width, int height);
  void setGlobalMotion(const Vorn::HomographySet& motion) { globalMotion = motion; }  ///< measured, frame to frame
  void setOutputMotion(const Vorn::HomographySet& motion) { outputMotion = motion; }  ///< designed, frame to frame
  void setEnableAGC(bool value) { enableAGC = value; }
  void setInvertAxes(bool value) { invertAxes = value; }
  FxTemporalImageAPI* sequence() const { return sequence_; }
  void setSequence(FxTemporalImageAPI* value) { sequence_ = value; }  ///< lent
  int sequenceStart() const { return sequenceStart_; }
  void setSequenceStart(int value) { sequenceStart_ = value; }
  int sequenceLength() const { return sequenceLength_; }
  void setSequenceLength(int value) { sequenceLength_ = value; }
  int interlace() const { return interlace_; }
  void setInterlace(int value) { interlace_ = value; }  ///< 0 progressive, else the field to keep
  float renderScale() const { return renderScale_; }
  void setRenderScale(float value) { renderScale_ = value; }  ///< stored only
  int maxCacheSize() const { return maxCacheSize_; }
  void setMaxCacheSize(int value) { maxCacheSize_ = value; }  ///< frames held at a time; below 2 nothing is borrowed
  int renderMode() const { return renderMode_; }
  void setRenderMode(int value) { renderMode_ = value; }  ///< a `CompletionMode`
  bool bestInterpolation() const { return bestInterpolation_; }
  void setBestInterpolation(bool value) { bestInterpolation_ = value; }  ///< Lanczos instead of bilinear

  /// A further transform of the output, from its mosaic; the completer looks its pixels up through the inverse.
  void setOutputTransform(Vorn::Matrix* transform);
  /// Takes the store's gains; `start` is the frame of the first one.
  void setGains(const AGCStorage* gains, int start);
  /// Takes the gains of a file and their first frame; logs and returns false if it can't be read.
  bool loadGains(const char* path);

  /// A frame of the clip, from the cache or from the host, which counts as in use until `doneFrame`. Null if the host
  /// has none of this size. `render`: the number of the frame being completed. Safe from several threads.
  Vorn::Image* getFrame(int frame, int render, int width, int height);
  void doneFrame(int frame, int width, int height);
  /// Drops the frames that aren't in use and weren't asked for during the last 16 renders.
  void trimCache(int render);
  /// Frees all frames kept for borrowing, in use or not. Safe at any time.
  void releaseCaches();

  /// The gain of `ref` over that of `frame`; 1.0 without gains, and for a frame outside them.
  float gain(int frame, int ref) const;
  /// A pixel of the frame `ref` as the frame `render` would show it; unchanged without gain compensation.
  Vorn::PixelARGBSF compensateGain(Vorn::PixelARGBSF pixel, int ref, int render) const;
  /// The pixel with its luma (Rec. 709) times `amount` and its chroma kept.
  static Vorn::PixelARGBSF compensateGain(Vorn::PixelARGBSF pixel, float amount);

  /// Fills the pixels of `image` that `matte` marks as less than fully known, and marks those that it borrowed.
  /// `projection`: from the frame to the output, in analysed pixels. `number`: the frame, or field, in hand. `low`,
  /// `high`: the frames that may be borrowed from; outside of them nothing is done. True when nothing is left empty.
  /// Where the image's size differs from the analysed one the motion sets are scaled for good, by design: they are set
  /// anew when the plan changes.
  bool complete(Vorn::Image* image, Vorn::Image* matte, Vorn::Matrix* projection, int number, int low, int high,
                Vorn::Rectangle* border);
  /// Borrows for the rows [first, end).
  void CompleteStripe(int first, int end);
  /// Adds what a stripe did to the counts. Safe from any thread.
  void integrateStats(int filled, int total);

  /// From the motions between frames to `out`, which maps each of the `count` frames behind `first` to `first`.
  void LocalAccumulate(const Vorn::HomographySet& in, Vorn::HomographySet& out, int first, int count) const;
  /// The ends of the run of `count` steps in the list `frames`, taken in order, that grows from the one nearest to
  /// `frame` to whichever side is nearer, the later one if both are as near. `frames` isn't empty.
  void getRange(int frame, int count, const std::vector<int>& frames, int& low, int& high) const;

  /// A stripe's work order, and what runs it.
  struct Stripe {
    VideoCompleter* completer;
    int first, end;
  };
  static void CompletionWrapper(void* stripe);

  int renderingMode = 0;   ///< nothing reads it
  bool enableAGC = false;  ///< the gain of what is borrowed is matched
  FxRenderInfo renderInfo;
  bool selfLocking = false;               ///< frames are handed out under a lock
  std::unique_ptr<Vorn::Image> previous;  ///< the last completed output
  bool invertAxes = false;                ///< rows run upward
  Vorn::HomographySet globalMotion, outputMotion;
  bool scaled = false;  ///< an output transform was set
  Vorn::Matrix Hf2m = Vorn::Matrix::GetIdentity(3);
  int analysisWide = 0, analysisHigh = 0;  ///< pixels
  std::vector<float> frameGains;
  int gainStart = 0;        ///< the frame of the first gain
  int extent = 0;           ///< how far from the frame in hand neighbours may lie
  int neighbourHood = 0;    ///< frames considered; each call sets it to its window's length
  bool mosaicWork = false;  ///< the frame in hand is filled from others
  bool doMosaic = false, transferPrevious = false, expaint = false;  ///< the three ways to fill
  Vorn::PixelARGBSF background{};      ///< of a pixel that no way to fill knows anything of
  int completable = 0, completed = 0;  ///< pixels of the frame in hand that needed filling, and that others filled
  int previousFrameCompleted = 0;      ///< the frame kept in `previous`
  bool verbose = false;
  std::vector<cacheEntry> cache;

 private:
  /// The frames that may be borrowed from: `count` behind `first`.
  struct Window {
    int first = 0, count = 0;
  };
  /// A candidate for a pixel.
  struct Sample {
    Vorn::PixelARGBSF pixel;
    int candidate;  // position in the list of candidates
  };
  /// What a stripe keeps from pixel to pixel.
  struct Work;

  void scaleToImage(int width, Vorn::Matrix& projection);
  bool findWindow(int number, int low, int high, Window& window);
  void fitToCache(int number, Window& window) const;
  void borrow(const Window& window, const Vorn::Rectangle& border);
  void loadCoverage();
  void transferFromPrevious();
  void keepAsPrevious();

  void findHoles(Work& work, int first, int end);
  void fillFromCoverage(Work& work);
  int fillFrom(Work& work, int frame);
  void fill(int x, int y, Vorn::PixelARGBSF pixel);

  bool completePixel(Work& work, const Vorn::Point2D& place, Vorn::PixelARGBSF& pixel);
  Vorn::Point2D placeInLayout(int x, int y) const;
  bool fromNearest(Work& work, Vorn::PixelARGBSF& pixel);
  bool fromMean(Work& work, Vorn::PixelARGBSF& pixel);
  bool fromMedian(Work& work, Vorn::PixelARGBSF& pixel);
  bool fromSame(Work& work, const Vorn::Point2D& place, Vorn::PixelARGBSF& pixel);
  void takeSamples(Work& work);
  bool borrowFrom(const Vorn::Image& image, int frame, const Vorn::Point2D& at, Vorn::PixelARGBSF& pixel) const;
  const Vorn::Image* hold(Work& work, int frame);
  void dropHeld(const Work& work);
  Vorn::PixelARGBSF sampleAt(const Vorn::Image& image, double x, double y) const;
  bool isInside(const Vorn::Point2D& place) const;

  std::unique_lock<std::mutex> lockSource();
  std::vector<cacheEntry>::iterator find(int frame, int width, int height);
  cacheEntry* enter(int frame, int render, int width, int height);
  bool fetch(cacheEntry& entry, int width, int height);
  void develop(cacheEntry& entry, const FxImage& bitmap);
  void restIdle();
  void takeBack(std::unique_ptr<Vorn::Image> image);
  void emptyCache();
  std::unique_ptr<Vorn::Image> newImage(int width, int height);

  FxTemporalImageAPI* sequence_ = nullptr;
  int sequenceStart_ = 0, sequenceLength_ = 0;
  int interlace_ = 0;
  int maxCacheSize_ = 0;
  bool bestInterpolation_ = false;
  float renderScale_ = 1.0f;
  int renderMode_ = 0;

  std::mutex sourceLock;                            // guards `cache`
  std::mutex integrateStatus;                       // guards the two counts
  std::vector<std::unique_ptr<Vorn::Image>> spare;  // of dropped entries, so that a render allocates little
  Vorn::Image* srcImage = nullptr;
  Vorn::Image* srcMatte = nullptr;
  std::unique_ptr<Vorn::Mosaic> layout;
  std::unique_ptr<Vorn::Coverage> coverer;
  Vorn::Matrix Hback = Vorn::Matrix::GetIdentity(3);  // from the output to the frame
  Vorn::Point2D origin;
  int frameNumber = 0, frameWidth = 0, frameHeight = 0;
  Expainter expainter;  // kept for its memory
};
