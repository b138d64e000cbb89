#pragma once

#include <vector>

#include "analysis/HomographySet.h"
#include "imaging/Image.h"
#include "numerics/Matrix.h"
#include "numerics/Rectangle.h"

class VideoCompleter;

/// What becomes of the area that the correction leaves without picture: the values of the host's menu.
enum RenderMode { RenderNatural = 0, RenderCrop = 1, RenderZoom = 2, RenderComplete = 3 };

/// How far Zoom scales the crop border.
enum ZoomMode { ZoomFull = 0, ZoomFit = 1, ZoomVariable = 2 };

/// Turns one input frame into one output frame: composes the matrix that takes source pixels to output pixels from the
/// planned motion and the display settings, resamples, and paints or has filled what stays empty.
///
/// All that it holds is in pixels of the analysed size; it rescales to the frame in hand. The setters have no side
/// effect: call `setBorder` after them, since it derives the display matrices from all that was set.
class OutputRenderer {
 public:
  OutputRenderer();

  void setWidth(int width, int height);        ///< the analysed size
  void setRenderWidth(int width, int height);  ///< the output size of the current render
  void setCropAspect(bool aspect, bool equal, bool centre);
  void setGoodFrames(const std::vector<unsigned>& frames) { goodFrames = frames; }
  void setCompensatingMotion(const Vorn::HomographySet& motion) { compMotion = motion; }

  bool invertedAxes() const { return invertedAxes_; }
  void setInvertedAxes(bool value) { invertedAxes_ = value; }
  bool highQuality() const { return highQuality_; }
  void setHighQuality(bool value) { highQuality_ = value; }
  int renderMode() const { return renderMode_; }
  void setRenderMode(int value) { renderMode_ = value; }
  int zoomMode() const { return zoomMode_; }
  void setZoomMode(int value) { zoomMode_ = value; }
  float zoomAmount() const { return zoomAmount_; }
  void setZoomAmount(float value) { zoomAmount_ = value; }
  VideoCompleter* completer() const { return completer_; }
  void setCompleter(VideoCompleter* value) { completer_ = value; }  ///< lent; may be null

  /// Derives the crop and the display matrices from the area that all corrected frames cover.
  void setBorder(const Vorn::Rectangle* border);
  /// Takes the nine entries of each of three 3 by 3 matrices.
  void setDisplayTransform(const Vorn::Matrix& display, const Vorn::Matrix& centre, const Vorn::Matrix& zoom);
  /// The stretch free of broken frames that `frame` lies in: the first one that doesn't end before it, else the last;
  /// 0 to 0 where there is none.
  void getGoodMotionRange(int frame, int* low, int* high) const;

  /// Renders the frame at `frame` (a time; half frames are second fields) from `inputImage` into `outputImage`, bitmaps
  /// of four floats a, r, g, b a pixel with rows `RowBytes` apart. `interlacing`: 0 none, else the field to work from.
  /// A frame without planned motion is resampled by the display matrices alone.
  void processFrame(float frame, int interlacing, void* inputImage, void* outputImage, int inputWidth, int inputHeight,
                    int inputRowBytes, int outputWidth, int outputHeight, int outputRowBytes);

  /// A border to try the renderer with by hand.
  void setUpTest();

 private:
  void cropToEqualMargins();
  void cropToAspect();
  void setZoom(int borderWidth, int borderHeight, int cx, int cy, bool borderIsValid);
  Vorn::Matrix displayed(const Vorn::Matrix& correction) const;
  Vorn::Matrix flip(int frameHeight) const;
  Vorn::Rectangle cropAtOutputSize(float scale, int outputWidth, int outputHeight) const;
  bool isScaled(int outputWidth, int outputHeight) const;
  bool paintsBands() const;
  bool originAtCentre() const { return compMotion.originLocation == 4; }

  int renderMode_ = RenderZoom;
  int zoomMode_ = ZoomFull;
  float zoomAmount_ = 0.0f;
  bool cropAspect = false, cropEqual = false, cropCentre = false;
  bool invertedAxes_ = true;
  int inputWidth = 0, inputHeight = 0;
  int renderWidth = 0, renderHeight = 0;
  bool highQuality_ = false;
  VideoCompleter* completer_ = nullptr;
  Vorn::Rectangle cropBorder;  // the area of the output that holds picture
  Vorn::Matrix Hdisplay, Hcentre, Hzoom;
  Vorn::HomographySet compMotion;
  std::vector<unsigned> goodFrames;

  // Kept from frame to frame, so that a render allocates nothing once the size is known.
  Vorn::Image matte, fieldSource;
};
