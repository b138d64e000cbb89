#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "film/ClipContents.h"
#include "film/FloatPicture.h"

namespace film {

/// Gives any frame of a clip by its number. Frames asked for in order come from a thread that decodes and converts
/// ahead; going back starts that thread again from the clip's beginning, so it costs the way from there.
///
/// One caller at a time. Memory: the frames read ahead, the one given last, and what callers hold.
class FrameSource {
 public:
  FrameSource(ClipContents clip, int threads);
  ~FrameSource();
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  const ClipContents& contents() const { return clip; }

  /// Frame `number`, or null when the clip has none such. Fails where the file can no longer be read as before.
  SharedPicture fetch(int number);

 private:
  static constexpr size_t readAhead = 2;  // with the one in the making

  void start();
  void stop();
  void readFrames();
  bool waitForRoom();
  void push(SharedPicture picture);
  SharedPicture pop();

  ClipContents clip;
  int threads;
  PicturePool pool;
  SharedPicture current;
  int nextNumber = 0;  // what the front of `ready` is or will be

  std::thread reader;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> ready;
  bool stopping = false, ended = false;
  std::exception_ptr error;
};

}  // namespace film
