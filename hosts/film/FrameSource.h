#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "film/ClipContents.h"
#include "film/CodedFrames.h"
#include "film/ColourConverter.h"
#include "film/FloatPicture.h"
#include "film/FramePlanes.h"

namespace film {

/// Gives any frame of a clip by its number, always the same as decoding from the clip's start gives.
///
/// Frames asked for in order come from a thread that decodes and converts ahead. The neighbours of where it stands are
/// kept as coded and converted when they are asked for, without disturbing it. Anything else moves it.
///
/// One caller at a time. Memory: the frames read ahead, the one given last, once neighbours were asked for 256 MiB of
/// coded frames, and what callers hold.
class FrameSource {
 public:
  FrameSource(ClipContents clip, int threads);
  ~FrameSource();
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  const ClipContents& contents() const { return clip; }

  /// Frame `number`, or null when the clip has none such. Fails where the file can no longer be read as before.
  SharedPicture fetch(int number);

  /// The same frame as it was coded.
  SharedCodedFrame fetchCoded(int number);

  /// What `fetch` gives for this frame of the clip.
  SharedPicture convert(const CodedFrame& coded);

 private:
  static constexpr int readAhead = 2;        // with the one in the making
  static constexpr int neighbourhood = 120;  // frames to either side of where the thread stands
  static constexpr int longestVisit = 24;    // neighbours in order; a caller that asks for more moves on from there
  static constexpr std::size_t neighbourMemory = std::size_t{256} << 20;

  /// What turns coded frames into pictures; for one thread.
  struct Converter {
    explicit Converter(const PlaneFormat& format) : colours(format) {}
    FramePlanes planes;
    ColourConverter colours;
  };

  bool isNeighbour(int number);
  void start(int number);
  void stop();
  void readFrames(int number);
  bool waitForRoom();
  void push(SharedPicture picture);
  SharedPicture pop();
  SharedPicture toPicture(Converter& converter, const CodedFrame& coded);

  ClipContents clip;
  PicturePool pool;
  SharedPicture current;
  int nextNumber = 0;     // what the front of `ready` is or will be
  int lastNeighbour = 0;  // the one that was asked for last
  int visited = 0;        // how many were asked for in order up to that one
  Converter onDemand;

  CodedFrames frames;
  std::thread reader;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> ready;
  bool stopping = false, ended = false;
  std::exception_ptr error;
};

}  // namespace film
