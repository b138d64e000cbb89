#pragma once

#include <vector>

#include "analysis/FrameIndex.h"

/// How far the motion of each frame can be trusted, 0 (not at all) to 1, and the text format MCONF. A value.
class MotionConfidenceSet {
 public:
  std::vector<int> index;          ///< Frame numbers in order of arrival, parallel to `confidence`.
  int start = -1;                  ///< Lowest frame, -1 when empty.
  int end = -1;                    ///< Highest frame, -1 when empty.
  std::vector<float> confidence;   ///< One value per entry of `index`.
  unsigned int number = 0;         ///< Count of entries.
  float defaultConfidence = 1.0f;  ///< Returned for unknown frames: what was never measured isn't doubted.

  /// Reads an MCONF file in place of what is held. False if the file can't be opened, doesn't begin with the line
  /// "MCONF", or, with a message on the standard error stream, has no entry.
  bool Load(const char* path);

  /// Writes "MCONF", then a line per entry in order of arrival: frame number, blank, confidence. False only if the file
  /// can't be opened.
  bool Save(const char* path) const;

  void Clear();

  /// The confidence at position i, unchecked.
  float& operator[](unsigned int i) { return confidence[i]; }
  const float& operator[](unsigned int i) const { return confidence[i]; }

  /// The confidence of a frame, or `defaultConfidence`.
  float Get(int frame) const;

  /// Replaces the confidence of a frame, or else appends it.
  void Set(int frame, float c);

 private:
  int find(int frame) const;
  void append(int frame, float c);

  Vorn::FrameIndex positions;  // of the frames in index; of use while both have the same length
};
