#include "rendering/OutputRenderer.h"

#include <algorithm>
#include <cmath>

#include "rendering/Deinterlace.h"
#include "rendering/FastWarper.h"
#include "rendering/VideoCompleter.h"

using Vorn::FastWarper;
using Vorn::Image;
using Vorn::Matrix;
using Vorn::PixelARGBSF;
using Vorn::Rectangle;

namespace {

Matrix Identity() { return Matrix::GetIdentity(3); }

Matrix Translation(double x, double y) {
  Matrix m = Identity();
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

Matrix Scale(double factor) {
  Matrix m = Identity();
  m(0, 0) = m(1, 1) = factor;
  return m;
}

/// The whole part of a coordinate. A stored size of frames may be any number, and so lead beyond what an int holds.
int WholePart(double coordinate) {
  constexpr double farthest = 1 << 30;
  return static_cast<int>(std::clamp(coordinate, -farthest, farthest));
}

/// What the two ends of a span of `size` pixels move in by where only `kept` of them stay.
int Margin(int size, double kept) { return (size - WholePart(kept)) / 2; }

PixelARGBSF BlackOf(const Image& image) {
  constexpr float full = 65535.0f;  // integer values of a float picture are 16-bit scaled
  const Vorn::Pixel black = image.GenerateBlack();
  PixelARGBSF pixel;
  pixel.a = static_cast<float>(black.A()) / full;
  pixel.r = static_cast<float>(black.R()) / full;
  pixel.g = static_cast<float>(black.G()) / full;
  pixel.b = static_cast<float>(black.B()) / full;
  return pixel;
}

/// Blackens all of a row-major picture outside `crop`, whose last row and column are outside too.
void PaintBands(Image& output, const Rectangle& crop) {
  const PixelARGBSF black = BlackOf(output);
  const int left = std::clamp(crop.tlx, 0, output.width), right = std::clamp(crop.brx, left, output.width);
  for (int y = 0; y < output.height; ++y) {
    auto* row = reinterpret_cast<PixelARGBSF*>(output.rows[y]);
    if (y < crop.tly || y >= crop.bry) {
      std::fill(row, row + output.width, black);
    } else {
      std::fill(row, row + left, black);
      std::fill(row + right, row + output.width, black);
    }
  }
}

}  // namespace

OutputRenderer::OutputRenderer() : Hdisplay(Identity()), Hcentre(Identity()), Hzoom(Identity()) {}

void OutputRenderer::setWidth(int width, int height) {
  inputWidth = width;
  inputHeight = height;
}

void OutputRenderer::setRenderWidth(int width, int height) {
  renderWidth = width;
  renderHeight = height;
}

void OutputRenderer::setCropAspect(bool aspect, bool equal, bool centre) {
  cropAspect = aspect;
  cropEqual = equal;
  cropCentre = centre;
}

void OutputRenderer::setBorder(const Rectangle* border) {
  Hdisplay = Hcentre = Hzoom = Identity();
  const int width = border->brx - border->tlx + 1, height = border->bry - border->tly + 1;
  const int cx = border->tlx + width / 2, cy = border->tly + height / 2;
  cropBorder = *border;

  const int dx = inputWidth / 2 - cx, dy = inputHeight / 2 - cy;
  if (renderMode_ == RenderCrop) {
    if (cropEqual) cropToEqualMargins();
    if (cropAspect) cropToAspect();
    if (cropCentre) {
      cropBorder.tlx += dx, cropBorder.brx += dx;
      cropBorder.tly += dy, cropBorder.bry += dy;
    }
  }
  if (renderMode_ == RenderZoom || (renderMode_ == RenderCrop && cropCentre)) Hcentre = Translation(dx, dy);
  if (renderMode_ == RenderZoom) setZoom(width, height, cx, cy, border->IsValid());
}

void OutputRenderer::cropToEqualMargins() {
  const int right = inputWidth - 1 - cropBorder.brx, bottom = inputHeight - 1 - cropBorder.bry;
  if (cropBorder.tlx > right)
    cropBorder.brx = inputWidth - 1 - cropBorder.tlx;
  else
    cropBorder.tlx = right;
  if (cropBorder.tly > bottom)
    cropBorder.bry = inputHeight - 1 - cropBorder.tly;
  else
    cropBorder.tly = bottom;
}

void OutputRenderer::cropToAspect() {
  if (inputWidth <= 0 || inputHeight <= 0) return;
  const float aspect = static_cast<float>(inputWidth) / static_cast<float>(inputHeight);
  const auto width = static_cast<float>(cropBorder.brx - cropBorder.tlx + 1);
  const auto height = static_cast<float>(cropBorder.bry - cropBorder.tly + 1);
  if (std::fabs(width / height) > aspect) {
    const int d = static_cast<int>((width - aspect * height) * 0.5);
    cropBorder.tlx += d;
    cropBorder.brx -= d;
  } else {
    const int d = static_cast<int>((height - width / aspect) * 0.5);
    cropBorder.tly += d;
    cropBorder.bry -= d;
  }
}

void OutputRenderer::setZoom(int borderWidth, int borderHeight, int cx, int cy, bool borderIsValid) {
  const double sx = borderWidth > 0 ? static_cast<double>(inputWidth) / borderWidth : 1.0;
  const double sy = borderHeight > 0 ? static_cast<double>(inputHeight) / borderHeight : 1.0;
  const double fit = std::min(sx, sy);
  const double z = zoomMode_ == ZoomVariable ? static_cast<double>(zoomAmount_)
                   : zoomMode_ == ZoomFit    ? fit
                                             : std::max(sx, sy);

  cropBorder = Rectangle(0, 0, inputWidth - 1, inputHeight - 1);
  const bool bandsAbove = zoomMode_ == ZoomVariable || (zoomMode_ == ZoomFit && sy > sx);
  const bool bandsBeside = zoomMode_ == ZoomVariable || (zoomMode_ == ZoomFit && sy <= sx);
  if (bandsAbove) {
    cropBorder.tly = Margin(inputHeight, borderHeight * z);
    cropBorder.bry -= cropBorder.tly;
  }
  if (bandsBeside) {
    cropBorder.tlx = Margin(inputWidth, borderWidth * z);
    cropBorder.brx -= cropBorder.tlx;
  }

  // With the origin at the frame's centre the border's centre comes there first and is scaled then: that way Full
  // leaves no empty strip.
  if (originAtCentre()) {
    Hzoom = borderIsValid ? Scale(z) * Hcentre : Scale(z);
  } else {
    const Matrix aboutBorder = Translation(cx, cy) * Scale(z) * Translation(-cx, -cy);
    Hzoom = borderIsValid ? Hcentre * aboutBorder : aboutBorder;
  }
}

void OutputRenderer::setDisplayTransform(const Matrix& display, const Matrix& centre, const Matrix& zoom) {
  Hdisplay = display;
  Hcentre = centre;
  Hzoom = zoom;
}

void OutputRenderer::getGoodMotionRange(int frame, int* low, int* high) const {
  *low = *high = 0;
  if (goodFrames.size() < 2) return;
  const auto at = [this](size_t i) { return static_cast<int>(goodFrames[i]); };
  size_t pair = 0;
  while (at(pair) < frame && at(pair + 1) < frame && pair + 3 < goodFrames.size()) pair += 2;
  *low = at(pair);
  *high = at(pair + 1);
}

void OutputRenderer::processFrame(float frame, int interlacing, void* inputImage, void* outputImage, int sourceWidth,
                                  int sourceHeight, int inputRowBytes, int outputWidth, int outputHeight,
                                  int outputRowBytes) {
  Image input(sourceWidth, sourceHeight, inputRowBytes, Vorn::ARGBSF, static_cast<unsigned char*>(inputImage), false);
  Image output(outputWidth, outputHeight, outputRowBytes, Vorn::ARGBSF, static_cast<unsigned char*>(outputImage),
               false);
  const int number = static_cast<int>(interlacing > 0 ? frame * 2.0f : frame);  // fields count two a frame

  Matrix correction;
  compMotion.Get(number, correction);
  Matrix h = displayed(correction);

  const bool scaled = isScaled(outputWidth, outputHeight);
  const float scale = scaled ? static_cast<float>(outputWidth) / static_cast<float>(inputWidth) : 1.0f;
  Rectangle crop = scaled ? cropAtOutputSize(scale, outputWidth, outputHeight) : cropBorder;
  Matrix projection = scaled ? Scale(scale) * h * Scale(1.0 / scale) : h;
  if (invertedAxes_) {
    const Matrix f = flip(sourceHeight);
    projection = f * projection * f;
    const int top = crop.tly;
    crop.tly = outputHeight - crop.bry;
    crop.bry = outputHeight - top;
  }

  FastWarper warper{};
  warper.sourceOriginX = warper.targetOriginX = originAtCentre() ? outputWidth / 2 : 0;
  warper.sourceOriginY = warper.targetOriginY = originAtCentre() ? outputHeight / 2 : 0;
  warper.highQuality = highQuality_;
  if (interlacing > 0) {
    fieldSource.Resize(sourceWidth, sourceHeight, Vorn::ARGBSF);
    Vorn::DeinterlaceARGBSF(&input, &fieldSource, interlacing);
    warper.Project(fieldSource, output, matte, projection);
  } else {
    warper.Project(input, output, matte, projection);
  }

  if (paintsBands()) PaintBands(output, crop);
  if (renderMode_ == RenderComplete && completer_) {
    int low = 0, high = 0;
    getGoodMotionRange(number, &low, &high);
    completer_->complete(&output, &matte, &h, number, low, high, &crop);
  }
}

Matrix OutputRenderer::displayed(const Matrix& correction) const {
  Matrix h = Hdisplay * correction;
  if (renderMode_ == RenderZoom) return Hzoom * h;
  if (renderMode_ == RenderCrop) return Hcentre * h;
  return h;
}

bool OutputRenderer::isScaled(int outputWidth, int outputHeight) const {
  return inputWidth > 0 && inputHeight > 0 && (inputWidth != outputWidth || inputHeight != outputHeight);
}

Rectangle OutputRenderer::cropAtOutputSize(float scale, int outputWidth, int outputHeight) const {
  const auto scaled = [this, scale](int c, int analysed, int output) {
    if (!originAtCentre()) return static_cast<double>(static_cast<float>(c) * scale);
    return (c - analysed * 0.5) * scale + output * 0.5;
  };
  const auto x = [&](int c) { return scaled(c, inputWidth, outputWidth); };
  const auto y = [&](int c) { return scaled(c, inputHeight, outputHeight); };
  return Rectangle(WholePart(std::ceil(x(cropBorder.tlx))), WholePart(std::ceil(y(cropBorder.tly))),
                   WholePart(std::floor(x(cropBorder.brx))), WholePart(std::floor(y(cropBorder.bry))));
}

Matrix OutputRenderer::flip(int frameHeight) const {
  Matrix f = Identity();
  f(1, 1) = -1.0;
  if (!originAtCentre()) f(1, 2) = frameHeight;
  return f;
}

bool OutputRenderer::paintsBands() const {
  const bool isAnalysed = inputWidth > 0 && inputHeight > 0;
  if (!isAnalysed && !cropBorder.IsValid()) return false;  // without an analysis frames go through as they are
  return renderMode_ == RenderCrop || (renderMode_ == RenderZoom && zoomMode_ != ZoomFull);
}

void OutputRenderer::setUpTest() {
  const Rectangle border(60, 20, 1900, 1000);
  setBorder(&border);
}
