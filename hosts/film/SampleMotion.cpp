#include "film/SampleMotion.h"

#include <cmath>

namespace film {
namespace {

constexpr double pi = 3.14159265358979323846;

struct Tremor {
  double hertz, x, y, roll, zoom, phase;  // amplitudes in pixels, radians and as a fraction
};
constexpr Tremor tremors[] = {{0.9, 7.0, 5.0, 0.0035, 0.0020, 0.3},
                              {1.9, 4.2, 4.8, 0.0024, 0.0012, 1.7},
                              {3.3, 2.6, 2.9, 0.0016, 0.0008, 4.1},
                              {5.7, 1.5, 1.7, 0.0010, 0.0004, 2.2},
                              {8.3, 0.8, 0.9, 0.0005, 0.0002, 5.3}};

double easedPan(int frame) {
  const double t = (frame - 60) / 60.0;
  return t <= 0 ? 0.0 : t >= 1 ? 1.0 : t * t * (3 - 2 * t);
}

/// Scene to frame, about the frame's centre: zoom * rotation * (place - pose).
Matrix3 sceneToFrame(const SamplePose& pose) {
  const double c = pose.zoom * std::cos(pose.roll), s = pose.zoom * std::sin(pose.roll);
  return {c, -s, -c * pose.x + s * pose.y, s, c, -s * pose.x - c * pose.y, 0, 0, 1};
}

Matrix3 frameToScene(const SamplePose& pose) {
  const double c = std::cos(pose.roll) / pose.zoom, s = std::sin(pose.roll) / pose.zoom;
  return {c, s, pose.x, -s, c, pose.y, 0, 0, 1};
}

Matrix3 product(const Matrix3& a, const Matrix3& b) {
  Matrix3 result{};
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column)
      for (int k = 0; k < 3; ++k) result[3 * row + column] += a[3 * row + k] * b[3 * k + column];
  return result;
}

}  // namespace

SamplePose SamplePoseAt(int frame, bool shaken) {
  SamplePose pose{760.0 + 380.0 * easedPan(frame), 450.0, 0.0, 1.0};
  if (!shaken) return pose;
  const double seconds = static_cast<double>(frame) / sampleRate;
  for (const Tremor& tremor : tremors) {
    const double angle = 2 * pi * tremor.hertz * seconds + tremor.phase;
    pose.x += tremor.x * std::sin(angle);
    pose.y += tremor.y * std::sin(1.13 * angle + 1.0);
    pose.roll += tremor.roll * std::sin(0.91 * angle + 2.0);
    pose.zoom += tremor.zoom * std::sin(1.07 * angle + 3.0);
  }
  return pose;
}

Matrix3 SampleMotionAt(int frame, bool shaken) {
  if (frame == 0) return {1, 0, 0, 0, 1, 0, 0, 0, 1};
  return product(sceneToFrame(SamplePoseAt(frame, shaken)), frameToScene(SamplePoseAt(frame - 1, shaken)));
}

}  // namespace film
