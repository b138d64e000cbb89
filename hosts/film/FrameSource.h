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
#include "film/IndexedReader.h"

namespace film {

/// Gives any frame of a clip by its number, always the same as decoding from the clip's start gives. Frames asked for
/// in order come from a thread that decodes and converts ahead; others cost the way from the nearest place where
/// decoding may begin.
///
/// One caller at a time. Memory: the frames read ahead, the one given last, the coded frames once one was asked for,
/// and what callers hold.
class FrameSource {
 public:
  FrameSource(ClipContents clip, int threads);
  ~FrameSource();
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  const ClipContents& contents() const { return clip; }

  /// Frame `number`, or null when the clip has none such. Fails where the file can no longer be read as before.
  SharedPicture fetch(int number);

  /// The same frame as it was coded. Those used last are kept, so this serves callers that go about in a frame's
  /// neighbourhood; it doesn't disturb the reading ahead for `fetch`.
  SharedCodedFrame fetchCoded(int number);

  /// What `fetch` gives for this frame of the clip.
  SharedPicture convert(const CodedFrame& coded);

 private:
  static constexpr size_t readAhead = 2;  // with the one in the making

  void start(int number);
  void stop();
  void readFrames(int number);
  bool waitForRoom();
  void push(SharedPicture picture);
  SharedPicture pop();
  SharedPicture toPicture(ColourConverter& converter, const CodedFrame& coded);

  ClipContents clip;
  int threads;
  PicturePool pool;
  SharedPicture current;
  int nextNumber = 0;  // what the front of `ready` is or will be

  std::unique_ptr<CodedFrames> codedFrames;  // made when first asked for, like the next one
  std::unique_ptr<ColourConverter> onDemand;

  std::unique_ptr<IndexedReader> frames;  // belongs to the thread while there is one
  std::thread reader;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> ready;
  bool stopping = false, ended = false;
  std::exception_ptr error;
};

}  // namespace film
