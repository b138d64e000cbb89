#pragma once

#include <cstdio>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/MultiRange.h"
#include "numerics/MatchSet.h"
#include "numerics/Point2D.h"
#include "numerics/PointSet.h"
#include "tracking/Feature.h"
#include "tracking/RecordIndex.h"

namespace Vorn {

struct RIFFChunkHeader;

/// Feature tracks on disk, frame by frame: the chunked file format strk, written and read, and the older text format
/// TRACKS, which is only read here.
///
/// A strk file that grows too large goes on in further segments beside it, named by its path and the segment's number,
/// from 1. It becomes valid when it is closed, since its index and its sizes are only written then. Coordinates have
/// single precision in it. One thread at a time.
class FeatureStorage {
 public:
  /// The state of one point in one frame; the numbers are those that are stored. A damaged file may hold others.
  enum TrackStatus : int {
    TrackContinued = 0,  ///< The feature was there in the frame before.
    TrackNew = 1,        ///< The feature was detected in this frame.
  };

  enum StorageAccessMode : int {
    StorageUpdate = 1,  ///< Frames are read from and added to a file that exists.
    StorageWrite = 2,   ///< A new file.
    StorageRead = 4,
  };

  FeatureStorage() = default;
  FeatureStorage(const FeatureStorage&) = delete;
  FeatureStorage& operator=(const FeatureStorage&) = delete;
  ~FeatureStorage();  ///< Closes.

  /// Closes an open file and empties the store, then opens `path`. A new file gets the configuration and the comment
  /// that stand in the members; an existing one, and the segments that continue it, bring theirs, whatever the
  /// extension; but the further segments are only found for the extension strk. False, and closed, if the file or a
  /// segment that it announces can't be opened, or is damaged or of neither format.
  bool Open(const char* path, StorageAccessMode access);
  /// Finishes and closes the file; what is held in memory stays. False if what was written didn't reach the disk.
  bool Close();
  /// Closes, and forgets tracks and frames. The configuration and the comment stay, for the next file.
  void Clear();
  /// Takes over `window`, `levels`, `range` and `minevalue`.
  void GetConfiguration(const FeatureStorage& other);

  /// Adds the points of a frame with their statuses; a status that is missing counts as `TrackContinued`. No points are
  /// fine: the frame then counts as covered. False if the store isn't open for writing or the disk is full.
  bool WriteFrame(int frame, const std::list<Point2D>& points, const std::vector<TrackStatus>& statuses);
  /// Replaces both lists by what the file holds for a frame; weights are 1. A frame that it doesn't cover leaves them
  /// empty, which is no failure. A TRACKS file only appends to `points`, and leaves `statuses` as it is. False if the
  /// store isn't open for reading or the record is damaged; the lists then hold what was read.
  bool ReadFrame(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses);

  /// Holds a copy of `tracks`, as the frames `first` to `last`; -1 for either takes the span of the tracks themselves.
  void SetTracks(const std::list<Feature>& tracks, int first = -1, int last = -1);
  /// Writes the held tracks frame by frame, frames without points too. False if a frame can't be written.
  bool WriteList();
  /// Holds all tracks of the open file instead. False if it isn't open for reading or is damaged; the tracks then hold
  /// what could be read.
  bool ReadToList();
  /// The held tracks; those of a TRACKS file are read on first use.
  std::list<Feature>& GetTracks();

  /// A feature of one point, in the list's or file's order, for each point of a frame. This and the next two look into
  /// a file that is open for reading, and else into the held tracks. False if the frame can't be read.
  bool GetFeaturesForFrame(int frame, std::list<Feature>& features);
  bool GetPointsForFrame(int frame, PointSet& points);
  /// The points of two frames, and a match of score 1 for each `id` that occurs in both, in the order of the first.
  bool GetMatchedPoints(int frameA, int frameB, PointSet& firstPoints, PointSet& secondPoints, MatchSet& matches);

  /// Adds the points of the frames `first` to `last` of the open file to `tracks`, by `id`: to the track that ends in
  /// the frame before, or else as a track of their own. A point that its track has already is left out. False as for
  /// `ReadToList`.
  bool AccumulateTracks(std::list<Feature>& tracks, int first, int last);
  /// How many of the features are active in a frame.
  static int CountActiveInFrame(const std::list<Feature>* tracks, int frame);

