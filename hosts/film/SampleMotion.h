#pragma once

#include <array>

namespace film {

/// Where the sample clip's camera is: an unsteady hand over a tripod's hold, pan and hold.
struct SamplePose {
  double x = 0, y = 0;  ///< place in the scene that the frame's centre shows, in clip pixels
  double roll = 0;      ///< radians, clockwise on the screen
  double zoom = 1;      ///< size of the scene on the screen
};

constexpr int sampleFrames = 180, sampleRate = 30;     ///< frames; frames a second
constexpr int sampleWidth = 1280, sampleHeight = 720;  ///< pixels

constexpr int sampleCentreX = sampleWidth / 2, sampleCentreY = sampleHeight / 2;

/// `shaken` false gives what the hand meant to do.
SamplePose SamplePoseAt(int frame, bool shaken);

using Matrix3 = std::array<double, 9>;  ///< 3 by 3, row by row

/// The motion from frame - 1 to frame in coordinates about the frame's centre pixel (640, 360); the identity for 0.
Matrix3 SampleMotionAt(int frame, bool shaken);

}  // namespace film
