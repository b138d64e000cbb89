#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "film/ClipContents.h"
#include "film/ColourConverter.h"
#include "film/EncoderChoice.h"
#include "film/EncoderOptions.h"
#include "film/FloatPicture.h"
#include "film/FramePlanes.h"
#include "film/MovieFile.h"

namespace film {

/// Writes pictures as the clip was: with its codec, depth, chroma, colour description, time stamps, fields and
/// rotation, and with the clip's other streams beside them. Conversion and encoding run on a thread of their own behind
/// a short queue.
///
/// The file takes its name in `finish`. A writer that is destroyed before leaves no file.
class MovieWriter {
 public:
  /// The kind of container follows from the name. `clip`: what the pictures come from; its `path` may be empty for
  /// pictures that come from nowhere, and then `timeBase` is the frame's length. Whatever can't be written is told
  /// here, before the first picture.
  MovieWriter(const std::string& path, const ClipContents& clip, const MovieSpan& span, const EncoderOptions& options);
  ~MovieWriter();
  MovieWriter(const MovieWriter&) = delete;
  MovieWriter& operator=(const MovieWriter&) = delete;

  /// What the user should know about the file: streams that it couldn't take, a codec or chroma that had to change;
  /// after `finish` also packets that were lost, and what was said of single pictures.
  const std::vector<std::string>& notes() const { return remarks; }

  /// Adds a stream of sound that isn't copied from a clip. Before anything is written.
  AVStream& addSound(const AVCodecContext& soundEncoder) { return file.addSound(soundEncoder); }
  /// A packet for that stream, in its encoder's time base. Before the first picture; the library keeps the packets
  /// until their pictures come, so this is for clips of a few seconds.
  void writeSound(const AVCodecContext& soundEncoder, const AVStream& stream, AVPacket& soundPacket) {
    file.writeSound(soundPacket, soundEncoder.time_base, stream);
  }

  /// Takes a picture that nobody changes any more. Waits while the queue is full. Fails with whatever went wrong on the
  /// other thread since.
  void write(SharedPicture picture);

  /// Encodes what is queued, completes the file and gives it its name.
  void finish();

 private:
  static constexpr size_t longestQueue = 1;  // with the one that is being converted

  void openEncoder(const EncoderOptions& options);
  void prepareFrame();
  void encodeQueue();
  SharedPicture nextPicture();
  void convert(const FloatPicture& picture);
  void dropPicture();
  void send(const AVFrame* next);
  void gatherRemarks();
  void restoreTimes(AVPacket& encoded);

  MovieFile file;
  ClipContents clip;
  MovieSpan span;
  AVRational timeBase{1, 25};
  ChosenEncoder chosen;
  std::vector<std::string> remarks;
  std::set<std::string> lostNotes;  // on single pictures, in words
  Frame frame;
  FramePlanes framePlanes;
  Packet packet;
  std::unique_ptr<ColourConverter> converter;
  std::map<std::int64_t, std::int64_t> durations;  // of the pictures in the encoder, by time
  std::map<std::int64_t, std::int64_t> times;      // the same pictures' times by number, for encoders that count
  std::int64_t pictures = 0, firstTime = 0;

  std::thread worker;
  std::mutex lock;
  std::condition_variable changed;
  std::deque<SharedPicture> queue;
  bool closing = false;
  std::atomic<bool> abandoned = false;
  std::exception_ptr error;
};

}  // namespace film
