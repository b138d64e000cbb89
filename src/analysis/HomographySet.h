#pragma once

#include <cstdio>
#include <vector>

#include "analysis/FrameIndex.h"
#include "analysis/MultiRange.h"
#include "numerics/Matrix.h"

namespace Vorn {

/// The motion that leads to one frame.
struct HomographyFrame {
  int frame = 0;
  Matrix matrix;
};

/// Whether the frame number of `a` is below that of `b`.
bool compareHomographyFrame(const HomographyFrame& a, const HomographyFrame& b);

/// One 3 by 3 motion matrix per frame, with the spans of frames that an analysis has covered, and their file formats.
///
/// The matrix of frame f maps coordinates in frame f - 1 to coordinates in frame f, in pixels relative to the origin
/// that `originLocation` tells. A value: copies are deep.
class HomographySet {
 public:
  /// Version 1 marks data from a legacy text file, version 2 the present format.
  static constexpr unsigned int compatibleVersion = 2;

  int start = -1;  ///< Lowest frame held, -1 when empty.
  int end = -1;    ///< Highest frame held, -1 when empty.
  /// 4: matrices act about the frame's centre, at half its size in integer division. Any other value: about its
  /// top-left corner. Legacy files get 0.
  int originLocation = 4;
  std::vector<HomographyFrame> hset;  ///< The frames in order of arrival. Found fast if they came in through `Set`.
  MultiRange range;                   ///< The covered frames; these say what was analysed, `hset` what is known.
  unsigned int sizeParam = 4;         ///< Bytes per matrix value in a file: 4 (float) or 8 (double).
  unsigned int number = 0;            ///< Frames stored through `Set` or a load; `Clear` lets it count on.
  unsigned int version = compatibleVersion;

  /// Reads the chunked format HSET or its legacy text form in place of the frames held. The ranges of the file are
  /// added to those already there, so `Clear` comes first when a set is reused. False if the file can't be opened, is
  /// of neither form, or has a damaged list; a damaged or truncated file leaves what could be read up to there.
  bool Load(const char* path);

  /// Writes the chunked format: ranges and frames in ascending order, values of `sizeParam` bytes. False if `sizeParam`
  /// is neither 4 nor 8, in which case no file is made, or if the file can't be opened.
  bool Save(const char* path) const;

  /// Back to an empty set of the present version; only `number` is left as it stands.
  void Clear();

  /// The matrix at position i of `hset`, unchecked.
  Matrix& operator[](unsigned int i) { return hset[i].matrix; }
  const Matrix& operator[](unsigned int i) const { return hset[i].matrix; }

  /// Copies the matrix of a frame. On a miss `out` becomes the 3 by 3 identity, so that a caller that ignores the
  /// result sees no motion, and the result is false.
  bool Get(int frame, Matrix& out) const;
  /// Points to the matrix of a frame, until the set changes. On a miss null and false.
  bool Get(int frame, const Matrix*& out) const;
  /// The matrix at a position, unchecked, and its frame number if `frame` isn't null.
  const Matrix& Get(int position, int* frame) const;

  /// Replaces the matrix of a frame, or else appends it.
  void Set(int frame, const Matrix& m);

  /// The position of a frame, or -1.
  int Index(int frame) const;

  /// Whether all matrices are finite; the first that isn't goes to the standard error stream with its frame.
  bool IsValid() const;

  /// Adds the frames `first` to `last` to the covered ranges and widens `start` and `end` to hold them. As there, a
  /// span turned round is ignored.
  void AppendRange(int first, int last);

  /// Replaces the covered ranges, in sorted order; if there are any, `start` and `end` follow them.
  void SetRanges(const MultiRange& ranges);

  /// The version; if `compatible` isn't null it becomes whether this code knows the version.
  unsigned int GetVersion(bool* compatible) const;

  /// Scales each matrix so that its bottom-right element is 1, unless that is exactly 0.
  void Normalise();

 private:
  bool loadChunks(FILE* file, long length);
  bool readConf(FILE* file);
  bool readMRNG(FILE* file, long length);
  bool readProjections(FILE* file, long length);
  bool loadLegacy(const char* path);
  int find(int frame) const;
  void append(int frame, const Matrix& m);
  void appendLoaded(int frame, const Matrix& m);

  FrameIndex positions;  // of the frames in hset; of use while both have the same length
};

}  // namespace Vorn
