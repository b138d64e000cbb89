#pragma once

#include <string>
#include <vector>

#include "analysis/HomographySet.h"
#include "imaging/Image.h"
#include "numerics/Matrix.h"
#include "numerics/Rectangle.h"
#include "plugin/FxPlug.h"
#include "rendering/AGCStorage.h"

/// Holds what filling a corrected frame's empty area from neighbouring frames needs: the clip, the measured and the
/// designed motion, the gains. Frames aren't borrowed yet: `complete` leaves a frame as the warp made it.
class VideoCompleter {
 public:
  /// Knows no way to ask for frames.
  VideoCompleter() = default;
  /// `info` is how frames will be asked for.
  explicit VideoCompleter(const FxRenderInfo& info) : renderInfo(info) {}

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

  /// Takes the store's gains; `start` is the frame of the first one.
  void setGains(const AGCStorage* gains, int start);
  /// Takes the gains of a file and their first frame; logs and returns false if it can't be read.
  bool loadGains(const char* path);

  /// The gain of `ref` over that of `frame`; 1.0 without gains, and for a frame outside them.
  float gain(int frame, int ref) const;

  /// Frees the frames kept for borrowing; none are kept yet.
  void releaseCaches() {}

  /// Fills the pixels of `image` that `matte` marks as empty, from frames `low` to `high`. True when nothing is left
  /// empty; as yet false, with the image untouched.
  bool complete(Vorn::Image* image, Vorn::Image* matte, Vorn::Matrix* projection, int number, int low, int high,
                Vorn::Rectangle* border);

 private:
  FxTemporalImageAPI* sequence_ = nullptr;
  int sequenceStart_ = 0, sequenceLength_ = 0;
  int interlace_ = 0;
  bool enableAGC = true;
  bool invertAxes = false;
  FxRenderInfo renderInfo;
  Vorn::HomographySet globalMotion, outputMotion;
  int analysisWide = 0, analysisHigh = 0;
  std::vector<float> frameGains;
  int gainStart = 0;  // the frame of the first gain
};
