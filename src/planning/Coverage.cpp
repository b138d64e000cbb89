#include "planning/Coverage.h"

#include <algorithm>

#include "numerics/Geometry.h"

namespace Vorn {
namespace {

constexpr float leastSeparation = 10.0f;  // pixels

}  // namespace

void Coverage::SetMotion(const HomographySet* motion, int newWidth, int newHeight) {
  width = newWidth;
  height = newHeight;
  if (!mosaic) mosaic = std::make_unique<Mosaic>(width, height);
  mosaic->SetRegistration(*motion);
  if (motion->originLocation == 4) origin = FrameCentre(width, height);
}

void Coverage::Reproject(const Matrix& reference) {
  if (mosaic) mosaic->ReprojectMatrices(reference);
}

int Coverage::CalculateCoverage(const Rectangle& /*border*/, int current, int low, int high, float /*unused*/) {
  if (!mosaic) return 0;
  mosaic->SetDuration(low, high - low + 1, 1);
  mosaic->ProjectCorners();
  // What was chosen for the output frame before comes first, so that the selection changes as little as it can.
  previousFrames.assign(frames.empty() ? frames.begin() : frames.begin() + 1, frames.end());
  frames.assign(1, current);

  const Point2D centre = FrameCentre(width, height);
  std::vector<Point2D> seen{ProjectPoint(displayTransform, centre)};
  for (const int frame : previousFrames) takeIfApart(frame, current, seen);
  const int reach = std::max(current - low, high - current);
  for (int i = 1; i <= reach; ++i) {
    if (current + i <= high) takeIfApart(current + i, current, seen);
    if (current - i >= low) takeIfApart(current - i, current, seen);
  }
  for (const int end : {low, high})
    if (std::find(frames.begin(), frames.end(), end) == frames.end()) frames.push_back(end);
  return static_cast<int>(frames.size());
}

/// Where the frame's centre stands in the output.
Point2D Coverage::positionOf(int frame, int current) const {
  const Point2D centre = FrameCentre(width, height);
  const Point2D inPlane = ProjectPoint(mosaic->GetInverseProjection(frame), centre - origin) + mosaic->originOffset;
  const Point2D inCurrent = mosaic->LocationInFrame(inPlane.x, inPlane.y, current);
  return ProjectPoint(displayTransform, inCurrent, static_cast<float>(centre.x), static_cast<float>(centre.y));
}

void Coverage::takeIfApart(int frame, int current, std::vector<Point2D>& seen) {
  const Point2D position = positionOf(frame, current);
  const bool near = std::any_of(seen.begin(), seen.end(), [&](const Point2D& other) {
    return static_cast<float>(Distance(position, other)) < leastSeparation;
  });
  if (near) return;
  frames.push_back(frame);
  seen.push_back(position);
}

std::vector<int> Coverage::InFrames(double x, double y, std::vector<Point2D>& points) const {
  std::vector<int> covering;
  if (!mosaic || frames.size() < 2) return covering;
  const Point2D inPlane = Point2D(x, y) + mosaic->originOffset;
  for (size_t i = 1; i < frames.size(); ++i) {
    const Point2D location = mosaic->LocationInFrame(inPlane.x, inPlane.y, frames[i]);
    const bool inside = location.x > -1.0 && location.x < width && location.y > -1.0 && location.y < height;
    if (!inside) continue;
    covering.push_back(frames[i]);
    points.push_back(location);
  }
  return covering;
}

double Coverage::CalculateQuadDistance(const Quadrilateral& a, const Quadrilateral& b) const {
  double sum = 0.0;
  for (int i = 0; i < 4; ++i) sum += Distance(a.corners[i], b.corners[i]);
  return sum;
}

}  // namespace Vorn
