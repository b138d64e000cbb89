#pragma once

#include <cmath>

/// One event on one axis: a stretch of frames in which the camera does one thing. A list of them tiles an axis's
/// frames in order, without gaps.
struct MotionInterval {
  enum MotionType {
    MotionMoving = 0,  ///< A deliberate camera move.
    MotionStill = 1,   ///< A camera that is meant to stand.
    MotionBroken = 2   ///< No trustworthy motion: stays uncorrected, and the design restarts behind it.
  };

  int begin_frame = 0;             ///< First frame.
  int end_frame = 0;               ///< Last frame, inclusive.
  int motion_type = MotionMoving;  ///< A `MotionType`; an int, as stored event lists carry it.
  bool cut = false;                ///< Stored lists only: never merged into a still event before it.
};

/// The fit of one interval, a section of the designed path on its axis. It lies in a list parallel to the intervals.
struct MotionFixParams {
  enum CompType {
    Linear = 0,  ///< From `start_pos` to `end_pos` at constant speed, with parabolic easing at both ends.
    Hold = 1,    ///< The centre stays at `start_pos`.
    None = 2     ///< The camera is left as it was.
  };

  int comp_type = Linear;  ///< A `CompType`; an int, as stored fits carry it.
  float gradient = 0;      ///< Speed of the constant part, pixels per frame.
  float gradient_in = 0;   ///< Speed at the start, pixels per frame.
  int ease_in = 0;         ///< Frames of change from `gradient_in` to `gradient`.
  int linear_period = 0;   ///< Frames at constant `gradient`.
  int ease_out = 0;        ///< Frames of change from `gradient` to the next section's `gradient_in`.
  float start_pos = 0;     ///< Designed position at the start, pixels.
  float end_pos = 0;       ///< Designed position at the end, pixels.

  /// Speeds and positions agree when they differ by no more than 0.001. `gradient` follows from the others, and so
  /// takes no part.
  bool operator==(const MotionFixParams& other) const {
    const auto differ = [](float a, float b) { return std::fabs(static_cast<double>(a) - b) > 0.001; };
    return comp_type == other.comp_type && ease_in == other.ease_in && linear_period == other.linear_period &&
           ease_out == other.ease_out && !differ(gradient_in, other.gradient_in) &&
           !differ(start_pos, other.start_pos) && !differ(end_pos, other.end_pos);
  }
};

// The types are so common in planning that their names stand alone.
using enum MotionInterval::MotionType;
using enum MotionFixParams::CompType;
