#include "planning/Mosaic.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>

#include "numerics/Geometry.h"
#include "numerics/SVD.h"
#include "rendering/WarpImage.h"

namespace Vorn {
namespace {

Matrix At(const HomographySet& set, int frame) {
  Matrix m;
  set.Get(frame, m);
  return m;
}

Point2D ProjectAbout(const Matrix& m, const Point2D& p, const Point2D& origin) {
  return ProjectPoint(m, p, static_cast<float>(origin.x), static_cast<float>(origin.y));
}

Rectangle Intersection(const Rectangle& a, const Rectangle& b) {
  return {std::max(a.tlx, b.tlx), std::max(a.tly, b.tly), std::min(a.brx, b.brx), std::min(a.bry, b.bry)};
}

Rectangle Union(const Rectangle& a, const Rectangle& b) {
  return {std::min(a.tlx, b.tlx), std::min(a.tly, b.tly), std::max(a.brx, b.brx), std::max(a.bry, b.bry)};
}

/// How many pixels lie from `first` to `last`; at the edge of int if there are more.
int SizeOf(int first, int last) {
  const long long size = 1LL + last - first;
  return static_cast<int>(
      std::clamp<long long>(size, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

Mosaic::Mosaic(int width, int height) : frameWidth(width), frameHeight(height) {}

bool Mosaic::SetRegistration(const HomographySet& registration) {
  if (!registration.IsValid()) {
    std::cerr << "Mosaic: Error - projection matrix set contains invalid matrix.\n";
    return false;
  }
  projections = registration;
  unprojected.Clear();
  generateInverseProjections();
  centreOffset = projections.originLocation == 4 ? FrameCentre(frameWidth, frameHeight) : Point2D();
  return true;
}

void Mosaic::generateInverseProjections() {
  inverseProjections.Clear();
  inverseProjections.originLocation = projections.originLocation;
  inverseProjections.SetRanges(projections.range);
  for (const Range& range : projections.range.data)
    for (int frame = range.first; frame <= range.last; ++frame)
      inverseProjections.Set(frame, SVD(At(projections, frame), false).Inverse());
}

void Mosaic::SetDuration(int first, int count, int step) {
  frames.clear();
  if (step < 1) return;
  for (int offset = 0; offset < count; offset += step) frames.push_back(first + offset);
}

bool Mosaic::isRegistered() const {
  if (!projections.hset.empty()) return true;
  std::cerr << "Mosaic: Error - no registration set for Mosaic\n";
  return false;
}

void Mosaic::ProjectCorners() {
  if (!isRegistered() || frames.empty()) return;
  const Point2D frameCorners[4] = {Point2D(0, 0), Point2D(frameWidth - 1, 0), Point2D(frameWidth - 1, frameHeight - 1),
                                   Point2D(0, frameHeight - 1)};
  for (int frame = frames.front(); frame <= frames.back(); ++frame) {
    const Matrix m = At(projections, frame);
    Quadrilateral outline;
    for (int i = 0; i < 4; ++i) outline.corners[i] = ProjectAbout(m, frameCorners[i], centreOffset);
    corners.push_back(outline);
  }
}

Rectangle Mosaic::GetBorder(int frame, bool inner) const {
  WarpImage warp;
  warp.centre = centreOffset;
  warp.inscribed = inner;
  warp.SetMatrix(At(inner ? projections : inverseProjections, frame));
  Rectangle window;
  warp.CalculateWarpWindow(frameWidth, frameHeight, window);
  return window;
}

Rectangle Mosaic::GetBorder(bool inner) const {
  if (!isRegistered() || frames.empty()) return {};
  Rectangle border = GetBorder(frames.front(), inner);
  for (size_t i = 1; i < frames.size(); ++i) {
    const Rectangle next = GetBorder(frames[i], inner);
    border = inner ? Intersection(border, next) : Union(border, next);
  }
  return border;
}

bool Mosaic::CalculateDimensions() {
  const Rectangle border = GetBorder(false);
  mosaicWidth = SizeOf(border.tlx, border.brx);
  mosaicHeight = SizeOf(border.tly, border.bry);
  originOffset = centreOffset - Point2D(border.tlx, border.tly);
  const auto fits = [this](int size) { return size >= 1 && size <= maxDimension; };
  return fits(mosaicWidth) && fits(mosaicHeight);
}

Matrix Mosaic::GetProjection(int frame) const { return At(projections, frame); }

Matrix Mosaic::GetInverseProjection(int frame) const { return At(inverseProjections, frame); }

Point2D Mosaic::LocationInFrame(double x, double y, int frame) const {
  if (projections.Index(frame) < 0) return {};
  const Point2D inPlane = Point2D(x, y) - originOffset;
  const Matrix* inverse = nullptr;  // a frame outside the ranges has none, and counts as the identity
  return (inverseProjections.Get(frame, inverse) ? ProjectPoint(*inverse, inPlane) : inPlane) + centreOffset;
}

bool Mosaic::isWithin(const Point2D& location, double low, double beyond) const {
  return location.x > low && location.x < frameWidth + beyond && location.y > low && location.y < frameHeight + beyond;
}

std::vector<int> Mosaic::InFrames(double x, double y) const {
  std::vector<int> covering;
  for (const int frame : frames)
    if (isWithin(LocationInFrame(x, y, frame), -1.0, 0.0)) covering.push_back(frame);
  return covering;
}

void Mosaic::InFrames(double x, double y, std::vector<int>& outFrames, std::vector<Point2D>& outPoints, int centreFrame,
                      int maxFrames) const {
  outFrames.clear();
  outPoints.clear();
  const int count = static_cast<int>(frames.size());
  int nearest = 0;
  if (centreFrame >= 0)
    for (int i = 0; i < count; ++i)  // against the index, not the frame that stands there: frame lists start at 0
      if (std::abs(centreFrame - frames[i]) < std::abs(centreFrame - nearest)) nearest = i;

  const auto wanted = [&] { return static_cast<int>(outFrames.size()) < maxFrames; };
  const auto take = [&](int i) {
    const Point2D location = LocationInFrame(x, y, frames[i]);
    const bool inside =
        location.x >= -0.5 && location.x < frameWidth - 0.5 && location.y >= -0.5 && location.y < frameHeight - 0.5;
    if (!inside) return;
    outFrames.push_back(frames[i]);
    outPoints.push_back(location);
  };
  int back = nearest - 1, ahead = nearest;
  while (wanted() && (back >= 0 || ahead < count)) {
    if (ahead < count) take(ahead++);
    if (wanted() && back >= 0) take(back--);
  }
}

double Mosaic::CalculateCentreDistance(int x, int y, int frame) const {
  return Distance(LocationInFrame(x, y, frame), FrameCentre(frameWidth, frameHeight));
}

void Mosaic::ReprojectMatrices(const Matrix& reference) {
  const Matrix toReference = SVD(reference, false).Inverse();  // first: `reference` may be one of the projections
  if (unprojected.hset.empty()) unprojected = projections;
  projections.Clear();
  projections.originLocation = unprojected.originLocation;
  projections.SetRanges(unprojected.range);
  for (const HomographyFrame& entry : unprojected.hset) projections.Set(entry.frame, toReference * entry.matrix);
  generateInverseProjections();
}

void Mosaic::ReprojectMatrices(int frame) {
  ReprojectMatrices(At(unprojected.hset.empty() ? projections : unprojected, frame));
}

void Mosaic::AccumulateHomographies(const HomographySet& in, HomographySet& out) const {
  out.Clear();
  out.SetRanges(in.range);
  for (const Range& range : in.range.data) {
    Matrix product = Matrix::GetIdentity(3);
    for (int frame = range.first; frame <= range.last; ++frame) {
      Matrix m = At(in, frame);
      if (!CompareDouble(m(2, 2), 1.0)) m = m / m(2, 2);
      product = m * product;
      out.Set(frame, product);
    }
  }
}

}  // namespace Vorn
