#pragma once

#include <cstdio>
#include <vector>

#include "analysis/MultiRange.h"

/// The gain of one frame.
struct FrameParams {
  int frame = 0;
  float gain = 1.0F;
};

/// Whether the frame number of `a` is below that of `b`.
bool compareFrameParams(const FrameParams& a, const FrameParams& b);

/// One gain per frame, with the spans of frames that an analysis has covered, and their file formats: the chunked
/// GAINS and its legacy text form. A value.
///
/// A gain is cumulative: 1 at the first frame, and each further one is that of the frame before times the ratio found
/// between the two. A frame without an entry has gain 1.
class AGCStorage {
 public:
  /// Appends without looking whether the frame is there.
  void AddGain(float gain, int frame);
  /// Overwrites the frame's first entry, or appends one.
  void SetGain(int frame, float gain);

  /// False and 1 if the frame isn't stored.
  bool GetGain(int frame, float& gain) const;
  /// One gain for each frame from `first` to `last`; empty if `last` is below `first`. So is a span of more than 2^24
  /// frames, six days of film, which only a damaged file can ask for.
  std::vector<float> GetGains(int first, int last) const;
  /// The gains of the range that begins first; others aren't included. Empty where that range has 2^20 more frames than
  /// the store has gains, so that a small damaged file can't ask for much memory.
  std::vector<float> GetGains() const;

  int GetStart() const;  ///< The first frame of the range that begins first; -1 if there is none.
  int GetStop() const;   ///< The last frame of that same range, which needn't be the last of all; -1 if there is none.
  void AddRange(int first, int last);

  /// Empties `gains` and `range`; `numberFrames` and `version` stay.
  void Clear();

  /// Writes a GAINS file, and leaves `gains` and `range` sorted by frame. False only if the file can't be opened.
  bool Save(const char* path);

  /// Reads a file in either form. A list of gains or of ranges replaces what was there; the text form, which has no
  /// ranges, adds the frames that it holds to those covered. False if the file can't be opened, is of neither form, or
  /// is damaged, in which case what could be read up to there stays.
  bool Load(const char* path);

  std::vector<FrameParams> gains;  ///< in order of arrival
  Vorn::MultiRange range;          ///< the frames that the store claims to cover; adjacency 1
  int numberFrames = 0;            ///< from a file
  int version = 2;

 private:
  const Vorn::Range* firstRange() const;
  bool loadChunks(FILE* file, long remaining);
  bool loadConf(FILE* file, long size);
  bool loadList(FILE* file, long& size);
  bool loadGains(FILE* file, long bytes);
  bool loadRanges(FILE* file, long bytes);
  bool loadLegacy(const char* path);
};
