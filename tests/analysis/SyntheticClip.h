#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "numerics/Matrix.h"

/// A drawn scene that is known at every real position, and frames of it from a camera whose motion is known exactly.
/// Positions are pixels about the frame's centre.
class SyntheticClip {
 public:
  /// Where the camera looks: a frame's position p shows the scene at scale * R(angle) * p + (x, y).
  struct Pose {
    double x = 0, y = 0, angle = 0, scale = 1;
  };

  SyntheticClip(int frameWidth, int frameHeight)
      : width(frameWidth), height(frameHeight), centreX(frameWidth / 2), centreY(frameHeight / 2) {
    unsigned state = 12345;
    const auto draw = [&state] { return ((state = state * 1664525u + 1013904223u) >> 8) / 16777216.0; };
    for (int i = 0; i < 8; ++i) {
      const double wavelength = 9 * std::pow(1.35, i), direction = 6.2831853 * draw();
      waves.push_back({6.2831853 / wavelength * std::cos(direction), 6.2831853 / wavelength * std::sin(direction),
                       6.2831853 * draw(), 0.06});
    }
  }

  /// Between 0 and 1, with corners at all sizes from a few pixels up.
  double Scene(double x, double y) const {
    double value = 0.5;
    for (const Wave& w : waves) value += w.amplitude * std::sin(w.kx * x + w.ky * y + w.phase);
    return value;
  }

  /// The frame at a pose, four floats a pixel, all colours times `gain`.
  std::vector<float> Frame(const Pose& pose, double gain = 1.0) const {
    std::vector<float> frame(static_cast<size_t>(width) * height * 4, 1.0f);
    const double a = pose.scale * std::cos(pose.angle), b = pose.scale * std::sin(pose.angle);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const double u = x - centreX, v = y - centreY;
        const auto grey = static_cast<float>(gain * Scene(a * u - b * v + pose.x, b * u + a * v + pose.y));
        float* const pixel = &frame[(static_cast<size_t>(y) * width + x) * 4];
        pixel[1] = pixel[2] = pixel[3] = grey;
      }
    return frame;
  }

  /// Paints a disc with another piece of the scene on it over a frame: an object of its own at (x, y).
  void PaintObject(std::vector<float>& frame, double x, double y, double radius) const {
    for (int row = 0; row < height; ++row)
      for (int column = 0; column < width; ++column) {
        const double u = column - centreX - x, v = row - centreY - y;
        if (u * u + v * v > radius * radius) continue;
        float* const pixel = &frame[(static_cast<size_t>(row) * width + column) * 4];
        pixel[1] = pixel[2] = pixel[3] = static_cast<float>(Scene(u + 5000, v + 7000));
      }
  }

  /// What maps a frame at pose `from` to one at pose `to`, about the centre.
  static Vorn::Matrix Motion(const Pose& from, const Pose& to) {
    Vorn::Matrix inverse = ToScene(to);
    inverse.Inverse();
    return inverse * ToScene(from);
  }

  int width, height;
  int centreX, centreY;  // whole pixels, as the analysis has it

 private:
  struct Wave {
    double kx, ky, phase, amplitude;
  };

  static Vorn::Matrix ToScene(const Pose& pose) {
    const double a = pose.scale * std::cos(pose.angle), b = pose.scale * std::sin(pose.angle);
    Vorn::Matrix m(3, 3);
    m = std::vector<double>{a, -b, pose.x, b, a, pose.y, 0, 0, 1};
    return m;
  }

  std::vector<Wave> waves;
};
