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
#include "film/RecentPictures.h"

namespace film {

/// Gives any frame of a clip by its number, always the same as decoding from the clip's start gives.
///
/// Frames asked for in order come from a thread that decodes and converts ahead. The neighbours of where it stands are
/// kept as coded and converted when they are asked for, without disturbing it. Anything else moves it.
///
/// One caller at a time, but for `convert`. Memory: the frames read ahead, the one given last, and what callers hold;
/// once neighbours were asked for, the coded frames of a neighbourhood and the pictures used last too.
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

  /// What `fetch` gives for this frame of the clip. Any thread. Pictures are shared: nobody may change them.
  SharedPicture convert(const CodedFrame& coded);

  /// Bytes of pictures that are kept for their next use. Of an interlaced clip these are mostly its moments, which are
  /// pictures of their own: two are made from one frame.
  static constexpr std::size_t pictureMemory = std::size_t{768} << 20;
  static constexpr std::size_t momentMemory = pictureMemory / 4 * 3;

 private:
  static constexpr int readAhead = 2;        // with the one in the making
  static constexpr int neighbourhood = 120;  // frames to either side of where the thread stands
  static constexpr int longestVisit = 24;    // neighbours in order; a caller that asks for more moves on from there

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
  std::unique_ptr<Converter> takeConverter();

  ClipContents clip;
  PicturePool pool;
  SharedPicture current;
  int nextNumber = 0;     // what the front of `ready` is or will be
  int lastNeighbour = 0;  // the one that was asked for last
  int visited = 0;        // how many were asked for in order up to that one
  RecentPictures recent;
  std::mutex convertersLock;
  std::vector<std::unique_ptr<Converter>> converters;  // those on demand that are idle

  CodedFrames frames;
  std::thread reader;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> ready;
  bool stopping = false, ended = false;
  std::exception_ptr error;
};

}  // namespace film
