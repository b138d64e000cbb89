#pragma once

#include <list>
#include <string>

#include "tracking/Feature.h"

namespace Vorn {

/// A list of whole feature tracks and its text file format, TRACKS.
class FeatureTrack {
 public:
  FeatureTrack() = default;
  /// Stores each of the tracks.
  explicit FeatureTrack(const std::list<Feature>& tracks);

  /// Replaces everything by a file's content. `first` and `last` become the span of its frames, -1 where it doesn't
  /// tell and has no tracks; either may be null. False if the file can't be opened, isn't a TRACKS file, or breaks off;
  /// the tracks in front of that place are then held.
  bool Load(const char* path, int* first, int* last);
  /// As `Load`, but reads the tracks themselves only when they are asked for. False if the file can't be opened or its
  /// head can't be read.
  bool LoadDeferred(const char* path);
  /// The tracks; a deferred load happens on the first call.
  std::list<Feature>& GetTracks();

  /// Writes the tracks of at least two points, and the settings that aren't 0. Line feeds in `comment`, which may be
  /// null, become blanks. False, with a message on the standard error stream, if the file can't be opened; false if it
  /// can't be written.
  bool Save(const char* path, const char* comment);

  /// Keeps a copy of a track and widens the span of frames to hold it; false for a track of fewer than two points.
  bool Store(const Feature& feature);
  /// How many of the tracks are active in a frame.
  int CountActiveInFrame(int frame);
  /// Back to an empty list without settings.
  void Clear();

  int trackStart = -1;  ///< First frame of the span; -1 when unset.
  int trackEnd = -1;    ///< Last frame, inclusive.
  int window = 0, levels = 0, range = 0;
  float minevalue = 0;
  std::string comment;  ///< Of the file that was loaded.

 private:
  bool load(const char* path, bool withTracks);

  std::list<Feature> tracks;
  std::string deferredPath;  // empty when nothing is left to load
};

/// Merges the tracks of `later` into those of the same recording in `tracks`, as `FeatureStorage::JoinTrackLists`.
void JoinTracks(FeatureTrack& tracks, FeatureTrack& later);
/// Adds the tracks of another recording with new ids, as `FeatureStorage::AppendTrackLists`.
void appendTracks(FeatureTrack& tracks, FeatureTrack& added);

}  // namespace Vorn
