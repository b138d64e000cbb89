#pragma once

#include <cstdio>
#include <list>
#include <string>

#include "tracking/Feature.h"

namespace Vorn {

/// What stands in front of the features of a TRACKS text file.
struct TracksHeader {
  std::string comment;
  int trackStart = -1;  ///< First frame of the tracks; -1 when the file doesn't tell.
  int trackEnd = -1;    ///< Last frame, inclusive.
  int window = 0, levels = 0, range = 0;
  float minevalue = 0;
};

/// Reads the keyword line, the comment line and the parameters; of these, names that aren't known are ignored. False if
/// the first line doesn't begin with "TRACKS" or a parameter is missing; `header` may then hold a part.
bool ReadTracksHeader(std::FILE* file, TracksHeader& header);

/// Reads features until the end of the file and appends them, those of no points too. Each point gets its feature's
/// `id` and weight 1. False if a feature breaks off or isn't one; those in front of it have been appended.
bool ReadTracks(std::FILE* file, std::list<Feature>& tracks);

/// Whether a track is long enough for the file: one point doesn't make a track.
inline bool IsTrack(const Feature& feature) { return feature.track.size() >= 2; }

}  // namespace Vorn