  /// Whether the next frame goes into a further segment.
  bool IsFileNearLimit() const;
  /// Writes the store as TRACKS text to the standard output stream; one that is open for reading reads its file first.
  void OutputToStdOut();

  /// Merges tracks of the same recording: a track of `later` that goes on from one with its `id` in `tracks`, or
  /// overlaps its end, lengthens it; any other is added.
  static void JoinTrackLists(std::list<Feature>& tracks, const std::list<Feature>& later);
  /// Adds tracks of another recording: they get new ids, above all of `tracks`.
  static void AppendTrackLists(std::list<Feature>& tracks, const std::list<Feature>& added);

  int window = 0, levels = 0, range = 0;  ///< The tracker's settings; 16 bits in a strk file, without sign.
  /// Of a strk file only the upper half comes back: closing writes the 32 bits of the continuation flag over the flag's
  /// 16 and this number's lower ones. Kept: files and their readers agree on it.
  float minevalue = 0;
  std::string comment;
  int version = 2;                      ///< Of the file: 2, or 1 for a TRACKS file.
  StorageAccessMode mode{};             ///< 0 when closed.
  MultiRange frames;                    ///< All frames written; of a file that was read, those of its last segment.
  std::vector<MultiRange> segments;     ///< The frames of each segment file.
  int firstFrame = -1, lastFrame = -1;  ///< The span of the held tracks; -1 when unset.
  long largestId = 0;                   ///< The largest `id` seen.
  long pointsWritten = 0;

 private:
  struct CloseFile {
    void operator()(std::FILE* opened) const { std::fclose(opened); }
  };

  bool openForWriting(const char* path);
  bool openForReading(const char* path, StorageAccessMode access);
  bool openLegacy(StorageAccessMode access);
  bool openChain();
  bool canAppend();
  bool isReading() const;
  bool isWriting() const;
  bool openSegment(int number, const char* fileMode);
  bool enterSegment(int number);
  bool rollOver();
  bool finishSegment();
  void abandon();
  std::string segmentPath(int number) const;

  bool writeHeaders(bool first);
  bool writeRecord(int frame, const std::list<Point2D>& points, const std::vector<TrackStatus>& statuses);
  bool writeTrailer();
  bool patch(long position, long value);
  bool seekBehindRecords();
  long fileSize();
  void extendRun(int frame);
  void storeRun();

  bool readHeaders(bool readRanges, bool first);
  bool readChunk(const RIFFChunkHeader& chunk, bool readRanges);
  bool readList(long length, bool readRanges);
  bool readCONF(long length);
  bool readCOMM(long length);
  bool readMRNG(long length);
  bool readINDX(long length);
  bool readRecords(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses, long& budget);
  bool readRecord(const RecordIndex::Entry& entry, std::list<Point2D>& points, std::vector<TrackStatus>& statuses,
                  long& budget);
  int segmentOf(int frame);
  bool loadLegacy();
  bool accumulateSegment(int number, std::list<Feature>& tracks, int first, int last);
  bool pointsOf(int frame, std::list<Point2D>& points, std::vector<TrackStatus>& statuses);
  void findTrackSpan();

  std::unique_ptr<std::FILE, CloseFile> file;
  std::string firstPath;               // segment 0's
  std::string basePath;                // what the names of further segments begin with; empty where they can't be found
  bool legacy = false;                 // the file is a TRACKS file
  std::optional<bool> legacyComplete;  // once its features have been read: whether all of them could be
  std::list<Feature> held;
  int frameInUse = -1;                           // last read or written
  bool runOpen = false;                          // a run of frames that hasn't gone into the ranges
  int runFirst = -1, runLast = -1, runEnd = -1;  // lowest, highest and latest
  bool rangesSorted = true;
  long framesInSegment = 0;
  int segment = 0;                          // the one that is open
  bool finished = false;                    // that one needs no trailer: it has one
  bool continued = false;                   // a further segment follows
  long confPosition = 0, dataPosition = 0;  // of the CONF chunk and of the DATA tag
  long dataSize = 0;                        // from the DATA tag to where the next record goes
  RecordIndex index;                        // of the open segment
};

}  // namespace Vorn
