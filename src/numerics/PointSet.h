#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "numerics/Point2D.h"

namespace Vorn {

struct RIFFChunkHeader;

/// A list of points with a chunked binary file format (PSET) and an older text format (POINTS), which is only read.
class PointSet {
 public:
  void Add(const Point2D& point);
  void AddOffset(const Point2D& o);  ///< Moves all points in x and y, and remembers `offset`.

  Point2D& operator[](unsigned int i) { return points[i]; }  ///< Unchecked.
  const Point2D& operator[](unsigned int i) const { return points[i]; }

  /// The position of the first point with that `id`, copied to `out`; -1, with `out` as it was, if there is none.
  int GetPointByID(int id, Point2D& out) const;
  void Remove(unsigned int i);  ///< The later points move down. An index past the end does nothing.
  void Clear();

  /// Replaces the points by those of a file in either format. False if it can't be opened or read to the end of its
  /// announced length; the points read so far then remain. Coordinates and weights of a PSET file have single
  /// precision, a POINTS file has no weights.
  bool Load(const char* path);
  /// Writes a PSET file. False if it can't be opened or written.
  bool Save(const char* path);

  void checkNumPoints() {}  ///< Does nothing; kept for callers that ask for a check of `numPoints`.

  std::vector<Point2D> points;
  unsigned int numPoints = 0;
  std::string comment;                ///< Free text of the file.
  std::FILE* pointsHandle = nullptr;  ///< Open only within `Load` and `Save`.
  long fileSize = 0;                  ///< The last RIFF length read.
  int formatVersion = 2;
  Point2D offset;  ///< The last offset given to `AddOffset`.

 private:
  struct ChunkReader {
    const char* tag;
    bool (PointSet::*read)(long length);
  };
  static const ChunkReader chunkReaders[];

  bool open(const char* path, const char* mode);
  bool close();
  bool readFileHeader();
  bool loadChunks();
  bool readChunk(RIFFChunkHeader& chunk);
  bool readConf(long length);
  bool readComment(long length);
  bool readData(long length);
  bool loadLegacy(const char* path);
  bool writeChunks();
  bool writeComment();
  bool writeData(unsigned int count);
};

}  // namespace Vorn
