#include "film/OutputWindow.h"

#include <algorithm>
#include <limits>

#include "film/Report.h"
#include "numerics/Geometry.h"
#include "planning/MotionProcessorFCPX.h"
#include "rendering/OutputRenderer.h"

using Vorn::Matrix;
using Vorn::Point2D;
using Vorn::Rectangle;

namespace film {
namespace {

Matrix translation(double x, double y) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 2) = x;
  m(1, 2) = y;
  return m;
}

Matrix scale(double factor) {
  Matrix m = Matrix::GetIdentity(3);
  m(0, 0) = m(1, 1) = factor;
  return m;
}

int numberOf(Effect& effect, unsigned id) { return static_cast<int>(effect.parameters().find(id)->value); }

/// What both ends of a span move in by where only `kept` pixels of it stay, as the renderer rounds it.
int marginOf(int size, double kept) { return (size - static_cast<int>(kept)) / 2; }

}  // namespace

OutputWindow::OutputWindow(Effect& effect)
    : planner(*effect.plugIn().ObjC_MP),
      middle(Vorn::FrameCentre(planner.analysedWidth, planner.analysedHeight)),
      origin(planner.compensatingMotion()->originLocation == 4 ? middle : Point2D()),
      display(Matrix::GetIdentity(3)),
      shown(0, 0, planner.analysedWidth, planner.analysedHeight) {
  const int rendering = numberOf(effect, kRenderingType);
  if (rendering == RenderCrop) displayCropped(effect);
  if (rendering == RenderZoom) displayZoomed(effect);
}

void OutputWindow::displayCropped(Effect& effect) {
  const Rectangle& border = *planner.border();
  const int width = planner.analysedWidth, height = planner.analysedHeight;
  shown = border;
  if (numberOf(effect, kCropEqual) != 0) {
    const int x = std::max(shown.tlx, width - 1 - shown.brx), y = std::max(shown.tly, height - 1 - shown.bry);
    shown = Rectangle(x, y, width - 1 - x, height - 1 - y);
  }
  if (numberOf(effect, kCropAspect) != 0) {
    const double w = shown.brx - shown.tlx + 1, h = shown.bry - shown.tly + 1;
    const double aspect = static_cast<double>(width) / height;
    const int dx = std::max(0, static_cast<int>((w - aspect * h) / 2));
    const int dy = std::max(0, static_cast<int>((h - w / aspect) / 2));
    shown = Rectangle(shown.tlx + dx, shown.tly + dy, shown.brx - dx, shown.bry - dy);
  }
  if (numberOf(effect, kCropCentre) == 0) return;
  const int dx = width / 2 - (border.tlx + (border.brx - border.tlx + 1) / 2);
  const int dy = height / 2 - (border.tly + (border.bry - border.tly + 1) / 2);
  shown = Rectangle(shown.tlx + dx, shown.tly + dy, shown.brx + dx, shown.bry + dy);
  display = translation(dx, dy);
}

void OutputWindow::displayZoomed(Effect& effect) {
  const Rectangle& border = *planner.border();
  const int width = planner.analysedWidth, height = planner.analysedHeight;
  const int borderWidth = border.brx - border.tlx + 1, borderHeight = border.bry - border.tly + 1;
  const int cx = border.tlx + borderWidth / 2, cy = border.tly + borderHeight / 2;
  const double zoom = ZoomOf(effect);
  const int dx = width / 2 - cx, dy = height / 2 - cy;
  const Matrix centring = translation(dx, dy);
  const bool valid = border.IsValid();
  if (planner.compensatingMotion()->originLocation == 4) {
    display = valid ? scale(zoom) * centring : scale(zoom);
  } else {
    const Matrix aboutBorder = translation(cx, cy) * scale(zoom) * translation(-cx, -cy);
    display = valid ? centring * aboutBorder : aboutBorder;
  }
  const int type = numberOf(effect, kZoomType);
  if (type == ZoomFull) return;
  // The side that the zoom doesn't fill gets bands; with a free zoom either may, or may reach beyond the frame.
  const bool above = type == ZoomVariable || static_cast<double>(height) / borderHeight > zoom;
  const bool beside = type == ZoomVariable || !above;
  const int x = beside ? marginOf(width, borderWidth * zoom) : 0, y = above ? marginOf(height, borderHeight * zoom) : 0;
  shown = Rectangle(std::max(0, x), std::max(0, y), std::min(width, width - 1 - x), std::min(height, height - 1 - y));
}

Matrix OutputWindow::correction(int number) const {
  Matrix motion;
  planner.compensatingMotion()->Get(number, motion);
  return motion;
}

Point2D OutputWindow::filmed(const Matrix& projection, const Point2D& point) const {
  Matrix inverse = projection;
  if (!inverse.Inverse()) return {std::numeric_limits<double>::quiet_NaN(), 0.0};
  return Vorn::ProjectPoint(inverse, point - origin) + origin;
}

std::array<Point2D, 4> OutputWindow::corners(int number) const {
  const Matrix projection = display * correction(number);
  // A pixel's area reaches half a pixel to each side of its place.
  const double left = shown.tlx - 0.5, top = shown.tly - 0.5, right = shown.brx - 0.5, bottom = shown.bry - 0.5;
  return {filmed(projection, {left, top}), filmed(projection, {right, top}), filmed(projection, {right, bottom}),
          filmed(projection, {left, bottom})};
}

Point2D OutputWindow::centre(int number) const { return filmed(correction(number), middle); }

}  // namespace film
